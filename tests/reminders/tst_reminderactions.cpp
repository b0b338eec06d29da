#include "ReminderRig.h"
#include "TestData.h"

#include <QStandardPaths>

using namespace ReminderTest;

namespace {
const QDateTime created = local(2024, 1, 2, 8, 0);

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

class tst_ReminderActions : public QObject {
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

private:
    std::unique_ptr<Desktop> m_desktop;
};

QTEST_GUILESS_MAIN(tst_ReminderActions)
#include "tst_reminderactions.moc"
