// Times four kinds of work in C - a list, a matrix, a state machine, a CRC - on the machine,
// interpreted and translated, beside the same by hand in MX, natively, in Lua, and the same wasm in
// Node.js; checks that all compute the same, and prints a table in Markdown.
//
//   c_bench [--runs N] [--update FILE]
//
// --update also replaces the table in FILE, between the two marker lines.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "bench/mx_kernel.h"
#include "bench/native_c_kernels.h"
#include "bench/table.h"
#include "bench/timing.h"
#include "translate/translator.h"

namespace moxi {

namespace {

namespace fs = std::filesystem;

constexpr const char* kBeginMarker = "<!-- c_bench begins -->";
constexpr const char* kEndMarker = "<!-- c_bench ends -->";
const std::string kKernelFolder = MOXI_SOURCE_DIR "/bench/kernels/";
const std::string kPrograms = MOXI_BIN_DIR "/";

// Seconds, medians.
struct Result {
    std::string name;
    double interpreted = 0, translated = 0, byHand = 0, byHandTranslated = 0;
    double native = 0, lua = 0, node = 0;
    double instructions = 0, instructionsByHand = 0;
};

int runs = 7;
std::string work;  // a folder for what is compiled

void Do(const std::string& command) {
    if (std::system(command.c_str()) != 0) {
        Fail(command + " failed");
    }
}

// What mxcc does, but for the C library, which the kernels do without: Node.js takes the same file.
void Compile(const std::string& name) {
    const std::string base = ShellQuoted(work + "/" + name);
    Do("clang-14 --target=wasm32 -std=c11 -O2 -msign-ext -mbulk-memory -mnontrapping-fptoint "
       "-nostdlib -Wl,--no-entry -I" +
       ShellQuoted(kKernelFolder + "c") + " " + ShellQuoted(kKernelFolder + "c/" + name + ".c") +
       " -o " + base + ".wasm");
    Do("wasm-opt -O2 --enable-bulk-memory --enable-sign-ext --enable-nontrapping-float-to-int " +
       base + ".wasm -o " + base + ".wasm");
    Do(ShellQuoted(kPrograms + "mxwasm") + " " + base + ".wasm -o " + base + ".MX");
}

std::vector<u8> ReadModule(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void Send(u32 command, u32 n) {
    mx_kernel::SendKernel(command, n);
}

u32 ChecksumOfC(u32 n) {
    u32 checksum = 0;
    for (u32 byte = 0; byte < 4; ++byte) {
        MXmsg(mx_kernel::kChecksum, n, byte, 0);
        checksum |= u32{Load<u8>(kHeaderResult)} << byte * 8;
    }
    return checksum;
}

u32 ChecksumByHand(u32 n) {
    return mx_kernel::SendKernel(mx_kernel::kChecksum, n);
}

using ChecksumOf = u32 (*)(u32 n);
using Loader = std::function<void()>;

// The module that `load` loads: the time of a run, and the instructions of one.
double Time(const NativeKernel& kernel, const Loader& load, bool translated, ChecksumOf checksumOf,
            double& instructions) {
    StopTranslator();
    load();
    if (translated && StartTranslator({}) != TranslatorStart::Running) {
        return 0;
    }
    Send(mx_kernel::kSetup, kernel.size);
    const u64 before = pcTraceCount;
    Send(mx_kernel::kRun, kernel.size);
    if (!translated) {
        instructions = static_cast<double>(pcTraceCount - before);
    }
    const double seconds = MedianTime(
        runs, [&] { Send(mx_kernel::kSetup, kernel.size); },
        [&] { Send(mx_kernel::kRun, kernel.size); });
    if (checksumOf(kernel.size) != kernel.checksum(kernel.size)) {
        Fail(std::string(kernel.name) + ": another checksum on the machine");
    }
    StopTranslator();
    return seconds;
}

double TimeProgram(const NativeKernel& kernel, const std::string& program) {
    u32 checksum = 0;
    const std::vector<double> times =
        TimesOf(program + " " + std::to_string(kernel.size) + " " + std::to_string(runs), checksum);
    if (times.empty()) {
        Fail(program + " failed");
    }
    if (checksum != kernel.checksum(kernel.size)) {
        Fail(program + ": another checksum");
    }
    return Median(times);
}

Result Measure(const NativeKernel& kernel) {
    Result result;
    result.name = kernel.name;
    Compile(kernel.name);
    const std::string base = work + "/" + kernel.name;
    result.native = MedianTime(
        runs, [&] { kernel.setup(kernel.size); }, [&] { kernel.run(kernel.size); });
    const Loader inC = [&] {
        if (!mx_kernel::LoadModuleFile(ReadModule(base + ".MX"))) {
            Fail(base + ".MX: not loaded");
        }
    };
    const Loader byHand = [&] {
        const std::string error = mx_kernel::LoadKernel(kKernelFolder + kernel.name + ".mxs");
        if (!error.empty()) {
            Fail(error);
        }
    };
    double unused = 0;
    result.interpreted = Time(kernel, inC, false, ChecksumOfC, result.instructions);
    result.translated = Time(kernel, inC, true, ChecksumOfC, unused);
    result.byHand = Time(kernel, byHand, false, ChecksumByHand, result.instructionsByHand);
    result.byHandTranslated = Time(kernel, byHand, true, ChecksumByHand, unused);
    result.lua = TimeProgram(kernel, "lua5.4 " + ShellQuoted(kKernelFolder + "harness.lua") + " " +
                                         ShellQuoted(kKernelFolder + kernel.name + ".lua"));
    result.node = TimeProgram(kernel, "node " + ShellQuoted(kKernelFolder + "c_harness.mjs") + " " +
                                          ShellQuoted(base + ".wasm"));
    return result;
}

// --- The table

std::string Number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value);
    return text;
}

std::string Row(const std::string& name, const std::vector<double>& values) {
    std::string row = "| " + name;
    for (const double value : values) {
        row += " | " + (value > 0 ? Number(value) : "-");
    }
    return row + " |\n";
}

std::string Table(const std::vector<Result>& results) {
    std::string table = "Processor: " + ProcessorName() + "; medians of " + std::to_string(runs) +
                        " runs, milliseconds of processor time; " +
                        FirstLineOf("clang-14 --version") + "; Node.js " +
                        FirstLineOf("node --version") + "; " + FirstLineOf("lua5.4 -v") +
                        ".\n\n"
                        "| Work | MX from C | translated | MX by hand | translated | native -O2 | "
                        "Node.js | Lua 5.4 |\n|---|---:|---:|---:|---:|---:|---:|---:|\n";
    for (const Result& r : results) {
        table += Row(r.name, {r.interpreted * 1e3, r.translated * 1e3, r.byHand * 1e3,
                              r.byHandTranslated * 1e3, r.native * 1e3, r.node * 1e3, r.lua * 1e3});
    }
    table +=
        "\n| Ratio | instructions, C / by hand | C / native | translated / native | translated / "
        "Node.js | Lua / C | Lua / translated |\n|---|---:|---:|---:|---:|---:|---:|\n";
    std::vector<double> sums(6);
    for (const Result& r : results) {
        const std::vector<double> ratios = {r.instructions / r.instructionsByHand,
                                            r.interpreted / r.native,
                                            r.translated / r.native,
                                            r.translated / r.node,
                                            r.lua / r.interpreted,
                                            r.translated > 0 ? r.lua / r.translated : 0};
        for (size_t i = 0; i < sums.size(); ++i) {
            sums[i] += std::log(ratios[i]);
        }
        table += Row(r.name, ratios);
    }
    for (double& sum : sums) {
        sum = std::exp(sum / static_cast<double>(results.size()));
    }
    return table + Row("geometric mean", sums);
}

int Main(int argc, char** argv) {
    const TableOptions options = ReadTableOptions(argc, argv, "--runs", runs);
    runs = options.number;
    char folder[] = "/tmp/c_bench.XXXXXX";
    if (mkdtemp(folder) == nullptr) {
        Fail("no folder can be made in /tmp");
    }
    work = folder;
    std::vector<Result> results;
    for (const NativeKernel& kernel : nativeCKernels) {
        results.push_back(Measure(kernel));
    }
    fs::remove_all(work);
    ShowTable(options, kBeginMarker, kEndMarker, Table(results));
    return 0;
}

}  // namespace

}  // namespace moxi

int main(int argc, char** argv) {
    return moxi::Main(argc, argv);
}
