#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

// What went wrong with one CalDAV request, in the classes the mirror acts on and the user
// is told about (network, sign-in, quota, anything else).
struct CalDavError {
    enum class Kind {
        none,
        network,      // no answer: no network, refused, reset, timed out
        signIn,       // 401, or 403 that is not about a token or quota
        quota,        // 507, or a quota precondition
        tokenRefused, // the sync token is no longer valid: start a full listing
        conflict,     // 412: the item changed on the server since we read it
        notFound,     // 404 or 410
        rejected,     // the server refused this item (400, 409, 413, 415, 207 inside a PUT)
        server,       // any other status or a reply that cannot be read
    };

    Kind kind = Kind::none;
    int httpStatus = 0;
    QString detail;          // for the log: the status, the precondition, the reply's words
    int retryAfterSecs = -1; // from Retry-After, or -1

    [[nodiscard]] bool isError() const { return kind != Kind::none; }
    // The sentence for the sync status section.
    [[nodiscard]] QString userText() const;

    // The class of an HTTP status and its body (which names a precondition, if any).
    [[nodiscard]] static CalDavError fromStatus(int status, const QByteArray& body);
    [[nodiscard]] static CalDavError network(const QString& detail);
    [[nodiscard]] static CalDavError protocol(int status, const QString& detail);
    // Seconds from a Retry-After value (delta-seconds or an HTTP date), or -1.
    [[nodiscard]] static int parseRetryAfter(const QByteArray& value, const QDateTime& now);
};
