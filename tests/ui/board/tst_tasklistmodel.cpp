#include "ModelMirror.h"
#include "TaskItem.h"
#include "TestData.h"
#include "board/ListDiff.h"
#include "board/TaskListModel.h"

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
};

QTEST_MAIN(TestTaskListModel)
#include "tst_tasklistmodel.moc"
