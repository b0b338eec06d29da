#include "AppDelegate.h"

#include "AppVersion.h"
#include "BoardModel.h"
#include "Clock.h"
#include "CloudAccount.h"
#include "CloudSync.h"
#include "DayChangeWatcher.h"
#include "DemoData.h"
#include "GlobalHotKey.h"
#include "ModelContainer.h"
#include "NotificationCenter.h"
#include "Notifications.h"
#include "Preferences.h"
#include "ReminderResponseRouter.h"
#include "ReminderScheduler.h"
#include "ScheduleReconciler.h"
#include "SoundPlayer.h"
#include "StatusItem.h"
#include "TavikPersistence.h"
#include "TodayOpenCount.h"
#include "UpdateCheckResult.h"
#include "UpdaterController.h"
#include "ai/QuickEntryController.h"
#include "board/BoardController.h"
#include "settings/SettingsWindowController.h"
#include "settings/UpdateDialogController.h"
#include "theme/ThemePalette.h"

#include <QApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QMessageBox>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
#include <QQuickWindow>
#include <QScreen>
#include <QSettings>
#include <algorithm>

Q_LOGGING_CATEGORY(lcApp, "dev.orlen.tavik.app")

namespace {
const QString kFrameGroup = QStringLiteral("TavikBoard");
} // namespace

AppDelegate::AppDelegate(const Environment& environment, LaunchOptions options, QObject* parent)
    : QObject(parent)
    , m_env(environment)
    , m_options(std::move(options))
    , m_systemBus(QDBusConnection::systemBus()) {
    m_frameSaver.setSingleShot(true);
    m_frameSaver.setInterval(400);
    connect(&m_frameSaver, &QTimer::timeout, this, &AppDelegate::saveFrame);
    m_autosave.setSingleShot(true);
    m_autosave.setInterval(autosaveDelayMs);
    connect(&m_autosave, &QTimer::timeout, this, [this] {
        if (m_env.container.mainContext().hasChanges())
            refreshMenuBarCount();
    });
}

AppDelegate::~AppDelegate() {
    // Windows made by the engine go before it, and the views before the board they show.
    delete m_quickEntryWindow;
    m_quickEntryIncubator.reset();
    m_quickEntryComponent.reset();
    m_quickEntry.reset();
    m_settings.reset();
    m_updateDialog.reset();
    m_engine.reset();
}

void AppDelegate::applicationDidFinishLaunching() {
    ModelContext& context = m_env.container.mainContext();

    // 1. Demo content, before anything reads the store.
    if (m_options.seedDemo)
        DemoData::seedIfEmpty(context, m_env.clock.now());

    // 2. The menu's actions are window shortcuts (BoardWindow.qml).

    // 3. Notification responses arrive here, on the main thread.
    m_env.responses.setShowBoard([this] { showWindow(); });
    connect(&m_env.notificationCenter, &NotificationCenter::responseReceived, &m_env.responses,
            &ReminderResponseRouter::didReceive);

    // 4. The reminder category and its actions.
    m_env.reminders.registerCategories();

    // 5. The sync monitor and the mirror's schedule. A finished import has posted
    // tavikTasksChanged; its reminders follow here. Connecting or disconnecting in the settings
    // window rebuilds the mirror at once.
    m_env.cloudSync.start(context, m_env.syncAvailability, &m_systemBus);
    connect(&m_env.cloudSync, &CloudSync::importFinished, this,
            [this] { m_env.reminders.syncAll(m_env.container.mainContext()); });
    connect(&m_env.cloudAccount, &CloudAccount::connected, &m_env.cloudSync,
            &CloudSync::connectAccount);
    connect(&m_env.cloudAccount, &CloudAccount::disconnected, &m_env.cloudSync,
            &CloudSync::disconnectAccount);

    // 6. One pending reminder per task, and none for tasks that are gone.
    m_env.reminders.syncAll(context);

    // 7. Daily reconciliation. Its changes wait for the first refreshMenuBarCount's save.
    ScheduleReconciler::reconcile(context, m_env.clock.now(), m_env.preferences, m_env.hub);

    // The board's model, with its reminders and sounds.
    m_boardModel = std::make_unique<BoardModel>(context, m_env.preferences, m_env.clock, m_env.hub);
    m_boardModel->setReminderSink(&m_env.reminders);
    m_boardModel->setSoundSink(&m_env.sounds);
    m_board = std::make_unique<BoardController>(
        *m_boardModel, m_env.clock, m_env.hub,
        BoardController::DebugOptions{m_options.debugOpenEditor, m_options.debugDoneOpen});

    // 8. The tray item.
    m_statusItem = std::make_unique<StatusItem>();
    connect(m_statusItem.get(), &StatusItem::toggleRequested, this, &AppDelegate::toggleWindow);
    connect(m_statusItem.get(), &StatusItem::openBoardRequested, this, &AppDelegate::showWindow);
    connect(m_statusItem.get(), &StatusItem::quickAddRequested, this, &AppDelegate::showQuickEntry);
    connect(m_statusItem.get(), &StatusItem::settingsRequested, this, &AppDelegate::openSettings);
    connect(m_statusItem.get(), &StatusItem::quitRequested, qApp, &QCoreApplication::quit);
    m_statusItem->show();

    // 9. Alt+J, system-wide.
    setupHotKey();

    // 10. Observers.
    observeTaskChanges();

    // 11. The count.
    updateMenuBarCount();

    // 12. Updates.
    setupUpdater();

    // 13. The board, unless started in the background (the autostart entry) or for a quick
    // entry only.
    if (m_options.quickAdd)
        showQuickEntry();
    else if (!m_options.background)
        showWindow();
    // The quick entry is built once the board has settled, so that its hot key finds it
    // ready: built from QML on the first press it would take a quarter of a second or more.
    // The wait starts at the board's first frame, which it must never hold up.
    const auto prebuildQuickEntry = [this] {
        QTimer::singleShot(quickEntryPrebuildDelayMs, this, [this] {
            if (!m_quickEntryWindow)
                buildQuickEntry();
        });
    };
    if (m_window && m_window->isVisible()) {
        auto connection = std::make_shared<QMetaObject::Connection>();
        *connection =
            connect(m_window, &QQuickWindow::frameSwapped, this, [connection, prebuildQuickEntry] {
                disconnect(*connection);
                prebuildQuickEntry();
            });
    } else {
        prebuildQuickEntry();
    }
}

void AppDelegate::setupHotKey() {
    QPointer<AppDelegate> self(this);
    m_toggleHotKey = std::make_unique<GlobalHotKey>(Qt::Key_J, Qt::AltModifier, [self] {
        if (self)
            self->toggleWindow();
    });
    m_quickAddHotKey = std::make_unique<GlobalHotKey>(
        Qt::Key_J, Qt::AltModifier | Qt::ShiftModifier,
        GlobalHotKey::Binding{
            2, QStringLiteral("quick-add-2"), QStringLiteral("快速添加任务"),
            QStringLiteral("[Tavik] RegisterEventHotKey failed (status %1) for Alt+Shift+J; the "
                           "combo may be taken — use 快速添加 in the menu-bar icon's menu.")},
        [self] {
            if (self)
                self->showQuickEntry();
        });
}

void AppDelegate::setupUpdater() {
    UpdaterController* updater = &m_env.updater;
    connect(updater, &UpdaterController::checkingChanged, this, [this] {
        if (m_env.updater.isChecking()) {
            ensureEngine();
            if (!m_updateDialog) {
                m_updateDialog = std::make_unique<UpdateDialogController>(m_engine.get());
                m_updateDialog->setCurrentVersion(AppVersion::shortVersion());
                connect(m_updateDialog.get(), &UpdateDialogController::cancelRequested,
                        &m_env.updater, &UpdaterController::cancelCheck);
            }
            m_updateDialog->showChecking();
        }
    });
    connect(updater, &UpdaterController::checkFinished, this, &AppDelegate::showUpdateResult);
    updater->start();
}

void AppDelegate::showUpdateResult(const UpdateCheckResult& result) {
    if (!m_updateDialog)
        return;
    switch (result.kind) {
    case UpdateCheckResult::Kind::UpdateFound:
        m_updateDialog->showUpdateFound(result.version, result.build, result.notes,
                                        result.downloadUrl);
        break;
    case UpdateCheckResult::Kind::UpToDate:
        m_updateDialog->showUpToDate(result.message);
        break;
    case UpdateCheckResult::Kind::Failed:
        m_updateDialog->showFailed(result.message);
        break;
    case UpdateCheckResult::Kind::NotOffered:
        m_updateDialog->showNotOffered();
        break;
    case UpdateCheckResult::Kind::Cancelled:
        m_updateDialog->dismiss();
        break;
    }
}

void AppDelegate::saveBeforeLeaving() {
    // The open card's latest typing and the completions still in their delay are what the
    // user last saw; they are written before the last save.
    m_board->flushOpenDrawer();
    m_board->model().finishCompletions();
    if (m_env.container.mainContext().hasChanges())
        refreshMenuBarCount();
}

void AppDelegate::observeTaskChanges() {
    // Some changes post nothing; they are saved at the next turn of the loop, and before quitting.
    ModelContext& context = m_env.container.mainContext();
    const auto settle = [this] { m_autosave.start(); };
    connect(&context, &ModelContext::taskInserted, this, settle);
    connect(&context, &ModelContext::taskRemoved, this, settle);
    connect(&context, &ModelContext::taskChanged, this, settle);
    connect(&context, &ModelContext::categoryInserted, this, settle);
    connect(&context, &ModelContext::categoryRemoved, this, settle);
    connect(&context, &ModelContext::categoryChanged, this, settle);
    connect(qApp, &QCoreApplication::aboutToQuit, this, &AppDelegate::saveBeforeLeaving);
    // The desktop session ending (XSMP) may end the process without a quit.
    connect(qApp, &QGuiApplication::commitDataRequest, this, &AppDelegate::saveBeforeLeaving);
    m_env.hub.observe(TavikNotification::tasksChanged, this,
                      [this](const QVariantMap&) { refreshMenuBarCount(); });
    m_env.hub.observe(TavikNotification::saveFailed, this,
                      [this](const QVariantMap& userInfo) { saveDidFail(userInfo); });
    connect(qApp, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) {
                if (state == Qt::ApplicationActive)
                    refreshMenuBarCount();
            });
    m_dayWatcher = std::make_unique<DayChangeWatcher>();
    connect(m_dayWatcher.get(), &DayChangeWatcher::dayChanged, this, [this] {
        m_board->refreshNow();
        refreshMenuBarCount();
    });
    connect(m_dayWatcher.get(), &DayChangeWatcher::woke, this, &AppDelegate::refreshMenuBarCount);
}

void AppDelegate::refreshMenuBarCount() {
    ModelContext& context = m_env.container.mainContext();
    ScheduleReconciler::reconcile(context, m_env.clock.now(), m_env.preferences, m_env.hub);
    TavikPersistence::save(context, QStringLiteral("tasksChanged"), m_env.hub);
    updateMenuBarCount();
}

void AppDelegate::updateMenuBarCount() {
    if (m_statusItem)
        m_statusItem->setCount(todayOpenCount());
}

int AppDelegate::todayOpenCount() const {
    return ::todayOpenCount(m_env.container.mainContext(), m_env.clock.now());
}

void AppDelegate::saveDidFail(const QVariantMap& userInfo) {
    const QVariant error = userInfo.value(QStringLiteral("error"));
    const QString text =
        error.typeId() == QMetaType::QString ? error.toString() : QStringLiteral("未知错误");
    QMessageBox alert(QMessageBox::Critical, QStringLiteral("Tavik"),
                      QStringLiteral("任务保存失败"), QMessageBox::NoButton);
    alert.setInformativeText(
        QStringLiteral("刚才的改动没能写入本地数据库，目前只存在于内存中。请截图此错误，然后重启 "
                       "Tavik（改动可能丢失，但能避免继续丢更多）。\n\n") +
        text);
    alert.addButton(QStringLiteral("好"), QMessageBox::AcceptRole);
    if (m_window)
        m_window->requestActivate();
    alert.exec();
}

void AppDelegate::ensureEngine() {
    if (m_engine)
        return;
    m_engine = std::make_unique<QQmlApplicationEngine>();
    m_engine->setIncubationController(&m_incubation);
    m_engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    new ThemePalette(m_engine.get());
}

void AppDelegate::buildWindow() {
    ensureEngine();
    m_engine->setInitialProperties({{QStringLiteral("board"), QVariant::fromValue(m_board.get())},
                                    {QStringLiteral("app"), QVariant::fromValue(this)}});
    m_engine->load(QUrl(QStringLiteral("qrc:/qt/qml/TavikUi/board/BoardWindow.qml")));
    if (m_engine->rootObjects().isEmpty()) {
        qCCritical(lcApp) << "the board window failed to load";
        return;
    }
    m_window = qobject_cast<QQuickWindow*>(m_engine->rootObjects().constFirst());
    if (!m_window)
        return;
    m_window->setTitle(QStringLiteral("Tavik"));
    m_window->resize(BoardController::defaultWindowSizeValue);
    m_window->setMinimumSize(BoardController::minimumWindowSizeValue);
    restoreFrame();
    if (!m_options.debugFrame) {
        connect(m_window, &QWindow::xChanged, &m_frameSaver, qOverload<>(&QTimer::start));
        connect(m_window, &QWindow::yChanged, &m_frameSaver, qOverload<>(&QTimer::start));
        connect(m_window, &QWindow::widthChanged, &m_frameSaver, qOverload<>(&QTimer::start));
        connect(m_window, &QWindow::heightChanged, &m_frameSaver, qOverload<>(&QTimer::start));
    }
}

void AppDelegate::restoreFrame() {
    QScreen* screen = m_window->screen() ? m_window->screen() : QGuiApplication::primaryScreen();
    if (m_options.debugFrame && screen) {
        const QRect visible = screen->availableGeometry();
        m_window->setPosition(visible.left() + 40, visible.top() + 40);
        return;
    }
    QSettings& settings = m_env.preferences.settings();
    settings.beginGroup(kFrameGroup);
    const QRect saved = settings.value(QStringLiteral("frame")).toRect();
    settings.endGroup();
    const QSize least = BoardController::minimumWindowSizeValue;
    if (saved.isValid() && saved.width() >= least.width() && saved.height() >= least.height()) {
        m_window->setGeometry(saved);
        return;
    }
    if (screen) {
        const QRect visible = screen->availableGeometry();
        m_window->setPosition(visible.center().x() - m_window->width() / 2,
                              visible.center().y() - m_window->height() / 2);
    }
}

void AppDelegate::saveFrame() {
    if (!m_window || m_options.debugFrame || !m_window->isVisible())
        return;
    QSettings& settings = m_env.preferences.settings();
    settings.beginGroup(kFrameGroup);
    settings.setValue(QStringLiteral("frame"), m_window->geometry());
    settings.endGroup();
}

void AppDelegate::showWindow() {
    if (!m_window)
        buildWindow();
    if (!m_window)
        return;
    m_window->show();
    m_window->raise();
    m_window->requestActivate();
    // Observers run after this turn of the loop, once the window is up.
    QTimer::singleShot(0, this, [this] { m_env.hub.post(TavikNotification::windowShown); });
}

void AppDelegate::hideWindow() {
    if (!m_window)
        return;
    saveFrame();
    m_window->hide();
}

void AppDelegate::toggleWindow() {
    if (m_window && m_window->isVisible() && m_window->isActive()) {
        hideWindow();
        return;
    }
    showWindow();
}

void AppDelegate::openSettings() {
    ensureEngine();
    if (!m_settings) {
        m_settings = std::make_unique<SettingsWindowController>(m_engine.get());
        m_settings->setVersionLine(
            AppVersion::versionLine(AppVersion::shortVersion(), AppVersion::buildNumber()));
        connect(m_settings.get(), &SettingsWindowController::checkForUpdatesRequested,
                &m_env.updater, &UpdaterController::checkForUpdates);
        m_settings->setCloudSync(&m_env.cloudSync, &m_env.cloudAccount);
    }
    // Each opening comes back to General, centred.
    m_settings->openGeneral();
}

// The incubator of the quick-entry window: the window is built a slice at a time, and the
// delegate takes it once it is whole.
class AppDelegate::QuickEntryIncubator : public QQmlIncubator {
public:
    explicit QuickEntryIncubator(AppDelegate& delegate)
        : QQmlIncubator(QQmlIncubator::Asynchronous)
        , m_delegate(delegate) {}

protected:
    void statusChanged(Status status) override {
        if (status == Ready || status == Error)
            m_delegate.quickEntryBuilt();
    }

private:
    AppDelegate& m_delegate;
};

// Built without stalling the board: the component loads on the engine's loader thread, then
// the window is created a few milliseconds per turn of the event loop. Asked for before it is
// whole, it is finished at once (showQuickEntry).
void AppDelegate::buildQuickEntry() {
    if (m_quickEntryWindow || m_quickEntryComponent)
        return;
    ensureEngine();
    m_quickEntry =
        std::make_unique<QuickEntryController>(m_env.aiConfig, m_env.gemini, m_env.clock);
    m_quickEntry->setCategories(m_board->categoriesModel());
    // The board's selected list is the default list, and follows it.
    m_quickEntry->setDefaultListId(m_board->selectedCategoryId());
    connect(m_board.get(), &BoardController::selectedCategoryIdChanged, m_quickEntry.get(),
            [this] { m_quickEntry->setDefaultListId(m_board->selectedCategoryId()); });
    const auto create = [this](const EnhancedDraft& draft) {
        m_board->createEnhanced(draft);
        hideQuickEntry();
    };
    connect(m_quickEntry.get(), &QuickEntryController::createRequested, this, create);
    connect(m_quickEntry.get(), &QuickEntryController::createEnhancedRequested, this, create);
    connect(m_quickEntry.get(), &QuickEntryController::leaveRequested, this,
            &AppDelegate::hideQuickEntry);

    m_quickEntryComponent = std::make_unique<QQmlComponent>(
        m_engine.get(), QUrl(QStringLiteral("qrc:/qt/qml/TavikUi/ai/QuickEntryWindow.qml")),
        QQmlComponent::Asynchronous);
    if (m_quickEntryComponent->isLoading())
        connect(m_quickEntryComponent.get(), &QQmlComponent::statusChanged, this,
                &AppDelegate::incubateQuickEntry);
    else
        incubateQuickEntry();
}

void AppDelegate::incubateQuickEntry() {
    if (m_quickEntryIncubator || m_quickEntryComponent->isLoading())
        return;
    if (!m_quickEntryComponent->isReady()) {
        qCCritical(lcApp) << "the quick-entry window failed to load:"
                          << m_quickEntryComponent->errorString();
        return;
    }
    m_quickEntryIncubator = std::make_unique<QuickEntryIncubator>(*this);
    m_quickEntryIncubator->setInitialProperties(
        {{QStringLiteral("entry"), QVariant::fromValue(m_quickEntry.get())}});
    m_quickEntryComponent->create(*m_quickEntryIncubator);
    if (m_showQuickEntryWhenBuilt)
        m_quickEntryIncubator->forceCompletion();
}

void AppDelegate::quickEntryBuilt() {
    QObject* object = m_quickEntryIncubator->object();
    m_quickEntryWindow = qobject_cast<QQuickWindow*>(object);
    if (!m_quickEntryWindow) {
        qCCritical(lcApp) << "the quick-entry window failed to load:"
                          << m_quickEntryIncubator->errors();
        delete object;
        return;
    }
    connect(m_quickEntryWindow, SIGNAL(leaveRequested()), this, SLOT(hideQuickEntry()));
    if (m_showQuickEntryWhenBuilt) {
        m_showQuickEntryWhenBuilt = false;
        // After the incubator's own call, which must not see its object shown under it.
        QMetaObject::invokeMethod(this, &AppDelegate::showQuickEntry, Qt::QueuedConnection);
    }
}

void AppDelegate::placeQuickEntry() {
    QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (!screen)
        return;
    // The bar stands at the top third of the screen; the window is larger than the bar, so
    // it is kept on the screen.
    const QRect available = screen->availableGeometry();
    const int barTop = m_quickEntryWindow->property("barTop").toInt();
    const int x = available.center().x() - m_quickEntryWindow->width() / 2;
    const int y = available.top() + available.height() / 3 - barTop;
    m_quickEntryWindow->setPosition(
        std::clamp(x, available.left(),
                   std::max(available.left(), available.right() - m_quickEntryWindow->width())),
        std::clamp(y, available.top(),
                   std::max(available.top(), available.bottom() - m_quickEntryWindow->height())));
}

void AppDelegate::showQuickEntry() {
    if (!m_board)
        return;
    if (!m_quickEntryWindow) {
        // Shown as soon as it is whole: at once when only its last slices were left.
        m_showQuickEntryWhenBuilt = true;
        buildQuickEntry();
        if (m_quickEntryIncubator && m_quickEntryIncubator->isLoading())
            m_quickEntryIncubator->forceCompletion();
        return;
    }
    placeQuickEntry();
    m_quickEntry->windowShown();
    m_quickEntryWindow->show();
    m_quickEntryWindow->raise();
    m_quickEntryWindow->requestActivate();
}

void AppDelegate::hideQuickEntry() {
    if (m_quickEntryWindow && m_quickEntryWindow->isVisible())
        m_quickEntryWindow->hide();
}

void AppDelegate::handleLaunch(const LaunchOptions& options) {
    // `tavik --connect` or `--disconnect` changed the account under the running board.
    if (options.commands.contains(QStringLiteral("--connect")) ||
        options.commands.contains(QStringLiteral("--disconnect"))) {
        m_env.cloudAccount.reload();
        return;
    }
    if (options.quickAdd)
        showQuickEntry();
    else if (options.toggle)
        toggleWindow();
    else
        showWindow();
}
