#pragma once

#include <QDate>
#include <QDateTime>
#include <QTime>

class IsoCalendar;

// The rules shared by every place that edits a day and a reminder (the task dialog, the
// schedule popover): the time proposed when none is set, tomorrow, and the reminder moment
// that a day and a time of day stand for. A day is the start of a local day; of a time only
// hour and minute count.
namespace ScheduleRules {

// `time` on the local `date`. A time that a daylight-saving jump skips moves forward by the
// length of the jump (02:30 on a spring-forward night reads 03:30), as a wall clock would.
[[nodiscard]] QDateTime wallClock(QDate date, QTime time, const IsoCalendar& calendar);

// The next half or full hour after `now`: 14:10 gives 14:30, 14:30 gives 15:00, and 23:45
// gives 00:00 of the next day.
[[nodiscard]] QDateTime defaultTime(const QDateTime& now, const IsoCalendar& calendar);

// The start of the day after `now`.
[[nodiscard]] QDateTime tomorrow(const QDateTime& now, const IsoCalendar& calendar);

// The hour and minute of `time` on `day`, or on today when there is no day; invalid when
// there is no time. Seconds are dropped.
[[nodiscard]] QDateTime resolvedReminder(const QDateTime& day, const QDateTime& time,
                                         const QDateTime& now, const IsoCalendar& calendar);

// Local hour × 60 + minute.
[[nodiscard]] int minutesOfDay(const QDateTime& moment);

} // namespace ScheduleRules
