#include "kit/profile.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>
#include <thread>
#include <unordered_map>
#include <vector>

#include "base/log.h"
#include "base/output_files.h"
#include "kit/call_names.h"
#include "kit/call_tree.h"
#include "kit/lines.h"
#include "kit/module_memory.h"
#include "kit/symbols.h"
#include "vm/interpreter.h"
#include "vm/machine.h"
#include "vm/opcodes.h"

namespace moxi {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

constexpr u32 kNoCommand = 0xFFFFFFFF;  // a parameter block outside the image
constexpr u32 kArgumentBytes = 16;      // of a message
constexpr u32 kLongestWaitMs = 1000;    // for a busy module's next instruction

struct Service {
    u64 calls = 0;
    nanoseconds time{};
};

struct MessageCount {
    u64 count = 0;
    u64 instructions = 0;
    u64 longest = 0;
};

// A call that has not returned: where its return address lies, and its node. It is over as soon as
// the stack pointer is above that, however it came there.
struct Frame {
    u32 slot;
    u32 node;
};

// A message being run.
struct Run {
    u32 message;
    u64 instructions = 0;
    std::vector<Frame> frames;  // the entry point's is always there
    Clock::time_point start;
    nanoseconds inServices{};
    // The instruction at hand.
    std::optional<Single> single = {};
    u32 command = kNoCommand;
    Clock::time_point commandStart = {};
    i32 modalDepthBefore = 0;
    // While the program counter stays in this range and no frame changes, `leaf` is the node.
    u32 leaf = kNoNode;
    u32 rangeStart = 0;
    u32 rangeEnd = 0;
};

std::FILE* tableFile = nullptr;
std::FILE* foldedFile = nullptr;
std::string tablePath;
const InstructionTrace* otherTrace = nullptr;

// How another thread has the profile closed while the module does not come back.
enum class CloseRequest { None, Made, Answered };
constinit std::atomic<CloseRequest> closeRequest = CloseRequest::None;

// Nested runs: a service may deliver a message while it is called.
std::vector<Run> runs;
// The frames that a MODAL put aside for the EMOD that comes back to them.
std::vector<std::vector<Frame>> modalFrames;
std::map<u32, Service> services;
std::map<u32, MessageCount> messages;
u64 instructions = 0;
nanoseconds inInterpreter{};
// Instructions by file and line, and where those of the code at hand are counted.
std::unordered_map<u64, u64> lineCounts;
struct LineAtHand {
    u64* count = nullptr;  // null for code of no line
    u32 start = 0;
    u32 end = 0;
};
constinit LineAtHand lineAtHand;

// --- Runs and their instructions

bool IsMessageFrame(u32 at) {
    if (at != kEntryPoint) {
        return false;
    }
    const u32 sp = Load<u32>(kHeaderSP);
    return InImage(sp, 12) && Load<u32>(sp) == 0 && Load<u32>(sp + 4) == kArgumentBytes;
}

void StartRun() {
    const u32 sp = Load<u32>(kHeaderSP);
    const u32 entry = FunctionAt(kEntryPoint);
    ++profiledFunctions[entry].calls;
    runs.push_back({.message = Load<u32>(sp + 8),
                    .frames = {{sp, CallNodeFor(kNoNode, entry)}},
                    .start = Clock::now()});
}

void EndRun() {
    const Run& run = runs.back();
    MessageCount& count = messages[run.message];
    ++count.count;
    count.instructions += run.instructions;
    count.longest = std::max(count.longest, run.instructions);
    inInterpreter += Clock::now() - run.start - run.inServices;
    runs.pop_back();
}

void DropReturnedFrames(Run& run) {
    const u32 sp = Load<u32>(kHeaderSP);
    while (run.frames.size() > 1 && sp > run.frames.back().slot) {
        run.frames.pop_back();
        run.rangeEnd = run.rangeStart;
    }
}

// The function of the topmost frame, or, where a branch has led to the code of another one, that
// function as if it had been called.
void FindLeaf(Run& run, u32 at) {
    const u32 node = run.frames.back().node;
    const FunctionSymbol* const symbol = FunctionSymbolAt(at);
    const u32 function = symbol == nullptr ? callNodes[node].function : FunctionAt(at);
    run.leaf = function == callNodes[node].function ? node : CallNodeFor(node, function);
    run.rangeStart = at;
    run.rangeEnd = NextFunctionSymbol(at);
}

void CountLine(u32 at) {
    if (LineCount() == 0) {
        return;
    }
    if (at < lineAtHand.start || at >= lineAtHand.end) {
        const CodeLine* const line = LineAt(at);
        u64* const count =
            line == nullptr ? nullptr : &lineCounts[u64{line->file} << 32 | line->line];
        lineAtHand = {count, at, NextLine(at)};
    }
    if (lineAtHand.count != nullptr) {
        ++*lineAtHand.count;
    }
}

u32 CommandAtHand() {
    return Peek<u32>(Load<u32>(kHeaderR15)).value_or(kNoCommand);
}

void BeforeInstruction(u32 at) {
    if (otherTrace != nullptr) {
        otherTrace->before(at);
    }
    if (IsMessageFrame(at)) {
        // A run that is still noted has ended in some unusual way, unless a service is running.
        if (!runs.empty() && runs.back().single != Single::Sys) {
            EndRun();
        }
        StartRun();
    }
    if (runs.empty()) {
        return;
    }
    Run& run = runs.back();
    DropReturnedFrames(run);
    if (at < run.rangeStart || at >= run.rangeEnd) {
        FindLeaf(run, at);
    }
    ++callNodes[run.leaf].own;
    CountLine(at);
    ++run.instructions;
    ++instructions;
    const u32 w = Load<u32>(at);
    run.single.reset();
    if (ClassOf(w) != InstructionClass::Single) {
        return;
    }
    run.single = SingleOf(w);
    run.modalDepthBefore = modalDepth;
    if (run.single == Single::Sys) {
        run.command = CommandAtHand();
        run.commandStart = Clock::now();
    }
}

void PushFrame(Run& run) {
    const u32 target = Load<u32>(kHeaderPC);
    const u32 function = FunctionAt(target);
    const FunctionSymbol* const symbol = FunctionSymbolAt(target);
    u32 node = run.leaf;
    // A part of the same function that is called by a local label stays a part of it.
    if (symbol == nullptr || symbol->address == target || function != callNodes[node].function) {
        ++profiledFunctions[function].calls;
        node = CallNodeFor(run.leaf, function);
    }
    run.frames.push_back({Load<u32>(kHeaderSP), node});
    run.rangeEnd = run.rangeStart;
}

void EndService(Run& run) {
    const nanoseconds time = Clock::now() - run.commandStart;
    Service& service = services[run.command];
    ++service.calls;
    service.time += time;
    run.inServices += time;
    run.single.reset();
}

void AfterInstruction(u32 at) {
    if (otherTrace != nullptr) {
        otherTrace->after(at);
    }
    if (runs.empty() || !runs.back().single) {
        return;
    }
    Run& run = runs.back();
    switch (*run.single) {
        case Single::Call:
        case Single::Callr: PushFrame(run); break;
        case Single::Sys: EndService(run); break;
        case Single::Return:
            if (Load<u32>(kHeaderPC) == 0) {
                EndRun();
            }
            break;
        case Single::Stop: EndRun(); break;
        case Single::Modal:
        case Single::ModalNotify:
            modalFrames.push_back(run.frames);
            EndRun();
            break;
        case Single::Emod:
            if (modalDepth == run.modalDepthBefore || modalFrames.empty()) {
                break;
            }
            run.frames = std::move(modalFrames.back());
            modalFrames.pop_back();
            run.rangeEnd = run.rangeStart;
            break;
        default: break;
    }
}

// Between two instructions all counts are complete.
void AfterInstructionOfAll(u32 at) {
    AfterInstruction(at);
    if (closeRequest == CloseRequest::Made) {
        CloseProfile();
        closeRequest = CloseRequest::Answered;
    }
}

constexpr InstructionTrace kTrace = {BeforeInstruction, AfterInstructionOfAll};

// --- The tables

unsigned long long Number(u64 value) {
    return value;
}

double Percent(u64 part) {
    return instructions == 0 ? 0
                             : 100 * static_cast<double>(part) / static_cast<double>(instructions);
}

double Milliseconds(nanoseconds time) {
    return static_cast<double>(time.count()) / 1e6;
}

void WriteTotals() {
    u64 count = 0;
    for (const auto& [number, message] : messages) {
        count += message.count;
    }
    u64 calls = 0;
    nanoseconds time{};
    for (const auto& [command, service] : services) {
        calls += service.calls, time += service.time;
    }
    std::fprintf(tableFile, "%12llu instructions in %llu messages\n", Number(instructions),
                 Number(count));
    std::fprintf(tableFile, "%12llu calls of services\n", Number(calls));
    std::fprintf(tableFile, "%12.3f ms in the interpreter, slowed down by counting\n",
                 Milliseconds(inInterpreter));
    std::fprintf(tableFile, "%12.3f ms in services\n", Milliseconds(time));
}

void WriteFunctions() {
    std::vector<ProfiledFunction> sorted = profiledFunctions;
    std::sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) {
        return a.own != b.own ? a.own > b.own : a.name < b.name;
    });
    std::fputs("\nFunctions: instructions of their own, and with what they called\n", tableFile);
    std::fputs("         own      %    inclusive      %        calls  name\n", tableFile);
    for (const ProfiledFunction& function : sorted) {
        std::fprintf(tableFile, "%12llu %6.2f %12llu %6.2f %12llu  %s\n", Number(function.own),
                     Percent(function.own), Number(function.inclusive), Percent(function.inclusive),
                     Number(function.calls), function.name.c_str());
    }
}

void WriteLines() {
    if (LineCount() == 0) {
        return;
    }
    std::vector<std::pair<u64, u64>> sorted(lineCounts.begin(), lineCounts.end());
    std::sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) {
        return a.second != b.second ? a.second > b.second : a.first < b.first;
    });
    std::fputs("\nLines: instructions of their own\n", tableFile);
    std::fputs("         own      %  line\n", tableFile);
    for (const auto& [line, count] : sorted) {
        if (count == 0) {
            continue;
        }
        const std::string& file = NameOfFile(static_cast<u32>(line >> 32));
        std::fprintf(tableFile, "%12llu %6.2f  %s:%u\n", Number(count), Percent(count),
                     file.c_str(), static_cast<u32>(line));
    }
}

std::string CommandText(u32 command) {
    if (command == kNoCommand) {
        return "-        no parameter block";
    }
    const std::string_view name = ServiceName(command);
    return FormatText("%-8s %s", FormatText("%u.%u", command >> 8, command & 0xFF).c_str(),
                      name.empty() ? "unknown" : std::string(name).c_str());
}

void WriteServices() {
    std::vector<std::pair<u32, Service>> sorted(services.begin(), services.end());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.second.time > b.second.time; });
    std::fputs("\nServices: real time\n", tableFile);
    std::fputs("       calls           ns    ns a call  SYS      name\n", tableFile);
    for (const auto& [command, service] : sorted) {
        const u64 time = static_cast<u64>(service.time.count());
        std::fprintf(tableFile, "%12llu %12llu %12llu  %s\n", Number(service.calls), Number(time),
                     Number(time / service.calls), CommandText(command).c_str());
    }
}

void WriteMessages() {
    std::fputs("\nMessages: instructions\n", tableFile);
    std::fputs("       count instructions      longest  number   name\n", tableFile);
    for (const auto& [number, message] : messages) {
        std::fprintf(tableFile, "%12llu %12llu %12llu  %-8u %s\n", Number(message.count),
                     Number(message.instructions), Number(message.longest), number,
                     std::string(MessageName(number)).c_str());
    }
}

void Close(std::FILE*& file, const std::string& path) {
    const bool good = std::ferror(file) == 0;
    if (std::fclose(file) != 0 || !good) {
        SystemLog(path + ": cannot be written");
    }
    file = nullptr;
}

}  // namespace

std::string FoldedProfile(const std::string& path) {
    return path + ".folded";
}

std::string StartProfile(const std::string& path) {
    tableFile = outputFiles.open(path);
    if (tableFile == nullptr) {
        return path;
    }
    foldedFile = outputFiles.open(FoldedProfile(path));
    if (foldedFile == nullptr) {
        std::fclose(tableFile);
        tableFile = nullptr;
        return FoldedProfile(path);
    }
    tablePath = path;
    otherTrace = instructionTrace;
    instructionTrace = &kTrace;
    return "";
}

void NameProfile() {
    if (tableFile == nullptr) {
        return;
    }
    const std::string file = SymbolFile();
    std::error_code error;
    if (std::filesystem::exists(file, error)) {
        if (const std::string problem = LoadSymbols(file); !problem.empty()) {
            SystemLog(problem);
        }
    }
    if (const std::string problem = LoadLinesOfGame(); !problem.empty()) {
        SystemLog(problem);
    }
}

void CloseProfile() {
    if (tableFile == nullptr) {
        return;
    }
    instructionTrace = otherTrace;
    // The process may end in the middle of a message, and of a service.
    while (!runs.empty()) {
        if (runs.back().single == Single::Sys) {
            EndService(runs.back());
        }
        EndRun();
    }
    SumCallTree();
    WriteTotals();
    WriteFunctions();
    WriteLines();
    WriteServices();
    WriteMessages();
    WriteFoldedStacks(foldedFile);
    Close(tableFile, tablePath);
    Close(foldedFile, tablePath + ".folded");
}

void CloseProfileOfBusyModule() {
    if (tableFile == nullptr) {
        return;
    }
    closeRequest = CloseRequest::Made;
    for (u32 wait = 0; wait < kLongestWaitMs && closeRequest != CloseRequest::Answered; ++wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

}  // namespace moxi
