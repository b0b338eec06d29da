#pragma once

#include <QUuid>

class TaskItem;

// What the board needs of reminder scheduling. The reminders module installs the real one.
class ReminderSink {
public:
    virtual ~ReminderSink() = default;
    // Replace or withdraw the pending reminder of this task, following its fields.
    virtual void sync(TaskItem* task) = 0;
    // Withdraw the pending reminder named by this task id (delivered ones stay).
    virtual void cancel(const QUuid& taskId) = 0;
};
