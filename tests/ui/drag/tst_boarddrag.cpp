#include "BoardControllerFixture.h"
#include "TestData.h"
#include "board/TaskListModel.h"

#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

using namespace BoardTest;

namespace {

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

class TestBoardDrag : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

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

QTEST_GUILESS_MAIN(TestBoardDrag)
#include "tst_boarddrag.moc"
