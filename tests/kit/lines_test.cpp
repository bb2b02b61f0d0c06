// What the author's kit says of source lines. The lines of these modules are made up; what
// compilers tell of theirs is in tests/ckit.

#include <gtest/gtest.h>

#include "tests/kit/debugged.h"

namespace moxi {

namespace {

// Of kTicking: start has the lines 3, 5 and 6 of one file, add 10 and 11 of another one. R12 is the
// message, 11, in both functions; 11 + 605 is where `ticks` lies.
const char* const kLines =
    "00000200 3 game/main.c\n"
    "0000021C 5 game/main.c\n"
    "00000230 6 game/main.c\n"
    "00000248 10 other.c\n"
    "0000024C 11 other.c\n"
    "00000258 0\n"
    "00000200 argument i32 ticks\n"
    "00000200 memory 00000300 R12 605\n"
    "00000200 argument u8 low byte\n"
    "00000200 memory 00000300 R12 605\n";

std::string Session(const Debugged& game, const std::string& commands) {
    WriteTextFile(game.game + "/MAIN.LIN", kLines);
    WriteTextFile(game.folder.path + "/other.c", std::string(9, '\n') +
                                                     "int add(int a, int b) {\n"
                                                     "    return a + b;\n"
                                                     "}\n");
    const std::string output = game.Run(commands).output;
    const size_t first = output.find("(moxi)");
    return first == std::string::npos ? output : output.substr(first);
}

TEST(DebuggerLines, AFunctionsLineStopsWhereItsArgumentsAre) {
    const Debugged game(kTicking);
    EXPECT_EQ(Session(game, "break other.c:10\nc\nbacktrace\n"),
              "(moxi) break other.c:10\n"
              "breakpoint 1: at 0000024C <add+4> at other.c:11\n"
              "(moxi) c\n"
              "breakpoint 1\n"
              "other.c:11  return a + b;\n"
              "=> 0000024C <add+4>  MOVE.L   R13, [FP+12]\n"
              "(moxi) backtrace\n"
              "#0  0000024C <add+4> at other.c:11  FP=0x0000122C, returns to 00000230 <start+48> "
              "at game/main.c:5\n"
              "    8 bytes of arguments: 0x0 0x3\n"
              "#1  00000230 <start+48> at game/main.c:5  FP=0x00001250\n"
              "    ticks=0, low byte=0\n" +
                  std::string(kEndOfTalk));
}

TEST(DebuggerLines, TheModuleRunsToALineOrToTheNextOne) {
    const Debugged game(kTicking);
    // From add's only line the next one is behind the call; the service is passed over.
    EXPECT_EQ(Session(game, "u main.c:5\nline\nb other.c:11 if [ticks] == 3\nc\nline\n\n"),
              "(moxi) u main.c:5\n"
              "game/main.c:5\n"
              "=> 0000021C <start+28>  PUSH.L   #3\n"
              "(moxi) line\n"
              "game/main.c:6\n"
              "=> 00000230 <start+48>  MOVE.L   [ticks], R13\n"
              "(moxi) b other.c:11 if [ticks] == 3\n"
              "breakpoint 1: at 0000024C <add+4> at other.c:11 if [ticks] == 3\n"
              "(moxi) c\n"
              "breakpoint 1\n"
              "other.c:11  return a + b;\n"
              "=> 0000024C <add+4>  MOVE.L   R13, [FP+12]\n"
              "(moxi) line\n"
              "game/main.c:6\n"
              "=> 00000230 <start+48>  MOVE.L   [ticks], R13\n"
              "(moxi)\n"
              "message 11 MSG_TICK: 0x0, 0x0, 0x0\n"
              "game/main.c:3\n"
              "=> 00000200 <start>  LINK     0, 2\n" +
                  std::string(kEndOfTalk));
}

TEST(DebuggerLines, TheSourceIsShownAroundALine) {
    const Debugged game(kTicking);
    EXPECT_EQ(
        Session(game, "u add\nsource\nsource other.c:12\nsource other.c:11 2\nsource start\n"),
        "(moxi) u add\n"
        "other.c:10  int add(int a, int b) {\n"
        "=> 00000248 <add>  LINK     8, 0\n"
        "(moxi) source\n"
        "      5  \n      6  \n      7  \n      8  \n      9  \n"
        "=>   10  int add(int a, int b) {\n"
        "     11      return a + b;\n"
        "     12  }\n"
        "(moxi) source other.c:12\n"
        "there is no code of line 12 of other.c or behind it\n"
        "(moxi) source other.c:11 2\n"
        "=>   10  int add(int a, int b) {\n"
        "     11      return a + b;\n"
        "(moxi) source start\n"
        "game/main.c: the source is not to be found\n" +
            std::string(kEndOfTalk));
}

TEST(DebuggerLines, WhatIsNoLineIsSaid) {
    const Debugged game(kTicking);
    EXPECT_EQ(Session(game,
                      "break none.c:3\nbreak other.c:99\nbreak in.c:3\nbreak main.c:5 now\n"
                      "source 0x258\n"),
              "(moxi) break none.c:3\nno code comes from a file 'none.c'\n"
              "(moxi) break other.c:99\nthere is no code of line 99 of other.c or behind it\n"
              "(moxi) break in.c:3\nno code comes from a file 'in.c'\n"
              "(moxi) break main.c:5 now\n'now' is left over\n"
              "(moxi) source 0x258\nno line is known of 00000258 <block>\n" +
                  std::string(kEndOfTalk));
}

TEST(DebuggerLines, WithoutAFileThereAreNone) {
    const Debugged game(kTicking);
    EXPECT_EQ(game.Talk("break main.c:3\nline\nsource\n"),
              "(moxi) break main.c:3\nno lines are known; there is no MAIN.LIN beside the module\n"
              "(moxi) line\nno lines are known; there is no MAIN.LIN\n"
              "(moxi) source\nno line is known of 00000200 <start>\n" +
                  std::string(kEndOfTalk));
}

TEST(DebuggerLines, ABrokenFileIsSaidInALine) {
    const Debugged game(kTicking);
    for (const char* const broken :
         {"00000200 3\n", "00000200 0 main.c\n", "x 3 main.c\n", "00000200 argument i33 a\n",
          "00000200 argument i32\n", "00000200 value 00000300 R1\n", "nonsense\n",
          "00000200 variable 00000300 i32 a\n"}) {
        WriteTextFile(game.game + "/MAIN.LIN", std::string("00000200 3 main.c\n") + broken);
        const std::string output = game.Run("quit\n").output;
        EXPECT_NE(output.find("/MAIN.LIN: line 2: no line of code\n"), std::string::npos)
            << broken << output;
    }
    for (const char* const broken :
         {"00000200 value 00000300 R16\n", "00000200 value 00000300 FP-x\n",
          "00000200 value 00000300 5\n", "00000200 value 00000300 R1 4\n",
          "00000200 memory 00000300 R1\n", "00000200 memory 00000300 #5 0\n"}) {
        WriteTextFile(game.game + "/MAIN.LIN", std::string("00000200 argument i32 a\n") + broken);
        const std::string output = game.Run("quit\n").output;
        EXPECT_NE(output.find("/MAIN.LIN: line 2: no line of code\n"), std::string::npos)
            << broken << output;
    }
}

// Message 1 executes 7 instructions, the last one faults.
const char* const kFaulting = R"(
        .stack  4096
        .heap   4096
start:  LINK    0, 0                    ; 200
        MOVE.L  R15, #block             ; 204
        SYS                             ; 20C
        PUSH.L  #1                      ; 210
        CALL    shoot, 4                ; 214
shoot:  LINK    0, 0                    ; 21C
@again: MOVE.L  [0xF0000000], R1        ; 220
        RETURN  0
        .data
block:  .long   0x0A00
)";

TEST(Lines, FatalMessagesAndProfilesHaveThem) {
    const Debugged game(kFaulting);
    // The call is the last instruction of start: its return address is shoot's already.
    WriteTextFile(game.game + "/MAIN.LIN",
                  "00000200 3 main.c\n00000210 4 main.c\n0000021C 8 more/shoot.c\n");
    const std::string data = game.folder.path + "/data";
    const ProgramResult run = RunProgram(
        "moxi", {"--headless", "--data-folder", data, "--profile", "profile.txt", game.game},
        game.folder.path);
    EXPECT_EQ(run.status, 1);
    const std::string log = ReadTextFile(data + "/debug.log");
    EXPECT_NE(log.find("Terminating. So sorry. In shoot+4 (more/shoot.c:8), called from "
                       "start+28 (main.c:4)\n"),
              std::string::npos)
        << log;
    const std::string profile = ReadTextFile(game.folder.path + "/profile.txt");
    EXPECT_NE(profile.find("\nLines: instructions of their own\n"
                           "         own      %  line\n"
                           "           3  42.86  main.c:3\n"
                           "           2  28.57  main.c:4\n"
                           "           2  28.57  more/shoot.c:8\n\n"),
              std::string::npos)
        << profile;
}

}  // namespace
}  // namespace moxi
