#pragma once
// What the machine needs from higher rooms: function slots with harmless defaults, which only
// app/wiring.cpp and tests fill.

#include <cstdlib>
#include <string_view>

#include "base/types.h"

namespace moxi {

struct VmSlots {
    // Runs the service that the parameter block at R15 asks for.
    void (*sysDispatch)();
    // Has what changed of the screen redrawn; false when nothing did.
    bool (*flushScreen)();
    // Appends bytes to debug.log in the data folder, or drops them where that cannot be.
    void (*appendDebugLog)(std::string_view bytes);
    // The module has been loaded; none of it has run.
    void (*moduleLoaded)();
    // On the main thread, before a fatal message is shown: a debugger stops here.
    void (*beforeFatalMessage)(std::string_view text);
    // The one place where the process ends.
    void (*endProcess)(int status);  // does not return
};

inline constexpr VmSlots kEmptyVmSlots = {
    .sysDispatch = [] {},
    .flushScreen = [] { return false; },
    .appendDebugLog = [](std::string_view) {},
    .moduleLoaded = [] {},
    .beforeFatalMessage = [](std::string_view) {},
    .endProcess = [](int status) { std::exit(status); },
};

inline constinit VmSlots vmSlots = kEmptyVmSlots;

}  // namespace moxi
