// Store figures on a large board: open and load, and one edited task's save.
//
//   bench_store [tasks=100000] [saves=300]
//
// Each figure comes as wall time and as this thread's CPU time. On a shared machine the wall
// time includes waiting for a core, and a save's wall time includes waiting for the disk to
// confirm the commit; the CPU time includes neither.

#include "ModelContext.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <ctime>

namespace {

class Stopwatch {
public:
    Stopwatch() {
        m_wall.start();
        m_cpu = cpuNow();
    }
    [[nodiscard]] double wallMs() const { return double(m_wall.nsecsElapsed()) / 1e6; }
    [[nodiscard]] double cpuMs() const { return double(cpuNow() - m_cpu) / 1e6; }

private:
    static qint64 cpuNow() {
        timespec now{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return qint64(now.tv_sec) * 1000000000 + now.tv_nsec;
    }
    QElapsedTimer m_wall;
    qint64 m_cpu = 0;
};

double percentile(QList<double> values, double fraction) {
    if (values.isEmpty())
        return 0;
    std::sort(values.begin(), values.end());
    const auto index = qsizetype(fraction * double(values.size() - 1) + 0.5);
    return values.at(std::clamp<qsizetype>(index, 0, values.size() - 1));
}

std::unique_ptr<ModelContext> openOrDie(const QString& path) {
    QString error;
    auto context = ModelContext::open(path, &error);
    if (!context) {
        std::fprintf(stderr, "open failed: %s\n", qPrintable(error));
        std::exit(1);
    }
    return context;
}

// The context's own connection, registered with Qt SQL under a name of its own; only used to
// measure a save without the commit's fsync.
QSqlDatabase connectionOf(const QString& path) {
    for (const QString& name : QSqlDatabase::connectionNames()) {
        QSqlDatabase db = QSqlDatabase::database(name, false);
        if (db.databaseName() == path && db.isOpen())
            return db;
    }
    return {};
}

// A board as a heavy user might have it: ten lists, short Chinese titles, a note on a third of
// the tasks, most tasks planned, a fifth of them finished.
void fill(ModelContext& context, int taskCount, QRandomGenerator& random) {
    const QDateTime base(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC);
    QList<TaskCategory*> lists;
    for (int i = 0; i < 10; ++i) {
        lists << new TaskCategory(QStringLiteral("清单 %1").arg(i), QStringLiteral("FF6B6B"), i,
                                  base);
        context.insert(lists.last());
    }
    for (int i = 0; i < taskCount; ++i) {
        const QDateTime created = base.addSecs(qint64(i) * 300);
        auto* task =
            new TaskItem(QStringLiteral("整理第 %1 周的周报并发给团队").arg(i), i, created);
        if (i % 3 == 0)
            task->setNote(QStringLiteral("记得附上数据表和上周的对比。").repeated(1 + i % 4));
        if (i % 4 != 0) {
            task->setWeek(2024 + i % 3, 1 + i % 52);
            if (i % 2 == 0)
                task->setDueDate(created.addDays(i % 14));
        }
        if (i % 5 == 0) {
            task->setCompleted(true);
            task->setCompletedAt(created.addDays(1));
        }
        if (i % 7 == 0)
            task->setReminderAt(created.addSecs(3600));
        if (i % 2 == 1)
            task->setCategory(lists.at(int(random.bounded(lists.size()))));
        context.insert(task);
    }
}

void editAndSave(ModelContext& context, int count, QRandomGenerator& random, const char* label) {
    const QList<TaskItem*> tasks = context.tasks();
    QList<double> wall;
    QList<double> cpu;
    for (int i = 0; i < count; ++i) {
        TaskItem* task = tasks.at(int(random.bounded(tasks.size())));
        task->setTitle(QStringLiteral("改过 %1").arg(i));
        task->setSortIndex(qint64(random.generate64() >> 1));
        const Stopwatch watch;
        if (!context.save()) {
            std::fprintf(stderr, "save %d failed\n", i);
            std::exit(1);
        }
        wall << watch.wallMs();
        cpu << watch.cpuMs();
    }
    std::printf("save one edited task of %lld, %s: wall median %.2f ms, p95 %.2f ms, max %.2f ms;"
                " cpu median %.2f ms (%d saves)\n",
                qint64(tasks.size()), label, percentile(wall, 0.5), percentile(wall, 0.95),
                percentile(wall, 1), percentile(cpu, 0.5), count);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int taskCount = args.size() > 1 ? args.at(1).toInt() : 100000;
    const int saveCount = args.size() > 2 ? args.at(2).toInt() : 300;
    QRandomGenerator random(20250101);

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("bench.store"));
    {
        auto context = openOrDie(path);
        fill(*context, taskCount, random);
        const Stopwatch watch;
        if (!context->save()) {
            std::fprintf(stderr, "first save failed\n");
            return 1;
        }
        std::printf("first save of %d tasks: wall %.0f ms, cpu %.0f ms\n", taskCount,
                    watch.wallMs(), watch.cpuMs());
        // The mirror has taken them: the edits below measure the steady state.
        const QList<RecordChange> changes = context->pendingChanges();
        context->acknowledgeChanges(changes.isEmpty() ? 0 : changes.last().seq);
    }
    std::printf("file size: %.1f MB\n", double(QFileInfo(path).size()) / 1e6);

    QList<double> wall;
    QList<double> cpu;
    for (int run = 0; run < 5; ++run) {
        const Stopwatch watch;
        auto context = openOrDie(path);
        wall << watch.wallMs();
        cpu << watch.cpuMs();
        if (context->tasks().size() != taskCount) {
            std::fprintf(stderr, "loaded %lld tasks\n", qint64(context->tasks().size()));
            return 1;
        }
    }
    std::printf("open and load %d tasks: wall median %.0f ms, min %.0f ms, max %.0f ms;"
                " cpu median %.0f ms (5 runs)\n",
                taskCount, percentile(wall, 0.5), percentile(wall, 0), percentile(wall, 1),
                percentile(cpu, 0.5));

    if (saveCount > 0) {
        auto context = openOrDie(path);
        editAndSave(*context, saveCount, random, "as shipped");
        QSqlQuery pragma(connectionOf(path));
        if (pragma.exec(QStringLiteral("PRAGMA synchronous = NORMAL")))
            editAndSave(*context, saveCount, random, "synchronous=NORMAL (no fsync per commit)");
    }
    std::fflush(stdout);
    return 0;
}
