#include "theme/HexColor.h"

#include <limits>

namespace {

int hexDigit(char16_t c) {
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (c >= u'a' && c <= u'f')
        return 10 + (c - u'a');
    if (c >= u'A' && c <= u'F')
        return 10 + (c - u'A');
    return -1;
}

} // namespace

namespace HexColor {

quint64 scan(QStringView text) {
    while (!text.isEmpty() && text.front() == u'#')
        text = text.mid(1);
    while (!text.isEmpty() && text.back() == u'#')
        text.chop(1);
    while (!text.isEmpty() && text.front().isSpace())
        text = text.mid(1);
    if (text.size() > 2 && text[0] == u'0' && (text[1] == u'x' || text[1] == u'X') &&
        hexDigit(text[2].unicode()) >= 0)
        text = text.mid(2);

    quint64 value = 0;
    for (const QChar c : text) {
        const int digit = hexDigit(c.unicode());
        if (digit < 0)
            break;
        if (value > (std::numeric_limits<quint64>::max() >> 4))
            value = std::numeric_limits<quint64>::max();
        else
            value = (value << 4) | static_cast<quint64>(digit);
    }
    return value;
}

QColor rgb(QStringView text) {
    const quint64 value = scan(text);
    return QColor::fromRgb(int((value >> 16) & 0xFF), int((value >> 8) & 0xFF), int(value & 0xFF));
}

} // namespace HexColor
