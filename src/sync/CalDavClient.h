#pragma once

#include "CalDavError.h"
#include "CalendarCollection.h"
#include "CalendarItem.h"

#include <QByteArray>
#include <QList>
#include <QNetworkRequest>
#include <QObject>
#include <QSet>
#include <QString>
#include <QUrl>
#include <functional>

struct DavMultiStatus;
class QNetworkAccessManager;
class QNetworkReply;

// The user's CalDAV account, as the mirror talks to it. Every call is asynchronous and ends
// in exactly one call of its callback on the main thread (none once the client is gone).
// The network access manager is given, never a process-wide one.
class CalDavClient : public QObject {
    Q_OBJECT
public:
    struct Account {
        QUrl serverUrl;
        QString username;
        QString password;
    };

    // Where the user's calendars live.
    struct Home {
        QUrl principal;
        QUrl calendarHome;
    };

    using Done = std::function<void(const CalDavError&)>;
    using HomeDone = std::function<void(const CalDavError&, const Home&)>;
    using CollectionsDone =
        std::function<void(const CalDavError&, const QList<CalendarCollection>&)>;
    using DeltaDone = std::function<void(const CalDavError&, const SyncDelta&)>;
    using ItemsDone = std::function<void(const CalDavError&, const QList<CalendarItem>&)>;
    using ItemDone = std::function<void(const CalDavError&, const CalendarItem&)>;
    using PutDone = std::function<void(const CalDavError&, const QString& etag)>;
    using TokenDone = std::function<void(const CalDavError&, const QString& token)>;

    // What a listing of collections says about their changes. Some servers (Radicale) pass
    // over every item for each marker, so a caller asks only for what it compares.
    enum class Markers { none, ctag, ctagAndToken };

    explicit CalDavClient(QNetworkAccessManager* network, QObject* parent = nullptr);
    ~CalDavClient() override;

    void setAccount(const Account& account) { m_account = account; }
    [[nodiscard]] const Account& account() const { return m_account; }
    // A request with no answer for this long ends as a network error.
    void setTimeout(int milliseconds) { m_timeoutMs = milliseconds; }

    // Finds the principal and the calendar home: .well-known/caldav, else the server URL.
    void discover(const HomeDone& done);
    // The calendar collections in the home, whatever components they advertise.
    void listCollections(const QUrl& home, const CollectionsDone& done,
                         Markers markers = Markers::ctagAndToken);
    // The collection's present sync-token (empty where the server offers none).
    void readToken(const QUrl& collection, const TokenDone& done);
    // MKCALENDAR for tasks, with the list's name, colour and order.
    void makeCalendar(const CalendarCollection& collection, const Done& done);
    // PROPPATCH of name, colour and order. A server may answer 200 and drop the order.
    void updateCollection(const CalendarCollection& collection, const Done& done);
    // REPORT sync-collection from `token` (empty: everything). A refused token is
    // CalDavError::Kind::tokenRefused: list everything instead.
    void syncCollection(const QUrl& collection, const QString& token, const DeltaDone& done);
    // REPORT calendar-query for every VTODO: ETags, and with `withData` their text.
    void listItems(const QUrl& collection, bool withData, const ItemsDone& done);
    void fetchItem(const QUrl& url, const ItemDone& done);
    // PUT: a create (empty `etag`, If-None-Match: *) or an update (If-Match: etag). Only 200,
    // 201 and 204 succeed; the new ETag is empty when the server sent none.
    void putItem(const QUrl& url, const QByteArray& data, const QString& etag, const PutDone& done);
    // DELETE with If-Match when `etag` is given.
    void deleteItem(const QUrl& url, const QString& etag, const Done& done);

private:
    struct Reply {
        int status = 0;
        QByteArray body;
        QUrl url; // after redirects
        QString etag;
        CalDavError error; // network error, or the status's class
    };
    using Handler = std::function<void(const Reply&)>;

    void send(const QByteArray& method, const QUrl& url, const QByteArray& body,
              const QList<std::pair<QByteArray, QByteArray>>& headers, const Handler& handler,
              int redirects = 0);
    void dav(const QByteArray& method, const QUrl& url, const char* depth, const QByteArray& body,
             const Handler& handler);
    // The reply's Multi-Status parsed into `status`, or the error that stands for it.
    static CalDavError readMultiStatus(const Reply& reply, DavMultiStatus* status);
    void findPrincipal(const QList<QUrl>& candidates, const HomeDone& done);

    QNetworkAccessManager* m_network;
    Account m_account;
    int m_timeoutMs = 30000;
    QSet<QNetworkReply*> m_inFlight;
};
