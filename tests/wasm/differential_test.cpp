// Random modules in the machine and in wabt's interpreter. MOXI_WASM_MODULES says how many,
// MOXI_WASM_SEED from which one on, and MOXI_WASM_NODE which part of them Node.js runs as well;
// scripts/wasm-differential runs many.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "tests/support/vm_fixture.h"
#include "tests/support/wish.h"
#include "tests/wasm/calls.h"
#include "vm/guard.h"

namespace moxi {
namespace {

struct WasmDifferentialTest : VmTest {};

// A division's own fault stands for both the line and the end.
std::vector<std::string> Seen(const CallsRun& run) {
    std::vector<std::string> lines;
    for (const std::string& line : run.lines) {
        lines.push_back(WithoutFunction(line));
    }
    for (const std::string& text : run.fatals) {
        if (text.starts_with("Division error")) {
            lines.push_back("Division error");
        }
    }
    return lines;
}

bool Agree(const std::vector<std::string>& seen, const std::vector<std::string>& wanted) {
    if (seen.size() != wanted.size()) {
        return false;
    }
    for (size_t i = 0; i < seen.size(); ++i) {
        if (seen[i] == wanted[i]) {
            continue;
        }
        if (seen[i] != "Division error") {
            return false;
        }
        if (wanted[i] != "Trap: integer divide by zero" && wanted[i] != "Trap: integer overflow") {
            return false;
        }
    }
    return true;
}

void Report(u64 seed, const RandomModule& module, const CallsRun& run,
            const std::vector<std::string>& seen, const std::vector<std::string>& wanted) {
    std::string text = "module " + std::to_string(seed) +
                       (module.anyAddress ? ", translated with checks of bounds\n" : "\n");
    for (const std::string& error : run.errors) {
        text += "error: " + error + "\n";
    }
    for (const std::string& fatal : run.fatals) {
        text += "fatal: " + fatal + "\n";
    }
    for (size_t i = 0; i < std::max(seen.size(), wanted.size()); ++i) {
        const std::string ours = i < seen.size() ? seen[i] : "(nothing)";
        const std::string theirs = i < wanted.size() ? wanted[i] : "(nothing)";
        if (ours != theirs) {
            text += "  here  " + ours + "\n  there " + theirs + "\n  call  ";
            text += i < module.calls.size() ? CallText({module.calls[i]}) : "\n";
            break;
        }
    }
    ADD_FAILURE() << text;
    const char* const folder = std::getenv("MOXI_WASM_KEEP");
    if (folder == nullptr) {
        return;
    }
    const std::string path = std::string(folder) + "/" + std::to_string(seed);
    std::ofstream(path + ".wasm", std::ios::binary) << module.bytes;
    std::ofstream(path + ".txt") << CallText(module.calls);
}

// What wabt's interpreter says Node.js says, too, in one of `step` modules: Node.js takes the
// longest of all.
void CompareWithNode(u64 start, const std::vector<RandomModule>& modules,
                     const std::vector<std::vector<std::string>>& wanted, size_t step) {
    std::vector<RandomModule> some;
    std::vector<size_t> places;
    for (size_t i = 0; i < modules.size(); i += step) {
        some.push_back(modules[i]);
        places.push_back(i);
    }
    const std::vector<std::vector<std::string>> theirs = NodeLines(some);
    ASSERT_EQ(theirs.size(), some.size()) << "from module " << start << " on";
    for (size_t i = 0; i < some.size(); ++i) {
        const std::vector<std::string>& known = wanted[places[i]];
        bool same = theirs[i].size() == known.size();
        for (size_t k = 0; same && k < known.size(); ++k) {
            same = SameTrap(theirs[i][k], known[k]);
        }
        EXPECT_TRUE(same) << "module " << start + places[i] << ": wabt's interpreter and Node.js "
                          << "differ";
    }
}

TEST_F(WasmDifferentialTest, RandomModulesGiveWhatWabtsInterpreterGives) {
    constexpr u64 kBatch = 500;
    // The sanitizers see in a part of them what they would see in all.
    const u64 count = Wish("MOXI_WASM_MODULES", kCheckedAccess ? 1000 : 10000);
    const u64 first = Wish("MOXI_WASM_SEED", 1);
    const StandardError quiet(true);  // the fatal messages
    u64 traps = 0;
    u32 wrong = 0;
    for (u64 start = first; start < first + count && wrong < 20; start += kBatch) {
        std::vector<RandomModule> modules;
        for (u64 seed = start; seed < std::min(start + kBatch, first + count); ++seed) {
            modules.push_back(MakeRandomModule(seed));
        }
        const std::vector<std::vector<std::string>> wanted = WabtLines(modules);
        ASSERT_EQ(wanted.size(), modules.size()) << "from module " << start << " on";
        CompareWithNode(start, modules, wanted, Wish("MOXI_WASM_NODE", 10));
        for (size_t i = 0; i < modules.size(); ++i) {
            TranslateOptions options = CallOptions();
            options.checkBounds = modules[i].anyAddress;
            const CallsRun run = RunCalls(modules[i].bytes, CallText(modules[i].calls), options);
            const std::vector<std::string> seen = Seen(run);
            traps += wanted[i].back().starts_with("Trap: ") ? 1 : 0;
            if (!run.errors.empty() || !Agree(seen, wanted[i])) {
                Report(start + i, modules[i], run, seen, wanted[i]);
                ++wrong;
            }
        }
    }
    if (count >= 1000) {
        EXPECT_GT(traps, count / 50);
    }
}

}  // namespace
}  // namespace moxi
