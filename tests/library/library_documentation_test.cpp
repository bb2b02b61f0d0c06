// The examples of docs/library.md make one program. A comment "R14 = 5" (or != < >) behind a line
// says what its result is, "log: TEXT" what it writes to the log; both are checked, and every macro
// of the library has to be there.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "tests/library/checked_examples.h"
#include "tests/support/sound_bytes.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

const std::string kPage = MOXI_SOURCE_DIR "/docs/library.md";
const fs::path kLibrary = fs::path(MOXI_SOURCE_DIR) / "library";

HeadlessRun RunOf(const CheckedProgram& program) {
    HeadlessRun run;
    run.source = program.source;
    run.options = {"--run-ms", "50"};
    // A second of 16-bit mono at 44,100 Hz, and a beat of music.
    run.resources["SOUNDS/BANG.WAV"] = WavFile({}, std::string(88200, '\0'));
    run.resources["MUSIC/THEME.MID"] =
        MidiFile(0, 96, {NoteOn(0, 60) + NoteOff(96, 60) + EndOfTrack(0)});
    return run;
}

TEST(LibraryDocumentation, EveryMacroHasAnExampleAndALineInATable) {
    const std::string page = ReadTextFile(kPage);
    std::set<std::string> used;
    for (std::string example : ExamplesOf(kPage)) {
        std::replace(example.begin(), example.end(), ',', ' ');  // names may be arguments
        std::istringstream words(example);
        for (std::string word; words >> word;) {
            used.insert(word);
        }
    }
    const std::string macro = "(^|\n)\\.macro ([A-Z_0-9]+)";
    u32 macros = 0;
    for (const auto& entry : fs::directory_iterator(kLibrary / "moxi")) {
        const std::string text = ReadTextFile(entry.path().string());
        for (const Match& at : AllMatches(text, macro)) {
            const std::string& name = at[2];
            if (name.starts_with("MOXI_") || name == "SERVICE") {
                continue;
            }
            ++macros;
            EXPECT_TRUE(used.contains(name)) << name << " has no example";
            EXPECT_NE(page.find("`" + name), std::string::npos) << name << " is in no table";
        }
    }
    EXPECT_GT(macros, 140u);
}

TEST(LibraryDocumentation, EveryServiceHasAName) {
    std::string all;
    for (const auto& entry : fs::directory_iterator(kLibrary / "moxi")) {
        all += ReadTextFile(entry.path().string());
    }
    const std::vector<std::pair<u32, u32>> groups = {
        {0x0000, 0x000F}, {0x0200, 0x0202}, {0x0300, 0x0305}, {0x030A, 0x030E}, {0x0500, 0x0513},
        {0x0600, 0x0604}, {0x0700, 0x0715}, {0x0800, 0x0810}, {0x0900, 0x0904}};
    for (const auto& [first, last] : groups) {
        for (u32 command = first; command <= last; ++command) {
            char value[16];
            std::snprintf(value, sizeof value, "0x%04X", command);
            EXPECT_FALSE(
                FirstMatch(all, "\nSYS_[A-Z_0-9]+ *= " + std::string(value) + "\n").empty())
                << value;
        }
    }
}

TEST(LibraryDocumentation, TheExamplesGiveWhatTheySay) {
    const CheckedProgram program = ReadCheckedProgram(kPage);
    ASSERT_GT(program.results.size(), 80u);
    const HeadlessResult result = RunHeadless(RunOf(program));
    EXPECT_EQ(result.Fatals(), std::vector<std::string>{"Village"});
    ExpectCheckedResults(program, result);
}

TEST(LibraryDocumentation, TheExamplesOfTheHeapGiveWhatTheySay) {
    const CheckedProgram program =
        ReadCheckedProgram(MOXI_SOURCE_DIR "/docs/heap.md", "        DONE\n");
    ASSERT_EQ(program.results.size(), 12u);
    const HeadlessResult result = RunHeadless(RunOf(program));
    EXPECT_EQ(result.Fatals(), std::vector<std::string>{});
    ExpectCheckedResults(program, result);
}

}  // namespace

}  // namespace moxi
