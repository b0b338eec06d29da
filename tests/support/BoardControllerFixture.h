#pragma once

#include "BoardModel.h"
#include "BoardTestSupport.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "Notifications.h"
#include "TaskCategory.h"
#include "board/BoardController.h"

#include <QStringList>
#include <memory>

namespace BoardTest {

inline const QDateTime wednesday = local(2026, 6, 17, 10, 0);

struct Board {
    Store store;
    ManualClock clock{wednesday};
    NotificationHub hub;
    std::unique_ptr<BoardModel> model;
    std::unique_ptr<BoardController> controller;
    IsoCalendar calendar;

    explicit Board(BoardController::DebugOptions debug = {}) {
        model = std::make_unique<BoardModel>(*store.context, *store.preferences, clock, hub);
        controller = std::make_unique<BoardController>(*model, clock, hub, debug);
    }

    TaskCategory* addList(const QString& name) {
        auto* list = new TaskCategory(name, QStringLiteral("46A758"),
                                      qint64(store.context->categories().size() + 1), wednesday);
        store.context->insert(list);
        return list;
    }

    TaskItem* add(const QString& title, Bucket column, TaskCategory* list = nullptr) {
        auto* task = new TaskItem(title, 1000 - qint64(store.context->tasks().size()), wednesday);
        task->move(column, wednesday, calendar);
        task->setCategory(list);
        store.context->insert(task);
        return task;
    }

    [[nodiscard]] TaskItem* byTitle(const QString& title) const {
        for (TaskItem* task : store.context->tasks()) {
            if (task->title() == title)
                return task;
        }
        return nullptr;
    }

    [[nodiscard]] QString idOf(const QString& title) const {
        TaskItem* task = byTitle(title);
        return task ? task->id().toString(QUuid::WithoutBraces) : QString();
    }

    [[nodiscard]] QString titleOf(const QString& id) const {
        TaskItem* task = store.context->task(QUuid::fromString(id));
        return task ? task->title() : QString();
    }

    [[nodiscard]] QString columns() const {
        QStringList parts;
        for (Bucket bucket : BucketInfo::columns) {
            QStringList titles;
            for (const TaskItem* task : controller->columnModel(bucket)->tasks())
                titles << task->title();
            parts << titles.join(QLatin1Char(' '));
        }
        return parts.join(QStringLiteral(" | "));
    }

    [[nodiscard]] QString focusedTitle() const { return titleOf(controller->focusedTaskId()); }

    void focus(const QString& title) {
        controller->setFocusedId(title.isEmpty() ? std::nullopt
                                                 : std::optional<QUuid>(byTitle(title)->id()));
    }
};

inline void fillStandardBoard(Board& board) {
    TaskCategory* a = board.addList(QStringLiteral("A"));
    TaskCategory* b = board.addList(QStringLiteral("B"));
    board.add(QStringLiteral("L1"), Bucket::later, a);
    board.add(QStringLiteral("L2"), Bucket::later);
    board.add(QStringLiteral("L3"), Bucket::later, b);
    board.add(QStringLiteral("W1"), Bucket::thisWeek);
    board.add(QStringLiteral("W2"), Bucket::thisWeek);
    board.add(QStringLiteral("T1"), Bucket::today);
    board.add(QStringLiteral("T2"), Bucket::today);
    board.add(QStringLiteral("T3"), Bucket::today);
    board.controller->syncModels();
}

} // namespace BoardTest
