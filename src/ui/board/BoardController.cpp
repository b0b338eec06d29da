#include "board/BoardController.h"

#include "BoardModel.h"
#include "Clock.h"
#include "ModelContext.h"
#include "Notifications.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "drawer/TaskDrawerController.h"

#include <QGuiApplication>
#include <QScopedValueRollback>
#include <algorithm>

namespace {

QString idString(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces);
}

std::optional<QUuid> parseId(const QString& text) {
    const QUuid id = QUuid::fromString(text.trimmed());
    if (id.isNull())
        return std::nullopt;
    return id;
}

int columnPosition(Bucket bucket) {
    const auto& columns = BucketInfo::columns;
    return int(std::find(columns.cbegin(), columns.cend(), bucket) - columns.cbegin());
}

} // namespace

BoardController::BoardController(BoardModel& model, const Clock& clock, NotificationHub& hub,
                                 DebugOptions debug, QObject* parent)
    : QObject(parent)
    , m_model(model)
    , m_clock(clock)
    , m_hub(hub)
    , m_clockObject(new QmlClock(clock, this))
    , m_debugOpenEditor(debug.openEditor)
    , m_later(new TaskListModel(Bucket::later, this))
    , m_thisWeek(new TaskListModel(Bucket::thisWeek, this))
    , m_today(new TaskListModel(Bucket::today, this))
    , m_done(new TaskListModel(Bucket::done, this))
    , m_categories(new CategoryListModel(this))
    , m_drag(new BoardDragController(model, this))
    , m_showDone(debug.doneOpen) {
    m_syncTimer.setSingleShot(true);
    m_syncTimer.setInterval(0);
    connect(&m_syncTimer, &QTimer::timeout, this, &BoardController::syncModels);

    connect(&m_model, &BoardModel::boardChanged, this, &BoardController::scheduleSync);
    // The placeholder follows the drag at once, not at the next turn of the loop.
    BoardDragState* dragState = m_drag->state();
    for (auto signal : {&BoardDragState::draggingTaskChanged, &BoardDragState::targetChanged,
                        &BoardDragState::committingChanged})
        connect(dragState, signal, this, &BoardController::syncColumns);
    connect(&m_model, &BoardModel::categoriesChanged, this, &BoardController::scheduleSync);
    connect(&m_model, &BoardModel::selectedCategoryIdChanged, this,
            &BoardController::selectedCategoryIdChanged);
    connect(&m_model, &BoardModel::compactRowsChanged, this, &BoardController::compactRowsChanged);
    connect(&m_model, &BoardModel::nowChanged, this, &BoardController::nowChanged);
    connect(&m_model, &BoardModel::completingIdsChanged, this, [this] {
        for (TaskListModel* list : {m_later, m_thisWeek, m_today, m_done})
            list->setCompletingIds(m_model.completingIds());
    });

    ModelContext& context = m_model.context();
    connect(&context, &ModelContext::taskChanged, this, [this](TaskItem* task) {
        m_changedTasks.insert(task);
        scheduleSync();
    });
    // Removals are taken at once: the record may be freed before the next sync.
    connect(&context, &ModelContext::taskRemoved, this, &BoardController::onTaskRemoved);
    connect(&context, &ModelContext::categoryRemoved, this, &BoardController::onCategoryRemoved);
    connect(&context, &ModelContext::categoryChanged, this, [this](TaskCategory* category) {
        m_categories->refreshCategory(category);
        for (TaskListModel* list : {m_later, m_thisWeek, m_today, m_done})
            list->refreshCategory(category);
    });

    m_hub.observe(TavikNotification::blurInput, this,
                  [this](const QVariantMap&) { emit blurInput(); });
    m_hub.observe(TavikNotification::updateAvailabilityChanged, this,
                  [this](const QVariantMap& info) {
                      setUpdateAvailable(info.value(QStringLiteral("available")).toBool());
                  });
    m_hub.observe(TavikNotification::openTask, this, [this](const QVariantMap& info) {
        TaskItem* task = liveTask(parseId(info.value(QStringLiteral("taskId")).toString()));
        if (!task)
            return;
        refreshNow();
        beginEditing(task);
    });

    if (auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        connect(app, &QGuiApplication::applicationStateChanged, this,
                [this](Qt::ApplicationState state) {
                    if (state == Qt::ApplicationActive)
                        refreshNow();
                });
    }

    syncModels();
}

TaskListModel* BoardController::columnModel(Bucket bucket) const {
    switch (bucket) {
    case Bucket::later:
        return m_later;
    case Bucket::thisWeek:
        return m_thisWeek;
    case Bucket::today:
        return m_today;
    case Bucket::done:
        return m_done;
    }
    return nullptr;
}

QVariantList BoardController::columnModels() const {
    QVariantList models;
    for (Bucket bucket : BucketInfo::columns)
        models.append(QVariant::fromValue(columnModel(bucket)));
    return models;
}

// ---- Properties ------------------------------------------------------------------------------

QString BoardController::selectedCategoryId() const {
    const std::optional<QUuid> id = m_model.selectedCategoryId();
    return id ? idString(*id) : QString();
}

QString BoardController::laterScrollResetKey() const {
    const std::optional<QUuid> id = m_model.selectedCategoryId();
    return id ? idString(*id) : QStringLiteral("all");
}

bool BoardController::compactRows() const {
    return m_model.compactRows();
}

void BoardController::setCompactRows(bool compact) {
    m_model.setCompactRows(compact);
}

QDateTime BoardController::now() const {
    return m_model.now();
}

QString BoardController::editingTaskId() const {
    return m_editingTask ? idString(m_editingTask->id()) : QString();
}

void BoardController::setShowDone(bool show) {
    if (m_showDone == show)
        return;
    m_showDone = show;
    emit showDoneChanged();
}

void BoardController::setUpdateAvailable(bool available) {
    if (m_updateAvailable == available)
        return;
    m_updateAvailable = available;
    emit updateAvailableChanged();
}

QString BoardController::focusedTaskId() const {
    return m_focusedTaskId ? idString(*m_focusedTaskId) : QString();
}

void BoardController::setFocusedId(std::optional<QUuid> id) {
    if (m_focusedTaskId == id)
        return;
    m_focusedTaskId = id;
    emit focusedTaskIdChanged();
    updateHighlight();
}

void BoardController::setKeyboardActive(bool active) {
    if (m_keyboardActive == active)
        return;
    m_keyboardActive = active;
    emit keyboardActiveChanged();
    updateHighlight();
}

void BoardController::setBoardFocused(bool focused) {
    if (m_boardFocused == focused)
        return;
    m_boardFocused = focused;
    emit boardFocusedChanged();
    if (!focused)
        setKeyboardActive(false);
    else if (!locate(m_focusedTaskId))
        focusDefault();
    updateHighlight();
}

QString BoardController::highlightedTaskId() const {
    return m_highlightedTaskId;
}

void BoardController::updateHighlight() {
    const QString id = m_boardFocused && m_keyboardActive ? focusedTaskId() : QString();
    if (id == m_highlightedTaskId)
        return;
    m_highlightedTaskId = id;
    emit highlightedTaskIdChanged();
}

void BoardController::setEditingTask(TaskItem* task) {
    if (m_editingTask == task)
        return;
    m_editingTask = task;
    emit editingTaskChanged();
}

// ---- Actions ---------------------------------------------------------------------------------

void BoardController::createEnhanced(const EnhancedDraft& draft) {
    m_model.createEnhanced(draft);
}

void BoardController::saveEdit(TaskItem* task, const EnhancedDraft& draft) {
    m_model.saveEdit(task, draft);
}

void BoardController::toggle(TaskItem* task) {
    m_model.toggle(task);
}

void BoardController::deleteTask(TaskItem* task) {
    m_model.remove(task);
}

void BoardController::assignTaskCategory(TaskItem* task, const QString& categoryId) {
    m_model.assignTaskCategory(task, categoryFor(categoryId));
}

void BoardController::createCategory(const QString& name, const QString& colorHex) {
    m_model.createCategory(name, colorHex);
}

void BoardController::deleteCategory(const QString& categoryId) {
    if (TaskCategory* category = categoryFor(categoryId))
        m_model.deleteCategory(category);
}

void BoardController::selectCategory(const QString& categoryId) {
    m_model.setSelectedCategoryId(parseId(categoryId));
}

void BoardController::beginEditing(TaskItem* task) {
    if (task && (task->modelContext() != &m_model.context() || task->isDeleted()))
        return;
    setEditingTask(task);
}

void BoardController::endEditing() {
    setEditingTask(nullptr);
}

void BoardController::toggleViewMode() {
    setCompactRows(!compactRows());
}

// ---- Input and events ------------------------------------------------------------------------

bool BoardController::handleBoardKey(int key, int modifiers) {
    switch (key) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        break;
    default:
        return false;
    }

    const bool wasActive = m_keyboardActive;
    setKeyboardActive(true);
    if (!locate(m_focusedTaskId))
        focusDefault();
    // The first key after the mouse only brings the highlight back.
    if (!wasActive)
        return true;

    const bool command = modifiers & Qt::ControlModifier;
    const bool option = !command && (modifiers & Qt::AltModifier);
    switch (key) {
    case Qt::Key_Up:
        command ? moveFocusedTask(-1) : moveFocus(-1);
        break;
    case Qt::Key_Down:
        command ? moveFocusedTask(1) : moveFocus(1);
        break;
    case Qt::Key_Left:
        command ? moveFocusedTaskToColumn(-1) : option ? cycleList(-1) : moveFocusColumn(-1);
        break;
    case Qt::Key_Right:
        command ? moveFocusedTaskToColumn(1) : option ? cycleList(1) : moveFocusColumn(1);
        break;
    default:
        command ? completeFocused() : openFocused();
        break;
    }
    return true;
}

void BoardController::pointerMoved() {
    setKeyboardActive(false);
}

void BoardController::requestBlurInput() {
    m_hub.post(TavikNotification::blurInput);
}

void BoardController::checkForUpdates() {
    m_hub.post(TavikNotification::checkForUpdates);
}

void BoardController::boardAppeared() {
    refreshNow();
    m_model.restoreSelectedList();
    if (m_debugOpenEditor && !m_appearedOnce) {
        QTimer::singleShot(debugOpenEditorDelayMs, this, [this] {
            const QList<TaskItem*>& all = m_model.allTasks();
            setEditingTask(all.isEmpty() ? nullptr : all.first());
        });
    }
    m_appearedOnce = true;
}

void BoardController::boardDisappeared() {
    m_drag->cancel();
}

void BoardController::drawerAppeared(TaskDrawerController* drawer) {
    m_openDrawer = drawer;
}

void BoardController::drawerDisappeared(TaskDrawerController* drawer) {
    if (m_openDrawer == drawer)
        m_openDrawer = nullptr;
}

void BoardController::flushOpenDrawer() {
    if (m_openDrawer)
        m_openDrawer->writeNote();
}

void BoardController::refreshNow() {
    m_model.refreshNow();
    scheduleSync();
}

void BoardController::scheduleSync() {
    if (!m_syncTimer.isActive())
        m_syncTimer.start();
}

void BoardController::syncModels() {
    m_syncTimer.stop();
    {
        // A drop clears its drag here once the rows have moved; the columns follow below.
        const QScopedValueRollback<bool> syncing(m_syncing, true);
        m_drag->observeOrder(m_model.allTasks());
    }
    syncColumns();
    m_done->setTasks(m_model.doneTasks());
    m_categories->setCategories(m_model.categories());

    const QSet<TaskItem*> changed = std::exchange(m_changedTasks, {});
    for (TaskListModel* list : {m_later, m_thisWeek, m_today, m_done})
        list->refreshTasks(changed);

    const QDateTime displayNow = m_clock.now();
    if (displayNow != m_displayNow) {
        m_displayNow = displayNow;
        emit displayNowChanged();
    }
}

void BoardController::syncColumns() {
    if (m_syncing)
        return;
    const BoardDragState& drag = *m_drag->state();
    TaskItem* dragged = drag.draggingId() ? drag.draggingTask() : nullptr;
    if (dragged && dragged->isDeleted())
        dragged = nullptr;
    const std::optional<DropTarget>& target = drag.target();
    for (Bucket bucket : BucketInfo::columns) {
        TaskListModel* list = columnModel(bucket);
        QList<TaskItem*> tasks = m_model.tasks(bucket);
        if (!drag.draggingId()) {
            list->setGhost(nullptr, false);
            list->setTasks(tasks);
            list->setTaskCount(-1);
            continue;
        }
        const int taskCount = int(tasks.size());
        tasks.removeOne(dragged);
        const bool ghostHere = dragged && target && target->kind == DropTarget::Kind::reorder &&
                               target->bucket == bucket;
        if (ghostHere) {
            qsizetype at = tasks.size();
            if (target->beforeId) {
                const auto it = std::find_if(tasks.cbegin(), tasks.cend(), [&target](TaskItem* t) {
                    return t->id() == *target->beforeId;
                });
                at = it - tasks.cbegin();
            }
            tasks.insert(at, dragged);
        }
        list->setGhost(ghostHere ? dragged : nullptr, !drag.committing());
        list->setTasks(tasks);
        list->setTaskCount(taskCount);
    }
}

void BoardController::onTaskRemoved(TaskItem* task) {
    m_changedTasks.remove(task);
    for (TaskListModel* list : {m_later, m_thisWeek, m_today, m_done})
        list->removeTask(task);
    if (m_editingTask == task)
        setEditingTask(nullptr);
    scheduleSync();
}

void BoardController::onCategoryRemoved(TaskCategory* category) {
    m_categories->removeCategory(category);
    scheduleSync();
}

// ---- Keyboard control ------------------------------------------------------------------------

std::optional<BoardController::Location> BoardController::locate(std::optional<QUuid> id) const {
    if (!id)
        return std::nullopt;
    for (Bucket bucket : BucketInfo::columns) {
        const QList<TaskItem*> tasks = m_model.tasks(bucket);
        for (int i = 0; i < tasks.size(); ++i) {
            if (tasks[i]->id() == *id)
                return Location{bucket, i};
        }
    }
    return std::nullopt;
}

void BoardController::focusDefault() {
    for (Bucket bucket : {Bucket::today, Bucket::thisWeek, Bucket::later}) {
        const QList<TaskItem*> tasks = m_model.tasks(bucket);
        if (!tasks.isEmpty()) {
            setFocusedId(tasks.first()->id());
            return;
        }
    }
    setFocusedId(std::nullopt);
}

void BoardController::moveFocus(int delta) {
    const std::optional<Location> at = locate(m_focusedTaskId);
    if (!at) {
        focusDefault();
        return;
    }
    const QList<TaskItem*> tasks = m_model.tasks(at->first);
    const int index = std::clamp(at->second + delta, 0, int(tasks.size()) - 1);
    setFocusedId(tasks[index]->id());
}

void BoardController::moveFocusColumn(int delta) {
    const std::optional<Location> at = locate(m_focusedTaskId);
    if (!at) {
        focusDefault();
        return;
    }
    const int position =
        std::clamp(columnPosition(at->first) + delta, 0, int(BucketInfo::columns.size()) - 1);
    const QList<TaskItem*> tasks = m_model.tasks(BucketInfo::columns[position]);
    if (tasks.isEmpty())
        return;
    setFocusedId(tasks[std::min(at->second, int(tasks.size()) - 1)]->id());
}

void BoardController::moveFocusedTask(int delta) {
    const std::optional<Location> at = locate(m_focusedTaskId);
    if (!at)
        return;
    const auto [bucket, index] = *at;
    const QList<TaskItem*> tasks = m_model.tasks(bucket);
    std::optional<QUuid> beforeId;
    if (delta < 0) {
        if (index == 0)
            return;
        beforeId = tasks[index - 1]->id();
    } else {
        if (index == tasks.size() - 1)
            return;
        // Two below: the task lands under the row that was below it.
        if (index + 2 < tasks.size())
            beforeId = tasks[index + 2]->id();
    }
    m_model.handleReorder(*m_focusedTaskId, bucket, beforeId);
}

void BoardController::moveFocusedTaskToColumn(int delta) {
    const std::optional<Location> at = locate(m_focusedTaskId);
    if (!at)
        return;
    const int position = columnPosition(at->first) + delta;
    if (position < 0 || position >= int(BucketInfo::columns.size()))
        return;
    const Bucket target = BucketInfo::columns[position];
    const QList<TaskItem*> tasks = m_model.tasks(target);
    std::optional<QUuid> beforeId;
    if (!tasks.isEmpty())
        beforeId = tasks.first()->id();
    m_model.handleReorder(*m_focusedTaskId, target, beforeId);
}

void BoardController::cycleList(int delta) {
    QList<std::optional<QUuid>> options{std::nullopt};
    for (const TaskCategory* category : m_model.categories())
        options.append(category->id());
    const int count = int(options.size());
    const int present = std::max(0, int(options.indexOf(m_model.selectedCategoryId())));
    m_model.setSelectedCategoryId(options[((present + delta) % count + count) % count]);
}

void BoardController::completeFocused() {
    TaskItem* task = liveTask(m_focusedTaskId);
    const std::optional<Location> at = locate(m_focusedTaskId);
    if (!task || !at)
        return;
    const QList<TaskItem*> tasks = m_model.tasks(at->first);
    std::optional<QUuid> next;
    if (at->second + 1 < tasks.size())
        next = tasks[at->second + 1]->id();
    else if (at->second > 0)
        next = tasks[at->second - 1]->id();
    m_model.toggle(task);
    // The focus moves now, not when the completion is written.
    setFocusedId(next);
}

void BoardController::openFocused() {
    if (TaskItem* task = liveTask(m_focusedTaskId))
        beginEditing(task);
}

TaskItem* BoardController::liveTask(std::optional<QUuid> id) const {
    if (!id)
        return nullptr;
    TaskItem* task = m_model.context().task(*id);
    return task && !task->isDeleted() ? task : nullptr;
}

TaskCategory* BoardController::categoryFor(const QString& categoryId) const {
    const std::optional<QUuid> id = parseId(categoryId);
    if (!id)
        return nullptr;
    TaskCategory* category = m_model.context().category(*id);
    return category && !category->isDeleted() ? category : nullptr;
}
