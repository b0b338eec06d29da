#pragma once

// Runs the board: the tray process with its window. Returns the exit code.
int runBoard(int argc, char* argv[]);
