#include "tools/module_file.h"

#include <cstring>

#include "base/bytes.h"
#include "base/version.h"
#include "vm/machine.h"

namespace moxi {

std::string ParseModule(std::vector<u8> bytes, ModuleFile& module) {
    module = {};
    module.bytes = std::move(bytes);
    const std::string size = std::to_string(module.bytes.size());
    if (module.bytes.size() < kHeaderSize) {
        return "too short for a module: it has " + size + " bytes, the header alone takes 512";
    }
    const u8* header = module.bytes.data();
    if (std::memcmp(header + kHeaderMagic, "MOXI", 4) != 0 ||
        LoadBytes<u16>(header + kHeaderGeneration) != 0x36) {
        return "not a MOXI 6 module";
    }
    module.major = header[kHeaderModuleMajor];
    module.minor = header[kHeaderModuleMinor];
    if (module.major > kMajorVersion ||
        (module.major == kMajorVersion && module.minor > kMinorVersion)) {
        return "made for version " + std::to_string(module.major) + "." +
               std::to_string(module.minor) + ", which is newer than " + kVersionText;
    }
    module.loaded = LoadBytes<u32>(header + kHeaderLoadedLength);
    module.globals = LoadBytes<u32>(header + kHeaderGlobalsSize);
    module.stack = LoadBytes<u32>(header + kHeaderStackSize);
    module.heap = LoadBytes<u32>(header + kHeaderHeapSize);
    const std::string loaded = std::to_string(module.loaded);
    if (module.loaded < kHeaderSize) {
        return "its loaded length of " + loaded + " bytes is shorter than the header";
    }
    if (module.loaded > module.bytes.size()) {
        return "cut short: it has " + size + " bytes, its header says " + loaded;
    }
    return {};
}

}  // namespace moxi
