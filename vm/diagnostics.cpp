#include "vm/diagnostics.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "base/mac_roman.h"
#include "desktop/desktop.h"
#include "vm/slots.h"

namespace moxi {

namespace {

// The text of the message being shown.
constinit char messageBuffer[kMessageBufferSize] = {};
// 1 while a box that another thread asked for has not been dismissed.
constinit std::atomic<u32> smFLAG = 0;

constexpr u32 kBoxesWithoutEnd = 2;
constinit u32 boxesOfMessage = 0;

void ShowMessageBuffer() {
    const std::string text = MacRomanToUtf8(messageBuffer);
    WriteErrorLine("fatal: ", text);
    if (++boxesOfMessage <= kBoxesWithoutEnd) {
        return desktop.alert(text);
    }
    if (!desktop.alertOrEnd(text)) {
        return;
    }
    SystemLog("ended by the user while it showed messages");
    EndProcess(kForcedEnd);
}

}  // namespace

void ShowFatalMessage(std::string_view text) {
    if (desktop.isMainThread()) {
        vmSlots.beforeFatalMessage(text);
    }
    if (smFLAG != 0) {
        SystemLog("smFLAG");
    }
    const size_t length = std::min<size_t>(text.size(), kMessageBufferSize - 1);
    std::memcpy(messageBuffer, text.data(), length);
    messageBuffer[length] = 0;
    if (desktop.isMainThread()) {
        smFLAG = 0;
        ShowMessageBuffer();
        smFLAG = 0;
        return;
    }
    smFLAG = 1;
    desktop.queueOnMain([] {
        ShowMessageBuffer();
        smFLAG = 0;
    });
    // A worker that met a fatal condition must not go on, not even after the box is dismissed.
    for (;;) {
        pause();
    }
}

void CountBoxesAnew() {
    boxesOfMessage = 0;
}

void AppendDebugLog(std::string_view bytes) {
    vmSlots.appendDebugLog(bytes);
}

void EndProcess(int status) {
    vmSlots.endProcess(status);
    std::abort();
}

}  // namespace moxi
