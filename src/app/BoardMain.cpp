#include "AIConfig.h"
#include "AppDelegate.h"
#include "Clock.h"
#include "CloudAccount.h"
#include "CloudSelfTest.h"
#include "CloudSync.h"
#include "FilePrivacy.h"
#include "GeminiClient.h"
#include "KeychainStore.h"
#include "LaunchOptions.h"
#include "ModelContainer.h"
#include "NotificationCenter.h"
#include "Notifications.h"
#include "PowerProfile.h"
#include "Preferences.h"
#include "QuitSignals.h"
#include "ReminderResponseRouter.h"
#include "ReminderScheduler.h"
#include "SingleInstance.h"
#include "SoundPlayer.h"
#include "StoreLock.h"
#include "SyncCommands.h"
#include "TavikContainer.h"
#include "UpdaterController.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFontDatabase>
#include <QNetworkAccessManager>
#include <QQuickWindow>
#include <QStandardPaths>
#include <QtQml/qqmlextensionplugin.h>
#include <cstdio>
#include <ctime>
#include <memory>
#include <unistd.h>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

namespace {

// Milliseconds since the kernel started this process, so that loading the libraries before
// main counts too. The start time in /proc is in clock ticks (10 ms) since boot. -1 if unknown.
qint64 msSinceProcessStart() {
    QFile file(QStringLiteral("/proc/self/stat"));
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray stat = file.readAll();
    // The command name may hold spaces and parentheses; the fields after it do not. Field 22,
    // starttime, is the 20th after the name.
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    bool ok = false;
    const qint64 startTicks = fields.value(19).toLongLong(&ok);
    const long ticksPerSecond = sysconf(_SC_CLK_TCK);
    timespec now{};
    if (!ok || ticksPerSecond <= 0 || clock_gettime(CLOCK_BOOTTIME, &now) != 0)
        return -1;
    return qint64(now.tv_sec) * 1000 + now.tv_nsec / 1000000 - startTicks * 1000 / ticksPerSecond;
}

// TAVIK_REPORT_FIRST_FRAME=1 prints "first-frame <ms>" (since the process started) when the
// board is first drawn, for the start-up benchmark.
void reportFirstFrame(const AppDelegate& delegate, const QElapsedTimer& sinceStart) {
    if (qEnvironmentVariableIntValue("TAVIK_REPORT_FIRST_FRAME") != 1)
        return;
    QQuickWindow* window = delegate.window();
    if (!window)
        return;
    auto connection = std::make_shared<QMetaObject::Connection>();
    *connection = QObject::connect(
        window, &QQuickWindow::frameSwapped, window,
        [connection, sinceStart] {
            QObject::disconnect(*connection);
            const qint64 sinceProcess = msSinceProcessStart();
            std::printf(
                "first-frame %lld\n",
                static_cast<long long>(sinceProcess >= 0 ? sinceProcess : sinceStart.elapsed()));
            std::fflush(stdout);
        },
        Qt::DirectConnection);
}

// Without a GPU (no DRM render node: a plain VM, Xvfb) Mesa draws OpenGL with llvmpipe,
// which costs about 100 MB and more time per frame than Qt Quick's own raster renderer.
// The board needs no shaders, so it takes the raster renderer there unless told otherwise.
void chooseSceneGraphBackend() {
    if (!qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND") ||
        !qEnvironmentVariableIsEmpty("QSG_RHI_BACKEND"))
        return;
    const QStringList renderNodes =
        QDir(QStringLiteral("/dev/dri")).entryList({QStringLiteral("renderD*")}, QDir::System);
    if (renderNodes.isEmpty())
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

// Installs `instance` as its type's shared instance for as long as this lives.
template <typename T> class SharedInstall {
public:
    explicit SharedInstall(T& instance) { T::setShared(&instance); }
    ~SharedInstall() { T::setShared(nullptr); }
    Q_DISABLE_COPY_MOVE(SharedInstall)
};

// The board: the tray process with its window. Every long-lived object is made here, in
// dependency order, and handed to the delegate, which keeps the launch order.
int runBoard(int argc, char* argv[], const LaunchOptions& options) {
    QElapsedTimer sinceStart;
    sinceStart.start();
    chooseSceneGraphBackend();

    QApplication app(argc, argv);
    QGuiApplication::setDesktopFileName(QStringLiteral("dev.orlen.tavik"));
    // No display name: on X11 Qt would append " — Tavik" to every window title.
    // Closing the board leaves Tavik in the tray.
    QApplication::setQuitOnLastWindowClosed(false);

    SingleInstance instance;
    if (!instance.claim()) {
        if (SingleInstance::forward(app.arguments()))
            return 0;
        std::fprintf(stderr, "Tavik is already running but did not answer.\n");
        return 1;
    }

    // One board per store, whatever the session: a second one (another desktop session of
    // the same user) says where the first runs and touches nothing.
    const QString storePath =
        options.seedDemo ? TavikContainer::demoStorePath() : TavikContainer::realStorePath();
    StoreLock storeLock(storePath);
    if (QString reason; !storeLock.tryLock(&reason)) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(reason));
        return 1;
    }
    // Files that were made before their modes were tightened.
    FilePrivacy::restrictFolder(TavikContainer::storeDirectory());
    FilePrivacy::restrictFolder(
        QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation));

    const SystemClock clock;
    Preferences preferences;
    NotificationHub hub;

    // One network access and one key store for everything: sync, AI and updates.
    QNetworkAccessManager network;
    KeychainStore keys;
    PowerProfile power(QDBusConnection::systemBus());
    CloudAccount cloudAccount(preferences, keys, &network);
    CloudSync cloudSync({&network, clock, hub, &power}, SyncScheduler::Timing{});

    // The store opens local at once; with an account, the mirror attaches when the Secret
    // Service hands over the password (it may take its time, or ask to be unlocked).
    const bool cloudSyncAsked = !options.seedDemo && cloudAccount.isConfigured();
    QString error;
    TavikContainer::Opened opened = options.seedDemo ? TavikContainer::createDemo(&error)
                                                     : TavikContainer::create(false, {}, &error);
    std::unique_ptr<ModelContainer> container = std::move(opened.container);
    if (!container) {
        std::fprintf(stderr, "Failed to create ModelContainer: %s\n", qUtf8Printable(error));
        return 1;
    }
    if (cloudSyncAsked)
        opened.sync = {TavikContainer::SyncAvailability::Kind::opening, {}};

    NotificationCenter notificationCenter(clock);
    ReminderScheduler reminders(notificationCenter, clock);
    ReminderResponseRouter responses(
        ReminderActions::Environment{container->mainContext(), reminders, hub, clock});
    SoundPlayer sounds;
    const SharedInstall<SoundPlayer> sharedSounds(sounds);
    UpdaterController updater(&network, hub, UpdaterController::Options::fromBuild());
    const SharedInstall<UpdaterController> sharedUpdater(updater);
    // AI: the key from the Secret Service, the switch and the model from the preferences, and
    // the one client, on the same network access as everything else.
    AIConfig aiConfig(preferences, keys);
    const SharedInstall<AIConfig> sharedAIConfig(aiConfig);
    GeminiClient gemini(&network, GeminiClient::Options{});
    const SharedInstall<GeminiClient> sharedGemini(gemini);

    QFontDatabase::addApplicationFont(QStringLiteral(
        "/usr/share/fonts/truetype/materialdesignicons-webfont/materialdesignicons-webfont.ttf"));

    AppDelegate delegate(AppDelegate::Environment{clock, preferences, hub, *container,
                                                  notificationCenter, reminders, responses, sounds,
                                                  updater, aiConfig, gemini, cloudSync,
                                                  cloudAccount, opened.sync},
                         options);
    // A second launch hands over its arguments; they are read with the same parser.
    QObject::connect(&instance, &SingleInstance::argumentsReceived, &delegate,
                     [&delegate](const QStringList& arguments) {
                         delegate.handleLaunch(LaunchOptions::parse(arguments));
                     });
    SyncCommands::serve(instance, cloudSync, container->mainContext());
    // A logout, a shutdown or a plain kill quits like the menu's Quit, with the last save.
    QuitSignals quitSignals;
    QObject::connect(&quitSignals, &QuitSignals::received, &app, &QCoreApplication::quit);
    delegate.applicationDidFinishLaunching();
    reportFirstFrame(delegate, sinceStart);
    if (cloudSyncAsked) {
        cloudAccount.loadAccount(&cloudSync, [&](const CalDavClient::Account& account,
                                                 const QString& passwordProblem) {
            const QString reason = cloudSync.finishOpening(account, passwordProblem);
            if (!reason.isEmpty())
                cloudAccount.setProblem(reason);
            CloudSelfTest::runIfRequested(account, passwordProblem, &network, cloudSync.mirror());
        });
    } else {
        CloudSelfTest::runIfRequested({}, {}, &network, nullptr);
    }
    const int status = app.exec();
    cloudSync.detach();
    return status;
}

} // namespace

// The board's entry point, looked up by main() when no command was asked for.
extern "C" Q_DECL_EXPORT int tavikRunBoard(int argc, char* argv[]) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return runBoard(argc, argv, LaunchOptions::parse(arguments));
}

// The account and sync commands: they need the network and the Secret Service, which the
// other commands never load.
extern "C" Q_DECL_EXPORT int tavikRunSyncCommand(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    const LaunchOptions options = LaunchOptions::parse(app.arguments());
    const SystemClock clock;
    return SyncCommands::run(options.commands.first(), options, clock);
}
