#pragma once
// Makes the machine's words of a function's instructions, by the tables of vm/opcodes.h.

#include <string>
#include <vector>

#include "wasm/allocate.h"
#include "wasm/code.h"

namespace moxi {

// A word of the code whose value is known only when all addresses are.
struct Fixup {
    enum class Kind : u8 {
        Memory,    // the word gets linear memory's address added
        Data,      // it gets the address of the translator's own data added
        Function,  // it becomes the address of function `target`
        Routine,   // it becomes the address of the runtime's routine `target`
    } kind = Kind::Memory;
    u32 offset = 0;  // of the word in the code
    u32 target = 0;  // number of the function, in the whole image, or of the routine
    u32 module = 0;  // the module whose memory or data it is
};

// From `offset` on, up to the next mark, the code comes from the instruction at `origin` in the
// module's file.
struct OriginMark {
    u32 offset = 0;  // in the code
    u32 origin = 0;
    u32 module = 0;
};

// A piece of the code that holds no instructions but the addresses of jump tables: offset up to
// end.
struct CodeTable {
    u32 offset = 0;
    u32 end = 0;
};

struct MachineCode {
    u32 base = 0;    // the image address of the first byte
    u32 module = 0;  // the number of the module whose functions are being appended
    std::vector<u8> bytes;
    std::vector<Fixup> fixups;
    std::vector<OriginMark> origins;
    std::vector<CodeTable> tables;
    std::vector<u32> places;  // offsets of the last function's instructions, and of their end
};

// Appends a function with its jump tables; `allocation` is the one of `code`. False, with nothing
// appended, where its frame is larger than the machine can address.
bool EncodeFunction(const FunctionCode& code, const Allocation& allocation, MachineCode& out);

}  // namespace moxi
