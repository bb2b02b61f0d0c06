// mxcc's command line: its own options, and a line for each error.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "base/bytes.h"
#include "tests/support/headless_run.h"
#include "vm/machine.h"

namespace moxi {
namespace {

namespace fs = std::filesystem;

using Texts = std::vector<std::string>;

// Says whether a block of its argument's size in MiB is to be had, and how deep it can go.
const char* const kProgram =
    "#include <stdio.h>\n"
    "#include <stdlib.h>\n"
    "static int down(int depth) { return depth == 0 ? 0 : down(depth - 1) + 1; }\n"
    "int main(void) {\n"
    "    char* volatile block = malloc(100u << 20);\n"
    "    printf(\"%d\\n\", block != NULL);\n"
    "    fflush(stdout);\n"
    "    int (*volatile deep)(int) = down;\n"
    "    printf(\"%d\\n\", deep(20000));\n"
    "}\n";

struct CCommand : ::testing::Test {
    TemporaryFolder folder;

    CCommand() { WriteTextFile(folder.path + "/main.c", kProgram); }
    ProgramResult Compile(const Texts& arguments) const {
        return RunProgram("mxcc", arguments, folder.path);
    }
    std::string Logs(Texts options) const {
        options.insert(options.end(), {"-O0", "main.c", "-o", "game/"});
        const ProgramResult compiled = Compile(options);
        EXPECT_EQ(compiled.status, 0);
        EXPECT_EQ(compiled.errors, "");
        return RunProgram("moxi", {"--headless", "--data-folder", "data", "game"}, folder.path)
            .errors;
    }
    // Exactly this is said, and nothing is made.
    void ExpectError(const Texts& arguments, const std::string& errors) const {
        const ProgramResult result = Compile(arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.errors, errors);
        EXPECT_FALSE(fs::exists(folder.path + "/OUT"));
    }
    void Write(const std::string& name, const std::string& text) const {
        WriteTextFile(folder.path + "/" + name, text);
    }
};

TEST_F(CCommand, HelpAndVersionGoToTheOutput) {
    const ProgramResult help = Compile({"--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* const option : {"-o OUT", "--symbols FILE", "--lines FILE", "--memory SIZE",
                                     "--stack SIZE", "--heap SIZE", "--check-bounds"}) {
        EXPECT_NE(help.output.find(option), std::string::npos) << option;
    }
    EXPECT_EQ(Compile({"--version"}).output, "mxcc 6.2\n");
}

TEST_F(CCommand, MemoryStackAndHeapHaveTheirSizes) {
    EXPECT_EQ(Logs({}), "log: 0\nlog: 20000\n");
    EXPECT_EQ(Logs({"--memory", "128M", "--heap=7M"}), "log: 1\nlog: 20000\n");
    const std::string image = ReadTextFile(folder.path + "/game/MAIN.MX");
    EXPECT_EQ(LoadBytes<u32>(reinterpret_cast<const u8*>(image.data()) + kHeaderHeapSize),
              7u << 20);
    EXPECT_TRUE(Logs({"--stack", "128K"})
                    .starts_with("log: 0\nlog: Trap: stack overflow in down\nfatal: "));
}

TEST_F(CCommand, SymbolsAndLinesAreWritten) {
    Logs({"-g", "--symbols=MAIN.SYM", "--lines", "MAIN.LIN"});
    EXPECT_NE(ReadTextFile(folder.path + "/MAIN.SYM").find(" code down\n"), std::string::npos);
    const std::string lines = ReadTextFile(folder.path + "/MAIN.LIN");
    EXPECT_NE(lines.find(" 3 main.c\n"), std::string::npos);
    EXPECT_NE(lines.find(" i32 depth\n"), std::string::npos);
}

TEST_F(CCommand, AMissingFileIsOneLine) {
    ExpectError({"none.c", "-o", "OUT"}, "clang: error: no such file or directory: 'none.c'\n");
    ExpectError({"none.c", "main.c", "-o", "OUT"},
                "clang: error: no such file or directory: 'none.c'\n");
    ExpectError({"-o", "OUT"}, "clang: error: no input files\n");
}

TEST_F(CCommand, AnErrorIsOneLineWhereverItIs) {
    Write("inner.h", "#include \"none.h\"\n");
    Write("outer.c", "#include \"inner.h\"\nint main(void) { return 0; }\n");
    ExpectError({"outer.c", "-o", "OUT"}, "./inner.h:1:10: fatal error: 'none.h' file not found\n");
    Write("note.c", "int f(int a) { return a; }\nint main(void) { return f(1, 2); }\n");
    ExpectError({"note.c", "-o", "OUT"},
                "note.c:2:30: error: too many arguments to function call, expected single argument "
                "'a', have 2 arguments\n");
    fs::create_directory(folder.path + "/with blanks");
    Write("with blanks/note.c", "int f(int a) { return a; }\nint main(void) { return f(); }\n");
    ExpectError({"with blanks/note.c", "-o", "OUT"},
                "with blanks/note.c:2:27: error: too few arguments to function call, single "
                "argument 'a' was not specified\n");
    Write("quoted.c", "#error what: note: this is no note\nint main(void) { return 0; }\n");
    ExpectError({"quoted.c", "-o", "OUT"}, "quoted.c:1:2: error: what: note: this is no note\n");
    Write("two.c", "int x = ;\nint y = ;\n");
    ExpectError({"two.c", "-o", "OUT"},
                "two.c:1:9: error: expected expression\ntwo.c:2:9: error: expected expression\n");
    Write("twice.c", "int down2(void) { return 1; }\n");
    Write("again.c", "int down2(void) { return 2; }\n");
    ExpectError(
        {"main.c", "twice.c", "again.c", "-o", "OUT"},
        "wasm-ld-14: error: duplicate symbol: down2, defined in twice.o, defined in again.o\n");
    ExpectError({"main.c", "-lnone", "-o", "OUT"},
                "wasm-ld-14: error: unable to find library -lnone\n");
}

// What the C library imports has its place in the runtime, and no other name leads there.
TEST_F(CCommand, ImportsOfTheSystemUnderOwnNamesAreRefused) {
    Write("own.c",
          "__attribute__((import_module(\"wasi_snapshot_preview1\"), import_name(\"fd_write\")))\n"
          "int my_write(int, const void*, int, int*);\n"
          "__attribute__((import_module(\"env\"), import_name(\"draw\"))) void my_draw(void);\n"
          "int main(void) { int n; my_draw(); return my_write(1, 0, 0, &n); }\n");
    const ProgramResult result = Compile({"own.c", "-o", "OUT"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find(
                  "mxwasm: module.wasm: unknown import \"wasi_snapshot_preview1.fd_write\"\n"),
              std::string::npos)
        << result.errors;
    EXPECT_NE(result.errors.find("mxwasm: module.wasm: unknown import \"env.draw\"\n"),
              std::string::npos);
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 2);
}

TEST_F(CCommand, ObjectsAloneAreLinkedWithoutAWord) {
    ASSERT_EQ(Compile({"-c", "main.c"}).errors, "");
    const ProgramResult linked = Compile({"main.o", "-o", "MAIN.MX"});
    EXPECT_EQ(linked.status, 0);
    EXPECT_EQ(linked.errors, "");
    EXPECT_TRUE(fs::exists(folder.path + "/MAIN.MX"));
}

}  // namespace
}  // namespace moxi
