// The file system when memory runs out: every operation with each of its allocations failing in turn reports
// that or does its work all the same, releases what it took, and succeeds at the next try.

#include "tests/support/archive_builder.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/library_test.h"

#include "vl/file/stream.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

class Exhaustion : public LibraryTest {
  protected:
    /// Returns how often `operation` has reported exhausted memory. It must not allocate by itself.
    template <class Operation>
    int failEachOf(const Operation &operation) {
        const int atRest = outstanding();
        return failEachAllocation<V_MemoryException_Allocation *>(operation, [&] {
            expectAllReleased(atRest);
            operation();
            EXPECT_STREQ(File->getCurrentDirectory(), "\\");
        });
    }

    /// An archive with one content under every storage method, and that content.
    const char *loadArchive() {
        static const char content[] = "to be read, to be cut, to be read, to be cut";
        ArchiveBuilder()
            .add("\\1", content, 1)
            .add("\\2", content, 2)
            .add("\\sub\\3", content, 3)
            .write(root() / "a.vas");
        File->setFileSystemRoot(engineRoot().c_str());
        return content;
    }
};

struct Release {
    void operator()(void *block) const { File->free(static_cast<char *>(block)); }
};
using Block = std::unique_ptr<void, Release>;

TEST_F(Exhaustion, OfAPlainFile) {
    writeFile(root() / "Data/File.bin", "content");
    EXPECT_GE(failEachOf([] {
                  const Block data(File->load("data/file.BIN", V_File::WHOLE_FILE));
                  EXPECT_EQ(std::memcmp(data.get(), "content", 7), 0);
              }),
              1);
    failEachOf([] {
        EXPECT_EQ(File->save("DATA/new.txt", "one ", 4), 1);
        EXPECT_EQ(File->append("data/NEW.txt", "two", 3), 1);
        EXPECT_EQ(File->size("data/new.TXT"), 7u);
        EXPECT_NE(File->timeStamp("data/new.TXT"), 0u);
        EXPECT_EQ(File->del("Data/New.txt"), 1);
        EXPECT_EQ(File->where("data/new.txt"), V_File::LOC_NONE);
    });
}

TEST_F(Exhaustion, OfADirectoryChange) {
    std::filesystem::create_directories(root() / "A directory with a long name/below/it");
    EXPECT_GE(failEachOf([] {
                  const V_FileDirectoryChange outer("a directory with a LONG name");
                  V_FileDirectoryChange inner("BELOW");
                  EXPECT_STREQ(File->getCurrentDirectory(), "\\a directory with a LONG name\\BELOW\\");
                  inner.construct("below\\it\\..");
                  EXPECT_STREQ(File->getCurrentDirectory(), "\\a directory with a LONG name\\below\\");
              }),
              2);
}

TEST_F(Exhaustion, OfContainersInMemory) {
    EXPECT_GE(failEachOf([] {
                  const Block packed(File->compress("content, content", 16));
                  const Block hidden(File->encrypt(packed.get(), 20));
                  const Block shown(File->decrypt(hidden.get()));
                  const Block unpacked(File->decompress(packed.get()));
                  EXPECT_EQ(std::memcmp(shown.get(), packed.get(), 20), 0);
                  EXPECT_EQ(std::memcmp(unpacked.get(), "content, content", 16), 0);
              }),
              5);
}

TEST_F(Exhaustion, OfArchivedFiles) {
    const char *content = loadArchive();
    for (const char *name : {"1", "2", "sub\\3"})
        for (const unsigned int size : {V_File::WHOLE_FILE, 20u})
            EXPECT_GE(failEachOf([&] {
                          const Block data(File->load(name, size));
                          EXPECT_EQ(std::memcmp(data.get(), content, std::min(size, 44u)), 0);
                      }),
                      1);
}

TEST_F(Exhaustion, OfStreams) {
    loadArchive();
    writeFile(root() / "disk", "0123456789");
    EXPECT_GT(failEachOf([] {
                  V_FileStream disk("disk", 4), copy(disk), packed("2", 4);
                  V_UnbufferedFileStream unbuffered("sub\\3", 4), second(unbuffered);
                  V_FileStream sliced(second, 1, 1);
                  copy = sliced;
              }),
              15);
}

TEST_F(Exhaustion, OfASearch) {
    loadArchive();
    EXPECT_GT(failEachOf([] {
                  EXPECT_STREQ(File->findFirst("*"), "a.vas");
                  for (const char *expected : {"sub", "1", "2"})
                      EXPECT_STREQ(File->findNext(), expected);
                  EXPECT_EQ(File->findNext(), nullptr);
              }),
              1);
}

/// Removes all places that can be, also where that runs out of memory, and tells that at the end.
void removePlaces() {
    V_Exception *failure = nullptr;
    for (std::size_t i = V_FilePlaces().size(); i-- > 0;) {
        try {
            File->removePlace(V_FilePlaces()[i].id);
        } catch (V_Exception *exception) {
            failure = exception;
            ++i;
        }
    }
    if (failure)
        throw static_cast<V_MemoryException_Allocation *>(failure);
}

TEST_F(Exhaustion, OfPlaces) {
    ArchiveBuilder().add("\\1", "content").write(root() / "added");
    std::filesystem::create_directories(root() / "directory");
    EXPECT_GT(failEachOf([] {
                  try {
                      const unsigned int archive =
                          File->addPlace("added", V_File::PLACE_FIRST, "shown\\here");
                      File->addPlace("directory", V_File::PLACE_BEFORE, "shown", archive);
                      File->setWriteDirectory("directory");
                      EXPECT_TRUE(File->movePlace(archive, V_File::PLACE_LAST));
                      EXPECT_EQ(V_FileListing("shown\\here\\*").size(), 1u);
                      EXPECT_EQ(V_FilePlaces().size(), 4u);
                  } catch (...) {
                      removePlaces();
                      throw;
                  }
                  removePlaces();
              }),
              15);
}

} // namespace
