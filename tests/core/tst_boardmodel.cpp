#include "BoardModel.h"
#include "BoardTestSupport.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "Notifications.h"
#include "RichText.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <memory>

using BoardTest::local;

namespace {

// Wednesday of ISO week 2024-W24 (Monday 06-10 .. Sunday 06-16).
const QDateTime kWednesday = local(2024, 6, 12, 10, 0);

// A board on a real store, with a hand-driven clock, its own hub and recording sinks.
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

    // True once every deferred completion has been written.
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

enum class ListRef { none, known, unknown };
enum class Start { unplanned, thisWeekOnly, byHandToday, explicitFriday, explicitOverdue };

// Gives a task the plan a case starts from; Friday is 2024-06-14, overdue is 2024-06-03.
void plan(TaskItem* task, Start start, const QDateTime& now) {
    const IsoCalendar calendar;
    switch (start) {
    case Start::unplanned:
        break;
    case Start::thisWeekOnly:
        task->move(Bucket::thisWeek, now, calendar);
        break;
    case Start::byHandToday:
        task->move(Bucket::today, now, calendar);
        break;
    case Start::explicitFriday:
        task->schedule(local(2024, 6, 14), now, calendar);
        break;
    case Start::explicitOverdue:
        task->schedule(local(2024, 6, 3), now, calendar);
        break;
    }
}

} // namespace
Q_DECLARE_METATYPE(ListRef)
Q_DECLARE_METATYPE(Start)

class TestBoardModel : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    // Lists
    void groupedColumnsLargestFirst();
    void laterNarrowedBySelection();
    void listsFollowTheStore();
    void boardChangedOncePerRead();
    void refreshNowMovesColumnsOnlyOnANewDay();
    // Selection and density
    void restoreSelectedList_data();
    void restoreSelectedList();
    void preferencesOutliveTheBoard();
    void deletedListTakesTheSelection_data();
    void deletedListTakesTheSelection();
    // Actions
    void createEnhanced_data();
    void createEnhanced();
    void createEnhancedSortIndex_data();
    void createEnhancedSortIndex();
    void saveEditPlan_data();
    void saveEditPlan();
    void saveEditNote();
    void toggleSounds_data();
    void toggleSounds();
    void toggleCompletesAfterTheDelay();
    void toggleReopensAtOnce();
    void deleteDuringCompletion_data();
    void deleteDuringCompletion();
    void boardGoneDuringCompletion();
    void assignTaskCategory();
    void createCategory();
    void handleReorderPlan_data();
    void handleReorderPlan();
    void handleReorderNeighbours();
};

// ---- Lists -------------------------------------------------------------------------------------

void TestBoardModel::groupedColumnsLargestFirst() {
    Board board;
    board.add("later low", 1, Bucket::later);
    board.add("later high", 30, Bucket::later);
    board.add("today mid", 20, Bucket::today);
    board.add("today top", 50, Bucket::today);
    board.add("today bottom", -4, Bucket::today);
    board.add("done", 99, Bucket::done);

    const auto& grouped = board.model->grouped();
    QVERIFY(!grouped.contains(Bucket::thisWeek)); // empty buckets have no entry
    QCOMPARE(titles(grouped.value(Bucket::later)), QStringList({"later high", "later low"}));
    QCOMPARE(titles(grouped.value(Bucket::today)),
             QStringList({"today top", "today mid", "today bottom"}));
    QCOMPARE(titles(board.model->doneTasks()), QStringList({"done"}));
    QVERIFY(board.model->tasks(Bucket::thisWeek).isEmpty());

    const QList<TaskItem*>& all = board.model->allTasks();
    QCOMPARE(all.size(), 6);
    for (int i = 1; i < all.size(); ++i)
        QVERIFY(all.at(i - 1)->sortIndex() >= all.at(i)->sortIndex());
}

void TestBoardModel::laterNarrowedBySelection() {
    Board board;
    TaskCategory* work = board.addList("工作", 1);
    TaskCategory* home = board.addList("个人", 2);
    board.add("later work", 5, Bucket::later, work);
    board.add("later home", 4, Bucket::later, home);
    board.add("later none", 3, Bucket::later);
    board.add("week home", 5, Bucket::thisWeek, home);
    board.add("today none", 5, Bucket::today);
    board.add("done home", 5, Bucket::done, home);

    board.model->setSelectedCategoryId(work->id());
    QCOMPARE(titles(board.model->tasks(Bucket::later)), QStringList({"later work"}));
    // The other columns and the done list always show every list.
    QCOMPARE(titles(board.model->tasks(Bucket::thisWeek)), QStringList({"week home"}));
    QCOMPARE(titles(board.model->tasks(Bucket::today)), QStringList({"today none"}));
    QCOMPARE(titles(board.model->tasks(Bucket::done)), QStringList({"done home"}));
    QCOMPARE(board.model->grouped().value(Bucket::later).size(), 3);

    board.model->setSelectedCategoryId(std::nullopt);
    QCOMPARE(titles(board.model->tasks(Bucket::later)),
             QStringList({"later work", "later home", "later none"}));
}

// The lists follow records changed behind the board's back (sync, reminders, reconciliation).
void TestBoardModel::listsFollowTheStore() {
    Board board;
    TaskItem* a = board.add("a", 10, Bucket::today);
    TaskItem* b = board.add("b", 20, Bucket::today);
    QCOMPARE(titles(board.model->tasks(Bucket::today)), QStringList({"b", "a"}));

    a->setSortIndex(30);
    QCOMPARE(titles(board.model->tasks(Bucket::today)), QStringList({"a", "b"}));
    QCOMPARE(board.model->allTasks().first(), a);

    b->setCompleted(true, board.clock.now());
    QCOMPARE(titles(board.model->tasks(Bucket::today)), QStringList({"a"}));
    QCOMPARE(titles(board.model->doneTasks()), QStringList({"b"}));

    board.add("c", 25, Bucket::today);
    QCOMPARE(titles(board.model->tasks(Bucket::today)), QStringList({"a", "c"}));

    board.store.context->remove(a);
    QCOMPARE(titles(board.model->tasks(Bucket::today)), QStringList({"c"}));
    QCOMPARE(board.model->allTasks().size(), 2);

    // Lists: order by sortIndex ascending, kept up to date.
    TaskCategory* second = board.addList("second", 2);
    TaskCategory* first = board.addList("first", 1);
    QCOMPARE(board.model->categories(), (QList<TaskCategory*>{first, second}));
    first->setSortIndex(3);
    QCOMPARE(board.model->categories(), (QList<TaskCategory*>{second, first}));
}

void TestBoardModel::boardChangedOncePerRead() {
    Board board;
    TaskItem* a = board.add("a", 1, Bucket::today);
    TaskItem* b = board.add("b", 2, Bucket::later);
    QSignalSpy changed(board.model.get(), &BoardModel::boardChanged);

    (void)board.model->tasks(Bucket::today);
    a->setSortIndex(5);
    b->move(Bucket::today, board.clock.now(), IsoCalendar());
    QCOMPARE(changed.count(), 1);

    // Read again: the next change is announced again.
    QCOMPARE(titles(board.model->tasks(Bucket::today)), QStringList({"a", "b"}));
    board.store.context->remove(b);
    QCOMPARE(changed.count(), 2);

    (void)board.model->grouped();
    board.model->setSelectedCategoryId(board.addList("l", 1)->id());
    QCOMPARE(changed.count(), 3);
}

void TestBoardModel::refreshNowMovesColumnsOnlyOnANewDay() {
    Board board(local(2024, 6, 12, 9, 0));
    TaskItem* byHand = board.add("by hand", 1, Bucket::today);
    QSignalSpy changed(board.model.get(), &BoardModel::boardChanged);
    QSignalSpy nowChanged(board.model.get(), &BoardModel::nowChanged);

    // Later the same day: `now` moves, the columns do not.
    QCOMPARE(board.model->bucketOf(*byHand), Bucket::today);
    board.clock.setNow(local(2024, 6, 12, 23, 59));
    board.model->refreshNow();
    QCOMPARE(nowChanged.count(), 1);
    QCOMPARE(changed.count(), 0);
    QCOMPARE(board.model->now(), local(2024, 6, 12, 23, 59));

    // Past midnight, the board keeps its stale column until it is refreshed.
    board.clock.setNow(local(2024, 6, 13, 0, 5));
    QCOMPARE(titles(board.model->tasks(Bucket::today)), QStringList({"by hand"}));
    board.model->refreshNow();
    QCOMPARE(changed.count(), 1);
    QVERIFY(board.model->tasks(Bucket::today).isEmpty());
    QCOMPARE(titles(board.model->tasks(Bucket::thisWeek)), QStringList({"by hand"}));

    // The Monday after, the week has passed too.
    board.clock.setNow(local(2024, 6, 17, 8, 0));
    board.model->refreshNow();
    QCOMPARE(titles(board.model->tasks(Bucket::later)), QStringList({"by hand"}));
    QCOMPARE(board.tasksChangedPosts(), 0);
}

// ---- Selection and density ---------------------------------------------------------------------

void TestBoardModel::restoreSelectedList_data() {
    QTest::addColumn<QString>("stored");
    QTest::addColumn<bool>("selectsList");
    QTest::addColumn<bool>("storedKept");

    QTest::newRow("nothing stored") << "" << false << true;
    QTest::newRow("not a UUID") << "工作" << false << true;
    QTest::newRow("the list's id") << "LIST" << true << true;
    QTest::newRow("the list's id, lower case in braces") << "{list}" << true << false;
    QTest::newRow("a list that has gone away") << "GONE" << false << true;
}

void TestBoardModel::restoreSelectedList() {
    QFETCH(QString, stored);
    QFETCH(bool, selectsList);
    QFETCH(bool, storedKept);

    Board board;
    TaskCategory* list = board.addList("工作", 1);
    TaskCategory* gone = board.addList("旧", 2);
    const QString goneId = uuidString(gone->id());
    board.store.context->remove(gone);

    QString raw = stored;
    raw.replace(QStringLiteral("LIST"), uuidString(list->id()));
    raw.replace(QStringLiteral("list"), list->id().toString(QUuid::WithoutBraces).toLower());
    raw.replace(QStringLiteral("GONE"), goneId);
    board.store.preferences->setSelectedListId(raw);
    QSignalSpy selection(board.model.get(), &BoardModel::selectedCategoryIdChanged);

    board.model->restoreSelectedList();

    QCOMPARE(board.model->selectedCategoryId().has_value(), selectsList);
    QCOMPARE(selection.count(), selectsList ? 1 : 0);
    if (selectsList)
        QCOMPARE(*board.model->selectedCategoryId(), list->id());
    const QString after = board.store.preferences->selectedListId();
    QCOMPARE(after, storedKept ? raw : uuidString(list->id()));
}

void TestBoardModel::preferencesOutliveTheBoard() {
    Board board;
    TaskCategory* list = board.addList("工作", 1);
    QSignalSpy compactChanged(board.model.get(), &BoardModel::compactRowsChanged);

    board.model->setSelectedCategoryId(list->id());
    QCOMPARE(board.store.preferences->selectedListId(), uuidString(list->id()));
    board.model->setSelectedCategoryId(std::nullopt);
    QCOMPARE(board.store.preferences->selectedListId(), QString());
    board.model->setSelectedCategoryId(list->id());
    QVERIFY(!board.model->compactRows());
    board.model->setCompactRows(true);
    board.model->setCompactRows(true);
    QCOMPARE(compactChanged.count(), 1);

    // A new board (the window built again) comes back to the stored list and density.
    BoardModel again(*board.store.context, *board.store.preferences, board.clock, board.hub);
    QVERIFY(!again.selectedCategoryId());
    again.restoreSelectedList();
    QCOMPARE(again.selectedCategoryId(), std::optional<QUuid>(list->id()));
    QVERIFY(again.compactRows());
}

void TestBoardModel::deletedListTakesTheSelection_data() {
    QTest::addColumn<bool>("throughBoard");
    QTest::newRow("deleteCategory") << true;
    QTest::newRow("removed elsewhere (sync)") << false;
}

void TestBoardModel::deletedListTakesTheSelection() {
    QFETCH(bool, throughBoard);

    Board board;
    TaskCategory* list = board.addList("工作", 1);
    TaskCategory* other = board.addList("个人", 2);
    TaskItem* task = board.add("t", 1, Bucket::later, list);
    QVERIFY(board.store.context->save());
    board.model->setSelectedCategoryId(list->id());
    QCOMPARE(board.model->tasks(Bucket::later).size(), 1);

    if (throughBoard)
        board.model->deleteCategory(list);
    else
        board.store.context->remove(list);

    QVERIFY(!board.model->selectedCategoryId());
    QCOMPARE(board.store.preferences->selectedListId(), QString());
    QCOMPARE(task->category(), nullptr);
    QCOMPARE(board.model->categories(), QList<TaskCategory*>{other});
    QCOMPARE(titles(board.model->tasks(Bucket::later)), QStringList({"t"}));
    QCOMPARE(board.posts.count(), 0);

    // Deleting a list that is not selected leaves the selection alone.
    board.model->setSelectedCategoryId(other->id());
    board.model->deleteCategory(board.addList("third", 3));
    QCOMPARE(board.model->selectedCategoryId(), std::optional<QUuid>(other->id()));

    QVERIFY(board.store.context->save());
    const auto reopened = board.store.reopen();
    QCOMPARE(reopened->categories().size(), 1);
    QCOMPARE(reopened->task(task->id())->category(), nullptr);
}

// ---- Actions -----------------------------------------------------------------------------------

void TestBoardModel::createEnhanced_data() {
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("note");
    QTest::addColumn<ListRef>("list");
    QTest::addColumn<QDateTime>("dueDate");
    QTest::addColumn<QDateTime>("reminderAt");
    QTest::addColumn<QString>("expectedTitle");
    QTest::addColumn<QDateTime>("expectedDue");
    QTest::addColumn<Bucket>("expectedBucket");

    const QDateTime none;
    QTest::newRow("blank title is refused")
        << " \n\t "
        << "note" << ListRef::known << none << none << "" << none << Bucket::later;
    QTest::newRow("title trimmed, no plan")
        << "  买牛奶\n"
        << "" << ListRef::none << none << none << "买牛奶" << none << Bucket::later;
    QTest::newRow("due tomorrow") << "t"
                                  << "" << ListRef::none << local(2024, 6, 13) << none << "t"
                                  << local(2024, 6, 13) << Bucket::thisWeek;
    QTest::newRow("due today with a time of day")
        << "t"
        << "" << ListRef::none << local(2024, 6, 12, 18, 0) << none << "t" << local(2024, 6, 12)
        << Bucket::today;
    QTest::newRow("reminder next Tuesday, no day")
        << "t"
        << "" << ListRef::none << none << local(2024, 6, 18, 9, 15) << "t" << local(2024, 6, 18)
        << Bucket::later;
    QTest::newRow("day and reminder on different days")
        << "t"
        << "" << ListRef::none << local(2024, 6, 14) << local(2024, 6, 13, 20, 0) << "t"
        << local(2024, 6, 14) << Bucket::thisWeek;
    QTest::newRow("known list, with note")
        << "t"
        << "第一行\n第二行" << ListRef::known << none << none << "t" << none << Bucket::later;
    QTest::newRow("list that has gone away")
        << "t"
        << "" << ListRef::unknown << none << none << "t" << none << Bucket::later;
}

void TestBoardModel::createEnhanced() {
    QFETCH(QString, title);
    QFETCH(QString, note);
    QFETCH(ListRef, list);
    QFETCH(QDateTime, dueDate);
    QFETCH(QDateTime, reminderAt);
    QFETCH(QString, expectedTitle);
    QFETCH(QDateTime, expectedDue);
    QFETCH(Bucket, expectedBucket);

    Board board;
    TaskCategory* known = board.addList("工作", 1);
    std::optional<QUuid> listId;
    if (list == ListRef::known)
        listId = known->id();
    else if (list == ListRef::unknown)
        listId = QUuid::createUuid();
    // The dialog may hand over a draft long after the board last refreshed its `now`.
    board.clock.advance(60 * 1000);

    board.model->createEnhanced(EnhancedDraft{title, note, listId, dueDate, reminderAt});

    if (expectedTitle.isEmpty()) {
        QVERIFY(board.store.context->tasks().isEmpty());
        QVERIFY(board.reminders.synced.isEmpty());
        QVERIFY(board.sounds.played.isEmpty());
        QCOMPARE(board.posts.count(), 0);
        return;
    }

    QCOMPARE(board.store.context->tasks().size(), 1);
    TaskItem* task = board.store.context->tasks().first();
    QCOMPARE(task->title(), expectedTitle);
    QCOMPARE(task->sortIndex(), qint64(1));
    QCOMPARE(task->dueDate(), expectedDue);
    QCOMPARE(task->scheduledExplicitly(), expectedDue.isValid());
    if (expectedDue.isValid()) {
        const WeekKey week = IsoCalendar().weekKey(expectedDue);
        QCOMPARE(task->year(), std::optional<qint64>(week.year));
        QCOMPARE(task->week(), std::optional<qint64>(week.week));
    } else {
        QVERIFY(!task->year() && !task->week());
    }
    QCOMPARE(task->reminderAt(), reminderAt);
    QCOMPARE(task->category(), list == ListRef::known ? known : nullptr);
    QCOMPARE(task->note(), note);
    QCOMPARE(task->richNote().plainText(), note);
    QCOMPARE(task->noteData().isEmpty(), note.isEmpty());
    QCOMPARE(task->createdAt(), board.clock.now());
    QVERIFY(!task->completed());
    QCOMPARE(board.model->bucketOf(*task), expectedBucket);
    QVERIFY(board.model->tasks(expectedBucket).contains(task));

    QCOMPARE(board.reminders.synced, QList<QUuid>{task->id()});
    QVERIFY(board.reminders.cancelled.isEmpty());
    QCOMPARE(board.sounds.played, QList<AppSound>{AppSound::create});
    QCOMPARE(board.posts.count(), 1);
    QCOMPARE(board.tasksChangedPosts(), 1);
    QVERIFY(board.store.context->hasChanges()); // the board never saves
}

void TestBoardModel::createEnhancedSortIndex_data() {
    QTest::addColumn<QList<qint64>>("existing");
    QTest::addColumn<qint64>("expected");

    QTest::newRow("empty store") << QList<qint64>{} << qint64(1);
    QTest::newRow("above the largest") << QList<qint64>{3, 41, -2} << qint64(42);
    QTest::newRow("only negative") << QList<qint64>{-5, -90} << qint64(-4);
    QTest::newRow("largest is finished") << QList<qint64>{7, 2000} << qint64(2001);
}

void TestBoardModel::createEnhancedSortIndex() {
    QFETCH(QList<qint64>, existing);
    QFETCH(qint64, expected);

    Board board;
    for (qint64 value : existing)
        board.add("old", value, value == 2000 ? Bucket::done : Bucket::later);
    board.sounds.enabled = false;
    board.model->createEnhanced(EnhancedDraft{QStringLiteral("new"), {}, {}, {}, {}});

    QCOMPARE(board.model->allTasks().first()->title(), QStringLiteral("new"));
    QCOMPARE(board.model->allTasks().first()->sortIndex(), expected);
    QVERIFY(board.sounds.played.isEmpty()); // sound effects off
}

void TestBoardModel::saveEditPlan_data() {
    QTest::addColumn<Start>("start");
    QTest::addColumn<QDateTime>("draftDue");
    QTest::addColumn<bool>("rescheduled");

    const QDateTime none;
    QTest::newRow("placed in today by hand, day untouched")
        << Start::byHandToday << local(2024, 6, 12) << false;
    QTest::newRow("placed in today by hand, day moved")
        << Start::byHandToday << local(2024, 6, 14) << true;
    QTest::newRow("explicit, day untouched")
        << Start::explicitFriday << local(2024, 6, 14) << false;
    QTest::newRow("explicit, day removed") << Start::explicitFriday << none << true;
    QTest::newRow("explicit overdue, day untouched")
        << Start::explicitOverdue << local(2024, 6, 3) << false;
    QTest::newRow("this week without a day, still none") << Start::thisWeekOnly << none << false;
    QTest::newRow("unplanned, given a day") << Start::unplanned << local(2024, 6, 20) << true;
    QTest::newRow("explicit, same day at another time")
        << Start::explicitFriday << local(2024, 6, 14, 9, 0) << true;
}

void TestBoardModel::saveEditPlan() {
    QFETCH(Start, start);
    QFETCH(QDateTime, draftDue);
    QFETCH(bool, rescheduled);

    Board board;
    const IsoCalendar calendar;
    const QDateTime created = board.clock.now();
    TaskCategory* list = board.addList("工作", 1);
    TaskItem* task = board.add("原标题", 5, Bucket::later);
    plan(task, start, created);
    task->setReminderAt(local(2024, 6, 13, 8, 0));
    const QDateTime due = task->dueDate();
    const auto year = task->year();
    const auto week = task->week();
    const bool wasExplicit = task->scheduledExplicitly();
    board.clock.advance(3600 * 1000);

    const QDateTime reminder = local(2024, 6, 19, 7, 30);
    board.model->saveEdit(task, EnhancedDraft{QStringLiteral(" 新标题 "), task->note(), list->id(),
                                              draftDue, reminder});

    QCOMPARE(task->title(), QStringLiteral(" 新标题 ")); // taken as it stands
    QCOMPARE(task->reminderAt(), reminder);
    QCOMPARE(task->category(), list);
    if (rescheduled) {
        QCOMPARE(task->dueDate(), calendar.startOfDay(draftDue));
        QCOMPARE(task->scheduledExplicitly(), draftDue.isValid());
        const WeekKey key = calendar.weekKey(draftDue);
        QCOMPARE(task->year(), draftDue.isValid() ? std::optional<qint64>(key.year) : std::nullopt);
        QCOMPARE(task->week(), draftDue.isValid() ? std::optional<qint64>(key.week) : std::nullopt);
        QCOMPARE(task->updatedAt(), board.model->now());
    } else {
        QCOMPARE(task->dueDate(), due);
        QCOMPARE(task->year(), year);
        QCOMPARE(task->week(), week);
        QCOMPARE(task->scheduledExplicitly(), wasExplicit);
        QCOMPARE(task->updatedAt(), created);
    }

    QCOMPARE(board.reminders.synced, QList<QUuid>{task->id()});
    QVERIFY(board.sounds.played.isEmpty());
    QCOMPARE(board.tasksChangedPosts(), 1);
    QCOMPARE(board.posts.count(), 1);
}

void TestBoardModel::saveEditNote() {
    Board board;
    TaskItem* task = board.add("t", 1, Bucket::today);
    const RichText rich({TextRun{QStringLiteral("粗体"), true}, TextRun{QStringLiteral(" 普通")}});
    task->setRichNote(rich, board.clock.now());
    const QByteArray richData = task->noteData();

    // Same plain text: the formatting stays.
    board.model->saveEdit(task, EnhancedDraft{task->title(), task->note(), {}, {}, {}});
    QCOMPARE(task->noteData(), richData);
    QCOMPARE(task->richNote(), rich);

    // Edited text: plain from now on.
    board.model->saveEdit(task, EnhancedDraft{task->title(), QStringLiteral("新内容"), {}, {}, {}});
    QCOMPARE(task->note(), QStringLiteral("新内容"));
    QCOMPARE(task->richNote(), RichText::fromPlainText(QStringLiteral("新内容")));
    QCOMPARE(board.tasksChangedPosts(), 2);
}

void TestBoardModel::toggleSounds_data() {
    QTest::addColumn<int>("openInToday");
    QTest::addColumn<bool>("waitBetween");
    QTest::addColumn<QList<AppSound>>("expected");

    QTest::newRow("the only task of its column") << 1 << true << QList{AppSound::celebration};
    QTest::newRow("two, one after the other")
        << 2 << true << QList{AppSound::complete, AppSound::celebration};
    QTest::newRow("two within the delay")
        << 2 << false << QList{AppSound::complete, AppSound::complete};
    QTest::newRow("three, one after the other")
        << 3 << true << QList{AppSound::complete, AppSound::complete, AppSound::celebration};
}

void TestBoardModel::toggleSounds() {
    QFETCH(int, openInToday);
    QFETCH(bool, waitBetween);
    QFETCH(QList<AppSound>, expected);

    Board board;
    QList<TaskItem*> tasks;
    for (int i = 0; i < openInToday; ++i)
        tasks.append(board.add(QStringLiteral("t%1").arg(i), i, Bucket::today));
    board.add("finished", 100, Bucket::done); // not counted: it has left the column

    for (TaskItem* task : tasks) {
        board.model->toggle(task);
        if (waitBetween)
            QTRY_VERIFY_WITH_TIMEOUT(board.settled(), 5000);
    }
    QTRY_VERIFY_WITH_TIMEOUT(board.settled(), 5000);
    QCOMPARE(board.sounds.played, expected);
    for (const TaskItem* task : tasks)
        QVERIFY(task->completed());
}

void TestBoardModel::toggleCompletesAfterTheDelay() {
    Board board;
    TaskCategory* work = board.addList("工作", 1);
    TaskItem* task = board.add("visible", 3, Bucket::later, work);
    board.add("hidden", 2, Bucket::later);
    board.model->setSelectedCategoryId(work->id());
    QCOMPARE(board.model->tasks(Bucket::later), QList<TaskItem*>{task});
    QSignalSpy completing(board.model.get(), &BoardModel::completingIdsChanged);

    QElapsedTimer elapsed;
    elapsed.start();
    board.model->toggle(task);
    // Another list's task is hidden but still in the column: not the last one.
    QCOMPARE(board.sounds.played, QList{AppSound::complete});
    QVERIFY(board.model->completingIds().contains(task->id()));
    QCOMPARE(completing.count(), 1);
    // Until the write the task is open and keeps its place.
    QVERIFY(!task->completed());
    QVERIFY(board.model->tasks(Bucket::later).contains(task));
    QVERIFY(board.reminders.synced.isEmpty());
    QCOMPARE(board.posts.count(), 0);

    // A second click during the delay does nothing.
    board.model->toggle(task);
    QCOMPARE(board.sounds.played.size(), 1);

    board.clock.advance(250);
    const QDateTime writeTime = board.clock.now();
    QTRY_VERIFY_WITH_TIMEOUT(task->completed(), 5000);
    // Timers may fire a little early, never by more than a few percent.
    QVERIFY2(elapsed.elapsed() >= 280, qPrintable(QString::number(elapsed.elapsed())));
    QCOMPARE(task->completedAt(), writeTime);
    QVERIFY(board.model->completingIds().isEmpty());
    QCOMPARE(completing.count(), 2);
    QCOMPARE(board.reminders.synced, QList<QUuid>{task->id()});
    QCOMPARE(board.tasksChangedPosts(), 1);
    QCOMPARE(board.model->doneTasks(), QList<TaskItem*>{task});
    QVERIFY(board.model->tasks(Bucket::later).isEmpty());
}

void TestBoardModel::toggleReopensAtOnce() {
    Board board;
    TaskItem* task = board.add("done", 1, Bucket::done);
    task->schedule(local(2024, 6, 14), board.clock.now(), IsoCalendar());
    board.clock.advance(5000);

    board.model->toggle(task);
    QVERIFY(!task->completed());
    QVERIFY(!task->completedAt().isValid());
    QCOMPARE(task->updatedAt(), board.clock.now());
    QCOMPARE(board.sounds.played, QList{AppSound::uncomplete});
    QCOMPARE(board.reminders.synced, QList<QUuid>{task->id()});
    QCOMPARE(board.tasksChangedPosts(), 1);
    QVERIFY(board.model->completingIds().isEmpty());
    QCOMPARE(board.model->bucketOf(*task), Bucket::thisWeek);
}

void TestBoardModel::deleteDuringCompletion_data() {
    QTest::addColumn<bool>("toggled");
    QTest::addColumn<bool>("savedInBetween");
    QTest::newRow("no completion pending") << false << false;
    QTest::newRow("deleted during completion, not saved yet") << true << false;
    QTest::newRow("deleted during completion and saved") << true << true;
}

void TestBoardModel::deleteDuringCompletion() {
    QFETCH(bool, toggled);
    QFETCH(bool, savedInBetween);

    Board board;
    TaskItem* keep = board.add("keep", 2, Bucket::today);
    TaskItem* task = board.add("gone", 1, Bucket::today);
    task->setReminderAt(local(2024, 6, 12, 18, 0));
    const QUuid id = task->id();
    QVERIFY(board.store.context->save());

    if (toggled)
        board.model->toggle(task);
    board.model->remove(task);
    QCOMPARE(board.reminders.cancelled, QList<QUuid>{id});
    QCOMPARE(board.tasksChangedPosts(), 1);
    QVERIFY(!board.store.context->task(id));
    // A second delete of the same record changes nothing and tells no one.
    board.model->remove(task);
    QCOMPARE(board.reminders.cancelled.size(), 1);
    QCOMPARE(board.posts.count(), 1);
    QPointer<TaskItem> watch(task);
    if (savedInBetween) {
        QVERIFY(board.store.context->save());
        QTRY_VERIFY_WITH_TIMEOUT(watch.isNull(), 5000); // the record is freed
    }

    QTRY_VERIFY_WITH_TIMEOUT(board.settled(), 5000);
    // The late write found nothing to complete: no reminder, no second announcement.
    QVERIFY(board.reminders.synced.isEmpty());
    QCOMPARE(board.tasksChangedPosts(), 1);
    QCOMPARE(board.sounds.played, toggled ? QList{AppSound::complete} : QList<AppSound>{});
    QCOMPARE(board.model->allTasks(), QList<TaskItem*>{keep});

    QVERIFY(board.store.context->save());
    const auto reopened = board.store.reopen();
    QVERIFY(reopened);
    QCOMPARE(reopened->tasks().size(), 1);
    QVERIFY(!reopened->task(id));
    QVERIFY(!reopened->task(keep->id())->completed());
}

void TestBoardModel::boardGoneDuringCompletion() {
    Board board;
    TaskItem* task = board.add("t", 1, Bucket::today);
    board.model->toggle(task);
    board.model.reset();
    QTest::qWait(BoardModel::completionDelayMs + 200);
    QVERIFY(!task->completed());
    QCOMPARE(board.posts.count(), 0);
}

void TestBoardModel::assignTaskCategory() {
    Board board;
    TaskCategory* list = board.addList("工作", 1);
    TaskItem* task = board.add("t", 1, Bucket::later);
    const QDateTime boardNow = board.model->now();
    board.clock.advance(3600 * 1000); // the board has not refreshed: its `now` is used
    board.model->setSelectedCategoryId(list->id());
    QVERIFY(board.model->tasks(Bucket::later).isEmpty());

    board.model->assignTaskCategory(task, list);
    QCOMPARE(task->category(), list);
    QCOMPARE(task->updatedAt(), boardNow);
    QCOMPARE(board.model->tasks(Bucket::later), QList<TaskItem*>{task});

    board.model->assignTaskCategory(task, nullptr);
    QCOMPARE(task->category(), nullptr);
    QVERIFY(board.model->tasks(Bucket::later).isEmpty());
    QCOMPARE(board.posts.count(), 0);
    QVERIFY(board.reminders.synced.isEmpty());
}

void TestBoardModel::createCategory() {
    Board board;
    QSignalSpy listsChanged(board.model.get(), &BoardModel::categoriesChanged);
    board.model->createCategory(QStringLiteral("工作"), QStringLiteral("0090FF"));
    QCOMPARE(board.model->categories().size(), 1);
    TaskCategory* first = board.model->categories().first();
    QCOMPARE(first->sortIndex(), qint64(1));
    QCOMPARE(first->name(), QStringLiteral("工作"));
    QCOMPARE(first->colorHex(), QStringLiteral("0090FF"));
    QVERIFY(listsChanged.count() >= 1);

    board.addList("far", 7);
    board.model->createCategory(QStringLiteral(" 空格 "), QStringLiteral("zz"));
    QCOMPARE(board.model->categories().last()->sortIndex(), qint64(8));
    QCOMPARE(board.model->categories().last()->name(), QStringLiteral(" 空格 "));
    QVERIFY(!board.model->selectedCategoryId());
    QCOMPARE(board.posts.count(), 0);

    // Nothing is posted, yet the next save takes the lists along.
    QVERIFY(board.store.context->save());
    QCOMPARE(board.store.reopen()->categories().size(), 3);
}

void TestBoardModel::handleReorderPlan_data() {
    QTest::addColumn<Start>("start");
    QTest::addColumn<bool>("finished");
    QTest::addColumn<Bucket>("target");

    QTest::newRow("unplanned into today") << Start::unplanned << false << Bucket::today;
    QTest::newRow("unplanned into this week") << Start::unplanned << false << Bucket::thisWeek;
    QTest::newRow("by hand today into this week")
        << Start::byHandToday << false << Bucket::thisWeek;
    QTest::newRow("explicit Friday into later") << Start::explicitFriday << false << Bucket::later;
    QTest::newRow("explicit Friday into today") << Start::explicitFriday << false << Bucket::today;
    QTest::newRow("within today, explicit overdue")
        << Start::explicitOverdue << false << Bucket::today;
    QTest::newRow("within this week, explicit Friday")
        << Start::explicitFriday << false << Bucket::thisWeek;
    QTest::newRow("within later, unplanned") << Start::unplanned << false << Bucket::later;
    QTest::newRow("finished task dropped into today")
        << Start::explicitFriday << true << Bucket::today;
}

void TestBoardModel::handleReorderPlan() {
    QFETCH(Start, start);
    QFETCH(bool, finished);
    QFETCH(Bucket, target);

    Board board;
    const QDateTime created = board.clock.now();
    TaskItem* task = board.add("dragged", 1, Bucket::later);
    plan(task, start, created);
    if (finished)
        task->setCompleted(true, created);
    task->setReminderAt(local(2024, 6, 20, 9, 0));
    board.add("top of target", 5000, target);
    const bool sameColumn = board.model->bucketOf(*task) == target;
    const QDateTime due = task->dueDate();
    const auto week = task->week();
    const bool wasExplicit = task->scheduledExplicitly();

    board.model->handleReorder(task->id(), target, std::nullopt);

    QCOMPARE(board.model->bucketOf(*task), target);
    QVERIFY(!task->completed());
    if (sameColumn) {
        QCOMPARE(task->dueDate(), due);
        QCOMPARE(task->week(), week);
        QCOMPARE(task->scheduledExplicitly(), wasExplicit);
    } else {
        QVERIFY(!task->scheduledExplicitly());
        QCOMPARE(task->dueDate(), target == Bucket::today ? local(2024, 6, 12) : QDateTime());
        QCOMPARE(task->week(), target == Bucket::later ? std::nullopt : std::optional<qint64>(24));
    }
    // Dropped at the bottom, under the one other row.
    QCOMPARE(task->sortIndex(), qint64(5000 - 1024));
    QCOMPARE(task->reminderAt(), local(2024, 6, 20, 9, 0));
    QCOMPARE(task->updatedAt(), board.model->now());
    QCOMPARE(board.sounds.played, QList{AppSound::move});
    QCOMPARE(board.tasksChangedPosts(), 1);
    QVERIFY(board.reminders.synced.isEmpty());
}

void TestBoardModel::handleReorderNeighbours() {
    Board board;
    TaskCategory* work = board.addList("工作", 1);
    TaskCategory* home = board.addList("个人", 2);
    TaskItem* w1 = board.add("w1", 3000, Bucket::later, work);
    TaskItem* hidden = board.add("hidden", 2000, Bucket::later, home);
    TaskItem* w2 = board.add("w2", 1000, Bucket::later, work);
    TaskItem* dragged = board.add("dragged", 10, Bucket::today, home);
    board.model->setSelectedCategoryId(work->id());
    QCOMPARE(board.model->tasks(Bucket::later), (QList<TaskItem*>{w1, w2}));

    // Before w2 in the filtered view: the hidden row is its real upper neighbour.
    board.model->handleReorder(dragged->id(), Bucket::later, w2->id());
    QCOMPARE(dragged->sortIndex(), qint64(1500));
    QCOMPARE(dragged->category(), home); // a drop never assigns the selected list
    QVERIFY(!board.model->tasks(Bucket::later).contains(dragged));
    QCOMPARE(board.model->grouped().value(Bucket::later),
             (QList<TaskItem*>{w1, hidden, dragged, w2}));

    // Within the column: the moved row is not its own neighbour.
    board.model->handleReorder(w1->id(), Bucket::later, w2->id());
    QCOMPARE(w1->sortIndex(), qint64((1500 + 1000) / 2));
    // To the top, and to the bottom when the row before has gone.
    board.model->handleReorder(w2->id(), Bucket::later, hidden->id());
    QCOMPARE(w2->sortIndex(), qint64(2000 + 1024));
    board.model->handleReorder(hidden->id(), Bucket::later, QUuid::createUuid());
    QCOMPARE(hidden->sortIndex(), qint64(1250 - 1024));
    QCOMPARE(titles(board.model->grouped().value(Bucket::later)),
             QStringList({"w2", "dragged", "w1", "hidden"}));
    QCOMPARE(board.sounds.played.size(), 4);
    QCOMPARE(board.tasksChangedPosts(), 4);

    // Nothing to move: an unknown id, or a task removed behind the board's back.
    board.store.context->remove(hidden);
    board.model->handleReorder(hidden->id(), Bucket::today, std::nullopt);
    board.model->handleReorder(QUuid::createUuid(), Bucket::today, std::nullopt);
    QCOMPARE(hidden->sortIndex(), qint64(1250 - 1024));
    QCOMPARE(board.sounds.played.size(), 4);
    QCOMPARE(board.posts.count(), 4);
}

QTEST_GUILESS_MAIN(TestBoardModel)
#include "tst_boardmodel.moc"
