#pragma once
// Operands of the module's instructions as operands of the processor's, and what the writers of
// instructions share. rax is free, rdx holds the address of A or E, rcx that of B.

#include <asmjit/x86.h>

#include <optional>
#include <vector>

#include "translate/facts.h"
#include "translate/region.h"
#include "translate/state.h"
#include "translate/translation.h"

namespace moxi {

constexpr asmjit::x86::Gp kImage = asmjit::x86::rbx;
constexpr asmjit::x86::Gp kStateRegister = asmjit::x86::r11;
constexpr asmjit::x86::Xmm kBehindCall = asmjit::x86::xmm2;

// What an operand is used for decides what its address is compared with: nothing is read below the
// header's end, and nothing written where translated code was made.
enum class Use : u8 { Read, Write };

// The writing of one region.
struct Emission {
    asmjit::x86::Assembler& a;
    const Region& region;
    const SharedCode& shared;
    Translation& out;
    u8* base;                                // where the code will lie
    std::vector<asmjit::Label> labels;       // of the blocks
    const DecodedInstruction* in = nullptr;  // the present instruction
    Block block;
    u32 index = 0;  // of the present instruction, in the block
    // The processor's flags ZERO and SIGN are those of the newest result.
    bool flagsFit = false;
    // What is known before the present instruction, and at the beginning of each block.
    Facts facts;
    RegionFacts known;
    // The operand in the frame whose value stands in rax: before the present instruction, and after
    // it.
    struct InFrame {
        i32 offset = 0;
        u32 size = 0;
        bool operator==(const InFrame&) const = default;
    };
    std::optional<InFrame> inRax;
    std::optional<InFrame> leftInRax;
    // What the block has put into the immediate slot so far. The image gets it only where a block
    // goes on that may be left without putting something there itself.
    bool fillsSlot = false;
    u32 slot = 0;
    // The blocks that fill the slot before they can be left.
    std::vector<bool> startWithSlot;
    // Through which registers memory was reached in this block, and at which offset: no lower one
    // has to be compared again until the register changes. Found while an instruction is written,
    // and known behind it.
    struct Reach {
        u32 number;
        u32 offset;
        Use use;
    };
    std::vector<Reach> reached;
    std::vector<Reach> reaching;
    // Where the present instruction is left to the interpreter, if it can be.
    asmjit::Label leave;
    struct Departure {
        asmjit::Label label;
        u32 pc;
        u32 executed;  // of the block's instructions
        u32 place;
    };
    std::vector<Departure> departures;
    // Stores below the end of all translated code: whether they would hit any is looked up out of
    // line, and those that do not come back.
    struct LowWrite {
        asmjit::Label label;
        asmjit::Label back;
        asmjit::Label leave;
        asmjit::x86::Gp address;
        u32 place;
    };
    std::vector<LowWrite> lowWrites;
    // A branch out of the middle of a block.
    struct SideExit {
        asmjit::Label label;
        u32 target;
        u32 executed;
        bool fillsSlot;
        u32 slot;
        u32 place;
    };
    std::vector<SideExit> sideExits;
    // Where each block's code begins behind its note in the log, and its first place.
    std::vector<asmjit::Label> bodies;
    std::vector<u32> firstPlaces;
    struct Return {
        asmjit::Label label;
        u64 value;
    };
    std::vector<Return> returns;
    // Calls that find no room on the processor's stack, or may not use it. Of one that goes out of
    // the region the block is -1.
    struct FullStack {
        asmjit::Label label;
        asmjit::Label back;
        int block;
        u32 place;
    };
    std::vector<FullStack> fullStacks;
    // Returns to another FP than was foretold, when it has been put in place of the called code's.
    struct OtherFrame {
        asmjit::Label label;
        i32 distance;
        u32 place;
    };
    std::vector<OtherFrame> otherFrames;

    Emission(asmjit::x86::Assembler& assembler, const Region& translated, const SharedCode& common,
             Translation& result, u8* address)
        : a(assembler), region(translated), shared(common), out(result), base(address) {}
};

// A field of the state as an operand of the processor, and what lies so far from it.
asmjit::x86::Mem StateField(size_t offset, u32 size);
template <class T>
i32 DistanceOf(const T& variable) {
    return static_cast<i32>(reinterpret_cast<intptr_t>(&variable) -
                            reinterpret_cast<intptr_t>(&translatedState));
}

// A jump to where no mark for control-flow protection stands: the module has no say in where.
void JumpUntracked(asmjit::x86::Assembler& a, const asmjit::Operand& to);

// The bytes of what was written, for the address that it was written for.
std::vector<u8> CodeOf(asmjit::CodeHolder& holder, u8* base);

// The number of the present instruction's place.
inline u32 PlaceNumber(const Emission& e) {
    return static_cast<u32>(e.out.places.size()) - 1;
}

// What the present instruction does with frame and stack.
inline const StackUse& UseOf(const Emission& e) {
    return e.known.uses[e.block.first + e.index];
}

// Compares whether operands in the frame from `low` on lie above all translated code: "below" if
// so.
void CompareFrame(Emission& e, i32 low, const asmjit::x86::Gp& scratch);

// The label at which the interpreter takes the present instruction over; nothing of it may have
// been done, but for the immediate slot.
asmjit::Label LeaveLabel(Emission& e);

enum class PlaceKind : u8 { Register, Memory, Constant };

struct OperandPlace {
    PlaceKind kind = PlaceKind::Constant;
    u32 number = 0;  // of the module's register
    asmjit::x86::Mem memory;
    u64 constant = 0;
};

// Behind an instruction, for the next one.
void KeepReached(Emission& e, const DecodedInstruction& in);

OperandPlace RegisterPlace(u32 number);
OperandPlace AbsolutePlace(Emission& e, u32 address, const asmjit::x86::Gp& scratch, Use use);
// The address in a register plus an offset.
OperandPlace PointerPlace(Emission& e, u32 number, u32 offset, const asmjit::x86::Gp& scratch,
                          Use use);
OperandPlace FramePlace(Emission& e, u32 offset, const asmjit::x86::Gp& scratch, Use use);

// Puts an operand's address into `to`, 32 bits, and compares it with nothing.
void EmitAddress(Emission& e, Mode mode, u32 number, u32 word, const asmjit::x86::Gp& to);

bool IsHost(const OperandPlace& place);
bool IsNarrow(u32 number);
bool IsVector(const OperandPlace& place);
asmjit::x86::Xmm VectorRegister(i32 vector);
// The host register of an index, 64 bits.
asmjit::x86::Gp HostRegister(i32 host);
// The same at a size of 0 to 3.
asmjit::x86::Gp Sized(const asmjit::x86::Gp& whole, u32 size);
// The place as an operand of the processor: memory, or the host register at the size. Not for one
// in a vector register.
asmjit::Operand OperandOf(const OperandPlace& place, u32 size);
asmjit::x86::Mem MemoryOf(const OperandPlace& place, u32 size);

// Values are zero-extended to 32 bits at sizes 0 to 2, and have 64 at size 3.
void LoadValue(Emission& e, const asmjit::x86::Gp& to, const OperandPlace& place, u32 size);
// Sign-extended to 64 bits.
void LoadSigned(Emission& e, const asmjit::x86::Gp& to, const OperandPlace& place, u32 size);
// Stores the low part of `from`, which is lost.
void StoreValue(Emission& e, const OperandPlace& place, const asmjit::x86::Gp& from, u32 size);
// All 64 bits.
void StoreWhole(Emission& e, const OperandPlace& place, const asmjit::x86::Gp& from);

// What a quick or immediate source has put into the immediate slot.
void FillSlot(Emission& e, u64 value, u32 size);
// The image gets what the slot has to hold, unless the block at `target` fills it first.
bool NeedsSlot(const Emission& e, u32 target);
void StoreSlot(Emission& e);

// Sets the newest result from a value of a size.
void KeepResult(Emission& e, const asmjit::x86::Gp& value, u32 size);

}  // namespace moxi
