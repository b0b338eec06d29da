#include "BoardApp.h"

#include "AppDelegate.h"
#include "Notifications.h"
#include "SingleInstance.h"
#include "TavikContainer.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFontDatabase>
#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>
#include <cstdio>
#include <ctime>
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
void reportFirstFrame(AppDelegate& delegate, const QElapsedTimer& sinceStart) {
    if (qEnvironmentVariableIntValue("TAVIK_REPORT_FIRST_FRAME") != 1)
        return;
    auto connectWindow = [&delegate, sinceStart] {
        QQuickWindow* window = delegate.window();
        if (!window)
            return;
        auto connection = std::make_shared<QMetaObject::Connection>();
        *connection = QObject::connect(
            window, &QQuickWindow::frameSwapped, window,
            [connection, sinceStart] {
                QObject::disconnect(*connection);
                const qint64 sinceProcess = msSinceProcessStart();
                std::printf("first-frame %lld\n",
                            static_cast<long long>(sinceProcess >= 0 ? sinceProcess
                                                                     : sinceStart.elapsed()));
                std::fflush(stdout);
            },
            Qt::DirectConnection);
    };
    connectWindow();
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

} // namespace

int runBoard(int argc, char* argv[]) {
    QElapsedTimer sinceStart;
    sinceStart.start();
    chooseSceneGraphBackend();

    QApplication app(argc, argv);
    QGuiApplication::setDesktopFileName(QStringLiteral("dev.orlen.tavik"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tavik"));
    // Closing the board leaves Tavik in the tray.
    QApplication::setQuitOnLastWindowClosed(false);

    const QStringList arguments = app.arguments();
    SingleInstance instance;
    if (!instance.claim()) {
        if (SingleInstance::forward(arguments))
            return 0;
        std::fprintf(stderr, "Tavik is already running but did not answer.\n");
        return 1;
    }

    QString error;
    std::unique_ptr<ModelContainer> container =
        arguments.contains(QStringLiteral("--seed-demo"))
            ? TavikContainer::createDemo(&error)
            : TavikContainer::create(/*cloudSync=*/false, &error);
    if (!container) {
        std::fprintf(stderr, "Failed to create ModelContainer: %s\n", qUtf8Printable(error));
        return 1;
    }

    QFontDatabase::addApplicationFont(QStringLiteral(
        "/usr/share/fonts/truetype/materialdesignicons-webfont/materialdesignicons-webfont.ttf"));

    AppDelegate delegate(std::move(container), arguments, NotificationHub::defaultCenter());
    QObject::connect(&instance, &SingleInstance::argumentsReceived, &delegate,
                     &AppDelegate::handleArguments);
    delegate.applicationDidFinishLaunching();
    reportFirstFrame(delegate, sinceStart);
    return app.exec();
}
