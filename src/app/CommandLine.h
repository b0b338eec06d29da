#pragma once

#include <QString>
#include <QStringList>

class Clock;
struct LaunchOptions;

// The commands of the `tavik` binary that need no window: print the board or today's count,
// back the store up as JSON and restore such a backup. Reading commands never write the
// store; the exit code is 0 on success, 1 when a store or file failed or an import was
// refused, and 2 for wrong usage.
namespace CommandLine {

// Runs the command the options ask for (or reports their wrong usage) and returns the
// process's exit code. Needs a QCoreApplication.
[[nodiscard]] int run(const LaunchOptions& options, const Clock& clock);

[[nodiscard]] QString helpText();

} // namespace CommandLine
