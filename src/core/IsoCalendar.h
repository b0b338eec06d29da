#pragma once

#include "WeekKey.h"

#include <QDate>
#include <QDateTime>

// The one calendar of the scheduling rules: ISO 8601 weeks (Monday first, week 1 holds the
// year's first Thursday) in the process's local time zone. Moments go in and out in UTC so
// that comparing them stays cheap; day boundaries are worked out in local time.
class IsoCalendar {
public:
    [[nodiscard]] QDate localDate(const QDateTime& moment) const;
    [[nodiscard]] QDateTime startOfDay(const QDateTime& moment) const;
    [[nodiscard]] QDateTime startOfDay(QDate day) const;
    [[nodiscard]] QDateTime startOfNextDay(const QDateTime& moment) const;
    [[nodiscard]] bool isSameDay(const QDateTime& a, const QDateTime& b) const;
    [[nodiscard]] WeekKey weekKey(const QDateTime& moment) const;
    // The moment at the given local wall-clock time on the day of `moment`.
    [[nodiscard]] QDateTime atTime(const QDateTime& moment, QTime time) const;
    [[nodiscard]] QDateTime addingDays(const QDateTime& moment, int days) const;
};
