#include "StatusItem.h"

#include <QAction>
#include <QCursor>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QKeySequence>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>

StatusItem::StatusItem(QObject* parent)
    : QObject(parent) {
    connect(&m_tray, &QSystemTrayIcon::activated, this, &StatusItem::activated);
    setCount(0);
}

StatusItem::~StatusItem() {
    delete m_menu;
}

void StatusItem::show() {
    m_tray.show();
}

QString StatusItem::titleForCount(int count) {
    return count < 1 ? QString() : QStringLiteral(" %1").arg(count);
}

namespace {

// The largest bold size up to `pixels` at which `text` fits `width`.
QFont fittedFont(QFont font, const QString& text, int pixels, qreal width) {
    font.setBold(true);
    for (; pixels > 6; --pixels) {
        font.setPixelSize(pixels);
        if (QFontMetricsF(font).horizontalAdvance(text) <= width)
            break;
    }
    return font;
}

} // namespace

QIcon StatusItem::iconForCount(int count) {
    // Panels come light and dark: a mid-tone accent tile with a pale rim reads on both.
    const QColor tile(0x0A, 0x84, 0xFF);
    const QColor rim(255, 255, 255, 110);
    const QColor badgeColour(0xE5, 0x48, 0x4D);
    const QString text = count > 99 ? QStringLiteral("99+") : QString::number(count);
    QIcon icon;
    for (int size : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setRenderHint(QPainter::TextAntialiasing);
        const qreal s = size;
        const QRectF body(s * 0.06, s * 0.06, s * 0.88, s * 0.88);
        painter.setPen(QPen(rim, qMax(1.0, s / 24)));
        painter.setBrush(tile);
        painter.drawRoundedRect(body, s * 0.24, s * 0.24);

        if (count > 0 && size < 32) {
            // Too small for a badge beside the logo: the tile itself carries the count, red.
            painter.setPen(QPen(rim, qMax(1.0, s / 24)));
            painter.setBrush(badgeColour);
            painter.drawRoundedRect(body, s * 0.24, s * 0.24);
            // "99+" cannot be read at 16: "9+" still says "many" and can.
            const QString shown = size < 22 && text.size() > 2 ? QStringLiteral("9+") : text;
            painter.setFont(fittedFont(painter.font(), shown, qRound(s * 0.72), body.width() - 2));
            painter.setPen(Qt::white);
            painter.drawText(body, Qt::AlignCenter, shown);
            painter.end();
            icon.addPixmap(pixmap);
            continue;
        }

        QPainterPath tick;
        tick.moveTo(s * 0.28, s * 0.52);
        tick.lineTo(s * 0.44, s * 0.68);
        tick.lineTo(s * 0.74, s * 0.34);
        painter.setPen(QPen(Qt::white, s * 0.11, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(tick);
        if (count > 0) {
            const qreal badge = s * (text.size() > 1 ? 0.66 : 0.56);
            const QRectF circle(s - badge, 0, badge, badge);
            painter.setPen(QPen(Qt::white, qMax(1.0, s / 32)));
            painter.setBrush(badgeColour);
            painter.drawRoundedRect(circle, badge / 2, badge / 2);
            painter.setFont(fittedFont(painter.font(), text, qRound(badge * 0.64), badge - 3));
            painter.setPen(Qt::white);
            painter.drawText(circle, Qt::AlignCenter, text);
        }
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

void StatusItem::setCount(int count) {
    if (count == m_count)
        return;
    m_count = count;
    m_tray.setIcon(iconForCount(count));
    m_tray.setToolTip(count < 1 ? QStringLiteral("Tavik")
                                : QStringLiteral("Tavik — 今天%1").arg(titleForCount(count)));
}

void StatusItem::activated(QSystemTrayIcon::ActivationReason reason) {
    switch (reason) {
    case QSystemTrayIcon::Context:
        showStatusMenu();
        break;
    case QSystemTrayIcon::Trigger:
        if (QGuiApplication::queryKeyboardModifiers().testFlag(Qt::ControlModifier))
            showStatusMenu();
        else
            emit toggleRequested();
        break;
    default:
        break;
    }
}

void StatusItem::showStatusMenu() {
    // Built afresh on every click, like the board's own menus.
    delete m_menu;
    m_menu = new QMenu;
    m_menu->addAction(QStringLiteral("打开 Tavik"), this, &StatusItem::openBoardRequested);
    m_menu->addAction(QStringLiteral("快速添加"), this, &StatusItem::quickAddRequested);
    m_menu->addSeparator();
    QAction* settings =
        m_menu->addAction(QStringLiteral("设置…"), this, &StatusItem::settingsRequested);
    settings->setShortcut(QKeySequence(QStringLiteral("Ctrl+,")));
    m_menu->addSeparator();
    QAction* quit =
        m_menu->addAction(QStringLiteral("退出 Tavik"), this, &StatusItem::quitRequested);
    quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));
    m_menu->popup(QCursor::pos());
}
