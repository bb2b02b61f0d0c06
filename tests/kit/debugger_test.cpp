// The debugger's breakpoints, steps and frames, through the program itself: commands on standard
// input, the conversation on standard output. Addresses and values are worked out by hand from the
// instructions' lengths.

#include <gtest/gtest.h>

#include "tests/kit/debugged.h"

namespace moxi {

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
    EXPECT_EQ(game.Talk("whe\nw\nh n\nh out\nh bt\nh sy\nbi 1 2\nh s\nh t\nh te\n"),
              "(moxi) whe\nmessage 1 MSG_START1: 0x0, 0x0, 0x0\n"
              "=> 00000200 <start>  LINK     0, 2\n"
              "(moxi) w\na value is missing\n"
              "(moxi) h n\no, over [COUNT]: run one instruction, calls as a whole\n"
              "(moxi) h out\nf, finish: run to the caller, or to the next message\n"
              "(moxi) h bt\nk, backtrace [COUNT]: the frames of the calls, from the inside out\n"
              "(moxi) h sy\nsymbols [FILE]: read a symbol file of mxasm\n"
              "(moxi) bi 1 2\n'2' is left over\n"
              "(moxi) h s\ns, step [COUNT]: run one instruction, into calls\n"
              "(moxi) h t\nt, trace [COUNT]: the instructions executed last\n"
              "(moxi) h te\nx, text ADDRESS: the string there\n" +
                  std::string(kEndOfTalk));
}

}  // namespace

}  // namespace moxi
