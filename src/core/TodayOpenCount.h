#pragma once

#include <QDateTime>

class ModelContext;

// The count the tray shows: open tasks whose column is `today` at `now`, over every list,
// whichever list the board has selected. Never cached: a moment's answer.
[[nodiscard]] int todayOpenCount(const ModelContext& context, const QDateTime& now);
