#pragma once
// What the machine needs from higher rooms: function slots with harmless defaults, written only by
// app/ and by tests.

#include <cstdlib>
#include <string_view>

#include "base/types.h"

namespace moxi {

struct VmSlots {
    void (*sysDispatch)();
    // The screen's dirty rectangle is not empty.
    bool (*screenIsDirty)();
    void (*flushDirtyRect)();
    // Takes the next message off the queue; false when there is none or delivery is suspended.
    bool (*takeQueuedMessage)(u32 message[4]);
    // File services. Handles are 32-bit, 0xFFFFFFFF is none; `name` is relative to the game's
    // folders. Modes are 0x8000 read, 0x8002 update, 0x8302 create or truncate.
    u32 (*openFile)(const char* name, u32 mode);
    u32 (*readFile)(u32 handle, void* buffer, u32 count);
    u32 (*writeFile)(u32 handle, const void* data, u32 count);
    u32 (*seekFile)(u32 handle, u32 offset, u32 origin);
    // Waits until no other start of the game is writing the file.
    void (*lockFile)(u32 handle);
    void (*closeFile)(u32 handle);
    // The module has been loaded; none of it has run.
    void (*moduleLoaded)();
    // On the main thread, before a fatal message is shown: a debugger stops here.
    void (*beforeFatalMessage)(std::string_view text);
    // The one place where the process ends.
    void (*endProcess)(int status);  // does not return
};

inline constinit VmSlots vmSlots = {
    .sysDispatch = [] {},
    .screenIsDirty = [] { return false; },
    .flushDirtyRect = [] {},
    .takeQueuedMessage = [](u32*) { return false; },
    .openFile = [](const char*, u32) { return u32{0xFFFFFFFF}; },
    .readFile = [](u32, void*, u32) { return u32{0}; },
    .writeFile = [](u32, const void*, u32) { return u32{0}; },
    .seekFile = [](u32, u32, u32) { return u32{0xFFFFFFFF}; },
    .lockFile = [](u32) {},
    .closeFile = [](u32) {},
    .moduleLoaded = [] {},
    .beforeFatalMessage = [](std::string_view) {},
    .endProcess = [](int status) { std::exit(status); },
};

}  // namespace moxi
