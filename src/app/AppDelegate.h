#pragma once

#include "Clock.h"
#include "ModelContainer.h"
#include "Preferences.h"

#include <QObject>
#include <QPointer>
#include <QQuickWindow>
#include <QStringList>
#include <QTimer>
#include <memory>

class BoardController;
class BoardModel;
class DayChangeWatcher;
class GlobalHotKey;
class NotificationCenter;
class NotificationHub;
class QNetworkAccessManager;
class QQmlApplicationEngine;
class ReminderResponseRouter;
class ReminderScheduler;
class SettingsWindowController;
class SoundPlayer;
class StatusItem;
class UpdateCheckResult;
class UpdateDialogController;
class UpdaterController;

// The process: owns the store, the board window, the tray item and the save point, and wires
// the rest together in one fixed launch order. Board actions never save; they post
// tavikTasksChanged and refreshMenuBarCount here reconciles, saves and redraws the count.
class AppDelegate : public QObject {
    Q_OBJECT
public:
    // Quiet time after the last unsaved edit before it is saved anyway.
    static constexpr int autosaveDelayMs = 1000;

    AppDelegate(std::unique_ptr<ModelContainer> container, QStringList arguments,
                NotificationHub& hub, QObject* parent = nullptr);
    ~AppDelegate() override;

    void applicationDidFinishLaunching();

    Q_INVOKABLE void showWindow();
    Q_INVOKABLE void toggleWindow();
    Q_INVOKABLE void hideWindow();
    Q_INVOKABLE void openSettings();
    void refreshMenuBarCount();
    void updateMenuBarCount();
    [[nodiscard]] int todayOpenCount() const;

    // A second launch handed over its arguments.
    void handleArguments(const QStringList& arguments);

    [[nodiscard]] QQuickWindow* window() const { return m_window; }
    [[nodiscard]] ModelContainer& container() const { return *m_container; }

    [[nodiscard]] GlobalHotKey* hotKey() const { return m_toggleHotKey.get(); }

private:
    void setupHotKey();
    void setupUpdater();
    void showUpdateResult(const UpdateCheckResult& result);
    void ensureEngine();
    void saveDidFail(const QVariantMap& userInfo);
    void observeTaskChanges();
    void buildWindow();
    void restoreFrame();
    void saveFrame();
    [[nodiscard]] bool hasArgument(const QString& name) const;

    std::unique_ptr<ModelContainer> m_container;
    QStringList m_arguments;
    NotificationHub& m_hub;
    SystemClock m_clock;
    Preferences m_preferences;

    std::unique_ptr<SoundPlayer> m_sounds;
    std::unique_ptr<NotificationCenter> m_notificationCenter;
    std::unique_ptr<ReminderScheduler> m_reminders;
    std::unique_ptr<ReminderResponseRouter> m_responses;
    std::unique_ptr<QNetworkAccessManager> m_network;
    std::unique_ptr<UpdaterController> m_updater;
    std::unique_ptr<UpdateDialogController> m_updateDialog;
    std::unique_ptr<SettingsWindowController> m_settings;
    std::unique_ptr<GlobalHotKey> m_toggleHotKey;
    std::unique_ptr<BoardModel> m_boardModel;
    std::unique_ptr<BoardController> m_board;
    std::unique_ptr<QQmlApplicationEngine> m_engine;
    QPointer<QQuickWindow> m_window;
    std::unique_ptr<StatusItem> m_statusItem;
    std::unique_ptr<DayChangeWatcher> m_dayWatcher;
    QTimer m_frameSaver;
    // Saves what no action saved (lists, a drop on a tab, the drawer) once edits settle.
    QTimer m_autosave;
    bool m_debugFrame = false;
};
