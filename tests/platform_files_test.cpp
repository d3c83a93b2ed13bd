// Files by name, enumeration and unbuffered reading.

#include "tests/support/library_test.h"

#include "platform/native.h"
#include "platform/platform.h"

#include <random>
#include <vector>

namespace fs = std::filesystem;
using namespace vl::platform;

namespace {

std::vector<std::string> enumerate(const std::string &pattern) {
    std::vector<std::string> names;
    Enumeration *const enumeration = startEnumeration(pattern.c_str());
    if (!enumeration)
        return {"none"};
    while (const char *name = nextName(enumeration))
        names.emplace_back(name);
    EXPECT_EQ(nextName(enumeration), nullptr);
    endEnumeration(enumeration);
    return names;
}

/// Reads the whole file sector by sector, three at a time, once forwards and once again from the middle.
void expectSameBytesUnbuffered(const fs::path &directory) {
    std::string bytes(100'003, '\0');
    std::generate(bytes.begin(), bytes.end(), std::mt19937(7));
    writeFile(directory / "Data.bin", bytes);
    FileIdentity identity;
    UnbufferedFile *const file = openUnbuffered(enginePath(directory / "DATA.bin").c_str(), identity);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(identity.length, bytes.size());
    const std::uint32_t sector = sectorSize(file);
    EXPECT_GE(sector, 512u);
    EXPECT_EQ(sector & (sector - 1), 0u);

    const std::uint32_t block = 3 * sector;
    std::vector<char> memory(block + sector);
    std::size_t room = memory.size();
    void *aligned = memory.data();
    char *const buffer = static_cast<char *>(std::align(sector, block, aligned, room));
    for (const std::uint32_t start : {0u, 8 * sector}) {
        std::string got;
        std::uint32_t count = 0;
        do {
            count = readUnbuffered(file, start + got.size(), buffer, block);
            got.append(buffer, count);
        } while (count == block);
        EXPECT_TRUE(got == bytes.substr(start)) << "from " << start;
    }
    EXPECT_EQ(readUnbuffered(file, std::uint64_t{1} << 40, buffer, block), 0u);
    EXPECT_EQ(readUnbuffered(file, ~std::uint64_t{0} - block + 1, buffer, block), 0u);
    closeUnbuffered(file);
}

TEST(PlatformFiles, OpenInTheModesOfStandardInputAndOutputButNeverADirectory) {
    const TemporaryDirectory directory;
    const std::string name = directory.enginePath() + "\\file.txt";
    for (const char *mode : {"rb", "r+b", "wb", "w+b", "ab", "a+b"})
        EXPECT_EQ(openFile(directory.enginePath().c_str(), mode), nullptr) << mode;
    for (const char *mode : {"rb", "r+b", "", "x", "wbq"})
        EXPECT_EQ(openFile(name.c_str(), mode), nullptr) << mode;
    EXPECT_EQ(openFile((name + '\\').c_str(), "wb"), nullptr);
    EXPECT_TRUE(fs::is_empty(directory.path()));

    writeFile(directory.path() / "file.txt", "abc");
    std::FILE *const file = openFile((directory.enginePath() + "\\FILE.TXT").c_str(), "a+b");
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(seekFile(file, 0));
    std::fputs("de", file);
    EXPECT_TRUE(seekFile(file, 1));
    char text[8] = {};
    EXPECT_EQ(std::fread(text, 1, sizeof text, file), 4u);
    EXPECT_STREQ(text, "bcde");
    EXPECT_FALSE(seekFile(file, ~std::uint64_t{0}));
    std::fclose(file);
    EXPECT_EQ(fileKind((name + '\\').c_str()), FileKind::None);
    EXPECT_FALSE(removeFile((name + '\\').c_str()));
    EXPECT_FALSE(removeFile(directory.enginePath().c_str()));
    EXPECT_TRUE(removeFile((directory.enginePath() + "\\FILE.txt").c_str()));
}

TEST(PlatformFiles, TellLengthsBeyond32BitsAndTheTimeOfTheLastWrite) {
    const TemporaryDirectory directory;
    const std::uint64_t size = std::uint64_t{5} << 30;
    writeFile(directory.path() / "big", "");
    fs::resize_file(directory.path() / "big", size);
    // 2040-02-29 12:34:56.789, a Wednesday, behind the end of 32-bit time.
    ASSERT_TRUE(setLastWrite(directory.path() / "big", {2040, 2, 0, 29, 12, 34, 56, 789}));

    const std::string name = directory.enginePath() + "\\BIG";
    std::FILE *const file = openFile(name.c_str(), "rb");
    ASSERT_NE(file, nullptr);
    std::uint64_t length = 0;
    EXPECT_TRUE(fileLength(file, length));
    EXPECT_EQ(length, size);
    EXPECT_TRUE(seekFile(file, size - 1));
    EXPECT_EQ(std::fgetc(file), 0);
    EXPECT_EQ(std::fgetc(file), EOF);
    std::fclose(file);

    FileIdentity identity;
    const FileHandle handle = openForReading(name.c_str(), identity, OpenAs::Named);
    ASSERT_NE(handle, noFile);
    EXPECT_EQ(identity.length, size);
    char last[2] = {1, 1};
    EXPECT_EQ(readAt(handle, size - 1, last, 2), 1u);
    EXPECT_EQ(last[0], 0);
    EXPECT_EQ(readAt(handle, size, last, 2), 0u);
    closeFile(handle);
    CalendarTime time;
    ASSERT_TRUE(toCalendar(identity, time));
    const std::vector<int> told = {time.year, time.month,  time.dayOfWeek, time.day,
                                   time.hour, time.minute, time.second,    time.milliseconds};
    EXPECT_EQ(told, (std::vector<int>{2040, 2, 3, 29, 12, 34, 56, 789}));
    for (const OpenAs as : {OpenAs::Named, OpenAs::Known}) {
        EXPECT_EQ(openForReading(directory.enginePath().c_str(), identity, as), noFile);
        EXPECT_EQ(openForReading((name + 'x').c_str(), identity, as), noFile);
    }
}

TEST(PlatformEnumeration, GivesMatchingNamesInUpperCaseOrder) {
    const TemporaryDirectory directory;
    fs::create_directories(directory.path() / "Inner" / "_dir.d");
    for (const char *name :
         {"b.txt", "B.TXT", "a.txt", "A1.txt", "_x", "Z", "y.dat", "back\\slash", ".hidden"})
        if (canNameFile(name))
            writeFile(directory.path() / "Inner" / name, "");
    const std::string inner = directory.enginePath() + "\\INNER\\";
    // An underscore comes after Z, and between names equal but for case the bytes decide.
    std::vector<std::string> all = {".hidden", "a.txt", "A1.txt", "B.TXT", "b.txt",
                                    "y.dat",   "Z",     "_dir.d", "_x"};
    std::vector<std::string> texts(all.begin() + 1, all.begin() + 5);
    if (!areNamesExact()) {
        std::erase(all, "B.TXT");
        std::erase(texts, "B.TXT");
    }
    EXPECT_EQ(enumerate(inner + "*"), all);
    EXPECT_EQ(enumerate(inner + "*.*"), all);
    EXPECT_EQ(enumerate(inner + "*.TXT"), texts);
    EXPECT_EQ(enumerate(inner + "?"), std::vector<std::string>{"Z"});
    EXPECT_EQ(enumerate(inner + "nothing"), std::vector<std::string>{});
    EXPECT_EQ(enumerate(directory.enginePath() + "\\missing\\*"), std::vector<std::string>{"none"});
    EXPECT_EQ(enumerate(inner + "Z\\*"), std::vector<std::string>{"none"});
    EXPECT_EQ(enumerate("Q:\\*"), std::vector<std::string>{"none"});
    endEnumeration(nullptr);
}

TEST(PlatformUnbuffered, GivesTheSameBytesWithAndWithoutDirectAccess) {
    const TemporaryDirectory directory;
    expectSameBytesUnbuffered(directory.path());
    if (fs::is_directory("/dev/shm"))
        expectSameBytesUnbuffered(TemporaryDirectory("/dev/shm").path());
    closeUnbuffered(nullptr);
}

} // namespace
