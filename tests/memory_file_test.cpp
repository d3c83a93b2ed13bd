// Memory files as bytes with a position: the ways to build one, growth, seeking, writing through to disk, and
// what is refused.

#include "tests/support/archive_builder.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/library_test.h"
#include "tests/support/memory_file_bytes.h"
#include "tests/support/refusing_disk.h"

#include "vl/memoryfile.h"

#include <random>

namespace {

std::string readAll(V_MemoryFile &file) {
    std::string text(file.getSize() - file.getPosition(), '\0');
    file.read(text.data(), static_cast<int>(text.size()));
    return text;
}

class MemoryFile : public LibraryTest {
  protected:
    std::string outPath() const { return engineRoot() + "\\out.dat"; }
    std::string outBytes() const { return readFile(root() / "out.dat"); }
};

constexpr unsigned int streamSize = V_MemoryFile::STREAM_SIZE;

TEST_F(MemoryFile, WritesBytesOfItsOwnBufferWhileThatGrows) {
    V_MemoryFile file(4);
    file.write("abc", 3);
    for (int i = 0; i < 4; ++i)
        file.write(file.getAddress(), static_cast<int>(file.getSize()));
    std::string expected;
    for (int i = 0; i < 16; ++i)
        expected += "abc";
    EXPECT_EQ(bytesOf(file), expected);
}

TEST_F(MemoryFile, SeeksInsideTheFileOnly) {
    V_MemoryFile file("0123456789", 10, false);
    file.setFilename("ten.dat");
    file.seek(4, V_MemoryFile::SM_END);
    EXPECT_EQ(file.getPosition(), 6u);
    file.seek(-2, V_MemoryFile::SM_CURRENT);
    EXPECT_EQ(file.getPosition(), 4u);
    file.seek(10, V_MemoryFile::SM_BEGIN);
    file.seek(7, static_cast<V_MemoryFile::SeekMode>(3));
    EXPECT_EQ(file.getPosition(), 10u);
    struct {
        int offset;
        V_MemoryFile::SeekMode mode;
    } const outside[] = {{-1, V_MemoryFile::SM_BEGIN},           {11, V_MemoryFile::SM_BEGIN},
                         {1, V_MemoryFile::SM_CURRENT},          {0x7FFFFFFF, V_MemoryFile::SM_CURRENT},
                         {-0x7FFFFFFF, V_MemoryFile::SM_END},    {11, V_MemoryFile::SM_END},
                         {-1 - 0x7FFFFFFF, V_MemoryFile::SM_END}};
    for (const auto &seek : outside) {
        EXPECT_EQ(messageOf<SeekOutOfRange>([&] { file.seek(seek.offset, seek.mode); }),
                  "V_MemoryFile seek out of range(\"ten.dat\")");
        EXPECT_EQ(file.getPosition(), 10u);
    }
}

TEST_F(MemoryFile, WrapsOrCopiesMemory) {
    char memory[] = "abc";
    V_MemoryFile wrapped(memory, 3, false), copied(memory, 3, true), nothing(nullptr, 0, true);
    memory[0] = 'x';
    EXPECT_EQ(readAll(wrapped), "xbc");
    EXPECT_EQ(readAll(copied), "abc");
    EXPECT_EQ(readAll(nothing), "");
    EXPECT_EQ(messageOf<Overreading>([&] { copied.read(memory, 1); }),
              "Read of the end of an V_MemoryFile(memoryfile not named yet)");
    EXPECT_EQ(copied.getPosition(), 3u);
    for (V_MemoryFile *file : {&wrapped, &copied, &nothing})
        EXPECT_EQ(messageOf<Illegal>([&] { file->write("y", 1); }),
                  "V_MemoryFile: Unable to write to a file built for reading (memoryfile not named yet)");
    EXPECT_THROW(copied.read(memory, -1), Illegal *);
}

TEST_F(MemoryFile, IsBuiltAnewFromWhatItOwns) {
    V_MemoryFile file;
    file.write("0123456789", 10);
    file.construct(static_cast<const char *>(file.getAddress()) + 2, 6, false);
    EXPECT_EQ(readAll(file), "234567");
    file.construct(file.getAddress(), 3, true);
    EXPECT_EQ(readAll(file), "234");
    const V_MemoryFile view(file.getAddress(), 2, false);
    file.construct(view);
    EXPECT_EQ(readAll(file), "23");
    writeFile(root() / "23", "abc");
    file.construct(static_cast<const void *>("23"), 3, true);
    file.construct(static_cast<const char *>(file.getAddress()), V_MemoryFile::AM_MEMORY);
    EXPECT_EQ(readAll(file), "abc");
    file.construct(file);
    EXPECT_EQ(file.getPosition(), 3u);
    file.destruct();
    file.destruct();
    EXPECT_EQ(file.getSize(), 0u);
    EXPECT_THROW(file.write("a", 1), Illegal *);
    EXPECT_THROW(file.save("x.dat"), Illegal *);
}

TEST_F(MemoryFile, CopiesWhatItOwnsAndSharesWhatItWraps) {
    V_MemoryFile file(4);
    file.setFilename("original.dat");
    file.disableTags();
    file.write("abcdef", 6);
    file.seek(1, V_MemoryFile::SM_BEGIN);
    V_MemoryFile copy(file);
    file.write("X", 1);
    EXPECT_EQ(copy.getPosition(), 1u);
    EXPECT_FALSE(copy.areTagsEnabled());
    EXPECT_STREQ(copy.getFilename(), "original.dat");
    copy.seek(0, V_MemoryFile::SM_END);
    copy.write("ghi", 3);
    EXPECT_EQ(bytesOf(copy), "abcdefghi");
    EXPECT_EQ(bytesOf(file), "aXcdef");
    EXPECT_EQ(file.save(), 1);
    EXPECT_EQ(V_MemoryFile().save("empty.dat"), 1);
    EXPECT_EQ(File->size("empty.dat"), 0u);
    EXPECT_EQ(file.append(), 1);
    EXPECT_EQ(readFile(root() / "original.dat"), "aXcdefaXcdef");

    const V_MemoryFile view(file.getAddress(), 6, false);
    EXPECT_EQ(V_MemoryFile(view).getAddress(), file.getAddress());
}

TEST_F(MemoryFile, LoadsSmallFilesAndStreamsLargeOnes) {
    for (unsigned int size : {0u, 5u, streamSize - 1, streamSize, 3 * streamSize + 17}) {
        const std::string content = pattern(size);
        writeFile(root() / "data.dat", content);
        for (auto method : {V_MemoryFile::AM_DEFAULT, V_MemoryFile::AM_MEMORY, V_MemoryFile::AM_STREAM}) {
            V_MemoryFile file("data.dat", method);
            const bool streamed = method == V_MemoryFile::AM_STREAM && size >= streamSize;
            EXPECT_EQ(file.getAddress() == nullptr, streamed);
            EXPECT_EQ(readAll(file), content);
            file.seek(static_cast<int>(size / 2), V_MemoryFile::SM_END);
            V_MemoryFile copy(file);
            EXPECT_EQ(readAll(copy), content.substr(size - size / 2));
            if (streamed) {
                EXPECT_THROW(file.save("x.dat"), Illegal *);
                EXPECT_THROW(file.write("x", 1), Illegal *);
            }
        }
    }
    V_MemoryFile::setDefaultAccessMethod(V_MemoryFile::AM_STREAM);
    EXPECT_EQ(V_MemoryFile("data.dat", V_MemoryFile::AM_DEFAULT).getAddress(), nullptr);
    V_MemoryFile::setDefaultAccessMethod(V_MemoryFile::AM_MEMORY);
}

TEST_F(MemoryFile, ReadsARegionOfAStream) {
    writeFile(root() / "data.dat", "0123456789");
    V_FileStream stream("data.dat", 4);
    stream.seek(7, V_FileStream::SM_BEGIN);
    V_MemoryFile region(stream, 2, 5);
    EXPECT_STREQ(region.getFilename(), stream.getName());
    EXPECT_EQ(readAll(region), "23456");
    V_MemoryFile beyond(stream, 8, 100), whole(stream, -1, -1);
    EXPECT_EQ(readAll(beyond), "89");
    EXPECT_EQ(readAll(whole), "0123456789");
    std::filesystem::resize_file(root() / "data.dat", 5);
    V_MemoryFile late(stream, 1, -1);
    EXPECT_THROW(readAll(late), V_FileException_UnableToReadData *);
    EXPECT_EQ(late.getPosition(), 0u);
    region.construct(stream, 20, 1);
    EXPECT_EQ(region.getSize(), 0u);
}

TEST_F(MemoryFile, GoesOnInMemoryWhereACompressedEntryCannotBeStreamed) {
    const std::string content = pattern(streamSize + 1000);
    ArchiveBuilder().add("\\lzss.dat", content, 1).add("\\scrambled.dat", content, 2).write(root() / "A.VAS");
    File->setFileSystemRoot(engineRoot().c_str());
    for (const char *name : {"lzss.dat", "scrambled.dat"}) {
        V_MemoryFile file(name, V_MemoryFile::AM_STREAM);
        std::string text(1000, '\0');
        file.read(text.data(), 1000);
        EXPECT_EQ(file.getAddress(), nullptr);
        V_MemoryFile copy(file);
        EXPECT_EQ(readAll(copy), content.substr(1000));
        file.read(text.data(), 1000); // still a stream, undisturbed by the copy
        EXPECT_EQ(text, content.substr(1000, 1000));
        file.seek(10, V_MemoryFile::SM_BEGIN);
        file.read(text.data(), 1000); // has been read already
        EXPECT_EQ(text, content.substr(10, 1000));
        EXPECT_EQ(file.getAddress(), nullptr);
        file.seek(static_cast<int>(streamSize), V_MemoryFile::SM_BEGIN);
        EXPECT_EQ(readAll(file), content.substr(streamSize));
        EXPECT_NE(file.getAddress(), nullptr);
        file.seek(10, V_MemoryFile::SM_BEGIN);
        EXPECT_EQ(readAll(file), content.substr(10));
    }
}

TEST_F(MemoryFile, WritesInMemoryAndThroughExactlyWhatItWasGiven) {
    std::mt19937 random(5);
    for (unsigned int capacity : {0u, 1u, 5u, 16u, 100u, 8192u}) {
        std::string expected;
        V_MemoryFile file(capacity + (capacity == 0), outPath().c_str()), memory(capacity);
        bool onDisk = false;
        for (int i = 0; i < 300; ++i) {
            const std::string piece = pattern(random() % 40);
            file.write(piece.data(), static_cast<int>(piece.size()));
            memory.seek(static_cast<int>(file.getPosition() - piece.size()), V_MemoryFile::SM_BEGIN);
            memory.write(piece.data(), static_cast<int>(piece.size()));
            expected.replace(file.getPosition() - piece.size(), piece.size(), piece);
            if (i % 10 == 9) // back, as far as it goes
                try {
                    file.seek(static_cast<int>(random() % 30), V_MemoryFile::SM_END);
                } catch (Illegal *) {
                    onDisk = true;
                } catch (SeekOutOfRange *) {
                }
            ASSERT_EQ(file.getSize(), expected.size());
        }
        EXPECT_EQ(onDisk, capacity < 8192);
        file.destruct();
        EXPECT_FALSE(file.hasWriteFailed());
        EXPECT_EQ(outBytes(), expected) << "capacity " << capacity;
        EXPECT_EQ(bytesOf(memory), expected) << "capacity " << capacity;
    }
}

TEST_F(MemoryFile, RefusesWhatAWriteThroughFileCannotDo) {
    V_MemoryFile file(16, outPath().c_str()), other;
    file.write("abc", 3);
    char c;
    EXPECT_THROW(file.read(&c, 1), Illegal *);
    EXPECT_THROW(file.toRead(), Illegal *);
    EXPECT_THROW(file.append(), Illegal *);
    EXPECT_THROW(V_MemoryFile copy(file), Illegal *);
    EXPECT_THROW(file.peekChunk(), Illegal *);
    EXPECT_THROW(file.write(&c, -1), Illegal *);
    EXPECT_EQ(file.getPosition(), 3u);
    file.construct(V_MemoryFile::DEFAULT_CAPACITY); // finishes the file first
    EXPECT_EQ(outBytes(), "abc");
    EXPECT_EQ(messageOf<V_MemoryFileException_UnableToOpenFileForWrite>(
                  [&] { file.construct(16, "no\\such\\directory\\f"); }),
              "V_MemoryFile: Unable to open file (\"no\\such\\directory\\f\") for write");
}

TEST_F(MemoryFile, TellsWhenTheDiskIsFull) {
    if (!FullDisk::isPossible)
        GTEST_SKIP();
    for (unsigned int room : {0, 1, 10, 16, 20, 33}) {
        V_MemoryFile file(16, outPath().c_str());
        bool thrown = false;
        {
            const FullDisk full(room);
            try {
                for (int i = 0; i < 6; ++i)
                    file << 1.0 << i;
            } catch (V_MemoryFileException_UnableToWriteData *exception) {
                thrown = true;
                EXPECT_EQ(std::string(exception->getErrorMessage()).substr(0, 43),
                          "V_MemoryFile: Unable to write to file (\"C:\\");
                EXPECT_THROW(file << 1, V_MemoryFileException_UnableToWriteData *);
            }
            EXPECT_TRUE(thrown);
            file.destruct();
        }
        EXPECT_TRUE(file.hasWriteFailed());
        EXPECT_LE(outBytes().size(), room);
    }
    // All was taken into memory, and only finishing the file meets the full disk.
    V_MemoryFile file(100, outPath().c_str());
    file.write("abc", 3);
    const FullDisk full(2);
    EXPECT_THROW(file.construct(100), V_MemoryFileException_UnableToWriteData *);
    EXPECT_TRUE(file.hasWriteFailed());
    file.construct(100);
    EXPECT_FALSE(file.hasWriteFailed());
}

TEST_F(MemoryFile, SurvivesTheFailureOfEveryAllocation) {
    const std::string content = pattern(streamSize);
    writeFile(root() / "data.dat", content);
    ArchiveBuilder().add("\\packed.dat", content, 2).write(root() / "A.VAS");
    File->setFileSystemRoot(engineRoot().c_str());
    V_MemoryFile file(4);
    const std::string path = outPath();
    const int atRest = outstanding();
    const int failures = failEachAllocation<V_MemoryException_Allocation *>(
        [&] {
            file.construct(4);
            file.write("abc", 3);
            file.createChunk(1, 1);
            file << V_String(300, 'x');
            file.closeChunk();
            V_MemoryFile copy(file);
            V_MemoryFile streamed("data.dat", V_MemoryFile::AM_STREAM),
                packed("packed.dat", V_MemoryFile::AM_STREAM);
            V_MemoryFile second(streamed), third(packed);
            packed.seek(5, V_MemoryFile::SM_BEGIN);
            V_MemoryFile through(16, path.c_str());
            through << content.c_str();
            file.construct(file.getAddress(), 3, true);
        },
        [&] {
            file.destruct();
            expectAllReleased(atRest);
            file.construct(4);
            file << 5;
            EXPECT_EQ(bytesOf(file), "\x14\x05");
        });
    EXPECT_GT(failures, 20);
}

} // namespace
