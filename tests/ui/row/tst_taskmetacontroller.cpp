#include "BoardTestSupport.h"
#include "IsoCalendar.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "TestData.h"
#include "row/TaskMetaController.h"

#include <QSignalSpy>
#include <QTest>

using namespace BoardTest;

namespace {

const QDateTime now = local(2026, 6, 17, 10, 0);

} // namespace

class TestTaskMetaController : public QObject {
    Q_OBJECT

private slots:
    void chips_data() { TestData::addRows("row-chips.json", "chips"); }

    void chips() {
        QFETCH(QJsonObject, row);
        const QString chip = row["chip"].toString();
        const QDateTime day = QDateTime::fromString(row["day"].toString(), Qt::ISODate);
        const QDateTime reminder = QDateTime::fromString(row["reminder"].toString(), Qt::ISODate);

        const IsoCalendar calendar;
        TaskItem task(QStringLiteral("任务"), 1, now);
        if (row.contains("column"))
            task.move(*BucketInfo::fromRawValue(row["column"].toString()), now, calendar);
        if (day.isValid())
            task.schedule(day, now, calendar);
        task.setReminderAt(reminder);
        if (row["completed"].toBool())
            task.setCompleted(true, now);

        TaskMetaController meta;
        meta.setNow(now);
        meta.setTask(&task);
        QCOMPARE(meta.hasReminder(), chip == QLatin1String("reminder"));
        QCOMPARE(meta.hasVisibleDueDate(), chip == QLatin1String("date"));
        QCOMPARE(meta.showsChips(), !chip.isEmpty());
        QCOMPARE(meta.showsIcons(), !chip.isEmpty());
        if (chip == QLatin1String("reminder")) {
            QCOMPARE(meta.reminderText(), row["text"].toString());
            QCOMPARE(meta.reminderOverdue(), row["overdue"].toBool());
            QVERIFY(meta.reminderDetail().endsWith(reminder.toString("HH:mm")));
            QVERIFY(meta.reminderDetail().contains(QLatin1Char(' ')));
        } else if (chip == QLatin1String("date")) {
            QCOMPARE(meta.dateText(), row["text"].toString());
            QCOMPARE(meta.dateOverdue(), row["overdue"].toBool());
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
        auto announced = [&changed] {
            const bool any = !changed.isEmpty();
            changed.clear();
            return any;
        };

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
