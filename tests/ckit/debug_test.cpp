// C programs with debugging information: what the debugger, the profile and a fatal line say.

#include <gtest/gtest.h>

#include "tests/support/headless_run.h"

namespace moxi {
namespace {

const char* const kProgram =
    "#include <stdbool.h>\n"                                                          // 1
    "enum colour { RED, GREEN };\n"                                                   // 2
    "struct point { int x, y; };\n"                                                   // 3
    "static int kinds(signed char a, unsigned short b, long long c, float d,\n"       // 4
    "                 double e, bool f, char g, enum colour h, struct point* i) {\n"  // 5
    "    return a + b + (int)c + (int)d + (int)e + f + g + h + i->x;\n"               // 6
    "}\n"                                                                             // 7
    "static int down(int depth, unsigned sum) {\n"                                    // 8
    "    if (depth == 0)\n"                                                           // 9
    "        __builtin_trap();\n"                                                     // 10
    "    return down(depth - 1, sum + (unsigned)depth) + 1;\n"                        // 11
    "}\n"                                                                             // 12
    "int main(void) {\n"                                                              // 13
    "    struct point p = {1, 2};\n"                                                  // 14
    "    int all = kinds(-5, 65535, -1234567890123, 1.5f, -0.25, true, 'x', GREEN, &p);\n"
    "    return down(2, 4000000000u) + all;\n"  // 16
    "}\n";

struct Compiled {
    TemporaryFolder folder;
    explicit Compiled(const std::vector<std::string>& more) {
        WriteTextFile(folder.path + "/main.c", kProgram);
        std::vector<std::string> arguments = {"-g",      "main.c",       "-o",
                                              "game/",   "--symbols",    "game/MAIN.SYM",
                                              "--lines", "game/MAIN.LIN"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ProgramResult compiled = RunProgram("mxcc", arguments, folder.path);
        EXPECT_EQ(compiled.status, 0);
        EXPECT_EQ(compiled.errors, "");
    }
    std::string Debug(const std::string& commands) const {
        return RunProgram("moxi", {"--debug", "--headless", "--data-folder", "data", "game"},
                          folder.path, commands)
            .output;
    }
};

void ExpectPart(const std::string& text, const std::string& part) {
    EXPECT_NE(text.find(part), std::string::npos) << part << "\nis not in\n" << text;
}

TEST(CDebug, ArgumentsOfEveryKindHaveTheirValues) {
    const Compiled program({});
    const std::string said = program.Debug("break main.c:4\nc\nbacktrace 1\nq\n");
    ExpectPart(said, "main.c:6  return a + b + (int)c + (int)d + (int)e + f + g + h + i->x;\n");
    ExpectPart(said,
               "    a=-5, b=65535, c=-1234567890123, d=1.5, e=-0.25, f=true, g=120 'x', h=1, "
               "i=0x");
}

TEST(CDebug, TheFramesOfARecursionHaveTheirOwnArguments) {
    const Compiled program({});
    const std::string said = program.Debug("b main.c:10\nc\nbt\nq\n");
    ExpectPart(said, " at main.c:10\n");
    ExpectPart(said, "    depth=0, sum=4000000003\n");
    ExpectPart(said, "    depth=1, sum=4000000002\n");
    ExpectPart(said, "    depth=2, sum=4000000000\n");
    ExpectPart(said, "#3  ");
    ExpectPart(said, " <__original_main");
    ExpectPart(said, " at main.c:16  FP=0x");
}

TEST(CDebug, AFatalLineNamesFunctionFileAndLine) {
    for (const char* const level : {"-O0", "-O1"}) {
        const Compiled program({level});
        const ProgramResult run = RunProgram(
            "moxi", {"--headless", "--data-folder", "data", "--profile", "profile.txt", "game"},
            program.folder.path);
        EXPECT_EQ(run.status, 1);
        ExpectPart(run.errors, "log: Trap: unreachable in ");
        ExpectPart(ReadTextFile(program.folder.path + "/data/debug.log"), " (main.c:10)");
        ExpectPart(ReadTextFile(program.folder.path + "/profile.txt"), "  main.c:11\n");
    }
}

TEST(CDebug, BoundsAreCheckedWhereItIsAskedFor) {
    const TemporaryFolder folder;
    WriteTextFile(folder.path + "/main.c",
                  "int main(void) {\n"
                  "    volatile int* far = (int*)0x7FFFFFF0;\n"
                  "    return *far;\n"
                  "}\n");
    const ProgramResult compiled =
        RunProgram("mxcc", {"--check-bounds", "-g", "main.c", "-o", "game/"}, folder.path);
    EXPECT_EQ(compiled.errors, "");
    const ProgramResult run =
        RunProgram("moxi", {"--headless", "--data-folder", "data", "game"}, folder.path);
    ExpectPart(run.errors, "log: Trap: out of bounds memory access in __original_main\n");
}

}  // namespace
}  // namespace moxi
