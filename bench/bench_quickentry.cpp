// Quick-entry figures: how long building the window holds up the event loop (as the app
// builds it in the background, or in one piece with `whole`), how long a keystroke takes to
// reach the screen in the bar while an AI request is in flight, and how long the window
// takes from being asked for to its first frame (first show of the built window, then shown
// again; no board in the process, as with the board hidden).
//
//   QT_QPA_PLATFORM=xcb bench_quickentry [rounds=15] [sliced|whole]   (under Xvfb)
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
#include "types/SlicedIncubationController.h"

#include <QGuiApplication>
#include <QNetworkAccessManager>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlIncubator>
#include <QQuickWindow>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
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
    const bool whole = argc > 2 && QByteArray(argv[2]) == "whole";

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
    SlicedIncubationController slices(std::chrono::milliseconds(4));
    engine.setIncubationController(&slices);
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    const QUrl url(QStringLiteral("qrc:/qt/qml/TavikUi/ai/QuickEntryWindow.qml"));

    // A 1 ms timer stands for the board: the longest gap between its turns is the longest
    // time the board could not answer input or draw while the window was being built.
    QElapsedTimer sinceTurn;
    double longestStall = 0;
    QTimer probe;
    probe.setInterval(1);
    QObject::connect(&probe, &QTimer::timeout, [&] {
        longestStall = std::max(longestStall, msSince(sinceTurn));
        sinceTurn.restart();
    });
    settle(100);
    QElapsedTimer timer;
    timer.start();
    sinceTurn.start();
    probe.start();
    std::unique_ptr<QQuickWindow> window;
    const QVariantMap initial{{"entry", QVariant::fromValue(&entry)}};
    QQmlComponent component(&engine, url,
                            whole ? QQmlComponent::PreferSynchronous : QQmlComponent::Asynchronous);
    if (whole) {
        window.reset(qobject_cast<QQuickWindow*>(component.createWithInitialProperties(initial)));
    } else {
        waitFor([&] { return !component.isLoading(); }, 10000);
        QQmlIncubator incubator(QQmlIncubator::Asynchronous);
        incubator.setInitialProperties(initial);
        component.create(incubator);
        waitFor([&] { return !incubator.isLoading(); }, 10000);
        window.reset(qobject_cast<QQuickWindow*>(incubator.object()));
    }
    const double built = msSince(timer);
    settle(20); // the stall that ends with the build is seen at the probe's next turn
    probe.stop();
    if (!window) {
        std::fprintf(stderr, "the window did not load: %s\n", qPrintable(component.errorString()));
        return 1;
    }
    std::printf("window built %s: %.0f ms in all, the event loop held up at most %.1f ms\n",
                whole ? "in one piece" : "in slices", built, longestStall);

    // Asked for to first frame: the first show of the window built above.
    const std::vector<double> firstOpen{timeToFrame(window.get(), [&] {
        entry.windowShown();
        window->show();
        window->requestActivate();
    })};
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

    report("window asked for to first frame, first show", firstOpen);
    report("window asked for to first frame, again", reopen);
    report("keystroke to frame, request in flight", inFlight);
    report("keystroke to frame, nothing in flight", idle);
    window.reset();
    return 0;
}
