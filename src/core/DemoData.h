#pragma once

#include <QDateTime>

class ModelContext;

// Fills an empty demo store with a believable board (two lists, thirteen tasks) and saves.
namespace DemoData {

void seedIfEmpty(ModelContext& context, const QDateTime& now);

} // namespace DemoData
