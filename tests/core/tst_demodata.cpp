#include "BoardTestSupport.h"
#include "DemoData.h"
#include "IsoCalendar.h"
#include "TaskCategory.h"
#include "TaskClassifier.h"
#include "TaskItem.h"

#include <QStandardPaths>
#include <QTest>
#include <algorithm>

using BoardTest::local;

namespace {

QList<TaskItem*> bySortIndex(QList<TaskItem*> tasks) {
    std::sort(tasks.begin(), tasks.end(),
              [](const TaskItem* a, const TaskItem* b) { return a->sortIndex() < b->sortIndex(); });
    return tasks;
}

} // namespace

class TestDemoData : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void seedsTheBoard_data();
    void seedsTheBoard();
    void storeWithATaskIsLeftAlone();
    void listsAloneDoNotStopTheSeed();
    void failedSaveIsDropped();
};

void TestDemoData::seedsTheBoard_data() {
    QTest::addColumn<QDateTime>("now");
    QTest::newRow("Wednesday afternoon") << local(2024, 6, 12, 16, 0);
    QTest::newRow("Sunday morning, Berlin's autumn change") << local(2024, 10, 27, 9, 0);
}

void TestDemoData::seedsTheBoard() {
    QFETCH(QDateTime, now);

    BoardTest::Store store;
    DemoData::seedIfEmpty(*store.context, now);
    QVERIFY(!store.context->hasChanges()); // saved

    // What a restart sees.
    const auto reopened = store.reopen();
    QVERIFY(reopened);
    QCOMPARE(reopened->categories().size(), 2);
    const TaskCategory* personal = nullptr;
    const TaskCategory* work = nullptr;
    for (const TaskCategory* list : reopened->categories()) {
        if (list->name() == QStringLiteral("个人"))
            personal = list;
        else if (list->name() == QStringLiteral("工作"))
            work = list;
    }
    QVERIFY(personal && work);
    QCOMPARE(personal->colorHex(), QStringLiteral("46A758"));
    QCOMPARE(personal->sortIndex(), qint64(1));
    QCOMPARE(work->colorHex(), QStringLiteral("0090FF"));
    QCOMPARE(work->sortIndex(), qint64(2));

    struct Expected {
        const char* title;
        const char* note;
        const TaskCategory* list;
        Bucket column;
        QTime reminder;
    };
    const Expected table[] = {
        {"读一篇长文", "", personal, Bucket::later, {}},
        {"规划 Q3 副业项目", "先把大致框架画出来", work, Bucket::later, {}},
        {"买一份生日礼物", "", personal, Bucket::later, {}},
        {"重构同步层", "", work, Bucket::thisWeek, {}},
        {"预约牙医", "", personal, Bucket::thisWeek, {}},
        {"15:00 和设计师过一遍新版方案", "", work, Bucket::today, QTime(15, 0)},
        {"写每周回顾", "复盘本周进展，列出下周最重要的三件事", work, Bucket::today, {}},
        {"回复客户的合作邮件", "", work, Bucket::today, {}},
        {"买菜做晚饭", "西红柿、鸡蛋、牛奶、面包", personal, Bucket::today, {}},
        {"健身房练背", "", personal, Bucket::today, QTime(19, 30)},
        {"给爸妈打个电话", "", nullptr, Bucket::today, {}},
        {"发布落地页", "文案 + 主视觉图", work, Bucket::today, {}},
        {"晨练", "", nullptr, Bucket::done, {}},
    };

    const QList<TaskItem*> tasks = bySortIndex(reopened->tasks());
    QCOMPARE(tasks.size(), 13);
    const IsoCalendar calendar;
    for (int i = 0; i < tasks.size(); ++i) {
        const TaskItem* task = tasks.at(i);
        const Expected& row = table[i];
        const QString title = QString::fromUtf8(row.title);
        QCOMPARE(task->sortIndex(), qint64(i + 1));
        QCOMPARE(task->title(), title);
        QCOMPARE(task->note(), QString::fromUtf8(row.note));
        QCOMPARE(task->richNote().plainText(), QString::fromUtf8(row.note));
        QVERIFY2(task->category() == row.list, qPrintable(title));
        QCOMPARE(TaskClassifier::bucket(*task, now, calendar), row.column);
        QVERIFY(!task->scheduledExplicitly());
        QCOMPARE(task->createdAt(), now);
        if (row.reminder.isValid())
            QCOMPARE(task->reminderAt(), local(calendar.localDate(now), row.reminder));
        else
            QVERIFY(!task->reminderAt().isValid());
    }
    // The finished task was finished at the moment of seeding.
    QCOMPARE(tasks.last()->completedAt(), now);
}

void TestDemoData::storeWithATaskIsLeftAlone() {
    BoardTest::Store store;
    const QDateTime now = local(2024, 6, 12, 16, 0);
    store.addTask(QStringLiteral("mine"), 1, now);
    QVERIFY(store.context->save());

    DemoData::seedIfEmpty(*store.context, now);
    QCOMPARE(store.context->tasks().size(), 1);
    QVERIFY(store.context->categories().isEmpty());
    QVERIFY(!store.context->hasChanges());
}

void TestDemoData::listsAloneDoNotStopTheSeed() {
    BoardTest::Store store;
    const QDateTime now = local(2024, 6, 12, 16, 0);
    store.context->insert(
        new TaskCategory(QStringLiteral("我的"), QStringLiteral("8B8D98"), 1, now));
    QVERIFY(store.context->save());

    DemoData::seedIfEmpty(*store.context, now);
    QCOMPARE(store.context->tasks().size(), 13);
    QCOMPARE(store.context->categories().size(), 3);

    // Seeding again finds the tasks and adds nothing, however they were changed.
    store.context->remove(store.context->tasks().first());
    DemoData::seedIfEmpty(*store.context, now);
    QCOMPARE(store.context->tasks().size(), 12);
    QCOMPARE(store.context->categories().size(), 3);
}

// A store that refuses the write: the seed stays in memory, pending, and nothing is thrown.
void TestDemoData::failedSaveIsDropped() {
    BoardTest::Store store;
    QVERIFY(BoardTest::SideConnection(store.path()).exec(QStringLiteral("DROP TABLE tasks")));

    DemoData::seedIfEmpty(*store.context, local(2024, 6, 12, 16, 0));
    QCOMPARE(store.context->tasks().size(), 13);
    QVERIFY(store.context->hasChanges());
}

QTEST_GUILESS_MAIN(TestDemoData)
#include "tst_demodata.moc"
