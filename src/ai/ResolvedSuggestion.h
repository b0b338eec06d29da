#pragma once

#include <QDateTime>
#include <QMetaType>
#include <QString>
#include <QUuid>
#include <optional>

// A model's answer made usable: real moments, a real list of the user's or none. The list's
// id, name and colour are all set or all absent.
struct ResolvedSuggestion {
    Q_GADGET
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(QString note MEMBER note)
    Q_PROPERTY(QUuid listId READ listUuid)
    Q_PROPERTY(QString categoryName READ categoryNameText)
    Q_PROPERTY(QString categoryColorHex READ categoryColorText)
    Q_PROPERTY(QDateTime dueDate MEMBER dueDate)
    Q_PROPERTY(QDateTime reminderAt MEMBER reminderAt)
    Q_PROPERTY(QString summary READ summaryText)

public:
    QString title; // trimmed, never empty
    QString note;  // trimmed, "" for none
    std::optional<QUuid> listId;
    std::optional<QString> categoryName; // the list's own spelling, not the model's
    std::optional<QString> categoryColorHex;
    QDateTime dueDate;    // start of the day; invalid for none
    QDateTime reminderAt; // invalid for none
    std::optional<QString> summary;

    // Whether this improves on what the user typed (`rawInput` is trimmed here too): a new
    // title, or anything the raw line did not have as a field.
    [[nodiscard]] bool isMeaningful(const QString& rawInput) const;

    [[nodiscard]] QUuid listUuid() const { return listId.value_or(QUuid()); }
    [[nodiscard]] QString categoryNameText() const { return categoryName.value_or(QString()); }
    [[nodiscard]] QString categoryColorText() const { return categoryColorHex.value_or(QString()); }
    [[nodiscard]] QString summaryText() const { return summary.value_or(QString()); }

    friend bool operator==(const ResolvedSuggestion&, const ResolvedSuggestion&) = default;
};
Q_DECLARE_METATYPE(ResolvedSuggestion)
