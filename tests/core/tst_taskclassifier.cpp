#include "BoardTestSupport.h"
#include "IsoCalendar.h"
#include "Notifications.h"
#include "ScheduleFormat.h"
#include "ScheduleReconciler.h"
#include "ScheduleRules.h"
#include "StoreQuery.h"
#include "TaskClassifier.h"
#include "TaskItem.h"
#include "TestData.h"
#include <QSignalSpy>

#include <QStandardPaths>
#include <QTest>

using BoardTest::local;
using TestData::moment;

class TestTaskClassifier : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void bucket_data() { TestData::addRows("buckets.json"); }

    void bucket() {
        QFETCH(QJsonObject, row);
        const QDateTime now = TestData::moment(row.value("now"));
        const IsoCalendar calendar = TaskClassifier::calendar();
        BoardTest::Store store;
        TaskItem& task = *store.addTask(QStringLiteral("t"), 0, now);
        task.setCompleted(row.value("completed").toBool());
        task.setDueDate(TestData::moment(row.value("due")));
        task.setScheduledExplicitly(row.value("explicit").toBool());
        const QString week = row.value("week").toString();
        const int days = week == QLatin1String("last") ? -7 : week == QLatin1String("next") ? 7 : 0;
        const WeekKey key = calendar.weekKey(calendar.addingDays(now, days));
        if (week == QLatin1String("yearOnly"))
            task.setWeek(key.year, std::nullopt);
        else if (!week.isEmpty())
            task.setWeek(key.year, key.week);

        const auto expected = BucketInfo::fromRawValue(row.value("expected").toString());
        QVERIFY(expected);
        QCOMPARE(TaskClassifier::bucket(task, now, calendar), *expected);

        // The command line asks the same of the store in SQL.
        QVERIFY(store.context->save());
        const StoreQuery query(QSqlDatabase::database(store.context->connectionName()), now);
        QString error;
        const auto sizes = query.columnSizes(&error);
        QVERIFY2(sizes, qPrintable(error));
        QCOMPARE(sizes->keys(), QList<Bucket>{*expected});
        QCOMPARE(query.todayOpenCount(&error), std::optional(*expected == Bucket::today ? 1 : 0));
    }

    void dayBoundaries() {
        const IsoCalendar calendar;
        // An ordinary day, both time changes in Berlin and in New York, the year's last day.
        for (const QDate day : {QDate(2024, 6, 12), QDate(2024, 3, 31), QDate(2024, 10, 27),
                                QDate(2024, 3, 10), QDate(2024, 11, 3), QDate(2024, 12, 31)}) {
            const QDateTime start = local(day);
            const QDateTime nextStart = local(day.addDays(1));

            TaskItem byHand(QStringLiteral("hand"), 0, start);
            byHand.move(Bucket::today, local(day, QTime(12, 0)), calendar);
            TaskItem explicitOne(QStringLiteral("explicit"), 0, start);
            explicitOne.schedule(local(day, QTime(23, 30)), start, calendar);
            QCOMPARE(byHand.dueDate(), start);
            QCOMPARE(explicitOne.dueDate(), start);
            for (const QDateTime& now : {start, nextStart.addMSecs(-1)}) {
                QCOMPARE(TaskClassifier::bucket(byHand, now, calendar), Bucket::today);
                QCOMPARE(TaskClassifier::bucket(explicitOne, now, calendar), Bucket::today);
            }

            const bool sameWeek = calendar.weekKey(start) == calendar.weekKey(nextStart);
            QCOMPARE(TaskClassifier::bucket(byHand, nextStart, calendar),
                     sameWeek ? Bucket::thisWeek : Bucket::later);
            QCOMPARE(TaskClassifier::bucket(explicitOne, nextStart, calendar), Bucket::today);
        }
    }

    void weekKey() {
        const IsoCalendar calendar;
        const QList<std::pair<QDate, WeekKey>> cases{
            {QDate(2021, 1, 3), {2020, 53}},
            {QDate(2021, 1, 4), {2021, 1}},
            {QDate(2024, 12, 30), {2025, 1}},
            {QDate(2027, 1, 1), {2026, 53}},
            {QDate(2024, 10, 27), {2024, 43}}}; // the last: Berlin's fall-back Sunday
        for (const auto& [date, key] : cases) {
            QCOMPARE(TaskClassifier::weekKey(local(date), calendar), key);
            QCOMPARE(TaskClassifier::weekKey(local(date, QTime(23, 59, 59)), calendar), key);
        }
    }

    void rules_data() { TestData::addRows("schedule.json"); }

    void rules() {
        QFETCH(QJsonObject, row);
        const IsoCalendar calendar;
        const QString rule = row.value("rule").toString();
        const QJsonValue expected = row.value("expected");
        const QDateTime now =
            row.contains("now") ? moment(row.value("now")) : local(2024, 6, 12, 10, 0);
        if (rule == QLatin1String("defaultTime")) {
            QCOMPARE(ScheduleRules::defaultTime(now, calendar), moment(expected));
        } else if (rule == QLatin1String("tomorrow")) {
            QCOMPARE(ScheduleRules::tomorrow(now, calendar), moment(expected));
        } else if (rule == QLatin1String("reminder")) {
            QCOMPARE(ScheduleRules::resolvedReminder(moment(row.value("day")),
                                                     moment(row.value("time")), now, calendar),
                     moment(expected));
        } else if (rule == QLatin1String("day")) {
            QCOMPARE(ScheduleFormat::day(moment(row.value("date")), now, calendar),
                     expected.toString());
        } else if (rule == QLatin1String("time")) {
            const QDateTime at = moment(row.value("moment"));
            QCOMPARE(ScheduleFormat::time(at), expected.toString());
            QCOMPARE(ScheduleFormat::time(at.toLocalTime()), expected.toString());
        } else if (rule == QLatin1String("label")) {
            const auto label = ScheduleFormat::shortLabel(
                moment(row.value("due")), moment(row.value("reminder")), now, calendar);
            QCOMPARE(label.has_value(), !expected.isNull());
            QCOMPARE(label.value_or(QString()), expected.toString());
        } else {
            QFAIL(qPrintable(QStringLiteral("unknown rule ") + rule));
        }
    }

    void weekdaySymbols() {
        QCOMPARE(ScheduleFormat::weekdaySymbols(Qt::Sunday),
                 (QStringList{"日", "一", "二", "三", "四", "五", "六"}));
        QCOMPARE(ScheduleFormat::weekdaySymbols(Qt::Saturday),
                 (QStringList{"六", "日", "一", "二", "三", "四", "五"}));
    }

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

QTEST_GUILESS_MAIN(TestTaskClassifier)
#include "tst_taskclassifier.moc"
