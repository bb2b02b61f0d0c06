// The modules of tests/wasm/core: what each of them is, valid or not, stands in the file itself.

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "tests/support/headless_run.h"
#include "tests/support/patterns.h"
#include "tests/wasm/calls.h"

namespace moxi {
namespace {

namespace fs = std::filesystem;

struct WasmCoreTest : ::testing::TestWithParam<const char*> {};

TEST_P(WasmCoreTest, WhatIsAModuleIsTranslatedAndWhatIsNoneIsRefused) {
    const TemporaryFolder folder;
    const std::string name = GetParam();
    const fs::path path = fs::path(MOXI_SOURCE_DIR) / "tests/wasm/core" / (name + ".wast");
    const ProgramResult split =
        RunProgram("/usr/bin/wast2json", {path.string(), "-o", "all.json"}, folder.path);
    ASSERT_EQ(split.status, 0) << split.errors;
    // One command a line: {"type": "assert_invalid", "line": 27, "filename": "all.3.wasm", ...
    static const std::string kCommand =
        R"re("type": "(\w+)", "line": ([0-9]+), "filename": "([^"]+)")re";
    std::istringstream commands(ReadTextFile(folder.path + "/all.json"));
    u32 valid = 0;
    u32 refused = 0;
    for (std::string line; std::getline(commands, line);) {
        const Match found = FirstMatch(line, kCommand);
        if (found.empty()) {
            continue;
        }
        const std::string where = name + ".wast:" + found[2];
        const std::string bytes = ReadTextFile(folder.path + "/" + found[3]);
        const TranslatedModule translation = Translate(bytes, CallOptions());
        if (found[1] == "module") {
            EXPECT_TRUE(translation.ok) << where << ": " << translation.errors[0];
            ++valid;
        } else {
            EXPECT_FALSE(translation.ok) << where << ": is taken";
            EXPECT_EQ(translation.errors.size(), translation.ok ? 0u : 1u) << where;
            ++refused;
        }
    }
    EXPECT_GE(valid, 15u);
    EXPECT_GE(refused, 80u);
}

INSTANTIATE_TEST_SUITE_P(Files, WasmCoreTest, ::testing::Values("validity", "binary"),
                         [](const auto& file) { return std::string(file.param); });

}  // namespace
}  // namespace moxi
