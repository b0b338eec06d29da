#include "DavMultiStatus.h"

#include <QXmlStreamReader>

namespace {

QString keyOf(const QXmlStreamReader& xml) {
    return QLatin1Char('{') + xml.namespaceUri().toString() + QLatin1Char('}') +
           xml.name().toString();
}

bool is(const QXmlStreamReader& xml, const char* ns, const char* local) {
    return xml.namespaceUri() == QLatin1String(ns) && xml.name() == QLatin1String(local);
}

// "HTTP/1.1 404 Not Found" -> 404.
int statusCode(const QString& line) {
    const QStringList parts = line.simplified().split(QLatin1Char(' '));
    return parts.size() >= 2 ? parts.at(1).toInt() : 0;
}

QUrl resolved(const QUrl& base, const QString& href) {
    // Hrefs come absolute or as paths, percent-encoded or not.
    return base.resolved(QUrl(href.trimmed(), QUrl::TolerantMode));
}

// Reads one property element. Simple properties keep their text; those holding hrefs
// (principal, home set) keep the first href, resolved.
void readProp(QXmlStreamReader& xml, const QUrl& base, DavResponse& response, QString& value) {
    const bool isResourceType = is(xml, Dav::ns, "resourcetype");
    const bool isComponentSet = is(xml, Dav::caldavNs, "supported-calendar-component-set");
    int depth = 1;
    while (depth > 0 && !xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement()) {
            ++depth;
            if (isResourceType && depth == 2)
                response.resourceTypes.append(keyOf(xml));
            else if (isComponentSet && is(xml, Dav::caldavNs, "comp"))
                response.components.append(
                    xml.attributes().value(QLatin1String("name")).toString());
            else if (is(xml, Dav::ns, "href") && value.trimmed().isEmpty()) {
                value = resolved(base, xml.readElementText()).toString();
                --depth; // readElementText ate the end tag
            }
        } else if (xml.isEndElement()) {
            --depth;
        } else if (xml.isCharacters() && depth == 1) {
            value += xml.text();
        }
    }
}

void readPropstat(QXmlStreamReader& xml, const QUrl& base, DavResponse& response) {
    QHash<QString, QString> values;
    int status = 0;
    while (xml.readNextStartElement()) {
        if (is(xml, Dav::ns, "prop")) {
            while (xml.readNextStartElement()) {
                const QString propKey = keyOf(xml);
                QString value;
                readProp(xml, base, response, value);
                values.insert(propKey, value);
            }
        } else if (is(xml, Dav::ns, "status")) {
            status = statusCode(xml.readElementText());
        } else {
            xml.skipCurrentElement();
        }
    }
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        response.propStatus.insert(it.key(), status);
        if (status >= 200 && status < 300)
            response.props.insert(it.key(), it.value());
    }
}

void readResponse(QXmlStreamReader& xml, const QUrl& base, DavResponse& response) {
    while (xml.readNextStartElement()) {
        if (is(xml, Dav::ns, "href")) {
            response.url = resolved(base, xml.readElementText());
        } else if (is(xml, Dav::ns, "status")) {
            response.status = statusCode(xml.readElementText());
        } else if (is(xml, Dav::ns, "propstat")) {
            readPropstat(xml, base, response);
        } else if (is(xml, Dav::ns, "error")) {
            while (xml.readNextStartElement()) {
                response.errors.append(xml.name().toString());
                xml.skipCurrentElement();
            }
        } else {
            xml.skipCurrentElement();
        }
    }
}

} // namespace

QString Dav::key(const char* ns, const char* local) {
    return QLatin1Char('{') + QLatin1String(ns) + QLatin1Char('}') + QLatin1String(local);
}

QString DavResponse::prop(const char* ns, const char* local) const {
    return props.value(Dav::key(ns, local));
}

bool DavResponse::isCalendar() const {
    return resourceTypes.contains(Dav::key(Dav::caldavNs, "calendar"));
}

bool DavMultiStatus::parse(const QByteArray& body, const QUrl& base, QString* error) {
    responses.clear();
    syncToken.clear();
    QXmlStreamReader xml(body);
    if (!xml.readNextStartElement() || !is(xml, Dav::ns, "multistatus")) {
        *error = xml.hasError() ? xml.errorString()
                                : QStringLiteral("the reply is not a DAV multistatus");
        return false;
    }
    while (xml.readNextStartElement()) {
        if (is(xml, Dav::ns, "response")) {
            DavResponse response;
            readResponse(xml, base, response);
            responses.append(response);
        } else if (is(xml, Dav::ns, "sync-token")) {
            syncToken = xml.readElementText().trimmed();
        } else {
            xml.skipCurrentElement();
        }
    }
    // Reading must reach the end of the document: a reply cut short ends in an error here.
    while (!xml.atEnd() && !xml.hasError())
        xml.readNext();
    if (xml.hasError()) {
        *error = QStringLiteral("the multistatus cannot be read: %1").arg(xml.errorString());
        responses.clear();
        return false;
    }
    return true;
}
