#pragma once

#include <QString>

class Clock;
class CloudSync;
class ModelContext;
class SingleInstance;
struct LaunchOptions;

// The command line's account and sync commands: --connect URL USER (the password on
// standard input), --disconnect and --sync. They store the account as the settings form does,
// and a sync with the board running is asked of the board rather than opening the store twice.
namespace SyncCommands {

// The exit code: 0 on success, 1 on failure (with the reason on standard error), 2 for wrong
// usage. Needs a QCoreApplication.
[[nodiscard]] int run(const QString& command, const LaunchOptions& options, const Clock& clock);

// The running board's side of --sync: each sync asked for over the bus is run on the board's
// mirror and answered, at its end, with what --sync would have printed.
void serve(SingleInstance& instance, CloudSync& cloudSync, ModelContext& context);

} // namespace SyncCommands
