// Files on disk: loaded, saved, appended to, deleted, sized, stamped and named.

#include "tests/support/library_test.h"

#include <chrono>
#include <cstring>

namespace {

class PlainFiles : public LibraryTest {};

TEST_F(PlainFiles, AreLoadedWholeOrInPart) {
    const std::string content("zero\0inside\r\n", 13);
    writeFile(root() / "Data/File.bin", content);
    EXPECT_EQ(File->size("data/FILE.bin"), 13u);
    EXPECT_EQ(loaded("data\\file.BIN"), content);
    EXPECT_EQ(File->where("data/file.bin"), V_File::LOC_DISK);
    EXPECT_EQ(File->where("data"), V_File::LOC_DISK);
    EXPECT_EQ(File->getMethod("data/file.bin"), V_File::METHOD_STORED);

    char buffer[17] = "................";
    File->load(buffer, "data/file.bin", 4);
    EXPECT_EQ(std::string(buffer, 6), "zero..");
    EXPECT_EQ(messageOf<V_FileException_UnableToReadData>([&] { File->load(buffer, "data/file.bin", 14); }),
              "Unable to read data from \"" + engineRoot() + "\\data\\file.bin\"");
    EXPECT_EQ(messageOf<V_FileException_UnableToReadData>([] { File->load("owner", "data/file.bin", 14); }),
              "Unable to read data from \"" + engineRoot() + "\\DATA\\FILE.BIN\"");
}

TEST_F(PlainFiles, OfEqualNamesButForCaseAreToldApart) {
    if (!areNamesExact())
        GTEST_SKIP();
    for (const char *name : {"README", "readme", "Readme"}) {
        writeFile(root() / name, name);
        EXPECT_EQ(loaded(name), name);
    }
    EXPECT_EQ(loaded("rEADME"), "README");
}

TEST_F(PlainFiles, ThatAreMissingOrEmptySaySo) {
    char buffer[4];
    writeFile(root() / "empty", "");
    File->load(buffer, "empty", V_File::WHOLE_FILE);
    EXPECT_EQ(messageOf<V_FileException_FileCorrupted>([] { File->load("empty", V_File::WHOLE_FILE); }),
              "File EMPTY is corrupted");
    EXPECT_EQ(messageOf<V_FileException_FileNotFound>([] { File->size("a/no.txt"); }),
              "File \\A\\NO.TXT not found");
    EXPECT_EQ(messageOf<V_FileException_FileNotFound>([&] { File->load(buffer, "a/no.txt", 1); }),
              "File \\a\\no.txt not found");
    File->enableFilenameLengthLimitation(true);
    const std::string name43(43, 'n');
    EXPECT_EQ(
        messageOf<V_FileException_FilenameTooLong>([&] { File->load(name43.c_str(), V_File::WHOLE_FILE); }),
        "File name \"" + name43 + "\" (excluding path) exceeds 42 characters"); // not in upper case
    File->enableFilenameLengthLimitation(false);
    EXPECT_EQ(File->timeStamp("a/no.txt"), 0u);
    EXPECT_EQ(File->getMethod("a/no.txt"), -1);
    EXPECT_EQ(File->del("a/no.txt"), 0);
}

TEST_F(PlainFiles, OfFourGibibytesAreRefused) {
    writeFile(root() / "large", "");
    std::filesystem::resize_file(root() / "large", std::uintmax_t{1} << 32);
    EXPECT_EQ(messageOf<V_FileException_FileTooLarge>([] { File->size("large"); }),
              "File \"" + engineRoot() + "\\large\" exceeds 4294967295 bytes");
    EXPECT_THROW(V_FileStream("large", 0), V_FileException_FileTooLarge *);
    EXPECT_THROW(V_UnbufferedFileStream("large", 0), V_FileException_FileTooLarge *);
}

TEST_F(PlainFiles, AreSavedAsTheOverrideSays) {
    EXPECT_EQ(File->save("new/file.txt", "one", 3), 1); // creates the directory
    EXPECT_EQ(File->save("NEW/FILE.txt", "second", 6), 1);
    EXPECT_EQ(readFile(root() / "new/FILE.txt"), "second");
    EXPECT_NE(std::filesystem::exists(root() / "new/file.txt"), areNamesExact());

    File->setOverride(0);
    EXPECT_EQ(File->save("new/file.txt", "three", 5), 0);
    EXPECT_EQ(loaded("new/file.txt"), "second");
    EXPECT_EQ(File->save("new/other.txt", "x", 1), 1);

    EXPECT_EQ(File->save("no/parent/file.txt", "x", 1), 0); // only the file's own directory is created
    EXPECT_EQ(File->append("no/parent/file.txt", "x", 1), 0);
    EXPECT_FALSE(std::filesystem::exists(root() / "no"));

    EXPECT_EQ(File->append("New/OTHER.TXT", "two", 3), 1);
    EXPECT_EQ(readFile(root() / "new/other.txt"), "xtwo");
    EXPECT_EQ(File->del("NEW/Other.txt"), 1);
    EXPECT_FALSE(std::filesystem::exists(root() / "new/other.txt"));
}

TEST_F(PlainFiles, AreStampedWithTheirLastWriteInUtc) {
    using namespace std::chrono;
    writeFile(root() / "old", "x");
    const auto stampAt = [this](sys_seconds time) {
        std::filesystem::last_write_time(root() / "old", file_clock::from_sys(time));
        return File->timeStamp("OLD");
    };
    EXPECT_EQ(stampAt(sys_days(1995y / 1 / 1)), 2764800u);
    EXPECT_EQ(stampAt(sys_days(1995y / 1 / 1) + 1s), 2764801u);
    // ((((31 * 12 + 11) * 31 + 22) * 24 + 21) * 60 + 32) * 60 + 59, by hand
    EXPECT_EQ(stampAt(sys_days(2026y / 11 / 22) + 21h + 32min + 59s), 1027805579u);
}

TEST_F(PlainFiles, GetTheFirstFreeTemporaryName) {
    char name[256];
    EXPECT_EQ(File->tmpName(name, "tmp%03i.dat"), 1);
    EXPECT_STREQ(name, "tmp000.dat");
    writeFile(root() / "tmp000.dat", "");
    writeFile(root() / "TMP001.DAT", "");
    EXPECT_EQ(File->tmpName(name, "tmp%03i.dat"), 1);
    EXPECT_STREQ(name, "tmp002.dat");
    writeFile(root() / "fixed.dat", "");
    EXPECT_EQ(File->tmpName(name, "fixed.dat"), 0);
    EXPECT_STREQ(name, "");
    EXPECT_THROW(File->tmpName(name, "%0300i"), V_FileException_PathTooLong *);
}

TEST_F(PlainFiles, TravelThroughContainersInMemory) {
    const std::string text(10000, 'x');
    auto *packed = static_cast<char *>(File->compress(text.data(), static_cast<unsigned int>(text.size())));
    EXPECT_EQ(std::string(packed, 4), "VA->");
    auto *hidden = static_cast<char *>(File->encrypt("owner", packed, 100));
    EXPECT_EQ(std::string(hidden, 12), std::string("VC->\x64\0\0\0\x74\0\0\0", 12));
    auto *shown = static_cast<char *>(File->decrypt(hidden));
    EXPECT_EQ(std::string(shown, 100), std::string(packed, 100));
    auto *unpacked = static_cast<char *>(File->decompress(packed));
    EXPECT_EQ(std::string(unpacked, text.size()), text);

    packed[20] = static_cast<char>(packed[20] ^ 0x40);
    packed[4] = 1; // no longer the size that the code decodes to
    EXPECT_EQ(messageOf<V_FileException_FileCorrupted>([&] { File->decompress(packed); }),
              "File VA-> is corrupted");
    std::memset(packed + 4, 0xFF, 4); // more than so little code can give
    EXPECT_THROW(File->decompress(packed), V_FileException_FileCorrupted *);
    File->free(static_cast<char *>(File->decompress("VA->\0\0\0\0\2\0\0\0\1x"))); // nothing, with an item
    packed[0] = 'v';
    EXPECT_THROW(File->decompress(packed), V_FileException_FileCorrupted *);
    for (char *buffer : {packed, hidden, shown, unpacked, static_cast<char *>(nullptr)})
        File->free(buffer);
    EXPECT_EQ(File->CRC32("123456789", 9), 0xCBF43926u);
}

} // namespace
