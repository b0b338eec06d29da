#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

// The XML of WebDAV and CalDAV: the namespaces, and a 207 Multi-Status read by namespace
// and local name (servers pick their own prefixes).
namespace Dav {
inline constexpr char ns[] = "DAV:";
inline constexpr char caldavNs[] = "urn:ietf:params:xml:ns:caldav";
inline constexpr char appleNs[] = "http://apple.com/ns/ical/";
inline constexpr char calendarServerNs[] = "http://calendarserver.org/ns/";

// "{namespace}local", the key of a property.
[[nodiscard]] QString key(const char* ns, const char* local);
} // namespace Dav

// One <response> of a Multi-Status.
struct DavResponse {
    QUrl url;                       // the href, resolved against the request's URL
    int status = 0;                 // the response's own status, 0 when given per property
    QHash<QString, QString> props;  // properties reported with a 2xx status, by Dav::key
    QHash<QString, int> propStatus; // every property's status, by Dav::key
    QStringList resourceTypes;      // keys of the resourcetype's children
    QStringList components;         // supported-calendar-component-set names
    QStringList errors;             // local names of preconditions in <error>

    [[nodiscard]] QString prop(const char* ns, const char* local) const;
    [[nodiscard]] bool isCalendar() const;
};

struct DavMultiStatus {
    QList<DavResponse> responses;
    QString syncToken; // the sync-token after the responses (sync-collection)

    // False with `error` set when the body is not a complete Multi-Status (a reply cut off
    // in the middle is refused, never read in part).
    [[nodiscard]] bool parse(const QByteArray& body, const QUrl& base, QString* error);
};
