#pragma once

#include "NotificationCategory.h"
#include "NotificationRequest.h"
#include "ReminderSink.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <QUuid>
#include <functional>
#include <optional>

class Clock;
class ModelContext;
class NotificationCenter;
class TaskItem;

// Keeps one pending notification per task in step with the task: a request exists while the
// task has a reminder in the future and isn't finished. The requests held by the notification
// centre are the only record; the scheduler keeps just enough to let the newest sync of a task
// win over an older one still waiting for permission.
class ReminderScheduler : public QObject, public ReminderSink {
    Q_OBJECT
public:
    inline static const QString categoryId = QStringLiteral("TASK_REMINDER");
    inline static const QString taskIdKey = QStringLiteral("taskId");
    inline static const QString untitled = QStringLiteral("提醒");

    struct Action {
        inline static const QString complete = QStringLiteral("COMPLETE");
        inline static const QString snooze10m = QStringLiteral("SNOOZE_10M");
        inline static const QString snooze1h = QStringLiteral("SNOOZE_1H");
        inline static const QString snoozeEvening = QStringLiteral("SNOOZE_EVENING");
        inline static const QString snoozeTomorrow = QStringLiteral("SNOOZE_TOMORROW");
    };

    ReminderScheduler(NotificationCenter& center, const Clock& clock, QObject* parent = nullptr);

    // The one category, its five actions in button order.
    [[nodiscard]] static NotificationCategory category();
    // A request identifier: the task id as canonical upper-case UUID text.
    [[nodiscard]] static QString identifier(const QUuid& taskId);
    // The task id in a request identifier or a response; only the canonical 8-4-4-4-12 text
    // (either case) counts, so identifiers of other forms are never taken for ours.
    [[nodiscard]] static std::optional<QUuid> taskId(const QString& identifier);
    // The moment a reminder fires: the start of its minute.
    [[nodiscard]] static QDateTime triggerMoment(const QDateTime& reminderAt);
    // The request for a task, read from the record now.
    [[nodiscard]] static NotificationRequest makeRequest(const TaskItem& task);

    // Replaces the centre's categories with the one above. Once at launch, before scheduling.
    void registerCategories();

    // Brings the task's one request up to date: withdrawn at once when the reminder is gone,
    // past or the task finished; otherwise replaced once permission is answered.
    void sync(TaskItem* task) override;
    void cancel(const QUuid& taskId) override;
    // sync for every task with a reminder, then a sweep of requests whose task is gone.
    // Identifiers that aren't UUID text belong to someone else and are left alone.
    void syncAll(const ModelContext& context);

    void requestAuthorizationIfNeeded(QObject* context, std::function<void(bool granted)> answer);

private:
    // Marks a new sync of this identifier; older ones still waiting then drop their result.
    quint64 beginSync(const QString& identifier);

    NotificationCenter& m_center;
    const Clock& m_clock;
    QHash<QString, quint64> m_latestSync;
    quint64 m_syncCounter = 0;
};
