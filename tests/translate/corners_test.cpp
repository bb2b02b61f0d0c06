// What is rare: stacks that reach into code, images that nearly fill the address space, modal
// waits, locks that a RETURN has to release, and runs that are watched.

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "tests/support/bench_run.h"
#include "tests/support/compare_runs.h"
#include "tests/translate/translator_fixture.h"
#include "vm/heap.h"
#include "vm/interpreter.h"
#include "vm/slots.h"

namespace moxi {

namespace {

u32 instructionsSeen = 0;

constexpr InstructionTrace kCounting = {[](u32) { ++instructionsSeen; }, [](u32) {}};

// Code that calls itself and never returns.
PaperImage Recursion(u32 sp) {
    PaperImage picture = BenchPicture();
    picture.PutWords(kBenchCode, {84 | 4 << 16, kBenchCode});  // CALL itself, 4 bytes of arguments
    picture.Put(160, sp, 4);
    return picture;
}

}  // namespace

TEST_F(Translator, AStackThatRunsIntoTheCodeEndsAsOnThePlainExecutor) {
    // Pushes its way down over its own code: what it then executes are pushed addresses.
    for (const u32 sp : {2800u, 1601u, 1538u, 700u, 530u, 520u, 513u}) {
        const PaperImage picture = Recursion(sp);
        const RunOptions options = {.budget = 100000};
        const RunResult wanted = RunOn(Engine::Plain, picture.bytes, options);
        ASSERT_NE(wanted.outcome, plain::Outcome::BudgetSpent);
        RunResult got = RunOn(Engine::Translated, picture.bytes, options);
        RunResult shortened = wanted;
        for (RunResult* const result : {&got, &shortened}) {
            KeepNewest(result->trace);
        }
        EXPECT_EQ(CompareRuns(got, shortened), "") << "from SP " << sp;
    }
}

TEST_F(Translator, AnImageThatFillsTheAddressSpaceIsInterpretedAndOneALittleSmallerIsNot) {
    MakeImage(0xFFFF0000, 0xFFF00000, 0xFFFE0000);
    EXPECT_EQ(StartTranslator(kAll), TranslatorStart::ImageTooLarge);
    // Sums 1 to 100 in a frame near the end of the image, with the counter on the stack.
    const AssembleResult assembled = Assemble(
        "        .stack 4096\n"
        "start:  LINK 16, 2\n"
        "        MOVE.L [FP-8], #100\n"
        "        MOVE.L R14, #0\n"
        "@loop:  ADD.L R14, [FP-8]\n"
        "        PUSH.L R14\n"
        "        POP.L R13\n"
        "        SUB.L [FP-8], #1\n"
        "        BNE @loop\n"
        "        RETURN 2\n",
        "test.mxs");
    ASSERT_TRUE(assembled.ok) << FormatErrors(assembled);
    MakeImage(0xFFFD0000, 0xFFF00000, 0xFFFCFF00);
    std::memcpy(image + kEntryPoint, assembled.bytes.data() + kEntryPoint,
                assembled.bytes.size() - kEntryPoint);
    ASSERT_EQ(StartTranslator(kAll), TranslatorStart::Running);
    MXmsg(1, 0, 0, 0);
    EXPECT_EQ(moxi::Load<u32>(kHeaderR14), 5050u);
    EXPECT_EQ(moxi::Load<u32>(kHeaderSP), 0xFFFCFF00u);
    EXPECT_GE(translatorCounts.regions, 1u);
}

TEST_F(Translator, AModalWaitInTranslatedCodeGoesOnWithTheRegistersItHad) {
    // Message 1 sums 1 to 1,000 into R14, counts in R2, and waits; message 2 spoils both and ends
    // the wait; what comes behind it adds R2.
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R14, #0\n"
        "        MOVE.L R2, #0\n"
        "        CMP.L [FP+12], #2\n"
        "        BEQ @end\n"
        "        MOVE.L R1, #1000\n"
        "@loop:  ADD.L R14, R1\n"
        "        ADD.L R2, #1\n"
        "        SUB.L R1, #1\n"
        "        BNE @loop\n"
        "        MODAL\n"
        "        ADD.L R14, R2\n"
        "        RETURN 0\n"
        "@end:   EMOD\n";
    for (const TranslatorOptions& options : {kAll, TranslatorOptions{}}) {
        Load(source, options);
        const u32 sp = moxi::Load<u32>(kHeaderSP);
        MXmsg(1, 0, 0, 0);
        EXPECT_EQ(modalDepth, 1);
        MXmsg(2, 0, 0, 0);
        EXPECT_EQ(modalDepth, 0);
        EXPECT_EQ(moxi::Load<u32>(kHeaderR14), 500500u + 1000u);
        EXPECT_EQ(moxi::Load<u32>(kHeaderSP), sp);
    }
}

TEST_F(Translator, ALockThatAFrameTookIsReleasedByItsReturn) {
    // The leaf locks a block by the service; 50 times.
    const std::string source =
        "        .stack 4096\n"
        "        .heap 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R1, #50\n"
        "@loop:  CALL @leaf\n"
        "        SUB.L R1, #1\n"
        "        BNE @loop\n"
        "        RETURN 0\n"
        "@leaf:  LINK 0, 0\n"
        "        SYS\n"
        "        RETURN 0\n";
    static u32 handle = 0;
    static u32 lockedBefore = 0;
    for (const TranslatorOptions& options : {kAll, TranslatorOptions{}}) {
        Load(source, options);
        handle = AllocHeap(16);
        lockedBefore = 0;
        vmSlots.sysDispatch = [] {
            if (heapPtrs[handle].lockCount != 0) {
                ++lockedBefore;
            }
            LockHeap(handle);
        };
        MXmsg(1, 0, 0, 0);
        EXPECT_EQ(lockedBefore, 0u);
        EXPECT_EQ(heapPtrs[handle].lockCount, 0u);
        EXPECT_LT(heapListHeads[static_cast<u32>(HeapList::Locked)], 0);
    }
}

TEST_F(Translator, EachReturnReleasesOneLockAlsoWhereItsCallIsTranslated) {
    // `locks` takes three locks, and its own RETURN releases one. The loop behind it calls `leaf`
    // once and again, and asks each time how many are left; the sum of the answers is 1 + 0 + 0.
    const std::string source =
        "        .stack 4096\n"
        "        .heap 4096\n"
        "start:  LINK 0, 0\n"
        "        CALL @locks\n"
        "        MOVE.L R1, #3\n"
        "@loop:  CALL @leaf\n"
        "        MOVE.L R2, #1\n"
        "        SYS\n"
        "        SUB.L R1, #1\n"
        "        BNE @loop\n"
        "        RETURN 0\n"
        "@locks: LINK 0, 2\n"
        "        MOVE.L R2, #0\n"
        "        SYS\n"
        "        RETURN 2\n"
        "@leaf:  LINK 0, 2\n"
        "        MOVE.L R13, #5\n"
        "        RETURN 2\n";
    static std::array<u32, 3> handles;
    static u32 left = 0;
    static u32 asked = 0;
    for (const TranslatorOptions& options : {kAll, TranslatorOptions{}}) {
        Load(source, options);
        for (u32& handle : handles) {
            handle = AllocHeap(16);
        }
        left = asked = 0;
        vmSlots.sysDispatch = [] {
            if (moxi::Load<u32>(RegisterAddress(2)) == 0) {
                std::for_each(handles.begin(), handles.end(), LockHeap);
                return;
            }
            ++asked;
            left += static_cast<u32>(std::count_if(handles.begin(), handles.end(), [](u32 handle) {
                return heapPtrs[handle].lockCount != 0;
            }));
        };
        MXmsg(1, 0, 0, 0);
        EXPECT_EQ(asked, 3u);
        EXPECT_EQ(left, 1u);
    }
}

TEST_F(Translator, CodeThatIsAlwaysLeftAtOnceIsInterpretedAlsoWhenTranslatedCodeGoesThere) {
    // The loop calls `leaf` through a register, so that it is a region of its own, and that calls a
    // service at once: 100,000 visits of two instructions each.
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R14, #0\n"
        "        MOVE.L R1, #100000\n"
        "        LEA R2, [leaf]\n"
        "@loop:  ADD.L R14, #3\n"
        "        CALLR R2, 0\n"
        "        SUB.L R1, #1\n"
        "        BNE @loop\n"
        "        RETURN 0\n"
        "leaf:   LINK 0, 0\n"
        "        SYS\n"
        "        RETURN 0\n";
    vmSlots.sysDispatch = [] {};
    EXPECT_EQ(RunSource(source, 0, {}), 300000u);
    EXPECT_LE(translatorCounts.entries, 20000u);
}

TEST_F(Translator, ARunThatIsWatchedIsNotTranslated) {
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R14, #1000\n"
        "@loop:  SUB.L R14, #1\n"
        "        BNE @loop\n"
        "        RETURN 0\n";
    Load(source, kAll);
    instructionsSeen = 0;
    instructionTrace = &kCounting;
    MXmsg(1, 0, 0, 0);
    instructionTrace = nullptr;
    // LINK, MOVE, RETURN, and 1,000 rounds of two.
    EXPECT_EQ(instructionsSeen, 2003u);
    EXPECT_EQ(translatorCounts.entries, 0u);
}

TEST_F(Translator, AVariableBetweenFunctionsIsWrittenWithoutLeavingTranslatedCode) {
    // 100,000 times by its address, through a register, and in place; the sum of it all is
    // 3 * (0 + ... + 99,999) + 100,000 in 32 bits.
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R14, #0\n"
        "        MOVE.L R1, #100000\n"
        "@loop:  SUB.L R1, #1\n"
        "        CALL step\n"
        "        TST.L R1\n"
        "        BNE @loop\n"
        "        RETURN 0\n"
        "one:    .long 0\n"
        "two:    .long 0\n"
        "        .long 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0\n"
        "step:   LINK 0, 0\n"
        "        MOVE.L [one], R1\n"
        "        LEA R2, [two]\n"
        "        MOVE.L [R2], R1\n"
        "        ADD.L [one], R1\n"
        "        ADD.L [one], #1\n"
        "        ADD.L R14, [one]\n"
        "        ADD.L R14, [R2]\n"
        "        RETURN 0\n";
    EXPECT_EQ(RunSource(source, 0, {}), static_cast<u32>(u64{3} * 4999950000 + 100000));
    EXPECT_LE(translatorCounts.entries, 20u);
}

TEST_F(Translator, CodeThatIsTranslatedLaterIsNotWrittenOverWithoutALook) {
    // The loop writes over the constant that `add` adds before it calls it, at first 1,000 times
    // while nothing has called it: 1,000 + 1,001 + ... + 9,999.
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R14, #0\n"
        "        MOVE.L R1, #0\n"
        "@loop:  MOVE.L [added + 4], R1\n"
        "        CMP.L R1, #1000\n"
        "        BLT @next\n"
        "        LEA R2, [add]\n"
        "        CALLR R2, 0\n"
        "@next:  ADD.L R1, #1\n"
        "        CMP.L R1, #10000\n"
        "        BNE @loop\n"
        "        RETURN 0\n"
        "add:    LINK 0, 0\n"
        "added:  ADD.L R14, #0x12345\n"
        "        RETURN 0\n";
    for (const TranslatorOptions& options : {kAll, TranslatorOptions{}}) {
        EXPECT_EQ(RunSource(source, 0, options), 49495500u);
    }
}

TEST_F(Translator, WhatTranslatedCodeGoesToAgainAndAgainIsTranslated) {
    // A jump through a table to 16 places, each of which goes on by the same jump: nothing but
    // translated code ever goes to them. 125,000 times 0 + 1 + ... + 15.
    std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R14, #0\n"
        "        MOVE.L R1, #0\n"
        "        MOVE.L R2, #2000000\n"
        "next:   SUB.L R2, #1\n"
        "        BEQ end\n"
        "        ADD.L R1, #4\n"
        "        AND.L R1, #60\n"
        "        JMP [R1+table]\n"
        "end:    RETURN 0\n";
    std::string table = "table:  .long place0";
    for (u32 i = 0; i < 16; ++i) {
        const std::string number = std::to_string(i);
        source += "place" + number + ": ADD.L R14, #" + number + "\n JMP next\n";
        if (i > 0) {
            table += ", place" + number;
        }
    }
    EXPECT_EQ(RunSource(source + table + "\n", 0, {}), 15000000u);
    EXPECT_LE(translatorCounts.entries, 250u);
}

namespace {

// A loop of 3,000 rounds far from the header, on a page of its own; each adds a constant and calls
// a service, and the first 1,000 and the last have different ones.
const std::string kFarLoop =
    "        .stack 4096\n"
    "start:  LINK 0, 0\n"
    "        MOVE.L R14, #0\n"
    "        MOVE.L R13, #0\n"
    "        JMP far\n"
    "        .space 0x8000\n"
    "far:    MOVE.L R1, #3000\n"
    "@loop:  ADD.L R13, #0x12345\n"
    "        SYS\n"
    "        SUB.L R1, #1\n"
    "        BNE @loop\n"
    "        MOVE.L R14, R13\n"
    "        RETURN 0\n";

u32 farServices = 0;

}  // namespace

TEST_F(Translator, CodeOnAWatchedPageThatAServiceChangesIsSeenAsItIsNow) {
    for (const TranslatorOptions& options : {kAll, TranslatorOptions{}}) {
        Load(kFarLoop, options);
        farServices = 0;
        vmSlots.sysDispatch = [] {
            // The constant stands 12 bytes behind the loop's first instruction.
            if (++farServices == 1000) {
                Store<u32>(0x8000 + 0x200 + 16 + 12, 7);
            }
        };
        MXmsg(1, 0, 0, 0);
        EXPECT_EQ(moxi::Load<u32>(kHeaderR14), 1000 * 0x12345u + 2000 * 7u);
        EXPECT_GE(translatorCounts.changes, 1u);
    }
}

TEST_F(Translator, DataOnAPageOfCodeAreWrittenByServicesWithoutACrawl) {
    // The service writes what lies behind the code: the code stays as it is.
    Load(kFarLoop + "        .long 0, 0, 0, 0\n", {});
    vmSlots.sysDispatch = [] { Store<u32>(0x8000 + 0x200 + 16 + 12 + 24, ++farServices); };
    MXmsg(1, 0, 0, 0);
    EXPECT_EQ(moxi::Load<u32>(kHeaderR14), 3000 * 0x12345u);
    EXPECT_EQ(translatorCounts.changes, 0u);
    EXPECT_LE(translatorCounts.regions, 5u);
}

TEST_F(Translator, ABlockMoveStaysInTranslatedCode) {
    // 1,000 times: a block of 10 words to the stack's end and on from there; the first one grows.
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 96, 0\n"
        "        MOVE.L R14, #0\n"
        "        MOVE.L R1, #1000\n"
        "        MOVE.L [184], #10\n"
        "@loop:  ADD.L [from], #3\n"
        "        BLOCKMOVE.L [FP-40], [from]\n"
        "        BLOCKMOVE.L [to], [FP-40]\n"
        "        SUB.L R1, #1\n"
        "        BNE @loop\n"
        "        MOVE.L R14, [to]\n"
        "        ADD.L R14, [to + 36]\n"
        "        RETURN 0\n"
        "from:   .long 1, 2, 3, 4, 5, 6, 7, 8, 9, 10\n"
        "to:     .long 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 77\n";
    for (const TranslatorOptions& options : {kAll, TranslatorOptions{}}) {
        translatorCounts = {};
        // 1 + 3,000, and the last word of the ten.
        EXPECT_EQ(RunSource(source, 0, options), 3001u + 10);
        EXPECT_LE(translatorCounts.entries, 20u);
    }
}

TEST_F(Translator, ABlockMoveOverCodeIsDoneByTheInterpreter) {
    // Every round puts one of two instructions over the one at `here`: 500 times 1 and 500 times 2.
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R14, #0\n"
        "        MOVE.L R1, #1000\n"
        "        MOVE.L R2, #0\n"
        "        MOVE.L [184], #1\n"
        "loop:   XOR.L R2, #4\n"
        "        BLOCKMOVE.L [here], [R2+ways]\n"
        "here:   NOP\n"
        "        SUB.L R1, #1\n"
        "        BNE loop\n"
        "        RETURN 0\n"
        "ways:   ADD.L R14, #1\n"
        "        ADD.L R14, #2\n";
    for (const TranslatorOptions& options : {kAll, TranslatorOptions{}}) {
        EXPECT_EQ(RunSource(source, 0, options), 1500u);
    }
}

TEST_F(Translator, ARegisterReadByItsAddressIsWhatItIsNow) {
    // R1 to R4 live in the processor's registers, R5 is a floating-point number; their halves and
    // bytes are read at 8 + 8 * number, and one QUAD across two of them.
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.Q R1, #0\n"
        "        MOVE.Q R2, #0x100000000\n"
        "        MOVE.Q R5, #0\n"
        "        STOD.L R5\n"
        "        MOVE.L R3, #1\n"
        "        STOD.L R3\n"
        "        MOVE.L R14, #0\n"
        "        MOVE.L R4, #1000\n"
        "@loop:  ADD.L R1, #1\n"
        "        ADD.Q R2, #0x100000000\n"
        "        FADD.D R5, R3\n"
        "        TBNE.L [20], @on\n"
        "        ADD.L R14, #100\n"
        "@on:    CMP.L [20], #1\n"
        "        BEQ @next\n"
        "        ADD.B R14, [16]\n"
        "        SUB.L R14, #0\n"
        "@next:  SUB.L R4, #1\n"
        "        BNE @loop\n"
        "        MOVE.L R14, [28]\n"
        "        ADD.L R14, [52]\n"
        "        ADD.Q R14, [20]\n"
        "        RETURN 0\n";
    for (const TranslatorOptions& options : {kAll, TranslatorOptions{}}) {
        translatorCounts = {};
        // R2's upper half is 1001; that of the double 1000, 0x408F4000; [20] is R1's upper half, 0.
        EXPECT_EQ(RunSource(source, 0, options), 1001u + 0x408F4000u);
        EXPECT_LE(translatorCounts.entries, 20u);
    }
}

TEST_F(Translator, WhatAConstantLeftInTheSlotIsThereWhenAServiceLooks) {
    // A block without a constant follows one with a constant; the service is called from the
    // second.
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R2, #3\n"
        "        MOVE.L R1, #40\n"
        "@loop:  ADD.L R3, #0x1234567\n"
        "        BNE @next\n"
        "@next:  MOVE.L R4, R3\n"
        "        SYS\n"
        "        SUB.L R1, #1\n"
        "        BNE @loop\n"
        "        RETURN 0\n";
    static u32 wrong = 0;
    wrong = 0;
    Load(source, kAll);
    vmSlots.sysDispatch = [] {
        if (moxi::Load<u32>(256) != 0x1234567) {
            ++wrong;
        }
    };
    MXmsg(1, 0, 0, 0);
    EXPECT_EQ(wrong, 0u);
}

}  // namespace moxi
