// Random C programs, compiled for this computer and by mxcc: their checksums are the same.
// MOXI_C_PROGRAMS says how many, and MOXI_C_SEED from which one on; scripts/c-differential runs
// many.

#include <gtest/gtest.h>

#include <cstdlib>

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
        if (program[i] == 'L' && afterNumber && single) continue;
        result += program[i];
    }
    return result;
}

const std::vector<std::string> kOptions = {"-w", "-I/usr/include/csmith", "program.c", "-o"};

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
    if (compiled.status != 0) return compiled.errors;
    const std::string moxi = MOXI_BIN_DIR "/moxi";
    const ProgramResult run =
        RunProgram("/usr/bin/timeout",
                   {"300", moxi, "--headless", "--data-folder", folder + "/data", "game"}, folder);
    const size_t at = run.errors.find("log: checksum");
    return at == std::string::npos ? run.errors : run.errors.substr(at + 5);
}

TEST(CPrograms, GiveTheChecksumsThatTheyGiveOnThisComputer) {
    static const char* const kLevels[] = {"-O0", "-O1", "-O2", "-Os"};
    // The sanitizers look at mxcc and the machine, which a few programs keep busy for long.
    const u64 count = Wish("MOXI_C_PROGRAMS", kCheckedAccess ? 4 : 40);
    const u64 first = Wish("MOXI_C_SEED", 1);
    u64 compared = 0;
    for (u64 seed = first; seed < first + count; ++seed) {
        const TemporaryFolder folder;
        const ProgramResult made = RunProgram("/usr/bin/csmith",
                                              {"--seed", std::to_string(seed), "--max-funcs", "5",
                                               "--max-block-depth", "3", "--no-argc"},
                                              folder.path);
        ASSERT_EQ(made.status, 0) << made.errors;
        WriteTextFile(folder.path + "/program.c", WithoutLong(made.output));
        const std::string level = kLevels[seed % std::size(kLevels)];
        const std::string wanted = NativeChecksum(folder.path, level);
        if (wanted.empty()) continue;
        ++compared;
        EXPECT_EQ(MachineChecksum(folder.path, level), wanted)
            << "program " << seed << " with " << level;
    }
    EXPECT_GE(compared, count / 2);
}

}  // namespace
}  // namespace moxi
