// The places: random stacks of directories and archives beside a plain list of trees that answers the same
// questions, and what single places promise: their order, their files, the directory that is written to.

#include "tests/support/archive_builder.h"
#include "tests/support/library_test.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::string lowered(std::string text) {
    for (char &c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string parentOf(const std::string &path) { return path.substr(0, path.rfind('\\')); }
std::string nameOf(const std::string &path) { return path.substr(path.rfind('\\') + 1); }

/// One place as plainly as it can be put: its files by path in lower case (`\a\b.txt`), and its directories.
struct PlainPlace {
    unsigned int id = 0;
    bool isArchive = false;
    std::string at; ///< `\mods`, or empty
    fs::path onDisk;
    std::map<std::string, std::string> files;
    std::set<std::string> directories{""};

    enum Kind { None, TheFile, Directory };

    Kind kindOf(const std::string &path) const {
        if (at.size() > path.size() && at.starts_with(path) && at[path.size()] == '\\')
            return Directory;
        if (!path.starts_with(at) || (path.size() > at.size() && path[at.size()] != '\\'))
            return None;
        const std::string inside = path.substr(at.size());
        return files.count(inside) ? TheFile : directories.count(inside) ? Directory : None;
    }
    const std::string &content(const std::string &path) const { return files.at(path.substr(at.size())); }

    /// The names of a directory: what leads to the place, subdirectories, files.
    std::vector<std::set<std::string>> names(const std::string &path) const {
        std::vector<std::set<std::string>> result(3);
        if (at.size() > path.size() && kindOf(path) == Directory) {
            const std::string rest = at.substr(path.size() + 1);
            result[0].insert(rest.substr(0, rest.find('\\')));
        } else if (kindOf(path) == Directory) {
            const std::string inside = path.substr(at.size());
            for (const std::string &directory : directories)
                if (!directory.empty() && parentOf(directory) == inside)
                    result[1].insert(nameOf(directory));
            for (const auto &[file, content] : files)
                if (parentOf(file) == inside)
                    result[2].insert(nameOf(file));
        }
        return result;
    }
};

class RandomPlaces : public LibraryTest {
  protected:
    unsigned int below(std::size_t n) { return static_cast<unsigned int>(m_random() % n); }
    template <class T>
    const T &oneOf(const std::vector<T> &choices) {
        return choices[below(choices.size())];
    }

    const std::vector<std::string> directoryNames{"\\a", "\\a\\b", "\\mods", "\\mods\\x", "\\mods\\x\\y"};
    const std::vector<std::string> fileNames{"\\f",       "\\a\\g.txt", "\\a\\b\\h", "\\mods\\f",
                                             "\\mods\\x", "\\a\\f",     "\\b",       "\\mods\\x\\y\\i.dat"};

    PlainPlace makeContent(bool isArchive) {
        PlainPlace place;
        place.isArchive = isArchive;
        for (const std::string &directory : directoryNames)
            if (below(3) == 0 && place.directories.count(parentOf(directory)))
                place.directories.insert(directory);
        for (const std::string &file : fileNames)
            if (below(3) == 0 && place.directories.count(parentOf(file)) && !place.directories.count(file))
                place.files[file] = std::to_string(m_random()) + std::string(below(300), 'x');
        place.onDisk = m_outside.path() / std::to_string(m_uMade++);
        if (isArchive) {
            ArchiveBuilder archive;
            archive.addDirectory("\\");
            archive.archiverID = 77;
            for (const std::string &directory : place.directories)
                if (!directory.empty())
                    archive.addDirectory(directory + "\\");
            for (const auto &[file, content] : place.files)
                archive.add(file, content, 1 + below(3));
            archive.write(place.onDisk);
        } else {
            fs::create_directories(place.onDisk);
            writeOut(place);
        }
        return place;
    }

    static fs::path systemPath(const fs::path &base, std::string path) {
        std::replace(path.begin(), path.end(), '\\', '/');
        return base / path.substr(1);
    }
    static void writeOut(const PlainPlace &place) {
        for (const std::string &directory : place.directories)
            if (!directory.empty())
                fs::create_directories(systemPath(place.onDisk, directory));
        for (const auto &[file, content] : place.files)
            writeFile(systemPath(place.onDisk, file), content);
    }

    /// A name as a client might spell it.
    std::string spelled(const std::string &path) {
        std::string name = path;
        for (char &c : name)
            c = below(4) == 0                ? static_cast<char>(std::toupper(static_cast<unsigned char>(c)))
                : c == '\\' && below(3) == 0 ? '/'
                                             : c;
        return name;
    }

    std::size_t indexOf(unsigned int id) const {
        const auto found = std::find_if(m_places.begin(), m_places.end(),
                                        [id](const PlainPlace &place) { return place.id == id; });
        return static_cast<std::size_t>(found - m_places.begin());
    }
    bool hasWriteDirectory() const { return m_uWriteDirectory != 0; }
    PlainPlace &written() { return m_places[indexOf(hasWriteDirectory() ? m_uWriteDirectory : m_uRoot)]; }

    std::size_t positionFor(V_File::PlaceOrder order, unsigned int beside) const {
        const std::size_t first =
            hasWriteDirectory() && !m_places.empty() && m_places[0].id == m_uWriteDirectory ? 1 : 0;
        switch (order) {
        case V_File::PLACE_FIRST:
            return first;
        case V_File::PLACE_LAST:
            return m_places.size();
        case V_File::PLACE_BEFORE:
            return std::max(first, indexOf(beside));
        default:
            return indexOf(beside) + 1;
        }
    }
    V_File::PlaceOrder anyOrder() { return static_cast<V_File::PlaceOrder>(below(4)); }
    unsigned int anyId() { return m_places[below(m_places.size())].id; }

    void addPlace() {
        PlainPlace place = makeContent(below(2) == 0);
        place.at = oneOf<std::string>({"", "", "", "\\mods", "\\a\\b", "\\mods\\x"});
        const V_File::PlaceOrder order = anyOrder();
        const unsigned int beside = anyId();
        place.id = File->addPlace(enginePath(place.onDisk).c_str(), order,
                                  place.at.empty() ? "\\" : spelled(place.at).c_str(), beside);
        const auto position = static_cast<std::ptrdiff_t>(positionFor(order, beside));
        m_places.insert(m_places.begin() + position, place);
    }

    void movePlace() {
        const unsigned int id = anyId(), beside = anyId();
        const V_File::PlaceOrder order = anyOrder();
        if (id == beside || id == m_uWriteDirectory) {
            EXPECT_FALSE(File->movePlace(id, order, beside == m_uWriteDirectory ? id : beside));
            return;
        }
        EXPECT_TRUE(File->movePlace(id, order, beside));
        const PlainPlace place = m_places[indexOf(id)];
        m_places.erase(m_places.begin() + static_cast<std::ptrdiff_t>(indexOf(id)));
        m_places.insert(m_places.begin() + static_cast<std::ptrdiff_t>(positionFor(order, beside)), place);
    }

    void removePlace() {
        const unsigned int id = anyId();
        EXPECT_EQ(File->removePlace(id), id != m_uRoot);
        if (id == m_uRoot)
            return;
        m_places.erase(m_places.begin() + static_cast<std::ptrdiff_t>(indexOf(id)));
        if (id == m_uWriteDirectory)
            m_uWriteDirectory = 0;
    }

    void setWriteDirectory() {
        const bool apart = below(3) != 0;
        if (hasWriteDirectory())
            m_places.erase(m_places.begin());
        m_uWriteDirectory = 0;
        if (apart) {
            PlainPlace place = makeContent(false);
            File->setWriteDirectory(enginePath(place.onDisk).c_str());
            place.id = m_uWriteDirectory = (*V_FilePlaces().begin()).id;
            m_places.insert(m_places.begin(), place);
        } else {
            File->setWriteDirectory(below(2) == 0 ? nullptr : "");
        }
    }

    void failToChange() {
        const std::string damaged = enginePath(m_outside.path() / "damaged");
        writeFile(m_outside.path() / "damaged",
                  "no archive, but long enough to be taken for the header of one");
        EXPECT_THROW(File->addPlace(damaged.c_str()), V_FileException *);
        EXPECT_THROW(File->addPlace("nowhere"), V_FileException_FileNotFound *);
        EXPECT_THROW(File->addPlace(damaged.c_str(), V_File::PLACE_BEFORE, "\\", 999'999),
                     V_FileException_NoSuchPlace *);
        EXPECT_THROW(File->setWriteDirectory(damaged.c_str()), V_FileException_DirectoryNotFound *);
        EXPECT_FALSE(File->removePlace(999'999));
        EXPECT_FALSE(File->movePlace(999'999, V_File::PLACE_FIRST));
    }

    void save() {
        const std::string path = oneOf(fileNames), text = std::to_string(m_random());
        PlainPlace &place = written();
        bool works = place.kindOf(path) != PlainPlace::Directory;
        std::vector<std::string> created;
        for (std::string parent = parentOf(path); !parent.empty(); parent = parentOf(parent))
            if (!place.directories.count(parent))
                created.push_back(parent);
        // Below the local root the last directory alone is created.
        works &= created.size() <= 1 || hasWriteDirectory();
        for (const std::string &directory : created)
            works &= !place.files.count(directory);
        const bool anyFileAbove =
            std::any_of(created.begin(), created.end(),
                        [&](const std::string &directory) { return place.files.count(directory) != 0; });
        EXPECT_EQ(File->save(spelled(path).c_str(), text.data(), static_cast<unsigned int>(text.size())),
                  works)
            << path;
        if (!anyFileAbove && (created.size() <= 1 || hasWriteDirectory()))
            place.directories.insert(created.begin(), created.end());
        if (works)
            place.files[path] = text;
    }

    void erase() {
        const std::string path = oneOf(fileNames);
        EXPECT_EQ(File->del(spelled(path).c_str()), written().files.erase(path));
    }

    /// Moves a file of the place that is written to; to where a directory is, or from where no file is, it
    /// fails.
    void rename() {
        const std::string from = oneOf(fileNames), to = oneOf(fileNames);
        PlainPlace &place = written();
        const bool works =
            place.files.count(from) && place.directories.count(parentOf(to)) && !place.directories.count(to);
        if (place.directories.count(from) || !place.directories.count(parentOf(to)))
            return; // whole directories, and those that would be made on the way, are left to other tests
        try {
            File->rename(spelled(from).c_str(), spelled(to).c_str());
            EXPECT_TRUE(works) << from << to;
        } catch (V_FileException_OperationFailed *) {
            EXPECT_FALSE(works) << from << to;
        }
        if (works && from != to) {
            place.files[to] = place.files[from];
            place.files.erase(from);
        }
    }

    void changeDirectories() {
        const std::string path = oneOf(directoryNames);
        PlainPlace &place = written();
        bool works = true, isEmpty = place.directories.count(path) != 0;
        for (std::string part = path; !part.empty(); part = parentOf(part))
            works &= !place.files.count(part);
        for (const std::string &directory : place.directories)
            isEmpty &= directory.empty() || parentOf(directory) != path;
        for (const auto &[file, content] : place.files)
            isEmpty &= parentOf(file) != path;
        if (below(2) == 0) {
            try {
                File->removeDirectory(spelled(path).c_str());
                EXPECT_TRUE(isEmpty) << path;
            } catch (V_FileException_OperationFailed *) {
                EXPECT_FALSE(isEmpty) << path;
            }
            if (isEmpty)
                place.directories.erase(path);
        } else if (works) {
            File->createDirectory(spelled(path).c_str());
            for (std::string part = path; !part.empty(); part = parentOf(part))
                place.directories.insert(part);
        } else {
            EXPECT_THROW(File->createDirectory(spelled(path).c_str()), V_FileException_OperationFailed *);
        }
    }

    void expectAnswers(const std::string &path) {
        const std::string name = spelled(path.empty() ? "\\" : path);
        const PlainPlace *first = nullptr, *file = nullptr, *directory = nullptr;
        std::vector<unsigned int> all;
        for (const PlainPlace &place : m_places) {
            const PlainPlace::Kind kind = place.kindOf(path);
            if (kind == PlainPlace::None)
                continue;
            all.push_back(place.id);
            if (!first)
                first = &place;
            const PlainPlace *&known = kind == PlainPlace::TheFile ? file : directory;
            if (!known)
                known = &place;
        }
        const V_File::Location location = !first             ? V_File::LOC_NONE
                                          : first->isArchive ? V_File::LOC_ARCHIVE
                                                             : V_File::LOC_DISK;
        EXPECT_EQ(File->where(name.c_str()), location) << path;
        EXPECT_EQ(File->isDirectory(name.c_str()), directory != nullptr) << path;

        V_FileInfo info;
        const PlainPlace *const answers = file ? file : directory;
        ASSERT_EQ(File->find(name.c_str(), info), answers != nullptr) << path;
        if (answers) {
            EXPECT_EQ(info.place, answers->id) << path;
            EXPECT_EQ(info.isDirectory, answers != file) << path;
            EXPECT_EQ(info.isArchived, answers->isArchive) << path;
        }
        if (file) {
            const std::string &content = file->content(path);
            EXPECT_EQ(info.size, content.size());
            if (first == file) { // or a directory on disk hides it from some
                EXPECT_EQ(info.method, File->getMethod(name.c_str())) << path;
            }
            EXPECT_EQ(loaded(name), content) << path;
            V_FileStream stream(name.c_str(), 0);
            std::string read(content.size() + 1, ' ');
            read.resize(stream.read(read.data(), static_cast<unsigned int>(read.size())));
            EXPECT_EQ(read, content) << path;
        } else {
            EXPECT_THROW(V_FileStream(name.c_str(), 0), V_FileException_FileNotFound *);
        }
        V_FileInfo infos[20];
        ASSERT_EQ(File->findAll(name.c_str(), infos, 20), all.size()) << path;
        for (std::size_t i = 0; i < all.size(); ++i)
            EXPECT_EQ(infos[i].place, all[i]) << path;
    }

    void expectNames(const std::string &directory) {
        std::map<std::string, std::pair<unsigned int, bool>> merged; // by name: place, whether a file
        std::vector<std::string> onDisk, archivedDirectories, archivedFiles;
        for (const PlainPlace &place : m_places) {
            const auto names = place.names(directory);
            std::set<std::string> sorted = names[1];
            sorted.insert(names[2].begin(), names[2].end());
            for (int kind = 0; kind < 3; ++kind) {
                for (const std::string &name : names[static_cast<std::size_t>(kind)]) {
                    const auto [known, isNew] = merged.insert({name, {place.id, kind == 2}});
                    if (!isNew && kind == 2 && !known->second.second)
                        known->second = {place.id, true};
                }
            }
            onDisk.insert(onDisk.end(), names[0].begin(),
                          place.isArchive ? names[0].begin() : names[0].end());
            auto &other = place.isArchive ? archivedDirectories : onDisk;
            if (place.isArchive) {
                other.insert(other.end(), names[0].begin(), names[0].end());
                other.insert(other.end(), names[1].begin(), names[1].end());
                archivedFiles.insert(archivedFiles.end(), names[2].begin(), names[2].end());
            } else {
                other.insert(other.end(), sorted.begin(), sorted.end());
            }
        }
        onDisk.insert(onDisk.end(), archivedDirectories.begin(), archivedDirectories.end());
        onDisk.insert(onDisk.end(), archivedFiles.begin(), archivedFiles.end());

        const std::string pattern = spelled(directory) + "\\*";
        std::vector<std::string> found;
        for (const char *name : V_FileSearch(pattern.c_str()))
            found.push_back(lowered(name));
        EXPECT_EQ(found, onDisk) << pattern;
        const V_FileListing listing(pattern.c_str());
        ASSERT_EQ(listing.size(), merged.size()) << pattern;
        auto expected = merged.begin();
        for (const V_ListedFile &file : listing) {
            EXPECT_EQ(lowered(file.name), expected->first) << pattern;
            EXPECT_EQ(file.place, expected->second.first) << pattern << file.name;
            EXPECT_EQ(file.isDirectory, !expected->second.second) << pattern << file.name;
            ++expected;
        }
    }

    void expectList() {
        const V_FilePlaces places;
        ASSERT_EQ(places.size(), m_places.size());
        for (std::size_t i = 0; i < m_places.size(); ++i) {
            const V_FilePlace told = places[i];
            EXPECT_EQ(told.id, m_places[i].id);
            EXPECT_EQ(told.isArchive, m_places[i].isArchive);
            EXPECT_EQ(told.path, enginePath(m_places[i].onDisk));
            EXPECT_EQ(lowered(told.at), m_places[i].at.empty() ? "\\" : m_places[i].at);
            EXPECT_EQ(told.files, m_places[i].isArchive ? m_places[i].files.size() : 0);
            EXPECT_EQ(told.archiverID, m_places[i].isArchive ? 77u : 0u);
        }
    }

    void run(unsigned int stacks) {
        PlainPlace root;
        root.onDisk = this->root();
        root.id = m_uRoot = (*V_FilePlaces().begin()).id;
        m_places.push_back(root);
        for (unsigned int stack = 0; stack < stacks && !HasFailure(); ++stack) {
            SCOPED_TRACE("stack " + std::to_string(stack));
            if (m_places.size() < 3 || (m_places.size() < 15 && below(3) != 0))
                addPlace();
            for (const auto &[chance, change] : std::vector<std::pair<unsigned int, std::function<void()>>>{
                     {3, [this] { movePlace(); }},
                     {4, [this] { removePlace(); }},
                     {9, [this] { setWriteDirectory(); }},
                     {9, [this] { failToChange(); }},
                     {2, [this] { save(); }},
                     {4, [this] { erase(); }},
                     {4, [this] { rename(); }},
                     {4, [this] { changeDirectories(); }}})
                if (below(chance) == 0)
                    change();
            expectList();
            for (const std::string &path : fileNames)
                expectAnswers(path);
            for (const std::string &path : directoryNames)
                expectAnswers(path);
            expectAnswers("");
            for (const char *directory : {"", "\\a", "\\mods", "\\mods\\x", "\\nowhere"})
                expectNames(directory);
        }
    }

  private:
    TemporaryDirectory m_outside;
    std::mt19937 m_random{20};
    unsigned int m_uMade = 0, m_uRoot = 0, m_uWriteDirectory = 0;
    std::vector<PlainPlace> m_places;
};

TEST_F(RandomPlaces, AnswerAsAPlainListOfTrees) {
    const char *const count = std::getenv("VL_RANDOM_STACKS"); // many more are for long runs
    run(count ? static_cast<unsigned int>(std::atoi(count)) : 150);
}

using Places = LibraryTest;

TEST_F(Places, AddedArchivesStayTheFilesThatTheyWere) {
    TemporaryDirectory outside;
    const fs::path path = outside.path() / "addon.vas";
    const std::string large = pattern(100'000);
    ArchiveBuilder().add("\\stored", "old").add("\\packed", large, 2).write(path);
    const unsigned int id = File->addPlace(enginePath(path).c_str());
    V_FileStream stream("packed", 0);
    ArchiveBuilder().add("\\stored", "new").write(outside.path() / "other");
    fs::rename(path, outside.path() / "replaced"); // what is open may not be overwritten everywhere
    fs::rename(outside.path() / "other", path);
    EXPECT_EQ(loaded("stored"), "old");
    EXPECT_EQ(loaded("packed"), large);
    char bytes[3];
    EXPECT_EQ(V_UnbufferedFileStream("stored", 0).read(bytes, 3), 3u);
    EXPECT_EQ(std::string(bytes, 3), "old");

    // What is open goes on when the place is gone.
    V_FileSearch search("*");
    EXPECT_STREQ(search.next(), "packed");
    EXPECT_TRUE(File->removePlace(id));
    EXPECT_FALSE(File->removePlace(id));
    EXPECT_EQ(File->exists("stored"), 0);
    EXPECT_STREQ(search.next(), "stored");
    EXPECT_EQ(search.next(), nullptr);
    std::string read(large.size(), ' ');
    EXPECT_EQ(stream.read(read.data(), static_cast<unsigned int>(read.size())), read.size());
    EXPECT_EQ(read, large);

    // One that is written to itself is no longer what was added.
    const unsigned int second = File->addPlace(enginePath(path).c_str());
    std::ofstream(path, std::ios::app) << "more";
    EXPECT_THROW(loaded("stored"), V_FileException_ArchiveCorrupted *);
    File->removePlace(second);
    fs::resize_file(path, fs::file_size(path) - 6); // into the data of the file
    EXPECT_EQ(messageOf<V_FileException_UnableToReadData>([&] { File->addPlace(enginePath(path).c_str()); }),
              "Unable to read data from \"" + enginePath(path) + "\"");
    EXPECT_EQ(V_FilePlaces().size(), 1u);
}

TEST_F(Places, ArePutAsideWhileNamesAreThoseOfTheSystem) {
    TemporaryDirectory outside;
    writeFile(outside.path() / "a", "outside");
    writeFile(root() / "x.vas", "");
    fs::remove(root() / "x.vas");
    File->addPlace(outside.enginePath().c_str(), V_File::PLACE_FIRST, "mods");
    File->setWriteDirectory(outside.enginePath().c_str());
    File->setArchiveHandling(V_File::AH_DIRECTORIES);
    EXPECT_EQ(File->exists("mods\\a"), 0);
    EXPECT_EQ(File->save("b", "1", 1), 1);
    EXPECT_TRUE(fs::exists(root() / "b"));
    EXPECT_EQ(V_FilePlaces().size(), 3u);
    File->setArchiveHandling(V_File::AH_ARCHIVES);
    EXPECT_EQ(loaded("mods\\a"), "outside");
    File->changeDirectory("mods");
    EXPECT_EQ(loaded("a"), "outside");
    // Loading the archives of the root anew takes no added place away.
    File->setFileSystemRoot(engineRoot().c_str());
    EXPECT_EQ(loaded("mods\\a"), "outside");
}

TEST_F(Places, TheWriteDirectoryIsTheFirstPlaceAndNothingLeadsOutOfIt) {
    TemporaryDirectory outside;
    const fs::path user = outside.path() / "user", other = outside.path() / "other";
    fs::create_directories(user);
    fs::create_directories(other);
    writeFile(root() / "a", "root");
    writeFile(other / "victim", "intact");
    const bool linked = canLink(other, user / "link") && canLink(other / "victim", user / "file") &&
                        canLink(other / "made", user / "dangling");
    File->setWriteDirectory(enginePath(user).c_str());
    EXPECT_EQ(File->save("a", "user", 4), 1);
    EXPECT_EQ(loaded("a"), "user");
    EXPECT_EQ(readFile(root() / "a"), "root");
    EXPECT_EQ(File->append("deep\\er\\than\\one", "x", 1), 1);
    EXPECT_EQ(File->append("..\\..\\DEEP\\er\\..\\Er\\than\\one", "y", 1), 1);
    EXPECT_EQ(readFile(user / "deep" / "er" / "than" / "one"), "xy");
    for (const char *name : {"link\\new", "link\\victim", "file", "dangling", "link\\a\\b"}) {
        if (!linked)
            break;
        EXPECT_EQ(messageOf<V_FileException_OutsideWriteDirectory>([&] { File->save(name, "!", 1); }),
                  std::string("File ") + name + " leads out of the write directory");
        EXPECT_THROW(File->append(name, "!", 1), V_FileException_OutsideWriteDirectory *);
        EXPECT_THROW(File->del(name), V_FileException_OutsideWriteDirectory *);
    }
    EXPECT_EQ(readFile(other / "victim"), "intact");
    EXPECT_EQ(std::distance(fs::directory_iterator(other), fs::directory_iterator()), 1);
    if (linked) {
        EXPECT_EQ(loaded("link\\victim"), "intact"); // reading is another matter
    }
    char name[256];
    writeFile(user / "t0", "");
    writeFile(root() / "t1", "");
    EXPECT_EQ(File->tmpName(name, "t%d"), 1);
    EXPECT_STREQ(name, "t2");
    EXPECT_EQ(File->del("a"), 1);
    EXPECT_EQ(loaded("a"), "root");
}

TEST_F(Places, ElementsAreWholeOnRequest) {
    ArchiveBuilder().add("\\com_11..bvr", "archived").add("\\v1.\\x", "dot").write(root() / "A.VAS");
    writeFile(root() / "balls" / "..x", "disk");
    File->setFileSystemRoot(engineRoot().c_str());
    EXPECT_EQ(File->save("com_12..bvr", "1", 1), 1);
    EXPECT_TRUE(fs::exists(root() / "vr"));
    EXPECT_EQ(File->exists("com_11..bvr"), 1) << "the vr that was just written";
    EXPECT_EQ(File->save("balls\\..\\plain", "1", 1), 1);

    File->setWholeElements(true);
    EXPECT_TRUE(File->hasWholeElements());
    EXPECT_EQ(File->save("com_12..bvr", "22", 2), 1);
    EXPECT_EQ(File->exists("com_11..bvr"), 1) << "the vr that was just written";
    EXPECT_EQ(File->save("balls\\..\\plain", "1", 1), 1);

    File->setWholeElements(true);
    EXPECT_TRUE(File->hasWholeElements());
    EXPECT_EQ(File->save("com_12..bvr", "22", 2), 1);
    EXPECT_EQ(readFile(root() / "com_12..bvr"), "22");
    EXPECT_EQ(loaded("com_11..bvr"), "archived");
    EXPECT_EQ(loaded("v1.\\x"), "dot");
    for (const char *name : {"balls//..x", "balls\\.\\..x", ".\\none\\..\\balls\\..x", "/BALLS/..X"})
        EXPECT_EQ(loaded(name), "disk") << name;
    EXPECT_STREQ(File->getFullPathName("..\\..\\a\\\\b\\..\\...\\c.\\"), "\\a\\...\\c.");
    EXPECT_EQ(V_FileListing("*").size(), 7u); // A.VAS, balls, plain, v1., vr and both com_
    File->setArchiveHandling(V_File::AH_DIRECTORIES);
    EXPECT_EQ(File->getFullPathName("a//b..c\\..\\d"), engineRoot() + "\\a\\d");
}

TEST(PlacesLog, TellsOfNamesThatAreWrittenDifferently) {
    static std::string log;
    const TemporaryDirectory directory;
    const V_VantorInit library;
    File->setFileSystemRoot(directory.enginePath().c_str());
    Sys->setVerboseCallback([](const char *text) { log += text; });
    for (const char *name : {"a\\..\\plain", "..\\plain", "pl.ain", "com_12..bvr"})
        EXPECT_EQ(File->save(name, "1", 1), 1);
    Sys->setVerboseCallback(nullptr);
    Sys->ceaseVerbose(1);
    std::filesystem::current_path(std::filesystem::temp_directory_path());
    EXPECT_TRUE(
        log.ends_with("Warning: two dots in \"com_12..bvr\" take the element before them away: \"\\vr\" is "
                      "written\n"));
    EXPECT_EQ(log.find("plain"), log.npos);
}

} // namespace
