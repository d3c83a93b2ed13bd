// Reading archived files: every method gives back what was put in, in whole or in part, and damage of every
// kind is reported.

#include "tests/support/archive_builder.h"
#include "tests/support/library_test.h"

#include "vl/file/stream.h"

#include <chrono>
#include <random>
#include <sstream>

namespace {

class ArchiveReading : public LibraryTest {
  protected:
    void load(const ArchiveBuilder &builder) {
        builder.write(root() / "a.vas");
        File->setFileSystemRoot(engineRoot().c_str());
    }

    /// What the load into a buffer gives, whatever size it is told.
    static std::string inBuffer(const char *name, unsigned int size) {
        std::string buffer(File->size(name) + 1, '#');
        File->load(static_cast<void *>(buffer.data()), name, size);
        EXPECT_EQ(buffer.back(), '#');
        buffer.pop_back();
        return buffer;
    }
};

std::string randomText(std::size_t size, unsigned int kinds) {
    std::mt19937 random(kinds);
    std::string text(size, 0);
    for (char &c : text)
        c = static_cast<char>(random() % kinds);
    return text;
}

TEST_F(ArchiveReading, GivesBackWhatWasPutIn) {
    const std::string contents[] = {"x", std::string(1000, ' '), randomText(5000, 3), randomText(70000, 256),
                                    randomText(1200000, 256)};
    ArchiveBuilder builder;
    for (std::size_t i = 0; i < std::size(contents); ++i)
        for (std::uint32_t method = 1; method <= 3; ++method)
            builder.add("\\" + std::to_string(method) + std::to_string(i), contents[i], method);
    load(builder);
    for (std::size_t i = 0; i < std::size(contents); ++i)
        for (int method = 1; method <= 3; ++method) {
            const std::string name = std::to_string(method) + std::to_string(i);
            SCOPED_TRACE(name);
            const auto size = static_cast<unsigned int>(contents[i].size());
            EXPECT_EQ(loaded(name), contents[i]);
            EXPECT_EQ(inBuffer(name.c_str(), V_File::WHOLE_FILE), contents[i]);
            EXPECT_EQ(inBuffer(name.c_str(), 0), contents[i]);
            for (const unsigned int part : {1u, size / 2 + 1, size + 100}) {
                char *data = File->load("owner", name.c_str(), part);
                EXPECT_EQ(std::string(data, part), (contents[i] + std::string(100, 0)).substr(0, part));
                File->free(data);
            }
        }
}

TEST_F(ArchiveReading, ReadsTheExampleOfTheFormatsDescription) {
    const std::string text = readFile(VL_SOURCE_DIRECTORY "/docs/formats/archive.md");
    std::istringstream hex(text.substr(text.find("The file itself")));
    std::string word, bytes;
    while (hex >> word && word != "```") {
    }
    while (hex >> word && word != "```")
        bytes += static_cast<char>(std::stoi(word, nullptr, 16));
    ASSERT_EQ(bytes.size(), 173u);
    writeFile(root() / "a.vas", bytes);
    File->setFileSystemRoot(engineRoot().c_str());
    EXPECT_EQ(loaded("a.txt"), "abc");
    EXPECT_EQ(loaded("b.txt"), "aaaaaaaa");
    EXPECT_EQ(File->getMethod("b.txt"), 2);
    File->verifyArchiverID(7);
}

TEST_F(ArchiveReading, KnowsEmptyFilesAndIgnoresUnknownMethods) {
    ArchiveBuilder builder;
    builder.add("\\1", "", 1).add("\\2", "", 2).add("\\3", "", 3).add("\\9", "content", 9);
    builder.records[0].stored = std::string("VA->\0\0\0\0\2\0\0\0\1x", 14); // as some writers pack nothing
    builder.records[0].storedSize = 14;
    load(builder);
    for (const char *name : {"1", "2", "3"}) {
        EXPECT_EQ(inBuffer(name, V_File::WHOLE_FILE), "");
        EXPECT_EQ(messageOf<V_FileException_FileCorrupted>([&] { File->load(name, V_File::WHOLE_FILE); }),
                  std::string("File \\") + name + " is corrupted");
    }
    EXPECT_EQ(inBuffer("9", V_File::WHOLE_FILE), "#######");
    EXPECT_EQ(loaded("9"), std::string(7, 0));
}

TEST_F(ArchiveReading, ReportsDamagedEntries) {
    using Record = ArchiveBuilder::Record;
    const std::pair<const char *, void (*)(Record &)> damages[] = {
        {"no room for a header", [](Record &r) { r.storedSize = 11; }},
        {"one byte short", [](Record &r) { --r.storedSize; }},
        {"one byte too many", [](Record &r) { ++r.storedSize, r.stored += 'x'; }},
        {"another size in the table", [](Record &r) { ++r.size; }},
        {"an enormous size in the table", [](Record &r) { r.size = 0xFFFFFFFE; }},
        {"an enormous size in both",
         [](Record &r) { r.size = 0xFFFFFFFE, r.stored.replace(4, 4, "\xFE\xFF\xFF\xFF"); }},
        {"a larger size in both", [](Record &r) { ++r.size, ++r.stored[4]; }},
        {"a smaller size in both", [](Record &r) { --r.size, --r.stored[4]; }},
        {"another magic", [](Record &r) { r.stored[0] = 'W'; }},
        {"more code than there is", [](Record &r) { ++r.stored[8]; }},
        {"less code than there is", [](Record &r) { --r.stored[8]; }},
        {"other items", [](Record &r) { r.stored[12] = 0; }},
    };
    for (const auto &[name, damage] : damages)
        for (const std::uint32_t method : {1u, 2u, 3u}) {
            SCOPED_TRACE(testing::Message() << name << ", method " << method);
            ArchiveBuilder builder;
            builder.add("\\damaged", std::string(50, 'x') + "fox", 1);
            Record &record = builder.records[0];
            damage(record);
            record.method = method;
            if (method == 2)
                record.stored = scrambledPlainly(record.stored, record.seed);
            load(builder);
            unsigned char buffer[64];
            EXPECT_EQ(messageOf<V_FileException_FileCorrupted>([&] { File->load(buffer, "damaged", 0); }),
                      "File \\damaged is corrupted");
            EXPECT_THROW(File->load("damaged", V_File::WHOLE_FILE), V_FileException_FileCorrupted *);
            EXPECT_EQ(messageOf<V_FileException_FileCorrupted>([&] {
                          for (V_FileStream stream("damaged", 16); stream.read(buffer, 10) != 0;) {
                          }
                      }),
                      "File damaged is corrupted");
        }
}

TEST_F(ArchiveReading, TakesTablesAndDataFromOneFileWhenTheRootWasReplaced) {
    const auto app = root() / "app";
    std::filesystem::create_directory(app);
    ArchiveBuilder().add("\\f", "old").write(app / "a.bin");
    File->setFileSystemRoot((engineRoot() + "\\app").c_str());
    std::error_code isInUse;
    std::filesystem::rename(app, root() / "moved", isInUse);
    if (isInUse)
        GTEST_SKIP() << "the current directory stays";
    std::filesystem::create_directory(app);
    ArchiveBuilder().add("\\f", "new").write(app / "a.bin");
    File->enablePriorityArchive((engineRoot() + "\\app\\a.bin").c_str());
    EXPECT_EQ(loaded("f"), "new");
}

/// Neither half of one file and half of another, nor the bytes of a file that nobody has checked.
TEST_F(ArchiveReading, ReportsArchivesThatWereReplacedAfterLoading) {
    ArchiveBuilder archive;
    archive.add("\\stored", "old", 3).add("\\packed", "old old old old", 1);
    load(archive);
    const auto time = std::filesystem::last_write_time(root() / "a.vas");
    const std::string said = "Archive \"" + engineRoot() + "\\a.vas\" is corrupted";
    char buffer[16];
    const auto expectRefused = [&] {
        for (const char *name : {"stored", "packed"}) {
            EXPECT_EQ(messageOf<V_FileException_ArchiveCorrupted>([&] { File->load(buffer, name, 0); }),
                      said);
            EXPECT_EQ(messageOf<V_FileException_ArchiveCorrupted>([&] { V_FileStream(name, 0); }), said);
        }
        EXPECT_EQ(messageOf<V_FileException_ArchiveCorrupted>([&] { V_UnbufferedFileStream("stored", 0); }),
                  said);
    };
    writeFile(root() / "a.vas", archive.bytes() + "more"); // in place
    std::filesystem::last_write_time(root() / "a.vas", time);
    expectRefused();
    writeFile(root() / "b", archive.bytes()); // another file, alike in all but its number
    std::filesystem::last_write_time(root() / "b", time);
    std::filesystem::rename(root() / "b", root() / "a.vas");
    expectRefused();
    File->setFileSystemRoot(engineRoot().c_str());
    File->load(buffer, "stored", 0);
    std::filesystem::last_write_time(root() / "a.vas", time + std::chrono::seconds(1));
    expectRefused();
}

TEST_F(ArchiveReading, ReportsArchivesThatVanishOrShrinkAfterLoading) {
    ArchiveBuilder builder;
    builder.add("\\stored", randomText(3000000, 256), 3).add("\\packed", randomText(3000000, 200), 1);
    load(builder);
    std::vector<unsigned char> buffer(3000000);
    std::filesystem::resize_file(root() / "a.vas", 2000000);
    for (const char *name : {"stored", "packed"})
        EXPECT_EQ(messageOf<V_FileException_UnableToReadData>([&] { File->load(buffer.data(), name, 0); }),
                  "Unable to read data from \"\\" + std::string(name) + "\"");
    std::filesystem::remove(root() / "a.vas");
    for (const char *name : {"stored", "packed"}) {
        EXPECT_EQ(messageOf<V_FileException_ArchiveNotFound>([&] { File->load(buffer.data(), name, 0); }),
                  "Archive " + engineRoot() + "\\a.vas not found");
        std::filesystem::create_directory(root() / "a.vas"); // in its place, a directory
    }
}

} // namespace
