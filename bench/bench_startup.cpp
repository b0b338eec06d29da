// The board as a process: time from process start to the first frame of the board window,
// and the resident memory of the idle board a few seconds later, with the demo store and with
// a store of 10,000 tasks.
//
//   bench_startup [runs] [tasks] [tavik binary, to compare builds; this build's by default]
//
// Each run launches the built `tavik` in a fresh home with TAVIK_REPORT_FIRST_FRAME=1 and
// reads its "first-frame <ms>" line. Run it on a display of its own and a session bus, e.g.
//   dbus-run-session -- xvfb-run -a -s "-screen 0 1400x900x24" bench_startup
#include "BenchSupport.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "ModelContext.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <optional>
#include <unistd.h>

namespace {

using namespace Bench;

struct Run {
    double external = 0; // spawn to the line on our end of the pipe
    double reported = 0; // what the app printed
    double cpu = 0;      // user + system time of all its threads by then
    double rssMiB = 0;
};

double maximum(const QList<double>& values) {
    return values.isEmpty() ? 0 : *std::max_element(values.cbegin(), values.cend());
}

// VmRSS of a running process, in MiB.
double residentMiB(qint64 pid) {
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    static const QRegularExpression line(QStringLiteral("^VmRSS:\\s+(\\d+) kB"),
                                         QRegularExpression::MultilineOption);
    const QRegularExpressionMatch match = line.match(QString::fromLatin1(status.readAll()));
    return match.hasMatch() ? match.captured(1).toDouble() / 1024.0 : 0;
}

// User + system CPU time of a running process, all threads, in ms.
double cpuMs(qint64 pid) {
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray stat = file.readAll();
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    const double ticks = fields.value(11).toDouble() + fields.value(12).toDouble();
    return ticks * 1000.0 / double(sysconf(_SC_CLK_TCK));
}

// A board of one person's years, as bench_board_ui has it: a tenth on today, most finished.
bool writeStore(const QString& path, int taskCount) {
    QString error;
    std::unique_ptr<ModelContext> context = ModelContext::open(path, &error);
    if (!context) {
        std::fprintf(stderr, "cannot open %s: %s\n", qPrintable(path), qPrintable(error));
        return false;
    }
    const SystemClock clock;
    const QDateTime now = clock.now();
    const IsoCalendar calendar;
    QList<TaskCategory*> lists;
    for (int i = 0; i < 4; ++i) {
        lists << new TaskCategory(QStringLiteral("清单 %1").arg(i + 1), QStringLiteral("46A758"),
                                  i + 1, now);
        context->insert(lists.last());
    }
    for (int i = 0; i < taskCount; ++i) {
        auto* task =
            new TaskItem(QStringLiteral("任务 %1 整理一下这周的事情").arg(i), taskCount - i, now);
        const int share = i % 10;
        task->move(share == 0  ? Bucket::today
                   : share < 3 ? Bucket::thisWeek
                   : share < 6 ? Bucket::later
                               : Bucket::done,
                   now, calendar);
        if (i % 3 == 0)
            task->setCategory(lists.at(i % lists.size()));
        if (i % 7 == 0)
            task->setNote(QStringLiteral("先把大致框架画出来"));
        if (i % 11 == 0)
            task->setReminderAt(now.addSecs(3600 * (i % 48)));
        context->insert(task);
    }
    if (!context->save(&error)) {
        std::fprintf(stderr, "cannot save %s: %s\n", qPrintable(path), qPrintable(error));
        return false;
    }
    return true;
}

QString tavikBinary = QStringLiteral(TAVIK_BINARY);

std::optional<Run> launch(const QString& home, const QStringList& arguments, int idleMs) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home);
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/share"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/cache"));
    environment.insert(QStringLiteral("TAVIK_REPORT_FIRST_FRAME"), QStringLiteral("1"));

    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.setStandardErrorFile(QProcess::nullDevice());
    QElapsedTimer timer;
    timer.start();
    process.start(tavikBinary, arguments);
    if (!process.waitForStarted(5000))
        return std::nullopt;

    static const QRegularExpression firstFrame(QStringLiteral("first-frame (\\d+)"));
    QByteArray output;
    std::optional<Run> run;
    while (timer.elapsed() < 30000 && process.state() == QProcess::Running) {
        if (!process.waitForReadyRead(100))
            continue;
        const double at = double(timer.nsecsElapsed()) / 1e6;
        output += process.readAllStandardOutput();
        const QRegularExpressionMatch match = firstFrame.match(QString::fromUtf8(output));
        if (match.hasMatch()) {
            run = Run{at, match.captured(1).toDouble(), cpuMs(process.processId()), 0};
            break;
        }
    }
    if (run) {
        // Idle: the springs have settled and nothing is scheduled.
        QThread::msleep(idleMs);
        run->rssMiB = residentMiB(process.processId());
    }
    process.terminate();
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished(5000);
    }
    return run;
}

bool measure(const char* name, const QString& home, const QStringList& arguments, int runs) {
    QList<double> external;
    QList<double> reported;
    QList<double> cpu;
    QList<double> rss;
    // The first launch also warms the page cache; it is not counted.
    for (int i = -1; i < runs; ++i) {
        const std::optional<Run> run = launch(home, arguments, 3000);
        if (!run) {
            std::fprintf(stderr, "%s: the board never reported its first frame\n", name);
            return false;
        }
        if (i < 0)
            continue;
        external << run->external;
        reported << run->reported;
        cpu << run->cpu;
        rss << run->rssMiB;
    }
    std::printf("%-22s first frame (reported) median %6.0f ms  max %6.0f ms\n", name,
                median(reported), maximum(reported));
    std::printf("%-22s first frame (spawn->line) median %6.0f ms  max %6.0f ms\n", name,
                median(external), maximum(external));
    std::printf("%-22s CPU time by the first frame median %6.0f ms  max %6.0f ms\n", name,
                median(cpu), maximum(cpu));
    std::printf("%-22s idle VmRSS after 3 s median %6.1f MiB  max %6.1f MiB\n", name, median(rss),
                maximum(rss));
    std::fflush(stdout);
    return true;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;
    const int taskCount = argc > 2 ? std::max(10, std::atoi(argv[2])) : 10000;
    if (argc > 3)
        tavikBinary = QString::fromLocal8Bit(argv[3]);

    QTemporaryDir demoHome;
    QTemporaryDir bigHome;
    if (!demoHome.isValid() || !bigHome.isValid())
        return 1;
    const QString storeDir = bigHome.path() + QStringLiteral("/share/tavik");
    if (!QDir().mkpath(storeDir) ||
        !writeStore(storeDir + QStringLiteral("/tavik.store"), taskCount))
        return 1;

    std::printf("tavik start-up (%s): %d runs each after one warm-up, platform %s, "
                "QT_QUICK_BACKEND=%s\n",
                qPrintable(tavikBinary), runs,
                qPrintable(qEnvironmentVariable("QT_QPA_PLATFORM", QStringLiteral("xcb"))),
                qPrintable(qEnvironmentVariable("QT_QUICK_BACKEND", QStringLiteral("(default)"))));
    const QString frame = QStringLiteral("--debug-frame");
    if (!measure("demo store", demoHome.path(), {QStringLiteral("--seed-demo"), frame}, runs))
        return 1;
    if (!measure(qPrintable(QStringLiteral("%1 tasks").arg(taskCount)), bigHome.path(), {frame},
                 runs))
        return 1;
    return 0;
}
