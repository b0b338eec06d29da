#include "Clock.h"
#include "ModelContext.h"
#include "NotificationCenter.h"
#include "Notifications.h"
#include "ReminderActions.h"
#include "ReminderResponseRouter.h"
#include "ReminderScheduler.h"
#include "ReminderTestSupport.h"
#include "TaskItem.h"

#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

using namespace ReminderTest;

namespace {
const QDateTime created = local(2024, 1, 2, 8, 0);

// The whole road of an answer: store, centre, scheduler, router, on the shared bus.
struct Rig {
    ManualClock clock{created};
    QTemporaryDir dir;
    std::unique_ptr<ModelContext> context;
    std::unique_ptr<NotificationCenter> center;
    std::unique_ptr<ReminderScheduler> scheduler;
    NotificationHub hub;
    std::unique_ptr<ReminderResponseRouter> router;
    QList<QPair<QString, QVariantMap>> posts;
    int boardShown = 0;
    TaskItem* task = nullptr;

    explicit Rig(const Desktop& desktop) {
        QString error;
        context = ModelContext::open(storePath(), &error);
        center = std::make_unique<NotificationCenter>(
            clock, desktop.options(dir.filePath(QStringLiteral("pending.json"))));
        scheduler = std::make_unique<ReminderScheduler>(*center, clock);
        scheduler->registerCategories();
        router = std::make_unique<ReminderResponseRouter>(
            ReminderActions::Environment{*context, *scheduler, hub, clock});
        router->setShowBoard([this] { ++boardShown; });
        QObject::connect(center.get(), &NotificationCenter::responseReceived, router.get(),
                         &ReminderResponseRouter::didReceive);
        QObject::connect(&hub, &NotificationHub::posted,
                         [this](const QString& name, const QVariantMap& userInfo) {
                             posts.append({name, userInfo});
                         });

        task = new TaskItem(QStringLiteral("交电费"), 1, created);
        context->insert(task);
        context->save();
    }

    [[nodiscard]] QString storePath() const { return dir.filePath(QStringLiteral("tavik.store")); }
    [[nodiscard]] ReminderActions::Environment environment() {
        return {*context, *scheduler, hub, clock};
    }
    [[nodiscard]] QString taskId() const { return ReminderScheduler::identifier(task->id()); }

    // The task's reminder fires a minute before `answerAt`; answers its notification id.
    uint deliver(TaskItem* item, const QDateTime& answerAt) {
        clock.setNow(answerAt.addSecs(-120));
        item->setReminderAt(answerAt.addSecs(-60));
        context->save();
        scheduler->sync(item);
        QSignalSpy delivered(center.get(), &NotificationCenter::notificationDelivered);
        if (!QTest::qWaitFor([&] { return !center->pendingRequests().isEmpty(); }, 5000))
            return 0;
        clock.setNow(answerAt);
        center->checkDue();
        if (!delivered.wait(5000))
            return 0;
        posts.clear();
        return delivered.constFirst().at(1).toUInt();
    }
};
} // namespace

class tst_ReminderActions : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        m_desktop = std::make_unique<Desktop>();
        QVERIFY(m_desktop->bus.isValid());
        QVERIFY(m_desktop->server->start());
    }

    void init() { m_desktop->server->clearCalls(); }

    void nextTime_data() {
        QTest::addColumn<int>("hour");
        QTest::addColumn<bool>("allowToday");
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QDateTime>("expected");

        QTest::newRow("evening, a second before six")
            << 18 << true << local(2024, 5, 14, 17, 59, 59) << local(2024, 5, 14, 18, 0);
        QTest::newRow("evening, at six sharp")
            << 18 << true << local(2024, 5, 14, 18, 0) << local(2024, 5, 15, 18, 0);
        QTest::newRow("tomorrow, at the year's end")
            << 9 << false << local(2024, 12, 31, 23, 59, 59) << local(2025, 1, 1, 9, 0);
        QTest::newRow("tomorrow is Berlin's spring change")
            << 9 << false << local(2024, 3, 30, 22, 0) << local(2024, 3, 31, 9, 0);
        QTest::newRow("tomorrow is New York's spring change")
            << 9 << false << local(2024, 3, 9, 22, 0) << local(2024, 3, 10, 9, 0);
        QTest::newRow("evening on an autumn change day")
            << 18 << true << local(2024, 10, 27, 12, 0) << local(2024, 10, 27, 18, 0);
    }

    void nextTime() {
        QFETCH(int, hour);
        QFETCH(bool, allowToday);
        QFETCH(QDateTime, now);
        QFETCH(QDateTime, expected);
        QCOMPARE(ReminderActions::nextTime(hour, allowToday, now), expected);
    }

    void answersFromTheServer_data() {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QDateTime>("answerAt");
        QTest::addColumn<QDateTime>("reminderAt"); // invalid: the task is completed instead
        QTest::addColumn<QDate>("day");
        QTest::addColumn<QDateTime>("trigger");

        const QDateTime none;
        QTest::newRow("complete") << "COMPLETE" << local(2024, 5, 14, 10, 0) << none << QDate()
                                  << none;
        QTest::newRow("10 minutes at 23:55 moves the day")
            << "SNOOZE_10M" << local(2024, 5, 14, 23, 55) << local(2024, 5, 15, 0, 5)
            << QDate(2024, 5, 15) << local(2024, 5, 15, 0, 5);
        QTest::newRow("1 hour counts from the answer")
            << "SNOOZE_1H" << local(2024, 5, 14, 10, 0, 30) << local(2024, 5, 14, 11, 0, 30)
            << QDate(2024, 5, 14) << local(2024, 5, 14, 11, 0);
        QTest::newRow("this evening at 18:00:00")
            << "SNOOZE_EVENING" << local(2024, 5, 14, 18, 0) << local(2024, 5, 15, 18, 0)
            << QDate(2024, 5, 15) << local(2024, 5, 15, 18, 0);
        QTest::newRow("tomorrow on a Sunday moves the week")
            << "SNOOZE_TOMORROW" << local(2024, 5, 19, 21, 0) << local(2024, 5, 20, 9, 0)
            << QDate(2024, 5, 20) << local(2024, 5, 20, 9, 0);
    }

    void answersFromTheServer() {
        QFETCH(QString, action);
        QFETCH(QDateTime, answerAt);
        QFETCH(QDateTime, reminderAt);
        QFETCH(QDate, day);
        QFETCH(QDateTime, trigger);

        Rig rig(*m_desktop);
        const uint notificationId = rig.deliver(rig.task, answerAt);
        QVERIFY(notificationId != 0);

        m_desktop->actionInvoked(notificationId, action);
        QTRY_COMPARE(rig.posts.size(), 1);
        QCOMPARE(rig.posts.constFirst().first, TavikNotification::tasksChanged);
        QCOMPARE(rig.boardShown, 0);
        QCOMPARE(rig.task->updatedAt(), answerAt);

        // The change reached the disk, not only the context.
        QString error;
        const auto reopened = ModelContext::open(rig.storePath(), &error);
        QVERIFY2(reopened, qPrintable(error));
        const TaskItem* saved = reopened->task(rig.task->id());
        QVERIFY(saved);

        const QList<NotificationRequest> pending = rig.center->pendingRequests();
        if (!reminderAt.isValid()) {
            QVERIFY(saved->completed());
            QCOMPARE(saved->completedAt(), answerAt);
            QVERIFY(pending.isEmpty());
            return;
        }
        QVERIFY(!saved->completed());
        QCOMPARE(saved->reminderAt(), reminderAt);
        QCOMPARE(saved->dueDate(), QDateTime(day, QTime(0, 0), Qt::LocalTime).toUTC());
        QVERIFY(saved->scheduledExplicitly());
        int weekYear = 0;
        const int week = day.weekNumber(&weekYear);
        QCOMPARE(saved->year(), std::optional<qint64>(weekYear));
        QCOMPARE(saved->week(), std::optional<qint64>(week));

        // The one request of the task now points at the new moment.
        QTRY_COMPARE(rig.center->pendingRequests().size(), 1);
        QCOMPARE(rig.center->pendingRequests().constFirst().identifier, rig.taskId());
        QCOMPARE(rig.center->pendingRequests().constFirst().trigger, trigger);
    }

    void completingACompletedTaskStampsItAgain() {
        Rig rig(*m_desktop);
        rig.task->setCompleted(true, created);
        rig.clock.setNow(created.addDays(1));
        QVERIFY(
            ReminderActions::perform(QStringLiteral("COMPLETE"), rig.taskId(), rig.environment()));
        QVERIFY(rig.task->completed());
        QCOMPARE(rig.task->completedAt(), created.addDays(1));
        QCOMPARE(rig.posts.size(), 1);
    }

    void clickOpensTheTask() {
        Rig rig(*m_desktop);
        const uint notificationId = rig.deliver(rig.task, local(2024, 5, 14, 10, 0));
        QVERIFY(notificationId != 0);

        m_desktop->actionInvoked(notificationId, QStringLiteral("default"));
        QTRY_COMPARE(rig.boardShown, 1);
        QCOMPARE(rig.posts.size(), 1);
        QCOMPARE(rig.posts.constFirst().first, TavikNotification::openTask);
        QCOMPARE(rig.posts.constFirst().second,
                 QVariantMap({{QStringLiteral("taskId"), rig.taskId()}}));
        QVERIFY(!rig.task->completed());
        QVERIFY(!rig.context->hasChanges());
    }

    void badInputChangesNothing_data() {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("taskId"); // "<task>": the task's own id; null: no id at all
        QTest::addColumn<bool>("known");
        QTest::addColumn<bool>("changes");

        QTest::newRow("no task id") << "COMPLETE" << QString() << true << false;
        QTest::newRow("not a UUID") << "COMPLETE"
                                    << "xyz" << true << false;
        QTest::newRow("UUID in braces") << "COMPLETE"
                                        << "{<task>}" << true << false;
        QTest::newRow("task deleted since") << "SNOOZE_TOMORROW"
                                            << "<deleted>" << true << false;
        QTest::newRow("unknown action") << "SNOOZE_2H"
                                        << "<task>" << false << false;
        QTest::newRow("action in lower case") << "complete"
                                              << "<task>" << false << false;
        QTest::newRow("lower-case task id is still the task") << "COMPLETE"
                                                              << "<lower>" << true << true;
    }

    void badInputChangesNothing() {
        QFETCH(QString, action);
        QFETCH(QString, taskId);
        QFETCH(bool, known);
        QFETCH(bool, changes);

        Rig rig(*m_desktop);
        rig.task->setReminderAt(created.addSecs(3600));
        rig.context->save();
        auto* deleted = new TaskItem(QStringLiteral("gone"), 2, created);
        rig.context->insert(deleted);
        const QString deletedId = ReminderScheduler::identifier(deleted->id());
        rig.context->remove(deleted);
        rig.context->save();
        rig.clock.setNow(created.addSecs(600));

        std::optional<QString> id;
        if (!taskId.isNull()) {
            id = QString(taskId)
                     .replace(QStringLiteral("<task>"), rig.taskId())
                     .replace(QStringLiteral("<lower>"), rig.taskId().toLower())
                     .replace(QStringLiteral("<deleted>"), deletedId);
        }
        QCOMPARE(ReminderActions::perform(action, id, rig.environment()), known);
        QCOMPARE(rig.task->completed(), changes);
        QCOMPARE(rig.task->reminderAt(), created.addSecs(3600));
        QCOMPARE(rig.task->updatedAt(), changes ? created.addSecs(600) : created);
        QCOMPARE(rig.posts.size(), changes ? 1 : 0);
        QVERIFY(!rig.context->hasChanges());
    }

    void taskIdMustBeAString() {
        Rig rig(*m_desktop);
        rig.router->didReceive(QStringLiteral("COMPLETE"), {{QStringLiteral("taskId"), 42}});
        rig.router->didReceive(QStringLiteral("COMPLETE"),
                               {{QStringLiteral("taskId"), QStringList{rig.taskId()}}});
        rig.router->didReceive(QStringLiteral("default"), {{QStringLiteral("taskId"), 42}});
        // A dismissed notification changes nothing.
        rig.router->didReceive(QStringLiteral("dismiss"),
                               {{QStringLiteral("taskId"), rig.taskId()}});
        QTRY_COMPARE(rig.boardShown, 1);
        QVERIFY(!rig.task->completed());
        // A click without a usable task id still shows the board, and opens nothing.
        QVERIFY(rig.posts.isEmpty());

        rig.router->didReceive(QStringLiteral("COMPLETE"),
                               {{QStringLiteral("taskId"), rig.taskId()}});
        QTRY_VERIFY(rig.task->completed());
    }

private:
    std::unique_ptr<Desktop> m_desktop;
};

QTEST_GUILESS_MAIN(tst_ReminderActions)
#include "tst_reminderactions.moc"
