// The programs mxasm and mxdis: command lines, files and exit statuses.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tools/asm/mxasm_command.h"
#include "tools/dis/mxdis_command.h"
#include "tools/reference.h"

namespace moxi {

namespace {

struct Outcome {
    int status = 0;
    std::string out;
    std::string err;
};

Outcome Mxasm(const std::vector<std::string>& arguments) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = RunMxasm(arguments, out, err);
    return {status, out.str(), err.str()};
}

Outcome Mxdis(const std::vector<std::string>& arguments) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = RunMxdis(arguments, out, err);
    return {status, out.str(), err.str()};
}

size_t LineCountOf(const std::string& text) {
    size_t count = 0;
    for (const char c : text) {
        count += c == '\n';
    }
    return count;
}

class Commands : public testing::Test {
  protected:
    void SetUp() override {
        std::string name = (std::filesystem::temp_directory_path() / "mxtools-XXXXXX").string();
        folder = mkdtemp(name.data());
    }
    void TearDown() override { std::filesystem::remove_all(folder); }
    std::string Path(const std::string& name) const { return (folder / name).string(); }
    std::string Write(const std::string& name, const std::string& text) const {
        std::ofstream(folder / name, std::ios::binary) << text;
        return Path(name);
    }
    std::string Read(const std::string& name) const {
        std::ifstream file(folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool Exists(const std::string& name) const { return std::filesystem::exists(folder / name); }

    std::filesystem::path folder;
};

TEST_F(Commands, MxasmWritesTheModuleTheListingAndTheSymbols) {
    const std::string source = Write("a.mxs", "start: NOP\n");
    const Outcome run =
        Mxasm({source, "-o", Path("MAIN.MX"), "-l", Path("a.lst"), "--symbols", Path("a.sym")});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out + run.err, "");
    EXPECT_EQ(Read("MAIN.MX").size(), 516u);
    EXPECT_EQ(Read("a.sym"), "00000200 code start\n");
    EXPECT_NE(Read("a.lst").find("     1  00000200  00000194              start: NOP"),
              std::string::npos);
}

TEST_F(Commands, MxasmLeavesNoOutputAfterErrors) {
    const std::string source = Write("bad.mxs", "NOP\n  FOO\n");
    Write("MAIN.MX", "from an earlier run");
    Write("a.lst", "from an earlier run");
    const Outcome run = Mxasm({source, "-o", Path("MAIN.MX"), "-l", Path("a.lst")});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, source + ":2:3: error: 'FOO' is no instruction or macro\n    FOO\n    ^\n");
    EXPECT_FALSE(Exists("MAIN.MX"));
    EXPECT_FALSE(Exists("a.lst"));
}

TEST_F(Commands, MxasmNeverOverwritesItsSources) {
    const std::string source = Write("a.mxs", ".include \"b.inc\"\n");
    const std::string inner = Write("b.inc", "NOP\n");
    EXPECT_EQ(Mxasm({source, "-o", source}).status, 2);
    EXPECT_EQ(Mxasm({source, "-o", inner}).status, 1);
    EXPECT_EQ(Mxasm({source, "-o", Path("m"), "-l", Path("m")}).status, 2);
    EXPECT_EQ(Read("a.mxs"), ".include \"b.inc\"\n");
    EXPECT_EQ(Read("b.inc"), "NOP\n");
}

TEST_F(Commands, MxasmReportsFilesThatCannotBeReadOrWritten) {
    const Outcome missing = Mxasm({Path("none.mxs"), "-o", Path("m")});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "mxasm: " + Path("none.mxs") + ": no such file\n");
    const std::string source = Write("a.mxs", "NOP\n");
    const Outcome run = Mxasm({source, "-o", Path("no/folder/m"), "-l", Path("a.lst")});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(LineCountOf(run.err), 1u);
    EXPECT_FALSE(Exists("a.lst"));
    EXPECT_EQ(Mxasm({folder.string(), "-o", Path("m")}).status, 1);
}

TEST_F(Commands, MxasmTakesDefinitionsAndIncludeFolders) {
    std::filesystem::create_directory(folder / "std");
    Write("std/x.inc", ".byte A, B\n");
    const std::string source = Write("a.mxs", ".include \"x.inc\"\n");
    const Outcome run = Mxasm({"-D", "A=0x41", "-DB", "-o", Path("m"), source, "-I", Path("std")});
    EXPECT_EQ(run.status, 2);  // -DB is no option
    const Outcome good =
        Mxasm({"-D", "A=0x41", "-D", "B", "-o", Path("m"), source, "-I", Path("std")});
    EXPECT_EQ(good.status, 0) << good.err;
    EXPECT_EQ(Read("m").substr(512), "A\x01");
}

TEST_F(Commands, WrongCommandLinesAreOneLineAndStatus2) {
    const std::vector<std::vector<std::string>> lines = {
        {},
        {"a.mxs"},
        {"-o", "m"},
        {"a.mxs", "-o"},
        {"a.mxs", "b.mxs", "-o", "m"},
        {"a.mxs", "-o", "m", "-o", "n"},
        {"a.mxs", "-o", "m", "--what"},
        {"a.mxs", "-o", ""},
        {"a.mxs", "-o", "m", "-D", "1=2"},
        {"a.mxs", "-o", "m", "-D", "A=B"},
    };
    for (const std::vector<std::string>& line : lines) {
        const Outcome run = Mxasm(line);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(LineCountOf(run.err), 1u) << run.err;
        EXPECT_EQ(run.out, "");
    }
    for (const std::vector<std::string>& line :
         std::vector<std::vector<std::string>>{{},
                                               {"a", "b"},
                                               {"--what", "a"},
                                               {"a", "--symbols"},
                                               {"--raw", "a", "--symbols", "s"}}) {
        const Outcome run = Mxdis(line);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(LineCountOf(run.err), 1u) << run.err;
        EXPECT_EQ(run.out, "");
    }
    EXPECT_EQ(Mxasm({"--help"}).status, 0);
    EXPECT_EQ(Mxdis({"--help"}).status, 0);
    EXPECT_EQ(Mxasm({"--version"}).out, "mxasm 6.2\n");
    EXPECT_EQ(Mxdis({"--version"}).out, "mxdis 6.2\n");
}

TEST_F(Commands, MxdisAndMxasmAreEachOthersOpposite) {
    const std::string source = Write("a.mxs", "start: LINK 4, 1\n RETURN 1\n.data\n.byte 1\n");
    ASSERT_EQ(Mxasm({source, "-o", Path("m"), "--symbols", Path("s")}).status, 0);
    const Outcome raw = Mxdis({"--raw", Path("m")});
    ASSERT_EQ(raw.status, 0);
    ASSERT_EQ(Mxasm({Write("raw.mxs", raw.out), "-o", Path("m2")}).status, 0);
    EXPECT_EQ(Read("m"), Read("m2"));
    EXPECT_NE(Mxdis({"--symbols", Path("s"), Path("m")}).out.find("\nstart:\n"), std::string::npos);
}

TEST_F(Commands, MxdisRefusesBrokenFilesInOneLine) {
    const Outcome missing = Mxdis({Path("none")});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "mxdis: " + Path("none") + ": no such file\n");
    const Outcome empty = Mxdis({"--raw", Write("empty", "")});
    EXPECT_EQ(empty.status, 1);
    EXPECT_EQ(empty.err, "mxdis: " + Path("empty") +
                             ": too short for a module: it has 0 bytes, the header alone takes "
                             "512\n");
    EXPECT_EQ(empty.out, "");
    const Outcome other = Mxdis({Write("other", std::string(600, 'x'))});
    EXPECT_EQ(other.err, "mxdis: " + Path("other") + ": not a MOXI 6 module\n");
    EXPECT_EQ(Mxdis({folder.string()}).status, 1);
    Write("m.mxs", "NOP\n");
    ASSERT_EQ(Mxasm({Path("m.mxs"), "-o", Path("m")}).status, 0);
    const Outcome symbols = Mxdis({Path("m"), "--symbols", Write("bad.sym", "what\n")});
    EXPECT_EQ(symbols.status, 1);
    EXPECT_EQ(symbols.err, "mxdis: " + Path("bad.sym") + ": line 1 is no line of a symbol file\n");
}

TEST(Reference, TheCommittedPageIsTheGeneratedOne) {
    std::ifstream file(std::string(MOXI_SOURCE_DIR) + "/docs/instruction-set.md", std::ios::binary);
    const std::string page(std::istreambuf_iterator<char>(file), {});
    EXPECT_TRUE(page == InstructionSetPage())
        << "run mxref and write its output to docs/instruction-set.md";
}

}  // namespace

}  // namespace moxi
