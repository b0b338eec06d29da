#include "TaskFields.h"

#include "TaskItem.h"

namespace {

// Two "none" dates are equal; two set ones compare to the second, the precision of
// iCalendar, so that a round trip through the server changes nothing.
bool sameMoment(const QDateTime& a, const QDateTime& b) {
    return a.isValid() == b.isValid() &&
           (!a.isValid() || a.toSecsSinceEpoch() == b.toSecsSinceEpoch());
}

} // namespace

TaskFields TaskFields::fromTask(const TaskItem& task) {
    TaskFields fields;
    fields.id = task.id();
    fields.title = task.title();
    fields.note = task.note();
    fields.noteData = task.noteData();
    fields.completed = task.completed();
    fields.completedAt = task.completedAt();
    fields.dueDate = task.dueDate();
    fields.year = task.year();
    fields.week = task.week();
    fields.reminderAt = task.reminderAt();
    fields.scheduledExplicitly = task.scheduledExplicitly();
    fields.sortIndex = task.sortIndex();
    fields.createdAt = task.createdAt();
    fields.updatedAt = task.updatedAt();
    return fields;
}

void TaskFields::applyTo(TaskItem& task) const {
    task.setTitle(title);
    task.setNote(note);
    task.setNoteData(noteData);
    task.setCompleted(completed);
    task.setCompletedAt(completedAt);
    task.setDueDate(dueDate);
    task.setWeek(year, week);
    task.setReminderAt(reminderAt);
    task.setScheduledExplicitly(scheduledExplicitly);
    task.setSortIndex(sortIndex);
    if (updatedAt.isValid())
        task.setUpdatedAt(updatedAt);
}

bool TaskFields::sameTitle(const TaskFields& other) const {
    return title == other.title;
}

bool TaskFields::sameNote(const TaskFields& other) const {
    return note == other.note && noteData == other.noteData;
}

bool TaskFields::sameCompletion(const TaskFields& other) const {
    return completed == other.completed && sameMoment(completedAt, other.completedAt);
}

bool TaskFields::samePlan(const TaskFields& other) const {
    return sameMoment(dueDate, other.dueDate) && year == other.year && week == other.week &&
           scheduledExplicitly == other.scheduledExplicitly;
}

bool TaskFields::sameReminder(const TaskFields& other) const {
    return sameMoment(reminderAt, other.reminderAt);
}

bool TaskFields::sameSortIndex(const TaskFields& other) const {
    return sortIndex == other.sortIndex;
}

bool TaskFields::sameContent(const TaskFields& other) const {
    return sameTitle(other) && sameNote(other) && sameCompletion(other) && samePlan(other) &&
           sameReminder(other) && sameSortIndex(other);
}
