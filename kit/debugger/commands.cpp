#include "kit/debugger/commands.h"

#include <vector>

#include "base/log.h"
#include "kit/debugger/blocks.h"
#include "kit/debugger/expression.h"
#include "kit/debugger/inspect.h"
#include "kit/debugger/names.h"
#include "kit/debugger/set.h"
#include "kit/debugger/source.h"
#include "kit/debugger/stops.h"
#include "kit/debugger/terminal.h"
#include "kit/lines.h"
#include "kit/module_memory.h"
#include "kit/symbols.h"
#include "tools/asm/source.h"

namespace moxi {

namespace {

constexpr u32 kMostSteps = 1'000'000'000;
constexpr u32 kShownFrames = 32;
constexpr u32 kShownItems = 16;
constexpr u32 kShownInstructions = 10;
constexpr u32 kShownTrace = 16;
constexpr u32 kShownBlocks = 40;
constexpr u32 kShownSource = 11;

// The line that an empty one repeats: the last command that may be repeated.
std::string repeated;

// What stands behind a command's name.
struct Arguments {
    char size;              // of "memory.b"; 0 without one
    std::string_view rest;  // without spaces around it
};

struct Command {
    const char* name;
    const char* others;  // its short form, then other names for it; "" for none
    After (*run)(const Arguments& arguments);
    const char* usage;  // behind the name
    const char* what;
    bool repeats = false;
    bool sized = false;
};

After Refuse(const std::string& why) {
    Say(why);
    return After::Stay;
}

// --- Reading arguments. The functions say what is wrong and answer false then.

bool NothingIsLeft(std::string_view rest) {
    SkipSpaces(rest);
    if (rest.empty()) {
        return true;
    }
    Say(mxasm::Quoted(rest) + " is left over");
    return false;
}

bool TakeValue(std::string_view& rest, u32& value) {
    const std::string error = TakeExpression(rest, value);
    if (!error.empty()) {
        Say(error);
    }
    return error.empty();
}

// A value and nothing else.
bool TakeOnlyValue(std::string_view rest, u32& value) {
    return TakeValue(rest, value) && NothingIsLeft(rest);
}

// A number of things, `usual` when none is given, from 1 to `most`; then nothing else.
bool TakeCount(std::string_view rest, u32 usual, u32 most, u32& count) {
    count = usual;
    if (rest.starts_with(',')) {
        rest.remove_prefix(1);
    }
    SkipSpaces(rest);
    if (rest.empty()) {
        return true;
    }
    if (!TakeOnlyValue(rest, count)) {
        return false;
    }
    if (count >= 1 && count <= most) {
        return true;
    }
    Say(FormatText("the count is 1 to %u", most));
    return false;
}

// "if EXPRESSION" or nothing. The expression need not have a value yet, but every name has to
// exist.
bool TakeCondition(std::string_view rest, std::string& condition) {
    SkipSpaces(rest);
    if (rest.empty()) {
        return true;
    }
    std::string_view behind = rest;
    if (TakeWord(behind) != "if") {
        return NothingIsLeft(rest);
    }
    SkipSpaces(behind);
    u32 value = 0;
    const std::string error = Evaluate(behind, value);
    if (!error.empty() && !error.ends_with("outside the image")) {
        Say(error);
        return false;
    }
    condition = std::string(behind);
    return true;
}

bool IsAddress(u32 address) {
    if (InImage(address, 4)) {
        return true;
    }
    Say(FormatText("0x%8.8X is outside the image", address));
    return false;
}

After AddAndDescribe(StopKind kind, u32 value, const std::string& condition) {
    AddStopPoint(kind, value, condition);
    Say(DescribeStopPoint(StopPoints().back()));
    return After::Stay;
}

// --- Stopping

// "break message", "break sys" and "break group" with what stands behind the word.
After BreakOn(StopKind one, StopKind every, std::string_view rest) {
    u32 value = 0;
    std::string condition;
    std::string_view ahead = rest;
    const std::string word = TakeWord(ahead);
    const bool any = (word.empty() && ahead.empty()) || word == "if";
    if (any && one == StopKind::Group) {
        return Refuse("which group?");
    }
    if (!any && !TakeValue(rest, value)) {
        return After::Stay;
    }
    if (!TakeCondition(rest, condition)) {
        return After::Stay;
    }
    return AddAndDescribe(any ? every : one, value, condition);
}

// Takes "main.c:12" from the front and gives the addresses of its code. False where no line is
// named; where the named one has no code, the user is told why and there are no addresses.
bool TakeLine(std::string_view& rest, std::vector<u32>& addresses) {
    const std::string_view word = rest.substr(0, rest.find_first_of(" \t"));
    std::string file;
    u32 line = 0;
    if (!SplitLineName(word, file, line)) {
        return false;
    }
    rest.remove_prefix(word.size());
    SkipSpaces(rest);
    const std::string wrong = FindLine(file, line, addresses);
    if (!wrong.empty()) {
        Say(wrong);
    }
    return true;
}

After BreakAtLine(const std::vector<u32>& addresses, std::string_view rest) {
    std::string condition;
    if (addresses.empty() || !TakeCondition(rest, condition)) {
        return After::Stay;
    }
    for (const u32 address : addresses) {
        if (IsAddress(address)) {
            AddAndDescribe(StopKind::Address, address, condition);
        }
    }
    return After::Stay;
}

After Break(const Arguments& arguments) {
    std::string_view rest = arguments.rest;
    std::vector<u32> addresses;
    if (TakeLine(rest, addresses)) {
        return BreakAtLine(addresses, rest);
    }
    const std::string word = TakeWord(rest);
    if (word == "message") {
        return BreakOn(StopKind::Message, StopKind::AnyMessage, rest);
    }
    if (word == "sys") {
        return BreakOn(StopKind::Service, StopKind::AnyService, rest);
    }
    if (word == "stack" && NothingIsLeft(rest)) {
        WatchStack(true);
        return After::Stay;
    }
    if (word == "group") {
        return BreakOn(StopKind::Group, StopKind::Group, rest);
    }
    rest = arguments.rest;
    u32 address = rest.empty() ? HeaderLong(kHeaderPC) : 0;
    std::string condition;
    if (!rest.empty() && word != "if" && !TakeValue(rest, address)) {
        return After::Stay;
    }
    if (word == "if") {
        address = HeaderLong(kHeaderPC);
    }
    if (!TakeCondition(rest, condition) || !IsAddress(address)) {
        return After::Stay;
    }
    return AddAndDescribe(StopKind::Address, address, condition);
}

After Watch(const Arguments& arguments) {
    std::string_view rest = arguments.rest;
    u32 address = 0;
    std::string condition;
    if (!TakeValue(rest, address) || !TakeCondition(rest, condition) || !IsAddress(address)) {
        return After::Stay;
    }
    return AddAndDescribe(StopKind::Watch, address, condition);
}

After List(const Arguments& arguments) {
    if (!NothingIsLeft(arguments.rest)) {
        return After::Stay;
    }
    if (StopPoints().empty()) {
        Say("there are no breakpoints");
    }
    for (const StopPoint& point : StopPoints()) {
        Say(DescribeStopPoint(point));
    }
    return After::Stay;
}

After Delete(const Arguments& arguments) {
    if (arguments.rest == "all") {
        DeleteStopPoints();
        return After::Stay;
    }
    if (arguments.rest == "stack") {
        WatchStack(false);
        return After::Stay;
    }
    u32 number = 0;
    if (arguments.rest.empty()) {
        return Refuse("which one? \"delete all\" deletes all");
    }
    if (!TakeOnlyValue(arguments.rest, number)) {
        return After::Stay;
    }
    if (!DeleteStopPoint(number)) {
        return Refuse(FormatText("there is no breakpoint %u", number));
    }
    return After::Stay;
}

// --- Running on

After Continue(const Arguments& arguments) {
    if (!NothingIsLeft(arguments.rest)) {
        return After::Stay;
    }
    RunFreely();
    return After::Resume;
}

After RunCounted(const Arguments& arguments, void (*run)(u32 count)) {
    u32 count = 0;
    if (!TakeCount(arguments.rest, 1, kMostSteps, count)) {
        return After::Stay;
    }
    run(count);
    return After::Resume;
}

After Step(const Arguments& arguments) {
    return RunCounted(arguments, RunSteps);
}

After Over(const Arguments& arguments) {
    return RunCounted(arguments, RunStepsOver);
}

After Finish(const Arguments& arguments) {
    if (!NothingIsLeft(arguments.rest)) {
        return After::Stay;
    }
    RunOut();
    return After::Resume;
}

After Line(const Arguments& arguments) {
    if (LineCount() == 0) {
        return Refuse("no lines are known; there is no MAIN.LIN");
    }
    return RunCounted(arguments, RunLines);
}

After Until(const Arguments& arguments) {
    u32 address = 0;
    std::string_view rest = arguments.rest;
    std::vector<u32> addresses;
    if (TakeLine(rest, addresses)) {
        if (addresses.empty() || !NothingIsLeft(rest)) {
            return After::Stay;
        }
        RunUntil(addresses.front());
        return After::Resume;
    }
    if (!TakeOnlyValue(arguments.rest, address) || !IsAddress(address)) {
        return After::Stay;
    }
    RunUntil(address);
    return After::Resume;
}

After Quit(const Arguments& arguments) {
    return NothingIsLeft(arguments.rest) ? After::Quit : After::Stay;
}

// --- Looking

After Registers(const Arguments& arguments) {
    if (arguments.rest.empty()) {
        ShowRegisters();
        return After::Stay;
    }
    const std::optional<u32> place = RegisterOfName(arguments.rest);
    if (!place) {
        return Refuse(mxasm::Quoted(arguments.rest) + " is none of R0 to R15");
    }
    ShowRegister(*place);
    return After::Stay;
}

After Print(const Arguments& arguments) {
    u32 value = 0;
    if (!TakeOnlyValue(arguments.rest, value)) {
        return After::Stay;
    }
    const std::string name = NameOfAddress(value);
    Say(FormatText("%d = 0x%8.8X", static_cast<i32>(value), value) +
        (name.empty() ? "" : " <" + name + ">"));
    return After::Stay;
}

After Frames(const Arguments& arguments) {
    u32 count = 0;
    if (TakeCount(arguments.rest, kShownFrames, kMostShown, count)) {
        ShowFrames(count);
    }
    return After::Stay;
}

After Memory(const Arguments& arguments) {
    u32 address = 0;
    u32 count = 0;
    std::string_view rest = arguments.rest;
    const char size = arguments.size != 0 ? arguments.size : 'l';
    const u32 usual = size == 'b' ? 4 * kShownItems : kShownItems;
    if (TakeValue(rest, address) && TakeCount(rest, usual, kMostShown, count)) {
        ShowMemory(address, size, count);
    }
    return After::Stay;
}

After Text(const Arguments& arguments) {
    u32 address = 0;
    if (TakeOnlyValue(arguments.rest, address)) {
        ShowText(address);
    }
    return After::Stay;
}

After Assembly(const Arguments& arguments) {
    u32 address = HeaderLong(kHeaderPC);
    u32 count = 0;
    std::string_view rest = arguments.rest;
    if (!rest.empty() && !TakeValue(rest, address)) {
        return After::Stay;
    }
    if (TakeCount(rest, kShownInstructions, kMostShown, count)) {
        ShowInstructions(address, count);
    }
    return After::Stay;
}

// The lines around the one that runs, around FILE:LINE, or around an address's.
After Source(const Arguments& arguments) {
    std::string_view rest = arguments.rest;
    const u32 pc = HeaderLong(kHeaderPC);
    u32 address = pc;
    u32 count = 0;
    std::string file;
    u32 line = 0;
    const std::string_view word = rest.substr(0, rest.find_first_of(" \t"));
    if (SplitLineName(word, file, line)) {
        std::vector<u32> addresses;
        rest.remove_prefix(word.size());
        const std::string wrong = FindLine(file, line, addresses);
        if (addresses.empty()) {
            return Refuse(wrong);
        }
        address = addresses.front();
    } else if (!rest.empty() && !TakeValue(rest, address)) {
        return After::Stay;
    }
    if (!TakeCount(rest, kShownSource, kMostShown, count)) {
        return After::Stay;
    }
    const CodeLine* const known = LineAt(address);
    if (known == nullptr) {
        return Refuse("no line is known of " + Place(address));
    }
    ShowSource(FileOfLine(*known), line != 0 ? line : known->line, count, pc);
    return After::Stay;
}

After Trace(const Arguments& arguments) {
    u32 count = 0;
    if (TakeCount(arguments.rest, kShownTrace, kPcTraceSize, count)) {
        ShowTrace(count);
    }
    return After::Stay;
}

After Where(const Arguments& arguments) {
    if (NothingIsLeft(arguments.rest)) {
        ShowLocation();
    }
    return After::Stay;
}

After Heap(const Arguments& arguments) {
    u32 handle = 0;
    const std::string_view rest = arguments.rest;
    if (rest.empty() || rest == "all") {
        ShowHeap(rest.empty() ? kShownBlocks : 0xFFFFFFFF);
    } else if (TakeOnlyValue(rest, handle)) {
        ShowHeapBlock(handle);
    }
    return After::Stay;
}

After Bitmaps(const Arguments& arguments) {
    u32 handle = 0;
    if (arguments.rest.empty()) {
        ShowBitmaps();
    } else if (TakeOnlyValue(arguments.rest, handle)) {
        ShowBitmap(handle);
    }
    return After::Stay;
}

// A file's name is the rest of the line, spaces included.
After Save(const Arguments& arguments) {
    u32 handle = 0;
    std::string_view rest = arguments.rest;
    if (!TakeValue(rest, handle)) {
        return After::Stay;
    }
    if (rest.empty()) {
        return Refuse("the name of a file is missing");
    }
    SaveBitmap(handle, std::string(rest));
    return After::Stay;
}

After Queue(const Arguments& arguments) {
    if (NothingIsLeft(arguments.rest)) {
        ShowQueue();
    }
    return After::Stay;
}

After Symbols(const Arguments& arguments) {
    if (!arguments.rest.empty()) {
        const std::string error = LoadSymbols(std::string(arguments.rest));
        if (!error.empty()) {
            return Refuse(error);
        }
    }
    Say(FormatText("%zu symbols", SymbolCount()));
    return After::Stay;
}

After Set(const Arguments& arguments) {
    const std::string error = SetPlace(arguments.rest, arguments.size);
    RenewWatchpoints();
    return error.empty() ? After::Stay : Refuse(error);
}

After Help(const Arguments& arguments);

constexpr Command kCommands[] = {
    {"break", "b", Break, "[ADDRESS | FILE:LINE | message [M] | sys [COMMAND] | group G] [if E]",
     "stop before an instruction, a source line, a message or a service"},
    {"watch", "w", Watch, "ADDRESS [if E]", "stop when the LONG there changes"},
    {"list", "l", List, "", "the breakpoints and watchpoints"},
    {"delete", "d", Delete, "NUMBER | all", "delete them"},
    {"continue", "c", Continue, "", "run on", true},
    {"step", "s", Step, "[COUNT]", "run one instruction, into calls", true},
    {"over", "o n next", Over, "[COUNT]", "run one instruction, calls as a whole", true},
    {"finish", "f out", Finish, "", "run to the caller, or to the next message", true},
    {"line", "", Line, "[COUNT]", "run to another source line, calls as a whole", true},
    {"until", "u", Until, "ADDRESS | FILE:LINE", "run to there"},
    {"quit", "q", Quit, "", "end the run"},
    {"registers", "r", Registers, "[Rn]", "the registers, or one in every reading"},
    {"print", "p", Print, "E", "the value of an expression"},
    {"set", "", Set, "PLACE = VALUE[, ...]",
     "change a register or memory: set R3 = 5, set.b [text+1] = 'A'", false, true},
    {"memory", "m", Memory, "ADDRESS [COUNT]", "memory as LONGs; memory.b .w .q .f .d for others",
     false, true},
    {"text", "x", Text, "ADDRESS", "the string there"},
    {"assembly", "a", Assembly, "[ADDRESS [COUNT]]", "instructions"},
    {"source", "", Source, "[FILE:LINE | ADDRESS] [COUNT]", "source lines"},
    {"trace", "t", Trace, "[COUNT]", "the instructions executed last"},
    {"backtrace", "k bt", Frames, "[COUNT]", "the frames of the calls, from the inside out"},
    {"where", "", Where, "", "the next instruction once more"},
    {"heap", "", Heap, "[HANDLE | all]", "blocks of the heap"},
    {"bitmaps", "", Bitmaps, "[HANDLE]", "bitmaps: 0 the screen, 0xFFFFFFFE the text bitmap"},
    {"save", "", Save, "HANDLE FILE", "write a bitmap as a PNG"},
    {"queue", "", Queue, "", "the messages that wait"},
    {"symbols", "", Symbols, "[FILE]", "read a symbol file of mxasm"},
    {"help", "h", Help, "[COMMAND]", "this list"},
};

std::string Usage(const Command& command) {
    std::string usage = command.name;
    std::string_view others = command.others;
    const std::string letter = TakeWord(others);
    if (!letter.empty()) {
        usage = letter + ", " + usage;
    }
    if (*command.usage != 0) {
        usage += std::string(" ") + command.usage;
    }
    return usage;
}

bool IsNamed(const Command& command, const std::string& name) {
    if (name == command.name) {
        return true;
    }
    std::string_view others = command.others;
    for (std::string other = TakeWord(others); !other.empty(); other = TakeWord(others)) {
        if (name == other) {
            return true;
        }
    }
    return false;
}

// The commands that a name can mean: the one of exactly that name, else all whose names begin with
// it.
std::vector<const Command*> FindCommands(const std::string& name) {
    std::vector<const Command*> found;
    for (const Command& command : kCommands) {
        if (IsNamed(command, name)) {
            return {&command};
        }
        if (std::string_view(command.name).starts_with(name)) {
            found.push_back(&command);
        }
    }
    return found;
}

const Command* FindCommand(const std::string& name) {
    const std::vector<const Command*> found = FindCommands(name);
    if (found.size() == 1) {
        return found.front();
    }
    if (found.empty()) {
        Say("there is no command " + mxasm::Quoted(name) + "; help lists them");
        return nullptr;
    }
    std::string names;
    for (const Command* command : found) {
        names += (names.empty() ? "" : ", ") + std::string(command->name);
    }
    Say(mxasm::Quoted(name) + " can be " + names);
    return nullptr;
}

After Help(const Arguments& arguments) {
    if (!arguments.rest.empty()) {
        const Command* const command = FindCommand(std::string(arguments.rest));
        if (command != nullptr) {
            Say(Usage(*command) + ": " + command->what);
        }
        return After::Stay;
    }
    for (const Command& command : kCommands) {
        Say("  " + Usage(command));
        Say("        " + std::string(command.what));
    }
    Say("An empty line repeats continue, step, over, line or finish. E: numbers, names, "
        "registers,");
    Say("[ADDRESS], + - == != < <= > >= and parentheses.");
    return After::Stay;
}

// The size behind a command's name, as ".b". False, and a line to the user, when the command takes
// no such size.
bool TakeSize(const Command& command, std::string_view& rest, char& size) {
    size = 0;
    if (!rest.starts_with('.')) {
        if (rest.empty() || rest[0] == ' ' || rest[0] == '\t') {
            return true;
        }
    } else if (command.sized && rest.size() >= 2) {
        size = static_cast<char>(rest[1] | 0x20);
        const bool ends = rest.size() == 2 || rest[2] == ' ' || rest[2] == '\t';
        rest.remove_prefix(2);
        if (BytesOfSize(size) != 0 && ends) {
            return true;
        }
        Say("the sizes are .b .w .l .q .f .d");
        return false;
    }
    Say(mxasm::Quoted(rest) + " behind " + command.name + " is left over");
    return false;
}

std::string_view WithoutSpacesAtTheEnd(std::string_view text) {
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) {
        text.remove_suffix(1);
    }
    return text;
}

}  // namespace

After ExecuteCommand(const std::string& line) {
    std::string_view rest = WithoutSpacesAtTheEnd(line);
    SkipSpaces(rest);
    if (rest.starts_with('#')) {
        return After::Stay;
    }
    const bool again = rest.empty();
    if (again && repeated.empty()) {
        return After::Stay;
    }
    const std::string text(again ? repeated : rest);
    rest = text;
    const std::string name = TakeWord(rest);
    if (name.empty()) {
        return Refuse("no command begins with " + mxasm::Quoted(rest));
    }
    const Command* const command = FindCommand(name);
    Arguments arguments{};
    if (command == nullptr || !TakeSize(*command, rest, arguments.size)) {
        return After::Stay;
    }
    SkipSpaces(rest);
    arguments.rest = rest;
    if (command->repeats) {
        repeated = text;
    }
    return command->run(arguments);
}

}  // namespace moxi
