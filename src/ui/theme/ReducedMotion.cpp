#include "theme/ReducedMotion.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace {
const QString kPortalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kSettingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kInterface = QStringLiteral("org.gnome.desktop.interface");
const QString kEnableAnimations = QStringLiteral("enable-animations");

QVariant unwrap(QVariant value) {
    // The portal answers a variant inside a variant.
    while (value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}
} // namespace

ReducedMotion& ReducedMotion::instance() {
    static ReducedMotion motion;
    return motion;
}

ReducedMotion::ReducedMotion() {
    const QByteArray forced = qgetenv("TAVIK_REDUCE_MOTION");
    if (forced == "1" || forced == "0") {
        m_forced = true;
        m_enabled = forced == "1";
        return;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    QDBusMessage read = QDBusMessage::createMethodCall(kPortalService, kPortalPath,
                                                       kSettingsInterface, QStringLiteral("Read"));
    read << kInterface << kEnableAnimations;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* call) {
                const QDBusMessage reply = call->reply();
                if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty())
                    applyAnimationsSetting(unwrap(reply.arguments().constFirst()));
                call->deleteLater();
            });
    bus.connect(kPortalService, kPortalPath, kSettingsInterface, QStringLiteral("SettingChanged"),
                this, SLOT(portalSettingChanged(QString, QString, QDBusVariant)));
}

void ReducedMotion::setEnabled(bool enabled) {
    if (m_enabled == enabled)
        return;
    m_enabled = enabled;
    emit enabledChanged();
}

void ReducedMotion::portalSettingChanged(const QString& nameSpace, const QString& key,
                                         const QDBusVariant& value) {
    if (!m_forced && nameSpace == kInterface && key == kEnableAnimations)
        applyAnimationsSetting(unwrap(value.variant()));
}

void ReducedMotion::applyAnimationsSetting(const QVariant& enableAnimations) {
    if (m_forced || !enableAnimations.canConvert<bool>())
        return;
    setEnabled(!enableAnimations.toBool());
}
