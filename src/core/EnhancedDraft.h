#pragma once

#include <QDateTime>
#include <QString>
#include <QUuid>
#include <optional>

// A task about to be written: what the task dialog and an accepted suggestion hand over, as
// one value from the view that drafted it to the board that writes it.
// An invalid QDateTime means "none"; so does a null list id on the QML side.
struct EnhancedDraft {
    Q_GADGET
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(QString note MEMBER note)
    Q_PROPERTY(QUuid listId READ listUuid WRITE setListUuid)
    Q_PROPERTY(QDateTime dueDate MEMBER dueDate)
    Q_PROPERTY(QDateTime reminderAt MEMBER reminderAt)

public:
    QString title;
    QString note;
    std::optional<QUuid> listId;
    QDateTime dueDate;
    QDateTime reminderAt;

    [[nodiscard]] QUuid listUuid() const { return listId.value_or(QUuid()); }
    void setListUuid(const QUuid& id) {
        listId = id.isNull() ? std::nullopt : std::optional<QUuid>(id);
    }

    friend bool operator==(const EnhancedDraft&, const EnhancedDraft&) = default;
};
