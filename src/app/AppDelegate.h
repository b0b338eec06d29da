#pragma once

#include "LaunchOptions.h"
#include "TavikContainer.h"
#include "types/SlicedIncubationController.h"

#include <QDBusConnection>
#include <QObject>
#include <QPointer>
#include <QQuickWindow>
#include <QStringList>
#include <QTimer>
#include <memory>

class AIConfig;
class BoardController;
class BoardModel;
class Clock;
class CloudAccount;
class CloudSync;
class DayChangeWatcher;
class GeminiClient;
class GlobalHotKey;
class NotificationCenter;
class ModelContainer;
class NotificationHub;
class QuickEntryController;
class Preferences;
class QQmlApplicationEngine;
class QQmlComponent;
class ReminderResponseRouter;
class ReminderScheduler;
class SettingsWindowController;
class SoundPlayer;
class StatusItem;
class UpdateCheckResult;
class UpdateDialogController;
class UpdaterController;

// The process's launch order and save point: it wires what main() built together in one
// fixed order, makes the board, the tray item and the windows, and saves. Board actions never
// save; they post tavikTasksChanged and refreshMenuBarCount here reconciles, saves and
// redraws the count.
class AppDelegate : public QObject {
    Q_OBJECT
public:
    // An edit that posts nothing is saved as soon as the event loop is free: one save is one
    // fsync (a few ms), and edits made within one event share it.
    static constexpr int autosaveDelayMs = 0;
    // After the board's first frame, when the quick-entry window is built ahead of its first
    // use.
    static constexpr int quickEntryPrebuildDelayMs = 800;

    // The long-lived collaborators, built by main() in dependency order; all outlive the
    // delegate.
    struct Environment {
        const Clock& clock;
        Preferences& preferences;
        NotificationHub& hub;
        ModelContainer& container;
        NotificationCenter& notificationCenter;
        ReminderScheduler& reminders;
        ReminderResponseRouter& responses;
        SoundPlayer& sounds;
        UpdaterController& updater;
        AIConfig& aiConfig;
        GeminiClient& gemini;
        CloudSync& cloudSync;
        CloudAccount& cloudAccount;
        // What became of the mirror when the store opened.
        TavikContainer::SyncAvailability syncAvailability;
    };

    AppDelegate(const Environment& environment, LaunchOptions options, QObject* parent = nullptr);
    ~AppDelegate() override;

    void applicationDidFinishLaunching();

    Q_INVOKABLE void showWindow();
    Q_INVOKABLE void toggleWindow();
    Q_INVOKABLE void hideWindow();
    Q_INVOKABLE void openSettings();
    // The quick-entry window, whether or not the board is shown; the board stays as it is.
    Q_INVOKABLE void showQuickEntry();
    void refreshMenuBarCount();
    void updateMenuBarCount();
    [[nodiscard]] int todayOpenCount() const;

    // A second launch handed over its options.
    void handleLaunch(const LaunchOptions& options);

    [[nodiscard]] QQuickWindow* window() const { return m_window; }

    [[nodiscard]] GlobalHotKey* hotKey() const { return m_toggleHotKey.get(); }
    [[nodiscard]] QQuickWindow* quickEntryWindow() const { return m_quickEntryWindow; }

public slots:
    void hideQuickEntry();

private:
    void setupHotKey();
    void setupUpdater();
    void showUpdateResult(const UpdateCheckResult& result);
    void ensureEngine();
    void saveDidFail(const QVariantMap& userInfo);
    void observeTaskChanges();
    void saveBeforeLeaving();
    void buildWindow();
    class QuickEntryIncubator;
    void buildQuickEntry();
    void incubateQuickEntry();
    void quickEntryBuilt();
    void placeQuickEntry();
    void restoreFrame();
    void saveFrame();

    Environment m_env;
    LaunchOptions m_options;
    QDBusConnection m_systemBus;

    std::unique_ptr<UpdateDialogController> m_updateDialog;
    std::unique_ptr<SettingsWindowController> m_settings;
    std::unique_ptr<GlobalHotKey> m_toggleHotKey;
    std::unique_ptr<GlobalHotKey> m_quickAddHotKey;
    std::unique_ptr<BoardModel> m_boardModel;
    std::unique_ptr<BoardController> m_board;
    // Declared before the engine, which uses it until it is gone.
    SlicedIncubationController m_incubation{std::chrono::milliseconds(4)};
    std::unique_ptr<QQmlApplicationEngine> m_engine;
    QPointer<QQuickWindow> m_window;
    std::unique_ptr<QuickEntryController> m_quickEntry;
    std::unique_ptr<QQmlComponent> m_quickEntryComponent;
    std::unique_ptr<QuickEntryIncubator> m_quickEntryIncubator;
    QPointer<QQuickWindow> m_quickEntryWindow;
    bool m_showQuickEntryWhenBuilt = false;
    std::unique_ptr<StatusItem> m_statusItem;
    std::unique_ptr<DayChangeWatcher> m_dayWatcher;
    QTimer m_frameSaver;
    // Saves what no action saved (lists, a drop on a tab, the drawer) once edits settle.
    QTimer m_autosave;
};
