#pragma once

#include "CategoryInfo.h"
#include "EnhancedDraft.h"
#include "TaskSuggestionController.h"
#include "lists/CategoryListModel.h"
#include "types/AITypes.h"
#include "types/QmlClock.h"
#include "types/RecordTypes.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QVariantList>

class AIConfig;
class Clock;
class GeminiClient;

// The quick-entry bar's state: the raw line, the list and schedule chosen for it, which
// popover is up, and the one suggestion controller that watches the line. It writes no
// record: a creation leaves as a draft through createRequested (the line as typed) or
// createEnhancedRequested (an accepted suggestion), and the host writes it.
// List ids cross to QML as strings without braces ("" for none).
class QuickEntryController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The app makes the quick entry.")
    Q_PROPERTY(TaskSuggestionController* ai READ ai CONSTANT)
    Q_PROPERTY(QmlClock* clock READ clockObject CONSTANT)
    // The host's lists in display order, and the list a new task goes to by default.
    Q_PROPERTY(
        CategoryListModel* categories READ categories WRITE setCategories NOTIFY categoriesChanged)
    Q_PROPERTY(
        QString defaultListId READ defaultListId WRITE setDefaultListId NOTIFY defaultListIdChanged)
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(QString chosenListId READ chosenListId NOTIFY choicesChanged)
    Q_PROPERTY(QDateTime chosenDueDate READ chosenDueDate NOTIFY choicesChanged)
    Q_PROPERTY(QDateTime chosenReminderAt READ chosenReminderAt NOTIFY choicesChanged)
    Q_PROPERTY(bool focused READ focused WRITE setFocused NOTIFY focusedChanged)
    Q_PROPERTY(bool pickerOpen READ pickerOpen NOTIFY popoversChanged)
    Q_PROPERTY(bool schedulePickerOpen READ schedulePickerOpen NOTIFY popoversChanged)
    // {id, name, colorHex} per list, in display order, without the empty choice.
    Q_PROPERTY(QVariantList lists READ lists NOTIFY categoriesChanged)
    // The card's list as an id string, for the panel's chip and rows.
    Q_PROPERTY(QString draftListId READ draftListId NOTIFY draftListChanged)

public:
    QuickEntryController(AIConfig& config, GeminiClient& client, const Clock& clock,
                         QObject* parent = nullptr);
    ~QuickEntryController() override;

    [[nodiscard]] TaskSuggestionController* ai() { return &m_ai; }
    [[nodiscard]] QmlClock* clockObject() { return &m_clock; }
    [[nodiscard]] CategoryListModel* categories() const { return m_categories; }
    void setCategories(CategoryListModel* categories);
    [[nodiscard]] QString defaultListId() const { return m_defaultListId; }
    void setDefaultListId(const QString& id);
    [[nodiscard]] QString title() const { return m_title; }
    void setTitle(const QString& title);
    [[nodiscard]] QString chosenListId() const { return m_chosenListId; }
    [[nodiscard]] QDateTime chosenDueDate() const { return m_chosenDueDate; }
    [[nodiscard]] QDateTime chosenReminderAt() const { return m_chosenReminderAt; }
    [[nodiscard]] bool focused() const { return m_focused; }
    void setFocused(bool focused);
    [[nodiscard]] bool pickerOpen() const { return m_pickerOpen; }
    [[nodiscard]] bool schedulePickerOpen() const { return m_schedulePickerOpen; }
    [[nodiscard]] QVariantList lists() const;
    [[nodiscard]] QString draftListId() const;
    [[nodiscard]] QList<CategoryInfo> categoryInfos() const;

    // A list's name and colour by id; "" for no id or a list that is gone.
    Q_INVOKABLE [[nodiscard]] QString listName(const QString& id) const;
    Q_INVOKABLE [[nodiscard]] QString listColorHex(const QString& id) const;

    // Return: the line as typed, whatever card is on show.
    Q_INVOKABLE void submit();
    // The card as edited; nothing while there is none or its title is blank.
    Q_INVOKABLE void acceptSuggestion();
    // The first Escape turns the card down; without a card it reports leaving.
    Q_INVOKABLE void handleEscape();
    Q_INVOKABLE void togglePicker();
    Q_INVOKABLE void toggleSchedule();
    Q_INVOKABLE void closePicker();
    Q_INVOKABLE void closeSchedule();
    // Up and Down in the list popover: the choice moves at once, without wrapping.
    Q_INVOKABLE void moveSelection(int step);
    Q_INVOKABLE void chooseList(const QString& id);
    Q_INVOKABLE void setSchedule(const QDateTime& day, const QDateTime& reminderAt);
    // The card's chips.
    Q_INVOKABLE void chooseDraftList(const QString& id);
    Q_INVOKABLE void setDraftSchedule(const QDateTime& day, const QDateTime& reminderAt);
    // Each showing: the choices and any card go, the half-typed line stays.
    Q_INVOKABLE void windowShown();

signals:
    void categoriesChanged();
    void defaultListIdChanged();
    void titleChanged();
    void choicesChanged();
    void focusedChanged();
    void popoversChanged();
    void draftListChanged();
    void createRequested(const EnhancedDraft& draft);
    void createEnhancedRequested(const EnhancedDraft& draft);
    // Escape with no card on show.
    void leaveRequested();

private:
    void resetChoices();
    void setChosenList(const QString& id);
    [[nodiscard]] const TaskCategory* categoryFor(const QString& id) const;

    QmlClock m_clock;
    TaskSuggestionController m_ai;
    QPointer<CategoryListModel> m_categories;
    QString m_defaultListId;
    QString m_title;
    QString m_chosenListId;
    QDateTime m_chosenDueDate;
    QDateTime m_chosenReminderAt;
    bool m_userPickedList = false;
    bool m_focused = false;
    bool m_pickerOpen = false;
    bool m_schedulePickerOpen = false;
};
