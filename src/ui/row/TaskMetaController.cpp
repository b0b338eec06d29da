#include "row/TaskMetaController.h"

#include "IsoCalendar.h"
#include "ScheduleFormat.h"
#include "TaskClassifier.h"
#include "TaskItem.h"

TaskMetaController::TaskMetaController(QObject* parent)
    : QObject(parent)
    , m_now(QDateTime::currentDateTimeUtc()) {}

void TaskMetaController::setTask(TaskItem* task) {
    if (m_task == task)
        return;
    if (m_task)
        disconnect(m_task, nullptr, this, nullptr);
    m_task = task;
    if (task) {
        for (auto signal :
             {&TaskItem::planChanged, &TaskItem::reminderAtChanged, &TaskItem::completedChanged,
              &TaskItem::categoryChanged, &TaskItem::noteChanged})
            connect(task, signal, this, &TaskMetaController::changed);
        // A task freed under a row leaves it blank rather than pointing at nothing.
        connect(task, &QObject::destroyed, this, &TaskMetaController::changed);
    }
    emit taskChanged();
    emit changed();
}

void TaskMetaController::setNow(const QDateTime& now) {
    if (m_now == now || !now.isValid())
        return;
    m_now = now.toUTC();
    emit nowChanged();
    emit changed();
}

bool TaskMetaController::hasReminder() const {
    return m_task && m_task->reminderAt().isValid();
}

bool TaskMetaController::reminderOverdue() const {
    return hasReminder() && !m_task->completed() && m_task->reminderAt() < m_now;
}

QString TaskMetaController::reminderText() const {
    if (!hasReminder())
        return {};
    const IsoCalendar calendar = TaskClassifier::calendar();
    const QDateTime at = m_task->reminderAt();
    // Inside today's column "today" goes without saying; anywhere else it is said.
    if (TaskClassifier::bucket(*m_task, m_now, calendar) == Bucket::today &&
        calendar.isSameDay(at, m_now))
        return ScheduleFormat::time(at);
    return ScheduleFormat::dayAndTime(at, m_now, calendar);
}

QString TaskMetaController::reminderDetail() const {
    if (!hasReminder())
        return {};
    return ScheduleFormat::dayAndTime(m_task->reminderAt(), m_now, TaskClassifier::calendar());
}

QDateTime TaskMetaController::visibleDueDate() const {
    // A reminder always speaks for the day, and today needs no saying.
    if (!m_task || m_task->reminderAt().isValid() || !m_task->dueDate().isValid())
        return {};
    if (TaskClassifier::calendar().isSameDay(m_task->dueDate(), m_now))
        return {};
    return m_task->dueDate();
}

bool TaskMetaController::dateOverdue() const {
    const QDateTime due = visibleDueDate();
    return due.isValid() && !m_task->completed() &&
           due < TaskClassifier::calendar().startOfDay(m_now);
}

QString TaskMetaController::dateText() const {
    const QDateTime due = visibleDueDate();
    if (!due.isValid())
        return {};
    return ScheduleFormat::day(due, m_now, TaskClassifier::calendar());
}

bool TaskMetaController::hasCategory() const {
    return m_task && m_task->category();
}

bool TaskMetaController::hasNote() const {
    return m_task && !m_task->note().isEmpty();
}

bool TaskMetaController::showsChips() const {
    return hasReminder() || hasVisibleDueDate() || hasCategory();
}

bool TaskMetaController::showsIcons() const {
    return showsChips() || hasNote();
}
