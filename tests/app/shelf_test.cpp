// The shelf of games, by scripts: what stands on it, and what keys, pointer and drops do.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "host/checksum.h"
#include "surface/add_game.h"
#include "surface/shelf_cards.h"
#include "tests/support/headless_run.h"
#include "tests/support/players_home.h"
#include "tests/support/zip_bytes.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

// A user's home. Games of the build folder stand on every shelf, so tests look for their own.
class Shelf : public testing::Test {
  protected:
    void SetUp() override {
        MakeGame(games + "/Pond", "Pond", "Anna");
        MakeGame(games + "/Meadow", "Meadow", "Berta");
    }
    // A game of nothing, with an information file.
    static void MakeGame(const std::string& path, const std::string& name,
                         const std::string& author) {
        WriteGame(path,
                  "        .stack 4096\n        .heap 4096\n        .code\n"
                  "        LINK 0, 0\n        RETURN 0\n");
        WriteTextFile(path + "/Info.plist",
                      "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                      "<key>ZULGameName</key><string>" +
                          name + "</string><key>ZULGameAuthor</key><string>" + author +
                          "</string><key>ZULGameLicence</key><string>Free of " + name +
                          "</string></dict></plist>");
    }
    ProgramResult Run(const std::vector<std::string>& options) const {
        return RunAtHome(home.path, options);
    }
    // The shelf's controls after this script. What it logged is in `logged`.
    std::vector<std::string> After(const std::string& script) {
        WriteTextFile(home.path + "/script", script);
        const ProgramResult result =
            Run({"--headless", "--data-folder", "own", "--date", "2026-07-10 12:00:00", "--desktop",
                 "1280x800", "--script", "script", "--dump-ui", "ui"});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output, "");
        logged = result.errors;
        std::istringstream text(ReadTextFile(home.path + "/ui"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line);
        }
        return lines;
    }
    // The first line with this in it.
    static std::string LineWith(const std::vector<std::string>& lines, const std::string& what) {
        for (const std::string& line : lines) {
            if (line.find(what) != std::string::npos) {
                return line;
            }
        }
        return "";
    }
    static int Cards(const std::vector<std::string>& lines) {
        return static_cast<int>(std::count_if(lines.begin(), lines.end(), [](const auto& line) {
            return line.rfind("row ", 0) == 0;
        }));
    }
    std::string RecordFile(const std::string& path) const {
        return records + "/" + HashOfText(path).substr(0, 32) + ".txt";
    }
    void Record(const std::string& path, const std::string& lines) const {
        fs::create_directories(records);
        WriteTextFile(RecordFile(path), "moxi game 1\npath = " + path + "\n" + lines);
    }
    // Keys are pressed and released at 100 ms, 200 ms, ...
    static std::string Keys(const std::vector<std::string>& keys) {
        std::string script;
        int time = 0;
        for (const std::string& key : keys) {
            time += 100;
            script += std::to_string(time) + " key-down " + key + "\n" + std::to_string(time + 10) +
                      " key-up " + key + "\n";
        }
        return script;
    }

    TemporaryFolder home;
    std::string games = home.path + "/.local/share/moxi/games";
    std::string records = home.path + "/own/shelf/games";
    std::string logged;
};

TEST_F(Shelf, InstalledGamesStandOnItWithNameAndAuthor) {
    const auto lines = After("");
    EXPECT_EQ(lines.at(0), "surface \"Games\" 1000x600");
    EXPECT_NE(LineWith(lines, "row " + games +
                                  "/Pond \"Pond\" value \"Anna\" detail "
                                  "\"Not played yet\""),
              "");
    EXPECT_NE(LineWith(lines, "\"Meadow\" value \"Berta\""), "");
    EXPECT_NE(LineWith(lines, "/share/moxi/demo \"MOXI Demo\""), "");
    // Nothing has been written.
    EXPECT_FALSE(fs::exists(home.path + "/.local/state"));
    EXPECT_FALSE(fs::exists(home.path + "/own"));
}

TEST_F(Shelf, AHeadlessOneWithoutAFolderKnowsNoRecordsAndLeavesNone) {
    const std::string state = home.path + "/.local/state/moxi/games";
    fs::create_directories(state);
    fs::create_directories(home.path + "/tmp");
    MakeGame(home.path + "/Night", "Night", "Clara");
    MakeGame(home.path + "/Day", "Day", "Clara");
    const std::string record = "moxi game 1\npath = " + home.path + "/Night\nplayed = 7\n";
    const std::string file = state + "/" + HashOfText(home.path + "/Night").substr(0, 32) + ".txt";
    WriteTextFile(file, record);
    WriteTextFile(home.path + "/script", "100 drop \"" + home.path + "/Day\"\n");
    setenv("TMPDIR", (home.path + "/tmp").c_str(), 1);
    const ProgramResult result = Run({"--headless", "--script", "script", "--dump-ui", "ui"});
    unsetenv("TMPDIR");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    const std::string text = ReadTextFile(home.path + "/ui");
    EXPECT_EQ(text.find("\"Night\""), std::string::npos);
    EXPECT_NE(text.find("\"Day\""), std::string::npos);
    EXPECT_EQ(ReadTextFile(file), record);
    EXPECT_EQ(std::distance(fs::directory_iterator(state), {}), 1);
    EXPECT_TRUE(fs::is_empty(home.path + "/tmp"));
    EXPECT_EQ(std::distance(fs::directory_iterator(home.path + "/.local/state/moxi"), {}), 1);
}

TEST_F(Shelf, GamesThatWerePlayedLastComeFirst) {
    // 2026-07-10 06:00 and 2026-07-05 06:00 UTC.
    Record(games + "/Pond", "played = 1783663200\nseconds = 7500\n");
    Record(games + "/Meadow", "played = 1783231200\nseconds = 59\n");
    const auto lines = After("");
    EXPECT_NE(lines.at(4).find("\"Pond\" value \"Anna\" detail \"today, 2 h 5 min\""),
              std::string::npos)
        << lines.at(4);
    EXPECT_NE(lines.at(5).find("detail \"5 days ago, 1 min\""), std::string::npos) << lines.at(5);
    EXPECT_NE(lines.at(4).find(" focused"), std::string::npos);
    EXPECT_NE(LineWith(lines, "label about \"Licence: Free of Pond\""), "");
}

TEST_F(Shelf, ReturnPlaysAndArrowsChoose) {
    Record(games + "/Pond", "played = 2\n");
    Record(games + "/Meadow", "played = 1\n");
    After(Keys({"24 \"\\x0D\"", "7C \"\\x1C\"", "24 \"\\x0D\""}));
    EXPECT_EQ(logged, "log: play " + games + "/Pond\nlog: play " + games + "/Meadow\n");
    After("100 mouse-down 0 300 120\n150 mouse-up 0 300 120\n");
    EXPECT_EQ(logged, "log: play " + games + "/Meadow\n");
}

TEST_F(Shelf, TypingSearchesReturnPlaysTheFirstAndEscapeEndsIt) {
    auto lines = After(Keys({"23 \"p\"", "1F \"o\"", "2D \"n\""}));
    EXPECT_EQ(Cards(lines), 1);
    EXPECT_NE(LineWith(lines, "field search \"Search\" value \"pon\""), "");
    EXPECT_NE(LineWith(lines, "\"Pond\""), "");
    After(Keys({"0B \"b\"", "0E \"e\"", "0F \"r\"", "11 \"t\"", "24 \"\\x0D\""}));
    EXPECT_EQ(logged, "log: play " + games + "/Meadow\n");  // by its author
    lines = After(Keys({"06 \"z\"", "06 \"z\"", "06 \"z\""}));
    EXPECT_EQ(Cards(lines), 0);
    EXPECT_NE(LineWith(lines, "note none"), "");
    lines = After(Keys({"06 \"z\"", "06 \"z\"", "35 \"\\x1B\""}));
    EXPECT_GE(Cards(lines), 3);
}

TEST_F(Shelf, GamesOfAllDataFoldersStandOnIt) {
    MakeGame(home.path + "/one/moxi/games/Lake", "Lake", "Clara");
    MakeGame(home.path + "/two/moxi/games/Hill", "Hill", "Clara");
    setenv("XDG_DATA_DIRS", (home.path + "/one:relative:" + home.path + "/two").c_str(), 1);
    const auto lines = After("");
    unsetenv("XDG_DATA_DIRS");
    EXPECT_NE(LineWith(lines, "\"Lake\" value \"Clara\""), "");
    EXPECT_NE(LineWith(lines, "\"Hill\" value \"Clara\""), "");
    EXPECT_NE(LineWith(lines, "\"Pond\""), "");
}

TEST_F(Shelf, TheWheelScrollsAndTheGamepadChoosesAndPlays) {
    for (int i = 0; i < 12; ++i) {
        const std::string path = games + "/Game " + std::to_string(i);
        MakeGame(path, "Game " + std::to_string(i), "");
        Record(path, "played = " + std::to_string(100 - i) + "\n");
    }
    const std::string small = "10 resize 600 400\n";
    const auto isSeen = [](const std::vector<std::string>& lines, const std::string& name) {
        return LineWith(lines, "\"" + name + "\"").find("out-of-view") == std::string::npos;
    };
    auto lines = After(small);
    EXPECT_TRUE(isSeen(lines, "Game 0"));
    EXPECT_FALSE(isSeen(lines, "Game 11"));
    // Each notch goes down.
    std::string wheel = small;
    for (int time = 100; time < 3000; time += 100) {
        wheel += std::to_string(time) + " scroll 0 -0.1 300 200\n";
    }
    lines = After(wheel);
    EXPECT_FALSE(isSeen(lines, "Game 0"));
    EXPECT_TRUE(isSeen(lines, "Meadow"));
    // Right, down by a line of three, and A.
    After(small +
          "100 pad-button dpright down\n150 pad-button dpright up\n200 pad-button dpdown down\n"
          "250 pad-button dpdown up\n300 pad-button a down\n350 pad-button a up\n");
    EXPECT_EQ(logged, "log: play " + games + "/Game 4\n");
}

// The panel, on its third page, whose second switch is turned off. No game's process could keep
// that.
TEST_F(Shelf, ItsPanelKeepsWhatAGamesMayNotLower) {
    const std::string control =
        "90 modifiers command\n95 key-down 2B \",\"\n96 key-up 2B \",\"\n"
        "97 modifiers\n";
    // Up to the last tab, left to the page of games, down to its second switch.
    const std::string choices =
        Keys({"7E \"\"", "7B \"\"", "7B \"\"", "7D \"\"", "7D \"\"", "31 \" \""});
    WriteTextFile(home.path + "/prefs", "mute = yes\n");
    const auto run = [&](const std::string& script) {
        WriteTextFile(home.path + "/script", script);
        const ProgramResult result =
            Run({"--headless", "--data-folder", "own", "--preferences", "prefs", "--desktop",
                 "1280x800", "--script", "script", "--dump-ui", "ui"});
        EXPECT_EQ(result.errors, "");
        return ReadTextFile(home.path + "/ui");
    };
    std::string seen = run(control + choices);
    EXPECT_NE(
        seen.find("check ask-before-opening \"Ask before opening web addresses\" value \"off\""),
        std::string::npos)
        << seen;
    EXPECT_EQ(seen.find("scope"), std::string::npos);
    EXPECT_EQ(seen.find("asking-note"), std::string::npos);
    EXPECT_NE(seen.find("\"Back to the games\""), std::string::npos);
    EXPECT_EQ(ReadTextFile(home.path + "/prefs"), "mute = yes\nask-before-opening = no\n");
    // Escape leads back to the games.
    seen = run(control + "900 key-down 35 \"\\x1B\"\n901 key-up 35 \"\\x1B\"\n");
    EXPECT_NE(seen.find("\"Pond\""), std::string::npos);
    EXPECT_NE(seen.find("button preferences \"Preferences\""), std::string::npos);
}

TEST_F(Shelf, DeleteTakesAGameOffTheShelfAndNotFromTheDisk) {
    Record(games + "/Pond", "played = 2\nseconds = 60\n");
    auto lines = After(Keys({"75 \"\\x7F\""}));
    EXPECT_EQ(LineWith(lines, "\"Pond\""), "");
    EXPECT_NE(LineWith(lines, "Pond is off the shelf"), "");
    EXPECT_TRUE(fs::exists(games + "/Pond/MAIN.MX"));
    // It is remembered, with what is known of it.
    EXPECT_EQ(LineWith(After(""), "\"Pond\""), "");
    EXPECT_NE(ReadTextFile(RecordFile(games + "/Pond")).find("seconds = 60\nshelf = no\n"),
              std::string::npos);
    // Who adds it has it back.
    lines = After("100 drop \"" + games + "/Pond\"\n");
    EXPECT_NE(LineWith(lines, "\"Pond\" value \"Anna\" detail \"1970-01-01, 1 min\""), "");
}

TEST_F(Shelf, FoldersAndArchivesDroppedOnTheWindowAreAdded) {
    MakeGame(home.path + "/Downloads/Night", "Night", "Clara");
    WriteTextFile(home.path + "/Downloads/Day.mxz",
                  ZipOf({{"MAIN.MX", ReadTextFile(games + "/Pond/MAIN.MX")},
                         {"Info.plist", ReadTextFile(games + "/Meadow/Info.plist")}}));
    WriteTextFile(home.path + "/letter.zip", ZipOf({{"letter.txt", "dear"}}));
    fs::create_directory(home.path + "/empty");
    auto lines = After("100 drop \"" + home.path + "/Downloads/Night\"\n200 drop \"" + home.path +
                       "/Downloads/Day.mxz\"\n");
    EXPECT_NE(LineWith(lines, "Downloads/Night \"Night\" value \"Clara\""), "");
    EXPECT_NE(LineWith(lines, "Downloads/Day.mxz \"Meadow\" value \"Berta\""), "");
    lines = After("100 drop \"" + home.path + "/letter.zip\"\n");
    EXPECT_NE(LineWith(lines, "letter.zip: there is no game in it"), "");
    lines = After("100 drop \"" + home.path + "/empty\"\n");
    EXPECT_NE(LineWith(lines, "empty: there is no game in it"), "");
    lines = After("");
    EXPECT_NE(LineWith(lines, "Downloads/Night \"Night\""), "");
    EXPECT_EQ(LineWith(lines, "letter"), "");
    // One that has gone is not shown, and comes back with its folder.
    fs::rename(home.path + "/Downloads", home.path + "/Elsewhere");
    EXPECT_EQ(LineWith(After(""), "Night"), "");
    fs::rename(home.path + "/Elsewhere", home.path + "/Downloads");
    EXPECT_NE(LineWith(After(""), "\"Night\""), "");
}

TEST_F(Shelf, WhatIsWrongIsSaidInThePlayersLanguage) {
    fs::create_directory(home.path + "/empty");
    const std::string drop = "100 drop \"" + home.path + "/empty\"\n";
    unsetenv("LC_ALL");
    unsetenv("LC_MESSAGES");
    unsetenv("LANGUAGE");
    for (const auto& [language, words] : {std::pair{"de_DE.UTF-8", "es ist kein Spiel darin"},
                                          {"fr_FR.UTF-8", "il ne contient aucun jeu"},
                                          {"ja_JP.UTF-8", "\xE4\xB8\xAD\xE3\x81\xAB"},
                                          {"C.UTF-8", "there is no game in it"}}) {
        setenv("LANG", language, 1);
        EXPECT_NE(LineWith(After(drop), home.path + "/empty: " + words), "") << language;
    }
    unsetenv("LANG");
}

TEST_F(Shelf, AGameIsAddedByItsPathWithCompletion) {
    MakeGame(home.path + "/Toys/Night", "Night", "Clara");
    const std::string open = "100 mouse-down 0 900 35\n110 mouse-up 0 900 35\n";
    auto lines = After(open);
    EXPECT_EQ(lines.at(0), "surface \"Add a game\" 1000x600");
    EXPECT_NE(LineWith(lines, "field path"), "");
    EXPECT_NE(LineWith(lines, "row " + home.path + "/Toys/ "), "");
    const std::string type = open +
                             "200 key-down 11 \"T\"\n210 key-up 11 \"T\"\n"
                             "300 key-down 30 \"\\x09\"\n310 key-up 30 \"\\x09\"\n"
                             "400 key-down 30 \"\\x09\"\n410 key-up 30 \"\\x09\"\n";
    lines = After(type);
    EXPECT_NE(LineWith(lines, "value \"" + home.path + "/Toys/Night/\""), "");
    lines = After(type + "500 key-down 24 \"\\x0D\"\n510 key-up 24 \"\\x0D\"\n");
    EXPECT_NE(LineWith(lines, "\"Night\" value \"Clara\""), "");
    EXPECT_NE(LineWith(lines, "/Toys/Night \"Night\"").find(" focused"), std::string::npos);
    lines = After(open + "500 key-down 24 \"\\x0D\"\n510 key-up 24 \"\\x0D\"\n");
    EXPECT_NE(LineWith(lines, "note problem \"" + home.path + ": there is no game in it\""), "");
    lines = After(open + "500 key-down 35 \"\\x1B\"\n510 key-up 35 \"\\x1B\"\n");
    EXPECT_EQ(lines.at(0), "surface \"Games\" 1000x600");
}

TEST_F(Shelf, HostileGamesStandOnItAsFarAsTheyCanBeRead) {
    // An icon that is a link to elsewhere, one that is no picture, and texts with controls.
    WriteTextFile(home.path + "/secret.png",
                  ReadTextFile(MOXI_SOURCE_DIR "/packaging/desktop/moxi.png"));
    fs::create_symlink(home.path + "/secret.png", games + "/Pond/ICON.PNG");
    WriteTextFile(games + "/Meadow/ICON.PNG", "no picture");
    MakeGame(games + "/Odd", "O\x01\ndd", "A\nB");
    WriteTextFile(games + "/Meadow/Info.plist", "<plist><dict><key>ZULGameName</key>");
    const auto lines = After("");
    EXPECT_NE(LineWith(lines, "\"Pond\""), "");
    EXPECT_NE(LineWith(lines, "games/Meadow \"Meadow\""), "");
    EXPECT_NE(LineWith(lines, "games/Odd "), "");
    EXPECT_EQ(logged, "");
}

TEST_F(Shelf, EveryControlIsInSightAtTheSmallestSizeAndAtLargeOnes) {
    for (const std::string size : {"600 400", "1280 800", "3840 2160", "300 200"}) {
        const auto lines = After("100 resize " + size + "\n");
        for (const char* const id : {"field search", "button add-game", "\"Pond\""}) {
            const std::string line = LineWith(lines, id);
            ASSERT_NE(line, "") << size;
            EXPECT_EQ(line.find(" at -"), std::string::npos) << line;
        }
    }
}

TEST_F(Shelf, TheWindowFitsOnSmallScreens) {
    for (const auto& [screen, sides] :
         {std::pair{"1920x1080", "1000x600"}, {"700x450", "700x418"}, {"1024x600", "1000x568"}}) {
        ASSERT_EQ(Run({"--headless", "--desktop", screen, "--dump-ui", "ui"}).status, 0);
        EXPECT_EQ(
            ReadTextFile(home.path + "/ui").rfind(std::string("surface \"Games\" ") + sides, 0), 0u)
            << screen;
    }
}

TEST_F(Shelf, WithoutADisplayTheUsageIsPrintedAndTheListOfGames) {
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{}, {"--headless"}, {"--headless", "--run-ms", "5"}}) {
        const ProgramResult result = Run(options);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.errors, "usage: moxi [options] GAME (moxi --help lists the options)\n");
        // A headless run knows of nobody's games.
        const bool listed = result.output.find("Pond\t" + games + "/Pond\n") != std::string::npos;
        EXPECT_EQ(listed, options.empty());
        EXPECT_EQ(result.output.empty(), !options.empty());
    }
    EXPECT_FALSE(fs::exists(home.path + "/.local/state"));
}

TEST(ShelfTexts, SearchingKnowsNeitherCapitalsNorAccents) {
    const auto game = [](const std::string& name, const std::string& author) {
        ShelfGame made;
        made.record.path = "/g/x";
        made.record.name = name;
        made.record.author = author;
        return made;
    };
    // The second E with its accent as a character of its own.
    const std::vector<ShelfGame> games = {game("\xC3\x89t\x65\xCC\x81", "Zo\xC3\xAB"),
                                          game("Stra\xC3\x9F"
                                               "e",
                                               "\xD0\x91\xD1\x91\xD1\x80\xD1\x82\xD0\xB0"),
                                          game("no \xFF text", "")};
    const auto found = [&](const std::string& search) {
        std::string names;
        for (const ShelfGame* const one : GamesFor(games, search)) {
            names += std::to_string(one - games.data());
        }
        return names;
    };
    EXPECT_EQ(found(""), "012");
    EXPECT_EQ(found("ete"), "0");
    EXPECT_EQ(found("\xC3\xA9t\xC3\xA9"), "0");
    EXPECT_EQ(found("ET ZOE"), "0");
    EXPECT_EQ(found("strasse"), "1");
    EXPECT_EQ(found("\xD0\x91\xD0\x95\xD0\xA0"), "1");
    EXPECT_EQ(found("\xFF"), "2");
    EXPECT_LT(Comparable("\xC3\x89t\xC3\xA9"), Comparable("Zebra"));
    EXPECT_LT(Comparable("ant"), Comparable("Bee"));
}

TEST(ShelfTexts, TimesAndDays) {
    EXPECT_EQ(PlayedTime(0), "");
    EXPECT_EQ(PlayedTime(1), "1 min");
    EXPECT_EQ(PlayedTime(3599), "59 min");
    EXPECT_EQ(PlayedTime(3600), "1 h");
    EXPECT_EQ(PlayedTime(360'060), "100 h 1 min");
    // 2026-03-01 00:30 UTC, seen from days after it; the tests' zone is UTC.
    constexpr u64 kPlayed = 1772325000;
    const auto day = [](u32 month, u32 number, u32 year = 2026) {
        return PlayedDay(kPlayed, {.year = year, .month = month, .day = number});
    };
    EXPECT_EQ(PlayedDay(0, {}), "");
    EXPECT_EQ(day(3, 1), "today");
    EXPECT_EQ(day(3, 2), "yesterday");
    EXPECT_EQ(day(3, 14), "13 days ago");
    EXPECT_EQ(day(3, 15), "2026-03-01");
    EXPECT_EQ(day(3, 1, 2027), "2026-03-01");
    EXPECT_EQ(day(2, 28), "2026-03-01");  // the clock was wrong then, or is now
}

TEST(ShelfTexts, CompletionsAreFoldersAndFilesThatCanBeGames) {
    const TemporaryFolder folder;
    for (const char* const name : {"pond", "poem", ".hidden"}) {
        fs::create_directory(folder.path + "/" + name);
    }
    for (const char* const name : {"po.mxz", "po.txt", "po.zip", "MAIN.MX", "cart.wasm"}) {
        WriteTextFile(folder.path + "/" + name, "");
    }
    const std::string at = folder.path + "/";
    EXPECT_EQ(CompletionsOf(at + "po"),
              (std::vector<std::string>{at + "po.mxz", at + "po.zip", at + "poem/", at + "pond/"}));
    EXPECT_EQ(CompletionsOf(at).size(), 6u);
    EXPECT_EQ(CompletionsOf(at + "."), std::vector<std::string>{at + ".hidden/"});
    EXPECT_EQ(CompletionsOf("po").size(), 0u);
    EXPECT_EQ(Completed(at + "p"), at + "po");
    EXPECT_EQ(Completed(at + "pon"), at + "pond/");
    EXPECT_EQ(Completed(at + "x"), at + "x");
    EXPECT_EQ(PlainPath(at), folder.path);
    // Names that part within a character: two bytes of three are the same.
    fs::create_directory(folder.path + "/z\xE5\xA4\x9C");
    fs::create_directory(folder.path + "/z\xE5\xA4\x8F");
    EXPECT_EQ(Completed(at + "z"), at + "z");
}

}  // namespace

}  // namespace moxi
