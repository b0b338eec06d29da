#pragma once

#include "AppSound.h"
#include "Bucket.h"
#include "EnhancedDraft.h"
#include "IsoCalendar.h"
#include "TaskClassifier.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QUuid>
#include <optional>

class Clock;
class ModelContext;
class NotificationHub;
class Preferences;
class ReminderSink;
class SoundSink;
class TaskCategory;
class TaskItem;

// The board without its screen: the column lists derived from the store, the selected list,
// the board's `now`, and every action a user can take. Actions change records in the context
// and post tavikTasksChanged; they never save.
class BoardModel : public QObject {
    Q_OBJECT
public:
    // Delay between a checkbox tick and the write that completes the task.
    static constexpr int completionDelayMs = 300;

    BoardModel(ModelContext& context, Preferences& preferences, const Clock& clock,
               NotificationHub& hub, QObject* parent = nullptr);

    // Optional collaborators; without them the calls are skipped.
    void setReminderSink(ReminderSink* reminders) { m_reminders = reminders; }
    void setSoundSink(SoundSink* sounds) { m_sounds = sounds; }
    [[nodiscard]] ReminderSink* reminderSink() const { return m_reminders; }

    [[nodiscard]] ModelContext& context() const { return m_context; }

    // Every task, largest sortIndex first; finished ones included.
    [[nodiscard]] const QList<TaskItem*>& allTasks() const;
    // Every list, smallest sortIndex first.
    [[nodiscard]] const QList<TaskCategory*>& categories() const;
    // Tasks by bucket with the board's `now`, each largest sortIndex first. Empty buckets
    // have no entry.
    [[nodiscard]] const QHash<Bucket, QList<TaskItem*>>& grouped() const;
    // What a column shows: `later` narrowed to the selected list, the rest unfiltered.
    [[nodiscard]] QList<TaskItem*> tasks(Bucket bucket) const;
    [[nodiscard]] QList<TaskItem*> doneTasks() const;
    [[nodiscard]] Bucket bucketOf(const TaskItem& task) const;

    [[nodiscard]] std::optional<QUuid> selectedCategoryId() const { return m_selectedCategoryId; }
    void setSelectedCategoryId(std::optional<QUuid> id);
    void restoreSelectedList();

    [[nodiscard]] bool compactRows() const;
    void setCompactRows(bool compact);

    [[nodiscard]] QDateTime now() const { return m_now; }
    // Takes the clock's present moment: on appearing, activation, day change, opening a task.
    void refreshNow();

    [[nodiscard]] const QSet<QUuid>& completingIds() const { return m_completingIds; }
    // Writes the completions whose delay is still running, at once: the board is going away.
    void finishCompletions();

    void createEnhanced(const EnhancedDraft& draft);
    void saveEdit(TaskItem* task, const EnhancedDraft& draft);
    void toggle(TaskItem* task);
    void remove(TaskItem* task);
    void assignTaskCategory(TaskItem* task, TaskCategory* category);
    void createCategory(const QString& name, const QString& colorHex);
    void deleteCategory(TaskCategory* category);
    // Moves a task to a spot of a column: the plan follows the column, then the order.
    void handleReorder(const QUuid& taskId, Bucket to, std::optional<QUuid> beforeId);

signals:
    // The column lists may have changed (a record, `now` or the selection). Sent once after
    // the lists were last read, however many changes follow before the next read.
    void boardChanged();
    void categoriesChanged();
    void selectedCategoryIdChanged();
    void compactRowsChanged();
    void nowChanged();
    void completingIdsChanged();

private:
    void finishCompletion(const QUuid& id, TaskItem* task);
    void onTaskInserted(TaskItem* task);
    void onTaskRemoved(TaskItem* task);
    void onTaskChanged(TaskItem* task);
    void onCategoryRemoved(TaskCategory* category);
    void invalidateTasks();
    void invalidateCategories();
    void invalidateGroups();
    void notifyBoardChanged();
    [[nodiscard]] const TaskClassifier::Moment& moment() const;
    [[nodiscard]] bool isOurs(const TaskItem* task) const;
    void play(AppSound sound);
    [[nodiscard]] TaskCategory* categoryById(std::optional<QUuid> id) const;
    [[nodiscard]] qint64 nextTaskSortIndex() const;

    ModelContext& m_context;
    Preferences& m_preferences;
    const Clock& m_clock;
    NotificationHub& m_hub;
    ReminderSink* m_reminders = nullptr;
    SoundSink* m_sounds = nullptr;
    IsoCalendar m_calendar;

    QDateTime m_now;
    std::optional<QUuid> m_selectedCategoryId;
    QSet<QUuid> m_completingIds;

    // Derived lists, rebuilt lazily after a change.
    mutable QList<TaskItem*> m_allTasks;
    mutable bool m_allTasksValid = false;
    // A field changed: the order may be off, but the members are the same.
    mutable bool m_allTasksOrderDirty = false;
    mutable QList<TaskCategory*> m_categories;
    mutable bool m_categoriesValid = false;
    mutable QHash<Bucket, QList<TaskItem*>> m_grouped;
    mutable bool m_groupedValid = false;
    mutable std::optional<TaskClassifier::Moment> m_moment;
    // Someone read the lists since boardChanged was last emitted; a burst of record changes
    // with no reader in between then costs one signal, not one per field.
    mutable bool m_boardRead = false;
};
