// The terminal, and what happens to a file that is half written when the process is told to end.

#include "platform/posix/system.h"

#include "platform/terminal.h"

#include <climits>
#include <csignal>
#include <cstring>
#include <unistd.h>

namespace vl::platform {

namespace {

constexpr int signals[] = {SIGHUP, SIGINT, SIGTERM};

char unfinishedFile[PATH_MAX];

/// Only what a signal handler may do. The signal, to which nothing listens any more, comes again on return.
void removeAndEnd(int signal) {
    unlink(unfinishedFile);
    raise(signal);
}

} // namespace

std::vector<std::string> beginProgram(int count, char **arguments) { return {arguments, arguments + count}; }

bool standardErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

bool beginUnfinishedFile(const char *path) {
    if (std::strlen(path) >= sizeof unfinishedFile)
        return false;
    std::strcpy(unfinishedFile, path);
    for (const int signal : signals) {
        struct sigaction action {
        }, previous{};
        action.sa_handler = removeAndEnd;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        // Whoever started the process may have asked it to ignore the signal.
        if (sigaction(signal, nullptr, &previous) == 0 && previous.sa_handler == SIG_DFL)
            sigaction(signal, &action, nullptr);
    }
    return true;
}

void endUnfinishedFile() {
    for (const int signal : signals) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == removeAndEnd)
            std::signal(signal, SIG_DFL);
    }
}

} // namespace vl::platform
