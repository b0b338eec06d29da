#pragma once

// Shared pieces of the reminder tests: a private bus with a notification server on it, a
// trap that shows whether anybody asked the bus to start a notification daemon, and local
// wall-clock moments.

#include "DbusMockServer.h"
#include "NotificationCenter.h"
#include "PrivateSessionBus.h"

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

namespace ReminderTest {

inline const QString notificationsName = QStringLiteral("org.freedesktop.Notifications");
inline const QString notificationsPath = QStringLiteral("/org/freedesktop/Notifications");

inline QDateTime local(int y, int m, int d, int hour = 0, int minute = 0, int second = 0) {
    return QDateTime(QDate(y, m, d), QTime(hour, minute, second), Qt::LocalTime).toUTC();
}

// One bus per test program; the server can be stopped and started again within a test.
struct Desktop {
    PrivateSessionBus bus;
    QTemporaryDir dir;
    std::unique_ptr<DbusMockServer> server;

    Desktop() {
        bus.addActivationTrap(notificationsName, trapPath());
        server = std::make_unique<DbusMockServer>(
            bus.connection(), bus.address(), QStringLiteral("notification_daemon"),
            notificationsName, notificationsPath, DbusMockServer::notificationParameters());
    }

    [[nodiscard]] QString trapPath() const { return dir.filePath(QStringLiteral("autostarted")); }
    // Somebody called the notification name while nobody owned it.
    [[nodiscard]] bool daemonWasAutostarted() const { return QFile::exists(trapPath()); }

    [[nodiscard]] QList<QVariantList> notifyCalls() const {
        return server->methodCalls(QStringLiteral("Notify"));
    }

    [[nodiscard]] NotificationCenter::Options options(const QString& storePath) const {
        NotificationCenter::Options options;
        options.storePath = storePath;
        options.sessionBus = bus.connection();
        options.systemBus = bus.connection();
        options.tickIntervalMs = 0; // tests drive time themselves
        return options;
    }

    void actionInvoked(uint notificationId, const QString& actionKey) {
        server->emitSignal(notificationsName, QStringLiteral("ActionInvoked"), QStringLiteral("us"),
                           {notificationId, actionKey});
    }
    void notificationClosed(uint notificationId, uint reason) {
        server->emitSignal(notificationsName, QStringLiteral("NotificationClosed"),
                           QStringLiteral("uu"), {notificationId, reason});
    }
};

} // namespace ReminderTest
