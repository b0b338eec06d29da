#include "PowerProfile.h"

#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

namespace {

const QString service = QStringLiteral("net.hadess.PowerProfiles");
const QString path = QStringLiteral("/net/hadess/PowerProfiles");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
const QString activeProfile = QStringLiteral("ActiveProfile");

// A bus that does not answer must not hold up the launch.
constexpr int readTimeoutMs = 1000;

} // namespace

PowerProfile::PowerProfile(const QDBusConnection& bus, QObject* parent)
    : QObject(parent)
    , m_bus(bus) {
    if (!m_bus.isConnected())
        return;
    m_bus.connect(service, path, propertiesInterface, QStringLiteral("PropertiesChanged"), this,
                  SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
    auto* watcher =
        new QDBusServiceWatcher(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) {
                if (owner.isEmpty())
                    set(false);
                else
                    read();
            });
    read();
}

void PowerProfile::read() {
    QDBusMessage get =
        QDBusMessage::createMethodCall(service, path, propertiesInterface, QStringLiteral("Get"));
    get << service << activeProfile;
    // Never start the daemon for this: a desktop without it has no power-saver mode.
    get.setAutoStartService(false);
    const QDBusMessage reply = m_bus.call(get, QDBus::Block, readTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        set(false);
        return;
    }
    const QVariant value = reply.arguments().constFirst().value<QDBusVariant>().variant();
    set(value.toString() == QLatin1String("power-saver"));
}

void PowerProfile::propertiesChanged(const QString& interface, const QVariantMap& changed,
                                     const QStringList& invalidated) {
    if (interface != service)
        return;
    if (changed.contains(activeProfile))
        set(changed.value(activeProfile).toString() == QLatin1String("power-saver"));
    else if (invalidated.contains(activeProfile))
        read();
}

void PowerProfile::set(bool powerSaving) {
    if (m_powerSaving == powerSaving)
        return;
    m_powerSaving = powerSaving;
    emit powerSavingChanged(powerSaving);
}
