// What translated code has to do beyond what the comparison of the executors shows
// (tests/vm/random_programs_test.cpp runs all of its programs translated, too).

#include "translate/translator.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>

#include "tests/support/vm_fixture.h"
#include "tools/assembler.h"
#include "vm/loader.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"
#include "vm/threaded.h"

namespace {

class Translator : public VmTest {
  protected:
    void SetUp() override {
        VmTest::SetUp();
        if (!kThreaded) GTEST_SKIP() << "this build interprets alone";
        moxi::translatorCounts = {};
    }
    void TearDown() override {
        moxi::StopTranslator();
        VmTest::TearDown();
    }

    // Runs a message of a module made of `source`; gives back R14.
    static u32 RunSource(const std::string& source, u32 p1,
                         const moxi::TranslatorOptions& options) {
        Load(source, options);
        MXmsg(1, p1, 0, 0);
        return ::Load<u32>(kHeaderR14);
    }

    static void Load(const std::string& source, const moxi::TranslatorOptions& options) {
        const AssembleResult assembled = Assemble(source, "test.mxs");
        ASSERT_TRUE(assembled.ok) << FormatErrors(assembled);
        ResetMachine();
        ResetRunCycle();
        vmFiles.contents["MAIN.MX"].assign(assembled.bytes.begin(), assembled.bytes.end());
        ASSERT_TRUE(LoadModule());
        ASSERT_TRUE(moxi::StartTranslator(options));
    }
};

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
        if (!translated) moxi::StopTranslator();
        EXPECT_THROW(MXmsg(1, 0, 0, 0), ProcessEnded);
        rounds[translated] = ::Load<u32>(RegisterAddress(2));
        pcs[translated] = ::Load<u32>(kHeaderPC);
    }
    EXPECT_EQ(rounds[1], rounds[0]);
    EXPECT_EQ(pcs[1], pcs[0]);
}
