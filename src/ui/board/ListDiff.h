#pragma once

#include <QHash>
#include <QList>
#include <algorithm>
#include <vector>

// How one ordered list of distinct items becomes another through removals, single-row moves
// and insertions, in the order a list model announces them. The rows that keep their relative
// order (a longest increasing subsequence) stay put, so a row dragged from the top to the
// bottom is one move, not one move for every row it passed.
namespace ListDiff {

enum class StepKind { remove, insert, move };

struct Step {
    StepKind kind = StepKind::remove;
    // remove: rows [first, first + count). insert: `count` items of the target list from
    // index `source`, placed at `first`. move: the row at `first` goes to index `to` (the
    // index it has once the move is done).
    int first = 0;
    int count = 0;
    int source = 0;
    int to = 0;
};

template <typename T> void apply(QList<T>& rows, const Step& step, const QList<T>& target) {
    switch (step.kind) {
    case StepKind::remove:
        rows.remove(step.first, step.count);
        break;
    case StepKind::insert: {
        QList<T> joined;
        joined.reserve(rows.size() + step.count);
        joined.append(rows.first(step.first));
        joined.append(target.sliced(step.source, step.count));
        joined.append(rows.sliced(step.first));
        rows = std::move(joined);
        break;
    }
    case StepKind::move:
        rows.move(step.first, step.to);
        break;
    }
}

namespace detail {

// Marks the members of one longest strictly increasing subsequence of `keys`.
inline std::vector<bool> longestIncreasing(const QList<int>& keys) {
    const size_t n = size_t(keys.size());
    std::vector<qsizetype> tails;           // index in keys of the smallest tail of each length
    std::vector<qsizetype> previous(n, -1); // predecessor of each index in its best run
    for (qsizetype i = 0; i < qsizetype(n); ++i) {
        const auto it = std::lower_bound(tails.cbegin(), tails.cend(), keys[i],
                                         [&keys](qsizetype a, int key) { return keys[a] < key; });
        const size_t length = size_t(it - tails.cbegin());
        if (length > 0)
            previous[size_t(i)] = tails[length - 1];
        if (length == tails.size())
            tails.push_back(i);
        else
            tails[length] = i;
    }
    std::vector<bool> member(n, false);
    for (qsizetype i = tails.empty() ? -1 : tails.back(); i >= 0; i = previous[size_t(i)])
        member[size_t(i)] = true;
    return member;
}

} // namespace detail

// The steps that turn `from` into `to`. Both lists hold distinct items.
template <typename T> QList<Step> steps(const QList<T>& from, const QList<T>& to) {
    QList<Step> result;
    QHash<T, int> targetIndex;
    targetIndex.reserve(to.size());
    for (int i = 0; i < to.size(); ++i)
        targetIndex.insert(to[i], i);

    QList<T> rows = from;
    // Removals, from the back so that earlier indices stay valid; adjacent rows go together.
    for (int i = int(rows.size()) - 1; i >= 0;) {
        if (targetIndex.contains(rows[i])) {
            --i;
            continue;
        }
        int first = i;
        while (first > 0 && !targetIndex.contains(rows[first - 1]))
            --first;
        const Step step{StepKind::remove, first, i - first + 1, 0, 0};
        apply(rows, step, to);
        result.append(step);
        i = first - 1;
    }

    QList<int> keys;
    keys.reserve(rows.size());
    for (const T& row : std::as_const(rows))
        keys.append(targetIndex.value(row));
    const std::vector<bool> member = detail::longestIncreasing(keys);
    QHash<T, bool> stable;
    stable.reserve(rows.size());
    for (int i = 0; i < rows.size(); ++i)
        stable.insert(rows[i], member[size_t(i)]);

    // Every target item in turn goes right after its predecessor. Stable rows are already in
    // order, so only new items and rows outside the subsequence need a step.
    int previous = -1; // index in rows of the item placed last
    for (int i = 0; i < to.size(); ++i) {
        const T& item = to[i];
        const auto found = stable.constFind(item);
        if (found == stable.cend()) {
            int last = i;
            while (last + 1 < to.size() && !stable.contains(to[last + 1]))
                ++last;
            const Step step{StepKind::insert, previous + 1, last - i + 1, i, 0};
            apply(rows, step, to);
            result.append(step);
            previous += step.count;
            i = last;
        } else if (*found) {
            int at = previous + 1;
            while (rows[at] != item)
                ++at;
            previous = at;
        } else {
            const int at = int(rows.indexOf(item));
            const int destination = at > previous ? previous + 1 : previous;
            if (at != destination) {
                const Step step{StepKind::move, at, 1, 0, destination};
                apply(rows, step, to);
                result.append(step);
            }
            previous = destination;
        }
    }
    return result;
}

} // namespace ListDiff
