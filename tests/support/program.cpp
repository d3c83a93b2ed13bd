// Running programs, on each of the systems.

#include "tests/support/program.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace fs = std::filesystem;

Outcome runTool(const std::string &arguments, const fs::path &directory) {
    return runProgram(toolProgram(), arguments, directory);
}

std::string quoted(const fs::path &path) { return "'" + path.string() + "'"; }

fs::path ownProgramIn(const fs::path &directory) {
    const fs::path place = directory / ownProgram().filename();
    std::error_code otherVolume;
    fs::create_hard_link(ownProgram(), place, otherVolume);
    if (otherVolume)
        fs::copy_file(ownProgram(), place);
    return place;
}

#if defined(_WIN32)

#include <windows.h>

namespace {

/// One word of a command line as the system's programs take theirs apart.
std::wstring inQuotes(const std::wstring &word) {
    std::wstring result = L"\"";
    for (std::size_t i = 0; i < word.size(); ++i) {
        const std::size_t end = word.find_first_not_of(L'\\', i);
        const bool beforeQuote = end == word.npos || word[end] == L'"';
        if (word[i] == L'"' || (word[i] == L'\\' && beforeQuote))
            result += L'\\';
        result += word[i];
    }
    return result + L'"';
}

struct CommandLine {
    explicit CommandLine(const fs::path &program, const std::string &arguments) : text(inQuotes(program)) {
        std::string word;
        bool inside = false, any = false;
        for (const char c : arguments + ' ') {
            if (c == '\'') {
                inside = !inside;
                any = true;
            } else if (c != ' ' || inside) {
                word += c;
            } else if (any || !word.empty()) {
                add(word);
                word.clear();
                any = false;
            }
        }
    }
    void add(const std::string &word) {
        if (word == ">/dev/null")
            keepsOutput = false;
        else if (word == "2>/dev/null")
            keepsErrors = false;
        else
            text += L' ' + inQuotes(fs::path(std::u8string(word.begin(), word.end())));
    }
    std::wstring text;
    bool keepsOutput = true, keepsErrors = true;
};

/// `output` is null for what nobody sees.
HANDLE start(CommandLine command, const fs::path &directory, HANDLE output) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    const HANDLE nothing =
        CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, 7, &inherited, OPEN_EXISTING, 0, nullptr);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = nothing;
    startup.hStdOutput = command.keepsOutput && output ? output : nothing;
    startup.hStdError = command.keepsErrors && output ? output : nothing;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, command.text.data(), nullptr, nullptr, TRUE, CREATE_NEW_PROCESS_GROUP,
                        nullptr, fs::absolute(directory).c_str(), &startup, &process))
        throw std::runtime_error("cannot run a program: error " + std::to_string(GetLastError()));
    CloseHandle(nothing);
    CloseHandle(process.hThread);
    return process.hProcess;
}

} // namespace

Outcome runProgram(const fs::path &program, const std::string &arguments, const fs::path &directory) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    HANDLE from, to;
    CreatePipe(&from, &to, &inherited, 0);
    SetHandleInformation(from, HANDLE_FLAG_INHERIT, 0);
    const HANDLE process = start(CommandLine(program, arguments), directory, to);
    CloseHandle(to);
    Outcome outcome{-1, ""};
    char buffer[4096];
    for (DWORD count = 0; ReadFile(from, buffer, sizeof buffer, &count, nullptr) && count != 0;)
        outcome.output.append(buffer, count);
    CloseHandle(from);
    WaitForSingleObject(process, INFINITE);
    DWORD status = 0;
    GetExitCodeProcess(process, &status);
    CloseHandle(process);
    outcome.status = static_cast<int>(status);
    return outcome;
}

Outcome runExample(const std::string &name, const std::string &arguments) {
    return runTextProgram(VL_PROGRAM_DIRECTORY "/bin/" + name + ".exe", arguments, ".");
}

Outcome runTextProgram(const fs::path &program, const std::string &arguments, const fs::path &directory) {
    Outcome outcome = runProgram(program, arguments, directory);
    std::erase(outcome.output, '\r');
    return outcome;
}

fs::path toolProgram() { return VL_PROGRAM_DIRECTORY "/bin/vl.exe"; }

fs::path ownProgram() {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

RunningProgram::RunningProgram(const fs::path &program, const std::string &arguments,
                               const fs::path &directory)
    : m_process(reinterpret_cast<std::intptr_t>(start(CommandLine(program, arguments), directory, nullptr))) {
}

RunningProgram::~RunningProgram() {
    const auto process = reinterpret_cast<HANDLE>(m_process);
    TerminateProcess(process, 1);
    WaitForSingleObject(process, INFINITE);
    CloseHandle(process);
}

bool RunningProgram::interrupt() {
    const auto process = reinterpret_cast<HANDLE>(m_process);
    GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, GetProcessId(process));
    DWORD status = 0;
    return WaitForSingleObject(process, 30000) == WAIT_OBJECT_0 && GetExitCodeProcess(process, &status) &&
           status == STATUS_CONTROL_C_EXIT;
}

void setEnvironment(const char *name, const std::string &value) { _putenv_s(name, value.c_str()); }

#else

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string commandLine(const char *how, const fs::path &program, const std::string &arguments,
                        const fs::path &directory) {
    return "cd " + quoted(directory) + " && " + how + " " VL_EMULATOR " " + quoted(program) + " " + arguments;
}

} // namespace

Outcome runProgram(const fs::path &program, const std::string &arguments, const fs::path &directory) {
    Outcome outcome{-1, ""};
    const std::string command = "{ " + commandLine("", program, arguments, directory) + "; } 2>&1 </dev/null";
    std::FILE *pipe = popen(command.c_str(), "r");
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

Outcome runExample(const std::string &name, const std::string &arguments) {
    return runProgram(VL_PROGRAM_DIRECTORY "/examples/" + name, arguments);
}

Outcome runTextProgram(const fs::path &program, const std::string &arguments, const fs::path &directory) {
    return runProgram(program, arguments, directory);
}

fs::path toolProgram() { return VL_PROGRAM_DIRECTORY "/bin/vl"; }

fs::path ownProgram() { return fs::read_symlink("/proc/self/exe"); }

RunningProgram::RunningProgram(const fs::path &program, const std::string &arguments,
                               const fs::path &directory)
    : m_process(fork()) {
    if (m_process != 0)
        return;
    const std::string command = commandLine("exec", program, arguments, directory) + " >/dev/null";
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(127);
}

RunningProgram::~RunningProgram() {
    if (m_process == 0)
        return;
    ::kill(static_cast<pid_t>(m_process), SIGKILL);
    waitpid(static_cast<pid_t>(m_process), nullptr, 0);
}

bool RunningProgram::interrupt() {
    const auto process = static_cast<pid_t>(std::exchange(m_process, 0));
    ::kill(process, SIGTERM);
    int status = 0;
    return waitpid(process, &status, 0) == process && WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM;
}

void setEnvironment(const char *name, const std::string &value) { setenv(name, value.c_str(), 1); }

#endif
