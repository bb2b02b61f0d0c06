#pragma once
// Runs one image on the interpreter, at full speed and traced, and on the plain executor, and
// compares what is left.

#include <functional>
#include <string>
#include <vector>

#include "base/types.h"
#include "tests/support/plain_executor.h"

namespace moxi {

// --- An image on paper

// Bytes of an image that a test writes into before a run, or as it expects them after it.
struct PaperImage {
    std::vector<u8> bytes;

    u64 Get(u32 address, u32 size) const;
    void Put(u32 address, u64 value, u32 size);
    void PutWords(u32 address, const std::vector<u32>& words);
};

// Addresses of the picture that BenchPicture gives.
constexpr u32 kBenchSize = 4096;
constexpr u32 kBenchCode = 512;  // 512..1023 is filled with STOP
constexpr u32 kBenchStackLimit = 2048;
constexpr u32 kBenchStackTop = 3072;
constexpr u32 kBenchSP = 2800;
constexpr u32 kBenchFP = 1536;

// STOP wherever the code may go on; registers, data, stack and heap filled with a pattern that
// shows stray writes; PC at 512, SP 2800, FP 1536, modal chain and block count 0, no flag set.
PaperImage BenchPicture();

constexpr u32 RegisterAt(u32 r) {
    return 8 + 8 * r;
}

// --- Runs

enum class Engine { Fast, Translated, Traced, Plain };

const char* EngineName(Engine engine);

struct RunResult {
    plain::Outcome outcome = plain::Outcome::BudgetSpent;
    std::vector<u8> image;
    std::vector<std::string> messages;
    std::string debugLog;
    std::vector<u32> trace;  // at most the newest 1,024 addresses, oldest first
    i32 modalDepth = 0;
    u32 pcPreJsr = 0;
    u32 runState = 0;
    bool presentNotify = false;
    bool nansMet = false;
};

struct RunOptions {
    u64 budget = 1000;  // instructions; binds the traced interpreter and the plain executor only
    i32 modalDepth = 0;
    u32 largestRegion = 600;  // instructions that are translated at a time
    // What the plain executor's SYS does; the interpreter's calls vmSlots.sysDispatch.
    std::function<void(plain::Machine&)> plainSys = [](plain::Machine&) {};
};

// Runs an image from its header's PC. Needs StartVmBench; leaves the heap as it is.
RunResult RunOn(Engine engine, const std::vector<u8>& bytes, const RunOptions& options = {});

// --- Comparison

// "R3+2", "SP", "slot", "0x00000440".
std::string FieldName(u32 address);

// One line for each 32-bit field of the two images that differs, at most ten; empty when equal.
std::string Differences(const std::vector<u8>& got, const std::vector<u8>& wanted);

// What a run is expected to leave; the fields with defaults are those that hardly any run changes.
struct Expected {
    PaperImage after;
    plain::Outcome outcome = plain::Outcome::Stopped;
    std::vector<std::string> messages = {};
    i32 modalDepthBefore = 0;
    i32 modalDepth = 0;
    bool presentNotify = false;
};

// Runs `before` on all three engines and expects `expected` of each; a failure names the case, the
// engine and the field.
void ExpectRun(const std::string& name, const PaperImage& before, const Expected& expected);

}  // namespace moxi
