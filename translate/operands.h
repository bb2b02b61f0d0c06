#pragma once
// Operands of the module's instructions as operands of the processor's, and what the writers of
// instructions share. rax is free, rdx holds the address of A or E, rcx that of B.

#include <asmjit/x86.h>

#include <vector>

#include "translate/emit.h"
#include "translate/state.h"

namespace moxi {

constexpr asmjit::x86::Gp kImage = asmjit::x86::rbx;
constexpr asmjit::x86::Gp kStateRegister = asmjit::x86::r11;

constexpr i32 kNoSafeFrame = 0x7FFFFFFF;

// The writing of one region.
struct Emission {
    asmjit::x86::Assembler& a;
    const Region& region;
    const SharedCode& shared;
    Translation& out;
    u8* base;                           // where the code will lie
    std::vector<asmjit::Label> labels;  // of the blocks
    const Instruction* in = nullptr;    // the present instruction
    Block block;
    u32 index = 0;       // of the present instruction, in the block
    u32 firstPlace = 0;  // of the block
    u16 narrow = 0;
    // The processor's flags ZERO and SIGN are those of the newest result.
    bool flagsFit = false;
    // Operands in the frame from this offset on are known to lie above all code.
    i32 safeFrame = kNoSafeFrame;
    // Where the present instruction is left to the interpreter, if it can be.
    asmjit::Label leave;
    struct Departure {
        asmjit::Label label;
        u32 pc;
        u32 executed;  // of the block's instructions
    };
    std::vector<Departure> departures;
    // A branch out of the middle of a block.
    struct SideExit {
        asmjit::Label label;
        u32 target;
        u32 firstPlace;  // of the block
        u32 executed;
    };
    std::vector<SideExit> sideExits;

    Emission(asmjit::x86::Assembler& assembler, const Region& translated, const SharedCode& common,
             Translation& result, u8* address)
        : a(assembler), region(translated), shared(common), out(result), base(address) {}
};

// The label at which the interpreter takes the present instruction over; nothing of it may have
// been done, but for the immediate slot.
asmjit::Label LeaveLabel(Emission& e);

enum class PlaceKind : u8 { Register, Memory, Constant };

struct Place {
    PlaceKind kind = PlaceKind::Constant;
    u32 number = 0;  // of the module's register
    asmjit::x86::Mem memory;
    u64 constant = 0;
};

// What an operand is used for decides what its address is compared with: nothing is read below the
// header's end, and nothing written below the end of translated code.
enum class Use : u8 { Read, Write };

Place RegisterPlace(u32 number);
Place AbsolutePlace(Emission& e, u32 address, const asmjit::x86::Gp& scratch, Use use);
// The address in a register plus an offset.
Place PointerPlace(Emission& e, u32 number, u32 offset, const asmjit::x86::Gp& scratch, Use use);
Place FramePlace(Emission& e, u32 offset, const asmjit::x86::Gp& scratch, Use use);

// Puts an operand's address into `to`, 32 bits, and compares it with nothing.
void EmitAddress(Emission& e, Mode mode, u32 number, u32 word, const asmjit::x86::Gp& to);

bool IsHost(const Place& place);
bool IsNarrow(const Emission& e, u32 number);
// The host register of an index, 64 bits.
asmjit::x86::Gp HostRegister(i32 host);
// The same at a size of 0 to 3.
asmjit::x86::Gp Sized(const asmjit::x86::Gp& whole, u32 size);
// The place as an operand of the processor: memory, or the host register at the size.
asmjit::Operand OperandOf(const Place& place, u32 size);
asmjit::x86::Mem MemoryOf(const Place& place, u32 size);

// Values are zero-extended to 32 bits at sizes 0 to 2, and have 64 at size 3.
void LoadValue(Emission& e, const asmjit::x86::Gp& to, const Place& place, u32 size);
// Sign-extended to 64 bits.
void LoadSigned(Emission& e, const asmjit::x86::Gp& to, const Place& place, u32 size);
// Stores the low part of `from`, which is lost.
void StoreValue(Emission& e, const Place& place, const asmjit::x86::Gp& from, u32 size);
// All 64 bits.
void StoreWhole(Emission& e, const Place& place, const asmjit::x86::Gp& from);

// Sets the newest result from a value of a size.
void KeepResult(Emission& e, const asmjit::x86::Gp& value, u32 size);

}  // namespace moxi
