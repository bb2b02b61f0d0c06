#pragma once
// Turns the text of one instruction into words, by the tables of vm/opcodes.h.

#include "tools/asm/patch.h"

namespace moxi {

namespace mxasm {

// A value that goes into one of the instruction's words.
struct SlotValue {
    Slot slot = Slot::Byte;
    u32 word = 0;  // index of the word that holds it
    Expression expression;
};

struct EncodedInstruction {
    u32 words[4] = {};  // with zeros where the values go
    u32 count = 0;
    SlotValue values[4];
    u32 valueCount = 0;
};

// Whether an upper-case name is a mnemonic.
bool IsMnemonic(const std::string& upperName);
// All of them, in any order.
std::vector<std::string> MnemonicNames();

// Parses one instruction; the cursor stands at the mnemonic and is left behind the last operand.
// False when an error was reported.
bool EncodeInstruction(Sources& sources, SymbolTable& table, Cursor& cursor,
                       EncodedInstruction& out);

}  // namespace mxasm

}  // namespace moxi
