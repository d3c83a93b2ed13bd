// vl script and vl system, run as a user runs them.

#include "support/archive_builder.h"
#include "support/library_test.h"
#include "support/program.h"

#include <nlohmann/json.hpp>

using ScriptTool = LibraryTest;

TEST_F(ScriptTool, ShowsScriptsOnDiskAndInArchives) {
    const std::string main = "#include \"inc/wheels.txt\"\n[Car] { [Last] count = MAX; }\n";
    const std::string wheels = "#define MAX 7\n[Wheel]\nlast = MAX; name = \"A b\"; cold;\n";
    writeFile(root() / "disk/main.txt", main);
    writeFile(root() / "disk/inc/wheels.txt", wheels);
    ArchiveBuilder().add("\\main.txt", main, 2).add("\\inc\\wheels.txt", wheels, 1).write(root() / "A.VAS");
    for (const std::string &file :
         {quoted(root() / "disk/main.txt"), "main.txt --archive " + quoted(root() / "A.VAS")}) {
        EXPECT_EQ(runTool("script check " + file).status, 0);
        EXPECT_EQ(runTool("script text " + file).output,
                  "[wheel] last = 7; name = \"A b\"; cold; [car] { [last] count = 7; }\n");
        EXPECT_EQ(runTool("script tree " + file).output,
                  "main.txt\n  [wheel]\n    last = 7\n    name = A b\n    cold\n"
                  "  [car]\n    [last]\n      count = 7\n");
        const auto tree = nlohmann::json::parse(runTool("script tree --json " + file).output);
        EXPECT_EQ(
            tree["blocks"][0]["statements"].dump(),
            R"([{"name":"last","value":"7"},{"name":"name","value":"A b"},{"name":"cold","value":null}])");
        EXPECT_EQ(tree["blocks"][1]["blocks"][0]["name"], "last");
    }
}

TEST_F(ScriptTool, PointsAtTheLineOfAMistake) {
    writeFile(root() / "main.txt", "[First] a;\n#include \"inc.txt\"\n[Last]\na = 1;\n");
    for (const auto &[content, place] : {std::pair("// nothing\n[Wheel]\npos = = 1;\n", "inc.txt:3: "),
                                         {"[Wheel]\n", "inc.txt:1: "},
                                         {"[a] b;\n#include \"no.txt\"\n", "inc.txt:2: "}}) {
        writeFile(root() / "inc.txt", content);
        const Outcome outcome = runTool("script check " + quoted(root() / "main.txt"));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.output.substr(0, std::strlen(place)), place);
    }
}

TEST(SystemTool, ShowsWhatTheLibraryAndTheSystemSay) {
    const Outcome outcome = runTool("system");
    EXPECT_EQ(outcome.status, 0);
    for (const char *row : {"processor  ", "SSE2  ", "physical memory  ", "available memory  "})
        EXPECT_NE(outcome.output.find(row), std::string::npos) << outcome.output;
}
