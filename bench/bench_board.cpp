// Board logic figures: the column lists of a large board, and the daily reconciliation.
//
//   bench_board [runs=21]
//
// Each figure is the median of `runs` runs, as wall time and as this thread's CPU time (on a
// shared machine the wall time includes waiting for a core). The store is a real SQLite file,
// but nothing here saves: the figures are the board's own work on records in memory.

#include "BenchSupport.h"
#include "BoardModel.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "ModelContext.h"
#include "Notifications.h"
#include "Preferences.h"
#include "ScheduleReconciler.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>

namespace {

using namespace Bench;

struct Sample {
    double wallMs = 0;
    double cpuMs = 0;
};

// Runs `prepare` untimed and `measure` timed, `runs` times; medians of both clocks.
Sample medianOf(int runs, const std::function<void()>& prepare,
                const std::function<void()>& measure) {
    QList<double> wall;
    QList<double> cpu;
    for (int i = 0; i < runs; ++i) {
        prepare();
        QElapsedTimer timer;
        const qint64 cpuStart = threadCpuNs();
        timer.start();
        measure();
        wall.append(double(timer.nsecsElapsed()) / 1e6);
        cpu.append(double(threadCpuNs() - cpuStart) / 1e6);
    }
    return {median(wall), median(cpu)};
}

void print(const char* what, int tasks, const Sample& sample) {
    std::printf("%-44s %7d tasks  wall %8.3f ms  cpu %8.3f ms\n", what, tasks, sample.wallMs,
                sample.cpuMs);
}

// A board as a heavy user might have it: every kind of plan, spread over a few months around
// `now`, ten lists, a tenth of the tasks finished.
void fill(ModelContext& context, int count, const QDateTime& now, QRandomGenerator& random) {
    const IsoCalendar calendar;
    QList<TaskCategory*> lists;
    for (int i = 0; i < 10; ++i) {
        lists.append(new TaskCategory(QStringLiteral("清单 %1").arg(i), QStringLiteral("0090FF"),
                                      i + 1, now));
        context.insert(lists.last());
    }
    for (int i = 0; i < count; ++i) {
        auto* task =
            new TaskItem(QStringLiteral("任务 %1").arg(i), random.bounded(-1000000, 1000000), now);
        const QDateTime day = calendar.addingDays(now, random.bounded(-60, 60));
        switch (random.bounded(10)) {
        case 0:
        case 1:
            break; // unplanned
        case 2:
        case 3:
            task->move(Bucket::thisWeek, day, calendar);
            break;
        case 4:
        case 5:
            task->move(Bucket::today, day, calendar);
            break;
        case 6:
        case 7:
        case 8:
            task->schedule(day, now, calendar);
            break;
        default:
            task->schedule(day, now, calendar);
            task->setCompleted(true, now);
            break;
        }
        if (random.bounded(3) > 0)
            task->setCategory(lists.at(random.bounded(lists.size())));
        context.insert(task);
    }
}

void benchBoard(int count, int runs, const QString& dir) {
    QString error;
    auto context = ModelContext::open(dir + QStringLiteral("/board-%1.store").arg(count), &error);
    if (!context) {
        std::fprintf(stderr, "open failed: %s\n", qPrintable(error));
        std::exit(1);
    }
    Preferences preferences(dir + QStringLiteral("/board-%1.ini").arg(count));
    NotificationHub hub;
    const QDateTime start(QDate(2024, 6, 12), QTime(10, 0), Qt::LocalTime);
    ManualClock clock(start);
    QRandomGenerator random(count);
    fill(*context, count, start, random);

    // Cold: a board built on the store sorts every task, then groups them.
    std::unique_ptr<BoardModel> cold;
    const Sample sortAndGroup = medianOf(
        runs, [&] { cold = std::make_unique<BoardModel>(*context, preferences, clock, hub); },
        [&] { (void)cold->grouped(); });
    cold.reset();
    print("sort all + group (board built on the store)", count, sortAndGroup);

    // Warm: allTasks is sorted already; a new day regroups it.
    BoardModel board(*context, preferences, clock, hub);
    (void)board.grouped();
    int day = 0;
    const Sample regroup = medianOf(
        runs,
        [&] {
            clock.setNow(start.addDays(++day % 7));
            board.refreshNow();
        },
        [&] { (void)board.grouped(); });
    print("group (new day, allTasks sorted)", count, regroup);

    // A field change that moves no task in the order: the sort check, then the grouping.
    TaskItem* some = board.allTasks().at(count / 2);
    int flip = 0;
    const Sample afterEdit = medianOf(
        runs, [&] { some->setTitle(QStringLiteral("改 %1").arg(++flip)); },
        [&] { (void)board.grouped(); });
    print("order check + group (one title edited)", count, afterEdit);
}

void benchReconcile(int count, int runs, const QString& dir) {
    QString error;
    auto context =
        ModelContext::open(dir + QStringLiteral("/reconcile-%1.store").arg(count), &error);
    if (!context) {
        std::fprintf(stderr, "open failed: %s\n", qPrintable(error));
        std::exit(1);
    }
    Preferences preferences(dir + QStringLiteral("/reconcile-%1.ini").arg(count));
    NotificationHub hub;
    const QDateTime start(QDate(2024, 6, 12), QTime(10, 0), Qt::LocalTime);
    QRandomGenerator random(count + 1);
    fill(*context, count, start, random);
    ScheduleReconciler::reconcile(*context, start, preferences, hub);

    // Each run is the first of a new day: the whole store is walked, and the tasks that fell
    // due the day before are written.
    int day = 0;
    QDateTime now;
    const Sample sample = medianOf(
        runs, [&] { now = start.addDays(++day); },
        [&] { ScheduleReconciler::reconcile(*context, now, preferences, hub); });
    print("reconcile (first call of a new day)", count, sample);
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, QString::fromLocal8Bit(argv[1]).toInt()) : 21;
    QTemporaryDir dir;
    if (!dir.isValid()) {
        std::fprintf(stderr, "no temporary directory\n");
        return 1;
    }
    std::printf("median of %d runs, TZ=%s\n", runs,
                qgetenv("TZ").isEmpty() ? "(system)" : qgetenv("TZ").constData());
    benchBoard(10000, runs, dir.path());
    benchBoard(100000, runs, dir.path());
    benchReconcile(100000, runs, dir.path());
    return 0;
}
