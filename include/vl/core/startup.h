// Start-up and shutdown, and what a program may want otherwise at its start.
#pragma once

#include "vl/core/export.h"

/// What the first V_VantorInit does, given to V_VantorInit::settings; as constructed, what it does without.
/// Paths are those of the operating system (slashes and backslashes alike) of at most 255 characters.
struct V_StartSettings {
    /// What becomes of an archive that cannot be loaded.
    enum BadArchives {
        BA_THROW,        ///< its exception is thrown; archives behind it are not loaded
        BA_SKIP_AND_TELL ///< its exception's message goes into the log, and loading goes on without it
    };

    /// The process's current directory is the program's alone: the library neither changes it, at its start
    /// or with V_File::setFileSystemRoot, nor depends on it. What is relative to it otherwise
    /// (setFileSystemRoot, the log, write-through memory files, names like `C:a.txt`) is relative to the
    /// local root; `root` alone is relative to the directory in which the library is started.
    bool leaveDirectoryAlone = false;

    /// Whether the archives of the local root are loaded, at the start and with every new root. Those of the
    /// secondary directory and the priority archive, which a call asks for, are loaded in any case.
    bool loadArchives = true;

    /// The local root, relative to the process's current directory; null or "": the executable's directory.
    const char *root = nullptr;

    /// The log, relative to the local root of the start; null or "": as V_VantorInit tells, and with
    /// leaveDirectoryAlone in the local root of the start, whatever the root is later.
    const char *logFile = nullptr;

    /// There is no log, as after V_System::ceaseVerbose.
    bool noLog = false;

    /// Of the archives that loadArchives and V_File::setSecondaryArchiveSearchPath find. The priority archive
    /// always throws.
    BadArchives badArchives = BA_THROW;

    /// Whether a directory, or a link that leads nowhere, whose name ends in .VAS is passed over among the
    /// archives, instead of being one that cannot be loaded.
    bool passOverOddArchives = false;

    /// Whether messages of exceptions write a full path on disk as the system does (`/home/u/a.vas`) and not
    /// as the library does (`C:\home\u\a.vas`). Names below the local root stay as they are.
    bool systemPaths = false;
};

/// Every module that uses the library holds one of these, as a rule a static one. The first to be constructed
/// starts the library: it creates `Sys`, with the log file "verbose_" + computer name + ".txt" in the
/// process's current directory ("verbose.txt" when the name is unknown), and `File`, which makes the
/// executable's directory the current directory and loads the archives found there. The last to be destroyed
/// shuts it down: `File`, the profiler, then the registered routines and the log.
///
/// The constructor passes on what start-up throws, for example V_FileException_ArchiveCorrupted for a damaged
/// archive; everything created until then is released and the library is stopped again. What it was stands on
/// standard error before, and in the log: an exception that leaves the constructor of a static object ends
/// the program without a word.
class VL_API V_VantorInit {
  public:
    V_VantorInit();
    ~V_VantorInit();
    V_VantorInit(const V_VantorInit &) = delete;
    V_VantorInit &operator=(const V_VantorInit &) = delete;

    /// Says how the library is to be started, before the first V_VantorInit; its texts are copied. Holds for
    /// every later start of the process, too, until it is called again. Throws
    /// V_StartUpException_AlreadyStarted while the library is started, and V_FileException_PathTooLong;
    /// nothing has changed then.
    static void settings(const V_StartSettings &settings);

    static int count; ///< live V_VantorInit objects

  private:
    static void stop();
};
