#pragma once

#include "Bucket.h"
#include "board/TaskListModel.h"
#include "drag/BoardDragController.h"
#include "lists/CategoryListModel.h"
#include "types/QmlClock.h"
#include "types/RecordTypes.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QSet>
#include <QSize>
#include <QStringList>
#include <QTimer>
#include <QUuid>
#include <QVariantList>
#include <optional>
#include <utility>

class BoardModel;
class Clock;
class NotificationHub;
class TaskCategory;
class TaskDrawerController;
class TaskItem;

// The switches for looking at the board by hand.
struct BoardDebugOptions {
    bool openEditor = false; // --debug-open-editor: the first task opens in the dialog
    bool doneOpen = false;   // --debug-done-open: the done list starts open
};

// The board's view state and the rules of the screen: what the columns show, which row the
// keyboard acts on, what a key does, which task the dialog edits, and the board's reactions
// to application events. BoardView draws it and forwards pointer and key input here.
// Task and list ids cross to QML as strings without braces ("" for none).
class BoardController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The app shell makes the board controller.")
    // The board's clock, for the views to hand to the controllers they make.
    Q_PROPERTY(QmlClock* clock READ clockObject CONSTANT)
    Q_PROPERTY(TaskListModel* laterModel READ laterModel CONSTANT)
    Q_PROPERTY(TaskListModel* thisWeekModel READ thisWeekModel CONSTANT)
    Q_PROPERTY(TaskListModel* todayModel READ todayModel CONSTANT)
    Q_PROPERTY(TaskListModel* doneModel READ doneModel CONSTANT)
    // The three columns' models, left to right (BucketInfo::columns).
    Q_PROPERTY(QVariantList columnModels READ columnModels CONSTANT)
    Q_PROPERTY(CategoryListModel* categoriesModel READ categoriesModel CONSTANT)
    Q_PROPERTY(BoardDragController* drag READ drag CONSTANT)
    // The board window's size when no frame was saved, and the least it can be made.
    Q_PROPERTY(QSize defaultWindowSize READ defaultWindowSize CONSTANT)
    Q_PROPERTY(QSize minimumWindowSize READ minimumWindowSize CONSTANT)
    Q_PROPERTY(BoardDragState* dragState READ dragState CONSTANT)
    Q_PROPERTY(QString selectedCategoryId READ selectedCategoryId WRITE selectCategory NOTIFY
                   selectedCategoryIdChanged)
    // Changes exactly when `later` must scroll back to its top.
    Q_PROPERTY(
        QString laterScrollResetKey READ laterScrollResetKey NOTIFY selectedCategoryIdChanged)
    Q_PROPERTY(bool compactRows READ compactRows WRITE setCompactRows NOTIFY compactRowsChanged)
    // The board's present: what the columns are classified with.
    Q_PROPERTY(QDateTime now READ now NOTIFY nowChanged)
    // The clock's present as of the last redraw: what overdue chips are judged by.
    Q_PROPERTY(QDateTime displayNow READ displayNow NOTIFY displayNowChanged)
    Q_PROPERTY(TaskItem* editingTask READ editingTask NOTIFY editingTaskChanged)
    Q_PROPERTY(QString editingTaskId READ editingTaskId NOTIFY editingTaskChanged)
    Q_PROPERTY(bool showDone READ showDone WRITE setShowDone NOTIFY showDoneChanged)
    Q_PROPERTY(bool updateAvailable READ updateAvailable NOTIFY updateAvailableChanged)
    Q_PROPERTY(QString focusedTaskId READ focusedTaskId NOTIFY focusedTaskIdChanged)
    Q_PROPERTY(bool keyboardActive READ keyboardActive WRITE setKeyboardActive NOTIFY
                   keyboardActiveChanged)
    Q_PROPERTY(bool boardFocused READ boardFocused WRITE setBoardFocused NOTIFY boardFocusedChanged)
    // The row that shows the keyboard highlight: the focused one while the board holds the
    // focus and the keyboard is in use, else "".
    Q_PROPERTY(QString highlightedTaskId READ highlightedTaskId NOTIFY highlightedTaskIdChanged)

public:
    // Delay before "--debug-open-editor" opens the first task.
    static constexpr int debugOpenEditorDelayMs = 600;
    static constexpr QSize defaultWindowSizeValue{1158, 720};
    static constexpr QSize minimumWindowSizeValue{760, 460};

    using DebugOptions = BoardDebugOptions;

    BoardController(BoardModel& model, const Clock& clock, NotificationHub& hub,
                    DebugOptions debug = {}, QObject* parent = nullptr);

    [[nodiscard]] BoardModel& model() const { return m_model; }
    [[nodiscard]] QmlClock* clockObject() const { return m_clockObject; }
    [[nodiscard]] NotificationHub& hub() const { return m_hub; }
    // The detail card reports itself while it is up; flushOpenDrawer() makes it store the
    // note typed since its last pause, and the card stays up.
    void drawerAppeared(TaskDrawerController* drawer);
    void drawerDisappeared(TaskDrawerController* drawer);
    void flushOpenDrawer();
    [[nodiscard]] TaskListModel* laterModel() const { return m_later; }
    [[nodiscard]] TaskListModel* thisWeekModel() const { return m_thisWeek; }
    [[nodiscard]] TaskListModel* todayModel() const { return m_today; }
    [[nodiscard]] TaskListModel* doneModel() const { return m_done; }
    [[nodiscard]] TaskListModel* columnModel(Bucket bucket) const;
    [[nodiscard]] QVariantList columnModels() const;
    [[nodiscard]] QSize defaultWindowSize() const { return defaultWindowSizeValue; }
    [[nodiscard]] QSize minimumWindowSize() const { return minimumWindowSizeValue; }
    [[nodiscard]] CategoryListModel* categoriesModel() const { return m_categories; }
    [[nodiscard]] BoardDragController* drag() const { return m_drag; }
    [[nodiscard]] BoardDragState* dragState() const { return m_drag->state(); }

    [[nodiscard]] QString selectedCategoryId() const;
    [[nodiscard]] QString laterScrollResetKey() const;
    [[nodiscard]] bool compactRows() const;
    void setCompactRows(bool compact);
    [[nodiscard]] QDateTime now() const;
    [[nodiscard]] QDateTime displayNow() const { return m_displayNow; }
    [[nodiscard]] TaskItem* editingTask() const { return m_editingTask; }
    [[nodiscard]] QString editingTaskId() const;
    [[nodiscard]] bool showDone() const { return m_showDone; }
    void setShowDone(bool show);
    [[nodiscard]] bool updateAvailable() const { return m_updateAvailable; }
    [[nodiscard]] QString focusedTaskId() const;
    [[nodiscard]] std::optional<QUuid> focusedId() const { return m_focusedTaskId; }
    void setFocusedId(std::optional<QUuid> id);
    [[nodiscard]] bool keyboardActive() const { return m_keyboardActive; }
    void setKeyboardActive(bool active);
    [[nodiscard]] bool boardFocused() const { return m_boardFocused; }
    void setBoardFocused(bool focused);
    [[nodiscard]] QString highlightedTaskId() const;

    // ---- Actions, as the views call them ----
    // A draft from the task dialog, or from anything else that drafts tasks.
    Q_INVOKABLE void createEnhanced(const EnhancedDraft& draft);
    Q_INVOKABLE void saveEdit(TaskItem* task, const EnhancedDraft& draft);
    Q_INVOKABLE void toggle(TaskItem* task);
    Q_INVOKABLE void deleteTask(TaskItem* task);
    Q_INVOKABLE void assignTaskCategory(TaskItem* task, const QString& categoryId);
    Q_INVOKABLE void createCategory(const QString& name, const QString& colorHex);
    Q_INVOKABLE void deleteCategory(const QString& categoryId);
    Q_INVOKABLE void selectCategory(const QString& categoryId);
    Q_INVOKABLE void beginEditing(TaskItem* task);
    Q_INVOKABLE void endEditing();
    // Flips the row density (the view animates the change).
    Q_INVOKABLE void toggleViewMode();

    // ---- Input and events ----
    // A key press in the down or repeat phase; true when the board took it.
    Q_INVOKABLE bool handleBoardKey(int key, int modifiers);
    // The pointer moved over the columns: the keyboard highlight goes.
    Q_INVOKABLE void pointerMoved();
    // A click on empty board area.
    Q_INVOKABLE void requestBlurInput();
    // The update pill.
    Q_INVOKABLE void checkForUpdates();
    Q_INVOKABLE void boardAppeared();
    Q_INVOKABLE void boardDisappeared();
    // Activation and the calendar's day change: the board takes the clock's present.
    Q_INVOKABLE void refreshNow();
    // Brings the list models up to the board now instead of at the next turn of the loop.
    Q_INVOKABLE void syncModels();

    // ---- Keyboard control ----
    using Location = std::pair<Bucket, int>;
    [[nodiscard]] std::optional<Location> locate(std::optional<QUuid> id) const;
    void focusDefault();
    void moveFocus(int delta);
    void moveFocusColumn(int delta);
    void moveFocusedTask(int delta);
    void moveFocusedTaskToColumn(int delta);
    void cycleList(int delta);
    void completeFocused();
    void openFocused();

signals:
    void selectedCategoryIdChanged();
    void compactRowsChanged();
    void nowChanged();
    void displayNowChanged();
    void editingTaskChanged();
    void showDoneChanged();
    void updateAvailableChanged();
    void focusedTaskIdChanged();
    void keyboardActiveChanged();
    void boardFocusedChanged();
    void highlightedTaskIdChanged();
    // tavikBlurInput was posted: text fields give up the keyboard.
    void blurInput();

private:
    void scheduleSync();
    // The columns' rows: the board's lists, less the dragged task, with its placeholder where
    // it would land.
    void syncColumns();
    void onTaskRemoved(TaskItem* task);
    void onCategoryRemoved(TaskCategory* category);
    void setUpdateAvailable(bool available);
    void setEditingTask(TaskItem* task);
    void updateHighlight();
    [[nodiscard]] TaskItem* liveTask(std::optional<QUuid> id) const;
    [[nodiscard]] TaskCategory* categoryFor(const QString& categoryId) const;

    BoardModel& m_model;
    const Clock& m_clock;
    NotificationHub& m_hub;
    QmlClock* m_clockObject;
    QPointer<TaskDrawerController> m_openDrawer;
    bool m_debugOpenEditor = false;
    bool m_appearedOnce = false;

    TaskListModel* m_later;
    TaskListModel* m_thisWeek;
    TaskListModel* m_today;
    TaskListModel* m_done;
    CategoryListModel* m_categories;
    BoardDragController* m_drag;
    bool m_syncing = false;
    // Record changes come in bursts; the models follow once per turn of the event loop.
    QTimer m_syncTimer;
    QSet<TaskItem*> m_changedTasks;

    QDateTime m_displayNow;
    QPointer<TaskItem> m_editingTask;
    bool m_showDone = false;
    bool m_updateAvailable = false;
    std::optional<QUuid> m_focusedTaskId;
    bool m_keyboardActive = false;
    bool m_boardFocused = false;
    QString m_highlightedTaskId;
};
