// Quick-entry figures: how long a keystroke takes to reach the screen in the bar while an AI
// request is in flight, and how long the window takes from being asked for to its first
// frame (built the first time, shown again after that; no board in the process).
//
//   QT_QPA_PLATFORM=xcb bench_quickentry [rounds=15]      (under Xvfb: a real window)
//
// The service is a loopback socket that takes requests and never answers, so each request
// stays in flight until the next keystroke cancels it. Each round types a line, waits for the
// debounce to send it, then times one keystroke to its frame, and a second one with no
// request in flight for comparison.

#include "AIConfig.h"
#include "BenchFrames.h"
#include "Clock.h"
#include "GeminiClient.h"
#include "KeychainStore.h"
#include "Preferences.h"
#include "ai/QuickEntryController.h"

#include <QGuiApplication>
#include <QNetworkAccessManager>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>
#include <cstdio>
#include <memory>
#include <vector>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

using namespace Bench;

namespace {

void report(const char* name, const std::vector<double>& ms) {
    std::printf("%-44s median %6.2f ms   p95 %6.2f ms   max %6.2f ms   (n=%zu)\n", name, median(ms),
                percentile(ms, 0.95), *std::max_element(ms.begin(), ms.end()), ms.size());
}

// Turns the event loop until `done` or `ms` have passed.
template <typename Done> bool waitFor(Done done, int ms) {
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    return done();
}

} // namespace

int main(int argc, char* argv[]) {
    // The key stays in memory: no key store is asked.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    QGuiApplication app(argc, argv);
    const int rounds = argc > 1 ? std::max(1, atoi(argv[1])) : 15;

    QTcpServer silent;
    std::vector<std::unique_ptr<QTcpSocket>> held;
    silent.listen(QHostAddress::LocalHost);
    QObject::connect(&silent, &QTcpServer::newConnection, [&] {
        while (QTcpSocket* socket = silent.nextPendingConnection())
            held.emplace_back(socket);
    });

    QTemporaryDir dir;
    Preferences preferences(dir.filePath("tavik.ini"));
    KeychainStore keys;
    AIConfig config(preferences, keys);
    config.setApiKey(QStringLiteral("bench-key"));
    QNetworkAccessManager network;
    GeminiClient client(
        &network,
        GeminiClient::Options{QUrl(QStringLiteral("http://127.0.0.1:%1").arg(silent.serverPort())),
                              std::chrono::minutes(1), std::chrono::minutes(1)});
    const SystemClock clock;
    QuickEntryController entry(config, client, clock);

    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    QQmlComponent component(&engine,
                            QUrl(QStringLiteral("qrc:/qt/qml/TavikUi/ai/QuickEntryWindow.qml")));

    // Asked for to first frame: the first time builds the window from QML.
    QElapsedTimer timer;
    timer.start();
    std::unique_ptr<QQuickWindow> window(qobject_cast<QQuickWindow*>(
        component.createWithInitialProperties({{"entry", QVariant::fromValue(&entry)}})));
    if (!window) {
        std::fprintf(stderr, "the window did not load: %s\n", qPrintable(component.errorString()));
        return 1;
    }
    bool drawn = false;
    QObject::connect(window.get(), &QQuickWindow::frameSwapped, [&drawn] { drawn = true; });
    entry.windowShown();
    window->show();
    window->requestActivate();
    waitFor([&] { return drawn; }, 5000);
    const std::vector<double> firstOpen{msSince(timer)};
    QTest::qWaitForWindowActive(window.get());

    std::vector<double> reopen;
    for (int i = 0; i < rounds; ++i) {
        window->hide();
        settle(50);
        reopen.push_back(timeToFrame(window.get(), [&] {
            entry.windowShown();
            window->show();
            window->requestActivate();
        }));
    }
    QTest::qWaitForWindowActive(window.get());
    settle(300);

    // Keystrokes: one that cancels a request in flight, one with nothing in flight.
    std::vector<double> inFlight, idle;
    for (int i = 0; i < rounds; ++i) {
        entry.setTitle(QString());
        settle(50);
        for (const char c : QStringLiteral("call mom tomorrow %1").arg(i).toLatin1())
            QTest::keyClick(window.get(), c);
        if (!waitFor([&] { return entry.ai()->isAnalyzing(); }, 5000)) {
            std::fprintf(stderr, "no request went out\n");
            return 1;
        }
        settle(100);
        inFlight.push_back(
            timeToFrame(window.get(), [&] { QTest::keyClick(window.get(), Qt::Key_A); }));
        settle(100);
        idle.push_back(
            timeToFrame(window.get(), [&] { QTest::keyClick(window.get(), Qt::Key_B); }));
    }

    report("window asked for to first frame, first time", firstOpen);
    report("window asked for to first frame, again", reopen);
    report("keystroke to frame, request in flight", inFlight);
    report("keystroke to frame, nothing in flight", idle);
    window.reset();
    return 0;
}
