#include "BoardTestSupport.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "TestData.h"
#include "dialog/TaskDialogController.h"
#include "lists/CategoryListModel.h"
#include "pickers/CalendarGridModel.h"
#include "pickers/SchedulePopoverController.h"
#include "pickers/TimeListModel.h"
#include "types/QmlClock.h"
#include <QAbstractItemModelTester>
#include <optional>

#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <memory>

using BoardTest::local;

namespace {

const QDateTime kNow = local(2024, 6, 12, 10, 0);

QString idOf(const TaskCategory& category) {
    return category.id().toString(QUuid::WithoutBraces);
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

QString label(const TimeListModel& list, int row) {
    return list.index(row).data(TimeListModel::LabelRole).toString();
}

} // namespace

class TestTaskDialogController : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init() {
        m_clock.setNow(kNow);
        m_work = std::make_unique<TaskCategory>("工作", "E5484D", 1, kNow);
        m_home = std::make_unique<TaskCategory>("家", "46A758", 2, kNow);
        m_categories = std::make_unique<CategoryListModel>();
        m_categories->setCategories({m_work.get(), m_home.get()});
    }

    void cleanup() {
        m_categories.reset();
        m_home.reset();
        m_work.reset();
    }

    void submit_data() { TestData::addRows("dialog-drafts.json", "submit"); }

    void submit() {
        QFETCH(QJsonObject, row);
        TaskDialogController dialog(&m_uiClock);
        dialog.setCategories(m_categories.get());
        dialog.setDefaultListId(idOf(*m_home));
        QSignalSpy created(&dialog, &TaskDialogController::createRequested);
        QSignalSpy ended(&dialog, &TaskDialogController::endEditingRequested);
        dialog.openPanel();
        apply(dialog, row);
        const bool expected = row["created"].toBool();
        QCOMPARE(dialog.canCreate(), expected);
        dialog.submit();
        QCOMPARE(created.count(), expected ? 1 : 0);
        QCOMPARE(dialog.isOpen(), !expected);
        QCOMPARE(ended.count(), 0);
        if (!expected)
            return;
        const auto draft = created.takeFirst().at(0).value<EnhancedDraft>();
        QCOMPARE(draft.title, row["expectTitle"].toString());
        QCOMPARE(draft.note, row["expectNote"].toString());
        QCOMPARE(draft.listUuid(), m_home->id());
        QCOMPARE(draft.dueDate, at(row["expectDue"]));
        QCOMPARE(draft.reminderAt, at(row["expectReminder"]));
    }

    void editDirty_data() { TestData::addRows("dialog-drafts.json", "dirty"); }

    void editDirty() {
        QFETCH(QJsonObject, row);
        auto task = makeTask();
        TaskDialogController dialog(&m_uiClock);
        dialog.setEditingTask(task.get());
        QVERIFY(!dialog.editDirty());
        apply(dialog, row);
        QCOMPARE(dialog.editDirty(), row["dirty"].toBool());

        task->setTitle("周报（别处改的）");
        QVERIFY(dialog.editDirty());
    }

    void blurRule_data() { TestData::addRows("dialog-drafts.json", "blur"); }

    void blurRule() {
        QFETCH(QJsonObject, row);
        const bool editing = row["editing"].toBool();
        auto task = makeTask();
        TaskDialogController dialog(&m_uiClock);
        dialog.setCategories(m_categories.get());
        QSignalSpy ended(&dialog, &TaskDialogController::endEditingRequested);
        if (editing)
            dialog.setEditingTask(task.get());
        else
            dialog.openPanel();
        apply(dialog, row);

        dialog.handleBlurInput();
        QCOMPARE(!dialog.isOpen(), row["closes"].toBool());
        QCOMPARE(ended.count(), editing && row["closes"].toBool() ? 1 : 0);
    }

    void dayAndTimeControls() {
        TaskDialogController dialog(&m_uiClock);
        dialog.openPanel();
        QVERIFY(dialog.titleFocused());

        dialog.pickTime(local(2024, 6, 12, 18, 0));
        QCOMPARE(dialog.day(), local(2024, 6, 12));
        QVERIFY(dialog.todayActive());
        dialog.toggleToday(); // a second press turns the active chip off
        QVERIFY(!dialog.day().isValid());
        QVERIFY(!dialog.titleFocused());
        QCOMPARE(dialog.resolvedReminder(), local(2024, 6, 12, 18, 0));
        dialog.toggleTomorrow();
        QVERIFY(dialog.tomorrowActive());
        QVERIFY(!dialog.customDay().isValid()); // the chip shows it, not the calendar chip
        QCOMPARE(dialog.resolvedReminder(), local(2024, 6, 13, 18, 0));

        dialog.openListPicker();
        dialog.openDatePicker();
        QVERIFY(!dialog.listPickerOpen());
        QCOMPARE(dialog.gridMonth(), local(2024, 6, 1));
        dialog.pickDay(local(2024, 7, 1, 12, 0));
        QVERIFY(!dialog.datePickerOpen());
        QCOMPARE(dialog.day(), local(2024, 7, 1));
        QCOMPARE(dialog.customDay(), local(2024, 7, 1));
        QCOMPARE(dialog.gridMonth(), local(2024, 7, 1));

        dialog.clearTime();
        QCOMPARE(dialog.day(), local(2024, 7, 1));
        QVERIFY(!dialog.resolvedReminder().isValid());
    }

    // Editing loads the task, and submitting hands over a draft and leaves the task alone.
    void modeFollowsTheEditingTask() {
        auto first = makeTask();
        TaskItem second("买菜", 9, kNow);
        TaskDialogController dialog(&m_uiClock);
        dialog.setCategories(m_categories.get());
        QSignalSpy saved(&dialog, &TaskDialogController::saveRequested);
        QSignalSpy deleted(&dialog, &TaskDialogController::deleteRequested);
        QSignalSpy ended(&dialog, &TaskDialogController::endEditingRequested);

        dialog.setEditingTask(first.get());
        QVERIFY(dialog.isOpen());
        QCOMPARE(dialog.day(), local(2024, 6, 20));
        QCOMPARE(dialog.time(), local(2024, 6, 20, 9, 0));
        QCOMPARE(dialog.chosenListId(), idOf(*m_work));
        dialog.setTitle(" 周报（终稿） ");
        dialog.chooseList(idOf(*m_home));
        dialog.submit();
        QCOMPARE(saved.count(), 1);
        QCOMPARE(saved.first().at(0).value<TaskItem*>(), first.get());
        const auto draft = saved.first().at(1).value<EnhancedDraft>();
        QCOMPARE(draft.title, QStringLiteral("周报（终稿）"));
        QCOMPARE(draft.listUuid(), m_home->id());
        QCOMPARE(draft.dueDate, local(2024, 6, 20));
        QCOMPARE(draft.reminderAt, local(2024, 6, 20, 9, 0));
        QCOMPARE(ended.count(), 1);
        QCOMPARE(first->title(), QStringLiteral("周报"));
        QCOMPARE(first->category(), m_work.get());
        ended.clear();

        dialog.setEditingTask(first.get());

        dialog.setTitle("改了一半");
        dialog.setEditingTask(&second);
        QCOMPARE(dialog.title(), QStringLiteral("买菜"));
        QVERIFY(!dialog.day().isValid());
        QCOMPARE(dialog.chosenListId(), QString());

        dialog.setEditingTask(nullptr);
        QVERIFY(dialog.isOpen());
        dialog.trash();
        QCOMPARE(deleted.count(), 0);
        QCOMPARE(ended.count(), 0);

        dialog.setEditingTask(first.get());
        dialog.trash();
        QCOMPARE(deleted.count(), 1);
        QCOMPARE(ended.count(), 1);
        QVERIFY(!dialog.isOpen());

        auto doomed = std::make_unique<TaskItem>("临时", 1, kNow);
        dialog.setEditingTask(doomed.get());
        doomed.reset();
        QVERIFY(!dialog.isEditing());
    }

    void shortcutAndReopening() {
        TaskDialogController dialog(&m_uiClock);
        dialog.setDefaultListId(idOf(*m_work));
        dialog.newTaskShortcut();
        QVERIFY(dialog.isOpen());
        QCOMPARE(dialog.chosenListId(), idOf(*m_work));

        dialog.setTitle("写一半");
        dialog.setTitleFocused(false);
        dialog.newTaskShortcut();
        QVERIFY(dialog.titleFocused());
        QCOMPARE(dialog.title(), QStringLiteral("写一半"));

        dialog.toggleTomorrow();
        dialog.closePanel();
        dialog.openPanel();
        QCOMPARE(dialog.title(), QString());
        QVERIFY(!dialog.day().isValid());

        // A chosen list that goes away shows as none, and keeps its id.
        dialog.setCategories(m_categories.get());
        dialog.chooseList(idOf(*m_home));
        QCOMPARE(dialog.chosenListName(), QStringLiteral("家"));
        m_categories->removeCategory(m_home.get());
        QCOMPARE(dialog.chosenListName(), QStringLiteral("无"));
        QCOMPARE(dialog.chosenListColorHex(), QString());
        QCOMPARE(dialog.chosenListId(), idOf(*m_home));
    }

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
        QVERIFY(isNot(QDate(2024, 6, 12), R::BeforeMinRole));
        QVERIFY(is(QDate(2024, 6, 12), R::IsTodayRole));
        QVERIFY(is(QDate(2024, 6, 20), R::IsSelectedRole));
        QVERIFY(isNot(QDate(2024, 7, 6), R::InMonthRole));

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
    static QDateTime at(const QJsonValue& value) {
        return QDateTime::fromString(value.toString(), Qt::ISODate);
    }

    void apply(TaskDialogController& dialog, const QJsonObject& row) const {
        const auto texts = [](const QJsonValue& value) {
            return value.isArray() ? value.toVariant().toStringList()
                                   : QStringList{value.toString()};
        };
        if (row.contains("title")) {
            for (const QString& text : texts(row["title"]))
                dialog.setTitle(text);
        }
        if (row.contains("note")) {
            for (const QString& text : texts(row["note"]))
                dialog.setNote(text);
        }
        if (row.contains("day"))
            dialog.pickDay(at(row["day"]));
        if (row["tomorrow"].toBool())
            dialog.toggleTomorrow();
        if (row.contains("time"))
            dialog.pickTime(at(row["time"]));
        if (row["clearDay"].toBool())
            dialog.clearDay();
        if (row["clearTime"].toBool())
            dialog.clearTime();
        if (row.contains("list"))
            dialog.chooseList(row["list"].toString() == QLatin1String("other") ? idOf(*m_home)
                                                                               : QString());
    }

    std::unique_ptr<TaskItem> makeTask() {
        auto task = std::make_unique<TaskItem>("周报", 3, kNow);
        task->setNote("草稿");
        task->schedule(local(2024, 6, 20, 15, 0), kNow, IsoCalendar());
        task->setReminderAt(local(2024, 6, 20, 9, 0));
        task->setCategory(m_work.get());
        return task;
    }

    ManualClock m_clock{kNow};
    QmlClock m_uiClock{m_clock};
    std::unique_ptr<TaskCategory> m_work;
    std::unique_ptr<TaskCategory> m_home;
    std::unique_ptr<CategoryListModel> m_categories;
};

QTEST_GUILESS_MAIN(TestTaskDialogController)
#include "tst_taskdialogcontroller.moc"
