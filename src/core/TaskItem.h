#pragma once

#include "Bucket.h"
#include "RichText.h"
#include "WeekKey.h"

#include <QByteArray>
#include <QDateTime>
#include <QObject>
#include <QString>
#include <QUuid>
#include <optional>

class IsoCalendar;
class ModelContext;
class TaskCategory;

// A task. Its column is never stored: TaskClassifier works it out from the planning fields
// (year, week, dueDate, scheduledExplicitly) and the clock. Dates are moments in UTC; an
// invalid QDateTime means "none". Setters mark the record changed in its context; only the
// operations below stamp updatedAt.
class TaskItem : public QObject {
    Q_OBJECT
    Q_PROPERTY(QUuid id READ id CONSTANT)
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(QString note READ note WRITE setNote NOTIFY noteChanged)
    Q_PROPERTY(bool completed READ completed NOTIFY completedChanged)
    Q_PROPERTY(QDateTime completedAt READ completedAt NOTIFY completedChanged)
    Q_PROPERTY(QDateTime dueDate READ dueDate NOTIFY planChanged)
    Q_PROPERTY(QDateTime reminderAt READ reminderAt WRITE setReminderAt NOTIFY reminderAtChanged)
    Q_PROPERTY(bool scheduledExplicitly READ scheduledExplicitly NOTIFY planChanged)
    Q_PROPERTY(TaskCategory* category READ category NOTIFY categoryChanged)
    Q_PROPERTY(qint64 sortIndex READ sortIndex WRITE setSortIndex NOTIFY sortIndexChanged)
    Q_PROPERTY(QDateTime createdAt READ createdAt CONSTANT)
    Q_PROPERTY(QDateTime updatedAt READ updatedAt NOTIFY updatedAtChanged)

public:
    // createdAt and updatedAt hold the identical instant `now`.
    TaskItem(const QString& title, qint64 sortIndex, const QDateTime& now);
    // A record as it was stored (the store and the importer).
    TaskItem(const QUuid& id, const QDateTime& createdAt);

    [[nodiscard]] QUuid id() const { return m_id; }
    [[nodiscard]] QString title() const { return m_title; }
    [[nodiscard]] QString note() const { return m_note; }
    [[nodiscard]] QByteArray noteData() const { return m_noteData; }
    [[nodiscard]] bool completed() const { return m_completed; }
    [[nodiscard]] QDateTime completedAt() const { return m_completedAt; }
    [[nodiscard]] QDateTime dueDate() const { return m_dueDate; }
    [[nodiscard]] std::optional<qint64> year() const { return m_year; }
    [[nodiscard]] std::optional<qint64> week() const { return m_week; }
    [[nodiscard]] QDateTime reminderAt() const { return m_reminderAt; }
    [[nodiscard]] bool scheduledExplicitly() const { return m_scheduledExplicitly; }
    [[nodiscard]] TaskCategory* category() const { return m_category; }
    [[nodiscard]] qint64 sortIndex() const { return m_sortIndex; }
    [[nodiscard]] QDateTime createdAt() const { return m_createdAt; }
    [[nodiscard]] QDateTime updatedAt() const { return m_updatedAt; }

    // Raw field writes. None of them stamps updatedAt.
    void setTitle(const QString& title);
    void setNote(const QString& note);
    void setNoteData(const QByteArray& noteData);
    void setCompleted(bool completed);
    void setCompletedAt(const QDateTime& completedAt);
    void setDueDate(const QDateTime& dueDate);
    void setWeek(std::optional<qint64> year, std::optional<qint64> week);
    void setReminderAt(const QDateTime& reminderAt);
    void setScheduledExplicitly(bool explicitly);
    void setCategory(TaskCategory* category);
    void setSortIndex(qint64 sortIndex);
    void setUpdatedAt(const QDateTime& updatedAt);

    // Plan the task for a day (explicitly), or clear its plan with an invalid date.
    void schedule(const QDateTime& day, const QDateTime& now, const IsoCalendar& calendar);
    // Rewrite the plan as if the task had been placed in that column.
    void move(Bucket to, const QDateTime& now, const IsoCalendar& calendar);
    // Finish or reopen; the plan stays.
    void setCompleted(bool completed, const QDateTime& now);

    // The note with its formatting. Falls back to `note` when noteData is empty or does not
    // decode. Writing it sets both forms and stamps updatedAt.
    [[nodiscard]] RichText richNote() const;
    void setRichNote(const RichText& value, const QDateTime& now);

    [[nodiscard]] ModelContext* modelContext() const { return m_context; }
    // Deleted from its context; writes to it no longer reach the store.
    [[nodiscard]] bool isDeleted() const { return m_deleted; }

signals:
    void titleChanged();
    void noteChanged();
    void completedChanged();
    void planChanged();
    void reminderAtChanged();
    void categoryChanged();
    void sortIndexChanged();
    void updatedAtChanged();

private:
    friend class ModelContext;
    friend class StoreQuery;
    void markChanged();

    QUuid m_id;
    QString m_title;
    QString m_note;
    QByteArray m_noteData;
    bool m_completed = false;
    QDateTime m_completedAt;
    QDateTime m_dueDate;
    std::optional<qint64> m_year;
    std::optional<qint64> m_week;
    QDateTime m_reminderAt;
    bool m_scheduledExplicitly = false;
    TaskCategory* m_category = nullptr; // the context nulls it when the list is deleted
    qint64 m_sortIndex = 0;
    QDateTime m_createdAt;
    QDateTime m_updatedAt;

    ModelContext* m_context = nullptr;
    bool m_deleted = false;
};
