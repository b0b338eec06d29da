#pragma once

#include "NotificationCenter.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

namespace ReminderTest {

inline const QString notificationsName = QStringLiteral("org.freedesktop.Notifications");

inline QDateTime local(int y, int m, int d, int hour = 0, int minute = 0, int second = 0) {
    return QDateTime(QDate(y, m, d), QTime(hour, minute, second), Qt::LocalTime).toUTC();
}

class MockServer {
public:
    MockServer(QDBusConnection bus, QString address, QStringList arguments, QString name,
               QString path)
        : m_bus(std::move(bus))
        , m_address(std::move(address))
        , m_arguments(std::move(arguments))
        , m_name(std::move(name))
        , m_path(std::move(path)) {}
    ~MockServer() { stop(); }

    [[nodiscard]] bool start() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_address);
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral("/usr/bin/python3"),
                        QStringList{"-m", "dbusmock", "--session", "--template"} + m_arguments);
        return m_process.waitForStarted(5000) && waitForOwner(true);
    }

    void stop() {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(5000))
            m_process.kill();
        m_process.waitForFinished(2000);
        waitForOwner(false);
    }

    [[nodiscard]] bool isOwned() const {
        return m_bus.interface() && m_bus.interface()->isServiceRegistered(m_name).value();
    }

    [[nodiscard]] QList<QVariantList> methodCalls(const QString& method) const {
        const QDBusMessage reply = m_bus.call(mockCall("GetMethodCalls") << method);
        QList<QVariantList> calls;
        if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
            qWarning("GetMethodCalls failed: %s", qPrintable(reply.errorMessage()));
            return calls;
        }
        const QDBusArgument argument = reply.arguments().constFirst().value<QDBusArgument>();
        argument.beginArray();
        while (!argument.atEnd()) {
            quint64 timestamp = 0;
            QVariantList arguments;
            argument.beginStructure();
            argument >> timestamp >> arguments;
            argument.endStructure();
            for (QVariant& value : arguments)
                value = plain(value);
            calls.append(arguments);
        }
        argument.endArray();
        return calls;
    }

    void clearCalls() { m_bus.call(mockCall("ClearCalls")); }

    void emitSignal(const QString& interface, const QString& name, const QString& signature,
                    const QVariantList& arguments) {
        const QDBusMessage reply = m_bus.call(
            mockCall("EmitSignal") << interface << name << signature << QVariant(arguments));
        if (reply.type() != QDBusMessage::ReplyMessage)
            qWarning("EmitSignal failed: %s", qPrintable(reply.errorMessage()));
    }

private:
    [[nodiscard]] QDBusMessage mockCall(const char* method) const {
        return QDBusMessage::createMethodCall(m_name, m_path, "org.freedesktop.DBus.Mock",
                                              QLatin1String(method));
    }

    static QVariant plain(const QVariant& value) {
        if (value.userType() == qMetaTypeId<QDBusVariant>())
            return plain(value.value<QDBusVariant>().variant());
        if (value.userType() != qMetaTypeId<QDBusArgument>())
            return value;
        const QDBusArgument argument = value.value<QDBusArgument>();
        if (argument.currentSignature() == QLatin1String("as"))
            return qdbus_cast<QStringList>(argument);
        if (argument.currentSignature() != QLatin1String("a{sv}"))
            return value;
        QVariantMap map = qdbus_cast<QVariantMap>(argument);
        for (QVariant& entry : map)
            entry = plain(entry);
        return map;
    }

    bool waitForOwner(bool owned) const {
        QDeadlineTimer deadline(10000);
        while (isOwned() != owned) {
            if (deadline.hasExpired())
                return false;
            QTest::qWait(20);
        }
        return true;
    }

    QDBusConnection m_bus;
    QString m_address;
    QStringList m_arguments;
    QString m_name;
    QString m_path;
    QProcess m_process;
};

struct Desktop {
    QTemporaryDir dir;
    QProcess daemon;
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
        daemon.start(QStringLiteral("dbus-daemon"),
                     {QStringLiteral("--config-file=") + config.fileName(),
                      QStringLiteral("--nofork"), QStringLiteral("--print-address")});
        while (daemon.waitForStarted(5000) && !daemon.canReadLine() &&
               daemon.waitForReadyRead(5000)) {
        }
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
        daemon.terminate();
        if (!daemon.waitForFinished(3000))
            daemon.kill();
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
