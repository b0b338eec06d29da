#include "theme/PolishTree.h"

#include <QQuickItem>

void polishTree(QQuickItem* root) {
    if (!root)
        return;
    const auto children = root->childItems();
    for (QQuickItem* child : children)
        polishTree(child);
    root->ensurePolished();
}
