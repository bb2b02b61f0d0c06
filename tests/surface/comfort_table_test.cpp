// The table of docs/comfort.md on what players of other hosts expect: "yes" in each row, and tests
// that are there.

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "tests/support/headless_run.h"
#include "tests/support/patterns.h"

namespace moxi {

namespace {

std::string AllTests() {
    std::string text;
    for (const auto& file :
         std::filesystem::recursive_directory_iterator(MOXI_SOURCE_DIR "/tests")) {
        if (file.path().extension() == ".cpp") {
            text += ReadTextFile(file.path());
        }
    }
    // However a definition is broken into lines.
    return ReplaceMatches(text, R"((TEST(?:_F|_P)?\(\w+,)\s+)", "$1 ");
}

// A name is that of a suite, of a test, or of a test's beginning with "..." behind it.
bool IsThere(const std::string& tests, const std::string& name) {
    const size_t dot = name.find('.');
    const std::string suite = name.substr(0, dot);
    std::string test = dot == std::string::npos ? "" : name.substr(dot + 1);
    const bool isWhole = !test.ends_with("...");
    test = test.substr(0, test.find('.'));
    for (const char* const macro : {"TEST(", "TEST_F(", "TEST_P("}) {
        std::string definition = macro + suite + ",";
        if (!test.empty()) {
            definition += " " + test + (isWhole ? ")" : "");
        }
        if (tests.find(definition) != std::string::npos) {
            return true;
        }
    }
    return false;
}

TEST(ComfortTable, SaysYesInEveryRowAndNamesTestsThatAreThere) {
    const std::string tests = AllTests();
    const std::string page = ReadTextFile(MOXI_SOURCE_DIR "/docs/comfort.md");
    const size_t begin = page.find("## What players of other hosts expect");
    ASSERT_NE(begin, std::string::npos);
    std::istringstream lines(page.substr(begin));
    int rows = 0;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("| ") || line.starts_with("| |")) {
            continue;
        }
        ++rows;
        const size_t second = line.find('|', 2);
        const size_t third = line.find('|', second + 1);
        ASSERT_NE(third, std::string::npos) << line;
        EXPECT_TRUE(line.substr(second + 1, 4) == " yes") << line;
        const std::string shown = line.substr(third);
        int names = 0;
        for (const Match& found : AllMatches(shown, R"(`([^`]+)`)")) {
            const std::string& text = found[1];
            if (text.starts_with("scripts/")) {
                EXPECT_TRUE(std::filesystem::exists(MOXI_SOURCE_DIR "/" + text)) << text;
                continue;
            }
            ++names;
            EXPECT_TRUE(IsThere(tests, text)) << text;
        }
        EXPECT_GT(names, 0) << line;
    }
    EXPECT_EQ(rows, 19);
}

}  // namespace

}  // namespace moxi
