#pragma once

#include <QColor>
#include <QStringView>

// Colours written as hex numbers ("E5484D", "#0090ff"), read leniently: a bad value reads as
// 0, never as an error.
namespace HexColor {

// Reads like a scanner: '#' at either end and leading blanks skipped, an optional 0x, then
// hex digits up to the first other character. Too many digits saturate rather than wrap.
[[nodiscard]] quint64 scan(QStringView text);

// An opaque sRGB colour from the low 24 bits of the number.
[[nodiscard]] QColor rgb(QStringView text);

} // namespace HexColor
