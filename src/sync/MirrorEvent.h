#pragma once

#include "CalDavError.h"

#include <QDateTime>

// One operation of the mirror, reported once when it starts (no end) and once when it ends,
// with or without an error. The sync monitor turns these into its state.
struct MirrorEvent {
    enum class Type { setup, import, exportChanges };

    Type type = Type::setup;
    QDateTime startedAt;
    QDateTime endedAt; // invalid while the operation runs
    CalDavError error;
};
