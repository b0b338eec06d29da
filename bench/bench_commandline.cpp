// `tavik --count-today` as a whole process (start, open the store, count, exit) on a store of
// 10,000 tasks, beside taskwarrior's `task +TODAY count` on the same tasks (when `task` is
// installed), run by turns so that both meet the same load. `--help` is the cost of
// starting the process alone; `--list --json` prints the whole board. Each figure has the
// process's peak resident memory (wait4's ru_maxrss).
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
            const QDateTime day = now.addDays((i % 21) - 10).toLocalTime().date().startOfDay();
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
    env.insert(QStringLiteral("HOME"), home.path());
    env.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("share")));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    env.insert(QStringLiteral("TASKRC"), home.filePath(QStringLiteral("task/taskrc")));
    QList<QByteArray> environment;
    for (const QString& entry : env.toStringList())
        environment << entry.toLocal8Bit();

    const QByteArray tavik(TAVIK_BINARY);
    std::vector<Command> commands{
        {"tavik --count-today", tavik, {"--count-today"}, environment, {}},
    };
    const QString task = QStandardPaths::findExecutable(QStringLiteral("task"));
    if (!task.isEmpty()) {
        QDir().mkpath(home.filePath(QStringLiteral("task")));
        if (!fillTaskwarrior(home.filePath(QStringLiteral("task")), taskCount)) {
            std::fprintf(stderr, "taskwarrior import failed\n");
            return 1;
        }
        commands.push_back({"task +TODAY count (taskwarrior)",
                            task.toLocal8Bit(),
                            {"+TODAY", "count"},
                            environment,
                            {}});
    } else {
        std::printf("taskwarrior is not installed (apt-get install taskwarrior): no peer\n");
    }
    measure(commands, runs);
    for (const Command& command : commands)
        report(command);
    if (commands.size() > 1)
        std::printf("ratio of medians tavik / taskwarrior: %.2f\n",
                    figuresOf(commands[0].runs).medianMs / figuresOf(commands[1].runs).medianMs);
    std::printf(
        "counts printed: tavik %s, taskwarrior %s\n",
        output(env, QString::fromLocal8Bit(tavik), {QStringLiteral("--count-today")}).constData(),
        task.isEmpty()
            ? "-"
            : output(env, task, {QStringLiteral("+TODAY"), QStringLiteral("count")}).constData());

    std::vector<Command> others{
        {"tavik --help (process start only)", tavik, {"--help"}, environment, {}},
        {"tavik --list --json", tavik, {"--list", "--json"}, environment, {}},
    };
    measure(others, runs);
    for (const Command& command : others)
        report(command);
    return 0;
}
