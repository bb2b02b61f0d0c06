// How a module is put together with the library: the folder that mxasm searches by itself, the
// table of handlers, routines with names for their stack, held keys, locks.

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/headless_run.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

using Lines = std::vector<std::string>;

const std::string kMinimal =
    "        .include \"moxi.inc\"\n"
    "start:  ON_MESSAGE handlers\n"
    "        HANDLERS handlers\n"
    "        HANDLER MSG_START1, on_start\n"
    "        END_HANDLERS\n"
    "on_start:\n"
    "        DONE\n"
    "        .include \"moxi_code.inc\"\n";

struct GameSource {
    TemporaryFolder folder;
    std::string Path(const std::string& name) const { return folder.path + "/" + name; }
    ProgramResult Assemble(const std::vector<std::string>& options = {}) const {
        std::vector<std::string> arguments = {Path("game.mxs"), "-o", Path("MAIN.MX")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return RunProgram("mxasm", arguments);
    }
};

std::vector<std::string> Texts(const AssembleResult& result) {
    std::vector<std::string> lines;
    for (const AssembleError& error : result.errors) {
        lines.push_back(error.at.text);
    }
    return lines;
}

TEST(LibraryFolder, IsSearchedWithoutAnOption) {
    const GameSource game;
    WriteTextFile(game.Path("game.mxs"), kMinimal);
    const ProgramResult result = game.Assemble();
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.status, 0);
}

TEST(LibraryFolder, ComesLastSoThatAFileOfTheGameGoesBeforeIt) {
    const GameSource game;
    WriteTextFile(game.Path("game.mxs"), "        .include \"moxi.inc\"\n.assert MINE == 1\n");
    WriteTextFile(game.Path("moxi.inc"), "MINE = 1\n");
    EXPECT_EQ(game.Assemble().status, 0);

    fs::remove(game.Path("moxi.inc"));
    fs::create_directory(game.Path("other"));
    WriteTextFile(game.Path("other/moxi.inc"), "MINE = 1\n");
    EXPECT_EQ(game.Assemble({"-I", game.Path("other")}).status, 0);
    EXPECT_NE(game.Assemble().errors.find("'MINE' is not defined"), std::string::npos);
}

TEST(LibraryFolder, LiesBesideTheFolderOfTheProgram) {
    const GameSource game;
    WriteTextFile(game.Path("game.mxs"), "        .include \"own.inc\"\n");
    fs::create_directories(game.Path("usr/bin"));
    fs::create_directories(game.Path("usr/share/moxi/library"));
    WriteTextFile(game.Path("usr/share/moxi/library/own.inc"), "start:  STOP\n");
    const fs::path bin = fs::read_symlink("/proc/self/exe").parent_path();
    fs::copy_file(bin / "mxasm", game.Path("usr/bin/mxasm"));
    const std::string installed = fs::relative(game.Path("usr/bin/mxasm"), bin).string();
    const ProgramResult result =
        RunProgram(installed, {game.Path("game.mxs"), "-o", game.Path("MAIN.MX")});
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.status, 0);
}

TEST(LibraryFolder, NamesAndMacrosMakeNoCode) {
    const AssembleResult result =
        Assemble("        .include \"moxi.inc\"\n", "empty.mxs", LibraryOptions());
    ASSERT_TRUE(result.ok) << FormatErrors(result);
    EXPECT_EQ(result.bytes.size(), 512u);
}

TEST(LibraryFolder, TheRoutinesCanBeTakenInParts) {
    const AssembleResult result = Assemble(
        "        .include \"moxi/messages.inc\"\n"
        "        .include \"moxi/services.inc\"\n"
        "        .include \"moxi/routines.inc\"\n"
        "start:  TIMER #20\n        STOP\n"
        "        .include \"moxi/services_code.inc\"\n",
        "part.mxs", LibraryOptions());
    ASSERT_TRUE(result.ok) << FormatErrors(result);
    EXPECT_EQ(SymbolValue(result, "moxi_sines"), 0xFFFFFFFFu);
}

TEST(LibraryMessages, EachGoesToItsHandlerAndTheOthersNowhere) {
    HeadlessRun run;
    run.source =
        "        .stack 16384\n        .heap 65536\n"
        "        .include \"moxi.inc\"\n"
        "start:  ON_MESSAGE handlers\n"
        "        HANDLERS handlers\n"
        "        HANDLER MSG_START2, on_start\n"
        "        HANDLER MSG_CLOSE, on_close\n"
        "        HANDLER MSG_SIZE, on_size\n"
        "        HANDLER MSG_DOWN, on_down\n"
        "        HANDLER MSG_UP, on_up\n"
        "        END_HANDLERS\n"
        "on_start: LOG_NUMBER \"start\", R0\n        DONE\n"
        "on_close: LOG_NUMBER \"close\", R1\n        RESULT #1\n        DONE\n"
        "on_size: MOVE.L R6, R2\n        LOG_NUMBER \"width\", R1\n"
        "        LOG_NUMBER \"height\", R6\n        DONE\n"
        "on_down: HOLD_KEY R1\n        LOG_NUMBER \"down\", R1\n"
        "        KEY_HELD #'A'\n        LOG_NUMBER \"A is held\", R14\n        DONE\n"
        "on_up:  RELEASE_KEY R1\n"
        "        KEY_HELD #'A'\n        LOG_NUMBER \"A is held\", R14\n        DONE\n"
        "        .include \"moxi_code.inc\"\n";
    run.script =
        "10 key-down 00 \"a\"\n"
        "20 key-up 00 \"a\"\n"
        "30 close\n";
    run.options = {"--run-ms", "100"};
    const HeadlessResult result = RunHeadless(run);
    // An allowed close destroys the window and asks once more.
    const std::vector<std::string> wanted = {
        "start 2",     "width 1000",  "height 600", "width 1000",      "height 600", "down 65",
        "A is held 1", "A is held 0", "close 0",    "windowWillClose", "close 0"};
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.Logs(), wanted);
}

TEST(LibraryMessages, ACommandBeyondTheTableComesToNothing) {
    HeadlessRun run;
    run.source = kMinimal;
    run.script = "10 post 17 0 0 0\n20 post 0xFFFFFFFF 0 0 0\n30 post 0x80000000 0 0 0\n";
    run.options = {"--run-ms", "100"};
    const HeadlessResult result = RunHeadless(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, std::vector<std::string>{});
}

TEST(LibraryMessages, HandlersOutOfOrderAreAnError) {
    const AssembleResult result = Assemble(
        "        .include \"moxi.inc\"\n"
        "start:  ON_MESSAGE handlers\n"
        "        HANDLERS handlers\n"
        "        HANDLER MSG_TICK, start\n"
        "        HANDLER MSG_CLOSE, start\n"
        "        END_HANDLERS\n"
        "        .include \"moxi_code.inc\"\n",
        "game.mxs", LibraryOptions());
    EXPECT_FALSE(result.ok);
    ASSERT_FALSE(result.errors.empty());
    EXPECT_EQ(Texts(result).front(),
              "HANDLER MSG_CLOSE: the handlers stand in the order of their messages");
}

TEST(LibraryRoutines, ArgumentsAndLocalsAreWhereTheirNamesSay) {
    HeadlessRun run;
    run.source =
        "        .stack 16384\n        .heap 65536\n"
        "        .include \"moxi.inc\"\n"
        "start:  ON_MESSAGE handlers\n"
        "        HANDLERS handlers\n"
        "        HANDLER MSG_START1, on_start\n"
        "        END_HANDLERS\n"
        "        FUNCTION factorial\n"
        "        ARGUMENTS n\n"
        "        MOVE.L R14, #1\n"
        "        MOVE.L R6, [FP+n]\n"
        "        TBEQ.L R6, @leave\n"
        "        SUB.L R6, #1\n"
        "        INVOKE factorial, R6\n"
        "        MUL.L R14, [FP+n]\n"
        "@leave: LEAVE\n"
        "        FUNCTION weigh, first, second, third\n"
        "        ARGUMENTS a, b, c\n"
        "        MOVE.L [FP+first], [FP+a]\n"
        "        MOVE.L [FP+second], [FP+b]\n"
        "        MOVE.L [FP+third], [FP+c]\n"
        "        MOVE.L R6, #0\n"
        "        MOVE.L R13, #0\n"
        "        INVOKE factorial, [FP+third]\n"
        "        MUL.L [FP+second], #10\n"
        "        MUL.L [FP+third], #100\n"
        "        ADD.L R14, [FP+first]\n"
        "        ADD.L R14, [FP+second]\n"
        "        ADD.L R14, [FP+third]\n"
        "        LEAVE\n"
        "on_start:\n"
        "        MOVE.L R6, #6\n        MOVE.L R13, #13\n"
        "        INVOKE weigh, #1, #2, #5\n"
        "        MOVE.L [result], R14\n"
        "        MOVE.L [kept], R6\n        MOVE.L [kept+4], R13\n"
        "        STOP\n"
        "        .include \"moxi_code.inc\"\n"
        "        .bss\nresult: .space 4\nkept: .space 8\n";
    const HeadlessResult result = RunHeadless(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.LongAt("result"), 120u + 1 + 20 + 500);
    EXPECT_EQ(result.LongAt("kept"), 6u);
    EXPECT_EQ(result.Long(result.Label("kept") + 4), 13u);
}

// Assembles `lines` as the code and data of a game in the file game.mxs.
Lines ErrorsOf(const std::string& lines) {
    const AssembleResult result = Assemble(
        "        .include \"moxi.inc\"\nstart:\n" + lines + "        .include \"moxi_code.inc\"\n",
        "game.mxs", LibraryOptions());
    Lines errors;
    for (const AssembleError& error : result.errors) {
        errors.push_back(error.at.file + ":" + std::to_string(error.at.line) + ":" +
                         std::to_string(error.at.column) + ": " + error.at.text);
    }
    return errors;
}

TEST(LibraryErrors, AnInvokeWithAnotherNumberOfArgumentsIsOne) {
    EXPECT_EQ(ErrorsOf("        INVOKE weigh, #1\n"
                       "        INVOKE weigh, #1, #2\n"
                       "        INVOKE plain, #1, #2\n"
                       "        INVOKE none, #1\n"
                       "        FUNCTION weigh, local\n"
                       "        ARGUMENTS a, b\n"
                       "        LEAVE\n"
                       "plain:  ARGUMENTS c\n"
                       "        LINK 0, 0\n"
                       "        RETURN 0\n"
                       "        FUNCTION none\n"
                       "        LEAVE\n"),
              (Lines{"game.mxs:3:9: 'weigh' takes 2 arguments (game.mxs:8), 1 is given",
                     "game.mxs:5:9: 'plain' takes 1 argument (game.mxs:10), 2 are given",
                     "game.mxs:6:9: 'none' takes 0 arguments (game.mxs:13), 1 is given"}));
}

TEST(LibraryErrors, AColourOutOfRangeIsOne) {
    const std::string text = "red, green, blue and alpha are numbers from 0 to 255, not ";
    EXPECT_EQ(ErrorsOf("COLOUR GOOD, 0, 255, 1 + 2, 0\n"
                       "COLOUR RED, 256, 0, 0\n"
                       "COLOUR ALPHA, 1, 2, 3, -1\n"
                       "ELLIPSE_COLOUR BLUE, 1, 2, 3000\n"
                       "        .data\n"
                       "        GRADIENT 3, 0, 0, 0, 10, 20, 300\n"),
              (Lines{"game.mxs:4:1: " + text + "256", "game.mxs:5:1: " + text + "-1",
                     "game.mxs:6:1: " + text + "3000", "game.mxs:8:9: " + text + "300"}));
}

TEST(LibraryErrors, AWrongOperandStandsInTheGamesOwnLine) {
    EXPECT_EQ(ErrorsOf("        RECTANGLE #SCREEN, 5, #5, #10, #10, #WHITE\n"),
              Lines{"game.mxs:3:28: expected an operand: a register, [address], [Rn+offset], "
                    "[FP+offset] or #value; found '5'"});
    EXPECT_EQ(ErrorsOf("        INVOKE weigh, #1, R2, [R1\nweigh:  NOP\n"),
              Lines{"game.mxs:3:23: expected +, - or ] here"});
}

TEST(LibraryErrors, AGameThatEndsWithItsDataGetsTheRoutinesAllTheSame) {
    EXPECT_EQ(ErrorsOf("        STOP\n        .data\ntitle: .asciz \"odd\"\n"), Lines{});
}

// A lock that outlives its message would end the program.
TEST(LibraryHeap, ALockOutlivesTheRoutinesThatAreCalledAndEndsWithItsOwn) {
    HeadlessRun run;
    run.source =
        "        .stack 16384\n        .heap 65536\n"
        "        .include \"moxi.inc\"\n"
        "start:  ON_MESSAGE handlers\n"
        "        HANDLERS handlers\n"
        "        HANDLER MSG_START1, on_start\n"
        "        HANDLER MSG_START2, on_next\n"
        "        END_HANDLERS\n"
        "on_start:\n"
        "        ALLOC #100\n        MOVE.L [low], R14\n"
        "        ALLOC #100\n        MOVE.L [high], R14\n"
        "        LOCK [high]\n"
        "        MOVE.L [R14], #77\n"
        "        MOVE.L [before], R14\n"
        "        FREE [low]\n"
        "        BLOCK_ADDRESS [high]\n"
        "        DONE\n"
        "on_next:\n"
        "        BLOCK_ADDRESS [high]\n"
        "        MOVE.L [after], R14\n"
        "        MOVE.L [value], [R14]\n"
        "        STOP\n"
        "        .include \"moxi_code.inc\"\n"
        "        .bss\nlow: .space 4\nhigh: .space 4\nbefore: .space 4\nafter: .space 4\n"
        "value:  .space 4\n";
    const HeadlessResult result = RunHeadless(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, std::vector<std::string>{});
    EXPECT_EQ(result.LongAt("value"), 77u);
    EXPECT_EQ(result.LongAt("before") - result.LongAt("after"), 100u);
}

// A module whose first message locks blocks and calls; `routines` holds `lock_low` and `lock_high`.
HeadlessResult RunLocks(const std::string& handler, const std::string& routines) {
    HeadlessRun run;
    run.source =
        "        .stack 16384\n        .heap 65536\n"
        "        .include \"moxi.inc\"\n"
        "start:  ON_MESSAGE handlers\n"
        "        HANDLERS handlers\n"
        "        HANDLER MSG_START1, on_start\n"
        "        HANDLER MSG_START2, on_next\n"
        "        END_HANDLERS\n"
        "on_start:\n"
        "        ALLOC #100\n        MOVE.L [low], R14\n"
        "        ALLOC #100\n        MOVE.L [high], R14\n" +
        handler +
        "        DONE\n"
        "on_next:\n"
        "        STOP\n" +
        routines +
        "        .include \"moxi_code.inc\"\n"
        "        .bss\nlow: .space 4\nhigh: .space 4\n";
    return RunHeadless(run);
}

const std::vector<std::string> kStillLocked = {
    "fatal: Hey, Dummy! You shouldn't have left blocks locked when CompactHeap() needs to run!"};

// The handler's own return could take back one of the two locks, not both.
TEST(LibraryHeap, ALockEndsWithItsRoutineHoweverLittleThatHasOnItsStack) {
    const char* const routines[][2] = {
        {"        LINK 0, 0\n", "        RETURN 0\n"},
        {"        LINK 8, 0\n", "        RETURN 0\n"},
        {"        LINK 0, 1\n", "        RETURN 1\n"},
        {"        LINK 12, 8\n", "        RETURN 8\n"},
    };
    for (const auto& [begin, end] : routines) {
        for (const char* const arguments : {"", ", #1", ", #1, #2, #3"}) {
            const std::string call = arguments;
            const HeadlessResult result = RunLocks(
                "        INVOKE lock_low" + call + "\n        INVOKE lock_high" + call + "\n",
                std::string("lock_low:\n") + begin + "        LOCK [low]\n" + end + "lock_high:\n" +
                    begin + "        LOCK [high]\n" + end);
            EXPECT_EQ(result.lines, std::vector<std::string>{}) << begin << call;
            EXPECT_EQ(result.status, 0) << begin << call;
        }
    }
}

TEST(LibraryHeap, ALockOutlivesTheReturnsOfRoutinesThatItsOwnCalls) {
    // The last return of the message takes one lock back, so the one that is left over shows that
    // both lasted until then.
    const HeadlessResult result = RunLocks(
        "        LOCK [low]\n        LOCK [high]\n"
        "        INVOKE nothing\n        INVOKE nothing, #1, #2\n        BLOCK_ADDRESS [low]\n",
        "nothing:\n        LINK 0, 0\n        RETURN 0\n");
    EXPECT_EQ(result.lines, kStillLocked);
}

TEST(LibraryHeap, ALockUnderWhatIsPoppedAgainEndsWithTheNextCall) {
    const HeadlessResult result = RunLocks(
        "        PUSH.L #0\n        LOCK [low]\n        POP.L R0\n        INVOKE nothing\n"
        "        LOCK [high]\n",
        "nothing:\n        LINK 0, 0\n        RETURN 0\n");
    EXPECT_EQ(result.lines, std::vector<std::string>{});
}

}  // namespace

}  // namespace moxi
