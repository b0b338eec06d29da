#include "BoardTestSupport.h"
#include "IsoCalendar.h"
#include "TaskClassifier.h"
#include "TaskItem.h"
#include "TestData.h"

#include <QStandardPaths>
#include <QTest>

using BoardTest::local;

class TestTaskItem : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void schedule_data() { TestData::addRows("task_schedule.json"); }

    void schedule() {
        QFETCH(QJsonObject, row);
        const QDateTime day = TestData::moment(row.value("day"));
        const IsoCalendar calendar;
        const QDateTime created = local(2024, 1, 1, 9, 0);
        const QDateTime now = local(2024, 6, 12, 10, 0);
        TaskItem task(QStringLiteral("t"), 42, created);
        task.schedule(local(2024, 6, 14), created, calendar);
        task.setReminderAt(local(2024, 6, 14, 18, 0));
        task.setCompleted(true, created);
        task.schedule(day, now, calendar);

        const bool planned = day.isValid();
        QCOMPARE(task.dueDate(), TestData::moment(row.value("due")));
        const auto number = [&](const char* key) {
            return planned ? std::optional<qint64>(row.value(key).toInteger()) : std::nullopt;
        };
        QCOMPARE(task.year(), number("year"));
        QCOMPARE(task.week(), number("week"));
        QCOMPARE(task.scheduledExplicitly(), planned);
        QCOMPARE(task.updatedAt(), now);
        QVERIFY(task.completed());
        QCOMPARE(task.reminderAt(), local(2024, 6, 14, 18, 0));
    }

    void move_data() {
        QTest::addColumn<bool>("startCompleted");
        QTest::addColumn<bool>("startExplicit");
        QTest::addColumn<Bucket>("target");
        for (Bucket target : BucketInfo::allCases) {
            const QByteArray name = BucketInfo::rawValue(target).toLatin1();
            QTest::newRow(("open, unplanned -> " + name).constData()) << false << false << target;
            QTest::newRow(("completed, explicit -> " + name).constData()) << true << true << target;
        }
    }

    void move() {
        QFETCH(bool, startCompleted);
        QFETCH(bool, startExplicit);
        QFETCH(Bucket, target);
        const IsoCalendar calendar;
        const QDateTime before = local(2024, 6, 3, 8, 0);
        const QDateTime now = local(2024, 6, 12, 16, 45); // Wednesday of 2024-W24
        TaskItem task(QStringLiteral("t"), 99, before);
        if (startExplicit)
            task.schedule(local(2024, 6, 5), before, calendar);
        if (startCompleted)
            task.setCompleted(true, before);
        task.setReminderAt(local(2024, 6, 20, 9, 0));
        const QDateTime dueBefore = task.dueDate();
        const auto weekBefore = task.week();

        task.move(target, now, calendar);

        QCOMPARE(task.updatedAt(), now);
        QCOMPARE(task.reminderAt(), local(2024, 6, 20, 9, 0));
        if (target == Bucket::done) {
            QCOMPARE(task.completedAt(), now);
            QCOMPARE(task.dueDate(), dueBefore);
            QCOMPARE(task.week(), weekBefore);
            QCOMPARE(task.scheduledExplicitly(), startExplicit);
        } else {
            QVERIFY(!task.completedAt().isValid());
            QVERIFY(!task.scheduledExplicitly());
            const bool planned = target != Bucket::later;
            QCOMPARE(task.week(), planned ? std::optional<qint64>(24) : std::nullopt);
            QCOMPARE(task.dueDate(), target == Bucket::today ? local(2024, 6, 12) : QDateTime());
        }
        QCOMPARE(TaskClassifier::bucket(task, now, calendar), target);
    }

    // Only a readable rich form wins over the plain note; the bytes are kept as they came.
    void richNoteRead() {
        const QDateTime now = local(2024, 6, 12, 10, 0);
        const QByteArray rich =
            RichText({TextRun{QStringLiteral("买"), true}, TextRun{QStringLiteral("牛奶")}})
                .toJson();
        for (const QByteArray& noteData :
             {rich, QByteArray(), QByteArray("\xff\xfe not json", 12), QByteArray(R"({"runs":5})"),
              QByteArray(R"({"runs":[{"bold":true}]})")}) {
            TaskItem task(QStringLiteral("t"), 0, now);
            task.setNote(QStringLiteral("fallback"));
            task.setNoteData(noteData);
            QCOMPARE(task.richNote().plainText(),
                     noteData == rich ? QStringLiteral("买牛奶") : QStringLiteral("fallback"));
            QCOMPARE(task.noteData(), noteData);
            QCOMPARE(task.updatedAt(), now);
        }

        TaskItem task(QStringLiteral("t"), 0, now); // a write replaces unreadable bytes
        task.setNoteData(QByteArray("garbage"));
        const RichText value({TextRun{QStringLiteral("要点\n"), false, false, false, false, true},
                              TextRun{QStringLiteral("加粗"), true}});
        task.setRichNote(value, now.addSecs(5));
        QCOMPARE(task.note(), QStringLiteral("要点\n加粗"));
        QCOMPARE(task.richNote(), value);
        QCOMPARE(task.updatedAt(), now.addSecs(5));
    }
};

QTEST_GUILESS_MAIN(TestTaskItem)
#include "tst_taskitem.moc"
