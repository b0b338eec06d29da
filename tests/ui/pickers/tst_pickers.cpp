#include "Clock.h"
#include "IsoCalendar.h"
#include "TestData.h"
#include "pickers/CalendarGridModel.h"
#include "pickers/SchedulePopoverController.h"
#include "pickers/TimeListModel.h"
#include "types/QmlClock.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <optional>

namespace {

QDateTime local(int y, int m, int d, int h = 0, int min = 0, int s = 0) {
    return QDateTime(QDate(y, m, d), QTime(h, min, s), Qt::LocalTime).toUTC();
}

QDate cellDay(const CalendarGridModel& grid, int row) {
    return grid.index(row).data(CalendarGridModel::DateRole).toDateTime().toLocalTime().date();
}

std::optional<bool> flag(const CalendarGridModel& grid, QDate day, CalendarGridModel::Role role) {
    for (int row = 0; row < grid.rowCount(); ++row) {
        if (cellDay(grid, row) == day)
            return grid.index(row).data(role).toBool();
    }
    return std::nullopt;
}

QDateTime at(const QJsonValue& value) {
    return QDateTime::fromString(value.toString(), Qt::ISODate);
}

void rows(const char* key) {
    QTest::addColumn<QJsonObject>("row");
    for (const QJsonValue& row : TestData::cases("time-list.json", key))
        QTest::newRow(qPrintable(row["tag"].toString())) << row.toObject();
}

QString label(const TimeListModel& list, int row) {
    return list.index(row).data(TimeListModel::LabelRole).toString();
}

} // namespace

class TestPickers : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init() { m_clock.setNow(local(2024, 6, 12, 10, 0)); }

    void gridShape_data() {
        QTest::addColumn<QDate>("month");
        QTest::addColumn<int>("firstDay");
        QTest::addColumn<int>("leading");
        QTest::addColumn<int>("rows");
        QTest::addColumn<QDate>("firstCell");
        QTest::addColumn<QDate>("lastCell");
        const auto date = [](const QJsonValue& v) {
            return QDate::fromString(v.toString(), Qt::ISODate);
        };
        for (const QJsonValue& row : TestData::cases("calendar-grid.json", "shapes")) {
            QTest::newRow(qPrintable(row["tag"].toString()))
                << date(row["month"]) << row["firstDay"].toInt() << row["leading"].toInt()
                << row["rows"].toInt() << date(row["first"]) << date(row["last"]);
        }
    }

    void gridShape() {
        QFETCH(QDate, month);
        QFETCH(int, firstDay);
        QFETCH(int, leading);
        QFETCH(int, rows);
        QFETCH(QDate, firstCell);
        QFETCH(QDate, lastCell);

        CalendarGridModel grid(&m_uiClock);
        QAbstractItemModelTester tester(&grid,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        grid.setFirstDayOfWeek(firstDay);
        grid.setMonthStart(local(month.year(), month.month(), 17, 13, 45));
        QCOMPARE(grid.monthStart(), local(month.year(), month.month(), 1));
        QCOMPARE(grid.leadingDays(), leading);
        QCOMPARE(grid.rows(), rows);
        QCOMPARE(grid.rowCount(), rows * 7);
        QCOMPARE(cellDay(grid, 0), firstCell);
        QCOMPARE(cellDay(grid, grid.rowCount() - 1), lastCell);
        QCOMPARE(cellDay(grid, leading), month);

        const IsoCalendar calendar;
        for (int row = 0; row < grid.rowCount(); ++row) {
            const QDateTime cell = grid.index(row).data(CalendarGridModel::DateRole).toDateTime();
            QCOMPARE(cell, calendar.startOfDay(firstCell.addDays(row)));
        }
    }

    void gridFlags() {
        CalendarGridModel grid(&m_uiClock);
        QAbstractItemModelTester tester(&grid,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        grid.setFirstDayOfWeek(Qt::Sunday);
        grid.setMonthStart(local(2024, 6, 1));
        grid.setMinDay(local(2024, 6, 12));
        grid.setSelected(local(2024, 6, 20));

        using R = CalendarGridModel;
        const auto is = [&](QDate day, R::Role role) { return flag(grid, day, role) == true; };
        const auto isNot = [&](QDate day, R::Role role) { return flag(grid, day, role) == false; };
        QVERIFY(isNot(QDate(2024, 5, 26), R::InMonthRole));
        QVERIFY(is(QDate(2024, 5, 26), R::BeforeMinRole));
        QVERIFY(is(QDate(2024, 6, 11), R::BeforeMinRole));
        QVERIFY(isNot(QDate(2024, 6, 12), R::BeforeMinRole));
        QVERIFY(is(QDate(2024, 6, 12), R::IsTodayRole));
        QVERIFY(is(QDate(2024, 6, 20), R::IsSelectedRole));
        QVERIFY(isNot(QDate(2024, 7, 6), R::InMonthRole));
        QVERIFY(isNot(QDate(2024, 7, 6), R::BeforeMinRole));

        QSignalSpy changed(&grid, &QAbstractItemModel::dataChanged);
        QSignalSpy reset(&grid, &QAbstractItemModel::modelReset);
        grid.setSelected(local(2024, 6, 21, 18, 0));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(reset.count(), 0);
        QVERIFY(is(QDate(2024, 6, 21), R::IsSelectedRole));
        QVERIFY(isNot(QDate(2024, 6, 20), R::IsSelectedRole));

        grid.page(-2);
        QCOMPARE(grid.rowCount() % 7, 0);
        for (int row = 0; row < grid.rowCount(); ++row)
            QVERIFY(grid.index(row).data(R::BeforeMinRole).toBool());
    }

    void timeSlotsAcrossDaylightSaving_data() {
        QTest::addColumn<QDate>("day");
        QTest::newRow("Europe springs forward") << QDate(2024, 3, 31);
        QTest::newRow("North America springs forward") << QDate(2024, 3, 10);
        QTest::newRow("Europe falls back") << QDate(2024, 10, 27);
        QTest::newRow("North America falls back") << QDate(2024, 11, 3);
    }

    void timeSlotsAcrossDaylightSaving() {
        QFETCH(QDate, day);
        TimeListModel list;
        list.setInitial(QDateTime(day, QTime(12, 0), Qt::LocalTime));
        const bool skipsAnHour = !QDateTime(day, QTime(2, 30), Qt::LocalTime).isValid();
        QCOMPARE(list.rowCount(), skipsAnHour ? 92 : 96);
        QStringList labels;
        for (int row = 0; row < list.rowCount(); ++row) {
            labels.append(label(list, row));
            if (row > 0)
                QVERIFY(list.slotAt(row - 1) < list.slotAt(row));
            QCOMPARE(list.slotAt(row).toLocalTime().date(), day);
        }
        QCOMPARE(labels.contains(QStringLiteral("02:30")), !skipsAnHour);
        QCOMPARE(labels.last(), QStringLiteral("23:45"));
        QCOMPARE(labels.removeDuplicates(), 0);
    }

    void timeAnchor_data() { rows("anchors"); }

    void timeAnchor() {
        QFETCH(QJsonObject, row);
        TimeListModel list;
        list.setInitial(at(row["initial"]));
        list.setSelected(at(row["selected"]));
        QCOMPARE(label(list, list.anchorIndex()), row["anchor"].toString());
    }

    void popoverReminderToggle_data() { rows("proposals"); }

    void popoverReminderToggle() {
        QFETCH(QJsonObject, row);
        m_clock.setNow(at(row["now"]));
        SchedulePopoverController popover(&m_uiClock);
        popover.seed({}, {});
        QSignalSpy reported(&popover, &SchedulePopoverController::scheduleChanged);
        popover.setReminderEnabled(true);
        QCOMPARE(reported.count(), 1);
        QCOMPARE(reported.first().at(0).toDateTime(), local(2024, 6, 12));
        QCOMPARE(reported.first().at(1).toDateTime(), at(row["reminder"]));
        QCOMPARE(popover.reminderPassed(), row["passed"].toBool());
        QVERIFY(popover.todayActive());
    }

    void popoverRules() {
        m_clock.setNow(local(2024, 6, 12, 14, 10));
        SchedulePopoverController popover(&m_uiClock);
        popover.seed({}, {});
        QSignalSpy reported(&popover, &SchedulePopoverController::scheduleChanged);
        const auto last = [&] { return reported.last(); };

        popover.chooseTomorrow();
        QCOMPARE(last().at(0).toDateTime(), local(2024, 6, 13));
        QVERIFY(!last().at(1).toDateTime().isValid());
        QVERIFY(!popover.reminderPassed());

        popover.chooseTomorrow();
        QCOMPARE(reported.count(), 2);
        QVERIFY(popover.tomorrowActive());

        popover.chooseTime(local(2024, 1, 1, 7, 45));
        QCOMPARE(last().at(1).toDateTime(), local(2024, 6, 13, 7, 45));
        popover.chooseDate(local(2024, 6, 28, 19, 0));
        QCOMPARE(last().at(0).toDateTime(), local(2024, 6, 28));
        QCOMPARE(last().at(1).toDateTime(), local(2024, 6, 28, 7, 45));

        popover.chooseToday();
        QCOMPARE(last().at(1).toDateTime(), local(2024, 6, 12, 7, 45));
        QVERIFY(popover.reminderPassed());
        popover.chooseTime(local(2024, 6, 12, 14, 10));
        QVERIFY(popover.reminderPassed());
        m_clock.setNow(local(2024, 6, 12, 14, 9, 59));
        QVERIFY(!popover.reminderPassed());

        popover.setReminderEnabled(false);
        QCOMPARE(last().at(0).toDateTime(), local(2024, 6, 12));
        QVERIFY(!last().at(1).toDateTime().isValid());
        QVERIFY(popover.showClear());
        QCOMPARE(popover.timeFieldValue(), local(2024, 6, 12, 14, 30));

        popover.setReminderEnabled(true);
        popover.clear();
        QVERIFY(!last().at(0).toDateTime().isValid());
        QVERIFY(!last().at(1).toDateTime().isValid());
        QVERIFY(!popover.showClear());
        QVERIFY(!popover.hasTime());
    }

private:
    ManualClock m_clock;
    QmlClock m_uiClock{m_clock};
};

QTEST_GUILESS_MAIN(TestPickers)
#include "tst_pickers.moc"
