// Times the machine on six kernels, each written for MX, in C++ and in Lua, checks that all
// compute the same, and prints a table in Markdown.
//
//   interpreter_bench [--runs N] [--update FILE] [KERNEL...]
//
// --update also replaces the table in FILE, between the two marker lines.

#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <iostream>

#include "bench/mx_kernel.h"
#include "bench/native_kernels.h"
#include "bench/table.h"
#include "translate/translator.h"

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
    double machine = 0.0;  // seconds, medians
    double native = 0.0;
    double lua = 0.0;  // 0 when Lua is not there
};

// Processor time: what other programs take meanwhile does not count, as in Lua's os.clock.
double Now() {
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double MedianTime(int runs, const std::function<void()>& setup, const std::function<void()>& run) {
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        setup();
        const double start = Now();
        run();
        times.push_back(Now() - start);
    }
    return Median(times);
}

[[noreturn]] void Fail(const std::string& what) {
    std::cerr << "interpreter_bench: " << what;
    std::exit(1);
}

void ExpectChecksum(const NativeKernel& kernel, const char* language, u32 got, u32 wanted) {
    if (got == wanted) return;
    Fail(std::string(kernel.name) + ": the checksum in " + language + " is " + std::to_string(got) +
         ", in C++ " + std::to_string(wanted) + "\n");
}

// --- One kernel in each language

u32 MeasureNative(int runs, Result& result) {
    const NativeKernel& kernel = *result.kernel;
    result.native = MedianTime(
        runs, [&] { kernel.setup(kernel.size); }, [&] { kernel.run(kernel.size); });
    return kernel.checksum(kernel.size);
}

u32 MeasureMachine(int runs, Result& result) {
    const NativeKernel& kernel = *result.kernel;
    const std::string error = mx_kernel::LoadKernel(kKernelFolder + kernel.name + ".mxs");
    if (!error.empty()) Fail(error);
    if (std::getenv("MOXI_TRANSLATE") != nullptr) moxi::StartTranslator({});
    const auto setup = [&] { mx_kernel::SendKernel(mx_kernel::kSetup, kernel.size); };
    const auto run = [&] { mx_kernel::SendKernel(mx_kernel::kRun, kernel.size); };
    setup();
    const u64 before = pcTraceCount;
    run();
    result.instructions = pcTraceCount - before;
    result.machine = MedianTime(runs, setup, run);
    return mx_kernel::SendKernel(mx_kernel::kChecksum, kernel.size);
}

std::string ShellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

bool HasLua() {
    return std::system("command -v lua5.4 >/dev/null 2>&1") == 0;
}

u32 MeasureLua(int runs, Result& result) {
    const NativeKernel& kernel = *result.kernel;
    const std::string command = "lua5.4 " + ShellQuoted(kKernelFolder + "harness.lua") + " " +
                                ShellQuoted(kKernelFolder + kernel.name + ".lua") + " " +
                                std::to_string(kernel.size) + " " + std::to_string(runs);
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) Fail("lua5.4 cannot be started\n");
    unsigned checksum = 0;
    if (std::fscanf(pipe, "%u", &checksum) != 1) Fail(command + " printed no checksum\n");
    std::vector<double> times;
    double seconds = 0.0;
    while (std::fscanf(pipe, "%lf", &seconds) == 1) times.push_back(seconds);
    if (pclose(pipe) != 0 || times.empty()) Fail(command + " failed\n");
    result.lua = Median(times);
    return checksum;
}

Result Measure(const NativeKernel& kernel, int runs, bool withLua) {
    Result result;
    result.kernel = &kernel;
    const u32 wanted = MeasureNative(runs, result);
    ExpectChecksum(kernel, "MX", MeasureMachine(runs, result), wanted);
    if (withLua) ExpectChecksum(kernel, "Lua", MeasureLua(runs, result), wanted);
    return result;
}

// --- The table

std::string ProcessorName() {
    std::ifstream file("/proc/cpuinfo");
    std::string line;
    while (std::getline(file, line)) {
        const std::size_t colon = line.find(": ");
        if (line.starts_with("model name") && colon != std::string::npos) {
            return line.substr(colon + 2);
        }
    }
    return "unknown";
}

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
    for (const Result& result : results) sum += std::log(value(result));
    return std::exp(sum / static_cast<double>(results.size()));
}

double NsPerInstruction(const Result& result) {
    return result.machine * 1e9 / static_cast<double>(result.instructions);
}
double RatioToNative(const Result& result) {
    return result.machine / result.native;
}
double LuaRatio(const Result& result) {
    return result.lua / result.machine;
}

std::string Format(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string Table(const std::vector<Result>& results, int runs, bool withLua) {
    std::ostringstream out;
    out << "Processor: " << ProcessorName() << "; compiler: " << CompilerName() << "; medians of "
        << runs << " runs, processor time.\n\n"
        << "| Kernel | MX instructions | MX ms | ns per instruction | C++ ms | MX / C++ | "
           "Lua 5.4 ms | Lua / MX |\n"
        << "|---|---:|---:|---:|---:|---:|---:|---:|\n";
    for (const Result& result : results) {
        out << "| " << result.kernel->name << " | " << result.instructions << " | "
            << Format("%.2f", result.machine * 1e3) << " | "
            << Format("%.2f", NsPerInstruction(result)) << " | "
            << Format("%.2f", result.native * 1e3) << " | " << Format("%.2f", RatioToNative(result))
            << " | ";
        if (withLua) {
            out << Format("%.2f", result.lua * 1e3) << " | " << Format("%.2f", LuaRatio(result));
        } else {
            out << "- | -";
        }
        out << " |\n";
    }
    out << "| geometric mean | | | " << Format("%.2f", GeometricMean(results, NsPerInstruction))
        << " | | " << Format("%.2f", GeometricMean(results, RatioToNative)) << " | | "
        << (withLua ? Format("%.2f", GeometricMean(results, LuaRatio)) : "-") << " |\n";
    return out.str();
}

void Update(const std::string& path, const std::string& table) {
    if (!UpdateTable(path, kBeginMarker, kEndMarker, table)) {
        Fail(path + ": the marker lines of the table are not there\n");
    }
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
            Fail("usage: interpreter_bench [--runs N] [--update FILE] [KERNEL...]\n");
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

}  // namespace

int main(int argc, char** argv) {
    const Options options = ReadOptions(argc, argv);
    const bool withLua = HasLua();
    std::vector<Result> results;
    for (const NativeKernel& kernel : nativeKernels) {
        if (!Chosen(options, kernel.name)) continue;
        results.push_back(Measure(kernel, options.runs, withLua));
    }
    if (results.empty()) Fail("there is no such kernel\n");
    const std::string table = Table(results, options.runs, withLua);
    std::cout << table;
    if (!options.update.empty()) Update(options.update, table);
    return 0;
}
