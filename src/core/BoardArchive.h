#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QJsonValue>
#include <QString>
#include <memory>
#include <optional>
#include <vector>

class ModelContext;
class QIODevice;
class TaskCategory;
class TaskItem;

// The backup form of a whole store: every list and every task with every field, as one JSON
// document that reads back into an empty store exactly as it was.
//
//   {"format": "tavik-board", "version": 1, "categories": [...], "tasks": [...]}
//
// Dates are ISO 8601 with milliseconds and the local offset; 64-bit integers (sortIndex,
// year, week) are decimal strings, so no JSON reader rounds them; noteData is the raw bytes
// in base64. Reading is strict: an unknown or missing field, a wrong type, an unknown format
// or version, a duplicate id or a task pointing at a list that is not in the file refuses
// the whole document.
namespace BoardArchive {

inline const QString formatName = QStringLiteral("tavik-board");
inline constexpr int formatVersion = 1;

// Records read from a document, not yet in any context. Tasks point at lists of the same set.
struct Records {
    std::vector<std::unique_ptr<TaskCategory>> categories;
    std::vector<std::unique_ptr<TaskItem>> tasks;
};

// The form of every moment in the document: ISO 8601 with milliseconds and the local offset
// of that moment ("2026-11-24T15:00:00.000+01:00"); null for none.
[[nodiscard]] QJsonValue momentValue(const QDateTime& moment);

// The document of every record in the context, in a stable order (lists by sortIndex, tasks
// by sortIndex descending, ties by id), so that equal stores give equal bytes.
[[nodiscard]] QByteArray write(const ModelContext& context);

// What checking a document keeps: its lists (few) and how many tasks it holds.
struct Checked {
    std::vector<std::unique_ptr<TaskCategory>> categories;
    qsizetype taskCount = 0;
};

// Checks a whole document read from `device`, holding one task at a time. On refusal
// returns nothing and sets `error`.
[[nodiscard]] std::optional<Checked> check(QIODevice& device, QString* error);

// Restores a checked document into the empty store of `context`, reading `device` again from
// its start and writing each task as it is read, in one transaction: either every record is
// stored or none is. The records are in the context once the store is opened again.
[[nodiscard]] bool restore(ModelContext& context, QIODevice& device, const Checked& checked,
                           QString* error);

// Parses and checks a whole document. On refusal returns nothing and sets `error`.
[[nodiscard]] std::optional<Records> read(const QByteArray& json, QString* error);

// Inserts the records into an empty context and saves it. A context that already holds a
// record is refused untouched; a failed save takes the records back out, so either every
// record is stored or none is.
[[nodiscard]] bool restore(ModelContext& context, Records records, QString* error);

} // namespace BoardArchive
