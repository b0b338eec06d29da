#include "theme/Radix.h"

#include "theme/ColorScheme.h"
#include "theme/HexColor.h"

Radix::Radix(QObject* parent)
    : QObject(parent)
    , m_scheme(&ColorScheme::instance()) {
    connect(m_scheme, &ColorScheme::darkChanged, this, &Radix::changed);
}

QColor Radix::fromHex(const QString& hex) {
    return HexColor::rgb(hex);
}

QColor Radix::fromHexAlpha(const QString& hex) {
    const quint32 value = static_cast<quint32>(HexColor::scan(hex) & 0xFFFFFFFFu);
    return QColor::fromRgb(int((value >> 24) & 0xFF), int((value >> 16) & 0xFF),
                           int((value >> 8) & 0xFF), int(value & 0xFF));
}

bool Radix::dark() const {
    return m_scheme->dark();
}

QColor Radix::pick(const char* light, const char* darkValue) const {
    return fromHex(QLatin1String(dark() ? darkValue : light));
}

QColor Radix::pickA(const char* light, const char* darkValue) const {
    return fromHexAlpha(QLatin1String(dark() ? darkValue : light));
}
