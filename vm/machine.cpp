#include "vm/machine.h"

#include <algorithm>

namespace moxi {

constinit u8* image = nullptr;
constinit u32 imageSize = 0;
constinit u32 heapStart = 0;
constinit u32 heapSize = 0;

constinit TraceEntry firstTrace[kPcTraceSize] = {};
constinit TraceEntry* pcTrace = firstTrace;
constinit u64 pcTraceCount = 0;
constinit u32 pcPreJsr = 0;
constinit i32 modalDepth = 0;
constinit bool presentNotify = false;

u8* CheckedRange(u32 address, u64 size) {
    if (size != 0 && size > u64{imageSize} - (address < imageSize ? address : imageSize)) {
        MemoryFault();
    }
    return image + address;
}

const char* CheckedString(u32 address) {
    const u8* const text = image + address;
    if (address >= imageSize || std::memchr(text, 0, imageSize - address) == nullptr) {
        MemoryFault();
    }
    return reinterpret_cast<const char*>(text);
}

void ResetMachineState() {
    pcTrace = firstTrace;
    image = nullptr;
    imageSize = heapStart = heapSize = 0;
    std::fill_n(pcTrace, kPcTraceSize, TraceEntry{});
    pcTraceCount = 0;
    pcPreJsr = 0;
    modalDepth = 0;
    presentNotify = false;
}

}  // namespace moxi
