// Merging the names that all places have in one directory (directory_view.h).
//
// The names of every place are collected, sorted and, of those that are equal but for case, the one is taken
// that V_File::find would find: the first file or, without one, the first directory. What is on disk is asked
// for its kind and size only as far as that needs.

#include "file/places/directory_view.h"

#include "base/text.h"
#include "file/archive/archive_listing.h"
#include "file/file_system.h"
#include "file/places/description.h"
#include "file/places/directory_names.h"

#include <algorithm>
#include <cstring>

namespace vl {
namespace {

using platform::FileKind;

struct Item {
    std::size_t name;   ///< where it begins
    std::uint32_t rank; ///< its place's position in the list
    bool isDirectory;   ///< known of archives alone
    const V_File::VASFileEntry *file;
};

/// The names that all places have, as they come.
class Collection {
  public:
    Collection(const PlaceList &places, const SearchPattern &pattern) : m_pattern(pattern) {
        for (std::uint32_t rank = 0; rank < places.size(); ++rank) {
            const Place &place = places[rank];
            const std::string_view onTheWay = pattern.nameOnTheWayTo(place);
            if (!onTheWay.empty()) {
                Path name;
                name.tryAppend(onTheWay);
                if (pattern.matches(name.text()))
                    add(name.view(), rank, true, nullptr);
            } else if (place.archive) {
                addArchive(place, rank);
            } else {
                addDirectory(place, rank);
            }
        }
        std::sort(items.begin(), items.end(), [this](const Item &a, const Item &b) {
            const int order = compareUpper(nameOf(a), nameOf(b));
            return order != 0 ? order < 0 : a.rank != b.rank ? a.rank < b.rank : a.name < b.name;
        });
    }

    const char *nameOf(const Item &item) const { return names.data() + item.name; }

    static int compareUpper(const char *a, const char *b) {
        for (; upper(*a) == upper(*b); ++a, ++b)
            if (*a == 0)
                return 0;
        return static_cast<unsigned char>(upper(*a)) < static_cast<unsigned char>(upper(*b)) ? -1 : 1;
    }

    std::vector<Item, CountedAllocator<Item>> items;
    std::vector<char, CountedAllocator<char>> names;

  private:
    void add(std::string_view name, std::uint32_t rank, bool isDirectory, const V_File::VASFileEntry *file) {
        items.push_back({names.size(), rank, isDirectory, file});
        names.insert(names.end(), name.begin(), name.end());
        names.push_back(0);
    }

    void addDirectory(const Place &place, std::uint32_t rank) {
        DirectoryNames directory;
        directory.begin(m_pattern, place);
        while (const char *name = directory.next(m_pattern))
            add(name, rank, false, nullptr);
    }

    void addArchive(const Place &place, std::uint32_t rank) {
        const std::size_t offset = place.offsetIn(m_pattern.directoryPath());
        if (offset == std::string_view::npos)
            return;
        ArchiveListing listing(*place.archive, m_pattern.directory.view().substr(offset),
                               m_pattern.names.text(), m_pattern.wholeElements);
        while (const V_File::VASFileEntry *file = listing.nextFile())
            add(listing.fileName(), rank, false, file);
        while (const char *name = listing.nextDirectory())
            add(name, rank, true, nullptr);
    }

    const SearchPattern &m_pattern;
};

/// What a name stands for, asked of the disk where it lies there. False when it has vanished meanwhile.
bool describe(V_ListedFile &out, const Item &item, const Place &place, const SearchPattern &pattern,
              const char *name) {
    out.place = place.id;
    out.isArchived = static_cast<bool>(place.archive);
    if (item.file || item.isDirectory) {
        describeEntry(out, item.file);
        return true;
    }
    Path path = searchedDirectory(pattern, place);
    platform::FileIdentity identity{};
    const bool fits = path.tryAppend(path.endsWithBackslash() ? "" : "\\") && path.tryAppend(name);
    // A name that fits no path is there, but can only be listed.
    const FileKind kind = fits ? platform::fileStatus(path.view(), identity) : FileKind::File;
    describeOnDisk(out, kind, identity);
    return kind != FileKind::None;
}

} // namespace

DirectoryView::DirectoryView(const FileSystem &system, const char *pattern) {
    const SearchPattern wanted(system.names, pattern);
    const PlaceList &places = *system.activePlaces();
    const Collection found(places, wanted);
    std::vector<std::size_t, CountedAllocator<std::size_t>> starts;
    for (auto first = found.items.begin(); first != found.items.end();) {
        const auto last = std::find_if(first, found.items.end(), [&](const Item &item) {
            return Collection::compareUpper(found.nameOf(*first), found.nameOf(item)) != 0;
        });
        const Item *answers = nullptr;
        V_ListedFile listed{};
        for (auto item = first; item != last; ++item) {
            V_ListedFile candidate{};
            if (!describe(candidate, *item, places[item->rank], wanted, found.nameOf(*item)) ||
                (answers && candidate.isDirectory))
                continue;
            answers = &*item;
            listed = candidate;
            if (!listed.isDirectory)
                break;
        }
        if (answers) {
            const char *const name = found.nameOf(*answers);
            starts.push_back(m_names.size());
            m_names.insert(m_names.end(), name, name + std::strlen(name) + 1);
            m_files.push_back(listed);
        }
        first = last;
    }
    for (std::size_t i = 0; i < m_files.size(); ++i)
        m_files[i].name = m_names.data() + starts[i];
}

} // namespace vl
