#include "theme/ColorScheme.h"
#include "theme/Radix.h"
#include "theme/ThemePalette.h"

#include <QGuiApplication>
#include <QTest>

#include <cmath>

namespace {

// WCAG contrast ratio of two opaque colours.
double contrast(const QColor& a, const QColor& b) {
    auto luminance = [](const QColor& c) {
        auto channel = [](double v) {
            return v <= 0.03928 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * channel(c.redF()) + 0.7152 * channel(c.greenF()) +
               0.0722 * channel(c.blueF());
    };
    const double la = luminance(a);
    const double lb = luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

} // namespace

class TestThemePalette : public QObject {
    Q_OBJECT

private slots:
    // What Qt draws from the palette (menus, tooltips, selections) stays readable in either
    // scheme and follows a switch made while the app runs.
    void readableInBothSchemes() {
        ColorScheme::instance().setDark(false);
        ThemePalette theme;
        Radix colours;
        for (bool dark : {false, true}) {
            ColorScheme::instance().setDark(dark);
            const QPalette p = QGuiApplication::palette();
            QCOMPARE(p.color(QPalette::Window).lightnessF() < 0.5, dark);
            QVERIFY(contrast(p.color(QPalette::WindowText), p.color(QPalette::Window)) > 7);
            QVERIFY(contrast(p.color(QPalette::Text), p.color(QPalette::Base)) > 7);
            QVERIFY(contrast(p.color(QPalette::ToolTipText), p.color(QPalette::ToolTipBase)) > 7);
            QCOMPARE(p.color(QPalette::ToolTipBase), p.color(QPalette::Window));
            QCOMPARE(p.color(QPalette::Highlight), colours.accent());
            QVERIFY(contrast(p.color(QPalette::HighlightedText), p.color(QPalette::Highlight)) > 3);
        }
    }
};

QTEST_MAIN(TestThemePalette)

#include "tst_themepalette.moc"
