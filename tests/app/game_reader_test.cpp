// Games are read for the shelf whatever becomes of those that read them.

#include "app/game_reader.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <new>
#include <string>
#include <vector>

#include "gfx/png_write.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

// Counted in memory that the readers share.
struct Counts {
    std::atomic<int> stuck;
};
Counts* counts = nullptr;

bool Holds(const GameToRead& game, const char* what) {
    return game.path.find(what) != std::string::npos;
}

void MisbehaveByName(const GameToRead& game) {
    if (Holds(game, "stuck")) {
        ++counts->stuck;
        for (;;) {
            pause();
        }
    }
    if (Holds(game, "dies")) {
        kill(getpid(), SIGKILL);
    }
}

class GameReader : public testing::Test {
  protected:
    void SetUp() override {
        void* const shared = mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE,
                                  MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        ASSERT_NE(shared, MAP_FAILED);
        counts = new (shared) Counts();
        beforeGameIsRead = MisbehaveByName;
    }
    void TearDown() override {
        beforeGameIsRead = [](const GameToRead&) {};
        munmap(counts, sizeof *counts);
    }
    GameToRead Game(const std::string& name) const {
        const std::string path = folder.path + "/" + name;
        fs::create_directories(path);
        WriteTextFile(path + "/MAIN.MX", "");
        return {path, "", ""};
    }

    TemporaryFolder folder;
};

TEST_F(GameReader, GamesThatCannotBeReadTakeNoOtherWithThem) {
    std::vector<GameToRead> games;
    for (int i = 0; i < 20; ++i) {
        const std::string number = std::to_string(i);
        games.push_back(Game(i % 7 == 3 ? "stuck" + number : i == 5 ? "dies" : "good" + number));
    }
    games.push_back({folder.path + "/gone", "", ""});
    for (int time = 0; time < 2; ++time) {
        const std::vector<GameRead> read = ReadGames(games, true);
        ASSERT_EQ(read.size(), games.size());
        for (size_t i = 0; i < games.size(); ++i) {
            const std::string name = fs::path(games[i].path).filename();
            EXPECT_EQ(read[i].name, Holds(games[i], "good") ? name : "") << name;
            EXPECT_EQ(read[i].isMissing, name == "gone") << name;
        }
        // 3, 10 and 17: tried twice the first time, and not again.
        EXPECT_EQ(counts->stuck, 6);
    }
}

// Its sides, "" for none.
std::string SidesOf(const GameRead& game) {
    return game.picture == nullptr
               ? ""
               : std::to_string(game.picture->width) + " x " + std::to_string(game.picture->height);
}

TEST_F(GameReader, TheIconIsThePictureElseThatOfTheLastRun) {
    const std::string icon = ReadTextFile(MOXI_SOURCE_DIR "/packaging/desktop/moxi.png");
    GameToRead game = Game("good");
    EXPECT_EQ(SidesOf(ReadGames({game}, true)[0]), "");
    // What a run has left: 3 x 2 pixels.
    game.picture = folder.path + "/run.png";
    const std::string row(12, '\x40');
    ASSERT_TRUE(WritePngFile(game.picture, reinterpret_cast<const u8*>((row + row).data()), 3, 2,
                             12, PngFormat::RgbFrom4));
    EXPECT_EQ(SidesOf(ReadGames({game}, true)[0]), "3 x 2");
    WriteTextFile(game.path + "/ICON.PNG", icon);
    EXPECT_EQ(SidesOf(ReadGames({game}, true)[0]), "128 x 128");
    WriteTextFile(game.path + "/ICON.PNG", icon.substr(0, 5000));
    EXPECT_EQ(SidesOf(ReadGames({game}, true)[0]), "3 x 2");
}

TEST_F(GameReader, AnArchivesGameIsReadFromWhereItWasUnpacked) {
    GameToRead archive = Game("unpacked/Pond");
    archive.files = archive.path;
    archive.path = folder.path + "/Pond.mxz";
    EXPECT_TRUE(ReadGames({archive}, true)[0].isMissing);
    WriteTextFile(archive.path, "PK");
    GameRead read = ReadGames({archive}, true)[0];
    EXPECT_FALSE(read.isMissing);
    EXPECT_EQ(read.name, "Pond");
    // The cache may have been emptied since.
    fs::remove_all(archive.files);
    read = ReadGames({archive}, true)[0];
    EXPECT_FALSE(read.isMissing);
    EXPECT_EQ(read.name, "");
}

}  // namespace

}  // namespace moxi
