#include "BoardTestSupport.h"
#include "IsoCalendar.h"
#include "TaskCategory.h"
#include "TaskClassifier.h"
#include "TaskItem.h"

#include <QStandardPaths>
#include <QTest>

using BoardTest::local;

class TestTaskItem : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void bucketRawValues_data();
    void bucketRawValues();
    void schedule_data();
    void schedule();
    void move_data();
    void move();
    void setCompleted();
    void richNoteRead_data();
    void richNoteRead();
    void richNoteWrite();
};

void TestTaskItem::bucketRawValues_data() {
    QTest::addColumn<QString>("raw");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<Bucket>("bucket");

    QTest::newRow("later") << "later" << true << Bucket::later;
    QTest::newRow("thisWeek") << "thisWeek" << true << Bucket::thisWeek;
    QTest::newRow("today") << "today" << true << Bucket::today;
    QTest::newRow("done") << "done" << true << Bucket::done;
    QTest::newRow("wrong case") << "Today" << false << Bucket::later;
    QTest::newRow("empty") << "" << false << Bucket::later;
    QTest::newRow("padded") << " later" << false << Bucket::later;
}

void TestTaskItem::bucketRawValues() {
    QFETCH(QString, raw);
    QFETCH(bool, valid);
    QFETCH(Bucket, bucket);

    const std::optional<Bucket> parsed = BucketInfo::fromRawValue(raw);
    QCOMPARE(parsed.has_value(), valid);
    if (valid) {
        QCOMPARE(*parsed, bucket);
        QCOMPARE(BucketInfo::rawValue(bucket), raw);
    }
}

// Each case starts from a finished task with another explicit day and a reminder.
void TestTaskItem::schedule_data() {
    QTest::addColumn<QDateTime>("day");
    QTest::addColumn<QDateTime>("expectedDue");
    QTest::addColumn<qint64>("year"); // 0: no week
    QTest::addColumn<qint64>("week");

    QTest::newRow("afternoon") << local(2024, 6, 13, 15, 0) << local(2024, 6, 13) << qint64(2024)
                               << qint64(24);
    QTest::newRow("last minute of the day")
        << local(2024, 6, 13, 23, 59, 59) << local(2024, 6, 13) << qint64(2024) << qint64(24);
    QTest::newRow("Monday of next ISO year")
        << local(2024, 12, 30, 8, 0) << local(2024, 12, 30) << qint64(2025) << qint64(1);
    QTest::newRow("Sunday of last ISO year")
        << local(2021, 1, 3, 20, 0) << local(2021, 1, 3) << qint64(2020) << qint64(53);
    QTest::newRow("Berlin spring forward, after the jump")
        << local(2024, 3, 31, 12, 0) << local(2024, 3, 31) << qint64(2024) << qint64(13);
    QTest::newRow("New York fall back, late")
        << local(2024, 11, 3, 23, 0) << local(2024, 11, 3) << qint64(2024) << qint64(44);
    QTest::newRow("no day clears the plan") << QDateTime() << QDateTime() << qint64(0) << qint64(0);
}

void TestTaskItem::schedule() {
    QFETCH(QDateTime, day);
    QFETCH(QDateTime, expectedDue);
    QFETCH(qint64, year);
    QFETCH(qint64, week);

    const IsoCalendar calendar;
    const QDateTime created = local(2024, 1, 1, 9, 0);
    const QDateTime now = local(2024, 6, 12, 10, 0);
    const QDateTime reminder = local(2024, 6, 14, 18, 0);
    TaskItem task(QStringLiteral("t"), 42, created);
    task.schedule(local(2024, 6, 14), created, calendar);
    task.setReminderAt(reminder);
    task.setCompleted(true, created);
    task.schedule(day, now, calendar);

    const bool planned = day.isValid();
    QCOMPARE(task.dueDate(), expectedDue);
    QCOMPARE(task.year(), planned ? std::optional<qint64>(year) : std::nullopt);
    QCOMPARE(task.week(), planned ? std::optional<qint64>(week) : std::nullopt);
    QCOMPARE(task.scheduledExplicitly(), planned);
    QCOMPARE(task.updatedAt(), now);
    // Scheduling plans; it neither reopens, reorders nor touches the reminder.
    QVERIFY(task.completed());
    QCOMPARE(task.completedAt(), created);
    QCOMPARE(task.sortIndex(), qint64(42));
    QCOMPARE(task.reminderAt(), reminder);
}

void TestTaskItem::move_data() {
    QTest::addColumn<bool>("startCompleted");
    QTest::addColumn<bool>("startExplicit");
    QTest::addColumn<Bucket>("target");

    for (Bucket target : BucketInfo::allCases) {
        const QByteArray name = BucketInfo::rawValue(target).toLatin1();
        QTest::newRow(("open, unplanned -> " + name).constData()) << false << false << target;
        QTest::newRow(("open, explicit -> " + name).constData()) << false << true << target;
        QTest::newRow(("completed, explicit -> " + name).constData()) << true << true << target;
    }
}

void TestTaskItem::move() {
    QFETCH(bool, startCompleted);
    QFETCH(bool, startExplicit);
    QFETCH(Bucket, target);

    const IsoCalendar calendar;
    const QDateTime before = local(2024, 6, 3, 8, 0);
    const QDateTime now = local(2024, 6, 12, 16, 45); // Wednesday of 2024-W24
    const QDateTime reminder = local(2024, 6, 20, 9, 0);
    TaskCategory list(QStringLiteral("工作"), QStringLiteral("0090FF"), 1, before);

    TaskItem task(QStringLiteral("t"), 99, before);
    if (startExplicit)
        task.schedule(local(2024, 6, 5), before, calendar);
    if (startCompleted)
        task.setCompleted(true, before);
    task.setReminderAt(reminder);
    task.setCategory(&list);
    const QDateTime dueBefore = task.dueDate();
    const auto yearBefore = task.year();
    const auto weekBefore = task.week();

    task.move(target, now, calendar);

    QCOMPARE(task.updatedAt(), now);
    QCOMPARE(task.reminderAt(), reminder);
    QCOMPARE(task.sortIndex(), qint64(99));
    QCOMPARE(task.category(), &list);

    if (target == Bucket::done) {
        QVERIFY(task.completed());
        QCOMPARE(task.completedAt(), now);
        QCOMPARE(task.dueDate(), dueBefore);
        QCOMPARE(task.year(), yearBefore);
        QCOMPARE(task.week(), weekBefore);
        QCOMPARE(task.scheduledExplicitly(), startExplicit);
    } else {
        QVERIFY(!task.completed());
        QVERIFY(!task.completedAt().isValid());
        // A hand placement always drops the explicit mark, even over a picked date.
        QVERIFY(!task.scheduledExplicitly());
        const bool planned = target != Bucket::later;
        QCOMPARE(task.year(), planned ? std::optional<qint64>(2024) : std::nullopt);
        QCOMPARE(task.week(), planned ? std::optional<qint64>(24) : std::nullopt);
        QCOMPARE(task.dueDate(), target == Bucket::today ? local(2024, 6, 12) : QDateTime());
    }
    // The column the task was moved to is the column it stands in.
    QCOMPARE(TaskClassifier::bucket(task, now, calendar), target);
}

void TestTaskItem::setCompleted() {
    const IsoCalendar calendar;
    const QDateTime now = local(2024, 6, 12, 10, 0);
    TaskItem task(QStringLiteral("t"), 0, now);
    task.schedule(local(2024, 6, 13), now, calendar);

    const QDateTime done = now.addSecs(3600);
    task.setCompleted(true, done);
    QVERIFY(task.completed());
    QCOMPARE(task.completedAt(), done);
    QCOMPARE(task.updatedAt(), done);
    QCOMPARE(TaskClassifier::bucket(task, done, calendar), Bucket::done);

    const QDateTime reopened = done.addSecs(60);
    task.setCompleted(false, reopened);
    QVERIFY(!task.completed());
    QVERIFY(!task.completedAt().isValid());
    QCOMPARE(task.updatedAt(), reopened);
    // Reopened, it goes back to where its plan puts it.
    QCOMPARE(task.dueDate(), local(2024, 6, 13));
    QVERIFY(task.scheduledExplicitly());
    QCOMPARE(TaskClassifier::bucket(task, reopened, calendar), Bucket::thisWeek);
}

void TestTaskItem::richNoteRead_data() {
    QTest::addColumn<QString>("note");
    QTest::addColumn<QByteArray>("noteData");
    QTest::addColumn<QString>("expectedText");
    QTest::addColumn<bool>("expectBold");

    const QByteArray rich =
        RichText({TextRun{QStringLiteral("买"), true}, TextRun{QStringLiteral("牛奶")}}).toJson();
    QTest::newRow("rich form wins") << "plain" << rich << "买牛奶" << true;
    QTest::newRow("no rich form") << "只有文字" << QByteArray() << "只有文字" << false;
    QTest::newRow("nothing at all") << "" << QByteArray() << "" << false;
    QTest::newRow("bytes that are not JSON")
        << "fallback" << QByteArray("\xff\xfe not json", 12) << "fallback" << false;
    QTest::newRow("JSON of another shape")
        << "fallback" << QByteArray(R"({"runs":5})") << "fallback" << false;
    QTest::newRow("JSON array") << "fallback" << QByteArray("[1,2,3]") << "fallback" << false;
    QTest::newRow("run without text")
        << "fallback" << QByteArray(R"({"runs":[{"bold":true}]})") << "fallback" << false;
    QTest::newRow("undecodable and no note") << "" << QByteArray("{") << "" << false;
}

void TestTaskItem::richNoteRead() {
    QFETCH(QString, note);
    QFETCH(QByteArray, noteData);
    QFETCH(QString, expectedText);
    QFETCH(bool, expectBold);

    const QDateTime now = local(2024, 6, 12, 10, 0);
    TaskItem task(QStringLiteral("t"), 0, now);
    task.setNote(note);
    task.setNoteData(noteData);

    const RichText read = task.richNote();
    QCOMPARE(read.plainText(), expectedText);
    QCOMPARE(!read.runs().isEmpty() && read.runs().first().bold, expectBold);
    // Reading never repairs or stamps anything.
    QCOMPARE(task.noteData(), noteData);
    QCOMPARE(task.updatedAt(), now);
}

void TestTaskItem::richNoteWrite() {
    const QDateTime now = local(2024, 6, 12, 10, 0);
    TaskItem task(QStringLiteral("t"), 0, now);
    task.setNote(QStringLiteral("old"));
    task.setNoteData(QByteArray("garbage"));

    const RichText value({TextRun{QStringLiteral("要点\n"), false, false, false, false, true},
                          TextRun{QStringLiteral("加粗"), true}});
    const QDateTime later = now.addSecs(5);
    task.setRichNote(value, later);

    QCOMPARE(task.note(), QStringLiteral("要点\n加粗"));
    QVERIFY(!task.noteData().isEmpty());
    QCOMPARE(task.richNote(), value);
    QCOMPARE(task.updatedAt(), later);
}

QTEST_GUILESS_MAIN(TestTaskItem)
#include "tst_taskitem.moc"
