#include "tests/wasm/calls.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <sstream>

#include "base/bytes.h"
#include "base/log.h"
#include "bench/mx_kernel.h"
#include "sys/dispatch.h"
#include "tests/support/headless_run.h"
#include "tests/support/vm_fixture.h"
#include "vm/heap.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"
#include "vm/slots.h"

namespace moxi {

namespace {

// What the services of the translated module's own runtime do here.
struct Bench {
    std::string calls;
    size_t position = 0;
    std::vector<std::string> lines;
};
Bench bench;

void Dispatch() {
    const u32 block = Load<u32>(kHeaderR15);
    switch (Load<u32>(block)) {
        case 0x0009: Store<u32>(kHeaderR14, static_cast<u32>(bench.calls.size())); break;
        case 0x0000:
            bench.position = 0;
            Store<u32>(kHeaderR14, 5);
            break;
        case 0x0002: {
            const u32 count = std::min(Load<u32>(block + 12),
                                       static_cast<u32>(bench.calls.size() - bench.position));
            u8* const target = CheckedRange(Load<u32>(block + 8), count);
            std::memcpy(target, bench.calls.data() + bench.position, count);
            bench.position += count;
            Store<u32>(kHeaderR14, count);
            break;
        }
        case 0x0008: break;
        case 0x030E: bench.lines.emplace_back(CheckedString(Load<u32>(block + 4))); break;
        default: SysDispatch(); break;
    }
}

// The machine as the loader leaves it, the image's body apart.
struct LoadedState {
    const u8* image = nullptr;
    u8 header[kHeaderSize] = {};
    HeapRecord handles[16] = {};
    i32 lists[4] = {};
    u32 free = 0;
};
LoadedState loadedState;

// Whether the machine can be put back to `loadedState` for a module of the same sizes.
bool ServesAgain(const u8* file) {
    if (image == nullptr || image != loadedState.image) {
        return false;
    }
    u64 total = 0;
    for (const u32 part : {kHeaderLoadedLength, kHeaderGlobalsSize, kHeaderStackSize}) {
        total += LoadBytes<u32>(file + part);
    }
    const u32 heap = LoadBytes<u32>(file + kHeaderHeapSize);
    const i32 unused = heapListHeads[static_cast<u32>(HeapList::Unused)];
    return total == heapStart && heap == heapSize && unused > 0 &&
           unused < static_cast<i32>(std::size(loadedState.handles));
}

void LoadAnew(const std::vector<u8>& bytes) {
    loadedState = {};
    if (!mx_kernel::LoadModuleFile(bytes)) {
        return;
    }
    loadedState.image = image;
    std::memcpy(loadedState.header, image, kHeaderSize);
    std::copy_n(heapPtrs, std::size(loadedState.handles), loadedState.handles);
    std::copy_n(heapListHeads, std::size(loadedState.lists), loadedState.lists);
    loadedState.free = heapFree;
}

// Replaces the module in the machine. The image of the one before serves again where the new one's
// is as large: to reserve the range of addresses, to lay out the dispatch table and 65,536 handles
// takes longer than most of the thousands of modules run.
bool LoadForCalls(const std::vector<u8>& bytes) {
    if (!ServesAgain(bytes.data())) {
        LoadAnew(bytes);
        return loadedState.image != nullptr;
    }
    // All zero: the rest of the first page by hand, the others anew from the system.
    const u64 page = static_cast<u64>(sysconf(_SC_PAGESIZE));
    const u64 rest = (page - reinterpret_cast<u64>(image) % page) % page;
    std::memset(image, 0, rest);
    madvise(image + rest, imageSize - rest, MADV_DONTNEED);
    std::memcpy(image, bytes.data(), bytes.size());
    std::memcpy(image, loadedState.header, kHeaderSize);
    for (const u32 part : {kHeaderLoadedLength, kHeaderGlobalsSize}) {
        Store<u32>(part, LoadBytes<u32>(bytes.data() + part));
    }
    std::copy_n(loadedState.handles, std::size(loadedState.handles), heapPtrs);
    std::copy_n(loadedState.lists, std::size(loadedState.lists), heapListHeads);
    heapFree = loadedState.free;
    heapPointerCount = 0;
    pcTraceCount = 0;
    pcPreJsr = 0;
    modalDepth = 0;
    presentNotify = false;
    ResetRunCycle();
    return true;
}

std::string LogOfWabt(const std::string& name, const std::string& results) {
    // "i32:4294967295, i64:5"
    std::string line = name + " ->";
    std::istringstream values(results);
    for (std::string value; values >> value;) {
        const bool isLong = value.starts_with("i64:");
        const u64 bits = std::stoull(value.substr(4));
        const auto shown = static_cast<unsigned long long>(bits);
        line += isLong ? FormatText(" 0x%016llX", shown) : FormatText(" 0x%08llX", shown);
    }
    return line;
}

// wabt's words for a trap, and the log's.
std::string TrapOfWabt(const std::string& error) {
    static constexpr const char* kWords[][2] = {
        {"unreachable executed", "unreachable"},
        {"integer divide by zero", "integer divide by zero"},
        {"integer overflow", "integer overflow"},
        {"invalid conversion to integer", "invalid conversion to integer"},
        {"undefined table index", "undefined element"},
        {"uninitialized table element", "uninitialized element"},
        {"indirect call signature mismatch", "indirect call type mismatch"},
        {"call stack exhausted", "stack overflow"},
        {"out of bounds memory access", "out of bounds memory access"},
        {"out of bounds table access", "undefined element"},
    };
    for (const auto& [theirs, ours] : kWords) {
        if (error.find(theirs) != std::string::npos) {
            return std::string("Trap: ") + ours;
        }
    }
    return "Trap: ? " + error;
}

// Calls what calls.json says and prints a line for each: the results, or the trap in our words.
const char* const kNodeScript = R"js(
const fs = require('fs');
const words = [
  [/^unreachable/, 'unreachable'],
  [/(divide|remainder) by zero/, 'integer divide by zero'],
  [/divide result unrepresentable/, 'integer overflow'],
  [/float unrepresentable/, 'conversion'],
  [/table (index|access|element).*out of bounds|table index is out of bounds/, 'undefined element'],
  [/null function or function signature/, 'signature'],
  [/indirect call signature|signature mismatch/, 'signature'],
  [/memory access out of bounds/, 'out of bounds memory access'],
  [/call stack size/, 'stack overflow'],
];
const shown = (value) => typeof value === 'bigint'
  ? ' 0x' + BigInt.asUintN(64, value).toString(16).toUpperCase().padStart(16, '0')
  : ' 0x' + (value >>> 0).toString(16).toUpperCase().padStart(8, '0');
const lines = [];
for (const {file, calls} of JSON.parse(fs.readFileSync('calls.json'))) {
  const exported = new WebAssembly.Instance(new WebAssembly.Module(fs.readFileSync(file))).exports;
  for (const [name, types, ...texts] of calls) {
    const values = texts.map((text, i) => types[i] === 'I' ? BigInt(text) : Number(text) | 0);
    try {
      const result = exported[name](...values);
      const all = result === undefined ? [] : Array.isArray(result) ? result : [result];
      lines.push(name + ' ->' + all.map(shown).join(''));
    } catch (error) {
      const word = words.find(([pattern]) => pattern.test(error.message));
      lines.push('Trap: ' + (word ? word[1] : '? ' + error.message));
    }
  }
}
fs.writeSync(1, lines.join('\n') + '\n');
)js";

}  // namespace

TranslateOptions CallOptions() {
    TranslateOptions options;
    options.calls = true;
    options.wantSymbols = false;
    options.memory = 8 << 20;
    options.stack = 1 << 20;
    options.heap = 4 << 20;
    options.libraryFolder = LibraryOptions().includeFolders[0];
    // Where the runtime lies for all that have less code; with all that arithmetic may need.
    options.runtimeAt = 0x20000;
    options.routines = {"memory_grow",
                        "trap_unreachable",
                        "trap_overflow",
                        "trap_conversion",
                        "trap_undefined",
                        "trap_entry",
                        "trap_stack",
                        "trap_bounds",
                        "i64_mulhi_u",
                        "i64_mulhi_s",
                        "i64_trunc_u_f64",
                        "i64_trunc_u_f32",
                        "i64_trunc_sat_u_f64",
                        "i64_trunc_sat_u_f32",
                        "i64_trunc_sat_s_f64",
                        "i64_trunc_sat_s_f32",
                        "i64_trunc_s_f64",
                        "i64_trunc_s_f32",
                        "i64_popcnt",
                        "i64_ctz",
                        "i64_clz",
                        "i32_trunc_u_f64",
                        "i32_trunc_u_f32",
                        "i32_trunc_sat_u_f64",
                        "i32_trunc_sat_u_f32",
                        "i32_trunc_sat_s_f64",
                        "i32_trunc_sat_s_f32",
                        "i32_trunc_s_f64",
                        "i32_trunc_s_f32",
                        "i32_popcnt",
                        "i32_ctz",
                        "i32_clz",
                        "f64_trunc",
                        "f64_sqrt",
                        "f64_nearest",
                        "f64_min",
                        "f64_max",
                        "f64_lt",
                        "f64_le",
                        "f64_floor",
                        "f64_eq",
                        "f64_ceil",
                        "f32_trunc",
                        "f32_sqrt",
                        "f32_nearest",
                        "f32_min",
                        "f32_max",
                        "f32_lt",
                        "f32_le",
                        "f32_floor",
                        "f32_eq",
                        "f32_demote",
                        "f32_ceil"};
    return options;
}

CallsRun RunCalls(std::string_view wasm, const std::string& calls,
                  const TranslateOptions& options) {
    return RunTranslated(Translate(wasm, options), calls);
}

CallsRun RunTranslated(const TranslatedModule& translation, const std::string& calls) {
    CallsRun run;
    if (!translation.ok) {
        run.errors = translation.errors;
        if (run.errors.empty()) {
            run.errors.emplace_back("refused without a word");
        }
        return run;
    }
    vmEvents = {};
    bench = {calls, 0, {}};
    if (!LoadForCalls(translation.bytes)) {
        run.errors.emplace_back("not loaded");
        return run;
    }
    vmSlots.sysDispatch = Dispatch;
    moduleStarted = 1;
    run.status = EndStatus([] { MXmsg(1, 0, 0, 0); });
    run.lines = bench.lines;
    run.fatals = vmEvents.messages;
    return run;
}

std::string CallText(const std::vector<RandomModule::Call>& calls) {
    std::string text;
    for (const RandomModule::Call& call : calls) {
        text += call.name;
        for (size_t i = 0; i < call.arguments.size(); ++i) {
            text += FormatText(" 0x%llX", static_cast<unsigned long long>(call.arguments[i]));
        }
        text += "\n";
    }
    return text;
}

std::vector<std::vector<std::string>> WabtLines(const std::vector<RandomModule>& modules,
                                                bool untilTrap) {
    const TemporaryFolder folder;
    std::ostringstream script;
    script << R"({"source_filename":"calls.wast","commands":[)";
    for (size_t i = 0; i < modules.size(); ++i) {
        const std::string file = std::to_string(i) + ".wasm";
        WriteTextFile(folder.path + "/" + file, modules[i].bytes);
        script << (i == 0 ? "" : ",") << R"({"type":"module","line":)" << i << R"(,"filename":")"
               << file << "\"}";
        for (const RandomModule::Call& call : modules[i].calls) {
            script << R"(,{"type":"action","line":)" << i
                   << R"(,"action":{"type":"invoke","field":")" << call.name << R"(","args":[)";
            for (size_t a = 0; a < call.arguments.size(); ++a) {
                script << (a == 0 ? "" : ",") << R"({"type":")"
                       << (call.argumentTypes[a] == 'i' ? "i32" : "i64") << R"(","value":")"
                       << call.arguments[a] << "\"}";
            }
            script << R"(]},"expected":[]})";
        }
    }
    script << "]}";
    WriteTextFile(folder.path + "/calls.json", script.str());
    const ProgramResult result =
        RunProgram("/usr/bin/spectest-interp", {"calls.json"}, folder.path);

    std::vector<std::vector<std::string>> all(modules.size());
    std::istringstream output(result.output);
    std::string line;
    for (size_t i = 0; i < modules.size(); ++i) {
        bool ended = false;
        for (const RandomModule::Call& call : modules[i].calls) {
            const std::string start = call.name + "(";
            while (std::getline(output, line) && !line.starts_with(start)) {
            }
            const size_t arrow = line.find(") =>");
            if (arrow == std::string::npos) {
                return {};
            }
            if (ended && untilTrap) {
                continue;
            }
            const std::string rest = line.substr(arrow + 4);
            ended = rest.starts_with(" error: ");
            all[i].push_back(ended ? TrapOfWabt(rest) : LogOfWabt(call.name, rest));
        }
    }
    return all;
}

std::vector<std::vector<std::string>> NodeLines(const std::vector<RandomModule>& modules,
                                                bool untilTrap) {
    const TemporaryFolder folder;
    std::ostringstream calls;
    calls << "[";
    for (size_t i = 0; i < modules.size(); ++i) {
        const std::string file = std::to_string(i) + ".wasm";
        WriteTextFile(folder.path + "/" + file, modules[i].bytes);
        calls << (i == 0 ? "" : ",") << R"({"file":")" << file << R"(","calls":[)";
        const char* comma = "";
        for (const RandomModule::Call& call : modules[i].calls) {
            calls << comma << R"([")" << call.name << R"(",")" << call.argumentTypes << '"';
            for (const u64 argument : call.arguments) {
                calls << ",\"" << argument << '"';
            }
            calls << "]";
            comma = ",";
        }
        calls << "]}";
    }
    calls << "]";
    WriteTextFile(folder.path + "/calls.json", calls.str());
    WriteTextFile(folder.path + "/calls.js", kNodeScript);
    const ProgramResult result = RunProgram("/usr/bin/node", {"calls.js"}, folder.path);
    EXPECT_EQ(result.errors, "");
    std::vector<std::vector<std::string>> all(modules.size());
    std::istringstream output(result.output);
    for (size_t i = 0; i < modules.size(); ++i) {
        bool ended = false;
        for (size_t k = 0; k < modules[i].calls.size(); ++k) {
            std::string line;
            if (!std::getline(output, line)) {
                return {};
            }
            if (ended && untilTrap) {
                continue;
            }
            ended = line.starts_with("Trap: ");
            all[i].push_back(line);
        }
    }
    return all;
}

bool SameTrap(const std::string& ofNode, const std::string& trap) {
    if (ofNode == "Trap: conversion") {
        return trap == "Trap: invalid conversion to integer" || trap == "Trap: integer overflow";
    }
    if (ofNode == "Trap: signature") {
        return trap == "Trap: uninitialized element" || trap == "Trap: indirect call type mismatch";
    }
    return ofNode == trap;
}

std::string WasmOfText(const std::string& text, const std::vector<std::string>& options) {
    const TemporaryFolder folder;
    WriteTextFile(folder.path + "/module.wat", text);
    std::vector<std::string> arguments = {"module.wat", "-o", "module.wasm"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ProgramResult result = RunProgram("/usr/bin/wat2wasm", arguments, folder.path);
    EXPECT_EQ(result.status, 0) << result.errors;
    return result.status == 0 ? ReadTextFile(folder.path + "/module.wasm") : "";
}

std::string WithoutFunction(const std::string& line) {
    if (!line.starts_with("Trap: ")) {
        return line;
    }
    const size_t in = line.find(" in ", 6);
    return line.substr(0, in);
}

}  // namespace moxi
