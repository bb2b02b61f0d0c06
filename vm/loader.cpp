#include "vm/loader.h"

#include <string>

#include "base/bytes.h"
#include "base/version.h"
#include "vm/diagnostics.h"
#include "vm/guard.h"
#include "vm/heap.h"
#include "vm/machine.h"
#include "vm/slots.h"

namespace moxi {

namespace {

constexpr u16 kGeneration6 = 0x0036;  // the digit "6" and a zero byte

// The header is read here first; the image points at it until its block exists.
constinit u8 headerBuffer[kHeaderSize] = {};

bool Refuse(const char* message) {
    ShowFatalMessage(message);
    return false;
}

bool RefuseSilently(const std::string& reason) {
    SystemLog(reason);
    return false;
}

bool IsMoxi6() {
    return std::memcmp(headerBuffer + kHeaderMagic, "MOXI", 4) == 0 &&
           LoadBytes<u16>(headerBuffer + kHeaderGeneration) == kGeneration6;
}

bool IsTooNew() {
    const u8 major = headerBuffer[kHeaderModuleMajor];
    const u8 minor = headerBuffer[kHeaderModuleMinor];
    return major > kMajorVersion || (major == kMajorVersion && minor > kMinorVersion);
}

}  // namespace

bool LoadModule(const ModuleReader& read) {
    if (!read) {
        return Refuse("MAIN.MX file not found");
    }
    if (read(headerBuffer, kHeaderSize) < kHeaderSize) {
        return Refuse("Error reading .MX file");
    }
    image = headerBuffer;
    imageSize = kHeaderSize;
    if (!IsMoxi6()) {
        return Refuse("Not a MOXI 6 .MX file");
    }
    if (IsTooNew()) {
        return Refuse("Mismatched MOXI.EXE and MAIN.MX files");
    }

    const u32 loadedLength = LoadBytes<u32>(headerBuffer + kHeaderLoadedLength);
    const u32 globalsSize = LoadBytes<u32>(headerBuffer + kHeaderGlobalsSize);
    const u32 stackSize = LoadBytes<u32>(headerBuffer + kHeaderStackSize);
    heapSize = LoadBytes<u32>(headerBuffer + kHeaderHeapSize);
    heapStart = loadedLength + globalsSize + stackSize;
    StoreBytes<u32>(headerBuffer + kHeaderStackLimit, loadedLength + globalsSize);
    StoreBytes<u32>(headerBuffer + kHeaderStackTop, heapStart);
    StoreBytes<u32>(headerBuffer + kHeaderSP, heapStart);
    InitHeapTable();

    const u64 total = u64{loadedLength} + globalsSize + stackSize + heapSize;
    if (total > 0xFFFFFFFF || !AllocateImage(static_cast<u32>(total))) {
        return Refuse("Error allocating .MX memory");
    }
    if (loadedLength < kHeaderSize) {
        return RefuseSilently(
            FormatText("MAIN.MX: the loaded length %u is below the "
                       "header's 512 bytes",
                       loadedLength));
    }
    std::memcpy(image, headerBuffer, kHeaderSize);
    const u32 bodySize = loadedLength - kHeaderSize;
    const u32 bodyRead = bodySize == 0 ? 0 : read(image + kHeaderSize, bodySize);
    if (bodyRead < bodySize) {
        return RefuseSilently(FormatText("MAIN.MX: the file ends after %u of %u bytes",
                                         kHeaderSize + bodyRead, loadedLength));
    }
    // Globals, stack and heap are zero: the block comes zero-filled and only the body was read.
    constexpr u8 kVersionStamp[] = {0, kMajorVersion, kMinorVersion, 1, 0};
    std::memcpy(image + kHeaderVersionStamp, kVersionStamp, sizeof kVersionStamp);
    AllocHeap(4);  // handle 0 stays the lowest block, and no module ever gets it
    vmSlots.moduleLoaded();
    return true;
}

}  // namespace moxi
