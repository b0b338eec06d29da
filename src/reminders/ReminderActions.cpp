#include "ReminderActions.h"

#include "Clock.h"
#include "IsoCalendar.h"
#include "ModelContext.h"
#include "Notifications.h"
#include "ReminderScheduler.h"
#include "TaskItem.h"

namespace ReminderActions {

bool perform(const QString& action, const std::optional<QString>& taskId,
             const Environment& environment) {
    using Action = ReminderScheduler::Action;
    // Snoozes count from the moment the answer arrives, not from the old reminder.
    const QDateTime now = environment.clock.now();

    if (action == Action::complete) {
        mutateTask(taskId, environment, [&now](TaskItem& task) { task.setCompleted(true, now); });
    } else if (action == Action::snooze10m) {
        snoozeTask(taskId, environment, now.addSecs(600), now);
    } else if (action == Action::snooze1h) {
        snoozeTask(taskId, environment, now.addSecs(3600), now);
    } else if (action == Action::snoozeEvening) {
        snoozeTask(taskId, environment, nextTime(18, true, now), now);
    } else if (action == Action::snoozeTomorrow) {
        snoozeTask(taskId, environment, nextTime(9, false, now), now);
    } else {
        return false;
    }
    return true;
}

QDateTime nextTime(int hour, bool allowToday, const QDateTime& now) {
    const IsoCalendar calendar;
    QDateTime candidate = calendar.atTime(now, QTime(hour, 0));
    if (!candidate.isValid())
        candidate = now;
    if (allowToday && candidate > now)
        return candidate;
    const QDateTime tomorrow = calendar.addingDays(candidate, 1);
    return tomorrow.isValid() ? tomorrow : candidate;
}

void snoozeTask(const std::optional<QString>& taskId, const Environment& environment,
                const QDateTime& target, const QDateTime& now) {
    mutateTask(taskId, environment, [&](TaskItem& task) {
        const IsoCalendar calendar;
        // The task moves to the column of the day it will remind on.
        task.schedule(calendar.startOfDay(target), now, calendar);
        task.setReminderAt(target);
    });
}

void mutateTask(const std::optional<QString>& taskId, const Environment& environment,
                const std::function<void(TaskItem&)>& body) {
    const std::optional<QUuid> id = taskId ? ReminderScheduler::taskId(*taskId) : std::nullopt;
    if (!id)
        return;
    TaskItem* task = environment.context.task(*id);
    if (!task)
        return; // deleted after its reminder was scheduled

    body(*task);
    // A failure here is not reported: the change stays in the context, and the checked save
    // that tavikTasksChanged sets off tries again and tells the user.
    QString ignored;
    environment.context.save(&ignored);
    environment.scheduler.sync(task);
    environment.hub.post(TavikNotification::tasksChanged);
}

} // namespace ReminderActions
