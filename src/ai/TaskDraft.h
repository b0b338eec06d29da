#pragma once

#include <QString>
#include <optional>

// What the model returns for one raw line, before anything is judged: the optional fields are
// free text here ("", "null" and malformed dates included) and are sorted out on resolution.
struct TaskDraft {
    bool shouldSuggest = false;
    QString title;
    std::optional<QString> note;
    std::optional<QString> dueDate;  // "yyyy-MM-dd"
    std::optional<QString> reminder; // "yyyy-MM-dd'T'HH:mm", local time
    std::optional<QString> category;
    std::optional<QString> summary;

    friend bool operator==(const TaskDraft&, const TaskDraft&) = default;
};
