// `moxi --profile FILE`: exact counts, worked out by hand.

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/headless_run.h"
#include "tests/support/patterns.h"

namespace moxi {

namespace {

// Message 1: start 4, first 5, tail 1 and count 3 * 8 + 4, together 38 instructions.
// Message 2: start 6, second 1, wait 3 and 2 in a part of it, together 12, and it waits.
// Message 100: start 8, resume 1, then on in wait 1 and second 1, together 11.
// Any other message: start 9.
constexpr const char* kModule = R"(
        .stack 4096
        .heap 4096
        .code
start:  LINK    0, 0
        MOVE.L  R12, [FP+12]
        CMP.L   R12, #1
        BEQ     first
        CMP.L   R12, #2
        BEQ     second
        CMP.L   R12, #100
        BEQ     resume
        RETURN  0
first:  PUSH.L  #3
        CALL    count, 4
        MOVE.L  R15, #block
        SYS
        JMP     tail
second: CALL    wait, 0
        RETURN  0
resume: EMOD
tail:   RETURN  0

count:  LINK    0, 0
        CMP.L   [FP+12], #0
        BEQ     @end
        MOVE.L  R1, [FP+12]
        SUB.L   R1, #1
        PUSH.L  R1
        CALL    count, 4
@end:   RETURN  0

wait:   LINK    0, 0
        CALL    @part, 0
        MODAL
        RETURN  0
@part:  LINK    0, 0
        RETURN  0

        .data
block:  .long   0x0201
)";

struct Profile {
    ProgramResult run;
    std::string table;
    std::string folded;

    // The numbers of the line that ends in this text, "" when there is none.
    std::string Row(const std::string& ending) const {
        std::istringstream lines(table);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            std::string row;
            for (std::string word; words >> word;) {
                row += (row.empty() ? "" : " ") + word;
            }
            if (row.size() > ending.size() &&
                row.compare(row.size() - ending.size() - 1, std::string::npos, " " + ending) == 0) {
                return row.substr(0, row.size() - ending.size() - 1);
            }
        }
        return "";
    }
    // The same without the numbers that have a point.
    std::string Counts(const std::string& ending) const {
        return ReplaceMatches(Row(ending), " [0-9]+\\.[0-9]+", "");
    }
    unsigned long Field(const std::string& ending, int index) const {
        std::istringstream words(Row(ending));
        std::string word;
        for (int i = 0; i <= index; ++i) {
            words >> word;
        }
        return word.empty() ? 0 : std::stoul(word);
    }
};

Profile MakeProfile(const std::string& source, const std::string& symbols, bool withSymbols) {
    const TemporaryFolder folder;
    const AssembleResult assembled = WriteGame(folder.path + "/game", source);
    if (withSymbols) {
        WriteTextFile(folder.path + "/game/MAIN.SYM",
                      symbols.empty() ? FormatSymbols(assembled) : symbols);
    }
    WriteTextFile(folder.path + "/events", "0 post 100 0 0 0\n");
    Profile profile;
    profile.run = RunProgram("moxi",
                             {"--headless", "--data-folder", folder.path + "/data", "--script",
                              "events", "--run-ms", "50", "--profile", "profile", "game"},
                             folder.path);
    profile.table = ReadTextFile(folder.path + "/profile");
    profile.folded = ReadTextFile(folder.path + "/profile.folded");
    return profile;
}

TEST(Profile, CountsAreExact) {
    const Profile profile = MakeProfile(kModule, "", true);
    EXPECT_EQ(profile.run.status, 0);
    EXPECT_EQ(profile.run.errors, "");
    // own, inclusive, calls
    EXPECT_EQ(profile.Counts("count"), "28 28 4");
    EXPECT_EQ(profile.Counts("first"), "5 33 0");
    EXPECT_EQ(profile.Counts("tail"), "1 1 0");
    EXPECT_EQ(profile.Counts("wait"), "6 6 1");
    EXPECT_EQ(profile.Counts("second"), "2 8 0");
    EXPECT_EQ(profile.Counts("resume"), "1 1 0");
    // count, instructions, longest, number
    EXPECT_EQ(profile.Row("MSG_START1"), "1 38 38 1");
    EXPECT_EQ(profile.Row("MSG_START2"), "1 12 12 2");
    EXPECT_EQ(profile.Row("100"), "1 11 11");
    const unsigned long sizes = profile.Field("MSG_SIZE", 0);
    const unsigned long moves = profile.Field("MSG_MOVE", 0);
    EXPECT_GT(sizes, 0u);
    EXPECT_EQ(profile.Field("MSG_SIZE", 1), 9 * sizes);
    EXPECT_EQ(profile.Field("MSG_MOVE", 1), 9 * moves);
    EXPECT_EQ(profile.Field("start", 0), 4 + 6 + 8 + 9 * (sizes + moves));
    const unsigned long all = 38 + 12 + 11 + 9 * (sizes + moves);
    EXPECT_EQ(profile.Field("start", 2), all);
    EXPECT_NE(profile.table.find(std::to_string(all) + " instructions in " +
                                 std::to_string(3 + sizes + moves) + " messages\n"),
              std::string::npos)
        << profile.table;
    EXPECT_EQ(profile.Field("2.1 milliseconds", 0), 1u);
}

TEST(Profile, StacksAreWrittenForFlameGraphs) {
    const Profile profile = MakeProfile(kModule, "", true);
    const std::string expected =
        "start;first 5\n"
        "start;first;count 8\n"
        "start;first;count;count 8\n"
        "start;first;count;count;count 8\n"
        "start;first;count;count;count;count 4\n"
        "start;resume 1\n"
        "start;second 2\n"
        "start;second;wait 6\n"
        "start;tail 1\n";
    EXPECT_EQ(profile.folded.substr(profile.folded.find('\n') + 1), expected);
    EXPECT_EQ(profile.folded.rfind("start ", 0), 0u);
}

TEST(Profile, WithoutSymbolsFunctionsAreNamedByTheirAddresses) {
    const Profile profile = MakeProfile(kModule, "", false);
    EXPECT_EQ(profile.run.errors, "");
    const AssembleResult assembled = Assemble(kModule, "test.mxs");
    char name[16];
    std::snprintf(name, sizeof name, "sub_%8.8X", SymbolValue(assembled, "count"));
    EXPECT_EQ(profile.Counts(name), "28 28 4");
    EXPECT_GT(profile.Field("entry", 0), 0u);
}

TEST(Profile, AModuleThatFailsIsCountedToItsEnd) {
    const Profile profile = MakeProfile(R"(
        .stack 4096
        .heap 4096
        .code
start:  LINK    0, 0
        CALL    broken, 0
        RETURN  0
broken: LINK    0, 0
        .long   4
)",
                                        "", true);
    EXPECT_EQ(profile.run.status, 0);
    // The first message ends in the illegal word, and the final one does, too.
    EXPECT_EQ(profile.Counts("broken"), "4 4 2") << profile.table;
    EXPECT_EQ(profile.Row("MSG_START1"), "1 4 4 1");
    EXPECT_EQ(profile.Row("MSG_END"), "1 4 4 4");
}

TEST(Profile, ABrokenSymbolFileIsOneLogLine) {
    const Profile profile = MakeProfile(kModule, "00000200 code start\nnonsense\n", true);
    EXPECT_EQ(profile.run.status, 0);
    EXPECT_NE(profile.run.errors.find("/MAIN.SYM: line 2 is no line of a symbol file\n"),
              std::string::npos);
    EXPECT_GT(profile.Field("entry", 0), 0u);
}

TEST(Profile, AFileThatCannotBeWrittenIsRefused) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.path + "/game");
    const ProgramResult result =
        RunProgram("moxi", {"--headless", "--profile", "no/file", "game"}, folder.path);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors, "moxi: no/file: cannot be written\n");
}

}  // namespace

}  // namespace moxi
