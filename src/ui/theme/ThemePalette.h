#pragma once

#include "theme/Radix.h"

#include <QObject>
#include <QPalette>

// Keeps the application palette in Tavik's own colours for the current scheme, so that what
// Qt draws by itself (menu surfaces, tooltips, text selections, the tray's menu) matches the
// board in light and in dark instead of the desktop's light defaults and navy highlight.
class ThemePalette : public QObject {
    Q_OBJECT
public:
    explicit ThemePalette(QObject* parent = nullptr);

    [[nodiscard]] static QPalette build(const Radix& colours);

private:
    void apply();

    Radix m_colours;
};
