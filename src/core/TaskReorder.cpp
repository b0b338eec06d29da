#include "TaskReorder.h"

#include "TaskItem.h"

namespace TaskReorder {

void place(TaskItem* task, const TaskItem* before, const QList<TaskItem*>& column,
           const QDateTime& now) {
    if (!task)
        return;

    qsizetype index = column.size();
    if (before) {
        const QUuid beforeId = before->id();
        for (qsizetype i = 0; i < column.size(); ++i) {
            if (column.at(i)->id() == beforeId) {
                index = i;
                break;
            }
        }
    }
    const TaskItem* previous = index > 0 ? column.at(index - 1) : nullptr;
    const TaskItem* next = index < column.size() ? column.at(index) : nullptr;

    if (!previous && !next) {
        task->setSortIndex(0);
    } else if (!previous) {
        task->setSortIndex(next->sortIndex() + gap);
    } else if (!next) {
        task->setSortIndex(previous->sortIndex() - gap);
    } else if (previous->sortIndex() - next->sortIndex() >= 2) {
        // C++ division truncates toward zero, which is the rounding the order relies on.
        task->setSortIndex((previous->sortIndex() + next->sortIndex()) / 2);
    } else {
        // No integer left between the neighbours (or they run the wrong way): rewrite the
        // placed task and everything under it, in the order the column showed.
        qint64 value = previous->sortIndex() - gap;
        task->setSortIndex(value);
        for (qsizetype i = index; i < column.size(); ++i) {
            value -= gap;
            TaskItem* row = column.at(i);
            row->setSortIndex(value);
            row->setUpdatedAt(now);
        }
    }
    task->setUpdatedAt(now);
}

} // namespace TaskReorder
