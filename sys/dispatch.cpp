#include "sys/dispatch.h"

#include "sys/file_group.h"
#include "sys/heap_group.h"
#include "sys/param.h"
#include "sys/settings_group.h"
#include "sys/text_group.h"
#include "sys/time_group.h"
#include "vm/diagnostics.h"
#include "vm/machine.h"

void SysDispatch() {
    const u32 block = Load<u32>(kHeaderR15);
    const u32 command = Load<u32>(block);
    const u32 group = command >> 8;
    const u32 sub = command & 0xFF;
    const u32 arguments = block + 4;
    switch (group) {
        case 0: SysFileGroup(sub, arguments); return;
        case 2: SysTimeGroup(sub, arguments); return;
        case 3: SysTextGroup(sub, arguments); return;
        case 5: sysSlots.graphicsGroup(sub, arguments); return;
        case 6: sysSlots.soundGroup(sub, arguments); return;
        case 7: sysSlots.hostGroup(sub, arguments); return;
        case 8: SysProfileGroup(sub, arguments); return;
        case 9: SysHeapGroup(sub, arguments); return;
        // Reserved groups: nothing happens, and R14 keeps its value.
        case 1:
        case 4: return;
        default: ReportUnknownCommand();
    }
}

void ReportUnknownCommand() {
    ShowFatalMessage(FormatText("Unknown SYS command at 0x%8.8X. Ack!", Load<u32>(kHeaderPC)));
}
