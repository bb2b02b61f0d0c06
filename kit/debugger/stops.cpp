#include "kit/debugger/stops.h"

#include <algorithm>

#include "base/log.h"
#include "kit/debugger/expression.h"
#include "kit/debugger/names.h"
#include "kit/debugger/source.h"
#include "kit/lines.h"
#include "kit/module_memory.h"
#include "vm/opcodes.h"

namespace moxi {

namespace {

constexpr u32 kMessageArgument = 8;  // of the message's command, from the frame's return address

std::vector<StopPoint> points;
constinit u32 nextNumber = 1;

constinit u32 depth = 0;
constinit bool first = false;

constinit bool stackIsWatched = true;
constinit bool stackWasLeft = false;

enum class Way : u8 { Free, Step, Over, Out, Until, Line };
constinit Way way = Way::Free;
constinit u32 stepsLeft = 0;
constinit u32 until = 0;
// A step over a call, or out of a function, ends when SP is here again in as many running messages.
constinit u32 wantedSP = 0;
constinit u32 wantedDepth = 0;

u32 InstructionWord() {
    return Peek<u32>(HeaderLong(kHeaderPC)).value_or(0);
}

bool IsSingle(u32 w, Single single) {
    return SingleOf(w) == single;
}

// Plans a step over the next instruction. A call is over when SP is again where it was, or above,
// if the arguments were taken off. Every other instruction is over at once: no stack lies below 0.
void PlanStepOver() {
    const u32 w = InstructionWord();
    const bool call = IsSingle(w, Single::Call) || IsSingle(w, Single::Callr);
    wantedSP = call ? HeaderLong(kHeaderSP) : 0;
    wantedDepth = depth;
}

bool HasComeBack() {
    if (depth != wantedDepth) {
        return depth < wantedDepth;
    }
    return first || HeaderLong(kHeaderSP) >= wantedSP;
}

// The line that a step by lines has begun on.
constinit u32 stepLine = 0;
constinit u32 stepFile = 0;

void NoteLine() {
    const CodeLine* const line = LineAt(HeaderLong(kHeaderPC));
    stepLine = line == nullptr ? 0 : line->line;
    stepFile = line == nullptr ? 0 : line->file;
}

// Code without lines is passed over; the beginning of a message is always something new.
bool IsOtherLine() {
    const CodeLine* const line = LineAt(HeaderLong(kHeaderPC));
    if (first) {
        return true;
    }
    return line != nullptr && (line->line != stepLine || line->file != stepFile);
}

bool IsStepDone() {
    switch (way) {
        case Way::Free: return false;
        case Way::Step: return --stepsLeft == 0;
        case Way::Until: return HeaderLong(kHeaderPC) == until;
        case Way::Out: return HasComeBack();
        case Way::Over:
        case Way::Line: break;
    }
    if (!HasComeBack()) {
        return false;
    }
    if (way == Way::Line && !IsOtherLine()) {
        PlanStepOver();
        return false;
    }
    if (--stepsLeft == 0) {
        return true;
    }
    if (way == Way::Line) {
        NoteLine();
    }
    PlanStepOver();
    return false;
}

bool IsMet(const StopPoint& point, const std::optional<u32>& service) {
    switch (point.kind) {
        case StopKind::Address: return HeaderLong(kHeaderPC) == point.value;
        case StopKind::Message:
            return first && Peek<u32>(HeaderLong(kHeaderSP) + kMessageArgument) == point.value;
        case StopKind::AnyMessage: return first;
        case StopKind::Service: return service == point.value;
        case StopKind::Group: return service.has_value() && *service >> 8 == point.value;
        case StopKind::AnyService: return service.has_value();
        case StopKind::Watch: break;
    }
    return Peek<u32>(point.value) != point.last;
}

const char* KindName(StopKind kind) {
    return kind == StopKind::Watch ? "watchpoint" : "breakpoint";
}

// The line that tells of a stop at this point. For a watchpoint it says what has changed.
std::string Reason(const StopPoint& point, u32 now) {
    std::string line = FormatText("%s %u", KindName(point.kind), point.number);
    if (point.kind != StopKind::Watch) {
        return line;
    }
    line += ": " + Place(point.value) + FormatText(": 0x%X, was 0x%X", now, point.last);
    if (pcTraceCount == 0) {
        return line;
    }
    const u32 last = pcTrace[(pcTraceCount - 1) % kPcTraceSize].pc;
    return line + ", after " + Place(last) + AtLine(last);
}

void CheckPoint(StopPoint& point, const std::optional<u32>& service,
                std::vector<std::string>& reasons) {
    if (!IsMet(point, service)) {
        return;
    }
    const u32 now = Peek<u32>(point.value).value_or(0);
    std::string reason = Reason(point, now);
    point.last = now;
    if (!point.condition.empty()) {
        u32 holds = 0;
        const std::string error = Evaluate(point.condition, holds);
        if (error.empty() && holds == 0) {
            return;
        }
        if (!error.empty()) {
            reason += ", condition: " + error;
        }
    }
    ++point.hits;
    reasons.push_back(reason);
}

bool StackIsLeft() {
    const u32 sp = HeaderLong(kHeaderSP);
    return sp < HeaderLong(kHeaderStackLimit) || sp > HeaderLong(kHeaderStackTop);
}

// Stops where SP leaves the stack: the damage is most often noticed long after.
void CheckStack(std::vector<std::string>& reasons) {
    const bool left = stackIsWatched && StackIsLeft();
    if (left && !stackWasLeft) {
        std::string reason = FormatText("SP has left the stack: 0x%8.8X is not in 0x%8.8X..0x%8.8X",
                                        HeaderLong(kHeaderSP), HeaderLong(kHeaderStackLimit),
                                        HeaderLong(kHeaderStackTop));
        if (pcTraceCount != 0) {
            reason += ", after " + Place(pcTrace[(pcTraceCount - 1) % kPcTraceSize].pc);
        }
        reasons.push_back(reason);
    }
    stackWasLeft = left;
}

}  // namespace

u32 AddStopPoint(StopKind kind, u32 value, const std::string& condition) {
    const u32 now = Peek<u32>(value).value_or(0);
    points.push_back({nextNumber, kind, value, condition, 0, now});
    return nextNumber++;
}

bool DeleteStopPoint(u32 number) {
    return std::erase_if(points, [number](const StopPoint& p) { return p.number == number; }) != 0;
}

void WatchStack(bool watched) {
    stackIsWatched = watched;
}

void DeleteStopPoints() {
    points.clear();
}

const std::vector<StopPoint>& StopPoints() {
    return points;
}

bool IsBreakpointAt(u32 address) {
    return std::any_of(points.begin(), points.end(), [address](const StopPoint& point) {
        return point.kind == StopKind::Address && point.value == address;
    });
}

void RenewWatchpoints() {
    for (StopPoint& point : points) {
        point.last = Peek<u32>(point.value).value_or(0);
    }
}

std::string DescribeStopPoint(const StopPoint& point) {
    std::string what;
    switch (point.kind) {
        case StopKind::Address: what = "at " + Place(point.value) + AtLine(point.value); break;
        case StopKind::Message: what = MessageWithName(point.value); break;
        case StopKind::AnyMessage: what = "every message"; break;
        case StopKind::Service: what = FormatText("sys 0x%4.4X", point.value); break;
        case StopKind::Group: what = FormatText("group %u", point.value); break;
        case StopKind::AnyService: what = "every sys"; break;
        case StopKind::Watch: what = "of the LONG at " + Place(point.value); break;
    }
    std::string line = FormatText("%s %u: ", KindName(point.kind), point.number) + what;
    if (!point.condition.empty()) {
        line += " if " + point.condition;
    }
    if (point.hits > 0) {
        line += FormatText(", %u hit%s", point.hits, point.hits == 1 ? "" : "s");
    }
    return line;
}

Frame CurrentFrame() {
    if (IsSingle(InstructionWord(), Single::Link)) {
        return {HeaderLong(kHeaderSP), 0, false};
    }
    const u32 fp = HeaderLong(kHeaderFP);
    return {fp + 4, Peek<u32>(fp).value_or(0), true};
}

void RunFreely() {
    way = Way::Free;
}

void RunSteps(u32 count) {
    way = Way::Step;
    stepsLeft = count;
}

void RunStepsOver(u32 count) {
    way = Way::Over;
    stepsLeft = count;
    PlanStepOver();
}

void RunLines(u32 count) {
    way = Way::Line;
    stepsLeft = count;
    NoteLine();
    PlanStepOver();
}

void RunOut() {
    way = Way::Out;
    const u32 at = CurrentFrame().at;
    wantedSP = at + 8 + Peek<u32>(at + 4).value_or(0);
    wantedDepth = depth;
}

void RunUntil(u32 address) {
    way = Way::Until;
    until = address;
}

void NoteMessageBegin() {
    ++depth;
    first = true;
}

void NoteMessageEnd() {
    --depth;
    first = false;
}

bool IsStop(std::vector<std::string>& reasons) {
    if (!points.empty()) {
        const std::optional<u32> service = ServiceCommand();
        for (StopPoint& point : points) {
            CheckPoint(point, service, reasons);
        }
    }
    CheckStack(reasons);
    const bool done = IsStepDone();
    return done || !reasons.empty();
}

void NoteInstruction() {
    first = false;
}

bool IsFirstOfMessage() {
    return first;
}

std::optional<u32> ServiceCommand() {
    if (!IsSingle(InstructionWord(), Single::Sys)) {
        return std::nullopt;
    }
    return Peek<u32>(HeaderLong(kHeaderR15));
}

u32 MessageDepth() {
    return depth;
}

}  // namespace moxi
