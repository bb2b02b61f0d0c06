// Random C programs, compiled for this computer and by mxcc: their checksums are the same.
// MOXI_C_PROGRAMS says how many, and MOXI_C_SEED from which one on; scripts/c-differential runs
// many. They are in modules of twenty, which makes them cheap, every other module without
// optimization, the rest at one of three levels. A few more are modules of their own.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "tests/support/headless_run.h"
#include "vm/guard.h"

namespace moxi {
namespace {

u64 Wish(const char* name, u64 standard) {
    const char* const text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : standard;
}

bool IsDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

// A long has 64 bits here and 32 there: numbers lose the single L behind them and get the type
// that they need.
std::string WithoutLong(const std::string& program) {
    std::string result;
    for (size_t i = 0; i < program.size(); ++i) {
        const bool afterNumber = i > 1 && (IsDigit(program[i - 1]) ||
                                           (program[i - 1] == 'U' && IsDigit(program[i - 2])));
        const bool single = i + 1 < program.size() && program[i + 1] != 'L';
        if (program[i] == 'L' && afterNumber && single) {
            continue;
        }
        result += program[i];
    }
    return result;
}

const std::vector<std::string> kOptions = {"-w", "-I/usr/include/csmith", "program.c", "-o"};

std::vector<std::string> Csmith(u64 seed) {
    return {"--seed", std::to_string(seed), "--max-funcs", "5", "--max-block-depth",
            "3",      "--no-argc"};
}

// The checksum that the program prints, "" for one that takes too long.
std::string NativeChecksum(const std::string& folder, const std::string& level) {
    std::vector<std::string> arguments = {level};
    arguments.insert(arguments.end(), kOptions.begin(), kOptions.end());
    arguments.emplace_back("program");
    const ProgramResult compiled = RunProgram("/usr/bin/clang", arguments, folder);
    EXPECT_EQ(compiled.status, 0) << compiled.errors;
    const ProgramResult run = RunProgram("/usr/bin/timeout", {"2", "./program"}, folder);
    return run.status == 0 ? run.output : "";
}

std::string MachineChecksum(const std::string& folder, const std::string& level) {
    std::vector<std::string> arguments = {level};
    arguments.insert(arguments.end(), kOptions.begin(), kOptions.end());
    arguments.emplace_back("game/");
    const ProgramResult compiled = RunProgram("mxcc", arguments, folder);
    if (compiled.status != 0) {
        return compiled.errors;
    }
    const std::string moxi = MOXI_BIN_DIR "/moxi";
    const ProgramResult run =
        RunProgram("/usr/bin/timeout",
                   {"300", moxi, "--headless", "--data-folder", folder + "/data", "game"}, folder);
    const size_t at = run.errors.find("log: checksum");
    return at == std::string::npos ? run.errors : run.errors.substr(at + 5);
}

// Twenty programs in one, which runs those that its arguments name.
struct Bundle {
    static constexpr u64 kPrograms = 20;
    TemporaryFolder folder;
    std::vector<std::string> files;

    explicit Bundle(u64 first) {
        std::string driver = "#include <stdio.h>\n#include <stdlib.h>\n";
        std::string cases;
        for (u64 i = 0; i < kPrograms; ++i) {
            const std::string number = std::to_string(i);
            const std::string main = "main_" + number;
            const ProgramResult made =
                RunProgram("/usr/bin/csmith", Csmith(first + i), folder.path);
            EXPECT_EQ(made.status, 0) << made.errors;
            files.push_back("program" + number + ".c");
            WriteTextFile(folder.path + "/" + files.back(),
                          "#define main " + main + "\n" + WithoutLong(made.output));
            driver += "int " + main + "(void);\n";
            cases += "        case " + number + ": " + main + "(); break;\n";
        }
        files.emplace_back("driver.c");
        WriteTextFile(folder.path + "/driver.c", driver +
                                                     "int main(int count, char** texts) {\n"
                                                     "    for (int i = 1; i < count; ++i) {\n"
                                                     "        printf(\"%s: \", texts[i]);\n"
                                                     "        switch (atoi(texts[i])) {\n" +
                                                     cases +
                                                     "        }\n    }\n    return 0;\n}\n");
    }
    ProgramResult Compile(const std::string& compiler, const std::string& level,
                          const std::string& output) const {
        std::vector<std::string> arguments = {level, "-w", "-I/usr/include/csmith", "-o", output};
        arguments.insert(arguments.end(), files.begin(), files.end());
        return RunProgram(compiler, arguments, folder.path);
    }
    // Runs each by itself here: one line "3: checksum = ..." for each that ends within a second of
    // the processor's time.
    std::string RunHere(std::string& numbers) const {
        std::string lines;
        for (u64 i = 0; i < kPrograms; ++i) {
            const std::string number = std::to_string(i);
            const ProgramResult run =
                RunProgram("/usr/bin/prlimit", {"--cpu=1", "./program", number}, folder.path);
            if (run.status != 0) {
                continue;
            }
            lines += run.output;
            numbers += number + "\n";
        }
        return lines;
    }
};

TEST(CPrograms, InOneModuleGiveTheChecksumsThatTheyGiveOnThisComputer) {
    static const char* const kLevels[] = {"-O0", "-O2", "-O0", "-Os", "-O0", "-O1"};
    const u64 count = Wish("MOXI_C_PROGRAMS", kCheckedAccess ? 20 : 180);
    const u64 first = Wish("MOXI_C_SEED", 1) + 1000000;
    for (u64 seed = first; seed < first + count; seed += Bundle::kPrograms) {
        const std::string level = kLevels[seed / Bundle::kPrograms % std::size(kLevels)];
        const Bundle bundle(seed);
        ASSERT_EQ(bundle.Compile("/usr/bin/clang", level, "program").errors, "");
        ASSERT_EQ(bundle.Compile("mxcc", level, "game/").errors, "");
        std::string numbers;
        const std::string wanted = bundle.RunHere(numbers);
        EXPECT_GE(std::count(numbers.begin(), numbers.end(), '\n'), 10);
        WriteTextFile(bundle.folder.path + "/game/ARGS.TXT", numbers);
        const ProgramResult run =
            RunProgram("moxi", {"--headless", "--data-folder", "data", "game"}, bundle.folder.path);
        std::string lines;
        std::istringstream logged(run.errors);
        for (std::string line; std::getline(logged, line);) {
            // The host may have a word of its own.
            if (line.find("checksum") == std::string::npos && !line.starts_with("fatal: ")) {
                continue;
            }
            lines += (line.starts_with("log: ") ? line.substr(5) : line) + "\n";
        }
        EXPECT_EQ(lines, wanted) << "programs from " << seed << " on with " << level;
    }
}

TEST(CPrograms, GiveTheChecksumsThatTheyGiveOnThisComputer) {
    static const char* const kLevels[] = {"-O0", "-O1", "-O2", "-Os"};
    // The sanitizers look at mxcc and the machine, which a few programs keep busy for long.
    const u64 count = std::max<u64>(kCheckedAccess ? 4 : 20, Wish("MOXI_C_PROGRAMS", 0) / 50);
    const u64 first = Wish("MOXI_C_SEED", 1);
    u64 compared = 0;
    for (u64 seed = first; seed < first + count; ++seed) {
        const TemporaryFolder folder;
        const ProgramResult made = RunProgram("/usr/bin/csmith", Csmith(seed), folder.path);
        ASSERT_EQ(made.status, 0) << made.errors;
        WriteTextFile(folder.path + "/program.c", WithoutLong(made.output));
        const std::string level = kLevels[seed % std::size(kLevels)];
        const std::string wanted = NativeChecksum(folder.path, level);
        if (wanted.empty()) {
            continue;
        }
        ++compared;
        EXPECT_EQ(MachineChecksum(folder.path, level), wanted)
            << "program " << seed << " with " << level;
    }
    EXPECT_GE(compared, count / 2);
}

}  // namespace
}  // namespace moxi
