#include "BoardTestSupport.h"
#include "IsoCalendar.h"
#include "ModelMirror.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "TestData.h"
#include "board/ListDiff.h"
#include "board/TaskListModel.h"
#include "row/TaskMetaController.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>
#include <memory>

namespace {

QStringList titles(const QList<TaskItem*>& tasks) {
    QStringList result;
    for (const TaskItem* task : tasks)
        result << task->title();
    return result;
}

QList<TaskItem*> pick(const QList<TaskItem*>& pool, const QString& letters) {
    QList<TaskItem*> result;
    for (QChar letter : letters)
        result << pool.at(letter.unicode() - u'a');
    return result;
}

int countOf(const QList<ListDiff::Step>& steps, ListDiff::StepKind kind) {
    return int(std::count_if(steps.cbegin(), steps.cend(),
                             [kind](const ListDiff::Step& step) { return step.kind == kind; }));
}

const QDateTime now = BoardTest::local(2026, 6, 17, 10, 0);

} // namespace

class TestTaskListModel : public QObject {
    Q_OBJECT

private:
    std::vector<std::unique_ptr<TaskItem>> m_tasks;
    QList<TaskItem*> m_pool;

private slots:
    void initTestCase() {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        for (char letter = 'a'; letter <= 'z'; ++letter) {
            m_tasks.push_back(std::make_unique<TaskItem>(QString(QChar(letter)), 0, now));
            m_pool << m_tasks.back().get();
        }
    }

    void steps_data() { TestData::addRows("list-diff.json", "steps"); }

    void steps() {
        QFETCH(QJsonObject, row);
        const QString from = row["from"].toString();
        const QString to = row["to"].toString();

        const QList<TaskItem*> source = pick(m_pool, from);
        const QList<TaskItem*> target = pick(m_pool, to);
        const QList<ListDiff::Step> steps = ListDiff::steps(source, target);
        QList<TaskItem*> rows = source;
        for (const ListDiff::Step& step : steps)
            ListDiff::apply(rows, step, target);
        QCOMPARE(titles(rows), titles(target));
        QCOMPARE(countOf(steps, ListDiff::StepKind::remove), row["removes"].toInt());
        QCOMPARE(countOf(steps, ListDiff::StepKind::insert), row["inserts"].toInt());
        QCOMPARE(countOf(steps, ListDiff::StepKind::move), row["moves"].toInt());
    }

    void randomChangesKeepTheModelAndItsSignalsInStep() {
        TaskListModel model(Bucket::today);
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        ModelMirror mirror(&model, TaskListModel::TitleRole);
        QSignalSpy resets(&model, &QAbstractItemModel::modelAboutToBeReset);
        QSignalSpy counts(&model, &TaskListModel::countChanged);
        QSignalSpy taskCounts(&model, &TaskListModel::taskCountChanged);
        QRandomGenerator random(20260617);

        QList<TaskItem*> current;
        for (int round = 0; round < 400; ++round) {
            QList<TaskItem*> next;
            for (TaskItem* task : std::as_const(current)) {
                if (random.bounded(5) != 0)
                    next << task;
            }
            for (int swaps = int(random.bounded(3)); swaps > 0 && next.size() > 1; --swaps)
                next.move(random.bounded(int(next.size())), random.bounded(int(next.size())));
            for (TaskItem* task : std::as_const(m_pool)) {
                if (!next.contains(task) && random.bounded(6) == 0)
                    next.insert(random.bounded(int(next.size()) + 1), task);
            }
            counts.clear();
            taskCounts.clear();
            model.setTasks(next);
            const int notified = next.size() != current.size() ? 1 : 0;
            QCOMPARE(counts.count(), notified);
            QCOMPARE(taskCounts.count(), notified);
            current = next;
            QCOMPARE(titles(model.tasks()), titles(next));
            QCOMPARE(mirror.rows(), titles(next));
            QCOMPARE(model.count(), next.size());
        }
        QCOMPARE(resets.count(), 0);
    }

    void aHugeChangeIsAReset() {
        std::vector<std::unique_ptr<TaskItem>> many;
        QList<TaskItem*> forward;
        const QDateTime now = QDateTime::currentDateTimeUtc();
        for (int i = 0; i < 2 * TaskListModel::maxAnimatedSteps; ++i) {
            many.push_back(std::make_unique<TaskItem>(QString::number(i), 0, now));
            forward << many.back().get();
        }
        TaskListModel model(Bucket::later);
        model.setTasks(forward);
        ModelMirror mirror(&model, TaskListModel::TitleRole);
        QSignalSpy resets(&model, &QAbstractItemModel::modelAboutToBeReset);
        QList<TaskItem*> backward(forward.crbegin(), forward.crend());
        model.setTasks(backward);
        QCOMPARE(resets.count(), 1);
        QCOMPARE(mirror.rows(), titles(backward));
    }

    void rowsFollowTheirTasksFields() {
        TaskListModel model(Bucket::today);
        const QList<TaskItem*> tasks = pick(m_pool, QStringLiteral("abc"));
        model.setTasks(tasks);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);

        model.refreshTasks({tasks[2], m_pool[20]});
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.first().at(0).toModelIndex().row(), 2);

        model.removeTask(tasks[1]);
        model.removeTask(tasks[1]);
        QCOMPARE(titles(model.tasks()), QStringList({"a", "c"}));
        QCOMPARE(model.indexOfId(tasks[2]->id().toString()), 1);
        QCOMPARE(model.indexOfId(QStringLiteral("not an id")), -1);
    }

    void chips_data() { TestData::addRows("row-chips.json", "chips"); }

    void chips() {
        QFETCH(QJsonObject, row);
        const QString chip = row["chip"].toString();
        const QDateTime day = QDateTime::fromString(row["day"].toString(), Qt::ISODate);
        const QDateTime reminder = QDateTime::fromString(row["reminder"].toString(), Qt::ISODate);

        const IsoCalendar calendar;
        TaskItem task(QStringLiteral("任务"), 1, now);
        if (row.contains("column"))
            task.move(*BucketInfo::fromRawValue(row["column"].toString()), now, calendar);
        if (day.isValid())
            task.schedule(day, now, calendar);
        task.setReminderAt(reminder);
        if (row["completed"].toBool())
            task.setCompleted(true, now);

        TaskMetaController meta;
        meta.setNow(now);
        meta.setTask(&task);
        QCOMPARE(meta.hasReminder(), chip == QLatin1String("reminder"));
        QCOMPARE(meta.hasVisibleDueDate(), chip == QLatin1String("date"));
        QCOMPARE(meta.showsChips(), !chip.isEmpty());
        QCOMPARE(meta.showsIcons(), !chip.isEmpty());
        if (chip == QLatin1String("reminder")) {
            QCOMPARE(meta.reminderText(), row["text"].toString());
            QCOMPARE(meta.reminderOverdue(), row["overdue"].toBool());
            QVERIFY(meta.reminderDetail().endsWith(reminder.toString("HH:mm")));
            QVERIFY(meta.reminderDetail().contains(QLatin1Char(' ')));
        } else if (chip == QLatin1String("date")) {
            QCOMPARE(meta.dateText(), row["text"].toString());
            QCOMPARE(meta.dateOverdue(), row["overdue"].toBool());
        }
    }

    void followsTheTaskAndTheClock() {
        const IsoCalendar calendar;
        TaskItem task(QStringLiteral("任务"), 1, now);
        task.move(Bucket::today, now, calendar);
        task.setReminderAt(BoardTest::local(2026, 6, 17, 15, 30));
        TaskMetaController meta;
        meta.setNow(now);
        meta.setTask(&task);
        QSignalSpy changed(&meta, &TaskMetaController::changed);
        auto announced = [&changed] {
            const bool any = !changed.isEmpty();
            changed.clear();
            return any;
        };

        QVERIFY(!meta.reminderOverdue());
        meta.setNow(BoardTest::local(2026, 6, 17, 15, 31));
        QVERIFY(announced());
        QVERIFY(meta.reminderOverdue());

        task.setCompleted(true, now);
        QVERIFY(announced());
        QVERIFY(!meta.reminderOverdue());
        QCOMPARE(meta.reminderText(), QStringLiteral("今天 15:30"));

        TaskCategory list(QStringLiteral("工作"), QStringLiteral("E5484D"), 1, now);
        task.setCategory(&list);
        QVERIFY(announced());
        QVERIFY(meta.hasCategory());
        task.setReminderAt(QDateTime());
        QVERIFY(announced());
        task.setNote(QStringLiteral("备注"));
        QVERIFY(announced());
        QVERIFY(meta.hasNote());
        QVERIFY(meta.showsChips()); // the list
        task.setCategory(nullptr);
        QVERIFY(announced());
        QVERIFY(!meta.showsChips());
        QVERIFY(meta.showsIcons()); // the note alone is an icon, never a chip
        task.setTitle(QStringLiteral("改名"));
        QVERIFY(!announced());

        meta.setTask(nullptr);
        QVERIFY(!meta.showsIcons());
        QCOMPARE(meta.reminderText(), QString());
    }
};

QTEST_MAIN(TestTaskListModel)
#include "tst_tasklistmodel.moc"
