#pragma once

#include <QDateTime>
#include <QString>
#include <QUuid>
#include <optional>

// A task about to be written: what the task dialog and an accepted suggestion hand over.
// An invalid QDateTime means "none".
struct EnhancedDraft {
    QString title;
    QString note;
    std::optional<QUuid> listId;
    QDateTime dueDate;
    QDateTime reminderAt;
};
