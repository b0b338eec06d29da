#include "BoardTestSupport.h"
#include "IsoCalendar.h"
#include "RichText.h"
#include "TaskCategory.h"
#include "TaskClassifier.h"
#include "TaskItem.h"
#include "TaskText.h"
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

    void cleaned_data() {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("note");
        const auto row = [](const char* name, const QString& in, const QString& title,
                            const QString& note) { QTest::newRow(name) << in << title << note; };
        row("plain and CJK", u"给妈妈打电话 call"_qs, u"给妈妈打电话 call"_qs,
            u"给妈妈打电话 call"_qs);
        row("line breaks", u"a\nb\r\nc\rd\u2028e"_qs, u"a b c d e"_qs, u"a\nb\nc\nd\ne"_qs);
        row("tab", u"a\tb"_qs, u"a b"_qs, u"a b"_qs);
        row("escape sequence", u"\x1b[2Jred\x1b]0;x\x07"_qs, u"[2Jred]0;x"_qs, u"[2Jred]0;x"_qs);
        row("C1 and DEL", u"a\u0085b\u009bc\x7f"_qs, u"abc"_qs, u"abc"_qs);
        row("emoji at the cut", QString(TaskText::maxTitleLength - 1, u'x') + u"😀"_qs,
            QString(TaskText::maxTitleLength - 1, u'x'),
            QString(TaskText::maxTitleLength - 1, u'x') + u"😀"_qs);
    }

    void cleaned() {
        QFETCH(QString, input);
        QFETCH(QString, title);
        QFETCH(QString, note);
        TaskItem task(input, 0, QDateTime::currentDateTimeUtc());
        QCOMPARE(task.title(), title);
        task.setTitle(QStringLiteral("other"));
        task.setTitle(input);
        QCOMPARE(task.title(), title);
        task.setNote(input);
        QCOMPARE(task.note(), note);
        // A list's name is a line too.
        TaskCategory list(input, QStringLiteral("#34C759"), 0, QDateTime::currentDateTimeUtc());
        QCOMPARE(list.name(), title);
        list.setName(QStringLiteral("other"));
        list.setName(input);
        QCOMPARE(list.name(), title);
    }

    void blank() {
        QVERIFY(TaskText::isBlank(QString()));
        QVERIFY(TaskText::isBlank(u" \u3000 "_qs));
        QVERIFY(TaskText::isBlank(u"\u200b\u200c\u2060\ufeff"_qs));
        QVERIFY(!TaskText::isBlank(u"\u200ba\u200b"_qs));
    }

    void richNoteIsCleanedRunByRun() {
        TaskItem task(QStringLiteral("t"), 0, QDateTime::currentDateTimeUtc());
        TextRun bold;
        bold.text = QStringLiteral("a\x1b[0m");
        bold.bold = true;
        TextRun rest;
        rest.text = QString(TaskText::maxNoteLength, u'x');
        task.setRichNote(RichText({bold, rest}), QDateTime::currentDateTimeUtc());
        QCOMPARE(task.note().size(), TaskText::maxNoteLength);
        QVERIFY(task.note().startsWith(QStringLiteral("a[0mxxx")));
        QCOMPARE(task.richNote().runs().constFirst().text, QStringLiteral("a[0m"));

        task.setRichNote(RichText(), QDateTime::currentDateTimeUtc());
        QVERIFY(task.noteData().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestTaskItem)
#include "tst_taskitem.moc"
