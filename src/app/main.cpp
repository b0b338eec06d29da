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
int main(int argc, char* argv[]) {
    QCoreApplication::setApplicationName(QStringLiteral("tavik"));
    FilePrivacy::restrictNewFiles();

    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const LaunchOptions options = LaunchOptions::parse(arguments);

    if (options.isCommand() || !options.error.isEmpty()) {
        QCoreApplication app(argc, argv);
        const SystemClock clock;
        return CommandLine::run(options, clock);
    }

    void* board = dlopen("libtavik_board.so", RTLD_NOW | RTLD_LOCAL);
    using RunBoard = int (*)(int, char*[]);
    const auto runBoard =
        board ? reinterpret_cast<RunBoard>(dlsym(board, "tavikRunBoard")) : nullptr;
    if (!runBoard) {
        std::fprintf(stderr, "Tavik cannot start its board: %s\n", dlerror());
        return 1;
    }
    return runBoard(argc, argv);
}
