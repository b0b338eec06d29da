#include "BoardTestSupport.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "TestData.h"
#include "dialog/TaskDialogController.h"
#include "lists/CategoryListModel.h"
#include "types/QmlClock.h"

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
        QCOMPARE(draft.dueDate, local(2024, 6, 20));
        QCOMPARE(draft.reminderAt, local(2024, 6, 20, 9, 0));
        QCOMPARE(ended.count(), 1);
        QCOMPARE(task->title(), QStringLiteral("周报"));
        QCOMPARE(task->category(), m_work.get());
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
