#include "BoardTestSupport.h"
#include "TaskClassifier.h"
#include "TaskItem.h"

#include <QStandardPaths>
#include <QTest>

using BoardTest::local;

// How a case plans its task's week.
enum class WeekOf { none, now, lastWeek, nextWeek, yearOnly };
Q_DECLARE_METATYPE(WeekOf)

class TestTaskClassifier : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void bucket_data();
    void bucket();
    void dayBoundaries_data();
    void dayBoundaries();
    void weekKey_data();
    void weekKey();
};

void TestTaskClassifier::bucket_data() {
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<bool>("completed");
    QTest::addColumn<QDateTime>("dueDate");
    QTest::addColumn<bool>("explicitly");
    QTest::addColumn<WeekOf>("weekOf");
    QTest::addColumn<Bucket>("expected");

    // Wednesday 2024-06-12, mid-morning; Monday of that week is 06-10, Sunday 06-16.
    const QDateTime wed = local(2024, 6, 12, 10, 0);
    const QDateTime today = local(2024, 6, 12);
    const QDateTime lateYesterday = local(2024, 6, 11, 23, 59);
    const QDateTime tomorrow = local(2024, 6, 13);

    QTest::newRow("completed wins over a day today")
        << wed << true << today << true << WeekOf::now << Bucket::done;
    QTest::newRow("completed without any plan")
        << wed << true << QDateTime() << false << WeekOf::none << Bucket::done;
    QTest::newRow("start of today, placed by hand")
        << wed << false << today << false << WeekOf::now << Bucket::today;
    QTest::newRow("start of today, explicit")
        << wed << false << today << true << WeekOf::now << Bucket::today;
    QTest::newRow("today without a week still today")
        << wed << false << today << false << WeekOf::none << Bucket::today;
    QTest::newRow("overdue explicit stays in today")
        << wed << false << lateYesterday << true << WeekOf::now << Bucket::today;
    QTest::newRow("overdue explicit from last week stays in today")
        << wed << false << local(2024, 6, 3) << true << WeekOf::lastWeek << Bucket::today;
    QTest::newRow("past hand-placed day, this week")
        << wed << false << lateYesterday << false << WeekOf::now << Bucket::thisWeek;
    QTest::newRow("past hand-placed day, last week")
        << wed << false << lateYesterday << false << WeekOf::lastWeek << Bucket::later;
    QTest::newRow("tomorrow in the same week, explicit")
        << wed << false << tomorrow << true << WeekOf::now << Bucket::thisWeek;
    QTest::newRow("future explicit day does not count as overdue")
        << wed << false << local(2024, 6, 20) << true << WeekOf::nextWeek << Bucket::later;
    QTest::newRow("week only, this week")
        << wed << false << QDateTime() << false << WeekOf::now << Bucket::thisWeek;
    QTest::newRow("week only, next week")
        << wed << false << QDateTime() << false << WeekOf::nextWeek << Bucket::later;
    QTest::newRow("week only, last week")
        << wed << false << QDateTime() << false << WeekOf::lastWeek << Bucket::later;
    QTest::newRow("year without week")
        << wed << false << QDateTime() << false << WeekOf::yearOnly << Bucket::later;
    QTest::newRow("no plan at all")
        << wed << false << QDateTime() << false << WeekOf::none << Bucket::later;

    // Sunday 2024-06-16: tomorrow is already the next ISO week.
    const QDateTime sunday = local(2024, 6, 16, 21, 0);
    QTest::newRow("Sunday, explicit tomorrow is next week")
        << sunday << false << local(2024, 6, 17) << true << WeekOf::nextWeek << Bucket::later;
    QTest::newRow("Sunday, week only still this week")
        << sunday << false << QDateTime() << false << WeekOf::now << Bucket::thisWeek;
    // Monday 2024-06-17: a task placed in thisWeek last week has fallen to later.
    QTest::newRow("Monday after, last week's plan")
        << local(2024, 6, 17, 0, 0) << false << QDateTime() << false << WeekOf::lastWeek
        << Bucket::later;

    // Week-based years: 2021-01-03 is in 2020-W53, 2024-12-30 in 2025-W01.
    QTest::newRow("ISO 2020-W53 on Jan 3rd") << local(2021, 1, 3, 12, 0) << false << QDateTime()
                                             << false << WeekOf::now << Bucket::thisWeek;
    QTest::newRow("ISO 2025-W01 on Dec 30th") << local(2024, 12, 30, 12, 0) << false << QDateTime()
                                              << false << WeekOf::now << Bucket::thisWeek;
    QTest::newRow("Dec 30th, hand-placed on Sunday before")
        << local(2024, 12, 30, 8, 0) << false << local(2024, 12, 29) << false << WeekOf::lastWeek
        << Bucket::later;
}

void TestTaskClassifier::bucket() {
    QFETCH(QDateTime, now);
    QFETCH(bool, completed);
    QFETCH(QDateTime, dueDate);
    QFETCH(bool, explicitly);
    QFETCH(WeekOf, weekOf);
    QFETCH(Bucket, expected);

    const IsoCalendar calendar = TaskClassifier::calendar();
    TaskItem task(QStringLiteral("t"), 0, now);
    task.setCompleted(completed);
    task.setDueDate(dueDate);
    task.setScheduledExplicitly(explicitly);
    const auto weekAt = [&](int days) { return calendar.weekKey(calendar.addingDays(now, days)); };
    switch (weekOf) {
    case WeekOf::none:
        break;
    case WeekOf::now:
        task.setWeek(weekAt(0).year, weekAt(0).week);
        break;
    case WeekOf::lastWeek:
        task.setWeek(weekAt(-7).year, weekAt(-7).week);
        break;
    case WeekOf::nextWeek:
        task.setWeek(weekAt(7).year, weekAt(7).week);
        break;
    case WeekOf::yearOnly:
        task.setWeek(weekAt(0).year, std::nullopt);
        break;
    }

    QCOMPARE(TaskClassifier::bucket(task, now, calendar), expected);
}

// The edges of a local day, on ordinary days and on the days the clocks change in Berlin and
// New York (23 and 25 hours long there; ordinary days elsewhere).
void TestTaskClassifier::dayBoundaries_data() {
    QTest::addColumn<QDate>("day");

    QTest::newRow("ordinary day") << QDate(2024, 6, 12);
    QTest::newRow("Berlin spring forward") << QDate(2024, 3, 31);
    QTest::newRow("Berlin fall back") << QDate(2024, 10, 27);
    QTest::newRow("New York spring forward") << QDate(2024, 3, 10);
    QTest::newRow("New York fall back") << QDate(2024, 11, 3);
    QTest::newRow("last day of the year") << QDate(2024, 12, 31);
}

void TestTaskClassifier::dayBoundaries() {
    QFETCH(QDate, day);

    const IsoCalendar calendar;
    const QDateTime start = local(day);
    const QDateTime nextStart = local(day.addDays(1));
    QCOMPARE(calendar.startOfDay(local(day, QTime(23, 30))), start);
    QCOMPARE(calendar.startOfNextDay(local(day, QTime(0, 30))), nextStart);

    // A task placed in today by hand on `day`, and the same task explicitly scheduled.
    TaskItem byHand(QStringLiteral("hand"), 0, start);
    byHand.move(Bucket::today, local(day, QTime(12, 0)), calendar);
    TaskItem explicitOne(QStringLiteral("explicit"), 0, start);
    explicitOne.schedule(local(day, QTime(12, 0)), start, calendar);
    QCOMPARE(byHand.dueDate(), start);
    QCOMPARE(explicitOne.dueDate(), start);

    const QDateTime firstMoment = start;
    const QDateTime lastMoment = nextStart.addMSecs(-1);
    const QDateTime lateEvening = local(day, QTime(23, 30));
    const QDateTime afterMidnight = local(day.addDays(1), QTime(0, 30));
    for (const QDateTime& now : {firstMoment, lateEvening, lastMoment}) {
        QCOMPARE(TaskClassifier::bucket(byHand, now, calendar), Bucket::today);
        QCOMPARE(TaskClassifier::bucket(explicitOne, now, calendar), Bucket::today);
    }

    // Past midnight the hand-placed task leaves today; the explicit one stays, overdue.
    const bool sameWeek = calendar.weekKey(start) == calendar.weekKey(nextStart);
    const Bucket expectedByHand = sameWeek ? Bucket::thisWeek : Bucket::later;
    for (const QDateTime& now : {nextStart, afterMidnight}) {
        QCOMPARE(TaskClassifier::bucket(byHand, now, calendar), expectedByHand);
        QCOMPARE(TaskClassifier::bucket(explicitOne, now, calendar), Bucket::today);
    }

    // The day before: the explicit task is planned, not overdue.
    const QDateTime dayBefore = local(day.addDays(-1), QTime(23, 59));
    const bool weekBefore = calendar.weekKey(dayBefore) == calendar.weekKey(start);
    QCOMPARE(TaskClassifier::bucket(explicitOne, dayBefore, calendar),
             weekBefore ? Bucket::thisWeek : Bucket::later);
}

void TestTaskClassifier::weekKey_data() {
    QTest::addColumn<QDate>("date");
    QTest::addColumn<qint64>("year");
    QTest::addColumn<qint64>("week");

    QTest::newRow("2021-01-03 Sunday") << QDate(2021, 1, 3) << qint64(2020) << qint64(53);
    QTest::newRow("2021-01-04 Monday") << QDate(2021, 1, 4) << qint64(2021) << qint64(1);
    QTest::newRow("2020-12-31 Thursday") << QDate(2020, 12, 31) << qint64(2020) << qint64(53);
    QTest::newRow("2024-12-29 Sunday") << QDate(2024, 12, 29) << qint64(2024) << qint64(52);
    QTest::newRow("2024-12-30 Monday") << QDate(2024, 12, 30) << qint64(2025) << qint64(1);
    QTest::newRow("2026-01-01 Thursday") << QDate(2026, 1, 1) << qint64(2026) << qint64(1);
    QTest::newRow("2027-01-01 Friday") << QDate(2027, 1, 1) << qint64(2026) << qint64(53);
    QTest::newRow("2022-01-02 Sunday") << QDate(2022, 1, 2) << qint64(2021) << qint64(52);
    QTest::newRow("Berlin fall back Sunday") << QDate(2024, 10, 27) << qint64(2024) << qint64(43);
    QTest::newRow("New York spring Sunday") << QDate(2024, 3, 10) << qint64(2024) << qint64(10);
}

void TestTaskClassifier::weekKey() {
    QFETCH(QDate, date);
    QFETCH(qint64, year);
    QFETCH(qint64, week);

    const IsoCalendar calendar;
    const WeekKey expected{year, week};
    // The whole local day belongs to the week, whatever its offset from UTC.
    QCOMPARE(TaskClassifier::weekKey(local(date), calendar), expected);
    QCOMPARE(TaskClassifier::weekKey(local(date, QTime(23, 59, 59)), calendar), expected);
    QCOMPARE(TaskClassifier::weekKey(QDateTime(), calendar), WeekKey{});
}

QTEST_GUILESS_MAIN(TestTaskClassifier)
#include "tst_taskclassifier.moc"
