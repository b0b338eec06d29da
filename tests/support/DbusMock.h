#pragma once

// A python3-dbusmock server on a session bus of the test's own, started from one of its
// templates (arguments: the template, then "-p" and its parameters if any).

#include "ServerProcess.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTest>
#include <QVariantList>
#include <QVariantMap>

class DbusMock {
public:
    DbusMock(QDBusConnection bus, QString address, QStringList arguments, QString name,
             QString path)
        : m_bus(std::move(bus))
        , m_address(std::move(address))
        , m_arguments(std::move(arguments))
        , m_name(std::move(name))
        , m_path(std::move(path)) {}
    ~DbusMock() { stop(); }

    // Starts the server and waits until it owns its name.
    [[nodiscard]] bool start() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_address);
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        // The Debian interpreter: a python3 earlier on PATH may lack the module.
        m_process.setProgram(QStringLiteral("/usr/bin/python3"));
        m_process.setArguments(QStringList{"-m", "dbusmock", "--session", "--template"} +
                               m_arguments);
        return m_process.startUntil([this] { return isOwned(); }, 10000);
    }

    void stop() {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.stop();
        (void)QTest::qWaitFor([this] { return !isOwned(); }, 10000);
    }

    [[nodiscard]] bool isOwned() const {
        return m_bus.interface() && m_bus.interface()->isServiceRegistered(m_name).value();
    }

    // Arguments of every call of `method` since the last clearCalls(), oldest first. Arrays
    // and dictionaries come back as QStringList and QVariantMap.
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

    // Emits `name` from the main object as if the server had sent it.
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

    QDBusConnection m_bus;
    QString m_address;
    QStringList m_arguments;
    QString m_name;
    QString m_path;
    ServerProcess m_process;
};
