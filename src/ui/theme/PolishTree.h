#pragma once

class QQuickItem;

// Layouts and positioners work out their implicit size only when polished, which happens
// before a frame, and never for an item outside a window. This polishes `root` and all its
// descendants, children before parents, so a fitting size can be read at once.
void polishTree(QQuickItem* root);
