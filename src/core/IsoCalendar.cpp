#include "IsoCalendar.h"

#include <QTimeZone>

QDate IsoCalendar::localDate(const QDateTime& moment) const {
    return moment.toLocalTime().date();
}

QDateTime IsoCalendar::startOfDay(const QDateTime& moment) const {
    if (!moment.isValid())
        return {};
    return startOfDay(localDate(moment));
}

QDateTime IsoCalendar::startOfDay(QDate day) const {
    // QDate::startOfDay copes with zones whose day begins after a DST jump at midnight.
    return day.startOfDay(Qt::LocalTime).toUTC();
}

QDateTime IsoCalendar::startOfNextDay(const QDateTime& moment) const {
    return startOfDay(localDate(moment).addDays(1));
}

bool IsoCalendar::isSameDay(const QDateTime& a, const QDateTime& b) const {
    return a.isValid() && b.isValid() && localDate(a) == localDate(b);
}

WeekKey IsoCalendar::weekKey(const QDateTime& moment) const {
    if (!moment.isValid())
        return {};
    int weekYear = 0;
    const int week = localDate(moment).weekNumber(&weekYear);
    return WeekKey{weekYear, week};
}

QDateTime IsoCalendar::atTime(const QDateTime& moment, QTime time) const {
    return QDateTime(localDate(moment), time, Qt::LocalTime).toUTC();
}

QDateTime IsoCalendar::addingDays(const QDateTime& moment, int days) const {
    return moment.toLocalTime().addDays(days).toUTC();
}
