// Loading archives: damaged, cut short or without memory they are refused and leave nothing behind; parked,
// prioritised and reloaded they keep their order and are released in the end.

#include "tests/support/archive_builder.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/library_test.h"
#include "tests/support/program.h"

#include <optional>

namespace {

class ArchiveLoading : public LibraryTest {
  protected:
    /// Loads what the root holds now.
    void reload() { File->setFileSystemRoot(m_strRoot.c_str()); }

    std::string fullPath(const std::string &name) { return engineRoot() + "\\" + name; }

    /// An archive with one file, `\who`, that says `content`.
    void writeNamed(const std::string &path, const std::string &content) {
        std::filesystem::create_directories((root() / path).parent_path());
        ArchiveBuilder().add("\\who", content).write(root() / path);
    }

    const std::string m_strRoot = engineRoot();
};

ArchiveBuilder twoFiles() {
    ArchiveBuilder builder;
    builder.add("\\b.txt", "second").add("\\data\\a.txt", "first, packed packed packed", 2);
    return builder;
}

TEST_F(ArchiveLoading, RefusesTablesThatContradictTheirChecksumsOrThemselves) {
    using B = ArchiveBuilder;
    using Damage = void (*)(ArchiveBuilder &);
    const std::pair<const char *, Damage> damages[] = {
        {"header checksum", [](auto &b) { b.adjustHeader = [](auto &h) { h[B::HeaderCRC] = 1; }; }},
        {"file checksum", [](auto &b) { b.adjustHeader = [](auto &h) { h[B::FileInfoCRC] ^= 0x80; }; }},
        {"directory checksum", [](auto &b) { b.adjustHeader = [](auto &h) { h[B::DirInfoCRC] ^= 1; }; }},
        {"one file too many", [](auto &b) { b.adjustHeader = [](auto &h) { h[B::FileCount] = 3; }; }},
        {"one directory too many", [](auto &b) { b.adjustHeader = [](auto &h) { h[B::DirCount] = 3; }; }},
        {"all the files", [](auto &b) { b.adjustHeader = [](auto &h) { h[B::FileCount] = 0xFFFFFFFF; }; }},
        {"all directories", [](auto &b) { b.adjustHeader = [](auto &h) { h[B::DirCount] = 0x10000001; }; }},
        {"an endless file name", [](auto &b) { b.adjustFileInfo = [](auto &r) { r.assign(90, 'x'); }; }},
        {"an endless directory", [](auto &b) { b.adjustDirInfo = [](auto &r) { r.assign(40, 'x'); }; }},
        {"a file name over the next",
         [](auto &b) { b.adjustFileInfo = [](auto &r) { r.assign(60, 'x').resize(101); }; }},
        {"a directory over the next",
         [](auto &b) { b.adjustDirInfo = [](auto &r) { r.assign(30, 'x').resize(47); }; }},
        {"half a file record", [](auto &b) { b.adjustFileInfo = [](auto &r) { r.pop_back(); }; }},
        {"half a directory record", [](auto &b) { b.adjustDirInfo = [](auto &r) { r.pop_back(); }; }},
        {"a directory number of six digits", [](auto &b) { b.records[0].dirIndex = 100000; }},
        {"data beyond 4 GiB", [](auto &b) { b.records[0].storedSize = 0xFFFFFFFF; }},
        {"data beyond twice 4 GiB",
         [](auto &b) { b.records[0].storedSize = b.records[1].storedSize = 0xFFFFFFFF; }},
    };
    for (const auto &[name, damage] : damages) {
        SCOPED_TRACE(name);
        ArchiveBuilder builder = twoFiles();
        damage(builder);
        builder.write(root() / "Data.vas");
        EXPECT_EQ(messageOf<V_FileException_ArchiveCorrupted>([&] { reload(); }),
                  "Archive \"" + fullPath("Data.vas") + "\" is corrupted");
        EXPECT_EQ(File->where("\\b.txt"), V_File::LOC_NONE);
    }
    ArchiveBuilder newer = twoFiles();
    newer.adjustHeader = [](auto &header) { header[ArchiveBuilder::Version] = 0x3FA66666; };
    newer.write(root() / "Data.vas");
    EXPECT_EQ(messageOf<V_FileException_ArchiveVersionConflict>([&] { reload(); }),
              "Archive \"" + fullPath("Data.vas") +
                  "\" is v1.30 and VL-module is v1.20 - Update your archive");
}

TEST_F(ArchiveLoading, TakesWhatAReaderNeedNotMind) {
    ArchiveBuilder builder = twoFiles();
    builder.adjustFileInfo = [](auto &region) { region += "left over"; };
    builder.records[1].dirIndex = 77; // a directory without a record: never found
    for (const std::uint32_t seed : {0u, 1u, 0xFFFFFFFCu, 0x80000000u}) {
        builder.seed = seed;
        builder.write(root() / "a.VAS");
        reload();
        EXPECT_EQ(loaded("b.txt"), "second") << seed;
        EXPECT_EQ(File->where("\\data\\a.txt"), V_File::LOC_NONE);
    }
    ArchiveBuilder().write(root() / "a.VAS"); // nothing in it at all
    reload();
    EXPECT_EQ(File->isDirectory("\\"), 1);
    EXPECT_EQ(File->where("\\b.txt"), V_File::LOC_NONE);
}

TEST_F(ArchiveLoading, CutShortAnywhereSaysSo) {
    const std::string whole = twoFiles().bytes();
    const std::size_t dataSize = twoFiles().records[0].storedSize + twoFiles().records[1].storedSize;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        SCOPED_TRACE(length);
        writeFile(root() / "a.vas", whole.substr(0, length));
        if (length < whole.size() - dataSize) {
            EXPECT_EQ(messageOf<V_FileException_UnableToReadData>([&] { reload(); }),
                      "Unable to read data from \"" + fullPath("a.vas") + "\"");
            continue;
        }
        reload();
        if (length >= whole.size() - dataSize + 6) {
            EXPECT_EQ(loaded("b.txt"), "second");
        }
        unsigned char buffer[64];
        EXPECT_EQ(messageOf<V_FileException_UnableToReadData>([&] { File->load(buffer, "data/a.txt", 0); }),
                  "Unable to read data from \"\\data\\a.txt\"");
    }
    ArchiveBuilder announced = twoFiles();
    announced.adjustHeader = [](auto &header) { header[ArchiveBuilder::DirInfoSize] = 0xFFFFFFFF; };
    announced.write(root() / "a.vas");
    EXPECT_EQ(messageOf<V_FileException_UnableToReadData>([&] { reload(); }),
              "Unable to read data from \"" + fullPath("a.vas") + "\"");
}

TEST_F(ArchiveLoading, StopsAtTheFirstArchiveThatFails) {
    for (const char *name : {"a", "b", "c"})
        ArchiveBuilder().add(std::string("\\in-") + name, name).write(root() / (std::string(name) + ".vas"));
    writeFile(root() / "b.vas", "cut");
    EXPECT_EQ(messageOf<V_FileException_UnableToReadData>([&] { reload(); }),
              "Unable to read data from \"" + fullPath("b.vas") + "\"");
    EXPECT_EQ(loaded("in-a"), "a");
    EXPECT_EQ(File->where("in-c"), V_File::LOC_NONE);

    std::filesystem::remove(root() / "b.vas");
    std::filesystem::create_directory(root() / "b.vas");
    EXPECT_EQ(messageOf<V_FileException_ArchiveNotFound>([&] { reload(); }),
              "Archive " + fullPath("b.vas") + " not found");
}

TEST_F(ArchiveLoading, SurvivesTheFailureOfEveryAllocation) {
    twoFiles().write(root() / "a.vas");
    writeNamed("second/b.vas", "secondary");
    writeNamed("front.dat", "priority");
    const int atRest = outstanding();
    const auto loadAll = [&] {
        reload();
        File->setSecondaryArchiveSearchPath("second");
        File->enablePriorityArchive("front.dat");
    };
    const int failures = failEachAllocation<V_MemoryException_Allocation *>(loadAll, [&] {
        EXPECT_FALSE(File->isPriorityArchiveEnabled());
        File->setFileSystemRoot((engineRoot() + "\\second").c_str()); // the second try, elsewhere
        EXPECT_EQ(loaded("who"), "secondary");
        File->setFileSystemRoot("..");
        File->setSecondaryArchiveSearchPath("");
        File->setArchiveHandling(V_File::AH_ARCHIVES);
        EXPECT_EQ(loaded("b.txt"), "second");

        std::filesystem::rename(root() / "a.vas", root() / "a.away");
        reload();
        expectAllReleased(atRest);
        std::filesystem::rename(root() / "a.away", root() / "a.vas");
    });
    EXPECT_GT(failures, 30);
    EXPECT_EQ(loaded("who"), "priority");
}

TEST_F(ArchiveLoading, FailureToEnableAPriorityArchiveLeavesNone) {
    writeNamed("a.vas", "normal");
    writeNamed("front.dat", "priority");
    writeFile(root() / "broken.dat", "broken");
    reload();
    File->enablePriorityArchive("front.dat");
    EXPECT_EQ(loaded("who"), "priority");
    EXPECT_STREQ(File->getPriorityArchive(), "front.dat");
    EXPECT_EQ(messageOf<V_FileException_UnableToReadData>([] { File->enablePriorityArchive("broken.dat"); }),
              "Unable to read data from \"" + fullPath("broken.dat") + "\"");
    EXPECT_FALSE(File->isPriorityArchiveEnabled());
    EXPECT_EQ(loaded("who"), "normal");
    EXPECT_EQ(messageOf<V_FileException_ArchiveNotFound>([] { File->enablePriorityArchive("no.dat"); }),
              "Archive " + fullPath("no.dat") + " not found");
    EXPECT_EQ(messageOf<V_FileException_ArchiveNotFound>([] { File->enablePriorityArchive("D:\\a.vas"); }),
              "Archive D:\\a.vas not found");
    const std::string tooLong(300, 'x');
    EXPECT_THROW(File->enablePriorityArchive(tooLong.c_str()), V_FileException_PathTooLong *);
    EXPECT_THROW(File->setSecondaryArchiveSearchPath(tooLong.c_str()), V_FileException_PathTooLong *);
    EXPECT_EQ(loaded("who"), "normal");
}

TEST_F(ArchiveLoading, PriorityArchiveStaysFirstThroughParkingAndGoesWithTheRest) {
    writeNamed("second/c.vas", "secondary");
    writeNamed("a.vas", "normal");
    writeNamed("front.dat", "priority");
    reload();
    File->enablePriorityArchive("front.dat");
    File->setArchiveHandling(V_File::AH_DIRECTORIES);
    EXPECT_EQ(File->where("who"), V_File::LOC_NONE);
    File->setArchiveHandling(V_File::AH_ARCHIVES);
    EXPECT_EQ(loaded("who"), "priority");

    File->setArchiveHandling(V_File::AH_LOCAL_ROOT); // enabled and disabled while parked
    File->disablePriorityArchive();
    File->setArchiveHandling(V_File::AH_ARCHIVES);
    EXPECT_EQ(loaded("who"), "normal");
    File->setArchiveHandling(V_File::AH_DIRECTORIES);
    File->enablePriorityArchive("front.dat");
    File->setArchiveHandling(V_File::AH_DIRECTORIES);
    File->setArchiveHandling(V_File::AH_ARCHIVES);
    EXPECT_EQ(loaded("who"), "priority");

    reload(); // unloads it; the flag stays until it is disabled, which must not take another archive
    EXPECT_TRUE(File->isPriorityArchiveEnabled());
    File->disablePriorityArchive();
    EXPECT_FALSE(File->isPriorityArchiveEnabled());
    EXPECT_EQ(loaded("who"), "normal");

    EXPECT_FALSE(File->setSecondaryArchiveSearchPath("nowhere"));
    EXPECT_TRUE(File->setSecondaryArchiveSearchPath("second"));
    EXPECT_STREQ(File->getSecondaryArchiveSearchPath(), "second\\");
    EXPECT_EQ(loaded("who"), "normal");
    File->enablePriorityArchive("front.dat");
    File->setArchiveHandling(V_File::AH_LOCAL_ROOT);
    File->verifyArchiverID(1); // no archive is active
    reload();                  // those parked remain until shutdown
}

/// Start-up loads what lies beside the program, so the program is given a directory of its own.
TEST(ArchiveStartUp, LoadsTheArchivesBesideTheProgram) {
    const TemporaryDirectory directory(ownProgram().parent_path());
    twoFiles().write(directory.path() / "A.VAS");
    const Outcome outcome = // in that directory a start-up that fails early leaves its log
        runProgram(ownProgramIn(directory.path()),
                   "--gtest_also_run_disabled_tests --gtest_filter=ArchiveStartUp.DISABLED_*",
                   directory.path());
    EXPECT_EQ(outcome.status, 0) << outcome.output;
}

/// Run by the test above.
TEST(ArchiveStartUp, DISABLED_BesideTheProgram) {
    std::optional<V_VantorInit> library;
    const auto start = [&] {
        library.reset();
        library.emplace();
        EXPECT_EQ(File->where("b.txt"), V_File::LOC_ARCHIVE); // never started elsewhere
    };
    // First without a second try, so that what is done once per process meets every failure, too.
    failEachAllocation<V_MemoryException_Allocation *>(start, [] { EXPECT_EQ(Sys, nullptr); });
    library.reset();
    V_Memory::resetNewDeleteCounts();
    const int failures = failEachAllocation<V_MemoryException_Allocation *>(start, [&] {
        EXPECT_EQ(Sys, nullptr);
        EXPECT_EQ(File, nullptr);
        EXPECT_LE(V_Memory::getNewCount() - V_Memory::getDeleteCount(), 1);
        V_Memory::resetNewDeleteCounts();
        start();
        library.reset();
        EXPECT_EQ(V_Memory::getNewCount(), V_Memory::getDeleteCount());
    });
    library.reset();
    EXPECT_GT(failures, 10);
    std::filesystem::resize_file("A.VAS", 60);
    EXPECT_EQ(messageOf<V_FileException_UnableToReadData>(start).substr(0, 26),
              "Unable to read data from \"");
    EXPECT_EQ(Sys, nullptr);
}

} // namespace
