#include "BoardTestSupport.h"
#include "IsoCalendar.h"
#include "ScheduleRules.h"

#include <QStandardPaths>
#include <QTest>

using BoardTest::local;

namespace {

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
    void tomorrow_data();
    void tomorrow();
    void resolvedReminder_data();
    void resolvedReminder();
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
    // 01:40 on the nights Berlin and New York skip 02:00 to 03:00 (plain nights elsewhere):
    // the proposal is the moment the clock jumps, the same 20 minutes away as a plain 02:00.
    QTest::newRow("Europe's spring-forward gap")
        << local(2024, 3, 31, 1, 40) << local(2024, 3, 31, 1, 40).addSecs(20 * 60);
    QTest::newRow("North America's spring-forward gap")
        << local(2024, 3, 10, 1, 40) << local(2024, 3, 10, 1, 40).addSecs(20 * 60);
}

void TestScheduleRules::defaultTime() {
    QFETCH(QDateTime, now);
    QFETCH(QDateTime, expected);
    QCOMPARE(ScheduleRules::defaultTime(now, IsoCalendar()), expected);
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
    // 02:30 on a night that skips 02:00-03:00 is 03:30 summer time: two and a half hours of
    // real time after midnight, as a plain 02:30 would be.
    QTest::newRow("Europe's spring-forward gap")
        << local(2024, 3, 31) << local(2024, 6, 12, 2, 30) << local(2024, 3, 31).addSecs(150 * 60);
    QTest::newRow("North America's spring-forward gap")
        << local(2024, 3, 10) << local(2024, 6, 12, 2, 30) << local(2024, 3, 10).addSecs(150 * 60);
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

QTEST_GUILESS_MAIN(TestScheduleRules)
#include "tst_schedulerules.moc"
