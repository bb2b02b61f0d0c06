#pragma once
// Assembles a benchmark kernel, loads it as MAIN.MX and sends it messages. For the interpreter
// benchmark and for the tests of the kernels; one kernel at a time.

#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tools/asm/assembler.h"
#include "vm/guard.h"
#include "vm/heap.h"
#include "vm/loader.h"
#include "vm/machine.h"
#include "vm/run_cycle.h"

namespace moxi {

namespace mx_kernel {

constexpr u32 kSetup = 1;
constexpr u32 kRun = 2;
constexpr u32 kChecksum = 3;

// Replaces the module in the machine by the one whose bytes these are; false when it does not load.
inline bool LoadModuleFile(const std::vector<u8>& bytes) {
    ResetMachine();
    ResetRunCycle();
    std::size_t position = 0;
    return LoadModule([&](void* to, u32 count) {
        const std::size_t taken = std::min<std::size_t>(count, bytes.size() - position);
        std::memcpy(to, bytes.data() + position, taken);
        position += taken;
        return static_cast<u32>(taken);
    });
}

// Replaces the module in the machine by the kernel whose source is at `path`. Empty on success,
// else what is wrong.
inline std::string LoadKernel(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream source;
    source << file.rdbuf();
    if (!file) {
        return path + ": cannot be read\n";
    }
    const AssembleResult assembled = Assemble(source.str(), path);
    if (!assembled.ok) {
        return FormatErrors(assembled);
    }
    return LoadModuleFile(assembled.bytes) ? "" : path + ": not loaded\n";
}

// Sends a message with n as its first parameter; returns what the kernel left in R14.
inline u32 SendKernel(u32 command, u32 n) {
    MXmsg(command, n, 0, 0);
    return Load<u32>(kHeaderR14);
}

}  // namespace mx_kernel

}  // namespace moxi
