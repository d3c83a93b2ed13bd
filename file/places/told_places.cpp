// The public views of the places: the list itself, and the listing of a directory.

#include "vl/file/places.h"

#include "file/file_system.h"
#include "file/places/directory_view.h"

using vl::FileSystem;

// V_FilePlaces holds a reference by hand: a public header must not show the library's own type of it.

V_FilePlaces::V_FilePlaces() : m_pList(vl::Ref<const vl::PlaceList>(FileSystem::get().places()).release()) {}

V_FilePlaces::~V_FilePlaces() { vl::Ref<const vl::PlaceList>::adopt(m_pList); }

std::size_t V_FilePlaces::size() const { return m_pList->size(); }

V_FilePlace V_FilePlaces::operator[](std::size_t position) const {
    const vl::Place &place = (*m_pList)[position];
    V_FilePlace told{};
    told.id = place.id;
    told.origin = place.origin;
    told.isArchive = static_cast<bool>(place.archive);
    told.at = place.at().empty() ? "\\" : place.placing->at.text();
    if (place.archive) {
        told.path = place.archive->archivePath;
        told.files = place.archive->header.fileCount;
        told.archiverID = place.archive->header.archiverID;
    } else {
        told.path = place.placing ? place.placing->path.text() : FileSystem::get().names.root.text();
    }
    return told;
}

V_FileListing::V_FileListing(const char *pattern)
    : m_pView(vl::newCounted<vl::DirectoryView>(FileSystem::get(), pattern)) {}

V_FileListing::~V_FileListing() { vl::deleteCounted(m_pView); }

const V_ListedFile *V_FileListing::begin() const { return m_pView->begin(); }

const V_ListedFile *V_FileListing::end() const { return m_pView->end(); }
