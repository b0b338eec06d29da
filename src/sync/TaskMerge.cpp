#include "TaskMerge.h"

namespace {

using Same = bool (TaskFields::*)(const TaskFields&) const;
using Copy = void (*)(TaskFields&, const TaskFields&);

struct Group {
    Same same;
    Copy copy;
};

const Group groups[] = {
    {&TaskFields::sameTitle, [](TaskFields& to, const TaskFields& from) { to.title = from.title; }},
    {&TaskFields::sameNote,
     [](TaskFields& to, const TaskFields& from) {
         to.note = from.note;
         to.noteData = from.noteData;
     }},
    {&TaskFields::sameCompletion,
     [](TaskFields& to, const TaskFields& from) {
         to.completed = from.completed;
         to.completedAt = from.completedAt;
     }},
    {&TaskFields::samePlan,
     [](TaskFields& to, const TaskFields& from) {
         to.dueDate = from.dueDate;
         to.year = from.year;
         to.week = from.week;
         to.scheduledExplicitly = from.scheduledExplicitly;
     }},
    {&TaskFields::sameReminder,
     [](TaskFields& to, const TaskFields& from) { to.reminderAt = from.reminderAt; }},
    {&TaskFields::sameSortIndex,
     [](TaskFields& to, const TaskFields& from) { to.sortIndex = from.sortIndex; }},
};

} // namespace

TaskFields TaskMerge::merge(const TaskFields& base, const TaskFields& local,
                            const TaskFields& server) {
    const bool localLater = local.updatedAt.isValid() &&
                            (!server.updatedAt.isValid() || local.updatedAt > server.updatedAt);
    TaskFields merged = local;
    for (const Group& group : groups) {
        const bool localChanged = !(local.*group.same)(base);
        const bool serverChanged = !(server.*group.same)(base);
        if (serverChanged && (!localChanged || !localLater))
            group.copy(merged, server);
    }
    merged.id = local.id;
    merged.createdAt = base.createdAt.isValid() ? base.createdAt : local.createdAt;
    if (server.updatedAt.isValid() && server.updatedAt > merged.updatedAt)
        merged.updatedAt = server.updatedAt;
    return merged;
}
