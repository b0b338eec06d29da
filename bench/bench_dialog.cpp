// What the task dialog and its pickers cost the main thread: the day and time wording that
// every row chip asks for, rebuilding the month grid and the quarter-hour list (both are
// recomputed on each refresh), and on screen the card's opening and the time list's
// appearance until the first frame. Run under QT_QPA_PLATFORM=offscreen.
#include "BenchFrames.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "ScheduleFormat.h"
#include "TaskCategory.h"
#include "lists/CategoryListModel.h"
#include "pickers/CalendarGridModel.h"
#include "pickers/TimeListModel.h"
#include "types/QmlClock.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

namespace {

using namespace Bench;

const char* const kBoard = R"(
import QtQuick
import TavikUi

Rectangle {
    id: board
    width: 900
    height: 640
    color: Radix.appBackground
    required property Clock clock
    property alias panel: panel
    property var categories: null
    CreateTaskPanel {
        id: panel
        clock: board.clock
        anchors.right: parent.right
        anchors.rightMargin: 18
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 16
        categories: parent.categories
    }
}
)";

} // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(5, atoi(argv[1])) : 30;
    const IsoCalendar calendar;
    const QDateTime now = QDateTime::currentDateTimeUtc();

    // Row chips: 10,000 plans spread over a year around today.
    std::vector<QDateTime> due, reminders;
    for (int i = 0; i < 10000; ++i) {
        due.push_back(now.addSecs(qint64(i % 365 - 180) * 86400));
        reminders.push_back(i % 3 == 0 ? now.addSecs(qint64(i % 97 - 48) * 3600) : QDateTime());
    }
    std::vector<double> wording;
    for (int r = 0; r < runs; ++r) {
        QElapsedTimer timer;
        timer.start();
        qsizetype length = 0;
        for (int i = 0; i < 10000; ++i)
            length += ScheduleFormat::shortLabel(due[i], reminders[i], now, calendar)
                          .value_or(QString())
                          .size();
        wording.push_back(msSince(timer));
        if (length == 0)
            return 1;
    }

    // The month grid, paged through 10 years; the time list rebuilt for 100 days.
    std::vector<double> grid, timeSlots;
    for (int r = 0; r < runs; ++r) {
        CalendarGridModel model;
        model.setMonthStart(now);
        QElapsedTimer timer;
        timer.start();
        for (int page = 0; page < 120; ++page) {
            model.page(1);
            for (int row = 0; row < model.rowCount(); ++row)
                (void)model.index(row).data(CalendarGridModel::IsSelectedRole);
        }
        grid.push_back(msSince(timer) / 120);

        TimeListModel times;
        timer.restart();
        for (int day = 0; day < 100; ++day) {
            times.setInitial(now.addDays(day));
            for (int row = 0; row < times.rowCount(); ++row)
                (void)times.index(row).data(TimeListModel::LabelRole);
        }
        timeSlots.push_back(msSince(timer) / 100);
    }

    // On screen: the card opening (first frame after the press) and the time list appearing.
    std::vector<std::unique_ptr<TaskCategory>> lists;
    QList<TaskCategory*> rows;
    for (int i = 0; i < 10; ++i) {
        lists.push_back(std::make_unique<TaskCategory>(QStringLiteral("清单 %1").arg(i),
                                                       QStringLiteral("0090FF"), i, now));
        rows.append(lists.back().get());
    }
    CategoryListModel categories;
    categories.setCategories(rows);

    const SystemClock clock;
    QmlClock uiClock(clock);
    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    QQuickWindow window;
    window.resize(900, 640);
    QQmlComponent component(&engine);
    component.setData(kBoard, QUrl::fromLocalFile(QStringLiteral("/board.qml")));
    QElapsedTimer timer;
    timer.start();
    std::unique_ptr<QObject> board(component.createWithInitialProperties(
        {{QStringLiteral("clock"), QVariant::fromValue(&uiClock)}}));
    const double build = msSince(timer);
    if (!board) {
        std::fprintf(stderr, "%s\n", qPrintable(component.errorString()));
        return 1;
    }
    board->setProperty("categories", QVariant::fromValue<QObject*>(&categories));
    qobject_cast<QQuickItem*>(board.get())->setParentItem(window.contentItem());
    window.show();
    settle(300);
    QObject* dialog =
        board->property("panel").value<QObject*>()->property("dialog").value<QObject*>();

    std::vector<double> open, timeList;
    for (int r = 0; r < runs; ++r) {
        open.push_back(
            timeToFrame(&window, [&] { QMetaObject::invokeMethod(dialog, "openPanel"); }));
        settle(400); // the spring comes to rest
        timeList.push_back(
            timeToFrame(&window, [&] { QMetaObject::invokeMethod(dialog, "openTimePicker"); }));
        settle(200);
        QMetaObject::invokeMethod(dialog, "closePanel");
        settle(400);
    }

    std::printf("Task dialog and pickers, median of %d runs (wall ms)\n", runs);
    std::printf("  wording: shortLabel for 10,000 row chips      %8.3f\n", median(wording));
    std::printf("  month grid: page + read all cells, per month  %8.4f\n", median(grid));
    std::printf("  time list: rebuild + read 96 labels, per day  %8.4f\n", median(timeSlots));
    std::printf("  panel: build from QML (first, cold)           %8.2f\n", build);
    std::printf("  card: openPanel to first frame                %8.2f\n", median(open));
    std::printf("  time list popover: open to first frame        %8.2f\n", median(timeList));
    return 0;
}
