// Names for the standard library: wide, with the system's own characters.

#include "platform/windows/system.h"

#include "platform/native.h"
#include "platform/windows/handle.h"
#include "platform/windows/paths.h"
#include "platform/windows/text.h"

namespace vl::platform {

std::filesystem::path nativePath(std::string_view text) {
    std::wstring wide(toWide(nullptr, 0, text), L'\0');
    toWide(wide.data(), wide.size(), text);
    return wide;
}

std::string textOf(const std::filesystem::path &path) {
    std::string text(toUtf8(nullptr, 0, path.native()), '\0');
    toUtf8(text.data(), text.size(), path.native());
    return text;
}

void openStream(std::ofstream &stream, const char *name, std::ios::openmode mode) {
    wchar_t wide[maxPath + 1];
    const std::size_t length = toWide(wide, maxPath, name);
    wide[length <= maxPath ? length : 0] = 0; // an empty name opens nothing
    stream.open(wide, mode);
}

bool lastWrite(const std::filesystem::path &path, CalendarTime &time) {
    const HANDLE handle =
        openHandle(path.c_str(), FILE_READ_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    FileIdentity identity;
    DWORD attributes;
    const bool told = handle != INVALID_HANDLE_VALUE && identify(handle, identity, attributes);
    if (handle != INVALID_HANDLE_VALUE)
        CloseHandle(handle);
    return told && toCalendar(identity, time);
}

bool setLastWrite(const std::filesystem::path &path, const CalendarTime &time) {
    const SYSTEMTIME calendar = {time.year, time.month,  0,           time.day,
                                 time.hour, time.minute, time.second, time.milliseconds};
    FILETIME moment;
    const HANDLE handle =
        openHandle(path.c_str(), FILE_WRITE_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    const bool done =
        SystemTimeToFileTime(&calendar, &moment) && SetFileTime(handle, nullptr, nullptr, &moment);
    CloseHandle(handle);
    return done;
}

bool canNameFile(std::string_view name) {
    return !name.empty() && name.find_first_of("/\\") == name.npos && namesAFile(name);
}

} // namespace vl::platform
