#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

// One calendar object resource: where it is, its ETag, and its text when the server sent it.
struct CalendarItem {
    QUrl url;
    QString etag;
    QByteArray data;
};

// What changed in a collection since a sync token: items added or changed (with their
// text where the server sent it), hrefs removed, and the token to ask from next time.
struct SyncDelta {
    QString token;
    QList<CalendarItem> changed;
    QList<QUrl> removed;
};
