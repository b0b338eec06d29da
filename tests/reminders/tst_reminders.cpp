#include "NotificationCenter.h"
#include "ReminderRig.h"
#include "TestData.h"

#include <QJsonDocument>
#include <QStandardPaths>

using namespace ReminderTest;

namespace {
const QDateTime created = local(2024, 1, 2, 8, 0);
const QDateTime start = local(2024, 5, 14, 10, 0);

NotificationRequest request(const QString& identifier, const QDateTime& trigger,
                            const QString& body = QStringLiteral("工作")) {
    return NotificationRequest{identifier,
                               QStringLiteral("写周报"),
                               body,
                               QStringLiteral("CAT"),
                               {{QStringLiteral("taskId"), identifier}},
                               trigger};
}

// A request left by an earlier run, carrying nothing but its identifier and moment.
NotificationRequest stale(const QString& identifier, const QDateTime& trigger) {
    return NotificationRequest{identifier, QStringLiteral("old"), {}, {}, {}, trigger};
}

const NotificationCategory category{
    QStringLiteral("CAT"),
    {{QStringLiteral("ONE"), QStringLiteral("一")}, {QStringLiteral("TWO"), QStringLiteral("二")}}};

struct TaskRig : Rig {
    TaskItem* task;
    explicit TaskRig(const Desktop& desktop)
        : Rig(desktop, created)
        , task(addTask(QStringLiteral("交电费"), {})) {
        context->save();
    }
    [[nodiscard]] QString taskId() const { return ReminderScheduler::identifier(task->id()); }
};
} // namespace

class tst_Reminders : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        m_desktop = std::make_unique<Desktop>();
    }
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid() && m_desktop->ready());
    }
    void cleanup() {
        QVERIFY2(!m_desktop->daemonWasAutostarted(), "a notification daemon started");
    }

    void nextTime_data() { TestData::addRows("next_time.json"); }

    void nextTime() {
        QFETCH(QJsonObject, row);
        QCOMPARE(ReminderActions::nextTime(row[QStringLiteral("hour")].toInt(),
                                           row[QStringLiteral("allowToday")].toBool(),
                                           TestData::moment(row[QStringLiteral("now")])),
                 TestData::moment(row[QStringLiteral("expected")]));
    }

    void answersFromTheServer_data() { TestData::addRows("answers.json"); }

    void answersFromTheServer() {
        QFETCH(QJsonObject, row);
        const QDateTime answerAt = TestData::moment(row[QStringLiteral("answerAt")]);
        const QDateTime reminderAt = TestData::moment(row[QStringLiteral("reminderAt")]);

        TaskRig rig(*m_desktop);
        const uint notificationId = rig.deliver(rig.task, answerAt);
        QVERIFY(notificationId != 0);

        m_desktop->actionInvoked(notificationId, row[QStringLiteral("action")].toString());
        QTRY_COMPARE(rig.posts.size(), 1);
        QCOMPARE(rig.posts.constFirst().first, TavikNotification::tasksChanged);
        QCOMPARE(rig.boardShown, 0);
        QCOMPARE(rig.task->updatedAt(), answerAt);

        QString error;
        const auto reopened = ModelContext::open(rig.storePath(), &error);
        QVERIFY2(reopened, qPrintable(error));
        const TaskItem* saved = reopened->task(rig.task->id());
        QVERIFY(saved);
        if (!reminderAt.isValid()) {
            QVERIFY(saved->completed());
            QCOMPARE(saved->completedAt(), answerAt);
            QVERIFY(rig.center->pendingRequests().isEmpty());
            return;
        }
        const QDate day = QDate::fromString(row[QStringLiteral("day")].toString(), Qt::ISODate);
        QVERIFY(!saved->completed());
        QCOMPARE(saved->reminderAt(), reminderAt);
        QCOMPARE(saved->dueDate(), QDateTime(day, QTime(0, 0), Qt::LocalTime).toUTC());
        QVERIFY(saved->scheduledExplicitly());
        int weekYear = 0;
        const int week = day.weekNumber(&weekYear);
        QCOMPARE(saved->year(), std::optional<qint64>(weekYear));
        QCOMPARE(saved->week(), std::optional<qint64>(week));

        QTRY_COMPARE(rig.center->pendingRequests().size(), 1);
        QCOMPARE(rig.center->pendingRequests().constFirst().identifier, rig.taskId());
        QCOMPARE(rig.center->pendingRequests().constFirst().trigger,
                 TestData::moment(row[QStringLiteral("trigger")]));
    }

    void badInputChangesNothing_data() { TestData::addRows("bad_answers.json"); }

    void badInputChangesNothing() {
        QFETCH(QJsonObject, row);
        const bool changes = row[QStringLiteral("changes")].toBool();

        TaskRig rig(*m_desktop);
        rig.task->setReminderAt(created.addSecs(3600));
        rig.task->setCompleted(row[QStringLiteral("completedBefore")].toBool(), created);
        rig.context->save();
        auto* deleted = new TaskItem(QStringLiteral("gone"), 2, created);
        rig.context->insert(deleted);
        const QString deletedId = ReminderScheduler::identifier(deleted->id());
        rig.context->remove(deleted);
        rig.context->save();
        rig.clock.setNow(created.addSecs(600));

        std::optional<QString> id;
        if (!row[QStringLiteral("taskId")].isNull()) {
            id = row[QStringLiteral("taskId")]
                     .toString()
                     .replace(QStringLiteral("<task>"), rig.taskId())
                     .replace(QStringLiteral("<lower>"), rig.taskId().toLower())
                     .replace(QStringLiteral("<deleted>"), deletedId);
        }
        QCOMPARE(ReminderActions::perform(row[QStringLiteral("action")].toString(), id,
                                          rig.environment()),
                 row[QStringLiteral("known")].toBool());
        QCOMPARE(rig.task->completed(), changes);
        if (changes)
            QCOMPARE(rig.task->completedAt(), created.addSecs(600));
        QCOMPARE(rig.task->reminderAt(), created.addSecs(3600));
        QCOMPARE(rig.task->updatedAt(), changes ? created.addSecs(600) : created);
        QCOMPARE(rig.posts.size(), changes ? 1 : 0);
        QVERIFY(!rig.context->hasChanges());
    }

    void routerAnswers() {
        TaskRig rig(*m_desktop);
        rig.router->didReceive(QStringLiteral("COMPLETE"), {{QStringLiteral("taskId"), 42}});
        rig.router->didReceive(QStringLiteral("COMPLETE"),
                               {{QStringLiteral("taskId"), QStringList{rig.taskId()}}});
        rig.router->didReceive(QStringLiteral("default"), {{QStringLiteral("taskId"), 42}});
        rig.router->didReceive(QStringLiteral("dismiss"),
                               {{QStringLiteral("taskId"), rig.taskId()}});
        QTRY_COMPARE(rig.boardShown, 1);
        QVERIFY(!rig.task->completed());
        QVERIFY(rig.posts.isEmpty());

        const uint notificationId = rig.deliver(rig.task, local(2024, 5, 14, 10, 0));
        QVERIFY(notificationId != 0);
        m_desktop->actionInvoked(notificationId, QStringLiteral("default"));
        QTRY_COMPARE(rig.boardShown, 2);
        QCOMPARE(rig.posts.size(), 1);
        QCOMPARE(rig.posts.constFirst().first, TavikNotification::openTask);
        QCOMPARE(rig.posts.constFirst().second,
                 QVariantMap({{QStringLiteral("taskId"), rig.taskId()}}));
        QVERIFY(!rig.task->completed());
        QVERIFY(!rig.context->hasChanges());

        rig.router->didReceive(QStringLiteral("COMPLETE"),
                               {{QStringLiteral("taskId"), rig.taskId()}});
        QTRY_VERIFY(rig.task->completed());
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
            else if (step == QLatin1String("clear"))
                task->setReminderAt(QDateTime());
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
        for (const QString& identifier : {goneUpper, goneLower, goneBraced, finishedId,
                                          QStringLiteral("abc"), QStringLiteral("")}) {
            rig.center->add(stale(identifier, start.addSecs(7200)));
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
            rig.center->add(stale(ReminderScheduler::identifier(id), due));
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
        const NotificationRequest old =
            stale(ReminderScheduler::identifier(task->id()), start.addSecs(600));
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

    void deliversAtItsMoment() {
        ManualClock clock(start);
        auto center = makeCenter(clock);
        const QDateTime moment = start.addSecs(300);
        center->add(request(QStringLiteral("A"), start.addSecs(600), QStringLiteral("家")));
        center->add(request(QStringLiteral("B"), start.addSecs(200)));
        center->add(request(QStringLiteral("A"), moment));
        QCOMPARE(center->nextTrigger(), start.addSecs(200));
        center->removePending({QStringLiteral("B"), QStringLiteral("nothing")});
        QCOMPARE(center->nextTrigger(), moment);

        clock.setNow(moment.addMSecs(-1));
        center->checkDue();
        QTest::qWait(100);
        QCOMPARE(m_desktop->notifyCalls().size(), 0);
        QCOMPARE(center->pendingRequests().size(), 1);

        clock.setNow(moment);
        center->checkDue();
        QTRY_COMPARE(m_desktop->notifyCalls().size(), 1);
        const QVariantList call = m_desktop->notifyCalls().constFirst();
        QCOMPARE(call.at(3).toString(), QStringLiteral("写周报"));
        QCOMPARE(call.at(4).toString(), QStringLiteral("工作"));
        QCOMPARE(call.at(5).toStringList(), QStringList({"ONE", "一", "TWO", "二", "default", ""}));
        QVERIFY(center->pendingRequests().isEmpty());

        clock.advance(3600 * 1000);
        center->checkDue();
        QTest::qWait(100);
        QCOMPARE(m_desktop->notifyCalls().size(), 1);
    }

    void restartAfterTheMomentDeliversLateOnce() {
        ManualClock clock(start);
        const QDateTime moment = start.addSecs(3600);
        makeCenter(clock)->add(request(QStringLiteral("A"), moment, QString()));

        clock.setNow(moment.addSecs(7200));
        {
            auto center = makeCenter(clock);
            QVERIFY(center->pendingRequests().isEmpty());
            QTRY_COMPARE(m_desktop->notifyCalls().size(), 1);
            QCOMPARE(m_desktop->notifyCalls().constFirst().at(3).toString(),
                     QStringLiteral("写周报"));
            QCOMPARE(m_desktop->notifyCalls().constFirst().at(4).toString(),
                     QStringLiteral("（错过的提醒）"));
            QTest::qWait(100);
        }

        auto again = makeCenter(clock);
        QTRY_COMPARE(again->authorizationStatus(),
                     NotificationCenter::AuthorizationStatus::authorized);
        QTest::qWait(100);
        QCOMPARE(m_desktop->notifyCalls().size(), 1);
    }

    void unreadableStoreIsKeptAside() {
        const auto writeStore = [this](const QByteArray& bytes) {
            QFile file(storePath());
            return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
        };
        const QJsonObject good = request(QStringLiteral("A"), start.addSecs(600)).toJson();
        QJsonObject noTrigger = good;
        noTrigger.insert(QStringLiteral("identifier"), QStringLiteral("B"));
        noTrigger.insert(QStringLiteral("trigger"), QStringLiteral("someday"));
        QJsonObject noIdentifier = good;
        noIdentifier.remove(QStringLiteral("identifier"));
        QVERIFY(writeStore(QJsonDocument(QJsonObject{{QStringLiteral("pending"),
                                                      QJsonArray{noTrigger, good, noIdentifier}}})
                               .toJson()));
        ManualClock clock(start);
        QCOMPARE(makeCenter(clock)->pendingRequests(),
                 QList{request(QStringLiteral("A"), start.addSecs(600))});

        QVERIFY(writeStore("{\"pending\": [ not json"));
        {
            auto center = makeCenter(clock);
            QVERIFY(center->pendingRequests().isEmpty());
            center->add(request(QStringLiteral("A"), start.addSecs(600)));
        }
        QFile aside(storePath() + QStringLiteral(".corrupt"));
        QVERIFY(aside.open(QIODevice::ReadOnly));
        QCOMPARE(aside.readAll(), QByteArray("{\"pending\": [ not json"));
        QCOMPARE(makeCenter(clock)->pendingRequests().size(), 1);
    }

    void serverAnswers_data() { TestData::addRows("server_answers.json"); }

    void serverAnswers() {
        QFETCH(QJsonObject, row);
        const QString response = row[QStringLiteral("response")].toString();

        ManualClock clock(start);
        auto center = makeCenter(clock);
        const uint tested = deliver(*center, clock, QStringLiteral("TESTED"));
        const uint sentinel = deliver(*center, clock, QStringLiteral("SENTINEL"));
        QVERIFY(tested != 0 && sentinel != 0 && tested != sentinel);
        const uint target = row[QStringLiteral("own")].toBool() ? tested : sentinel + 100;

        QSignalSpy responses(center.get(), &NotificationCenter::responseReceived);
        for (int i = 0; i < 2; ++i) {
            const QJsonValue argument = row[QStringLiteral("argument")];
            if (argument.isString())
                m_desktop->actionInvoked(target, argument.toString());
            else
                m_desktop->notificationClosed(target, uint(argument.toInt()));
        }
        m_desktop->actionInvoked(sentinel, QStringLiteral("ONE"));
        QTRY_VERIFY(!responses.isEmpty() &&
                    responses.constLast().at(0).toString() == QLatin1String("ONE"));

        QList<QString> expected;
        if (!response.isEmpty())
            expected << response;
        expected << QStringLiteral("ONE");
        QList<QString> received;
        for (const QList<QVariant>& arguments : std::as_const(responses))
            received << arguments.at(0).toString();
        QCOMPARE(received, expected);
        if (!response.isEmpty()) {
            QCOMPARE(responses.constFirst().at(1).toMap(),
                     QVariantMap({{QStringLiteral("taskId"), QStringLiteral("TESTED")}}));
        }
        QTRY_VERIFY(m_desktop->server->methodCalls(QStringLiteral("CloseNotification"))
                        .contains(QVariantList{sentinel}));
    }

    void serverMissingAtTheMomentLosesNothing() {
        ManualClock clock(start);
        auto center = makeCenter(clock);
        QTRY_COMPARE(center->authorizationStatus(),
                     NotificationCenter::AuthorizationStatus::authorized);
        center->add(request(QStringLiteral("A"), start.addSecs(60)));

        m_desktop->server->stop();
        QTRY_COMPARE(center->authorizationStatus(),
                     NotificationCenter::AuthorizationStatus::denied);
        clock.advance(120 * 1000);
        center->checkDue();
        QTest::qWait(200);
        QVERIFY(center->pendingRequests().isEmpty());

        QVERIFY(m_desktop->server->start());
        QTRY_COMPARE(m_desktop->notifyCalls().size(), 1);
        QCOMPARE(m_desktop->notifyCalls().constFirst().at(4).toString(),
                 QStringLiteral("工作（错过的提醒）"));
    }

    void wakeFromSleepRechecks() {
        MockServer logind(m_desktop->bus.connection, m_desktop->address, {QStringLiteral("logind")},
                          QStringLiteral("org.freedesktop.login1"),
                          QStringLiteral("/org/freedesktop/login1"));
        QVERIFY(logind.start());
        const auto prepareForSleep = [&logind](bool sleeping) {
            logind.emitSignal(QStringLiteral("org.freedesktop.login1.Manager"),
                              QStringLiteral("PrepareForSleep"), QStringLiteral("b"), {sleeping});
        };

        ManualClock clock(start);
        auto center = makeCenter(clock);
        center->add(request(QStringLiteral("A"), start.addSecs(60)));
        QTest::qWait(100);

        clock.advance(3600 * 1000);
        prepareForSleep(true);
        QTest::qWait(200);
        QCOMPARE(m_desktop->notifyCalls().size(), 0);

        prepareForSleep(false);
        QTRY_COMPARE(m_desktop->notifyCalls().size(), 1);
    }

private:
    [[nodiscard]] std::unique_ptr<NotificationCenter> makeCenter(const Clock& clock) {
        auto center = std::make_unique<NotificationCenter>(clock, m_desktop->options(storePath()));
        center->setNotificationCategories({category});
        return center;
    }
    [[nodiscard]] QString storePath() const {
        return m_dir->filePath(QStringLiteral("pending-notifications.json"));
    }
    uint deliver(NotificationCenter& center, ManualClock& clock, const QString& identifier);

    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<QTemporaryDir> m_dir;
};

uint tst_Reminders::deliver(NotificationCenter& center, ManualClock& clock,
                            const QString& identifier) {
    QSignalSpy delivered(&center, &NotificationCenter::notificationDelivered);
    center.add(request(identifier, clock.now().addSecs(60)));
    clock.advance(60 * 1000);
    center.checkDue();
    if (!delivered.wait(5000))
        return 0;
    return delivered.constFirst().at(1).toUInt();
}

QTEST_GUILESS_MAIN(tst_Reminders)
#include "tst_reminders.moc"
