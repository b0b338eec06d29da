#include "BoardTestSupport.h"
#include "IsoCalendar.h"
#include "Notifications.h"
#include "ScheduleReconciler.h"
#include "TaskItem.h"

#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

using BoardTest::local;

namespace {

// What a task looked like before the run and what the run did to it.
enum class Outcome { untouched, dayCleared, lifted };

} // namespace
Q_DECLARE_METATYPE(Outcome)

class TestScheduleReconciler : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void reconcile_data();
    void reconcile();
    void liftsOnceThenKeepsTheUsersOrder();
    void liftsAboveEveryTaskInFetchOrder();
    void secondCallOfTheDayDoesNothing_data();
    void secondCallOfTheDayDoesNothing();
    void emptyStore();
    void clockWentBackwards();
    void unreadablePreferenceCountsAsAbsent();
};

// One task against one run. Days are offsets from the run's day; `lastDay` is an offset too,
// or 1 for "never ran".
void TestScheduleReconciler::reconcile_data() {
    QTest::addColumn<int>("lastDayOffset");
    QTest::addColumn<int>("dueOffset");
    QTest::addColumn<bool>("explicitly");
    QTest::addColumn<bool>("completed");
    QTest::addColumn<Outcome>("outcome");

    const int never = 1;
    QTest::newRow("first run, explicit overdue by a week")
        << never << -7 << true << false << Outcome::lifted;
    QTest::newRow("first run, hand-placed yesterday")
        << never << -1 << false << false << Outcome::dayCleared;
    QTest::newRow("hand-placed yesterday") << -1 << -1 << false << false << Outcome::dayCleared;
    QTest::newRow("hand-placed long ago") << -1 << -30 << false << false << Outcome::dayCleared;
    QTest::newRow("explicit yesterday, ran yesterday")
        << -1 << -1 << true << false << Outcome::lifted;
    QTest::newRow("explicit two days ago, ran yesterday")
        << -1 << -2 << true << false << Outcome::untouched;
    QTest::newRow("explicit today") << -1 << 0 << true << false << Outcome::untouched;
    QTest::newRow("hand-placed today") << -1 << 0 << false << false << Outcome::untouched;
    QTest::newRow("explicit tomorrow") << -1 << 1 << true << false << Outcome::untouched;
    QTest::newRow("completed, explicit overdue") << -1 << -1 << true << true << Outcome::untouched;
    QTest::newRow("completed, hand-placed yesterday")
        << -1 << -1 << false << true << Outcome::untouched;
    // Several days without a run: whatever fell due since the last run is lifted.
    QTest::newRow("gap, explicit due during the gap")
        << -5 << -3 << true << false << Outcome::lifted;
    QTest::newRow("gap, explicit due on the last run's day")
        << -5 << -5 << true << false << Outcome::lifted;
    QTest::newRow("gap, explicit due before the last run")
        << -5 << -6 << true << false << Outcome::untouched;
    QTest::newRow("gap, hand-placed during the gap")
        << -5 << -3 << false << false << Outcome::dayCleared;
}

void TestScheduleReconciler::reconcile() {
    QFETCH(int, lastDayOffset);
    QFETCH(int, dueOffset);
    QFETCH(bool, explicitly);
    QFETCH(bool, completed);
    QFETCH(Outcome, outcome);

    BoardTest::Store store;
    NotificationHub hub;
    QSignalSpy posts(&hub, &NotificationHub::posted);
    const IsoCalendar calendar;
    // Mid-morning on the day after Berlin's autumn change, so offsets cross a 25-hour day.
    const QDateTime now = local(2024, 10, 28, 9, 30);
    const QDateTime created = local(2024, 9, 1, 8, 0);

    if (lastDayOffset <= 0)
        store.preferences->setScheduleReconcileLastDay(
            calendar.startOfDay(calendar.addingDays(now, lastDayOffset)));

    TaskItem* other = store.addTask(QStringLiteral("other"), 500, created);
    TaskItem* task = store.addTask(QStringLiteral("task"), 10, created);
    const QDateTime due = calendar.startOfDay(calendar.addingDays(now, dueOffset));
    task->schedule(due, created, calendar);
    if (!explicitly)
        task->setScheduledExplicitly(false);
    if (completed)
        task->setCompleted(true, created);
    const auto week = task->week();
    QVERIFY(store.context->save());

    ScheduleReconciler::reconcile(*store.context, now, *store.preferences, hub);

    QCOMPARE(store.preferences->scheduleReconcileLastDay(), local(2024, 10, 28));
    QCOMPARE(other->sortIndex(), qint64(500));
    QCOMPARE(other->updatedAt(), created);
    QCOMPARE(task->week(), week);
    switch (outcome) {
    case Outcome::untouched:
        QCOMPARE(task->dueDate(), due);
        QCOMPARE(task->sortIndex(), qint64(10));
        QCOMPARE(task->updatedAt(), created);
        QVERIFY(!store.context->hasChanges());
        QCOMPARE(posts.count(), 0);
        break;
    case Outcome::dayCleared:
        QVERIFY(!task->dueDate().isValid());
        QCOMPARE(task->sortIndex(), qint64(10));
        QCOMPARE(task->updatedAt(), now);
        QCOMPARE(posts.count(), 1);
        break;
    case Outcome::lifted:
        QCOMPARE(task->dueDate(), due);
        QVERIFY(task->scheduledExplicitly());
        QCOMPARE(task->sortIndex(), qint64(501));
        QCOMPARE(task->updatedAt(), now);
        QCOMPARE(posts.count(), 1);
        break;
    }
    if (!posts.isEmpty()) {
        QCOMPARE(posts.first().at(0).toString(), TavikNotification::tasksChanged);
        QVERIFY(posts.first().at(1).toMap().isEmpty());
    }
}

void TestScheduleReconciler::liftsOnceThenKeepsTheUsersOrder() {
    BoardTest::Store store;
    NotificationHub hub;
    const IsoCalendar calendar;
    const QDateTime monday = local(2024, 6, 10, 8, 0);
    TaskItem* overdue = store.addTask(QStringLiteral("overdue"), 1, monday);
    overdue->schedule(local(2024, 6, 3), monday, calendar);
    store.addTask(QStringLiteral("top"), 40, monday);

    ScheduleReconciler::reconcile(*store.context, monday, *store.preferences, hub);
    QCOMPARE(overdue->sortIndex(), qint64(41));

    // The user drags it down; the next days leave it there.
    overdue->setSortIndex(-5);
    for (int day = 1; day <= 3; ++day) {
        ScheduleReconciler::reconcile(*store.context, calendar.addingDays(monday, day),
                                      *store.preferences, hub);
        QCOMPARE(overdue->sortIndex(), qint64(-5));
    }
}

void TestScheduleReconciler::liftsAboveEveryTaskInFetchOrder() {
    BoardTest::Store store;
    NotificationHub hub;
    QSignalSpy posts(&hub, &NotificationHub::posted);
    const IsoCalendar calendar;
    const QDateTime now = local(2024, 6, 12, 7, 0);
    const QDateTime created = local(2024, 6, 1, 7, 0);
    store.preferences->setScheduleReconcileLastDay(local(2024, 6, 11));

    // A finished task holds the largest sortIndex: lifted tasks still go above it.
    TaskItem* finished = store.addTask(QStringLiteral("finished"), 900, created);
    finished->setCompleted(true, created);
    QList<TaskItem*> due;
    for (int i = 0; i < 3; ++i) {
        TaskItem* task = store.addTask(QStringLiteral("due %1").arg(i), i, created);
        task->schedule(local(2024, 6, 11, 12, 0), created, calendar);
        due.append(task);
    }

    ScheduleReconciler::reconcile(*store.context, now, *store.preferences, hub);

    // Each gets the next value in the order the store handed them over.
    QList<qint64> lifted;
    for (const TaskItem* task : store.context->tasks()) {
        if (task != finished)
            lifted.append(task->sortIndex());
    }
    QCOMPARE(lifted, (QList<qint64>{901, 902, 903}));
    QCOMPARE(finished->sortIndex(), qint64(900));
    QCOMPARE(posts.count(), 1);
}

void TestScheduleReconciler::secondCallOfTheDayDoesNothing_data() {
    QTest::addColumn<QDateTime>("first");
    QTest::addColumn<QDateTime>("second");

    QTest::newRow("morning and evening") << local(2024, 6, 12, 0, 0) << local(2024, 6, 12, 23, 59);
    QTest::newRow("Berlin's 25-hour day")
        << local(2024, 10, 27, 0, 30) << local(2024, 10, 27, 23, 30);
    QTest::newRow("New York's 23-hour day")
        << local(2024, 3, 10, 0, 30) << local(2024, 3, 10, 23, 30);
}

void TestScheduleReconciler::secondCallOfTheDayDoesNothing() {
    QFETCH(QDateTime, first);
    QFETCH(QDateTime, second);

    BoardTest::Store store;
    NotificationHub hub;
    const IsoCalendar calendar;
    store.addTask(QStringLiteral("plain"), 1, first);
    ScheduleReconciler::reconcile(*store.context, first, *store.preferences, hub);
    const QDateTime lastDay = store.preferences->scheduleReconcileLastDay();
    QCOMPARE(lastDay, calendar.startOfDay(first));

    // A task that would qualify appears later the same day: it waits for tomorrow.
    TaskItem* late = store.addTask(QStringLiteral("late"), 2, first);
    late->schedule(calendar.addingDays(first, -1), first, calendar);
    late->setScheduledExplicitly(false);
    QSignalSpy posts(&hub, &NotificationHub::posted);
    ScheduleReconciler::reconcile(*store.context, second, *store.preferences, hub);
    QVERIFY(late->dueDate().isValid());
    QCOMPARE(posts.count(), 0);
    QCOMPARE(store.preferences->scheduleReconcileLastDay(), lastDay);

    ScheduleReconciler::reconcile(*store.context, calendar.startOfNextDay(second),
                                  *store.preferences, hub);
    QVERIFY(!late->dueDate().isValid());
    QCOMPARE(posts.count(), 1);
}

// Unplanned and future tasks are rows of the table above; here the store has no task at all.
void TestScheduleReconciler::emptyStore() {
    BoardTest::Store store;
    NotificationHub hub;
    QSignalSpy posts(&hub, &NotificationHub::posted);
    ScheduleReconciler::reconcile(*store.context, local(2024, 6, 12, 10, 0), *store.preferences,
                                  hub);
    QCOMPARE(store.preferences->scheduleReconcileLastDay(), local(2024, 6, 12));
    QCOMPARE(posts.count(), 0);
}

void TestScheduleReconciler::clockWentBackwards() {
    BoardTest::Store store;
    NotificationHub hub;
    QSignalSpy posts(&hub, &NotificationHub::posted);
    const IsoCalendar calendar;
    const QDateTime created = local(2024, 6, 1, 8, 0);
    store.preferences->setScheduleReconcileLastDay(local(2024, 6, 15));

    TaskItem* dueFourteenth = store.addTask(QStringLiteral("14th"), 1, created);
    dueFourteenth->schedule(local(2024, 6, 14), created, calendar);
    TaskItem* dueTenth = store.addTask(QStringLiteral("10th"), 2, created);
    dueTenth->schedule(local(2024, 6, 10), created, calendar);
    TaskItem* handNinth = store.addTask(QStringLiteral("by hand 9th"), 3, created);
    handNinth->move(Bucket::today, local(2024, 6, 9, 12, 0), calendar);
    QVERIFY(store.context->save());

    // Back to the 12th: the 14th is ahead again, the 10th and 9th are past.
    ScheduleReconciler::reconcile(*store.context, local(2024, 6, 12, 9, 0), *store.preferences,
                                  hub);
    QCOMPARE(store.preferences->scheduleReconcileLastDay(), local(2024, 6, 12));
    QCOMPARE(dueFourteenth->sortIndex(), qint64(1));
    QCOMPARE(dueFourteenth->updatedAt(), created);
    // The 10th lies before the last run's day (the 15th): already overdue then, not lifted.
    QCOMPARE(dueTenth->sortIndex(), qint64(2));
    QVERIFY(!handNinth->dueDate().isValid());
    QCOMPARE(posts.count(), 1);
}

void TestScheduleReconciler::unreadablePreferenceCountsAsAbsent() {
    BoardTest::Store store;
    NotificationHub hub;
    const IsoCalendar calendar;
    const QDateTime now = local(2024, 6, 12, 10, 0);
    store.preferences->settings().setValue(Preferences::reconcileLastDayKey,
                                           QStringLiteral("yesterday"));

    TaskItem* old = store.addTask(QStringLiteral("old"), 1, now);
    old->schedule(local(2024, 5, 1), now, calendar);
    store.addTask(QStringLiteral("top"), 7, now);

    ScheduleReconciler::reconcile(*store.context, now, *store.preferences, hub);
    QCOMPARE(old->sortIndex(), qint64(8));
    QCOMPARE(store.preferences->scheduleReconcileLastDay(), local(2024, 6, 12));
}

QTEST_GUILESS_MAIN(TestScheduleReconciler)
#include "tst_schedulereconciler.moc"
