// What the kit knows by name: the symbol file, services and messages.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "kit/call_names.h"
#include "kit/symbols.h"
#include "tests/support/headless_run.h"
#include "tests/support/patterns.h"

namespace moxi {

namespace {

TEST(Symbols, AnAddressBelongsToTheFunctionBeforeIt) {
    const TemporaryFolder folder;
    const std::string path = folder.path + "/MAIN.SYM";
    WriteTextFile(path,
                  "00000005 const five\n00000200 code start\n00000210 code start@loop\n"
                  "00000220 code draw\n00000230 data table\n0000000100000000 const wide\n");
    ASSERT_EQ(LoadSymbols(path), "");
    EXPECT_EQ(FunctionSymbolAt(0x1FF), nullptr);
    EXPECT_EQ(FunctionSymbolAt(0x200)->name, "start");
    EXPECT_EQ(FunctionSymbolAt(0x21C)->name, "start");
    EXPECT_EQ(NextFunctionSymbol(0x21C), 0x220u);
    EXPECT_EQ(FunctionSymbolAt(0x22F)->name, "draw");
    EXPECT_EQ(FunctionSymbolAt(0x230), nullptr);
}

TEST(Symbols, EveryNameHasItsValueAndItsAddress) {
    const TemporaryFolder folder;
    const std::string path = folder.path + "/MAIN.SYM";
    WriteTextFile(path,
                  "00000005 const five\n00000200 code start\n00000200 code begin\n"
                  "00000210 code start@loop\n00000230 data table\n0000000100000007 const wide\n");
    ASSERT_EQ(LoadSymbols(path), "");
    EXPECT_EQ(SymbolCount(), 6u);
    EXPECT_EQ(ValueOfSymbol("five"), 5u);
    EXPECT_EQ(ValueOfSymbol("wide"), 7u);
    EXPECT_EQ(ValueOfSymbol("start@loop"), 0x210u);
    EXPECT_EQ(ValueOfSymbol("none"), std::nullopt);
    EXPECT_EQ(NamesAt(0x200), (std::vector<std::string>{"start", "begin"}));
    EXPECT_TRUE(NamesAt(5).empty());
    EXPECT_EQ(FunctionSymbolAt(0x204)->name, "start");
    EXPECT_EQ(NearestNamed(0x1FF), std::nullopt);
    EXPECT_EQ(NearestNamed(0x22F), 0x210u);
    EXPECT_EQ(NearestNamed(0x240), 0x230u);
}

TEST(Symbols, AFileThatIsWrongLeavesTheNamesAsTheyWere) {
    const TemporaryFolder folder;
    const std::string path = folder.path + "/MAIN.SYM";
    WriteTextFile(path, "00000200 code start\n");
    ASSERT_EQ(LoadSymbols(path), "");
    EXPECT_EQ(LoadSymbols(folder.path + "/none"), folder.path + "/none: no such file");
    EXPECT_EQ(LoadSymbols(folder.path), folder.path + ": is a folder");
    WriteTextFile(path, "00000300 code other\n00000304 what other\n");
    EXPECT_EQ(LoadSymbols(path), path + ": line 2 is no line of a symbol file");
    EXPECT_EQ(SymbolCount(), 1u);
    EXPECT_EQ(FunctionSymbolAt(0x300)->name, "start");
}

TEST(CallNames, ServicesAreCalledAsInTheDocumentation) {
    const std::string docs = std::string(MOXI_SOURCE_DIR) + "/docs/";
    const std::string row = "\\| *`0x([0-9A-F]{4})` ([^|]+[^| ]) *\\|.*";
    int rows = 0;
    for (const char* const page : {"system-services.md", "services-graphics.md",
                                   "services-text-images.md", "services-host.md"}) {
        std::istringstream lines(ReadTextFile(docs + page));
        for (std::string line; std::getline(lines, line);) {
            const Match parts = WholeMatch(line, row);
            if (parts.empty()) {
                continue;
            }
            rows += 1;
            EXPECT_EQ(ServiceName(static_cast<u32>(std::stoul(parts[1], nullptr, 16))), parts[2]);
        }
    }
    EXPECT_GT(rows, 80);
    EXPECT_EQ(ServiceName(0x0604), "length of a sound");
    EXPECT_EQ(ServiceName(0x0F00), "");
    EXPECT_EQ(MessageName(16), "MSG_PRESENTED");
    EXPECT_EQ(MessageName(5), "");
    EXPECT_EQ(MessageOfName("MSG_PRESENTED"), 16u);
    EXPECT_EQ(MessageOfName("MSG_NONE"), std::nullopt);
}

}  // namespace

}  // namespace moxi
