#pragma once

#include <QString>

// What a task's title and note may hold, whichever door the text comes through (the dialog,
// the drawer, an import, the cloud): bounded in length and free of control characters, so
// a pasted file cannot stall the board and a title cannot rewrite a terminal.
namespace TaskText {

// Generous: a title is a line, a note a page or a hundred.
inline constexpr qsizetype maxTitleLength = 1000;
inline constexpr qsizetype maxNoteLength = 100000;

// Line breaks and tabs become spaces; other control characters go; cut at the maximum.
[[nodiscard]] QString cleanTitle(const QString& title);
// Line breaks stay; tabs become spaces; other control characters go; cut at the maximum.
[[nodiscard]] QString cleanNote(const QString& note);
// Nothing a person could see: empty, spaces, or only invisible format characters.
[[nodiscard]] bool isBlank(const QString& text);

} // namespace TaskText
