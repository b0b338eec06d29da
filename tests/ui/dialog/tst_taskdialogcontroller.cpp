#include "BoardTestSupport.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "dialog/TaskDialogController.h"
#include "lists/CategoryListModel.h"
#include "types/QmlClock.h"

#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <functional>
#include <memory>

using BoardTest::local;

namespace {

// Wednesday 2024-06-12, 10:00.
const QDateTime kNow = local(2024, 6, 12, 10, 0);

QString idOf(const TaskCategory& category) {
    return category.id().toString(QUuid::WithoutBraces);
}

// What a test does to an open edit card before looking at editDirty; it is given the id of
// the list the task is not in.
using Edit = std::function<void(TaskDialogController&, const QString& otherListId)>;

} // namespace

Q_DECLARE_METATYPE(Edit)

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

    void canCreate_data() {
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("expected");
        QTest::newRow("empty") << "" << false;
        QTest::newRow("blanks, newlines and tabs") << " \n\t " << false;
        QTest::newRow("ideographic space") << QStringLiteral("\u3000") << false;
        QTest::newRow("one character") << "a" << true;
        QTest::newRow("surrounded by blanks") << "  写周报  " << true;
    }

    void canCreate() {
        QFETCH(QString, title);
        QFETCH(bool, expected);
        TaskDialogController dialog(&m_uiClock);
        QSignalSpy created(&dialog, &TaskDialogController::createRequested);
        dialog.openPanel();
        dialog.setTitle(title);
        dialog.setNote("有备注");
        QCOMPARE(dialog.canCreate(), expected);
        // Without a title every submit path does nothing, and the card stays open.
        dialog.submit();
        QCOMPARE(created.count(), expected ? 1 : 0);
        QCOMPARE(dialog.isOpen(), !expected);
    }

    void submitHandsOutTheDraft_data() {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("note");
        QTest::addColumn<QDateTime>("day");
        QTest::addColumn<QDateTime>("time");
        QTest::addColumn<QString>("expectedTitle");
        QTest::addColumn<QString>("expectedNote");
        QTest::addColumn<QDateTime>("expectedDue");
        QTest::addColumn<QDateTime>("expectedReminder");

        const auto row = [](const char* tag, const char* title, const char* note, QDateTime day,
                            QDateTime time, const char* expectedTitle, const char* expectedNote,
                            QDateTime expectedDue, QDateTime expectedReminder) {
            QTest::newRow(tag) << QString::fromUtf8(title) << QString::fromUtf8(note) << day << time
                               << QString::fromUtf8(expectedTitle)
                               << QString::fromUtf8(expectedNote) << expectedDue
                               << expectedReminder;
        };
        const QDateTime none;
        row("title only, trimmed", "  写周报 \n", "", none, none, "写周报", "", none, none);
        row("note trimmed at both ends", "a", "\n 第一行\n第二行  \n", none, none, "a",
            "第一行\n第二行", none, none);
        row("a day and no time", "a", "", local(2024, 6, 13), none, "a", "", local(2024, 6, 13),
            none);
        row("a day and a time", "a", "", local(2024, 6, 20), local(2024, 6, 12, 9, 15), "a", "",
            local(2024, 6, 20), local(2024, 6, 20, 9, 15));
        row("a time and no day: today, even when passed", "a", "", none, local(2024, 6, 12, 8, 0),
            "a", "", local(2024, 6, 12), local(2024, 6, 12, 8, 0));
    }

    void submitHandsOutTheDraft() {
        QFETCH(QString, title);
        QFETCH(QString, note);
        QFETCH(QDateTime, day);
        QFETCH(QDateTime, time);
        QFETCH(QString, expectedTitle);
        QFETCH(QString, expectedNote);
        QFETCH(QDateTime, expectedDue);
        QFETCH(QDateTime, expectedReminder);

        TaskDialogController dialog(&m_uiClock);
        dialog.setCategories(m_categories.get());
        dialog.setDefaultListId(idOf(*m_home));
        QSignalSpy created(&dialog, &TaskDialogController::createRequested);
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
        QCOMPARE(ended.count(), 0);
        const auto draft = created.takeFirst().at(0).value<EnhancedDraft>();
        QCOMPARE(draft.title, expectedTitle);
        QCOMPARE(draft.note, expectedNote);
        QCOMPARE(draft.listUuid(), m_home->id());
        QCOMPARE(draft.dueDate, expectedDue);
        QCOMPARE(draft.reminderAt, expectedReminder);
        QVERIFY(!dialog.isOpen());
    }

    void submitInEditModeSavesAndEndsEditing() {
        auto task = makeTask();
        TaskDialogController dialog(&m_uiClock);
        dialog.setCategories(m_categories.get());
        QSignalSpy saved(&dialog, &TaskDialogController::saveRequested);
        QSignalSpy ended(&dialog, &TaskDialogController::endEditingRequested);

        dialog.setEditingTask(task.get());
        dialog.setTitle(" 周报（终稿） ");
        dialog.chooseList(idOf(*m_home));
        dialog.submit();

        QCOMPARE(saved.count(), 1);
        const QList<QVariant> args = saved.takeFirst();
        QCOMPARE(args.at(0).value<TaskItem*>(), task.get());
        const auto draft = args.at(1).value<EnhancedDraft>();
        QCOMPARE(draft.title, QStringLiteral("周报（终稿）"));
        QCOMPARE(draft.listUuid(), m_home->id());
        // The reminder decides the day: the task's 20 June, at 09:00.
        QCOMPARE(draft.dueDate, local(2024, 6, 20));
        QCOMPARE(draft.reminderAt, local(2024, 6, 20, 9, 0));
        QCOMPARE(ended.count(), 1);
        // The dialog wrote nothing to the record.
        QCOMPARE(task->title(), QStringLiteral("周报"));
        QCOMPARE(task->category(), m_work.get());
    }

    void editDirty_data() {
        QTest::addColumn<bool>("dirty");
        QTest::addColumn<Edit>("edit");
        using D = TaskDialogController;
        using Id = const QString&;
        QTest::newRow("untouched") << false << Edit([](D&, Id) {});
        QTest::newRow("title retyped to the same text") << false << Edit([](D& d, Id) {
            d.setTitle("");
            d.setTitle("周报");
        });
        QTest::newRow("trailing blank in the title")
            << true << Edit([](D& d, Id) { d.setTitle("周报 "); });
        QTest::newRow("note typed and deleted again") << false << Edit([](D& d, Id) {
            d.setNote("草稿x");
            QVERIFY(d.editDirty());
            d.setNote("草稿");
        });
        QTest::newRow("day cleared") << true << Edit([](D& d, Id) { d.clearDay(); });
        QTest::newRow("same day, picked at another hour")
            << false << Edit([](D& d, Id) { d.pickDay(local(2024, 6, 20, 17, 45)); });
        QTest::newRow("other day") << true << Edit([](D& d, Id) { d.pickDay(local(2024, 6, 21)); });
        QTest::newRow("reminder cleared") << true << Edit([](D& d, Id) { d.clearTime(); });
        QTest::newRow("same reminder time picked")
            << false << Edit([](D& d, Id) { d.pickTime(local(2024, 6, 20, 9, 0)); });
        QTest::newRow("other reminder time")
            << true << Edit([](D& d, Id) { d.pickTime(local(2024, 6, 20, 9, 15)); });
        QTest::newRow("other list") << true << Edit([](D& d, Id other) { d.chooseList(other); });
        QTest::newRow("no list") << true << Edit([](D& d, Id) { d.chooseList(""); });
    }

    void editDirty() {
        QFETCH(bool, dirty);
        QFETCH(Edit, edit);
        auto task = makeTask();
        TaskDialogController dialog(&m_uiClock);
        dialog.setEditingTask(task.get());
        QVERIFY(!dialog.editDirty());

        edit(dialog, idOf(*m_home));
        QCOMPARE(dialog.editDirty(), dirty);

        // A change of the record itself (a sync) is compared too.
        task->setTitle("周报（别处改的）");
        QVERIFY(dialog.editDirty());
    }

    void blurRule_data() {
        QTest::addColumn<bool>("editing");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("note");
        QTest::addColumn<bool>("setDay");
        QTest::addColumn<bool>("setTime");
        QTest::addColumn<bool>("closes");

        const auto row = [](const char* tag, bool editing, const char* title, const char* note,
                            bool setDay, bool setTime, bool closes) {
            QTest::newRow(tag) << editing << QString::fromUtf8(title) << QString::fromUtf8(note)
                               << setDay << setTime << closes;
        };
        row("new, untouched", false, "", "", false, false, true);
        row("new, a blank in the title", false, " ", "", false, false, false);
        row("new, one character in the note", false, "", "x", false, false, false);
        row("new, a day only", false, "", "", true, false, false);
        row("new, a time only", false, "", "", false, true, false);
        row("edit, unchanged", true, "周报", "草稿", false, false, true);
        row("edit, note emptied", true, "周报", "", false, false, false);
    }

    void blurRule() {
        QFETCH(bool, editing);
        QFETCH(QString, title);
        QFETCH(QString, note);
        QFETCH(bool, setDay);
        QFETCH(bool, setTime);
        QFETCH(bool, closes);

        auto task = makeTask();
        TaskDialogController dialog(&m_uiClock);
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
    }

    void dayAndTimeControls() {
        TaskDialogController dialog(&m_uiClock);
        dialog.openPanel();
        QVERIFY(dialog.titleFocused());

        // A time with no day puts the day on today, and the chips leave the time alone.
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

        // The month grid: another day becomes the custom day; the popovers exclude each other.
        dialog.openListPicker();
        dialog.openDatePicker();
        QVERIFY(!dialog.listPickerOpen());
        QCOMPARE(dialog.gridMonth(), local(2024, 6, 1));
        dialog.pickDay(local(2024, 7, 1, 12, 0));
        QVERIFY(!dialog.datePickerOpen());
        QCOMPARE(dialog.day(), local(2024, 7, 1));
        QCOMPARE(dialog.customDay(), local(2024, 7, 1));
        QCOMPARE(dialog.gridMonth(), local(2024, 7, 1));

        // Clearing the time keeps the day; clearing the day keeps the time.
        dialog.clearTime();
        QCOMPARE(dialog.day(), local(2024, 7, 1));
        QVERIFY(!dialog.resolvedReminder().isValid());
    }

    void modeFollowsTheEditingTask() {
        auto first = makeTask();
        TaskItem second("买菜", 9, kNow);
        TaskDialogController dialog(&m_uiClock);
        dialog.setCategories(m_categories.get());
        QSignalSpy deleted(&dialog, &TaskDialogController::deleteRequested);
        QSignalSpy ended(&dialog, &TaskDialogController::endEditingRequested);

        dialog.setEditingTask(first.get());
        QVERIFY(dialog.isOpen());
        QCOMPARE(dialog.day(), local(2024, 6, 20));
        QCOMPARE(dialog.time(), local(2024, 6, 20, 9, 0));
        QCOMPARE(dialog.chosenListId(), idOf(*m_work));

        // Another task replaces the draft at once, unsaved changes and all.
        dialog.setTitle("改了一半");
        dialog.setEditingTask(&second);
        QCOMPARE(dialog.title(), QStringLiteral("买菜"));
        QVERIFY(!dialog.day().isValid());
        QCOMPARE(dialog.chosenListId(), QString());

        // Losing the task changes nothing by itself; the next action is in create mode.
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

        // A task destroyed while open leaves the card in create mode.
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
        // An open card only takes the focus back to its title.
        QVERIFY(dialog.titleFocused());
        QCOMPARE(dialog.title(), QStringLiteral("写一半"));

        // Cancelled, the draft is gone at the next opening.
        dialog.toggleTomorrow();
        dialog.closePanel();
        dialog.openPanel();
        QCOMPARE(dialog.title(), QString());
        QVERIFY(!dialog.day().isValid());
    }

    void listLookup() {
        TaskDialogController dialog(&m_uiClock);
        dialog.setCategories(m_categories.get());
        dialog.openPanel();
        QCOMPARE(dialog.chosenListName(), QStringLiteral("无"));
        QCOMPARE(dialog.chosenListColorHex(), QString());

        dialog.chooseList(idOf(*m_home));
        QCOMPARE(dialog.chosenListName(), QStringLiteral("家"));
        QCOMPARE(dialog.chosenListColorHex(), QStringLiteral("46A758"));

        // The list goes away while chosen: "无" with the no-list colour; the id stays.
        QSignalSpy derived(&dialog, &TaskDialogController::derivedChanged);
        m_categories->removeCategory(m_home.get());
        QVERIFY(derived.count() > 0);
        QCOMPARE(dialog.chosenListName(), QStringLiteral("无"));
        QCOMPARE(dialog.chosenListColorHex(), QString());
        QCOMPARE(dialog.chosenListId(), idOf(*m_home));
    }

private:
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
