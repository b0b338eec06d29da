#pragma once

#include "TaskFields.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

// A task as an iCalendar VTODO, the form it takes on the CalDAV server: UID = task id, and
// the standard properties other clients read (SUMMARY, DESCRIPTION, STATUS, COMPLETED,
// PERCENT-COMPLETE, DUE as a day, an absolute VALARM, CREATED, LAST-MODIFIED, DTSTAMP,
// X-APPLE-SORT-ORDER), with X-TAVIK-* for what has no standard property.
namespace VtodoCodec {

// Decodes the first VTODO of `text`. False with `error` set when the text is no calendar,
// holds no VTODO or no UID, or a property Tavik reads cannot be read: never half a task.
// A UID that is not a UUID (items made by other clients) gets a stable name-based one.
[[nodiscard]] bool decode(const QByteArray& text, TaskFields* out, QString* error);

// The item text for `fields`. With `stored` (the server's last text of the item), only the
// properties whose value changes are rewritten, so everything else another client put
// there survives; without it, or when it cannot be read, a new item. DTSTAMP is `now`.
[[nodiscard]] QByteArray encode(const TaskFields& fields, const QByteArray& stored,
                                const QDateTime& now);

// libical fills its table of zones on first use, unguarded against a reader on another
// thread: this fills it on the calling thread, after which decode() may run on a worker.
void loadZones();

// The UID of the first VTODO, or empty.
[[nodiscard]] QString uid(const QByteArray& text);

} // namespace VtodoCodec
