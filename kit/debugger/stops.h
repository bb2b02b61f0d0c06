#pragma once
// Where a debugged module stops: breakpoints, watchpoints, and the end of a step.

#include <optional>
#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

// --- Breakpoints

enum class StopKind : u8 {
    Address,     // before the instruction at `value`
    Message,     // before the first instruction of the message `value`
    AnyMessage,  // of any message
    Service,     // before a SYS instruction with the command `value`
    Group,       // with a command of the group `value`
    AnyService,  // with any command
    Watch,       // after the LONG at `value` has changed
};

struct StopPoint {
    u32 number;  // from 1, never used again
    StopKind kind;
    u32 value;
    std::string condition;  // an expression; "" for none
    u32 hits = 0;           // times that it has stopped the module
    u32 last = 0;           // a watchpoint's LONG as it was
};

// Returns the new one's number. A watchpoint's address has to be in the image.
u32 AddStopPoint(StopKind kind, u32 value, const std::string& condition);
// False when there is none of this number.
bool DeleteStopPoint(u32 number);
void DeleteStopPoints();
// Whether the module stops where SP leaves the stack, which it does at first.
void WatchStack(bool watched);
const std::vector<StopPoint>& StopPoints();
bool IsBreakpointAt(u32 address);
// The user has changed memory: watchpoints take it as it is now.
void RenewWatchpoints();
// "2: message 11 MSG_TICK if [ticks] == 3, 1 hit"
std::string DescribeStopPoint(const StopPoint& point);

// --- Frames

// The frame of the function that runs, also before its LINK has made it.
struct Frame {
    u32 at;         // address of the return address
    u32 callersFP;  // only once LINK has been executed
    bool linked;
};
Frame CurrentFrame();

// --- Running on

// How far the module runs from here when no stop point comes first. Messages that a service
// delivers while it is waited for belong to the service.
void RunFreely();
void RunSteps(u32 count);      // into calls
void RunStepsOver(u32 count);  // calls count as one
void RunLines(u32 count);      // to another source line, calls passed over
void RunOut();                 // to the function's caller, or to the next message
void RunUntil(u32 address);

// --- The run, as the interpreter tells it

void NoteMessageBegin();
void NoteMessageEnd();
// Whether the module is to stop before the instruction at the header's PC, and the lines that say
// why (none at the end of a step).
bool IsStop(std::vector<std::string>& reasons);
// The instruction is about to be executed.
void NoteInstruction();
// Whether the instruction at the header's PC is the first of a message.
bool IsFirstOfMessage();
// The command of the service that it is about to call.
std::optional<u32> ServiceCommand();
// How many messages are being run: more than 1 while they are nested.
u32 MessageDepth();

}  // namespace moxi
