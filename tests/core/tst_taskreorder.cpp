#include "BoardTestSupport.h"
#include "TaskItem.h"
#include "TaskReorder.h"
#include "TestData.h"

#include <QStandardPaths>
#include <QTest>
#include <memory>
#include <vector>

using BoardTest::local;

namespace {

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

class TestTaskReorder : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

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

    void placedRowStandsBetweenNeighbours() {
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
};

QTEST_GUILESS_MAIN(TestTaskReorder)
#include "tst_taskreorder.moc"
