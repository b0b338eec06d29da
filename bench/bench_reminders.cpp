// Reminder figures: syncAll at launch on a large board, against a real notification server.
//
//   bench_reminders [runs=21]
//
// A private bus with python3-dbusmock's notification server, a 10,000-task SQLite store of
// which 2,000 tasks have a reminder ahead and 500 one that has passed. Figures are medians of
// `runs`, as wall time and as this thread's CPU time. "call" is syncAll itself on the main
// thread; "settled" runs on until every request is in place and the pending file is written.

#include "BenchSupport.h"
#include "Clock.h"
#include "ModelContext.h"
#include "NotificationCenter.h"
#include "ReminderScheduler.h"
#include "ReminderTestSupport.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <algorithm>
#include <cstdio>
#include <ctime>

namespace {

using namespace Bench;

// Returns once every permission answer asked for so far has been handled and written.
void settle(ReminderScheduler& scheduler) {
    QObject receiver;
    bool answered = false;
    scheduler.requestAuthorizationIfNeeded(&receiver, [&](bool) { answered = true; });
    while (!answered)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::processEvents();
}

void print(const char* name, const QList<double>& wall, const QList<double>& cpu) {
    std::printf("%-44s %9.2f ms wall %9.2f ms cpu\n", name, median(wall), median(cpu));
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    QLoggingCategory::setFilterRules(QStringLiteral("dev.orlen.tavik.reminders.info=false"));
    const int runs = argc > 1 ? std::max(1, atoi(argv[1])) : 21;

    ReminderTest::Desktop desktop;
    if (!desktop.bus.isValid() || !desktop.server->start()) {
        std::fprintf(stderr, "no private bus or notification server\n");
        return 1;
    }

    QTemporaryDir dir;
    QString error;
    auto context = ModelContext::open(dir.filePath(QStringLiteral("tavik.store")), &error);
    if (!context) {
        std::fprintf(stderr, "store: %s\n", qPrintable(error));
        return 1;
    }
    const QDateTime now = ReminderTest::local(2024, 5, 14, 10, 0);
    QList<TaskCategory*> lists;
    for (int i = 0; i < 10; ++i) {
        lists << new TaskCategory(QStringLiteral("清单 %1").arg(i), TaskCategory::defaultColorHex,
                                  i, now);
        context->insert(lists.last());
    }
    QRandomGenerator random(20240514);
    for (int i = 0; i < 10000; ++i) {
        auto* task = new TaskItem(QStringLiteral("任务 %1").arg(i), i, now);
        if (i % 5 == 0) // 2,000 ahead, within the next 30 days
            task->setReminderAt(now.addSecs(60 + random.bounded(30 * 24 * 3600)));
        else if (i % 20 == 1) // 500 passed
            task->setReminderAt(now.addSecs(-60 - random.bounded(30 * 24 * 3600)));
        if (i % 3 == 0)
            task->setCategory(lists.at(i % lists.size()));
        if (i % 10 == 7)
            task->setCompleted(true, now);
        context->insert(task);
    }
    if (!context->save(&error)) {
        std::fprintf(stderr, "save: %s\n", qPrintable(error));
        return 1;
    }

    ManualClock clock(now);
    const QString pendingPath = dir.filePath(QStringLiteral("pending-notifications.json"));
    QList<double> firstCallWall, firstCallCpu, firstSettledWall, firstSettledCpu;
    QList<double> againCallWall, againCallCpu, againSettledWall, againSettledCpu;
    QList<double> loadWall, loadCpu;
    qsizetype pending = 0;

    for (int run = 0; run < runs; ++run) {
        QFile::remove(pendingPath);
        {
            // First launch: nothing pending yet.
            NotificationCenter center(clock, desktop.options(pendingPath));
            ReminderScheduler scheduler(center, clock);
            scheduler.registerCategories();
            settle(scheduler); // the server's presence is known, as it is a moment after launch

            Stopwatch first;
            scheduler.syncAll(*context);
            firstCallWall << first.wallMs();
            firstCallCpu << first.cpuMs();
            settle(scheduler);
            firstSettledWall << first.wallMs();
            firstSettledCpu << first.cpuMs();
            pending = center.pendingRequests().size();
        }
        {
            // Every later launch: the 2,000 come back from the file and are all replaced.
            Stopwatch load;
            NotificationCenter center(clock, desktop.options(pendingPath));
            loadWall << load.wallMs();
            loadCpu << load.cpuMs();
            ReminderScheduler scheduler(center, clock);
            scheduler.registerCategories();
            settle(scheduler);

            Stopwatch again;
            scheduler.syncAll(*context);
            againCallWall << again.wallMs();
            againCallCpu << again.cpuMs();
            settle(scheduler);
            againSettledWall << again.wallMs();
            againSettledCpu << again.cpuMs();
        }
    }

    std::printf("10,000 tasks, %lld requests pending, file %lld bytes, %d runs\n",
                static_cast<long long>(pending),
                static_cast<long long>(QFileInfo(pendingPath).size()), runs);
    print("syncAll, first launch: call", firstCallWall, firstCallCpu);
    print("syncAll, first launch: settled", firstSettledWall, firstSettledCpu);
    print("load 2,000 pending requests", loadWall, loadCpu);
    print("syncAll, later launch: call", againCallWall, againCallCpu);
    print("syncAll, later launch: settled", againSettledWall, againSettledCpu);
    std::printf("Notify calls to the server: %lld\n",
                static_cast<long long>(desktop.notifyCalls().size()));
    return 0;
}
