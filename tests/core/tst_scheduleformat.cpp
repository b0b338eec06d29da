#include "BoardTestSupport.h"
#include "IsoCalendar.h"
#include "ScheduleFormat.h"

#include <QStandardPaths>
#include <QTest>

using BoardTest::local;

class TestScheduleFormat : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void day_data();
    void day();
    void time_data();
    void time();
    void shortLabel_data();
    void shortLabel();
    void monthTitle();
    void weekdaySymbols_data();
    void weekdaySymbols();
};

void TestScheduleFormat::day_data() {
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<QDateTime>("date");
    QTest::addColumn<QString>("expected");

    // Wednesday 2024-06-12, mid-morning.
    const QDateTime wed = local(2024, 6, 12, 10, 0);
    QTest::newRow("start of today") << wed << local(2024, 6, 12) << "今天";
    QTest::newRow("last minute of today") << wed << local(2024, 6, 12, 23, 59, 59) << "今天";
    QTest::newRow("start of tomorrow") << wed << local(2024, 6, 13) << "明天";
    QTest::newRow("day after tomorrow") << wed << local(2024, 6, 14) << "6月14日";
    QTest::newRow("yesterday has no word") << wed << local(2024, 6, 11, 23, 59) << "6月11日";
    QTest::newRow("next week") << wed << local(2024, 6, 17) << "6月17日";
    QTest::newRow("single-digit month and day") << wed << local(2024, 7, 5) << "7月5日";
    QTest::newRow("next year shows no year") << wed << local(2025, 1, 5) << "1月5日";
    QTest::newRow("last year shows no year") << wed << local(2023, 12, 31) << "12月31日";
    QTest::newRow("none") << wed << QDateTime() << "";

    // Tomorrow across the end of a month and of a year.
    QTest::newRow("tomorrow is in the next year")
        << local(2024, 12, 31, 22, 0) << local(2025, 1, 1, 8, 0) << "明天";
    QTest::newRow("tomorrow is in the next month")
        << local(2024, 2, 29, 23, 59) << local(2024, 3, 1) << "明天";
    // Around the spring-forward and fall-back nights of Europe and North America.
    QTest::newRow("tomorrow is a 23-hour day")
        << local(2024, 3, 30, 12, 0) << local(2024, 3, 31, 23, 30) << "明天";
    QTest::newRow("today is a 25-hour day, late")
        << local(2024, 10, 27, 23, 30) << local(2024, 10, 27) << "今天";
    QTest::newRow("the day after a 25-hour day")
        << local(2024, 11, 3, 0, 30) << local(2024, 11, 4, 0, 0) << "明天";
}

void TestScheduleFormat::day() {
    QFETCH(QDateTime, now);
    QFETCH(QDateTime, date);
    QFETCH(QString, expected);
    QCOMPARE(ScheduleFormat::day(date, now, IsoCalendar()), expected);
}

void TestScheduleFormat::time_data() {
    QTest::addColumn<QDateTime>("moment");
    QTest::addColumn<QString>("expected");

    QTest::newRow("morning, two-digit hour") << local(2024, 6, 12, 9, 0) << "09:00";
    QTest::newRow("afternoon, 24-hour clock") << local(2024, 6, 12, 15, 30) << "15:30";
    QTest::newRow("last minute") << local(2024, 6, 12, 23, 59) << "23:59";
    QTest::newRow("seconds are not shown") << local(2024, 6, 12, 9, 5, 59) << "09:05";
    QTest::newRow("none") << QDateTime() << "";
}

void TestScheduleFormat::time() {
    QFETCH(QDateTime, moment);
    QFETCH(QString, expected);
    QCOMPARE(ScheduleFormat::time(moment), expected);
    // The wording is the same whether the moment is held in UTC or in local time.
    QCOMPARE(ScheduleFormat::time(moment.toLocalTime()), expected);
}

void TestScheduleFormat::shortLabel_data() {
    QTest::addColumn<QDateTime>("dueDate");
    QTest::addColumn<QDateTime>("reminderAt");
    QTest::addColumn<bool>("hasLabel");
    QTest::addColumn<QString>("expected");

    QTest::newRow("reminder today: the time alone")
        << local(2024, 6, 12) << local(2024, 6, 12, 15, 30) << true << "15:30";
    QTest::newRow("reminder tomorrow")
        << local(2024, 6, 13) << local(2024, 6, 13, 9, 0) << true << "明天 09:00";
    QTest::newRow("reminder on another day")
        << QDateTime() << local(2024, 6, 20, 9, 0) << true << "6月20日 09:00";
    QTest::newRow("reminder outweighs the due date")
        << local(2024, 6, 20) << local(2024, 6, 13, 9, 0) << true << "明天 09:00";
    QTest::newRow("due date alone, today") << local(2024, 6, 12) << QDateTime() << true << "今天";
    QTest::newRow("due date alone, later")
        << local(2024, 6, 20) << QDateTime() << true << "6月20日";
    QTest::newRow("neither") << QDateTime() << QDateTime() << false << "";
}

void TestScheduleFormat::shortLabel() {
    QFETCH(QDateTime, dueDate);
    QFETCH(QDateTime, reminderAt);
    QFETCH(bool, hasLabel);
    QFETCH(QString, expected);
    const auto label =
        ScheduleFormat::shortLabel(dueDate, reminderAt, local(2024, 6, 12, 10, 0), IsoCalendar());
    QCOMPARE(label.has_value(), hasLabel);
    QCOMPARE(label.value_or(QString()), expected);
}

void TestScheduleFormat::monthTitle() {
    QCOMPARE(ScheduleFormat::monthTitle(QDate(2026, 6, 1)), QStringLiteral("2026年6月"));
    QCOMPARE(ScheduleFormat::monthTitle(QDate(2024, 12, 31)), QStringLiteral("2024年12月"));
    QCOMPARE(ScheduleFormat::monthTitle(QDate()), QString());
}

void TestScheduleFormat::weekdaySymbols_data() {
    QTest::addColumn<int>("firstDay");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("Monday first") << int(Qt::Monday)
                                  << QStringList{"一", "二", "三", "四", "五", "六", "日"};
    QTest::newRow("Sunday first") << int(Qt::Sunday)
                                  << QStringList{"日", "一", "二", "三", "四", "五", "六"};
    QTest::newRow("Saturday first")
        << int(Qt::Saturday) << QStringList{"六", "日", "一", "二", "三", "四", "五"};
}

void TestScheduleFormat::weekdaySymbols() {
    QFETCH(int, firstDay);
    QFETCH(QStringList, expected);
    QCOMPARE(ScheduleFormat::weekdaySymbols(Qt::DayOfWeek(firstDay)), expected);
}

QTEST_GUILESS_MAIN(TestScheduleFormat)
#include "tst_scheduleformat.moc"
