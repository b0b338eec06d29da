#pragma once

#include "Bucket.h"

#include <QUuid>
#include <optional>

// Where a dragged task would land: a spot of a column, or a list of the strip.
struct DropTarget {
    enum class Kind { reorder, assignCategory };

    Kind kind = Kind::reorder;
    // reorder: the column, and the task to land above (none: the bottom of the column).
    Bucket bucket = Bucket::later;
    std::optional<QUuid> beforeId;
    // assignCategory: the list (none: the tab 全部, no list).
    std::optional<QUuid> categoryId;

    [[nodiscard]] static DropTarget reorder(Bucket bucket, std::optional<QUuid> beforeId) {
        return {Kind::reorder, bucket, beforeId, std::nullopt};
    }
    [[nodiscard]] static DropTarget assignCategory(std::optional<QUuid> categoryId) {
        return {Kind::assignCategory, Bucket::later, std::nullopt, categoryId};
    }

    // Only the fields of the kind count.
    friend bool operator==(const DropTarget& a, const DropTarget& b) {
        if (a.kind != b.kind)
            return false;
        return a.kind == Kind::reorder ? a.bucket == b.bucket && a.beforeId == b.beforeId
                                       : a.categoryId == b.categoryId;
    }
};
