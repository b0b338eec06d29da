#pragma once

// A python3-dbusmock server on a given bus, started from one of its templates. It records the
// calls it receives and emits signals on request.

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTest>
#include <QVariantList>
#include <QVariantMap>

class DbusMockServer {
public:
    DbusMockServer(QDBusConnection bus, QString busAddress, QString templateName, QString busName,
                   QString objectPath, QString parameters = {})
        : m_bus(std::move(bus))
        , m_address(std::move(busAddress))
        , m_template(std::move(templateName))
        , m_busName(std::move(busName))
        , m_path(std::move(objectPath))
        , m_parameters(std::move(parameters)) {}

    ~DbusMockServer() { stop(); }

    DbusMockServer(const DbusMockServer&) = delete;
    DbusMockServer& operator=(const DbusMockServer&) = delete;

    // The notification server that the reminders talk to.
    static QString notificationParameters() {
        return QStringLiteral(R"({"capabilities": "body actions persistence"})");
    }

    // Starts the server and waits until it owns its name.
    [[nodiscard]] bool start() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_address);
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QStringList arguments{QStringLiteral("-m"), QStringLiteral("dbusmock"),
                              QStringLiteral("--session"), QStringLiteral("--template"),
                              m_template};
        if (!m_parameters.isEmpty())
            arguments << QStringLiteral("-p") << m_parameters;
        // The Debian interpreter: a python3 earlier on PATH may lack the module.
        m_process.start(QStringLiteral("/usr/bin/python3"), arguments);
        if (!m_process.waitForStarted(5000))
            return false;
        return waitForOwner(true);
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
        return m_bus.interface() && m_bus.interface()->isServiceRegistered(m_busName).value();
    }

    // Arguments of every call of `method` since the last clearCalls(), oldest first. Arrays
    // and dictionaries come back as QStringList and QVariantMap.
    [[nodiscard]] QList<QVariantList> methodCalls(const QString& method) const {
        QDBusMessage call = mockCall(QStringLiteral("GetMethodCalls"));
        call << method;
        const QDBusMessage reply = m_bus.call(call);
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

    void clearCalls() { m_bus.call(mockCall(QStringLiteral("ClearCalls"))); }

    // Emits `name` from the main object as if the server had sent it.
    void emitSignal(const QString& interface, const QString& name, const QString& signature,
                    const QVariantList& arguments) {
        QDBusMessage call = mockCall(QStringLiteral("EmitSignal"));
        call << interface << name << signature << QVariant::fromValue(arguments);
        const QDBusMessage reply = m_bus.call(call);
        if (reply.type() != QDBusMessage::ReplyMessage)
            qWarning("EmitSignal failed: %s", qPrintable(reply.errorMessage()));
    }

private:
    [[nodiscard]] QDBusMessage mockCall(const QString& method) const {
        return QDBusMessage::createMethodCall(m_busName, m_path,
                                              QStringLiteral("org.freedesktop.DBus.Mock"), method);
    }

    static QVariant plain(const QVariant& value) {
        if (value.userType() == qMetaTypeId<QDBusVariant>())
            return plain(value.value<QDBusVariant>().variant());
        if (value.userType() != qMetaTypeId<QDBusArgument>())
            return value;
        const QDBusArgument argument = value.value<QDBusArgument>();
        const QString signature = argument.currentSignature();
        if (signature == QStringLiteral("as"))
            return qdbus_cast<QStringList>(argument);
        if (signature == QStringLiteral("a{sv}")) {
            QVariantMap map = qdbus_cast<QVariantMap>(argument);
            for (QVariant& entry : map)
                entry = plain(entry);
            return map;
        }
        return value;
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
    QString m_template;
    QString m_busName;
    QString m_path;
    QString m_parameters;
    QProcess m_process;
};
