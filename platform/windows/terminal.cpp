// The console, and what happens to a file that is half written when the process is told to end.

#include "platform/windows/system.h"

#include "platform/native.h"
#include "platform/terminal.h"
#include "platform/windows/paths.h"

#include <cstdio>
#include <cwchar>
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

namespace vl::platform {

namespace {

wchar_t unfinishedFile[32768];

/// Ctrl-C, Ctrl-Break, the closing of the console, the end of the session: all end the process afterwards.
BOOL WINAPI removeAndEnd(DWORD) {
    DeleteFileW(unfinishedFile);
    return FALSE;
}

} // namespace

std::vector<std::string> beginProgram(int count, char **arguments) {
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    // What the runtime library hands to main is in a code page that lacks most characters.
    int wideCount = 0;
    wchar_t **const wide = CommandLineToArgvW(GetCommandLineW(), &wideCount);
    if (!wide)
        return {arguments, arguments + count};
    std::vector<std::string> result;
    for (int i = 0; i < wideCount; ++i)
        result.push_back(textOf(wide[i]));
    LocalFree(wide);
    return result;
}

bool standardErrorIsTerminal() {
    const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode;
    if (!GetConsoleMode(console, &mode))
        return false;
    // Whoever asks draws with control sequences.
    return SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

bool beginUnfinishedFile(const char *path) {
    SystemPath system;
    if (!toSystemPath(system, path))
        return false;
    std::wcscpy(unfinishedFile, system.text);
    return SetConsoleCtrlHandler(removeAndEnd, TRUE);
}

void endUnfinishedFile() { SetConsoleCtrlHandler(removeAndEnd, FALSE); }

} // namespace vl::platform
