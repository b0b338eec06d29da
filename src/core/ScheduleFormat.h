#pragma once

#include <QDate>
#include <QDateTime>
#include <QLocale>
#include <QString>
#include <QStringList>
#include <optional>

class IsoCalendar;

// The one source of day and time wording, always in Simplified Chinese whatever the desktop's
// language. "Today" and "tomorrow" are judged against the `now` passed in, in the local days
// of `calendar`.
namespace ScheduleFormat {

// zh_Hans_CN, made once.
[[nodiscard]] const QLocale& locale();

// 24-hour local time with two-digit hour and minute: "09:00", "15:30".
[[nodiscard]] QString time(const QDateTime& moment);

// "今天", "明天", or month and day without leading zeros ("6月20日"). A past day gets no word
// of its own, and neither does a day of another year.
[[nodiscard]] QString day(const QDateTime& date, const QDateTime& now, const IsoCalendar& calendar);

// The day, one blank and the time: "明天 09:00", "今天 15:30".
[[nodiscard]] QString dayAndTime(const QDateTime& moment, const QDateTime& now,
                                 const IsoCalendar& calendar);

// A chip's text for a plan: today's reminder as the time alone, another day's reminder as day
// and time, a day alone as the day; nothing without either.
[[nodiscard]] std::optional<QString> shortLabel(const QDateTime& dueDate,
                                                const QDateTime& reminderAt, const QDateTime& now,
                                                const IsoCalendar& calendar);

// A month grid's title: "2026年6月".
[[nodiscard]] QString monthTitle(QDate month);

// The one-character weekday names ("日", "一", ... "六"), starting at `firstDay`.
[[nodiscard]] QStringList weekdaySymbols(Qt::DayOfWeek firstDay);

} // namespace ScheduleFormat
