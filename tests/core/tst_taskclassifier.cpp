#include "BoardTestSupport.h"
#include "TaskClassifier.h"
#include "TaskItem.h"
#include "TestData.h"

#include <QStandardPaths>
#include <QTest>

using BoardTest::local;

class TestTaskClassifier : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void bucket_data() { TestData::addRows("buckets.json"); }

    void bucket() {
        QFETCH(QJsonObject, row);
        const QDateTime now = TestData::moment(row.value("now"));
        const IsoCalendar calendar = TaskClassifier::calendar();
        TaskItem task(QStringLiteral("t"), 0, now);
        task.setCompleted(row.value("completed").toBool());
        task.setDueDate(TestData::moment(row.value("due")));
        task.setScheduledExplicitly(row.value("explicit").toBool());
        const QString week = row.value("week").toString();
        const int days = week == QLatin1String("last") ? -7 : week == QLatin1String("next") ? 7 : 0;
        const WeekKey key = calendar.weekKey(calendar.addingDays(now, days));
        if (week == QLatin1String("yearOnly"))
            task.setWeek(key.year, std::nullopt);
        else if (!week.isEmpty())
            task.setWeek(key.year, key.week);

        const auto expected = BucketInfo::fromRawValue(row.value("expected").toString());
        QVERIFY(expected);
        QCOMPARE(TaskClassifier::bucket(task, now, calendar), *expected);
    }

    void dayBoundaries_data() {
        QTest::addColumn<QDate>("day");
        QTest::newRow("ordinary day") << QDate(2024, 6, 12);
        QTest::newRow("Berlin spring forward") << QDate(2024, 3, 31);
        QTest::newRow("Berlin fall back") << QDate(2024, 10, 27);
        QTest::newRow("New York spring forward") << QDate(2024, 3, 10);
        QTest::newRow("New York fall back") << QDate(2024, 11, 3);
        QTest::newRow("last day of the year") << QDate(2024, 12, 31);
    }

    void dayBoundaries() {
        QFETCH(QDate, day);
        const IsoCalendar calendar;
        const QDateTime start = local(day);
        const QDateTime nextStart = local(day.addDays(1));

        TaskItem byHand(QStringLiteral("hand"), 0, start);
        byHand.move(Bucket::today, local(day, QTime(12, 0)), calendar);
        TaskItem explicitOne(QStringLiteral("explicit"), 0, start);
        explicitOne.schedule(local(day, QTime(23, 30)), start, calendar);
        QCOMPARE(byHand.dueDate(), start);
        QCOMPARE(explicitOne.dueDate(), start);
        for (const QDateTime& now : {start, nextStart.addMSecs(-1)}) {
            QCOMPARE(TaskClassifier::bucket(byHand, now, calendar), Bucket::today);
            QCOMPARE(TaskClassifier::bucket(explicitOne, now, calendar), Bucket::today);
        }

        const bool sameWeek = calendar.weekKey(start) == calendar.weekKey(nextStart);
        QCOMPARE(TaskClassifier::bucket(byHand, nextStart, calendar),
                 sameWeek ? Bucket::thisWeek : Bucket::later);
        QCOMPARE(TaskClassifier::bucket(explicitOne, nextStart, calendar), Bucket::today);
    }

    void weekKey_data() {
        QTest::addColumn<QDate>("date");
        QTest::addColumn<qint64>("year");
        QTest::addColumn<qint64>("week");
        QTest::newRow("2021-01-03 Sunday") << QDate(2021, 1, 3) << qint64(2020) << qint64(53);
        QTest::newRow("2021-01-04 Monday") << QDate(2021, 1, 4) << qint64(2021) << qint64(1);
        QTest::newRow("2024-12-30 Monday") << QDate(2024, 12, 30) << qint64(2025) << qint64(1);
        QTest::newRow("2027-01-01 Friday") << QDate(2027, 1, 1) << qint64(2026) << qint64(53);
        QTest::newRow("Berlin fall back Sunday")
            << QDate(2024, 10, 27) << qint64(2024) << qint64(43);
    }

    void weekKey() {
        QFETCH(QDate, date);
        QFETCH(qint64, year);
        QFETCH(qint64, week);
        const IsoCalendar calendar;
        QCOMPARE(TaskClassifier::weekKey(local(date), calendar), (WeekKey{year, week}));
        QCOMPARE(TaskClassifier::weekKey(local(date, QTime(23, 59, 59)), calendar),
                 (WeekKey{year, week}));
    }
};

QTEST_GUILESS_MAIN(TestTaskClassifier)
#include "tst_taskclassifier.moc"
