#include "ReminderScheduler.h"

#include "Clock.h"
#include "ModelContext.h"
#include "NotificationCenter.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QHash>

ReminderScheduler::ReminderScheduler(NotificationCenter& center, const Clock& clock,
                                     QObject* parent)
    : QObject(parent)
    , m_center(center)
    , m_clock(clock) {}

NotificationCategory ReminderScheduler::category() {
    return NotificationCategory{
        categoryId,
        {
            {Action::complete, QStringLiteral("完成")},
            {Action::snooze10m, QStringLiteral("10 分钟后提醒")},
            {Action::snooze1h, QStringLiteral("1 小时后提醒")},
            {Action::snoozeEvening, QStringLiteral("今晚")},
            {Action::snoozeTomorrow, QStringLiteral("明天")},
        },
    };
}

QString ReminderScheduler::identifier(const QUuid& taskId) {
    return taskId.toString(QUuid::WithoutBraces).toUpper();
}

std::optional<QUuid> ReminderScheduler::taskId(const QString& identifier) {
    if (identifier.size() != 36)
        return std::nullopt;
    const QUuid id = QUuid::fromString(identifier);
    if (id.isNull())
        return std::nullopt;
    return id;
}

QDateTime ReminderScheduler::triggerMoment(const QDateTime& reminderAt) {
    // Cut back to the local minute by subtracting, so a moment in the repeated hour of a
    // daylight saving change keeps its own offset.
    const QTime local = reminderAt.toLocalTime().time();
    return reminderAt.addMSecs(-(local.second() * 1000 + local.msec())).toUTC();
}

NotificationRequest ReminderScheduler::makeRequest(const TaskItem& task) {
    NotificationRequest request;
    request.identifier = identifier(task.id());
    request.title = task.title().trimmed();
    if (request.title.isEmpty())
        request.title = untitled;
    if (const TaskCategory* list = task.category())
        request.body = list->name();
    request.categoryIdentifier = categoryId;
    request.userInfo = {{taskIdKey, request.identifier}};
    request.trigger = triggerMoment(task.reminderAt());
    return request;
}

void ReminderScheduler::registerCategories() {
    m_center.setNotificationCategories({category()});
}

quint64 ReminderScheduler::beginSync(const QString& identifier) {
    const quint64 serial = ++m_syncCounter;
    m_latestSync.insert(identifier, serial);
    return serial;
}

void ReminderScheduler::sync(TaskItem* task) {
    if (!task)
        return;
    const QDateTime reminderAt = task->reminderAt();
    if (!reminderAt.isValid() || task->completed() || reminderAt <= m_clock.now()) {
        cancel(task->id());
        return;
    }

    // Copied now: the record may change or go before permission is answered.
    const NotificationRequest request = makeRequest(*task);
    const quint64 serial = beginSync(request.identifier);
    requestAuthorizationIfNeeded(this, [this, request, serial](bool granted) {
        if (m_latestSync.value(request.identifier) != serial)
            return; // a newer sync of this task decides
        m_latestSync.remove(request.identifier);
        if (!granted)
            return; // an older pending request stays, as nothing new may replace it
        m_center.add(request);
    });
}

void ReminderScheduler::cancel(const QUuid& taskId) {
    const QString id = identifier(taskId);
    // Also overtakes a schedule of this task still waiting for permission.
    m_latestSync.remove(id);
    m_center.removePending({id});
}

void ReminderScheduler::syncAll(const ModelContext& context) {
    // What each open task with a reminder still asks for; every other request the centre
    // holds, pending or already due, belongs to a task that is gone, finished or has no
    // reminder any more, and is withdrawn before it is shown.
    QHash<QString, QDateTime> wanted;
    wanted.reserve(context.tasks().size());
    for (TaskItem* task : context.tasks()) {
        if (!task->reminderAt().isValid())
            continue;
        sync(task);
        if (!task->completed())
            wanted.insert(identifier(task->id()), triggerMoment(task->reminderAt()));
    }

    const auto stale = [&wanted](const QList<NotificationRequest>& requests, bool sameMoment) {
        QStringList identifiers;
        for (const NotificationRequest& request : requests) {
            if (!taskId(request.identifier))
                continue;
            const auto it = wanted.constFind(request.identifier);
            if (it == wanted.constEnd() || (sameMoment && *it != request.trigger))
                identifiers.append(request.identifier);
        }
        return identifiers;
    };
    // A pending request of a wanted task is replaced by its sync; one already due must be
    // for the moment the task still has.
    if (const QStringList gone = stale(m_center.pendingRequests(), false); !gone.isEmpty())
        m_center.removePending(gone);
    if (const QStringList gone = stale(m_center.undeliveredRequests(), true); !gone.isEmpty())
        m_center.removeUndelivered(gone);
}

void ReminderScheduler::requestAuthorizationIfNeeded(QObject* context,
                                                     std::function<void(bool granted)> answer) {
    m_center.requestAuthorization(context, std::move(answer));
}
