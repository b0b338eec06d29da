#include "BoardTestSupport.h"
#include "IsoCalendar.h"
#include "ScheduleFormat.h"
#include "ScheduleRules.h"
#include "TaskClassifier.h"
#include "TaskItem.h"
#include "TestData.h"

#include <QStandardPaths>
#include <QTest>

using BoardTest::local;
using TestData::moment;

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

    void dayBoundaries() {
        const IsoCalendar calendar;
        // An ordinary day, both time changes in Berlin and in New York, the year's last day.
        for (const QDate day : {QDate(2024, 6, 12), QDate(2024, 3, 31), QDate(2024, 10, 27),
                                QDate(2024, 3, 10), QDate(2024, 11, 3), QDate(2024, 12, 31)}) {
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
    }

    void weekKey() {
        const IsoCalendar calendar;
        const QList<std::pair<QDate, WeekKey>> cases{
            {QDate(2021, 1, 3), {2020, 53}},
            {QDate(2021, 1, 4), {2021, 1}},
            {QDate(2024, 12, 30), {2025, 1}},
            {QDate(2027, 1, 1), {2026, 53}},
            {QDate(2024, 10, 27), {2024, 43}}}; // the last: Berlin's fall-back Sunday
        for (const auto& [date, key] : cases) {
            QCOMPARE(TaskClassifier::weekKey(local(date), calendar), key);
            QCOMPARE(TaskClassifier::weekKey(local(date, QTime(23, 59, 59)), calendar), key);
        }
    }

    void rules_data() { TestData::addRows("schedule.json"); }

    void rules() {
        QFETCH(QJsonObject, row);
        const IsoCalendar calendar;
        const QString rule = row.value("rule").toString();
        const QJsonValue expected = row.value("expected");
        const QDateTime now =
            row.contains("now") ? moment(row.value("now")) : local(2024, 6, 12, 10, 0);
        if (rule == QLatin1String("defaultTime")) {
            QCOMPARE(ScheduleRules::defaultTime(now, calendar), moment(expected));
        } else if (rule == QLatin1String("tomorrow")) {
            QCOMPARE(ScheduleRules::tomorrow(now, calendar), moment(expected));
        } else if (rule == QLatin1String("reminder")) {
            QCOMPARE(ScheduleRules::resolvedReminder(moment(row.value("day")),
                                                     moment(row.value("time")), now, calendar),
                     moment(expected));
        } else if (rule == QLatin1String("day")) {
            QCOMPARE(ScheduleFormat::day(moment(row.value("date")), now, calendar),
                     expected.toString());
        } else if (rule == QLatin1String("time")) {
            const QDateTime at = moment(row.value("moment"));
            QCOMPARE(ScheduleFormat::time(at), expected.toString());
            QCOMPARE(ScheduleFormat::time(at.toLocalTime()), expected.toString());
        } else if (rule == QLatin1String("label")) {
            const auto label = ScheduleFormat::shortLabel(
                moment(row.value("due")), moment(row.value("reminder")), now, calendar);
            QCOMPARE(label.has_value(), !expected.isNull());
            QCOMPARE(label.value_or(QString()), expected.toString());
        } else {
            QFAIL(qPrintable(QStringLiteral("unknown rule ") + rule));
        }
    }

    void weekdaySymbols() {
        QCOMPARE(ScheduleFormat::weekdaySymbols(Qt::Sunday),
                 (QStringList{"日", "一", "二", "三", "四", "五", "六"}));
        QCOMPARE(ScheduleFormat::weekdaySymbols(Qt::Saturday),
                 (QStringList{"六", "日", "一", "二", "三", "四", "五"}));
    }
};

QTEST_GUILESS_MAIN(TestTaskClassifier)
#include "tst_taskclassifier.moc"
