// `moxi GAME.mxz` and `moxi --pack GAME OUT.mxz`: from the cache, and what becomes of it.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/headless_run.h"
#include "tests/support/players_home.h"
#include "tests/support/zip_bytes.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

// A user's home with a game in "game" and moxi started from there.
struct Player {
    TemporaryFolder home;
    std::string game = home.path + "/game";
    std::string cache = home.path + "/.cache/moxi/archives";

    Player() { WriteGame(game, kGameThatDoesNothing); }
    ProgramResult Run(const std::vector<std::string>& arguments) const {
        return RunAtHome(home.path, arguments);
    }
    ProgramResult Play(const std::string& name) const {
        return Run({"--headless", "--run-ms", "20", name});
    }
    std::string Module() const { return ReadTextFile(game + "/MAIN.MX"); }
    // The only file of this name in the cache, "" for none.
    std::string Cached(const std::string& name) const {
        std::error_code error;
        for (const auto& entry : fs::recursive_directory_iterator(cache, error)) {
            if (entry.path().filename() == name) {
                return entry.path();
            }
        }
        return "";
    }
    int Places() const {
        return static_cast<int>(
            std::distance(fs::directory_iterator(cache), fs::directory_iterator()));
    }
};

void ExpectPlayed(const ProgramResult& result) {
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output, "");
}

void ExpectRefused(const ProgramResult& result, const std::string& line) {
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors, "moxi: " + line + "\n");
}

TEST(ArchivedGame, APackedGameIsPlayedFromItsArchive) {
    const Player player;
    WriteTextFile(player.game + "/MAIN.SYM", "symbols");
    WriteTextFile(player.game + "/LICENSE", "free");
    ExpectPlayed(player.Run({"--pack", "game", "Pond.mxz"}));
    ExpectPlayed(player.Play("Pond.mxz"));
    EXPECT_EQ(ReadTextFile(player.Cached("MAIN.MX")), player.Module());
    EXPECT_EQ(ReadTextFile(player.Cached("LICENSE")), "free");
    EXPECT_EQ(player.Cached("MAIN.SYM"), "");
    // Its name went along.
    EXPECT_NE(ReadTextFile(player.Cached("Info.plist")).find("<string>game</string>"),
              std::string::npos);
    ExpectPlayed(player.Run({"--with-symbols", "--pack", "Debug.mxz", "game"}));
    ExpectPlayed(player.Play("Debug.mxz"));
    EXPECT_NE(player.Cached("MAIN.SYM"), "");
}

TEST(ArchivedGame, PathsThatCannotBeUsedForPackingAreRefused) {
    const Player player;
    WriteTextFile(player.home.path + "/there.mxz", "x");
    EXPECT_EQ(player.Run({"--pack", "game"}).status, 2);
    ExpectRefused(player.Run({"--pack", "game", "there.mxz"}), "there.mxz: is there already");
    ExpectRefused(player.Run({"--pack", "game", "game/own.mxz"}),
                  "game/own.mxz: lies among the game's own files");
    ExpectRefused(player.Run({"--pack", "none", "out.mxz"}), "none: there is no such game");
    ExpectRefused(player.Run({"--with-symbols", "game"}),
                  "--with-symbols needs --bundle or --pack");
    fs::create_symlink("/etc/passwd", player.game + "/link");
    const ProgramResult result = player.Run({"--pack", "game", "out.mxz"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "moxi: " + player.game + "/link: a link that leads out of the game\n");
    EXPECT_FALSE(fs::exists(player.home.path + "/out.mxz"));
    EXPECT_EQ(ReadTextFile(player.home.path + "/there.mxz"), "x");
}

TEST(ArchivedGame, TheCacheIsUsedAgainUntilItsFilesAreNoLongerWhole) {
    const Player player;
    WriteTextFile(player.home.path + "/a.zip", ZipOf({{"MAIN.MX", player.Module()}, {"x", "1"}}));
    ExpectPlayed(player.Play("a.zip"));
    const std::string module = player.Cached("MAIN.MX");
    const auto unpacked = fs::last_write_time(module);
    ExpectPlayed(player.Play("a.zip"));
    EXPECT_EQ(fs::last_write_time(module), unpacked);
    // As a loss of power leaves a file.
    WriteTextFile(module, "");
    ExpectPlayed(player.Play("a.zip"));
    EXPECT_EQ(ReadTextFile(module), player.Module());
    fs::remove(player.Cached("x"));
    ExpectPlayed(player.Play("a.zip"));
    EXPECT_NE(player.Cached("x"), "");
    EXPECT_EQ(player.Places(), 1);
    // Another content is another place.
    WriteTextFile(player.home.path + "/a.zip", ZipOf({{"MAIN.MX", player.Module()}, {"y", "1"}}));
    ExpectPlayed(player.Play("a.zip"));
    EXPECT_EQ(player.Places(), 2);
    EXPECT_NE(player.Cached("y"), "");
}

TEST(ArchivedGame, AnArchiveMayHaveAnyName) {
    const Player player;
    for (const std::string name : {"CONTENTS", "Contents", "files", "Contents.mxz"}) {
        WriteTextFile(player.home.path + "/" + name,
                      ZipOf({{"MAIN.MX", player.Module()}, {"CONTENTS", "x"}, {"files", "x"}}));
        ExpectPlayed(player.Play(name));
        ExpectPlayed(player.Play(name));
    }
    EXPECT_EQ(player.Places(), 4);
}

TEST(ArchivedGame, HostileArchivesAreRefusedInOneLineAndLeaveNothing) {
    const Player player;
    const std::string path = player.home.path + "/bad.zip";
    const auto refusal = [&](const std::string& bytes) {
        WriteTextFile(path, bytes);
        const ProgramResult result = player.Play("bad.zip");
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1);
        EXPECT_EQ(player.Places(), 0);
        return result.errors;
    };
    const std::string module = player.Module();
    EXPECT_EQ(refusal(ZipOf({{"MAIN.MX", module}, {"../up", "x"}})),
              "moxi: bad.zip: ../up: the name leads out of the folder\n");
    EXPECT_EQ(refusal(ZipOf({{"MAIN.MX", "/etc/passwd", 0120777u << 16}})),
              "moxi: bad.zip: MAIN.MX: a link\n");
    EXPECT_EQ(refusal(ZipOf({{"MAIN.MX", module}, PackedZeros("zeros", 48u << 20)})),
              "moxi: bad.zip: unpacked it is more than 100 times as large\n");
    EXPECT_EQ(refusal(ZipOf({{"a\nb", module}})),
              "moxi: bad.zip: a b: a name with control characters\n");
    EXPECT_EQ(refusal("no archive").rfind("moxi: bad.zip: damaged, or no archive: ", 0), 0u);
    EXPECT_FALSE(fs::exists(player.home.path + "/up"));
}

TEST(ArchivedGame, AnArchiveWithoutAGameIsRefused) {
    const Player player;
    WriteTextFile(player.home.path + "/letters.zip", ZipOf({{"letters/one.txt", "dear"}}));
    ExpectRefused(player.Play("letters.zip"), "letters.zip: there is no game in it");
    WriteTextFile(player.home.path + "/two.zip", ZipOf({{"a/MAIN.MX", ""}, {"b/MAIN.MX", ""}}));
    ExpectRefused(player.Play("two.zip"), "two.zip: there is more than one game in it");
}

TEST(ArchivedGame, ItsNameAndItsDataFolderAreTheArchives) {
    const Player player;
    WriteTextFile(player.home.path + "/My Pond.v2.zip", ZipOf({{"MAIN.MX", player.Module()}}));
    ExpectPlayed(player.Play("My Pond.v2.zip"));
    std::string stamp;
    for (const auto& entry : fs::directory_iterator(player.home.path + "/.local/state/moxi")) {
        if (entry.path().filename().string().rfind("data-", 0) == 0) {
            stamp = ReadTextFile(entry.path());
        }
    }
    EXPECT_NE(stamp.find("/Quillmoss Software/My Pond.v2\n"), std::string::npos) << stamp;
    EXPECT_NE(stamp.find("\ngame " + player.home.path + "/My Pond.v2.zip\n"), std::string::npos);
}

TEST(ArchivedGame, AMainMxThatIsAnArchiveIsAModuleAllTheSame) {
    const Player player;
    WriteTextFile(player.game + "/MAIN.MX", ZipOf({{"MAIN.MX", "x"}}));
    const ProgramResult result = player.Play("game/MAIN.MX");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "fatal: Error reading .MX file\n");
}

}  // namespace

}  // namespace moxi
