#include "vm/diagnostics.h"

#include <iconv.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "desktop/desktop.h"
#include "vm/slots.h"

namespace {

constexpr u32 kUpdateMode = 0x8002;
constexpr u32 kCreateMode = 0x8302;
constexpr u32 kNoFile = 0xFFFFFFFF;
constexpr u32 kFromEnd = 2;

// The text of the message being shown.
constinit char messageBuffer[kMessageBufferSize] = {};
// 1 while a box that another thread asked for has not been dismissed.
constinit std::atomic<u32> smFLAG = 0;

void ShowMessageBuffer() {
    const std::string text = MacRomanToUtf8(messageBuffer);
    WriteErrorLine("fatal: ", text);
    desktop.alert(text);
}

}  // namespace

void ShowFatalMessage(std::string_view text) {
    if (smFLAG != 0) SystemLog("smFLAG");
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
    for (;;) pause();
}

void AppendDebugLog(std::string_view bytes) {
    u32 file = vmSlots.openFile("debug.log", kUpdateMode);
    if (file == kNoFile) file = vmSlots.openFile("debug.log", kCreateMode);
    if (file == kNoFile) return;
    vmSlots.seekFile(file, 0, kFromEnd);
    vmSlots.writeFile(file, bytes.data(), static_cast<u32>(bytes.size()));
    vmSlots.closeFile(file);
}

void EndProcess(int status) {
    vmSlots.endProcess(status);
    std::abort();
}

std::string MacRomanToUtf8(std::string_view text) {
    const iconv_t converter = iconv_open("UTF-8", "MACINTOSH");
    if (converter == reinterpret_cast<iconv_t>(-1)) return std::string(text);
    std::string result(text.size() * 3, '\0');  // no Mac Roman character takes more than 3 bytes
    char* in = const_cast<char*>(text.data());
    size_t inLeft = text.size();
    char* out = result.data();
    size_t outLeft = result.size();
    iconv(converter, &in, &inLeft, &out, &outLeft);
    iconv_close(converter);
    result.resize(result.size() - outLeft);
    return result;
}
