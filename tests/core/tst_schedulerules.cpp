#include "IsoCalendar.h"
#include "ScheduleRules.h"

#include <QStandardPaths>
#include <QTest>

namespace {

QDateTime local(int y, int m, int d, int h = 0, int min = 0, int s = 0) {
    return QDateTime(QDate(y, m, d), QTime(h, min, s), Qt::LocalTime).toUTC();
}

QTime localTime(const QDateTime& moment) {
    return moment.toLocalTime().time();
}

} // namespace

class TestScheduleRules : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void defaultTime_data();
    void defaultTime();
    void defaultTimeInsideSpringForwardGap_data();
    void defaultTimeInsideSpringForwardGap();
    void tomorrow_data();
    void tomorrow();
    void resolvedReminder_data();
    void resolvedReminder();
    void resolvedReminderInsideSpringForwardGap_data();
    void resolvedReminderInsideSpringForwardGap();
};

void TestScheduleRules::defaultTime_data() {
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<QDateTime>("expected");

    QTest::newRow("before the half hour")
        << local(2024, 6, 12, 14, 10) << local(2024, 6, 12, 14, 30);
    QTest::newRow("on the full hour") << local(2024, 6, 12, 14, 0) << local(2024, 6, 12, 14, 30);
    QTest::newRow("at the half hour exactly")
        << local(2024, 6, 12, 14, 30) << local(2024, 6, 12, 15, 0);
    QTest::newRow("last second before the hour")
        << local(2024, 6, 12, 14, 59, 59) << local(2024, 6, 12, 15, 0);
    QTest::newRow("hour 24 rolls into the next day")
        << local(2024, 6, 12, 23, 45) << local(2024, 6, 13, 0, 0);
    QTest::newRow("hour 24 at the end of a year")
        << local(2024, 12, 31, 23, 50) << local(2025, 1, 1, 0, 0);
    QTest::newRow("just after midnight") << local(2024, 6, 12, 0, 0) << local(2024, 6, 12, 0, 30);
}

void TestScheduleRules::defaultTime() {
    QFETCH(QDateTime, now);
    QFETCH(QDateTime, expected);
    QCOMPARE(ScheduleRules::defaultTime(now, IsoCalendar()), expected);
}

void TestScheduleRules::defaultTimeInsideSpringForwardGap_data() {
    QTest::addColumn<QDateTime>("now");
    // The nights when Berlin and New York skip 02:00 to 03:00; elsewhere plain nights.
    QTest::newRow("Europe, last Sunday of March") << local(2024, 3, 31, 1, 40);
    QTest::newRow("North America, second Sunday of March") << local(2024, 3, 10, 1, 40);
}

void TestScheduleRules::defaultTimeInsideSpringForwardGap() {
    QFETCH(QDateTime, now);
    // 01:40 proposes 02:00. Where 02:00 does not exist the proposal is the moment the clock
    // jumps (03:00 summer time), which is the same 20 minutes away as a plain 02:00.
    const QDateTime proposal = ScheduleRules::defaultTime(now, IsoCalendar());
    QVERIFY(proposal.isValid());
    QCOMPARE(now.secsTo(proposal), 20 * 60);
}

void TestScheduleRules::tomorrow_data() {
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<QDate>("expectedDay");

    QTest::newRow("mid-morning") << local(2024, 6, 12, 10, 0) << QDate(2024, 6, 13);
    QTest::newRow("last second of the day") << local(2024, 6, 12, 23, 59, 59) << QDate(2024, 6, 13);
    QTest::newRow("end of February, leap year") << local(2024, 2, 28, 12, 0) << QDate(2024, 2, 29);
    QTest::newRow("end of the year") << local(2024, 12, 31, 18, 0) << QDate(2025, 1, 1);
    QTest::newRow("before a 23-hour day") << local(2024, 3, 30, 23, 0) << QDate(2024, 3, 31);
    QTest::newRow("on a 25-hour day, late") << local(2024, 10, 27, 23, 30) << QDate(2024, 10, 28);
}

void TestScheduleRules::tomorrow() {
    QFETCH(QDateTime, now);
    QFETCH(QDate, expectedDay);
    const QDateTime tomorrow = ScheduleRules::tomorrow(now, IsoCalendar());
    QCOMPARE(tomorrow.toLocalTime().date(), expectedDay);
    QCOMPARE(localTime(tomorrow), QTime(0, 0));
}

void TestScheduleRules::resolvedReminder_data() {
    QTest::addColumn<QDateTime>("day");
    QTest::addColumn<QDateTime>("time");
    QTest::addColumn<QDateTime>("expected");

    QTest::newRow("no time, no reminder") << local(2024, 6, 13) << QDateTime() << QDateTime();
    QTest::newRow("time without a day falls on today")
        << QDateTime() << local(2024, 6, 20, 15, 30) << local(2024, 6, 12, 15, 30);
    QTest::newRow("time without a day, earlier than now")
        << QDateTime() << local(2024, 6, 12, 8, 0) << local(2024, 6, 12, 8, 0);
    QTest::newRow("only hour and minute of the time count")
        << local(2024, 6, 20) << local(2020, 1, 1, 9, 15, 42) << local(2024, 6, 20, 9, 15);
    QTest::newRow("day in the past keeps its date")
        << local(2024, 6, 1) << local(2024, 6, 12, 18, 0) << local(2024, 6, 1, 18, 0);
    QTest::newRow("a time from a daylight-saving date, moved to winter")
        << local(2024, 12, 2) << local(2024, 7, 1, 9, 0) << local(2024, 12, 2, 9, 0);
}

void TestScheduleRules::resolvedReminder() {
    QFETCH(QDateTime, day);
    QFETCH(QDateTime, time);
    QFETCH(QDateTime, expected);
    const QDateTime result =
        ScheduleRules::resolvedReminder(day, time, local(2024, 6, 12, 10, 0), IsoCalendar());
    QCOMPARE(result.isValid(), expected.isValid());
    if (expected.isValid())
        QCOMPARE(result, expected);
}

void TestScheduleRules::resolvedReminderInsideSpringForwardGap_data() {
    QTest::addColumn<QDate>("day");
    QTest::newRow("Europe, last Sunday of March") << QDate(2024, 3, 31);
    QTest::newRow("North America, second Sunday of March") << QDate(2024, 3, 10);
}

void TestScheduleRules::resolvedReminderInsideSpringForwardGap() {
    QFETCH(QDate, day);
    const IsoCalendar calendar;
    // 02:30 on a night that skips 02:00-03:00 is 03:30 summer time: two and a half hours of
    // real time after midnight, as a plain 02:30 would be.
    const QDateTime result = ScheduleRules::resolvedReminder(
        calendar.startOfDay(day), local(2024, 6, 12, 2, 30), local(2024, 3, 1), calendar);
    QVERIFY(result.isValid());
    QCOMPARE(calendar.startOfDay(day).secsTo(result), 150 * 60);
    QCOMPARE(result.toLocalTime().date(), day);
}

QTEST_GUILESS_MAIN(TestScheduleRules)
#include "tst_schedulerules.moc"
