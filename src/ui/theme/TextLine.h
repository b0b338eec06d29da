#pragma once

#include <QObject>
#include <QQmlEngine>

// The height of one laid-out line of the default font at a pixel size. A line of Chinese
// takes the fallback CJK font's taller ascent and descent, so a Chinese sample is measured
// beside the font's own height; neither is ever taken as a constant. Measured once per size:
// every row of the board asks.
class TextLine : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    using QObject::QObject;

    Q_INVOKABLE [[nodiscard]] static double height(int pixelSize);
};
