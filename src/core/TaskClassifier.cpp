#include "TaskClassifier.h"

#include "TaskItem.h"

namespace TaskClassifier {

WeekKey weekKey(const QDateTime& date, const IsoCalendar& calendar) {
    return calendar.weekKey(date);
}

Moment::Moment(const QDateTime& now, const IsoCalendar& calendar)
    : now(now)
    , startOfDayMs(calendar.startOfDay(now).toMSecsSinceEpoch())
    , startOfNextDayMs(calendar.startOfNextDay(now).toMSecsSinceEpoch())
    , week(calendar.weekKey(now)) {}

Bucket bucket(const TaskItem& task, const Moment& moment) {
    if (task.completed())
        return Bucket::done;
    const QDateTime& due = task.dueDate();
    if (due.isValid()) {
        const qint64 dueMs = due.toMSecsSinceEpoch();
        if (dueMs >= moment.startOfDayMs && dueMs < moment.startOfNextDayMs)
            return Bucket::today;
        // An explicitly scheduled task stays in today once overdue, until done or moved.
        if (task.scheduledExplicitly() && dueMs < moment.startOfDayMs)
            return Bucket::today;
    }
    if (!task.year() || !task.week())
        return Bucket::later;
    if (*task.year() == moment.week.year && *task.week() == moment.week.week)
        return Bucket::thisWeek;
    return Bucket::later;
}

Bucket bucket(const TaskItem& task, const QDateTime& now, const IsoCalendar& calendar) {
    return bucket(task, Moment(now, calendar));
}

} // namespace TaskClassifier
