#pragma once

#include "types/RecordTypes.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>

class TaskItem;

// What a row tells of a task's day and reminder: which chip or icon shows, its words and
// whether it is overdue. The row gives it the task and the present; it follows the task's
// fields by itself.
class TaskMetaController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(TaskItem* task READ task WRITE setTask NOTIFY taskChanged)
    Q_PROPERTY(QDateTime now READ now WRITE setNow NOTIFY nowChanged)

    Q_PROPERTY(bool hasReminder READ hasReminder NOTIFY changed)
    Q_PROPERTY(bool reminderOverdue READ reminderOverdue NOTIFY changed)
    // The chip: the time alone for today's reminder of a task in today's column.
    Q_PROPERTY(QString reminderText READ reminderText NOTIFY changed)
    // The compact row's popover: always the day and the time.
    Q_PROPERTY(QString reminderDetail READ reminderDetail NOTIFY changed)
    // A due date worth saying: none with a reminder, and none for today.
    Q_PROPERTY(QDateTime visibleDueDate READ visibleDueDate NOTIFY changed)
    Q_PROPERTY(bool hasVisibleDueDate READ hasVisibleDueDate NOTIFY changed)
    Q_PROPERTY(bool dateOverdue READ dateOverdue NOTIFY changed)
    Q_PROPERTY(QString dateText READ dateText NOTIFY changed)
    Q_PROPERTY(bool hasCategory READ hasCategory NOTIFY changed)
    Q_PROPERTY(bool hasNote READ hasNote NOTIFY changed)
    // The full row's chip line and the compact row's icons have something to show.
    Q_PROPERTY(bool showsChips READ showsChips NOTIFY changed)
    Q_PROPERTY(bool showsIcons READ showsIcons NOTIFY changed)

public:
    explicit TaskMetaController(QObject* parent = nullptr);

    [[nodiscard]] TaskItem* task() const { return m_task; }
    void setTask(TaskItem* task);
    [[nodiscard]] QDateTime now() const { return m_now; }
    void setNow(const QDateTime& now);

    [[nodiscard]] bool hasReminder() const;
    [[nodiscard]] bool reminderOverdue() const;
    [[nodiscard]] QString reminderText() const;
    [[nodiscard]] QString reminderDetail() const;
    [[nodiscard]] QDateTime visibleDueDate() const;
    [[nodiscard]] bool hasVisibleDueDate() const { return visibleDueDate().isValid(); }
    [[nodiscard]] bool dateOverdue() const;
    [[nodiscard]] QString dateText() const;
    [[nodiscard]] bool hasCategory() const;
    [[nodiscard]] bool hasNote() const;
    [[nodiscard]] bool showsChips() const;
    [[nodiscard]] bool showsIcons() const;

signals:
    void taskChanged();
    void nowChanged();
    void changed();

private:
    QPointer<TaskItem> m_task;
    QDateTime m_now;
};
