#include "tools/dis/reach.h"

#include <deque>
#include <optional>
#include <span>

#include "base/bytes.h"
#include "vm/disassemble.h"
#include "vm/machine.h"
#include "vm/opcodes.h"

namespace moxi {

namespace {

struct Explorer {
    const ModuleFile& module;
    CodeMap& map;
    std::deque<u32> open;    // places where code starts
    std::deque<u32> tables;  // jump tables, read when nothing else is left
    // What the registers are known to hold on a straight run of code.
    std::optional<u32> held[16] = {};

    u32 Word(u32 address) const { return LoadBytes<u32>(module.bytes.data() + address); }
    bool HasRoom(u32 address, u32 size) const {
        return address >= kEntryPoint && u64{address} + size <= module.loaded;
    }
    WordKind& Kind(u32 address) const { return map.words[(address - kEntryPoint) / 4]; }
};

void AddLabel(Explorer& explorer, u32 address, LabelKind kind) {
    const auto [entry, isNew] = explorer.map.labels.try_emplace(address, kind);
    if (!isNew && kind > entry->second) {
        entry->second = kind;
    }
}

// Whether an instruction can start there: it lies in the module and is no illegal opcode.
bool MayBeCode(const Explorer& explorer, u32 address) {
    if (address % 4 != 0 || !explorer.HasRoom(address, 4)) {
        return false;
    }
    const u32 w = explorer.Word(address);
    const InstructionClass kind = ClassOf(w);
    if (kind == InstructionClass::Illegal) {
        return false;
    }
    if (kind == InstructionClass::TwoOperands && !IsLegalTwoOperand(w)) {
        return false;
    }
    if (kind == InstructionClass::OneOperand && !IsLegalOneOperand(w)) {
        return false;
    }
    const u32 length = InstructionLength(w);
    if (!explorer.HasRoom(address, length)) {
        return false;
    }
    // Zeros are room, not code, though they would execute.
    return w != 0 || explorer.Word(address + 4) != 0;
}

void Follow(Explorer& explorer, u32 target, LabelKind kind) {
    if (!MayBeCode(explorer, target)) {
        return;
    }
    AddLabel(explorer, target, kind);
    explorer.open.push_back(target);
}

void NoteMemory(Explorer& explorer, u32 address) {
    if (explorer.HasRoom(address, 1)) {
        AddLabel(explorer, address, LabelKind::Data);
    }
}

void NoteTwoOperands(Explorer& explorer, u32 address, u32 w) {
    const OperandForm& form = FindForm(w);
    u32 extension = address + 4;
    const bool isBlockCount =
        (TwoOperandNumber(w) & ~3u) == static_cast<u32>(TwoOperand::Pushblock) &&
        form.code == kCountInWordForm;
    if (form.a == Mode::Absolute && !isBlockCount) {
        NoteMemory(explorer, explorer.Word(extension));
    }
    const bool aHasWord = form.a == Mode::Absolute || form.a == Mode::Indexed;
    if (aHasWord) {
        extension += 4;
    }
    if (form.b == Mode::Absolute) {
        NoteMemory(explorer, explorer.Word(extension));
    }
    if (form.a != Mode::Register) {
        return;
    }
    std::optional<u32>& held = explorer.held[LowRegister(w)];
    held.reset();
    const u32 operation = TwoOperandNumber(w) & ~3u;
    const u32 size = TwoOperandNumber(w) & 3;
    const bool takesAddress =
        operation == static_cast<u32>(TwoOperand::Lea) && form.b == Mode::Absolute;
    const bool takesNumber = form.b == Mode::Immediate && size == 2 &&
                             (operation == static_cast<u32>(TwoOperand::Move) ||
                              operation == static_cast<u32>(TwoOperand::Movez));
    if (takesAddress || takesNumber) {
        held = explorer.Word(extension);
    }
}

void NoteOneOperand(Explorer& explorer, u32 address, u32 w) {
    const Mode mode = FindOneOperandForm(w).mode;
    if (mode == Mode::Absolute) {
        NoteMemory(explorer, explorer.Word(address + 4));
    }
    if (mode == Mode::Register && WideRegister(w) < 16) {
        explorer.held[WideRegister(w)].reset();
    }
}

void ForgetRegisters(Explorer& explorer) {
    for (std::optional<u32>& held : explorer.held) {
        held.reset();
    }
}

// Takes in a single instruction. False when the next one is not executed after it.
bool NoteSingle(Explorer& explorer, u32 address, u32 w) {
    switch (SingleOf(w)) {
        case Single::Jmp: Follow(explorer, BranchTarget(w), LabelKind::Branch); return false;
        case Single::Call:
            Follow(explorer, explorer.Word(address + 4), LabelKind::Call);
            ForgetRegisters(explorer);
            return true;
        case Single::Callr: {
            const std::optional<u32> target = explorer.held[CallRegister(w)];
            if (target) {
                Follow(explorer, *target, LabelKind::Call);
            }
            ForgetRegisters(explorer);
            return true;
        }
        case Single::Return:
        case Single::Stop:
        case Single::Emod: return false;
        default: return true;
    }
}

bool NoteInstruction(Explorer& explorer, u32 address, u32 w) {
    switch (ClassOf(w)) {
        case InstructionClass::TwoOperands: NoteTwoOperands(explorer, address, w); return true;
        case InstructionClass::OneOperand: NoteOneOperand(explorer, address, w); return true;
        case InstructionClass::TestBranch:
            if (TestMode(w) == static_cast<u32>(TestOperand::Absolute)) {
                NoteMemory(explorer, explorer.Word(address + 4));
            }
            Follow(explorer, BranchTarget(w), LabelKind::Branch);
            return true;
        case InstructionClass::FlagBranch:
            Follow(explorer, BranchTarget(w), LabelKind::Branch);
            return true;
        case InstructionClass::TableJump:
            if (explorer.HasRoom(BranchTarget(w), 4)) {
                AddLabel(explorer, BranchTarget(w), LabelKind::Table);
                explorer.tables.push_back(BranchTarget(w));
            }
            return false;
        case InstructionClass::Single: return NoteSingle(explorer, address, w);
        default: return true;
    }
}

bool IsFree(const Explorer& explorer, u32 address, u32 length) {
    for (u32 at = address; at < address + length; at += 4) {
        if (explorer.Kind(at) != WordKind::Data) {
            return false;
        }
    }
    return true;
}

// Walks a straight run of code until it ends or meets what is known already.
void Walk(Explorer& explorer, u32 address) {
    ForgetRegisters(explorer);
    while (MayBeCode(explorer, address)) {
        const u32 w = explorer.Word(address);
        const u32 length = InstructionLength(w);
        if (!IsFree(explorer, address, length)) {
            return;
        }
        explorer.Kind(address) = WordKind::Instruction;
        for (u32 at = 4; at < length; at += 4) {
            explorer.Kind(address + at) = WordKind::Extension;
        }
        if (!NoteInstruction(explorer, address, w)) {
            return;
        }
        address += length;
    }
}

// A jump table goes on for as long as its words are addresses of code.
void ReadTable(Explorer& explorer, u32 table) {
    for (u32 at = table; explorer.HasRoom(at, 4); at += 4) {
        if (explorer.Kind(at) != WordKind::Data) {
            return;
        }
        if (at != table && explorer.map.labels.contains(at)) {
            return;
        }
        const u32 target = explorer.Word(at);
        if (!MayBeCode(explorer, target)) {
            return;
        }
        explorer.Kind(at) = WordKind::TableEntry;
        Follow(explorer, target, LabelKind::Branch);
    }
}

}  // namespace

CodeMap FindCode(const ModuleFile& module) {
    CodeMap map;
    map.words.resize((module.loaded - kEntryPoint) / 4, WordKind::Data);
    Explorer explorer{module, map, {}, {}};
    if (MayBeCode(explorer, kEntryPoint)) {
        explorer.open.push_back(kEntryPoint);
    }
    while (!explorer.open.empty() || !explorer.tables.empty()) {
        if (!explorer.open.empty()) {
            const u32 address = explorer.open.front();
            explorer.open.pop_front();
            Walk(explorer, address);
        } else {
            const u32 table = explorer.tables.front();
            explorer.tables.pop_front();
            ReadTable(explorer, table);
        }
    }
    return map;
}

}  // namespace moxi
