// Chunks: exact bytes, nesting, every kind of parent, and headers that lie.

#include "tests/support/archive_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/memory_file_bytes.h"
#include "tests/support/random_tree.h"

#include "vl/memoryfile.h"

namespace {

using Chunk = V_MemoryFile::Chunk;

std::string header(unsigned int id, unsigned int version, unsigned int size) {
    std::string bytes = "\x0C";
    for (unsigned int field : {id, version, size})
        for (int shift = 0; shift < 32; shift += 8)
            bytes += static_cast<char>(field >> shift);
    return bytes;
}

class Chunks : public LibraryTest {};

TEST_F(Chunks, LieAsTheFormatSays) {
    V_MemoryFile file(1);
    file.createChunk(7, 1);
    file << 5;
    file.closeChunk();
    EXPECT_EQ(bytesOf(file), header(7, 1, 15) + "\x14\x05");

    file.createChunk(8, 2);
    file.createChunk(9, 3);
    file.closeChunk();
    file.closeChunk();
    file.disableTags();
    file.createChunk(6, 4);
    file << 5;
    file.closeChunk();
    EXPECT_EQ(bytesOf(file).substr(15),
              header(8, 2, 26) + header(9, 3, 13) + header(6, 4, 17) + std::string("\5\0\0\0", 4));

    file.toRead();
    Chunk chunk = file.peekChunk();
    EXPECT_TRUE(chunk.isValid());
    EXPECT_EQ(chunk.getID(), 7u);
    EXPECT_EQ(chunk.getSize(), 2u);
    int number = 0;
    chunk.getMemoryFile() >> number;
    EXPECT_EQ(number, 5);
    EXPECT_THROW(chunk.getMemoryFile() >> number, Overreading *);
    EXPECT_EQ(file.getPosition(), 0u);
    file.skipChunk();
    const Chunk outer = file.openChunk(0);
    Chunk copy(outer), inner = copy.openChunk(9);
    EXPECT_EQ(inner.getVersion(), 3u);
    EXPECT_EQ(inner.getSize(), 0u);
    file.skipChunk();
    chunk = file.openChunk(6);
    EXPECT_TRUE(chunk.getMemoryFile().areTagsEnabled());
    chunk.getMemoryFile().disableTags();
    chunk.getMemoryFile() >> number;
    EXPECT_EQ(number, 5);
}

TEST_F(Chunks, NestTheSameInEveryKindOfFile) {
    const auto visit = [](V_MemoryFile &file, bool writing) {
        std::mt19937 random(3);
        for (int i = 0; i < 300; ++i)
            visitTree(file, writing, random);
    };
    V_MemoryFile file;
    visit(file, true);
    const std::string bytes = bytesOf(file);
    ASSERT_GT(bytes.size(), std::size_t{V_MemoryFile::STREAM_SIZE});
    for (unsigned int capacity : {1u, 10u, 1000u, 100000u}) {
        V_MemoryFile through(capacity, (engineRoot() + "\\out.dat").c_str());
        visit(through, true);
        through.destruct();
        EXPECT_FALSE(through.hasWriteFailed());
        EXPECT_TRUE(readFile(root() / "out.dat") == bytes) << "capacity " << capacity;
    }

    ArchiveBuilder archive;
    archive.add("\\stored.dat", bytes, 3).add("\\lzss.dat", bytes, 1).add("\\scrambled.dat", bytes, 2);
    archive.write(root() / "A.VAS");
    File->setFileSystemRoot(engineRoot().c_str());
    for (const char *name : {"out.dat", "stored.dat", "lzss.dat", "scrambled.dat"}) {
        for (auto method : {V_MemoryFile::AM_MEMORY, V_MemoryFile::AM_STREAM}) {
            V_MemoryFile reader(name, method);
            visit(reader, false);
            EXPECT_EQ(reader.getPosition(), bytes.size()) << name;
        }
    }
}

TEST_F(Chunks, ArePatchedWhereverTheirHeaderHasGone) {
    // Every split of a header between disk and buffer: seeking back decides how far the buffer is flushed.
    for (int back = 0; back <= 14; ++back) {
        V_MemoryFile file(40, (engineRoot() + "\\out.dat").c_str());
        file.createChunk(7, 1);
        file.write("ab", 2);
        file.seek(back, V_MemoryFile::SM_END);
        const std::string rest(39, 'r');
        file.write(rest.data(), 39);
        file.closeChunk();
        file.destruct();
        std::string expected = header(7, 1, 0) + "ab";
        expected.replace(expected.size() - static_cast<std::size_t>(back), std::string::npos, rest);
        expected.replace(9, 4, header(7, 1, static_cast<unsigned int>(expected.size())).substr(9));
        if (back <= 2) { // deeper, the chunk's own header is overwritten
            EXPECT_EQ(readFile(root() / "out.dat"), expected);
        } else {
            EXPECT_EQ(readFile(root() / "out.dat").substr(9, 4), expected.substr(9, 4));
        }
    }
}

TEST_F(Chunks, AreNotClosedWhereNoneIsOpen) {
    V_MemoryFile file;
    EXPECT_EQ(messageOf<Illegal>([&] { file.closeChunk(); }),
              "V_MemoryFile: Unable to close a chunk, for none is open, in (memoryfile not named yet)");
    file << 1;
    file.createChunk(1, 1);
    file.seek(0, V_MemoryFile::SM_BEGIN);
    EXPECT_THROW(file.closeChunk(), Illegal *);
    file.seek(0, V_MemoryFile::SM_END);
    file.closeChunk();
    EXPECT_THROW(file.closeChunk(), Illegal *);
    EXPECT_THROW(over("abc").createChunk(1, 1), Illegal *);
}

TEST_F(Chunks, AreMissedWithoutHarm) {
    for (const std::string bytes : {"", "\x0C", "x", "\x0Dyyyyyyyyyyyyyyy"}) {
        V_MemoryFile file = over(bytes);
        Chunk chunk;
        chunk.getMemoryFile() << 5;
        file.peekChunk(chunk);
        EXPECT_FALSE(chunk.isValid());
        EXPECT_EQ(chunk.getSize(), 0u);
        EXPECT_EQ(chunk.getMemoryFile().getSize(), 0u);
        file.skipChunk();
        EXPECT_EQ(file.getPosition(), 0u);
        if (bytes.size() > 1) {
            EXPECT_THROW(file.openChunk(1), DataError *);
            EXPECT_EQ(file.getPosition(), 1u);
        }
    }
    V_MemoryFile cut = over(header(7, 1, 13).substr(0, 12));
    EXPECT_THROW(cut.peekChunk(), Overreading *);
    EXPECT_EQ(cut.getPosition(), 1u);
    EXPECT_THROW(over(header(7, 1, 13).substr(0, 12)).openChunk(7), Overreading *);
}

TEST_F(Chunks, WithImpossibleSizesAreRefused) {
    const std::string filler(V_MemoryFile::STREAM_SIZE, 'f');
    for (bool streamed : {false, true}) {
        for (unsigned int size : {0u, 1u, 12u, 14u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
            // The chunk lies at the end of another one's payload, with more data behind that.
            writeFile(root() / "data.dat",
                      header(1, 1, 26) + header(2, 2, size) + (streamed ? filler : "ff"));
            V_MemoryFile file("data.dat", V_MemoryFile::AM_STREAM);
            ASSERT_EQ(file.getAddress() == nullptr, streamed);
            Chunk outer = file.openChunk(1), inner = outer;
            EXPECT_THROW(outer.openChunk(inner, 2), DataError *);
            EXPECT_THROW(outer.peekChunk(inner), DataError *);
            EXPECT_FALSE(inner.isValid());
            if (size < 13) {
                EXPECT_THROW(outer.skipChunk(), DataError *);
            } else {
                EXPECT_THROW(outer.skipChunk(), SeekOutOfRange *);
            }
            EXPECT_EQ(outer.getMemoryFile().getPosition(), 0u);
        }
    }
}

TEST_F(Chunks, AreOpenedIntoThemselves) {
    V_MemoryFile file;
    for (unsigned int id = 0; id < 4; ++id)
        file.createChunk(id, 0);
    file << V_String(V_MemoryFile::STREAM_SIZE, 'x') << 5;
    for (int i = 0; i < 4; ++i)
        file.closeChunk();
    file.save("data.dat");
    for (auto method : {V_MemoryFile::AM_MEMORY, V_MemoryFile::AM_STREAM}) {
        V_MemoryFile reader("data.dat", method);
        Chunk chunk = reader.openChunk(0);
        chunk.openChunk(chunk, 1);
        chunk.peekChunk(chunk);
        chunk = chunk.openChunk(3);
        EXPECT_EQ(chunk.getID(), 3u);
        EXPECT_NE(std::string(chunk.getMemoryFile().getFilename()).find("data.dat"), std::string::npos);
        V_String text;
        int number = 0;
        chunk.getMemoryFile() >> text >> number;
        EXPECT_EQ(number, 5);
    }
}

} // namespace
