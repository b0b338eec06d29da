#include "board/TaskListModel.h"

#include "TaskCategory.h"
#include "TaskItem.h"
#include "board/ListDiff.h"

#include <utility>

TaskListModel::TaskListModel(Bucket bucket, QObject* parent)
    : QAbstractListModel(parent)
    , m_bucket(bucket) {}

void TaskListModel::setTasks(const QList<TaskItem*>& tasks) {
    if (tasks == m_rows)
        return;
    const int before = count();
    const QList<ListDiff::Step> steps = ListDiff::steps(m_rows, tasks);
    m_rowOfValid = false;
    if (steps.size() > maxAnimatedSteps) {
        beginResetModel();
        m_rows = tasks;
        endResetModel();
    } else {
        for (const ListDiff::Step& step : steps) {
            switch (step.kind) {
            case ListDiff::StepKind::remove:
                beginRemoveRows({}, step.first, step.first + step.count - 1);
                ListDiff::apply(m_rows, step, tasks);
                endRemoveRows();
                break;
            case ListDiff::StepKind::insert:
                beginInsertRows({}, step.first, step.first + step.count - 1);
                ListDiff::apply(m_rows, step, tasks);
                endInsertRows();
                break;
            case ListDiff::StepKind::move:
                // Qt names the destination in the rows as they are before the move.
                beginMoveRows({}, step.first, step.first, {},
                              step.to > step.first ? step.to + 1 : step.to);
                ListDiff::apply(m_rows, step, tasks);
                endMoveRows();
                break;
            }
        }
    }
    if (count() != before) {
        emit countChanged();
        if (m_taskCount < 0)
            emit taskCountChanged();
    }
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
    beginRemoveRows({}, row, row);
    m_rows.removeAt(row);
    m_rowOfValid = false;
    if (m_ghost == task)
        m_ghost = nullptr;
    endRemoveRows();
    emit countChanged();
    if (m_taskCount < 0)
        emit taskCountChanged();
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

int TaskListModel::indexOfId(const QString& taskId) const {
    const QUuid id = QUuid::fromString(taskId);
    if (id.isNull())
        return -1;
    for (int row = 0; row < count(); ++row) {
        if (m_rows[row]->id() == id)
            return row;
    }
    return -1;
}

int TaskListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
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

QHash<int, QByteArray> TaskListModel::roleNames() const {
    return {
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
    };
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
