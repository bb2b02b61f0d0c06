// The command line and the event script, through the program itself.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/headless_run.h"
#include "tests/support/patterns.h"

namespace moxi {

namespace {

// A game that does nothing and lets itself be closed.
constexpr const char* kQuietModule = R"(
        .stack 4096
        .heap 4096
        .code
        LINK 0, 0
        MOVE.B [HDR_RESULT], #1
        RETURN 0
)";

struct Game {
    TemporaryFolder folder;
    std::string path = folder.path + "/game";

    Game() { WriteGame(path, kQuietModule); }
    ProgramResult Run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--data-folder", folder.path + "/data"});
        return RunProgram("moxi", arguments, folder.path);
    }
    ProgramResult RunScript(const std::string& script) const {
        WriteTextFile(folder.path + "/events", script);
        return Run({"--headless", "--script", "events", path});
    }
};

// The fields of a module's header that the loader looks at.
std::string Header(u32 loaded, u32 globals, u32 stack, u32 heap) {
    std::string header(512, '\0');
    header.replace(208, 6, std::string("MOXI6\0", 6));
    header[218] = 6;
    u32 at = 224;
    for (const u32 value : {loaded, globals, stack, heap}) {
        for (u32 i = 0; i < 4; ++i) {
            header[at + i] = static_cast<char>(value >> (8 * i));
        }
        at += 8;
    }
    return header;
}

// One line on standard error, nothing on standard output, status 2.
void ExpectRefused(const ProgramResult& result, const std::string& line) {
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, line);
}

void ExpectRefusedInOneLine(const ProgramResult& result) {
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_EQ(result.errors.rfind("moxi: ", 0), 0u) << result.errors;
}

TEST(CommandLine, AHeadlessRunEndsWithStatus0AndSaysNothing) {
    const Game game;
    const ProgramResult result = game.Run({"--headless", game.path});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "");
}

TEST(CommandLine, AMainMxFileNamesItsFolder) {
    const Game game;
    EXPECT_EQ(game.Run({"--headless", game.path + "/MAIN.MX"}).status, 0);
}

TEST(CommandLine, ABundlesResourcesAreFound) {
    const Game game;
    const std::string bundle = game.folder.path + "/Some Game.app";
    std::filesystem::create_directories(bundle + "/Contents");
    std::filesystem::rename(game.path, bundle + "/Contents/Resources");
    EXPECT_EQ(game.Run({"--headless", bundle}).status, 0);
}

TEST(CommandLine, UnknownOptionsAreRefused) {
    const Game game;
    ExpectRefusedInOneLine(game.Run({"--headless", "--no-such-option", game.path}));
}

TEST(CommandLine, ASecondGameIsRefused) {
    const Game game;
    ExpectRefusedInOneLine(game.Run({"--headless", game.path, game.path}));
}

TEST(CommandLine, AnOptionWithoutItsValueIsRefused) {
    const Game game;
    ExpectRefusedInOneLine(game.Run({"--headless", game.path, "--run-ms"}));
}

TEST(CommandLine, OptionsForHeadlessRunsAreRefusedWithoutIt) {
    const Game game;
    ExpectRefused(game.Run({"--run-ms", "5", game.path}), "moxi: --run-ms needs --headless\n");
    ExpectRefused(game.Run({"--desktop", "640x480", game.path}),
                  "moxi: --desktop needs --headless\n");
    ExpectRefused(game.Run({"--script", "x", game.path}), "moxi: --script needs --headless\n");
    ExpectRefused(game.Run({"--date", "2024-01-01 00:00:00", game.path}),
                  "moxi: --date needs --headless\n");
    ExpectRefused(game.Run({"--render-audio", "x.wav", game.path}),
                  "moxi: --render-audio needs --headless\n");
}

TEST(CommandLine, ANewGameTakesAFolderAndNothingElse) {
    const Game game;
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"--new", "--lua"},
                                               {"--new", "q", "extra"},
                                               {"--new", "q", "--lua", "extra"},
                                               {"--new", "--c", "q"}}) {
        const ProgramResult result = game.Run(arguments);
        EXPECT_EQ(result.status, 2) << arguments.back();
        ExpectRefusedInOneLine(result);
    }
    EXPECT_FALSE(std::filesystem::exists(game.folder.path + "/q"));
    EXPECT_FALSE(std::filesystem::exists(game.folder.path + "/--lua"));
}

TEST(CommandLine, WhatIsWrongIsSaidInOneClearLine) {
    const Game game;
    const struct {
        std::vector<std::string> arguments;
        const char* line;
    } cases[] = {
        {{"--new"}, "--new needs FOLDER"},
        {{"--new", "--lua"}, "--new needs FOLDER: --lua is none"},
        {{"--lua"}, "--lua needs --new"},
        {{"--c", game.path}, "--c needs --new"},
        {{"--new", "q", "--c", "--lua"}, "--c and --lua: a game is in one of them"},
        {{"--new", "q", "extra"}, "--new makes one folder and takes no GAME: extra"},
        {{"--pack"}, "--pack needs GAME OUT"},
        {{"--pack", game.path}, "--pack needs GAME OUT"},
        {{"--pack", game.path, "a", "b"}, "--pack needs GAME OUT"},
        {{"--with-symbols", game.path}, "--with-symbols needs --bundle or --pack"},
        {{"--bundle"}, "--bundle needs OUT"},
        {{"--bundle", "out"}, "--bundle needs GAME"},
        {{"--watch"}, "--watch needs GAME"},
        {{"--scale"}, "--scale needs N|fit"},
        {{"--scale", "1", "--scale", "2", game.path}, "--scale is there more than once"},
        {{"--wath", game.path}, "--wath: there is no such option"},
        {{"-x", game.path}, "-x: there is no such option"},
        {{game.path, "second"}, "second: there is one GAME, and it is named before"},
        {{"--run-ms", "5", game.path}, "--run-ms needs --headless"},
        {{"--headless", "--script", "nowhere", game.path}, "nowhere: cannot be read"},
        {{"--data-limit", "5X", game.path}, "--data-limit: no size in bytes, K, M, G or T: 5X"},
        {{"--data-folder", "", game.path}, "--data-folder: the value is empty"},
    };
    for (const auto& each : cases) {
        ExpectRefused(game.Run(each.arguments), "moxi: " + std::string(each.line) + "\n");
    }
    EXPECT_FALSE(std::filesystem::exists(game.folder.path + "/q"));
    EXPECT_FALSE(std::filesystem::exists(game.folder.path + "/out"));
}

TEST(CommandLine, AScaleIsANumberOfStepsOrFit) {
    const Game game;
    for (const char* const scale : {"1", "16", "fit"}) {
        const ProgramResult result =
            game.Run({"--headless", "--scale", scale, "--dump-view", "v.png", game.path});
        EXPECT_EQ(result.status, 0) << scale << result.errors;
        EXPECT_EQ(result.errors, "") << scale;
        // A headless run enlarges nothing: 1000 x 600.
        EXPECT_EQ(ReadTextFile(game.folder.path + "/v.png").substr(16, 8),
                  std::string("\x00\x00\x03\xE8\x00\x00\x02\x58", 8));
    }
    for (const char* const scale : {"0", "17", "-1", "2.5", "2x", "Fit", "fit-fractional", ""}) {
        const ProgramResult result = game.Run({"--headless", "--scale", scale, game.path});
        EXPECT_EQ(result.status, 2) << scale;
        ExpectRefusedInOneLine(result);
    }
}

TEST(CommandLine, ValuesAreChecked) {
    const Game game;
    for (const char* const sizes : {"640", "640x", "x480", "0x480", "640x32768", "640x480,",
                                    "640x480,,1x1", "-1x5", "640x480 "}) {
        ExpectRefusedInOneLine(game.Run({"--headless", "--desktop", sizes, game.path}));
    }
    for (const char* const date :
         {"2024-02-30 00:00:00", "2023-02-29 00:00:00", "2024-13-01 00:00:00",
          "2024-01-01 24:00:00", "2024-01-01", "2024-01-01T00:00:00", "24-01-01 00:00:00"}) {
        ExpectRefusedInOneLine(game.Run({"--headless", "--date", date, game.path}));
    }
    for (const char* const time : {"-1", "x", "1.5", ""}) {
        ExpectRefusedInOneLine(game.Run({"--headless", "--run-ms", time, game.path}));
    }
    for (const char* const volume : {"-1", "101", "x", "50%", "1.5", ""}) {
        ExpectRefusedInOneLine(game.Run({"--headless", "--music-volume", volume, game.path}));
        ExpectRefusedInOneLine(game.Run({"--headless", "--sound-volume", volume, game.path}));
    }
    EXPECT_EQ(
        game.Run({"--headless", "--music-volume", "0", "--sound-volume", "100", game.path}).status,
        0);
}

TEST(CommandLine, AMissingGameIsRefused) {
    const Game game;
    ExpectRefused(game.Run({"--headless", "nowhere"}), "moxi: nowhere: there is no such game\n");
}

TEST(CommandLine, AFileThatIsNoModuleIsRefused) {
    const Game game;
    WriteTextFile(game.folder.path + "/notes.txt", "x");
    ExpectRefused(game.Run({"--headless", "notes.txt"}),
                  "moxi: notes.txt: neither a folder nor a MAIN.MX\n");
}

TEST(CommandLine, WithoutAGameTheUsageIsPrinted) {
    const ProgramResult result = RunProgram("moxi", {"--headless"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors.rfind("usage: moxi", 0), 0u) << result.errors;
}

TEST(CommandLine, VersionAndHelpArePrinted) {
    EXPECT_EQ(RunProgram("moxi", {"--version"}).status, 0);
    EXPECT_EQ(RunProgram("moxi", {"--version"}).output, "moxi 6.2\n");
    const ProgramResult help = RunProgram("moxi", {"--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* const option :
         {"--data-folder", "--mute",      "--soundfont", "--full-screen", "--headless",
          "--desktop",     "--script",    "--run-ms",    "--date",        "--dump-image",
          "--dump-screen", "--dump-view", "--trace",     "--record",      "--render-audio",
          "--no-sandbox",  "--debug",     "--profile",   "--watch",       "--bundle"}) {
        EXPECT_NE(help.output.find(option), std::string::npos) << option;
    }
}

TEST(CommandLine, EveryOptionStandsInTheDocumentation) {
    const std::string page = ReadTextFile(std::string(MOXI_SOURCE_DIR) + "/docs/running.md");
    const std::string help = RunProgram("moxi", {"--help"}).output;
    int options = 0;
    for (const Match& option : AllMatches(help, "--[a-z][a-z-]*")) {
        ++options;
        EXPECT_NE(page.find(option[0]), std::string::npos) << option[0];
    }
    EXPECT_GT(options, 30);
}

TEST(CommandLine, AGameWithoutAModuleIsAFatalError) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.path + "/empty");
    const ProgramResult result =
        RunProgram("moxi", {"--headless", "--data-folder", folder.path + "/d", "--dump-image",
                            folder.path + "/image", folder.path + "/empty"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "fatal: MAIN.MX file not found\n");
    // Dumps are for modules that were loaded.
    EXPECT_FALSE(std::filesystem::exists(folder.path + "/image"));
    // And start-up makes no data folder.
    EXPECT_FALSE(std::filesystem::exists(folder.path + "/d"));
}

TEST(CommandLine, ADataFolderModuleTakesPrecedence) {
    const Game game;
    std::filesystem::create_directories(game.folder.path + "/data");
    WriteTextFile(game.folder.path + "/data/MAIN.MX", "too short");
    const ProgramResult result = game.Run({"--headless", game.path});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "fatal: Error reading .MX file\n");
}

TEST(CommandLine, DumpsShowTheScreenAndTheView) {
    const Game game;
    const ProgramResult result =
        game.Run({"--headless", "--desktop", "320x200", "--dump-screen", "s.png", "--dump-view",
                  "v.png", "--dump-image", "image", game.path});
    EXPECT_EQ(result.status, 0);
    // PNG files say their size at offset 16: 320 x 200 of the desktop, 1000 x 600 of the window.
    EXPECT_EQ(ReadTextFile(game.folder.path + "/s.png").substr(16, 8),
              std::string("\x00\x00\x01\x40\x00\x00\x00\xC8", 8));
    EXPECT_EQ(ReadTextFile(game.folder.path + "/v.png").substr(16, 8),
              std::string("\x00\x00\x03\xE8\x00\x00\x02\x58", 8));
    EXPECT_EQ(ReadTextFile(game.folder.path + "/image").substr(208, 4), "MOXI");
}

TEST(CommandLine, ADumpThatCannotBeWrittenIsOneLogLine) {
    const Game game;
    const ProgramResult result =
        game.Run({"--headless", "--dump-image", "no/such/folder", game.path});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "log: no/such/folder: cannot be written\n");
}

// --- Event scripts

TEST(EventScript, EveryEventIsAccepted) {
    const Game game;
    const ProgramResult result = game.RunScript(R"(# all of them
0 key-down 00 "a"
0 key-up 7F ""
1 modifiers
1 modifiers shift command option
2 mouse-down 0 1 2
2 mouse-down 4 -1 -2 2
3 mouse-up 0 1 2
3 mouse-move 5 6

4 mouse-drag 1 5 6
5 scroll 0.5 -.25 1 2
5 pad-button leftshoulder down
5 pad-button leftshoulder up
5 pad-axis righttrigger 1
5 pad-axis lefty -0.125
6 resize 640 480
7 live-resize-start
8 live-resize-end
9 move -5 10
10 minimize
11 restore
12 full-screen on
13 full-screen off
14 activate
15 expose -1.5 0 10 10.25
16 screens 1920x1080
17 clipboard "a\"b\\c\n\t\x41"
18 post 0x4D 1 -1 0xFFFFFFFF
19 screenshot "shot one.png"
19 screenshot shot2.png
20 close
21 quit
)");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(std::filesystem::exists(game.folder.path + "/shot one.png"));
    EXPECT_TRUE(std::filesystem::exists(game.folder.path + "/shot2.png"));
}

TEST(EventScript, LinesMayEndInCarriageReturns) {
    const Game game;
    EXPECT_EQ(game.RunScript("1 activate\r\n\r\n2 restore\r\n").status, 0);
}

TEST(EventScript, ABadLineStopsTheStartAndNamesItsPlace) {
    const Game game;
    const char* const badLines[] = {
        "x activate",
        "-1 activate",
        "1",
        "1 no-such-event",
        "1 activate now",
        "1 key-down 80 \"a\"",
        "1 key-down 00 a",
        "1 key-down 00 \"a",
        "1 key-down 00 \"\\q\"",
        "1 key-down 00 \"\\x0\"",
        "1 key-down 00 \"\\x00\"",
        "1 key-down 00",
        "1 modifiers control",
        "1 mouse-down 0 1",
        "1 mouse-down 0 1 2 3 4",
        "1 mouse-move 1.5 2",
        "1 scroll 1 2 3",
        "1 scroll a 2 3 4",
        "1 pad-button",
        "1 pad-button c down",
        "1 pad-button a",
        "1 pad-button a pressed",
        "1 pad-button leftx down",
        "1 pad-axis a 1",
        "1 pad-axis leftx",
        "1 pad-axis leftx 1.01",
        "1 pad-axis leftx left",
        "1 pad-axis leftx 1 2",
        "1 resize 0 5",
        "1 resize 5 32768",
        "1 full-screen",
        "1 full-screen maybe",
        "1 expose 1 2 3",
        "1 screens 100",
        "1 clipboard text",
        "1 post 1 2 3",
        "1 post 1 2 3 0x100000000",
        "1 screenshot",
    };
    for (const char* const line : badLines) {
        const ProgramResult result =
            game.RunScript(std::string("0 activate\n# comment\n") + line + "\n");
        EXPECT_EQ(result.status, 2) << line;
        EXPECT_EQ(result.errors.rfind("moxi: events:3: ", 0), 0u) << line << "\n" << result.errors;
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << line;
    }
}

TEST(EventScript, TimesMayNotGoBackwards) {
    const Game game;
    ExpectRefused(game.RunScript("5 activate\n4 activate\n"),
                  "moxi: events:2: the time goes backwards\n");
}

TEST(EventScript, AMissingScriptIsRefused) {
    const Game game;
    ExpectRefused(game.Run({"--headless", "--script", "no-events", game.path}),
                  "moxi: no-events: cannot be read\n");
}

// --- Broken games

TEST(BrokenGame, ADegenerateModuleIsRefusedInOneLine) {
    const struct {
        std::string module;
        const char* line;
    } cases[] = {
        {"", "fatal: Error reading .MX file\n"},
        {Header(512, 0, 4096, 4096).substr(0, 511), "fatal: Error reading .MX file\n"},
        {std::string(512, 'x'), "fatal: Not a MOXI 6 .MX file\n"},
        {Header(512, 0, 4096, 3), "fatal: Terminating: insufficient Heap space. So sorry.\n"},
        {Header(512, 0, 99, 4), "fatal: Out of stack\n"},
        {Header(511, 0, 4096, 4096),
         "log: MAIN.MX: the loaded length 511 is below the header's 512 bytes\n"},
        {Header(5000, 0, 4096, 4096) + std::string(100, '\0'),
         "log: MAIN.MX: the file ends after 612 of 5000 bytes\n"},
        {Header(0xFFFFFFFF, 0, 0, 0),
         "log: MAIN.MX: the file ends after 512 of 4294967295 bytes\n"},
        {Header(0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF),
         "fatal: Error allocating .MX memory\n"},
    };
    const Game game;
    for (const auto& [module, line] : cases) {
        WriteTextFile(game.path + "/MAIN.MX", module);
        const ProgramResult result = game.Run({"--headless", game.path});
        EXPECT_EQ(result.status, 1) << line;
        EXPECT_EQ(result.errors, line);
    }
}

TEST(BrokenGame, AMainMxThatIsAFolderOrALinkToNowhereIsRefused) {
    const Game game;
    std::filesystem::remove(game.path + "/MAIN.MX");
    std::filesystem::create_directory(game.path + "/MAIN.MX");
    EXPECT_EQ(game.Run({"--headless", game.path}).errors, "fatal: Error reading .MX file\n");
    std::filesystem::remove(game.path + "/MAIN.MX");
    std::filesystem::create_symlink("nowhere", game.path + "/MAIN.MX");
    EXPECT_EQ(game.Run({"--headless", game.path}).errors, "fatal: MAIN.MX file not found\n");
}

TEST(BrokenGame, APathThatCannotBeReachedSaysWhy) {
    const Game game;
    const std::string name(300, 'n');
    ExpectRefused(game.Run({"--headless", name}), "moxi: " + name + ": File name too long\n");
    ExpectRefused(game.Run({"--headless", "two\nlines"}),
                  "moxi: two lines: there is no such game\n");
}

TEST(CommandLine, TheRunTimeIsADecimalNumber) {
    const Game game;
    for (const char* const time : {"0x10", " 5", "+5", "5.0", "1e3", "1099511627777"}) {
        ExpectRefusedInOneLine(game.Run({"--headless", "--run-ms", time, game.path}));
    }
    const ProgramResult result =
        game.Run({"--headless", "--run-ms", "010", "--render-audio", "sound.wav", game.path});
    EXPECT_EQ(result.status, 0);
    // 10 ms are 441 frames of 4 bytes behind the 44 bytes of the header; 8 would be 353.
    EXPECT_EQ(std::filesystem::file_size(game.folder.path + "/sound.wav"), 44u + 441 * 4);
}

}  // namespace

}  // namespace moxi
