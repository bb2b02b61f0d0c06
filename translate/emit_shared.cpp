#include "translate/emit_shared.h"

#include <cstddef>

#include "translate/operands.h"
#include "vm/machine.h"
#include "vm/threaded.h"

namespace moxi {

using namespace asmjit;

namespace {

constexpr x86::Gp kKept[] = {x86::rbx, x86::rbp, x86::r12, x86::r13, x86::r14, x86::r15};

// Loads the host's registers from the module's in the header, or stores them there.
void MoveHostRegisters(x86::Assembler& a, bool isLoad) {
    for (u32 number = 0; number < 16; ++number) {
        const x86::Mem slot = x86::qword_ptr(kImage, static_cast<i32>(RegisterAddress(number)));
        if (vectorOf[number] != kNoHost) {
            const x86::Xmm vector = VectorRegister(vectorOf[number]);
            if (isLoad) {
                a.movq(vector, slot);
            } else {
                a.movq(slot, vector);
            }
        }
        if (hostOf[number] == kNoHost) {
            continue;
        }
        const x86::Gp host = HostRegister(hostOf[number]);
        if (isLoad) {
            a.mov(host, slot);
        } else {
            a.mov(slot, host);
        }
    }
}

// Between kBehindCall and pcPreJsr; rcx is lost.
void LoadBehindCall(x86::Assembler& a) {
    a.mov(x86::ecx, StateField(static_cast<size_t>(DistanceOf(pcPreJsr)), 4));
    a.add(x86::ecx, 4);
    a.movd(kBehindCall, x86::ecx);
}

void StoreBehindCall(x86::Assembler& a) {
    a.movd(x86::ecx, kBehindCall);
    a.sub(x86::ecx, 4);
    a.mov(StateField(static_cast<size_t>(DistanceOf(pcPreJsr)), 4), x86::ecx);
}

// A handler: base, pc, sp, fp, trace, w in rdi, rsi, rdx, rcx, r8, r9d.
// Compares whether returns are to be left to the interpreter, those into the header aside: "above".
void CompareReturns(x86::Assembler& a) {
    a.cmp(StateField(offsetof(TranslatedState, leastReturn), 4), kHeaderSize);
}

void EmitEnter(x86::Assembler& a, const Label& jump, const Label& emptyStack,
               const Label& strayReturn, const Label& leaveReturn) {
    for (const x86::Gp& kept : kKept) {
        a.push(kept);
    }
    a.sub(x86::rsp, 8);
    a.mov(kImage, x86::rdi);
    a.mov(x86::eax, x86::esi);
    a.mov(x86::r12d, x86::edx);
    a.mov(x86::r13d, x86::ecx);
    a.mov(kStateRegister, reinterpret_cast<u64>(&translatedState));
    // The count of executed instructions goes on from here when the code is left. A 0 in the last
    // place says that the log has not yet been filled once.
    a.mov(StateField(offsetof(TranslatedState, numberAtEntry), 8), x86::r8);
    a.xor_(x86::r14d, x86::r14d);
    a.mov(StateField(offsetof(TranslatedState, log) + size_t{4} * (kLogSize - 1), 4), 0);
    a.mov(x86::r15, StateField(static_cast<size_t>(DistanceOf(lastThreadedResult)), 8));
    MoveHostRegisters(a, true);
    LoadBehindCall(a);
    a.mov(StateField(offsetof(TranslatedState, hostStack), 8), x86::rsp);
    const Label mayReturn = a.newLabel();
    a.lea(x86::rcx, x86::ptr(x86::rsp, -kHostStackSize));
    CompareReturns(a);
    a.jbe(mayReturn);
    a.mov(x86::rcx, -1);
    a.bind(mayReturn);
    a.mov(StateField(offsetof(TranslatedState, hostStackLimit), 8), x86::rcx);
    const Label underflow = a.newLabel();
    const Label begin = a.newLabel();
    a.jmp(begin);
    // Reached by a RETURN whose CALL the interpreter made, or whose CALL was forgotten.
    a.bind(underflow);
    a.lea(x86::rcx, x86::ptr(underflow));
    a.push(x86::rcx);
    a.bind(strayReturn);
    a.cmp(x86::eax, StateField(offsetof(TranslatedState, leastReturn), 4));
    a.jb(leaveReturn);
    a.mov(x86::rcx, x86::rax);
    a.shr(x86::rcx, 32);
    a.lea(x86::r12d, x86::ptr(x86::r13, x86::rcx, 0, 12));
    a.mov(x86::r13d, x86::edx);
    a.mov(x86::eax, x86::eax);
    a.jmp(jump);
    // Forgets all calls, and returns to the code that called this: "above" when that may not make
    // one of the processor's.
    a.bind(emptyStack);
    a.pop(x86::rcx);
    a.mov(x86::rsp, StateField(offsetof(TranslatedState, hostStack), 8));
    a.lea(x86::rdx, x86::ptr(underflow));
    a.push(x86::rdx);
    CompareReturns(a);
    JumpUntracked(a, x86::rcx);
    a.bind(begin);
    a.lea(x86::rcx, x86::ptr(underflow));
    a.push(x86::rcx);
    JumpUntracked(a, StateField(offsetof(TranslatedState, entered), 8));
}

void EmitLeave(x86::Assembler& a, const void* leaveHandler) {
    MoveHostRegisters(a, false);
    StoreBehindCall(a);
    a.mov(x86::r9d, x86::edx);
    a.mov(StateField(static_cast<size_t>(DistanceOf(lastThreadedResult)), 8), x86::r15);
    a.mov(x86::dword_ptr(kImage, kHeaderSP), x86::r12d);
    a.mov(x86::dword_ptr(kImage, kHeaderFP), x86::r13d);
    a.mov(x86::rdi, kImage);
    a.mov(x86::esi, x86::eax);
    a.mov(x86::edx, x86::r12d);
    a.mov(x86::ecx, x86::r13d);
    a.mov(x86::r8d, x86::r14d);
    a.mov(x86::rsp, StateField(offsetof(TranslatedState, hostStack), 8));
    a.mov(StateField(offsetof(TranslatedState, hostStack), 8), 0);
    a.add(x86::rsp, 8);
    for (size_t i = std::size(kKept); i-- > 0;) {
        a.pop(kKept[i]);
    }
    a.mov(x86::rax, reinterpret_cast<u64>(leaveHandler));
    JumpUntracked(a, x86::rax);
}

// The module's registers wait in the header, where another thread may look at them meanwhile. A
// routine of the host needs the processor's stack at a multiple of 16. Where it was before is kept
// in rbp, which such a routine preserves.
void EmitMoveBlock(x86::Assembler& a, const void* moveBlock) {
    MoveHostRegisters(a, false);
    a.mov(StateField(static_cast<size_t>(DistanceOf(lastThreadedResult)), 8), x86::r15);
    a.mov(x86::dword_ptr(kImage, kHeaderSP), x86::r12d);
    a.mov(x86::dword_ptr(kImage, kHeaderFP), x86::r13d);
    a.mov(x86::edi, x86::edx);
    a.mov(x86::esi, x86::ecx);
    a.mov(x86::edx, x86::eax);
    StoreBehindCall(a);
    a.mov(x86::rbp, x86::rsp);
    a.and_(x86::rsp, -16);
    a.mov(x86::rax, reinterpret_cast<u64>(moveBlock));
    a.call(x86::rax);
    a.mov(x86::rsp, x86::rbp);
    a.mov(kStateRegister, reinterpret_cast<u64>(&translatedState));
    MoveHostRegisters(a, true);
    LoadBehindCall(a);
    a.test(x86::al, x86::al);
    a.ret();
}

void EmitJump(x86::Assembler& a, const Label& leave) {
    a.test(x86::al, 3);
    a.jnz(leave);
    a.cmp(x86::rax, StateField(offsetof(TranslatedState, entriesSize), 8));
    a.jae(leave);
    a.mov(x86::rcx, StateField(offsetof(TranslatedState, entries), 8));
    a.mov(x86::ecx, x86::dword_ptr(x86::rcx, x86::rax));
    a.test(x86::ecx, x86::ecx);
    a.jz(leave);
    a.add(x86::rcx, StateField(offsetof(TranslatedState, codeMemory), 8));
    JumpUntracked(a, x86::rcx);
}

}  // namespace

std::vector<u8> EmitSharedCode(u8* base, const HostRoutines& host, SharedCode& shared) {
    CodeHolder holder;
    holder.init(Environment::host(), reinterpret_cast<u64>(base));
    x86::Assembler a(&holder);
    const Label leave = a.newLabel();
    shared.enter = base + a.offset();
    const Label jump = a.newLabel();
    const Label emptyStack = a.newLabel();
    const Label strayReturn = a.newLabel();
    const Label leaveReturn = a.newLabel();
    EmitEnter(a, jump, emptyStack, strayReturn, leaveReturn);
    shared.strayFrame = base + a.offset();
    a.add(x86::rsp, 8);
    a.jmp(strayReturn);
    shared.leaveAfter = base + a.offset();
    a.bind(leave);
    a.mov(x86::edx, -1);
    shared.leave = base + a.offset();
    EmitLeave(a, host.leave);
    shared.arrive = base + a.offset();
    a.mov(x86::edx, -1);
    EmitLeave(a, host.arrive);
    a.bind(leaveReturn);
    EmitLeave(a, host.leaveReturn);
    shared.jump = base + a.offset();
    a.bind(jump);
    EmitJump(a, leave);
    shared.moveBlock = base + a.offset();
    EmitMoveBlock(a, host.moveBlock);
    shared.emptyStack = base + holder.labelOffset(emptyStack);
    shared.strayReturn = base + holder.labelOffset(strayReturn);
    return CodeOf(holder, base);
}

}  // namespace moxi
