#pragma once
// One instruction as text, and the flags that it may set, for the trace, the debugger and mxdis.
//
// The text is what the assembler reads. Wherever the encoding is the one that the assembler
// chooses, assembling the text gives the same words back; bits that mean nothing to the machine
// and the second codes of some instructions are not shown. Words that are no instruction become
// .long with a comment.

#include <functional>
#include <span>
#include <string>

#include "base/types.h"

namespace moxi {

constexpr u32 kMaxInstructionWords = 4;

// Bytes of the instruction that starts with the word w: 4, 8, 12 or 16. An illegal opcode has 4.
u32 InstructionLength(u32 w);

// What a number in the text stands for.
enum class AddressUse : u8 {
    Code,    // target of a branch, jump or call
    Memory,  // absolute operand, displacement of an indexed one, jump table
    Value,   // LONG immediate
};

// Names an address. An empty answer leaves the number.
using AddressNamer = std::function<std::string(u32 address, AddressUse use)>;

// The instruction that starts with words[0]. Fewer words than it needs are shown as .long.
std::string Disassemble(std::span<const u32> words, const AddressNamer& namer = {});

struct DisassembledInstruction {
    std::string text;
    u32 length = 0;  // bytes, never beyond the memory; 0 when the address is outside
};

// The instruction at `address` of `memory`. Reads nothing outside of it.
DisassembledInstruction DisassembleAt(std::span<const u8> memory, u32 address,
                                      const AddressNamer& namer = {});

// The flags that are set, as letters: O odd, Z zero, N negative; "-" for none.
std::string FlagNames(u8 flags);

}  // namespace moxi
