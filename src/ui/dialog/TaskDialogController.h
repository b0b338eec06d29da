#pragma once

#include "types/RecordTypes.h"

#include <QAbstractItemModel>
#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QQmlParserStatus>
#include <QString>

#include "types/QmlClock.h"

class TaskItem;

// The rules of the task dialog (CreateTaskPanel): its private draft, what each control does
// to it, when it may be submitted and when a click elsewhere may close it. It writes no
// record: submitting hands the draft out through createRequested or saveRequested.
//
// Days are starts of local days; `time` is a full moment of which only hour and minute count.
// Invalid QDateTimes (invalid JS Dates in QML) mean none. List ids are UUIDs without braces,
// "" for no list.
class TaskDialogController : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT

    // Inputs from the board.
    // The board's clock; without one the controller refuses to tell the day.
    Q_PROPERTY(QmlClock* clock READ clock WRITE setClock NOTIFY clockChanged REQUIRED)
    Q_PROPERTY(
        QAbstractItemModel* categories READ categories WRITE setCategories NOTIFY categoriesChanged)
    Q_PROPERTY(
        QString defaultListId READ defaultListId WRITE setDefaultListId NOTIFY defaultListIdChanged)
    Q_PROPERTY(QObject* editingTask READ editingTask WRITE setEditingTask NOTIFY editingTaskChanged)

    // The draft and the card's view state.
    Q_PROPERTY(bool open READ isOpen NOTIFY openChanged)
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(QString note READ note WRITE setNote NOTIFY noteChanged)
    Q_PROPERTY(QDateTime day READ day NOTIFY dayChanged)
    Q_PROPERTY(QDateTime time READ time NOTIFY timeChanged)
    Q_PROPERTY(QString chosenListId READ chosenListId NOTIFY chosenListIdChanged)
    Q_PROPERTY(bool titleFocused READ titleFocused WRITE setTitleFocused NOTIFY titleFocusedChanged)
    Q_PROPERTY(bool noteFocused READ noteFocused WRITE setNoteFocused NOTIFY noteFocusedChanged)
    Q_PROPERTY(bool datePickerOpen READ datePickerOpen WRITE setDatePickerOpen NOTIFY
                   datePickerOpenChanged)
    Q_PROPERTY(bool timePickerOpen READ timePickerOpen WRITE setTimePickerOpen NOTIFY
                   timePickerOpenChanged)
    Q_PROPERTY(bool listPickerOpen READ listPickerOpen WRITE setListPickerOpen NOTIFY
                   listPickerOpenChanged)

    // Derived values. `today`, `tomorrow` and `defaultTime` read `clock`.
    Q_PROPERTY(bool editing READ isEditing NOTIFY editingTaskChanged)
    Q_PROPERTY(bool canCreate READ canCreate NOTIFY titleChanged)
    Q_PROPERTY(bool editDirty READ editDirty NOTIFY derivedChanged)
    Q_PROPERTY(QDateTime customDay READ customDay NOTIFY derivedChanged)
    Q_PROPERTY(QDateTime resolvedReminder READ resolvedReminder NOTIFY derivedChanged)
    Q_PROPERTY(QDateTime today READ today NOTIFY derivedChanged)
    Q_PROPERTY(QDateTime tomorrow READ tomorrow NOTIFY derivedChanged)
    Q_PROPERTY(QDateTime defaultTime READ defaultTime NOTIFY derivedChanged)
    Q_PROPERTY(bool todayActive READ todayActive NOTIFY derivedChanged)
    Q_PROPERTY(bool tomorrowActive READ tomorrowActive NOTIFY derivedChanged)
    // The month the grid opens on: the first day of the month of `day`, or of today.
    Q_PROPERTY(QDateTime gridMonth READ gridMonth NOTIFY derivedChanged)
    Q_PROPERTY(QString chosenListName READ chosenListName NOTIFY derivedChanged)
    // "" when no list of `categories` has the chosen id: the view draws the no-list colour.
    Q_PROPERTY(QString chosenListColorHex READ chosenListColorHex NOTIFY derivedChanged)

public:
    explicit TaskDialogController(QObject* parent = nullptr);
    explicit TaskDialogController(QmlClock* clock, QObject* parent = nullptr);

    [[nodiscard]] QmlClock* clock() const { return m_clock; }
    void setClock(QmlClock* clock);

    // While QML builds the controller, its clock may not have arrived yet.
    void classBegin() override { m_building = true; }
    void componentComplete() override;

    [[nodiscard]] QAbstractItemModel* categories() const { return m_categories; }
    void setCategories(QAbstractItemModel* categories);
    [[nodiscard]] QString defaultListId() const { return m_defaultListId; }
    void setDefaultListId(const QString& id);
    [[nodiscard]] QObject* editingTask() const;
    // A different task (by id) starts editing it at once; none changes nothing by itself.
    void setEditingTask(QObject* task);

    [[nodiscard]] bool isOpen() const { return m_open; }
    [[nodiscard]] QString title() const { return m_title; }
    void setTitle(const QString& title);
    [[nodiscard]] QString note() const { return m_note; }
    void setNote(const QString& note);
    [[nodiscard]] QDateTime day() const { return m_day; }
    [[nodiscard]] QDateTime time() const { return m_time; }
    [[nodiscard]] QString chosenListId() const { return m_chosenListId; }
    [[nodiscard]] bool titleFocused() const { return m_titleFocused; }
    void setTitleFocused(bool focused);
    [[nodiscard]] bool noteFocused() const { return m_noteFocused; }
    void setNoteFocused(bool focused);
    [[nodiscard]] bool datePickerOpen() const { return m_datePickerOpen; }
    void setDatePickerOpen(bool open);
    [[nodiscard]] bool timePickerOpen() const { return m_timePickerOpen; }
    void setTimePickerOpen(bool open);
    [[nodiscard]] bool listPickerOpen() const { return m_listPickerOpen; }
    void setListPickerOpen(bool open);

    [[nodiscard]] bool isEditing() const { return task() != nullptr; }
    [[nodiscard]] bool canCreate() const;
    [[nodiscard]] bool editDirty() const;
    [[nodiscard]] QDateTime customDay() const;
    [[nodiscard]] QDateTime resolvedReminder() const;
    [[nodiscard]] QDateTime today() const;
    [[nodiscard]] QDateTime tomorrow() const;
    [[nodiscard]] QDateTime defaultTime() const;
    [[nodiscard]] bool todayActive() const;
    [[nodiscard]] bool tomorrowActive() const;
    [[nodiscard]] QDateTime gridMonth() const;
    [[nodiscard]] QString chosenListName() const { return listName(m_chosenListId); }
    [[nodiscard]] QString chosenListColorHex() const { return listColorHex(m_chosenListId); }
    // What submit() hands over now: the title and note trimmed, the day following the reminder.
    [[nodiscard]] EnhancedDraft draft() const;

    // A list's name, "无" for no list or an id that no list has.
    Q_INVOKABLE [[nodiscard]] QString listName(const QString& listId) const;
    Q_INVOKABLE [[nodiscard]] QString listColorHex(const QString& listId) const;

    // The card's actions.
    Q_INVOKABLE void openPanel();
    Q_INVOKABLE void beginEdit();
    Q_INVOKABLE void closePanel();
    Q_INVOKABLE void submit();
    Q_INVOKABLE void trash();
    // Ctrl+N: focus the title of an open card, or open a new one.
    Q_INVOKABLE void newTaskShortcut();
    // A click on empty board area: closes a card that holds nothing worth keeping.
    Q_INVOKABLE void handleBlurInput();

    // The day, reminder and list controls.
    Q_INVOKABLE void toggleToday();
    Q_INVOKABLE void toggleTomorrow();
    Q_INVOKABLE void openDatePicker();
    Q_INVOKABLE void pickDay(const QDateTime& date);
    Q_INVOKABLE void clearDay();
    Q_INVOKABLE void openTimePicker();
    Q_INVOKABLE void pickTime(const QDateTime& slot);
    Q_INVOKABLE void clearTime();
    Q_INVOKABLE void openListPicker();
    Q_INVOKABLE void chooseList(const QString& listId);

signals:
    void clockChanged();
    void categoriesChanged();
    void defaultListIdChanged();
    void editingTaskChanged();
    void openChanged();
    void titleChanged();
    void noteChanged();
    void dayChanged();
    void timeChanged();
    void chosenListIdChanged();
    void titleFocusedChanged();
    void noteFocusedChanged();
    void datePickerOpenChanged();
    void timePickerOpenChanged();
    void listPickerOpenChanged();
    void derivedChanged();

    // The draft with a trimmed title and note.
    void createRequested(const EnhancedDraft& draft);
    void saveRequested(TaskItem* task, const EnhancedDraft& draft);
    void deleteRequested(QObject* task);
    // The card closed while a task was open in it: the board lets go of the task.
    void endEditingRequested();

private:
    [[nodiscard]] QDateTime nowMoment() const;
    [[nodiscard]] TaskItem* task() const;
    [[nodiscard]] int findList(const QString& listId) const;
    [[nodiscard]] QString taskListId() const;
    void setOpen(bool open);
    void setDay(const QDateTime& day);
    void setTime(const QDateTime& time);
    void setChosenListId(const QString& id);
    void blurFields();
    void closeWith(bool editing);
    void watchTask(TaskItem* task);

    QPointer<QmlClock> m_clock;
    bool m_building = false;
    QPointer<QAbstractItemModel> m_categories;
    QString m_defaultListId;
    QPointer<TaskItem> m_task;
    QMetaObject::Connection m_categoriesReset;

    bool m_open = false;
    QString m_title;
    QString m_note;
    QDateTime m_day;
    QDateTime m_time;
    QString m_chosenListId;
    bool m_titleFocused = false;
    bool m_noteFocused = false;
    bool m_datePickerOpen = false;
    bool m_timePickerOpen = false;
    bool m_listPickerOpen = false;
};
