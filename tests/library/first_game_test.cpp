// The listings of docs/first-game.md, assembled and played as they stand there.

#include <gtest/gtest.h>

#include "tests/support/headless_run.h"
#include "tests/support/picture.h"
#include "tests/support/sound_bytes.h"

namespace moxi {

namespace {

constexpr u32 kNight = 0x141C3C;
constexpr u32 kGlow = 0xF0DC5A;
constexpr u32 kBody = 0x5A3C14;

// The listing whose first line is "; NAME: ...".
std::string Listing(const std::string& name) {
    for (const std::string& example : ExamplesOf(MOXI_SOURCE_DIR "/docs/first-game.md")) {
        if (example.starts_with("; " + name + ":")) {
            return example;
        }
    }
    ADD_FAILURE() << "no listing " << name;
    return "";
}

struct Played {
    HeadlessResult result;
    Picture view;
};

Played Play(const std::string& name, const std::string& script = "",
            const std::map<std::string, std::string>& data = {},
            const std::map<std::string, std::string>& resources = {}) {
    const TemporaryFolder folder;
    HeadlessRun run;
    run.source = Listing(name);
    run.script = script;
    run.data = data;
    run.resources = resources;
    run.options = {"--run-ms", "1000", "--dump-view", folder.path + "/view.png"};
    Played played;
    played.result = RunHeadless(run);
    EXPECT_EQ(played.result.status, 0);
    EXPECT_EQ(played.result.Fatals(), std::vector<std::string>{});
    played.view = ReadPicture(folder.path + "/view.png");
    return played;
}

// The upper left corner of a firefly on the night: its body is 10 to the right and 2 down, and 12 x
// 14 large.
bool HasFirefly(const Picture& view, u32 x, u32 y) {
    return view.At(x + 16, y + 9) == kBody && view.At(x + 16, y + 25) == kGlow &&
           view.At(x, y) == kNight && view.At(x + 31, y + 31) == kNight;
}

TEST(FirstGame, EveryListingHasAName) {
    for (const std::string& example : ExamplesOf(MOXI_SOURCE_DIR "/docs/first-game.md")) {
        EXPECT_TRUE(example.starts_with("; ")) << example.substr(0, 60);
        EXPECT_NE(example.substr(0, example.find('\n')).find(".mxs: "), std::string::npos);
    }
}

TEST(FirstGame, TheEmptyWindowCanBeClosed) {
    const Played played = Play("first.mxs", "100 close\n");
    EXPECT_EQ(played.result.Logs(), std::vector<std::string>{"windowWillClose"});
    EXPECT_EQ(Play("first.mxs").view.Colour(0, 0, 1000, 600), 0u);
}

TEST(FirstGame, TheWindowHasOneColourInEverySize) {
    EXPECT_EQ(Play("colour.mxs").view.Colour(0, 0, 1000, 600), kNight);
    const Picture view = Play("colour.mxs", "100 resize 1200 700\n").view;
    EXPECT_EQ(view.Colour(0, 0, 1200, 700), kNight);
}

TEST(FirstGame, TheLineIsInTheMiddleAndEscapeEnds) {
    const Played played = Play("hello.mxs");
    u32 left = 1000;
    u32 right = 0;
    for (u32 x = 0; x < 1000; ++x) {
        if (played.view.Colour(x, 40, 1, 48) == kNight) {
            continue;
        }
        left = std::min(left, x);
        right = x;
    }
    EXPECT_NEAR((left + right) / 2.0, 499.5, 6);
    EXPECT_GT(right - left, 200u);
    EXPECT_EQ(played.view.Colour(0, 100, 1000, 500), kNight);
    const Played ended = Play("hello.mxs", "100 key-down 35 \"\\x1B\"\n200 close\n");
    EXPECT_EQ(ended.result.Logs(), std::vector<std::string>{}) << "nothing is left to close";
}

TEST(FirstGame, ThePictureIsDrawnByTheProgramWithoutAFile) {
    const Picture view = Play("sprite.mxs").view;
    EXPECT_TRUE(HasFirefly(view, 100, 100));
}

TEST(FirstGame, ThePictureComesFromItsFile) {
    // Any picture will do; the view of the second listing is one in a single colour.
    const TemporaryFolder folder;
    HeadlessRun run;
    run.source = Listing("colour.mxs");
    run.options = {"--run-ms", "100", "--dump-view", folder.path + "/FIREFLY.PNG"};
    RunHeadless(run);
    HeadlessRun second;
    second.source = Listing("sprite.mxs");
    second.source.insert(second.source.find('\n') + 1, "        .heap 4000000\n");
    second.resources["FIREFLY.PNG"] = ReadTextFile(folder.path + "/FIREFLY.PNG");
    second.options = {"--run-ms", "100", "--dump-view", folder.path + "/view.png"};
    EXPECT_EQ(RunHeadless(second).status, 0);
    EXPECT_EQ(ReadPicture(folder.path + "/view.png").Colour(0, 0, 1000, 600), kNight);
}

TEST(FirstGame, TheFireflyFliesWhileAKeyIsHeld) {
    EXPECT_TRUE(HasFirefly(Play("fly.mxs").view, 100, 100));

    const Played right = Play("fly.mxs", "200 key-down 7C \"\\x1D\"\n400 key-up 7C \"\\x1D\"\n");
    const u32 x = right.result.LongAt("x");
    EXPECT_EQ(right.result.LongAt("y"), 100u);
    // Ten ticks of the timer in 200 ms, and perhaps some of the host's.
    EXPECT_GE(x, 100u + 4 * 9);
    EXPECT_LE(x, 100u + 4 * 14);
    EXPECT_TRUE(HasFirefly(right.view, x, 100));
    EXPECT_EQ(right.view.Colour(0, 0, 1000, 100), kNight);
    EXPECT_EQ(right.view.Colour(0, 100, x, 32), kNight) << "nothing is left behind";
}

TEST(FirstGame, TheFireflyStaysInTheWindow) {
    const Played corner = Play("fly.mxs", "50 key-down 7B \"\\x1C\"\n50 key-down 7E \"\\x1E\"\n");
    EXPECT_EQ(corner.result.LongAt("x"), 0u);
    EXPECT_EQ(corner.result.LongAt("y"), 0u);
    EXPECT_TRUE(HasFirefly(corner.view, 0, 0));
}

TEST(FirstGame, AStarIsCaughtCountedAndTheRecordKept) {
    const Played still = Play("firefly.mxs", "900 close\n");
    EXPECT_EQ(still.result.data.at("FIREFLY.INI").substr(11),
              "=Firefly]\nBest= " + std::to_string(still.result.LongAt("best")) + "\n");

    // The clock's first reading is the same in every headless run, and so the first star's place. A
    // program that puts the firefly there catches it.
    HeadlessRun run;
    run.source = Listing("firefly.mxs");
    const std::string move = "        CALL    move_firefly\n";
    const size_t at = run.source.find(move);
    ASSERT_NE(at, std::string::npos);
    run.source.replace(at, move.size(),
                       "        TBNE.L  [score], @enough\n"
                       "        MOVE.L  [x], [star_x]\n        SUB.L   [x], #SIZE / 2\n"
                       "        MOVE.L  [y], [star_y]\n        SUB.L   [y], #SIZE / 2\n"
                       "        ADD.L   [y], #REACH\n@enough:\n");
    run.script = "500 close\n";
    run.data["FIREFLY.INI"] = "[0x00000000=Firefly]\nBest= 0\n";
    run.resources["SOUNDS/CATCH.WAV"] = WavFile({}, SineSamples(880, 44100, 4410, 0.5));
    const HeadlessResult caught = RunHeadless(run);
    EXPECT_GE(caught.LongAt("score"), 1u);
    EXPECT_EQ(caught.LongAt("best"), caught.LongAt("score"));
    EXPECT_NE(caught.data.at("FIREFLY.INI")
                  .find("\nBest= " + std::to_string(caught.LongAt("best")) + "\n"),
              std::string::npos);
}

TEST(FirstGame, TheRecordOfAnEarlierDayIsShown) {
    const Played played =
        Play("firefly.mxs", "", {{"FIREFLY.INI", "[0x00000000=Firefly]\nBest= 123\n"}});
    EXPECT_EQ(played.result.LongAt("best"), 123u);
    EXPECT_EQ(played.result.TextAt("line").substr(0, 7), "Stars: ");
    EXPECT_NE(played.result.TextAt("line").find("Best: 123"), std::string::npos);
    EXPECT_NE(played.view.Colour(10, 6, 80, 24), kNight) << "the line of text";
}

}  // namespace

}  // namespace moxi
