#include "sys/dispatch.h"

#include "sys/param.h"
#include "sys/services.h"
#include "vm/diagnostics.h"
#include "vm/machine.h"

namespace moxi {

void SysDispatch() {
    const u32 block = Load<u32>(kHeaderR15);
    const u32 command = Load<u32>(block);
    const u32 sub = command & 0xFF;
    const u32 arguments = block + 4;
    switch (command & ~u32{0xFF}) {
        case kFileServices: SysFileGroup(sub, arguments); return;
        case kTimeServices: SysTimeGroup(sub, arguments); return;
        case kTextServices: SysTextGroup(sub, arguments); return;
        case kGraphicsServices: sysSlots.graphicsGroup(sub, arguments); return;
        case kSoundServices: sysSlots.soundGroup(sub, arguments); return;
        case kHostServices: sysSlots.hostGroup(sub, arguments); return;
        case kSettingsServices: SysSettingsGroup(sub, arguments); return;
        case kHeapServices: SysHeapGroup(sub, arguments); return;
        // Reserved groups: nothing happens, and R14 keeps its value.
        case 0x0100:
        case 0x0400: return;
        default: ReportUnknownCommand();
    }
}

void ReportUnknownCommand() {
    ShowFatalMessage(FormatText("Unknown SYS command at 0x%8.8X. Ack!", Load<u32>(kHeaderPC)));
}

}  // namespace moxi
