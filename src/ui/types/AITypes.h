#pragma once

#include "AIConfig.h"
#include "CategoryInfo.h"
#include "ResolvedSuggestion.h"
#include "TaskSuggestionController.h"

#include <QQmlEngine>

// The AI engine's types as QML sees them. The settings and the suggestion controller come
// from C++; QML reads and edits them but never makes one.
struct ForeignAIConfig {
    Q_GADGET
    QML_FOREIGN(AIConfig)
    QML_NAMED_ELEMENT(AIConfig)
    QML_UNCREATABLE("The app installs the one AI configuration.")
};

struct ForeignTaskSuggestionController {
    Q_GADGET
    QML_FOREIGN(TaskSuggestionController)
    QML_NAMED_ELEMENT(TaskSuggestionController)
    QML_UNCREATABLE("Each quick-entry bar owns its controller.")
};

struct ForeignResolvedSuggestion {
    Q_GADGET
    QML_FOREIGN(ResolvedSuggestion)
    QML_VALUE_TYPE(resolvedSuggestion)
};

struct ForeignCategoryInfo {
    Q_GADGET
    QML_FOREIGN(CategoryInfo)
    QML_VALUE_TYPE(categoryInfo)
};
