// An image that fills the address space: what lies behind its last byte is its first one, for code,
// stack and frame alike, however the module is run.

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/bench_run.h"
#include "tests/support/vm_fixture.h"
#include "vm/diagnostics.h"
#include "vm/guard.h"
#include "vm/interpreter.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"

namespace moxi {

using plain::Outcome;

namespace {

constexpr u32 kLargestImage = 0xFFFFFFFF;
constexpr u32 kEdge = 4096;  // so many bytes are looked at, at both ends
constexpr u32 kTopStart = 0 - kEdge;
constexpr u32 kStop = 532;
constexpr u32 kPopWordR3 = 212 | 21 << 8 | 3 << 16;
constexpr u32 kNop = 404;

// The first and the last bytes of the image, with zeroes between them.
struct Edges {
    std::vector<u8> bottom = BenchPicture().bytes;
    std::vector<u8> top = std::vector<u8>(kEdge);

    Edges() {
        for (u32 i = 0; i < 1024; ++i) {
            top[i] = static_cast<u8>(i * 29 + 3);
        }
        // Code that comes round stops at 0, 4 or 8.
        for (const u32 at : {0u, 4u, 8u}) {
            PutWord(at, kStop);
        }
        PutWord(160, kTopStart + 2048);
        PutWord(168, kTopStart + 1024);
    }
    u8& At(u32 address) {
        return address >= kTopStart ? top[address - kTopStart] : bottom[address];
    }
    void PutWord(u32 address, u32 value) {
        for (u32 i = 0; i < 4; ++i) {
            At(address + i) = static_cast<u8>(value >> (8 * i));
        }
    }
    u32 Word(u32 address) {
        u32 value = 0;
        for (u32 i = 0; i < 4; ++i) {
            value |= u32{At(address + i)} << (8 * i);
        }
        return value;
    }
};

struct EdgeResult {
    Outcome outcome = Outcome::BudgetSpent;
    Edges edges;
    std::vector<std::string> messages;
    std::string debugLog;
};

const InstructionTrace kNoTrace = {[](u32) {}, [](u32) {}};
const DebugHooks kNoHooks = {[] {}, [] {}, [] {}};

Outcome OutcomeOfReturn() {
    if ((runState & kRunStop) != 0) {
        return Outcome::Stopped;
    }
    if (!vmEvents.messages.empty()) {
        return Outcome::BadEmod;
    }
    return modalDepth > 0 ? Outcome::Modal : Outcome::Returned;
}

// Runs on the interpreter as it is set up, in an image of the largest size.
EdgeResult RunOnHost(const Edges& edges) {
    std::memcpy(image, edges.bottom.data(), kEdge);
    std::memcpy(image + kTopStart, edges.top.data(), kEdge);
    std::fill_n(pcTrace, kPcTraceSize, TraceEntry{});
    pcTraceCount = 0;
    modalDepth = 0;
    runState = 0;
    vmEvents.messages.clear();
    vmFiles.contents.clear();
    EdgeResult result;
    try {
        RunInterpreter();
        result.outcome = OutcomeOfReturn();
    } catch (const ProcessEnded&) {
        result.outcome = Outcome::MemoryFault;
    }
    std::copy_n(image, kEdge, result.edges.bottom.begin());
    std::copy_n(image + kTopStart, kEdge, result.edges.top.begin());
    result.messages = vmEvents.messages;
    result.debugLog = vmFiles.contents["debug.log"];
    return result;
}

EdgeResult RunOnPlain(const Edges& edges) {
    plain::Machine m = plain::MakeMachine(edges.bottom);
    m.top = edges.top;
    EdgeResult result;
    result.outcome = plain::Run(m, 100);
    result.edges.bottom = m.memory;
    result.edges.top = m.top;
    result.messages = m.messages;
    result.debugLog = m.debugLog;
    return result;
}

class AddressSpace : public VmTest {
  protected:
    void SetUp() override {
        StartVmBench();
        if (!AllocateImage(kLargestImage)) {
            GTEST_SKIP() << "there is no room for 4 GiB";
        }
    }
    void TearDown() override {
        instructionTrace = nullptr;
        debugHooks = nullptr;
        EndVmBench();
    }

    // Runs in every way there is; a failure names the first difference from the plain executor.
    static EdgeResult RunEveryWay(const std::string& name, const Edges& edges) {
        const EdgeResult wanted = RunOnPlain(edges);
        const char* const ways[] = {"fast", "traced", "debugged"};
        for (u32 way = 0; way < 3; ++way) {
            instructionTrace = way == 1 ? &kNoTrace : nullptr;
            debugHooks = way == 2 ? &kNoHooks : nullptr;
            const EdgeResult got = RunOnHost(edges);
            const std::string where = name + ", " + ways[way];
            EXPECT_STREQ(plain::OutcomeName(got.outcome), plain::OutcomeName(wanted.outcome))
                << where;
            EXPECT_EQ(Differences(got.edges.bottom, wanted.edges.bottom), "") << where;
            EXPECT_EQ(Differences(got.edges.top, wanted.edges.top), "") << where;
            EXPECT_EQ(got.messages, wanted.messages) << where;
            EXPECT_EQ(got.debugLog, wanted.debugLog) << where;
        }
        return wanted;
    }

    const StandardError quiet{true};
};

struct Code {
    const char* name;
    std::vector<u32> words;
    u32 step = 1;  // between the stack pointers that are tried
};

// The instructions that move SP, FP or PC by themselves, and of those that do not, one of each
// length.
const Code kCodes[] = {
    {"POP.B", {212 | 20 << 8 | 3 << 16}},
    {"POP.W", {kPopWordR3}},
    {"POP.L", {212 | 22 << 8 | 3 << 16}},
    {"POP.Q", {212 | 23 << 8 | 3 << 16}},
    {"PUSH.B", {212 | 16 << 8 | 3 << 16}},
    {"PUSH.W", {212 | 17 << 8 | 3 << 16}},
    {"PUSH.L", {212 | 18 << 8 | 3 << 16}},
    {"PUSH.Q", {212 | 19 << 8 | 3 << 16}},
    {"PEA", {236 | 24 << 8, 0x12345678}},
    {"PUSH.W with an extension", {116, 0x4321}},
    {"PUSH.W of a constant", {244 | 77 << 10}},
    {"PUSH.L with an extension", {628, 0x87654321}},
    {"PUSH.L of a constant", {756 | 99 << 10}},
    {"PUSH.Q with extensions", {884, 0x11111111, 0x22222222}},
    {"PUSH.Q of a constant", {1012 | 5 << 10}},
    {"CALL", {84 | 8 << 16, 1000}},
    {"CALLR", {852 | 5 << 12}},
    {"LINK", {340}},
    {"LINK with a register and locals", {340 | 1 << 10 | 16 << 14}},
    {"RETURN", {596}, 4},  // a frame that does not lie straight would hold any address
    {"NOP", {kNop}},
    {"MOVE.L", {22 | 62 << 9 | 3 << 5, 0xABCDEF01}},
    {"MOVE.Q", {22 | 63 << 9 | 3 << 5, 0x89ABCDEF, 0x01234567}},
    {"BRZ.L", {0 | 1 << 3 | 2 << 5 | 1000u / 4 << 10, 0xFFFFFFF8}},
    {"MODAL", {788}, 40},  // its context may not reach the image's padding, the byte at 0xFFFFFFFF
    {"EMOD", {916}},
};

// One instruction among STOPs.
Edges WithCode(const Code& code, u32 pc, u32 sp) {
    Edges edges;
    edges.PutWord(160, sp);
    edges.PutWord(168, sp - 8);
    edges.PutWord(136, pc);
    edges.PutWord(RegisterAt(3), 0x0BADCAFE);
    edges.PutWord(RegisterAt(5), 1000);
    for (u32 at = 0xFFFFFFF4; at != 0; at += 4) {
        edges.PutWord(at, kStop);
    }
    for (size_t i = 0; i < code.words.size(); ++i) {
        edges.PutWord(pc + 4 * static_cast<u32>(i), code.words[i]);
    }
    return edges;
}

}  // namespace

TEST_F(AddressSpace, TheStackGoesOnAtAddress0AfterTheLastWord) {
    Edges edges;
    edges.PutWord(512, kPopWordR3);
    edges.PutWord(516, kPopWordR3);
    edges.PutWord(160, 0xFFFFFFFE);
    edges.PutWord(32, 0);
    const EdgeResult result = RunEveryWay("two words", edges);
    Edges after = result.edges;
    EXPECT_STREQ(plain::OutcomeName(result.outcome), "stopped");
    EXPECT_EQ(after.Word(160), 2u);
    EXPECT_EQ(after.Word(32), kStop);  // the second word popped is the first one of the image
}

TEST_F(AddressSpace, CodeGoesOnAtAddress0AfterTheLastWord) {
    Edges edges;
    edges.PutWord(136, 0xFFFFFFFC);
    edges.PutWord(0xFFFFFFFC, kNop);
    const EdgeResult result = RunEveryWay("a NOP", edges);
    Edges after = result.edges;
    EXPECT_STREQ(plain::OutcomeName(result.outcome), "stopped");
    EXPECT_EQ(after.Word(136), 0u);
}

TEST_F(AddressSpace, AnInstructionMayHaveItsExtensionWordAtAddress0) {
    Edges edges;
    edges.PutWord(136, 0xFFFFFFFC);
    edges.PutWord(0xFFFFFFFC, 22 | 62 << 9 | 3 << 5);  // MOVE.L R3, the word at 0
    const EdgeResult result = RunEveryWay("a MOVE", edges);
    Edges after = result.edges;
    EXPECT_EQ(after.Word(136), 4u);
    EXPECT_EQ(after.Word(32), kStop);
}

TEST_F(AddressSpace, EveryWayOfRunningAgreesAboutEveryStackThatReachesTheTop) {
    for (const Code& code : kCodes) {
        for (u32 i = 0; i < 40; i += code.step) {
            const u32 sp = 0xFFFFFFE8 + i;  // up to 15 behind the last byte
            const Edges edges = WithCode(code, 512, sp);
            RunEveryWay(FormatText("%s with SP 0x%8.8X", code.name, sp), edges);
            if (HasFailure()) {
                return;
            }
        }
    }
}

TEST_F(AddressSpace, EveryWayOfRunningAgreesAboutEveryInstructionThatReachesTheTop) {
    for (const Code& code : kCodes) {
        for (const u32 pc : {0xFFFFFFF4u, 0xFFFFFFF8u, 0xFFFFFFFCu}) {
            const Edges edges = WithCode(code, pc, kTopStart + 2048);
            RunEveryWay(FormatText("%s at 0x%8.8X", code.name, pc), edges);
            if (HasFailure()) {
                return;
            }
        }
    }
}

}  // namespace moxi
