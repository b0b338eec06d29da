#pragma once

#include <QColor>
#include <QObject>
#include <QQmlEngine>
#include <QStringList>

// The ten list colours and the reading of a list's colorHex. QML: CategoryPalette.hexes,
// CategoryPalette.first, CategoryPalette.color(hex).
class CategoryPalette : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QStringList hexes READ hexes CONSTANT)
    Q_PROPERTY(QString first READ first CONSTANT)
public:
    using QObject::QObject;

    [[nodiscard]] static QStringList hexes();
    // The colour proposed for a new list.
    [[nodiscard]] static QString first() { return QStringLiteral("E5484D"); }

    // An opaque sRGB colour from the low 24 bits of the hex number at the start of `hex`.
    // '#' at either end is ignored; anything that is not hex reads as 0, so a bad value is
    // black and never an error.
    Q_INVOKABLE [[nodiscard]] static QColor color(const QString& hex);
};
