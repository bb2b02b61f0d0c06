// mxwasm's command line: every option does what it says, and what is wrong is one line.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "base/bytes.h"
#include "tests/support/headless_run.h"
#include "tests/wasm/calls.h"
#include "vm/machine.h"

namespace moxi {
namespace {

namespace fs = std::filesystem;

using Texts = std::vector<std::string>;

// Grows its memory, goes down n calls, reads behind its memory, has a string.
const char* const kModule = R"((module
    (memory 1) (data (i32.const 100) "text")
    (func $size (export "size") (result i32) (memory.size))
    (func (export "grow") (param i32) (result i32) (memory.grow (local.get 0)))
    (func $down (export "down") (param i32) (result i32)
        (if (result i32) (local.get 0)
            (then (i32.add (i32.const 1) (call $down (i32.sub (local.get 0) (i32.const 1)))))
            (else (i32.const 0))))
    (func (export "load") (param i32) (result i32) (i32.load (local.get 0)))))";

struct WasmCommand : ::testing::Test {
    TemporaryFolder folder;

    void Write(const std::string& text = kModule) const {
        WriteTextFile(folder.path + "/in.wasm", WasmOfText(text, {"--debug-names"}));
    }
    ProgramResult Translate(const Texts& arguments) const {
        return RunProgram("mxwasm", arguments, folder.path);
    }
    // Translated with these options and called with these lines: what is logged.
    std::string Logs(const Texts& options, const std::string& calls) const {
        Texts arguments = {"in.wasm", "--calls", "-o", "MAIN.MX"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ProgramResult result = Translate(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.errors, "");
        WriteTextFile(folder.path + "/CALL.TXT", calls);
        return RunProgram("moxi", {"--headless", "--data-folder", "data", "MAIN.MX"}, folder.path)
            .errors;
    }
    std::string Image() const { return ReadTextFile(folder.path + "/MAIN.MX"); }
    u32 Header(u32 offset) const {
        return LoadBytes<u32>(reinterpret_cast<const u8*>(Image().data()) + offset);
    }
    bool Exists(const std::string& name) const { return fs::exists(folder.path + "/" + name); }
};

TEST_F(WasmCommand, HelpAndVersionGoToTheOutput) {
    const ProgramResult help = Translate({"--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* const option :
         {"-o MAIN.MX", "--symbols FILE", "--lines FILE", "-S FILE", "--memory SIZE",
          "--stack SIZE", "--heap SIZE", "--check-bounds", "--calls", "--wasm4", "--identity",
          "--code-end", "--version"}) {
        EXPECT_NE(help.output.find(option), std::string::npos) << option;
    }
    EXPECT_EQ(help.errors, "");
    const ProgramResult version = Translate({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output, "mxwasm 6.2\n");
}

TEST_F(WasmCommand, AWrongCommandLineIsOneLine) {
    Write();
    fs::create_directory(folder.path + "/folder");
    const std::vector<std::pair<Texts, std::string>> cases = {
        {{}, "mxwasm: IN.wasm is missing ("},
        {{"in.wasm"}, "mxwasm: -o MAIN.MX is missing ("},
        {{"in.wasm", "-o"}, "mxwasm: -o needs a value ("},
        {{"in.wasm", "-o", ""}, "mxwasm: -o needs a file name ("},
        {{"in.wasm", "-o", "a", "-o", "b"}, "mxwasm: -o is given twice ("},
        {{"in.wasm", "more.wasm", "-o", "a"}, "mxwasm: IN.wasm is given twice ("},
        {{"in.wasm", "-o", "a", "--fast"}, "mxwasm: unknown option --fast ("},
        {{"in.wasm", "-o", "a", "--memory", "much"},
         "mxwasm: --memory takes a size of at most 4294967296 bytes, not 'much' ("},
        {{"in.wasm", "-o", "a", "--memory", "5G"},
         "mxwasm: --memory takes a size of at most 4294967296 bytes, not '5G' ("},
        {{"in.wasm", "-o", "a", "--memory", "64MB"},
         "mxwasm: --memory takes a size of at most 4294967296 bytes, not '64MB' ("},
        {{"in.wasm", "-o", "a", "--stack", "8M"},
         "mxwasm: --stack takes a size of at most 7340032 bytes, not '8M' ("},
        {{"in.wasm", "-o", "a", "--heap", "-1"},
         "mxwasm: --heap takes a size of at most 4026531840 bytes, not '-1' ("},
        {{"in.wasm", "-o", "in.wasm"}, "mxwasm: in.wasm would overwrite the input ("},
        {{"in.wasm", "-o", "a", "-S", "./a"}, "mxwasm: ./a is named for two outputs ("},
        {{"none.wasm", "-o", "a"}, "mxwasm: none.wasm: "},
        {{"folder", "-o", "a"}, "mxwasm: folder: "},
        {{"in.wasm", "-o", "a"}, "mxwasm: in.wasm: neither moxi_message nor _start is exported"},
        {{"in.wasm", "--calls", "-o", "none/a"}, "mxwasm: none/a: cannot be written: No such file"},
    };
    for (const auto& [arguments, error] : cases) {
        const ProgramResult result = Translate(arguments);
        EXPECT_EQ(result.status, 1) << error;
        EXPECT_TRUE(result.errors.starts_with(error)) << result.errors;
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
        EXPECT_EQ(result.output, "");
        EXPECT_FALSE(Exists("a"));
    }
}

TEST_F(WasmCommand, AFailureLeavesNothingOfAnEarlierRun) {
    Write();
    Logs({"--symbols", "MAIN.SYM", "--lines", "MAIN.LIN", "-S", "MAIN.S"}, "size\n");
    EXPECT_TRUE(Exists("MAIN.MX") && Exists("MAIN.SYM") && Exists("MAIN.LIN") && Exists("MAIN.S"));
    WriteTextFile(folder.path + "/in.wasm", "no module");
    EXPECT_EQ(Translate({"in.wasm", "-o", "MAIN.MX", "--symbols", "MAIN.SYM", "--lines", "MAIN.LIN",
                         "-S", "MAIN.S"})
                  .errors,
              "mxwasm: in.wasm: magic header not detected (offset 0x0)\n");
    EXPECT_FALSE(Exists("MAIN.MX") || Exists("MAIN.SYM") || Exists("MAIN.LIN") || Exists("MAIN.S"));
}

TEST_F(WasmCommand, MemoryIsWhatItMayGrowTo) {
    Write();
    const std::string calls = "grow 3\ngrow 1\nsize\n";
    EXPECT_EQ(Logs({"--memory", "262144"}, calls),
              "log: grow -> 0x00000001\nlog: grow -> 0xFFFFFFFF\nlog: size -> 0x00000004\n");
    EXPECT_EQ(Logs({"--memory", "256K"}, calls), Logs({"--memory", "262144"}, calls));
    EXPECT_EQ(Logs({}, "grow 1023\ngrow 1\n"),
              "log: grow -> 0x00000001\nlog: grow -> 0xFFFFFFFF\n");
    EXPECT_EQ(Logs({"--memory", "1G"}, "grow 16383\ngrow 1\n"),
              "log: grow -> 0x00000001\nlog: grow -> 0xFFFFFFFF\n");
}

TEST_F(WasmCommand, StackAndHeapHaveTheirSizes) {
    Write();
    // A call of `down` takes less than 64 bytes, and more than 8.
    EXPECT_EQ(Logs({"--stack", "1M"}, "down 0x3000\n"), "log: down -> 0x00003000\n");
    EXPECT_TRUE(Logs({"--stack", "64K"}, "down 0x3000\n")
                    .starts_with("log: Trap: stack overflow in down\nfatal: "));
    Logs({"--heap", "5M"}, "size\n");
    EXPECT_EQ(Header(kHeaderHeapSize), 5u << 20);
    Logs({}, "size\n");
    EXPECT_EQ(Header(kHeaderHeapSize), 96u << 20);
}

TEST_F(WasmCommand, BoundsAreCheckedOnRequest) {
    Write();
    EXPECT_EQ(Logs({"--memory", "64M"}, "load 65536\n"), "log: load -> 0x00000000\n");
    EXPECT_TRUE(Logs({"--check-bounds"}, "load 65532\nload 65533\n")
                    .starts_with("log: load -> 0x00000000\n"
                                 "log: Trap: out of bounds memory access in function 3\nfatal: "));
}

TEST_F(WasmCommand, SymbolsAreTheFunctionsWithTheirAddresses) {
    Write();
    Logs({"--symbols", "MAIN.SYM"}, "size\n");
    const std::string symbols = ReadTextFile(folder.path + "/MAIN.SYM");
    // The jump to the entry comes first.
    EXPECT_TRUE(symbols.starts_with("00000204 code size\n")) << symbols;
    EXPECT_NE(symbols.find(" code function_1\n"), std::string::npos);
    EXPECT_NE(symbols.find(" code down\n"), std::string::npos);
    EXPECT_NE(symbols.find(" data wasm_memory\n"), std::string::npos);
}

TEST_F(WasmCommand, WithIdentityMemoryIsTheImageItself) {
    Write();
    const ProgramResult low = Translate({"in.wasm", "--calls", "--identity", "-o", "MAIN.MX"});
    EXPECT_EQ(low.status, 1);
    EXPECT_TRUE(low.errors.starts_with("mxwasm: in.wasm: data begins at 100, the code ends at "))
        << low.errors;
    EXPECT_FALSE(Exists("MAIN.MX"));
    const ProgramResult end = Translate({"in.wasm", "--calls", "--identity", "--code-end"});
    EXPECT_EQ(end.status, 0);
    EXPECT_FALSE(Exists("MAIN.MX"));
    const u32 codeEnd = static_cast<u32>(std::stoul(end.output));
    EXPECT_EQ(low.errors.find("the code ends at " + std::to_string(codeEnd) + ": link with"),
              low.errors.find("the code ends at "));
    // The same with its data behind the code: it lies in the file at its own address.
    std::string moved = kModule;
    moved.replace(moved.find("const 100"), 9, "const " + std::to_string(codeEnd));
    Write(moved);
    EXPECT_EQ(Logs({"--identity"}, "load " + std::to_string(codeEnd) + "\nload " +
                                       std::to_string(kHeaderMagic) + "\n"),
              "log: load -> 0x74786574\nlog: load -> 0x49584F4D\n");  // "text", "MOXI"
    EXPECT_EQ(Image().substr(codeEnd), std::string("text\0\0\0\0", 8));
}

// The assembly text is the whole module.
TEST_F(WasmCommand, TheAssemblyTextMakesTheSameModule) {
    Texts modules = {WasmOfText(kModule, {"--debug-names"})};
    for (u64 seed = 1; seed <= 25; ++seed) {
        modules.push_back(MakeRandomModule(seed).bytes);
    }
    for (size_t i = 0; i < modules.size(); ++i) {
        WriteTextFile(folder.path + "/in.wasm", modules[i]);
        const ProgramResult translated =
            Translate({"in.wasm", "--calls", "-o", "MAIN.MX", "-S", "text.mxs"});
        ASSERT_EQ(translated.errors, "") << i;
        const ProgramResult assembled =
            RunProgram("mxasm", {"text.mxs", "-o", "AGAIN.MX"}, folder.path);
        ASSERT_EQ(assembled.errors, "") << i;
        EXPECT_TRUE(ReadTextFile(folder.path + "/AGAIN.MX") == Image()) << "module " << i;
    }
}

}  // namespace
}  // namespace moxi
