#pragma once

#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QString>
#include <QTest>
#include <memory>

namespace QuickWindowTest {

inline std::unique_ptr<QQmlEngine> engine() {
    auto engine = std::make_unique<QQmlEngine>();
    engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    return engine;
}

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

inline void click(QQuickWindow* window, QQuickItem* item, Qt::MouseButton button = Qt::LeftButton) {
    QVERIFY(item);
    QVERIFY(item->isVisible());
    QTest::mouseClick(window, button, {}, centreOf(item));
}

} // namespace QuickWindowTest
