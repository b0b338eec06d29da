#include "lists/CategoryPalette.h"

#include "theme/HexColor.h"

QStringList CategoryPalette::hexes() {
    static const QStringList values{
        QStringLiteral("E5484D"), QStringLiteral("F76B15"), QStringLiteral("FFC53D"),
        QStringLiteral("46A758"), QStringLiteral("00A2C7"), QStringLiteral("0090FF"),
        QStringLiteral("5B5BD6"), QStringLiteral("8E4EC6"), QStringLiteral("E54666"),
        QStringLiteral("8B8D98"),
    };
    return values;
}

QColor CategoryPalette::color(const QString& hex) {
    return HexColor::rgb(hex);
}
