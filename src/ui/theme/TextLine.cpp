#include "theme/TextLine.h"

#include <QFont>
#include <QFontMetricsF>
#include <QHash>
#include <algorithm>
#include <cmath>

double TextLine::height(int pixelSize) {
    static QHash<int, double> measured;
    if (const auto found = measured.constFind(pixelSize); found != measured.cend())
        return *found;
    QFont font;
    font.setPixelSize(pixelSize);
    const QFontMetricsF metrics(font);
    const double line =
        std::ceil(std::max(metrics.height(), metrics.boundingRect(QStringLiteral("国")).height()));
    measured.insert(pixelSize, line);
    return line;
}
