// Names for the standard library: bytes, like the library's own.

#include "platform/posix/system.h"

#include "platform/native.h"
#include "platform/posix/descriptor.h"

#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>

namespace vl::platform {

std::filesystem::path nativePath(std::string_view text) { return text; }

std::string textOf(const std::filesystem::path &path) { return path.string(); }

void openStream(std::ofstream &stream, const char *name, std::ios::openmode mode) { stream.open(name, mode); }

bool lastWrite(const std::filesystem::path &path, CalendarTime &time) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && toCalendar(identityOf(info), time);
}

bool setLastWrite(const std::filesystem::path &path, const CalendarTime &time) {
    std::tm calendar{};
    calendar.tm_year = time.year - 1900;
    calendar.tm_mon = time.month - 1;
    calendar.tm_mday = time.day;
    calendar.tm_hour = time.hour;
    calendar.tm_min = time.minute;
    calendar.tm_sec = time.second;
    const timespec moment = {timegm(&calendar), time.milliseconds * 1'000'000L};
    const timespec times[] = {moment, moment};
    return utimensat(AT_FDCWD, path.c_str(), times, 0) == 0;
}

bool canNameFile(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == name.npos;
}

} // namespace vl::platform
