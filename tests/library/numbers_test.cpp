// The library's numbers against values that another program has worked out.

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/headless_run.h"

namespace moxi {

namespace {

// Runs `code` in a module that includes the library; `room` is for its results.
HeadlessResult RunCode(const std::string& code, const std::string& after = "") {
    HeadlessRun run;
    run.source =
        "        .stack 16384\n"
        "        .heap 65536\n"
        "        .include \"moxi.inc\"\n"
        "start:  LINK 0, 0\n"
        "        CMP.L [FP+12], #MSG_START1\n"
        "        BEQ code\n"
        "        RETURN 0\n"
        "        .include \"moxi_code.inc\"\n"
        "        .bss\n"
        "        .align 4\n"
        "room:   .space 8192\n"
        "        .code\n"
        "code:\n" +
        code + "        STOP\n" + after;
    HeadlessResult result = RunHeadless(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, std::vector<std::string>{});
    return result;
}

i32 At(const HeadlessResult& result, u32 index) {
    return static_cast<i32>(result.Long(result.Label("room") + index * 4));
}

// Stores the results of a row of macro calls.
std::string Stored(const std::vector<std::string>& calls) {
    std::string code;
    for (size_t i = 0; i < calls.size(); ++i) {
        code +=
            "        " + calls[i] + "\n        MOVE.L [room+" + std::to_string(i * 4) + "], R14\n";
    }
    return code;
}

void ExpectResults(const std::vector<std::pair<std::string, i64>>& wanted) {
    std::vector<std::string> calls;
    for (const auto& [call, value] : wanted) {
        calls.push_back(call);
    }
    const HeadlessResult result = RunCode(Stored(calls));
    for (u32 i = 0; i < wanted.size(); ++i) {
        EXPECT_EQ(At(result, i), static_cast<i32>(wanted[i].second)) << wanted[i].first;
    }
}

TEST(LibraryNumbers, AProductOfFixedPointIsRoundedDown) {
    ExpectResults({{"FIXED_MULTIPLY #3 << 16, #5 << 16", 15 << 16},
                   {"FIXED_MULTIPLY #0x18000, #0x18000", 0x24000},
                   {"FIXED_MULTIPLY #-0x18000, #0x18000", -0x24000},
                   {"FIXED_MULTIPLY #1, #1", 0},
                   {"FIXED_MULTIPLY #-1, #1", -1},
                   // 32767.99998 * 1, and 181 * 181 = 32761
                   {"FIXED_MULTIPLY #0x7FFFFFFF, #ONE", 0x7FFFFFFF},
                   {"FIXED_MULTIPLY #181 << 16, #181 << 16", 0x7FF90000}});
}

TEST(LibraryNumbers, AQuotientOfFixedPointIsRoundedTowardsZero) {
    ExpectResults({{"FIXED_DIVIDE #15 << 16, #5 << 16", 3 << 16},
                   {"FIXED_DIVIDE #ONE, #3 << 16", 21845},
                   {"FIXED_DIVIDE #-ONE, #3 << 16", -21845},
                   {"FIXED_DIVIDE #0x7FFFFFFF, #ONE", 0x7FFFFFFF},
                   {"FIXED_DIVIDE #20000 << 16, #-20000 << 16", -0x10000}});
}

TEST(LibraryNumbers, TheArgumentsOfFixedPointMayBeTheRegistersThatAreLost) {
    const HeadlessResult result = RunCode(
        "        MOVE.L R14, #3 << 16\n        MOVE.L R15, #2 << 16\n"
        "        FIXED_DIVIDE R14, R15\n        MOVE.L [room], R14\n"
        "        MOVE.L R14, #3 << 16\n        MOVE.L R15, #2 << 16\n"
        "        FIXED_DIVIDE R15, R14\n        MOVE.L [room+4], R14\n"
        "        MOVE.L R14, #3 << 16\n        MOVE.L R15, #2 << 16\n"
        "        FIXED_MULTIPLY R15, R14\n        MOVE.L [room+8], R14\n"
        "        MOVE.L R14, #3\n        MOVE.L R15, #4\n"
        "        DISTANCE R15, R14\n        MOVE.L [room+12], R14\n");
    EXPECT_EQ(At(result, 0), 0x18000);
    EXPECT_EQ(At(result, 1), 43690);
    EXPECT_EQ(At(result, 2), 6 << 16);
    EXPECT_EQ(At(result, 3), 5);
}

TEST(LibraryNumbers, SinesAreThoseOfTheMathematicalLibrary) {
    const HeadlessResult result = RunCode(
        "        MOVE.L R6, #-256\n"
        "        MOVE.L R7, #.I room\n"
        "@turn:  SINE R6\n        MOVE.L [R7], R14\n"
        "        COSINE R6\n        MOVE.L [R7+4], R14\n"
        "        ADD.L R7, #8\n        ADD.L R6, #1\n"
        "        CMP.L R6, #512\n        BLT @turn\n");
    for (u32 i = 0; i < 768; ++i) {
        const double angle = (static_cast<double>(i) - 256) * 3.14159265358979323846 / 128;
        ASSERT_EQ(At(result, i * 2), std::lround(65536 * std::sin(angle))) << i;
        ASSERT_EQ(At(result, i * 2 + 1), std::lround(65536 * std::cos(angle))) << i;
    }
}

TEST(LibraryNumbers, RootsAreRoundedDown) {
    ExpectResults({{"SQUARE_ROOT #0", 0},
                   {"SQUARE_ROOT #1", 1},
                   {"SQUARE_ROOT #3", 1},
                   {"SQUARE_ROOT #4", 2},
                   {"SQUARE_ROOT #15", 3},
                   {"SQUARE_ROOT #16", 4},
                   {"SQUARE_ROOT #0x7FFFFFFF", 46340},
                   {"SQUARE_ROOT #0xFFFFFFFF", 65535},
                   {"SQUARE_ROOT #0xFFFE0001", 65535},
                   {"SQUARE_ROOT #0xFFFE0000", 65534}});
}

TEST(LibraryNumbers, DistancesAreExactAndNearOnesAreNear) {
    ExpectResults({{"DISTANCE #0, #0", 0},
                   {"DISTANCE #3, #-4", 5},
                   {"DISTANCE #-1000000000, #1000000000", 1414213562},
                   {"DISTANCE #1, #1", 1},
                   {"NEAR_DISTANCE #0, #0", 0},
                   {"NEAR_DISTANCE #-80, #0", 80},
                   {"NEAR_DISTANCE #30, #-80", 91},
                   {"NEAR_DISTANCE #80, #80", 110}});
}

TEST(LibraryNumbers, ComparingMacrosKeepWhatIsInRange) {
    ExpectResults(
        {{"MOVE.L R14, #5\n MIN R14, #5", 5},
         {"MOVE.L R14, #6\n MIN R14, #5", 5},
         {"MOVE.L R14, #-6\n MIN R14, #5", -6},
         {"MOVE.L R14, #-6\n MAX R14, #5", 5},
         {"MOVE.L R14, #1000\n MAX R14, #5", 1000},
         {"MOVE.L R14, #-11\n CLAMP R14, #-10, #10", -10},
         {"MOVE.L R14, #-10\n CLAMP R14, #-10, #10", -10},
         {"MOVE.L R14, #11\n CLAMP R14, #-10, #10", 10},
         {"MOVE.L R14, #0\n ABS R14", 0},
         {"MOVE.L R14, #-70000\n ABS R14", 70000},
         {"MOVE.L [room+4000], #9\n MOVE.L R6, #4\n MIN [room+4000], R6\n MOVE.L R14, [room+4000]",
          4}});
}

// The numbers of the generator, from a program of its own that keeps 32 bits of each step.
TEST(LibraryNumbers, RandomNumbersAreThoseOfTheirSeed) {
    const HeadlessResult result =
        RunCode(Stored({"RANDOM", "RANDOM", "RANDOM_SEED #1\n RANDOM", "RANDOM", "RANDOM",
                        "RANDOM_SEED #0\n RANDOM", "RANDOM_SEED #-1\n RANDOM"}));
    EXPECT_EQ(At(result, 0), 723471715);
    EXPECT_EQ(static_cast<u32>(At(result, 1)), 2497366906U);
    EXPECT_EQ(At(result, 2), 270369);
    EXPECT_EQ(At(result, 3), 67634689);
    EXPECT_EQ(static_cast<u32>(At(result, 4)), 2647435461U);
    EXPECT_EQ(At(result, 5), 723471715) << "0 stands for the seed of the start";
    EXPECT_EQ(At(result, 6), 253983);
}

TEST(LibraryNumbers, RandomNumbersFillTheirRangeEvenly) {
    const HeadlessResult result = RunCode(
        "        MOVE.L R6, #60000\n"
        "@turn:  RANDOM_RANGE #-3, #2\n"
        "        LSL.L R14, #2\n"
        "        ADD.L [R14+room+12], #1\n"
        "        SUB.L R6, #1\n"
        "        BGT @turn\n"
        "        MOVE.L R6, #1000\n"
        "@below: RANDOM_BELOW #1\n"
        "        ADD.L [room+40], R14\n"
        "        SUB.L R6, #1\n"
        "        BGT @below\n");
    i32 all = 0;
    for (u32 i = 0; i < 6; ++i) {
        // Ten times the deviation to be expected, 91, off the mean.
        EXPECT_GT(At(result, i), 9000) << i;
        EXPECT_LT(At(result, i), 11000) << i;
        all += At(result, i);
    }
    EXPECT_EQ(all, 60000);
    EXPECT_EQ(At(result, 6), 0);
    EXPECT_EQ(At(result, 10), 0) << "the only number below 1";
}

}  // namespace

}  // namespace moxi
