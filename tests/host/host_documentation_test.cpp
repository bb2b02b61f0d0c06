// The examples of docs/services-host.md make one program, together with the frame that
// docs/system-services.md gives. It must assemble, run, and leave what the text says.
// docs/messages.md must have every message.

#include <gtest/gtest.h>

#include "host/host_group.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace {

using Strings = std::vector<std::string>;

const std::string kDocs = MOXI_SOURCE_DIR "/docs/";

TEST(HostDocumentation, EveryServiceIsListedAndHasAnExample) {
    const std::string page = ReadTextFile(kDocs + "services-host.md");
    std::string all;
    for (const std::string& example : ExamplesOf(kDocs + "services-host.md")) {
        all += example;
    }
    for (u32 command = 0x0700; command <= 0x0715; ++command) {
        char text[32];
        std::snprintf(text, sizeof text, "| `0x%04X`", command);
        EXPECT_NE(page.find(text), std::string::npos) << text;
        if (command == 0x0707) {
            continue;  // does nothing
        }
        std::snprintf(text, sizeof text, "SERVICE 0x%04X,", command);
        EXPECT_NE(all.find(text), std::string::npos) << text;
    }
}

TEST(HostDocumentation, TheExamplesDoWhatTheTextSays) {
    HeadlessRun run;
    run.options = {"--desktop", "1280x800,640x1000"};
    run.source = ExamplesOf(kDocs + "system-services.md").front();
    run.source += ProgramOfExamples(ExamplesOf(kDocs + "services-host.md"));
    const HeadlessResult result = RunHeadless(run);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.lines, (Strings{"fatal: The cellar is locked.",
                                     "log: OpenURL https://example.org/village"}));
    const auto words = [&](const char* name, u32 count) {
        std::vector<u32> list;
        for (u32 i = 0; i < count; ++i) {
            list.push_back(result.Long(result.Label(name) + 4 * i));
        }
        return list;
    };
    EXPECT_EQ(result.Long(result.Label("room")), 2u) << "line end";
    EXPECT_EQ(result.TextAt("version").substr(0, 23),
              "MOXI 6.2 - Mac OS X " + result.TextAt("version").substr(20, 3));
    EXPECT_EQ(result.TextAt("command"), "Cmd");
    const std::string home = result.TextAt("home");
    ASSERT_GT(home.size(), 5u);
    EXPECT_EQ(result.TextAt("path"), home.substr(0, home.size() - 4) + "data/");
    EXPECT_EQ(result.TextAt("buffer"), "level 7:");
    EXPECT_EQ(words("frame", 5), (std::vector<u32>{200, 150, 800, 500, 0}));
    EXPECT_EQ(words("sizes", 6), (std::vector<u32>{1280, 800, 800, 500, 1920, 1000}));
    EXPECT_EQ(words("ahead", 4), (std::vector<u32>{0, 0, 0, 0}));
    EXPECT_EQ(words("latest", 4), (std::vector<u32>{0, 0, 0, 0}));
}

TEST(HostDocumentation, TheVersionOfTheTextIsRight) {
    const std::string page = ReadTextFile(kDocs + "services-host.md");
    u32 packed = 0;
    EXPECT_NE(page.find("`" + VersionText("12.6.1", packed) + "`"), std::string::npos);
    EXPECT_EQ(packed, 0x060C0001u);
}

TEST(HostDocumentation, EveryMessageHasItsRowAndItsSection) {
    const std::string page = ReadTextFile(kDocs + "messages.md");
    const std::pair<u32, const char*> messages[] = {
        {1, "MSG_START1"},   {2, "MSG_START2"},    {3, "MSG_CLOSE"}, {4, "MSG_END"},
        {7, "MSG_MINIMIZE"}, {8, "MSG_MOVE"},      {9, "MSG_SIZE"},  {10, "MSG_MUSICDONE"},
        {11, "MSG_TICK"},    {12, "MSG_DOWN"},     {13, "MSG_UP"},   {14, "MSG_CHAR"},
        {15, "MSG_POINTER"}, {16, "MSG_PRESENTED"}};
    for (const auto& [command, name] : messages) {
        const std::string row = "| " + std::to_string(command) + " | `" + name + "` |";
        EXPECT_NE(page.find(row), std::string::npos) << row;
    }
}

}  // namespace

}  // namespace moxi
