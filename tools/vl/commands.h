// The commands of the tool, each in a file of its own. Every function adds its command to the parser; the
// command's work runs while the arguments are parsed and sets the exit status: 0 well, 1 failed or found
// something wrong, 2 called wrongly. Failures are thrown as exceptions (the library's or the standard's) and
// reported by main.
#pragma once

#include <CLI/CLI.hpp>

void addArchiveCommand(CLI::App &app, int &exitStatus);
void addSystemCommand(CLI::App &app, int &exitStatus);
void addScriptCommand(CLI::App &app, int &exitStatus);
void addDumpCommand(CLI::App &app, int &exitStatus);
