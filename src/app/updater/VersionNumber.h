#pragma once

#include <QStringView>

// Dotted version numbers compared by their numeric components: "1.10" is newer than "1.9",
// and missing trailing components count as zero, so "1.2" equals "1.2.0".
namespace VersionNumber {

// One or more groups of ASCII digits joined by dots, surrounding blanks allowed.
[[nodiscard]] bool isValid(QStringView version);

// Negative, zero or positive as `a` is older than, equal to or newer than `b`. A version that
// is not valid compares equal to everything, so it never reads as newer.
[[nodiscard]] int compare(QStringView a, QStringView b);

} // namespace VersionNumber
