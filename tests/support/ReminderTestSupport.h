#pragma once

#include "BoardTestSupport.h"
#include "DbusMock.h"
#include "NotificationCenter.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

namespace ReminderTest {

inline const QString notificationsName = QStringLiteral("org.freedesktop.Notifications");

using BoardTest::local;

using MockServer = DbusMock;

struct Desktop {
    QTemporaryDir dir;
    ServerProcess daemon;
    QString address;
    struct Bus {
        QDBusConnection connection{QString()};
        [[nodiscard]] bool isValid() const { return connection.isConnected(); }
    } bus;
    std::unique_ptr<MockServer> server;

    Desktop() {
        const QString services = dir.filePath(QStringLiteral("services"));
        QDir().mkpath(services);
        QFile trap(services + QStringLiteral("/") + notificationsName + QStringLiteral(".service"));
        QFile config(dir.filePath(QStringLiteral("bus.conf")));
        if (!trap.open(QIODevice::WriteOnly) || !config.open(QIODevice::WriteOnly))
            return;
        trap.write(QStringLiteral("[D-BUS Service]\nName=%1\nExec=/usr/bin/touch %2\n")
                       .arg(notificationsName, trapPath())
                       .toUtf8());
        config.write(QStringLiteral("<busconfig><type>session</type><listen>unix:dir=%1</listen>"
                                    "<servicedir>%2</servicedir><policy context=\"default\">"
                                    "<allow send_destination=\"*\" eavesdrop=\"true\"/>"
                                    "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy>"
                                    "</busconfig>\n")
                         .arg(dir.path(), services)
                         .toUtf8());
        config.close();
        daemon.setProgram(QStringLiteral("dbus-daemon"));
        daemon.setArguments({QStringLiteral("--config-file=") + config.fileName(),
                             QStringLiteral("--nofork"), QStringLiteral("--print-address")});
        (void)daemon.startUntil([this] { return daemon.canReadLine(); }, 5000);
        address = QString::fromUtf8(daemon.readLine()).trimmed();
        bus.connection = QDBusConnection::connectToBus(address, QStringLiteral("tavik-test-bus"));
        server = std::make_unique<MockServer>(
            bus.connection, address,
            QStringList{"notification_daemon", "-p",
                        R"({"capabilities": "body actions persistence"})"},
            notificationsName, QStringLiteral("/org/freedesktop/Notifications"));
    }

    ~Desktop() {
        server.reset();
        QDBusConnection::disconnectFromBus(bus.connection.name());
        daemon.stop();
    }

    [[nodiscard]] bool ready() {
        if (!bus.isValid() || (!server->isOwned() && !server->start()))
            return false;
        server->clearCalls();
        return true;
    }

    [[nodiscard]] QString trapPath() const { return dir.filePath(QStringLiteral("autostarted")); }
    [[nodiscard]] bool daemonWasAutostarted() const { return QFile::exists(trapPath()); }

    [[nodiscard]] QList<QVariantList> notifyCalls() const {
        return server->methodCalls(QStringLiteral("Notify"));
    }

    [[nodiscard]] NotificationCenter::Options options(const QString& storePath) const {
        NotificationCenter::Options options;
        options.storePath = storePath;
        options.sessionBus = bus.connection;
        options.systemBus = bus.connection;
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
