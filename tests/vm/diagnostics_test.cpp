// The fatal message box, the system log, debug.log and the faults of the machine.

#include "vm/diagnostics.h"

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "base/mac_roman.h"
#include "desktop/desktop.h"
#include "tests/support/bench_run.h"
#include "tests/support/vm_fixture.h"
#include "vm/guard.h"
#include "vm/machine.h"
#include "vm/slots.h"

namespace moxi {

using plain::Outcome;

namespace {

using Messages = std::vector<std::string>;

class Diagnostics : public VmTest {
  protected:
    StandardError error;
};

class Faults : public VmTest {
  protected:
    StandardError error;
};

// What the interpreter leaves of `words` at 512, at full speed; the traced one must agree.
RunResult RunWords(const std::vector<u32>& words, PaperImage before = BenchPicture()) {
    before.PutWords(kBenchCode, words);
    RunResult fast = RunOn(Engine::Fast, before.bytes);
    const RunResult traced = RunOn(Engine::Traced, before.bytes);
    EXPECT_EQ(fast.messages, traced.messages);
    EXPECT_EQ(fast.outcome, traced.outcome);
    return fast;
}

constexpr u32 kNop = 404;

// MOVE.<size> R3, [address]
std::vector<u32> LoadFrom(u32 size, u32 address) {
    return {26 | 3u << 5 | (60 + size) << 9, address};
}

// MOVE.<size> [address], R3
std::vector<u32> StoreTo(u32 size, u32 address) {
    return {25 | 3u << 5 | (60 + size) << 9, address};
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// The fatal message box

TEST_F(Diagnostics, A2000CharacterMessageShowsItsFirst1023Characters) {
    std::string text;
    for (int i = 0; i < 2000; ++i) {
        text += static_cast<char>('a' + i % 26);
    }
    ShowFatalMessage(text);
    EXPECT_EQ(vmEvents.messages, Messages{text.substr(0, 1023)});
    EXPECT_EQ(error.Text(), "fatal: " + text.substr(0, 1023) + "\n");
}

TEST_F(Diagnostics, MessagesOf1023And1024CharactersAreCutTo1023) {
    ShowFatalMessage(std::string(1023, 'x'));
    ShowFatalMessage(std::string(1024, 'y'));
    EXPECT_EQ(vmEvents.messages, (Messages{std::string(1023, 'x'), std::string(1023, 'y')}));
}

TEST_F(Diagnostics, TheMessageIsMacRomanText) {
    ShowFatalMessage("caf\x8E \xD2ok\xD3 \xF0");
    EXPECT_EQ(vmEvents.messages, Messages{"café “ok” \xEF\xA3\xBF"});
}

TEST_F(Diagnostics, EveryMacRomanCharacterHasItsCodePoint) {
    std::string upper;
    for (int c = 128; c < 256; ++c) {
        upper += static_cast<char>(c);
    }
    EXPECT_EQ(
        MacRomanToUtf8(upper),
        "ÄÅÇÉÑÖÜáàâäãåçéèêëíìîïñóòôöõúùûü†°¢£§•¶ß®©™´¨≠ÆØ∞±≤≥¥µ∂∑∏π∫ªºΩæø¿¡¬√ƒ≈∆«»…\u00A0ÀÃÕŒœ"
        "–—“”‘’÷◊ÿŸ⁄€‹›ﬁﬂ‡·‚„‰ÂÊÁËÈÍÎÏÌÓÔ\uF8FFÒÚÛÙıˆ˜¯˘˙˚¸˝˛ˇ");
    EXPECT_EQ(MacRomanToUtf8("plain\n\x7F"), "plain\n\x7F");
}

TEST_F(Diagnostics, StandardErrorWritesALineFeedAndABackslashEscaped) {
    ShowFatalMessage("one\ntwo\\three");
    SystemLog("four\nfive\\six");
    EXPECT_EQ(error.Text(), "fatal: one\\ntwo\\\\three\nlog: four\\nfive\\\\six\n");
    EXPECT_EQ(vmEvents.messages, Messages{"one\ntwo\\three"});
}

TEST_F(Diagnostics,
       AMessageRequestedFromAWorkerThreadAppearsOnTheMainThreadAndTheWorkerNeverResumes) {
    static std::atomic<void (*)()> queued;
    static std::atomic<bool> resumed;
    static std::thread::id mainThread;
    static bool shownOnMain;
    queued = nullptr;
    resumed = false;
    shownOnMain = false;
    mainThread = std::this_thread::get_id();
    desktop.isMainThread = [] { return std::this_thread::get_id() == mainThread; };
    desktop.queueOnMain = [](void (*work)()) { queued = work; };
    desktop.alert = [](const std::string& text) {
        vmEvents.messages.push_back(text);
        shownOnMain = std::this_thread::get_id() == mainThread;
    };
    std::thread worker([] {
        ShowFatalMessage("from a worker");
        resumed = true;
    });
    worker.detach();
    while (queued.load() == nullptr) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(vmEvents.messages.empty());
    // A box of the main thread finds the flag set and says so; its dismissal clears it.
    ShowFatalMessage("meanwhile");
    EXPECT_EQ(error.Text(), "log: smFLAG\nfatal: meanwhile\n");
    ShowFatalMessage("again");
    EXPECT_EQ(error.Text(), "log: smFLAG\nfatal: meanwhile\nfatal: again\n");
    queued.load()();
    // The buffer is shared: the last text stands in it.
    EXPECT_EQ(vmEvents.messages.size(), 3u);
    EXPECT_TRUE(shownOnMain);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(resumed);
    desktop.isMainThread = [] { return true; };
    desktop.queueOnMain = [](void (*work)()) { work(); };
}

// ---------------------------------------------------------------------------------------------
// Memory faults

TEST_F(Faults, AnAccessBeyondTheImageEndsTheHostWithThePcTraceLineAndStatus1) {
    vmFiles.contents["debug.log"] = "before\n";
    MakeImage(kBenchSize, kBenchStackLimit, kBenchStackTop);
    PaperImage before = BenchPicture();
    before.PutWords(kBenchCode, {kNop, 26 | 3u << 5 | 62u << 9, kBenchSize});
    std::memcpy(image, before.bytes.data(), kBenchSize);
    EXPECT_EQ(RunOn(Engine::Fast, before.bytes).outcome, Outcome::MemoryFault);
    EXPECT_EQ(vmEvents.messages, Messages{"Memory fault at 0x00000204. Terminating. So sorry."});
    EXPECT_EQ(vmFiles.contents["debug.log"], "PC trace: 0x00000200 0x00000204\n");
    EXPECT_EQ(error.Text(), "fatal: Memory fault at 0x00000204. Terminating. So sorry.\n");
}

TEST_F(Faults, TheTraceLineHoldsAtMostThe16NewestAddressesOldestFirst) {
    std::vector<u32> words(20, kNop);
    words.push_back(26 | 3u << 5 | 62u << 9);
    words.push_back(0xFFFFFFFF);
    const RunResult result = RunWords(words);
    EXPECT_EQ(result.outcome, Outcome::MemoryFault);
    // 21 instructions from 512 on; the newest is at 512 + 80 = 0x250, the 16th newest at 0x214.
    EXPECT_EQ(result.debugLog,
              "PC trace: 0x00000214 0x00000218 0x0000021C 0x00000220 0x00000224 0x00000228 "
              "0x0000022C 0x00000230 0x00000234 0x00000238 0x0000023C 0x00000240 0x00000244 "
              "0x00000248 0x0000024C 0x00000250\n");
}

// Where an image begins in its page depends on its size, and what lies below it on both.
TEST_F(Faults, TheTraceCanBeWrittenWhateverTheSizeOfTheImage) {
    for (u32 size = 65536; size > 4032; size -= 4032) {
        ASSERT_TRUE(AllocateImage(size));
        for (u32 i = 0; i < kPcTraceSize; ++i) {
            pcTrace[i] = {size + i};
        }
        ASSERT_EQ(pcTrace[kPcTraceSize - 1].pc, size + 1023);
    }
}

TEST_F(Faults, TheLogLineIsWrittenBeforeTheMessageAndDroppedWithoutALog) {
    static std::string logAtMessage;
    desktop.alert = [](const std::string&) { logAtMessage = vmFiles.contents["debug.log"]; };
    RunWords(LoadFrom(2, 0x10000));
    EXPECT_EQ(logAtMessage, "PC trace: 0x00000200\n");
    desktop.alert = [](const std::string& text) { vmEvents.messages.push_back(text); };
    vmFiles.refuseAll = true;
    const RunResult result = RunWords(LoadFrom(2, 0x10000));
    EXPECT_EQ(result.messages, Messages{"Memory fault at 0x00000200. Terminating. So sorry."});
    EXPECT_EQ(result.debugLog, "");
}

TEST_F(Faults, EverySizeFaultsJustBeyondTheImageAndReachesItsLastBytes) {
    for (u32 size = 0; size < 4; ++size) {
        const u32 bytes = 1u << size;
        EXPECT_EQ(RunWords(LoadFrom(size, kBenchSize - bytes)).outcome, Outcome::Stopped);
        EXPECT_EQ(RunWords(StoreTo(size, kBenchSize - bytes)).outcome, Outcome::Stopped);
        for (const u32 address : {kBenchSize - bytes + 1, kBenchSize, 0x7FFFFFFFu, 0x80000000u,
                                  0xFFFFFFFFu, 0u - bytes}) {
            EXPECT_EQ(RunWords(LoadFrom(size, address)).outcome, Outcome::MemoryFault)
                << size << " " << address;
            EXPECT_EQ(RunWords(StoreTo(size, address)).outcome, Outcome::MemoryFault)
                << size << " " << address;
        }
    }
}

TEST_F(Faults, BytesOfPaddingBehindAnImageAreNoFaultButThoseBehindThemAre) {
    // 4001 bytes, padded to 4032.
    PaperImage before = BenchPicture();
    before.bytes.resize(4001);
    EXPECT_EQ(RunWords(LoadFrom(3, 4024), before).outcome, Outcome::Stopped);
    EXPECT_EQ(RunWords(LoadFrom(3, 4025), before).outcome, Outcome::MemoryFault);
    EXPECT_EQ(RunWords(LoadFrom(0, 4031), before).outcome, Outcome::Stopped);
    EXPECT_EQ(RunWords(LoadFrom(0, 4032), before).outcome, Outcome::MemoryFault);
}

TEST_F(Faults, ARunAwayPcFaultsAtItsOwnAddress) {
    EXPECT_EQ(RunWords({44 | 0x3FFFFFu << 10}).messages,  // JMP 0xFFFFFC
              Messages{"Memory fault at 0x00FFFFFC. Terminating. So sorry."});
    // CALLR through R1 to the last word of the address space.
    PaperImage before = BenchPicture();
    before.Put(RegisterAt(1), 0xFFFFFFFC, 8);
    const RunResult result = RunWords({852 | 1u << 12}, before);
    EXPECT_EQ(result.messages, Messages{"Memory fault at 0xFFFFFFFC. Terminating. So sorry."});
    EXPECT_EQ(result.debugLog, "PC trace: 0x00000200 0xFFFFFFFC\n");
}

TEST_F(Faults, AnInstructionThatReachesBeyondTheImageFaultsAtItsAddress) {
    // A MOVE.Q with an immediate whose last extension word would lie behind the image.
    PaperImage before = BenchPicture();
    before.Put(136, kBenchSize - 8, 4);
    before.PutWords(kBenchSize - 8, {22 | 3u << 5 | 63u << 9, 5});
    const RunResult result = RunOn(Engine::Fast, before.bytes);
    EXPECT_EQ(result.messages, Messages{"Memory fault at 0x00000FF8. Terminating. So sorry."});
}

TEST_F(Faults, PushAndPopFaultWhereSpLeavesTheImage) {
    PaperImage before = BenchPicture();
    before.Put(160, 0, 4);
    EXPECT_EQ(RunWords({756}, before).outcome, Outcome::MemoryFault);  // SP - 4 wraps around
    before.Put(160, kBenchSize - 3, 4);
    EXPECT_EQ(RunWords({212 | 22u << 8 | 3u << 16}, before).outcome, Outcome::MemoryFault);
}

TEST_F(Faults, ABlockOperationThatFaultsChangesNothing) {
    PaperImage before = BenchPicture();
    before.Put(184, 100, 4);
    before.Put(1104, 100, 2);
    before.Put(144, 0xFFFFFFFF, 4);  // the stack top lets PEEKBLOCK pass
    struct Block {
        const char* name;
        std::vector<u32> words;
        u32 sp;
    };
    const Block blocks[] = {
        {"BLOCKMOVE to beyond", {21 | 92u << 9, kBenchSize - 50, 1200}, 2800},
        {"BLOCKMOVE from beyond", {21 | 92u << 9, 1200, kBenchSize - 50}, 2800},
        {"PUSHBLOCK from beyond", {21 | 121u << 9, 1104, kBenchSize - 50}, 2800},
        {"PEEKBLOCK to beyond", {21 | 125u << 9, 1104, kBenchSize - 50}, 2800},
        {"PEEKBLOCK from beyond", {21 | 125u << 9, 1104, 1200}, kBenchSize - 50},
    };
    for (const Block& block : blocks) {
        PaperImage placed = before;
        placed.Put(160, block.sp, 4);
        placed.PutWords(kBenchCode, block.words);
        for (const Engine engine :
             {Engine::Fast, Engine::Translated, Engine::Traced, Engine::Plain}) {
            const RunResult result = RunOn(engine, placed.bytes);
            EXPECT_EQ(result.outcome, Outcome::MemoryFault) << block.name;
            EXPECT_EQ(Differences(result.image, placed.bytes), "") << block.name;
        }
    }
}

TEST_F(Faults, ADebuglogStringWithoutAnEndInsideTheImageFaults) {
    PaperImage before = BenchPicture();
    before.Put(RegisterAt(15), kBenchSize - 2, 8);
    before.Put(kBenchSize - 2, 'a', 1);
    before.Put(kBenchSize - 1, 'b', 1);
    EXPECT_EQ(RunWords({20}, before).outcome, Outcome::MemoryFault);
    before.Put(kBenchSize - 1, 0, 1);
    const RunResult result = RunWords({20}, before);
    EXPECT_EQ(result.outcome, Outcome::Stopped);
    EXPECT_EQ(result.debugLog, "a");
    before.Put(RegisterAt(15), 0xFFFFFFFF, 8);
    EXPECT_EQ(RunWords({20}, before).outcome, Outcome::MemoryFault);
}

TEST_F(Faults, CheckedRangesOfServicesFaultWhenTheyLeaveTheImage) {
    MakeImage(kBenchSize, kBenchStackLimit, kBenchStackTop);
    EXPECT_EQ(CheckedRange(4000, 96), image + 4000);
    EXPECT_EQ(EndStatus([] { CheckedRange(4000, 97); }), 1);
    EXPECT_EQ(EndStatus([] { CheckedRange(0xFFFFFFFF, 1); }), 1);
    EXPECT_EQ(EndStatus([] { CheckedRange(0, u64{1} << 40); }), 1);
    EXPECT_EQ(EndStatus([] { CheckedRange(0, ~u64{0}); }), 1);
    EXPECT_EQ(EndStatus([] { CheckedRange(0xFFFFFFFF, 0); }), -1);  // nothing is touched
    Store<u8>(4095, 'x');
    EXPECT_EQ(EndStatus([] { CheckedString(4095); }), 1);
    Store<u8>(4095, 0);
    EXPECT_STREQ(CheckedString(4095), "");
    EXPECT_EQ(EndStatus([] { CheckedString(4096); }), 1);
}

TEST_F(Faults, OperandsWithoutAnEffectFaultAllTheSame) {
    // FCMP.F and FCMP.D with A or B outside, DNEG.
    for (const u32 operation : {86u, 87u}) {
        EXPECT_EQ(RunWords({25 | 3u << 5 | operation << 9, kBenchSize}).outcome,
                  Outcome::MemoryFault);
        EXPECT_EQ(RunWords({26 | 3u << 5 | operation << 9, kBenchSize}).outcome,
                  Outcome::MemoryFault);
    }
    EXPECT_EQ(RunWords({236 | 3u << 8, kBenchSize - 7}).outcome, Outcome::MemoryFault);
    EXPECT_EQ(RunWords({236 | 3u << 8, kBenchSize - 8}).outcome, Outcome::Stopped);
}

TEST_F(Faults, APopOfAByteReadsTheWholeWordAtSp) {
    PaperImage before = BenchPicture();
    before.Put(160, kBenchSize - 2, 4);
    EXPECT_EQ(RunWords({212 | 20u << 8 | 3u << 16}, before).outcome, Outcome::Stopped);
    before.Put(160, kBenchSize - 1, 4);
    EXPECT_EQ(RunWords({212 | 20u << 8 | 3u << 16}, before).outcome, Outcome::MemoryFault);
}

TEST_F(Faults, APushOfAWordReadsTheWholeExtensionWord) {
    PaperImage before = BenchPicture();
    before.Put(136, kBenchSize - 6, 4);
    before.Put(kBenchSize - 6, 116, 4);
    EXPECT_EQ(RunOn(Engine::Fast, before.bytes).outcome, Outcome::MemoryFault);
    EXPECT_EQ(RunOn(Engine::Traced, before.bytes).outcome, Outcome::MemoryFault);
}

TEST_F(Faults, ADividendOutsideTheImageFaultsBeforeTheDivisionFails) {
    // DIVS, MODS, DIVU and MODU of an absolute A by the quick 0
    for (const u32 first : {0u, 4u, 12u, 16u}) {
        for (u32 size = 0; size < 4; ++size) {
            const RunResult result = RunWords({29 | (first + size) << 9, kBenchSize});
            EXPECT_EQ(result.outcome, Outcome::MemoryFault) << first << " " << size;
        }
    }
}

TEST_F(Faults, AfterAFaultTheNextRunIsGuardedAgain) {
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(RunWords(LoadFrom(2, 0x40000000u + static_cast<u32>(i))).outcome,
                  Outcome::MemoryFault);
    }
    EXPECT_EQ(RunWords({kNop}).outcome, Outcome::Stopped);
}

// ---------------------------------------------------------------------------------------------
// Division errors

TEST_F(Faults, ADivisionByZeroEndsTheHostAtEverySize) {
    // DIVS, MODS, DIVU and MODU of R3 by R5
    for (const u32 first : {0u, 4u, 12u, 16u}) {
        for (u32 size = 0; size < 4; ++size) {
            PaperImage before = BenchPicture();
            before.Put(RegisterAt(5), size == 3 ? 0 : u64{1} << (8u << size), 8);
            before.Put(192, 5, 1);
            before.PutWords(kBenchCode, {kNop, 28 | 3u << 5 | (first + size) << 9 | 5u << 16});
            PaperImage after = before;
            after.Put(136, 516, 4);
            for (const Engine engine :
                 {Engine::Fast, Engine::Translated, Engine::Traced, Engine::Plain}) {
                const RunResult result = RunOn(engine, before.bytes);
                EXPECT_EQ(result.outcome, Outcome::DivisionError) << first << " " << size;
                EXPECT_EQ(result.messages,
                          Messages{"Division error at 0x00000204. Terminating. So sorry."});
                EXPECT_EQ(result.debugLog, "PC trace: 0x00000200 0x00000204\n");
                EXPECT_EQ(Differences(result.image, after.bytes), "");
            }
        }
    }
}

TEST_F(Faults, TheMostNegativeValueByMinus1EndsTheHostAtEverySizeWhenSigned) {
    for (u32 size = 0; size < 4; ++size) {
        for (const u32 first : {0u, 4u, 12u, 16u}) {
            PaperImage before = BenchPicture();
            before.Put(RegisterAt(3), u64{1} << ((8u << size) - 1), 8);
            before.Put(RegisterAt(5), ~u64{0}, 8);
            const u32 word = 28 | 3u << 5 | (first + size) << 9 | 5u << 16;
            const RunResult result = RunWords({word}, before);
            EXPECT_EQ(result.outcome, first < 8 ? Outcome::DivisionError : Outcome::Stopped)
                << first << " " << size;
        }
    }
}

TEST_F(Faults, ADivisionByAQuickZeroHasFilledTheSlot) {
    PaperImage before = BenchPicture();
    before.PutWords(kBenchCode, {30 | 3u << 5 | 2u << 9});  // DIVS.L R3, #0
    PaperImage after = before;
    after.Put(256, 0, 4);
    for (const Engine engine : {Engine::Fast, Engine::Translated, Engine::Plain}) {
        const RunResult result = RunOn(engine, before.bytes);
        EXPECT_EQ(result.outcome, Outcome::DivisionError);
        EXPECT_EQ(Differences(result.image, after.bytes), "");
    }
}

}  // namespace moxi
