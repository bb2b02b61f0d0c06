// Records of what was played, whatever has become of their files.

#include "host/played.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "desktop/folders.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

class Played : public testing::Test {
  protected:
    void SetUp() override {
        folders = {};
        folders.state = folder.path;
        MakePlayedFolder();
    }
    void TearDown() override { folders = {}; }

    TemporaryFolder folder;
};

TEST_F(Played, APipeInThePlaceOfARecordIsNotWaitedFor) {
    ASSERT_EQ(mkfifo(PlayedFile("/games/Pond").c_str(), 0600), 0);
    PlayedGame game = ReadPlayedGame("/games/Pond");
    EXPECT_EQ(game.seconds, 0u);
    game.seconds = 7;
    EXPECT_TRUE(WritePlayedGame(game));
    EXPECT_EQ(ReadPlayedGame("/games/Pond").seconds, 7u);
}

TEST_F(Played, ARecordIsATextThatComesBack) {
    const PlayedGame game = {.path = "/games/Pond.mxz",
                             .files = "/cache/Pond",
                             .name = "Pond = \xC3\xBC",
                             .author = "Anna",
                             .licence = "MIT",
                             .source = "https://example.org",
                             .lastPlayed = 1795351060,
                             .seconds = 1234,
                             .removed = true};
    EXPECT_EQ(TextOfPlayed(game),
              "moxi game 1\npath = /games/Pond.mxz\nfiles = /cache/Pond\nname = Pond = \xC3\xBC\n"
              "author = Anna\nlicence = MIT\nsource = https://example.org\nplayed = 1795351060\n"
              "seconds = 1234\nshelf = no\n");
    ASSERT_TRUE(WritePlayedGame(game));
    const PlayedGame back = ReadPlayedGame("/games/Pond.mxz");
    EXPECT_EQ(TextOfPlayed(back), TextOfPlayed(game));
    ASSERT_EQ(ReadAllPlayed().size(), 1u);
    EXPECT_EQ(ReadAllPlayed()[0].name, "Pond = \xC3\xBC");
}

TEST_F(Played, PathsWithLineFeedsAndBackslashesComeBack) {
    PlayedGame game;
    game.path = "/a\nb\\n";
    ASSERT_TRUE(WritePlayedGame(game));
    EXPECT_EQ(ReadAllPlayed().at(0).path, "/a\nb\\n");
}

TEST_F(Played, OfABrokenRecordWhatCanBeReadIsRead) {
    PlayedGame game;
    EXPECT_TRUE(
        ParsePlayed("moxi game 1\nrubbish\nplayed = soon\npath = /p\nseconds = 7\nnew = 1\n"
                    "seconds = 18446744073709551616\nname",
                    game));
    EXPECT_EQ(game.path, "/p");
    EXPECT_EQ(game.lastPlayed, 0u);
    EXPECT_EQ(game.seconds, 0u);
    EXPECT_EQ(game.name, "");
    EXPECT_FALSE(ParsePlayed("", game = {}));
    EXPECT_FALSE(ParsePlayed("path = relative\n", game = {}));
    EXPECT_FALSE(ParsePlayed(std::string(1000, '\0'), game = {}));
}

TEST_F(Played, OfARecordThatIsTooLargeTheWholeLinesOfItsStartAreRead) {
    const std::string start =
        "moxi game 1\npath = /games/pond\nplayed = 9\nseconds = 5\nname = Pond\n";
    // Cut in the middle of its line at 1 MiB, which would be another name.
    WriteTextFile(PlayedFile("/games/pond"),
                  start + "author = " + std::string(2 << 20, 'x') + "\nname = Lake\n");
    ASSERT_EQ(ReadAllPlayed().size(), 1u);
    PlayedGame game = ReadPlayedGame("/games/pond");
    EXPECT_EQ(game.name, "Pond");
    EXPECT_EQ(game.author, "");
    EXPECT_EQ(game.seconds, 5u);
    // And written anew it is a small one.
    game.seconds = 6;
    ASSERT_TRUE(WritePlayedGame(game));
    EXPECT_EQ(ReadPlayedGame("/games/pond").seconds, 6u);
}

TEST_F(Played, TextsAreWrittenUpTo4096BytesSoThatARecordStaysSmall) {
    PlayedGame game;
    game.path = "/games/pond";
    game.seconds = 5;
    game.name = std::string(100'000, '\\');
    game.author = std::string(100'000, 'a');
    ASSERT_TRUE(WritePlayedGame(game));
    EXPECT_LT(fs::file_size(PlayedFile("/games/pond")), 65536u);
    game = ReadPlayedGame("/games/pond");
    EXPECT_EQ(game.name, std::string(4096, '\\'));
    EXPECT_EQ(game.author, std::string(4096, 'a'));
    EXPECT_EQ(game.seconds, 5u);
}

TEST_F(Played, BrokenFilesAreGamesThatWereNotPlayed) {
    PlayedGame game;
    game.path = "/games/pond";
    game.seconds = 5;
    ASSERT_TRUE(WritePlayedGame(game));
    const std::string games = folder.path + "/games";
    WriteTextFile(games + "/letter.txt", "dear Anna");
    fs::copy_file(PlayedFile("/games/pond"), games + "/copy.txt");
    mkfifo((games + "/pipe.txt").c_str(), 0600);
    fs::create_directory(games + "/folder.txt");
    ASSERT_EQ(ReadAllPlayed().size(), 1u);
    WriteTextFile(PlayedFile("/games/pond"), "");
    EXPECT_EQ(ReadAllPlayed().size(), 0u);
    EXPECT_EQ(ReadPlayedGame("/games/pond").path, "/games/pond");
    EXPECT_EQ(ReadPlayedGame("/games/pond").seconds, 0u);
}

TEST_F(Played, WithoutAStateFolderNothingIsKept) {
    folders.state.clear();
    PlayedGame game;
    game.path = "/games/pond";
    EXPECT_FALSE(WritePlayedGame(game));
    EXPECT_EQ(ReadAllPlayed().size(), 0u);
    EXPECT_EQ(PlayedPicture("/games/pond"), "");
}

}  // namespace

}  // namespace moxi
