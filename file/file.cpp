// V_File: its life, names and directories, searches and archives, each a few lines over what does the work.

#include "vl/file.h"

#include "core/counted.h"
#include "file/file_system.h"
#include "file/places/lookup.h"

#include <cstring>

V_File *File = nullptr;

V_File *V_getFile() { return File; }

V_File::V_File(const V_StartSettings &settings) : m_pSystem(vl::newCounted<vl::FileSystem>(settings)) {}

V_File::~V_File() { vl::deleteCounted(m_pSystem); }

// ---- Names and directories -----------------------------------------------------------------------------

const char *V_File::getFullPathName(const char *name) {
    m_pSystem->fullPathName = m_pSystem->names.resolve(name);
    return m_pSystem->fullPathName.text();
}

void V_File::getPath(const char *name, V_String &out) const {
    const vl::Path path = m_pSystem->names.resolve(name);
    const std::size_t length = path.directoryLength();
    out.assign(path.text(), length ? length : path.length());
}

void V_File::getFilename(const char *name, V_String &out) const {
    out.assign(m_pSystem->names.resolve(name).fileName());
}

void V_File::changeDirectory(const char *dir) {
    vl::Path name;
    name.append(dir, dir);
    if (name.length() > 1 && (name.view().ends_with('\\') || name.view().ends_with('/')))
        name.cutTo(name.length() - 1);
    if (name.length() == 0 || name.view() == ".")
        return;

    vl::Lookup lookup(name.text(), *m_pSystem);
    if (!lookup.isDirectory())
        V_throw(V_FileException_DirectoryNotFound(lookup.path()));
    vl::Path path;
    path.append(lookup.path(), dir);
    if (!path.endsWithBackslash())
        path.append("\\", dir);
    m_pSystem->names.current = path;
}

const char *V_File::getCurrentDirectory() const { return m_pSystem->names.current.text(); }

const char *V_File::getStartupDirectory() const { return m_pSystem->startupDirectory.text(); }

void V_File::setFileSystemRoot(const char *dir) { m_pSystem->setRoot(dir); }

void V_File::enableFilenameLengthLimitation(bool enable) { m_pSystem->names.lengthLimited = enable; }

bool V_File::isFilenameLengthLimitationEnabled() const { return m_pSystem->names.lengthLimited; }

V_File::Location V_File::where(const char *name) { return vl::Lookup(name, *m_pSystem).where(); }

int V_File::exists(const char *name) { return where(name) != LOC_NONE; }

int V_File::isDirectory(const char *name) { return vl::Lookup(name, *m_pSystem).isDirectory(); }

bool V_File::find(const char *name, V_FileInfo &info) { return vl::Lookup(name, *m_pSystem).find(info); }

std::size_t V_File::findAll(const char *name, V_FileInfo *infos, std::size_t room) {
    return vl::Lookup(name, *m_pSystem).findAll(infos, room);
}

void V_File::setWholeElements(bool enable) { m_pSystem->names.wholeElements = enable; }

bool V_File::hasWholeElements() const { return m_pSystem->names.wholeElements; }

// ---- Places --------------------------------------------------------------------------------------------

unsigned int V_File::addPlace(const char *path, PlaceOrder order, const char *at, unsigned int beside) {
    return m_pSystem->addPlace(path, order, at, beside);
}

bool V_File::removePlace(unsigned int id) { return m_pSystem->removePlace(id); }

bool V_File::movePlace(unsigned int id, PlaceOrder order, unsigned int beside) {
    return m_pSystem->movePlace(id, order, beside);
}

void V_File::setWriteDirectory(const char *dir) { m_pSystem->setWriteDirectory(dir); }

// ---- Searches ------------------------------------------------------------------------------------------

const char *V_File::findFirst(const char *pattern) {
    m_pSystem->search.reset(); // should what follows throw
    return m_pSystem->search.emplace(*m_pSystem, pattern).next();
}

const char *V_File::findNext() { return m_pSystem->search ? m_pSystem->search->next() : nullptr; }

V_FileSearch::V_FileSearch(const char *pattern)
    : m_pSearch(vl::newCounted<vl::Search>(vl::FileSystem::get(), pattern)) {}

V_FileSearch::~V_FileSearch() { vl::deleteCounted(m_pSearch); }

V_FileSearch::V_FileSearch(V_FileSearch &&other) noexcept
    : m_pSearch(std::exchange(other.m_pSearch, nullptr)) {}

V_FileSearch &V_FileSearch::operator=(V_FileSearch &&other) noexcept {
    std::swap(m_pSearch, other.m_pSearch);
    return *this;
}

const char *V_FileSearch::next() { return m_pSearch ? m_pSearch->next() : nullptr; }

// ---- Archives ------------------------------------------------------------------------------------------

void V_File::setArchiveHandling(int mode) { m_pSystem->names.setMode(mode); }

int V_File::getArchiveHandling() const { return m_pSystem->names.mode; }

void V_File::enablePriorityArchive(const char *name) { m_pSystem->enablePriorityArchive(name); }

void V_File::disablePriorityArchive() const { m_pSystem->disablePriorityArchive(); }

bool V_File::isPriorityArchiveEnabled() const { return m_pSystem->isPriorityEnabled(); }

const char *V_File::getPriorityArchive() const { return m_pSystem->priorityName().text(); }

bool V_File::setSecondaryArchiveSearchPath(const char *dir) { return m_pSystem->setSecondaryDirectory(dir); }

const char *V_File::getSecondaryArchiveSearchPath() const { return m_pSystem->secondaryDirectory().text(); }

void V_File::verifyArchiverID(int id) const {
    for (const vl::Place &place : *m_pSystem->activePlaces())
        if (place.archive && place.archive->header.archiverID != static_cast<unsigned int>(id))
            V_throw(V_FileException_IncompatibleArchiverID(place.archive->archivePath));
}
