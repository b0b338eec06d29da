#pragma once

#include <QDateTime>
#include <QString>
#include <optional>

// Reads the model's date strings. Strict: what does not parse is no date, never a guess and
// never a roll-over (a 30th of February is nothing, not the 1st of March). Moments come out
// in UTC; a text without an offset is read in the local time zone.
namespace AIDate {

// Local midnight of the day the text names; invalid for none.
[[nodiscard]] QDateTime parseDay(const std::optional<QString>& text);
// The moment the text names; invalid for none. A bare day is no moment.
[[nodiscard]] QDateTime parseDateTime(const std::optional<QString>& text);
// Whether the text looks as if it carries a clock time; says nothing about parsing.
[[nodiscard]] bool hasClockTime(const std::optional<QString>& text);

} // namespace AIDate
