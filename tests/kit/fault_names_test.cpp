// What debug.log says of the routines that a fatal message comes from.

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/kit/debugged.h"

namespace moxi {

namespace {

const char* const kFaulting = R"(
        .stack  4096
        .heap   4096
start:  LINK    0, 0                    ; 200
        MOVE.L  R15, #block             ; 204
        SYS                             ; 20C
        PUSH.L  #1                      ; 210
        CALL    shoot, 4                ; 214
        RETURN  0                       ; 21C
shoot:  LINK    0, 0                    ; 220
@again: MOVE.L  [0xF0000000], R1        ; 224
        RETURN  0
        .data
block:  .long   0x0A00
)";

const std::string kTrace =
    "PC trace: 0x00000200 0x00000204 0x0000020C 0x00000210 0x00000214 0x00000220 0x00000224\n";

struct Played {
    ProgramResult result;
    std::string log;
};

Played Play(const Debugged& game) {
    const std::string data = game.folder.path + "/data";
    Played played;
    played.result = RunProgram("moxi", {"--headless", "--data-folder", data, game.game});
    played.log = ReadTextFile(data + "/debug.log");
    return played;
}

TEST(FaultNames, AFatalMessageNamesTheRoutineAndItsCallersInDebugLog) {
    const Debugged game(kFaulting);
    const Played played = Play(game);
    EXPECT_EQ(played.result.status, 1);
    EXPECT_EQ(
        played.log,
        "fatal: Unknown SYS command at 0x0000020C. Ack! In start+12\n" + kTrace +
            "fatal: Memory fault at 0x00000224. Terminating. So sorry. In shoot+4, called from "
            "start+28\n");
    // The box and standard error stay as they are.
    EXPECT_EQ(played.result.errors,
              "fatal: Unknown SYS command at 0x0000020C. Ack!\n"
              "fatal: Memory fault at 0x00000224. Terminating. So sorry.\n");
}

TEST(FaultNames, WithoutASymbolFileTheLogIsAsItWas) {
    const Debugged game(kFaulting, false);
    const Played played = Play(game);
    EXPECT_EQ(played.log, kTrace);
}

TEST(FaultNames, ASymbolFileThatIsNoneGivesOneLine) {
    const Debugged game(kFaulting);
    WriteTextFile(game.game + "/MAIN.SYM", "nonsense\n");
    const Played played = Play(game);
    EXPECT_EQ(played.log, kTrace);
    EXPECT_EQ(played.result.errors.find("log: "), 0u) << played.result.errors;
    EXPECT_EQ(played.result.errors.find("log: ", 1), std::string::npos) << played.result.errors;
}

// The frame pointer leads out of the image, in a circle, or to frames that go on for ever.
TEST(FaultNames, ABrokenStackHarmsNothing) {
    for (const char* const frame : {"0xF0000000", "place", "HDR_R0"}) {
        const Debugged game(std::string("        .stack 4096\n        .heap 4096\n"
                                        "start:  MOVE.L  [HDR_FP], #") +
                            frame +
                            "\n        LINK 0, 0\n        .long 4\n"
                            "        .data\nplace:  .long place, 0x1234, 0\n");
        const Played played = Play(game);
        EXPECT_EQ(played.log.find("fatal: Illegal opcode at 0x"), 0u) << played.log;
        EXPECT_NE(played.log.find(" In start+"), std::string::npos) << played.log;
    }
}

}  // namespace

}  // namespace moxi
