#pragma once

#include <QHashFunctions>
#include <QString>
#include <array>
#include <optional>

// Where a task stands on the board. Never stored: TaskClassifier derives it.
enum class Bucket { later, thisWeek, today, done };

namespace BucketInfo {

inline constexpr std::array<Bucket, 4> allCases{Bucket::later, Bucket::thisWeek, Bucket::today,
                                                Bucket::done};
// The three board columns, left to right.
inline constexpr std::array<Bucket, 3> columns{Bucket::later, Bucket::thisWeek, Bucket::today};

[[nodiscard]] QString rawValue(Bucket bucket);
[[nodiscard]] std::optional<Bucket> fromRawValue(const QString& raw);
[[nodiscard]] QString title(Bucket bucket);
[[nodiscard]] QString systemImage(Bucket bucket);

} // namespace BucketInfo

inline size_t qHash(Bucket bucket, size_t seed = 0) noexcept {
    return qHash(static_cast<int>(bucket), seed);
}
