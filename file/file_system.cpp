// The file system's life: where its local root is, and what it creates and releases.

#include "vl/file.h"

#include "file/path_text.h"
#include "platform/platform.h"

#include <cstring>

using vl::PathText;
using vl::platform::PathBuffer;

V_File *File = nullptr;
unsigned int V_File::instance = 0;

namespace {

/// Tells the directory that a program lies in.
void directoryOfProgram(PathBuffer &out, const char *program) {
    PathText path(out, program);
    path.append(program);
    const std::size_t length = vl::directoryLength(out);
    const bool driveRoot = length == 3 && out[1] == ':';
    path.cutTo(driveRoot ? length : length - 1);
}

/// Makes a directory the process's current directory and tells the name the system gives it. `out` holds the
/// earlier one, which is kept when that fails.
void enterDirectory(char (&out)[256], const char *dir) {
    if (!vl::platform::setCurrentDirectory(dir))
        V_throw(V_FileException_DirectoryNotFound(dir));
    PathBuffer current;
    if (!vl::platform::currentDirectory(current)) {
        vl::platform::setCurrentDirectory(out);
        V_throw(V_FileException_PathTooLong(dir));
    }
    std::memcpy(out, current, sizeof out);
}

} // namespace

V_File::V_File()
    : m_strPattern(), m_findData(), m_strSearchDir(), m_strDiskPattern(), m_strResult(), m_strDirKey() {
    m_uStage = StageFinished;
    m_uIndex = 0;
    m_hFind = nullptr;
    m_pArchive = nullptr;
    m_iNoDirYet = 1;
    m_pDirIDCursor = nullptr;
    m_iOverride = 1;

    try {
        if (instance++ == 0)
            createArchiveLists();
        if (!vl::platform::currentDirectory(m_strStartupDirectory))
            m_strStartupDirectory[0] = 0; // the process's business; nothing here depends on it
        const char *program = vl::platform::executablePath();
        if (!program)
            V_throw(V_MemoryException_Allocation());
        PathBuffer directory;
        directoryOfProgram(directory, program);
        enterDirectory(m_originalLocalDirPath, directory);
        loadArchives();
    } catch (...) {
        release();
        throw;
    }
}

V_File::~V_File() { release(); }

void V_File::release() {
    vl::platform::endEnumeration(m_hFind);
    m_hFind = nullptr;
    if (--instance != 0)
        return;
    V_REALLOCATE_DELETE(m_pathName);
    m_pathName = nullptr;
    m_uPathLen = 0;
    deleteArchiveLists();
}

void V_File::setFileSystemRoot(const char *dir) {
    unloadArchives();
    enterDirectory(m_originalLocalDirPath, dir);
    loadArchives();
}
