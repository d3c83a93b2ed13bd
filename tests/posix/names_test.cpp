// Names without regard to case: random trees under random changes, every answer judged by an implementation
// that reads the directories anew each time.

#include "tests/support/library_test.h"

#include "platform/platform.h"
#include "platform/posix/directory_cache.h"

#include <chrono>
#include <fstream>
#include <optional>
#include <random>
#include <strings.h>
#include <vector>

namespace fs = std::filesystem;
using namespace vl::platform;

namespace {

using Names = std::vector<std::string>;

std::string numbered(const char *text, unsigned int number) {
    return std::string(text).append(std::to_string(number));
}

/// What a path leads to; nothing, too, behind a symbolic link that leads nowhere or in a circle.
FileKind kindOf(const fs::path &path) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    return fs::is_directory(status) ? FileKind::Directory
           : fs::exists(status)     ? FileKind::File
                                    : FileKind::None;
}
bool isDirectory(const fs::path &path) { return kindOf(path) == FileKind::Directory; }

/// The place that `names` mean below `directory`; nothing when there is no directory to hold the last one.
std::optional<fs::path> resolve(fs::path directory, const Names &names) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (!isDirectory(directory))
            return std::nullopt;
        std::string best;
        for (const auto &entry : fs::directory_iterator(directory)) {
            const std::string name = entry.path().filename().string();
            if (strcasecmp(name.c_str(), names[i].c_str()) == 0 &&
                (best.empty() || name == names[i] || (best != names[i] && name < best)))
                best = name;
        }
        if (best.empty() && i + 1 != names.size())
            return std::nullopt;
        directory /= best.empty() ? names[i] : best;
    }
    return directory;
}

std::string contents(std::FILE *file) {
    char block[256];
    std::string text(block, std::fread(block, 1, sizeof block, file));
    std::fclose(file);
    return text;
}

/// Keeps looking until every listing is old enough to be kept.
template <class Look>
void waitWith(Look look) {
    const auto start = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(60))
        look();
    look();
}

/// A file system without a disk, where there is one.
fs::path memoryDirectory() { return fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path(); }

/// A tree of few names in many spellings, changed and looked at at random.
class RandomTree {
  public:
    RandomTree(unsigned int seed, const fs::path &parent) : m_directory(parent), m_random(seed) {}

    const fs::path &root() const { return m_directory.path(); }

    /// Changes the tree behind the layer's back.
    void change() {
        const fs::path place = root() / join(randomNames(), '/');
        std::error_code ignored;
        const unsigned int kind = draw(6);
        if (kind < 2)
            fs::create_directories(place, ignored);
        else if (kind == 2)
            std::ofstream(place) << "outside " << ++m_uFiles;
        else if (kind == 3)
            fs::rename(place, root() / join(randomNames(), '/'), ignored);
        else if (kind == 5)
            fs::remove_all(place, ignored);
        else if (kindOf(place.parent_path()) != FileKind::None)
            fs::create_directory_symlink(root() / randomNames().front(), place, ignored);
    }

    /// Changes the tree through the layer and checks that the right place changed.
    void changeThroughLayer() {
        const Names names = randomNames();
        const std::string path = enginePath(root()) + '\\' + join(names, '\\');
        const std::optional<fs::path> place = resolve(root(), names);
        const bool present = place && fs::exists(fs::symlink_status(*place));
        SCOPED_TRACE(path);
        const unsigned int kind = draw(3);
        if (kind == 0) {
            const std::string text = numbered("inside ", ++m_uFiles);
            std::FILE *const file = openFile(path.c_str(), "wb");
            ASSERT_EQ(file != nullptr, place && !isDirectory(*place) && isUsable(*place));
            if (file) {
                std::fputs(text.c_str(), file);
                std::fclose(file);
                ASSERT_EQ(readFile(*place), text);
            }
        } else if (kind == 1) {
            ASSERT_EQ(createDirectory(path.c_str()), place && !present);
            ASSERT_TRUE(!place || present || isDirectory(*place));
        } else {
            ASSERT_EQ(removeFile(path.c_str()), present && !isRealDirectory(*place));
            ASSERT_TRUE(!present || isRealDirectory(*place) == fs::exists(fs::symlink_status(*place)));
        }
    }

    void look() {
        const Names names = randomNames();
        const std::string path = enginePath(root()) + '\\' + join(names, '\\');
        const std::optional<fs::path> place = resolve(root(), names);
        SCOPED_TRACE(path);
        const FileKind kind = place ? kindOf(*place) : FileKind::None;
        ASSERT_EQ(fileKind(path.c_str()), kind);
        std::FILE *const file = openFile(path.c_str(), "rb");
        ASSERT_EQ(file != nullptr, kind == FileKind::File);
        if (file) {
            ASSERT_EQ(contents(file), readFile(*place));
        }
    }

    void changeSomehow() { draw(2) != 0 ? change() : changeThroughLayer(); }

    void lookForAWhile() {
        waitWith([this] {
            if (!testing::Test::HasFatalFailure())
                look();
        });
    }

    unsigned int draw(unsigned int count) { return static_cast<unsigned int>(m_random() % count); }

  private:
    Names randomNames() {
        static const Names spellings = {"a",     "A",     "dir", "Dir", "DIR",        "dIr",
                                        "b.txt", "B.TXT", "[x]", "{x}", "\xC3\xA4.1", "\xC3\x84.1"};
        Names names(1 + draw(3));
        for (std::string &name : names)
            name = spellings[draw(static_cast<unsigned int>(spellings.size()))];
        return names;
    }

    static std::string join(const Names &names, char separator) {
        std::string text;
        for (const std::string &name : names)
            text += (text.empty() ? "" : std::string(1, separator)) + name;
        return text;
    }

    static bool isRealDirectory(const fs::path &path) { return fs::is_directory(fs::symlink_status(path)); }

    /// Not a symbolic link that leads nowhere.
    static bool isUsable(const fs::path &path) {
        return !fs::is_symlink(fs::symlink_status(path)) || kindOf(path) != FileKind::None;
    }

    TemporaryDirectory m_directory;
    std::mt19937 m_random;
    unsigned int m_uFiles = 0;
};

TEST(PlatformNames, AreFoundInTreesThatChangeBetweenAnyTwoLooks) {
    const fs::path before = fs::current_path();
    for (unsigned int seed = 1; seed <= 4; ++seed) {
        RandomTree tree(seed, seed <= 2 ? fs::temp_directory_path() : memoryDirectory());
        if (seed % 2 == 0) {
            ASSERT_TRUE(setCurrentDirectory(enginePath(tree.root()).c_str()));
        }
        for (int i = 0; i < 60; ++i)
            tree.change();
        // First with fresh time stamps throughout, then with listings kept between the changes.
        for (int i = 0; i < 300 && !HasFatalFailure(); ++i) {
            tree.changeSomehow();
            for (int j = 0; j < 4 && !HasFatalFailure(); ++j)
                tree.look();
        }
        for (int i = 0; i < 3 && !HasFatalFailure(); ++i) {
            tree.lookForAWhile();
            for (int j = 0; j < 3; ++j) {
                tree.changeSomehow();
                for (int k = 0; k < 20 && !HasFatalFailure(); ++k)
                    tree.look();
            }
        }
        fs::current_path(before);
        ASSERT_FALSE(HasFatalFailure()) << "seed " << seed;
    }
}

TEST(PlatformNames, AreFoundWithoutReadingTheDirectoryAgain) {
    const fs::path before = fs::current_path();
    for (const bool isCurrent : {false, true}) {
        const TemporaryDirectory parent;
        const fs::path place = parent.path() / "place";
        fs::create_directory(place);
        std::ofstream(place / "Found.txt") << "x";
        const std::string start = enginePath(place) + '\\';
        if (isCurrent) {
            ASSERT_TRUE(setCurrentDirectory(start.c_str()));
        }
        const auto expectFound = [&](const char *name, FileKind kind) {
            EXPECT_EQ(fileKind((start + name).c_str()), kind) << name << isCurrent;
        };
        const auto lookAtAll = [&] {
            expectFound("FOUND.TXT", FileKind::File);
            expectFound("missing.txt", FileKind::None);
            expectFound("missing\\deeper\\name.txt", FileKind::None);
        };
        // A listing is not believed while the time stamp is young, and then for good.
        const DirectoryCache &cache = DirectoryCache::instance();
        const std::uint64_t fresh = cache.directoriesRead();
        expectFound("FOUND.TXT", FileKind::File);
        expectFound("FOUND.TXT", FileKind::File);
        EXPECT_EQ(cache.directoriesRead(), fresh + 2);
        waitWith(lookAtAll);
        const std::uint64_t settled = cache.directoriesRead();
        for (int i = 0; i < 100; ++i)
            lookAtAll();
        EXPECT_EQ(cache.directoriesRead(), settled);

        // Another directory in its place, made to carry the same time of modification, is not taken for it.
        const auto modified = fs::last_write_time(place);
        fs::rename(place, parent.path() / "moved");
        fs::create_directory(place);
        std::ofstream(place / "MISSING.txt") << "x";
        fs::last_write_time(place, modified);
        expectFound("missing.txt", FileKind::File);
        expectFound("FOUND.TXT", FileKind::None);
        fs::current_path(before);
    }
}

TEST(PlatformNames, AreFoundInMoreDirectoriesThanAreKept) {
    const TemporaryDirectory directory(memoryDirectory());
    const unsigned int count = DirectoryCache::maxDirectories + 50;
    for (unsigned int i = 0; i < count; ++i)
        fs::create_directories(directory.path() / numbered("d", i) / "a");
    for (int round = 0; round < 2; ++round)
        for (unsigned int i = 0; i < count; ++i) {
            const std::string inner = directory.enginePath() + numbered("\\D", i);
            ASSERT_EQ(fileKind((inner + "\\A").c_str()), FileKind::Directory);
            ASSERT_EQ(fileKind((inner + "\\b").c_str()), FileKind::None);
        }
}

TEST(PlatformNames, AreFoundInDirectoriesThatTakeMoreThanTheCacheHolds) {
    const TemporaryDirectory directory(memoryDirectory());
    const unsigned int sizes[] = {20, 40, 60, 500};
    for (const unsigned int size : sizes)
        for (unsigned int i = 0; i < size; ++i)
            fs::create_directories(directory.path() / numbered("", size) / numbered("name", i));
    // Room for any two of the first three, never for the last.
    DirectoryCache cache(2300);
    const auto lookAtAll = [&] {
        for (const unsigned int size : sizes)
            for (const unsigned int i : {0u, size - 1, size}) {
                const std::string place = (directory.path() / numbered("", size)).string();
                std::string name = numbered("NAME", i);
                ASSERT_EQ(cache.find(place, name.data(), name.size()),
                          i < size ? NameMatch::OtherCase : NameMatch::Missing);
                ASSERT_EQ(name, numbered(i < size ? "name" : "NAME", i));
            }
    };
    waitWith(lookAtAll);
    const std::uint64_t settled = cache.directoriesRead();
    lookAtAll();
    // All three looks at the large one, and one at each of those that take turns.
    EXPECT_GE(cache.directoriesRead(), settled + 3 + 1);
    EXPECT_LE(cache.directoriesRead(), settled + 3 + 3);
}

} // namespace
