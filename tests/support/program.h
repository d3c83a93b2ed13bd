// Running the built programs as a user does.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

struct Outcome {
    int status;         ///< exit status, or -1 when the program was ended by a signal
    std::string output; ///< standard output and standard error together
};

/// Runs a shell command.
Outcome runShell(const std::string &command);

/// Runs the built tool with these arguments, which the shell splits.
Outcome runTool(const std::string &arguments);

/// Runs a built example.
Outcome runExample(const std::string &name, const std::string &arguments);

/// A path as one word for the shell.
std::string quoted(const std::filesystem::path &path);

/// Replaces a text in an archive's tables by one of equal length and makes the checksums fit again.
void renameInTables(const std::filesystem::path &archive, const std::string &from, const std::string &to);
