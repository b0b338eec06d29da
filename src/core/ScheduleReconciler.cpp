#include "ScheduleReconciler.h"

#include "IsoCalendar.h"
#include "ModelContext.h"
#include "Notifications.h"
#include "Preferences.h"
#include "TaskItem.h"

#include <algorithm>

namespace ScheduleReconciler {

void reconcile(ModelContext& context, const QDateTime& now, Preferences& preferences,
               NotificationHub& hub) {
    const IsoCalendar calendar;
    const QDateTime today = calendar.startOfDay(now);
    if (!today.isValid())
        return;

    const QDateTime lastDay = preferences.scheduleReconcileLastDay();
    if (lastDay.isValid() && calendar.isSameDay(lastDay, today))
        return;

    const QList<TaskItem*>& tasks = context.tasks();
    if (tasks.isEmpty()) {
        preferences.setScheduleReconcileLastDay(today);
        return;
    }

    qint64 maxSort = tasks.first()->sortIndex();
    for (const TaskItem* task : tasks)
        maxSort = std::max(maxSort, task->sortIndex());

    // A task due on or after the last run's day became overdue since then; older ones were
    // already lifted once and keep whatever place the user gave them afterwards.
    const qint64 todayMs = today.toMSecsSinceEpoch();
    const bool hasLastDay = lastDay.isValid();
    const qint64 lastDayStartMs = hasLastDay ? calendar.startOfDay(lastDay).toMSecsSinceEpoch() : 0;

    bool changed = false;
    // Lifting a task emits a change signal; walk a copy so a listener cannot disturb the loop.
    const QList<TaskItem*> snapshot = tasks;
    for (TaskItem* task : snapshot) {
        if (task->completed() || !task->dueDate().isValid())
            continue;
        const qint64 dueMs = task->dueDate().toMSecsSinceEpoch();
        if (dueMs >= todayMs)
            continue;
        if (!task->scheduledExplicitly()) {
            // The week stays, so the task goes on standing in thisWeek during that week.
            task->setDueDate({});
            task->setUpdatedAt(now);
            changed = true;
            continue;
        }
        if (hasLastDay && dueMs < lastDayStartMs)
            continue;
        task->setSortIndex(++maxSort);
        task->setUpdatedAt(now);
        changed = true;
    }

    preferences.setScheduleReconcileLastDay(today);
    if (changed)
        hub.post(TavikNotification::tasksChanged);
}

} // namespace ScheduleReconciler
