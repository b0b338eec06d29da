#include "BoardTestSupport.h"
#include "DemoData.h"
#include "TaskCategory.h"

#include <QStandardPaths>
#include <QTest>

using BoardTest::local;

class TestDemoData : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void seedsOnlyAStoreWithoutTasks() {
        BoardTest::Store store;
        const QDateTime now = local(2024, 6, 12, 16, 0);
        store.context->insert(new TaskCategory(QStringLiteral("我的"), {}, 1, now));
        QVERIFY(store.context->save());

        DemoData::seedIfEmpty(*store.context, now);
        QVERIFY(!store.context->hasChanges());
        QCOMPARE(store.reopen()->tasks().size(), 13);
        QCOMPARE(store.reopen()->categories().size(), 3);

        store.context->remove(store.context->tasks().first());
        DemoData::seedIfEmpty(*store.context, now);
        QCOMPARE(store.context->tasks().size(), 12);
        QCOMPARE(store.context->categories().size(), 3);
    }

    void failedSaveIsDropped() {
        BoardTest::Store store;
        QVERIFY(BoardTest::SideConnection(store.path()).exec(QStringLiteral("DROP TABLE tasks")));
        DemoData::seedIfEmpty(*store.context, local(2024, 6, 12, 16, 0));
        QCOMPARE(store.context->tasks().size(), 13);
        QVERIFY(store.context->hasChanges());
    }
};

QTEST_GUILESS_MAIN(TestDemoData)
#include "tst_demodata.moc"
