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
    u32 target = 0;  // number of the function, in the whole image, or of the routine
    u32 module = 0;  // whose memory or data
};

// Which instruction of the module the code from here on belongs to.
struct OriginMark {
    u32 offset = 0;  // in the code
    u32 origin = 0;
    u32 module = 0;
};

// Words between instructions that are addresses.
struct CodeTable {
    u32 offset = 0;
    u32 end = 0;
};

struct MachineCode {
    u32 base = 0;    // the image address of the first byte
    u32 module = 0;  // whose functions are being appended
    std::vector<u8> bytes;
    std::vector<Fixup> fixups;
    std::vector<OriginMark> origins;
    std::vector<CodeTable> tables;
    std::vector<u32> places;  // of the last function's instructions, and where the last one ends
};

// Appends a function. False where its frame is larger than the machine can address.
bool EncodeFunction(const FunctionCode& code, const Allocation& allocation, MachineCode& out);

}  // namespace moxi
