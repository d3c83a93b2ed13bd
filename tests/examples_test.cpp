// An example as a user runs it: a game's places, add-ons, patch and replay.

#include "tests/support/archive_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/program.h"

namespace {

namespace fs = std::filesystem;

TEST(ShipAGame, ReadsFromItsPlacesAndWritesToTheUsers) {
    const TemporaryDirectory place;
    const fs::path game = place.path() / "game", user = place.path() / "home" / "Vantor" / "ship_a_game";
    fs::create_directories(game);
    ArchiveBuilder().add("\\maps\\one.map", "1").add("\\maps\\two.map", "old").write(game / "GAME.VAS");
    ArchiveBuilder().add("\\maps\\two.map", "patched").write(game / "PATCH.VAS");
    writeFile(game / "UNASKED.VAS", "damaged");
    writeFile(user / "addons" / "bad.vas", "damaged");
    ArchiveBuilder().add("\\maps\\extra.map", "").write(user / "addons" / "good.vas");

    setEnvironment(userDataVariable, (place.path() / "home").string());
    const auto run = [&] { return runExample("ship_a_game", quoted(game)); };
    const Outcome outcome = run();
    EXPECT_EQ(outcome.status, 0);
    const std::string root = enginePath(game), home = enginePath(user);
    EXPECT_EQ(outcome.output, "add-on left out: Unable to read data from \"" + home +
                                  "\\addons\\bad.vas\"\n" + "directory " + home + ", shown at \\\n" + //
                                  "archive   " + root + "\\PATCH.VAS, shown at \\\n" +                //
                                  "directory " + root + ", shown at \\\n" +                           //
                                  "archive   " + root + "\\GAME.VAS, shown at \\\n" +                 //
                                  "archive   " + home + "\\addons\\good.vas, shown at \\addons\\good.vas\n" +
                                  "map one.map, 1 bytes\n"
                                  "map two.map, 7 bytes, which hides another\n"
                                  "replays\\com_11..bvr: 1000 frames, the last at 999\n");
    EXPECT_EQ(fs::file_size(user / "replays" / "com_11..bvr"), 8 + 1000 * 12u);
    EXPECT_EQ(readFile(user / "settings.txt"), "[video] { width = 640; }\n");

    fs::remove(game / "PATCH.VAS");
    EXPECT_NE(run().output.find("no patch\n"), std::string::npos);
    fs::resize_file(game / "GAME.VAS", 60);
    const Outcome damaged = run();
    EXPECT_EQ(damaged.status, 1);
    EXPECT_EQ(damaged.output, "ship_a_game: Unable to read data from \"" + root + "\\GAME.VAS\"\n");
}

} // namespace
