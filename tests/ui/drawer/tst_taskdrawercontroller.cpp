#include "BoardModel.h"
#include "BoardTestSupport.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "Notifications.h"
#include "TestData.h"
#include "board/BoardController.h"
#include "drawer/TaskDrawerController.h"
#include "text/RichTextDocument.h"

#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QTextDocument>
#include <memory>

using BoardTest::local;

namespace {

const QDateTime kNow = local(2024, 6, 12, 10, 0);

RichText rich(const char* json) {
    RichText text;
    if (!RichText::fromJson(QByteArray(json), &text))
        qFatal("test data is not a rich note: %s", json);
    return text;
}

class SnapshotSink final : public ReminderSink {
public:
    struct Seen {
        QDateTime dueDate;
        QDateTime reminderAt;
    };
    void sync(TaskItem* task) override { seen.append({task->dueDate(), task->reminderAt()}); }
    void cancel(const QUuid&) override {}
    QList<Seen> seen;
};

} // namespace

class TestTaskDrawerController : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init() {
        m_store = std::make_unique<BoardTest::Store>();
        m_clock.setNow(kNow);
        m_sink.seen.clear();
        m_document.clear();
        m_helper.setDocument(&m_document);
    }

    void cleanup() { m_store.reset(); }

    void titleWritesThroughAndStamps() {
        TaskItem* task = m_store->addTask(QStringLiteral("旧标题"), 1, kNow.addDays(-1));
        TaskDrawerController drawer;
        attach(drawer, task);
        drawer.appear();

        m_clock.advance(60'000);
        drawer.setTitle(QStringLiteral("新标题"));
        QCOMPARE(task->title(), QStringLiteral("新标题"));
        QCOMPARE(task->updatedAt(), m_clock.now());

        m_clock.advance(60'000);
        task->setTitle(QStringLiteral("别处改的"));
        QCOMPARE(task->updatedAt(), m_clock.now());
        QCOMPARE(drawer.title(), QStringLiteral("别处改的"));

        drawer.disappear();
        const QDateTime stamped = task->updatedAt();
        m_clock.advance(60'000);
        task->setTitle(QStringLiteral("关了以后"));
        QCOMPARE(task->updatedAt(), stamped);
    }

    // The card closes, or turns to another task.
    void noteIsStoredOnceWhenTheCardGoes() {
        for (const bool toAnotherTask : {false, true}) {
            TaskItem* task = m_store->addTask(QStringLiteral("任务"), 1, kNow.addDays(-1));
            task->setRichNote(rich(R"({"runs":[{"text":"买","bold":true},{"text":"牛奶"}]})"),
                              kNow.addDays(-1));
            const QByteArray before = task->noteData();
            TaskDrawerController drawer;
            attach(drawer, task);
            drawer.appear();
            QCOMPARE(m_helper.richText(), task->richNote());

            m_helper.toggleAttribute(RichTextDocument::Italic, 1, 3);
            m_helper.toggleBullet(0, 0);
            const RichText edited = rich(R"({"runs":[{"text":"买","bold":true,"bullet":true},)"
                                         R"({"text":"牛奶","italic":true,"bullet":true}]})");
            QCOMPARE(drawer.noteText(), edited);
            QCOMPARE(drawer.measureText(), QStringLiteral("买牛奶"));
            QCOMPARE(task->noteData(), before);
            QCOMPARE(task->updatedAt(), kNow.addDays(-1));
            task->setRichNote(RichText::fromPlainText(QStringLiteral("同步来的")), kNow);

            m_clock.advance(5'000);
            if (toAnotherTask) {
                drawer.setTask(m_store->addTask(QStringLiteral("下一个"), 2, kNow));
                QVERIFY(drawer.noteEmpty());
            } else {
                drawer.disappear();
            }
            QCOMPARE(task->richNote(), edited);
            QCOMPARE(task->note(), QStringLiteral("买牛奶"));
            QCOMPARE(task->updatedAt(), m_clock.now());
        }
    }

    void schedule_data() { TestData::addRows("drawer-schedules.json", "schedules"); }

    void schedule() {
        QFETCH(QJsonObject, row);
        const QDateTime day = TestData::moment(row["day"]);
        const QDateTime reminder = TestData::moment(row["reminder"]);
        TaskItem* task = m_store->addTask(QStringLiteral("任务"), 1, kNow.addDays(-1));
        task->schedule(local(2024, 6, 14), kNow.addDays(-1), IsoCalendar());
        task->setReminderAt(local(2024, 6, 14, 8, 0));
        TaskDrawerController drawer;
        attach(drawer, task);
        QSignalSpy posted(&m_hub, &NotificationHub::posted);
        QSignalSpy scheduleChanged(&drawer, &TaskDrawerController::scheduleChanged);

        m_clock.advance(1'000);
        drawer.applySchedule(day, reminder);

        QCOMPARE(task->dueDate(), day.isValid() ? IsoCalendar().startOfDay(day) : QDateTime());
        QCOMPARE(task->scheduledExplicitly(), day.isValid());
        QCOMPARE(task->reminderAt(), reminder);
        QCOMPARE(task->updatedAt(), m_clock.now());
        QCOMPARE(m_sink.seen.size(), 1);
        QCOMPARE(m_sink.seen.first().dueDate, task->dueDate());
        QCOMPARE(m_sink.seen.first().reminderAt, reminder);
        QCOMPARE(posted.size(), 1);
        QCOMPARE(posted.first().first().toString(), TavikNotification::tasksChanged);
        QVERIFY(!scheduleChanged.isEmpty());
        QCOMPARE(drawer.scheduleIcon(), row["icon"].toString());
        QCOMPARE(drawer.scheduleLabel(), row["label"].toString());
    }

    void boardSuppliesTheReminderSink() {
        BoardModel model(*m_store->context, *m_store->preferences, m_clock, m_hub);
        model.setReminderSink(&m_sink);
        BoardController board(model, m_clock, m_hub, {});
        TaskItem* task = m_store->addTask(QStringLiteral("任务"), 1, kNow);

        TaskDrawerController drawer;
        drawer.setBoard(&board);
        drawer.setTask(task);
        QSignalSpy posted(&m_hub, &NotificationHub::posted);
        drawer.applySchedule(QVariant::fromValue(local(2024, 6, 13)), QVariant());
        QCOMPARE(m_sink.seen.size(), 1);
        QCOMPARE(posted.size(), 1);
        QCOMPARE(task->dueDate(), local(2024, 6, 13));

        TaskItem* gone = m_store->addTask(QStringLiteral("任务"), 1, kNow);
        TaskDrawerController other; // the schedule of a deleted task is dropped
        attach(other, gone);
        m_store->context->remove(gone);
        QSignalSpy dropped(&m_hub, &NotificationHub::posted);
        other.applySchedule(local(2024, 6, 13), local(2024, 6, 13, 9, 0));
        QCOMPARE(m_sink.seen.size(), 1);
        QVERIFY(dropped.isEmpty());
    }

private:
    void attach(TaskDrawerController& drawer, TaskItem* task) {
        drawer.setClock(&m_clock);
        drawer.setNotificationHub(&m_hub);
        drawer.setReminderSink(&m_sink);
        drawer.setDocument(&m_helper);
        drawer.setTask(task);
    }

    std::unique_ptr<BoardTest::Store> m_store;
    ManualClock m_clock{kNow};
    NotificationHub m_hub;
    SnapshotSink m_sink;
    QTextDocument m_document;
    RichTextDocument m_helper;
};

QTEST_MAIN(TestTaskDrawerController)
#include "tst_taskdrawercontroller.moc"
