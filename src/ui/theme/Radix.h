#pragma once

#include <QColor>
#include <QObject>
#include <QQmlEngine>

class ColorScheme;

// The named colours of the interface, each with a light and a dark value. QML reads
// `Radix.sandA6` and so on; the value follows the desktop's colour scheme.
class Radix : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ dark NOTIFY changed)
#define TAVIK_RADIX_COLOR(name) Q_PROPERTY(QColor name READ name NOTIFY changed)
    TAVIK_RADIX_COLOR(sand1)
    TAVIK_RADIX_COLOR(appBackground)
    TAVIK_RADIX_COLOR(sand6)
    TAVIK_RADIX_COLOR(sandA1)
    TAVIK_RADIX_COLOR(sandA2)
    TAVIK_RADIX_COLOR(sandA3)
    TAVIK_RADIX_COLOR(sandA4)
    TAVIK_RADIX_COLOR(sandA6)
    TAVIK_RADIX_COLOR(sandA7)
    TAVIK_RADIX_COLOR(sand9)
    TAVIK_RADIX_COLOR(sand11)
    TAVIK_RADIX_COLOR(sand12)
    TAVIK_RADIX_COLOR(sandA12)
    TAVIK_RADIX_COLOR(gray6)
    TAVIK_RADIX_COLOR(blue9)
    TAVIK_RADIX_COLOR(blueA9)
    TAVIK_RADIX_COLOR(red11)
    TAVIK_RADIX_COLOR(yellow2)
    TAVIK_RADIX_COLOR(yellow11)
    TAVIK_RADIX_COLOR(redA2)
    TAVIK_RADIX_COLOR(redA3)
    TAVIK_RADIX_COLOR(redA4)
    TAVIK_RADIX_COLOR(amberA2)
    TAVIK_RADIX_COLOR(amberA4)
    TAVIK_RADIX_COLOR(amber11)
    TAVIK_RADIX_COLOR(redA9)
    TAVIK_RADIX_COLOR(scrim)
    // The window's backdrop behind the board (not the `scrim` entry above).
    TAVIK_RADIX_COLOR(windowScrim)
    // The desktop's accent and label colours, which stand beside the palette.
    TAVIK_RADIX_COLOR(accent)
    TAVIK_RADIX_COLOR(primaryText)
    TAVIK_RADIX_COLOR(secondaryText)
    TAVIK_RADIX_COLOR(tertiaryText)
    // The desktop's background for popovers and floating controls.
    TAVIK_RADIX_COLOR(controlBackground)
#undef TAVIK_RADIX_COLOR

public:
    explicit Radix(QObject* parent = nullptr);

    static constexpr qreal scrimOpacity = 0.618;

    // "RRGGBB" -> opaque colour; "RRGGBBAA" -> colour with alpha. '#' at either end is
    // ignored; a string that does not start with hex digits reads as 0 (black, or clear).
    [[nodiscard]] static QColor fromHex(const QString& hex);
    [[nodiscard]] static QColor fromHexAlpha(const QString& hex);

    [[nodiscard]] bool dark() const;
    [[nodiscard]] QColor pick(const char* light, const char* darkValue) const;
    [[nodiscard]] QColor pickA(const char* light, const char* darkValue) const;

    [[nodiscard]] QColor sand1() const {
        return pick("FDFDFC", "111110");
    }
    [[nodiscard]] QColor appBackground() const {
        return pick("F6F4F0", "111110");
    }
    [[nodiscard]] QColor sand6() const {
        return pick("DAD9D6", "3B3A37");
    }
    [[nodiscard]] QColor sandA1() const {
        return pickA("00000003", "FFFFFF06");
    }
    [[nodiscard]] QColor sandA2() const {
        return pickA("00000007", "FFFFFF09");
    }
    [[nodiscard]] QColor sandA3() const {
        return pickA("0000000F", "FFFFFF12");
    }
    [[nodiscard]] QColor sandA4() const {
        return pickA("00000017", "FFFFFF1C");
    }
    [[nodiscard]] QColor sandA6() const {
        return pickA("00000026", "FFFFFF2C");
    }
    [[nodiscard]] QColor sandA7() const {
        return pickA("00000035", "FFFFFF3B");
    }
    [[nodiscard]] QColor sand9() const {
        return pick("8D8D86", "6F6D66");
    }
    [[nodiscard]] QColor sand11() const {
        return pick("63635E", "B5B3AD");
    }
    [[nodiscard]] QColor sand12() const {
        return pick("21201C", "EEEEEC");
    }
    [[nodiscard]] QColor sandA12() const {
        return pickA("21201CE8", "EEEEECF2");
    }
    [[nodiscard]] QColor gray6() const {
        return pick("D9D9D9", "3A3A3A");
    }
    [[nodiscard]] QColor blue9() const {
        return pick("0090FF", "0090FF");
    }
    [[nodiscard]] QColor blueA9() const {
        return pickA("0090FFEB", "0090FFEF");
    }
    [[nodiscard]] QColor red11() const {
        return pick("CE2C31", "FF9592");
    }
    [[nodiscard]] QColor yellow2() const {
        return pick("FEFCE9", "1B180F");
    }
    [[nodiscard]] QColor yellow11() const {
        return pick("9E6C00", "F5E147");
    }
    [[nodiscard]] QColor redA2() const {
        return pickA("E5484D0D", "FF6B6B14");
    }
    [[nodiscard]] QColor redA3() const {
        return pickA("E5484D1A", "FF6B6B26");
    }
    [[nodiscard]] QColor redA4() const {
        return pickA("E5484D26", "FF6B6B38");
    }
    [[nodiscard]] QColor amberA2() const {
        return pickA("FFC53D2B", "FFC53D1F");
    }
    [[nodiscard]] QColor amberA4() const {
        return pickA("FFC53D63", "FFC53D45");
    }
    [[nodiscard]] QColor amber11() const {
        return pick("AB6400", "FFCA16");
    }
    [[nodiscard]] QColor redA9() const {
        return pickA("E5484DF0", "FF6B6BF0");
    }
    [[nodiscard]] QColor scrim() const {
        return pick("82827C", "111110");
    }
    [[nodiscard]] QColor windowScrim() const {
        return pick("F6F4F0", "191918");
    }
    [[nodiscard]] QColor accent() const {
        return pick("0A84FF", "0A84FF");
    }
    [[nodiscard]] QColor primaryText() const {
        return pickA("000000D9", "FFFFFFD9");
    }
    [[nodiscard]] QColor secondaryText() const {
        return pickA("00000080", "FFFFFF8C");
    }
    [[nodiscard]] QColor tertiaryText() const {
        return pickA("0000004D", "FFFFFF40");
    }
    [[nodiscard]] QColor controlBackground() const {
        return pick("FFFFFF", "1E1E1E");
    }

signals:
    void changed();

private:
    ColorScheme* m_scheme;
};
