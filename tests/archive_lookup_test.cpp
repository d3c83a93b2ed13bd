// Looking names up: which of disk and archives answers, in which spelling a name is found, and that every
// name of a large table is, with the index and without it.

#include "tests/support/archive_builder.h"
#include "tests/support/library_test.h"

#include "file/archive/archive_index.h"

#include <map>
#include <random>

namespace {

class ArchiveLookup : public LibraryTest {
  protected:
    void load(const ArchiveBuilder &builder, const std::string &path = "a.vas") {
        std::filesystem::create_directories((root() / path).parent_path());
        builder.write(root() / path);
        File->setFileSystemRoot(engineRoot().c_str());
    }
};

std::string toggled(std::string text) {
    for (char &c : text)
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'))
            c = static_cast<char>(c ^ 32);
    return text;
}

TEST_F(ArchiveLookup, IgnoresCaseAndTheKindOfSlash) {
    ArchiveBuilder builder;
    builder.add("\\Data\\ReadMe.txt", "r").add("\\top", "t").add("\\data\\maps\\x", "x");
    builder.addDirectory("\\empty\\");
    load(builder);
    for (const char *name : {"\\DATA\\README.TXT", "data/readme.txt", "/Data\\readMe.TXT", "top", "\\TOP"}) {
        EXPECT_EQ(File->where(name), V_File::LOC_ARCHIVE) << name;
        EXPECT_EQ(File->size(name), 1u) << name;
    }
    for (const char *name : {"", "\\", "data", "\\DATA\\", "Data\\Maps", "empty"})
        EXPECT_EQ(File->isDirectory(name), 1) << name;
    for (const char *name : {"readme.txt", "data\\readme", "data\\readme.txt2", "dat", "data\\top", "maps"}) {
        EXPECT_EQ(File->where(name), V_File::LOC_NONE) << name;
        EXPECT_EQ(File->isDirectory(name), 0) << name;
    }
    EXPECT_EQ(File->isDirectory("top"), 0);
    EXPECT_EQ(File->getMethod("data"), -1);
    File->changeDirectory("data\\MAPS");
    EXPECT_EQ(loaded("X"), "x");
    EXPECT_EQ(loaded("..\\readme.txt"), "r");
}

TEST_F(ArchiveLookup, TellsWhatTheTablesSay) {
    File->verifyArchiverID(5);
    ArchiveBuilder builder;
    builder.add("\\1", "x", 1).add("\\2", "x", 2).add("\\3", "x", 3).add("\\9", "x", 9);
    builder.archiverID = 0x80000001;
    load(builder);
    for (const int method : {1, 2, 3, 9})
        EXPECT_EQ(File->getMethod(std::to_string(method).c_str()), method);
    EXPECT_EQ(File->getMethod("4"), -1);
    EXPECT_EQ(File->timeStamp("1"), (((((2003u - 1995) * 12 + 7) * 31 + 24) * 24 + 13) * 60 + 14) * 60 + 15);

    const int id = static_cast<int>(0x80000001);
    File->verifyArchiverID(id);
    load(ArchiveBuilder().add("\\other", ""), "z.vas");
    EXPECT_EQ(messageOf<V_FileException_IncompatibleArchiverID>([&] { File->verifyArchiverID(id); }),
              "Archive \"" + engineRoot() + "\\z.vas\" is not compatible with this program");
    File->setArchiveHandling(V_File::AH_DIRECTORIES);
    File->verifyArchiverID(id);
}

/// A table of names in no order, among them equal ones, of which the first record counts. Sizes tell entries
/// apart.
class ManyNames {
  public:
    ArchiveBuilder builder;
    std::map<V_StringI, std::uint32_t> expected;

    void add(const std::string &path) {
        builder.add(path, "", 3);
        const auto number = static_cast<std::uint32_t>(builder.records.size());
        builder.records.back().size = number;
        expected.emplace(path.c_str(), number);
    }

    void check() const {
        for (const auto &[path, size] : expected) {
            ASSERT_EQ(File->size(toggled(path.c_str()).c_str()), size) << path.c_str();
            const V_StringI longer = path + "x";
            ASSERT_EQ(File->exists(longer.c_str()) != 0, expected.count(longer) != 0) << longer.c_str();
        }
        for (const std::string &directory : builder.directories)
            ASSERT_EQ(File->isDirectory(toggled(directory).c_str()), 1) << directory;
    }
};

TEST_F(ArchiveLookup, FindsEveryNameOfATableInNoOrder) {
    std::mt19937 random(3);
    static constexpr char letters[] = "aAbBzZ[_`@^0- \x7F\x80\xC4\xE4\xFF";
    const auto randomName = [&random](std::size_t longest) {
        std::string name;
        for (std::size_t length = 1 + random() % longest; length > 0; --length)
            name += letters[random() % (sizeof letters - 1)];
        return name;
    };
    ManyNames names;
    std::vector<std::string> directories = {"\\"};
    for (int i = 0; i < 60; ++i)
        directories.push_back(directories[random() % directories.size()] + randomName(3) + "\\");
    for (int i = 0; i < 4000; ++i) {
        const std::string name = randomName(i % 10 == 0 ? 100 : 4);
        names.add(directories[random() % directories.size()] + name);
    }
    load(names.builder);
    names.check();
}

TEST_F(ArchiveLookup, FindsNamesThatWereChosenToCollide) {
    // Directories that all want the same slot of the index, so that there will be none.
    constexpr std::uint32_t count = 200, slots = 512;
    ManyNames names;
    for (std::uint32_t i = 0; names.builder.directories.size() < count; ++i) {
        const std::string path = "\\d" + std::to_string(i) + "\\";
        const std::string padded = path + std::string(vl::archiveTextPadding, 0);
        if (vl::hashArchiveName(padded.data(), path.size()) % slots == 0)
            names.add(path + "file" + std::to_string(i));
    }
    load(names.builder);
    names.check();
}

} // namespace
