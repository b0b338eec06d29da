#include "BoardTestSupport.h"
#include "TaskItem.h"
#include "TaskReorder.h"

#include <QStandardPaths>
#include <QTest>
#include <memory>
#include <vector>

using BoardTest::local;

namespace {

// A column of standalone rows with the given sortIndex values, in display order.
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

constexpr int bottom = -1; // no `before` row
constexpr int absent = -2; // a `before` row that is not in the column

} // namespace

class TestTaskReorder : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void place_data();
    void place();
    void bisectionLastsTenInsertions();
    void placedRowStandsBetweenNeighbours();
};

void TestTaskReorder::place_data() {
    QTest::addColumn<QList<qint64>>("column");
    QTest::addColumn<int>("beforeRow");
    QTest::addColumn<qint64>("expected");
    QTest::addColumn<QList<qint64>>("columnAfter");
    QTest::addColumn<QList<int>>("stampedRows");

    using L = QList<qint64>;
    using R = QList<int>;
    QTest::newRow("empty column") << L{} << bottom << qint64(0) << L{} << R{};
    QTest::newRow("top") << L{5000, 10} << 0 << qint64(6024) << L{5000, 10} << R{};
    QTest::newRow("bottom") << L{7, -3} << bottom << qint64(-1027) << L{7, -3} << R{};
    QTest::newRow("between 2048 and 1024")
        << L{2048, 1024} << 1 << qint64(1536) << L{2048, 1024} << R{};
    QTest::newRow("between 3 and 1") << L{3, 1} << 1 << qint64(2) << L{3, 1} << R{};
    QTest::newRow("between -1 and -4 truncates toward zero")
        << L{-1, -4} << 1 << qint64(-2) << L{-1, -4} << R{};
    QTest::newRow("between 5 and 2 rounds down") << L{5, 2} << 1 << qint64(3) << L{5, 2} << R{};
    QTest::newRow("between -2 and -5 rounds up")
        << L{-2, -5} << 1 << qint64(-3) << L{-2, -5} << R{};
    QTest::newRow("between 5 and 4 renumbers the tail")
        << L{9, 5, 4, 1} << 2 << qint64(-1019) << L{9, 5, -2043, -3067} << R{2, 3};
    QTest::newRow("between equal values renumbers")
        << L{9, 5, 5, 1} << 2 << qint64(-1019) << L{9, 5, -2043, -3067} << R{2, 3};
    QTest::newRow("values running the wrong way renumber in column order")
        << L{9, 3, 6, 8} << 2 << qint64(-1021) << L{9, 3, -2045, -3069} << R{2, 3};
    QTest::newRow("renumbering just above the last row")
        << L{100, 99} << 1 << qint64(-924) << L{100, -1948} << R{1};
    QTest::newRow("before row absent means bottom")
        << L{3000, 2000} << absent << qint64(976) << L{3000, 2000} << R{};
    QTest::newRow("before the first of equal ids")
        << L{2048, 0} << 1 << qint64(1024) << L{2048, 0} << R{};
}

void TestTaskReorder::place() {
    QFETCH(QList<qint64>, column);
    QFETCH(int, beforeRow);
    QFETCH(qint64, expected);
    QFETCH(QList<qint64>, columnAfter);
    QFETCH(QList<int>, stampedRows);

    const QDateTime created = local(2024, 6, 1, 9, 0);
    const QDateTime now = local(2024, 6, 12, 10, 0);
    Column rows(column, created);
    TaskItem task(QStringLiteral("placed"), 123456, created);
    TaskItem stranger(QStringLiteral("elsewhere"), 1, created);

    const TaskItem* before = beforeRow >= 0        ? rows.list.at(beforeRow)
                             : beforeRow == absent ? &stranger
                                                   : nullptr;
    TaskReorder::place(&task, before, rows.list, now);

    QCOMPARE(task.sortIndex(), expected);
    QCOMPARE(task.updatedAt(), now);
    QCOMPARE(rows.values(), columnAfter);
    for (int i = 0; i < rows.list.size(); ++i) {
        const QDateTime expectedStamp = stampedRows.contains(i) ? now : created;
        QCOMPARE(rows.list.at(i)->updatedAt(), expectedStamp);
    }
}

// With the gap of 1024, inserting again and again right above the same row goes by bisection
// ten times, writing one row each; the eleventh renumbers the rows under the spot.
void TestTaskReorder::bisectionLastsTenInsertions() {
    const QDateTime created = local(2024, 6, 1, 9, 0);
    Column rows({2048, 1024, 0}, created);
    TaskItem* anchor = rows.list.at(1); // every insertion goes right above this row
    std::vector<std::unique_ptr<TaskItem>> inserted;

    for (int round = 1; round <= 11; ++round) {
        const QDateTime now = created.addSecs(round);
        const QList<qint64> valuesBefore = rows.values();
        inserted.push_back(std::make_unique<TaskItem>(QStringLiteral("new"), 0, created));
        TaskItem* task = inserted.back().get();

        TaskReorder::place(task, anchor, rows.list, now);
        int touched = 0;
        for (int i = 0; i < rows.list.size(); ++i)
            touched += rows.list.at(i)->sortIndex() != valuesBefore.at(i) ? 1 : 0;
        if (round <= 10) {
            QCOMPARE(touched, 0);
            QVERIFY(task->sortIndex() > anchor->sortIndex());
        } else {
            // The anchor and the row under it moved down by whole gaps.
            QCOMPARE(touched, 2);
            QCOMPARE(task->sortIndex(), qint64(1025 - 1024));
            QCOMPARE(anchor->sortIndex(), qint64(1025 - 2048));
            QCOMPARE(rows.list.last()->sortIndex(), qint64(1025 - 3072));
        }
        rows.list.insert(rows.list.indexOf(anchor), task);
    }
    QCOMPARE(inserted.at(9)->sortIndex(), qint64(1025));
}

// Whatever the starting values, even with ties, a placed row ends strictly between its
// neighbours, and nothing above the spot is touched.
void TestTaskReorder::placedRowStandsBetweenNeighbours() {
    const QDateTime created = local(2024, 6, 1, 9, 0);
    Column rows({4, 4, 4, 3, 3, 1}, created);
    std::vector<std::unique_ptr<TaskItem>> added;
    const QList<int> spots{0, 3, 3, 7, 1, 5, 2, 10, 4, 4, 4};
    for (int spot : spots) {
        added.push_back(std::make_unique<TaskItem>(QStringLiteral("new"), 0, created));
        TaskItem* task = added.back().get();
        const TaskItem* before = spot < rows.list.size() ? rows.list.at(spot) : nullptr;
        const QList<qint64> valuesBefore = rows.values();
        TaskReorder::place(task, before, rows.list, created);

        const qsizetype at = std::min<qsizetype>(spot, rows.list.size());
        const QString where = QStringLiteral("spot %1").arg(spot);
        for (qsizetype i = 0; i < at; ++i)
            QVERIFY2(rows.list.at(i)->sortIndex() == valuesBefore.at(i), qPrintable(where));
        if (at > 0)
            QVERIFY2(rows.list.at(at - 1)->sortIndex() > task->sortIndex(), qPrintable(where));
        if (at < rows.list.size())
            QVERIFY2(task->sortIndex() > rows.list.at(at)->sortIndex(), qPrintable(where));
        rows.list.insert(at, task);
    }
}

QTEST_GUILESS_MAIN(TestTaskReorder)
#include "tst_taskreorder.moc"
