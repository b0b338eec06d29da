#pragma once

#include "Clock.h"
#include "ModelContext.h"
#include "Notifications.h"
#include "ReminderActions.h"
#include "ReminderResponseRouter.h"
#include "ReminderScheduler.h"
#include "ReminderTestSupport.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QSignalSpy>

namespace ReminderTest {

struct Rig {
    ManualClock clock;
    QTemporaryDir dir;
    std::unique_ptr<ModelContext> context;
    std::unique_ptr<NotificationCenter> center;
    std::unique_ptr<ReminderScheduler> scheduler;
    NotificationHub hub;
    std::unique_ptr<ReminderResponseRouter> router;
    QList<QPair<QString, QVariantMap>> posts;
    int boardShown = 0;

    explicit Rig(const Desktop& desktop, const QDateTime& now = local(2024, 5, 14, 10, 0))
        : clock(now) {
        QString error;
        context = ModelContext::open(storePath(), &error);
        center = std::make_unique<NotificationCenter>(
            clock, desktop.options(dir.filePath(QStringLiteral("pending.json"))));
        scheduler = std::make_unique<ReminderScheduler>(*center, clock);
        scheduler->registerCategories();
        router = std::make_unique<ReminderResponseRouter>(environment());
        router->setShowBoard([this] { ++boardShown; });
        QObject::connect(center.get(), &NotificationCenter::responseReceived, router.get(),
                         &ReminderResponseRouter::didReceive);
        QObject::connect(&hub, &NotificationHub::posted,
                         [this](const QString& name, const QVariantMap& userInfo) {
                             posts.append({name, userInfo});
                         });
    }

    [[nodiscard]] QString storePath() const { return dir.filePath(QStringLiteral("tavik.store")); }
    [[nodiscard]] ReminderActions::Environment environment() {
        return {*context, *scheduler, hub, clock};
    }

    TaskItem* addTask(const QString& title, const QDateTime& reminderAt,
                      TaskCategory* list = nullptr) {
        auto* task = new TaskItem(title, 1, clock.now());
        task->setReminderAt(reminderAt);
        task->setCategory(list);
        context->insert(task);
        return task;
    }

    [[nodiscard]] bool settle() {
        QObject receiver;
        bool answered = false;
        scheduler->requestAuthorizationIfNeeded(&receiver, [&](bool) { answered = true; });
        return QTest::qWaitFor([&] { return answered; }, 5000);
    }

    [[nodiscard]] QStringList pendingIdentifiers() const {
        QStringList identifiers;
        for (const NotificationRequest& request : center->pendingRequests())
            identifiers << request.identifier;
        identifiers.sort();
        return identifiers;
    }

    uint deliver(TaskItem* item, const QDateTime& answerAt) {
        clock.setNow(answerAt.addSecs(-120));
        item->setReminderAt(answerAt.addSecs(-60));
        context->save();
        scheduler->sync(item);
        QSignalSpy delivered(center.get(), &NotificationCenter::notificationDelivered);
        if (!QTest::qWaitFor([&] { return !center->pendingRequests().isEmpty(); }, 5000))
            return 0;
        clock.setNow(answerAt);
        center->checkDue();
        if (!delivered.wait(5000))
            return 0;
        posts.clear();
        return delivered.constFirst().at(1).toUInt();
    }
};

} // namespace ReminderTest
