// What opening the settings window and the update dialog costs the main thread: building the
// window from QML on the first openSettings (the engine's first compile of the files, then a
// second window on a warm engine), openGeneral until the first frame is drawn, a tab switch
// on a hidden window (the layout and fit without the animation), and the update dialog from
// construction to its first frame. Run under QT_QPA_PLATFORM=offscreen.
#include "BenchFrames.h"
#include "settings/SettingsWindowController.h"
#include "settings/UpdateDialogController.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

namespace {

using namespace Bench;

} // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(5, atoi(argv[1])) : 50;

    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));

    QElapsedTimer timer;
    timer.start();
    auto first = std::make_unique<SettingsWindowController>(&engine);
    const double coldBuild = msSince(timer);
    const double coldOpen = timeToFrame(first->window(), [&] { first->openGeneral(); });
    first.reset();

    std::vector<double> build, open, select, dialog;
    for (int i = 0; i < runs; ++i) {
        timer.restart();
        SettingsWindowController controller(&engine);
        build.push_back(msSince(timer));

        // Each tab switch on the hidden window: layout, fit and resize, no animation.
        for (const auto& tab : {"about", "general", "about", "general"}) {
            timer.restart();
            controller.select(QString::fromLatin1(tab));
            select.push_back(msSince(timer));
        }

        open.push_back(timeToFrame(controller.window(), [&] { controller.openGeneral(); }));

        timer.restart();
        UpdateDialogController updates(&engine);
        const double built = msSince(timer);
        dialog.push_back(built + timeToFrame(updates.window(), [&] {
                             updates.showUpdateFound(
                                 QStringLiteral("1.2.0"), QStringLiteral("42"),
                                 QStringLiteral("修复了若干问题\n改进了提醒"),
                                 QUrl(QStringLiteral("https://example.org/tavik.tar.gz")));
                         }));
    }

    std::printf("%-52s %10s\n", "figure", "ms");
    std::printf("%-52s %10.2f\n", "settings window, first build (cold engine)", coldBuild);
    std::printf("%-52s %10.2f\n", "settings window, first openGeneral to frame", coldOpen);
    std::printf("%-52s %10.2f\n", "settings window, build (warm engine), median", median(build));
    std::printf("%-52s %10.2f\n", "openGeneral to first frame, median", median(open));
    std::printf("%-52s %10.3f\n", "select on a hidden window, median", median(select));
    std::printf("%-52s %10.2f\n", "update dialog, build + show to frame, median", median(dialog));
    const char* api = QQuickWindow::graphicsApi() == QSGRendererInterface::OpenGL     ? "OpenGL"
                      : QQuickWindow::graphicsApi() == QSGRendererInterface::Software ? "software"
                                                                                      : "other";
    std::printf("(%d runs; scene graph: %s)\n", runs, api);
    return 0;
}
