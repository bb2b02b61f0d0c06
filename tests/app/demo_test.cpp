// The demo game, played by event scripts through the real program.

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/headless_run.h"
#include "tests/support/picture.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

const fs::path kSources = fs::path(MOXI_SOURCE_DIR) / "demo";
const fs::path kGoldenRun = fs::path(MOXI_SOURCE_DIR) / "tests" / "app" / "demo_run";
const fs::path kDemoGame = fs::path(MOXI_BIN_DIR).parent_path() / "share" / "moxi" / "demo";

void ExpectSamePicture(const fs::path& gotPath, const fs::path& wantedPath) {
    const Picture got = ReadPicture(gotPath.string());
    const Picture wanted = ReadPicture(wantedPath.string());
    ASSERT_GT(wanted.width, 0u) << wantedPath << " is no picture";
    ASSERT_EQ(got.width, wanted.width);
    ASSERT_EQ(got.height, wanted.height);
    u32 different = 0;
    u32 first = 0;
    for (u32 pixel = 0; pixel < wanted.width * wanted.height; ++pixel) {
        if (std::equal(&got.rgb[pixel * 3], &got.rgb[pixel * 3] + 3, &wanted.rgb[pixel * 3])) {
            continue;
        }
        if (different++ == 0) {
            first = pixel;
        }
    }
    EXPECT_EQ(different, 0u) << wantedPath << ": the first different pixel is at "
                             << first % wanted.width << ", " << first / wanted.width;
}

// Plays `script` for `milliseconds` in a game folder of its own.
HeadlessResult PlayDemo(const std::string& script, const std::string& milliseconds,
                        const std::vector<std::string>& lines = {}) {
    const fs::path source = kSources / "demo.mxs";
    AssembleResult assembled =
        Assemble(ReadTextFile(source.string()), source.string(), LibraryOptions());
    EXPECT_TRUE(assembled.ok) << FormatErrors(assembled);
    HeadlessRun run;
    run.script = script;
    run.options = {"--run-ms", milliseconds};
    HeadlessResult result = RunHeadlessImage(run, assembled.bytes);
    result.assembled = std::move(assembled);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, lines);
    return result;
}

ProgramResult PlayGoldenRun(const std::string& script, const std::string& folder,
                            const std::vector<std::string>& options) {
    std::vector<std::string> arguments = {"--headless", "--data-folder", folder + "/data",
                                          "--script", script};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back(kDemoGame.string());
    return RunProgram("moxi", arguments, folder);
}

}  // namespace

TEST(Demo, PaintsItsGoldenPictures) {
    const TemporaryFolder folder;
    const ProgramResult run =
        PlayGoldenRun((kGoldenRun / "events.txt").string(), folder.path,
                      {"--run-ms", "4402", "--dump-view", folder.path + "/final.png"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    ExpectSamePicture(folder.path + "/barred.png", kGoldenRun / "barred.png");
    ExpectSamePicture(folder.path + "/final.png", kGoldenRun / "final.png");
}

TEST(Demo, RepaintingPartsLeavesThePictureThatRepaintingAllGives) {
    const TemporaryFolder folder;
    std::string script = ReadTextFile((kGoldenRun / "events.txt").string());
    // The flag is gone with the next size, so the figure walks by key.
    script += "3800 key-down 7B \"\\x1C\"\n";
    // Between two ticks of the demo's timer, which the queue delivers at 4405 and 4425.
    script += "4406 screenshot parts.png\n";
    script += "4406 post 9 760 460 0\n";
    script += "4411 screenshot all.png\n";
    WriteTextFile(folder.path + "/script", script);
    EXPECT_EQ(PlayGoldenRun("script", folder.path, {"--run-ms", "4412"}).status, 0);
    ExpectSamePicture(folder.path + "/parts.png", folder.path + "/all.png");
}

TEST(Demo, TheFigureStartsOnThePath) {
    const HeadlessResult run = PlayDemo("", "100");
    EXPECT_EQ(run.LongAt("figure_x"), 460u);  // 1000 / 2 - 40
    EXPECT_EQ(run.LongAt("figure_y"), 516u);  // 600 - 84
}

TEST(Demo, ATapOfAnArrowKeyMovesTheFigureByOneStride) {
    const HeadlessResult right =
        PlayDemo("105 key-down 7C \"\\x1D\"\n106 key-up 7C \"\\x1D\"\n", "200");
    EXPECT_EQ(right.LongAt("figure_x"), 463u);
    EXPECT_EQ(right.LongAt("figure_y"), 516u);
    EXPECT_EQ(right.LongAt("facing_left"), 0u);
    EXPECT_EQ(right.LongAt("step"), 0u);  // it stands again

    const HeadlessResult left =
        PlayDemo("105 key-down 7B \"\\x1C\"\n106 key-up 7B \"\\x1C\"\n", "200");
    EXPECT_EQ(left.LongAt("figure_x"), 457u);
    EXPECT_EQ(left.LongAt("facing_left"), 1u);

    const HeadlessResult up =
        PlayDemo("105 key-down 7E \"\\x1E\"\n106 key-up 7E \"\\x1E\"\n", "200");
    EXPECT_EQ(up.LongAt("figure_x"), 460u);
    EXPECT_EQ(up.LongAt("figure_y"), 514u);

    const HeadlessResult down =
        PlayDemo("105 key-down 7D \"\\x1F\"\n106 key-up 7D \"\\x1F\"\n", "200");
    EXPECT_EQ(down.LongAt("figure_y"), 518u);
}

TEST(Demo, AHeldArrowKeyStopsAtTheEdge) {
    const HeadlessResult run = PlayDemo("100 key-down 7B \"\\x1C\"\n", "9000");
    EXPECT_EQ(run.LongAt("figure_x"), 24u);
    EXPECT_EQ(run.LongAt("step"), 0u);
}

TEST(Demo, TheFigureWalksToAClickAndTheFlagGoesAway) {
    const std::string click = "100 mouse-down 0 700 450\n120 mouse-up 0 700 450\n";
    const HeadlessResult walking = PlayDemo(click, "300");
    EXPECT_EQ(walking.LongAt("target_on"), 1u);
    const HeadlessResult there = PlayDemo(click, "5000");
    EXPECT_EQ(there.LongAt("figure_x"), 700u);
    EXPECT_EQ(there.LongAt("figure_y"), 450u);
    EXPECT_EQ(there.LongAt("target_on"), 0u);
}

TEST(Demo, AClickIntoTheSkyIsTakenToTheNearestGround) {
    const HeadlessResult run = PlayDemo("100 mouse-down 0 5 10\n120 mouse-up 0 5 10\n", "6000");
    EXPECT_EQ(run.LongAt("figure_x"), 24u);
    EXPECT_EQ(run.LongAt("figure_y"), 411u);  // the horizon at 600 * 5 / 8, then 36 rows
}

TEST(Demo, TheFigureFollowsADrag) {
    const HeadlessResult run = PlayDemo(
        "100 mouse-down 0 500 500\n150 mouse-drag 0 520 480\n200 mouse-drag 0 540 470\n", "4000");
    EXPECT_EQ(run.LongAt("figure_x"), 540u);
    EXPECT_EQ(run.LongAt("figure_y"), 470u);
}

TEST(Demo, ABarredDoorKeepsTheWindowOpen) {
    const HeadlessResult kept = PlayDemo("100 key-down 09 \"v\"\n200 close\n300 quit\n", "2000");
    EXPECT_EQ(kept.LongAt("barred"), 1u);
    EXPECT_GT(kept.LongAt("tick"), 90u);  // it went on for 1,800 ms, 50 ticks a second and more
    EXPECT_EQ(kept.LongAt("flash"), 0u);  // it blinked and has come to rest
}

TEST(Demo, AnOpenDoorLetsTheWindowClose) {
    const HeadlessResult closed =
        PlayDemo("100 key-down 09 \"v\"\n110 key-up 09 \"v\"\n150 key-down 09 \"v\"\n200 close\n",
                 "2000", {"log: windowWillClose"});
    EXPECT_EQ(closed.LongAt("barred"), 0u);
    EXPECT_LT(closed.LongAt("tick"), 15u);
}

TEST(Demo, EscapeEndsTheProgram) {
    const HeadlessResult ended = PlayDemo("200 key-down 35 \"\\x1B\"\n", "2000");
    EXPECT_LT(ended.LongAt("tick"), 15u);
}

}  // namespace moxi
