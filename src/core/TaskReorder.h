#pragma once

#include <QDateTime>
#include <QList>

class TaskItem;

// Gives a task the sortIndex that places it at a spot of a column (larger first).
namespace TaskReorder {

inline constexpr qint64 gap = 1024;

// `column` is in display order and must not hold `task`. A null or absent `before` means the
// bottom of the column. Renumbers the rows under the spot when no integer is left between
// the neighbours.
void place(TaskItem* task, const TaskItem* before, const QList<TaskItem*>& column,
           const QDateTime& now);

} // namespace TaskReorder
