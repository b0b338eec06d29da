#include "board/TaskListModel.h"

#include "TaskCategory.h"
#include "TaskItem.h"

#include <utility>

TaskListModel::TaskListModel(Bucket bucket, QObject* parent)
    : RecordListModel(
          {
              {TaskRole, "task"},
              {TaskIdRole, "taskId"},
              {TitleRole, "title"},
              {NoteRole, "note"},
              {HasNoteRole, "hasNote"},
              {CompletedRole, "completed"},
              {DueDateRole, "dueDate"},
              {ReminderAtRole, "reminderAt"},
              {ScheduledExplicitlyRole, "scheduledExplicitly"},
              {CategoryIdRole, "categoryId"},
              {CategoryNameRole, "categoryName"},
              {CategoryColorHexRole, "categoryColorHex"},
              {SortIndexRole, "sortIndex"},
              {BucketRole, "bucket"},
              {CompletingRole, "completing"},
              {IsGhostRole, "isGhost"},
              {IsDraggingRole, "isDragging"},
          },
          parent)
    , m_bucket(bucket) {
    // Outside a drag the column's count is its rows'.
    connect(this, &RecordListModel::countChanged, this, [this] {
        if (m_taskCount < 0)
            emit taskCountChanged();
    });
}

void TaskListModel::setTasks(const QList<TaskItem*>& tasks) {
    m_rowOfValid = false;
    diffRows(m_rows, tasks);
}

void TaskListModel::setTaskCount(int count) {
    const int before = taskCount();
    m_taskCount = count;
    if (taskCount() != before)
        emit taskCountChanged();
}

void TaskListModel::setGhost(TaskItem* task, bool dragging) {
    if (task == m_ghost && dragging == m_ghostDragging)
        return;
    TaskItem* previous = std::exchange(m_ghost, task);
    m_ghostDragging = dragging;
    for (const TaskItem* changed : {previous, task}) {
        const int row = changed ? rowOf(changed) : -1;
        if (row >= 0)
            emit dataChanged(index(row), index(row), {IsGhostRole, IsDraggingRole});
    }
}

void TaskListModel::removeTask(TaskItem* task) {
    const int row = rowOf(task);
    if (row < 0)
        return;
    m_rowOfValid = false;
    if (m_ghost == task)
        m_ghost = nullptr;
    takeRow(m_rows, row);
}

void TaskListModel::refreshTasks(const QSet<TaskItem*>& tasks) {
    for (TaskItem* task : tasks) {
        const int row = rowOf(task);
        if (row >= 0)
            emit dataChanged(index(row), index(row));
    }
}

void TaskListModel::refreshCategory(const TaskCategory* category) {
    for (int row = 0; row < count(); ++row) {
        if (m_rows[row]->category() == category)
            emit dataChanged(index(row), index(row),
                             {CategoryNameRole, CategoryColorHexRole, CategoryIdRole});
    }
}

void TaskListModel::setCompletingIds(const QSet<QUuid>& ids) {
    if (ids == m_completingIds)
        return;
    // Only the rows whose state flipped are redrawn.
    QSet<QUuid> flipped = ids;
    flipped.unite(m_completingIds);
    flipped.subtract(QSet<QUuid>(ids).intersect(m_completingIds));
    m_completingIds = ids;
    for (int row = 0; row < count() && !flipped.isEmpty(); ++row) {
        if (flipped.remove(m_rows[row]->id()))
            emit dataChanged(index(row), index(row), {CompletingRole});
    }
}

TaskItem* TaskListModel::taskAt(int row) const {
    return row >= 0 && row < count() ? m_rows[row] : nullptr;
}

QUuid TaskListModel::idAt(int row) const {
    return m_rows[row]->id();
}

QVariant TaskListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const TaskItem* task = m_rows[index.row()];
    const TaskCategory* category = task->category();
    switch (role) {
    case TaskRole:
        return QVariant::fromValue(const_cast<TaskItem*>(task));
    case TaskIdRole:
        return task->id().toString(QUuid::WithoutBraces);
    case Qt::DisplayRole:
    case TitleRole:
        return task->title();
    case NoteRole:
        return task->note();
    case HasNoteRole:
        return !task->note().isEmpty();
    case CompletedRole:
        return task->completed();
    case DueDateRole:
        return task->dueDate();
    case ReminderAtRole:
        return task->reminderAt();
    case ScheduledExplicitlyRole:
        return task->scheduledExplicitly();
    case CategoryIdRole:
        return category ? category->id().toString(QUuid::WithoutBraces) : QString();
    case CategoryNameRole:
        return category ? category->name() : QString();
    case CategoryColorHexRole:
        return category ? category->colorHex() : QString();
    case SortIndexRole:
        return task->sortIndex();
    case BucketRole:
        return bucketName();
    case CompletingRole:
        return m_completingIds.contains(task->id());
    case IsGhostRole:
        return task == m_ghost;
    case IsDraggingRole:
        return task == m_ghost && m_ghostDragging;
    }
    return {};
}

int TaskListModel::rowOf(const TaskItem* task) const {
    if (!m_rowOfValid) {
        m_rowOf.clear();
        m_rowOf.reserve(m_rows.size());
        for (int row = 0; row < count(); ++row)
            m_rowOf.insert(m_rows[row], row);
        m_rowOfValid = true;
    }
    return m_rowOf.value(task, -1);
}
