#include "theme/ThemePalette.h"

#include <QGuiApplication>

namespace {

// `over` painted on `base`: palette roles are better opaque, as widgets blend them again.
QColor flatten(const QColor& over, const QColor& base) {
    const qreal a = over.alphaF();
    return QColor::fromRgbF(over.redF() * a + base.redF() * (1 - a),
                            over.greenF() * a + base.greenF() * (1 - a),
                            over.blueF() * a + base.blueF() * (1 - a));
}

} // namespace

ThemePalette::ThemePalette(QObject* parent)
    : QObject(parent) {
    connect(&m_colours, &Radix::changed, this, &ThemePalette::apply);
    apply();
}

QPalette ThemePalette::build(const Radix& colours) {
    const QColor surface = colours.controlBackground();
    const QColor text = flatten(colours.primaryText(), surface);
    const QColor muted = flatten(colours.tertiaryText(), surface);
    const QColor rule = flatten(colours.sandA6(), surface);

    QPalette palette(text, surface);
    for (QPalette::ColorRole role : {QPalette::Window, QPalette::Base, QPalette::Button,
                                     QPalette::ToolTipBase, QPalette::AlternateBase})
        palette.setColor(role, surface);
    for (QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
        palette.setColor(role, text);
    palette.setColor(QPalette::AlternateBase, flatten(colours.sandA2(), surface));
    palette.setColor(QPalette::Highlight, colours.accent());
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, colours.accent());
    palette.setColor(QPalette::PlaceholderText, muted);
    palette.setColor(QPalette::Mid, rule);
    palette.setColor(QPalette::Midlight, flatten(colours.sandA3(), surface));
    palette.setColor(QPalette::Dark, flatten(colours.sandA7(), surface));
    palette.setColor(QPalette::Light,
                     colours.dark() ? flatten(colours.sandA4(), surface) : surface);
    palette.setColor(QPalette::Shadow, QColor(0, 0, 0, colours.dark() ? 160 : 60));
    for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, muted);
    palette.setColor(QPalette::Inactive, QPalette::Highlight, colours.accent());
    return palette;
}

void ThemePalette::apply() {
    QGuiApplication::setPalette(build(m_colours));
}
