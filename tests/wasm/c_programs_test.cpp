// Random C programs, compiled for this computer and by mxcc: their checksums are the same.
// MOXI_C_PROGRAMS says how many, and MOXI_C_SEED from which one on; scripts/c-differential runs
// many. They are in modules of twenty, which makes them cheap, every other module without
// optimization, the rest at one of three levels. A few more are modules of their own. What differs
// is left in the folder MOXI_C_KEEP.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>

#include "tests/support/headless_run.h"
#include "tests/support/wish.h"
#include "vm/guard.h"

namespace moxi {
namespace {

constexpr u64 kPrograms = 20;  // in a source

void KeepWhatDiffers(const std::string& folder, const std::string& name) {
    if (const char* const kept = std::getenv("MOXI_C_KEEP"); kept != nullptr) {
        const std::string copy = kept + ("/" + name);
        std::filesystem::remove_all(copy);
        std::filesystem::copy(folder, copy, std::filesystem::copy_options::recursive);
    }
}

bool IsOfWord(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

// What csmith names in the file's own scope: g_12, func_1, S0, U3, and two more.
bool IsOfFile(std::string_view word) {
    for (const std::string_view prefix : {"g_", "func_", "S", "U"}) {
        if (word.starts_with(prefix) &&
            word.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos) {
            return word.size() > prefix.size();
        }
    }
    return word == "main" || word == "__undefined";
}

// A long has 64 bits here and 32 there: numbers lose the single L behind them and get the type
// that they need.
std::string_view WithoutLong(std::string_view number) {
    const bool single = number.ends_with('L') && !number.ends_with("LL");
    return single ? number.substr(0, number.size() - 1) : number;
}

// A program to stand beside others in one source: what it names in the file's scope gets a name
// that ends with the mark. Comments go.
std::string Adapted(const std::string& program, const std::string& mark) {
    std::string result;
    for (size_t i = 0; i < program.size();) {
        if (program.compare(i, 2, "/*") == 0) {
            i = std::min(program.find("*/", i) + 2, program.size());
            continue;
        }
        size_t end = i;
        while (end < program.size() && IsOfWord(program[end])) {
            ++end;
        }
        const std::string_view word(program.data() + i, end - i);
        if (word.empty()) {
            result += program[i++];
            continue;
        }
        if (word[0] >= '0' && word[0] <= '9') {
            result += WithoutLong(word);
        } else {
            result.append(word).append(IsOfFile(word) ? mark : "");
        }
        i = end;
    }
    return result;
}

// Programs of csmith with the numbers from first on. One that csmith does not come to an end with
// does nothing.
std::vector<std::string> MakePrograms(u64 first, u64 count) {
    const TemporaryFolder folder;  // csmith notes the sizes of types there
    std::vector<std::string> programs;
    for (u64 seed = first; seed < first + count; ++seed) {
        const ProgramResult made =
            RunProgram("/usr/bin/prlimit",
                       {"--cpu=60", "csmith", "--concise", "--seed", std::to_string(seed),
                        "--max-funcs", "5", "--max-block-depth", "3", "--no-argc"},
                       folder.path);
        programs.push_back(made.status == 0 ? made.output : "int main (void) { return 0; }\n");
    }
    return programs;
}

// A program ends with its checksum, to which every byte of every variable comes by a call of this
// function. As code of its own in each of these places it would take the compilers most of their
// time.
const std::string kBegin =
    "#include <stdint.h>\n"
    "static __attribute__((noinline)) void transparent_crc(uint64_t, char*, int);\n";

// All programs in one source. On this computer it runs each in a process of its own, for 20
// milliseconds of the processor's time; nearly all end in less or never. In the machine it runs
// those that its arguments name. They are called through a table that the optimizer does not see
// through: nobody writes twenty programs into one function.
std::string OneSource(const std::vector<std::string>& programs) {
    std::string source = kBegin +
                         "#include <stdio.h>\n#include <stdlib.h>\n#include \"csmith.h\"\n"
                         "#ifndef __MOXI__\n#include <sys/time.h>\n#include <sys/wait.h>\n"
                         "#include <unistd.h>\n#endif\n";
    std::string table = "static int (*const volatile programs[])(void) = {";
    for (size_t i = 0; i < programs.size(); ++i) {
        const std::string mark = "_of_" + std::to_string(i);
        source += Adapted(programs[i], mark);
        table += "main" + mark + ", ";
    }
    return source + table + R"(};
static void run(int number) {
    printf("%d: ", number);
    crc32_context = 0xFFFFFFFFU;
    programs[number]();
}
#ifdef __MOXI__
int main(int count, char** texts) {
    for (int i = 1; i < count; ++i) {
        run(atoi(texts[i]));
    }
}
#else
int main() {
    const int count = sizeof programs / sizeof programs[0];
    for (int i = 0; i < count; ++i) {
        if (fork() == 0) {
            const struct itimerval limit = {{0, 0}, {0, 20000}};
            setitimer(ITIMER_PROF, &limit, NULL);
            run(i);
            exit(0);
        }
        wait(NULL);
    }
}
#endif
)";
}

ProgramResult Compile(const std::string& compiler, const std::string& level,
                      const std::string& folder, const std::string& output) {
    return RunProgram(compiler, {level, "-w", "-I/usr/include/csmith", "program.c", "-o", output},
                      folder);
}

// Without optimization: the least that a compiler can do wrong, and the quickest. One line
// "checksum = 1A2B3C4D" for each of the programs that ends.
std::map<u64, std::string> LinesHere(const std::vector<std::string>& programs) {
    const TemporaryFolder folder;
    WriteTextFile(folder.path + "/program.c", OneSource(programs));
    const ProgramResult compiled = Compile("/usr/bin/clang", "-O0", folder.path, "program");
    EXPECT_EQ(compiled.status, 0) << compiled.errors;
    std::istringstream output(RunProgram(folder.path + "/program", {}).output);
    std::map<u64, std::string> lines;
    for (std::string line; std::getline(output, line);) {
        const size_t colon = line.find(": checksum");
        if (colon != std::string::npos) {
            lines[std::strtoull(line.c_str(), nullptr, 10)] = line.substr(colon + 2);
        }
    }
    return lines;
}

// The lines with checksums that the module in the folder game writes, or what it ends with. A
// module that does not end shall not keep the others waiting.
std::vector<std::string> LinesOfMachine(const std::string& folder) {
    const std::string moxi =
        (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "moxi").string();
    const ProgramResult run =
        RunProgram("/usr/bin/prlimit",
                   {"--cpu=300", moxi, "--headless", "--data-folder", "data", "game"}, folder);
    WriteTextFile(folder + "/log", run.errors);
    std::vector<std::string> lines;
    std::istringstream logged(run.errors);
    for (std::string line; std::getline(logged, line);) {
        // The host may have a word of its own.
        if (line.find("checksum") != std::string::npos || line.starts_with("fatal: ")) {
            lines.push_back(line.starts_with("log: ") ? line.substr(5) : line);
        }
    }
    return lines;
}

void CompareModule(u64 first, const std::string& level) {
    const std::vector<std::string> programs = MakePrograms(first, kPrograms);
    const TemporaryFolder folder;
    WriteTextFile(folder.path + "/program.c", OneSource(programs));
    std::string numbers;
    std::vector<std::string> wanted;
    for (const auto& [number, line] : LinesHere(programs)) {
        numbers += std::to_string(number) + "\n";
        wanted.push_back(std::to_string(number) + ": " + line);
    }
    EXPECT_GE(wanted.size(), kPrograms / 2) << "programs from " << first << " on";
    const ProgramResult compiled = Compile("mxcc", level, folder.path, "game/");
    EXPECT_EQ(compiled.errors, "") << "programs from " << first << " on with " << level;
    WriteTextFile(folder.path + "/game/ARGS.TXT", numbers);
    const std::vector<std::string> lines = LinesOfMachine(folder.path);
    EXPECT_EQ(lines, wanted) << "programs from " << first << " on with " << level;
    if (lines != wanted) {
        KeepWhatDiffers(folder.path, "module-" + std::to_string(first) + level);
    }
}

TEST(CPrograms, InOneModuleGiveTheChecksumsThatTheyGiveOnThisComputer) {
    static const char* const kLevels[] = {"-O0", "-O2", "-O0", "-Os", "-O0", "-O1"};
    const u64 count = Wish("MOXI_C_PROGRAMS", kCheckedAccess ? 20 : 200);
    const u64 first = Wish("MOXI_C_SEED", 1) + 1000000;
    for (u64 seed = first; seed < first + count; seed += kPrograms) {
        CompareModule(seed, kLevels[seed / kPrograms % std::size(kLevels)]);
    }
}

void CompareOne(const std::string& program, u64 number, const std::string& level,
                const std::string& wanted) {
    const TemporaryFolder folder;
    WriteTextFile(folder.path + "/program.c", kBegin + Adapted(program, ""));
    const ProgramResult compiled = Compile("mxcc", level, folder.path, "game/");
    EXPECT_EQ(compiled.errors, "") << "program " << number << " with " << level;
    const std::vector<std::string> lines = LinesOfMachine(folder.path);
    EXPECT_EQ(lines, std::vector{wanted}) << "program " << number << " with " << level;
    if (lines != std::vector{wanted}) {
        KeepWhatDiffers(folder.path, "program-" + std::to_string(number) + level);
    }
}

TEST(CPrograms, GiveTheChecksumsThatTheyGiveOnThisComputer) {
    static const char* const kLevels[] = {"-O0", "-O1", "-O2", "-Os"};
    // The sanitizers look at mxcc and the machine, which a few programs keep busy for long.
    const u64 few = kCheckedAccess ? 4 : 8;
    const u64 count = std::max(few, Wish("MOXI_C_PROGRAMS", 0) / 50);
    const u64 first = Wish("MOXI_C_SEED", 1);
    const std::vector<std::string> programs = MakePrograms(first, count);
    const std::map<u64, std::string> wanted = LinesHere(programs);
    EXPECT_GE(wanted.size(), count / 2);
    for (const auto& [number, line] : wanted) {
        const u64 seed = first + number;
        CompareOne(programs[number], seed, kLevels[seed % std::size(kLevels)], line);
    }
}

}  // namespace
}  // namespace moxi
