#include "BoardApp.h"
#include "Clock.h"
#include "CommandLine.h"

#include <QCoreApplication>

// The composition root: a command (print, count, export, import) runs headless and exits;
// anything else runs the board, in the tray, with its window.
int main(int argc, char* argv[]) {
    QCoreApplication::setApplicationName(QStringLiteral("tavik"));

    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);

    if (CommandLine::isCommand(arguments)) {
        QCoreApplication app(argc, argv);
        const SystemClock clock;
        return CommandLine::run(app.arguments(), clock);
    }
    return runBoard(argc, argv);
}
