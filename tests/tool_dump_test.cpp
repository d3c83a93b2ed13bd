// vl dump, run as a user runs it.

#include "tests/support/archive_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/memory_file_bytes.h"
#include "tests/support/program.h"
#include "vl/math_types.h"
#include "vl/memoryfile.h"

#include <nlohmann/json.hpp>

#include <limits>
#include <random>

namespace {

using nlohmann::json;

/// Chunk 7 at 0 (payload: int 5 at 13, string at 15, chunk 8 at 21 with a float at 34), bool at 39.
std::string sample() {
    V_MemoryFile file;
    file.createChunk(7, 1);
    file << 5 << "a\n\xff";
    file.createChunk(8, 2);
    file << std::numeric_limits<float>::infinity();
    file.closeChunk();
    file.closeChunk();
    file << true << M_Vector2Template<float>{1, 0.1F};
    return bytesOf(file);
}

class DumpTool : public LibraryTest {
  protected:
    Outcome dump(const std::string &content, const std::string &options = "") const {
        writeFile(root() / "FILE.DAT", content);
        return runTool("dump " + quoted(root() / "FILE.DAT") + " " + options);
    }
};

TEST_F(DumpTool, ShowsOffsetsChunksTypesAndValues) {
    const Outcome outcome = dump(sample());
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "00000000  chunk 7 version 1 size 39\n"
                              "0000000d    int 5\n"
                              "0000000f    string \"a\\n\xEF\xBF\xBD\"\n"
                              "00000015    chunk 8 version 2 size 18\n"
                              "00000022      float \"inf\"\n"
                              "00000027  bool true\n"
                              "00000029  vector2 [1.0,0.1]\n");
}

TEST_F(DumpTool, ReadsArchivesAndPrintsJson) {
    for (const std::uint32_t method : {1u, 2u, 3u}) {
        ArchiveBuilder builder;
        builder.add("\\data\\a.dat", sample(), method).write(root() / "A.VAS");
        const Outcome outcome = runTool("dump Data/A.DAT --json --archive " + quoted(root() / "A.VAS"));
        ASSERT_EQ(outcome.status, 0) << outcome.output;
        const json items = json::parse(outcome.output);
        ASSERT_EQ(items.size(), 3u);
        EXPECT_EQ(items[0]["chunk"], 7);
        EXPECT_EQ(items[0]["items"][2]["items"][0]["offset"], 34);
        EXPECT_EQ(items[2]["value"], json({1.0, 0.1}));
    }
    EXPECT_NE(runTool("dump b.dat --archive " + quoted(root() / "A.VAS")).status, 0);
    EXPECT_NE(runTool("dump " + quoted(root() / "nothing")).status, 0);
}

TEST_F(DumpTool, ReportsDamageWhereItLiesAndShowsTheRest) {
    const auto expect = [this](const std::string &damaged, std::initializer_list<const char *> texts) {
        const Outcome outcome = dump(damaged);
        EXPECT_EQ(outcome.status, 1);
        for (const char *text : texts)
            EXPECT_NE(outcome.output.find(text), std::string::npos) << outcome.output;
    };
    std::string badTag = sample(), badSize = sample();
    badTag[39] = 62;
    expect(badTag, {"00000027  DAMAGE: no tag of a value\n"});
    badSize[21 + 9] = 100; // of the inner chunk, beyond its parent's end: it and what follows are shown
    expect(badSize, {"0000001e    DAMAGE: chunk size that does not fit\n", "float \"inf\"", "vector2"});
    expect(sample().substr(0, 45), {"00000029  DAMAGE: value cut short\n00000029  rest 15 "});
}

TEST_F(DumpTool, ShowsFilesWithoutTagsAsBytes) {
    V_MemoryFile file;
    file.disableTags();
    file << 2;
    file.createChunk(7, 1);
    file << 1.0F;
    file.closeChunk();
    EXPECT_EQ(dump(bytesOf(file), "--untagged").output, "00000000  untagged 02 00 00 00\n"
                                                        "00000004  chunk 7 version 1 size 17\n"
                                                        "00000011    untagged 00 00 80 3f\n");
}

TEST_F(DumpTool, SurvivesAnything) {
    std::mt19937 random(1);
    const std::string sound = sample();
    for (int i = 0; i < 25; ++i) {
        std::string content = sound;
        for (int flips = 0; flips < 3; ++flips)
            content[random() % content.size()] = static_cast<char>(random());
        if (i % 5 == 0)
            for (char &byte : content)
                byte = static_cast<char>(random() % 40);
        const Outcome outcome = dump(content, "--json");
        EXPECT_TRUE(outcome.status == 0 || outcome.status == 1) << outcome.output;
        EXPECT_TRUE(json::accept(outcome.output)) << outcome.output;
    }
    std::string nested; // chunks that all claim the whole rest
    for (int depth = 0; depth < 5000; ++depth)
        nested += std::string("\x0c\1\0\0\0\1\0\0\0\xff\xff\xff\xff", 13);
    EXPECT_EQ(dump(nested, "--json").status, 1);
}

} // namespace
