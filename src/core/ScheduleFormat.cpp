#include "ScheduleFormat.h"

#include "IsoCalendar.h"

namespace {

// Month and day in the order and with the characters that zh_Hans_CN uses for "MMMd".
const QString& dayPattern() {
    static const QString pattern = QStringLiteral("M月d日");
    return pattern;
}

} // namespace

namespace ScheduleFormat {

const QLocale& locale() {
    static const QLocale zh(QLocale::Chinese, QLocale::SimplifiedChineseScript, QLocale::China);
    return zh;
}

QString time(const QDateTime& moment) {
    if (!moment.isValid())
        return {};
    // The locale's short time is "HH:mm"; spelled out so that a changed CLDR table cannot
    // turn it into a 12-hour clock.
    return locale().toString(moment.toLocalTime().time(), QStringLiteral("HH:mm"));
}

QString day(const QDateTime& date, const QDateTime& now, const IsoCalendar& calendar) {
    if (!date.isValid())
        return {};
    const QDate local = calendar.localDate(date);
    const QDate today = calendar.localDate(now);
    if (local == today)
        return QStringLiteral("今天");
    if (local == today.addDays(1))
        return QStringLiteral("明天");
    return locale().toString(local, dayPattern());
}

QString dayAndTime(const QDateTime& moment, const QDateTime& now, const IsoCalendar& calendar) {
    if (!moment.isValid())
        return {};
    return day(moment, now, calendar) + QLatin1Char(' ') + time(moment);
}

std::optional<QString> shortLabel(const QDateTime& dueDate, const QDateTime& reminderAt,
                                  const QDateTime& now, const IsoCalendar& calendar) {
    if (reminderAt.isValid()) {
        if (calendar.isSameDay(reminderAt, now))
            return time(reminderAt);
        return dayAndTime(reminderAt, now, calendar);
    }
    if (dueDate.isValid())
        return day(dueDate, now, calendar);
    return std::nullopt;
}

QString monthTitle(QDate month) {
    if (!month.isValid())
        return {};
    return locale().toString(month, QStringLiteral("yyyy年M月"));
}

QStringList weekdaySymbols(Qt::DayOfWeek firstDay) {
    QStringList symbols;
    symbols.reserve(7);
    for (int i = 0; i < 7; ++i) {
        const int weekday = (int(firstDay) - 1 + i) % 7 + 1; // 1 = Monday ... 7 = Sunday
        symbols.append(locale().standaloneDayName(weekday, QLocale::NarrowFormat));
    }
    return symbols;
}

} // namespace ScheduleFormat
