// The search: its three sources and their order, directories in patterns, and tables that hold odd things.

#include "support/archive_builder.h"
#include "support/failing_allocation.h"
#include "support/library_test.h"
#include "support/plain_wildcards.h"

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

} // namespace

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
    ArchiveBuilder archive;
    load(archive.add("\\data\\maps\\archived.map", "").add("\\top.map", "").add("\\data\\x.map", ""));
    for (const char *pattern :
         {"data\\maps\\*.map", "/data/maps/*.map", "DATA\\Maps\\*", "data\\..\\data\\maps\\*"})
        EXPECT_EQ(find(pattern), (Names{"disk.map", "archived.map"})) << pattern;
    EXPECT_EQ(find("\\*.map"), (Names{"root.map", "top.map"}));
    EXPECT_EQ(find("..\\..\\*.map"), (Names{"root.map", "top.map"}));
    EXPECT_EQ(find("data\\*"), (Names{"maps", "maps", "x.map"}));
    EXPECT_EQ(find("nowhere\\*"), Names{});
    EXPECT_EQ(find("data\\maps\\"), Names{});

    File->changeDirectory("data\\maps");
    EXPECT_EQ(find("..\\*.map"), (Names{"x.map"}));
    File->setArchiveHandling(V_File::AH_DIRECTORIES);
    EXPECT_EQ(find("*.map"), (Names{"root.map"}));
    EXPECT_EQ(find((engineRoot() + "\\data\\maps\\*").c_str()), (Names{"disk.map"}));
}

TEST_F(Search, TakesDotsOfTheNameForNothingElse) {
    writeFile(root() / "data" / "..odd..name", "1");
    load(ArchiveBuilder());
    for (const char *pattern : {"data\\..*", "data\\*..name", "data\\*"})
        EXPECT_EQ(find(pattern), Names{"..odd..name"}) << pattern;
}

// Random trees, spread over several archives of which most lack most directories, beside a plain model.
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
    const auto less = [](const std::string &a, const std::string &b) {
        return V_StringI(a.c_str()) < V_StringI(b.c_str());
    };
    for (const std::string &directory : directories)
        for (const char *pattern : {"*", "*.x", "?b*", "A*.y", "aa.x"}) {
            Names subdirectories, files;
            if (directory == "\\")
                for (std::size_t i = 0; i < archives.size(); ++i)
                    if (const std::string name = "A" + std::to_string(i) + ".VAS";
                        matchesPlainly(pattern, name))
                        subdirectories.push_back(name); // the archives themselves, on disk
            for (const ArchiveBuilder &archive : archives) {
                std::set<std::string, decltype(less)> subdirectory(less), file(less);
                for (const std::string &path : archive.directories) {
                    const bool below =
                        path.size() > directory.size() &&
                        V_StringI(path.substr(0, directory.size()).c_str()) == directory.c_str();
                    const std::string rest = below ? path.substr(directory.size()) : "\\\\";
                    if (rest.find('\\') == rest.size() - 1 &&
                        matchesPlainly(pattern, rest.substr(0, rest.size() - 1)))
                        subdirectory.insert(rest); // sorted with the backslash
                }
                for (const auto &record : archive.records)
                    if (V_StringI(archive.directories[record.dirIndex].c_str()) == directory.c_str() &&
                        matchesPlainly(pattern, record.name))
                        file.insert(record.name);
                for (const std::string &name : subdirectory)
                    subdirectories.push_back(name.substr(0, name.size() - 1));
                files.insert(files.end(), file.begin(), file.end());
            }
            subdirectories.insert(subdirectories.end(), files.begin(), files.end());
            EXPECT_EQ(find((directory + pattern).c_str()), subdirectories) << directory << pattern;
        }
}

TEST_F(Search, LeavesOutNamesThatNoPathCanHold) {
    load(ArchiveBuilder()
             .add("\\" + std::string(255, 'n'), "1")
             .add("\\" + std::string(256, 'm'), "1")
             .add("\\" + std::string(300, 'd') + "\\x", "1")
             .add("\\..\\..", "1")
             .add("\\.\\x", "1")
             .add("\\", "1"));
    EXPECT_EQ(find("n*"), Names{std::string(255, 'n')});
    for (const char *pattern : {"m*", "d*", "?", "..*", ""})
        EXPECT_EQ(find(pattern), Names{}) << pattern;
    EXPECT_THROW(File->findFirst(std::string(256, '*').c_str()), V_FileException_PathTooLong *);
    EXPECT_EQ(File->findNext(), nullptr);
    File->enableFilenameLengthLimitation(true);
    EXPECT_THROW(File->findFirst(std::string(43, '*').c_str()), V_FileException_FilenameTooLong *);
    File->enableFilenameLengthLimitation(false);
}

TEST_F(Search, EndsWhenItsArchivesGo) {
    load(ArchiveBuilder().add("\\a.txt", "1").add("\\b.txt", "1").add("\\sub\\c.txt", "1"));
    ArchiveBuilder().add("\\p.txt", "1").write(root() / "priority.vas2");
    for (const char *first : {"A.VAS", "sub", "a.txt"}) {
        const char *name = File->findFirst("*");
        while (name && std::string(name) != first)
            name = File->findNext();
        File->setFileSystemRoot(engineRoot().c_str());
        EXPECT_EQ(File->findNext(), nullptr);
    }
    File->enablePriorityArchive("priority.vas2");
    EXPECT_STREQ(File->findFirst("p.txt"), "p.txt");
    File->disablePriorityArchive();
    EXPECT_EQ(File->findNext(), nullptr);
}

TEST_F(Search, SurvivesEveryFailingAllocation) {
    load(ArchiveBuilder().add("\\a.txt", "1").add("\\sub\\c.txt", "1"));
    find("*");
    const int atRest = outstanding();
    const int failures = failEachAllocation<V_MemoryException_Allocation *>(
        [] {
            for (const char *name = File->findFirst("*"); name; name = File->findNext())
                ;
        },
        [&] {
            EXPECT_EQ(find("*"), (Names{"A.VAS", "sub", "a.txt"}));
            expectAllReleased(atRest);
        });
    EXPECT_GT(failures, 1);
}
