#include "Radix.h"

#include "ColorScheme.h"

namespace {

int hexDigit(QChar c) {
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9')
        return u - u'0';
    if (u >= u'a' && u <= u'f')
        return 10 + (u - u'a');
    if (u >= u'A' && u <= u'F')
        return 10 + (u - u'A');
    return -1;
}

quint64 scanHex(QString text) {
    while (text.startsWith(QLatin1Char('#')))
        text.remove(0, 1);
    while (text.endsWith(QLatin1Char('#')))
        text.chop(1);
    // Like a scanner: hex digits from the start, up to the first other character.
    quint64 value = 0;
    for (QChar c : std::as_const(text)) {
        const int digit = hexDigit(c);
        if (digit < 0)
            break;
        value = (value << 4) | static_cast<quint64>(digit);
    }
    return value;
}

} // namespace

Radix::Radix(QObject* parent)
    : QObject(parent)
    , m_scheme(&ColorScheme::instance()) {
    connect(m_scheme, &ColorScheme::darkChanged, this, &Radix::changed);
}

QColor Radix::fromHex(const QString& hex) {
    const quint64 value = scanHex(hex);
    return QColor::fromRgb(int((value >> 16) & 0xFF), int((value >> 8) & 0xFF), int(value & 0xFF));
}

QColor Radix::fromHexAlpha(const QString& hex) {
    const quint32 value = static_cast<quint32>(scanHex(hex) & 0xFFFFFFFFu);
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
