#pragma once

#include "NotificationCategory.h"
#include "NotificationRequest.h"

#include <QDBusConnection>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>
#include <functional>
#include <optional>

class Clock;
class QDBusPendingCallWatcher;

// The desktop's notification service as the reminders see it: pending requests kept in a JSON
// file across launches, delivered at their moment through org.freedesktop.Notifications, and
// the user's answers handed back as responses on the main thread.
//
// Permission is simply whether a notification server owns its name on the session bus; the
// name is never called while unowned, since that could start a daemon nobody asked for.
class NotificationCenter : public QObject {
    Q_OBJECT
public:
    enum class AuthorizationStatus { notDetermined, denied, authorized };
    Q_ENUM(AuthorizationStatus)

    // Response identifiers that are not buttons of a category.
    inline static const QString defaultActionIdentifier = QStringLiteral("default");
    inline static const QString dismissActionIdentifier = QStringLiteral("dismiss");
    // Appended to the body of a request delivered after its moment had passed.
    inline static const QString missedMark = QStringLiteral("（错过的提醒）");
    inline static const QString desktopEntry = QStringLiteral("dev.orlen.tavik");

    struct Options {
        QString storePath;                         // empty: defaultStorePath()
        std::optional<QDBusConnection> sessionBus; // the notification server's bus
        std::optional<QDBusConnection> systemBus;  // logind's PrepareForSleep; none: the system bus
        int tickIntervalMs = 60 * 1000;            // coarse re-check; 0 turns it off
    };

    explicit NotificationCenter(const Clock& clock, QObject* parent = nullptr);
    NotificationCenter(const Clock& clock, const Options& options, QObject* parent = nullptr);
    ~NotificationCenter() override;

    // "<AppDataLocation>/pending-notifications.json"
    [[nodiscard]] static QString defaultStorePath();
    [[nodiscard]] QString storePath() const { return m_storePath; }

    void setNotificationCategories(const QList<NotificationCategory>& categories);
    [[nodiscard]] QList<NotificationCategory> notificationCategories() const {
        return m_categories;
    }

    // Replaces a pending request with the same identifier.
    void add(const NotificationRequest& request);
    void removePending(const QStringList& identifiers);
    // Earliest trigger first.
    [[nodiscard]] QList<NotificationRequest> pendingRequests() const;
    // Requests whose moment has come but that no server has taken yet (none was running, or
    // they wait for the next launch), oldest first.
    [[nodiscard]] QList<NotificationRequest> undeliveredRequests() const;
    void removeUndelivered(const QStringList& identifiers);
    // The moment the delivery timer is armed for; invalid when nothing is pending.
    [[nodiscard]] QDateTime nextTrigger() const;

    [[nodiscard]] AuthorizationStatus authorizationStatus() const { return m_status; }
    // Answers on a later turn of the event loop, unless `context` is gone by then. A status
    // other than authorized is asked of the bus again, so a server started later is found.
    void requestAuthorization(QObject* context, std::function<void(bool granted)> answer);

public slots:
    // Delivers every request whose moment has come. Runs on the timer, on a coarse tick, on
    // wake from sleep, and whenever a server appears.
    void checkDue();

signals:
    // The user answered one of our notifications: a category action, the default action (a
    // click on the notification) or the dismiss action (closed by the user).
    void responseReceived(const QString& actionIdentifier, const QVariantMap& userInfo);
    void notificationDelivered(const QString& identifier, uint notificationId);
    void authorizationStatusChanged();

private slots:
    void onActionInvoked(uint notificationId, const QString& actionKey);
    void onNotificationClosed(uint notificationId, uint reason);
    void onPrepareForSleep(bool sleeping);

private:
    struct Outgoing {
        NotificationRequest request;
        bool late = false;
        bool inFlight = false;
        quint64 serial = 0;
    };
    struct Delivered {
        QString identifier;
        QVariantMap userInfo;
    };
    struct Waiter {
        QPointer<QObject> context;
        std::function<void(bool)> answer;
    };

    void load();
    void save();
    void markDirty();
    void scheduleHousekeeping();
    void housekeeping();
    void armTimer();
    void queryServer();
    void setServerPresent(bool present);
    void answerWaiters(bool granted);
    void flushOutbox();
    void send(Outgoing& entry);
    void onNotifyFinished(quint64 serial, QDBusPendingCallWatcher* watcher);
    void closeNotification(uint notificationId);
    [[nodiscard]] QStringList actionList(const QString& categoryIdentifier) const;

    const Clock& m_clock;
    QString m_storePath;
    QDBusConnection m_bus;

    QList<NotificationCategory> m_categories;
    QHash<QString, NotificationRequest> m_pending;
    QList<Outgoing> m_outbox; // due, waiting for the server's answer to Notify
    QHash<uint, Delivered> m_delivered;
    quint64 m_nextSerial = 1;
    bool m_dirty = false;

    AuthorizationStatus m_status = AuthorizationStatus::notDetermined;
    bool m_queryInFlight = false;
    QList<Waiter> m_waiters;

    QTimer m_dueTimer;
    QTimer m_tick;
    QTimer m_housekeeping;
};
