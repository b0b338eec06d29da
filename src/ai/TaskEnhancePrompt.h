#pragma once

#include "TaskDraft.h"

#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <optional>

// The whole contract with the language model: the fixed instructions, the prompt for one
// line, the schema the reply is held to, and the reading of the reply into a TaskDraft.
namespace TaskEnhancePrompt {

[[nodiscard]] const QString& system();

// The current moment and zone, the user's list names and the raw line, unchanged.
[[nodiscard]] QString userPrompt(const QString& input, const QStringList& categoryNames,
                                 const QDateTime& now);

[[nodiscard]] const QJsonObject& responseSchema();

// The draft in a reply text (fenced or bare), or none with the reason in `problem`.
[[nodiscard]] std::optional<TaskDraft> decode(const QString& text, QString* problem = nullptr);

} // namespace TaskEnhancePrompt
