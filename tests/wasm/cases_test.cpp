// The modules of tests/wasm/cases: lines of comments say what is called, wabt's interpreter what
// comes of it. "options: check-bounds" translates with checks, "run" starts the module anew, "trap
// CALL -> LINE" gives the whole line of a trap. A number is an i32, with an L behind it an i64.

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "tests/support/headless_run.h"
#include "tests/support/vm_fixture.h"
#include "tests/wasm/calls.h"

namespace moxi {
namespace {

namespace fs = std::filesystem;

struct Cases {
    bool checkBounds = false;
    std::vector<std::vector<RandomModule::Call>> runs;
    std::vector<std::pair<RandomModule::Call, std::string>> traps;
};

RandomModule::Call ReadCall(const std::string& text) {
    std::istringstream words(text);
    RandomModule::Call call;
    words >> call.name;
    for (std::string word; words >> word;) {
        const bool isLong = word.back() == 'L';
        if (isLong) {
            word.pop_back();
        }
        const u64 value = word[0] == '-' ? static_cast<u64>(std::stoll(word, nullptr, 0))
                                         : std::stoull(word, nullptr, 0);
        call.arguments.push_back(isLong ? value : value & 0xFFFFFFFF);
        call.argumentTypes += isLong ? 'I' : 'i';
    }
    return call;
}

Cases ReadCases(const std::string& text) {
    Cases cases;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with(";; ")) {
            continue;
        }
        line = line.substr(3);
        const size_t arrow = line.find(" -> ");
        if (line == "options: check-bounds") {
            cases.checkBounds = true;
        } else if (line == "run") {
            cases.runs.emplace_back();
        } else if (line.starts_with("trap ")) {
            cases.traps.emplace_back(ReadCall(line.substr(5, arrow - 5)), line.substr(arrow + 4));
        } else if (!cases.runs.empty()) {
            cases.runs.back().push_back(ReadCall(line));
        }
    }
    return cases;
}

struct WasmCasesTest : VmTest, ::testing::WithParamInterface<const char*> {
    StandardError quiet{true};
};

std::vector<std::string> Seen(const CallsRun& run) {
    std::vector<std::string> lines;
    for (const std::string& line : run.lines) {
        lines.push_back(WithoutFunction(line));
    }
    if (!run.fatals.empty() && run.fatals[0].starts_with("Division error")) {
        lines.emplace_back("Trap: integer division");
    }
    return lines;
}

TEST_P(WasmCasesTest, DoWhatWabtsInterpreterSays) {
    const fs::path path = fs::path(MOXI_SOURCE_DIR) / "tests/wasm/cases" / GetParam();
    const std::string text = ReadTextFile(path.string());
    const Cases cases = ReadCases(text);
    ASSERT_FALSE(cases.runs.empty());
    const std::string wasm = WasmOfText(text, {"--debug-names"});
    TranslateOptions options = CallOptions();
    options.checkBounds = cases.checkBounds;
    const TranslatedModule translation = Translate(wasm, options);
    ASSERT_TRUE(translation.ok) << translation.errors[0];

    std::vector<RandomModule> modules;
    for (const auto& calls : cases.runs) {
        modules.push_back({wasm, calls, false});
    }
    const std::vector<std::vector<std::string>> all = WabtLines(modules);
    ASSERT_EQ(all.size(), modules.size());
    for (size_t i = 0; i < all.size(); ++i) {
        const CallsRun run = RunTranslated(translation, CallText(cases.runs[i]));
        std::vector<std::string> wanted = all[i];
        std::vector<std::string> seen = Seen(run);
        const bool traps = wanted.back().starts_with("Trap: ");
        if (!seen.empty() && seen.back() == "Trap: integer division" &&
            (wanted.back() == "Trap: integer divide by zero" ||
             wanted.back() == "Trap: integer overflow")) {
            seen.back() = wanted.back();
        }
        EXPECT_EQ(seen, wanted) << "in a run that begins with " << CallText({cases.runs[i][0]});
        EXPECT_EQ(run.status, traps ? 1 : 0);
    }
    for (const auto& [call, line] : cases.traps) {
        const CallsRun run = RunTranslated(translation, CallText({call}));
        EXPECT_EQ(run.lines, std::vector<std::string>{line}) << CallText({call});
        EXPECT_EQ(run.fatals.size(), 1u);
        EXPECT_EQ(run.status, 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Files, WasmCasesTest,
                         ::testing::Values("traps.wat", "control.wat", "memory.wat", "bounds.wat",
                                           "bulk.wat", "tables.wat", "globals.wat", "leaves.wat"),
                         [](const auto& file) {
                             const std::string name = file.param;
                             return name.substr(0, name.find('.'));
                         });

}  // namespace
}  // namespace moxi
