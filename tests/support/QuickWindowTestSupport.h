#pragma once

// Helpers for tests that drive a real QQuickWindow.

#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QString>
#include <QTest>
#include <memory>

namespace QuickWindowTest {

// An engine that finds the TavikUi module.
inline std::unique_ptr<QQmlEngine> engine() {
    auto engine = std::make_unique<QQmlEngine>();
    engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    return engine;
}

// The first item below `root` for which `match` holds. Walks the visual tree: a Repeater's
// delegates, a Layout's items and popovers are not always QObject children.
template <typename Match> QQuickItem* find(QQuickItem* root, Match match) {
    if (!root)
        return nullptr;
    if (match(root))
        return root;
    const auto children = root->childItems();
    for (QQuickItem* child : children) {
        if (QQuickItem* found = find(child, match))
            return found;
    }
    return nullptr;
}

inline QQuickItem* findItem(QQuickItem* root, const QString& objectName) {
    return find(root, [&objectName](QQuickItem* item) { return item->objectName() == objectName; });
}

// The first visible item of a QML type whose `property` reads `value`.
inline QQuickItem* findShown(QQuickItem* root, const char* qmlType, const char* property,
                             const QString& value) {
    return find(root, [=](QQuickItem* item) {
        return item->isVisible() &&
               QByteArray(item->metaObject()->className()).startsWith(qmlType) &&
               item->property(property).toString() == value;
    });
}

inline QPoint centreOf(const QQuickItem* item) {
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

// A click (left unless told) in the middle of a visible item.
inline void click(QQuickWindow* window, QQuickItem* item, Qt::MouseButton button = Qt::LeftButton) {
    QVERIFY(item);
    QVERIFY(item->isVisible());
    QTest::mouseClick(window, button, {}, centreOf(item));
}

} // namespace QuickWindowTest
