// Branches, calls, constant pushes and run control.

#include <algorithm>
#include <string>
#include <vector>

#include "tests/vm/control_fixture.h"
#include "vm/machine.h"

namespace moxi {

using plain::Outcome;

namespace {

constexpr u32 kTarget = 0x300;  // a STOP in the bench's code

struct Condition {
    u32 number;
    bool taken[8];  // by flags: 1 ODD, 2 ZERO, 4 NEG
};

const Condition kConditions[] = {
    {0, {false, false, true, true, false, false, true, true}},    // ZERO
    {1, {true, true, false, false, true, true, false, false}},    // not ZERO
    {2, {true, true, true, true, false, false, false, false}},    // not NEG
    {3, {true, true, false, false, false, false, false, false}},  // neither ZERO nor NEG
    {4, {false, false, true, true, true, true, true, true}},      // ZERO or NEG
    {5, {false, false, false, false, true, true, true, true}},    // NEG
    {6, {true, false, true, false, true, false, true, false}},    // not ODD
    {7, {false, true, false, true, false, true, false, true}},    // ODD
};

const std::vector<std::string> kBadEmod = {"Illegal EMOD at 0x00000200"};

}  // namespace

// ---------------------------------------------------------------------------------------------
// Branches

TEST_F(Control, BranchOnFlagsFollowsEveryConditionWithEveryCombinationOfFlags) {
    for (const Condition& condition : kConditions) {
        for (u32 flags = 0; flags < 8; ++flags) {
            PaperImage before = BenchPicture();
            before.Put(192, flags, 1);
            ExpectWords(
                "condition " + std::to_string(condition.number) + " with flags " +
                    std::to_string(flags),
                {At(kTarget) | condition.number << 7 | 52}, condition.taken[flags] ? kTarget : 516,
                [](PaperImage&) {}, before);
        }
    }
}

TEST_F(Control, TestAndBranchSetsTheFlagsOfTheValueAndFollowsThem) {
    // The fields stand in the order in which a row reads.
    // NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
    struct Value {
        u32 size;
        u64 value;
        u32 flags;
    };
    const Value values[] = {
        {0, 0xA1A2A3A4A5A6A700, 2},
        {0, 0xA1A2A3A4A5A6A77F, 1},
        {0, 0xA1A2A3A4A5A6A780, 4},
        {0, 0x81, 5},
        {0, 0x02, 0},
        {1, 0xA1A2A3A4A5A60000, 2},
        {1, 0x80FF, 5},
        {1, 0x0100, 0},
        {1, 0x8000, 4},
        {2, 0xA1A2A3A400000000, 2},
        {2, 0x80000000, 4},
        {2, 0x00FF0001, 1},
        {2, 0x7FFFFFFE, 0},
        {3, 0, 2},
        {3, 0x8000000000000001, 5},
        {3, 0x0000000080000000, 0},
        {3, 0x8000000000000000, 4},
    };
    // Register 5; absolute 1107; the address 1185 in R7's low half; FP - 25 = 1511.
    struct Mode {
        u32 number;
        u32 x;
        u32 address;
    };
    const Mode modes[] = {{0, 5, 48}, {1, 1107, 1107}, {2, 7, 1185}, {3, 0xFFFFFFE7, 1511}};
    for (const Value& value : values) {
        for (const Mode& mode : modes) {
            for (const Condition& condition : kConditions) {
                PaperImage before = BenchPicture();
                before.Put(RegisterAt(7), 0x12345678000004A1, 8);
                before.Put(192, 7 - value.flags, 1);
                before.Put(mode.address, value.value, 8);
                ExpectWords(
                    "test and branch, size " + std::to_string(value.size) + ", mode " +
                        std::to_string(mode.number) + ", condition " +
                        std::to_string(condition.number),
                    {At(kTarget) | condition.number << 7 | value.size << 5 | mode.number << 3,
                     mode.x},
                    condition.taken[value.flags] ? kTarget : 520,
                    [&](PaperImage& after) { after.Put(192, value.flags, 1); }, before);
            }
        }
    }
}

TEST_F(Control, TestAndBranchDoesNotMaskTheRegisterNumber) {
    // Register 16 is the PC word; register 0x1FFFFFFF lies at 8 + 0xFFFFFFF8 = 0.
    ExpectWords("TBNE.L of register 16", {At(kTarget) | 1u << 7 | 2u << 5, 16}, kTarget,
                [](PaperImage& after) { after.Put(192, 0, 1); });
    PaperImage before = BenchPicture();
    before.Put(0, 0, 4);
    ExpectWords(
        "TBEQ.L of register 0x1FFFFFFF", {At(kTarget) | 2u << 5, 0x1FFFFFFF}, kTarget,
        [](PaperImage& after) { after.Put(192, 2, 1); }, before);
}

TEST_F(Control, JmpSetsPc) {
    ExpectWords("JMP", {At(kTarget) | 44}, kTarget, [](PaperImage&) {});
}

TEST_F(Control, JumpThroughMemoryTakesPcFromTheTable) {
    for (u32 r = 0; r < 16; ++r) {
        PaperImage before = BenchPicture();
        before.Put(RegisterAt(r), 0x9999999900000006, 8);
        before.Put(1030, 0x302, 4);  // PC need not be a multiple of 4
        before.Put(0x302, 532, 4);
        ExpectWords(
            "jump through memory by R" + std::to_string(r), {At(1024) | r << 6 | 12}, 0x302,
            [](PaperImage&) {}, before);
    }
}

// ---------------------------------------------------------------------------------------------
// No operations

TEST_F(Control, The1023CodeAndTheOtherNoOperationCodesAdvancePcBy4AndChangeNothingElse) {
    for (u32 low = 0; low < 1024; ++low) {
        const bool nothing =
            (low & 31) == 31 || low == 300 || low == 556 || low == 660 || low == 812 || low == 404;
        if (!nothing) {
            continue;
        }
        PaperImage before = BenchPicture();
        before.Put(192, 5, 1);
        ExpectWords(
            "code " + std::to_string(low), {low | 0xABCDEC00}, 516, [](PaperImage&) {}, before);
    }
}

TEST_F(Control, LowFiveBits4IsAnIllegalOpcode) {
    for (u32 low = 4; low < 1024; low += 32) {
        PaperImage before = BenchPicture();
        before.Put(192, 3, 1);
        before.PutWords(kBenchCode, {404, low | 0x12345400});
        PaperImage after = before;
        after.Put(136, 516, 4);
        ExpectRun("code " + std::to_string(low), before,
                  {.after = after,
                   .outcome = Outcome::IllegalOpcode,
                   .messages = {"Illegal opcode at 0x00000204\n"
                                "Terminating program. So terribly sorry."}});
    }
}

// ---------------------------------------------------------------------------------------------
// Constant pushes

TEST_F(Control, ConstantPushesPushWordLongAndQuad) {
    struct Push {
        std::vector<u32> words;
        u64 value;
        u32 bytes;
        u32 pc;
    };
    const Push pushes[] = {
        {{116 | 0xFFFFFC00, 0x1234ABCD}, 0xABCD, 2, 520},
        {{372, 0xFFFF0001}, 0x0001, 2, 520},
        {{244 | 0xABCDu << 10}, 0xABCD, 2, 516},
        {{500 | 0x3F8001u << 10}, 0x8001, 2, 516},  // 22 bits, the low 16 of them
        {{628, 0x89ABCDEF}, 0x89ABCDEF, 4, 520},
        {{756 | 0x1FFFFFu << 10}, 0x001FFFFF, 4, 516},
        {{756 | 0x200000u << 10}, 0xFFE00000, 4, 516},
        {{884, 0x89ABCDEF, 0x01234567}, 0x0123456789ABCDEF, 8, 524},
        {{1012 | 0x1FFFFFu << 10}, 0x00000000001FFFFF, 8, 516},
        {{1012 | 0x3FFFFFu << 10}, 0xFFFFFFFFFFFFFFFF, 8, 516},
    };
    for (const Push& push : pushes) {
        ExpectWords("push " + std::to_string(push.words[0] & 1023), push.words, push.pc,
                    [&](PaperImage& after) {
                        after.Put(2800 - push.bytes, push.value, push.bytes);
                        after.Put(160, 2800 - push.bytes, 4);
                    });
    }
}

TEST_F(Control, PushesDoNotCheckTheStackLimit) {
    PaperImage before = BenchPicture();
    before.Put(160, 1000, 4);  // far below the limit of 2048
    ExpectWords(
        "PUSH.L #5", {756 | 5u << 10}, 516,
        [](PaperImage& after) {
            after.Put(996, 5, 4);
            after.Put(160, 996, 4);
        },
        before);
}

// ---------------------------------------------------------------------------------------------
// Calls

TEST_F(Control, CallPushesArgumentBytesAndReturnAddressAndRemembersItsAddressPlus4) {
    PaperImage before = BenchPicture();
    before.PutWords(kBenchCode, {404, 84 | 0x8000 | 0xFFF0u << 16, kTarget});
    PaperImage after = before;
    after.Put(2796, 0xFFF0, 4);
    after.Put(2792, 524, 4);
    after.Put(160, 2792, 4);
    after.Put(136, kTarget, 4);
    ExpectRun("CALL", before, {.after = after});
    for (const Engine engine : {Engine::Fast, Engine::Translated, Engine::Traced, Engine::Plain}) {
        EXPECT_EQ(RunOn(engine, before.bytes).pcPreJsr, 520u) << EngineName(engine);
    }
}

TEST_F(Control, CallrGoesToTheLowHalfOfTheRegisterAndRemembersItsAddressPlus4) {
    for (u32 r = 0; r < 16; ++r) {
        PaperImage before = BenchPicture();
        before.Put(RegisterAt(r), 0x8888888800000300, 8);
        before.PutWords(kBenchCode, {852 | r << 12 | 0x0C00 | 24u << 16});
        PaperImage after = before;
        after.Put(2796, 24, 4);
        after.Put(2792, 516, 4);
        after.Put(160, 2792, 4);
        after.Put(136, kTarget, 4);
        ExpectRun("CALLR R" + std::to_string(r), before, {.after = after});
        EXPECT_EQ(RunOn(Engine::Fast, before.bytes).pcPreJsr, 516u);
        EXPECT_EQ(RunOn(Engine::Plain, before.bytes).pcPreJsr, 516u);
    }
}

TEST_F(Control, LinkPushesFpAndSavesTheRegistersBelowTheLocals) {
    for (u32 n = 0; n < 16; ++n) {
        const u32 locals = 20;
        ExpectWords("LINK 20, " + std::to_string(n), {340 | n << 10 | locals << 14}, 516,
                    [&](PaperImage& after) {
                        after.Put(2796, kBenchFP, 4);
                        after.Put(168, 2796, 4);
                        const u32 sp = 2796 - 20 - 8 * n;
                        // R(14-n) .. R13; with n = 15 that begins at address 0.
                        const u32 first = 120 - 8 * n;
                        for (u32 i = 0; i < 8 * n; ++i) {
                            after.Put(sp + i, after.Get(first + i, 1), 1);
                        }
                        after.Put(160, sp, 4);
                    });
    }
}

TEST_F(Control, LinkDoesNotCheckTheStack) {
    // 1000 bytes of locals reach below the limit of 2048.
    ExpectWords("LINK 1000, 0", {340 | 1000u << 14}, 516, [](PaperImage& after) {
        after.Put(2796, kBenchFP, 4);
        after.Put(168, 2796, 4);
        after.Put(160, 1796, 4);
    });
}

TEST_F(Control, LinkWithoutRegistersMayLeaveSpOutsideTheImage) {
    // (w >> 14) is at most 262,143: SP = 2796 - 262143 wraps around.
    ExpectWords("LINK 262143, 0", {340 | 262143u << 14}, 516, [](PaperImage& after) {
        after.Put(2796, kBenchFP, 4);
        after.Put(168, 2796, 4);
        after.Put(160, 2796u - 262143u, 4);
    });
}

TEST_F(Control, ReturnRestoresRegistersFpAndSpAndRemovesTheArguments) {
    for (u32 n = 0; n < 16; ++n) {
        PaperImage before = BenchPicture();
        before.Put(160, 2300, 4);
        before.Put(168, 2500, 4);
        before.Put(2500, 0x00001234, 4);
        before.Put(2504, kTarget, 4);
        before.Put(2508, 40, 4);
        ExpectWords(
            "RETURN " + std::to_string(n), {596 | n << 10 | 0xFFFFC000}, kTarget,
            [&](PaperImage& after) {
                const u32 first = 120 - 8 * n;
                for (u32 i = 0; i < 8 * n; ++i) {
                    after.Put(first + i, after.Get(2300 + i, 1), 1);
                }
                after.Put(160, 2552, 4);
                after.Put(168, 0x1234, 4);
            },
            before);
    }
}

TEST_F(Control, ReturnToAddress0EndsTheRunWithPc0) {
    PaperImage before = BenchPicture();
    before.Put(192, 6, 1);
    before.Put(168, 2500, 4);
    before.Put(2500, 0x00001234, 4);
    before.Put(2504, 0, 4);
    before.Put(2508, 16, 4);
    before.PutWords(kBenchCode, {596});
    PaperImage after = before;
    after.Put(136, 0, 4);
    after.Put(160, 2528, 4);
    after.Put(168, 0x1234, 4);
    ExpectRun("RETURN to 0", before, {.after = after, .outcome = Outcome::Returned});
}

TEST_F(Control, RecursiveCallsRunToTheEnd) {
    // fib(10) = 55 by LINK, CALL and RETURN, entered through a message frame.
    //   512 LINK 0, 0           520.. main: PUSH.L #10; CALL fib, 4; MOVE.L [1200], R0; RETURN 0
    //   fib: LINK 0, 1; MOVE.L R13, [FP+12]; CMP.L R13, #2; BGE over; MOVE.L R0, R13; RETURN 1
    //   over: SUB.L R13, #1; PUSH.L R13; CALL fib, 4; PUSH.L R0;
    //         SUB.L R13, #1; PUSH.L R13; CALL fib, 4; POP.L R13; ADD.L R0, R13; RETURN 1
    const u32 fib = 0x240;
    const u32 over = 0x258;
    const auto two = [](u32 form, u32 number, u32 low, u32 high) {
        return form | low << 5 | number << 9 | high << 16;
    };
    const auto one = [](u32 number, u32 r) { return 212u | number << 8 | r << 16; };
    PaperImage before = BenchPicture();
    before.PutWords(512, {340, 756 | 10u << 10, 84 | 4u << 16, fib, two(25, 62, 0, 0), 1200, 596});
    before.PutWords(fib, {340 | 1u << 10, two(17, 62, 13, 12), two(30, 34, 13, 2),
                          At(over) | 2u << 7 | 52, two(28, 62, 0, 13), 596 | 1u << 10});
    before.PutWords(
        over, {two(30, 30, 13, 1), one(18, 13), 84 | 4u << 16, fib, one(18, 0), two(30, 30, 13, 1),
               one(18, 13), 84 | 4u << 16, fib, one(22, 13), two(28, 26, 0, 13), 596 | 1u << 10});
    before.Put(2776, 0, 4);   // the message frame: return address 0,
    before.Put(2780, 16, 4);  // 16 argument bytes
    before.Put(160, 2776, 4);
    before.Put(RegisterAt(0), 0, 8);
    before.Put(RegisterAt(13), 0x7777777788888888, 8);
    for (const Engine engine : {Engine::Fast, Engine::Translated, Engine::Traced, Engine::Plain}) {
        const RunResult result = RunOn(engine, before.bytes, {.budget = 100000});
        EXPECT_EQ(result.outcome, Outcome::Returned) << EngineName(engine);
        const PaperImage after{result.image};
        EXPECT_EQ(after.Get(1200, 4), 55u);
        EXPECT_EQ(after.Get(RegisterAt(13), 8), 0x7777777788888888u);
        EXPECT_EQ(after.Get(160, 4), 2800u);
        EXPECT_EQ(after.Get(168, 4), kBenchFP);
    }
}

// ---------------------------------------------------------------------------------------------
// Block pushes

TEST_F(Control, PushblockInForm5TakesAll32BitsOfTheExtensionWordAsTheCount) {
    const auto words = [](u32 n) { return std::vector<u32>{5 | 7u << 5 | 120u << 9, n, 1200}; };
    PaperImage before = BenchPicture();
    before.Put(RegisterAt(7), 0xFFFFFFF0, 8);
    // 300 bytes although the operation is the BYTE one; [300] is not looked at.
    ExpectWords(
        "PUSHBLOCK 300", words(300), 524,
        [](PaperImage& after) {
            for (u32 i = 0; i < 300; ++i) {
                after.Put(2500 + i, after.Get(1184 + i, 1), 1);
            }
            after.Put(160, 2500, 4);
        },
        before);
    for (const u32 n : {0x10001u, 2801u, 0xFFFFFFFFu, 653u}) {
        PaperImage over = before;
        over.PutWords(kBenchCode, words(n));
        ExpectRun("PUSHBLOCK " + std::to_string(n), over,
                  {.after = over,
                   .outcome = Outcome::StackOverflow,
                   .messages = {"Stack overflow at 0x00000200. Terminating. So sorry."}});
    }
}

TEST_F(Control, PushblockKeepsSpAtLeast100BytesAboveTheLimit) {
    // 2800 - 652 = 2148 = 2048 + 100 still goes.
    const std::vector<u32> words = {5 | 7u << 5 | 123u << 9, 652, 1200};
    PaperImage before = BenchPicture();
    before.Put(RegisterAt(7), 0, 8);
    ExpectWords(
        "PUSHBLOCK 652", words, 524,
        [](PaperImage& after) {
            const PaperImage source = after;
            for (u32 i = 0; i < 652; ++i) {
                after.Put(2148 + i, source.Get(1200 + i, 1), 1);
            }
            after.Put(160, 2148, 4);
        },
        before);
}

TEST_F(Control, PeekblockReadsUpToTheStackTop) {
    // 272 bytes from 2800 end at 3072, the stack top.
    PaperImage before = BenchPicture();
    before.Put(1104, 272, 2);
    const std::vector<u32> words = {21 | 125u << 9, 1104, 1200};
    ExpectWords(
        "PEEKBLOCK 272", words, 524,
        [](PaperImage& after) {
            for (u32 i = 0; i < 272; ++i) {
                after.Put(1200 + i, after.Get(2800 + i, 1), 1);
            }
        },
        before);
    before.Put(1104, 273, 2);
    before.PutWords(kBenchCode, words);
    ExpectRun("PEEKBLOCK 273", before,
              {.after = before,
               .outcome = Outcome::StackOverflow,
               .messages = {"Stack overflow at 0x00000200. Terminating. So sorry."}});
}

TEST_F(Control, BlockmoveCopiesOverlappingRangesBothWays) {
    const std::vector<u32> up = {21 | 93u << 9, 1204, 1200};  // A = 1204, B = 1200, WORDs
    const std::vector<u32> down = {21 | 93u << 9, 1200, 1204};
    PaperImage before = BenchPicture();
    before.Put(184, 50, 4);
    const auto moved = [](u32 to, u32 from) {
        return [to, from](PaperImage& after) {
            const PaperImage source = after;
            for (u32 i = 0; i < 100; ++i) {
                after.Put(to + i, source.Get(from + i, 1), 1);
            }
        };
    };
    ExpectWords("BLOCKMOVE up", up, 524, moved(1204, 1200), before);
    ExpectWords("BLOCKMOVE down", down, 524, moved(1200, 1204), before);
}

TEST_F(Control, BlockmoveOfNothingTouchesNothing) {
    // Both addresses lie outside the image, but no byte is moved.
    ExpectWords("BLOCKMOVE 0", {21 | 92u << 9, 0xFFFFFFF0, 0x7FFFFFFF}, 524, [](PaperImage&) {});
}

// ---------------------------------------------------------------------------------------------
// Run control

TEST_F(Control, StopEndsTheRunWithPcAtTheStop) {
    PaperImage before = BenchPicture();
    before.PutWords(kBenchCode, {404, 532 | 0xFFFFFC00});
    PaperImage after = before;
    after.Put(136, 516, 4);
    ExpectRun("STOP", before, {.after = after});
}

TEST_F(Control, ModalPushesItsContextAndEndsTheMessage) {
    for (const u32 code : {788u, 148u}) {
        PaperImage before = BenchPicture();
        before.Put(192, 5, 1);
        before.Put(176, 0x11223344, 4);
        before.PutWords(kBenchCode, {code | 0x55555400});
        PaperImage after = before;
        after.Put(2660, 0x11223344, 4);
        after.Put(2664, kBenchFP, 4);
        after.Put(2668, 516, 4);
        for (u32 i = 0; i < 128; ++i) {
            after.Put(2672 + i, before.Get(8 + i, 1), 1);
        }
        after.Put(176, 2660, 4);
        after.Put(160, 2660, 4);
        after.Put(136, 516, 4);
        ExpectRun("MODAL " + std::to_string(code), before,
                  {.after = after,
                   .outcome = Outcome::Modal,
                   .modalDepthBefore = 3,
                   .modalDepth = 4,
                   .presentNotify = code == 148});
    }
}

TEST_F(Control, EmodRestoresTheRegistersFpAndSpOfTheModalAndResumesAfterIt) {
    PaperImage before = BenchPicture();
    before.Put(192, 6, 1);
    before.Put(176, 2500, 4);
    before.Put(2500, 0x11223344, 4);
    before.Put(2504, 0x55667788, 4);
    before.Put(2508, kTarget, 4);
    before.PutWords(kBenchCode, {916});
    PaperImage after = before;
    after.Put(176, 0x11223344, 4);
    after.Put(168, 0x55667788, 4);
    for (u32 i = 0; i < 128; ++i) {
        after.Put(8 + i, before.Get(2512 + i, 1), 1);
    }
    after.Put(160, 2640, 4);
    after.Put(136, kTarget, 4);
    ExpectRun("EMOD", before, {.after = after, .modalDepthBefore = 1});
}

TEST_F(Control, ASecondEmodFailsWithIllegalEmod) {
    PaperImage before = BenchPicture();
    before.Put(176, 2500, 4);
    before.Put(2500, 0, 4);
    before.Put(2504, kBenchFP, 4);
    before.Put(2508, kTarget, 4);
    before.PutWords(kBenchCode, {916});
    before.PutWords(kTarget, {916});
    PaperImage after = before;
    after.Put(176, 0, 4);
    for (u32 i = 0; i < 128; ++i) {
        after.Put(8 + i, before.Get(2512 + i, 1), 1);
    }
    after.Put(160, 2640, 4);
    after.Put(136, kTarget, 4);
    ExpectRun("two EMODs", before,
              {.after = after,
               .outcome = Outcome::BadEmod,
               .messages = {"Illegal EMOD at 0x00000300"},
               .modalDepthBefore = 1});
}

TEST_F(Control, EmodWithoutAModalReportsAndEndsTheRunButNotTheProgram) {
    PaperImage before = BenchPicture();
    before.Put(192, 1, 1);
    before.PutWords(kBenchCode, {916});
    ExpectRun("EMOD", before, {.after = before, .outcome = Outcome::BadEmod, .messages = kBadEmod});
    ExpectRun("EMOD at depth -1", before,
              {.after = before,
               .outcome = Outcome::BadEmod,
               .messages = kBadEmod,
               .modalDepthBefore = -1,
               .modalDepth = -1});
}

TEST_F(Control, DebuglogAppendsTheStringsAtR15WithoutASeparator) {
    PaperImage before = BenchPicture();
    before.PutWords(kBenchCode, {20, 26u << 9 | 30 | 15u << 5 | 2u << 16, 20});  // ADD.L R15, #2
    before.Put(RegisterAt(15), 0xFFFFFFFF00000000 | 1201, 8);
    before.Put(1201, 'a', 2);
    before.Put(1203, 'b', 2);
    for (const Engine engine : {Engine::Fast, Engine::Translated, Engine::Traced, Engine::Plain}) {
        const RunResult result = RunOn(engine, before.bytes);
        EXPECT_EQ(result.debugLog, "ab") << EngineName(engine);
        EXPECT_EQ(result.outcome, Outcome::Stopped) << EngineName(engine);
    }
}

}  // namespace moxi
