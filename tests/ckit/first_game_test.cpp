// The listings of docs/first-game-in-c.md, compiled and played as they stand there.

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "tests/support/headless_run.h"
#include "tests/support/picture.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr u32 kSky = 0x78BEF0;
constexpr u32 kOrange = 0xF08C32;
constexpr u32 kGreen = 0x50B45A;

// What stands between the lines ```c and ```, by its name: the first line is "// NAME: ...".
std::map<std::string, std::string> Listings() {
    std::map<std::string, std::string> listings;
    std::istringstream page(ReadTextFile(MOXI_SOURCE_DIR "/docs/first-game-in-c.md"));
    std::string text;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line == "```c") {
            inside = true;
            text.clear();
        } else if (line == "```" && inside) {
            inside = false;
            listings[text.substr(3, text.find(':') - 3)] = text;
        } else if (inside) {
            text += line + "\n";
        }
    }
    return listings;
}

struct Played {
    Picture view;
    std::string saved;
};

Played Play(const std::string& name, const std::string& script, u32 milliseconds = 1000) {
    const TemporaryFolder folder;
    Played played;
    const auto listings = Listings();
    const auto listing = listings.find(name);
    EXPECT_NE(listing, listings.end()) << name;
    if (listing == listings.end()) {
        return played;
    }
    WriteTextFile(folder.path + "/" + name, listing->second);
    WriteTextFile(folder.path + "/script", script);
    const ProgramResult built =
        RunProgram("mxcc", {"-Wall", "-Wextra", name, "-o", "game/"}, folder.path);
    EXPECT_EQ(built.status, 0);
    EXPECT_EQ(built.errors, "");
    const ProgramResult run =
        RunProgram("moxi",
                   {"--headless", "--data-folder", folder.path + "/data", "--script", "script",
                    "--run-ms", std::to_string(milliseconds), "--dump-view", "view.png", "game"},
                   folder.path);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    played.view = ReadPicture(folder.path + "/view.png");
    if (fs::exists(folder.path + "/data/SAVED.INI")) {
        played.saved = ReadTextFile(folder.path + "/data/SAVED.INI");
    }
    return played;
}

// The colour of a pixel of a canvas of 200 by 120, which the window shows five times as large.
u32 CanvasPixel(const Picture& view, u32 x, u32 y) {
    return view.At(x * 5 + 2, y * 5 + 2);
}

TEST(FirstGameInC, TheWindowHasOneColour) {
    EXPECT_EQ(Play("colour.c", "").view.Colour(0, 0, 1000, 600), kSky);
}

TEST(FirstGameInC, TheBoxGoesWhereTheKeysSay) {
    const Picture still = Play("box.c", "").view;
    EXPECT_EQ(CanvasPixel(still, 100, 100), kOrange);
    EXPECT_EQ(CanvasPixel(still, 111, 111), kOrange);
    EXPECT_EQ(CanvasPixel(still, 99, 100), kSky);
    // 12 updates in 200 ms, or one beside: from 24 pixels to the left.
    const Picture moved =
        Play("box.c", "300 key-down 7B \"\\x1C\"\n500 key-up 7B \"\\x1C\"\n").view;
    EXPECT_EQ(CanvasPixel(moved, 80, 105), kOrange);
    EXPECT_EQ(CanvasPixel(moved, 72, 105), kSky);
    EXPECT_EQ(CanvasPixel(moved, 92, 105), kSky);
}

TEST(FirstGameInC, TheFoxStandsAndWalks) {
    const Picture still = Play("fox.c", "").view;
    EXPECT_EQ(CanvasPixel(still, 20 + 5, 92 + 5), kOrange);
    EXPECT_EQ(CanvasPixel(still, 20 + 13, 92 + 2), 0xFFFFFFu);
    EXPECT_EQ(CanvasPixel(still, 20 + 1, 92), kSky);
    EXPECT_EQ(CanvasPixel(still, 50, 110), kGreen);
    // A second to the left at 90 pixels a second takes it out of the picture.
    const Picture gone = Play("fox.c", "100 key-down 7B \"\\x1C\"\n").view;
    EXPECT_EQ(CanvasPixel(gone, 20 + 5, 92 + 5), kSky);
}

TEST(FirstGameInC, TheFoxRunsOverTheHills) {
    const Picture start = Play("hills.c", "").view;
    // It has fallen from 60 to the ground at 96.
    EXPECT_EQ(CanvasPixel(start, 20 + 5, 88 + 5), kOrange);
    EXPECT_EQ(CanvasPixel(start, 5, 110), 0x8C5F3Cu);
    // Towards the first hill, 22 pixels before the berry at 48.
    const Picture run = Play("hills.c", "500 key-down 7C \"\\x1D\"\n", 1500).view;
    EXPECT_EQ(CanvasPixel(run, 80 - 16 + 5, 88 + 5), kOrange) << "the hill stops it at 80";
}

TEST(FirstGameInC, TheClockEndsAndTheRecordIsKept) {
    std::string script;
    for (int i = 0; i < 4; ++i) {
        const int time = 1000 + i * 200;
        script += std::to_string(time) + " key-down 31 \" \"\n" + std::to_string(time + 100) +
                  " key-up 31 \" \"\n";
    }
    const Played played = Play("clock.c", script, 6000);
    EXPECT_EQ(CanvasPixel(played.view, 5, 60), 0x8C5AC8u) << "purple";
    EXPECT_NE(played.saved.find("best= 4\n"), std::string::npos) << played.saved;
    EXPECT_EQ(CanvasPixel(Play("clock.c", "").view, 5, 60), 0x182044u) << "navy";
}

}  // namespace

}  // namespace moxi
