// Fuzzes the settings services: the first part of the input is a settings file, the rest is a
// script of commands of group 8. Whatever both hold, the host must survive: results may be
// anything, memory outside the buffer and the image may not be touched, and every command returns.

#include <fcntl.h>
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "fuzz/confine.h"
#include "sys/dispatch.h"
#include "sys/files.h"
#include "sys/settings.h"
#include "sys/settings_buffer.h"
#include "sys/system_calls.h"
#include "vm/guard.h"
#include "vm/machine.h"
#include "vm/slots.h"

namespace moxi {

namespace {

constexpr u32 kImageSize = 0x8000;
constexpr u32 kBlock = 0x300;
constexpr u32 kFirstText = 0x400;
constexpr u32 kSecondText = 0x2400;
constexpr u32 kBuffer = 0x4400;
constexpr u32 kLongest = 6000;  // of a text that is made longer by its last character

struct ProcessEnded {};

// The one file that exists, as a load reads it and a save leaves it.
std::string file;
std::string saved;

std::FILE* OpenMemory(int, const char*, int flags) {
    if ((flags & O_CREAT) != 0) {
        saved.clear();
        return std::fopen("/dev/null", "wb");
    }
    return file.empty() ? nullptr : fmemopen(file.data(), file.size(), "rb");
}

void PutText(u32 address, FuzzedDataProvider& input) {
    std::string text = input.ConsumeRandomLengthString(200);
    if (!text.empty() && input.ConsumeIntegralInRange<u32>(0, 2) == 0) {
        text.append(input.ConsumeIntegralInRange<u32>(0, kLongest), text.back());
    }
    std::memcpy(image + address, text.c_str(), text.size() + 1);
}

void RunCommand(FuzzedDataProvider& input) {
    const u32 sub = input.ConsumeIntegralInRange<u32>(0, 17);
    u32 arguments[3] = {kFirstText, kSecondText, input.ConsumeIntegralInRange<u32>(0, 3)};
    switch (sub) {
        case 3:
        case 4:
        case 7:
        case 10: PutText(kFirstText, input); break;
        case 8:
        case 15:
            PutText(kFirstText, input);
            PutText(kSecondText, input);
            break;
        case 14:
            PutText(kFirstText, input);
            arguments[1] = input.ConsumeIntegral<u32>();
            break;
        case 5:
        case 6:
        case 11:
        case 16:
            arguments[0] = input.ConsumeBool() ? kBuffer : input.ConsumeIntegral<u32>();
            arguments[1] = input.ConsumeBool() ? 100 : input.ConsumeIntegral<u32>();
            break;
        case 1: file = saved; break;
        default: break;
    }
    Store<u32>(kHeaderR15, kBlock);
    Store<u32>(kBlock, 0x0800 + sub);
    for (u32 i = 0; i < 3; ++i) {
        Store<u32>(kBlock + 4 + 4 * i, arguments[i]);
    }
    try {
        SysDispatch();
    } catch (const ProcessEnded&) {
        // A memory fault of the module: its own doing, and the end of the process in real life.
    }
    if (sub == 1) {
        file = saved;
    }
    if (HasSettingsBuffer() &&
        (SettingsTextEnd() >= SettingsCapacity() || SettingsByte(SettingsTextEnd()) != 0)) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    // Saving makes the folders of a name, which are real.
    confine::Confine(*argc, *argv);
    folders.dataOverride = folders.resources = confine::folder + "/data";
    InitFolders();
    AllocateImage(kImageSize);
    systemCalls.open = OpenMemory;
    systemCalls.write = [](const void* data, std::size_t count, std::FILE*) {
        saved.append(static_cast<const char*>(data), count);
        return count;
    };
    vmSlots.endProcess = [](int) { throw ProcessEnded(); };
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    file = input.ConsumeRandomLengthString(2000);
    ResetSettings();
    std::memset(image, 0, kImageSize);
    Store<u8>(kFirstText, 'x');
    LoadSettings("FILE.INI");
    for (int steps = 0; steps < 200 && input.remaining_bytes() != 0; ++steps) {
        RunCommand(input);
    }
    return 0;
}

}  // namespace moxi
