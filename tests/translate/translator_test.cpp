// What translated code has to do beyond what the comparison of the executors shows
// (tests/vm/random_programs_test.cpp runs all of its programs translated, too).

#include "translate/translator.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <atomic>
#include <csignal>
#include <ctime>
#include <fstream>
#include <string>
#include <thread>

#include "tests/translate/translator_fixture.h"
#include "translate/region.h"
#include "vm/guard.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"
#include "vm/slots.h"

namespace moxi {

namespace {

// The sum of 1 to p1.
const std::string kSum =
    "        .stack 4096\n"
    "start:  LINK 0, 0\n"
    "        MOVEZ.L R1, [FP+16]\n"
    "        MOVE.L R14, #0\n"
    "@loop:  ADD.L R14, R1\n"
    "        SUB.L R1, #1\n"
    "        BNE @loop\n"
    "        RETURN 0\n";

u32 servicesRun = 0;

}  // namespace

TEST_F(Translator, CodeThatRunsOftenIsTranslatedAndGivesTheSame) {
    // 1 + 2 + ... + 100,000 = 5,000,050,000, of which 32 bits are kept.
    EXPECT_EQ(RunSource(kSum, 100000, {}), 705082704u);
    EXPECT_GE(moxi::translatorCounts.regions, 1u);
    EXPECT_GE(moxi::translatorCounts.entries, 1u);
}

TEST_F(Translator, CodeThatRunsOnceIsNot) {
    EXPECT_EQ(RunSource(kSum, 10, {}), 55u);
    EXPECT_EQ(moxi::translatorCounts.regions, 0u);
}

TEST_F(Translator, CodeThatChangesItselfIsSeenAsItIsNow) {
    // Each round adds the constant of the instruction at @add, and then raises that constant by
    // one: 1 + 2 + ... + 1,000.
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R14, #0\n"
        "        MOVE.L R1, #1000\n"
        "@loop:  ADD.L R14, #0x12345\n"
        "        ADD.L [@loop + 4], #1\n"
        "        SUB.L R1, #1\n"
        "        BNE @loop\n"
        "        RETURN 0\n";
    for (const moxi::TranslatorOptions& options :
         {moxi::TranslatorOptions{}, moxi::TranslatorOptions{0, 1, 16}}) {
        // 1,000 times 0x12345, and 0 + 1 + ... + 999.
        EXPECT_EQ(RunSource(source, 0, options), 1000 * 0x12345u + 499500u);
    }
}

TEST_F(Translator, UnsignedNumbersOfSixtyFourBitsBecomeFloatsRoundedToEven) {
    // Beyond 2^63 a DOUBLE counts by 2,048 and a FLOAT by 2^40: halves go to the even one.
    const struct {
        const char* instruction;
        u64 from;
        u64 to;
    } cases[] = {
        {"UTOD.Q", 0x0000000000000000, 0x0000000000000000},
        {"UTOD.Q", 0x7FFFFFFFFFFFFFFF, 0x43E0000000000000},
        {"UTOD.Q", 0x8000000000000400, 0x43E0000000000000},
        {"UTOD.Q", 0x8000000000000401, 0x43E0000000000001},
        {"UTOD.Q", 0x8000000000000C00, 0x43E0000000000002},
        {"UTOD.Q", 0xFFFFFFFFFFFFFFFF, 0x43F0000000000000},
        {"UTOF.Q", 0x8000008000000000, 0x5F000000},
        {"UTOF.Q", 0x8000008000000001, 0x5F000001},
        {"UTOF.Q", 0xFFFFFFFFFFFFFFFF, 0x5F800000},
    };
    for (const auto& each : cases) {
        // In a register and in memory; R14 counts the rounds that give what they should.
        const std::string wanted = std::to_string(each.to);
        const std::string source =
            "        .stack 4096\n"
            "start:  LINK 0, 0\n"
            "        MOVE.L R14, #0\n"
            "        MOVE.L R1, #100\n"
            "@loop:  MOVE.Q R2, #" +
            std::to_string(each.from) +
            "\n"
            "        MOVE.Q [cell], R2\n"
            "        " +
            each.instruction +
            " R2\n"
            "        " +
            each.instruction +
            " [cell]\n"
            "        CMP.Q R2, #" +
            wanted +
            "\n"
            "        BNE @next\n"
            "        CMP.Q R2, [cell]\n"
            "        BNE @next\n"
            "        ADD.L R14, #1\n"
            "@next:  SUB.L R1, #1\n"
            "        BNE @loop\n"
            "        RETURN 0\n"
            "        .data\n"
            "cell:   .quad 0\n";
        const u64 before = translatorCounts.entries;
        EXPECT_EQ(RunSource(source, 0, kAll), 100u) << each.instruction << " " << each.from;
        EXPECT_LE(translatorCounts.entries - before, 3u)
            << each.instruction << ": it was interpreted";
    }
}

TEST_F(Translator, APageIsNeverWritableAndExecutable) {
    RunSource(kSum, 100000, {});
    std::ifstream maps("/proc/self/maps");
    std::string line;
    u32 executable = 0;
    while (std::getline(maps, line)) {
        const std::string rights = line.substr(line.find(' ') + 1, 4);
        EXPECT_FALSE(rights[1] == 'w' && rights[2] == 'x') << line;
        executable += rights[2] == 'x' ? 1 : 0;
    }
    EXPECT_GT(executable, 0u);
}

TEST_F(Translator, TheNextImageForgetsTheCodeOfTheLast) {
    EXPECT_EQ(RunSource(kSum, 100000, {}), 705082704u);
    std::string other = kSum;
    other.replace(other.find("ADD.L R14, R1"), 13, "SUB.L R14, R1");
    EXPECT_EQ(RunSource(other, 100000, {}), 0u - 705082704u);
}

TEST_F(Translator, AFaultNamesTheInstructionAndLeavesTheRegistersAsTheyWere) {
    // Reads upwards, 4,096 bytes at a time, until the image ends.
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R1, #512\n"
        "        MOVE.L R2, #0\n"
        "@loop:  ADD.L R2, #1\n"
        "        ADD.L R1, #4096\n"
        "@read:  MOVE.L R3, [R1]\n"
        "        JMP @loop\n";
    u32 rounds[2] = {};
    u32 pcs[2] = {};
    for (const bool translated : {false, true}) {
        Load(source, translated ? moxi::TranslatorOptions{0, 1, 16} : moxi::TranslatorOptions{});
        if (!translated) {
            moxi::StopTranslator();
        }
        EXPECT_THROW(MXmsg(1, 0, 0, 0), ProcessEnded);
        rounds[translated] = moxi::Load<u32>(RegisterAddress(2));
        pcs[translated] = moxi::Load<u32>(kHeaderPC);
    }
    EXPECT_EQ(rounds[1], rounds[0]);
    EXPECT_EQ(pcs[1], pcs[0]);
}

TEST_F(Translator, AFaultsTraceNamesTheSixteenNewestInstructionsAcrossBlocksAndCalls) {
    // From 0x200 on: two rounds of seven instructions, of which a call takes three, then a read of
    // what no image has.
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"        // 0x200
        "        MOVE.L R1, #2\n"    // 0x204
        "@loop:  CALL @leaf\n"       // 0x208, 8 bytes
        "        ADD.L R2, #1\n"     // 0x210
        "        SUB.L R1, #1\n"     // 0x214
        "        BNE @loop\n"        // 0x218
        "        MOVE.L R3, #-4\n"   // 0x21C
        "        MOVE.L R4, [R3]\n"  // 0x220
        "@leaf:  LINK 0, 0\n"        // 0x228
        "        RETURN 0\n";        // 0x22C
    Load(source, kAll);
    EXPECT_THROW(MXmsg(1, 0, 0, 0), ProcessEnded);
    EXPECT_EQ(vmFiles.contents["debug.log"],
              "PC trace: 0x00000200 0x00000204"
              " 0x00000208 0x00000228 0x0000022C 0x00000210 0x00000214 0x00000218"
              " 0x00000208 0x00000228 0x0000022C 0x00000210 0x00000214 0x00000218"
              " 0x0000021C 0x00000220\n");
    EXPECT_EQ(moxi::Load<u32>(kHeaderPC), 0x220u);
    EXPECT_EQ(moxi::Load<u32>(RegisterAddress(2)), 2u);
    EXPECT_EQ(moxi::Load<u32>(RegisterAddress(3)), 0xFFFFFFFCu);
}

TEST_F(Translator, WhatAServiceWritesIntoRegistersAndCodeHoldsAtOnce) {
    // Each round the service doubles R2 and raises the constant of @add, which is behind it, by 1.
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R14, #0\n"
        "        MOVE.L R2, #1\n"
        "        MOVE.L R1, #10\n"
        "        MOVE.L R3, #@add\n"
        "@loop:  SYS\n"
        "@add:   ADD.L R14, #0x10000\n"
        "        SUB.L R1, #1\n"
        "        BNE @loop\n"
        "        ADD.L R14, R2\n"
        "        RETURN 0\n";
    Load(source, kAll);
    vmSlots.sysDispatch = [] {
        Store<u32>(RegisterAddress(2), 2 * moxi::Load<u32>(RegisterAddress(2)));
        const u32 constant = moxi::Load<u32>(RegisterAddress(3)) + 4;
        Store<u32>(constant, moxi::Load<u32>(constant) + 1);
    };
    MXmsg(1, 0, 0, 0);
    // 10 times 0x10000, 1 + 2 + ... + 10, and 2 to the power of 10.
    EXPECT_EQ(moxi::Load<u32>(kHeaderR14), 0xA0000u + 55 + 1024);
    EXPECT_GE(moxi::translatorCounts.changes, 1u);
}

TEST_F(Translator, ACalledFunctionMayGiveItsCallerAnotherFrame) {
    // @down makes the caller's FP 4 less, so that the local at -4 is the one that was at -8; @up
    // makes it what it was. Three rounds of 22 and 11.
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 16, 0\n"
        "        MOVE.L R14, #0\n"
        "        MOVE.L R1, #3\n"
        "@loop:  MOVE.L [FP-4], #11\n"
        "        MOVE.L [FP-8], #22\n"
        "        CALL @down\n"
        "        ADD.L R14, [FP-4]\n"
        "        CALL @up\n"
        "        ADD.L R14, [FP-4]\n"
        "        SUB.L R1, #1\n"
        "        BNE @loop\n"
        "        RETURN 0\n"
        "@down:  LINK 0, 0\n"
        "        SUB.L [FP+0], #4\n"
        "        RETURN 0\n"
        "@up:    LINK 0, 0\n"
        "        ADD.L [FP+0], #4\n"
        "        RETURN 0\n";
    EXPECT_EQ(RunSource(source, 0, kAll), 99u);
}

TEST_F(Translator, ARunInsideAServiceLeavesTheOuterOneAsItWas) {
    // Message 1 asks for the service ten times and sums what message 2 gives: 1 + ... + R1.
    const std::string source =
        "        .stack 8192\n"
        "start:  LINK 0, 2\n"
        "        MOVE.L R14, #0\n"
        "        CMP.L [FP+12], #2\n"
        "        BEQ @inner\n"
        "        MOVE.L R12, #10\n"
        "        MOVE.L R13, #0\n"
        "@loop:  SYS\n"
        "        ADD.L R13, R14\n"
        "        SUB.L R12, #1\n"
        "        BNE @loop\n"
        "        MOVE.L R14, R13\n"
        "        RETURN 2\n"
        "@inner: MOVE.L R12, #100\n"
        "@sum:   ADD.L R14, R12\n"
        "        SUB.L R12, #1\n"
        "        BNE @sum\n"
        "        RETURN 2\n";
    for (const moxi::TranslatorOptions& options : {kAll, moxi::TranslatorOptions{}}) {
        Load(source, options);
        servicesRun = 0;
        vmSlots.sysDispatch = [] {
            ++servicesRun;
            const u32 pc = moxi::Load<u32>(kHeaderPC);
            const u32 sp = moxi::Load<u32>(kHeaderSP);
            const u32 fp = moxi::Load<u32>(kHeaderFP);
            MXmsg(2, 0, 0, 0);
            Store<u32>(kHeaderPC, pc);
            Store<u32>(kHeaderSP, sp);
            Store<u32>(kHeaderFP, fp);
        };
        const StandardError quiet(true);
        MXmsg(1, 0, 0, 0);
        EXPECT_EQ(servicesRun, 10u);
        EXPECT_EQ(moxi::Load<u32>(kHeaderR14), 10 * 5050u);
    }
}

TEST_F(Translator, ARunThatDoesNotEndShowsItsRegistersToAnotherThread) {
    // Counts in two registers until the other thread writes into the stack's lowest bytes.
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R1, #0\n"
        "        MOVE.L R2, #0\n"
        "        MOVE.L R3, [0x98]\n"
        "@loop:  ADD.L R1, #1\n"
        "        ADD.L R2, #1\n"
        "        TST.L [R3]\n"
        "        BEQ @loop\n"
        "        RETURN 0\n";
    Load(source, kAll);
    const u32 limit = moxi::Load<u32>(kHeaderStackLimit);
    u32 first = 0;
    u32 second = 0;
    u32 pc = 0;
    std::thread other([&] {
        while (first == 0) {
            moxi::SettleTranslatedRun();
            first = moxi::Load<u32>(RegisterAddress(1));
            second = moxi::Load<u32>(RegisterAddress(2));
            pc = moxi::Load<u32>(kHeaderPC);
        }
        Store<u32>(limit, 1);
    });
    MXmsg(1, 0, 0, 0);
    other.join();
    EXPECT_LE(first - second, 1u);
    EXPECT_GE(pc, 0x200u);
    EXPECT_LE(pc, 0x230u);
}

// The handler stays until it has been interrupted eight times, or each wait for that has ended by
// itself.
TEST_F(Translator, ARunWhoseThreadIsInAnotherSignalsHandlerShowsItsRegistersToo) {
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R1, #0\n"
        "        MOVE.L R3, [0x98]\n"
        "@loop:  ADD.L R1, #1\n"
        "        TST.L [R3]\n"
        "        BEQ @loop\n"
        "        RETURN 0\n";
    Load(source, kAll);
    const u32 limit = moxi::Load<u32>(kHeaderStackLimit);
    static std::atomic<bool> isInHandler;
    isInHandler = false;
    const auto formerHandler = std::signal(SIGUSR1, [](int) {
        isInHandler = true;
        constexpr timespec kLongest = {0, 50'000'000};
        for (int i = 0; i < 8; ++i) {
            nanosleep(&kLongest, nullptr);
        }
    });
    const pthread_t module = pthread_self();
    u32 count = 0;
    std::thread other([&] {
        const auto look = [] {
            moxi::SettleTranslatedRun();
            return moxi::Load<u32>(RegisterAddress(1));
        };
        while (look() == 0) {
        }
        Store<u32>(RegisterAddress(1), 0);
        pthread_kill(module, SIGUSR1);
        while (!isInHandler) {
            std::this_thread::yield();
        }
        count = look();
        Store<u32>(limit, 1);
    });
    MXmsg(1, 0, 0, 0);
    other.join();
    std::signal(SIGUSR1, formerHandler);
    EXPECT_GT(count, 0u);
}

TEST_F(Translator, CodeThatChangesAllTheTimeIsSoonLeftToTheInterpreter) {
    const std::string source =
        "        .stack 4096\n"
        "start:  LINK 0, 0\n"
        "        MOVE.L R14, #0\n"
        "        MOVE.L R1, #1000000\n"
        "@loop:  ADD.L R14, #0x12345\n"
        "        ADD.L [@loop + 4], #1\n"
        "        SUB.L R1, #1\n"
        "        BNE @loop\n"
        "        RETURN 0\n";
    // 1,000,000 times 0x12345, and 0 + 1 + ... + 999,999; of it 32 bits are kept.
    EXPECT_EQ(RunSource(source, 0, {}), static_cast<u32>(1000000 * u64{0x12345} + 499999500000));
    EXPECT_LE(moxi::translatorCounts.regions, 20u);
}

TEST_F(Translator, WhatIsTranslatedAlreadyIsNotTranslatedOnceMoreWithAllThatFollows) {
    // A jump to 300 instructions that do nothing, and a RETURN.
    MakeImage(0x10000, 0x8000, 0xF000);
    Store<u32>(0x200, 44 | 0x400 / 4 << 10);
    for (u32 i = 0; i < 300; ++i) {
        Store<u32>(0x400 + 4 * i, static_cast<u32>(Single::Nop));
    }
    Store<u32>(0x400 + 4 * 300, static_cast<u32>(Single::Return));
    EXPECT_EQ(FindRegion(0x200).instructions.size(), 302u);
    const Region region = FindRegion(0x200, [](u32 pc) { return pc == 0x400; });
    EXPECT_EQ(region.instructions.size(), 1u + kMostRepeated);
    EXPECT_EQ(BlockAt(region, 0x400), 1);
}

TEST_F(Translator, CodeBeyondSixteenMegabytesIsInterpreted) {
    MakeImage(0x1800000, 0x1700000, 0x1780000);
    Store<u32>(0x200, static_cast<u32>(Single::Call));
    Store<u32>(0x204, 0x1400000);
    Store<u32>(0x1400000, static_cast<u32>(Single::Nop));
    const moxi::Region region = moxi::FindRegion(0x200);
    ASSERT_FALSE(region.instructions.empty());
    EXPECT_LT(region.instructions.back().pc, 0x1000000u);
    EXPECT_TRUE(moxi::FindRegion(0x1400000).instructions.empty());
}

}  // namespace moxi
