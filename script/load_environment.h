// What surrounds the loading of a script: where its files come from, and who wants to know where it failed.
#pragma once

#include "vl/script.h"

namespace vl {

class ScriptTrace;

/// Where scripts come from. Throws what V_File throws.
class ScriptFiles {
  public:
    virtual ~ScriptFiles() = default;

    /// The path under which `name` is loaded: at most 255 characters, valid until the next call.
    virtual const char *fullPath(const char *name) = 0;

    /// The bytes of a file, a counted allocation (V_Memory).
    virtual char *load(const char *path, unsigned int &size) = 0;
};

struct LoadEnvironment {
    ScriptFiles *files = nullptr; ///< null: `File`
    ScriptTrace *trace =
        nullptr; ///< records where texts come from, and where the load failed; null: nobody asks
};

/// A script that is loaded in an environment of its own.
struct EnvironmentScript : V_Script {
    EnvironmentScript(const char *fileName, const LoadEnvironment &environment)
        : V_Script(fileName, environment) {}
};

} // namespace vl
