#include "BoardControllerFixture.h"
#include "ModelMirror.h"
#include "TestData.h"
#include "board/TaskListModel.h"

#include <QAbstractItemModelTester>
#include <QKeySequence>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <memory>
#include <vector>

using namespace BoardTest;

namespace {

QString listName(const Board& board) {
    const QString id = board.controller->selectedCategoryId();
    if (id.isEmpty())
        return QString();
    const TaskCategory* list = board.store.context->category(QUuid::fromString(id));
    return list ? list->name() : QStringLiteral("?");
}

void selectList(Board& board, const QString& name) {
    QString id;
    for (const TaskCategory* list : board.store.context->categories()) {
        if (list->name() == name)
            id = list->id().toString(QUuid::WithoutBraces);
    }
    board.controller->selectCategory(id);
    board.controller->syncModels();
}

const QString standardColumns = QStringLiteral("L1 L2 L3 | W1 W2 | T1 T2 T3");

constexpr qreal columnWidth = 300;
constexpr qreal rowHeight = 50;
constexpr qreal firstRowY = 100;

void layOut(Board& board) {
    BoardDragController& drag = *board.controller->drag();
    drag.clearRowFrames();
    for (int c = 0; c < int(BucketInfo::columns.size()); ++c) {
        const Bucket bucket = BucketInfo::columns[size_t(c)];
        TaskListModel* list = board.controller->columnModel(bucket);
        drag.setColumnFrame(bucket, QRectF(c * columnWidth, 60, columnWidth, 600));
        for (int row = 0; row < list->count(); ++row) {
            if (list->data(list->index(row), TaskListModel::IsGhostRole).toBool())
                continue;
            drag.addRowFrame(
                {list->taskAt(row)->id(), bucket,
                 QRectF(c * columnWidth, firstRowY + row * rowHeight, columnWidth, rowHeight)});
        }
    }
    drag.setCategoryStripFrame(QRectF(0, 0, 300, 40));
    drag.clearTabFrames();
    drag.addTabFrame({std::nullopt, QRectF(0, 0, 100, 40)});
    qreal x = 100;
    for (const TaskCategory* list : board.model->categories()) {
        drag.addTabFrame({list->id(), QRectF(x, 0, 60, 40)});
        x += 60;
    }
}

QPointF centreOf(Board& board, const QString& title) {
    for (int c = 0; c < int(BucketInfo::columns.size()); ++c) {
        const TaskListModel* list = board.controller->columnModel(BucketInfo::columns[size_t(c)]);
        const int row = list->indexOfId(board.idOf(title));
        if (row >= 0)
            return {c * columnWidth + columnWidth / 2, firstRowY + row * rowHeight + rowHeight / 2};
    }
    return {-1, -1};
}

void drag(Board& board, const QString& title, const QList<QPointF>& points) {
    layOut(board);
    const QPointF start = centreOf(board, title);
    for (const QPointF& point : points) {
        layOut(board);
        board.controller->drag()->dragChanged(start, point);
    }
}

QString describe(const Board& board, const std::optional<DropTarget>& target) {
    if (!target)
        return QStringLiteral("none");
    if (target->kind == DropTarget::Kind::assignCategory) {
        const TaskCategory* list =
            target->categoryId ? board.store.context->category(*target->categoryId) : nullptr;
        return QStringLiteral("list ") + (list ? list->name() : QStringLiteral("all"));
    }
    const QString before =
        target->beforeId ? board.titleOf(target->beforeId->toString()) : QStringLiteral("end");
    return BucketInfo::rawValue(target->bucket) + QStringLiteral(" before ") + before;
}

QString ghostOf(const Board& board, Bucket bucket) {
    const TaskListModel* list = board.controller->columnModel(bucket);
    for (int row = 0; row < list->count(); ++row) {
        if (list->data(list->index(row), TaskListModel::IsGhostRole).toBool()) {
            const bool faded = list->data(list->index(row), TaskListModel::IsDraggingRole).toBool();
            return list->taskAt(row)->title() +
                   (faded ? QStringLiteral(" faded") : QStringLiteral(" landed"));
        }
    }
    return QString();
}

} // namespace

class TestBoardController : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void keys_data() { TestData::addRows("board-keys.json", "keys"); }

    void keys() {
        QFETCH(QJsonObject, row);
        const QString focused = row["focused"].toString();
        const QString key = row["key"].toString();
        const bool active = row["active"].toBool();
        const bool handled = row["handled"].toBool();
        const QString columnsAfter = row["columns"].toString();
        Board board;
        fillStandardBoard(board);
        selectList(board, row["list"].toString());
        board.focus(focused);
        board.controller->setKeyboardActive(active);

        const QKeyCombination combination = QKeySequence::fromString(key)[0];
        QCOMPARE(board.controller->handleBoardKey(combination.key(),
                                                  int(combination.keyboardModifiers())),
                 handled);
        board.controller->syncModels();

        QCOMPARE(board.focusedTitle(), row["focus"].toString());
        QCOMPARE(board.columns(),
                 columnsAfter == QLatin1String("=") ? standardColumns : columnsAfter);
        QCOMPARE(listName(board), row["listAfter"].toString());
        QCOMPARE(board.controller->keyboardActive(), handled || active);
        const bool opens = handled && active && key == QLatin1String("Return");
        QCOMPARE(board.controller->editingTask(), opens ? board.byTitle(focused) : nullptr);
    }

    void highlightNeedsFocusAndKeyboard() {
        Board board;
        fillStandardBoard(board);
        BoardController& c = *board.controller;

        c.setBoardFocused(true); // nothing located: the default row is taken
        QCOMPARE(board.focusedTitle(), QStringLiteral("T1"));
        QCOMPARE(c.highlightedTaskId(), QString());

        c.handleBoardKey(Qt::Key_Down, Qt::NoModifier); // lights only
        QCOMPARE(c.highlightedTaskId(), board.idOf(QStringLiteral("T1")));
        c.handleBoardKey(Qt::Key_Down, Qt::NoModifier);
        QCOMPARE(c.highlightedTaskId(), board.idOf(QStringLiteral("T2")));

        c.pointerMoved();
        QCOMPARE(c.highlightedTaskId(), QString());
        QCOMPARE(board.focusedTitle(), QStringLiteral("T2"));
        c.handleBoardKey(Qt::Key_Down, Qt::NoModifier);
        QCOMPARE(c.highlightedTaskId(), board.idOf(QStringLiteral("T2")));

        c.setBoardFocused(false);
        QVERIFY(!c.keyboardActive());
        QCOMPARE(c.highlightedTaskId(), QString());
        c.setBoardFocused(true);
        QCOMPARE(board.focusedTitle(), QStringLiteral("T2"));
        QCOMPARE(c.highlightedTaskId(), QString());

        // Completing moves the focus at once; the row leaves after the delay.
        c.setKeyboardActive(true);
        c.handleBoardKey(Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(board.focusedTitle(), QStringLiteral("T3"));
        QVERIFY(!board.byTitle(QStringLiteral("T2"))->completed());
        QCOMPARE(c.todayModel()->count(), 3);
        QCOMPARE(c.todayModel()->data(c.todayModel()->index(1), TaskListModel::CompletingRole),
                 QVariant(true));

        c.handleBoardKey(Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(board.focusedTitle(), QStringLiteral("T2"));

        QTRY_VERIFY(board.byTitle(QStringLiteral("T2"))->completed());
        QTRY_COMPARE(board.columns(), QStringLiteral("L1 L2 L3 | W1 W2 | T1"));
        QCOMPARE(c.doneModel()->count(), 2);
    }

    void modelsFollowTheBoardRowByRow() {
        Board board;
        fillStandardBoard(board);
        BoardController& c = *board.controller;
        std::vector<std::unique_ptr<QAbstractItemModelTester>> testers;
        std::vector<std::unique_ptr<QSignalSpy>> resets;
        std::vector<std::unique_ptr<ModelMirror>> mirrors;
        for (QAbstractItemModel* model : std::initializer_list<QAbstractItemModel*>{
                 c.laterModel(), c.thisWeekModel(), c.todayModel(), c.doneModel(),
                 c.categoriesModel()}) {
            testers.push_back(std::make_unique<QAbstractItemModelTester>(
                model, QAbstractItemModelTester::FailureReportingMode::QtTest));
            resets.push_back(
                std::make_unique<QSignalSpy>(model, &QAbstractItemModel::modelAboutToBeReset));
            mirrors.push_back(std::make_unique<ModelMirror>(model, Qt::DisplayRole));
        }
        auto mirrorsAgree = [&] {
            for (int i = 0; i < 4; ++i) {
                const Bucket bucket = BucketInfo::allCases[size_t(i)];
                QStringList titles;
                for (const TaskItem* task : board.model->tasks(bucket))
                    titles << task->title();
                if (mirrors[size_t(i)]->rows() != titles) {
                    qWarning() << BucketInfo::rawValue(bucket) << mirrors[size_t(i)]->rows()
                               << titles;
                    return false;
                }
            }
            QStringList names;
            for (const TaskCategory* list : board.model->categories())
                names << list->name();
            return mirrors[4]->rows() == names;
        };
        QSignalSpy todayMoves(c.todayModel(), &QAbstractItemModel::rowsMoved);

        board.model->handleReorder(board.byTitle(QStringLiteral("T3"))->id(), Bucket::today,
                                   board.byTitle(QStringLiteral("T1"))->id());
        c.syncModels();
        QCOMPARE(board.columns(), QStringLiteral("L1 L2 L3 | W1 W2 | T3 T1 T2"));
        QCOMPARE(todayMoves.count(), 1);
        QVERIFY(mirrorsAgree());

        board.model->handleReorder(board.byTitle(QStringLiteral("W1"))->id(), Bucket::today,
                                   std::nullopt);
        c.createEnhanced(EnhancedDraft{QStringLiteral("N1"), {}, {}, {}, {}});
        c.deleteTask(board.byTitle(QStringLiteral("L2")));
        c.createCategory(QStringLiteral("C"), QStringLiteral("E5484D"));
        c.syncModels();
        QCOMPARE(board.columns(), QStringLiteral("N1 L1 L3 | W2 | T3 T1 T2 W1"));
        QVERIFY(mirrorsAgree());
        c.toggle(board.byTitle(QStringLiteral("T1")));
        QTRY_COMPARE(board.columns(), QStringLiteral("N1 L1 L3 | W2 | T3 T2 W1"));
        QVERIFY(mirrorsAgree());
        c.toggle(board.byTitle(QStringLiteral("T1"))); // back from the done list at once
        c.syncModels();
        QCOMPARE(board.columns(), QStringLiteral("N1 L1 L3 | W2 | T3 T1 T2 W1"));
        c.deleteCategory(c.categoriesModel()->categories().first()->id().toString());
        c.syncModels();
        QCOMPARE(c.categoriesModel()->count(), 2);
        QVERIFY(mirrorsAgree());

        board.clock.setNow(local(2026, 6, 22, 9, 0));
        c.refreshNow();
        c.syncModels();
        QCOMPARE(c.laterModel()->count(), 8);
        QCOMPARE(c.thisWeekModel()->count() + c.todayModel()->count(), 0);
        QVERIFY(mirrorsAgree());

        // A record removed behind the board's back leaves its row at once.
        QSignalSpy removed(c.laterModel(), &QAbstractItemModel::rowsRemoved);
        board.store.context->remove(board.byTitle(QStringLiteral("W2")));
        QCOMPARE(removed.count(), 1);
        QCOMPARE(c.laterModel()->count(), 7);
        QVERIFY(board.store.context->save());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        c.syncModels();
        QVERIFY(mirrorsAgree());

        for (const auto& spy : resets)
            QCOMPARE(spy->count(), 0);
    }

    void editingFollowsTheDialog() {
        Board board;
        fillStandardBoard(board);
        BoardController& c = *board.controller;
        QSignalSpy spy(&c, &BoardController::editingTaskChanged);
        TaskItem* t2 = board.byTitle(QStringLiteral("T2"));

        c.beginEditing(t2);
        QCOMPARE(c.editingTaskId(), board.idOf(QStringLiteral("T2")));
        c.saveEdit(t2, EnhancedDraft{QStringLiteral("T2 renamed"), {}, {}, t2->dueDate(), {}});
        QCOMPARE(t2->title(), QStringLiteral("T2 renamed"));
        QVERIFY(!t2->scheduledExplicitly());
        QCOMPARE(board.model->bucketOf(*t2), Bucket::today);
        c.endEditing();
        QCOMPARE(c.editingTaskId(), QString());

        TaskItem* t3 = board.byTitle(QStringLiteral("T3"));
        c.beginEditing(t3);
        c.deleteTask(t3);
        QCOMPARE(c.editingTask(), nullptr);
        QCOMPARE(spy.count(), 4);
    }

    void notificationsReachTheViews() {
        const QString unknown = QStringLiteral("6b1f0c6e-5d53-4a0e-9a3c-2f1b7c8d9e01");
        for (const QString& taskId : {QStringLiteral("T2"), unknown, QStringLiteral("T3")}) {
            Board board;
            fillStandardBoard(board);
            const bool opens = taskId == QLatin1String("T2");
            const QString id = board.byTitle(taskId) ? board.idOf(taskId) : taskId;
            board.controller->deleteTask(board.byTitle(QStringLiteral("T3")));
            board.clock.advance(3600 * 1000);
            board.hub.post(TavikNotification::openTask, {{QStringLiteral("taskId"), id.toUpper()}});
            QCOMPARE(board.controller->editingTask(), opens ? board.byTitle(taskId) : nullptr);
            QCOMPARE(board.controller->now(), opens ? board.clock.now() : wednesday);
        }
        Board board;
        QSignalSpy blur(board.controller.get(), &BoardController::blurInput);
        board.hub.post(TavikNotification::blurInput);
        QCOMPARE(blur.count(), 1);
    }

    void appearingRefreshesNowAndRestoresTheList() {
        Board board;
        fillStandardBoard(board);
        const QUuid b = board.store.context->categories().at(1)->id();
        board.store.preferences->setSelectedListId(b.toString(QUuid::WithoutBraces).toUpper());
        board.clock.setNow(local(2026, 6, 18, 8, 0));

        board.controller->boardAppeared();
        QCOMPARE(board.controller->now(), board.clock.now());
        QCOMPARE(listName(board), QStringLiteral("B"));
        board.controller->syncModels();
        QCOMPARE(board.columns(), QStringLiteral("L3 | W1 W2 T1 T2 T3 | "));
    }

    void onlyADragThatStartsOnARowMovesATask() {
        Board board;
        fillStandardBoard(board);
        BoardDragState& state = *board.controller->dragState();

        layOut(board);
        const QPointF empty(750, 500);
        for (qreal y : {480.0, 300.0, 160.0, 110.0})
            board.controller->drag()->dragChanged(empty, QPointF(750, y));
        QVERIFY(!state.draggingId());
        QVERIFY(!state.target());

        drag(board, QStringLiteral("L2"), {QPointF(160, 180)});
        QCOMPARE(state.draggingTask(), board.byTitle(QStringLiteral("L2")));
        QCOMPARE(state.translation(), QSizeF(10, 5));
    }

    void targetUnderThePointer_data() { TestData::addRows("drag-targets.json", "targets"); }

    void targetUnderThePointer() {
        QFETCH(QJsonObject, row);
        QList<QPointF> path;
        for (const QJsonValue& point : row["path"].toArray())
            path << QPointF(point[0].toDouble(), point[1].toDouble());
        Board board;
        fillStandardBoard(board);
        drag(board, QStringLiteral("T1"), path);
        QCOMPARE(describe(board, board.controller->dragState()->target()),
                 row["target"].toString());
    }

    void columnsShowThePlaceholder() {
        Board board;
        fillStandardBoard(board);
        drag(board, QStringLiteral("L1"), {QPointF(450, 160)});
        QCOMPARE(board.columns(), QStringLiteral("L2 L3 | W1 L1 W2 | T1 T2 T3"));
        QCOMPARE(ghostOf(board, Bucket::thisWeek), QStringLiteral("L1 faded"));
        QCOMPARE(board.controller->thisWeekModel()->taskCount(), 2);

        board.controller->drag()->dragChanged({}, {130, 20});
        QCOMPARE(board.columns(), QStringLiteral("L2 L3 | W1 W2 | T1 T2 T3"));

        board.controller->drag()->dragChanged({}, {450, 120});
        QCOMPARE(board.columns(), QStringLiteral("L2 L3 | L1 W1 W2 | T1 T2 T3"));
        board.model->remove(board.byTitle(QStringLiteral("W1")));
        board.controller->syncModels();
        QCOMPARE(board.columns(), QStringLiteral("L2 L3 | W2 L1 | T1 T2 T3"));
    }

    void dropOnAColumnHandsOverWhenTheOrderChanges() {
        Board board;
        fillStandardBoard(board);
        drag(board, QStringLiteral("L2"), {QPointF(760, 170)});
        QCOMPARE(describe(board, board.controller->dragState()->target()),
                 QStringLiteral("today before T2"));

        board.controller->drag()->dragEnded();
        BoardDragState& state = *board.controller->dragState();
        QVERIFY(state.committing());
        QVERIFY(board.controller->drag()->pendingDropClear());
        QCOMPARE(board.model->bucketOf(*board.byTitle(QStringLiteral("L2"))), Bucket::today);
        QCOMPARE(board.columns(), QStringLiteral("L1 L3 | W1 W2 | T1 L2 T2 T3"));
        QCOMPARE(ghostOf(board, Bucket::today), QStringLiteral("L2 landed"));

        TaskListModel* today = board.controller->todayModel();
        QSignalSpy inserted(today, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(today, &QAbstractItemModel::rowsRemoved);
        QSignalSpy moved(today, &QAbstractItemModel::rowsMoved);
        board.controller->syncModels();
        QVERIFY(!state.draggingId());
        QVERIFY(!board.controller->drag()->pendingDropClear());
        QCOMPARE(board.columns(), QStringLiteral("L1 L3 | W1 W2 | T1 L2 T2 T3"));
        QCOMPARE(ghostOf(board, Bucket::today), QString());
        QCOMPARE(inserted.count() + removed.count() + moved.count(), 0);
    }

    void dropThatKeepsTheOrderClearsOnTheTimer() {
        Board board;
        board.add(QStringLiteral("A"), Bucket::later)->setSortIndex(5000);
        board.add(QStringLiteral("B"), Bucket::today)->setSortIndex(3000);
        board.controller->syncModels();
        drag(board, QStringLiteral("B"), {QPointF(150, 400)});
        board.controller->drag()->dragEnded();
        QCOMPARE(board.byTitle(QStringLiteral("B"))->sortIndex(), 5000 - 1024);
        board.controller->syncModels();
        BoardDragState& state = *board.controller->dragState();
        QVERIFY(state.committing());
        QCOMPARE(ghostOf(board, Bucket::later), QStringLiteral("B landed"));
        QTRY_VERIFY_WITH_TIMEOUT(!state.draggingId(), 1000);
        QCOMPARE(board.columns(), QStringLiteral("A B |  | "));
        QCOMPARE(ghostOf(board, Bucket::later), QString());
    }

    void aTaskThatVanishesBeforeTheDropChangesNothing() {
        for (const QPointF point : {QPointF(450, 120), QPointF(130, 20)}) { // a column, a tab
            Board board;
            fillStandardBoard(board);
            drag(board, QStringLiteral("L2"), {point});
            board.model->remove(board.byTitle(QStringLiteral("L2")));
            board.controller->syncModels();
            const QString before = board.columns();
            QCOMPARE(before, QStringLiteral("L1 L3 | W1 W2 | T1 T2 T3"));

            board.controller->drag()->dragEnded();
            QTRY_VERIFY_WITH_TIMEOUT(!board.controller->dragState()->draggingId(), 1000);
            board.controller->syncModels();
            QCOMPARE(board.columns(), before);
            QCOMPARE(board.byTitle(QStringLiteral("L1"))->category()->name(), QStringLiteral("A"));
        }
    }

    void leavingTheBoardEndsTheDragWithoutADrop() {
        Board board;
        fillStandardBoard(board);
        drag(board, QStringLiteral("L2"), {QPointF(450, 120)});
        board.controller->boardDisappeared();
        board.controller->drag()->dragEnded();
        board.controller->syncModels();
        QCOMPARE(board.columns(), QStringLiteral("L1 L2 L3 | W1 W2 | T1 T2 T3"));
    }

    void stateNotifiesOnlyRealChanges() {
        Board board;
        fillStandardBoard(board);
        BoardDragState& state = *board.controller->dragState();
        QSignalSpy targets(&state, &BoardDragState::targetChanged);
        QSignalSpy tasks(&state, &BoardDragState::draggingTaskChanged);
        drag(board, QStringLiteral("L2"),
             {QPointF(450, 110), QPointF(460, 112), QPointF(470, 114)});
        QCOMPARE(tasks.count(), 1);
        QCOMPARE(targets.count(), 1);
        board.controller->drag()->dragChanged({}, {130, 20});
        const QString listA =
            board.byTitle(QStringLiteral("L1"))->category()->id().toString(QUuid::WithoutBraces);
        QVERIFY(state.isHotTab(listA));
        QCOMPARE(targets.count(), 2);
    }
};

QTEST_MAIN(TestBoardController)
#include "tst_boardcontroller.moc"
