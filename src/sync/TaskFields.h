#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QUuid>
#include <optional>

class TaskItem;

// A task as the mirror carries it: the fields a VTODO holds, as a plain value that can be
// decoded, compared and merged without touching the board. The list is not here: it is the
// collection the item lives in.
struct TaskFields {
    QUuid id;
    QString title;
    QString note;
    QByteArray noteData; // the rich note's JSON, empty when the note is plain
    bool completed = false;
    QDateTime completedAt;
    QDateTime dueDate; // start of the local day, UTC
    std::optional<qint64> year;
    std::optional<qint64> week;
    QDateTime reminderAt;
    bool scheduledExplicitly = false;
    qint64 sortIndex = 0;
    QDateTime createdAt;
    QDateTime updatedAt;

    [[nodiscard]] static TaskFields fromTask(const TaskItem& task);
    // Writes the fields that differ into `task` (same id), stamping nothing of its own.
    void applyTo(TaskItem& task) const;

    // The groups of fields that change together, as the merge and the encoder see them.
    [[nodiscard]] bool sameTitle(const TaskFields& other) const;
    [[nodiscard]] bool sameNote(const TaskFields& other) const;
    [[nodiscard]] bool sameCompletion(const TaskFields& other) const;
    [[nodiscard]] bool samePlan(const TaskFields& other) const;
    [[nodiscard]] bool sameReminder(const TaskFields& other) const;
    [[nodiscard]] bool sameSortIndex(const TaskFields& other) const;
    // Every group above (timestamps aside).
    [[nodiscard]] bool sameContent(const TaskFields& other) const;
};
