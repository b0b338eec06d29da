#include "theme/Icons.h"

#include <QHash>

namespace {

// Codepoints of the Material Design Icons font as Debian 12 ships it (1.6.50).
const QHash<QString, char16_t>& table() {
    static const QHash<QString, char16_t> glyphs{
        {QStringLiteral("tray"), 0xF2FB},                 // inbox
        {QStringLiteral("calendar.badge.clock"), 0xF0F0}, // calendar-clock
        {QStringLiteral("sun.max"), 0xF5A8},              // white-balance-sunny
        {QStringLiteral("checkmark.circle"), 0xF134},     // checkbox-marked-circle-outline
        {QStringLiteral("checkmark.circle.fill"), 0xF133},
        {QStringLiteral("checkmark"), 0xF12C},
        {QStringLiteral("checklist"), 0xF5C7}, // playlist-check
        {QStringLiteral("list.bullet"), 0xF279},
        {QStringLiteral("rectangle.grid.1x2"), 0xF56A}, // view-agenda
        {QStringLiteral("square.grid.2x2"), 0xF570},
        {QStringLiteral("chevron.down"), 0xF140},
        {QStringLiteral("chevron.up"), 0xF143},
        {QStringLiteral("chevron.right"), 0xF142},
        {QStringLiteral("alarm"), 0xF020},
        {QStringLiteral("alarm.fill"), 0xF020},
        {QStringLiteral("calendar"), 0xF0ED},
        {QStringLiteral("cloud.sun"), 0xF595},
        {QStringLiteral("checkmark.icloud.fill"), 0xF160},
        {QStringLiteral("icloud.slash"), 0xF164},
        {QStringLiteral("exclamationmark.icloud.fill"), 0xF164},
        {QStringLiteral("exclamationmark.triangle"), 0xF02A},
        {QStringLiteral("exclamationmark.triangle.fill"), 0xF026},
        {QStringLiteral("eye"), 0xF208},
        {QStringLiteral("eye.slash"), 0xF209},
        {QStringLiteral("gearshape"), 0xF493},
        {QStringLiteral("info.circle"), 0xF2FD},
        {QStringLiteral("pencil"), 0xF3EB},
        {QStringLiteral("plus"), 0xF415},
        {QStringLiteral("sparkles"), 0xF068}, // auto-fix
        {QStringLiteral("tag"), 0xF4FC},
        {QStringLiteral("tag.fill"), 0xF4F9},
        {QStringLiteral("text.alignleft"), 0xF262},
        {QStringLiteral("trash"), 0xF1C0},
        {QStringLiteral("xmark"), 0xF156},
        {QStringLiteral("xmark.circle"), 0xF15A},
        {QStringLiteral("xmark.circle.fill"), 0xF159},
        {QStringLiteral("ellipsis"), 0xF1D8},
        {QStringLiteral("command"), 0xF633},
        {QStringLiteral("return"), 0xF311},
        {QStringLiteral("bold"), 0xF264},
        {QStringLiteral("italic"), 0xF277},
        {QStringLiteral("underline"), 0xF287},
        {QStringLiteral("strikethrough"), 0xF280},
    };
    return glyphs;
}

} // namespace

QString Icons::glyph(const QString& symbolName) {
    const auto it = table().constFind(symbolName);
    return QString(QChar(it != table().cend() ? *it : char16_t(0xF2FD)));
}

bool Icons::isKnown(const QString& symbolName) {
    return table().contains(symbolName);
}
