// Streams over files on disk and archive entries: ranges, shared buffers, decoding on the way, and files that
// are not what they claim to be.

#include "tests/support/archive_builder.h"
#include "tests/support/library_test.h"

#include "vl/file/stream.h"

#include <random>
#include <vector>

namespace {

std::string readUpTo(V_FileStream &stream, std::size_t size) {
    std::string text(size, '\0');
    text.resize(stream.read(text.data(), static_cast<unsigned int>(size)));
    return text;
}

void readAll(V_FileStream &stream, std::size_t piece, std::string &text) {
    for (std::string more; !(more = readUpTo(stream, piece)).empty();)
        text += more;
}

std::string readAll(V_FileStream &stream, std::size_t piece) {
    std::string text;
    readAll(stream, piece, text);
    return text;
}

class Streams : public LibraryTest {
  protected:
    /// The same content on disk and under every storage method.
    void writeEverywhere(const std::string &content) {
        writeFile(root() / "disk", content);
        ArchiveBuilder archive;
        archive.add("\\first", "something in front", 3).add("\\stored", content, 3).add("\\lzss", content, 1);
        archive.add("\\scrambled", content, 2).add("\\last", "and something behind", 3);
        archive.records[3].seed = 0; // counts as 1
        archive.records[3].stored = scrambledPlainly(packedPlainly(content), 1);
        archive.write(root() / "A.VAS");
        File->setFileSystemRoot(engineRoot().c_str());
    }
};

using Corrupted = V_FileException_FileCorrupted;
using Unable = V_FileException_UnableToReadData;

TEST_F(Streams, DeliverTheSameInPiecesOfAnySize) {
    const std::string content = pattern(20000);
    writeEverywhere(content);
    for (const std::string name : {"disk", "stored", "lzss", "scrambled"})
        for (int buffer : {1, 3, 1000, 100000, 0, -5})
            for (std::size_t piece : {1, 7, 4096, 50000}) {
                V_FileStream stream(name.c_str(), buffer);
                EXPECT_TRUE(readAll(stream, piece) == content) << name << ' ' << buffer << ' ' << piece;
                EXPECT_EQ(stream.getPosition(), content.size());
                if (name == "lzss" || name == "scrambled" || buffer < 0)
                    continue;
                V_UnbufferedFileStream unbuffered(name.c_str(), buffer);
                EXPECT_TRUE(readAll(unbuffered, piece) == content) << name << ' ' << buffer << ' ' << piece;
            }
    EXPECT_EQ(V_FileStream("stored", 100).getName(), engineRoot() + "\\A.VAS");
    EXPECT_EQ(V_FileStream("DISK", 100).getName(), engineRoot() + "\\DISK");
}

TEST_F(Streams, SeekInsideTheirRange) {
    const std::string content = pattern(100);
    writeEverywhere(content);
    for (const char *name : {"disk", "stored"}) {
        V_FileStream buffered(name, 30);
        V_UnbufferedFileStream unbuffered(name, 0);
        for (V_FileStream *stream : {&buffered, static_cast<V_FileStream *>(&unbuffered)}) {
            const auto at = [&](unsigned int offset, V_FileStream::SeekMode mode) {
                EXPECT_EQ(stream->seek(offset, mode), 0);
                return stream->getPosition();
            };
            EXPECT_EQ(at(10, V_FileStream::SM_END), 90u);
            EXPECT_EQ(readAll(*stream, 50), content.substr(90));
            EXPECT_EQ(at(200, V_FileStream::SM_BEGIN), 100u);
            EXPECT_EQ(at(0xFFFFFFFF, V_FileStream::SM_CURRENT), 99u);
            EXPECT_EQ(readUpTo(*stream, 1), content.substr(99));
            EXPECT_EQ(at(0u - 1000, V_FileStream::SM_CURRENT), 0u);
            EXPECT_EQ(at(0x7FFFFFFF, V_FileStream::SM_CURRENT), 100u);
            EXPECT_EQ(at(0xFFFFFFFF, V_FileStream::SM_END), 0u);
            EXPECT_EQ(at(0xFFFFFFFF, V_FileStream::SM_BEGIN), 100u);
        }
    }
}

/// Many streams over one file, each a region of another, read and moved in random order: each must behave as
/// if it had the file to itself.
TEST_F(Streams, ShareAFileAsIfEachHadItAlone) {
    const std::string content = pattern(90000);
    writeEverywhere(content);
    struct Model {
        std::size_t begin, size, position;
    };
    for (const char *name : {"disk", "stored"})
        for (int buffer : {1, 64, 4096, 50000}) {
            std::mt19937 random(static_cast<unsigned int>(buffer));
            std::vector<std::unique_ptr<V_FileStream>> streams;
            std::vector<Model> models{{0, content.size(), 0}};
            streams.push_back(std::make_unique<V_FileStream>(name, buffer));
            for (int step = 0; step < 3000; ++step) {
                const std::size_t i = random() % streams.size();
                Model &model = models[i];
                const auto draw = [&](std::size_t limit) {
                    return static_cast<unsigned int>(random() % (limit + 1));
                };
                const unsigned int kind = random() % 8;
                if (kind == 0 && streams.size() < 12) {
                    const unsigned int offset = draw(model.size), size = draw(model.size);
                    streams.push_back(std::make_unique<V_FileStream>(*streams[i], static_cast<int>(offset),
                                                                     static_cast<int>(size)));
                    models.push_back(
                        {model.begin + offset, std::min<std::size_t>(size, model.size - offset), 0});
                } else if (kind == 0) {
                    streams.erase(streams.begin() + static_cast<std::ptrdiff_t>(i));
                    models.erase(models.begin() + static_cast<std::ptrdiff_t>(i));
                } else if (kind == 1) {
                    model.position = draw(model.size);
                    streams[i]->seek(static_cast<unsigned int>(model.position), V_FileStream::SM_BEGIN);
                } else if (kind == 2) {
                    const std::size_t j = random() % streams.size();
                    *streams[j] = *streams[i];
                    models[j] = model;
                } else {
                    const std::size_t n = draw(random() % 4 == 0 ? 40000 : 100);
                    const std::string expected = content.substr(model.begin + model.position,
                                                                std::min(n, model.size - model.position));
                    ASSERT_TRUE(readUpTo(*streams[i], n) == expected) << name << ' ' << buffer << ' ' << step;
                    model.position += expected.size();
                }
            }
        }
}

TEST_F(Streams, OpenRegionsOfEveryKind) {
    writeEverywhere("0123456789");
    V_FileStream buffered("disk", 4);
    V_UnbufferedFileStream unbuffered("stored", 4);
    for (V_FileStream *stream : {&buffered, static_cast<V_FileStream *>(&unbuffered)}) {
        stream->seek(3, V_FileStream::SM_BEGIN);
        V_FileStream copy(*stream), beyond(*stream, 11, 5), odd(*stream, -7, 4), rest(*stream, 8, -1);
        EXPECT_EQ(readAll(copy, 4), "3456789");
        EXPECT_EQ(readAll(rest, 4), "89");
        EXPECT_EQ(beyond.size(), 0u);
        EXPECT_EQ(readAll(odd, 4), "0123");
        const V_FileStream &itself = copy;
        copy = itself;
        EXPECT_EQ(copy.getPosition(), 10u);
        EXPECT_EQ(stream->getPosition(), 3u);
    }
    V_UnbufferedFileStream region(unbuffered, 4, 3), other("disk", 512);
    EXPECT_EQ(readAll(region, 2), "456");
    other = region;
    other.seek(1, V_FileStream::SM_BEGIN);
    EXPECT_EQ(readAll(other, 2), "56");
    EXPECT_EQ(other.getName(), region.getName());
    EXPECT_THROW(static_cast<V_FileStream &>(other) = buffered, V_FileException_FileNotAStream *);

    std::filesystem::rename(root() / "A.VAS", root() / "moved");
    EXPECT_THROW(V_UnbufferedFileStream copy(unbuffered), V_FileException_FileNotFound *);
    EXPECT_THROW(V_FileStream copy(unbuffered), V_FileException_FileNotFound *);
    EXPECT_EQ(messageOf<V_FileException_ArchiveNotFound>([] { V_FileStream("lzss", 4); }),
              "Archive " + engineRoot() + "\\A.VAS not found");
    EXPECT_THROW(V_UnbufferedFileStream("stored", 4), V_FileException_ArchiveNotFound *);
}

TEST_F(Streams, RefuseWhatCompressionForbids) {
    writeEverywhere(pattern(100));
    for (const char *name : {"lzss", "scrambled"}) {
        V_FileStream stream(name, 64);
        readUpTo(stream, 10);
        EXPECT_EQ(messageOf<V_FileException_CannotSeekCompressedFileStream>(
                      [&] { stream.seek(0, V_FileStream::SM_BEGIN); }),
                  std::string("Cannot seek compressed file stream \"") + name + "\"");
        EXPECT_EQ(
            messageOf<V_FileException_CannotCopyCompressedFileStream>([&] { V_FileStream copy(stream); }),
            std::string("Cannot copy construct compressed file stream \"") + name + "\"");
        V_FileStream other("disk", 4);
        EXPECT_THROW(other = stream, V_FileException_CannotCopyCompressedFileStream *);
        EXPECT_EQ(readAll(other, 100), pattern(100));
        EXPECT_EQ(readAll(stream, 100), pattern(100).substr(10));
        EXPECT_EQ(messageOf<V_FileException_FileNotAStream>([&] { V_UnbufferedFileStream(name, 0); }),
                  std::string("File \\") + name + " is not a stream");
    }
    for (bool buffered : {true, false})
        EXPECT_EQ(messageOf<V_FileException_FileNotFound>([&] {
                      buffered ? void(V_FileStream("no", 0)) : void(V_UnbufferedFileStream("no", 0));
                  }),
                  "File " + engineRoot() + "\\no not found");
}

TEST_F(Streams, NoticeAFileThatShrinks) {
    writeEverywhere(pattern(20000));
    V_FileStream buffered("disk", 5000), large("disk", 5000);
    V_UnbufferedFileStream unbuffered("disk", 4096);
    std::filesystem::resize_file(root() / "disk", 12000);
    EXPECT_EQ(readUpTo(buffered, 10000), pattern(20000).substr(0, 10000));
    EXPECT_EQ(messageOf<Unable>([&] { readUpTo(buffered, 5000); }), "Unable to read data from \"disk\"");
    EXPECT_EQ(buffered.getPosition(), 10000u);
    EXPECT_THROW(readUpTo(large, 20000), Unable *);
    EXPECT_EQ(large.getPosition(), 0u);
    EXPECT_EQ(messageOf<V_FileException_OverreadingStream>([&] { readUpTo(unbuffered, 15000); }),
              "Overreading stream disk");
    EXPECT_EQ(readUpTo(unbuffered, 12000), pattern(20000).substr(0, 12000));
}

/// Code that gives other than was announced ends in an exception, once and for all, and the bytes before that
/// are those of an undamaged entry.
TEST_F(Streams, NoticeDamagedEntries) {
    const std::string content = pattern(3000);
    for (const int longer : {100, -100})
        for (std::size_t piece : {1, 100, 5000}) {
            ArchiveBuilder archive;
            ArchiveBuilder::Record &record = archive.add("\\packed", content, 1).records[0];
            record.size += static_cast<unsigned int>(longer);
            record.stored[4] = static_cast<char>(record.size);
            record.stored[5] = static_cast<char>(record.size >> 8);
            archive.write(root() / "A.VAS");
            File->setFileSystemRoot(engineRoot().c_str());
            V_FileStream stream("packed", 64);
            std::string text;
            EXPECT_THROW(readAll(stream, piece, text), Corrupted *);
            EXPECT_EQ(content.compare(0, text.size(), text), 0);
            EXPECT_THROW(readUpTo(stream, 1), Corrupted *);
        }
    ArchiveBuilder()
        .add("\\packed", content, 1)
        .add("\\odd", content, 4)
        .add("\\stored", content)
        .write(root() / "A.VAS");
    File->setFileSystemRoot(engineRoot().c_str());
    EXPECT_THROW(V_FileStream("odd", 64), Corrupted *);
    std::filesystem::resize_file(root() / "A.VAS", std::filesystem::file_size(root() / "A.VAS") - 6500);
    V_FileStream stored("stored", 64);
    EXPECT_THROW(V_FileStream("packed", 64), Unable *);
    EXPECT_THROW(readAll(stored, 5000), Unable *);
}

} // namespace
