#pragma once

#include "Bucket.h"
#include "board/RecordListModel.h"
#include "types/RecordTypes.h"

#include <QHash>
#include <QList>
#include <QQmlEngine>
#include <QSet>
#include <QUuid>

class TaskItem;

// One column's tasks (or the done list) for the views. The board hands it each new list;
// field changes of a task come as dataChanged on its row.
class TaskListModel : public RecordListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The board controller owns the task lists.")
    // The column's tasks. While a drag is on this counts the dragged task, which the rows
    // leave out wherever it stood.
    Q_PROPERTY(int taskCount READ taskCount NOTIFY taskCountChanged)
    Q_PROPERTY(QString bucket READ bucketName CONSTANT)
    // The column's heading, or the done list's.
    Q_PROPERTY(QString title READ title CONSTANT)
public:
    enum Role {
        TaskRole = Qt::UserRole + 1,
        TaskIdRole,
        TitleRole,
        NoteRole,
        HasNoteRole,
        CompletedRole,
        DueDateRole,
        ReminderAtRole,
        ScheduledExplicitlyRole,
        CategoryIdRole,
        CategoryNameRole,
        CategoryColorHexRole,
        SortIndexRole,
        BucketRole,
        CompletingRole,
        // The row stands for a dragged task: the placeholder where it would land.
        IsGhostRole,
        // The placeholder while the drag is still on (drawn faded).
        IsDraggingRole,
    };
    Q_ENUM(Role)

    explicit TaskListModel(Bucket bucket, QObject* parent = nullptr);

    [[nodiscard]] Bucket bucket() const { return m_bucket; }
    [[nodiscard]] QString bucketName() const { return BucketInfo::rawValue(m_bucket); }
    [[nodiscard]] QString title() const { return BucketInfo::title(m_bucket); }
    [[nodiscard]] int count() const override { return int(m_rows.size()); }
    [[nodiscard]] const QList<TaskItem*>& tasks() const { return m_rows; }

    // Brings the rows to `tasks` (distinct records, in display order).
    void setTasks(const QList<TaskItem*>& tasks);
    [[nodiscard]] int taskCount() const { return m_taskCount < 0 ? count() : m_taskCount; }
    // The count of the column when it differs from its rows (during a drag); -1 follows them.
    void setTaskCount(int count);
    // The row of `task` is the drag placeholder (nullptr: none); `dragging` while the drag
    // is on rather than being committed.
    void setGhost(TaskItem* task, bool dragging);
    // A record left the store: its row goes at once, before the record itself can.
    void removeTask(TaskItem* task);
    // These records changed a field: their rows are redrawn.
    void refreshTasks(const QSet<TaskItem*>& tasks);
    // Rows whose list is `category` (its name or colour changed).
    void refreshCategory(const TaskCategory* category);
    void setCompletingIds(const QSet<QUuid>& ids);

    Q_INVOKABLE [[nodiscard]] TaskItem* taskAt(int row) const;

    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

signals:
    void taskCountChanged();

protected:
    [[nodiscard]] QUuid idAt(int row) const override;

private:
    [[nodiscard]] int rowOf(const TaskItem* task) const;

    Bucket m_bucket;
    QList<TaskItem*> m_rows;
    QSet<QUuid> m_completingIds;
    int m_taskCount = -1;
    TaskItem* m_ghost = nullptr;
    bool m_ghostDragging = false;
    // Row of each task, rebuilt on first use after the rows moved.
    mutable QHash<const TaskItem*, int> m_rowOf;
    mutable bool m_rowOfValid = false;
};
