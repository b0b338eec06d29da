#pragma once

// A session bus of the test's own: a dbus-daemon with no activatable services apart from the
// ones a test adds, so nothing on the machine can be started behind the test's back.

#include <QDBusConnection>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

class PrivateSessionBus {
public:
    PrivateSessionBus() {
        QDir().mkpath(serviceDirectory());
        QFile config(m_dir.filePath(QStringLiteral("bus.conf")));
        if (!config.open(QIODevice::WriteOnly))
            return;
        config.write(
            QStringLiteral(
                R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=%1</listen>
  <servicedir>%2</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)")
                .arg(m_dir.path(), serviceDirectory())
                .toUtf8());
        config.close();

        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--config-file=") + config.fileName(),
                        QStringLiteral("--nofork"), QStringLiteral("--print-address")});
        if (!m_daemon.waitForStarted(5000))
            return;
        while (!m_daemon.canReadLine() && m_daemon.waitForReadyRead(5000)) {
        }
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
        m_name = QStringLiteral("tavik-test-") + QUuid::createUuid().toString(QUuid::Id128);
        QDBusConnection::connectToBus(m_address, m_name);
    }

    ~PrivateSessionBus() {
        QDBusConnection::disconnectFromBus(m_name);
        m_daemon.terminate();
        if (!m_daemon.waitForFinished(3000))
            m_daemon.kill();
    }

    PrivateSessionBus(const PrivateSessionBus&) = delete;
    PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;

    [[nodiscard]] bool isValid() const { return connection().isConnected(); }
    [[nodiscard]] QString address() const { return m_address; }
    [[nodiscard]] QDBusConnection connection() const { return QDBusConnection(m_name); }

    // A D-Bus service file for `busName` whose start only leaves `markerPath` behind: proof
    // that somebody asked the bus to start it.
    void addActivationTrap(const QString& busName, const QString& markerPath) {
        QFile file(serviceDirectory() + QLatin1Char('/') + busName + QStringLiteral(".service"));
        if (file.open(QIODevice::WriteOnly))
            file.write(QStringLiteral("[D-BUS Service]\nName=%1\nExec=/usr/bin/touch %2\n")
                           .arg(busName, markerPath)
                           .toUtf8());
        QDBusConnection bus = connection();
        bus.call(QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ReloadConfig")));
    }

private:
    [[nodiscard]] QString serviceDirectory() const {
        return m_dir.filePath(QStringLiteral("services"));
    }

    QTemporaryDir m_dir;
    QProcess m_daemon;
    QString m_address;
    QString m_name;
};
