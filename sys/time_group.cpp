#include "sys/time_group.h"

#include <cstdio>
#include <cstring>

#include "desktop/desktop.h"
#include "sys/dispatch.h"
#include "sys/param.h"
#include "sys/services.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constinit TimerId moduleTimer = 0;

void SetModuleTimer(u32 milliseconds) {
    if (milliseconds == 0) {
        StopModuleTimer();
        return;
    }
    // A running timer keeps its period: the module stops it first to change it.
    if (moduleTimer != 0) {
        return;
    }
    moduleTimer = desktop.startTimer(u64{milliseconds} * 1000, [] { sysSlots.onTimer(); });
}

}  // namespace

bool ModuleTimerRuns() {
    return moduleTimer != 0;
}

void StopModuleTimer() {
    if (moduleTimer == 0) {
        return;
    }
    desktop.stopTimer(moduleTimer);
    moduleTimer = 0;
}

u64 MilliSeconds() {
    constexpr double kMillisecondsPerTick = 1e-6;
    return static_cast<u64>(static_cast<double>(desktop.nanoseconds()) * kMillisecondsPerTick);
}

void DateTimeText(char (&buffer)[kDateTimeTextSize]) {
    const DateTime now = desktop.localDateTime();
    // The bounds keep the text at 19 characters whatever the desktop's calendar says.
    std::snprintf(buffer, sizeof buffer, "%4.4u-%2.2u-%2.2u %2.2u:%2.2u:%2.2u", now.year % 10000,
                  now.month % 100, now.day % 100, now.hour % 100, now.minute % 100,
                  now.second % 100);
}

void SysTimeGroup(u32 sub, u32 arguments) {
    switch (kTimeServices | sub) {
        case SYS_TIMER: SetModuleTimer(Argument(arguments, 0)); return;
        case SYS_MILLISECONDS:
            SetResult(static_cast<u32>(MilliSeconds()));
            desktop.clockWasRead();
            return;
        case SYS_DATE_TIME: {
            char text[kDateTimeTextSize];
            DateTimeText(text);
            std::memcpy(CheckedRange(Argument(arguments, 0), sizeof text), text, sizeof text);
            return;
        }
        default: return;
    }
}

void ResetTimeGroup() {
    moduleTimer = 0;
}

}  // namespace moxi
