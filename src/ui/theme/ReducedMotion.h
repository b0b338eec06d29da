#pragma once

#include <QDBusVariant>
#include <QObject>

// Whether the desktop asks for less motion: GNOME's "enable-animations" turned off, read
// through the settings portal without waiting for it (animations run until it answers).
// TAVIK_REDUCE_MOTION=1|0 forces it (screenshots, tests).
class ReducedMotion : public QObject {
    Q_OBJECT
public:
    [[nodiscard]] static ReducedMotion& instance();

    [[nodiscard]] bool enabled() const { return m_enabled; }
    void setEnabled(bool enabled);

signals:
    void enabledChanged();

private slots:
    void portalSettingChanged(const QString& nameSpace, const QString& key,
                              const QDBusVariant& value);

private:
    ReducedMotion();
    void applyAnimationsSetting(const QVariant& enableAnimations);

    bool m_enabled = false;
    bool m_forced = false;
};
