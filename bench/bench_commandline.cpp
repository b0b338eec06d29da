// `tavik --count-today` as a whole process (start, open the store, count, exit) on a store of
// 10,000 tasks, beside taskwarrior's `task +TODAY count` on the same tasks (when `task` is
// installed), run by turns so that both meet the same load. `--help` is the cost of
// starting the process alone; `--list --json` prints the whole board. Each figure has the
// process's peak resident memory. Needs /usr/bin/time (Debian package time).
//
//   bench_commandline [RUNS] [TASKS]

#include "ModelContext.h"
#include "RichText.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUuid>
#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

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
        const QDateTime day = now.addDays((i / 3) % 21 - 10);
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

// The same tasks for taskwarrior: the days, the finished ones and the notes (annotations).
bool fillTaskwarrior(const QString& dataDir, int taskCount) {
    const QDateTime now = QDateTime::currentDateTimeUtc();
    QJsonArray tasks;
    for (int i = 0; i < taskCount; ++i) {
        QJsonObject task{{"uuid", QUuid::createUuid().toString(QUuid::WithoutBraces)},
                         {"description", QStringLiteral("任务 %1：整理本周的待办事项").arg(i)},
                         {"entry", now.toString("yyyyMMdd'T'HHmmss'Z'")},
                         {"status", i % 10 == 0 ? "completed" : "pending"}};
        if (i % 10 == 0)
            task.insert("end", now.toString("yyyyMMdd'T'HHmmss'Z'"));
        if (i % 3 == 0) {
            const QDateTime day = now.addDays((i / 3) % 21 - 10).toLocalTime().date().startOfDay();
            task.insert("due", day.toUTC().toString("yyyyMMdd'T'HHmmss'Z'"));
        }
        if (i % 5 == 0)
            task.insert("annotations",
                        QJsonArray{QJsonObject{{"entry", now.toString("yyyyMMdd'T'HHmmss'Z'")},
                                               {"description", "一段不太长的备注 第二行"}}});
        tasks.append(task);
    }
    QFile file(dataDir + QStringLiteral("/import.json"));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(QJsonDocument(tasks).toJson(QJsonDocument::Compact));
    file.close();
    QFile rc(dataDir + QStringLiteral("/taskrc"));
    if (!rc.open(QIODevice::WriteOnly))
        return false;
    rc.write("data.location=" + dataDir.toUtf8() + "\nconfirmation=off\n");
    rc.close();
    QProcess import;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("TASKRC"), rc.fileName());
    import.setProcessEnvironment(env);
    import.start(QStringLiteral("task"), {QStringLiteral("import"), file.fileName()});
    import.waitForFinished(600000);
    return import.exitCode() == 0;
}

struct Run {
    double wallMs = 0;
    double cpuMs = 0;
    double maxRssMiB = 0;
};

// One run of `program` with its output thrown away. Wall and CPU time come from wait4; the
// peak resident memory from /usr/bin/time, whose own small process forks the program: the
// bench's ru_maxrss would be counted in a child it spawned directly.
Run runOnce(const QByteArray& program, const QList<QByteArray>& arguments,
            const QList<QByteArray>& environment, const QByteArray& peakFile) {
    QList<QByteArray> command{"/usr/bin/time", "-f", "%M", "-o", peakFile, program};
    command += arguments;
    std::vector<char*> argv;
    for (const QByteArray& argument : command)
        argv.push_back(const_cast<char*>(argument.constData()));
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (const QByteArray& entry : environment)
        envp.push_back(const_cast<char*>(entry.constData()));
    envp.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    QElapsedTimer timer;
    timer.start();
    pid_t pid = 0;
    if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data()) != 0) {
        std::fprintf(stderr, "cannot start %s\n", program.constData());
        std::exit(1);
    }
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    const double wallMs = timer.nsecsElapsed() / 1e6;
    posix_spawn_file_actions_destroy(&actions);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "%s failed\n", program.constData());
        std::exit(1);
    }
    QFile peak(QString::fromLocal8Bit(peakFile));
    peak.open(QIODevice::ReadOnly);
    Run run;
    run.wallMs = wallMs;
    run.cpuMs = (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3 +
                (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
    run.maxRssMiB = peak.readAll().trimmed().toDouble() / 1024.0;
    return run;
}

struct Command {
    const char* name;
    QByteArray program;
    QList<QByteArray> arguments;
    std::vector<Run> runs;
};

// Runs the commands by turns, three uncounted rounds first (they fill the page cache).
void measure(std::vector<Command>& commands, const QList<QByteArray>& environment, int runs) {
    const QTemporaryDir scratch;
    const QByteArray peakFile = scratch.filePath(QStringLiteral("peak")).toLocal8Bit();
    for (int i = -3; i < runs; ++i) {
        for (Command& command : commands) {
            const Run run = runOnce(command.program, command.arguments, environment, peakFile);
            if (i >= 0)
                command.runs.push_back(run);
        }
    }
}

double medianOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

struct Figures {
    double cpuMedianMs = 0;
    double minMs = 0;
    double medianMs = 0;
    double p90Ms = 0;
    double maxMs = 0;
    double maxRssMiB = 0;
};

Figures figuresOf(const std::vector<Run>& runs) {
    std::vector<double> times;
    std::vector<double> cpu;
    std::vector<double> rss;
    for (const Run& run : runs) {
        times.push_back(run.wallMs);
        cpu.push_back(run.cpuMs);
        rss.push_back(run.maxRssMiB);
    }
    std::sort(times.begin(), times.end());
    Figures figures;
    figures.cpuMedianMs = medianOf(cpu);
    figures.minMs = times.front();
    figures.medianMs = times.at(times.size() / 2);
    figures.p90Ms = times.at(std::min<std::size_t>(times.size() - 1, times.size() * 9 / 10));
    figures.maxMs = times.back();
    figures.maxRssMiB = medianOf(rss);
    return figures;
}

void report(const Command& command) {
    const Figures figures = figuresOf(command.runs);
    std::printf("%-34s wall median %6.1f ms  min %6.1f  p90 %6.1f  max %6.1f | CPU median %6.1f "
                "ms | peak RSS median %5.1f MiB\n",
                command.name, figures.medianMs, figures.minMs, figures.p90Ms, figures.maxMs,
                figures.cpuMedianMs, figures.maxRssMiB);
}

QByteArray output(const QProcessEnvironment& env, const QString& program,
                  const QStringList& arguments) {
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(program, arguments);
    process.waitForFinished(60000);
    return process.readAllStandardOutput().trimmed();
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
    env.insert(QStringLiteral("TASKRC"), home.filePath(QStringLiteral("task/taskrc")));
    QList<QByteArray> environment;
    for (const QString& entry : env.toStringList())
        environment << entry.toLocal8Bit();

    const QByteArray tavik(TAVIK_BINARY);
    std::vector<Command> commands{{"tavik --count-today", tavik, {"--count-today"}, {}}};
    const QString task = QStandardPaths::findExecutable(QStringLiteral("task"));
    if (!task.isEmpty()) {
        QDir().mkpath(home.filePath(QStringLiteral("task")));
        if (!fillTaskwarrior(home.filePath(QStringLiteral("task")), taskCount)) {
            std::fprintf(stderr, "taskwarrior import failed\n");
            return 1;
        }
        commands.push_back(
            {"task +TODAY count (taskwarrior)", task.toLocal8Bit(), {"+TODAY", "count"}, {}});
    } else {
        std::printf("taskwarrior is not installed (apt-get install taskwarrior): no peer\n");
    }
    measure(commands, environment, runs);
    for (const Command& command : commands)
        report(command);
    if (commands.size() > 1)
        std::printf("ratio of medians tavik / taskwarrior: wall %.2f, CPU %.2f\n",
                    figuresOf(commands[0].runs).medianMs / figuresOf(commands[1].runs).medianMs,
                    figuresOf(commands[0].runs).cpuMedianMs /
                        figuresOf(commands[1].runs).cpuMedianMs);
    std::printf(
        "counts printed: tavik %s, taskwarrior %s\n",
        output(env, QString::fromLocal8Bit(tavik), {QStringLiteral("--count-today")}).constData(),
        task.isEmpty()
            ? "-"
            : output(env, task, {QStringLiteral("+TODAY"), QStringLiteral("count")}).constData());

    std::vector<Command> others{
        {"tavik --help (process start only)", tavik, {"--help"}, {}},
        {"tavik --list --json", tavik, {"--list", "--json"}, {}},
    };
    measure(others, environment, runs);
    for (const Command& command : others)
        report(command);
    return 0;
}
