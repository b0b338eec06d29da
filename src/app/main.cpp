#include "Clock.h"
#include "CommandLine.h"

#include <QCoreApplication>

int main(int argc, char* argv[]) {
    QCoreApplication::setApplicationName(QStringLiteral("tavik"));

    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);

    const SystemClock clock;
    if (CommandLine::isCommand(arguments)) {
        QCoreApplication app(argc, argv);
        return CommandLine::run(app.arguments(), clock);
    }

    // Until the board window exists, a plain launch prints today's board.
    QCoreApplication app(argc, argv);
    return CommandLine::run(CommandLine::todayListArguments(app.arguments()), clock);
}
