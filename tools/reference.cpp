#include "tools/reference.h"

#include "vm/opcodes.h"

namespace moxi {

namespace {

constexpr const char* kHead = R"(# The instruction set

This page is made from the tables in `vm/opcodes.h` by `mxref`; edit them, not the page. How to
write programs is in [assembler.md](assembler.md).

An instruction is one 32-bit little-endian word w, followed by up to three 32-bit extension words.
The low ten bits of w choose the class:

```
  31                    16 15          9 8      5 4       0
 +------------------------+-------------+--------+---------+
 | frame offset, B register| operation   | A reg. | form    |   two operands
 | or quick value          |       size  |        |         |   (the size is bits 9..10)
 +------------------------+-------------+--------+---------+

  31                    16 15 14       8 7                 0
 +------------------------+--+----------+-------------------+
 | register, frame offset |  | operation| 108 172 212 236   |   one operand
 +------------------------+--+----------+-------------------+   (the size is bits 8..9)

  31                         10 9     7 6    5 4    3 2     0
 +-----------------------------+-------+------+------+-------+
 | target / 4                  | cond. | size | mode | 0 0 0 |   test and branch
 +-----------------------------+-------+------+------+-------+
 | target / 4                  | cond. | 0 1 1 0 1 0 0       |   branch on flags
 +-----------------------------+-------+---------------------+
 | table / 4                   | register (6..9) | 0 0 1 1 0 0 |   jump through memory
 +-----------------------------+-----------------+-----------+
 | immediate, target / 4, ...  | one of twenty exact values  |   single instructions
 +-----------------------------+-----------------------------+
```

Every operand is reached through an address in the image. The registers are 64-bit slots of the
header: register r lies at 8 + 8 * r. The flags are `ODD` (bit 0 of the byte at 192: the result's
lowest bit), `ZERO` (bit 1) and `NEG` (bit 2: the result's sign bit at the operand size). Where a
table says that flags are set, all three are; else they keep their values.
)";

std::string Row(std::initializer_list<std::string> cells) {
    std::string row = "|";
    for (const std::string& cell : cells) {
        row += ' ';
        for (const char c : cell) {
            if (c == '|') {
                row += '\\';
            }
            row += c;
        }
        row += " |";
    }
    return row + "\n";
}

std::string Rule(size_t columns) {
    std::string row = "|";
    for (size_t i = 0; i < columns; ++i) {
        row += "---|";
    }
    return row + "\n";
}

std::string Code(const std::string& text) {
    return "`" + text + "`";
}

// --- Classes

const char* NameOf(InstructionClass kind) {
    switch (kind) {
        case InstructionClass::TwoOperands: return "two operands";
        case InstructionClass::OneOperand: return "one operand";
        case InstructionClass::TestBranch: return "test and branch";
        case InstructionClass::FlagBranch: return "branch on flags";
        case InstructionClass::TableJump: return "jump through memory";
        case InstructionClass::Single: return "single instruction";
        case InstructionClass::NoOperation: return "no operation";
        case InstructionClass::Illegal: return "illegal opcode";
        case InstructionClass::None: break;
    }
    return "";
}

int CountBits(u32 mask) {
    int bits = 0;
    for (; mask != 0; mask >>= 1) {
        ++bits;
    }
    return bits;
}

std::string ClassRowText(u32 mask, const std::string& values, InstructionClass kind) {
    return Row({"low " + std::to_string(CountBits(mask)) + " bits are " + values, NameOf(kind)});
}

std::string Classes() {
    std::string forms;
    for (const OperandForm& form : kTwoOperandForms) {
        forms += (forms.empty() ? "" : ", ") + std::to_string(form.code);
    }
    std::string oneForms;
    for (const OneOperandForm& form : kOneOperandForms) {
        oneForms += (oneForms.empty() ? "" : ", ") + std::to_string(form.code);
    }
    std::string singles;
    for (const SingleInstruction& single : kSingleInstructions) {
        singles += (singles.empty() ? "" : ", ") + std::to_string(single.code);
    }
    std::string out = "\n## Classes\n\n" + Row({"Word", "Class"}) + Rule(2);
    out += ClassRowText(31, forms, InstructionClass::TwoOperands);
    out += ClassRowText(255, oneForms, InstructionClass::OneOperand);
    out += ClassRowText(1023, singles, InstructionClass::Single);
    for (const ClassRow& row : kClassRows) {
        out += ClassRowText(row.mask, std::to_string(row.bits), row.kind);
    }
    return out +
           "\nAn instruction of the class \"no operation\" is 4 bytes long and does nothing.\n";
}

// --- Operands

std::string ModeText(Mode mode, Field field) {
    const std::string bits = field == Field::Low ? "bits 5..8" : "bits 16..19";
    switch (mode) {
        case Mode::Register: return "register (" + bits + ")";
        case Mode::Indexed: return "indexed (" + bits + ")";
        case Mode::Absolute: return "absolute";
        case Mode::Frame: return "frame";
        case Mode::Frame32: return "frame32";
        case Mode::Quick: return "quick (" + bits + ")";
        case Mode::Immediate: return "immediate";
    }
    return {};
}

std::string ModeSyntax(Mode mode, const std::string& letter) {
    switch (mode) {
        case Mode::Register: return "R" + letter;
        case Mode::Indexed: return "[R" + letter + "+x]";
        case Mode::Absolute: return "[x]";
        case Mode::Frame:
        case Mode::Frame32: return "[FP+d]";
        case Mode::Quick:
        case Mode::Immediate: return "#n";
    }
    return {};
}

constexpr const char* kModes = R"(
## Operands

| Mode | Address | Written |
|---|---|---|
| register | 8 + 8 * r | `R3` |
| indexed | extension word + low 32 bits of register r | `[R3+x]` |
| absolute | extension word | `[x]` |
| frame | FP + signed bits 16..31 | `[FP+d]` |
| frame32 | FP + extension word | `[FP+d]` |
| quick | the slot at 256, which receives a signed value of four bits, -8..7 | `#n` |
| immediate | the slot at 256, which receives one extension word, two for a QUAD | `#n` |

Quick and immediate values are written into the slot before the operation: at size QUAD (DOUBLE) as
64 bits, else as 32 bits, and the slot's upper half keeps what it had.

## Sizes

| Number | Integer | Floating point |
|---|---|---|
| 0 | `.B` BYTE, 8 bits | illegal |
| 1 | `.W` WORD, 16 bits | illegal |
| 2 | `.L` LONG, 32 bits | `.F` FLOAT |
| 3 | `.Q` QUAD, 64 bits | `.D` DOUBLE |

An illegal size is reported with "BYTE/WORD size illegal for FLOAT/DOUBLE at 0x%8.8X", and the
program goes on with the next instruction.
)";

std::string TwoOperandFormTable() {
    std::string out =
        "\n## Two operands: forms\n\nA is the destination and first operand, B the source. "
        "Extension "
        "words follow in the order A's, then B's. A\nQUAD immediate adds 4 bytes.\n\n";
    out += Row({"Low 5 bits", "A", "B", "Bytes", "Written"}) + Rule(5);
    for (const OperandForm& form : kTwoOperandForms) {
        out += Row({std::to_string(form.code), ModeText(form.a, form.aField),
                    ModeText(form.b, form.bField), std::to_string(form.length),
                    Code(ModeSyntax(form.a, "a") + ", " + ModeSyntax(form.b, "b"))});
    }
    return out;
}

std::string OneOperandFormTable() {
    std::string out =
        "\n## One operand: forms\n\n" + Row({"Low 8 bits", "E", "Bytes", "Written"}) + Rule(4);
    for (const OneOperandForm& form : kOneOperandForms) {
        const std::string e = form.mode == Mode::Register ? "register (bits 16..31, note 1)"
                                                          : ModeText(form.mode, Field::High);
        out += Row({std::to_string(form.code), e, std::to_string(form.length),
                    Code(ModeSyntax(form.mode, "e"))});
    }
    return out;
}

// --- Operations

std::string SizesText(Sizes sizes) {
    switch (sizes) {
        case Sizes::Integer: return ".B .W .L .Q";
        case Sizes::Float: return ".F .D";
        case Sizes::Any: return "any";
        case Sizes::ByteToLong: return ".B .W .L";
        case Sizes::Single: break;
    }
    return "none";
}

std::string Numbers(const Operation& row) {
    const u32 first = row.first;
    switch (row.sizes) {
        case Sizes::Single: return std::to_string(first);
        case Sizes::Float: return std::to_string(first + 2) + ", " + std::to_string(first + 3);
        case Sizes::ByteToLong: return std::to_string(first) + ".." + std::to_string(first + 2);
        default: return std::to_string(first) + ".." + std::to_string(first + 3);
    }
}

template <size_t kCount>
std::string Operations(const Operation (&rows)[kCount]) {
    std::string out = Row({"Numbers", "Name", "Sizes", "Flags", "Effect"}) + Rule(5);
    for (const Operation& row : rows) {
        out += Row({Numbers(row), Code(row.mnemonic), SizesText(row.sizes),
                    row.setsFlags ? "set" : "kept", row.effect});
    }
    return out;
}

// The numbers of 0..127 that no row has, as ranges.
template <size_t kCount>
std::string UnusedNumbers(const Operation (&rows)[kCount]) {
    bool used[129] = {};
    used[128] = true;
    for (const Operation& row : rows) {
        const u32 count = row.sizes == Sizes::Single ? 1 : 4;
        for (u32 i = 0; i < count; ++i) {
            used[row.first + i] = true;
        }
    }
    std::string out;
    for (u32 number = 0; number < 128; ++number) {
        if (used[number]) {
            continue;
        }
        const u32 first = number;
        while (!used[number + 1]) {
            ++number;
        }
        out += (out.empty() ? "" : ", ") + std::to_string(first) + ".." + std::to_string(number);
    }
    return out;
}

std::string TwoOperandTable() {
    return "\n## Two operands: operations\n\nThe operation number is bits 9..15, its low two bits "
           "the size. At \"any\" size the four numbers have one\neffect. The floating-point "
           "operations' numbers of sizes 0 and 1 are the illegal sizes.\n\n" +
           Operations(kTwoOperandOperations) + "\nThe numbers " +
           UnusedNumbers(kTwoOperandOperations) +
           " are illegal opcodes. A zero divisor, and the most negative value\ndivided by -1, end "
           "the host with \"Division error\".\n";
}

std::string OneOperandTable() {
    return "\n## One operand: operations\n\nThe operation number is bits 8..14, its low two bits "
           "the size.\n\n" +
           Operations(kOneOperandOperations) +
           "\nThe numbers 0 and 1 are the illegal sizes of `FNEG` and `DNEG`; 35 and 39 do "
           "nothing; "
           "28..31 and 72..127 are\nillegal opcodes. Pushes do not check the stack limit.\n";
}

// --- Branches and single instructions

std::string Branches() {
    std::string out =
        "\n## Branches\n\nThe target is (w >> 10) * 4, an absolute address below 16 "
        "MB. The condition is bits 7..9.\n\n";
    out += Row({"Condition", "On flags", "Test and branch", "Branches when"}) + Rule(4);
    u32 number = 0;
    for (const ConditionName& row : kConditions) {
        out += Row({std::to_string(number++), Code(std::string("B") + row.suffix),
                    Code(std::string("TB") + row.suffix), row.meaning});
    }
    out +=
        "\nTest-and-branch is 8 bytes long. It sets the flags from the value at E at the size in "
        "bits 5..6, then\nbranches or goes on. E comes from bits 3..4 and the extension word "
        "x:\n\n";
    out += Row({"Bits 3..4", "E"}) + Rule(2);
#define X(name, value, meaning) out += Row({std::to_string(value), meaning});
    MX_TEST_MODES(X)
#undef X
    return out +
           "\n`JMP [Rn+table]` (low six bits 12) is the jump through memory: PC = the LONG at "
           "(w >> 10) * 4 + the low 32\nbits of register (w >> 6) & 15.\n";
}

std::string Fields(SingleOperands operands) {
    switch (operands) {
        case SingleOperands::None: return "";
        case SingleOperands::Target: return "bits 10..31: target / 4";
        case SingleOperands::CallTarget:
            return "bits 16..31: argument byte count; extension word: target";
        case SingleOperands::CallRegister:
            return "bits 16..31: argument byte count; bits 12..15: register";
        case SingleOperands::Link: return "bits 10..13: registers; bits 14..31: bytes of locals";
        case SingleOperands::Return: return "bits 10..13: registers";
        case SingleOperands::Word32: return "extension word: its low 16 bits";
        case SingleOperands::Short16: return "bits 10..25: the value";
        case SingleOperands::Long32: return "extension word";
        case SingleOperands::Short22: return "bits 10..31: the value, sign-extended";
        case SingleOperands::Quad64: return "two extension words, low word first";
    }
    return {};
}

std::string Written(const SingleInstruction& single) {
    std::string name = single.mnemonic;
    switch (single.operands) {
        case SingleOperands::None: return name;
        case SingleOperands::Target: return name + " target";
        case SingleOperands::CallTarget: return name + " target, bytes";
        case SingleOperands::CallRegister: return name + " Rn, bytes";
        case SingleOperands::Link: return name + " locals, registers";
        case SingleOperands::Return: return name + " registers";
        default: return name + " #n";
    }
}

std::string Singles() {
    std::string out = "\n## Single instructions\n\n" +
                      Row({"Low 10 bits", "Written", "Fields", "Bytes", "Effect"}) + Rule(5);
    for (const SingleInstruction& single : kSingleInstructions) {
        out += Row({std::to_string(single.code), Code(Written(single)), Fields(single.operands),
                    std::to_string(single.length), single.effect});
    }
    return out;
}

constexpr const char* kFrames = R"(
## Calls and frames

`CALL` and `CALLR` push the argument byte count and the return address. `LINK locals, n` pushes FP,
sets FP to SP, makes room for the locals and for n registers, and saves `R(14-n)`..`R13` at the new
SP. `RETURN n` takes them back, drops the frame with its arguments, and goes to the return address.
From FP upward a frame is:

| Address | Contents |
|---|---|
| FP | the caller's FP |
| FP + 4 | return address, 0 in the frame of a message |
| FP + 8 | argument byte count |
| FP + 12 | the arguments, the first one lowest |

`MODAL` pushes 140 bytes: the former modal chain, FP, the address of the next instruction, and `R0`
to `R15`, but not the flags. The header word at 176 then holds SP. `EMOD` takes the latest of them back.
)";

std::string Notes() {
    std::string out = "\n## Notes\n\nThese are meant to be so, and programs may rely on them.\n\n";
    u32 number = 1;
    for (const char* note : kInstructionNotes) {
        out += std::to_string(number++) + ". " + note + "\n";
    }
    return out;
}

}  // namespace

std::string InstructionSetPage() {
    return kHead + Classes() + kModes + TwoOperandFormTable() + TwoOperandTable() +
           OneOperandFormTable() + OneOperandTable() + Branches() + Singles() + kFrames + Notes();
}

}  // namespace moxi
