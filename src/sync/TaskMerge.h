#pragma once

#include "TaskFields.h"

// The three-way merge of one task after the server refused a write (412) or both sides
// changed it between syncs. `base` is the server's text as Tavik last saw it, decoded;
// `local` the record; `server` the server's new text, decoded. Field by field: a field
// changed on one side only takes that side; a field changed on both follows the side with
// the later updatedAt (the server on a tie, so two stores settle on one answer). Another
// client's timestamps are not trusted beyond that last case.
namespace TaskMerge {

[[nodiscard]] TaskFields merge(const TaskFields& base, const TaskFields& local,
                               const TaskFields& server);

} // namespace TaskMerge
