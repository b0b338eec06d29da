#include "Clock.h"
#include "CommandLine.h"
#include "FilePrivacy.h"
#include "LaunchOptions.h"

#include <QCoreApplication>
#include <cstdio>
#include <dlfcn.h>

// The composition root: the command line is read once; a command (print, count, export,
// import) or wrong usage runs headless and exits, anything else runs the board. The board
// lives in a module of its own, loaded only then: a command, which a status bar may run every
// few seconds, never loads Qt Quick, the widgets or the multimedia libraries.
namespace {

// An entry point of the board's module, loaded on demand; null with a message when missing.
using ModuleEntry = int (*)(int, char*[]);
ModuleEntry boardModuleEntry(const char* name) {
    void* module = dlopen("libtavik_board.so", RTLD_NOW | RTLD_LOCAL);
    const auto entry = module ? reinterpret_cast<ModuleEntry>(dlsym(module, name)) : nullptr;
    if (!entry)
        std::fprintf(stderr, "Tavik cannot load its board module: %s\n", dlerror());
    return entry;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication::setApplicationName(QStringLiteral("tavik"));
    FilePrivacy::restrictNewFiles();

    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const LaunchOptions options = LaunchOptions::parse(arguments);

    // The account and sync commands need the network and the key store: the module has them.
    if (options.isSyncCommand()) {
        const ModuleEntry runSync = boardModuleEntry("tavikRunSyncCommand");
        return runSync ? runSync(argc, argv) : 1;
    }
    if (options.isCommand() || !options.error.isEmpty()) {
        QCoreApplication app(argc, argv);
        const SystemClock clock;
        return CommandLine::run(options, clock);
    }
    const ModuleEntry runBoard = boardModuleEntry("tavikRunBoard");
    return runBoard ? runBoard(argc, argv) : 1;
}
