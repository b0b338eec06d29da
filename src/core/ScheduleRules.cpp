#include "ScheduleRules.h"

#include "IsoCalendar.h"

namespace ScheduleRules {

QDateTime wallClock(QDate date, QTime time, const IsoCalendar& calendar) {
    if (!date.isValid() || !time.isValid())
        return {};
    const QDateTime exact(date, time, Qt::LocalTime);
    if (exact.isValid())
        return exact.toUTC();
    // In a gap: count the time from the start of the day, which lands past the jump.
    return calendar.startOfDay(date).addMSecs(time.msecsSinceStartOfDay());
}

QDateTime defaultTime(const QDateTime& now, const IsoCalendar& calendar) {
    if (!now.isValid())
        return now;
    const QDate date = calendar.localDate(now);
    const QTime clock = now.toLocalTime().time();
    int hour = clock.hour();
    int minute = 30;
    if (clock.minute() >= 30) {
        hour += 1;
        minute = 0;
    }
    // Hour 24 is midnight of the next day.
    const QDateTime result = hour == 24 ? wallClock(date.addDays(1), QTime(0, 0), calendar)
                                        : wallClock(date, QTime(hour, minute), calendar);
    return result.isValid() ? result : now;
}

QDateTime tomorrow(const QDateTime& now, const IsoCalendar& calendar) {
    if (!now.isValid())
        return {};
    const QDateTime next = calendar.startOfDay(calendar.localDate(now).addDays(1));
    return next.isValid() ? next : calendar.startOfDay(now);
}

QDateTime resolvedReminder(const QDateTime& day, const QDateTime& time, const QDateTime& now,
                           const IsoCalendar& calendar) {
    if (!time.isValid())
        return {};
    const QDate base = day.isValid() ? calendar.localDate(day) : calendar.localDate(now);
    const QTime clock = time.toLocalTime().time();
    return wallClock(base, QTime(clock.hour(), clock.minute()), calendar);
}

int minutesOfDay(const QDateTime& moment) {
    const QTime clock = moment.toLocalTime().time();
    return clock.hour() * 60 + clock.minute();
}

} // namespace ScheduleRules
