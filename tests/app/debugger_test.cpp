// The debugger's commands, through the program itself: commands on standard input, the conversation
// on standard output. Addresses and values are worked out by hand from the instructions' lengths.

#include <gtest/gtest.h>

#include <filesystem>

#include "base/log.h"
#include "tests/support/debugged.h"
#include "tests/support/picture.h"

namespace fs = std::filesystem;

namespace {

TEST(Debugger, StopsBeforeTheFirstInstructionOfTheFirstMessage) {
    const Debugged game(kTicking);
    const ProgramResult result = game.Run("# nothing to do\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.output,
              "The module stands before its first instruction; help lists the commands.\n"
              "7 symbols from MAIN.SYM\n"
              "message 1 MSG_START1: 0x0, 0x0, 0x0\n"
              "=> 00000200 <start>  LINK     0, 2\n"
              "(moxi) # nothing to do\n"
              "the run ends with status 0\n");
}

// The text between a line that starts a block and the next ``` of the page.
std::string BlockOf(const std::string& page, const std::string& kind) {
    const std::string start = "\n```" + kind + "\n";
    const size_t begin = page.find(start) + start.size();
    return page.substr(begin, page.find("```", begin) - begin);
}

TEST(Debugger, TheSessionOfTheManualIsWhatHappens) {
    const std::string page = ReadTextFile(std::string(MOXI_SOURCE_DIR) + "/docs/debugging.md");
    const std::string transcript = BlockOf(page, "text");
    const Debugged game(BlockOf(page, "mx"));
    WriteTextFile(game.folder.path + "/events", BlockOf(page, "events"));
    std::string commands;
    const std::string prompt = "\n(moxi) ";
    for (size_t at = transcript.find(prompt); at != std::string::npos;
         at = transcript.find(prompt, at)) {
        at += prompt.size();
        commands += transcript.substr(at, transcript.find('\n', at) + 1 - at);
    }
    ASSERT_NE(commands, "");
    const ProgramResult result =
        RunProgram("moxi",
                   {"--debug", "--headless", "--data-folder", game.folder.path + "/data",
                    "--script", "events", game.game},
                   game.folder.path, commands);
    EXPECT_EQ(result.output, transcript);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
}

TEST(Debugger, IsTheSameOnEveryRun) {
    const Debugged game(kTicking);
    const std::string commands = "b message MSG_TICK\nc\nr\nc\nk\nheap\nt\nc\nwatch ticks\nc\n";
    EXPECT_EQ(game.Talk(commands), game.Talk(commands));
}

TEST(Debugger, StopsAtAnAddressASymbolAMessageAndAService) {
    const Debugged game(kTicking);
    EXPECT_EQ(game.Talk("break 0x24C\nb add\nb message 2\nb message MSG_TICK\nb message\n"
                        "b sys 0x030E\nb group 3\nb sys\nlist\n"),
              "(moxi) break 0x24C\nbreakpoint 1: at 0000024C <add+4>\n"
              "(moxi) b add\nbreakpoint 2: at 00000248 <add>\n"
              "(moxi) b message 2\nbreakpoint 3: message 2 MSG_START2\n"
              "(moxi) b message MSG_TICK\nbreakpoint 4: message 11 MSG_TICK\n"
              "(moxi) b message\nbreakpoint 5: every message\n"
              "(moxi) b sys 0x030E\nbreakpoint 6: sys 0x030E\n"
              "(moxi) b group 3\nbreakpoint 7: group 3\n"
              "(moxi) b sys\nbreakpoint 8: every sys\n"
              "(moxi) list\n"
              "breakpoint 1: at 0000024C <add+4>\n"
              "breakpoint 2: at 00000248 <add>\n"
              "breakpoint 3: message 2 MSG_START2\n"
              "breakpoint 4: message 11 MSG_TICK\n"
              "breakpoint 5: every message\n"
              "breakpoint 6: sys 0x030E\n"
              "breakpoint 7: group 3\n"
              "breakpoint 8: every sys\n" +
                  std::string(kEndOfTalk));
    EXPECT_EQ(
        game.Talk("b 0x24C\nb message MSG_TICK\nb message 2\nc\nc\nc\nb group 3\nc\nb group 2\n"
                  "b sys 0x030E\nd 1\nd 2\nd 4\nc\nl\nd all\nl\n"),
        "(moxi) b 0x24C\nbreakpoint 1: at 0000024C <add+4>\n"
        "(moxi) b message MSG_TICK\nbreakpoint 2: message 11 MSG_TICK\n"
        "(moxi) b message 2\nbreakpoint 3: message 2 MSG_START2\n"
        "(moxi) c\nbreakpoint 3\nmessage 2 MSG_START2: 0x0, 0x0, 0x0\n"
        "=> 00000200 <start>  LINK     0, 2\n"
        "(moxi) c\nbreakpoint 2\nmessage 11 MSG_TICK: 0x0, 0x0, 0x0\n"
        "=> 00000200 <start>  LINK     0, 2\n"
        "(moxi) c\nbreakpoint 1\n=> 0000024C <add+4>  MOVE.L   R13, [FP+12]\n"
        "(moxi) b group 3\nbreakpoint 4: group 3\n"
        "(moxi) c\nbreakpoint 4\n=> 00000240 <start+64>  SYS  ; service 0x030E\n"
        "(moxi) b group 2\nbreakpoint 5: group 2\n"
        "(moxi) b sys 0x030E\nbreakpoint 6: sys 0x030E\n"
        "(moxi) d 1\n(moxi) d 2\n(moxi) d 4\n"
        "(moxi) c\nbreakpoint 6\n=> 00000240 <start+64>  SYS  ; service 0x030E\n"
        "(moxi) l\n"
        "breakpoint 3: message 2 MSG_START2, 1 hit\n"
        "breakpoint 5: group 2\n"
        "breakpoint 6: sys 0x030E, 1 hit\n"
        "(moxi) d all\n(moxi) l\nthere are no breakpoints\n" +
            std::string(kEndOfTalk));
}

TEST(Debugger, AConditionHoldsABreakpointBack) {
    const Debugged game(kTicking);
    // Ticks come at 80, 160, 240...; the LONG holds 3 times as many as there were.
    EXPECT_EQ(game.Talk("b add if [ticks] == 6\nc\np [ticks]\nl\nb message 11 if [ticks] > 8\nc\n"
                        "p [ticks]\nb if [ticks] == 99\n"),
              "(moxi) b add if [ticks] == 6\nbreakpoint 1: at 00000248 <add> if [ticks] == 6\n"
              "(moxi) c\nbreakpoint 1\n=> 00000248 <add>  LINK     8, 0\n"
              "(moxi) p [ticks]\n6 = 0x00000006\n"
              "(moxi) l\nbreakpoint 1: at 00000248 <add> if [ticks] == 6, 1 hit\n"
              "(moxi) b message 11 if [ticks] > 8\n"
              "breakpoint 2: message 11 MSG_TICK if [ticks] > 8\n"
              "(moxi) c\nbreakpoint 2\nmessage 11 MSG_TICK: 0x0, 0x0, 0x0\n"
              "=> 00000200 <start>  LINK     0, 2\n"
              "(moxi) p [ticks]\n9 = 0x00000009\n"
              "(moxi) b if [ticks] == 99\n"
              "breakpoint 3: at 00000200 <start> if [ticks] == 99\n" +
                  std::string(kEndOfTalk));
}

TEST(Debugger, AWatchpointStopsAfterTheInstructionThatChangedALong) {
    const Debugged game(kTicking);
    EXPECT_EQ(game.Talk("watch ticks\nc\nset [ticks] = 0x10\nc\n"),
              "(moxi) watch ticks\nwatchpoint 1: of the LONG at 00000268 <ticks>\n"
              "(moxi) c\n"
              "watchpoint 1: 00000268 <ticks>: 0x3, was 0x0, after 00000230 <start+48>\n"
              "=> 00000238 <start+56>  MOVE.L   R15, #block\n"
              // What the debugger has set is no change.
              "(moxi) set [ticks] = 0x10\n"
              "(moxi) c\n"
              "watchpoint 1: 00000268 <ticks>: 0x13, was 0x10, after 00000230 <start+48>\n"
              "=> 00000238 <start+56>  MOVE.L   R15, #block\n" +
                  std::string(kEndOfTalk));
}

TEST(Debugger, StepsIntoOverAndOutOfCalls) {
    const Debugged game(kTicking);
    const std::string to = "u 0x228\n";
    const std::string there = "(moxi) u 0x228\n=> 00000228 <start+40>  CALL     add, 8\n";
    const std::string back = "=> 00000230 <start+48>  MOVE.L   [ticks], R13\n";
    const std::string next =
        "message 11 MSG_TICK: 0x0, 0x0, 0x0\n=> 00000200 <start>  LINK     0, 2\n";
    EXPECT_EQ(game.Talk(to + "s\ns 3\n"), there +
                                              "(moxi) s\n=> 00000248 <add>  LINK     8, 0\n"
                                              "(moxi) s 3\n=> 00000254 <add+12>  RETURN   0\n" +
                                              kEndOfTalk);
    EXPECT_EQ(game.Talk(to + "o\no 2\n"),
              there + "(moxi) o\n" + back +
                  "(moxi) o 2\n=> 00000240 <start+64>  SYS  ; service 0x030E\n" + kEndOfTalk);
    // Out of a function before and after its LINK, then to the next message.
    EXPECT_EQ(game.Talk(to + "s\nf\nf\n"),
              there + "(moxi) s\n=> 00000248 <add>  LINK     8, 0\n(moxi) f\n" + back +
                  "(moxi) f\n" + next + kEndOfTalk);
    EXPECT_EQ(game.Talk(to + "s 2\nf\nf\n"),
              there + "(moxi) s 2\n=> 0000024C <add+4>  MOVE.L   R13, [FP+12]\n(moxi) f\n" + back +
                  "(moxi) f\n" + next + kEndOfTalk);
}

TEST(Debugger, AnEmptyLineRepeatsTheLastStep) {
    const Debugged game(kTicking);
    EXPECT_EQ(game.Talk("\ns\n\np 1\n# no line\n\n"),
              "(moxi)\n"  // nothing to repeat yet
              "(moxi) s\n=> 00000204 <start+4>  MOVE.B   [HDR_RESULT], #1\n"
              "(moxi)\n=> 0000020C <start+12>  MOVE.L   R12, [FP+12]\n"
              "(moxi) p 1\n1 = 0x00000001\n"
              "(moxi) # no line\n"
              "(moxi)\n=> 00000210 <start+16>  CMP.L    R12, #11\n" +
                  std::string(kEndOfTalk));
}

TEST(Debugger, OverAnInstructionThatEndsTheMessageStopsAtTheNextOne) {
    const Debugged game(kTicking);
    for (const std::string command : {"o", "s", "f"}) {
        EXPECT_EQ(game.Talk("u 0x244\n" + command + "\n"),
                  "(moxi) u 0x244\n=> 00000244 <start@done>  RETURN   2\n"
                  "(moxi) " +
                      command +
                      "\nmessage 2 MSG_START2: 0x0, 0x0, 0x0\n"
                      "=> 00000200 <start>  LINK     0, 2\n" +
                      kEndOfTalk);
    }
}

TEST(Debugger, RecursionIsSteppedOverAsAWhole) {
    // Counts R1 down to 0, one call deeper each time.
    const Debugged game(R"(
        .stack 4096
        .heap 4096
start:  LINK 0, 0               ; 200
        MOVE.L R1, #3           ; 204
        CALL down, 0            ; 208
        RETURN 0                ; 210
down:   LINK 0, 0               ; 214
        SUB.L R1, #1            ; 218
        BEQ @end                ; 21C
        CALL down, 0            ; 220
@end:   RETURN 0                ; 228
)");
    EXPECT_EQ(game.Talk("u 0x220\no\np R1\nf\n"),
              "(moxi) u 0x220\n=> 00000220 <down+12>  CALL     down, 0\n"
              "(moxi) o\n=> 00000228 <down@end>  RETURN   0\n"
              "(moxi) p R1\n0 = 0x00000000\n"
              "(moxi) f\n=> 00000210 <start+16>  RETURN   0\n" +
                  std::string(kEndOfTalk));
    // The innermost of three: the stack begins at 0x22C + 4096 = 0x122C. The message's frame takes
    // 24 bytes and its FP, a call 8 and the FP: FP = 0x1210, 0x1204, 0x11F8, 0x11EC.
    EXPECT_EQ(game.Talk("b 0x228\nc\nk\nk 2\n"),
              "(moxi) b 0x228\nbreakpoint 1: at 00000228 <down@end>\n"
              "(moxi) c\nbreakpoint 1\n=> 00000228 <down@end>  RETURN   0\n"
              "(moxi) k\n"
              "#0  00000228 <down@end>  FP=0x000011EC, returns to 00000228 <down@end>\n"
              "    no arguments\n"
              "#1  00000228 <down@end>  FP=0x000011F8, returns to 00000228 <down@end>\n"
              "    no arguments\n"
              "#2  00000228 <down@end>  FP=0x00001204, returns to 00000210 <start+16>\n"
              "    no arguments\n"
              "#3  00000210 <start+16>  FP=0x00001210\n"
              "    message 1 MSG_START1: 0x0, 0x0, 0x0\n"
              "(moxi) k 2\n"
              "#0  00000228 <down@end>  FP=0x000011EC, returns to 00000228 <down@end>\n"
              "    no arguments\n"
              "#1  00000228 <down@end>  FP=0x000011F8, returns to 00000228 <down@end>\n"
              "    no arguments\n"
              "there are more frames\n" +
                  std::string(kEndOfTalk));
}

TEST(Debugger, FramesShowArgumentsAlsoBeforeTheLink) {
    const Debugged game(kTicking);
    // SP starts at 0x126C. Message 24, FP 4, two registers 16: 0x1240; two arguments 8, call 8.
    EXPECT_EQ(game.Talk("b add\nc\nk\ns\nk\n"),
              "(moxi) b add\nbreakpoint 1: at 00000248 <add>\n"
              "(moxi) c\nbreakpoint 1\n=> 00000248 <add>  LINK     8, 0\n"
              "(moxi) k\n"
              "#0  00000248 <add>, returns to 00000230 <start+48>\n"
              "    8 bytes of arguments: 0x0 0x3\n"
              "#1  00000230 <start+48>  FP=0x00001250\n"
              "    message 11 MSG_TICK: 0x0, 0x0, 0x0\n"
              "(moxi) s\n=> 0000024C <add+4>  MOVE.L   R13, [FP+12]\n"
              "(moxi) k\n"
              "#0  0000024C <add+4>  FP=0x0000122C, returns to 00000230 <start+48>\n"
              "    8 bytes of arguments: 0x0 0x3\n"
              "#1  00000230 <start+48>  FP=0x00001250\n"
              "    message 11 MSG_TICK: 0x0, 0x0, 0x0\n" +
                  std::string(kEndOfTalk));
}

TEST(Debugger, ABrokenChainOfFramesIsSaid) {
    const Debugged game(kTicking);
    EXPECT_EQ(game.Talk("b 0x24C\nc\nset [FP] = 8\nk\nset FP = 0xFFFFFFF0\nk\nset FP = -8\nk\n"),
              "(moxi) b 0x24C\nbreakpoint 1: at 0000024C <add+4>\n"
              "(moxi) c\nbreakpoint 1\n=> 0000024C <add+4>  MOVE.L   R13, [FP+12]\n"
              "(moxi) set [FP] = 8\n"
              "(moxi) k\n"
              "#0  0000024C <add+4>  FP=0x0000122C, returns to 00000230 <start+48>\n"
              "    8 bytes of arguments: 0x0 0x3\n"
              "the chain of frames is broken: 0x00000008 follows 0x0000122C\n"
              "(moxi) set FP = 0xFFFFFFF0\n"
              "(moxi) k\n#0  0000024C <add+4>  no frame: 0xFFFFFFF4 is outside the image\n"
              "(moxi) set FP = -8\n"
              "(moxi) k\n#0  0000024C <add+4>  no frame: 0xFFFFFFFC is outside the image\n" +
                  std::string(kEndOfTalk));
}

TEST(Debugger, RegistersAreShownAndSet) {
    const Debugged game(kTicking);
    EXPECT_EQ(
        game.Talk("u 0x21C\nr\nset R3 = -5\nset.q r4 = 0x123456789ABCDEF0\nset.d R5 = 1.5\n"
                  "r R3\nr R5\nset flags = 5\nset pc = 0x244\nset SP = SP - 16\nr\np R4\n"
                  "set.w R4 = 0x1111\np R4\ns\n"),
        "(moxi) u 0x21C\n=> 0000021C <start+28>  PUSH.L   #3\n"
        "(moxi) r\n"
        "R0  0000000000000000  R1  0000000000000000  R2  0000000000000000  R3  0000000000000000\n"
        "R4  0000000000000000  R5  0000000000000000  R6  0000000000000000  R7  0000000000000000\n"
        "R8  0000000000000000  R9  0000000000000000  R10 0000000000000000  R11 0000000000000000\n"
        "R12 000000000000000B  R13 0000000000000000  R14 0000000000000000  R15 0000000000000000\n"
        "PC  0000021C <start+28>  SP  00001240  FP  00001250  flags  Z\n"
        "(moxi) set R3 = -5\n"
        "(moxi) set.q r4 = 0x123456789ABCDEF0\n"
        "(moxi) set.d R5 = 1.5\n"
        "(moxi) r R3\n"
        "R3 = 0x00000000FFFFFFFB\n"
        "quad 4294967291, long -5, word -5, byte -5\n"
        "double 2.1219957884949441e-314, float -nan\n"
        "(moxi) r R5\n"
        "R5 = 0x3FF8000000000000\n"
        "quad 4609434218613702656, long 0, word 0, byte 0\n"
        "double 1.5, float 0\n"
        "(moxi) set flags = 5\n"
        "(moxi) set pc = 0x244\n"
        "(moxi) set SP = SP - 16\n"
        "(moxi) r\n"
        "R0  0000000000000000  R1  0000000000000000  R2  0000000000000000  R3  00000000FFFFFFFB\n"
        "R4  123456789ABCDEF0  R5  3FF8000000000000  R6  0000000000000000  R7  0000000000000000\n"
        "R8  0000000000000000  R9  0000000000000000  R10 0000000000000000  R11 0000000000000000\n"
        "R12 000000000000000B  R13 0000000000000000  R14 0000000000000000  R15 0000000000000000\n"
        "PC  00000244 <start@done>  SP  00001230  FP  00001250  flags  ON\n"
        "(moxi) p R4\n-1698898192 = 0x9ABCDEF0\n"
        "(moxi) set.w R4 = 0x1111\n"
        "(moxi) p R4\n-1698950895 = 0x9ABC1111\n"
        // The RETURN that has been chosen is executed in place of the PUSH.
        "(moxi) s\nmessage 11 MSG_TICK: 0x0, 0x0, 0x0\n"
        "=> 00000200 <start>  LINK     0, 2\n" +
            std::string(kEndOfTalk));
}

TEST(Debugger, MemoryIsShownInEverySizeAndSet) {
    const Debugged game(R"(
        .stack 4096
        .heap 4096
start:  RETURN 0
        .data
data:   .byte 0x41, 0x42, 0xFF, 0
        .long 0x12345678
        .quad 0x1122334455667788
        .float 0.5
        .double -2.25
text:   .asciz "a\"b\\c\n\x01z"
)");
    // Data begins at 0x208: 4, 4, 8, 4 and 8 bytes, then the text.
    EXPECT_EQ(
        game.Talk("m.b data 8\nm.w data, 3\nm data+4 1\nm.l data 5\nm.q data+8 1\n"
                  "m.f data+16 1\nm.d data+20 1\nx text\nx text+9\n"
                  "set.b [data] = 'Z', -1, 0x80\nm.b data 3\nset.w [data+4] = 0xFFFF\n"
                  "m data+4 1\nset.f [data+16] = -1.5\nm.f data+16 1\n"
                  "set [text] = 0x44434241, 0\nx text\np [data].b\np [data+2].W\np ['a'-0x59]\n"),
        "(moxi) m.b data 8\n"
        "00000208  41 42 FF 00 78 56 34 12                          AB..xV4.\n"
        "(moxi) m.w data, 3\n00000208  4241 00FF 5678\n"
        "(moxi) m data+4 1\n0000020C  12345678\n"
        "(moxi) m.l data 5\n00000208  00FF4241 12345678 55667788 11223344\n"
        "00000218  3F000000\n"
        "(moxi) m.q data+8 1\n00000210  1122334455667788\n"
        "(moxi) m.f data+16 1\n00000218  0.5\n"
        "(moxi) m.d data+20 1\n0000021C  -2.25\n"
        "(moxi) x text\n\"a\\\"b\\\\c\\n\\x01z\", 8 bytes\n"
        "(moxi) x text+9\n\"\", 0 bytes\n"
        "(moxi) set.b [data] = 'Z', -1, 0x80\n"
        "(moxi) m.b data 3\n"
        "00000208  5A FF 80                                         Z..\n"
        "(moxi) set.w [data+4] = 0xFFFF\n"
        "(moxi) m data+4 1\n0000020C  1234FFFF\n"
        "(moxi) set.f [data+16] = -1.5\n"
        "(moxi) m.f data+16 1\n00000218  -1.5\n"
        "(moxi) set [text] = 0x44434241, 0\n"
        "(moxi) x text\n\"ABCD\", 4 bytes\n"
        "(moxi) p [data].b\n90 = 0x0000005A\n"
        "(moxi) p [data+2].W\n128 = 0x00000080\n"
        // 'a' is 0x61: the LONG at 8, R0.
        "(moxi) p ['a'-0x59]\n0 = 0x00000000\n" +
            std::string(kEndOfTalk));
}

TEST(Debugger, PlacesOutsideTheImageAreSaid) {
    // Nothing but 8 bytes of code, a stack of 4096 and a heap of 4096: the image ends at 0x2204.
    const Debugged game("        .stack 4096\n        .heap 4096\nstart:  RETURN 0\n");
    EXPECT_EQ(
        game.Talk("m 0x21FC\nm.b 0x2204\nm 0xFFFFFFFC\nx 0xFFFFFFFF\np [0x2201]\n"
                  "p [0x2200]\nset [0x2200] = 1, 2\nset [-4] = 1\nb 0x2204\nwatch 0x2201\n"
                  "u 0xF0000000\na 0x21FC 3\na 0x3000\nset.b [0x21F8] = 1,1,1,1,1,1,1,1,1,1,1,1\n"
                  "x 0x21F8\n"),
        "(moxi) m 0x21FC\n000021FC  00000000 00000000\n0x00002204 is outside the image\n"
        "(moxi) m.b 0x2204\n0x00002204 is outside the image\n"
        "(moxi) m 0xFFFFFFFC\n0xFFFFFFFC is outside the image\n"
        "(moxi) x 0xFFFFFFFF\nthe text at 0xFFFFFFFF has no end inside the image\n"
        "(moxi) p [0x2201]\n0x00002201 is outside the image\n"
        "(moxi) p [0x2200]\n0 = 0x00000000\n"
        "(moxi) set [0x2200] = 1, 2\n0x00002204 is outside the image\n"
        "(moxi) set [-4] = 1\n0xFFFFFFFC is outside the image\n"
        "(moxi) b 0x2204\n0x00002204 is outside the image\n"
        "(moxi) watch 0x2201\n0x00002201 is outside the image\n"
        "(moxi) u 0xF0000000\n0xF0000000 is outside the image\n"
        "(moxi) a 0x21FC 3\n   000021FC  TBEQ.B   R0, 0x0\n"
        "   00002204  ; outside the image\n"
        "(moxi) a 0x3000\n   00003000  ; outside the image\n"
        "(moxi) set.b [0x21F8] = 1,1,1,1,1,1,1,1,1,1,1,1\n"
        "(moxi) x 0x21F8\nthe text at 0x000021F8 has no end inside the image\n" +
            std::string(kEndOfTalk));
}

TEST(Debugger, DisassemblesWithNamesAndMarksTheNextInstructionAndBreakpoints) {
    const Debugged game(kTicking);
    EXPECT_EQ(game.Talk("b add\na start 11\na add 2\ns\na PC 2\na\n"),
              "(moxi) b add\nbreakpoint 1: at 00000248 <add>\n"
              "(moxi) a start 11\n"
              "start:\n"
              "=> 00000200  LINK     0, 2\n"
              "   00000204  MOVE.B   [HDR_RESULT], #1\n"
              "   0000020C  MOVE.L   R12, [FP+12]\n"
              "   00000210  CMP.L    R12, #11\n"
              "   00000218  BNE      start@done\n"
              "   0000021C  PUSH.L   #3\n"
              "   00000220  PUSH.L   [ticks]\n"
              "   00000228  CALL     add, 8\n"
              "   00000230  MOVE.L   [ticks], R13\n"
              "   00000238  MOVE.L   R15, #block\n"
              "   00000240  SYS\n"
              "(moxi) a add 2\n"
              "add:\n"
              " * 00000248  LINK     8, 0\n"
              "   0000024C  MOVE.L   R13, [FP+12]\n"
              "(moxi) s\n=> 00000204 <start+4>  MOVE.B   [HDR_RESULT], #1\n"
              "(moxi) a PC 2\n"
              "=> 00000204  MOVE.B   [HDR_RESULT], #1\n"
              "   0000020C  MOVE.L   R12, [FP+12]\n"
              // Ten without a count.
              "(moxi) a\n"
              "=> 00000204  MOVE.B   [HDR_RESULT], #1\n"
              "   0000020C  MOVE.L   R12, [FP+12]\n"
              "   00000210  CMP.L    R12, #11\n"
              "   00000218  BNE      start@done\n"
              "   0000021C  PUSH.L   #3\n"
              "   00000220  PUSH.L   [ticks]\n"
              "   00000228  CALL     add, 8\n"
              "   00000230  MOVE.L   [ticks], R13\n"
              "   00000238  MOVE.L   R15, #block\n"
              "   00000240  SYS\n" +
                  std::string(kEndOfTalk));
}

TEST(Debugger, TheTraceEndsWithTheInstructionExecutedLast) {
    const Debugged game(kTicking);
    EXPECT_EQ(game.Talk("t\nu add\nt 3\nt 1\n"),
              "(moxi) t\nnothing has been executed\n"
              "(moxi) u add\n=> 00000248 <add>  LINK     8, 0\n"
              "(moxi) t 3\n0000021C <start+28>  PUSH.L   #3\n"
              "00000220 <start+32>  PUSH.L   [ticks]\n"
              "00000228 <start+40>  CALL     add, 8\n"
              "(moxi) t 1\n00000228 <start+40>  CALL     add, 8\n" +
                  std::string(kEndOfTalk));
}

// Makes three blocks of 100, 40 and 24 bytes, locks the second twice and frees the third; then a
// bitmap of 3 x 2, whose pixels take the place of the freed block.
constexpr const char* kHeapAndBitmap = R"(
        .stack  4096
        .heap   65536
        .macro  SERVICE command, bytes
        PUSH.L  #\command
        CALL    service, (\bytes) + 4
        .endm
start:  LINK    0, 0
        PUSH.L  #100
        SERVICE 0x0900, 4
        MOVE.L  [handles], R14
        PUSH.L  #40
        SERVICE 0x0900, 4
        MOVE.L  [handles+4], R14
        PUSH.L  #24
        SERVICE 0x0900, 4
        MOVE.L  [handles+8], R14
        PUSH.L  R14
        SERVICE 0x0901, 4
        MOVE.L  [lock+4], [handles+4]
        MOVE.L  R15, #lock
        SYS
        SYS
        PUSH.L  #2
        PUSH.L  #3
        SERVICE 0x0513, 8
        MOVE.L  [bitmap], R14
full:   NOP
        STOP
service:
        LINK    0, 0
        LEA.L   R15, [FP+12]
        SYS
        RETURN  0
        .data
lock:   .long   0x0902, 0
        .bss
handles: .space 12
bitmap: .space 4
)";

TEST(Debugger, ListsTheBlocksOfTheHeap) {
    const Debugged game(kHeapAndBitmap);
    const u32 heap = SymbolValue(game.assembled, "bitmap") + 4 + 4096;
    const std::string talk = game.Talk("u full\nheap\nheap 2\nheap 9\nheap 0x10000\nheap all\n");
    char first[64];
    std::snprintf(first, sizeof first, "heap %8.8X, 65536 bytes, ", heap);
    EXPECT_NE(talk.find(first), std::string::npos) << talk;
    // Block 0 belongs to the host. The record of the bitmap has 32 bytes, its pixels 24.
    EXPECT_NE(talk.find(", 200 of them handed out so far\n"
                        "allocated      4 blocks, 160 bytes\n"
                        "locked         1 block, 40 bytes\n"
                        "freed          0 blocks, 0 bytes\n"
                        "unused     65531 handles\n"),
              std::string::npos)
        << talk;
    const auto row = [heap](u32 handle, u32 offset, u32 bytes, const char* state) {
        return FormatText("%6u  %8.8X  %10u  %10u  ", handle, heap + offset, bytes, bytes) + state;
    };
    const std::string head = "handle   address       bytes       asked\n";
    // The frame of the message has 24 bytes, FP follows, and a lock lasts for 20 bytes more than
    // SP.
    const std::string locked =
        FormatText("locked, 2 locks until SP is above 0x%8.8X\n", heap - 28 + 20);
    const std::string rows = head + row(0, 0, 4, "allocated\n") + row(1, 4, 100, "allocated\n") +
                             row(2, 104, 40, locked.c_str()) + row(3, 144, 24, "allocated\n") +
                             row(4, 168, 32, "allocated\n");
    EXPECT_NE(talk.find(rows + "(moxi) heap 2\n"), std::string::npos) << talk;
    EXPECT_NE(talk.find("(moxi) heap 2\n" + head + row(2, 104, 40, locked.c_str())),
              std::string::npos);
    EXPECT_NE(talk.find("(moxi) heap 9\n0x9 is no handle of a block\n"), std::string::npos);
    EXPECT_NE(talk.find("(moxi) heap 0x10000\n0x10000 is no handle of a block\n"),
              std::string::npos);
    EXPECT_TRUE(talk.ends_with(rows + kEndOfTalk));
}

TEST(Debugger, ListsBitmapsAndWritesThemAsPng) {
    const Debugged game(kHeapAndBitmap);
    const u32 pixels = SymbolValue(game.assembled, "bitmap") + 4 + 4096 + 144;
    const std::string fill =
        FormatText("set [0x%X] = 0x80010203, 2, 3, 4, 5, 0xFFC0B0A0\n", pixels);
    const std::string talk = game.Talk(
        "u full\n" + fill +
            "bitmaps\nbitmaps 4\nbitmaps 1\nbitmaps 0xFFFFFFFF\nsave [bitmap] two words.png\n"
            "save 0 screen.png\nsave 0xFFFFFFFE text.png\nsave 1 one.png\nsave 0\n"
            "save 0 no/such/folder.png\n",
        {"--desktop", "40x30"});
    const std::string row =
        FormatText("         4  3 x 2, stride 12, clip 0, 0, 3 x 2, pixels 3 at 0x%8.8X\n", pixels);
    EXPECT_EQ(talk.substr(talk.find("(moxi) bitmaps")),
              "(moxi) bitmaps\n"
              "         0  40 x 30, stride 160, clip 0, 0, 40 x 30, the screen\n"
              "0xFFFFFFFE  40 x 256, stride 160, clip 0, 0, 40 x 256, the text bitmap\n" +
                  row + "(moxi) bitmaps 4\n" + row + "(moxi) bitmaps 1\n" +
                  FormatText("         1  0 x 0, stride 0, clip 0, 0, 0 x 0, pixels 0 at 0x%8.8X\n",
                             pixels - 144) +
                  "the record may be none of a bitmap\n"
                  "(moxi) bitmaps 0xFFFFFFFF\n0xFFFFFFFF is no bitmap\n"
                  "(moxi) save [bitmap] two words.png\ntwo words.png: 3 x 2\n"
                  "(moxi) save 0 screen.png\nscreen.png: 40 x 30\n"
                  "(moxi) save 0xFFFFFFFE text.png\ntext.png: 40 x 256\n"
                  "(moxi) save 1 one.png\nbitmap 0x1: 0 x 0 with stride 0 is no picture\n"
                  "(moxi) save 0\nthe name of a file is missing\n"
                  "(moxi) save 0 no/such/folder.png\nno/such/folder.png: cannot be written\n" +
                  kEndOfTalk);
    const std::string file = game.folder.path + "/two words.png";
    const Picture picture = ReadPicture(file);
    ASSERT_EQ(picture.width, 3u);
    ASSERT_EQ(picture.height, 2u);
    EXPECT_EQ(picture.At(0, 0), 0x030201u);
    EXPECT_EQ(picture.At(1, 0), 0x020000u);
    EXPECT_EQ(picture.At(2, 1), 0xA0B0C0u);
    // Truecolour with alpha.
    EXPECT_EQ(ReadTextFile(file).at(25), 6);
}

TEST(Debugger, ListsTheMessagesThatWait) {
    // With a timer of the module's own, messages wait for the host's tick.
    const Debugged game(R"(
        .stack 4096
        .heap 4096
start:  LINK 0, 0
        MOVE.B [HDR_RESULT], #1
        MOVE.L R15, #timer
        MOVE.L R0, [FP+12]
        SUB.L R0, #1
        BNE @done
        SYS
@done:  RETURN 0
        .data
timer:  .long 0x0200, 30000
)");
    WriteTextFile(game.folder.path + "/events",
                  "101 post 100 1 2 3\n101 post 11 0xFFFFFFFF 0 0\n101 post 12 65 1 0\n");
    EXPECT_EQ(game.Talk("queue\nb message 100\nc\nqueue\nb message 12\nc\nqueue\n",
                        {"--script", "events"}),
              "(moxi) queue\n0 messages wait\n"
              "(moxi) b message 100\nbreakpoint 1: message 100\n"
              "(moxi) c\nbreakpoint 1\nmessage 100: 0x1, 0x2, 0x3\n"
              "=> 00000200 <start>  LINK     0, 0\n"
              "(moxi) queue\n2 messages wait\n"
              "message 11 MSG_TICK: 0xFFFFFFFF, 0x0, 0x0\n"
              "message 12 MSG_DOWN: 0x41, 0x1, 0x0\n"
              "(moxi) b message 12\nbreakpoint 2: message 12 MSG_DOWN\n"
              "(moxi) c\nbreakpoint 2\nmessage 12 MSG_DOWN: 0x41, 0x1, 0x0\n"
              "=> 00000200 <start>  LINK     0, 0\n"
              "(moxi) queue\n0 messages wait\n" +
                  std::string(kEndOfTalk));
}

TEST(Debugger, WithoutASymbolFileEverythingWorksByAddress) {
    const Debugged game(kTicking, false);
    const ProgramResult result = game.Run("b 0x248\nc\nk\na 0x240 2\np [0x268]\nsymbols\nb add\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output,
              "The module stands before its first instruction; help lists the commands.\n"
              "there is no MAIN.SYM beside the module\n"
              "message 1 MSG_START1: 0x0, 0x0, 0x0\n"
              "=> 00000200  LINK     0, 2\n"
              "(moxi) b 0x248\nbreakpoint 1: at 00000248\n"
              "(moxi) c\nbreakpoint 1\n=> 00000248  LINK     8, 0\n"
              "(moxi) k\n"
              "#0  00000248, returns to 00000230\n"
              "    8 bytes of arguments: 0x0 0x3\n"
              "#1  00000230  FP=0x00001250\n"
              "    message 11 MSG_TICK: 0x0, 0x0, 0x0\n"
              "(moxi) a 0x240 2\n   00000240  SYS\n   00000244  RETURN   2\n"
              "(moxi) p [0x268]\n0 = 0x00000000\n"
              "(moxi) symbols\n0 symbols\n"
              "(moxi) b add\nthere is no name 'add'\n"
              "the run ends with status 0\n");
}

TEST(Debugger, ACorruptSymbolFileIsSaidAndLeavesTheNamesAsTheyWere) {
    const Debugged game(kTicking);
    WriteTextFile(game.folder.path + "/bad.sym", "00000200 code start\nwhat\n");
    EXPECT_EQ(game.Talk("symbols bad.sym\nsymbols none.sym\nsymbols .\nsymbols\n"),
              "(moxi) symbols bad.sym\nbad.sym: line 2 is no line of a symbol file\n"
              "(moxi) symbols none.sym\nnone.sym: no such file\n"
              "(moxi) symbols .\n.: is a folder\n"
              "(moxi) symbols\n7 symbols\n" +
                  std::string(kEndOfTalk));
    WriteTextFile(game.folder.path + "/other.sym", "00000200 code here\n");
    EXPECT_EQ(game.Talk("symbols other.sym\nwhere\n"),
              "(moxi) symbols other.sym\n1 symbols\n"
              "(moxi) where\nmessage 1 MSG_START1: 0x0, 0x0, 0x0\n"
              "=> 00000200 <here>  LINK     0, 2\n" +
                  std::string(kEndOfTalk));
    WriteTextFile(game.game + "/MAIN.SYM", std::string("\xFF\0\x01 random \n bytes", 16));
    const ProgramResult result = game.Run("s\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("/MAIN.SYM: line 1 is no line of a symbol file\n"),
              std::string::npos)
        << result.output;
}

TEST(Debugger, SymbolsLieBesideTheModuleThatIsLoaded) {
    const Debugged game(kTicking);
    fs::create_directories(game.folder.path + "/data");
    fs::copy(game.game + "/MAIN.MX", game.folder.path + "/data/MAIN.MX");
    EXPECT_NE(game.Run("s\n").output.find("\nthere is no MAIN.SYM beside the module\n"),
              std::string::npos);
}

TEST(Debugger, BadCommandsAreOneLineEach) {
    const Debugged game(kTicking);
    EXPECT_EQ(
        game.Talk("zzz\nst0p\n.b\nba 1 2\nb nowhere\nb 12x\nb 0x1FFFFFFFF\nb ticks extra\n"
                  "b start if\nb start if [R1\nd\nd 7\nd x\ns 0\ns -1\nm\nm.z 4\nm.b4 4\nr R16\n"
                  "r PC\nset\nset R1\nset R1 = 1, 2\nset 5 = 1\nset flags = 8\nset.b PC = 1\n"
                  "set.b [ticks] = 256\nset.d R1 = abc\nx\np\np 1 2\np (1\np 'a\np +\n"
                  "b group\ns.b\nt 2000\nhelp nothing\nt\x01x\n"),
        "(moxi) zzz\nthere is no command 'zzz'; help lists them\n"
        "(moxi) st0p\nthere is no command 'st0p'; help lists them\n"
        "(moxi) .b\nno command begins with '.b'\n"
        "(moxi) ba 1 2\n'2' is left over\n"
        "(moxi) b nowhere\nthere is no name 'nowhere'\n"
        "(moxi) b 12x\n'12x' is no number\n"
        "(moxi) b 0x1FFFFFFFF\n'0x1FFFFFFFF' does not fit a LONG\n"
        "(moxi) b ticks extra\n'extra' is left over\n"
        "(moxi) b start if\na value is missing\n"
        "(moxi) b start if [R1\na ] is missing\n"
        "(moxi) d\nwhich one? \"delete all\" deletes all\n"
        "(moxi) d 7\nthere is no breakpoint 7\n"
        "(moxi) d x\nthere is no name 'x'\n"
        "(moxi) s 0\nthe count is 1 to 1000000000\n"
        "(moxi) s -1\nthe count is 1 to 1000000000\n"
        "(moxi) m\na value is missing\n"
        "(moxi) m.z 4\nthe sizes are .b .w .l .q .f .d\n"
        "(moxi) m.b4 4\nthe sizes are .b .w .l .q .f .d\n"
        "(moxi) r R16\n'R16' is none of R0 to R15\n"
        "(moxi) r PC\n'PC' is none of R0 to R15\n"
        "(moxi) set\na register or [ADDRESS] is set, not ''\n"
        "(moxi) set R1\na = is missing\n"
        "(moxi) set R1 = 1, 2\na register takes one value\n"
        "(moxi) set 5 = 1\na register or [ADDRESS] is set, not '5'\n"
        "(moxi) set flags = 8\nthe flags are 0 to 7: 1 odd, 2 zero, 4 negative\n"
        "(moxi) set.b PC = 1\nPC, SP, FP and FLAGS are set without a size\n"
        "(moxi) set.b [ticks] = 256\n'256' does not fit a BYTE\n"
        "(moxi) set.d R1 = abc\n'abc' is no floating-point number\n"
        "(moxi) x\na value is missing\n"
        "(moxi) p\na value is missing\n"
        "(moxi) p 1 2\n'2' is left over\n"
        "(moxi) p (1\na ) is missing\n"
        "(moxi) p 'a\na character stands between quotes: 'A'\n"
        "(moxi) p +\nno value begins with '+'\n"
        "(moxi) b group\nwhich group?\n"
        "(moxi) s.b\n'.b' behind step is left over\n"
        "(moxi) t 2000\nthe count is 1 to 1024\n"
        "(moxi) help nothing\nthere is no command 'nothing'; help lists them\n"
        "(moxi) t\x01x\n'?x' behind trace is left over\n" +
            std::string(kEndOfTalk));
}

TEST(Debugger, HelpListsEveryCommand) {
    const Debugged game(kTicking);
    const std::string talk = game.Talk("help\nh se\n");
    for (const char* const name :
         {"break",  "watch",    "list",    "delete",    "continue", "step", "over",
          "finish", "until",    "quit",    "registers", "print",    "set",  "memory",
          "text",   "assembly", "trace",   "backtrace", "where",    "heap", "bitmaps",
          "save",   "queue",    "symbols", "help"}) {
        EXPECT_NE(talk.find(name), std::string::npos) << name;
    }
    EXPECT_NE(talk.find("(moxi) h se\nset PLACE = VALUE[, ...]: change a register"),
              std::string::npos)
        << talk;
}

TEST(Debugger, AbbreviationsAreUniqueBeginnings) {
    const Debugged game(kTicking);
    EXPECT_EQ(game.Talk("whe\nw\nh sy\nbi 1 2\nh s\nh t\nh te\n"),
              "(moxi) whe\nmessage 1 MSG_START1: 0x0, 0x0, 0x0\n"
              "=> 00000200 <start>  LINK     0, 2\n"
              "(moxi) w\na value is missing\n"
              "(moxi) h sy\nsymbols [FILE]: read a symbol file of mxasm\n"
              "(moxi) bi 1 2\n'2' is left over\n"
              "(moxi) h s\ns, step [COUNT]: run one instruction, into calls\n"
              "(moxi) h t\nt, trace [COUNT]: the instructions executed last\n"
              "(moxi) h te\nx, text ADDRESS: the string there\n" +
                  std::string(kEndOfTalk));
}

}  // namespace
