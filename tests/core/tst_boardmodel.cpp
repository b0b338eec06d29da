#include "BoardModel.h"
#include "BoardTestSupport.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "Notifications.h"
#include "RichText.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "TaskReorder.h"
#include "TestData.h"
#include <vector>

#include <QElapsedTimer>
#include <QPointer>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <memory>

using BoardTest::local;

namespace {

const QDateTime kWednesday = local(2024, 6, 12, 10, 0);

struct Board {
    BoardTest::Store store;
    ManualClock clock;
    NotificationHub hub;
    BoardTest::RecordingReminderSink reminders;
    BoardTest::RecordingSoundSink sounds;
    QSignalSpy posts{&hub, &NotificationHub::posted};
    std::unique_ptr<BoardModel> model;

    explicit Board(const QDateTime& now = kWednesday)
        : clock(now) {
        model = std::make_unique<BoardModel>(*store.context, *store.preferences, clock, hub);
        model->setReminderSink(&reminders);
        model->setSoundSink(&sounds);
    }

    TaskItem* add(const QString& title, qint64 sortIndex, Bucket column,
                  TaskCategory* list = nullptr) {
        auto* task = new TaskItem(title, sortIndex, clock.now());
        task->move(column, clock.now(), IsoCalendar());
        task->setCategory(list);
        store.context->insert(task);
        return task;
    }

    TaskCategory* addList(const QString& name, qint64 sortIndex) {
        auto* list = new TaskCategory(name, QStringLiteral("46A758"), sortIndex, clock.now());
        store.context->insert(list);
        return list;
    }

    [[nodiscard]] int tasksChangedPosts() const {
        int count = 0;
        for (const QList<QVariant>& post : posts) {
            if (post.at(0).toString() == TavikNotification::tasksChanged &&
                post.at(1).toMap().isEmpty())
                ++count;
        }
        return count;
    }

    [[nodiscard]] bool settled() const { return model->completingIds().isEmpty(); }
};

QStringList titles(const QList<TaskItem*>& tasks) {
    QStringList out;
    for (const TaskItem* task : tasks)
        out.append(task->title());
    return out;
}

QString uuidString(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces).toUpper();
}

struct Column {
    std::vector<std::unique_ptr<TaskItem>> rows;
    QList<TaskItem*> list;

    Column(const QList<qint64>& values, const QDateTime& created) {
        for (qint64 value : values) {
            rows.push_back(std::make_unique<TaskItem>(QStringLiteral("row"), value, created));
            list.append(rows.back().get());
        }
    }
    [[nodiscard]] QList<qint64> values() const {
        QList<qint64> out;
        for (const TaskItem* row : list)
            out.append(row->sortIndex());
        return out;
    }
};

} // namespace

class TestBoardModel : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void columnsFollowTheStore() {
        Board board;
        TaskCategory* work = board.addList("工作", 2);
        TaskCategory* home = board.addList("个人", 1);
        TaskItem* a = board.add("a", 10, Bucket::today);
        TaskItem* b = board.add("b", 20, Bucket::today, home);
        board.add("later work", 5, Bucket::later, work);
        board.add("later none", 3, Bucket::later);
        QVERIFY(!board.model->grouped().contains(Bucket::thisWeek)); // empty buckets have no entry
        QCOMPARE(board.model->categories(), (QList<TaskCategory*>{home, work}));

        board.model->setSelectedCategoryId(work->id());
        QCOMPARE(titles(board.model->tasks(Bucket::later)), QStringList({"later work"}));
        QCOMPARE(titles(board.model->tasks(Bucket::today)), QStringList({"b", "a"}));
        QCOMPARE(board.model->grouped().value(Bucket::later).size(), 2);

        a->setSortIndex(30);
        QCOMPARE(titles(board.model->tasks(Bucket::today)), QStringList({"a", "b"}));
        QCOMPARE(board.model->allTasks().first(), a);
        b->setCompleted(true, board.clock.now());
        QCOMPARE(titles(board.model->tasks(Bucket::today)), QStringList({"a"}));
        QCOMPARE(titles(board.model->doneTasks()), QStringList({"b"}));
        board.add("c", 25, Bucket::today);
        board.store.context->remove(a);
        QCOMPARE(titles(board.model->tasks(Bucket::today)), QStringList({"c"}));
        home->setSortIndex(3);
        QCOMPARE(board.model->categories(), (QList<TaskCategory*>{work, home}));

        // A new list goes after the last one, its name as it stands; nothing is posted, yet
        // the next save takes it along.
        QVERIFY(board.store.context->save());
        board.model->createCategory(QStringLiteral(" 空格 "), QStringLiteral("zz"));
        QCOMPARE(board.model->categories().last()->sortIndex(), qint64(4));
        QCOMPARE(board.model->categories().last()->name(), QStringLiteral(" 空格 "));
        QCOMPARE(board.posts.count(), 0);
        QVERIFY(board.store.context->hasChanges());
    }

    void boardChangedOncePerRead() {
        Board board;
        TaskItem* a = board.add("a", 1, Bucket::today);
        TaskItem* b = board.add("b", 2, Bucket::later);
        QSignalSpy changed(board.model.get(), &BoardModel::boardChanged);

        (void)board.model->tasks(Bucket::today);
        a->setSortIndex(5);
        b->move(Bucket::today, board.clock.now(), IsoCalendar());
        QCOMPARE(changed.count(), 1);

        QCOMPARE(titles(board.model->tasks(Bucket::today)), QStringList({"a", "b"}));
        board.store.context->remove(b);
        QCOMPARE(changed.count(), 2);
        (void)board.model->grouped();
        board.model->setSelectedCategoryId(board.addList("l", 1)->id());
        QCOMPARE(changed.count(), 3);
    }

    void restoreSelectedList_data() { TestData::addRows("board.json", "selection"); }

    void restoreSelectedList() {
        QFETCH(QJsonObject, row);

        Board board;
        TaskCategory* list = board.addList("工作", 1);
        TaskCategory* gone = board.addList("旧", 2);
        const QString goneId = uuidString(gone->id());
        board.store.context->remove(gone);

        QString raw = row.value("stored").toString();
        raw.replace(QStringLiteral("LIST"), uuidString(list->id()));
        raw.replace(QStringLiteral("list"), list->id().toString(QUuid::WithoutBraces).toLower());
        raw.replace(QStringLiteral("GONE"), goneId);
        board.store.preferences->setSelectedListId(raw);

        board.model->restoreSelectedList();
        QCOMPARE(board.model->selectedCategoryId(),
                 row.value("selects").toBool() ? std::optional<QUuid>(list->id()) : std::nullopt);
        QCOMPARE(board.store.preferences->selectedListId(),
                 row.value("kept").toBool() ? raw : uuidString(list->id()));
    }

    void deletedListTakesTheSelection() {
        Board board;
        TaskCategory* list = board.addList("工作", 1);
        TaskCategory* other = board.addList("个人", 2);
        TaskItem* task = board.add("t", 1, Bucket::later, list);
        board.model->setSelectedCategoryId(list->id());

        board.store.context->remove(list);

        QVERIFY(!board.model->selectedCategoryId());
        QCOMPARE(board.store.preferences->selectedListId(), QString());
        QCOMPARE(task->category(), nullptr);
        QCOMPARE(titles(board.model->tasks(Bucket::later)), QStringList({"t"}));
        QCOMPARE(board.posts.count(), 0);

        board.model->setSelectedCategoryId(other->id());
        board.model->deleteCategory(board.addList("third", 3));
        QCOMPARE(board.model->selectedCategoryId(), std::optional<QUuid>(other->id()));
    }

    void createEnhanced_data() { TestData::addRows("board.json", "create"); }

    void createEnhanced() {
        QFETCH(QJsonObject, row);
        const QString list = row.value("list").toString();
        const QString expectedTitle = row.value("expectedTitle").toString();
        const QDateTime reminderAt = TestData::moment(row.value("reminder"));
        const QDateTime expectedDue = TestData::moment(row.value("expectedDue"));

        Board board;
        TaskCategory* known = board.addList("工作", 1);
        std::optional<QUuid> listId;
        if (!list.isEmpty())
            listId = list == QLatin1String("known") ? known->id() : QUuid::createUuid();
        board.clock.advance(60 * 1000);
        const QString note = QStringLiteral("第一行\n第二行");

        board.model->createEnhanced(EnhancedDraft{row.value("title").toString(), note, listId,
                                                  TestData::moment(row.value("due")), reminderAt});

        if (expectedTitle.isEmpty()) {
            QVERIFY(board.store.context->tasks().isEmpty());
            QVERIFY(board.sounds.played.isEmpty());
            QCOMPARE(board.posts.count(), 0);
            return;
        }
        QCOMPARE(board.store.context->tasks().size(), 1);
        TaskItem* task = board.store.context->tasks().first();
        QCOMPARE(task->title(), expectedTitle);
        QCOMPARE(task->dueDate(), expectedDue);
        QCOMPARE(task->scheduledExplicitly(), expectedDue.isValid());
        QCOMPARE(task->week().has_value(), expectedDue.isValid());
        QCOMPARE(task->reminderAt(), reminderAt);
        QCOMPARE(task->category(), list == QLatin1String("known") ? known : nullptr);
        QCOMPARE(task->richNote().plainText(), note);
        QCOMPARE(task->createdAt(), board.clock.now());
        QCOMPARE(board.reminders.synced, QList<QUuid>{task->id()});
        QCOMPARE(board.sounds.played, QList<AppSound>{AppSound::create});
        QCOMPARE(board.tasksChangedPosts(), 1);
        QVERIFY(board.store.context->hasChanges()); // the board never saves
    }

    void createEnhancedSortIndex_data() { TestData::addRows("board.json", "sortIndex"); }

    void createEnhancedSortIndex() {
        QFETCH(QJsonObject, row);
        Board board;
        for (const QJsonValue& existing : row.value("existing").toArray()) {
            const qint64 value = existing.toInteger();
            board.add("old", value, value == 2000 ? Bucket::done : Bucket::later);
        }
        board.sounds.enabled = false;
        board.model->createEnhanced(EnhancedDraft{QStringLiteral("new"), {}, {}, {}, {}});
        QCOMPARE(board.model->allTasks().first()->sortIndex(), row.value("expected").toInteger());
        QVERIFY(board.sounds.played.isEmpty()); // sound effects off
    }

    void saveEditPlan_data() { TestData::addRows("board.json", "edit"); }

    void saveEditPlan() {
        QFETCH(QJsonObject, row);
        const Bucket placed =
            BucketInfo::fromRawValue(row.value("placed").toString()).value_or(Bucket::later);
        const QDateTime explicitDay = TestData::moment(row.value("explicitDay"));
        const QDateTime draftDue = TestData::moment(row.value("draftDue"));

        Board board;
        const IsoCalendar calendar;
        const QDateTime created = board.clock.now();
        TaskCategory* list = board.addList("工作", 1);
        TaskItem* task = board.add("原标题", 5, placed);
        if (explicitDay.isValid())
            task->schedule(explicitDay, created, calendar);
        const QDateTime due = task->dueDate();
        const auto week = task->week();
        board.clock.advance(3600 * 1000);

        const QDateTime reminder = local(2024, 6, 19, 7, 30);
        board.model->saveEdit(task, EnhancedDraft{QStringLiteral(" 新标题 "), task->note(),
                                                  list->id(), draftDue, reminder});

        QCOMPARE(task->title(), QStringLiteral(" 新标题 ")); // taken as it stands
        QCOMPARE(task->reminderAt(), reminder);
        QCOMPARE(task->category(), list);
        if (row.value("rescheduled").toBool()) {
            QCOMPARE(task->dueDate(), calendar.startOfDay(draftDue));
            QCOMPARE(task->week().has_value(), draftDue.isValid());
            QCOMPARE(task->updatedAt(), board.model->now());
        } else {
            QCOMPARE(task->dueDate(), due);
            QCOMPARE(task->week(), week);
            QCOMPARE(task->updatedAt(), created);
        }
        QCOMPARE(board.reminders.synced, QList<QUuid>{task->id()});
        QCOMPARE(board.tasksChangedPosts(), 1);
    }

    void saveEditNote() {
        Board board;
        TaskItem* task = board.add("t", 1, Bucket::today);
        const RichText rich(
            {TextRun{QStringLiteral("粗体"), true}, TextRun{QStringLiteral(" 普通")}});
        task->setRichNote(rich, board.clock.now());

        board.model->saveEdit(task, EnhancedDraft{task->title(), task->note(), {}, {}, {}});
        QCOMPARE(task->richNote(), rich);
        board.model->saveEdit(task,
                              EnhancedDraft{task->title(), QStringLiteral("新内容"), {}, {}, {}});
        QCOMPARE(task->richNote(), RichText::fromPlainText(QStringLiteral("新内容")));
    }

    void toggleSounds_data() { TestData::addRows("board.json", "sounds"); }

    void toggleSounds() {
        QFETCH(QJsonObject, row);

        Board board;
        QList<TaskItem*> tasks;
        for (int i = 0; i < row.value("open").toInt(); ++i)
            tasks.append(board.add(QStringLiteral("t%1").arg(i), i, Bucket::today));
        board.add("finished", 100,
                  Bucket::done); // not counted: it has left the column
        for (TaskItem* task : tasks) {
            board.model->toggle(task);
            if (row.value("wait").toBool())
                QTRY_VERIFY_WITH_TIMEOUT(board.settled(), 5000);
        }
        QTRY_VERIFY_WITH_TIMEOUT(board.settled(), 5000);
        QStringList played;
        for (AppSound sound : std::as_const(board.sounds.played))
            played << AppSoundInfo::rawValue(sound);
        QCOMPARE(played, row.value("expected").toVariant().toStringList());
    }

    void toggleCompletesAfterTheDelay() {
        Board board;
        TaskCategory* work = board.addList("工作", 1);
        TaskItem* task = board.add("visible", 3, Bucket::later, work);
        board.add("hidden", 2, Bucket::later);
        board.model->setSelectedCategoryId(work->id());

        QElapsedTimer elapsed;
        elapsed.start();
        board.model->toggle(task);
        QCOMPARE(board.sounds.played, QList{AppSound::complete});
        QVERIFY(board.model->completingIds().contains(task->id()));
        QVERIFY(!task->completed());
        QVERIFY(board.model->tasks(Bucket::later).contains(task));
        QCOMPARE(board.posts.count(), 0);
        board.model->toggle(task);
        QCOMPARE(board.sounds.played.size(), 1);

        board.clock.advance(250);
        const QDateTime writeTime = board.clock.now();
        QTRY_VERIFY_WITH_TIMEOUT(task->completed(), 5000);
        QVERIFY2(elapsed.elapsed() >= 280, qPrintable(QString::number(elapsed.elapsed())));
        QCOMPARE(task->completedAt(), writeTime);
        QVERIFY(board.model->completingIds().isEmpty());
        QCOMPARE(board.reminders.synced, QList<QUuid>{task->id()});
        QCOMPARE(board.tasksChangedPosts(), 1);
        QCOMPARE(board.model->doneTasks(), QList<TaskItem*>{task});

        // Reopening is at once, back to the column its day gives.
        task->schedule(local(2024, 6, 14), board.clock.now(), IsoCalendar());
        board.model->toggle(task);
        QVERIFY(!task->completed());
        QCOMPARE(board.sounds.played, (QList{AppSound::complete, AppSound::uncomplete}));
        QCOMPARE(board.reminders.synced, (QList<QUuid>{task->id(), task->id()}));
        QCOMPARE(board.tasksChangedPosts(), 2);
        QCOMPARE(board.model->bucketOf(*task), Bucket::thisWeek);
    }

    void deleteDuringCompletion_data() {
        QTest::addColumn<bool>("toggled");
        QTest::addColumn<bool>("savedInBetween");
        QTest::newRow("no completion pending") << false << false;
        QTest::newRow("deleted during completion, not saved yet") << true << false;
        QTest::newRow("deleted during completion and saved") << true << true;
    }

    void deleteDuringCompletion() {
        QFETCH(bool, toggled);
        QFETCH(bool, savedInBetween);

        Board board;
        TaskItem* keep = board.add("keep", 2, Bucket::today);
        TaskItem* task = board.add("gone", 1, Bucket::today);
        const QUuid id = task->id();
        QVERIFY(board.store.context->save());

        if (toggled)
            board.model->toggle(task);
        board.model->remove(task);
        QCOMPARE(board.reminders.cancelled, QList<QUuid>{id});
        QCOMPARE(board.tasksChangedPosts(), 1);
        board.model->remove(task);
        QCOMPARE(board.reminders.cancelled.size(), 1);
        QCOMPARE(board.posts.count(), 1);
        QPointer<TaskItem> watch(task);
        if (savedInBetween) {
            QVERIFY(board.store.context->save());
            QTRY_VERIFY_WITH_TIMEOUT(watch.isNull(), 5000); // the record is freed
        }

        QTRY_VERIFY_WITH_TIMEOUT(board.settled(), 5000);
        QVERIFY(board.reminders.synced.isEmpty());
        QCOMPARE(board.tasksChangedPosts(), 1);
        QVERIFY(board.store.context->save());
        const auto reopened = board.store.reopen();
        QCOMPARE(reopened->tasks().size(), 1);
        QVERIFY(!reopened->task(keep->id())->completed());
    }

    void handleReorderNeighbours() {
        Board board;
        TaskCategory* work = board.addList("工作", 1);
        TaskCategory* home = board.addList("个人", 2);
        TaskItem* w1 = board.add("w1", 3000, Bucket::later, work);
        TaskItem* hidden = board.add("hidden", 2000, Bucket::later, home);
        TaskItem* w2 = board.add("w2", 1000, Bucket::later, work);
        TaskItem* dragged = board.add("dragged", 10, Bucket::today, home);
        dragged->schedule(local(2024, 6, 14), board.clock.now(), IsoCalendar());
        board.model->setSelectedCategoryId(work->id());
        QCOMPARE(board.model->tasks(Bucket::later), (QList<TaskItem*>{w1, w2}));

        board.model->handleReorder(dragged->id(), Bucket::later, w2->id());
        QCOMPARE(dragged->sortIndex(), qint64(1500));
        QCOMPARE(dragged->category(),
                 home); // a drop never assigns the selected list
        QCOMPARE(board.model->bucketOf(*dragged), Bucket::later);
        QVERIFY(!dragged->scheduledExplicitly());
        TaskItem* overdue = board.add("overdue", 1, Bucket::later);
        overdue->schedule(local(2024, 6, 3), board.clock.now(), IsoCalendar());
        board.model->handleReorder(overdue->id(), Bucket::today, std::nullopt);
        QCOMPARE(overdue->dueDate(), local(2024, 6, 3));

        board.model->handleReorder(w1->id(), Bucket::later, w2->id());
        QCOMPARE(w1->sortIndex(), qint64((1500 + 1000) / 2));
        board.model->handleReorder(w2->id(), Bucket::later, hidden->id());
        QCOMPARE(w2->sortIndex(), qint64(2000 + 1024));
        board.model->handleReorder(hidden->id(), Bucket::later, QUuid::createUuid());
        QCOMPARE(hidden->sortIndex(), qint64(1250 - 1024));
        QCOMPARE(board.tasksChangedPosts(), 5);

        board.store.context->remove(hidden);
        board.model->handleReorder(hidden->id(), Bucket::today, std::nullopt);
        board.model->handleReorder(QUuid::createUuid(), Bucket::today, std::nullopt);
        QCOMPARE(board.sounds.played, QList<AppSound>(5, AppSound::move));
        QCOMPARE(board.posts.count(), 5);
    }

    void place_data() { TestData::addRows("reorder.json"); }

    void place() {
        QFETCH(QJsonObject, row);
        const auto numbers = [&row](const char* key) {
            QList<qint64> out;
            for (const QJsonValue& value : row.value(QLatin1String(key)).toArray())
                out.append(value.toInteger());
            return out;
        };
        const QDateTime created = local(2024, 6, 1, 9, 0);
        const QDateTime now = local(2024, 6, 12, 10, 0);
        Column rows(numbers("column"), created);
        TaskItem task(QStringLiteral("placed"), 123456, created);
        TaskItem stranger(QStringLiteral("elsewhere"), 1, created);
        const QJsonValue beforeRow = row.value("before");
        const TaskItem* before = beforeRow.isDouble() ? rows.list.at(beforeRow.toInt())
                                 : beforeRow.toString() == QLatin1String("absent") ? &stranger
                                                                                   : nullptr;
        TaskReorder::place(&task, before, rows.list, now);

        QCOMPARE(task.sortIndex(), row.value("expected").toInteger());
        QCOMPARE(task.updatedAt(), now);
        QCOMPARE(rows.values(), numbers("after"));
        const QList<qint64> stamped = numbers("stamped");
        for (int i = 0; i < rows.list.size(); ++i)
            QCOMPARE(rows.list.at(i)->updatedAt(), stamped.contains(i) ? now : created);
    }
};

QTEST_GUILESS_MAIN(TestBoardModel)
#include "tst_boardmodel.moc"
