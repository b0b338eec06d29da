#pragma once

#include "EnhancedDraft.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QQmlEngine>

// The store's two record types as QML sees them: typed properties (`TaskItem task`) and
// arguments of the controllers' invokables. Records come from the store, never from QML.
struct ForeignTaskItem {
    Q_GADGET
    QML_FOREIGN(TaskItem)
    QML_NAMED_ELEMENT(TaskItem)
    QML_UNCREATABLE("Tasks come from the store.")
};

struct ForeignTaskCategory {
    Q_GADGET
    QML_FOREIGN(TaskCategory)
    QML_NAMED_ELEMENT(TaskCategory)
    QML_UNCREATABLE("Lists come from the store.")
};

// A draft crosses from the view that made it to the board as one value.
struct ForeignEnhancedDraft {
    Q_GADGET
    QML_FOREIGN(EnhancedDraft)
    QML_VALUE_TYPE(enhancedDraft)
};
