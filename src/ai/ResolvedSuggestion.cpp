#include "ResolvedSuggestion.h"

bool ResolvedSuggestion::isMeaningful(const QString& rawInput) const {
    return !note.isEmpty() || dueDate.isValid() || reminderAt.isValid() || listId.has_value() ||
           title.compare(rawInput.trimmed(), Qt::CaseInsensitive) != 0;
}
