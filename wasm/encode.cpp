#include "wasm/encode.h"

#include "base/bytes.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kNoForm = 0xFF;
constexpr u32 kModes = 7;
constexpr u32 kMaxFrame = 32000;  // what a frame operand's 16 bits reach, with room to spare
constexpr u8 kFirstScratch = 15;  // for a base that lies in the frame, and for a second one
constexpr u8 kSecondScratch = 14;
constexpr u32 kNoSlot = 0xFFFFFFFF;

// The row of kTwoOperandForms for each pair of modes; kNoForm where the machine has none.
constexpr auto kForms = [] {
    std::array<std::array<u8, kModes>, kModes> table{};
    for (auto& row : table) {
        row.fill(kNoForm);
    }
    u8 index = 0;
    for (const OperandForm& form : kTwoOperandForms) {
        table[static_cast<u32>(form.a)][static_cast<u32>(form.b)] = index++;
    }
    return table;
}();

struct Encoder {
    const FunctionCode& code;
    const Allocation& allocation;
    MachineCode& out;
    u32 frameBytes = 0;
    std::vector<u32> labels{};  // addresses

    // A word that waits for the address of a label.
    struct Jump {
        u32 offset = 0;
        u32 label = 0;
        bool isTable = false;  // the whole word is the address
    };
    std::vector<Jump> jumps{};
    std::vector<std::pair<u32, u32>> tableJumps{};  // offset of the word, number of the table

    // An operand as the machine has it: every variable has become a register or a place in the
    // frame.
    struct Resolved {
        Mode mode = Mode::Register;
        u32 reg = 0;
        i64 value = 0;
        Base base = Base::None;
    };

    u32 Here() const { return static_cast<u32>(out.bytes.size()); }
    u32 Address() const { return out.base + Here(); }
    void Word(u32 word) {
        const u64 at = out.bytes.size();
        out.bytes.resize(at + 4);
        StoreBytes(out.bytes.data() + at, word);
    }
    // A value behind an instruction, with a fixup where an address is missing in it.
    void ValueWord(i64 value, Base base) {
        switch (base) {
            case Base::None: break;
            case Base::Memory:
                out.fixups.push_back({Fixup::Kind::Memory, Here(), 0, out.module});
                break;
            case Base::Cartridge: out.fixups.push_back({Fixup::Kind::Memory, Here(), 0, 1}); break;
            case Base::Data:
                out.fixups.push_back({Fixup::Kind::Data, Here(), 0, out.module});
                break;
            case Base::Function:
                out.fixups.push_back(
                    {Fixup::Kind::Function, Here(), static_cast<u32>(value), out.module});
                value = 0;
                break;
        }
        Word(static_cast<u32>(value));
    }
    i64 SlotOffset(u32 slot) const { return -8 * (i64{slot} + 1); }
    // Bases that lie in the frame are fetched into one of two scratch registers. This is which
    // slot's value each of them still holds, so that it need not be fetched again.
    struct Held {
        u8 number = 0;
        u32 slot = kNoSlot;
    };
    Held held[2] = {{kFirstScratch}, {kSecondScratch}};

    u32 RegisterOf(Variable variable, u8 scratch);
    void ForgetHeld(const Instruction& instruction);
    Resolved Resolve(const Operand& operand, OperandSize size, u8 scratch);
    void Extension(const Resolved& operand, OperandSize size);
    void TwoWords(TwoOperand op, OperandSize size, Resolved a, Resolved b);
    void OneWord(OneOperand op, OperandSize size, const Resolved& a);
    void EncodeTwo(const Instruction& instruction);
    void EncodeTestBranch(const Instruction& instruction);
    // The first word of a branch; the label's address, divided by 4, goes to its bits 10 and up.
    void JumpWord(u32 low, u32 label) {
        jumps.push_back({Here(), label, false});
        Word(low);
    }
    void Call(u32 target, Fixup::Kind kind, u32 pushed) {
        Word(static_cast<u32>(Single::Call) | pushed << 16);
        out.fixups.push_back({kind, Here(), target, out.module});
        Word(0);
    }
    void EncodeCallRegister(const Instruction& instruction);
    void EncodeTableJump(const Instruction& instruction);
    void Encode(const Instruction& instruction);
    void EncodeTables();
    void PatchJumps();
    bool Run();
};

// The register with the variable's value, which is fetched into `scratch` if it lies in the frame.
u32 Encoder::RegisterOf(Variable variable, u8 scratch) {
    const Location& at = allocation.locations[variable];
    if (at.inRegister) {
        return at.number;
    }
    for (const Held& each : held) {
        if (each.slot == at.number) {
            return each.number;
        }
    }
    // MOVE.L scratch, [FP+d]
    TwoWords(TwoOperand::Move, OperandSize::Long, {Mode::Register, scratch},
             {Mode::Frame, 0, SlotOffset(at.number)});
    held[scratch == kFirstScratch ? 0 : 1].slot = at.number;
    return scratch;
}

// After an instruction: forgets what the scratch registers hold where it may have changed the
// register or the slot. Behind labels, jumps and calls nothing is known of either.
void Encoder::ForgetHeld(const Instruction& instruction) {
    const auto forget = [&](auto test) {
        for (Held& each : held) {
            if (test(each)) {
                each.slot = kNoSlot;
            }
        }
    };
    switch (instruction.kind) {
        case Kind::Nothing:
        case Kind::Branch:
        case Kind::TestBranch: return;
        case Kind::Two:
        case Kind::One: break;
        default: forget([](const Held&) { return true; }); return;
    }
    if (instruction.a.place == Place::Frame) {
        forget([](const Held&) { return true; });
        return;
    }
    if (!RolesOf(instruction).writesA) {
        return;
    }
    const Location& at = allocation.locations[instruction.a.variable];
    forget([&](const Held& each) {
        return at.inRegister ? each.number == at.number : each.slot == at.number;
    });
}

// Whether an immediate fits into the four bits that the instruction itself has for it.
bool IsQuick(const Operand& operand, OperandSize size) {
    if (operand.base != Base::None) {
        return false;
    }
    i64 value = operand.value;
    if (size == OperandSize::Long) {
        value = static_cast<i32>(value);
    }
    return value >= -8 && value <= 7;
}

Encoder::Resolved Encoder::Resolve(const Operand& operand, OperandSize size, u8 scratch) {
    switch (operand.place) {
        case Place::Register: {
            const Location& at = allocation.locations[operand.variable];
            if (at.inRegister) {
                return {Mode::Register, at.number, 0, Base::None};
            }
            return {Mode::Frame, 0, SlotOffset(at.number), Base::None};
        }
        case Place::Indexed:
            return {Mode::Indexed, RegisterOf(operand.variable, scratch), operand.value,
                    operand.base};
        case Place::Absolute: return {Mode::Absolute, 0, operand.value, operand.base};
        case Place::Frame: return {Mode::Frame, 0, operand.value, Base::None};
        case Place::Immediate:
        case Place::None: break;
    }
    return {IsQuick(operand, size) ? Mode::Quick : Mode::Immediate, 0, operand.value, operand.base};
}

// The words behind an instruction that its operand needs.
void Encoder::Extension(const Resolved& operand, OperandSize size) {
    switch (operand.mode) {
        case Mode::Indexed:
        case Mode::Absolute:
        case Mode::Frame32: ValueWord(operand.value, operand.base); break;
        case Mode::Immediate:
            ValueWord(operand.value, operand.base);
            if (size == OperandSize::Quad) {
                Word(static_cast<u32>(static_cast<u64>(operand.value) >> 32));
            }
            break;
        default: break;
    }
}

// An instruction with two operands. Its word has room for one offset in the frame; that of a second
// one follows as a word of its own.
void Encoder::TwoWords(TwoOperand op, OperandSize size, Resolved a, Resolved b) {
    if (a.mode == Mode::Frame && b.mode == Mode::Frame) {
        b.mode = Mode::Frame32;
    }
    const OperandForm& form =
        kTwoOperandForms[kForms[static_cast<u32>(a.mode)][static_cast<u32>(b.mode)]];
    u32 word = form.code | (static_cast<u32>(op) + static_cast<u32>(size)) << 9;
    const auto place = [&word](const Resolved& operand, Field field) {
        u32 value = operand.reg;
        if (operand.mode == Mode::Quick) {
            value = static_cast<u32>(operand.value) & 15;
        }
        if (operand.mode == Mode::Frame) {
            word |= static_cast<u32>(operand.value) << 16;
        }
        if (field == Field::Low) {
            word |= value << 5;
        }
        if (field == Field::High) {
            word |= value << 16;
        }
    };
    place(a, form.aField);
    place(b, form.bField);
    Word(word);
    Extension(a, size);
    Extension(b, size);
}

void Encoder::OneWord(OneOperand op, OperandSize size, const Resolved& a) {
    u32 word = OneOperandCode(a.mode) | (static_cast<u32>(op) + static_cast<u32>(size)) << 8;
    if (a.mode == Mode::Register || a.mode == Mode::Indexed) {
        word |= a.reg << 16;
    }
    if (a.mode == Mode::Frame) {
        word |= static_cast<u32>(a.value) << 16;
    }
    Word(word);
    Extension(a, size);
}

void Encoder::EncodeTwo(const Instruction& instruction) {
    const auto op = static_cast<TwoOperand>(instruction.operation);
    // LEA's size says nothing; its operands are no values.
    const OperandSize size = op == TwoOperand::Lea ? OperandSize::Byte : instruction.size;
    const Resolved a = Resolve(instruction.a, size, kFirstScratch);
    // The first operand's base may already be held by the second scratch register.
    const bool takesSecond = a.mode == Mode::Indexed && a.reg == kSecondScratch;
    const Resolved b = Resolve(instruction.b, size, takesSecond ? kFirstScratch : kSecondScratch);
    const bool isCopy = op == TwoOperand::Move && size == OperandSize::Quad;
    // A copy to itself, as joined variables leave them, takes no code.
    if (isCopy && a.mode == b.mode && a.reg == b.reg && a.value == b.value &&
        (a.mode == Mode::Register || a.mode == Mode::Frame)) {
        return;
    }
    TwoWords(op, size, a, b);
}

// Its operand is never indexed: the selector makes two instructions of that.
void Encoder::EncodeTestBranch(const Instruction& instruction) {
    const Resolved a = Resolve(instruction.a, instruction.size, kFirstScratch);
    u32 mode = static_cast<u32>(TestOperand::Register);
    if (a.mode == Mode::Absolute) {
        mode = static_cast<u32>(TestOperand::Absolute);
    }
    if (a.mode == Mode::Frame) {
        mode = static_cast<u32>(TestOperand::Frame32);
    }
    JumpWord(u32{instruction.operation} << 7 | static_cast<u32>(instruction.size) << 5 | mode << 3,
             instruction.target);
    ValueWord(a.mode == Mode::Register ? i64{a.reg} : a.value, a.base);
}

void Encoder::EncodeCallRegister(const Instruction& instruction) {
    const u32 reg = RegisterOf(instruction.a.variable, kFirstScratch);
    Word(static_cast<u32>(Single::Callr) | reg << 12 | instruction.pushed << 16);
}

void Encoder::EncodeTableJump(const Instruction& instruction) {
    const u32 reg = RegisterOf(instruction.a.variable, kFirstScratch);
    tableJumps.emplace_back(Here(), instruction.target);
    Word(kTableJumpCode | reg << 6);
}

void Encoder::Encode(const Instruction& instruction) {
    switch (instruction.kind) {
        case Kind::Nothing: break;
        case Kind::Two: EncodeTwo(instruction); break;
        case Kind::One:
            OneWord(static_cast<OneOperand>(instruction.operation), instruction.size,
                    Resolve(instruction.a, instruction.size, kFirstScratch));
            break;
        case Kind::Branch:
            JumpWord(kFlagBranchCode | u32{instruction.operation} << 7, instruction.target);
            break;
        case Kind::TestBranch: EncodeTestBranch(instruction); break;
        case Kind::Jump: JumpWord(static_cast<u32>(Single::Jmp), instruction.target); break;
        case Kind::Label: labels[instruction.target] = Address(); break;
        case Kind::Call: Call(instruction.target, Fixup::Kind::Function, instruction.pushed); break;
        case Kind::CallRoutine:
        case Kind::JumpRoutine:
            Call(instruction.target, Fixup::Kind::Routine, instruction.pushed);
            break;
        case Kind::CallRegister: EncodeCallRegister(instruction); break;
        case Kind::TableJump: EncodeTableJump(instruction); break;
        case Kind::Service: Word(static_cast<u32>(Single::Sys)); break;
        case Kind::Stop: Word(static_cast<u32>(Single::Stop)); break;
        case Kind::Return:
            Word(static_cast<u32>(Single::Return) | allocation.savedRegisters << 10);
            break;
    }
}

// Puts the jump tables behind the function's code, and their addresses into the jumps through them.
void Encoder::EncodeTables() {
    std::vector<u32> addresses;
    if (!code.tables.empty()) {
        u32 words = 0;
        for (const std::vector<u32>& table : code.tables) {
            words += static_cast<u32>(table.size());
        }
        out.tables.push_back({Here(), Here() + 4 * words});
    }
    for (const std::vector<u32>& table : code.tables) {
        addresses.push_back(Address());
        for (const u32 label : table) {
            jumps.push_back({Here(), label, true});
            Word(0);
        }
    }
    for (const auto& [offset, table] : tableJumps) {
        u8* const at = out.bytes.data() + offset;
        StoreBytes(at, LoadBytes<u32>(at) | addresses[table] >> 2 << 10);
    }
}

// All labels have their addresses now: fills them into branches and jump tables.
void Encoder::PatchJumps() {
    for (const Jump& jump : jumps) {
        u8* const at = out.bytes.data() + jump.offset;
        const u32 target = labels[jump.label];
        StoreBytes(at, jump.isTable ? target : LoadBytes<u32>(at) | target >> 2 << 10);
    }
}

bool Encoder::Run() {
    frameBytes = 8 * allocation.slots;
    if (frameBytes > kMaxFrame) {
        return false;
    }
    labels.assign(code.labels, 0);
    u32 origin = code.instructions.front().origin;
    out.origins.push_back({Here(), origin, out.module});
    Word(static_cast<u32>(Single::Link) | allocation.savedRegisters << 10 | frameBytes << 14);
    out.places.clear();
    for (const Instruction& instruction : code.instructions) {
        if (instruction.origin != origin) {
            origin = instruction.origin;
            out.origins.push_back({Here(), origin, out.module});
        }
        out.places.push_back(Here());
        Encode(instruction);
        ForgetHeld(instruction);
    }
    out.places.push_back(Here());
    EncodeTables();
    PatchJumps();
    return true;
}

}  // namespace

bool EncodeFunction(const FunctionCode& code, const Allocation& allocation, MachineCode& out) {
    return Encoder{code, allocation, out}.Run();
}

}  // namespace moxi
