#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>
#include <optional>

// A calendar collection on the server: one of the user's lists, or the default collection
// that holds tasks without one.
struct CalendarCollection {
    QUrl url;
    QString displayName;
    QString color;               // "#RRGGBB" or "#RRGGBBAA" as the server keeps it; may be empty
    std::optional<qint64> order; // calendar-order, where the server keeps it
    QString ctag;                // getctag, where offered
    QString syncToken;           // DAV:sync-token, where offered
    QStringList components;      // supported-calendar-component-set; empty when not advertised
};
