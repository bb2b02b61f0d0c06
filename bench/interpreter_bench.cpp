// Times the machine on six kernels, each written for MX, in C++ and in Lua, checks that all
// compute the same, and prints a table in Markdown. MX is interpreted and translated. Node.js runs
// the C++ kernels as wasm, compiled by its optimizing compiler and by its baseline compiler alone.
// What an indirect jump costs that the processor cannot foresee stands before the table: what an
// interpreter takes depends on it most.
//
//   interpreter_bench [--runs N] [--update FILE] [KERNEL...]
//
// --update also replaces the table in FILE, between the two marker lines.

#include <array>
#include <cmath>
#include <cstdio>
#include <functional>
#include <optional>
#include <utility>

#include "bench/mx_kernel.h"
#include "bench/native_kernels.h"
#include "bench/table.h"
#include "bench/timing.h"
#include "translate/translator.h"

namespace moxi {

namespace {

constexpr const char* kBeginMarker = "<!-- interpreter_bench begins -->";
constexpr const char* kEndMarker = "<!-- interpreter_bench ends -->";
const std::string kKernelFolder = MOXI_SOURCE_DIR "/bench/kernels/";

struct Options {
    int runs = 7;
    std::string update;
    std::vector<std::string> kernels;  // empty: all
};

struct Result {
    const NativeKernel* kernel = nullptr;
    u64 instructions = 0;
    double machine = 0.0;     // seconds, medians; interpreted
    double translated = 0.0;  // 0 when there is no translator
    double native = 0.0;
    double lua = 0.0;   // 0 when Lua is not there
    double node = 0.0;  // 0 when Node.js is not there
    double nodeBaseline = 0.0;
};

void ExpectChecksum(const NativeKernel& kernel, const char* language, u32 got, u32 wanted) {
    if (got == wanted) {
        return;
    }
    Fail(std::string(kernel.name) + ": the checksum in " + language + " is " + std::to_string(got) +
         ", in C++ " + std::to_string(wanted));
}

// --- One kernel in each language

u32 MeasureNative(int runs, Result& result) {
    const NativeKernel& kernel = *result.kernel;
    result.native = MedianTime(
        runs, [&] { kernel.setup(kernel.size); }, [&] { kernel.run(kernel.size); });
    return kernel.checksum(kernel.size);
}

void LoadKernelOf(const NativeKernel& kernel) {
    moxi::StopTranslator();
    const std::string error = mx_kernel::LoadKernel(kKernelFolder + kernel.name + ".mxs");
    if (!error.empty()) {
        Fail(error);
    }
}

void SetUpMachine(const NativeKernel& kernel) {
    mx_kernel::SendKernel(mx_kernel::kSetup, kernel.size);
}

void RunMachine(const NativeKernel& kernel) {
    mx_kernel::SendKernel(mx_kernel::kRun, kernel.size);
}

u32 MeasureMachine(int runs, Result& result) {
    const NativeKernel& kernel = *result.kernel;
    LoadKernelOf(kernel);
    SetUpMachine(kernel);
    const u64 before = pcTraceCount;
    RunMachine(kernel);
    result.instructions = pcTraceCount - before;
    result.machine = MedianTime(
        runs, [&] { SetUpMachine(kernel); }, [&] { RunMachine(kernel); });
    return mx_kernel::SendKernel(mx_kernel::kChecksum, kernel.size);
}

// Nothing when there is no translator.
std::optional<u32> MeasureTranslated(int runs, Result& result) {
    const NativeKernel& kernel = *result.kernel;
    LoadKernelOf(kernel);
    if (StartTranslator({}) != TranslatorStart::Running) {
        return std::nullopt;
    }
    SetUpMachine(kernel);
    RunMachine(kernel);
    result.translated = MedianTime(
        runs, [&] { SetUpMachine(kernel); }, [&] { RunMachine(kernel); });
    const u32 checksum = mx_kernel::SendKernel(mx_kernel::kChecksum, kernel.size);
    moxi::StopTranslator();
    return checksum;
}

// --- The cost of a jump

using Step = u64 (*)(u64 x);

template <u64 kNumber>
u64 StepTo(u64 x) {
    x ^= x << 13;
    x ^= x >> 7;
    x ^= x << 17;
    return x + kNumber;
}

constexpr u32 kSteps = 64;

template <u64... kNumbers>
constexpr std::array<Step, kSteps> Steps(std::integer_sequence<u64, kNumbers...>) {
    return {&StepTo<kNumbers>...};
}

// Seconds for each call of a step, chosen at random.
double StepTime(const std::array<Step, kSteps>& steps, int runs) {
    constexpr u32 kCalls = 2000000;
    u64 x = 88172645463325252;
    const auto run = [&] {
        for (u32 i = 0; i < kCalls; ++i) {
            x = steps[x >> 20 & (kSteps - 1)](x);
        }
    };
    const double seconds = MedianTime(
        runs, [] {}, run);
    if (x == 0) {
        Fail("the random numbers have ended");
    }
    return seconds / kCalls;
}

// How much longer an indirect call takes whose target is random than one that goes to the same
// place each time, in nanoseconds.
double UnforeseenJump(int runs) {
    const std::array<Step, kSteps> random = Steps(std::make_integer_sequence<u64, kSteps>{});
    std::array<Step, kSteps> same;
    same.fill(random[0]);
    return (StepTime(random, runs) - StepTime(same, runs)) * 1e9;
}

bool HasLua() {
    return std::system("command -v lua5.4 >/dev/null 2>&1") == 0;
}

// The median of the seconds that a command prints, line by line, behind a checksum.
double MeasureCommand(const std::string& command, u32& checksum) {
    const std::vector<double> times = TimesOf(command, checksum);
    if (times.empty()) {
        Fail(command + " failed");
    }
    return Median(times);
}

u32 MeasureLua(int runs, Result& result) {
    const NativeKernel& kernel = *result.kernel;
    u32 checksum = 0;
    result.lua = MeasureCommand("lua5.4 " + ShellQuoted(kKernelFolder + "harness.lua") + " " +
                                    ShellQuoted(kKernelFolder + kernel.name + ".lua") + " " +
                                    std::to_string(kernel.size) + " " + std::to_string(runs),
                                checksum);
    return checksum;
}

#ifdef MOXI_WASM_KERNELS
constexpr const char* kWasmKernels = MOXI_WASM_KERNELS;
#else
constexpr const char* kWasmKernels = nullptr;
#endif

// "v18.20.4"; empty when there is no Node.js or no kernel for it.
std::string NodeVersion() {
    if (kWasmKernels == nullptr) {
        return {};
    }
    return FirstLineOf("node --version 2>/dev/null");
}

// Times the kernels in Node.js: with its optimizing compiler, or with its baseline compiler alone.
// Returns the checksum.
u32 MeasureNode(int runs, bool isBaseline, Result& result) {
    const auto number = result.kernel - nativeKernels.data();
    u32 checksum = 0;
    (isBaseline ? result.nodeBaseline : result.node) =
        MeasureCommand(std::string(isBaseline ? "node --liftoff-only " : "node ") +
                           ShellQuoted(kKernelFolder + "harness.mjs") + " " +
                           ShellQuoted(kWasmKernels) + " " + std::to_string(number) + " " +
                           std::to_string(result.kernel->size) + " " + std::to_string(runs),
                       checksum);
    return checksum;
}

struct Others {
    bool hasLua = false;
    std::string node;  // its version; empty when it is not there
};

Result Measure(const NativeKernel& kernel, int runs, const Others& others) {
    Result result;
    result.kernel = &kernel;
    const u32 wanted = MeasureNative(runs, result);
    ExpectChecksum(kernel, "MX", MeasureMachine(runs, result), wanted);
    if (const std::optional<u32> checksum = MeasureTranslated(runs, result)) {
        ExpectChecksum(kernel, "translated MX", *checksum, wanted);
    }
    if (others.hasLua) {
        ExpectChecksum(kernel, "Lua", MeasureLua(runs, result), wanted);
    }
    if (!others.node.empty()) {
        ExpectChecksum(kernel, "wasm", MeasureNode(runs, false, result), wanted);
        ExpectChecksum(kernel, "wasm", MeasureNode(runs, true, result), wanted);
    }
    return result;
}

// --- The table

std::string CompilerName() {
#if defined(__clang__)
    return "clang " __clang_version__;
#else
    return "g++ " __VERSION__;
#endif
}

double GeometricMean(const std::vector<Result>& results,
                     const std::function<double(const Result&)>& value) {
    double sum = 0.0;
    for (const Result& result : results) {
        sum += std::log(value(result));
    }
    return std::exp(sum / static_cast<double>(results.size()));
}

double NsPerInstruction(const Result& result) {
    return result.machine * 1e9 / static_cast<double>(result.instructions);
}

// The times of a table's row, and by what they are shown.
struct Column {
    const char* name;
    double Result::*seconds;
};
constexpr Column kColumns[] = {{"MX", &Result::machine},
                               {"translated", &Result::translated},
                               {"Node.js", &Result::node},
                               {"its baseline", &Result::nodeBaseline},
                               {"Lua 5.4", &Result::lua}};

std::string Format(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string Number(double value) {
    return Format("%.2f", value);
}

std::string Row(const Result& result) {
    std::string row = std::string("| ") + result.kernel->name + " | " +
                      std::to_string(result.instructions) + " | " +
                      Number(NsPerInstruction(result)) + " | " + Number(result.native * 1e3);
    for (const Column& column : kColumns) {
        const double seconds = result.*column.seconds;
        row += " | " + (seconds > 0 ? Number(seconds * 1e3) : "-");
    }
    for (const Column& column : kColumns) {
        const double seconds = result.*column.seconds;
        row += " | " + (seconds > 0 ? Number(seconds / result.native) : "-");
    }
    return row + " |\n";
}

std::string MeanRow(const std::vector<Result>& results) {
    std::string row =
        "| geometric mean | | " + Number(GeometricMean(results, NsPerInstruction)) + " | ";
    for (size_t i = 0; i < std::size(kColumns); ++i) {
        row += " | ";
    }
    for (const Column& column : kColumns) {
        const auto ratio = [&column](const Result& result) {
            return result.*column.seconds / result.native;
        };
        const bool isThere = results.front().*column.seconds > 0;
        row += " | " + (isThere ? Number(GeometricMean(results, ratio)) : "-");
    }
    return row + " |\n";
}

std::string Table(const std::vector<Result>& results, int runs, double jump, const Others& others) {
    std::ostringstream out;
    out << "Processor: " << ProcessorName() << "; compiler: " << CompilerName()
        << (others.node.empty() ? "" : "; Node.js " + others.node) << "; medians of " << runs
        << " runs, processor time. An indirect jump that cannot be foreseen: " << Number(jump)
        << " ns.\n\n"
        << "| Kernel | MX instructions | ns per instruction | C++ ms";
    for (const Column& column : kColumns) {
        out << " | " << column.name << " ms";
    }
    for (const Column& column : kColumns) {
        out << " | " << column.name << " / C++";
    }
    out << " |\n|---|---:|---:|---:";
    for (size_t i = 0; i < 2 * std::size(kColumns); ++i) {
        out << "|---:";
    }
    out << "|\n";
    for (const Result& result : results) {
        out << Row(result);
    }
    out << MeanRow(results);
    return out.str();
}

Options ReadOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--runs" && i + 1 < argc) {
            options.runs = std::max(1, std::atoi(argv[++i]));
        } else if (argument == "--update" && i + 1 < argc) {
            options.update = argv[++i];
        } else if (argument.starts_with("-")) {
            Fail("usage: interpreter_bench [--runs N] [--update FILE] [KERNEL...]");
        } else {
            options.kernels.push_back(argument);
        }
    }
    return options;
}

bool Chosen(const Options& options, const char* name) {
    return options.kernels.empty() ||
           std::find(options.kernels.begin(), options.kernels.end(), name) != options.kernels.end();
}

int Main(int argc, char** argv) {
    const Options options = ReadOptions(argc, argv);
    const Others others = {HasLua(), NodeVersion()};
    const double jump = UnforeseenJump(options.runs);
    std::vector<Result> results;
    for (const NativeKernel& kernel : nativeKernels) {
        if (!Chosen(options, kernel.name)) {
            continue;
        }
        results.push_back(Measure(kernel, options.runs, others));
    }
    if (results.empty()) {
        Fail("there is no such kernel");
    }
    ShowTable({options.runs, options.update}, kBeginMarker, kEndMarker,
              Table(results, options.runs, jump, others));
    return 0;
}

}  // namespace

}  // namespace moxi

int main(int argc, char** argv) {
    return moxi::Main(argc, argv);
}
