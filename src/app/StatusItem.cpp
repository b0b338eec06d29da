#include "StatusItem.h"

#include <QAction>
#include <QCursor>
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

QIcon StatusItem::iconForCount(int count) {
    QIcon icon;
    for (int size : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        const qreal s = size;
        // The logo: a rounded square holding a tick.
        const QRectF body(s * 0.06, s * 0.06, s * 0.88, s * 0.88);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0x21, 0x20, 0x1C));
        painter.drawRoundedRect(body, s * 0.24, s * 0.24);
        QPainterPath tick;
        tick.moveTo(s * 0.28, s * 0.52);
        tick.lineTo(s * 0.44, s * 0.68);
        tick.lineTo(s * 0.74, s * 0.34);
        painter.setPen(
            QPen(QColor(0xF6, 0xF4, 0xF0), s * 0.11, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(tick);
        if (count > 0) {
            const QString text = count > 99 ? QStringLiteral("99+") : QString::number(count);
            const qreal badge = s * (text.size() > 1 ? 0.62 : 0.52);
            const QRectF circle(s - badge, 0, badge, badge);
            painter.setPen(Qt::NoPen);
            painter.setBrush(QColor(0xE5, 0x48, 0x4D));
            painter.drawRoundedRect(circle, badge / 2, badge / 2);
            QFont font = painter.font();
            font.setPixelSize(qMax(7, int(badge * (text.size() > 2 ? 0.5 : 0.72))));
            font.setBold(true);
            painter.setFont(font);
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
