#include "theme/ColorScheme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QPalette>

namespace {
const QString kPortalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kSettingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kAppearance = QStringLiteral("org.freedesktop.appearance");
const QString kColorScheme = QStringLiteral("color-scheme");

QVariant unwrap(QVariant value) {
    // The portal answers a variant inside a variant.
    while (value.canConvert<QDBusVariant>() && value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}
} // namespace

ColorScheme& ColorScheme::instance() {
    static ColorScheme scheme;
    return scheme;
}

ColorScheme::ColorScheme() {
    const QByteArray forced = qgetenv("TAVIK_APPEARANCE");
    if (forced == "dark" || forced == "light") {
        m_forced = true;
        m_dark = forced == "dark";
        return;
    }
    m_dark = paletteIsDark();
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    QDBusMessage read = QDBusMessage::createMethodCall(kPortalService, kPortalPath,
                                                       kSettingsInterface, QStringLiteral("Read"));
    read << kAppearance << kColorScheme;
    // The portal may be absent: a short timeout keeps start-up quick.
    const QDBusMessage reply = bus.call(read, QDBus::Block, 300);
    if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty())
        applyPortalValue(unwrap(reply.arguments().constFirst()));
    bus.connect(kPortalService, kPortalPath, kSettingsInterface, QStringLiteral("SettingChanged"),
                this, SLOT(portalSettingChanged(QString, QString, QDBusVariant)));
}

void ColorScheme::setDark(bool dark) {
    if (m_dark == dark)
        return;
    m_dark = dark;
    emit darkChanged();
}

void ColorScheme::portalSettingChanged(const QString& nameSpace, const QString& key,
                                       const QDBusVariant& value) {
    if (m_forced || nameSpace != kAppearance || key != kColorScheme)
        return;
    applyPortalValue(unwrap(value.variant()));
}

void ColorScheme::applyPortalValue(const QVariant& value) {
    // 1 prefers dark, 2 prefers light, 0 has no preference.
    switch (value.toUInt()) {
    case 1:
        setDark(true);
        break;
    case 2:
        setDark(false);
        break;
    default:
        setDark(paletteIsDark());
        break;
    }
}

bool ColorScheme::paletteIsDark() {
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return false;
    const QColor window = QGuiApplication::palette().color(QPalette::Window);
    return window.lightnessF() < 0.5;
}
