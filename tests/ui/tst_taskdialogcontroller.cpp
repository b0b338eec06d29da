#include "CategoryListModel.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "TaskCategory.h"
#include "TaskDialogController.h"
#include "TaskItem.h"
#include "UiClock.h"

#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <memory>

namespace {

QDateTime local(int y, int m, int d, int h = 0, int min = 0) {
    return QDateTime(QDate(y, m, d), QTime(h, min), Qt::LocalTime).toUTC();
}

// Wednesday 2024-06-12, 10:00.
const QDateTime kNow = local(2024, 6, 12, 10, 0);

QString idOf(const TaskCategory& category) {
    return category.id().toString(QUuid::WithoutBraces);
}

// What a test does to an open edit card before looking at editDirty.
enum class Edit {
    nothing,
    retypeTitle,
    titleTrailingBlank,
    typeAndDeleteInNote,
    changeNote,
    clearDay,
    pickSameDay,
    pickOtherDay,
    clearTime,
    pickSameTime,
    pickOtherTime,
    chooseOtherList,
    chooseNoList,
};

} // namespace

Q_DECLARE_METATYPE(Edit)

class TestTaskDialogController : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init();
    void cleanup();

    void canCreate_data();
    void canCreate();
    void submitHandsOutTheDraft_data();
    void submitHandsOutTheDraft();
    void blankTitleRefusesEverySubmit();
    void submitInEditModeSavesAndEndsEditing();
    void editDirty_data();
    void editDirty();
    void editDirtyWithAnUnplannedTask();
    void blurRule_data();
    void blurRule();
    void dayChips();
    void timeWithoutDayFallsOnToday();
    void customDay_data();
    void customDay();
    void popoversAreExclusive();
    void editingTaskChange();
    void trashAndClose();
    void newTaskShortcut();
    void cancelledDraftIsGoneOnReopen();
    void listLookup();
    void gridMonth();

private:
    std::unique_ptr<TaskItem> makeTask();

    ManualClock m_clock{kNow};
    std::unique_ptr<TaskCategory> m_work;
    std::unique_ptr<TaskCategory> m_home;
    std::unique_ptr<CategoryListModel> m_categories;
};

void TestTaskDialogController::init() {
    m_clock.setNow(kNow);
    UiClock::install(&m_clock);
    m_work = std::make_unique<TaskCategory>("工作", "E5484D", 1, kNow);
    m_home = std::make_unique<TaskCategory>("家", "46A758", 2, kNow);
    m_categories = std::make_unique<CategoryListModel>();
    m_categories->setCategories({m_work.get(), m_home.get()});
}

void TestTaskDialogController::cleanup() {
    UiClock::install(nullptr);
    m_categories.reset();
    m_home.reset();
    m_work.reset();
}

std::unique_ptr<TaskItem> TestTaskDialogController::makeTask() {
    auto task = std::make_unique<TaskItem>("周报", 3, kNow);
    task->setNote("草稿");
    task->schedule(local(2024, 6, 20, 15, 0), kNow, IsoCalendar());
    task->setReminderAt(local(2024, 6, 20, 9, 0));
    task->setCategory(m_work.get());
    return task;
}

void TestTaskDialogController::canCreate_data() {
    QTest::addColumn<QString>("title");
    QTest::addColumn<bool>("expected");
    QTest::newRow("empty") << "" << false;
    QTest::newRow("blanks") << "   " << false;
    QTest::newRow("newlines and tabs") << "\n\t \n" << false;
    QTest::newRow("ideographic space") << QStringLiteral("\u3000") << false;
    QTest::newRow("one character") << "a" << true;
    QTest::newRow("Chinese") << "买牛奶" << true;
    QTest::newRow("surrounded by blanks") << "  写周报  " << true;
}

void TestTaskDialogController::canCreate() {
    QFETCH(QString, title);
    QFETCH(bool, expected);
    TaskDialogController dialog;
    dialog.openPanel();
    dialog.setTitle(title);
    QCOMPARE(dialog.canCreate(), expected);
}

void TestTaskDialogController::submitHandsOutTheDraft_data() {
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("note");
    QTest::addColumn<QDateTime>("day");
    QTest::addColumn<QDateTime>("time");
    QTest::addColumn<QString>("expectedTitle");
    QTest::addColumn<QString>("expectedNote");
    QTest::addColumn<QDateTime>("expectedDue");
    QTest::addColumn<QDateTime>("expectedReminder");

    QTest::newRow("title only, trimmed") << "  写周报 \n"
                                         << "" << QDateTime() << QDateTime() << "写周报"
                                         << "" << QDateTime() << QDateTime();
    QTest::newRow("note trimmed at both ends") << "a"
                                               << "\n 第一行\n第二行  \n"
                                               << QDateTime() << QDateTime() << "a"
                                               << "第一行\n第二行" << QDateTime() << QDateTime();
    QTest::newRow("a day and no time") << "a"
                                       << "" << local(2024, 6, 13) << QDateTime() << "a"
                                       << "" << local(2024, 6, 13) << QDateTime();
    QTest::newRow("a day and a time")
        << "a"
        << "" << local(2024, 6, 20) << local(2024, 6, 12, 9, 15) << "a"
        << "" << local(2024, 6, 20) << local(2024, 6, 20, 9, 15);
    QTest::newRow("a time and no day: today, even when passed")
        << "a"
        << "" << QDateTime() << local(2024, 6, 12, 8, 0) << "a"
        << "" << local(2024, 6, 12) << local(2024, 6, 12, 8, 0);
    QTest::newRow("a day in the past with a time")
        << "a"
        << "" << local(2024, 6, 1) << local(2024, 6, 12, 18, 30) << "a"
        << "" << local(2024, 6, 1) << local(2024, 6, 1, 18, 30);
}

void TestTaskDialogController::submitHandsOutTheDraft() {
    QFETCH(QString, title);
    QFETCH(QString, note);
    QFETCH(QDateTime, day);
    QFETCH(QDateTime, time);
    QFETCH(QString, expectedTitle);
    QFETCH(QString, expectedNote);
    QFETCH(QDateTime, expectedDue);
    QFETCH(QDateTime, expectedReminder);

    TaskDialogController dialog;
    dialog.setCategories(m_categories.get());
    dialog.setDefaultListId(idOf(*m_home));
    QSignalSpy created(&dialog, &TaskDialogController::createRequested);
    QSignalSpy saved(&dialog, &TaskDialogController::saveRequested);
    QSignalSpy ended(&dialog, &TaskDialogController::endEditingRequested);

    dialog.openPanel();
    dialog.setTitle(title);
    dialog.setNote(note);
    if (day.isValid())
        dialog.pickDay(day);
    if (time.isValid()) {
        dialog.pickTime(time);
        if (!day.isValid())
            dialog.clearDay(); // a time whose day chip was turned off again
    }
    dialog.submit();

    QCOMPARE(created.count(), 1);
    QCOMPARE(saved.count(), 0);
    QCOMPARE(ended.count(), 0);
    const QList<QVariant> args = created.takeFirst();
    QCOMPARE(args.at(0).toString(), expectedTitle);
    QCOMPARE(args.at(1).toString(), expectedNote);
    QCOMPARE(args.at(2).toString(), idOf(*m_home));
    QCOMPARE(args.at(3).toDateTime().isValid(), expectedDue.isValid());
    if (expectedDue.isValid())
        QCOMPARE(args.at(3).toDateTime(), expectedDue);
    QCOMPARE(args.at(4).toDateTime().isValid(), expectedReminder.isValid());
    if (expectedReminder.isValid())
        QCOMPARE(args.at(4).toDateTime(), expectedReminder);
    QVERIFY(!dialog.isOpen());
}

void TestTaskDialogController::blankTitleRefusesEverySubmit() {
    TaskDialogController dialog;
    QSignalSpy created(&dialog, &TaskDialogController::createRequested);
    dialog.openPanel();
    dialog.setTitle(" \n ");
    dialog.setNote("有备注");
    dialog.submit();
    QCOMPARE(created.count(), 0);
    QVERIFY(dialog.isOpen());
    QCOMPARE(dialog.title(), QStringLiteral(" \n "));
}

void TestTaskDialogController::submitInEditModeSavesAndEndsEditing() {
    auto task = makeTask();
    TaskDialogController dialog;
    dialog.setCategories(m_categories.get());
    QSignalSpy created(&dialog, &TaskDialogController::createRequested);
    QSignalSpy saved(&dialog, &TaskDialogController::saveRequested);
    QSignalSpy ended(&dialog, &TaskDialogController::endEditingRequested);

    dialog.setEditingTask(task.get());
    QVERIFY(dialog.isOpen());
    dialog.setTitle(" 周报（终稿） ");
    dialog.chooseList(idOf(*m_home));
    dialog.submit();

    QCOMPARE(created.count(), 0);
    QCOMPARE(saved.count(), 1);
    const QList<QVariant> args = saved.takeFirst();
    QCOMPARE(args.at(0).value<QObject*>(), task.get());
    QCOMPARE(args.at(1).toString(), QStringLiteral("周报（终稿）"));
    QCOMPARE(args.at(2).toString(), QStringLiteral("草稿"));
    QCOMPARE(args.at(3).toString(), idOf(*m_home));
    // The reminder decides the day: the task's 20 June, at 09:00.
    QCOMPARE(args.at(4).toDateTime(), local(2024, 6, 20));
    QCOMPARE(args.at(5).toDateTime(), local(2024, 6, 20, 9, 0));
    QCOMPARE(ended.count(), 1);
    QVERIFY(!dialog.isOpen());
    // The dialog wrote nothing to the record.
    QCOMPARE(task->title(), QStringLiteral("周报"));
    QCOMPARE(task->category(), m_work.get());
}

void TestTaskDialogController::editDirty_data() {
    QTest::addColumn<Edit>("edit");
    QTest::addColumn<bool>("dirty");
    QTest::newRow("untouched") << Edit::nothing << false;
    QTest::newRow("title retyped to the same text") << Edit::retypeTitle << false;
    QTest::newRow("trailing blank in the title") << Edit::titleTrailingBlank << true;
    QTest::newRow("note typed and deleted again") << Edit::typeAndDeleteInNote << false;
    QTest::newRow("note changed") << Edit::changeNote << true;
    QTest::newRow("day cleared") << Edit::clearDay << true;
    QTest::newRow("same day picked again") << Edit::pickSameDay << false;
    QTest::newRow("other day") << Edit::pickOtherDay << true;
    QTest::newRow("reminder cleared") << Edit::clearTime << true;
    QTest::newRow("same reminder time picked") << Edit::pickSameTime << false;
    QTest::newRow("other reminder time") << Edit::pickOtherTime << true;
    QTest::newRow("other list") << Edit::chooseOtherList << true;
    QTest::newRow("no list") << Edit::chooseNoList << true;
}

void TestTaskDialogController::editDirty() {
    QFETCH(Edit, edit);
    QFETCH(bool, dirty);
    auto task = makeTask();
    TaskDialogController dialog;
    dialog.setCategories(m_categories.get());
    dialog.setEditingTask(task.get());
    QVERIFY(!dialog.editDirty());

    switch (edit) {
    case Edit::nothing:
        break;
    case Edit::retypeTitle:
        dialog.setTitle("");
        dialog.setTitle("周报");
        break;
    case Edit::titleTrailingBlank:
        dialog.setTitle("周报 ");
        break;
    case Edit::typeAndDeleteInNote:
        dialog.setNote("草稿x");
        QVERIFY(dialog.editDirty());
        dialog.setNote("草稿");
        break;
    case Edit::changeNote:
        dialog.setNote("终稿");
        break;
    case Edit::clearDay:
        dialog.clearDay();
        break;
    case Edit::pickSameDay:
        dialog.pickDay(local(2024, 6, 20, 17, 45));
        break;
    case Edit::pickOtherDay:
        dialog.pickDay(local(2024, 6, 21));
        break;
    case Edit::clearTime:
        dialog.clearTime();
        break;
    case Edit::pickSameTime:
        dialog.pickTime(local(2024, 6, 20, 9, 0));
        break;
    case Edit::pickOtherTime:
        dialog.pickTime(local(2024, 6, 20, 9, 15));
        break;
    case Edit::chooseOtherList:
        dialog.chooseList(idOf(*m_home));
        break;
    case Edit::chooseNoList:
        dialog.chooseList("");
        break;
    }
    QCOMPARE(dialog.editDirty(), dirty);
}

void TestTaskDialogController::editDirtyWithAnUnplannedTask() {
    TaskItem task("读书", 1, kNow);
    TaskDialogController dialog;
    dialog.setEditingTask(&task);
    // No day, no reminder and no list on either side: equal.
    QVERIFY(!dialog.editDirty());
    QCOMPARE(dialog.chosenListId(), QString());
    dialog.toggleToday();
    QVERIFY(dialog.editDirty());
    dialog.toggleToday();
    QVERIFY(!dialog.editDirty());

    // A change of the record itself (a sync) is seen too.
    QSignalSpy derived(&dialog, &TaskDialogController::derivedChanged);
    task.setTitle("读两本书");
    QVERIFY(derived.count() > 0);
    QVERIFY(dialog.editDirty());
}

void TestTaskDialogController::blurRule_data() {
    QTest::addColumn<bool>("editing");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("note");
    QTest::addColumn<bool>("setDay");
    QTest::addColumn<bool>("setTime");
    QTest::addColumn<bool>("closes");

    QTest::newRow("new, untouched") << false << ""
                                    << "" << false << false << true;
    QTest::newRow("new, a blank in the title") << false << " "
                                               << "" << false << false << false;
    QTest::newRow("new, one character in the note") << false << ""
                                                    << "x" << false << false << false;
    QTest::newRow("new, a day only") << false << ""
                                     << "" << true << false << false;
    QTest::newRow("new, a time only") << false << ""
                                      << "" << false << true << false;
    QTest::newRow("edit, unchanged") << true << "周报"
                                     << "草稿" << false << false << true;
    QTest::newRow("edit, title changed") << true << "周报2"
                                         << "草稿" << false << false << false;
    QTest::newRow("edit, note emptied") << true << "周报"
                                        << "" << false << false << false;
}

void TestTaskDialogController::blurRule() {
    QFETCH(bool, editing);
    QFETCH(QString, title);
    QFETCH(QString, note);
    QFETCH(bool, setDay);
    QFETCH(bool, setTime);
    QFETCH(bool, closes);

    auto task = makeTask();
    TaskDialogController dialog;
    dialog.setCategories(m_categories.get());
    QSignalSpy ended(&dialog, &TaskDialogController::endEditingRequested);
    if (editing)
        dialog.setEditingTask(task.get());
    else
        dialog.openPanel();
    dialog.setTitle(title);
    dialog.setNote(note);
    if (setDay)
        dialog.toggleTomorrow();
    if (setTime) {
        dialog.pickTime(local(2024, 6, 12, 18, 0));
        dialog.clearDay();
    }

    dialog.handleBlurInput();
    QCOMPARE(!dialog.isOpen(), closes);
    QCOMPARE(ended.count(), editing && closes ? 1 : 0);
    // A closed card ignores further blurs.
    dialog.handleBlurInput();
    QCOMPARE(ended.count(), editing && closes ? 1 : 0);
}

void TestTaskDialogController::dayChips() {
    TaskDialogController dialog;
    dialog.openPanel();
    QVERIFY(dialog.titleFocused());
    dialog.pickTime(local(2024, 6, 12, 18, 0));
    const QDateTime time = dialog.time();

    dialog.toggleToday();
    QVERIFY(!dialog.titleFocused());
    QVERIFY(!dialog.noteFocused());
    // pickTime already put the day on today, so the chip turns it off.
    QVERIFY(!dialog.day().isValid());
    QVERIFY(!dialog.todayActive());
    dialog.toggleToday();
    QCOMPARE(dialog.day(), local(2024, 6, 12));
    QVERIFY(dialog.todayActive());

    dialog.toggleTomorrow();
    QCOMPARE(dialog.day(), local(2024, 6, 13));
    QVERIFY(dialog.tomorrowActive());
    QVERIFY(!dialog.todayActive());
    QCOMPARE(dialog.resolvedReminder(), local(2024, 6, 13, 18, 0));
    dialog.toggleTomorrow();
    QVERIFY(!dialog.day().isValid());
    // The chips never touch the time.
    QCOMPARE(dialog.time(), time);
}

void TestTaskDialogController::timeWithoutDayFallsOnToday() {
    TaskDialogController dialog;
    dialog.openPanel();
    dialog.pickTime(local(2024, 6, 12, 16, 45));
    QCOMPARE(dialog.day(), local(2024, 6, 12));
    QVERIFY(dialog.todayActive());
    QVERIFY(!dialog.timePickerOpen());

    // Clearing the day keeps the time; the reminder then falls on today with no active chip.
    dialog.clearDay();
    QVERIFY(dialog.time().isValid());
    QVERIFY(!dialog.todayActive());
    QCOMPARE(dialog.resolvedReminder(), local(2024, 6, 12, 16, 45));

    // Clearing the time keeps the day.
    dialog.toggleTomorrow();
    dialog.clearTime();
    QCOMPARE(dialog.day(), local(2024, 6, 13));
    QVERIFY(!dialog.resolvedReminder().isValid());
}

void TestTaskDialogController::customDay_data() {
    QTest::addColumn<QDateTime>("day");
    QTest::addColumn<QDateTime>("expected");
    QTest::newRow("none") << QDateTime() << QDateTime();
    QTest::newRow("today: the chip shows it") << local(2024, 6, 12) << QDateTime();
    QTest::newRow("tomorrow: the chip shows it") << local(2024, 6, 13) << QDateTime();
    QTest::newRow("the day after") << local(2024, 6, 14) << local(2024, 6, 14);
    QTest::newRow("yesterday") << local(2024, 6, 11) << local(2024, 6, 11);
}

void TestTaskDialogController::customDay() {
    QFETCH(QDateTime, day);
    QFETCH(QDateTime, expected);
    TaskDialogController dialog;
    dialog.openPanel();
    if (day.isValid())
        dialog.pickDay(day);
    QCOMPARE(dialog.customDay().isValid(), expected.isValid());
    if (expected.isValid())
        QCOMPARE(dialog.customDay(), expected);
}

void TestTaskDialogController::popoversAreExclusive() {
    TaskDialogController dialog;
    dialog.openPanel();
    dialog.openDatePicker();
    QVERIFY(dialog.datePickerOpen());
    QVERIFY(!dialog.titleFocused());
    dialog.openTimePicker();
    QVERIFY(dialog.timePickerOpen());
    QVERIFY(!dialog.datePickerOpen());
    dialog.openListPicker();
    QVERIFY(dialog.listPickerOpen());
    QVERIFY(!dialog.timePickerOpen());
    dialog.openDatePicker();
    QVERIFY(!dialog.listPickerOpen());
    dialog.pickDay(local(2024, 7, 1, 12, 0));
    QVERIFY(!dialog.datePickerOpen());
    QCOMPARE(dialog.day(), local(2024, 7, 1));

    dialog.openListPicker();
    dialog.closePanel();
    QVERIFY(!dialog.listPickerOpen());
    QVERIFY(!dialog.isOpen());
}

void TestTaskDialogController::editingTaskChange() {
    auto first = makeTask();
    TaskItem second("买菜", 9, kNow);
    TaskDialogController dialog;
    dialog.setCategories(m_categories.get());
    QSignalSpy ended(&dialog, &TaskDialogController::endEditingRequested);

    dialog.setEditingTask(first.get());
    QVERIFY(dialog.isOpen());
    QVERIFY(dialog.isEditing());
    QCOMPARE(dialog.title(), QStringLiteral("周报"));
    QCOMPARE(dialog.day(), local(2024, 6, 20));
    QCOMPARE(dialog.time(), local(2024, 6, 20, 9, 0));
    QCOMPARE(dialog.chosenListId(), idOf(*m_work));

    // Another task replaces the draft at once, unsaved changes and all.
    dialog.setTitle("改了一半");
    dialog.setEditingTask(&second);
    QCOMPARE(dialog.title(), QStringLiteral("买菜"));
    QVERIFY(!dialog.day().isValid());
    QVERIFY(!dialog.time().isValid());
    QCOMPARE(dialog.chosenListId(), QString());

    // Losing the task changes nothing by itself; the mode follows at the next action.
    dialog.setEditingTask(nullptr);
    QVERIFY(dialog.isOpen());
    QCOMPARE(dialog.title(), QStringLiteral("买菜"));
    QVERIFY(!dialog.isEditing());
    dialog.closePanel();
    QCOMPARE(ended.count(), 0);

    // A task deleted while open leaves the card in create mode.
    {
        TaskItem doomed("临时", 1, kNow);
        dialog.setEditingTask(&doomed);
        QVERIFY(dialog.isEditing());
    }
    QVERIFY(!dialog.isEditing());
    QCOMPARE(dialog.editingTask(), nullptr);
}

void TestTaskDialogController::trashAndClose() {
    auto task = makeTask();
    TaskDialogController dialog;
    QSignalSpy deleted(&dialog, &TaskDialogController::deleteRequested);
    QSignalSpy ended(&dialog, &TaskDialogController::endEditingRequested);

    dialog.openPanel();
    dialog.setTitle("不要了");
    dialog.trash();
    QCOMPARE(deleted.count(), 0);
    QCOMPARE(ended.count(), 0);
    QVERIFY(!dialog.isOpen());

    dialog.setEditingTask(task.get());
    dialog.trash();
    QCOMPARE(deleted.count(), 1);
    QCOMPARE(deleted.first().at(0).value<QObject*>(), task.get());
    QCOMPARE(ended.count(), 1);
    QVERIFY(!dialog.isOpen());
}

void TestTaskDialogController::newTaskShortcut() {
    TaskDialogController dialog;
    dialog.setCategories(m_categories.get());
    dialog.setDefaultListId(idOf(*m_work));
    dialog.newTaskShortcut();
    QVERIFY(dialog.isOpen());
    QVERIFY(dialog.titleFocused());
    QCOMPARE(dialog.chosenListId(), idOf(*m_work));

    dialog.setTitle("写一半");
    dialog.chooseList(idOf(*m_home));
    dialog.setTitleFocused(false);
    dialog.setNoteFocused(true);
    dialog.newTaskShortcut();
    // An open card only takes the focus back to its title.
    QVERIFY(dialog.titleFocused());
    QCOMPARE(dialog.title(), QStringLiteral("写一半"));
    QCOMPARE(dialog.chosenListId(), idOf(*m_home));
}

void TestTaskDialogController::cancelledDraftIsGoneOnReopen() {
    TaskDialogController dialog;
    dialog.openPanel();
    dialog.setTitle("草稿");
    dialog.setNote("备注");
    dialog.toggleTomorrow();
    dialog.pickTime(local(2024, 6, 12, 11, 0));
    dialog.closePanel();
    // Closing keeps the draft until the next opening overwrites it.
    QCOMPARE(dialog.title(), QStringLiteral("草稿"));
    dialog.openPanel();
    QCOMPARE(dialog.title(), QString());
    QCOMPARE(dialog.note(), QString());
    QVERIFY(!dialog.day().isValid());
    QVERIFY(!dialog.time().isValid());
}

void TestTaskDialogController::listLookup() {
    TaskDialogController dialog;
    dialog.setCategories(m_categories.get());
    dialog.openPanel();
    QCOMPARE(dialog.chosenListName(), QStringLiteral("无"));
    QCOMPARE(dialog.chosenListColorHex(), QString());

    dialog.chooseList(idOf(*m_home));
    QCOMPARE(dialog.chosenListName(), QStringLiteral("家"));
    QCOMPARE(dialog.chosenListColorHex(), QStringLiteral("46A758"));

    // The list goes away while chosen: "无" with the no-list colour, and the id stays.
    QSignalSpy derived(&dialog, &TaskDialogController::derivedChanged);
    m_categories->removeCategory(m_home.get());
    QVERIFY(derived.count() > 0);
    QCOMPARE(dialog.chosenListName(), QStringLiteral("无"));
    QCOMPARE(dialog.chosenListColorHex(), QString());
    QCOMPARE(dialog.chosenListId(), idOf(*m_home));
    QCOMPARE(dialog.listName("not-a-uuid"), QStringLiteral("无"));

    // Without a model every id reads as no list.
    TaskDialogController bare;
    QCOMPARE(bare.listName(idOf(*m_work)), QStringLiteral("无"));
}

void TestTaskDialogController::gridMonth() {
    TaskDialogController dialog;
    dialog.openPanel();
    QCOMPARE(dialog.gridMonth(), local(2024, 6, 1));
    dialog.pickDay(local(2025, 2, 14, 20, 0));
    QCOMPARE(dialog.gridMonth(), local(2025, 2, 1));
}

QTEST_GUILESS_MAIN(TestTaskDialogController)
#include "tst_taskdialogcontroller.moc"
