// The board on screen with 10,000 tasks: how long from the write that completes one task to
// the first frame that shows it gone (model update + frame), and the same for reopening it.
//
//   bench_board_ui [tasks] [rounds]
//
// Run it on a real display or under xvfb-run; QT_QPA_PLATFORM=offscreen works too.
#include "BenchFrames.h"
#include "BoardModel.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "ModelContext.h"
#include "Notifications.h"
#include "Preferences.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "board/BoardController.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickView>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>
#include <algorithm>
#include <cstdio>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

namespace {

using namespace Bench;

struct Figures {
    QList<double> total;
    QList<double> model;
};

void report(const char* what, const QList<double>& values) {
    std::printf("%-34s median %7.2f ms   p90 %7.2f ms   max %7.2f ms\n", what,
                percentile(values, 0.5), percentile(values, 0.9),
                *std::max_element(values.cbegin(), values.cend()));
}

// Spins the loop until the window has swapped one more frame, or gives up after 5 s.
bool waitForFrame(QQuickView& view) {
    bool swapped = false;
    QObject guard;
    QObject::connect(&view, &QQuickWindow::frameSwapped, &guard, [&swapped] { swapped = true; });
    view.update();
    QElapsedTimer timer;
    timer.start();
    while (!swapped && timer.elapsed() < 5000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    return swapped;
}

} // namespace

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    const int taskCount = argc > 1 ? std::max(10, std::atoi(argv[1])) : 10000;
    const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 40;

    QTemporaryDir dir;
    QString error;
    std::unique_ptr<ModelContext> context =
        ModelContext::open(dir.filePath(QStringLiteral("bench.store")), &error);
    if (!context) {
        std::fprintf(stderr, "cannot open a store: %s\n", qPrintable(error));
        return 1;
    }
    Preferences preferences(dir.filePath(QStringLiteral("prefs.ini")));
    ManualClock clock(QDateTime::currentDateTimeUtc());
    NotificationHub hub;
    const IsoCalendar calendar;

    // A board of one person's years: most tasks finished, a tenth on today.
    QList<TaskCategory*> lists;
    for (int i = 0; i < 4; ++i) {
        lists << new TaskCategory(QStringLiteral("清单 %1").arg(i + 1), QStringLiteral("46A758"),
                                  i + 1, clock.now());
        context->insert(lists.last());
    }
    for (int i = 0; i < taskCount; ++i) {
        auto* task = new TaskItem(QStringLiteral("任务 %1 整理一下这周的事情").arg(i),
                                  taskCount - i, clock.now());
        const int share = i % 10;
        task->move(share == 0  ? Bucket::today
                   : share < 3 ? Bucket::thisWeek
                   : share < 6 ? Bucket::later
                               : Bucket::done,
                   clock.now(), calendar);
        if (i % 3 == 0)
            task->setCategory(lists.at(i % lists.size()));
        if (i % 7 == 0)
            task->setNote(QStringLiteral("先把大致框架画出来"));
        if (i % 11 == 0)
            task->setReminderAt(clock.now().addSecs(3600 * (i % 48)));
        context->insert(task);
    }

    BoardModel model(*context, preferences, clock, hub);
    BoardController controller(model, clock, hub, {});

    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    QQuickView view(&engine, nullptr);
    view.setInitialProperties({{QStringLiteral("controller"), QVariant::fromValue(&controller)}});
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setSource(QUrl(QStringLiteral("qrc:/qt/qml/TavikUi/board/BoardView.qml")));
    if (view.status() != QQuickView::Ready) {
        for (const QQmlError& e : view.errors())
            std::fprintf(stderr, "%s\n", qPrintable(e.toString()));
        return 1;
    }
    view.resize(1200, 800);
    view.show();
    if (!waitForFrame(view)) {
        std::fprintf(stderr, "the window never drew a frame\n");
        return 1;
    }
    settle(300);

    Figures complete;
    Figures reopen;
    QElapsedTimer timer;
    for (int round = 0; round < rounds; ++round) {
        // The top row of today: the one on screen.
        TaskItem* task = controller.todayModel()->taskAt(0);

        timer.start();
        task->setCompleted(true, clock.now()); // what the deferred write of a tick does
        controller.syncModels();
        complete.model << double(timer.nsecsElapsed()) / 1e6;
        if (!waitForFrame(view))
            return 1;
        complete.total << double(timer.nsecsElapsed()) / 1e6;
        settle(400); // let the rows finish their spring

        timer.start();
        task->setCompleted(false, clock.now());
        controller.syncModels();
        reopen.model << double(timer.nsecsElapsed()) / 1e6;
        if (!waitForFrame(view))
            return 1;
        reopen.total << double(timer.nsecsElapsed()) / 1e6;
        settle(400);
    }

    std::printf("board on screen: %d tasks (%lld today, %lld this week, %lld later, %lld done), "
                "%d rounds, platform %s\n",
                taskCount, qlonglong(controller.todayModel()->count()),
                qlonglong(controller.thisWeekModel()->count()),
                qlonglong(controller.laterModel()->count()),
                qlonglong(controller.doneModel()->count()), rounds,
                qPrintable(QGuiApplication::platformName()));
    report("complete: model update", complete.model);
    report("complete: model update + frame", complete.total);
    report("reopen: model update", reopen.model);
    report("reopen: model update + frame", reopen.total);
    return 0;
}
