#include "ReminderResponseRouter.h"

#include "NotificationCenter.h"
#include "Notifications.h"
#include "ReminderScheduler.h"

ReminderResponseRouter::ReminderResponseRouter(const ReminderActions::Environment& environment,
                                               QObject* parent)
    : QObject(parent)
    , m_environment(environment) {}

void ReminderResponseRouter::didReceive(const QString& actionIdentifier,
                                        const QVariantMap& userInfo) {
    // Only a string is a task id; a number or a list under the key is no task id at all.
    std::optional<QString> taskId;
    const QVariant value = userInfo.value(ReminderScheduler::taskIdKey);
    if (value.typeId() == QMetaType::QString)
        taskId = value.toString();

    QMetaObject::invokeMethod(
        this,
        [this, actionIdentifier, taskId] { handleNotificationAction(actionIdentifier, taskId); },
        Qt::QueuedConnection);
}

void ReminderResponseRouter::handleNotificationAction(const QString& actionIdentifier,
                                                      const std::optional<QString>& taskId) {
    if (actionIdentifier == NotificationCenter::defaultActionIdentifier) {
        if (m_showBoard)
            m_showBoard();
        if (taskId)
            m_environment.hub.post(TavikNotification::openTask,
                                   {{ReminderScheduler::taskIdKey, *taskId}});
        return;
    }
    if (actionIdentifier == NotificationCenter::dismissActionIdentifier)
        return;
    ReminderActions::perform(actionIdentifier, taskId, m_environment);
}
