#include "dialog/TaskDialogController.h"

#include "IsoCalendar.h"
#include "ScheduleRules.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "TaskText.h"

namespace {

int roleNamed(const QAbstractItemModel& model, const QByteArray& name) {
    const auto roles = model.roleNames();
    for (auto it = roles.cbegin(); it != roles.cend(); ++it) {
        if (it.value() == name)
            return it.key();
    }
    return -1;
}

QString idString(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces);
}

} // namespace

TaskDialogController::TaskDialogController(QObject* parent)
    : QObject(parent) {
    // Every change of the draft or of the inputs can move a derived value.
    for (auto signal :
         {&TaskDialogController::titleChanged, &TaskDialogController::noteChanged,
          &TaskDialogController::dayChanged, &TaskDialogController::timeChanged,
          &TaskDialogController::chosenListIdChanged, &TaskDialogController::editingTaskChanged,
          &TaskDialogController::categoriesChanged})
        connect(this, signal, this, &TaskDialogController::derivedChanged);
    connect(this, &TaskDialogController::clockChanged, this, &TaskDialogController::derivedChanged);
}

TaskDialogController::TaskDialogController(QmlClock* clock, QObject* parent)
    : TaskDialogController(parent) {
    setClock(clock);
}

void TaskDialogController::componentComplete() {
    m_building = false;
    QmlClock::checkGiven(m_clock, "TaskDialogController");
}

void TaskDialogController::setClock(QmlClock* clock) {
    if (m_clock == clock)
        return;
    m_clock = clock;
    emit clockChanged();
}

QDateTime TaskDialogController::nowMoment() const {
    return QmlClock::nowOf(m_clock, "TaskDialogController", m_building);
}

void TaskDialogController::setCategories(QAbstractItemModel* categories) {
    if (m_categories == categories)
        return;
    if (m_categories)
        disconnect(m_categories, nullptr, this, nullptr);
    m_categories = categories;
    if (m_categories) {
        const auto changed = [this] { emit derivedChanged(); };
        connect(m_categories, &QAbstractItemModel::modelReset, this, changed);
        connect(m_categories, &QAbstractItemModel::rowsInserted, this, changed);
        connect(m_categories, &QAbstractItemModel::rowsRemoved, this, changed);
        connect(m_categories, &QAbstractItemModel::dataChanged, this, changed);
        connect(m_categories, &QAbstractItemModel::layoutChanged, this, changed);
    }
    emit categoriesChanged();
}

void TaskDialogController::setDefaultListId(const QString& id) {
    if (m_defaultListId == id)
        return;
    m_defaultListId = id;
    emit defaultListIdChanged();
}

QObject* TaskDialogController::editingTask() const {
    return m_task.data();
}

TaskItem* TaskDialogController::task() const {
    return m_task.data();
}

void TaskDialogController::setEditingTask(QObject* object) {
    auto* next = qobject_cast<TaskItem*>(object);
    if (next == m_task.data())
        return;
    const bool sameId = next && m_task && next->id() == m_task->id();
    watchTask(next);
    emit editingTaskChanged();
    // A change of the task's identity (re)starts editing; losing the task does nothing more.
    if (next && !sameId)
        beginEdit();
}

void TaskDialogController::watchTask(TaskItem* next) {
    if (m_task)
        disconnect(m_task, nullptr, this, nullptr);
    m_task = next;
    if (!next)
        return;
    const auto changed = [this] { emit derivedChanged(); };
    connect(next, &TaskItem::titleChanged, this, changed);
    connect(next, &TaskItem::noteChanged, this, changed);
    connect(next, &TaskItem::planChanged, this, changed);
    connect(next, &TaskItem::reminderAtChanged, this, changed);
    connect(next, &TaskItem::categoryChanged, this, changed);
    connect(next, &QObject::destroyed, this, [this] { emit editingTaskChanged(); });
}

void TaskDialogController::setOpen(bool open) {
    if (m_open == open)
        return;
    m_open = open;
    emit openChanged();
}

void TaskDialogController::setTitle(const QString& title) {
    if (m_title == title)
        return;
    m_title = title;
    emit titleChanged();
}

void TaskDialogController::setNote(const QString& note) {
    if (m_note == note)
        return;
    m_note = note;
    emit noteChanged();
}

void TaskDialogController::setDay(const QDateTime& day) {
    const QDateTime value = day.isValid() ? IsoCalendar().startOfDay(day) : QDateTime();
    if (m_day == value)
        return;
    m_day = value;
    emit dayChanged();
}

void TaskDialogController::setTime(const QDateTime& time) {
    const QDateTime value = time.isValid() ? time.toUTC() : QDateTime();
    if (m_time == value)
        return;
    m_time = value;
    emit timeChanged();
}

void TaskDialogController::setChosenListId(const QString& id) {
    if (m_chosenListId == id)
        return;
    m_chosenListId = id;
    emit chosenListIdChanged();
}

void TaskDialogController::setTitleFocused(bool focused) {
    if (m_titleFocused == focused)
        return;
    m_titleFocused = focused;
    emit titleFocusedChanged();
}

void TaskDialogController::setNoteFocused(bool focused) {
    if (m_noteFocused == focused)
        return;
    m_noteFocused = focused;
    emit noteFocusedChanged();
}

void TaskDialogController::setDatePickerOpen(bool open) {
    if (m_datePickerOpen == open)
        return;
    m_datePickerOpen = open;
    emit datePickerOpenChanged();
}

void TaskDialogController::setTimePickerOpen(bool open) {
    if (m_timePickerOpen == open)
        return;
    m_timePickerOpen = open;
    emit timePickerOpenChanged();
}

void TaskDialogController::setListPickerOpen(bool open) {
    if (m_listPickerOpen == open)
        return;
    m_listPickerOpen = open;
    emit listPickerOpenChanged();
}

bool TaskDialogController::canCreate() const {
    return !TaskText::isBlank(m_title);
}

QString TaskDialogController::taskListId() const {
    const TaskItem* t = task();
    return t && t->category() ? idString(t->category()->id()) : QString();
}

bool TaskDialogController::editDirty() const {
    const TaskItem* t = task();
    if (!t)
        return false;
    // Compared by value and untrimmed: typing a character and deleting it again is clean.
    const QDateTime taskDay =
        t->dueDate().isValid() ? IsoCalendar().startOfDay(t->dueDate()) : QDateTime();
    return m_title != t->title() || m_note != t->note() || m_day != taskDay ||
           m_time != t->reminderAt() || m_chosenListId != taskListId();
}

QDateTime TaskDialogController::today() const {
    return IsoCalendar().startOfDay(nowMoment());
}

QDateTime TaskDialogController::tomorrow() const {
    return ScheduleRules::tomorrow(nowMoment(), IsoCalendar());
}

QDateTime TaskDialogController::defaultTime() const {
    return ScheduleRules::defaultTime(nowMoment(), IsoCalendar());
}

QDateTime TaskDialogController::resolvedReminder() const {
    return ScheduleRules::resolvedReminder(m_day, m_time, nowMoment(), IsoCalendar());
}

bool TaskDialogController::todayActive() const {
    return m_day.isValid() && IsoCalendar().isSameDay(m_day, nowMoment());
}

bool TaskDialogController::tomorrowActive() const {
    return m_day.isValid() && IsoCalendar().isSameDay(m_day, tomorrow());
}

QDateTime TaskDialogController::customDay() const {
    if (!m_day.isValid() || todayActive() || tomorrowActive())
        return {};
    return m_day;
}

QDateTime TaskDialogController::gridMonth() const {
    const IsoCalendar calendar;
    const QDate base = calendar.localDate(m_day.isValid() ? m_day : nowMoment());
    return calendar.startOfDay(QDate(base.year(), base.month(), 1));
}

int TaskDialogController::findList(const QString& listId) const {
    if (listId.isEmpty() || !m_categories)
        return -1;
    const int idRole = roleNamed(*m_categories, "categoryId");
    if (idRole < 0)
        return -1;
    for (int row = 0; row < m_categories->rowCount(); ++row) {
        if (m_categories->index(row, 0).data(idRole).toString() == listId)
            return row;
    }
    return -1;
}

QString TaskDialogController::listName(const QString& listId) const {
    const int row = findList(listId);
    if (row < 0)
        return QStringLiteral("无");
    return m_categories->index(row, 0).data(roleNamed(*m_categories, "name")).toString();
}

QString TaskDialogController::listColorHex(const QString& listId) const {
    const int row = findList(listId);
    if (row < 0)
        return {};
    return m_categories->index(row, 0).data(roleNamed(*m_categories, "colorHex")).toString();
}

void TaskDialogController::openPanel() {
    setTitle(QString());
    setNote(QString());
    setDay({});
    setTime({});
    setChosenListId(m_defaultListId);
    setOpen(true);
    setTitleFocused(true);
}

void TaskDialogController::beginEdit() {
    const TaskItem* t = task();
    if (!t)
        return;
    setTitle(t->title());
    setNote(t->note());
    setDay(t->dueDate());
    setTime(t->reminderAt());
    setChosenListId(taskListId());
    setOpen(true);
    setTitleFocused(true);
}

void TaskDialogController::blurFields() {
    setTitleFocused(false);
    setNoteFocused(false);
}

void TaskDialogController::closeWith(bool editing) {
    blurFields();
    setDatePickerOpen(false);
    setTimePickerOpen(false);
    setListPickerOpen(false);
    setOpen(false);
    // The drafts stay: the next openPanel or beginEdit overwrites them.
    if (editing)
        emit endEditingRequested();
}

void TaskDialogController::closePanel() {
    closeWith(isEditing());
}

EnhancedDraft TaskDialogController::draft() const {
    // A reminder wins over the day control, so the stored day always agrees with it.
    const QDateTime reminder = resolvedReminder();
    const QDateTime dueDate = reminder.isValid() ? IsoCalendar().startOfDay(reminder) : m_day;
    const QUuid listId = QUuid::fromString(m_chosenListId);
    const auto utc = [](const QDateTime& moment) {
        return moment.isValid() ? moment.toUTC() : QDateTime();
    };
    return EnhancedDraft{m_title.trimmed(), m_note.trimmed(),
                         listId.isNull() ? std::nullopt : std::optional<QUuid>(listId),
                         utc(dueDate), utc(reminder)};
}

void TaskDialogController::submit() {
    if (!canCreate())
        return;
    // Decided before the board handles the request, which may replace or drop the task.
    const bool editing = isEditing();
    if (editing)
        emit saveRequested(m_task, draft());
    else
        emit createRequested(draft());
    closeWith(editing);
}

void TaskDialogController::trash() {
    const bool editing = isEditing();
    if (editing)
        emit deleteRequested(m_task);
    closeWith(editing);
}

void TaskDialogController::newTaskShortcut() {
    if (m_open)
        setTitleFocused(true);
    else
        openPanel();
}

void TaskDialogController::handleBlurInput() {
    if (!m_open)
        return;
    if (isEditing()) {
        if (!editDirty())
            closePanel();
        return;
    }
    // Emptiness is checked untrimmed: a single blank is something the user typed.
    if (m_title.isEmpty() && m_note.isEmpty() && !m_day.isValid() && !m_time.isValid())
        closePanel();
}

void TaskDialogController::toggleToday() {
    blurFields();
    setDay(todayActive() ? QDateTime() : today());
}

void TaskDialogController::toggleTomorrow() {
    blurFields();
    setDay(tomorrowActive() ? QDateTime() : tomorrow());
}

void TaskDialogController::openDatePicker() {
    blurFields();
    setTimePickerOpen(false);
    setListPickerOpen(false);
    setDatePickerOpen(true);
}

void TaskDialogController::pickDay(const QDateTime& date) {
    setDay(date);
    setDatePickerOpen(false);
}

void TaskDialogController::clearDay() {
    blurFields();
    setDay({});
}

void TaskDialogController::openTimePicker() {
    blurFields();
    setDatePickerOpen(false);
    setListPickerOpen(false);
    setTimePickerOpen(true);
}

void TaskDialogController::pickTime(const QDateTime& slot) {
    setTime(slot);
    // A time never stands without a day.
    if (!m_day.isValid())
        setDay(today());
    setTimePickerOpen(false);
}

void TaskDialogController::clearTime() {
    blurFields();
    setTime({});
}

void TaskDialogController::openListPicker() {
    blurFields();
    setDatePickerOpen(false);
    setTimePickerOpen(false);
    setListPickerOpen(true);
}

void TaskDialogController::chooseList(const QString& listId) {
    setChosenListId(listId);
    setListPickerOpen(false);
}
