// Little Kettle, played by event scripts through the real program: its screens, what it keeps, and
// its pilot, which plays all of it.

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/headless_run.h"
#include "tests/support/picture.h"
#include "vm/guard.h"

namespace moxi {

namespace {

namespace fs = std::filesystem;

const std::string kGame = MOXI_BIN_DIR "/../share/moxi/games/kettle";
const std::string kSources = MOXI_SOURCE_DIR "/games/kettle/";

// The picture of 320 x 180 is shown twice as large, below 60 rows of black.
constexpr const char* kDesktop = "640x480";
constexpr u32 kCopper = 0xF09C5C;
constexpr u32 kHeart = 0xF25F5C;

struct Keys {
    std::string text;
    u32 now = 500;

    Keys& Line(const std::string& event) {
        text += std::to_string(now) + " " + event + "\n";
        return *this;
    }
    Keys& Wait(u32 milliseconds) {
        now += milliseconds;
        return *this;
    }
    Keys& Press(const std::string& code, const std::string& typed, u32 held = 40) {
        Line("key-down " + code + " \"" + typed + "\"").Wait(held);
        return Line("key-up " + code + " \"" + typed + "\"").Wait(60);
    }
    Keys& Return() { return Press("24", "\\x0D"); }
    Keys& Escape() { return Press("35", "\\x1B"); }
    Keys& Down(int times = 1) {
        for (; times > 0; --times) {
            Press("7D", "\\x1F");
        }
        return *this;
    }
    // A place of the picture.
    Keys& Click(u32 x, u32 y, int button = 0) {
        const std::string place = std::to_string(x * 2) + " " + std::to_string(60 + y * 2);
        Line("mouse-move " + place).Wait(40);
        Line("mouse-down " + std::to_string(button) + " " + place).Wait(40);
        return Line("mouse-up " + std::to_string(button) + " " + place).Wait(60);
    }
    Keys& Look(const std::string& name) { return Line("screenshot " + name + ".png").Wait(40); }
};

struct Played {
    TemporaryFolder folder;

    explicit Played(const std::string& saved = "") {
        fs::create_directory(folder.path + "/data");
        if (!saved.empty()) {
            WriteTextFile(folder.path + "/data/SAVED.INI", "[0x00000000=Saved]\n" + saved);
        }
    }

    void Run(const Keys& keys, const std::string& game = kGame) const {
        WriteTextFile(folder.path + "/script", keys.text);
        const ProgramResult run =
            RunProgram("moxi",
                       {"--headless", "--desktop", kDesktop, "--data-folder", "data", "--script",
                        "script", "--run-ms", std::to_string(keys.now + 100), game},
                       folder.path);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.errors, "");
    }

    Picture Seen(const std::string& name) const {
        return ReadPicture(folder.path + "/" + name + ".png");
    }
    // The screen that a picture shows, by the corner of its panel.
    std::string Screen(const std::string& name) const {
        const Picture seen = Seen(name);
        const auto isCopper = [&](u32 x, u32 y) { return seen.At(x * 2, 60 + y * 2) == kCopper; };
        if (isCopper(99, 91)) {
            return "title";
        }
        if (isCopper(15, 11)) {
            return "keys";
        }
        if (isCopper(71, 25)) {
            return "options";
        }
        if (isCopper(86, 41)) {
            return "pause";
        }
        if (isCopper(51, 17)) {
            return "done";
        }
        for (u32 card = 0; card < 4; ++card) {
            if (isCopper(14 + 74 * card, 90)) {
                return "levels " + std::to_string(card + 1);
            }
        }
        // The first heart, which is whole as long as the game goes on.
        return seen.At(14, 60 + 14) == kHeart ? "play" : "none of them";
    }
    // The number of a line of the saved values, -1 none.
    int Saved(const std::string& key) const {
        const std::string text = "\n" + ReadTextFile(folder.path + "/data/SAVED.INI");
        const size_t at = text.find("\n" + key + "= ");
        return at == std::string::npos ? -1 : std::stoi(text.substr(at + key.size() + 3));
    }
};

TEST(Kettle, EveryScreenIsReachedAndLeftByKeys) {
    const Played played;
    Keys keys;
    keys.Look("1").Down().Return().Look("2").Escape().Look("3");
    keys.Down(2).Return().Look("4").Escape().Look("5");
    keys.Return().Look("6").Return().Wait(800).Look("7").Escape().Look("8");
    keys.Down(2).Return().Look("9").Escape().Look("10").Escape().Look("11");
    keys.Escape().Down(3).Return().Look("12").Escape().Look("13");
    played.Run(keys);
    const std::vector<std::string> wanted = {"title",    "keys",     "title", "options", "title",
                                             "levels 1", "play",     "pause", "options", "pause",
                                             "play",     "levels 1", "title"};
    for (size_t i = 0; i < wanted.size(); ++i) {
        EXPECT_EQ(played.Screen(std::to_string(i + 1)), wanted[i]) << i + 1;
    }
}

TEST(Kettle, EveryScreenIsReachedAndLeftByMouse) {
    const Played played("opened= 2\n");
    Keys keys;
    keys.Click(160, 116).Look("1").Click(160, 151).Look("2");   // how to play, back
    keys.Click(160, 131).Look("3").Click(10, 10, 1).Look("4");  // options, right button
    keys.Click(160, 101).Look("5").Click(200, 90).Look("6");    // levels; the third is locked
    keys.Click(120, 90).Wait(800).Look("7");
    played.Run(keys);
    const std::vector<std::string> wanted = {"keys",     "title",    "options", "title",
                                             "levels 2", "levels 2", "play"};
    for (size_t i = 0; i < wanted.size(); ++i) {
        EXPECT_EQ(played.Screen(std::to_string(i + 1)), wanted[i]) << i + 1;
    }
}

TEST(Kettle, OptionsAndProgressAreThereInTheNextRun) {
    const Played played("opened= 3\nbest1= 1831\nleaves1= 5\n");
    Keys keys;
    keys.Down(2).Return().Return().Down(2).Return();  // options: music, shaking
    keys.Escape().Return().Look("levels");
    played.Run(keys);
    EXPECT_EQ(played.Saved("music"), 0);
    EXPECT_EQ(played.Saved("sound"), 1);
    EXPECT_EQ(played.Saved("shake"), 0);
    EXPECT_EQ(played.Screen("levels"), "levels 3");

    keys = Keys();
    keys.Down(2).Return().Down(4).Return();  // forget all records
    keys.Escape().Return().Look("levels");
    played.Run(keys);
    EXPECT_EQ(played.Saved("opened"), 1);
    EXPECT_EQ(played.Saved("best1"), 0);
    EXPECT_EQ(played.Saved("music"), 0) << "read again, and kept";
    EXPECT_EQ(played.Screen("levels"), "levels 1");
}

TEST(Kettle, SavedValuesThatCannotBeAreLeftOut) {
    const Played played("opened= 99\nmusic= 7\nbest1= -4\nleaves1= 255\n");
    Keys keys;
    keys.Return().Look("levels").Escape();
    keys.Down(2).Return().Down().Return();
    played.Run(keys);
    EXPECT_EQ(played.Screen("levels"), "levels 1");
    EXPECT_EQ(played.Saved("music"), 1);
}

// What it does is the same in every build of the host; in those that check each access it takes
// minutes.
TEST(Kettle, ThePilotReachesEveryCupAndTheEnd) {
    if (kCheckedAccess) {
        GTEST_SKIP() << "the release build plays it";
    }
    const Played played;
    const std::string game = played.folder.path + "/game/";
    fs::copy(kSources + "resources", game, fs::copy_options::recursive);
    std::vector<std::string> arguments = {"-DPILOT", "-o", game};
    for (const auto& entry : fs::directory_iterator(kSources + "src")) {
        if (entry.path().extension() == ".c") {
            arguments.push_back(entry.path());
        }
    }
    ASSERT_EQ(RunProgram("mxcc", arguments, played.folder.path).status, 0);
    Keys keys;
    // It ends itself after the last cup.
    while (keys.now < 400000) {
        keys.Return().Wait(2400);
    }
    played.Run(keys, game);
    EXPECT_EQ(played.Saved("opened"), 4);
    for (int level = 1; level <= 4; ++level) {
        // No cup can be reached within ten seconds.
        EXPECT_GT(played.Saved("best" + std::to_string(level)), 600) << level;
    }
}

}  // namespace

}  // namespace moxi
