#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

// The desktop's power profile, as power-profiles-daemon (net.hadess.PowerProfiles) offers it
// on the given bus: power saving is on while the active profile is "power-saver". Without the
// daemon, power saving reads false and stays so until the daemon appears.
class PowerProfile : public QObject {
    Q_OBJECT
public:
    explicit PowerProfile(const QDBusConnection& bus, QObject* parent = nullptr);

    [[nodiscard]] bool powerSaving() const { return m_powerSaving; }

signals:
    void powerSavingChanged(bool powerSaving);

private slots:
    void propertiesChanged(const QString& interface, const QVariantMap& changed,
                           const QStringList& invalidated);

private:
    void read();
    void set(bool powerSaving);

    QDBusConnection m_bus;
    bool m_powerSaving = false;
};
