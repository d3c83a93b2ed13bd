// The search: its three sources and their order, directories in patterns, and tables that hold odd things.

#include "tests/support/archive_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/plain_wildcards.h"

#include <random>
#include <set>
#include <vector>

namespace {

using Names = std::vector<std::string>;

Names find(const char *pattern) {
    Names names;
    for (const char *name = File->findFirst(pattern); name; name = File->findNext())
        names.emplace_back(name);
    EXPECT_EQ(File->findNext(), nullptr);
    return names;
}

class Search : public LibraryTest {
  protected:
    void load(const ArchiveBuilder &archive) {
        archive.write(root() / "A.VAS");
        File->setFileSystemRoot(engineRoot().c_str());
    }
};

TEST_F(Search, ListsTheDiskThenArchivedDirectoriesThenArchivedFiles) {
    writeFile(root() / "data" / "b.dat", "1");
    writeFile(root() / "data" / "a.txt", "1");
    load(ArchiveBuilder()
             .add("\\data\\c.txt", "1")
             .add("\\data\\maps\\m.map", "1")
             .add("\\other\\d.txt", "1")
             .add("\\data\\a.txt", "1"));
    File->changeDirectory("data");
    EXPECT_EQ(find("*.txt"), (Names{"a.txt", "a.txt", "c.txt"}));
    EXPECT_EQ(find("*"), (Names{"a.txt", "b.dat", "maps", "a.txt", "c.txt"}));
    EXPECT_EQ(find(""), Names{});
}

TEST_F(Search, FollowsTheDirectoryOfThePattern) {
    writeFile(root() / "data" / "maps" / "disk.map", "1");
    writeFile(root() / "root.map", "1");
    writeFile(root() / "dots" / "..odd..name", "1");
    ArchiveBuilder archive;
    load(archive.add("\\data\\maps\\archived.map", "").add("\\top.map", "").add("\\data\\x.map", ""));
    for (const char *pattern :
         {"data\\maps\\*.map", "/data/maps/*.map", "DATA\\Maps\\*", "data\\..\\data\\maps\\*"})
        EXPECT_EQ(find(pattern), (Names{"disk.map", "archived.map"})) << pattern;
    EXPECT_EQ(find("\\*.map"), (Names{"root.map", "top.map"}));
    EXPECT_EQ(find("..\\..\\*.map"), (Names{"root.map", "top.map"}));
    EXPECT_EQ(find("data\\*"), (Names{"maps", "maps", "x.map"}));
    for (const char *pattern : {"dots\\..*", "dots\\*..name", "dots\\*"})
        EXPECT_EQ(find(pattern), Names{"..odd..name"}) << pattern;
    EXPECT_EQ(find("nowhere\\*"), Names{});
    EXPECT_EQ(find("data\\maps\\"), Names{});

    File->changeDirectory("data\\maps");
    EXPECT_EQ(find("..\\*.map"), (Names{"x.map"}));
    File->setArchiveHandling(V_File::AH_DIRECTORIES);
    EXPECT_EQ(find("*.map"), (Names{"root.map"}));
    EXPECT_EQ(find((engineRoot() + "\\data\\maps\\*").c_str()), (Names{"disk.map"}));
}

/// Random trees, spread over several archives of which most lack most directories, beside a plain model.
TEST_F(Search, FindsWhatAPlainWalkFinds) {
    std::mt19937 random(11);
    const Names directories = {"\\", "\\a\\", "\\a\\b\\", "\\a\\B2\\", "\\ab\\", "\\A\\b\\c\\", "\\z\\"};
    std::vector<ArchiveBuilder> archives(4);
    for (std::size_t i = 0; i < archives.size(); ++i) {
        std::set<std::string> taken;
        for (int file = 0; file < 60; ++file) {
            const std::string &directory = directories[random() % (i + 4)];
            const std::string name = std::string(1 + random() % 3, static_cast<char>('a' + random() % 3)) +
                                     (random() % 2 ? ".x" : ".Y");
            if (taken.insert(directory + name).second)
                archives[i].add(directory + name, "");
        }
        archives[i].write(root() / ("A" + std::to_string(i) + ".VAS"));
    }
    File->setFileSystemRoot(engineRoot().c_str());
    for (const std::string &directory : directories)
        for (const char *pattern : {"*", "*.x", "?b*", "A*.y", "aa.x"}) {
            Names expected, files;
            if (directory == "\\" && matchesPlainly(pattern, "A0.VAS"))
                expected = {"A0.VAS", "A1.VAS", "A2.VAS", "A3.VAS"}; // the archives themselves, on disk
            for (const ArchiveBuilder &archive : archives) {
                std::set<V_StringI> below, within; // directories sorted with their backslash
                for (const std::string &path : archive.directories) {
                    const std::size_t parent = path.rfind('\\', path.size() - 2);
                    if (path.size() > 1 && directory.c_str() == V_StringI(path.c_str(), parent + 1) &&
                        matchesPlainly(pattern, path.substr(parent + 1, path.size() - parent - 2)))
                        below.insert(path.c_str() + parent + 1);
                }
                for (const auto &record : archive.records)
                    if (directory.c_str() == V_StringI(archive.directories[record.dirIndex].c_str()) &&
                        matchesPlainly(pattern, record.name))
                        within.insert(record.name.c_str());
                for (const V_StringI &name : below)
                    expected.emplace_back(name.c_str(), name.size() - 1);
                for (const V_StringI &name : within)
                    files.emplace_back(name.c_str());
            }
            expected.insert(expected.end(), files.begin(), files.end());
            EXPECT_EQ(find((directory + pattern).c_str()), expected) << directory << pattern;
        }
}

TEST_F(Search, LeavesOutNamesThatNoPathCanHold) {
    load(ArchiveBuilder()
             .add("\\" + std::string(255, 'n'), "1")
             .add("\\" + std::string(256, 'm'), "1")
             .add("\\" + std::string(300, 'd') + "\\x", "1")
             .add("\\..\\..", "1")
             .add("\\.\\x", "1")
             .add("\\..x\\x", "1") // walked into, it would lead out again
             .add("\\end.\\x", "1")
             .add("\\x..y", "1")
             .add("\\", "1"));
    EXPECT_EQ(find("n*"), Names{std::string(255, 'n')});
    for (const char *pattern : {"m*", "d*", "?", "..*", "*..*", "e*", ""})
        EXPECT_EQ(find(pattern), Names{}) << pattern;
    EXPECT_THROW(File->findFirst(std::string(256, '*').c_str()), V_FileException_PathTooLong *);
    EXPECT_EQ(File->findNext(), nullptr);
    File->enableFilenameLengthLimitation(true);
    EXPECT_THROW(File->findFirst(std::string(43, '*').c_str()), V_FileException_FilenameTooLong *);
    File->enableFilenameLengthLimitation(false);
}

TEST_F(Search, GoesOnOverWhatItBeganWith) {
    load(ArchiveBuilder().add("\\a.txt", "1").add("\\b.txt", "1").add("\\sub\\c.txt", "1"));
    ArchiveBuilder().add("\\p1.txt", "1").add("\\p2.txt", "1").write(root() / "priority.vas2");
    ArchiveBuilder().add("\\q.txt", "1").write(root() / "other.vas2");
    File->enablePriorityArchive("priority.vas2");
    EXPECT_STREQ(File->findFirst("*.txt"), "p1.txt");
    File->enablePriorityArchive("other.vas2");
    EXPECT_STREQ(File->findNext(), "p2.txt");

    V_FileSearch outer("*.txt"), inner("sub\\*");
    EXPECT_STREQ(outer.next(), "q.txt");
    EXPECT_STREQ(inner.next(), "c.txt");
    File->disablePriorityArchive();
    File->setFileSystemRoot((engineRoot() + "\\.").c_str());
    EXPECT_EQ(File->findNext(), nullptr); // this one ends with its archives
    std::filesystem::remove(root() / "A.VAS");
    File->setFileSystemRoot(engineRoot().c_str());
    Names names;
    for (const char *name : outer)
        names.emplace_back(name);
    EXPECT_EQ(names, (Names{"a.txt", "b.txt"}));
    EXPECT_EQ(outer.next(), nullptr);
    EXPECT_EQ(inner.next(), nullptr);
    EXPECT_STREQ(V_FileSearch("*").next(), "other.vas2");
    outer = V_FileSearch("pr*");
    EXPECT_STREQ(V_FileSearch(std::move(outer)).next(), "priority.vas2");
}

} // namespace
