// Running programs by way of the shell.

#include "tests/support/program.h"

#include <cstdio>
#include <stdexcept>
#include <sys/wait.h>

Outcome runShell(const std::string &command) {
    Outcome outcome{-1, ""};
    std::FILE *pipe = popen(("{ " + command + "; } 2>&1 </dev/null").c_str(), "r");
    if (!pipe)
        throw std::runtime_error("cannot run a shell");
    char buffer[4096];
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe))
        outcome.output.append(buffer, count);
    const int status = pclose(pipe);
    if (WIFEXITED(status))
        outcome.status = WEXITSTATUS(status);
    return outcome;
}

Outcome runTool(const std::string &arguments) {
    return runShell(VL_PROGRAM_DIRECTORY "/bin/vl " + arguments);
}

Outcome runExample(const std::string &name, const std::string &arguments) {
    return runShell(VL_PROGRAM_DIRECTORY "/examples/" + name + " " + arguments);
}

std::string quoted(const std::filesystem::path &path) { return "'" + path.string() + "'"; }
