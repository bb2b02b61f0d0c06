#pragma once
// The service dispatcher: the interpreter calls SysDispatch for each SYS instruction, and the
// command word in the module's parameter block picks the handler.

#include "base/types.h"
#include "sys/beneath.h"

namespace moxi {

// What this room needs from higher rooms: handlers of the groups that they own, the tick of the
// module's periodic timer, and the sandbox. Written only by app/ and by tests. A handler gets the
// sub-command (0..255) and the address of the first argument.
struct SysSlots {
    void (*graphicsGroup)(u32 sub, u32 arguments);
    void (*soundGroup)(u32 sub, u32 arguments);
    void (*hostGroup)(u32 sub, u32 arguments);
    void (*onTimer)();
    // Called before a service changes anything on disk, and when the data folder has just been
    // made.
    void (*beforeFileChange)();
    // Deletes a file that came with the game: a name beneath the open resources folder.
    void (*deleteResource)(int folder, const char* name);
};

inline constinit SysSlots sysSlots = {
    .graphicsGroup = [](u32, u32) {},
    .soundGroup = [](u32, u32) {},
    .hostGroup = [](u32, u32) {},
    .onTimer = [] {},
    .beforeFileChange = [] {},
    .deleteResource = [](int folder, const char* name) { UnlinkBeneath(folder, name); },
};

// Reads the parameter block at the address in R15 and runs its command. The result, where the
// command has one, is in R14 afterwards. A block outside the image is a memory fault.
void SysDispatch();

// The groups of this room, sys/..._group.cpp: `sub` is the sub-command (0..255), `arguments` the
// address of the first argument. A sub-command without a service is reported as unknown, but by the
// groups of time and heap, which ignore it.
void SysFileGroup(u32 sub, u32 arguments);
void SysTimeGroup(u32 sub, u32 arguments);
void SysTextGroup(u32 sub, u32 arguments);
void SysSettingsGroup(u32 sub, u32 arguments);
void SysHeapGroup(u32 sub, u32 arguments);

// Shows the failure message for a command that no handler knows; it names the SYS instruction.
void ReportUnknownCommand();

}  // namespace moxi
