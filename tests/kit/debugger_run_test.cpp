// The debugger and the run: how it ends, faults, signals, a terminal, messages within messages, and
// commands that are none.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "kit/debugger/commands.h"
#include "kit/debugger/stops.h"
#include "tests/kit/debugged.h"
#include "tests/support/desktop_session.h"
#include "tests/support/vm_fixture.h"
#include "vm/heap.h"
#include "vm/interpreter.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"
#include "vm/slots.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

using Strings = std::vector<std::string>;

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
        // An illegal opcode is met again by MSG_END, unless the debugger has ended the run.
        EXPECT_EQ(result.errors, plain.errors.substr(0, result.errors.size()));
        EXPECT_GE(result.errors.size(), shown.size());
        EXPECT_NE(result.output.find("(moxi) c\n" + shown + at), std::string::npos)
            << result.output;
    }
    EXPECT_EQ(plain.status, fault.status);
}

INSTANTIATE_TEST_SUITE_P(
    All, DebuggerFault,
    testing::Values(Fault{"        MOVE.L [0xF0000000], R1\n",
                          "Memory fault at 0x00000208. Terminating. So sorry.",
                          "MOVE.L   [0xF0000000], R1", 1},
                    Fault{"        DIVS.L R1, R1\n",
                          "Division error at 0x00000208. Terminating. So sorry.", "DIVS.L   R1, R1",
                          1},
                    Fault{"        .long 4\n",
                          "Illegal opcode at 0x00000208\nTerminating program. So terribly sorry.",
                          ".long    0x00000004  ; illegal opcode", 0}));

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

// Four QUADs are 32 bytes, and the message's frame with the LINK has 28.
const char* const kPopping = R"(
        .stack 4096
        .heap 4096
start:  LINK 0, 0               ; 200
        POP.Q R1                ; 204
        POP.Q R1                ; 208
        POP.Q R1                ; 20C
        POP.Q R1                ; 210
        NOP                     ; 214
        STOP                    ; 218
)";

TEST(Debugger, StopsWhereTheStackPointerLeavesTheStackAtItsTop) {
    const Debugged game(kPopping);
    EXPECT_EQ(game.Talk("c\ns\nq\n"),
              "(moxi) c\n"
              "SP has left the stack: 0x00001220 is not in 0x0000021C..0x0000121C, after 00000210 "
              "<start+16>\n"
              "=> 00000214 <start+20>  NOP\n"
              "(moxi) s\n=> 00000218 <start+24>  STOP\n"
              "(moxi) q\nthe run ends with status 0\n");
    EXPECT_EQ(game.Talk("delete stack\nc\n"),
              "(moxi) delete stack\n(moxi) c\nthe run ends with status 0\n");
    EXPECT_NE(game.Talk("delete stack\nbreak stack\nc\nq\n").find("SP has left the stack"),
              std::string::npos);
}

TEST(Debugger, StopsWhereTheStackPointerLeavesTheStackAtItsLimit) {
    // Each call takes 16 bytes below the first SP, which is 24 bytes below the top: the 254th is at
    // the limit + 8, and the LINK after it the first one below.
    const Debugged game(R"(
        .stack 4096
        .heap 4096
start:  LINK 4, 0               ; 200
        CALL start              ; 204
)");
    const std::string talk = game.Talk("c\nq\n");
    EXPECT_EQ(talk.find("(moxi) c\nSP has left the stack: 0x0000020"), 0u) << talk;
    EXPECT_NE(talk.find(" is not in 0x0000020C..0x0000120C, after 0000020"), std::string::npos)
        << talk;
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
              "(moxi) k\n#0  F0000000  FP=0x000011F0\n    message 1 MSG_START1: 0x0, 0x0, 0x0\n"
              "(moxi) c\nthe run ends with status 1\n");
}

TEST(Debugger, ALockThatWasLeftStopsBehindTheMessage) {
    // A RETURN releases one of the two.
    const Debugged game(R"(
        .stack 4096
        .heap 4096
start:  LINK 0, 0
        MOVE.L R15, #alloc
        SYS
        MOVE.L [first+4], R14
        SYS
        MOVE.L [second+4], R14
        MOVE.L R15, #first
        SYS
        MOVE.L R15, #second
        SYS
        RETURN 0
        .data
alloc:  .long 0x0900, 20
first:  .long 0x0902, 0
second: .long 0x0902, 0
)");
    EXPECT_EQ(
        game.Talk("c\nk\nt 1\ns\n"),
        "(moxi) c\nfatal: Hey, Dummy! You shouldn't have left blocks locked when CompactHeap() "
        "needs to run!\n=> the message has been run\n"
        "(moxi) k\nno function runs\n"
        "(moxi) t 1\n0000023C <start+60>  RETURN   0\n"
        "(moxi) s\nthe run ends with status 1\n");
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
    const pid_t process = StartProcess({"sh", "-c",
                                        "exec '" + moxi + "' --debug --headless '" + game.game +
                                            "' < " + terminal + " > '" + talk + "'"},
                                       game.folder.path + "/errors");
    // The lines wait in the terminal; the last character ends its input.
    ASSERT_EQ(write(master, "p 5\n\x04", 5), 5);
    EXPECT_EQ(ExitStatusOf(process), 0);
    close(hold);
    close(master);
    const std::string text = ReadTextFile(talk);
    EXPECT_TRUE(
        text.ends_with("LINK     0, 2\n(moxi) 5 = 0x00000005\n(moxi) \n"
                       "the run ends with status 0\n"))
        << text;
}

// --- Messages within a message

// Runs one message whose SYS has another one delivered, with `plan` made before the first
// instruction, and gives the addresses at which the module would have stopped.
std::vector<u32> StopsOfNestedMessages(void (*plan)()) {
    static std::vector<u32> stops;
    static void (*planned)();
    stops.clear();
    planned = plan;
    StartVmBench();
    MakeImage(16384, 4096, 8192);
    InitHeapTable();
    const AssembleResult assembled = Assemble(R"(
start:  LINK 0, 0               ; 200
        TBEQ.L [0x1000], outer  ; 204
        NOP                     ; 20C
        RETURN 0                ; 210
outer:  ADD.L [0x1000], #1      ; 214
        SYS                     ; 21C
        NOP                     ; 220
        RETURN 0                ; 224
)",
                                              "nested.mxs");
    EXPECT_TRUE(assembled.ok) << FormatErrors(assembled);
    std::copy(assembled.bytes.begin() + 512, assembled.bytes.end(), image + 512);
    vmSlots.sysDispatch = [] { MXmsg(20, 0, 0, 0); };
    static constexpr DebugHooks kHooks = {
        .enter = NoteMessageBegin,
        .instruction =
            [] {
                std::vector<std::string> reasons;
                const u32 pc = Load<u32>(kHeaderPC);
                if (pc == 0x21C) {
                    planned();
                } else if (IsStop(reasons)) {
                    stops.push_back(pc);
                    RunFreely();
                }
                NoteInstruction();
            },
        .leave = NoteMessageEnd,
    };
    const StandardError quiet(true);
    debugHooks = &kHooks;
    MXmsg(10, 0, 0, 0);
    EndVmBench();
    return stops;
}

TEST(Debugger, StepsIntoAMessageThatAServiceDeliversAndOverIt) {
    EXPECT_EQ(StopsOfNestedMessages([] { RunSteps(1); }), std::vector<u32>{0x200});
    EXPECT_EQ(StopsOfNestedMessages([] { RunStepsOver(1); }), std::vector<u32>{0x220});
    EXPECT_EQ(StopsOfNestedMessages([] { RunUntil(0x20C); }), std::vector<u32>{0x20C});
    // The outer message has no caller, and no message follows it.
    EXPECT_EQ(StopsOfNestedMessages([] { RunOut(); }), std::vector<u32>{});
}

// --- Anything at all

using Random = std::independent_bits_engine<std::mt19937, 32, u32>;

// One of the words, numbers and signs that commands are made of.
std::string RandomToken(Random& random) {
    static const Strings kTokens = {
        "break",  "watch",      "list",       "delete",     "continue",   "step", "over",
        "finish", "until",      "quit",       "registers",  "print",      "set",  "memory",
        "text",   "assembly",   "trace",      "backtrace",  "where",      "heap", "bitmaps",
        "queue",  "help",       "b",          "w",          "l",          "d",    "c",
        "s",      "o",          "f",          "u",          "q",          "r",    "p",
        "m",      "x",          "a",          "t",          "k",          "h",    "message",
        "sys",    "group",      "if",         "all",        "R0",         "r15",  "PC",
        "SP",     "FP",         "FLAGS",      "MSG_TICK",   "HDR_RESULT", "[",    "]",
        "(",      ")",          "+",          "-",          "=",          "==",   "<",
        ">=",     "!=",         ",",          ".b",         ".w",         ".q",   ".f",
        ".d",     "0",          "1",          "16",         "-1",         "512",  "0x200",
        "0x1FFC", "0xFFFFFFFF", "0x80000000", "0b101",      "'A'",        "'",    "1.5",
        "1e400",  "nan",        "#",          "99999999999"};
    if (random() % 12 == 0) {
        std::string noise(1 + random() % 6, ' ');
        for (char& c : noise) {
            c = static_cast<char>(random());
        }
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
    for (u32 i = 0; i < 40; ++i) {
        AllocHeap(random() % 100);
    }
    for (u32 at = 512; at < imageSize; at += 4) {
        if (random() % 2 == 0) {
            Store<u32>(at, random());
        }
    }
    testing::internal::CaptureStdout();
    u32 resumed = 0;
    for (u32 i = 0; i < 2000; ++i) {
        std::string line;
        const u32 tokens = 1 + random() % 7;
        for (u32 k = 0; k < tokens; ++k) {
            if (random() % 3 != 0) {
                line += ' ';
            }
            line += RandomToken(random);
        }
        if (ExecuteCommand(line) != After::Stay) {
            ++resumed;
        }
    }
    const std::string said = testing::internal::GetCapturedStdout();
    EXPECT_GT(resumed, 10u);
    EXPECT_GT(said.size(), 10000u);
    ExecuteCommand("delete all");
    EndVmBench();
}

}  // namespace

}  // namespace moxi
