#include "BoardModel.h"

#include "Clock.h"
#include "ModelContext.h"
#include "Notifications.h"
#include "Preferences.h"
#include "ReminderSink.h"
#include "RichText.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "TaskReorder.h"
#include "TaskText.h"

#include <QPointer>
#include <QTimer>
#include <algorithm>

namespace {

bool bySortIndexDescending(const TaskItem* a, const TaskItem* b) {
    return a->sortIndex() > b->sortIndex();
}

bool bySortIndexAscending(const TaskCategory* a, const TaskCategory* b) {
    return a->sortIndex() < b->sortIndex();
}

// The persisted form of a list id: upper-case, no braces, as other clients write it.
QString uuidString(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces).toUpper();
}

bool sameMoment(const QDateTime& a, const QDateTime& b) {
    if (a.isValid() != b.isValid())
        return false;
    return !a.isValid() || a.toMSecsSinceEpoch() == b.toMSecsSinceEpoch();
}

} // namespace

BoardModel::BoardModel(ModelContext& context, Preferences& preferences, const Clock& clock,
                       NotificationHub& hub, QObject* parent)
    : QObject(parent)
    , m_context(context)
    , m_preferences(preferences)
    , m_clock(clock)
    , m_hub(hub)
    , m_now(clock.now()) {
    connect(&m_context, &ModelContext::taskInserted, this, &BoardModel::onTaskInserted);
    connect(&m_context, &ModelContext::taskRemoved, this, &BoardModel::onTaskRemoved);
    connect(&m_context, &ModelContext::taskChanged, this, &BoardModel::onTaskChanged);
    connect(&m_context, &ModelContext::categoryInserted, this,
            [this](TaskCategory*) { invalidateCategories(); });
    connect(&m_context, &ModelContext::categoryChanged, this,
            [this](TaskCategory*) { invalidateCategories(); });
    connect(&m_context, &ModelContext::categoryRemoved, this, &BoardModel::onCategoryRemoved);
}

// ---- Derived lists ---------------------------------------------------------------------------

const QList<TaskItem*>& BoardModel::allTasks() const {
    m_boardRead = true;
    if (!m_allTasksValid) {
        m_allTasks = m_context.tasks();
        std::stable_sort(m_allTasks.begin(), m_allTasks.end(), bySortIndexDescending);
        m_allTasksValid = true;
        m_allTasksOrderDirty = false;
    } else if (m_allTasksOrderDirty) {
        // Most changes touch no sortIndex: checking is linear, sorting is not.
        if (!std::is_sorted(m_allTasks.cbegin(), m_allTasks.cend(), bySortIndexDescending))
            std::stable_sort(m_allTasks.begin(), m_allTasks.end(), bySortIndexDescending);
        m_allTasksOrderDirty = false;
    }
    return m_allTasks;
}

const QList<TaskCategory*>& BoardModel::categories() const {
    if (!m_categoriesValid) {
        m_categories = m_context.categories();
        std::stable_sort(m_categories.begin(), m_categories.end(), bySortIndexAscending);
        m_categoriesValid = true;
    }
    return m_categories;
}

const QHash<Bucket, QList<TaskItem*>>& BoardModel::grouped() const {
    m_boardRead = true;
    if (m_groupedValid)
        return m_grouped;

    // allTasks is already largest first, so appending in its order leaves every group sorted
    // (and ties in the order the store gave them) without sorting again.
    const QList<TaskItem*>& all = allTasks();
    const TaskClassifier::Moment& at = moment();
    std::array<QList<TaskItem*>, BucketInfo::allCases.size()> groups;
    for (TaskItem* task : all)
        groups[static_cast<size_t>(TaskClassifier::bucket(*task, at))].append(task);

    m_grouped.clear();
    for (Bucket bucket : BucketInfo::allCases) {
        QList<TaskItem*>& group = groups[static_cast<size_t>(bucket)];
        if (!group.isEmpty())
            m_grouped.insert(bucket, std::move(group));
    }
    m_groupedValid = true;
    return m_grouped;
}

QList<TaskItem*> BoardModel::tasks(Bucket bucket) const {
    QList<TaskItem*> list = grouped().value(bucket);
    // The list selection narrows the later column alone.
    if (bucket == Bucket::later && m_selectedCategoryId) {
        const QUuid selected = *m_selectedCategoryId;
        list.removeIf([&selected](const TaskItem* task) {
            return !task->category() || task->category()->id() != selected;
        });
    }
    return list;
}

QList<TaskItem*> BoardModel::doneTasks() const {
    return grouped().value(Bucket::done);
}

Bucket BoardModel::bucketOf(const TaskItem& task) const {
    return TaskClassifier::bucket(task, moment());
}

const TaskClassifier::Moment& BoardModel::moment() const {
    if (!m_moment)
        m_moment.emplace(m_now, m_calendar);
    return *m_moment;
}

// ---- Selection, density, now -----------------------------------------------------------------

void BoardModel::setSelectedCategoryId(std::optional<QUuid> id) {
    if (id && id->isNull())
        id.reset();
    if (m_selectedCategoryId == id)
        return;
    m_selectedCategoryId = id;
    m_preferences.setSelectedListId(id ? uuidString(*id) : QString());
    emit selectedCategoryIdChanged();
    notifyBoardChanged();
}

void BoardModel::restoreSelectedList() {
    const QUuid id = QUuid::fromString(m_preferences.selectedListId());
    if (id.isNull())
        return;
    // A list that has gone away leaves the selection, and the stored string, as they are.
    if (!categoryById(id))
        return;
    setSelectedCategoryId(id);
}

bool BoardModel::compactRows() const {
    return m_preferences.compactRows();
}

void BoardModel::setCompactRows(bool compact) {
    if (compactRows() == compact)
        return;
    m_preferences.setCompactRows(compact);
    emit compactRowsChanged();
}

void BoardModel::refreshNow() {
    const QDateTime now = m_clock.now();
    if (sameMoment(now, m_now))
        return;
    // Columns depend on the day and the week only: a new moment on the same day moves nothing.
    const bool sameDay = m_calendar.isSameDay(now, m_now);
    m_now = now;
    m_moment.reset();
    emit nowChanged();
    if (!sameDay)
        invalidateGroups();
}

// ---- Actions ---------------------------------------------------------------------------------

void BoardModel::createEnhanced(const EnhancedDraft& draft) {
    // A title of only invisible characters would be a task nobody can see.
    const QString title = draft.title.trimmed();
    if (TaskText::isBlank(title))
        return;

    auto* task = new TaskItem(title, nextTaskSortIndex(), m_clock.now());
    task->setCategory(categoryById(draft.listId));
    if (!draft.note.isEmpty())
        task->setRichNote(RichText::fromPlainText(draft.note), m_clock.now());
    // A task with only a reminder is planned, explicitly, on the reminder's day.
    const QDateTime day = draft.dueDate.isValid() ? draft.dueDate : draft.reminderAt;
    if (day.isValid())
        task->schedule(day, m_now, m_calendar);
    task->setReminderAt(draft.reminderAt);
    m_context.insert(task);

    if (m_reminders)
        m_reminders->sync(task);
    play(AppSound::create);
    m_hub.post(TavikNotification::tasksChanged);
}

void BoardModel::saveEdit(TaskItem* task, const EnhancedDraft& draft) {
    if (!isOurs(task))
        return;
    task->setTitle(draft.title);
    // Only a changed note drops the formatting; an untouched one keeps its rich form.
    if (draft.note != task->note())
        task->setRichNote(RichText::fromPlainText(draft.note), m_clock.now());
    // Rescheduling marks the day explicit, so a task placed in today by hand that is saved
    // with its day untouched must keep its plan as it is.
    if (!sameMoment(draft.dueDate, m_calendar.startOfDay(task->dueDate())))
        task->schedule(draft.dueDate, m_now, m_calendar);
    task->setReminderAt(draft.reminderAt);
    task->setCategory(categoryById(draft.listId));

    if (m_reminders)
        m_reminders->sync(task);
    m_hub.post(TavikNotification::tasksChanged);
}

void BoardModel::toggle(TaskItem* task) {
    if (!isOurs(task))
        return;

    if (task->completed()) {
        play(AppSound::uncomplete);
        task->setCompleted(false, m_clock.now());
        if (m_reminders)
            m_reminders->sync(task);
        m_hub.post(TavikNotification::tasksChanged);
        return;
    }

    const QUuid id = task->id();
    if (m_completingIds.contains(id))
        return;
    // The task is still open and counted; every list counts, whatever later shows.
    const qsizetype count = grouped().value(bucketOf(*task)).size();
    play(count < 2 ? AppSound::celebration : AppSound::complete);
    m_completingIds.insert(id);
    emit completingIdsChanged();

    // The row shows its completing state first; the write follows. A task deleted meanwhile
    // is either gone or marked deleted, and then there is nothing left to complete.
    QTimer::singleShot(completionDelayMs, this, [this, id, guard = QPointer<TaskItem>(task)] {
        if (m_completingIds.contains(id))
            finishCompletion(id, guard);
    });
}

void BoardModel::finishCompletions() {
    const QList<QUuid> ids(m_completingIds.cbegin(), m_completingIds.cend());
    for (const QUuid& id : ids)
        finishCompletion(id, m_context.task(id));
}

void BoardModel::finishCompletion(const QUuid& id, TaskItem* task) {
    m_completingIds.remove(id);
    if (!task || task->isDeleted()) {
        emit completingIdsChanged();
        return;
    }
    task->setCompleted(true, m_clock.now());
    emit completingIdsChanged();
    if (m_reminders)
        m_reminders->sync(task);
    m_hub.post(TavikNotification::tasksChanged);
}

void BoardModel::remove(TaskItem* task) {
    if (!isOurs(task))
        return;
    if (m_reminders)
        m_reminders->cancel(task->id());
    m_context.remove(task);
    m_hub.post(TavikNotification::tasksChanged);
}

void BoardModel::assignTaskCategory(TaskItem* task, TaskCategory* category) {
    if (!isOurs(task))
        return;
    if (category && (category->modelContext() != &m_context || category->isDeleted()))
        category = nullptr;
    task->setCategory(category);
    task->setUpdatedAt(m_now);
}

void BoardModel::createCategory(const QString& name, const QString& colorHex) {
    const QList<TaskCategory*>& lists = categories();
    const qint64 sortIndex = lists.isEmpty() ? 1 : lists.last()->sortIndex() + 1;
    m_context.insert(new TaskCategory(name, colorHex, sortIndex, m_clock.now()));
}

void BoardModel::deleteCategory(TaskCategory* category) {
    if (!category || category->modelContext() != &m_context || category->isDeleted())
        return;
    if (m_selectedCategoryId == category->id())
        setSelectedCategoryId(std::nullopt);
    m_context.remove(category);
}

void BoardModel::handleReorder(const QUuid& taskId, Bucket to, std::optional<QUuid> beforeId) {
    TaskItem* task = m_context.task(taskId);
    if (!task)
        return;

    // Within a column the plan stays as it is; across columns it follows the column.
    if (bucketOf(*task) != to)
        task->move(to, m_now, m_calendar);

    // Every task of the bucket is a neighbour, also those the list selection hides.
    QList<TaskItem*> column = grouped().value(to);
    column.removeAll(task);
    const TaskItem* before = nullptr;
    if (beforeId) {
        const auto it =
            std::find_if(column.cbegin(), column.cend(),
                         [&beforeId](const TaskItem* t) { return t->id() == *beforeId; });
        if (it != column.cend())
            before = *it;
    }
    TaskReorder::place(task, before, column, m_now);

    play(AppSound::move);
    m_hub.post(TavikNotification::tasksChanged);
}

// ---- Store observation -----------------------------------------------------------------------

void BoardModel::onTaskInserted(TaskItem* task) {
    if (m_allTasksValid) {
        m_allTasks.append(task);
        m_allTasksOrderDirty = true;
    }
    invalidateGroups();
}

void BoardModel::onTaskRemoved(TaskItem*) {
    invalidateTasks();
}

void BoardModel::onTaskChanged(TaskItem*) {
    m_allTasksOrderDirty = true;
    invalidateGroups();
}

void BoardModel::onCategoryRemoved(TaskCategory* category) {
    invalidateCategories();
    // A list removed elsewhere (another device) takes the selection with it too.
    if (m_selectedCategoryId == category->id())
        setSelectedCategoryId(std::nullopt);
}

void BoardModel::invalidateTasks() {
    m_allTasksValid = false;
    m_allTasks.clear();
    invalidateGroups();
}

void BoardModel::invalidateCategories() {
    m_categoriesValid = false;
    emit categoriesChanged();
}

void BoardModel::invalidateGroups() {
    m_groupedValid = false;
    notifyBoardChanged();
}

void BoardModel::notifyBoardChanged() {
    if (!m_boardRead)
        return;
    m_boardRead = false;
    emit boardChanged();
}

// ---- Helpers ---------------------------------------------------------------------------------

void BoardModel::play(AppSound sound) {
    if (m_sounds && m_sounds->isEnabled())
        m_sounds->play(sound);
}

TaskCategory* BoardModel::categoryById(std::optional<QUuid> id) const {
    if (!id)
        return nullptr;
    return m_context.category(*id);
}

qint64 BoardModel::nextTaskSortIndex() const {
    const QList<TaskItem*>& all = allTasks();
    return all.isEmpty() ? 1 : all.first()->sortIndex() + 1;
}

bool BoardModel::isOurs(const TaskItem* task) const {
    return task && task->modelContext() == &m_context && !task->isDeleted();
}
