#include "CalDavClient.h"

#include "DavMultiStatus.h"
#include "SyncLog.h"
#include "SyncWorker.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <optional>

namespace {

const QByteArray xmlHeader = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

bool sameOrigin(const QUrl& a, const QUrl& b) {
    return a.scheme() == b.scheme() && a.host().compare(b.host(), Qt::CaseInsensitive) == 0 &&
           a.port(a.scheme() == QLatin1String("https") ? 443 : 80) ==
               b.port(b.scheme() == QLatin1String("https") ? 443 : 80);
}

QByteArray escaped(const QString& text) {
    return text.toHtmlEscaped().toUtf8();
}

// The properties of a list, as MKCALENDAR and PROPPATCH set them.
QByteArray collectionProps(const CalendarCollection& collection) {
    QByteArray props = "<D:displayname>" + escaped(collection.displayName) + "</D:displayname>";
    if (!collection.color.isEmpty())
        props += "<A:calendar-color>" + escaped(collection.color) + "</A:calendar-color>";
    if (collection.order)
        props +=
            "<A:calendar-order>" + QByteArray::number(*collection.order) + "</A:calendar-order>";
    return props;
}

const QByteArray namespaces = "xmlns:D=\"DAV:\" xmlns:C=\"urn:ietf:params:xml:ns:caldav\" "
                              "xmlns:A=\"http://apple.com/ns/ical/\" "
                              "xmlns:CS=\"http://calendarserver.org/ns/\"";

QByteArray propfind(const QByteArray& props) {
    return xmlHeader + "<D:propfind " + namespaces + "><D:prop>" + props + "</D:prop></D:propfind>";
}

// The reply's trailing slash, or lack of one, is the server's business: compare paths
// decoded and without it.
bool sameResource(const QUrl& a, const QUrl& b) {
    const auto path = [](const QUrl& url) {
        QString p = url.path(QUrl::FullyDecoded);
        while (p.endsWith(QLatin1Char('/')))
            p.chop(1);
        return p;
    };
    return path(a) == path(b);
}

// An item as a listing or a delta names it; none without an ETag.
std::optional<CalendarItem> listedItem(const DavResponse& response) {
    const QString etag = response.prop(Dav::ns, "getetag").trimmed();
    if (etag.isEmpty())
        return std::nullopt;
    return CalendarItem{response.url, etag, response.prop(Dav::caldavNs, "calendar-data").toUtf8()};
}

// The items of a calendar-query's Multi-Status. Pure, so that a large one is read off the
// main thread.
std::pair<CalDavError, QList<CalendarItem>> readItems(const QByteArray& body, const QUrl& url,
                                                      int httpStatus, const QUrl& collection) {
    DavMultiStatus status;
    QString why;
    if (!status.parse(body, url, &why))
        return {CalDavError::protocol(httpStatus, why), {}};
    QList<CalendarItem> items;
    items.reserve(status.responses.size());
    for (const DavResponse& response : std::as_const(status.responses)) {
        if (sameResource(response.url, collection))
            continue;
        if (std::optional<CalendarItem> item = listedItem(response))
            items.append(*item);
    }
    return {{}, items};
}

// The changes of a sync-collection's Multi-Status, as readItems.
std::pair<CalDavError, SyncDelta> readDelta(const QByteArray& body, const QUrl& url, int httpStatus,
                                            const QUrl& collection) {
    DavMultiStatus status;
    QString why;
    if (!status.parse(body, url, &why) || status.syncToken.isEmpty())
        return {CalDavError::protocol(httpStatus,
                                      why.isEmpty() ? QStringLiteral("no sync-token") : why),
                {}};
    SyncDelta delta;
    delta.token = status.syncToken;
    for (const DavResponse& response : std::as_const(status.responses)) {
        if (sameResource(response.url, collection))
            continue;
        if (response.status == 404 || response.status == 410) {
            delta.removed.append(response.url);
            continue;
        }
        if (std::optional<CalendarItem> item = listedItem(response))
            delta.changed.append(*item);
    }
    return {{}, delta};
}

} // namespace

CalDavClient::CalDavClient(QNetworkAccessManager* network, QObject* parent)
    : QObject(parent)
    , m_network(network) {
    Q_ASSERT(network);
}

CalDavClient::~CalDavClient() {
    // Callbacks must not run into a client that is gone.
    for (QNetworkReply* reply : std::as_const(m_inFlight)) {
        disconnect(reply, nullptr, this, nullptr);
        reply->abort();
        reply->deleteLater();
    }
}

void CalDavClient::send(const QByteArray& method, const QUrl& url, const QByteArray& body,
                        const QList<std::pair<QByteArray, QByteArray>>& headers,
                        const Handler& handler, int redirects) {
    QNetworkRequest request(url);
    // Qt's own redirect handling turns a redirected PROPFIND into a GET.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    request.setTransferTimeout(m_timeoutMs);
    for (const auto& [name, value] : headers)
        request.setRawHeader(name, value);
    // Credentials go only to the account's own server, never along a redirect elsewhere.
    if (!m_account.username.isEmpty() && sameOrigin(url, m_account.serverUrl)) {
        const QByteArray pair =
            (m_account.username + QLatin1Char(':') + m_account.password).toUtf8();
        request.setRawHeader("Authorization", "Basic " + pair.toBase64());
    }
    QNetworkReply* reply = m_network->sendCustomRequest(request, method, body);
    m_inFlight.insert(reply);
    connect(reply, &QNetworkReply::finished, this,
            [this, reply, method, url, body, headers, handler, redirects] {
                m_inFlight.remove(reply);
                reply->deleteLater();
                Reply result;
                result.url = url;
                result.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
                result.body = reply->readAll();
                result.etag = QString::fromUtf8(reply->rawHeader("ETag"));
                // A reply cut short is no answer, whatever its status line said: its half
                // body must never be taken for an item (the token would move past it).
                const QVariant promised = reply->header(QNetworkRequest::ContentLengthHeader);
                const bool cutShort =
                    reply->error() == QNetworkReply::RemoteHostClosedError ||
                    (promised.isValid() && result.body.size() < promised.toLongLong());
                if (result.status != 0 && cutShort) {
                    result.error = CalDavError::protocol(result.status,
                                                         QStringLiteral("the reply was cut short"));
                    qCInfo(lcSync) << method << url.path() << "cut short";
                    handler(result);
                    return;
                }
                if (result.status == 0) {
                    result.error = CalDavError::network(reply->errorString());
                    qCInfo(lcSync) << method << url.path() << "failed:" << reply->errorString();
                    handler(result);
                    return;
                }
                const QByteArray location = reply->rawHeader("Location");
                if (result.status >= 300 && result.status < 400 && result.status != 304 &&
                    !location.isEmpty()) {
                    if (redirects >= 5) {
                        result.error = CalDavError::protocol(result.status,
                                                             QStringLiteral("too many redirects"));
                        handler(result);
                        return;
                    }
                    const QUrl next = url.resolved(QUrl::fromEncoded(location));
                    send(method, next, body, headers, handler, redirects + 1);
                    return;
                }
                result.error = CalDavError::fromStatus(result.status, result.body);
                result.error.retryAfterSecs = CalDavError::parseRetryAfter(
                    reply->rawHeader("Retry-After"), QDateTime::currentDateTimeUtc());
                if (result.error.isError())
                    qCInfo(lcSync) << method << url.path() << "->" << result.status;
                handler(result);
            });
}

void CalDavClient::dav(const QByteArray& method, const QUrl& url, const char* depth,
                       const QByteArray& body, const Handler& handler) {
    send(method, url, body, {{"Depth", depth}, {"Content-Type", "application/xml; charset=utf-8"}},
         handler);
}

void CalDavClient::discover(const HomeDone& done) {
    const QUrl server = m_account.serverUrl;
    findPrincipal({server.resolved(QUrl(QStringLiteral("/.well-known/caldav"))), server}, done);
}

CalDavError CalDavClient::readMultiStatus(const Reply& reply, DavMultiStatus* status) {
    if (reply.error.isError())
        return reply.error;
    QString why;
    if (!status->parse(reply.body, reply.url, &why))
        return CalDavError::protocol(reply.status, why);
    return {};
}

void CalDavClient::findPrincipal(const QList<QUrl>& candidates, const HomeDone& done) {
    const QUrl url = candidates.first();
    const QList<QUrl> rest = candidates.mid(1);
    dav("PROPFIND", url, "0", propfind("<D:current-user-principal/>"),
        [this, rest, done](const Reply& reply) {
            DavMultiStatus status;
            QString why;
            QUrl principal;
            if (!reply.error.isError() && status.parse(reply.body, reply.url, &why)) {
                for (const DavResponse& response : status.responses) {
                    const QString href = response.prop(Dav::ns, "current-user-principal");
                    if (!href.trimmed().isEmpty())
                        principal = QUrl(href.trimmed());
                }
            }
            const bool final = reply.error.kind == CalDavError::Kind::signIn ||
                               reply.error.kind == CalDavError::Kind::network;
            if (principal.isEmpty()) {
                if (!final && !rest.isEmpty()) {
                    findPrincipal(rest, done);
                    return;
                }
                CalDavError error = reply.error;
                if (!error.isError())
                    error = CalDavError::protocol(reply.status,
                                                  QStringLiteral("no CalDAV principal here"));
                done(error, {});
                return;
            }
            dav("PROPFIND", principal, "0", propfind("<C:calendar-home-set/>"),
                [principal, done](const Reply& homeReply) {
                    DavMultiStatus homeStatus;
                    QString reason;
                    Home home{principal, {}};
                    if (homeReply.error.isError()) {
                        done(homeReply.error, {});
                        return;
                    }
                    if (homeStatus.parse(homeReply.body, homeReply.url, &reason)) {
                        for (const DavResponse& response : homeStatus.responses) {
                            const QString href = response.prop(Dav::caldavNs, "calendar-home-set");
                            if (!href.trimmed().isEmpty())
                                home.calendarHome = QUrl(href.trimmed());
                        }
                    }
                    if (home.calendarHome.isEmpty()) {
                        done(CalDavError::protocol(
                                 homeReply.status,
                                 QStringLiteral("no calendar home: %1").arg(reason)),
                             {});
                        return;
                    }
                    done({}, home);
                });
        });
}

void CalDavClient::listCollections(const QUrl& home, const CollectionsDone& done, Markers markers) {
    QByteArray props = "<D:resourcetype/><D:displayname/><A:calendar-color/>"
                       "<A:calendar-order/><C:supported-calendar-component-set/>";
    if (markers != Markers::none)
        props += "<CS:getctag/>";
    if (markers == Markers::ctagAndToken)
        props += "<D:sync-token/>";
    dav("PROPFIND", home, "1", propfind(props), [home, done](const Reply& reply) {
        DavMultiStatus status;
        if (const CalDavError error = readMultiStatus(reply, &status); error.isError()) {
            done(error, {});
            return;
        }
        QList<CalendarCollection> collections;
        for (const DavResponse& response : status.responses) {
            if (!response.isCalendar() || sameResource(response.url, home))
                continue;
            CalendarCollection collection;
            collection.url = response.url;
            collection.displayName = response.prop(Dav::ns, "displayname").trimmed();
            collection.color = response.prop(Dav::appleNs, "calendar-color").trimmed();
            bool ok = false;
            const qint64 order = response.prop(Dav::appleNs, "calendar-order").toLongLong(&ok);
            if (ok)
                collection.order = order;
            collection.ctag = response.prop(Dav::calendarServerNs, "getctag").trimmed();
            collection.syncToken = response.prop(Dav::ns, "sync-token").trimmed();
            collection.components = response.components;
            collections.append(collection);
        }
        done({}, collections);
    });
}

void CalDavClient::readToken(const QUrl& collection, const TokenDone& done) {
    dav("PROPFIND", collection, "0", propfind("<D:sync-token/>"),
        [collection, done](const Reply& reply) {
            DavMultiStatus status;
            if (const CalDavError error = readMultiStatus(reply, &status); error.isError()) {
                done(error, {});
                return;
            }
            for (const DavResponse& response : status.responses) {
                if (sameResource(response.url, collection)) {
                    done({}, response.prop(Dav::ns, "sync-token").trimmed());
                    return;
                }
            }
            done({}, {});
        });
}

void CalDavClient::makeCalendar(const CalendarCollection& collection, const Done& done) {
    const QByteArray body = xmlHeader + "<C:mkcalendar " + namespaces + "><D:set><D:prop>" +
                            collectionProps(collection) +
                            "<C:supported-calendar-component-set><C:comp name=\"VTODO\"/>"
                            "</C:supported-calendar-component-set>"
                            "</D:prop></D:set></C:mkcalendar>";
    dav("MKCALENDAR", collection.url, "0", body, [this, collection, done](const Reply& reply) {
        if (reply.error.isError() || (collection.color.isEmpty() && !collection.order)) {
            done(reply.error);
            return;
        }
        // Xandikos makes the calendar but drops colour and order given at birth; set them
        // again. The list exists either way, so a refusal here is only logged.
        updateCollection(collection, [url = collection.url, done](const CalDavError& error) {
            if (error.isError())
                qCInfo(lcSync) << "list properties not kept at" << url.path() << error.detail;
            done({});
        });
    });
}

void CalDavClient::updateCollection(const CalendarCollection& collection, const Done& done) {
    const QByteArray body = xmlHeader + "<D:propertyupdate " + namespaces + "><D:set><D:prop>" +
                            collectionProps(collection) + "</D:prop></D:set></D:propertyupdate>";
    dav("PROPPATCH", collection.url, "0", body, [done](const Reply& reply) {
        DavMultiStatus status;
        if (reply.error.isError() || reply.status != 207) {
            done(reply.error);
            return;
        }
        if (const CalDavError error = readMultiStatus(reply, &status); error.isError()) {
            done(error);
            return;
        }
        for (const DavResponse& response : status.responses) {
            for (auto it = response.propStatus.cbegin(); it != response.propStatus.cend(); ++it) {
                if (it.value() < 200 || it.value() >= 300) {
                    CalDavError error = CalDavError::fromStatus(it.value(), {});
                    error.detail += QLatin1Char(' ') + it.key();
                    done(error);
                    return;
                }
            }
        }
        done({});
    });
}

void CalDavClient::syncCollection(const QUrl& collection, const QString& token,
                                  const DeltaDone& done) {
    const QByteArray body = xmlHeader + "<D:sync-collection " + namespaces + "><D:sync-token>" +
                            escaped(token) +
                            "</D:sync-token><D:sync-level>1</D:sync-level>"
                            "<D:prop><D:getetag/><C:calendar-data/></D:prop></D:sync-collection>";
    dav("REPORT", collection, "0", body, [this, collection, token, done](const Reply& reply) {
        CalDavError error = reply.error;
        // Xandikos answers an unknown token with a bare 500.
        if (error.kind == CalDavError::Kind::server && reply.status == 500 && !token.isEmpty())
            error.kind = CalDavError::Kind::tokenRefused;
        if (error.isError()) {
            done(error, {});
            return;
        }
        SyncWorker::run<std::pair<CalDavError, SyncDelta>>(
            this,
            [body = reply.body, url = reply.url, status = reply.status, collection] {
                return readDelta(body, url, status, collection);
            },
            [done](const std::pair<CalDavError, SyncDelta>& read) {
                done(read.first, read.second);
            });
    });
}

void CalDavClient::listItems(const QUrl& collection, bool withData, const ItemsDone& done) {
    const QByteArray body = xmlHeader + "<C:calendar-query " + namespaces +
                            "><D:prop><D:getetag/>" + (withData ? "<C:calendar-data/>" : "") +
                            "</D:prop><C:filter><C:comp-filter name=\"VCALENDAR\">"
                            "<C:comp-filter name=\"VTODO\"/></C:comp-filter></C:filter>"
                            "</C:calendar-query>";
    dav("REPORT", collection, "1", body, [this, collection, done](const Reply& reply) {
        if (reply.error.isError()) {
            done(reply.error, {});
            return;
        }
        SyncWorker::run<std::pair<CalDavError, QList<CalendarItem>>>(
            this,
            [body = reply.body, url = reply.url, status = reply.status, collection] {
                return readItems(body, url, status, collection);
            },
            [done](const std::pair<CalDavError, QList<CalendarItem>>& read) {
                done(read.first, read.second);
            });
    });
}

void CalDavClient::fetchItem(const QUrl& url, const ItemDone& done) {
    send("GET", url, {}, {}, [done](const Reply& reply) {
        if (reply.error.isError() || reply.status != 200) {
            done(reply.error.isError() ? reply.error
                                       : CalDavError::protocol(reply.status, QStringLiteral("GET")),
                 {});
            return;
        }
        done({}, {reply.url, reply.etag, reply.body});
    });
}

void CalDavClient::putItem(const QUrl& url, const QByteArray& data, const QString& etag,
                           const PutDone& done) {
    // Without the charset Xandikos skips its UID check and stores a duplicate.
    QList<std::pair<QByteArray, QByteArray>> headers{
        {"Content-Type", "text/calendar; charset=utf-8"}};
    if (etag.isEmpty())
        headers.append(std::make_pair(QByteArray("If-None-Match"), QByteArray("*")));
    else
        headers.append(std::make_pair(QByteArray("If-Match"), etag.toUtf8()));
    send("PUT", url, data, headers, [done](const Reply& reply) {
        if (reply.status == 200 || reply.status == 201 || reply.status == 204) {
            done({}, reply.etag);
            return;
        }
        if (reply.status == 207) {
            // A Multi-Status to a PUT is a refusal (Xandikos: a UID clash or invalid data).
            CalDavError error = CalDavError::fromStatus(400, {});
            DavMultiStatus status;
            QString why;
            if (status.parse(reply.body, reply.url, &why)) {
                for (const DavResponse& response : status.responses)
                    error.detail += QStringLiteral(" %1 %2")
                                        .arg(response.status)
                                        .arg(response.errors.join(QLatin1Char(',')));
            }
            error.httpStatus = 207;
            done(error, {});
            return;
        }
        done(reply.error.isError() ? reply.error
                                   : CalDavError::protocol(reply.status, QStringLiteral("PUT")),
             {});
    });
}

void CalDavClient::deleteItem(const QUrl& url, const QString& etag, const Done& done) {
    QList<std::pair<QByteArray, QByteArray>> headers;
    if (!etag.isEmpty())
        headers.append(std::make_pair(QByteArray("If-Match"), etag.toUtf8()));
    send("DELETE", url, {}, headers, [done](const Reply& reply) {
        done(reply.status == 200 || reply.status == 204 || reply.error.isError()
                 ? reply.error
                 : CalDavError::protocol(reply.status, QStringLiteral("DELETE")));
    });
}
