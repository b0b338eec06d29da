#pragma once

#include <QDateTime>
#include <QString>
#include <functional>
#include <optional>

class Clock;
class ModelContext;
class NotificationHub;
class ReminderScheduler;
class TaskItem;

// What the user chose on a delivered reminder, carried out on the board's own main context
// without showing the application: finish the task, or move the reminder and the task's day.
namespace ReminderActions {

// What an action works on: the store's main context and the parts that follow a change.
struct Environment {
    ModelContext& context;
    ReminderScheduler& scheduler;
    NotificationHub& hub;
    const Clock& clock;
};

// True for the five action identifiers, whatever became of the task; false for any other,
// which does nothing. A missing, malformed or unknown task id changes nothing.
bool perform(const QString& action, const std::optional<QString>& taskId,
             const Environment& environment);

// `hour`:00 today when that is still ahead and `allowToday`, else the same time tomorrow.
[[nodiscard]] QDateTime nextTime(int hour, bool allowToday, const QDateTime& now);

// Moves the reminder to `target` and the task's day to the target's day.
void snoozeTask(const std::optional<QString>& taskId, const Environment& environment,
                const QDateTime& target, const QDateTime& now);

// Finds the task, runs `body` on it, saves, re-syncs its reminder and tells the app.
void mutateTask(const std::optional<QString>& taskId, const Environment& environment,
                const std::function<void(TaskItem&)>& body);

} // namespace ReminderActions
