#include "BoardTestSupport.h"
#include "IsoCalendar.h"
#include "ScheduleFormat.h"
#include "ScheduleRules.h"
#include "TestData.h"

#include <QStandardPaths>
#include <QTest>

using BoardTest::local;
using TestData::moment;

class TestScheduleRules : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

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

QTEST_GUILESS_MAIN(TestScheduleRules)
#include "tst_schedulerules.moc"
