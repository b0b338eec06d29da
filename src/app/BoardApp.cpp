#include "BoardApp.h"

#include "AppDelegate.h"
#include "Notifications.h"
#include "SingleInstance.h"
#include "TavikContainer.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFontDatabase>
#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>
#include <cstdio>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

namespace {

// TAVIK_REPORT_FIRST_FRAME=1 prints "first-frame <ms>" (since main) when the board is first
// drawn, for the start-up benchmark.
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
                std::printf("first-frame %lld\n", static_cast<long long>(sinceStart.elapsed()));
                std::fflush(stdout);
            },
            Qt::DirectConnection);
    };
    connectWindow();
}

} // namespace

int runBoard(int argc, char* argv[]) {
    QElapsedTimer sinceStart;
    sinceStart.start();

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
