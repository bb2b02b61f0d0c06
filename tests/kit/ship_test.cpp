// `moxi --bundle OUT GAME`: the folder with a game and a moxi of its own.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/headless_run.h"
#include "tests/support/players_home.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

const std::string kDemo = fs::path(MOXI_BIN_DIR).parent_path() / "share" / "moxi" / "demo";

// A folder with a game that does nothing in "game".
struct Workplace {
    TemporaryFolder folder;
    std::string game = folder.path + "/game";
    std::string out = folder.path + "/out";

    Workplace() { WriteGame(game, kGameThatDoesNothing); }
    ProgramResult Ship(const std::string& first, const std::string& second) const {
        return RunProgram("moxi", {"--bundle", first, second}, folder.path);
    }
    // The names in the folder, also hidden ones, in order.
    std::string Names(const std::string& path = "") const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(path.empty() ? folder.path : path)) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        std::string all;
        for (const std::string& name : names) {
            all += (all.empty() ? "" : " ") + name;
        }
        return all;
    }
    void ExpectRefused(const ProgramResult& result, int status, const std::string& line) const {
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors, "moxi: " + line + "\n");
    }
};

// Runs a program without this process's environment.
ProgramResult RunAlone(const std::vector<std::string>& command, const std::string& folder) {
    std::vector<std::string> arguments = {"-i", "HOME=" + folder, "PATH=/usr/bin:/bin"};
    arguments.insert(arguments.end(), command.begin(), command.end());
    return RunProgram("/usr/bin/env", arguments, folder);
}

TEST(Shipping, ADemoPutElsewhereShowsTheSamePicture) {
    const Workplace place;
    const ProgramResult result = place.Ship(place.out, kDemo);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(place.Names(place.out),
              "Info.plist MOXI Demo.desktop Resources lib licences moxi share");
    const std::string moved = place.folder.path + "/else where";
    fs::create_directory(moved);
    fs::rename(place.out, moved + "/My Game");
    const ProgramResult there = RunAlone(
        {moved + "/My Game/moxi", "--headless", "--run-ms", "500", "--dump-view", "there.png"},
        place.folder.path);
    EXPECT_EQ(there.status, 0);
    EXPECT_EQ(there.errors, "");
    const ProgramResult here = RunProgram("moxi",
                                          {"--headless", "--run-ms", "500", "--dump-view",
                                           "here.png", "--data-folder", "data", kDemo},
                                          place.folder.path);
    EXPECT_EQ(here.status, 0);
    const std::string picture = ReadTextFile(place.folder.path + "/there.png");
    EXPECT_GT(picture.size(), 1000u);
    EXPECT_EQ(picture, ReadTextFile(place.folder.path + "/here.png"));
}

TEST(Shipping, TheCopyLoadsItsOwnLibraries) {
    const Workplace place;
    ASSERT_EQ(place.Ship(place.out, place.game).status, 0);
    const ProgramResult traced =
        RunAlone({"LD_TRACE_LOADED_OBJECTS=1", place.out + "/moxi"}, place.folder.path);
    std::istringstream lines(traced.output);
    std::string foreign;
    int own = 0;
    for (std::string line; std::getline(lines, line);) {
        const std::string name = line.substr(1, line.find(' ') - 1);
        if (!fs::exists(place.out + "/lib/moxi/" + name)) {
            continue;
        }
        own += 1;
        if (line.find(" " + place.out + "/lib/moxi/") == std::string::npos) {
            foreign += line + "\n";
        }
    }
    EXPECT_GT(own, 10);
    EXPECT_EQ(foreign, "");
    EXPECT_TRUE(fs::exists(place.out + "/lib/moxi/libSDL2-2.0.so.0"));
    EXPECT_FALSE(fs::exists(place.out + "/lib/moxi/libc.so.6"));
    EXPECT_FALSE(fs::exists(place.out + "/lib/moxi/libX11.so.6"));
}

TEST(Shipping, TheCopyUsesItsOwnMenu) {
    const Workplace place;
    ASSERT_EQ(place.Ship(place.out, place.game).status, 0);
    fs::path menu = fs::path(place.out) / "share/moxi/MainMenu.plist";
    WriteTextFile(menu, "no menu");
    const ProgramResult result =
        RunAlone({place.out + "/moxi", "--headless", "--run-ms", "1"}, place.folder.path);
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find(menu.string()), std::string::npos) << result.errors;
}

TEST(Shipping, TheTwoPathsMayStandInEitherOrder) {
    const Workplace place;
    EXPECT_EQ(place.Ship("game", "out").status, 0);
    EXPECT_EQ(place.Names(), "game out");
    fs::create_directory(place.folder.path + "/empty");
    EXPECT_EQ(place.Ship("empty", "game/MAIN.MX").status, 0);
    EXPECT_TRUE(fs::exists(place.folder.path + "/empty/Resources/MAIN.MX"));
}

TEST(Shipping, AGameKeepsItsNameInAFolderOfAnotherName) {
    const Workplace place;
    ASSERT_EQ(place.Ship("out", "game").status, 0);
    EXPECT_NE(ReadTextFile(place.out + "/Info.plist").find("<string>game</string>"),
              std::string::npos);
    EXPECT_TRUE(fs::exists(place.out + "/game.desktop"));
}

TEST(Shipping, FilesKeepTheirPermissionsAndLinksAreFollowed) {
    const Workplace place;
    fs::create_directories(place.game + "/music");
    WriteTextFile(place.game + "/music/a.mid", "abc");
    chmod((place.game + "/music/a.mid").c_str(), 0440);
    fs::create_symlink("music/a.mid", place.game + "/link.mid");
    fs::create_symlink("music", place.game + "/tunes");
    ASSERT_EQ(place.Ship("out", "game").status, 0);
    const std::string copy = place.out + "/Resources";
    EXPECT_EQ(place.Names(copy), "MAIN.MX link.mid music tunes");
    EXPECT_EQ(fs::status(copy + "/music/a.mid").permissions(), fs::perms{0440});
    EXPECT_FALSE(fs::is_symlink(copy + "/link.mid"));
    EXPECT_EQ(ReadTextFile(copy + "/link.mid"), "abc");
    EXPECT_FALSE(fs::is_symlink(copy + "/tunes"));
    EXPECT_EQ(ReadTextFile(copy + "/tunes/a.mid"), "abc");
}

TEST(Shipping, PathsThatCannotBeUsedAreRefused) {
    const Workplace place;
    fs::create_directories(place.folder.path + "/none");
    fs::create_directories(place.folder.path + "/full");
    WriteTextFile(place.folder.path + "/full/x", "x");
    WriteTextFile(place.folder.path + "/file", "x");
    const std::string before = place.Names();
    place.ExpectRefused(place.Ship("out", "nowhere"), 2, "nowhere: there is no such game");
    place.ExpectRefused(place.Ship("out", "none"), 2, "none: there is no MAIN.MX in it");
    place.ExpectRefused(place.Ship("full", "game"), 2, "full: is a folder that is not empty");
    place.ExpectRefused(place.Ship("file", "game"), 2, "file: is there already");
    place.ExpectRefused(place.Ship("game/out", "game"), 2,
                        "game/out: lies in the game's own folder");
    place.ExpectRefused(place.Ship("no/folder", "game"), 1, "no/folder: No such file or directory");
    EXPECT_EQ(place.Names(), before);
    EXPECT_EQ(place.Names(place.game), "MAIN.MX");
}

TEST(Shipping, AGameThatCannotBeCopiedLeavesNothingBehind) {
    const Workplace place;
    const std::string odd = place.game + "/odd";
    fs::create_symlink("nothing", odd);
    place.ExpectRefused(place.Ship("out", "game"), 1, odd + ": a link to nowhere");
    fs::remove(odd);
    for (const char* const above : {".", ".."}) {
        fs::create_symlink(above, odd);
        place.ExpectRefused(place.Ship("out", "game"), 1,
                            odd + ": a link to a folder that holds it or the new folder");
        fs::remove(odd);
    }
    mkfifo(odd.c_str(), 0600);
    place.ExpectRefused(place.Ship("out", "game"), 1, odd + ": neither a file nor a folder");
    EXPECT_EQ(place.Names(), "game");
}

TEST(Shipping, LinksOutOfTheGameAreRefused) {
    const Workplace place;
    WriteTextFile(place.folder.path + "/diary.txt", "dear diary");
    fs::create_directories(place.folder.path + "/letters");
    const std::string link = place.game + "/link";
    for (const std::string target : {"../diary.txt", "../letters", "/etc/passwd"}) {
        fs::create_symlink(target, link);
        place.ExpectRefused(place.Ship("out", "game"), 1,
                            link + ": a link that leads out of the game");
        fs::remove(link);
        EXPECT_FALSE(fs::exists(place.out));
    }
}

}  // namespace

}  // namespace moxi
