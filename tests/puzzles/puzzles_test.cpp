// The puzzles as a player has them: each is opened, solved and kept; a few are played.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "tests/support/headless_run.h"
#include "tests/support/patterns.h"
#include "tests/support/picture.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr char kGame[] = "../share/moxi/games/puzzles";
constexpr u32 kAccent = 0x2662C4;  // of the light theme: the ground of "Solved"

// The game's folder lies beside the program's.
std::string GameFolder() {
    return (fs::read_symlink("/proc/self/exe").parent_path() / kGame).string();
}

class Puzzles : public testing::Test {
  protected:
    // Without its source there is no game; the build has said why.
    void SetUp() override {
        if (!fs::exists(GameFolder() + "/MAIN.MX")) {
            GTEST_SKIP() << "the source could not be had";
        }
    }

    // Runs the game in a window of 900 x 700, where the letters are 14 pixels, from the puzzle that
    // was left in the last run or from the chooser ("").
    Picture Play(const std::string& last, const std::string& script, int milliseconds = 2500) {
        const std::string data = folder.path + "/data";
        fs::create_directories(data);
        std::ofstream(data + "/preferences")
            << "dark 0\nwheel 1\nkeys 1\nwidth 900\nheight 700\nlast " << last << "\n";
        std::ofstream(folder.path + "/script") << script;
        const ProgramResult run = RunProgram(
            "moxi",
            {"--headless", "--mute", "--date", "2026-01-02 03:04:05", "--data-folder", data,
             "--script", folder.path + "/script", "--run-ms", std::to_string(milliseconds),
             "--dump-view", folder.path + "/view.png", GameFolder()},
            folder.path);
        EXPECT_EQ(run.status, 0) << last;
        EXPECT_EQ(run.errors, "") << last;
        return ReadPicture(folder.path + "/view.png");
    }

    // What the data folder has of a puzzle; "" nothing.
    std::string Kept(const std::string& id) {
        const std::string path = folder.path + "/data/played/" + id + ".sav";
        return fs::exists(path) ? ReadTextFile(path) : "";
    }

    TemporaryFolder folder;
};

// The value of a line "WORD    :12:VALUE" of a saved game.
std::string Field(const std::string& saved, const std::string& word) {
    std::istringstream lines(saved);
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, word.size(), word) == 0) {
            return line.substr(line.find(':', line.find(':') + 1) + 1);
        }
    }
    return "";
}

std::string Press(int time, const std::string& code, const std::string& text) {
    return std::to_string(time) + " key-down " + code + " \"" + text + "\"\n" +
           std::to_string(time + 20) + " key-up " + code + " \"" + text + "\"\n";
}

std::string PressWithCommand(int time, const std::string& code, const std::string& text) {
    return std::to_string(time) + " modifiers command\n" + Press(time + 5, code, text) +
           std::to_string(time + 30) + " modifiers\n";
}

std::string Click(int time, int x, int y) {
    const std::string at = " 0 " + std::to_string(x) + " " + std::to_string(y) + "\n";
    return std::to_string(time) + " mouse-down" + at + std::to_string(time + 20) + " mouse-up" + at;
}

const std::string kReturn = "24";
const std::string kRight = "7C";

// The mark at the right end of the line of status, right of its text.
bool SaysSolved(const Picture& view) {
    return view.At(889, 684) == kAccent;
}

bool SamePicture(const Picture& first, const Picture& second) {
    return first.width == second.width && first.rgb == second.rgb;
}

std::vector<std::string> AllPuzzles() {
    std::vector<std::string> ids;
    for (const auto& file : fs::directory_iterator(GameFolder() + "/examples")) {
        ids.push_back(file.path().stem().string());
    }
    return ids;
}

TEST_F(Puzzles, AreForty) {
    EXPECT_EQ(AllPuzzles().size(), 40u);
}

TEST_F(Puzzles, EachIsSolvedByItsSolver) {
    // Those that have no solver.
    const std::set<std::string> unsolvable = {"cube", "pegs", "samegame"};
    // Those whose solver shows the way, or ends the game, or whose honours are for players alone.
    const std::set<std::string> shown = {"blackbox", "flip",  "flood", "guess",
                                         "inertia",  "mines", "rect",  "undead"};
    for (const std::string& id : AllPuzzles()) {
        // A field of mines is laid out by the first step on it.
        std::string script = id == "mines" ? Click(500, 450, 350) : "";
        script += PressWithCommand(1000, "25", "l");
        const Picture view = Play(id, script);
        EXPECT_EQ(SaysSolved(view), unsolvable.count(id) + shown.count(id) == 0) << id;
        EXPECT_EQ(Field(Kept(id), "SOLVE").empty(), unsolvable.count(id) != 0) << id;
    }
}

TEST_F(Puzzles, FifteenIsSolvedByAMove) {
    // 3 lies right of the gap; the arrow moves it to the left.
    const std::string paste = "300 clipboard \"2x2:1,2,0,3\"\n" + PressWithCommand(400, "09", "v");
    EXPECT_FALSE(SaysSolved(Play("fifteen", paste)));
    EXPECT_EQ(Field(Kept("fifteen"), "DESC"), "1,2,0,3");
    EXPECT_TRUE(SaysSolved(Play("fifteen", Press(500, "7B", "\\x1C"))));
    EXPECT_EQ(Field(Kept("fifteen"), "NSTATES"), "2");
}

TEST_F(Puzzles, SoloIsSolvedByMouseAndKeyboard) {
    // A square of 4 with one number left: 1 in the corner at the bottom right.
    const std::string paste =
        "300 clipboard \"2x2:1_2_3_4_3_4_1_2_2_1_4_3_4_3_2a\"\n" + PressWithCommand(400, "09", "v");
    // The puzzle lies between the bar of 35 pixels and the keys at 633; it is a square.
    const Picture view = Play("solo", paste + Click(1000, 610, 560) + Press(1200, "12", "1"));
    EXPECT_TRUE(SaysSolved(view));
}

TEST_F(Puzzles, AMoveIsTakenBackAndMadeAgain) {
    const std::string paste = "300 clipboard \"3x3:1,2,3,4,5,6,0,7,8\"\n" +
                              PressWithCommand(400, "09", "v") + Press(800, "7B", "\\x1C");
    const Picture moved = Play("fifteen", paste);
    const Picture back = Play("fifteen", PressWithCommand(500, "06", "z"));
    EXPECT_EQ(Field(Kept("fifteen"), "STATEPOS"), "1");
    EXPECT_FALSE(SamePicture(moved, back));
    const Picture again = Play("fifteen", PressWithCommand(500, "10", "y"));
    EXPECT_EQ(Field(Kept("fifteen"), "STATEPOS"), "2");
    EXPECT_FALSE(SamePicture(again, back));
    // The wheel does the same.
    Play("fifteen", "500 scroll 0 0.1 450 350\n");
    EXPECT_EQ(Field(Kept("fifteen"), "STATEPOS"), "1");
    Play("fifteen", "500 scroll 0 -0.1 450 350\n");
    EXPECT_EQ(Field(Kept("fifteen"), "STATEPOS"), "2");
}

TEST_F(Puzzles, AGameIsCopiedAndPasted) {
    const Picture first = Play("bridges", "");
    const std::string description = Field(Kept("bridges"), "DESC");
    Play("bridges", PressWithCommand(500, "2D", "n"));
    EXPECT_NE(Field(Kept("bridges"), "DESC"), description);
    fs::remove_all(folder.path + "/data");
    const Picture pasted =
        Play("bridges", PressWithCommand(500, "08", "c") + PressWithCommand(800, "2D", "n") +
                            PressWithCommand(1200, "09", "v"));
    EXPECT_EQ(Field(Kept("bridges"), "DESC"), description);
    // Only what can be taken back is another: Undo is lit.
    EXPECT_EQ(pasted.Colour(0, 100, 60, 500), first.Colour(0, 100, 60, 500));
}

TEST_F(Puzzles, TheSearchFindsAPuzzleAndOpensIt) {
    Play("", Press(300, "1F", "o") + Press(400, "03", "f") + Press(500, "2D", "n") +
                 Press(600, "33", "\\x08") + Press(700, "33", "\\x08") + Press(800, "33", "\\x08") +
                 Press(900, "25", "l") + Press(1000, "1F", "o") + Press(1100, "1F", "o") +
                 Press(1200, "23", "p") + Press(1300, "10", "y") + Press(1400, kReturn, "\\x0D"));
    EXPECT_EQ(Field(Kept("loopy"), "GAME"), "Loopy");
    EXPECT_NE(ReadTextFile(folder.path + "/data/preferences").find("last loopy\n"),
              std::string::npos);
}

TEST_F(Puzzles, TheDialogueRefusesWhatCannotBeAndTakesWhatCan) {
    // The first field is the width, all of it selected.
    const std::string open = PressWithCommand(300, "0E", "e");
    const std::string before = Field((Play("net", ""), Kept("net")), "DESC");
    Play("net", open + Press(600, "1D", "0") + Press(800, kReturn, "\\x0D"));
    EXPECT_EQ(Field(Kept("net"), "DESC"), before);
    Play("net", open + Press(600, "1A", "7") + Press(800, kReturn, "\\x0D"));
    EXPECT_EQ(Field(Kept("net"), "PARAMS"), "7x5");
}

TEST_F(Puzzles, AreTakenUpAgainAsTheyWereLeft) {
    const Picture left = Play("slant", Click(500, 420, 330) + Click(700, 470, 390));
    EXPECT_EQ(Field(Kept("slant"), "NSTATES"), "3");
    EXPECT_TRUE(SamePicture(Play("slant", ""), left));
    // A file that cannot be read is no game, and a new one is made.
    std::ofstream(folder.path + "/data/played/slant.sav") << "SAVEFILE:41:Something else\n";
    Play("slant", "");
    EXPECT_EQ(Field(Kept("slant"), "NSTATES"), "1");
}

TEST_F(Puzzles, FitIntoAnyWindow) {
    for (const char* const id : {"untangle", "pattern", "guess"}) {
        const Picture small = Play(id, "500 resize 60 50\n700 resize 230 180\n");
        EXPECT_EQ(small.width, 230u);
        const Picture large = Play(id, "500 resize 1900 1040\n");
        EXPECT_EQ(large.height, 1040u);
    }
}

TEST_F(Puzzles, TheHelpHasAPageForEach) {
    std::vector<std::string> names = AllPuzzles();
    names.insert(names.end(), {"common", "licence"});
    for (const std::string& name : names) {
        std::istringstream page(ReadTextFile(GameFolder() + "/help/" + name + ".txt"));
        int lines = 0;
        for (std::string line; std::getline(page, line); ++lines) {
            // The manual's own commands have all been understood; Slant speaks of \ and /.
            const bool hasCommand = !FirstMatch(line, "[{}]|\\\\[A-Za-z]").empty();
            EXPECT_FALSE(line[0] != '|' && hasCommand) << line;
            EXPECT_NE(std::string("#=*:>| ").find(line[0]), std::string::npos) << line;
        }
        EXPECT_GE(lines, 4) << name;
    }
}

}  // namespace

}  // namespace moxi
