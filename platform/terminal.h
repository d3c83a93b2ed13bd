// What only the command-line tool asks of an operating system: the terminal it is watched at, and what is to
// become of a file that is half written when it is told to end. Each system's folder holds its answer.
#pragma once

#include <string>
#include <vector>

namespace vl::platform {

/// To be called first of all: tells the program's arguments, its own name among them, as the library's texts
/// are. What is printed from then on is the same bytes on every system, and taken for UTF-8 by a terminal.
std::vector<std::string> beginProgram(int count, char **arguments);

/// Whether standard error is watched at a terminal.
bool standardErrorIsTerminal();

/// From now on a process that is told to end (by an interrupt, a hang-up or a request to terminate, unless it
/// was started to ignore them) first removes this file; one at a time. `path` is as the system itself names
/// it, not as in platform.h. False, and nothing changed, when it is too long. endUnfinishedFile undoes it.
bool beginUnfinishedFile(const char *path);
void endUnfinishedFile();

} // namespace vl::platform
