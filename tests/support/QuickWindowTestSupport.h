#pragma once

// Helpers for tests that drive a real QQuickWindow.

#include <QQuickItem>
#include <QQuickWindow>
#include <QString>
#include <QTest>

namespace QuickWindowTest {

// Walks the visual tree: a Repeater's delegates and a Layout's items are not always QObject
// children of what draws them.
inline QQuickItem* findItem(QQuickItem* root, const QString& objectName) {
    if (!root)
        return nullptr;
    if (root->objectName() == objectName)
        return root;
    const auto children = root->childItems();
    for (QQuickItem* child : children) {
        if (QQuickItem* found = findItem(child, objectName))
            return found;
    }
    return nullptr;
}

// A click (left unless told) in the middle of a visible item.
inline void click(QQuickWindow* window, QQuickItem* item, Qt::MouseButton button = Qt::LeftButton) {
    QVERIFY(item);
    QVERIFY(item->isVisible());
    const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    QTest::mouseClick(window, button, {}, centre.toPoint());
}

} // namespace QuickWindowTest
