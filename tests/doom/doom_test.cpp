// The shooter as a player has it, and in step with itself where it is no game of moxi's. It is no
// part of the build: the first of these tests that runs builds it, and the others find it.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/headless_run.h"
#include "tests/support/picture.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

const std::string kWork = MOXI_BIN_DIR "/../ports/doom";
const std::string kGame = kWork + "/games/freedoom1";
constexpr int kUnavailable = 3;

// One test at a time builds.
ProgramResult Build(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {kWork + "/lock", MOXI_SOURCE_DIR "/ports/doom/build"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    fs::create_directories(kWork);
    return RunProgram("/usr/bin/flock", command);
}

// A key's code and text.
const std::string kEscape = R"(35 "\x1B")", kReturn = R"(24 "\x0D")", kA = R"(00 "a")",
                  kY = R"(10 "y")", kF2 = R"(78 "\x10")", kF3 = R"(63 "\x10")",
                  kF10 = R"(6D "\x10")";

std::string Press(int time, const std::string& key) {
    return std::to_string(time) + " key-down " + key + "\n" + std::to_string(time + 80) +
           " key-up " + key + "\n";
}

constexpr int kPlaying = 4500;  // when the level of StartLevel is there

// Through the menus into the first level.
std::string StartLevel() {
    return Press(1500, kEscape) + Press(1900, kReturn) + Press(2200, kReturn) +
           Press(2500, kReturn);
}

std::vector<std::string> LinesWith(const std::string& text, const std::string& start) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(start)) {
            lines.push_back(line.substr(start.size()));
        }
    }
    return lines;
}

class Doom : public testing::Test {
  protected:
    void SetUp() override {
        const ProgramResult built = Build({MOXI_BIN_DIR, kWork, kWork + "/games"});
        if (built.status == kUnavailable) {
            GTEST_SKIP() << built.errors;
        }
        ASSERT_EQ(built.status, 0) << built.output << built.errors;
    }

    ProgramResult Run(const std::string& game, const std::vector<std::string>& options) {
        std::vector<std::string> all = {"--headless", "--mute", "--data-folder", data};
        all.insert(all.end(), options.begin(), options.end());
        all.push_back(game);
        return RunProgram("moxi", all, folder.path);
    }

    // Plays events in a window of that size; what the view shows at the end.
    Picture Play(const std::string& size, const std::string& script, int milliseconds) {
        std::ofstream(folder.path + "/script") << "0 resize " << size << "\n" << script;
        const ProgramResult run =
            Run(kGame, {"--script", "script", "--run-ms", std::to_string(milliseconds),
                        "--dump-view", "view.png"});
        EXPECT_EQ(run.status, 0) << run.errors;
        EXPECT_EQ(LinesWith(run.errors, "fatal: "), std::vector<std::string>{});
        return ReadPicture(folder.path + "/view.png");
    }

    TemporaryFolder folder;
    const std::string data = folder.path + "/data";
};

TEST_F(Doom, ADemoIsPlayedToItsEndAsByTheEngineOnTheDesktop) {
    const ProgramResult built = Build({"--check", kWork});
    ASSERT_EQ(built.status, 0) << built.errors;
    const std::vector<std::string> arguments = {"-playdemo", "demo1", "-states", "-nodraw"};
    fs::create_directories(data);
    for (const std::string& argument : arguments) {
        std::ofstream(data + "/ARGS.TXT", std::ios::app) << argument << "\n";
    }
    const ProgramResult run = Run(kGame, {"--run-ms", "60000"});
    EXPECT_EQ(run.status, 0);
    std::vector<std::string> here = arguments;
    here.insert(here.end(), {"-iwad", kGame + "/freedoom1.wad"});
    const ProgramResult engine = RunProgram(kWork + "/check/engine", here, folder.path);
    const auto states = LinesWith(engine.output, "state ");
    EXPECT_EQ(states.size(), 44u);  // of 1,505 tics, 35 in a second
    EXPECT_EQ(LinesWith(run.errors, "log: state "), states);
}

TEST_F(Doom, ThePictureIsEnlargedInWholeSteps) {
    const Picture title = Play("640 400", "", 2000);
    ASSERT_EQ(title.width, 640u);
    const Picture twice = Play("1280 800", "", 2000);
    ASSERT_EQ(twice.width, 1280u);
    u32 uneven = 0, different = 0;
    std::set<u32> colours;
    for (u32 y = 0; y < 200; ++y) {
        for (u32 x = 0; x < 320; ++x) {
            const u32 colour = title.Colour(2 * x, 2 * y, 2, 2);
            uneven += colour > 0xFFFFFF;
            different += colour != twice.Colour(4 * x, 4 * y, 4, 4);
            colours.insert(colour);
        }
    }
    EXPECT_EQ(uneven, 0u);
    EXPECT_EQ(different, 0u);
    EXPECT_GT(colours.size(), 50u);
}

// 240 rows for the picture's 200: each sixth row is one of it, as each fifth of the 200 is.
TEST_F(Doom, InAWindowOfItsShapeThePictureIsAFifthHigher) {
    const Picture flat = Play("640 400", "", 2000);
    const Picture tall = Play("640 480", "", 2000);
    for (u32 row = 0; row < 40; ++row) {
        for (u32 x = 0; x < 320; ++x) {
            ASSERT_EQ(tall.Colour(2 * x, 12 * row, 2, 2), flat.Colour(2 * x, 10 * row, 2, 2));
            ASSERT_EQ(tall.Colour(2 * x, 12 * row + 10, 2, 2),
                      flat.Colour(2 * x, 10 * row + 8, 2, 2));
        }
    }
}

TEST_F(Doom, ALevelIsPlayedSavedAndLoadedAgain) {
    const std::string save = Press(kPlaying, kF2) + Press(kPlaying + 300, kReturn) +
                             Press(kPlaying + 600, kA) + Press(kPlaying + 900, kReturn);
    Play("640 400", StartLevel() + save, kPlaying + 1500);
    EXPECT_TRUE(fs::exists(data + "/doomsav0.dsg"));
    const std::string saved = ReadTextFile(data + "/doomsav0.dsg");
    const auto afterwards = fs::last_write_time(data + "/doomsav0.dsg");

    // Where nothing is played, nothing can be saved.
    const std::string load = Press(1600, kF3) + Press(2000, kReturn);
    Play("640 400", load + save, kPlaying + 1500);
    EXPECT_GT(fs::last_write_time(data + "/doomsav0.dsg"), afterwards);
    const std::string again = ReadTextFile(data + "/doomsav0.dsg");
    ASSERT_GT(saved.size(), 10000u);
    ASSERT_GT(again.size(), 10000u);
    // Behind a name of 24 bytes and a version of 16: skill, chapter, level; behind the players,
    // time.
    EXPECT_EQ(again.substr(40, 3), saved.substr(40, 3));
    EXPECT_GT(again.substr(47, 3), saved.substr(47, 3));
}

TEST_F(Doom, QuittingWritesTheSettings) {
    const std::string quit = Press(1500, kF10) + Press(2000, kY);
    Play("640 400", quit, 20000);
    EXPECT_TRUE(fs::exists(data + "/default.cfg"));
    fs::remove(data + "/default.cfg");
    Play("640 400", "2000 close\n", 20000);
    EXPECT_NE(ReadTextFile(data + "/default.cfg").find("sfx_volume"), std::string::npos);
}

TEST_F(Doom, MusicAndAShotAreFilesOfTheDataFolder) {
    const std::string shot = std::to_string(kPlaying) + " modifiers command\n" +
                             std::to_string(kPlaying + 300) + " modifiers\n";
    Play("640 400", StartLevel() + shot, kPlaying + 1000);
    const std::string music = ReadTextFile(data + "/MUSIC.MID");
    EXPECT_EQ(music.substr(0, 4), "MThd");
    // At first the volume is 8 of 15, or 64 of 127: of the usual 100 of a channel 70 are left,
    // since 100 * sqrt(64 / 127) is 70.99.
    const std::string ownTrack("MTrk\0\0\0\x44\0\xB0\x07\x46\0\xB1\x07\x46", 16);
    EXPECT_EQ(music.substr(14, 16), ownTrack);
    const std::string sound = ReadTextFile(data + "/SOUND.WAV");
    EXPECT_EQ(sound.substr(0, 4), "RIFF");
    // 16 bits, two sides, 22,050 samples a second: a shot lasts more than a fifth of one.
    EXPECT_GT(sound.size(), 44u + 22050 * 4 / 5);
}

TEST_F(Doom, WithoutDataItSaysWhatToInstall) {
    const std::string empty = folder.path + "/empty";
    fs::create_directories(empty);
    fs::copy(kGame + "/MAIN.MX", empty + "/MAIN.MX");
    const ProgramResult run = Run(empty, {"--run-ms", "1000"});
    EXPECT_NE(run.status, -1);
    const auto said = LinesWith(run.errors, "fatal: ");
    ASSERT_EQ(said.size(), 1u) << run.errors;
    EXPECT_TRUE(said[0].starts_with("There is no game data. Install Debian's package freedoom"));
}

}  // namespace

}  // namespace moxi
