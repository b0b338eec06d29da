#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QVariant>

// Light or dark, as the desktop says: the portal's org.freedesktop.appearance color-scheme,
// falling back to the palette. TAVIK_APPEARANCE=light|dark forces one (screenshots, tests).
class ColorScheme : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool dark READ dark NOTIFY darkChanged)
public:
    [[nodiscard]] static ColorScheme& instance();

    [[nodiscard]] bool dark() const { return m_dark; }
    void setDark(bool dark);

signals:
    void darkChanged();

private slots:
    void portalSettingChanged(const QString& nameSpace, const QString& key,
                              const QDBusVariant& value);

private:
    ColorScheme();
    void applyPortalValue(const QVariant& value);
    [[nodiscard]] static bool paletteIsDark();

    bool m_dark = false;
    bool m_forced = false;
};
