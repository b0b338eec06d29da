#include "ai/QuickEntryController.h"

#include "TaskCategory.h"

#include <QUuid>
#include <algorithm>

namespace {

QString idText(const QUuid& id) {
    return id.isNull() ? QString() : id.toString(QUuid::WithoutBraces);
}

} // namespace

QuickEntryController::QuickEntryController(AIConfig& config, GeminiClient& client,
                                           const Clock& clock, QObject* parent)
    : QObject(parent)
    , m_clock(clock)
    , m_ai(config, client, clock, TaskSuggestionController::Options{}) {
    connect(&m_ai, &TaskSuggestionController::draftChanged, this,
            &QuickEntryController::draftListChanged);
}

QuickEntryController::~QuickEntryController() = default;

void QuickEntryController::setCategories(CategoryListModel* categories) {
    if (categories == m_categories)
        return;
    if (m_categories)
        disconnect(m_categories, nullptr, this, nullptr);
    m_categories = categories;
    if (m_categories) {
        const auto changed = [this] { emit categoriesChanged(); };
        connect(m_categories, &QAbstractItemModel::modelReset, this, changed);
        connect(m_categories, &QAbstractItemModel::rowsInserted, this, changed);
        connect(m_categories, &QAbstractItemModel::rowsRemoved, this, changed);
        connect(m_categories, &QAbstractItemModel::rowsMoved, this, changed);
        connect(m_categories, &QAbstractItemModel::dataChanged, this, changed);
    }
    emit categoriesChanged();
}

void QuickEntryController::setDefaultListId(const QString& id) {
    if (id == m_defaultListId)
        return;
    m_defaultListId = id;
    emit defaultListIdChanged();
    // Until the user picks a list, the chip follows the host's default.
    if (!m_userPickedList)
        setChosenList(id);
}

void QuickEntryController::setTitle(const QString& title) {
    if (title == m_title)
        return;
    m_title = title;
    emit titleChanged();
    m_ai.inputChanged(m_title, categoryInfos());
}

void QuickEntryController::setFocused(bool focused) {
    if (focused == m_focused)
        return;
    m_focused = focused;
    emit focusedChanged();
}

QList<CategoryInfo> QuickEntryController::categoryInfos() const {
    QList<CategoryInfo> infos;
    if (!m_categories)
        return infos;
    for (const TaskCategory* category : m_categories->categories())
        infos.append({category->id(), category->name(), category->colorHex()});
    return infos;
}

QVariantList QuickEntryController::lists() const {
    QVariantList rows;
    for (const CategoryInfo& info : categoryInfos()) {
        rows.append(QVariantMap{{QStringLiteral("id"), idText(info.id)},
                                {QStringLiteral("name"), info.name},
                                {QStringLiteral("colorHex"), info.colorHex}});
    }
    return rows;
}

QString QuickEntryController::draftListId() const {
    return idText(m_ai.draftListId());
}

const TaskCategory* QuickEntryController::categoryFor(const QString& id) const {
    if (id.isEmpty() || !m_categories)
        return nullptr;
    const QUuid uuid(id);
    for (const TaskCategory* category : m_categories->categories()) {
        if (category->id() == uuid)
            return category;
    }
    return nullptr;
}

QString QuickEntryController::listName(const QString& id) const {
    const TaskCategory* category = categoryFor(id);
    return category ? category->name() : QString();
}

QString QuickEntryController::listColorHex(const QString& id) const {
    const TaskCategory* category = categoryFor(id);
    return category ? category->colorHex() : QString();
}

void QuickEntryController::submit() {
    const QString title = m_title.trimmed();
    if (title.isEmpty())
        return;
    EnhancedDraft draft;
    draft.title = title;
    // A list deleted while chosen is passed on as it stands; the board files it under none.
    draft.setListUuid(QUuid(m_chosenListId));
    draft.dueDate = m_chosenDueDate;
    draft.reminderAt = m_chosenReminderAt;
    emit createRequested(draft);
    setTitle(QString());
    resetChoices();
    m_ai.reset();
}

void QuickEntryController::acceptSuggestion() {
    const std::optional<EnhancedDraft> draft = m_ai.accept();
    if (!draft)
        return;
    emit createEnhancedRequested(*draft);
    setTitle(QString());
    resetChoices();
    setFocused(true);
}

void QuickEntryController::handleEscape() {
    if (m_ai.hasSuggestion()) {
        m_ai.dismiss();
        return;
    }
    setFocused(false);
    emit leaveRequested();
}

void QuickEntryController::togglePicker() {
    if (m_pickerOpen) {
        closePicker();
        return;
    }
    setFocused(false);
    m_schedulePickerOpen = false;
    m_pickerOpen = true;
    emit popoversChanged();
}

void QuickEntryController::toggleSchedule() {
    if (m_schedulePickerOpen) {
        closeSchedule();
        return;
    }
    setFocused(false);
    m_pickerOpen = false;
    m_schedulePickerOpen = true;
    emit popoversChanged();
}

void QuickEntryController::closePicker() {
    if (!m_pickerOpen)
        return;
    m_pickerOpen = false;
    emit popoversChanged();
    setFocused(true);
}

void QuickEntryController::closeSchedule() {
    if (!m_schedulePickerOpen)
        return;
    m_schedulePickerOpen = false;
    emit popoversChanged();
    setFocused(true);
}

void QuickEntryController::moveSelection(int step) {
    QStringList options{QString()};
    for (const CategoryInfo& info : categoryInfos())
        options.append(idText(info.id));
    const int current = std::max<int>(0, int(options.indexOf(m_chosenListId)));
    const int next = std::clamp(current + step, 0, int(options.size()) - 1);
    m_userPickedList = true;
    setChosenList(options.at(next));
}

void QuickEntryController::chooseList(const QString& id) {
    m_userPickedList = true;
    setChosenList(id);
    closePicker();
    setFocused(true);
}

void QuickEntryController::setSchedule(const QDateTime& day, const QDateTime& reminderAt) {
    m_chosenDueDate = day;
    m_chosenReminderAt = reminderAt;
    emit choicesChanged();
}

void QuickEntryController::chooseDraftList(const QString& id) {
    m_ai.setDraftListId(QUuid(id));
}

void QuickEntryController::setDraftSchedule(const QDateTime& day, const QDateTime& reminderAt) {
    m_ai.setDraftDueDate(day);
    m_ai.setDraftReminderAt(reminderAt);
}

void QuickEntryController::windowShown() {
    setFocused(true);
    resetChoices();
    m_ai.reset();
}

void QuickEntryController::resetChoices() {
    m_userPickedList = false;
    m_chosenListId = m_defaultListId;
    m_chosenDueDate = {};
    m_chosenReminderAt = {};
    emit choicesChanged();
}

void QuickEntryController::setChosenList(const QString& id) {
    if (id == m_chosenListId)
        return;
    m_chosenListId = id;
    emit choicesChanged();
}
