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

QString label(const TimeListModel& list, int row) {
    return list.index(row).data(TimeListModel::LabelRole).toString();
}

} // namespace

class TestPickers : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init() { m_clock.setNow(local(2024, 6, 12, 10, 0)); }

    void gridShape_data() { TestData::addRows("calendar-grid.json", "shapes"); }

    void gridShape() {
        QFETCH(QJsonObject, row);
        const auto date = [&](const char* key) {
            return QDate::fromString(row[QLatin1String(key)].toString(), Qt::ISODate);
        };
        const QDate month = date("month");
        const QDate firstCell = date("first");
        const int leading = row["leading"].toInt();
        const int rows = row["rows"].toInt();
        CalendarGridModel grid(&m_uiClock);
        QAbstractItemModelTester tester(&grid,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        grid.setFirstDayOfWeek(row["firstDay"].toInt());
        grid.setMonthStart(local(month.year(), month.month(), 17, 13, 45));
        QCOMPARE(grid.monthStart(), local(month.year(), month.month(), 1));
        QCOMPARE(grid.leadingDays(), leading);
        QCOMPARE(grid.rows(), rows);
        QCOMPARE(grid.rowCount(), rows * 7);
        QCOMPARE(cellDay(grid, 0), firstCell);
        QCOMPARE(cellDay(grid, grid.rowCount() - 1), date("last"));
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

    void timeSlotsAcrossDaylightSaving() {
        // Spring forward and fall back in Europe, then in North America.
        for (const QDate day :
             {QDate(2024, 3, 31), QDate(2024, 10, 27), QDate(2024, 3, 10), QDate(2024, 11, 3)}) {
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
    }

    void timeAnchor_data() { TestData::addRows("time-list.json", "anchors"); }

    void timeAnchor() {
        QFETCH(QJsonObject, row);
        TimeListModel list;
        list.setInitial(at(row["initial"]));
        list.setSelected(at(row["selected"]));
        QCOMPARE(label(list, list.anchorIndex()), row["anchor"].toString());
    }

    void popoverReminderToggle_data() { TestData::addRows("time-list.json", "proposals"); }

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
