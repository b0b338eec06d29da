#include "Clock.h"
#include "ModelContext.h"
#include "NotificationCenter.h"
#include "ReminderScheduler.h"
#include "ReminderTestSupport.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

using namespace ReminderTest;

namespace {
const QDateTime start = local(2024, 5, 14, 10, 0);

// One store, one notification centre and one scheduler, on the shared bus.
struct Rig {
    ManualClock clock{start};
    QTemporaryDir dir;
    std::unique_ptr<ModelContext> context;
    std::unique_ptr<NotificationCenter> center;
    std::unique_ptr<ReminderScheduler> scheduler;

    explicit Rig(const Desktop& desktop) {
        QString error;
        context = ModelContext::open(dir.filePath(QStringLiteral("tavik.store")), &error);
        center = std::make_unique<NotificationCenter>(
            clock, desktop.options(dir.filePath(QStringLiteral("pending.json"))));
        scheduler = std::make_unique<ReminderScheduler>(*center, clock);
        scheduler->registerCategories();
    }

    TaskItem* addTask(const QString& title, const QDateTime& reminderAt,
                      TaskCategory* list = nullptr) {
        auto* task = new TaskItem(title, 1, clock.now());
        task->setReminderAt(reminderAt);
        task->setCategory(list);
        context->insert(task);
        return task;
    }

    // Waits until every permission question asked so far is answered: answers come in order.
    [[nodiscard]] bool settle() {
        QObject receiver;
        bool answered = false;
        scheduler->requestAuthorizationIfNeeded(&receiver, [&](bool) { answered = true; });
        return QTest::qWaitFor([&] { return answered; }, 5000);
    }

    [[nodiscard]] QStringList pendingIdentifiers() const {
        QStringList identifiers;
        for (const NotificationRequest& request : center->pendingRequests())
            identifiers << request.identifier;
        identifiers.sort();
        return identifiers;
    }
};
} // namespace

class tst_ReminderScheduler : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        m_desktop = std::make_unique<Desktop>();
        QVERIFY(m_desktop->bus.isValid());
        QVERIFY(m_desktop->server->start());
    }

    void init() {
        if (!m_desktop->server->isOwned())
            QVERIFY(m_desktop->server->start());
        m_desktop->server->clearCalls();
    }

    void cleanup() {
        QVERIFY2(!m_desktop->daemonWasAutostarted(), "a notification daemon was started by a call");
    }

    void requestFollowsTheTask_data() {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("listName"); // null: no list
        QTest::addColumn<QDateTime>("reminderAt");
        QTest::addColumn<QString>("expectedTitle");
        QTest::addColumn<QString>("expectedBody");
        QTest::addColumn<QDateTime>("expectedTrigger");

        QTest::newRow("blank title, no list") << " \t\n"
                                              << QString() << local(2024, 5, 15, 9, 0) << "提醒"
                                              << "" << local(2024, 5, 15, 9, 0);
        QTest::newRow("last millisecond of a minute")
            << "x"
            << "家" << local(2024, 5, 14, 15, 0, 59).addMSecs(999) << "x"
            << "家" << local(2024, 5, 14, 15, 0);
    }

    void requestFollowsTheTask() {
        QFETCH(QString, title);
        QFETCH(QString, listName);
        QFETCH(QDateTime, reminderAt);
        QFETCH(QString, expectedTitle);
        QFETCH(QString, expectedBody);
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
                                           expectedBody,
                                           QStringLiteral("TASK_REMINDER"),
                                           {{QStringLiteral("taskId"), identifier}},
                                           expectedTrigger};
        QCOMPARE(rig.center->pendingRequests(), QList{expected});
    }

    void deliveredNotification() {
        Rig rig(*m_desktop);
        auto* list =
            new TaskCategory(QStringLiteral("工作"), TaskCategory::defaultColorHex, 1, start);
        rig.context->insert(list);
        TaskItem* task = rig.addTask(QStringLiteral("交房租"), start.addSecs(300), list);
        rig.scheduler->sync(task);
        QVERIFY(rig.settle());

        rig.clock.advance(300 * 1000);
        rig.center->checkDue();
        QTRY_COMPARE(m_desktop->notifyCalls().size(), 1);
        const QVariantList call = m_desktop->notifyCalls().constFirst();
        QCOMPARE(call.at(3).toString(), QStringLiteral("交房租"));
        QCOMPARE(call.at(4).toString(), QStringLiteral("工作"));
        const QVariantMap hints = call.at(6).toMap();
        QCOMPARE(hints.value(QStringLiteral("resident")), QVariant(true));
        // The notification protocol types urgency as a byte; servers ignore any other type.
        QCOMPARE(hints.value(QStringLiteral("urgency")).typeId(), QMetaType::UChar);
        QCOMPARE(hints.value(QStringLiteral("urgency")).toInt(), 1);
    }

    void noRequestForPastOrFinished_data() {
        QTest::addColumn<QString>("change");
        QTest::newRow("reminder equal to now") << "now";
        QTest::newRow("task completed") << "completed";
        QTest::newRow("reminder removed") << "cleared";
    }

    void noRequestForPastOrFinished() {
        QFETCH(QString, change);

        Rig rig(*m_desktop);
        TaskItem* task = rig.addTask(QStringLiteral("t"), start.addSecs(3600));
        TaskItem* other = rig.addTask(QStringLiteral("other"), start.addSecs(7200));
        rig.scheduler->sync(task);
        rig.scheduler->sync(other);
        QVERIFY(rig.settle());
        QCOMPARE(rig.center->pendingRequests().size(), 2);

        if (change == QLatin1String("now"))
            task->setReminderAt(rig.clock.now());
        else if (change == QLatin1String("completed"))
            task->setCompleted(true, rig.clock.now());
        else
            task->setReminderAt(QDateTime());
        rig.scheduler->sync(task);

        // Withdrawn at once, without waiting for anything.
        QCOMPARE(rig.pendingIdentifiers(), QStringList{ReminderScheduler::identifier(other->id())});
        QVERIFY(rig.settle());
        rig.clock.advance(3 * 3600 * 1000);
        rig.center->checkDue();
        QTRY_COMPARE(m_desktop->notifyCalls().size(), 1);
        QCOMPARE(m_desktop->notifyCalls().constFirst().at(3).toString(), QStringLiteral("other"));
    }

    void onePendingRequestPerTask() {
        Rig rig(*m_desktop);
        TaskItem* task = rig.addTask(QStringLiteral("t"), start.addSecs(600));
        for (int minutes = 10; minutes <= 50; minutes += 10) {
            task->setReminderAt(start.addSecs(minutes * 60));
            rig.scheduler->sync(task);
        }
        rig.scheduler->syncAll(*rig.context);
        QVERIFY(rig.settle());
        rig.scheduler->syncAll(*rig.context);
        QVERIFY(rig.settle());

        const QList<NotificationRequest> pending = rig.center->pendingRequests();
        QCOMPARE(pending.size(), 1);
        QCOMPARE(pending.constFirst().trigger, start.addSecs(50 * 60));
    }

    void newestSyncWins_data() {
        QTest::addColumn<QString>("sequence");
        QTest::addColumn<bool>("pendingAfter");
        QTest::addColumn<int>("triggerMinutes");

        QTest::newRow("completed while the schedule waits") << "schedule,complete" << false << 0;
        QTest::newRow("later reminder overtakes") << "schedule,move" << true << 90;
        QTest::newRow("reopened after completion") << "complete,reopen" << true << 30;
    }

    void newestSyncWins() {
        QFETCH(QString, sequence);
        QFETCH(bool, pendingAfter);
        QFETCH(int, triggerMinutes);

        Rig rig(*m_desktop);
        TaskItem* task = rig.addTask(QStringLiteral("t"), start.addSecs(30 * 60));
        // All steps in one turn of the event loop, so every scheduling sync is still waiting for
        // its permission answer when the next step comes.
        for (const QString& step : sequence.split(QLatin1Char(','))) {
            if (step == QLatin1String("schedule")) {
                rig.scheduler->sync(task);
            } else if (step == QLatin1String("complete")) {
                task->setCompleted(true, start);
                rig.scheduler->sync(task);
            } else if (step == QLatin1String("reopen")) {
                task->setCompleted(false, start);
                rig.scheduler->sync(task);
            } else if (step == QLatin1String("cancel")) {
                rig.scheduler->cancel(task->id());
            } else if (step == QLatin1String("move")) {
                task->setReminderAt(start.addSecs(90 * 60));
                rig.scheduler->sync(task);
            }
        }
        QVERIFY(rig.settle());
        QTest::qWait(50);

        const QList<NotificationRequest> pending = rig.center->pendingRequests();
        QCOMPARE(pending.size(), pendingAfter ? 1 : 0);
        if (pendingAfter)
            QCOMPARE(pending.constFirst().trigger, start.addSecs(triggerMinutes * 60));
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

        // A finished task's request goes like a gone task's; what is not a task id stays.
        QStringList expected{ReminderScheduler::identifier(withReminder->id()), goneBraced,
                             QStringLiteral("abc")};
        expected.sort();
        QCOMPARE(rig.pendingIdentifiers(), expected);
    }

    void syncAllWithdrawsDueRequestsNoLongerWanted() {
        // No server: what comes due waits to be shown, as at a launch after a missed reminder.
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
        // Left from an earlier run: a denied sync must not take it away.
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

        // A server that shows up later is found by the next syncAll.
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
