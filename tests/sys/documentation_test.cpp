// The examples of docs/system-services.md make one program, in their order. It must assemble, run,
// and leave what the text says.

#include <gtest/gtest.h>

#include "tests/support/headless_run.h"

namespace moxi {

namespace {

const std::string kPage = MOXI_SOURCE_DIR "/docs/system-services.md";

TEST(Documentation, EveryServiceOfTheseGroupsHasAnExample) {
    std::string all;
    for (const std::string& example : ExamplesOf(kPage)) {
        all += example;
    }
    const std::pair<u32, u32> ranges[] = {{0x0000, 0x000F}, {0x0200, 0x0202}, {0x0300, 0x0305},
                                          {0x030A, 0x030E}, {0x0800, 0x0810}, {0x0900, 0x0904}};
    for (const auto& [first, last] : ranges) {
        for (u32 command = first; command <= last; ++command) {
            char text[32];
            std::snprintf(text, sizeof text, "SERVICE 0x%04X,", command);
            EXPECT_NE(all.find(text), std::string::npos) << text;
        }
    }
}

TEST(Documentation, TheExamplesDoWhatTheTextSays) {
    HeadlessRun run;
    run.source = ProgramOfExamples(ExamplesOf(kPage));
    const HeadlessResult result = RunHeadless(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.Fatals(), std::vector<std::string>{});
    EXPECT_EQ(result.Logs(), std::vector<std::string>{"SCORE: 001234 POINTS"});
    EXPECT_EQ(result.data.size(), 1u);
    EXPECT_EQ(result.data.at("OPTIONS.INI").substr(11), "=Options]\nVolume= 7\nPlayers= \"Ann\"\n");
    // The last result of each example, from the second block on (the first is the frame).
    const u32 room = result.Label("room") + 4;
    const auto at = [&](u32 example) { return result.Long(room + 4 * example); };
    EXPECT_EQ(at(0), 1u) << "end of file";
    EXPECT_EQ(at(1), 12u) << "base64";
    EXPECT_GT(at(2), 1700000000u) << "time";
    EXPECT_EQ(at(3), 0xFFFFFFFFu) << "no more names";
    EXPECT_EQ(at(8), 6u) << "formatted append";
    EXPECT_GT(static_cast<i32>(at(9)), 0) << "compare strings";
    EXPECT_LT(static_cast<i32>(at(11)), 0) << "compare bytes";
    EXPECT_EQ(at(12), 1u) << "save";
    EXPECT_EQ(at(13), 1u) << "at end of line";
    EXPECT_EQ(at(14), 0u) << "next section name";
    EXPECT_EQ(at(15), 1u) << "delete key";
    EXPECT_EQ(result.LongAt("number"), 7u) << "read number";
}

}  // namespace

}  // namespace moxi
