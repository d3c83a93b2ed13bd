// How names are resolved, in every mode, and the library's current directory.

#include "tests/support/archive_builder.h"
#include "tests/support/library_test.h"

#include "platform/platform.h"

#include <utility>

namespace {

class Names : public LibraryTest {
  protected:
    std::string resolved(const std::string &name) { return File->getFullPathName(name.c_str()); }
};

TEST_F(Names, ResolveBelowTheCurrentDirectoryOfTheVirtualTree) {
    std::filesystem::create_directories(root() / "data");
    const auto check = [this](std::initializer_list<std::pair<const char *, const char *>> names) {
        for (const auto &[name, expected] : names)
            EXPECT_EQ(resolved(name), expected) << name;
    };
    // A dot goes wherever it stands before a backslash, unless it follows another.
    check({{"a/b/c.txt", "\\a\\b\\c.txt"},
           {"\\a\\..\\b", "\\b"},
           {".\\a", "\\a"},
           {"./a", "\\a"},
           {"a\\", "\\a"},
           {"\\", ""},
           {"a\\.\\.\\b", "\\a\\b"},
           {"a.\\b", "\\ab"},
           {"..\\..\\x", "\\x"},
           {"\\..\\..\\..", ""},
           {"a\\..", ""}});
    File->changeDirectory("data\\");
    EXPECT_STREQ(File->getCurrentDirectory(), "\\data\\");
    V_String part;
    File->getPath("a/b.txt", part);
    EXPECT_EQ(part, "\\data\\a\\");
    File->getFilename("a/b.txt", part);
    EXPECT_EQ(part, "b.txt");
    File->getPath("\\", part);
    EXPECT_EQ(part, "");
    check({{"maps/a", "\\data\\maps\\a"}, {"..\\x", "\\x"}, {"\\cfg\\", "\\cfg"}, {"", "\\data"}});
}

TEST_F(Names, OfTheSystemStayAsTheyAreInDirectoryMode) {
    File->setArchiveHandling(V_File::AH_DIRECTORIES);
    EXPECT_EQ(File->getCurrentDirectory(), engineRoot() + "\\");
    EXPECT_EQ(resolved("C:\\x\\"), "C:\\x\\");
    EXPECT_EQ(resolved("\\\\srv\\share\\f"), "\\\\srv\\share\\f");
    EXPECT_EQ(resolved("\\tmp\\f"), "C:\\tmp\\f");
    EXPECT_EQ(resolved("x/y\\"), engineRoot() + "\\x\\y");

    writeFile(root() / "sub/file.txt", "here");
    File->changeDirectory("sub");
    EXPECT_EQ(loaded("file.txt"), "here");
    EXPECT_EQ(resolved("../../../../../../../../x"), "C:\\x");
    File->changeDirectory("C:\\");
    EXPECT_STREQ(File->getCurrentDirectory(), "C:\\");
    EXPECT_EQ(loaded(engineRoot() + "\\sub\\file.txt"), "here");

    for (const int mode : {static_cast<int>(V_File::AH_LOCAL_ROOT), 7}) { // 7 is no mode
        File->setArchiveHandling(mode);
        EXPECT_EQ(resolved("\\tmp\\f"), "C:\\tmp\\f");
        EXPECT_EQ(resolved("D:/f"), engineRoot() + "\\D:\\f");
        EXPECT_EQ(loaded(engineRoot() + "\\sub\\file.txt"), "here");
        V_FileDirectoryChange("sub").destruct(); // throws when the way back is not found
        EXPECT_EQ(loaded("sub\\file.txt"), "here");
    }
}

TEST_F(Names, LongerThanALimitAreRefused) {
    const std::string name42(42, 'n'), name43(43, 'n');
    File->enableFilenameLengthLimitation(true);
    EXPECT_EQ(resolved("directory/" + name42), "\\directory\\" + name42);
    EXPECT_EQ(messageOf<V_FileException_FilenameTooLong>([&] { resolved("d/" + name43); }),
              "File name \"d\\" + name43 + "\" (excluding path) exceeds 42 characters");
    File->enableFilenameLengthLimitation(false);

    const std::string longest = "\\" + std::string(254, 'a');
    EXPECT_EQ(resolved(longest), longest);
    EXPECT_EQ(messageOf<V_FileException_PathTooLong>([&] { resolved(longest.substr(1) + "aa"); }),
              "Path \"" + longest.substr(1) + "aa\" exceeds 255 characters");
    // What fits, but not behind the local root, is not on disk. It may be in an archive.
    EXPECT_EQ(File->where(longest.c_str()), V_File::LOC_NONE);
    EXPECT_EQ(File->del(longest.c_str()), 0);
    EXPECT_EQ(messageOf<V_FileException_FileNotFound>([&] { V_FileStream(longest.c_str(), 0); }),
              "File " + longest + " not found");
    EXPECT_EQ(messageOf<V_FileException_PathTooLong>([&] { File->save(longest.c_str(), "", 0); }),
              "Path \"" + longest + "\" exceeds 255 characters");
    ArchiveBuilder().add(longest, "found").write(root() / "a.vas");
    File->setFileSystemRoot(engineRoot().c_str());
    EXPECT_EQ(File->where(longest.c_str()), V_File::LOC_ARCHIVE);
    EXPECT_EQ(loaded(longest), "found");
    EXPECT_STREQ(File->findFirst("aa*"), longest.c_str() + 1);
}

TEST_F(Names, OfADirectoryThatIsMissingLeaveTheCurrentOne) {
    std::filesystem::create_directories(root() / "data");
    File->changeDirectory("DATA");
    File->changeDirectory(".");
    File->changeDirectory("./");
    File->changeDirectory("");
    EXPECT_STREQ(File->getCurrentDirectory(), "\\DATA\\");
    EXPECT_EQ(messageOf<V_FileException_DirectoryNotFound>([] { File->changeDirectory("nowhere/"); }),
              "Directory \\DATA\\nowhere not found");
    EXPECT_STREQ(File->getCurrentDirectory(), "\\DATA\\");
    EXPECT_EQ(messageOf<V_FileException_DirectoryNotFound>([] { File->setFileSystemRoot("C:\\no\\such"); }),
              "Directory C:\\no\\such not found");
    EXPECT_EQ(File->isDirectory("\\data"), 1);
    File->changeDirectory("\\");
    EXPECT_STREQ(File->getCurrentDirectory(), "\\");
}

TEST_F(Names, OfADriveRootAsLocalRootHaveSingleBackslashes) {
    const std::string drive = engineRoot().substr(0, 3);
    File->setFileSystemRoot(drive.c_str());
    EXPECT_EQ(File->isDirectory(engineRoot().substr(2).c_str()), 1);
    EXPECT_EQ(File->isDirectory("\\"), 1);
    EXPECT_EQ(messageOf<V_FileException_FileNotFound>([] { V_FileStream("\\dev\\null", 1); }),
              "File " + drive + "dev\\null not found");
    File->setFileSystemRoot(engineRoot().c_str());
}

TEST_F(Names, AreResolvedElsewhereDuringADirectoryChange) {
    std::filesystem::create_directories(root() / "a/b");
    {
        V_FileDirectoryChange outer("a");
        {
            V_FileDirectoryChange inner("b");
            EXPECT_STREQ(File->getCurrentDirectory(), "\\a\\b\\");
            EXPECT_THROW(inner.construct("nowhere"), V_FileException_DirectoryNotFound *);
            EXPECT_FALSE(inner.isConstructed());
            EXPECT_STREQ(File->getCurrentDirectory(), "\\a\\");
            inner.construct("\\");
        }
        EXPECT_STREQ(File->getCurrentDirectory(), "\\a\\");
        outer.destruct();
        outer.destruct();
        EXPECT_STREQ(File->getCurrentDirectory(), "\\");
    }
    {
        V_FileDirectoryChange outer("a\\b");
        V_FileDirectoryChange inner("\\");
        std::filesystem::rename(root() / "a", root() / "away");
        EXPECT_THROW(inner.destruct(), V_FileException_DirectoryNotFound *);
        EXPECT_TRUE(inner.isConstructed()); // so that it can be tried again
        std::filesystem::rename(root() / "away", root() / "a");
        inner.destruct();
        EXPECT_STREQ(File->getCurrentDirectory(), "\\a\\b\\");
    }
    {
        V_FileDirectoryChange outer("a");
        const V_FileDirectoryChange inner("\\");
        std::filesystem::remove_all(root() / "a");
    } // the way back is gone, and the destructor must not throw
    EXPECT_STREQ(File->getCurrentDirectory(), "\\");
}

} // namespace
