// C and C++ programs, compiled by mxcc and run by moxi, headless.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "tests/support/headless_run.h"
#include "tests/support/picture.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

const std::string kPrograms = MOXI_SOURCE_DIR "/tests/ckit/programs/";

using Lines = std::vector<std::string>;

// The lines "log: ..." of a run, without the prefix; others as they are.
Lines LogsOf(const std::string& errors) {
    Lines lines;
    std::istringstream text(errors);
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line.starts_with("log: ") ? line.substr(5) : line);
    }
    return lines;
}

// A game folder in a folder of its own.
struct Game {
    TemporaryFolder folder;
    std::string game = folder.path + "/game";
    std::string data = folder.path + "/data";

    Game() { fs::create_directory(game); }

    // Compiles a program of the tests. A program that does not compile fails the test.
    void Compile(const std::string& name, Lines options = {}) const {
        options.insert(options.end(), {kPrograms + name, "-o", game + "/"});
        const ProgramResult compiled = RunProgram("mxcc", options, folder.path);
        EXPECT_EQ(compiled.status, 0);
        EXPECT_EQ(compiled.errors, "");
    }

    // The same for a text.
    void CompileText(const std::string& text, const Lines& options = {}) const {
        WriteTextFile(folder.path + "/text.c", text);
        Lines all = options;
        all.insert(all.end(), {folder.path + "/text.c", "-o", game + "/"});
        const ProgramResult compiled = RunProgram("mxcc", all, folder.path);
        EXPECT_EQ(compiled.status, 0);
        EXPECT_EQ(compiled.errors, "");
    }

    ProgramResult Run(Lines options = {}) const {
        options.insert(options.begin(), {"--headless", "--data-folder", data});
        options.push_back(game);
        return RunProgram("moxi", options, folder.path);
    }

    Lines Logs(const Lines& options = {}) const {
        const ProgramResult run = Run(options);
        EXPECT_EQ(run.status, 0);
        return LogsOf(run.errors);
    }
};

class Levels : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(CKit, Levels, testing::Values("-O0", "-O2", "-Os"),
                         [](const auto& level) { return std::string(level.param + 1); });

TEST_P(Levels, FilesAreWhatTheyAreElsewhere) {
    const Game game;
    WriteTextFile(game.game + "/SHIPPED.TXT", "came with the game\n");
    game.Compile("files.c", {GetParam()});
    EXPECT_EQ(game.Logs(), Lines{"all is well"});
    EXPECT_TRUE(fs::is_empty(game.data));
    EXPECT_EQ(ReadTextFile(game.game + "/SHIPPED.TXT"), "came with the game\n");
}

TEST_P(Levels, TheCLibraryDoesWhatItDoesElsewhere) {
    const Game game;
    game.Compile("language.c", {GetParam()});
    EXPECT_EQ(game.Logs({"--date", "2024-03-07 09:05:41"}),
              (Lines{"2024-03-07 09:05:41", "all is well"}));
}

TEST_P(Levels, CppHasItsLibrary) {
    const Game game;
    game.Compile("containers.cpp", {"-std=c++17", GetParam()});
    EXPECT_EQ(game.Logs(), (Lines{"begins global", "55", "and 2", "bird 1", "cat 1", "dog 1",
                                  "the 3", "two2", "meow", "woof", "1", "40 text 2.5", "3.14ff 4",
                                  "begins local", "the dog goes", "ends local", "ends global"}));
}

TEST_P(Levels, AProgramDrawsAndAnswersMessages) {
    const Game game;
    game.Compile("picture.c", {GetParam()});
    WriteTextFile(game.folder.path + "/script", "100 mouse-down 0 320 70\n200 close\n");
    EXPECT_EQ(
        game.Logs({"--script", "script", "--dump-view", "view.png"}),
        (Lines{"pixel 255", "x 320", "y 70", "screen 1920", "windowWillClose", "screen 1920"}));
    const Picture view = ReadPicture(game.folder.path + "/view.png");
    EXPECT_EQ(view.At(99, 50), 0x141C3Cu);
    EXPECT_EQ(view.At(100, 50), 0x000080u);
    EXPECT_EQ(view.At(163, 113), 0xFCFC80u);
    EXPECT_EQ(view.At(164, 113), 0x141C3Cu);
    EXPECT_EQ(view.At(15, 10), 0xFFFFFFu);
    EXPECT_EQ(view.At(20, 15), 0xFFFFFFu);
    EXPECT_EQ(view.At(320, 70), 0xFF0A14u);
}

TEST(CKit, ArgumentsComeFromTheResourceAndTheStatusIsLoggedLast) {
    const Game game;
    WriteTextFile(game.game + "/ARGS.TXT", "first\r\nsecond one\n\nlast");
    game.Compile("args.c");
    EXPECT_EQ(game.Logs(), (Lines{"0: [MAIN.MX]", "1: [first]", "2: [second one]", "3: []",
                                  "4: [last]", "home: (none)", "in between, line by line",
                                  "on error", "", "at exit", "exit status 45"}));
}

TEST(CKit, AProgramWithoutArgumentsHasItsName) {
    const Game game;
    game.Compile("args.c");
    const Lines logs = game.Logs();
    EXPECT_EQ(logs.front(), "0: [MAIN.MX]");
    EXPECT_EQ(logs.back(), "exit status 41");
}

TEST(CKit, AMainMayHaveAnotherForm) {
    const Game game;
    game.CompileText(
        "#include <err.h>\n"
        "int main(int count, char** arguments, char** environment) {\n"
        "    warnx(\"%d %s %d\", count, arguments[0], environment[0] == 0);\n"
        "    errx(6, \"no more\");\n}\n");
    EXPECT_EQ(game.Logs(), (Lines{"MAIN.MX: 1 MAIN.MX 1", "MAIN.MX: no more", "exit status 6"}));
    game.CompileText("int main(int count) { return count + 1; }\n", {"-w"});
    EXPECT_EQ(game.Logs(), Lines{"exit status 2"});
    WriteTextFile(game.game + "/ARGS.TXT", "one\n");
    game.CompileText(
        "#include <stdio.h>\n"
        "void main(int count, char** arguments) { puts(arguments[count - 1]); }\n",
        {"-w"});
    EXPECT_EQ(game.Logs(), Lines{"one"});
    game.CompileText("#include <stdio.h>\nvoid main(void) { puts(\"nothing\"); }\n", {"-w"});
    EXPECT_EQ(game.Logs(), Lines{"nothing"});
}

TEST(CKit, WarningsOfTheLinkerAreSaidOnce) {
    const TemporaryFolder folder;
    WriteTextFile(folder.path + "/main.c", "int f(); int main(void) { return f(1); }\n");
    WriteTextFile(folder.path + "/two.c", "int f(int a, int b) { return a + b; }\n");
    EXPECT_EQ(RunProgram("mxcc", {"main.c", "two.c", "-o", "M"}, folder.path).errors,
              "wasm-ld-14: warning: function signature mismatch: f, defined as (i32) -> i32 in "
              "main.o, defined as (i32, i32) -> i32 in two.o\n");
}

TEST(CKit, AnAbortAndARecursionWithoutEndAreFatal) {
    const Game game;
    game.CompileText(
        "#include <assert.h>\n#include <stdio.h>\n"
        "int main(void) { printf(\"begun\"); fflush(stdout); assert(1 == 2); }\n");
    ProgramResult run = game.Run();
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.errors.find("log: begun\n"), std::string::npos);
    EXPECT_NE(run.errors.find("Assertion failed: 1 == 2"), std::string::npos);
    EXPECT_NE(run.errors.find("log: Trap: unreachable in abort\n"), std::string::npos);

    game.CompileText(
        "int down(volatile int* p) { volatile int x = *p; return down(&x) + x; }\n"
        "int main(void) { int x = 1; return down(&x); }\n",
        {"-O0"});
    run = game.Run();
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.errors.find("log: Trap: stack overflow in down\n"), std::string::npos);
}

TEST(CKit, ObjectsArchivesAndOptionsOfTheCompilerAreTaken) {
    const TemporaryFolder folder;
    WriteTextFile(folder.path + "/one.c", "int one(void) { return VALUE; }\n");
    WriteTextFile(folder.path + "/two.cpp", "extern \"C\" int two() { return 2; }\n");
    WriteTextFile(folder.path + "/main.c",
                  "#include <stdio.h>\n#include <math.h>\nint one(void), two(void);\n"
                  "int main(void) { printf(\"%d %g\\n\", one() + two(), cbrt(27)); }\n");
    EXPECT_EQ(RunProgram("mxcc", {"-c", "-DVALUE=40", "one.c"}, folder.path).status, 0);
    EXPECT_EQ(RunProgram("mxcc", {"-c", "two.cpp", "-o", "other.o"}, folder.path).status, 0);
    EXPECT_EQ(
        RunProgram("/usr/bin/llvm-ar-14", {"rcs", "libother.a", "other.o"}, folder.path).status, 0);
    const ProgramResult linked = RunProgram(
        "mxcc", {"main.c", "one.o", "-L.", "-lother", "-lm", "-o", "MAIN.MX"}, folder.path);
    EXPECT_EQ(linked.status, 0) << linked.errors;
    EXPECT_EQ(RunProgram("moxi", {"--headless", "MAIN.MX"}, folder.path).errors, "log: 42 3\n");
    const ProgramResult printed = RunProgram("mxcc", {"-E", "-DVALUE=7", "one.c"}, folder.path);
    EXPECT_NE(printed.output.find("return 7;"), std::string::npos);
}

TEST(CKit, TheModuleHasNoPadding) {
    const Game game;
    game.Compile("args.c");
    const std::string module = ReadTextFile(game.game + "/MAIN.MX");
    // The data begins at the next multiple of 64 behind the code, or a little later.
    EXPECT_EQ(module.find(std::string(1280, '\0'), 512), std::string::npos);
    EXPECT_LT(module.size(), 120000u);
}

TEST(CKit, WhatIsWrongIsSaidInALine) {
    const TemporaryFolder folder;
    WriteTextFile(folder.path + "/empty.c", "int unused;\n");
    WriteTextFile(folder.path + "/main.c", "int f(void); int main(void) { return f(); }\n");
    WriteTextFile(folder.path + "/good.c", "int main(void) { return 0; }\n");
    fs::create_directory(folder.path + "/out");
    const auto said = [&](const Lines& arguments) {
        const ProgramResult result = RunProgram("mxcc", arguments, folder.path);
        EXPECT_EQ(result.status, 1);
        return result.errors;
    };
    EXPECT_EQ(said({"empty.c", "-o", "M"}),
              "mxcc: the program has neither a main nor a moxi_message\n");
    EXPECT_EQ(said({"main.c", "-o", "M"}), "wasm-ld-14: error: main.o: undefined symbol: f\n");
    EXPECT_EQ(said({"good.c", "-o"}), "mxcc: a value is missing after -o\n");
    EXPECT_EQ(said({"good.c", "-o", "out"}),
              "mxcc: out: is a folder; with a / at its end the module goes into it\n");
    EXPECT_EQ(said({"good.c", "--memory"}), "mxcc: a value is missing after --memory\n");
    EXPECT_NE(said({"none.c", "-o", "M"}).find("none.c"), std::string::npos);
    WriteTextFile(folder.path + "/bad.c", "int main(void) {\n    return nothing;\n}\n");
    EXPECT_EQ(said({"bad.c", "-o", "M"}),
              "bad.c:2:12: error: use of undeclared identifier 'nothing'\n");
    EXPECT_FALSE(fs::exists(folder.path + "/M"));
    const ProgramResult missing = RunProgram(
        "/usr/bin/env", {"PATH=/none", MOXI_BIN_DIR "/mxcc", "good.c", "-o", "M"}, folder.path);
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.errors,
              "mxcc: wasm-opt is not installed; it is in Debian's package binaryen\n");
}

TEST(CKit, TheHeadersAreCleanCAndCpp) {
    const TemporaryFolder folder;
    const std::string text =
        "#include <moxi.h>\n#include <moxi/game.h>\n"
        "void setup(void) {}\nvoid update(void) {}\nvoid draw(void) {}\n";
    WriteTextFile(folder.path + "/game.c", text);
    WriteTextFile(folder.path + "/gamepp.cpp", text);
    const Lines warnings = {"-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Werror", "-c"};
    for (const Lines& command : {Lines{"-std=c11", "game.c"}, Lines{"-std=c++11", "gamepp.cpp"},
                                 Lines{"-std=c++20", "gamepp.cpp"}}) {
        Lines arguments = warnings;
        arguments.insert(arguments.end(), command.begin(), command.end());
        const ProgramResult result = RunProgram("mxcc", arguments, folder.path);
        EXPECT_EQ(result.status, 0) << result.errors;
    }
}

// --- moxi/game.h

TEST(CGame, ItsFunctionsDoWhatTheHeaderSays) {
    const Game game;
    game.Compile("game.c");
    WriteTextFile(game.folder.path + "/script",
                  "300 key-down 00 \"a\"\n500 key-up 00 \"a\"\n600 mouse-down 0 250 300\n"
                  "610 mouse-up 0 250 300\n700 scroll 0 0.3 250 300\n1800 key-down 35 \"\\x1B\"\n");
    WriteTextFile(game.game + "/MAP.TXT", "  x\r\n####\r\n #\n");
    WriteTextFile(game.game + "/HUGE.TXT", std::string(65536, '#') + std::string(65536, '\n'));
    const std::string missing = "picture NONE.PNG: cannot be read";
    const std::string noMap = "map NONE.TXT: cannot be read";
    EXPECT_EQ(game.Logs({"--script", "script", "--run-ms", "2500", "--dump-view", "view.png"}),
              (Lines{missing, missing, noMap, "best 101", "a pressed, held 1", "typed a",
                     "a released, held 0", "mouse 50 60", "wheel 3", "problems: 0"}));
    EXPECT_EQ(game.Logs({"--run-ms", "200"}), (Lines{missing, missing, noMap, "best 102"}))
        << "what was saved is there again";
    // 1000 x 600 shows the canvas of 200 x 120 five times as large.
    const Picture view = ReadPicture(game.folder.path + "/view.png");
    EXPECT_EQ(view.At(5, 5), 0x182044u);
    EXPECT_EQ(view.At(50, 50), 0xDE3C3Cu) << "the camera is at 200, 0";
    EXPECT_EQ(view.At(149, 149), 0xDE3C3Cu);
    EXPECT_EQ(view.At(150, 150), 0x182044u);
    EXPECT_EQ(view.Colour(100, 150, 20, 20), 0xFACD50u) << "moves by half of the camera's way";
    // Half white on navy: 255 * 128 / 255 + (24, 32, 68) * 127 / 255.
    EXPECT_EQ(view.At(525, 275), 0x8B8FA1u);
    EXPECT_EQ(view.At(750, 250), 0xFACD50u);
    EXPECT_EQ(view.At(760, 260), 0x182044u);
}

TEST(CGame, ANewGameIsBuiltAndPlayed) {
    const TemporaryFolder folder;
    ASSERT_EQ(RunProgram("moxi", {"--new", "Star Catcher", "--c"}, folder.path).status, 0);
    const ProgramResult built = RunProgram(
        "/usr/bin/env", {"PATH=" MOXI_BIN_DIR ":/usr/bin:/bin", "Star Catcher/build"}, folder.path);
    EXPECT_EQ(built.status, 0) << built.errors;
    WriteTextFile(folder.path + "/script",
                  "300 key-down 7C \"\\x1D\"\n900 key-up 7C \"\\x1D\"\n1000 screenshot end.png\n");
    const ProgramResult run =
        RunProgram("moxi", {"--headless", "--script", "script", "Star Catcher/game"}, folder.path);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    const Picture view = ReadPicture(folder.path + "/end.png");
    // 36 updates of 3 pixels from 240 on, each shown as two: the box begins at 696, or a step
    // beside.
    EXPECT_EQ(view.At(710, 540), 0x78BEF0u);
    EXPECT_EQ(view.At(680, 540), 0x182044u);
    EXPECT_NE(ReadTextFile(folder.path + "/Star Catcher/game/MAIN.SYM").find(" code "),
              std::string::npos);
    EXPECT_EQ(RunProgram("moxi", {"--new", "Star Catcher"}, folder.path).errors,
              "moxi: Star Catcher: is a folder that is not empty\n");
}

TEST(CGame, ANewGameInAssemblyIsBuiltAndPlayed) {
    const TemporaryFolder folder;
    ASSERT_EQ(RunProgram("moxi", {"--new", "box"}, folder.path).status, 0);
    const ProgramResult built = RunProgram(
        "/usr/bin/env", {"PATH=" MOXI_BIN_DIR ":/usr/bin:/bin", "box/build"}, folder.path);
    EXPECT_EQ(built.status, 0) << built.errors;
    EXPECT_EQ(RunProgram("moxi", {"--headless", "--dump-view", "view.png", "box/game"}, folder.path)
                  .status,
              0);
    EXPECT_EQ(ReadPicture(folder.path + "/view.png").At(116, 116), 0xFACD50u);
}

}  // namespace

}  // namespace moxi
