#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// What the `tavik` command line asks for, read once by main() with the one parser of the
// program: the board's switches, the headless commands and their options. Parts of the
// process get the fields they need, never the raw arguments.
struct LaunchOptions {
    // Reads `arguments` (program name first). Wrong usage that the parser itself sees (an
    // unknown option, a missing value) is left in `error`; the rules between options are
    // the command line's (CommandLine::run).
    [[nodiscard]] static LaunchOptions parse(const QStringList& arguments);

    // A headless command was asked for (or one of its options, or help): no board starts.
    [[nodiscard]] bool isCommand() const;
    // Exactly one of --connect, --disconnect and --sync, well formed and without --help.
    [[nodiscard]] bool isSyncCommand() const;

    QString error; // the parser's complaint; empty when the arguments parse

    // Commands, as given ("--list", "--count-today", "--export", "--import", "--connect",
    // "--disconnect", "--sync"); more than one is wrong usage.
    QStringList commands;
    QStringList positional;
    bool help = false;
    bool json = false;
    std::optional<QString> at; // --at's text, read as a moment by the command line

    bool seedDemo = false;
    bool background = false; // tray only
    bool toggle = false;     // show or hide the running board
    bool quickAdd = false;   // the quick-entry window, without the board
    bool debugFrame = false; // a fixed window frame, not saved
    bool debugOpenEditor = false;
    bool debugDoneOpen = false;
};
