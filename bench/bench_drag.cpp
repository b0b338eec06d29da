// Dragging over a long column: the time per pointer move spent finding the drop target and
// bringing the column models up to it (the placeholder moving through 2,000 rows).
//
//   bench_drag [tasks=2000]
//
// Each move is what the board does for one pointer event: the views report their rectangles
// (here the rows laid out around the visible area, as a lazy list has them, or every row as the
// worst case), then the drag finds its target and the columns follow. Figures are per move,
// over a sweep down the column (a new target every 25 moves) and jumps between two columns
// (the placeholder leaving one 2,000-row list for another), as wall time and this thread's CPU.

#include "BenchSupport.h"
#include "BoardModel.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "ModelContext.h"
#include "Notifications.h"
#include "Preferences.h"
#include "TaskItem.h"
#include "board/BoardController.h"
#include "board/TaskListModel.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <ctime>

namespace {

using namespace Bench;

constexpr qreal columnWidth = 380;
constexpr qreal rowHeight = 50;
constexpr qreal firstRowY = 100;
// Rows a lazy list keeps around a 720-high window.
constexpr int laidOutRows = 30;

struct Figures {
    QList<double> wall;
    QList<double> cpu;

    void print(const char* what) const {
        std::printf("%-48s %4lld moves  wall median %6.3f p99 %6.3f ms  cpu median %6.3f p99 "
                    "%6.3f max %6.3f ms\n",
                    what, static_cast<long long>(wall.size()), median(wall), percentile(wall, 0.99),
                    median(cpu), percentile(cpu, 0.99), percentile(cpu, 1.0));
    }
};

// Reports the rows of each column: the first `limit` entries (all with -1).
void report(BoardController& board, int limit) {
    BoardDragController& drag = *board.drag();
    drag.clearRowFrames();
    for (int c = 0; c < int(BucketInfo::columns.size()); ++c) {
        const Bucket bucket = BucketInfo::columns[size_t(c)];
        TaskListModel* list = board.columnModel(bucket);
        drag.setColumnFrame(bucket, QRectF(c * columnWidth, 60, columnWidth, 660));
        const int rows = limit < 0 ? list->count() : std::min(limit, list->count());
        for (int row = 0; row < rows; ++row) {
            if (list->data(list->index(row), TaskListModel::IsGhostRole).toBool())
                continue;
            drag.addRowFrame(
                {list->taskAt(row)->id(), bucket,
                 QRectF(c * columnWidth, firstRowY + row * rowHeight, columnWidth, rowHeight)});
        }
    }
}

void bench(int count, int limit, const char* what) {
    QTemporaryDir dir;
    QString error;
    auto context = ModelContext::open(dir.filePath(QStringLiteral("drag.store")), &error);
    if (!context) {
        std::fprintf(stderr, "open failed: %s\n", qPrintable(error));
        std::exit(1);
    }
    Preferences preferences(dir.filePath(QStringLiteral("drag.ini")));
    NotificationHub hub;
    ManualClock clock(QDateTime(QDate(2026, 6, 17), QTime(10, 0), Qt::LocalTime));
    const IsoCalendar calendar;
    // Two long columns and one short one; the dragged task starts at the top of 稍后.
    for (int i = 0; i < 2 * count + 10; ++i) {
        auto* task = new TaskItem(QStringLiteral("任务 %1").arg(i), 100000 - i, clock.now());
        if (i >= 10)
            task->move(i < count + 10 ? Bucket::thisWeek : Bucket::today, clock.now(), calendar);
        context->insert(task);
    }
    BoardModel model(*context, preferences, clock, hub);
    BoardController board(model, clock, hub, {});
    board.syncModels();

    BoardDragController& drag = *board.drag();
    const QPointF start(columnWidth / 2, firstRowY + rowHeight / 2);
    Figures sweep;
    Figures jumps;
    const auto move = [&](QPointF point, Figures& figures) {
        QElapsedTimer timer;
        const qint64 cpuStart = threadCpuNs();
        timer.start();
        report(board, limit);
        drag.dragChanged(start, point);
        figures.wall.append(double(timer.nsecsElapsed()) / 1e6);
        figures.cpu.append(double(threadCpuNs() - cpuStart) / 1e6);
    };
    // Down the laid-out rows of 今天, two points a step.
    for (qreal y = firstRowY; y < firstRowY + laidOutRows * rowHeight; y += 2)
        move({2.5 * columnWidth, y}, sweep);
    // Back and forth between 本周 and 今天, at the middle of the laid-out rows.
    for (int i = 0; i < 400; ++i)
        move({(i % 2 ? 2.5 : 1.5) * columnWidth, firstRowY + 15.2 * rowHeight}, jumps);
    drag.cancel();

    std::printf("%s, %d tasks in each of two columns:\n", what, count);
    sweep.print("  sweep down a column (new target every 25)");
    jumps.print("  jump between columns (target changes each move)");
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int count = argc > 1 ? std::max(1, atoi(argv[1])) : 2000;
    bench(count, laidOutRows, "laid-out rows reported");
    bench(count, -1, "every row reported (worst case)");
    return 0;
}
