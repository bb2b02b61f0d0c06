#include "tests/support/random_program.h"

#include <cstring>
#include <iterator>

namespace moxi {

namespace {

u64 Mix(u64 z) {
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
    return z ^ (z >> 31);
}

}  // namespace

// Neighbouring seeds must not give the same sequence with a shift, so the seed is mixed as well.
Random::Random(u64 seed) : state(Mix(seed * 0xD1342543DE82EF95 + 0x1234567)) {}

u64 Random::Next() {
    state += 0x9E3779B97F4A7C15;
    return Mix(state);
}

u32 Random::Below(u32 limit) {
    return static_cast<u32>(Next() % limit);
}

u32 Random::Between(u32 low, u32 high) {
    return low + Below(high - low + 1);
}

namespace {

constexpr u32 kCode = 512;

struct Program {
    Program(u64 seed, ProgramKind wanted) : random(seed), kind(wanted) {}

    Random random;
    ProgramKind kind;
    std::vector<u8> image;
    u32 code = kCode;
    u32 codeEnd = 0;  // data from here on
    u32 stackLimit = 0;
    u32 stackTop = 0;
    u32 at = kCode;
    std::vector<u32> starts;       // addresses of instructions
    std::vector<u32> branches;     // addresses of words whose bits 10..31 are a target / 4
    std::vector<u32> longTargets;  // addresses of words that are a target
};

void Put(Program& p, u32 address, u64 value, u32 bytes) {
    std::memcpy(&p.image[address], &value, bytes);
}

void Emit(Program& p, u32 word) {
    if (p.at + 4 > p.codeEnd) {
        return;
    }
    Put(p, p.at, word, 4);
    p.at += 4;
}

u32 DataAddress(Program& p) {
    return p.random.Between(p.codeEnd, p.stackLimit - 9);
}

// An address as a module would use it, and now and then as it would not.
u32 Address(Program& p) {
    const u32 size = static_cast<u32>(p.image.size());
    if (p.kind == ProgramKind::SelfChanging && p.random.OneIn(3)) {
        return p.random.Between(p.code, p.codeEnd - 8);
    }
    if (p.kind == ProgramKind::Watched && p.random.OneIn(3)) {
        const u32 first = p.random.OneIn(2) ? p.code - 600 : p.code;
        return p.random.Between(first, p.codeEnd - 8);
    }
    if (p.kind == ProgramKind::Faulting && p.random.OneIn(12)) {
        return p.random.OneIn(2) ? size - 10 + p.random.Below(12) : p.random.Between(500, 516);
    }
    switch (p.random.Below(40)) {
        case 0: return p.random.OneIn(5) ? static_cast<u32>(p.random.Next()) : DataAddress(p);
        case 1: return p.random.OneIn(4) ? size - 16 + p.random.Below(96) : DataAddress(p);
        case 2: return p.random.OneIn(8) ? 0 - p.random.Below(16) : DataAddress(p);
        case 3:
        case 4: return p.random.Below(512);
        case 5:
        case 6: return p.random.Between(128, 264);  // PC, SP, FP, flags, the slot
        case 7:
        case 8: return p.random.Between(p.code, p.codeEnd - 8);
        case 9:
        case 10:
        case 11: return p.random.Between(p.stackLimit, p.stackTop - 8);
        default: return DataAddress(p);
    }
}

// An instruction, now and then an extension word or anything at all.
u32 Target(Program& p) {
    if (p.random.OneIn(400)) {
        return p.random.Below(0x400000) * 4;
    }
    if (p.random.OneIn(40)) {
        return p.code + 4 * p.random.Below((p.codeEnd - p.code) / 4);
    }
    return p.starts[p.random.Below(static_cast<u32>(p.starts.size()))];
}

// A branch whose target is chosen when all the code is there.
void EmitBranch(Program& p, u32 word) {
    p.branches.push_back(p.at);
    Emit(p, word);
}

void EmitLongTarget(Program& p) {
    p.longTargets.push_back(p.at);
    Emit(p, 0);
}

void ChooseTargets(Program& p) {
    for (const u32 at : p.branches) {
        if (at + 4 > p.codeEnd) {
            continue;
        }
        u32 word = 0;
        std::memcpy(&word, &p.image[at], 4);
        Put(p, at, (word & 1023) | Target(p) / 4 << 10, 4);
    }
    for (const u32 at : p.longTargets) {
        if (at + 4 <= p.codeEnd) {
            Put(p, at, Target(p), 4);
        }
    }
    for (u32 at = (p.codeEnd + 3) / 4 * 4; at + 4 <= p.stackLimit; at += 4) {
        if (p.random.OneIn(4)) {
            Put(p, at, Target(p), 4);
        }
    }
}

u32 Displacement(Program& p) {
    return p.random.OneIn(60) ? Address(p) : p.random.Below(128) - 64;
}

u32 FrameField(Program& p) {
    const u32 offset = p.random.OneIn(100) ? p.random.Below(65536) : p.random.Below(96) - 48;
    return (offset & 0xFFFF) << 16;
}

u64 Number(Program& p) {
    static constexpr u64 kSpecial[] = {0,
                                       1,
                                       2,
                                       7,
                                       8,
                                       0x7F,
                                       0x80,
                                       0xFF,
                                       0x7FFF,
                                       0x8000,
                                       0xFFFF,
                                       0x7FFFFFFF,
                                       0x80000000,
                                       0xFFFFFFFF,
                                       0x7FFFFFFFFFFFFFFF,
                                       0x8000000000000000,
                                       0xFFFFFFFFFFFFFFFF,
                                       0x3F800000,
                                       0xBF000000,
                                       0x4F000000,
                                       0x7F800000,
                                       0x7FC00000,
                                       0x3FF0000000000000,
                                       0xC008000000000000,
                                       0x43E0000000000000,
                                       0x7FF0000000000000,
                                       0x41E0000000000000,
                                       0x4330000000000001};
    switch (p.random.Below(4)) {
        case 0: return kSpecial[p.random.Below(std::size(kSpecial))];
        case 1: return p.random.Below(64);
        case 2: return 0 - u64{p.random.Below(64)};
        default: return p.random.Next() >> p.random.Below(64);
    }
}

// ---------------------------------------------------------------------------------------------
// Instructions

enum class Extra { None, Address, Displacement, Frame, Immediate };

struct FormShape {
    u32 code;
    Extra a;
    Extra b;
    bool frame;  // bits 16..31 are a frame offset
};

constexpr FormShape kForms[] = {
    {1, Extra::Displacement, Extra::None, false},
    {2, Extra::Displacement, Extra::None, false},
    {3, Extra::Address, Extra::None, true},
    {5, Extra::Address, Extra::Displacement, false},
    {6, Extra::Displacement, Extra::Address, false},
    {7, Extra::None, Extra::Immediate, true},
    {9, Extra::Displacement, Extra::None, true},
    {10, Extra::Displacement, Extra::Displacement, false},
    {11, Extra::None, Extra::Displacement, true},
    {13, Extra::Address, Extra::Immediate, false},
    {14, Extra::Displacement, Extra::Immediate, false},
    {15, Extra::None, Extra::Frame, true},
    {17, Extra::None, Extra::None, true},
    {18, Extra::None, Extra::Displacement, false},
    {19, Extra::None, Extra::None, true},
    {21, Extra::Address, Extra::Address, false},
    {22, Extra::None, Extra::Immediate, false},
    {23, Extra::None, Extra::None, true},
    {25, Extra::Address, Extra::None, false},
    {26, Extra::None, Extra::Address, false},
    {27, Extra::None, Extra::Address, true},
    {28, Extra::None, Extra::None, false},
    {29, Extra::Address, Extra::None, false},
    {30, Extra::None, Extra::None, false},
};

void EmitExtra(Program& p, Extra extra, u32 size) {
    switch (extra) {
        case Extra::None: return;
        case Extra::Address: Emit(p, Address(p)); return;
        case Extra::Displacement: Emit(p, Displacement(p)); return;
        case Extra::Frame: Emit(p, p.random.Below(256) - 128); return;
        case Extra::Immediate: {
            const u64 number = Number(p);
            Emit(p, static_cast<u32>(number));
            if (size == 3) {
                Emit(p, static_cast<u32>(number >> 32));
            }
            return;
        }
    }
}

// R0 .. R5 start as pointers and are mostly left so: they are bases, the others operands.
u32 BaseRegister(Program& p) {
    return p.random.OneIn(25) ? p.random.Below(16) : p.random.Below(6);
}

u32 ValueRegister(Program& p) {
    return p.random.OneIn(25) ? p.random.Below(16) : p.random.Between(6, 14);
}

// A field is a base where the form has an indexed operand in it.
u32 LowField(Program& p, u32 form) {
    const bool base = form == 1 || form == 2 || form == 5 || form == 6 || form == 9 || form == 10 ||
                      form == 11 || form == 14;
    return base ? BaseRegister(p) : ValueRegister(p);
}

u32 HighField(Program& p, u32 form) {
    if (form == 1 || form == 30) {
        return p.random.Below(16);  // a quick value
    }
    return form == 10 || form == 18 ? BaseRegister(p) : ValueRegister(p);
}

void EmitTwoOperands(Program& p) {
    const FormShape& form = kForms[p.random.Below(std::size(kForms))];
    u32 operation = p.random.Below(96);
    if (p.random.OneIn(12)) {
        operation = p.random.Between(120, 127);
    }
    if (p.random.OneIn(60)) {
        operation = p.random.Between(96, 119);
    }
    // Divisions often end a program early.
    if ((operation < 8 || (operation >= 12 && operation < 20)) && !p.random.OneIn(3)) {
        operation = 24;
    }
    u32 w = form.code | operation << 9;
    w |= (form.code == 23 || form.code == 29 ? p.random.Below(16) : LowField(p, form.code)) << 5;
    w |= form.frame ? FrameField(p) : (HighField(p, form.code) | p.random.Below(4096) << 4) << 16;
    Emit(p, w);
    const bool countInWord = form.code == 5 && operation >= 120 && operation < 124;
    if (countInWord && !p.random.OneIn(8)) {
        Emit(p, p.random.Below(64));
    } else {
        EmitExtra(p, form.a, operation & 3);
    }
    EmitExtra(p, form.b, operation & 3);
}

void EmitOneOperand(Program& p) {
    u32 operation = p.random.Below(72);
    if (p.random.OneIn(50)) {
        operation = p.random.Between(72, 127);
    }
    if (operation >= 28 && operation < 32 && !p.random.OneIn(20)) {
        operation = 16;
    }
    switch (p.random.Below(4)) {
        case 0:
            Emit(p, 108 | operation << 8 | BaseRegister(p) << 16);
            Emit(p, Displacement(p));
            return;
        case 1: Emit(p, 172 | operation << 8 | FrameField(p)); return;
        case 2: {
            const u32 r = p.random.OneIn(10) ? p.random.Below(p.random.OneIn(5) ? 65536 : 600)
                                             : ValueRegister(p);
            Emit(p, 212 | operation << 8 | r << 16);
            return;
        }
        default:
            Emit(p, 236 | operation << 8);
            Emit(p, Address(p));
            return;
    }
}

void EmitTestAndBranch(Program& p) {
    const u32 mode = p.random.Below(4);
    EmitBranch(p, p.random.Below(8) << 7 | p.random.Below(4) << 5 | mode << 3);
    if (mode == 1) {
        Emit(p, Address(p));
    } else if (mode == 3) {
        Emit(p, p.random.Below(256) - 128);
    } else {
        Emit(p, p.random.OneIn(12) ? p.random.Below(600) : p.random.Below(mode == 2 ? 6 : 16));
    }
}

void EmitJump(Program& p) {
    if (p.random.OneIn(2)) {
        EmitBranch(p, 44);
    } else {
        Emit(p, (DataAddress(p) / 4) << 10 | p.random.Between(6, 8) << 6 | 12);
    }
}

void EmitPush(Program& p) {
    static constexpr u32 kCodes[] = {116, 372, 244, 500, 628, 756, 884, 1012};
    const u32 code = kCodes[p.random.Below(8)];
    Emit(p, code | static_cast<u32>(p.random.Next()) << 10);
    if (code == 116 || code == 372 || code == 628 || code == 884) {
        Emit(p, static_cast<u32>(Number(p)));
    }
    if (code == 884) {
        Emit(p, static_cast<u32>(Number(p)));
    }
}

void EmitCallOrFrame(Program& p) {
    switch (p.random.Below(4)) {
        case 0:
            Emit(p, 84 | p.random.Below(16) << 16);
            EmitLongTarget(p);
            return;
        case 1: Emit(p, 852 | p.random.Below(16) << 12 | p.random.Below(16) << 16); return;
        case 2: Emit(p, 340 | p.random.Below(16) << 10 | p.random.Below(64) << 14); return;
        default: Emit(p, 596 | p.random.Below(p.random.OneIn(4) ? 16 : 8) << 10); return;
    }
}

void EmitInstruction(Program& p) {
    if (p.kind == ProgramKind::Services && p.random.OneIn(8)) {
        Emit(p, 276);  // SYS
        return;
    }
    const u32 choice = p.random.Below(200);
    if (choice < 100) {
        EmitTwoOperands(p);
    } else if (choice < 140) {
        EmitOneOperand(p);
    } else if (choice < 156) {
        EmitTestAndBranch(p);
    } else if (choice < 168) {
        EmitBranch(p, p.random.Below(8) << 7 | 52);
    } else if (choice < 171) {
        EmitJump(p);
    } else if (choice < 177) {
        EmitPush(p);
    } else if (choice < 185) {
        EmitCallOrFrame(p);
    } else if (choice < 189) {
        Emit(p, 276);  // SYS
    } else if (choice < 191) {
        Emit(p, 20);  // DEBUGLOG
    } else if (choice < 193) {
        Emit(p, p.random.OneIn(2) ? 404 : p.random.Below(32) << 5 | 31);
    } else if (choice < 194) {
        Emit(p, p.random.OneIn(2) ? 788 : 148);  // MODAL
    } else if (choice < 196) {
        Emit(p, 916);  // EMOD
    } else if (choice < 197) {
        Emit(p, p.random.OneIn(3) ? p.random.Below(32) << 5 | 4 : 532);
    } else {
        Emit(p, static_cast<u32>(p.random.Next()));
    }
}

// ---------------------------------------------------------------------------------------------
// The image around the code

void FillRegisters(Program& p) {
    for (u32 r = 0; r < 16; ++r) {
        const bool pointer = r < 6 || r == 15;
        u64 value = pointer ? DataAddress(p) : Number(p);
        if (pointer && p.kind != ProgramKind::Any && p.random.OneIn(2)) {
            value = Address(p);
        }
        if (pointer && p.random.OneIn(3)) {
            value |= p.random.Next() << 32;
        }
        if (p.random.OneIn(12)) {
            value = Target(p);
        }
        if (p.random.OneIn(10)) {
            value = p.random.Between(120, 264);  // the header's words
        }
        if (r >= 6 && r <= 8 && !p.random.OneIn(4)) {
            value = u64{4} * p.random.Below(8);
        }
        Put(p, 8 + 8 * r, value, 8);
    }
}

void FillHeader(Program& p) {
    for (u32 i = 0; i < 512; ++i) {
        p.image[i] = 0;
    }
    FillRegisters(p);
    u32 sp = p.stackTop - 24 - p.random.Below(64);
    // A stack in the header: pushes and calls write over PC, SP, FP and the flags.
    if (p.random.OneIn(25)) {
        sp = p.random.Between(130, 300);
    }
    if (p.kind == ProgramKind::Faulting && p.random.OneIn(4)) {
        sp = p.random.Between(500, 1600);
    }
    Put(p, 136, kCode, 4);
    Put(p, 144, p.stackTop, 4);
    Put(p, 152, p.stackLimit, 4);
    Put(p, 160, sp, 4);
    u32 fp = p.stackTop - 200;
    if (p.random.OneIn(10)) {
        fp = p.random.OneIn(2) ? Address(p) : p.random.Between(100, 280);
    }
    Put(p, 168, fp, 4);
    Put(p, 176, p.random.OneIn(2) ? p.stackTop - 400 : 0, 4);
    Put(p, 184, p.random.OneIn(20) ? Number(p) : p.random.Below(40), 4);
    Put(p, 192, p.random.Below(8), 1);
    Put(p, 256, p.random.Next(), 8);
    // The message frame, and a frame that a stray RETURN finds.
    Put(p, sp, 0, 4);
    Put(p, sp + 4, 16, 4);
    Put(p, p.stackTop - 200, p.stackTop - 150, 4);
    Put(p, p.stackTop - 196, p.random.OneIn(2) ? 0 : Target(p), 4);
    Put(p, p.stackTop - 192, p.random.Below(16), 4);
    Put(p, p.stackTop - 400, 0, 4);
    Put(p, p.stackTop - 396, p.stackTop - 150, 4);
    Put(p, p.stackTop - 392, Target(p), 4);
}

}  // namespace

std::vector<u8> RandomProgram(u64 seed, ProgramKind kind) {
    Program p(seed, kind);
    const u32 codeSize = 4 * p.random.Between(8, 200);
    const u32 dataSize = p.random.Between(256, 1024);
    const u32 stackSize = p.random.Between(700, 1500);
    if (kind == ProgramKind::Watched) {
        // Behind the page that the header ends on, wherever in it the image begins.
        p.code = 64 * p.random.Between(80, 110);
        p.at = p.code;
    }
    p.codeEnd = p.code + codeSize;
    p.stackLimit = p.codeEnd + dataSize;
    p.stackTop = p.stackLimit + stackSize;
    // A multiple of 64 bytes, so that no padding follows the image.
    p.image.resize(size_t{64} * ((p.stackTop + p.random.Below(600) + 63) / 64));
    for (size_t i = kCode; i < p.image.size(); ++i) {
        const u64 r = p.random.Next();
        p.image[i] = static_cast<u8>((r & 0x300) == 0 ? 0 : r);
    }
    p.starts.push_back(p.at);
    if (!p.random.OneIn(5)) {
        Emit(p, 340 | p.random.Below(6) << 10 | p.random.Below(40) << 14);
    }
    while (p.at < p.codeEnd) {
        p.starts.push_back(p.at);
        EmitInstruction(p);
    }
    if (p.code != kCode) {
        Put(p, kCode, 44 | p.code / 4 << 10, 4);  // JMP
    }
    // Words of the data are code addresses, for jumps through memory.
    ChooseTargets(p);
    FillHeader(p);
    if (!p.random.OneIn(12)) {
        Put(p, p.codeEnd - 4, 596 | p.random.Below(6) << 10, 4);
    }
    return p.image;
}

u32 CodeOfRandomProgram(const std::vector<u8>& program, ProgramKind kind) {
    if (kind != ProgramKind::Watched) {
        return kCode;
    }
    u32 jump = 0;
    std::memcpy(&jump, &program[kCode], 4);
    return jump / 1024 * 4;
}

}  // namespace moxi
