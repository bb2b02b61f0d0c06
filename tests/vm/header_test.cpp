// What the header holds while the module runs, and what its write-back loses.

#include <string>
#include <vector>

#include "tests/vm/control_fixture.h"
#include "vm/machine.h"
#include "vm/slots.h"

namespace moxi {

// ---------------------------------------------------------------------------------------------
// The header's write-back

TEST_F(Control, DuringSysTheHeaderHoldsThePcOfTheSysAndTheCurrentSpFpAndFlags) {
    static PaperImage seen;
    vmSlots.sysDispatch = [] { seen.bytes.assign(image, image + imageSize); };
    PaperImage before = BenchPicture();
    // SUB.L R1, R1 sets ZERO; PUSH.L #5; LINK 0, 0; SYS
    before.PutWords(kBenchCode,
                    {30u << 9 | 28 | 1u << 5 | 1u << 16, 756 | 5u << 10, 340, 276 | 0xFFFFFC00});
    for (const Engine engine : {Engine::Fast, Engine::Translated, Engine::Traced}) {
        RunOn(engine, before.bytes);
        EXPECT_EQ(seen.Get(136, 4), 524u) << EngineName(engine);
        EXPECT_EQ(seen.Get(160, 4), 2792u) << EngineName(engine);
        EXPECT_EQ(seen.Get(168, 4), 2792u) << EngineName(engine);
        EXPECT_EQ(seen.Get(192, 1), 2u) << EngineName(engine);
    }
}

TEST_F(Control, AServiceCannotChangePcSpFpAndFlagsButEverythingElse) {
    vmSlots.sysDispatch = [] {
        Store<u32>(136, 0x11111111);
        Store<u32>(160, 0x22222222);
        Store<u32>(168, 0x33333333);
        Store<u8>(192, 7);
        Store<u8>(193, 0x44);
        Store<u32>(120, 0x55555555);
        Store<u32>(512 + 8, 404);  // the instruction after the next one
    };
    PaperImage before = BenchPicture();
    before.PutWords(kBenchCode, {276, 404, 532, 532});
    for (const Engine engine : {Engine::Fast, Engine::Translated, Engine::Traced}) {
        PaperImage after = before;
        after.Put(193, 0x44, 1);
        after.Put(120, 0x55555555, 4);
        after.Put(520, 404, 4);
        after.Put(136, 524, 4);
        const RunResult result = RunOn(engine, before.bytes);
        EXPECT_EQ(Differences(result.image, after.bytes), "") << EngineName(engine);
    }
}

TEST_F(Control, WritesToTheHeadersPcSpFpAndFlagsAreLost) {
    // MOVE.L absolute, quick 5: form 29
    for (const u32 address : {136u, 160u, 168u}) {
        ExpectWords("MOVE.L [" + std::to_string(address) + "], #5",
                    {29 | 5u << 5 | 62u << 9, address}, 520,
                    [](PaperImage& after) { after.Put(256, 5, 4); });
    }
    PaperImage before = BenchPicture();
    before.Put(192, 6, 1);
    ExpectWords(
        "MOVE.B [192], #5", {29 | 5u << 5 | 60u << 9, 192}, 520,
        [](PaperImage& after) { after.Put(256, 5, 4); }, before);
}

TEST_F(Control, TheUpperHalvesBesideThePcSpAndFpAndTheOtherHeaderWordsKeepAWrite) {
    for (const u32 address : {140u, 164u, 172u, 144u, 152u, 176u, 184u, 196u}) {
        ExpectWords("MOVE.L [" + std::to_string(address) + "], #-2",
                    {29 | 14u << 5 | 62u << 9, address}, 520, [address](PaperImage& after) {
                        after.Put(256, 0xFFFFFFFE, 4);
                        after.Put(address, 0xFFFFFFFE, 4);
                    });
    }
    // A QUAD across PC and its upper half: the low half is lost. 193 beside the flags is kept.
    ExpectWords("MOVE.Q [136], #-2", {29 | 14u << 5 | 63u << 9, 136}, 520, [](PaperImage& after) {
        after.Put(256, 0xFFFFFFFFFFFFFFFE, 8);
        after.Put(140, 0xFFFFFFFF, 4);
    });
    ExpectWords("MOVE.W [192], #-2", {29 | 14u << 5 | 61u << 9, 192}, 520, [](PaperImage& after) {
        after.Put(256, 0xFFFFFFFE, 4);
        after.Put(193, 0xFF, 1);
    });
}

TEST_F(Control, ReadsOfTheHeaderSeeThePcOfTheInstructionAndTheSpFpAndFlagsBeforeIt) {
    // SUB.L R1, #7 with R1 = 5 sets NEG; then MOVE.L R2, [136]; [160]; [168]; MOVEZ.B R3, [192]
    const auto load = [](u32 r, u32 number) { return 26 | r << 5 | number << 9; };
    PaperImage before = BenchPicture();
    before.Put(RegisterAt(1), 5, 8);
    ExpectWords(
        "reads of the header",
        {30 | 1u << 5 | 30u << 9 | 7u << 16, 756 | 9u << 10, load(2, 66), 136, load(3, 66), 160,
         load(4, 66), 168, load(5, 64), 192},
        552,
        [](PaperImage& after) {
            after.Put(256, 7, 4);
            after.Put(RegisterAt(1), 0xFFFFFFFE, 4);
            after.Put(2796, 9, 4);
            after.Put(160, 2796, 4);
            after.Put(RegisterAt(2), 520, 8);
            after.Put(RegisterAt(3), 2796, 8);
            after.Put(RegisterAt(4), kBenchFP, 8);
            after.Put(RegisterAt(5), 4, 8);
            after.Put(192, 4, 1);
        },
        before);
}

TEST_F(Control, BitsOfTheFlagByteThatAreNoFlagsAreThereUntilTheFirstWriteBackAndThen0) {
    // MOVEZ.B R3, [192]; MOVEZ.B R4, [192] with the byte 0xFA: ZERO and five other bits
    const auto load = [](u32 r) { return 26 | r << 5 | 64u << 9; };
    PaperImage before = BenchPicture();
    before.Put(192, 0xFA, 1);
    ExpectWords(
        "a loaded flag byte", {load(3), 192, load(4), 192}, 528,
        [](PaperImage& after) {
            after.Put(RegisterAt(3), 0xFA, 8);
            after.Put(RegisterAt(4), 2, 8);
            after.Put(192, 2, 1);
        },
        before);
}

TEST_F(Control, PopIntoTheSpWordIsLost) {
    // POP.L of register 19, the SP word at 160.
    ExpectWords("POP.L of register 19", {22u << 8 | 212 | 19u << 16}, 516,
                [](PaperImage& after) { after.Put(160, 2804, 4); });
}

TEST_F(Control, CodeThatChangesTheNextInstructionIsSeen) {
    // MOVE.L [524], R1 puts PUSH.L #3 over the STOP at 524; the NOP before it has run.
    PaperImage before = BenchPicture();
    before.Put(RegisterAt(1), 756 | 3u << 10, 4);
    ExpectWords(
        "self-modifying code", {25 | 1u << 5 | 62u << 9, 524, 404}, 528,
        [](PaperImage& after) {
            after.Put(524, 756 | 3u << 10, 4);
            after.Put(2796, 3, 4);
            after.Put(160, 2796, 4);
        },
        before);
}

TEST_F(Control, AQuickSourceOfMinus8FillsTheSlotByTheOperationsSize) {
    PaperImage before = BenchPicture();
    before.Put(256, 0x1122334455667788, 8);
    before.Put(RegisterAt(3), 0, 8);
    // In a QUAD operation all 64 bits, in a LONG one the low word alone.
    ExpectWords(
        "MOVE.Q R3, #-8", {30 | 3u << 5 | 63u << 9 | 8u << 16}, 516,
        [](PaperImage& after) {
            after.Put(256, 0xFFFFFFFFFFFFFFF8, 8);
            after.Put(RegisterAt(3), 0xFFFFFFFFFFFFFFF8, 8);
        },
        before);
    ExpectWords(
        "MOVE.L R3, #-8", {30 | 3u << 5 | 62u << 9 | 8u << 16}, 516,
        [](PaperImage& after) {
            after.Put(256, 0x11223344FFFFFFF8, 8);
            after.Put(RegisterAt(3), 0x00000000FFFFFFF8, 8);
        },
        before);
    ExpectWords(
        "MOVE.B R3, #-8", {30 | 3u << 5 | 60u << 9 | 8u << 16}, 516,
        [](PaperImage& after) {
            after.Put(256, 0x11223344FFFFFFF8, 8);
            after.Put(RegisterAt(3), 0xF8, 8);
        },
        before);
}

TEST_F(Control, TheSlotIsMemoryThatALaterOperandCanRead) {
    // MOVE.L R3, #0x12345678 then MOVE.W R4, [258]
    PaperImage before = BenchPicture();
    ExpectWords(
        "the slot as memory", {22 | 3u << 5 | 62u << 9, 0x12345678, 26 | 4u << 5 | 61u << 9, 258},
        528,
        [](PaperImage& after) {
            after.Put(256, 0x12345678, 4);
            after.Put(RegisterAt(3), 0x12345678, 4);
            after.Put(RegisterAt(4), 0x1234, 2);
        },
        before);
}

// ---------------------------------------------------------------------------------------------
// The PC trace

TEST_F(Control, TheTraceRingHoldsTheAddressesOfTheLast1024InstructionsOldestFirstOverwritten) {
    // 700 rounds of SUB.L R1, #1; BNE back: 1400 instructions, then the STOP.
    PaperImage before = BenchPicture();
    before.Put(RegisterAt(1), 700, 8);
    before.PutWords(kBenchCode, {30 | 1u << 5 | 30u << 9 | 1u << 16, At(512) | 1u << 7 | 52});
    for (const Engine engine : {Engine::Fast, Engine::Traced, Engine::Plain}) {
        const RunResult result = RunOn(engine, before.bytes, {.budget = 5000});
        ASSERT_EQ(result.trace.size(), 1024u) << EngineName(engine);
        EXPECT_EQ(result.trace[1023], 520u);
        EXPECT_EQ(result.trace[1022], 516u);
        EXPECT_EQ(result.trace[1021], 512u);
        // 1401 instructions: the oldest kept is number 377, the BNE of round 189.
        EXPECT_EQ(result.trace[0], 516u);
    }
    RunOn(Engine::Fast, before.bytes);
    EXPECT_EQ(pcTraceCount, 1401u);
    EXPECT_EQ(pcTrace[1400 - 1024].pc, 520u);  // the newest lies where number 376 was
}

}  // namespace moxi
