// C programs with debugging information: what the debugger, the profile and a fatal line say.

#include <gtest/gtest.h>

#include <random>

#include "tests/support/headless_run.h"
#include "wasm/translate.h"

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

const char* const kLoop =
    "#include <stdio.h>\n"                                                      // 1
    "__attribute__((noinline)) static int helper(int x, int y, double d) {\n"   // 2
    "    int z = x * 3;\n"                                                      // 3
    "    for (int i = 0; i < y; ++i) {\n"                                       // 4
    "        z += z ^ i;\n"                                                     // 5
    "        printf(\"%d %f\\n\", z, d);\n"                                     // 6
    "    }\n"                                                                   // 7
    "    return z;\n"                                                           // 8
    "}\n"                                                                       // 9
    "int main(void) {\n"                                                        // 10
    "    static int calls = 12;\n"                                              // 11
    "    int lost = calls * 2;\n"                                               // 12
    "    return helper(4, 3, 0.5) + helper(++calls, 1, 2.5) * (lost == 77);\n"  // 13
    "}\n";

struct Compiled {
    TemporaryFolder folder;
    explicit Compiled(const std::vector<std::string>& more, const char* text = kProgram) {
        WriteTextFile(folder.path + "/main.c", text);
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

TEST(CDebug, VariablesHaveTheirValues) {
    const Compiled program({}, kLoop);
    const std::string said =
        program.Debug("b main.c:6\nc\nbt 2\nc\nbt 1\nd 1\nb main.c:8\nc\nbt 1\nq\n");
    // 12 + (12 ^ 0) is 24, 24 + (24 ^ 1) is 49, 49 + (49 ^ 2) is 100.
    ExpectPart(said, "    x=4, y=3, d=0.5\n    variables: z=24, i=0\n");
    ExpectPart(said, "    variables: calls=12, lost=24\n");
    ExpectPart(said, "    x=4, y=3, d=0.5\n    variables: z=49, i=1\n");
    // Behind the loop there is no i.
    ExpectPart(said, "    x=4, y=3, d=0.5\n    variables: z=100\n");
}

// Compilers tell of what they keep in locals of wasm, and those lie in registers for as long as
// somebody wants them.
TEST(CDebug, OptimizedCodeSaysWhereAVariableIsNotKnown) {
    for (const char* const version : {"-gdwarf-4", "-gdwarf-5"}) {
        const Compiled program({"-O2", version}, kLoop);
        const std::string said =
            program.Debug("b main.c:2\nc\nbt 2\nc\nbt 1\nd 1\nb main.c:8\nc\nbt 1\nq\n");
        ExpectPart(said, "    x=4, y=3, d=0.5\n    variables: z=not known here\n");
        ExpectPart(said, ", lost=not known here\n");
        ExpectPart(said, "    x=13, y=1, d=2.5\n    variables: z=not known here\n");
        ExpectPart(said, "    x=not known here, y=not known here, d=not known here\n");
    }
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

// Whatever stands in the sections of debugging information, a module is translated or refused as it
// would be without.
TEST(CDebug, DamagedInformationHarmsNothing) {
    const TemporaryFolder folder;
    WriteTextFile(folder.path + "/main.c", kProgram);
    std::mt19937_64 random(815);
    for (const char* const version : {"-gdwarf-4", "-gdwarf-5"}) {
        ASSERT_EQ(RunProgram("mxcc", {"-c", version, "main.c"}, folder.path).errors, "");
        const std::string whole = ReadTextFile(folder.path + "/main.o");
        const std::vector<std::string> before = Translate(whole, {}).errors;
        const size_t first = whole.find(".debug_");
        ASSERT_NE(first, std::string::npos);
        for (u32 i = 0; i < 1500; ++i) {
            std::string damaged = whole;
            for (u64 changes = 1 + random() % 8; changes > 0; --changes) {
                const size_t at = first + random() % (whole.size() - first);
                const u64 kind = random() % 3;
                damaged[at] = static_cast<char>(kind == 0 ? 0xFF : kind == 1 ? 0x80 : random());
            }
            const std::vector<std::string> errors = Translate(damaged, {}).errors;
            EXPECT_TRUE(errors == before || errors.size() == 1) << i;
        }
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
