// The debugger through the program itself: commands on standard input, the conversation on standard
// output. Addresses and values are worked out by hand from the instructions' lengths.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <random>

#include "app/debugger_commands.h"
#include "base/output_files.h"
#include "tests/support/desktop_session.h"
#include "tests/support/headless_run.h"
#include "tests/support/picture.h"
#include "tests/support/vm_fixture.h"
#include "vm/heap.h"
#include "vm/machine.h"

namespace fs = std::filesystem;

namespace {

using Strings = std::vector<std::string>;

// Counts ticks by 3 with a function, and prints after each. The stack is 4,096 bytes: code and data
// end at 0x264, the globals at 0x26C, so the stack and the heap begin at 0x26C and 0x126C.
constexpr const char* kTicking = R"(
MSG_TICK = 11
        .stack  4096
        .heap   65536

start:  LINK    0, 2                    ; 200
        MOVE.B  [HDR_RESULT], #1        ; 204
        MOVE.L  R12, [FP+12]            ; 20C
        CMP.L   R12, #MSG_TICK          ; 210
        BNE     @done                   ; 218
        PUSH.L  #3                      ; 21C
        PUSH.L  [ticks]                 ; 220
        CALL    add, 8                  ; 228
        MOVE.L  [ticks], R13            ; 230
        MOVE.L  R15, #block             ; 238
        SYS                             ; 240
@done:  RETURN  2                       ; 244

add:    LINK    8, 0                    ; 248
        MOVE.L  R13, [FP+12]            ; 24C
        ADD.L   R13, [FP+16]            ; 250
        RETURN  0                       ; 254

        .data
block:  .long   0x030E, hello           ; 258
hello:  .asciz  "hi\n"                  ; 260
        .bss
ticks:  .space  4                       ; 268
)";

struct Debugged {
    TemporaryFolder folder;
    std::string game = folder.path + "/game";
    AssembleResult assembled;

    explicit Debugged(const std::string& source, bool symbols = true) {
        assembled = Assemble(source, "game.mxs");
        EXPECT_TRUE(assembled.ok) << FormatErrors(assembled);
        fs::create_directories(game);
        WriteTextFile(game + "/MAIN.MX",
                      std::string(assembled.bytes.begin(), assembled.bytes.end()));
        if (!symbols) return;
        WriteTextFile(folder.path + "/game.mxs", source);
        const ProgramResult made =
            RunProgram("mxasm", {"game.mxs", "-o", "m", "--symbols", "game/MAIN.SYM"}, folder.path);
        EXPECT_EQ(made.status, 0) << made.errors;
    }
    ProgramResult Run(const std::string& commands, Strings options = {}) const {
        options.insert(options.begin(), {"--debug", "--headless", "--data-folder",
                                         folder.path + "/data", "--run-ms", "500"});
        options.push_back(game);
        return RunProgram("moxi", options, folder.path, commands);
    }
    // What was said after the greeting of three lines and the first stop.
    std::string Talk(const std::string& commands, const Strings& options = {}) const {
        std::string text = Run(commands, options).output;
        const size_t start = text.find("(moxi)");
        return start == std::string::npos ? "" : text.substr(start);
    }
};

// The end of each transcript whose input ends.
constexpr const char* kEnd = "the run ends with status 0\n";

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
                  std::string(kEnd));
    EXPECT_EQ(game.Talk("b 0x24C\nb message MSG_TICK\nb message 2\nc\nc\nc\nb group 3\nc\nb group 2\n"
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
                  std::string(kEnd));
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
                  std::string(kEnd));
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
                  std::string(kEnd));
}

TEST(Debugger, StepsIntoOverAndOutOfCalls) {
    const Debugged game(kTicking);
    const std::string to = "u 0x228\n";
    const std::string there =
        "(moxi) u 0x228\n=> 00000228 <start+40>  CALL     add, 8\n";
    EXPECT_EQ(game.Talk(to + "s\ns 3\n"), there +
                                              "(moxi) s\n=> 00000248 <add>  LINK     8, 0\n"
                                              "(moxi) s 3\n=> 00000254 <add+12>  RETURN   0\n" +
                                              kEnd);
    EXPECT_EQ(game.Talk(to + "o\n"),
              there + "(moxi) o\n=> 00000230 <start+48>  MOVE.L   [ticks], R13\n" + kEnd);
    // Out of a function before and after its LINK, then to the next message.
    for (const char* const steps : {"s", "s 2"}) {
        EXPECT_EQ(game.Talk(to + steps + "\nf\nf\n").substr(there.size()).find("\n(moxi) f\n=> 00000230"
                                                                              " <start+48>  MOVE.L"
                                                                              "   [ticks], R13\n"
                                                                              "(moxi) f\nmessage 11"),
                  game.Talk(to + steps + "\n").substr(there.size()).find("\nthe run"));
    }
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
                  std::string(kEnd));
}

TEST(Debugger, OverAnInstructionThatEndsTheMessageStopsAtTheNextOne) {
    const Debugged game(kTicking);
    for (const std::string command : {"o", "s", "f"}) {
        EXPECT_EQ(game.Talk("u 0x244\n" + command + "\n"),
                  "(moxi) u 0x244\n=> 00000244 <start@done>  RETURN   2\n"
                  "(moxi) " + command + "\nmessage 2 MSG_START2: 0x0, 0x0, 0x0\n"
                  "=> 00000200 <start>  LINK     0, 2\n" +
                      kEnd);
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
                  std::string(kEnd));
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
                  std::string(kEnd));
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
                  std::string(kEnd));
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
                  std::string(kEnd));
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
        "double 2.1219957885281562e-314, float nan\n"
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
        "(moxi) s\nmessage 9 MSG_SIZE: 0x3E8, 0x258, 0x0\n"
        "=> 00000200 <start>  LINK     0, 2\n" +
            std::string(kEnd));
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
    EXPECT_EQ(game.Talk("m.b data 8\nm.w data, 3\nm data+4 1\nm.l data 5\nm.q data+8 1\n"
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
                  std::string(kEnd));
}

TEST(Debugger, PlacesOutsideTheImageAreSaid) {
    // Nothing but 8 bytes of code, a stack of 4096 and a heap of 4096: the image ends at 0x2204.
    const Debugged game("        .stack 4096\n        .heap 4096\nstart:  RETURN 0\n");
    EXPECT_EQ(game.Talk("m 0x21FC\nm.b 0x2204\nm 0xFFFFFFFC\nx 0xFFFFFFFF\np [0x2201]\n"
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
              "(moxi) a 0x21FC 3\n   000021FC  .long   0x00000000    ; no operation\n"
              "   00002200  .long   0x00000000    ; no operation\n"
              "   00002204  ; outside the image\n"
              "(moxi) a 0x3000\n   00003000  ; outside the image\n"
              "(moxi) set.b [0x21F8] = 1,1,1,1,1,1,1,1,1,1,1,1\n"
              "(moxi) x 0x21F8\nthe text at 0x000021F8 has no end inside the image\n" +
                  std::string(kEnd));
}

TEST(Debugger, DisassemblesWithNamesAndMarksTheNextInstructionAndBreakpoints) {
    const Debugged game(kTicking);
    EXPECT_EQ(game.Talk("b add\na start 11\na add 2\ns\na\n").substr(0, 790),
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
              "(moxi) a\n"
              "=> 00000204  MOVE.B   [HDR_RESULT], #1\n"
              "   0000020C  MOVE.L   R12, [FP+12]\n"
              "   00000210  CMP.L    R12, #11\n"
              "   00000218  BNE      start@done\n"
              "   0000021C");
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
                  std::string(kEnd));
}

// Makes three blocks of 100, 40 and 24 bytes, locks the second twice, frees the third; then a
// bitmap of 3 x 2 whose pixels are red, with half of it transparent.
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
        PUSH.L  [handles+4]
        SERVICE 0x0902, 4
        PUSH.L  [handles+4]
        SERVICE 0x0902, 4
        PUSH.L  #2
        PUSH.L  #3
        SERVICE 0x0500, 8
        MOVE.L  [bitmap], R14
full:   NOP
        STOP
service:
        LINK    0, 0
        LEA.L   R15, [FP+12]
        SYS
        RETURN  0
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
    // Block 0 belongs to the host; 3 is free; the record of the bitmap has 32 bytes, the pixels 24.
    EXPECT_NE(talk.find("\nlocked         1 block, 40 bytes\n"), std::string::npos) << talk;
    char rows[300];
    std::snprintf(rows, sizeof rows,
                  "handle   address       bytes       asked\n"
                  "     0  %8.8X           4           4  allocated\n"
                  "     1  %8.8X         100         100  allocated\n"
                  "     2  %8.8X          40          40  locked, 2 locks",
                  heap, heap + 4, heap + 104);
    EXPECT_NE(talk.find(rows), std::string::npos) << talk;
    std::snprintf(rows, sizeof rows,
                  "(moxi) heap 2\nhandle   address       bytes       asked\n"
                  "     2  %8.8X          40          40  locked, 2 locks, SP was 0x",
                  heap + 104);
    EXPECT_NE(talk.find(rows), std::string::npos) << talk;
    EXPECT_NE(talk.find("(moxi) heap 9\n0x9 is no handle of a block\n"), std::string::npos);
    EXPECT_NE(talk.find("(moxi) heap 0x10000\n0x10000 is no handle of a block\n"),
              std::string::npos);
}

TEST(Debugger, ListsBitmapsAndWritesThemAsPng) {
    const Debugged game(kHeapAndBitmap);
    // The record's eighth LONG is the handle of the pixels; red, green, blue, alpha.
    const std::string talk = game.Talk(
        "u full\nbitmaps\nbitmaps 1\nbitmaps 0xFFFFFFFF\nsave [bitmap] two words.png\n"
        "save 0 screen.png\nsave 0xFFFFFFFE text.png\nsave 1 one.png\nsave 0\n"
        "save 0 no/such/folder.png\n",
        {"--desktop", "40x30"});
    EXPECT_NE(talk.find("(moxi) bitmaps\n"
                        "         0  40 x 30, stride 160, clip 0, 0, 40 x 30, the screen\n"
                        "0xFFFFFFFE  40 x 256, stride 160, clip 0, 0, 40 x 256, the text bitmap\n"),
              std::string::npos)
        << talk;
    EXPECT_NE(talk.find("  3 x 2, stride 12, clip 0, 0, 3 x 2, pixels "), std::string::npos) << talk;
    EXPECT_NE(talk.find("(moxi) bitmaps 0xFFFFFFFF\n0xFFFFFFFF is no bitmap\n"), std::string::npos);
    EXPECT_NE(talk.find("two words.png\ntwo words.png: 3 x 2\n"), std::string::npos) << talk;
    EXPECT_NE(talk.find("screen.png: 40 x 30\n"), std::string::npos);
    EXPECT_NE(talk.find("text.png: 40 x 256\n"), std::string::npos);
    EXPECT_NE(talk.find("(moxi) save 0\nthe name of a file is missing\n"), std::string::npos);
    EXPECT_NE(talk.find("no/such/folder.png: cannot be written\n"), std::string::npos);
    // PNG files say their size at offset 16.
    EXPECT_EQ(ReadTextFile(game.folder.path + "/two words.png").substr(16, 8),
              std::string("\0\0\0\x03\0\0\0\x02", 8));
    EXPECT_EQ(ReadTextFile(game.folder.path + "/screen.png").substr(16, 8),
              std::string("\0\0\0\x28\0\0\0\x1E", 8));
}

TEST(Debugger, ListsTheMessagesThatWait) {
    // A module timer makes messages wait; the pointer's do not.
    const Debugged game(kTicking);
    WriteTextFile(game.folder.path + "/events", "100 post 100 1 2 3\n");
    EXPECT_EQ(game.Talk("b message 100\nc\nqueue\n", {"--script", "events"}),
              "(moxi) b message 100\nbreakpoint 1: message 100\n"
              "(moxi) c\nbreakpoint 1\nmessage 100: 0x1, 0x2, 0x3\n"
              "=> 00000200 <start>  LINK     0, 2\n"
              "(moxi) queue\n0 messages wait\n" +
                  std::string(kEnd));
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
              "(moxi) symbols none.sym\nnone.sym: No such file or directory\n"
              "(moxi) symbols .\n.: Is a directory\n"
              "(moxi) symbols\n7 symbols\n" +
                  std::string(kEnd));
    WriteTextFile(game.folder.path + "/other.sym", "00000200 code here\n");
    EXPECT_EQ(game.Talk("symbols other.sym\nwhere\n"),
              "(moxi) symbols other.sym\n1 symbols\n"
              "(moxi) where\nmessage 1 MSG_START1: 0x0, 0x0, 0x0\n"
              "=> 00000200 <here>  LINK     0, 2\n" +
                  std::string(kEnd));
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
    EXPECT_EQ(game.Talk("zzz\nst0p\n.b\nba 1 2\nb nowhere\nb 12x\nb 0x1FFFFFFFF\nb ticks extra\n"
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
                  std::string(kEnd));
}

TEST(Debugger, HelpListsEveryCommand) {
    const Debugged game(kTicking);
    const std::string talk = game.Talk("help\nh se\n");
    for (const char* const name :
         {"break", "watch", "list", "delete", "continue", "step", "over", "finish", "until", "quit",
          "registers", "print", "set", "memory", "text", "assembly", "trace", "backtrace", "where",
          "heap", "bitmaps", "save", "queue", "symbols", "help"}) {
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
                  std::string(kEnd));
}

// --- Ends

TEST(Debugger, QuitAndTheEndOfTheInputEndTheRunInOrder) {
    const Debugged game(kTicking);
    for (const char* const commands : {"q\n", "s\nquit\nr\n", "s", "b add\nc"}) {
        const std::string dump = game.folder.path + "/image";
        fs::remove(dump);
        const ProgramResult result = game.Run(commands, {"--dump-image", dump, "--trace", "trace"});
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(result.output.ends_with("\nthe run ends with status 0\n")) << result.output;
        EXPECT_GT(fs::file_size(dump), 512u);
    }
    // Without any input the first stop is the last.
    const ProgramResult silent = game.Run("");
    EXPECT_EQ(silent.status, 0);
    EXPECT_TRUE(silent.output.ends_with("LINK     0, 2\nthe run ends with status 0\n"));
}

TEST(Debugger, AnInputThatIsNoTextEndsTheRun) {
    const Debugged game(kTicking);
    const ProgramResult result = game.Run(std::string(200000, 'x'));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.output.ends_with("LINK     0, 2\nthe run ends with status 0\n"));
}

struct Fault {
    const char* instruction;
    const char* message;
    const char* location;  // at the stop
    int status;
};

class DebuggerFault : public testing::TestWithParam<Fault> {};

TEST_P(DebuggerFault, StopsBeforeTheUsualEnd) {
    const Fault& fault = GetParam();
    const Debugged game(std::string("        .stack 4096\n        .heap 4096\n"
                                    "start:  LINK 0, 0\n        MOVE.L R1, #0\n") +
                        fault.instruction + "        RETURN 0\n");
    // A plain run ends with the same message and status.
    const ProgramResult plain =
        RunProgram("moxi", {"--headless", "--data-folder", game.folder.path + "/data", game.game});
    const std::string shown = std::string("fatal: ") + fault.message + "\n";
    const std::string at = std::string("=> 00000208 <start+8>  ") + fault.location + "\n";
    for (const char* const commands : {"c\nk\nc\n", "c\n", "c\nq\n"}) {
        const ProgramResult result = game.Run(commands);
        EXPECT_EQ(result.status, fault.status);
        EXPECT_EQ(result.errors, plain.errors);
        EXPECT_NE(result.output.find("(moxi) c\n" + shown + at), std::string::npos)
            << result.output;
    }
    EXPECT_EQ(plain.status, fault.status);
}

INSTANTIATE_TEST_SUITE_P(
    All, DebuggerFault,
    testing::Values(
        Fault{"        MOVE.L [0xF0000000], R1\n",
              "Memory fault at 0x00000208. Terminating. So sorry.", "MOVE.L   [0xF0000000], R1", 1},
        Fault{"        DIVS.L R1, R1\n", "Division error at 0x00000208. Terminating. So sorry.",
              "DIVS.L   R1, R1", 1},
        Fault{"        .long 0x0000FFFF\n",
              "Illegal opcode at 0x00000208\nTerminating program. So terribly sorry.",
              ".long   0x0000FFFF    ; illegal opcode", 0}));

TEST(Debugger, AnUnknownServiceStopsAndTheModuleCanGoOn) {
    const Debugged game(R"(
        .stack 4096
        .heap 4096
start:  LINK 0, 0               ; 200
        MOVE.L R15, #block      ; 204
        SYS                     ; 20C
        RETURN 0                ; 210
        .data
block:  .long 0x0A00
)");
    const ProgramResult result = game.Run("c\ns\nq\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("(moxi) c\nfatal: Unknown SYS command at 0x0000020C. Ack!\n"
                                 "=> 0000020C <start+12>  SYS  ; service 0x0A00\n"
                                 "(moxi) s\n=> 00000210 <start+16>  RETURN   0\n"),
              std::string::npos)
        << result.output;
    EXPECT_EQ(result.errors, "fatal: Unknown SYS command at 0x0000020C. Ack!\n");
}

TEST(Debugger, AJumpOutOfTheImageStopsWithTheInstructionsThatLedThere) {
    const Debugged game(R"(
        .stack 4096
        .heap 4096
start:  LINK 0, 0               ; 200
        JMP [R1+table]          ; 204
        .data
table:  .long 0xF0000000
)");
    EXPECT_EQ(game.Talk("c\nt 1\nk\nc\n"),
              "(moxi) c\nfatal: Memory fault at 0xF0000000. Terminating. So sorry.\n"
              "=> F0000000  ; outside the image\n"
              "(moxi) t 1\nF0000000  ; outside the image\n"
              "(moxi) k\n#0  F0000000  FP=0x000011F4\n    message 1 MSG_START1: 0x0, 0x0, 0x0\n"
              "(moxi) c\nthe run ends with status 1\n");
}

TEST(Debugger, LeavesTheRunAsItWouldBeWithoutIt) {
    // Same image, same trace, same log: only the conversation is new.
    const Debugged game(kTicking);
    const ProgramResult plain =
        RunProgram("moxi",
                   {"--headless", "--data-folder", game.folder.path + "/data", "--run-ms", "500",
                    "--dump-image", "i1", "--trace", "t1", game.game},
                   game.folder.path);
    const ProgramResult debugged =
        game.Run("b add\nc\nd all\nc\n", {"--dump-image", "i2", "--trace", "t2"});
    EXPECT_EQ(debugged.errors, plain.errors);
    EXPECT_EQ(ReadTextFile(game.folder.path + "/i1"), ReadTextFile(game.folder.path + "/i2"));
    EXPECT_EQ(ReadTextFile(game.folder.path + "/t1"), ReadTextFile(game.folder.path + "/t2"));
}

// --- Signals, and a terminal

// A debugger that is fed line by line.
struct Interactive {
    const Debugged& game;
    std::string output = game.folder.path + "/talk";
    std::string input = game.folder.path + "/fifo";
    pid_t process = -1;
    int pipe = -1;

    explicit Interactive(const Debugged& debugged, const std::string& options)
        : game(debugged) {
        EXPECT_EQ(mkfifo(input.c_str(), 0600), 0);
        const std::string moxi = std::string(MOXI_BIN_DIR) + "/moxi";
        process = StartProcess({"sh", "-c",
                                "exec '" + moxi + "' --debug --mute " + options + " --data-folder '" +
                                    game.folder.path + "/data' '" + game.game + "' < '" + input +
                                    "' > '" + output + "'"},
                               game.folder.path + "/errors");
        pipe = open(input.c_str(), O_WRONLY | O_CLOEXEC);
    }
    ~Interactive() {
        if (pipe >= 0) close(pipe);
        if (process > 0) StopProcess(process);
    }
    Interactive(const Interactive&) = delete;
    Interactive& operator=(const Interactive&) = delete;

    void Enter(const std::string& line) const {
        const std::string text = line + "\n";
        EXPECT_EQ(write(pipe, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    bool WaitFor(const std::string& text) const {
        for (int turn = 0; turn < 2000; ++turn) {
            if (ReadTextFile(output).find(text) != std::string::npos) return true;
            usleep(10000);
        }
        ADD_FAILURE() << text << " was not said: " << ReadTextFile(output)
                      << ReadTextFile(game.folder.path + "/errors");
        return false;
    }
    // 128 + a signal, or the exit status.
    int WaitForExit() {
        int status = 0;
        waitpid(process, &status, 0);
        process = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
};

constexpr const char* kEndless = R"(
        .stack 4096
        .heap 4096
start:  LINK 0, 0
loop:   ADD.L [count], #1
        JMP loop
        .bss
count:  .space 4
)";

TEST(Debugger, AnInterruptStopsTheModuleAndTheNextOneEndsTheRun) {
    const Debugged game(kEndless);
    Interactive session(game, "--headless");
    session.Enter("c");
    ASSERT_TRUE(session.WaitFor("(moxi) c\n"));
    kill(session.process, SIGINT);
    ASSERT_TRUE(session.WaitFor("interrupted\n=> "));
    session.Enter("p [count] > 0");
    ASSERT_TRUE(session.WaitFor("1 = 0x00000001\n"));
    session.Enter("u start");
    ASSERT_TRUE(session.WaitFor("(moxi) u start\n"));
    kill(session.process, SIGINT);
    ASSERT_TRUE(session.WaitFor("(moxi) u start\ninterrupted\n=> "));
    kill(session.process, SIGINT);
    EXPECT_EQ(session.WaitForExit(), 0);
    EXPECT_TRUE(ReadTextFile(session.output).ends_with("\nthe run ends with status 0\n"));
}

TEST(Debugger, ATerminationSignalEndsTheConversation) {
    const Debugged game(kTicking);
    Interactive session(game, "--headless");
    session.Enter("where");
    ASSERT_TRUE(session.WaitFor("(moxi) where\n"));
    kill(session.process, SIGTERM);
    EXPECT_EQ(session.WaitForExit(), 0);
    EXPECT_TRUE(ReadTextFile(session.output).ends_with("\nthe run ends with status 0\n"));
}

TEST(Debugger, AsksATerminalWithAPromptAndLeavesTheEchoToIt) {
    const Debugged game(kTicking);
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    ASSERT_EQ(grantpt(master), 0);
    ASSERT_EQ(unlockpt(master), 0);
    const std::string terminal = ptsname(master);
    const int hold = open(terminal.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(hold, 0);
    const std::string talk = game.folder.path + "/talk";
    const std::string moxi = std::string(MOXI_BIN_DIR) + "/moxi";
    const pid_t process =
        StartProcess({"sh", "-c", "exec '" + moxi + "' --debug --headless '" + game.game + "' < " +
                                      terminal + " > '" + talk + "'"},
                     game.folder.path + "/errors");
    // The lines wait in the terminal; the last character ends its input.
    ASSERT_EQ(write(master, "p 5\n\x04", 5), 5);
    int status = 0;
    waitpid(process, &status, 0);
    close(hold);
    close(master);
    EXPECT_EQ(status, 0);
    const std::string text = ReadTextFile(talk);
    EXPECT_TRUE(text.ends_with("LINK     0, 2\n(moxi) 5 = 0x00000005\n(moxi) \n"
                               "the run ends with status 0\n"))
        << text;
}

TEST(Debugger, WorksWithAWindow) {
    if (!IsProgramInstalled("Xvfb")) GTEST_SKIP() << "Xvfb is missing";
    XSession desktop;
    ASSERT_TRUE(desktop.Start("640x480x24"));
    const Debugged game(kTicking);
    Interactive session(game, "");
    ASSERT_TRUE(session.WaitFor("=> 00000200 <start>"));
    session.Enter("b add");
    session.Enter("c");
    ASSERT_TRUE(session.WaitFor("breakpoint 1\n=> 00000248 <add>  LINK     8, 0\n"));
    session.Enter("k");
    ASSERT_TRUE(session.WaitFor("#1  00000230 <start+48>"));
    session.Enter("save 0 " + game.folder.path + "/screen.png");
    ASSERT_TRUE(session.WaitFor("screen.png: 640 x 480\n"));
    session.Enter("c");
    ASSERT_TRUE(session.WaitFor("(moxi) c\nbreakpoint 1\n=> 00000248 <add>  LINK     8, 0\n(moxi) k"));
    session.Enter("q");
    EXPECT_EQ(session.WaitForExit(), 0);
    EXPECT_EQ(ReadTextFile(game.folder.path + "/errors"), "log: hi\\n\n");
}

// --- Anything at all

using Random = std::independent_bits_engine<std::mt19937, 32, u32>;

// One of the words, numbers and signs that commands are made of.
std::string RandomToken(Random& random) {
    static const Strings kTokens = {
        "break", "watch", "list", "delete", "continue", "step", "over", "finish", "until", "quit",
        "registers", "print", "set", "memory", "text", "assembly", "trace", "backtrace", "where",
        "heap", "bitmaps", "queue", "help", "b", "w", "l", "d", "c", "s", "o", "f", "u", "q", "r",
        "p", "m", "x", "a", "t", "k", "h", "message", "sys", "group", "if", "all", "R0", "r15",
        "PC", "SP", "FP", "FLAGS", "MSG_TICK", "HDR_RESULT", "[", "]", "(", ")", "+", "-", "=",
        "==", "<", ">=", "!=", ",", ".b", ".w", ".q", ".f", ".d", "0", "1", "16", "-1", "512",
        "0x200", "0x1FFC", "0xFFFFFFFF", "0x80000000", "0b101", "'A'", "'", "1.5", "1e400", "nan",
        "#", "99999999999"};
    if (random() % 12 == 0) {
        std::string noise(1 + random() % 6, ' ');
        for (char& c : noise) c = static_cast<char>(random());
        std::erase(noise, '\n');
        return noise;
    }
    return kTokens[random() % kTokens.size()];
}

TEST(Debugger, TakesTwoThousandRandomLines) {
    StartVmBench();
    MakeImage(16384, 4096, 8192);
    InitHeapTable();
    Random random(20240601);
    for (u32 i = 0; i < 40; ++i) AllocHeap(random() % 100);
    for (u32 at = 512; at < imageSize; at += 4) {
        if (random() % 2 == 0) Store<u32>(at, random());
    }
    testing::internal::CaptureStdout();
    u32 resumed = 0;
    for (u32 i = 0; i < 2000; ++i) {
        std::string line;
        const u32 tokens = 1 + random() % 7;
        for (u32 k = 0; k < tokens; ++k) {
            if (random() % 3 != 0) line += ' ';
            line += RandomToken(random);
        }
        if (ExecuteCommand(line) != After::Stay) ++resumed;
    }
    const std::string said = testing::internal::GetCapturedStdout();
    EXPECT_GT(resumed, 10u);
    EXPECT_GT(said.size(), 10000u);
    ExecuteCommand("delete all");
    EndVmBench();
}

}  // namespace
