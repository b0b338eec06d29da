#pragma once

#include <QString>
#include <QStringList>

class Clock;

// The commands of the `tavik` binary that need no window: print the board or today's count,
// back the store up as JSON and restore such a backup. Reading commands never write the
// store; the exit code is 0 on success, 1 when a store or file failed or an import was
// refused, and 2 for wrong usage.
namespace CommandLine {

// Whether the arguments (program name first) ask for a command rather than the board.
[[nodiscard]] bool isCommand(const QStringList& arguments);

// Runs the command and returns the process's exit code. Needs a QCoreApplication.
[[nodiscard]] int run(const QStringList& arguments, const Clock& clock);

[[nodiscard]] QString helpText();

} // namespace CommandLine
