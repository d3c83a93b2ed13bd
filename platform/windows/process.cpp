// The process and the machine it runs on: program, computer name, memory, priorities, last words.

#include "platform/windows/system.h"

#include "platform/message_box.h"
#include "platform/platform.h"
#include "platform/windows/text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>

namespace vl::platform {

namespace {

/// The longest path that the system knows.
constexpr DWORD longestPath = 32768;

/// A text of the system as UTF-8, of any length; null when no memory is left.
std::unique_ptr<char[]> newUtf8(std::wstring_view text) {
    const std::size_t length = toUtf8(nullptr, 0, text);
    std::unique_ptr<char[]> result(new (std::nothrow) char[length + 1]);
    if (result)
        result[toUtf8(result.get(), length, text)] = 0;
    return result;
}

/// A text for the system, of any length; null when no memory is left.
std::unique_ptr<wchar_t[]> newWide(std::string_view text) {
    const std::size_t length = toWide(nullptr, 0, text);
    std::unique_ptr<wchar_t[]> result(new (std::nothrow) wchar_t[length + 1]);
    if (result)
        result[toWide(result.get(), length, text)] = 0;
    return result;
}

std::unique_ptr<char[]> tellExecutablePath() {
    const std::unique_ptr<wchar_t[]> path(new (std::nothrow) wchar_t[longestPath]);
    if (!path)
        return nullptr;
    const DWORD length = GetModuleFileNameW(nullptr, path.get(), longestPath);
    return newUtf8(length == 0 ? std::wstring_view(L"C:\\") : std::wstring_view(path.get(), length));
}

std::uint32_t saturated(std::uint64_t bytes) {
    return bytes < UINT32_MAX ? static_cast<std::uint32_t>(bytes) : UINT32_MAX;
}

/// Tells a system that switches between programs otherwise not to do so.
void blockSwitching(bool on) { SystemParametersInfoW(SPI_SETSCREENSAVERRUNNING, on, nullptr, 0); }

bool tellsOnStandardError = false;

} // namespace

const char *executablePath() {
    static std::unique_ptr<char[]> path;
    if (!path)
        path = tellExecutablePath();
    return path.get();
}

bool computerName(char (&out)[16]) {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = static_cast<DWORD>(std::size(name));
    if (!GetComputerNameW(name, &length) || length == 0)
        return false;
    // What does not fit goes by whole characters.
    std::size_t bytes;
    while ((bytes = toUtf8(out, sizeof out - 1, {name, length})) > sizeof out - 1)
        --length;
    out[bytes] = 0;
    return bytes != 0 && std::strpbrk(out, "<>:\"/\\|?*") == nullptr;
}

void physicalMemory(std::uint32_t &total, std::uint32_t &available) {
    MEMORYSTATUSEX memory{};
    memory.dwLength = sizeof memory;
    GlobalMemoryStatusEx(&memory);
    total = saturated(memory.ullTotalPhys);
    available = saturated(memory.ullAvailPhys);
}

// Its processors tell of themselves.
void describeProcessor(SystemProcessor &processor) { processor = {}; }

Priority raisePriority() {
    Priority saved{};
    blockSwitching(true);
    const HANDLE process = GetCurrentProcess(), thread = GetCurrentThread();
    saved.process = static_cast<int>(GetPriorityClass(process));
    saved.processChanged = saved.process != 0 && saved.process != REALTIME_PRIORITY_CLASS &&
                           SetPriorityClass(process, HIGH_PRIORITY_CLASS);
    saved.thread = GetThreadPriority(thread);
    saved.threadChanged = saved.thread != THREAD_PRIORITY_ERROR_RETURN &&
                          SetThreadPriority(thread, THREAD_PRIORITY_TIME_CRITICAL);
    return saved;
}

void restorePriority(const Priority &saved) {
    if (saved.threadChanged)
        SetThreadPriority(GetCurrentThread(), saved.thread);
    if (saved.processChanged)
        SetPriorityClass(GetCurrentProcess(), static_cast<DWORD>(saved.process));
    blockSwitching(false);
}

bool savesSseState() { return IsProcessorFeaturePresent(PF_XMMI_INSTRUCTIONS_AVAILABLE); }

void printError(const char *text) { std::fprintf(stderr, "%s\n", text); }

void messageBox(const char *title, const char *text) {
    title = title ? title : "";
    text = text ? text : "";
    if (tellsOnStandardError) {
        std::fprintf(stderr, "%s\n%s\n", title, text);
        return;
    }
    const auto wideTitle = newWide(title), wideText = newWide(text);
    MessageBoxW(nullptr, wideText ? wideText.get() : L"", wideTitle ? wideTitle.get() : L"",
                MB_ICONHAND | MB_SYSTEMMODAL);
}

void tellOnStandardError() { tellsOnStandardError = true; }

} // namespace vl::platform
