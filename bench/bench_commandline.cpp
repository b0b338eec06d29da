// `tavik --count-today` as a whole process (start, open and load the store, classify, exit)
// on a store of 10,000 tasks, with `--help` as the cost of starting the process alone.
//
//   bench_commandline [RUNS] [TASKS]

#include "ModelContext.h"
#include "RichText.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <sys/resource.h>

namespace {

// A board of the usual shapes: a third with a day (some today), a third planned for a week,
// the rest unplanned; every tenth finished; some in lists, some with notes and reminders.
bool fillStore(const QString& path, int taskCount) {
    QString error;
    auto context = ModelContext::open(path, &error);
    if (!context) {
        std::fprintf(stderr, "cannot open %s: %s\n", qPrintable(path), qPrintable(error));
        return false;
    }
    const QDateTime now = QDateTime::currentDateTimeUtc();
    QList<TaskCategory*> lists;
    for (int i = 0; i < 10; ++i) {
        lists << new TaskCategory(QStringLiteral("列表 %1").arg(i), QStringLiteral("0090FF"), i,
                                  now);
        context->insert(lists.last());
    }
    for (int i = 0; i < taskCount; ++i) {
        auto* task = new TaskItem(QStringLiteral("任务 %1：整理本周的待办事项").arg(i), i, now);
        const QDateTime day = now.addDays((i % 21) - 10);
        if (i % 3 == 0) {
            int weekYear = 0;
            const int week = day.toLocalTime().date().weekNumber(&weekYear);
            task->setWeek(weekYear, week);
            task->setDueDate(day.toLocalTime().date().startOfDay().toUTC());
            task->setScheduledExplicitly(i % 2 == 0);
        } else if (i % 3 == 1) {
            int weekYear = 0;
            const int week = day.toLocalTime().date().weekNumber(&weekYear);
            task->setWeek(weekYear, week);
        }
        if (i % 10 == 0)
            task->setCompleted(true, now);
        if (i % 4 == 0)
            task->setCategory(lists.at(i % lists.size()));
        if (i % 5 == 0)
            task->setRichNote(RichText::fromPlainText(QStringLiteral("一段不太长的备注\n第二行")),
                              now);
        if (i % 7 == 0)
            task->setReminderAt(day.addSecs(9 * 3600));
        context->insert(task);
    }
    if (!context->save(&error)) {
        std::fprintf(stderr, "cannot save: %s\n", qPrintable(error));
        return false;
    }
    return true;
}

// CPU time (user + system) of every child reaped so far.
double childrenCpuMs() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3 +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
}

struct Figures {
    double cpuMedianMs = 0;
    double minMs = 0;
    double medianMs = 0;
    double p90Ms = 0;
    double maxMs = 0;
    QByteArray lastOutput;
};

Figures measure(const QProcessEnvironment& env, const QStringList& arguments, int runs) {
    QList<double> times;
    QList<double> cpuTimes;
    Figures figures;
    for (int i = -3; i < runs; ++i) { // three warm-up runs fill the page cache
        QProcess process;
        process.setProcessEnvironment(env);
        const double cpuBefore = childrenCpuMs();
        QElapsedTimer timer;
        timer.start();
        process.start(QStringLiteral(TAVIK_BINARY), arguments);
        process.waitForFinished(60000);
        const double ms = timer.nsecsElapsed() / 1e6;
        if (process.exitCode() != 0) {
            std::fprintf(stderr, "tavik %s failed: %s\n", qPrintable(arguments.join(u' ')),
                         process.readAllStandardError().constData());
            std::exit(1);
        }
        figures.lastOutput = process.readAllStandardOutput();
        if (i >= 0) {
            times << ms;
            cpuTimes << childrenCpuMs() - cpuBefore;
        }
    }
    std::sort(times.begin(), times.end());
    std::sort(cpuTimes.begin(), cpuTimes.end());
    figures.cpuMedianMs = cpuTimes.at(cpuTimes.size() / 2);
    figures.minMs = times.first();
    figures.medianMs = times.at(times.size() / 2);
    figures.p90Ms = times.at(std::min<qsizetype>(times.size() - 1, times.size() * 9 / 10));
    figures.maxMs = times.last();
    return figures;
}

void report(const char* what, const Figures& figures) {
    std::printf(
        "%-34s wall median %6.1f ms  min %6.1f  p90 %6.1f  max %6.1f | CPU median %6.1f ms\n", what,
        figures.medianMs, figures.minMs, figures.p90Ms, figures.maxMs, figures.cpuMedianMs);
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int runs = args.size() > 1 ? args.at(1).toInt() : 30;
    const int taskCount = args.size() > 2 ? args.at(2).toInt() : 10000;
    if (runs < 1 || taskCount < 0) {
        std::fprintf(stderr, "usage: bench_commandline [RUNS] [TASKS]\n");
        return 2;
    }

    QTemporaryDir home;
    const QString dataDir = home.filePath(QStringLiteral("share/tavik"));
    QDir().mkpath(dataDir);
    QElapsedTimer fillTimer;
    fillTimer.start();
    if (!fillStore(dataDir + QStringLiteral("/tavik.store"), taskCount))
        return 1;
    std::printf("store of %d tasks written in %lld ms; %d timed runs each\n", taskCount,
                fillTimer.elapsed(), runs);

    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), home.path());
    env.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("share")));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));

    report("tavik --help (process start only)", measure(env, {QStringLiteral("--help")}, runs));
    const Figures count = measure(env, {QStringLiteral("--count-today")}, runs);
    report("tavik --count-today", count);
    report("tavik --list --json",
           measure(env, {QStringLiteral("--list"), QStringLiteral("--json")}, runs));
    std::printf("count printed: %s", count.lastOutput.constData());
    return 0;
}
