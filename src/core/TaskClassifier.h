#pragma once

#include "Bucket.h"
#include "IsoCalendar.h"
#include "WeekKey.h"

#include <QDateTime>

class TaskItem;

// The one place that decides a task's column, from its fields and a moment.
namespace TaskClassifier {

[[nodiscard]] inline IsoCalendar calendar() {
    return IsoCalendar();
}

[[nodiscard]] WeekKey weekKey(const QDateTime& date, const IsoCalendar& calendar);

// The day boundaries and week of one `now`, worked out once so that classifying many tasks
// is only integer comparisons.
struct Moment {
    Moment(const QDateTime& now, const IsoCalendar& calendar);
    QDateTime now;
    qint64 startOfDayMs;     // start of the local day of now, ms since epoch
    qint64 startOfNextDayMs; // start of the next local day
    WeekKey week;
};

[[nodiscard]] Bucket bucket(const TaskItem& task, const Moment& moment);
[[nodiscard]] Bucket bucket(const TaskItem& task, const QDateTime& now,
                            const IsoCalendar& calendar);

} // namespace TaskClassifier
