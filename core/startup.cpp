// Start-up and shutdown: the one place that knows the system object and the file system both.

#include "vl/core/startup.h"

#include "core/counted.h"
#include "file/file_system.h"
#include "file/shown_path.h"
#include "platform/platform.h"
#include "vl/core/profile.h"
#include "vl/core/system.h"
#include "vl/file.h"

#include <cstdio>
#include <cstring>

int V_VantorInit::count = 0;

namespace {

// Ready before any constructor of a static object: one may call V_VantorInit::settings.
constinit V_StartSettings settingsOfStart;
constinit vl::platform::PathBuffer rootOfStart{}, logOfStart{}; ///< texts of the settings

/// Starts a path with what the settings say of it. Empty for nothing.
vl::Path copied(const char *path) {
    vl::Path copy;
    if (path)
        copy.append(path, path);
    return copy;
}

/// Puts a text where it stays. Null when it is empty.
const char *kept(vl::platform::PathBuffer &buffer, const vl::Path &text) {
    std::strcpy(buffer, text.text());
    return text.length() != 0 ? buffer : nullptr;
}

/// The log's name as the system object is given it: relative for the directory that is the process's when the
/// log is opened, otherwise as the system writes it.
vl::Path logName() {
    vl::Path name;
    char computer[16];
    if (settingsOfStart.logFile)
        name.append(settingsOfStart.logFile, settingsOfStart.logFile);
    else if (vl::platform::computerName(computer))
        name.set([&](vl::platform::PathBuffer &out) {
            return std::snprintf(out, sizeof out, "verbose_%s.txt", computer) > 0;
        });
    else
        name.append("verbose.txt", "");
    if (!settingsOfStart.logFile && !settingsOfStart.leaveDirectoryAlone)
        return name;

    vl::Path below, shown;
    if (!vl::makeAbsolute(below, name.view(), vl::FileSystem::rootOf(settingsOfStart)) ||
        !shown.set(
            [&](vl::platform::PathBuffer &out) { return vl::platform::systemPath(out, below.text()); }))
        V_throw(V_FileException_PathTooLong(name.text()));
    return shown;
}

/// Says why there is no library: whoever threw may be a static object, whose exception nobody can catch.
void tell(const V_Exception &failure) {
    char line[1024];
    std::snprintf(line, sizeof line, "The library cannot be started: %s", failure.getErrorMessage());
    vl::platform::printError(line);
    if (Sys)
        Sys->verbose("%s\n", line);
}

} // namespace

void V_VantorInit::settings(const V_StartSettings &settings) {
    if (count != 0)
        V_throw(V_StartUpException_AlreadyStarted());
    // Both must fit before anything changes, and may be what an earlier call has kept.
    const vl::Path root = copied(settings.root), log = copied(settings.logFile);
    settingsOfStart = settings;
    settingsOfStart.root = kept(rootOfStart, root);
    settingsOfStart.logFile = kept(logOfStart, log);
    vl::ShownPath::sm_bAsSystem = settings.systemPaths;
}

V_VantorInit::V_VantorInit() {
    if (count++ != 0)
        return;
    try {
        const vl::Path log = logName();
        Sys = vl::constructCounted<V_System>([&](void *block) { return new (block) V_System(log.text()); });
        if (settingsOfStart.noLog)
            Sys->ceaseVerbose(0);
        File = vl::constructCounted<V_File>([](void *block) { return new (block) V_File(settingsOfStart); });
    } catch (V_Exception *failure) {
        tell(*failure);
        stop();
        throw;
    } catch (...) {
        stop();
        throw;
    }
}

V_VantorInit::~V_VantorInit() {
    if (count == 1)
        stop();
    else
        --count;
}

void V_VantorInit::stop() {
    // The pointer outlives the object: what runs last may still log.
    const auto destroy = []<class T>(T *&object) {
        if (!object)
            return;
        object->~T();
        V_Memory::freeCounted(object);
        object = nullptr;
    };
    --count;
    destroy(File);
    V_Profile::deinit();
    if (Sys)
        Sys->cleanupAllocations();
    destroy(Sys);
}
