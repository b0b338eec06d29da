#include "NotificationCenter.h"

#include "Clock.h"
#include "RemindersLog.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QStandardPaths>
#include <algorithm>
#include <utility>

namespace {
const QString serverService = QStringLiteral("org.freedesktop.Notifications");
const QString serverPath = QStringLiteral("/org/freedesktop/Notifications");
const QString serverInterface = QStringLiteral("org.freedesktop.Notifications");

const QString pendingKey = QStringLiteral("pending");
const QString undeliveredKey = QStringLiteral("undelivered");
const QString versionKey = QStringLiteral("version");
constexpr int storeVersion = 1;

// NotificationClosed reasons of the freedesktop specification.
constexpr uint closedByUser = 2;

// Bounds the time a monotonic timer can drift from the wall clock (suspend, clock changes).
constexpr qint64 maxTimerIntervalMs = 60 * 60 * 1000;

QDBusMessage serverCall(const QString& method) {
    QDBusMessage message =
        QDBusMessage::createMethodCall(serverService, serverPath, serverInterface, method);
    // Never start a daemon: a server that isn't running is a denied permission.
    message.setAutoStartService(false);
    return message;
}

// Errors that mean "no server right now", as opposed to a server that refused the request.
bool isServerMissing(const QDBusError& error) {
    switch (error.type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
    case QDBusError::Disconnected:
    case QDBusError::NoServer:
    case QDBusError::UnknownObject:
        return true;
    default:
        return false;
    }
}
} // namespace

NotificationCenter::NotificationCenter(const Clock& clock, QObject* parent)
    : NotificationCenter(clock, Options{}, parent) {}

NotificationCenter::NotificationCenter(const Clock& clock, const Options& options, QObject* parent)
    : QObject(parent)
    , m_clock(clock)
    , m_storePath(options.storePath.isEmpty() ? defaultStorePath() : options.storePath)
    , m_bus(options.sessionBus.value_or(QDBusConnection::sessionBus())) {
    m_dueTimer.setSingleShot(true);
    connect(&m_dueTimer, &QTimer::timeout, this, &NotificationCenter::checkDue);
    m_housekeeping.setSingleShot(true);
    m_housekeeping.setInterval(0);
    connect(&m_housekeeping, &QTimer::timeout, this, &NotificationCenter::housekeeping);
    if (options.tickIntervalMs > 0) {
        connect(&m_tick, &QTimer::timeout, this, &NotificationCenter::checkDue);
        m_tick.start(options.tickIntervalMs);
    }

    load();

    if (m_bus.isConnected()) {
        m_bus.connect(serverService, serverPath, serverInterface, QStringLiteral("ActionInvoked"),
                      this, SLOT(onActionInvoked(uint, QString)));
        m_bus.connect(serverService, serverPath, serverInterface,
                      QStringLiteral("NotificationClosed"), this,
                      SLOT(onNotificationClosed(uint, uint)));
        auto* watcher = new QDBusServiceWatcher(serverService, m_bus,
                                                QDBusServiceWatcher::WatchForOwnerChange, this);
        connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this](const QString&, const QString&, const QString& newOwner) {
                    // A new server numbers its notifications afresh.
                    m_delivered.clear();
                    setServerPresent(!newOwner.isEmpty());
                });
        queryServer();
    } else {
        qCInfo(lcReminders) << "no session bus; notifications are off";
        queryServer();
    }

    // A timer's clock stops during suspend, so a wake re-checks what came due meanwhile.
    const QDBusConnection systemBus = options.systemBus.value_or(QDBusConnection::systemBus());
    if (systemBus.isConnected()) {
        QDBusConnection(systemBus).connect(
            QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
            QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"),
            this, SLOT(onPrepareForSleep(bool)));
    }

    scheduleHousekeeping();
}

NotificationCenter::~NotificationCenter() {
    if (m_dirty)
        save();
}

QString NotificationCenter::defaultStorePath() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
           QStringLiteral("/pending-notifications.json");
}

void NotificationCenter::setNotificationCategories(const QList<NotificationCategory>& categories) {
    m_categories = categories;
}

void NotificationCenter::add(const NotificationRequest& request) {
    if (request.identifier.isEmpty() || !request.trigger.isValid()) {
        qCWarning(lcReminders) << "ignoring a request without identifier or trigger";
        return;
    }
    NotificationRequest stored = request;
    stored.trigger = request.trigger.toUTC();
    m_pending.insert(stored.identifier, stored);
    markDirty();
}

void NotificationCenter::removePending(const QStringList& identifiers) {
    bool removed = false;
    for (const QString& identifier : identifiers)
        removed |= m_pending.remove(identifier) > 0;
    if (removed)
        markDirty();
}

QList<NotificationRequest> NotificationCenter::pendingRequests() const {
    QList<NotificationRequest> requests = m_pending.values();
    std::sort(requests.begin(), requests.end(), [](const auto& a, const auto& b) {
        if (a.trigger != b.trigger)
            return a.trigger < b.trigger;
        return a.identifier < b.identifier;
    });
    return requests;
}

QList<NotificationRequest> NotificationCenter::undeliveredRequests() const {
    QList<NotificationRequest> requests;
    for (const Outgoing& entry : m_outbox) {
        if (!entry.inFlight)
            requests.append(entry.request);
    }
    return requests;
}

void NotificationCenter::removeUndelivered(const QStringList& identifiers) {
    const qsizetype removed = m_outbox.removeIf([&](const Outgoing& entry) {
        return !entry.inFlight && identifiers.contains(entry.request.identifier);
    });
    if (removed > 0)
        markDirty();
}

QDateTime NotificationCenter::nextTrigger() const {
    QDateTime earliest;
    for (const NotificationRequest& request : m_pending) {
        if (!earliest.isValid() || request.trigger < earliest)
            earliest = request.trigger;
    }
    return earliest;
}

void NotificationCenter::requestAuthorization(QObject* context,
                                              std::function<void(bool granted)> answer) {
    m_waiters.append(Waiter{context, std::move(answer)});
    if (m_status == AuthorizationStatus::authorized)
        scheduleHousekeeping();
    else if (!m_queryInFlight)
        queryServer();
}

void NotificationCenter::checkDue() {
    const QDateTime now = m_clock.now();
    QList<NotificationRequest> due;
    for (auto it = m_pending.begin(); it != m_pending.end();) {
        if (it->trigger <= now) {
            due.append(*it);
            it = m_pending.erase(it);
        } else {
            ++it;
        }
    }
    if (!due.isEmpty()) {
        std::sort(due.begin(), due.end(),
                  [](const auto& a, const auto& b) { return a.trigger < b.trigger; });
        for (const NotificationRequest& request : std::as_const(due))
            m_outbox.append(Outgoing{request, false, false, m_nextSerial++});
        markDirty();
    }
    flushOutbox();
    armTimer();
}

void NotificationCenter::load() {
    QFile file(m_storePath);
    if (!file.exists())
        return;
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcReminders) << "cannot read" << m_storePath << file.errorString();
        return;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    file.close();
    if (!document.isObject()) {
        // Keep the unreadable file for a person to look at, and start empty.
        const QString aside = m_storePath + QStringLiteral(".corrupt");
        QFile::remove(aside);
        QFile::rename(m_storePath, aside);
        qCWarning(lcReminders).noquote()
            << "pending notifications unreadable (" << error.errorString() << "), kept as" << aside;
        return;
    }

    const QJsonObject root = document.object();
    const QDateTime now = m_clock.now();
    int skipped = 0;
    for (const QJsonValue& value : root.value(pendingKey).toArray()) {
        const auto request = NotificationRequest::fromJson(value.toObject());
        if (!request) {
            ++skipped;
        } else if (request->trigger <= now) {
            // Its moment passed while we weren't running: shown once, marked as missed.
            m_outbox.append(Outgoing{*request, true, false, m_nextSerial++});
            m_dirty = true;
        } else {
            m_pending.insert(request->identifier, *request);
        }
    }
    for (const QJsonValue& value : root.value(undeliveredKey).toArray()) {
        const auto request = NotificationRequest::fromJson(value.toObject());
        if (request)
            m_outbox.append(Outgoing{*request, true, false, m_nextSerial++});
        else
            ++skipped;
    }
    if (skipped > 0)
        qCWarning(lcReminders) << "skipped" << skipped << "malformed pending notifications";
}

void NotificationCenter::save() {
    QJsonArray pending;
    for (const NotificationRequest& request : pendingRequests())
        pending.append(request.toJson());
    QJsonArray undelivered;
    for (const Outgoing& entry : std::as_const(m_outbox)) {
        // Sent ones are left out: a quit before the server's reply must not show them twice.
        if (!entry.inFlight)
            undelivered.append(entry.request.toJson());
    }
    const QJsonObject root{
        {versionKey, storeVersion}, {pendingKey, pending}, {undeliveredKey, undelivered}};

    QDir().mkpath(QFileInfo(m_storePath).absolutePath());
    QSaveFile file(m_storePath);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(QJsonDocument(root).toJson(QJsonDocument::Compact)) < 0 || !file.commit()) {
        qCWarning(lcReminders) << "cannot write" << m_storePath << file.errorString();
        return; // stays dirty; the next change or the destructor tries again
    }
    m_dirty = false;
}

void NotificationCenter::markDirty() {
    m_dirty = true;
    scheduleHousekeeping();
}

// Many changes in one turn of the event loop (a syncAll over thousands of tasks) cost one
// file write, one timer arming and one round of permission answers.
void NotificationCenter::scheduleHousekeeping() {
    if (!m_housekeeping.isActive())
        m_housekeeping.start();
}

void NotificationCenter::housekeeping() {
    if (m_status == AuthorizationStatus::authorized)
        answerWaiters(true);
    // Requests added with a moment already passed go out now rather than at the next tick.
    checkDue();
    if (m_dirty)
        save();
}

void NotificationCenter::armTimer() {
    const QDateTime earliest = nextTrigger();
    if (!earliest.isValid()) {
        m_dueTimer.stop();
        return;
    }
    const qint64 ms = std::clamp<qint64>(m_clock.now().msecsTo(earliest), 0, maxTimerIntervalMs);
    m_dueTimer.start(int(ms));
}

void NotificationCenter::queryServer() {
    m_queryInFlight = true;
    if (!m_bus.isConnected()) {
        // Answered on a later turn all the same, as a reply from the bus would be.
        QMetaObject::invokeMethod(
            this,
            [this] {
                m_queryInFlight = false;
                setServerPresent(false);
            },
            Qt::QueuedConnection);
        return;
    }
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameHasOwner"));
    message << serverService;
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                m_queryInFlight = false;
                const QDBusPendingReply<bool> reply = *call;
                if (reply.isError())
                    qCWarning(lcReminders) << "cannot ask the bus:" << reply.error().message();
                setServerPresent(!reply.isError() && reply.value());
            });
}

void NotificationCenter::setServerPresent(bool present) {
    const AuthorizationStatus status =
        present ? AuthorizationStatus::authorized : AuthorizationStatus::denied;
    if (status != m_status) {
        m_status = status;
        qCInfo(lcReminders) << (present ? "notification server present"
                                        : "no notification server; reminders wait");
        emit authorizationStatusChanged();
    }
    if (!m_queryInFlight)
        answerWaiters(present);
    if (present)
        flushOutbox();
}

void NotificationCenter::answerWaiters(bool granted) {
    // An answer may add waiters of its own; they get the next round.
    const QList<Waiter> waiters = std::exchange(m_waiters, {});
    for (const Waiter& waiter : waiters) {
        if (waiter.context)
            waiter.answer(granted);
    }
}

void NotificationCenter::flushOutbox() {
    if (m_status != AuthorizationStatus::authorized) {
        if (m_status == AuthorizationStatus::denied) {
            for (Outgoing& entry : m_outbox)
                entry.late = true;
        }
        return;
    }
    for (Outgoing& entry : m_outbox) {
        if (!entry.inFlight)
            send(entry);
    }
}

QStringList NotificationCenter::actionList(const QString& categoryIdentifier) const {
    QStringList actions;
    for (const NotificationCategory& category : m_categories) {
        if (category.identifier != categoryIdentifier)
            continue;
        for (const NotificationAction& action : category.actions)
            actions << action.identifier << action.title;
    }
    // Some servers raise the sender's window on a click unless a default action is offered.
    actions << defaultActionIdentifier << QString();
    return actions;
}

void NotificationCenter::send(Outgoing& entry) {
    entry.inFlight = true;
    markDirty();
    const NotificationRequest& request = entry.request;

    // A new notification for a task replaces the one still on screen, as a re-delivered
    // request of the same identifier does.
    uint replacesId = 0;
    for (auto it = m_delivered.cbegin(); it != m_delivered.cend(); ++it) {
        if (it->identifier == request.identifier)
            replacesId = it.key();
    }

    QString body = request.body;
    if (entry.late)
        body += missedMark;

    const QVariantMap hints{
        {QStringLiteral("desktop-entry"), desktopEntry},
        {QStringLiteral("resident"), true},
        {QStringLiteral("urgency"), QVariant::fromValue(uchar(1))},
        {QStringLiteral("sound-name"), QStringLiteral("message-new-instant")},
    };
    QDBusMessage message = serverCall(QStringLiteral("Notify"));
    message << QStringLiteral("Tavik") << replacesId << desktopEntry << request.title << body
            << actionList(request.categoryIdentifier) << hints << -1;

    const quint64 serial = entry.serial;
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, serial](QDBusPendingCallWatcher* call) { onNotifyFinished(serial, call); });
}

void NotificationCenter::onNotifyFinished(quint64 serial, QDBusPendingCallWatcher* watcher) {
    watcher->deleteLater();
    const auto it = std::find_if(m_outbox.begin(), m_outbox.end(), [serial](const Outgoing& entry) {
        return entry.serial == serial;
    });
    if (it == m_outbox.end())
        return;

    const QDBusPendingReply<uint> reply = *watcher;
    if (reply.isError()) {
        if (isServerMissing(reply.error())) {
            // Kept for the next server; by then it will be late.
            it->inFlight = false;
            it->late = true;
            markDirty();
            qCInfo(lcReminders) << "notification server gone; keeping" << it->request.identifier;
        } else {
            qCWarning(lcReminders) << "notification refused:" << reply.error().message();
            m_outbox.erase(it);
            markDirty();
        }
        return;
    }

    const uint notificationId = reply.value();
    const QString identifier = it->request.identifier;
    m_delivered.insert(notificationId, Delivered{identifier, it->request.userInfo});
    m_outbox.erase(it);
    markDirty();
    emit notificationDelivered(identifier, notificationId);
}

void NotificationCenter::closeNotification(uint notificationId) {
    QDBusMessage message = serverCall(QStringLiteral("CloseNotification"));
    message << notificationId;
    m_bus.call(message, QDBus::NoBlock);
}

void NotificationCenter::onActionInvoked(uint notificationId, const QString& actionKey) {
    const auto it = m_delivered.constFind(notificationId);
    if (it == m_delivered.cend())
        return; // another application's notification, or one answered already
    const QVariantMap userInfo = it->userInfo;
    m_delivered.erase(it);
    // Answered: it leaves the screen, which a resident notification would not do by itself.
    closeNotification(notificationId);
    emit responseReceived(actionKey, userInfo);
}

void NotificationCenter::onNotificationClosed(uint notificationId, uint reason) {
    const auto it = m_delivered.constFind(notificationId);
    if (it == m_delivered.cend())
        return;
    const QVariantMap userInfo = it->userInfo;
    m_delivered.erase(it);
    // Expired or closed by a call is not an answer of the user's.
    if (reason == closedByUser)
        emit responseReceived(dismissActionIdentifier, userInfo);
}

void NotificationCenter::onPrepareForSleep(bool sleeping) {
    if (!sleeping)
        checkDue();
}
