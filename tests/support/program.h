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
