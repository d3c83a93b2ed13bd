// A change of the library's current directory that lasts as long as a scope.

#include "file/file_system.h"
#include "vl/file.h"

V_FileDirectoryChange::V_FileDirectoryChange() { initializeMembers(); }

V_FileDirectoryChange::V_FileDirectoryChange(const V_String &dir) : V_FileDirectoryChange() {
    construct(dir);
}

V_FileDirectoryChange::~V_FileDirectoryChange() {
    if (!File)
        return; // the library was shut down meanwhile; there is nothing to change back
    try {
        destruct();
    } catch (V_Exception *) {
        vl::FileSystem::get().names.resetCurrent();
    }
}

void V_FileDirectoryChange::construct(const V_String &dir) {
    destruct();
    m_strPrevious = File->getCurrentDirectory();
    // A change that fails leaves the current directory as it is, so there is nothing to undo then.
    try {
        File->changeDirectory(dir.c_str());
    } catch (...) {
        initializeMembers();
        throw;
    }
    m_bConstructed = true;
}

void V_FileDirectoryChange::destruct() {
    if (!m_bConstructed)
        return;
    File->changeDirectory(m_strPrevious.c_str());
    initializeMembers();
}

void V_FileDirectoryChange::initializeMembers() {
    m_bConstructed = false;
    m_strPrevious.clear();
}
