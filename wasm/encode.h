#pragma once
// Machine words from a function's instructions, by the tables of vm/opcodes.h.

#include <string>
#include <vector>

#include "wasm/allocate.h"
#include "wasm/code.h"

namespace moxi {

// A word whose value is known when all addresses are.
struct Fixup {
    enum class Kind : u8 {
        Memory,    // the word gets linear memory's address added
        Data,      // the translator's own data's
        Function,  // it becomes the address of function `target`
        Routine,   // it becomes the address of the runtime's routine `target`
    } kind = Kind::Memory;
    u32 offset = 0;  // of the word in the code
    u32 target = 0;
};

// Which instruction of the module the code from here on belongs to.
struct OriginMark {
    u32 offset = 0;  // in the code
    u32 origin = 0;
};

struct MachineCode {
    u32 base = 0;  // the image address of the first byte
    std::vector<u8> bytes;
    std::vector<Fixup> fixups;
    std::vector<OriginMark> origins;
};

// Appends a function. False where its frame is larger than the machine can address.
bool EncodeFunction(const FunctionCode& code, const Allocation& allocation, MachineCode& out);

}  // namespace moxi
