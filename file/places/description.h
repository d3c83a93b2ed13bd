// What is told of a file or directory to clients who ask for all that is known of it: the same fields for a
// name (V_FileInfo) and for a name of a listing (V_ListedFile).
#pragma once

#include "platform/platform.h"
#include "vl/file.h"

namespace vl {

/// A time as V_File::timeStamp tells it.
template <class Time>
unsigned int stampOf(const Time &time) {
    unsigned int stamp = (time.year - 1995u) * 12 + time.month;
    stamp = stamp * 31 + time.day;
    stamp = stamp * 24 + time.hour;
    stamp = stamp * 60 + time.minute;
    return stamp * 60 + time.second;
}

/// The time of a file's last write on disk; 0 when its year does not fit.
inline unsigned int stampOf(const platform::FileIdentity &identity) {
    platform::CalendarTime time;
    return platform::toCalendar(identity, time) ? stampOf(time) : 0;
}

/// Of what is there on disk. What was not measured, all zeros, has no time.
template <class Info>
void describeOnDisk(Info &info, platform::FileKind kind, const platform::FileIdentity &identity) {
    info.isDirectory = kind == platform::FileKind::Directory;
    info.method = info.isDirectory ? -1 : V_File::METHOD_STORED;
    info.size = info.storedSize = info.isDirectory ? 0 : identity.length;
    info.timeStamp = identity == platform::FileIdentity{} ? 0 : stampOf(identity);
}

/// Of a file of an archive; null is a directory of it, of which no more is known.
template <class Info>
void describeEntry(Info &info, const V_File::VASFileEntry *file) {
    info.isDirectory = !file;
    info.method = file ? static_cast<int>(file->method) : -1;
    info.size = file ? file->size : 0;
    info.storedSize = file ? file->storedSize : 0;
    info.timeStamp = file ? stampOf(file->time) : 0;
}

} // namespace vl
