#include "BoardTestSupport.h"
#include "IsoCalendar.h"
#include "Notifications.h"
#include "ScheduleReconciler.h"
#include "TaskItem.h"
#include "TestData.h"

#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

using BoardTest::local;

class TestScheduleReconciler : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void reconcile_data() { TestData::addRows("reconcile.json"); }

    void reconcile() {
        QFETCH(QJsonObject, row);
        BoardTest::Store store;
        NotificationHub hub;
        QSignalSpy posts(&hub, &NotificationHub::posted);
        const IsoCalendar calendar;
        const QDateTime now = local(2024, 10, 28, 9, 30);
        const QDateTime created = local(2024, 9, 1, 8, 0);
        const auto day = [&](const char* key) {
            return calendar.startOfDay(calendar.addingDays(now, row.value(key).toInt()));
        };
        if (!row.value("lastDay").isNull())
            store.preferences->setScheduleReconcileLastDay(day("lastDay"));

        TaskItem* other = store.addTask(QStringLiteral("other"), 500, created);
        TaskItem* task = store.addTask(QStringLiteral("task"), 10, created);
        task->schedule(day("due"), created, calendar);
        task->setScheduledExplicitly(row.value("explicit").toBool());
        if (row.value("completed").toBool())
            task->setCompleted(true, created);
        QVERIFY(store.context->save());

        ScheduleReconciler::reconcile(*store.context, now, *store.preferences, hub);

        const QString outcome = row.value("outcome").toString();
        QCOMPARE(store.preferences->scheduleReconcileLastDay(), local(2024, 10, 28));
        QCOMPARE(other->updatedAt(), created);
        QCOMPARE(task->dueDate().isValid(), outcome != QLatin1String("dayCleared"));
        QCOMPARE(task->sortIndex(), qint64(outcome == QLatin1String("lifted") ? 501 : 10));
        QCOMPARE(task->updatedAt(), outcome == QLatin1String("untouched") ? created : now);
        QCOMPARE(posts.count(), outcome == QLatin1String("untouched") ? 0 : 1);
        QCOMPARE(store.context->hasChanges(), outcome != QLatin1String("untouched"));
    }

    void liftsOnceThenKeepsTheUsersOrder() {
        BoardTest::Store store;
        NotificationHub hub;
        const IsoCalendar calendar;
        const QDateTime monday = local(2024, 6, 10, 8, 0);
        store.addTask(QStringLiteral("top"), 40, monday)->setCompleted(true, monday);
        QList<TaskItem*> overdue;
        for (int i = 0; i < 2; ++i) {
            overdue << store.addTask(QStringLiteral("overdue"), i, monday);
            overdue.last()->schedule(local(2024, 6, 3), monday, calendar);
        }

        ScheduleReconciler::reconcile(*store.context, monday, *store.preferences, hub);
        QList<qint64> lifted{overdue.at(0)->sortIndex(), overdue.at(1)->sortIndex()};
        std::sort(lifted.begin(), lifted.end());
        QCOMPARE(lifted, (QList<qint64>{41, 42}));

        overdue.at(0)->setSortIndex(-5);
        for (int day = 1; day <= 2; ++day) {
            ScheduleReconciler::reconcile(*store.context, calendar.addingDays(monday, day),
                                          *store.preferences, hub);
            QCOMPARE(overdue.at(0)->sortIndex(), qint64(-5));
        }
    }

    // Berlin's 25-hour day and New York's 23-hour day.
    void secondCallOfTheDayDoesNothing() {
        for (const auto& [first, second] :
             {std::pair{local(2024, 10, 27, 0, 30), local(2024, 10, 27, 23, 30)},
              std::pair{local(2024, 3, 10, 0, 30), local(2024, 3, 10, 23, 30)}}) {
            BoardTest::Store store;
            NotificationHub hub;
            const IsoCalendar calendar;
            ScheduleReconciler::reconcile(*store.context, first, *store.preferences, hub);

            TaskItem* late = store.addTask(QStringLiteral("late"), 2, first);
            late->move(Bucket::today, calendar.addingDays(first, -1), calendar);
            ScheduleReconciler::reconcile(*store.context, second, *store.preferences, hub);
            QVERIFY(late->dueDate().isValid());
            ScheduleReconciler::reconcile(*store.context, calendar.startOfNextDay(second),
                                          *store.preferences, hub);
            QVERIFY(!late->dueDate().isValid());
        }
    }
};

QTEST_GUILESS_MAIN(TestScheduleReconciler)
#include "tst_schedulereconciler.moc"
