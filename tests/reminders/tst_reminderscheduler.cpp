#include "ReminderRig.h"
#include "TestData.h"

#include <QStandardPaths>

using namespace ReminderTest;

namespace {
const QDateTime start = local(2024, 5, 14, 10, 0);
} // namespace

class tst_ReminderScheduler : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        m_desktop = std::make_unique<Desktop>();
    }
    void init() { QVERIFY(m_desktop->ready()); }
    void cleanup() {
        QVERIFY2(!m_desktop->daemonWasAutostarted(), "a notification daemon started");
    }

    void requestFollowsTheTask_data() {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("listName"); // null: no list
        QTest::addColumn<QDateTime>("reminderAt");
        QTest::addColumn<QString>("expectedTitle");
        QTest::addColumn<QDateTime>("expectedTrigger");
        QTest::newRow("blank title, no list")
            << " \t\n"
            << QString() << local(2024, 5, 15, 9, 0) << "提醒" << local(2024, 5, 15, 9, 0);
        QTest::newRow("last millisecond of a minute")
            << "交房租"
            << "工作" << local(2024, 5, 14, 15, 0, 59).addMSecs(999) << "交房租"
            << local(2024, 5, 14, 15, 0);
    }

    void requestFollowsTheTask() {
        QFETCH(QString, title);
        QFETCH(QString, listName);
        QFETCH(QDateTime, reminderAt);
        QFETCH(QString, expectedTitle);
        QFETCH(QDateTime, expectedTrigger);

        Rig rig(*m_desktop);
        TaskCategory* list = nullptr;
        if (!listName.isNull()) {
            list = new TaskCategory(listName, TaskCategory::defaultColorHex, 1, start);
            rig.context->insert(list);
        }
        TaskItem* task = rig.addTask(title, reminderAt, list);
        rig.scheduler->sync(task);
        QVERIFY(rig.settle());

        const QString identifier = task->id().toString(QUuid::WithoutBraces).toUpper();
        const NotificationRequest expected{identifier,
                                           expectedTitle,
                                           listName.isNull() ? QString() : listName,
                                           QStringLiteral("TASK_REMINDER"),
                                           {{QStringLiteral("taskId"), identifier}},
                                           expectedTrigger};
        QCOMPARE(rig.center->pendingRequests(), QList{expected});

        rig.clock.setNow(expectedTrigger);
        rig.center->checkDue();
        QTRY_COMPARE(m_desktop->notifyCalls().size(), 1);
        const QVariantList call = m_desktop->notifyCalls().constFirst();
        QCOMPARE(call.at(3).toString(), expectedTitle);
        QCOMPARE(call.at(4).toString(), expected.body);
        const QVariantMap hints = call.at(6).toMap();
        QCOMPARE(hints.value(QStringLiteral("resident")), QVariant(true));
        QCOMPARE(hints.value(QStringLiteral("urgency")).typeId(), QMetaType::UChar);
        QCOMPARE(hints.value(QStringLiteral("urgency")).toInt(), 1);
    }

    // A reminder moved to now, a completed task and a cleared reminder withdraw the request.
    void noRequestForPastOrFinished() {
        Rig rig(*m_desktop);
        TaskItem* atNow = rig.addTask(QStringLiteral("now"), start.addSecs(3600));
        TaskItem* completed = rig.addTask(QStringLiteral("completed"), start.addSecs(3600));
        TaskItem* cleared = rig.addTask(QStringLiteral("cleared"), start.addSecs(3600));
        TaskItem* other = rig.addTask(QStringLiteral("other"), start.addSecs(7200));
        for (TaskItem* task : {atNow, completed, cleared, other})
            rig.scheduler->sync(task);
        QVERIFY(rig.settle());
        QCOMPARE(rig.center->pendingRequests().size(), 4);

        atNow->setReminderAt(rig.clock.now());
        completed->setCompleted(true, rig.clock.now());
        cleared->setReminderAt(QDateTime());
        for (TaskItem* task : {atNow, completed, cleared})
            rig.scheduler->sync(task);

        QCOMPARE(rig.pendingIdentifiers(), QStringList{ReminderScheduler::identifier(other->id())});
        QVERIFY(rig.settle());
        rig.clock.advance(3 * 3600 * 1000);
        rig.center->checkDue();
        QTRY_COMPARE(m_desktop->notifyCalls().size(), 1);
        QCOMPARE(m_desktop->notifyCalls().constFirst().at(3).toString(), QStringLiteral("other"));
    }

    void newestSyncWins_data() { TestData::addRows("syncs.json"); }

    void newestSyncWins() {
        QFETCH(QJsonObject, row);
        Rig rig(*m_desktop);
        TaskItem* task = rig.addTask(QStringLiteral("t"), start.addSecs(30 * 60));
        for (const QString& step : row[QStringLiteral("steps")].toString().split(u',')) {
            if (step == QLatin1String("complete") || step == QLatin1String("reopen"))
                task->setCompleted(step == QLatin1String("complete"), start);
            else if (step.startsWith(QLatin1String("move")))
                task->setReminderAt(start.addSecs(step.mid(4).toInt() * 60));
            if (step == QLatin1String("syncAll"))
                rig.scheduler->syncAll(*rig.context);
            else if (step == QLatin1String("settle"))
                QVERIFY(rig.settle());
            else
                rig.scheduler->sync(task);
        }
        QVERIFY(rig.settle());
        QTest::qWait(50);

        const QList<NotificationRequest> pending = rig.center->pendingRequests();
        const QJsonValue trigger = row[QStringLiteral("trigger")];
        QCOMPARE(pending.size(), trigger.isNull() ? 0 : 1);
        if (!trigger.isNull())
            QCOMPARE(pending.constFirst().trigger, start.addSecs(trigger.toInt() * 60));
    }

    void syncAllSweepsRequestsOfGoneTasks() {
        Rig rig(*m_desktop);
        TaskItem* withReminder = rig.addTask(QStringLiteral("a"), start.addSecs(3600));
        TaskItem* finished = rig.addTask(QStringLiteral("b"), QDateTime());
        finished->setCompleted(true, start);

        const QUuid gone = QUuid::createUuid();
        const QString goneUpper = ReminderScheduler::identifier(gone);
        const QString goneLower = QUuid::createUuid().toString(QUuid::WithoutBraces);
        const QString goneBraced = QUuid::createUuid().toString();
        const QString finishedId = ReminderScheduler::identifier(finished->id());
        const auto stray = [&](const QString& identifier) {
            return NotificationRequest{identifier, QStringLiteral("old"), {}, {},
                                       {},         start.addSecs(7200)};
        };
        for (const QString& identifier : {goneUpper, goneLower, goneBraced, finishedId,
                                          QStringLiteral("abc"), QStringLiteral("")}) {
            rig.center->add(stray(identifier));
        }

        rig.scheduler->syncAll(*rig.context);
        QVERIFY(rig.settle());

        QStringList expected{ReminderScheduler::identifier(withReminder->id()), goneBraced,
                             QStringLiteral("abc")};
        expected.sort();
        QCOMPARE(rig.pendingIdentifiers(), expected);
    }

    void syncAllWithdrawsDueRequestsNoLongerWanted() {
        m_desktop->server->stop();
        Rig rig(*m_desktop);
        const QDateTime due = start.addSecs(-600);
        TaskItem* missed = rig.addTask(QStringLiteral("missed"), due);
        TaskItem* finished = rig.addTask(QStringLiteral("finished"), due);
        finished->setCompleted(true, start);
        TaskItem* moved = rig.addTask(QStringLiteral("moved"), start.addSecs(3600));
        TaskItem* cleared = rig.addTask(QStringLiteral("cleared"), QDateTime());
        for (const QUuid& id :
             {missed->id(), finished->id(), moved->id(), cleared->id(), QUuid::createUuid()}) {
            rig.center->add(NotificationRequest{
                ReminderScheduler::identifier(id), QStringLiteral("old"), {}, {}, {}, due});
        }
        QTRY_COMPARE(rig.center->undeliveredRequests().size(), 5);

        rig.scheduler->syncAll(*rig.context);
        QVERIFY(rig.settle());
        const QList<NotificationRequest> left = rig.center->undeliveredRequests();
        QCOMPARE(left.size(), 1);
        QCOMPARE(left.constFirst().identifier, ReminderScheduler::identifier(missed->id()));
    }

    void noServerMeansDenied() {
        m_desktop->server->stop();
        Rig rig(*m_desktop);
        TaskItem* task = rig.addTask(QStringLiteral("t"), start.addSecs(3600));
        const NotificationRequest old{ReminderScheduler::identifier(task->id()),
                                      QStringLiteral("old"),
                                      {},
                                      {},
                                      {},
                                      start.addSecs(600)};
        rig.center->add(old);

        std::optional<bool> granted;
        QObject receiver;
        rig.scheduler->requestAuthorizationIfNeeded(&receiver,
                                                    [&](bool answer) { granted = answer; });
        QTRY_VERIFY(granted.has_value());
        QCOMPARE(*granted, false);
        QCOMPARE(rig.center->authorizationStatus(),
                 NotificationCenter::AuthorizationStatus::denied);

        rig.scheduler->syncAll(*rig.context);
        QVERIFY(rig.settle());
        QCOMPARE(rig.center->pendingRequests(), QList{old});

        QVERIFY(m_desktop->server->start());
        rig.scheduler->syncAll(*rig.context);
        QVERIFY(rig.settle());
        const QList<NotificationRequest> pending = rig.center->pendingRequests();
        QCOMPARE(pending.size(), 1);
        QCOMPARE(pending.constFirst().title, QStringLiteral("t"));
        QCOMPARE(pending.constFirst().trigger, start.addSecs(3600));
    }

private:
    std::unique_ptr<Desktop> m_desktop;
};

QTEST_GUILESS_MAIN(tst_ReminderScheduler)
#include "tst_reminderscheduler.moc"
