// What a row says of a task's reminder and day, for every state of the two dates.
#include "BoardTestSupport.h"
#include "IsoCalendar.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "row/TaskMetaController.h"

#include <QSignalSpy>
#include <QTest>

using namespace BoardTest;

namespace {

// Wednesday 17 June 2026, 10:00.
const QDateTime now = local(2026, 6, 17, 10, 0);

} // namespace

class TestTaskMetaController : public QObject {
    Q_OBJECT

private slots:
    void chips_data() {
        QTest::addColumn<QString>("column"); // where the task was placed by hand, "" for none
        QTest::addColumn<QDateTime>("day");  // an explicitly chosen day
        QTest::addColumn<QDateTime>("reminder");
        QTest::addColumn<bool>("completed");
        QTest::addColumn<QString>("chip"); // "reminder", "date" or ""
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("overdue");

        const QDateTime none;
        const QDateTime today1530 = local(2026, 6, 17, 15, 30);
        const QDateTime today0900 = local(2026, 6, 17, 9, 0);
        const auto row = [](const char* tag, const char* column, const QDateTime& day,
                            const QDateTime& reminder, bool completed, const char* chip,
                            const char* text, bool overdue) {
            QTest::newRow(tag) << QString::fromUtf8(column) << day << reminder << completed
                               << QString::fromUtf8(chip) << QString::fromUtf8(text) << overdue;
        };
        row("today's reminder in today's column", "today", none, today1530, false, "reminder",
            "15:30", false);
        row("today's passed reminder turns red", "today", none, today0900, false, "reminder",
            "09:00", true);
        row("today's reminder elsewhere names the day", "thisWeek", none, today1530, false,
            "reminder", "今天 15:30", false);
        row("tomorrow's reminder", "", local(2026, 6, 18), local(2026, 6, 18, 9, 0), false,
            "reminder", "明天 09:00", false);
        row("another day's reminder", "", none, local(2026, 6, 20, 9, 0), false, "reminder",
            "6月20日 09:00", false);
        row("a passed reminder of another day", "", local(2026, 6, 15), local(2026, 6, 15, 9, 0),
            false, "reminder", "6月15日 09:00", true);
        row("a finished task's reminder speaks as outside today", "today", none, today0900, true,
            "reminder", "今天 09:00", false);
        row("a reminder outweighs a day", "", local(2026, 6, 24), today1530, false, "reminder",
            "今天 15:30", false);
        row("no dates", "", none, none, false, "", "", false);
        row("placed in today", "today", none, none, false, "", "", false);
        row("due today", "", local(2026, 6, 17), none, false, "", "", false);
        row("due tomorrow", "", local(2026, 6, 18), none, false, "date", "明天", false);
        row("due another day", "", local(2026, 6, 20), none, false, "date", "6月20日", false);
        row("due in the past", "", local(2026, 6, 15), none, false, "date", "6月15日", true);
        row("due in the past, finished", "", local(2026, 6, 15), none, true, "date", "6月15日",
            false);
        row("due yesterday, chosen late in the day", "", local(2026, 6, 16, 23, 59), none, false,
            "date", "6月16日", true);
    }

    void chips() {
        QFETCH(QString, column);
        QFETCH(QDateTime, day);
        QFETCH(QDateTime, reminder);
        QFETCH(bool, completed);
        QFETCH(QString, chip);
        QFETCH(QString, text);
        QFETCH(bool, overdue);

        const IsoCalendar calendar;
        TaskItem task(QStringLiteral("任务"), 1, now);
        if (!column.isEmpty())
            task.move(*BucketInfo::fromRawValue(column), now, calendar);
        if (day.isValid())
            task.schedule(day, now, calendar);
        task.setReminderAt(reminder);
        if (completed)
            task.setCompleted(true, now);

        TaskMetaController meta;
        meta.setNow(now);
        meta.setTask(&task);
        QCOMPARE(meta.hasReminder(), chip == QLatin1String("reminder"));
        QCOMPARE(meta.hasVisibleDueDate(), chip == QLatin1String("date"));
        QCOMPARE(meta.showsChips(), !chip.isEmpty());
        QCOMPARE(meta.showsIcons(), !chip.isEmpty());
        if (chip == QLatin1String("reminder")) {
            QCOMPARE(meta.reminderText(), text);
            QCOMPARE(meta.reminderOverdue(), overdue);
            // The popover always names the day.
            QVERIFY(meta.reminderDetail().endsWith(reminder.toLocalTime().toString("HH:mm")));
            QVERIFY(meta.reminderDetail().contains(QLatin1Char(' ')));
        } else if (chip == QLatin1String("date")) {
            QCOMPARE(meta.dateText(), text);
            QCOMPARE(meta.dateOverdue(), overdue);
        }
    }

    void followsTheTaskAndTheClock() {
        const IsoCalendar calendar;
        TaskItem task(QStringLiteral("任务"), 1, now);
        task.move(Bucket::today, now, calendar);
        task.setReminderAt(local(2026, 6, 17, 15, 30));
        TaskMetaController meta;
        meta.setNow(now);
        meta.setTask(&task);
        QSignalSpy changed(&meta, &TaskMetaController::changed);
        // Every change the row must redraw for is announced.
        auto announced = [&changed] {
            const bool any = !changed.isEmpty();
            changed.clear();
            return any;
        };

        // The chip turns red at the next redraw after the moment, not by itself.
        QVERIFY(!meta.reminderOverdue());
        meta.setNow(local(2026, 6, 17, 15, 31));
        QVERIFY(announced());
        QVERIFY(meta.reminderOverdue());

        task.setCompleted(true, now);
        QVERIFY(announced());
        QVERIFY(!meta.reminderOverdue());
        QCOMPARE(meta.reminderText(), QStringLiteral("今天 15:30"));

        TaskCategory list(QStringLiteral("工作"), QStringLiteral("E5484D"), 1, now);
        task.setCategory(&list);
        QVERIFY(announced());
        QVERIFY(meta.hasCategory());
        task.setReminderAt(QDateTime());
        QVERIFY(announced());
        task.setNote(QStringLiteral("备注"));
        QVERIFY(announced());
        QVERIFY(meta.hasNote());
        QVERIFY(meta.showsChips()); // the list
        task.setCategory(nullptr);
        QVERIFY(announced());
        QVERIFY(!meta.showsChips());
        QVERIFY(meta.showsIcons()); // the note alone is an icon, never a chip
        task.setTitle(QStringLiteral("改名"));
        QVERIFY(!announced());

        meta.setTask(nullptr);
        QVERIFY(!meta.showsIcons());
        QCOMPARE(meta.reminderText(), QString());
    }
};

QTEST_MAIN(TestTaskMetaController)
#include "tst_taskmetacontroller.moc"
