#include "vm/threaded.h"

#include <array>
#include <cstring>
#include <utility>

#include "vm/execute.h"
#include "vm/heap.h"
#include "vm/machine.h"
#include "vm/opcodes.h"
#include "vm/slow_path.h"
#include "vm/threaded_operations.h"

namespace moxi {

#if MOXI_THREADED

// How the machine's state is kept
//
// PC, SP and FP are parameters that stay in processor registers from handler to handler. SP and FP
// are stored in the header when they change. PC and the flags are brought there only where someone
// can look; meanwhile PC is the newest entry of the trace, and the flags are those of
// `lastThreadedResult`. Instructions that read or write the header other than through a register
// operand, and those that leave the handlers, take the slow way (vm/slow_path.h), which is Execute
// and its write-back. So what an instruction itself writes over PC, SP, FP or the flags is lost, as
// it has to be.
//
// A fault leaves the handlers at any point, where the parameters cannot be had. Therefore every
// instruction stores its address in the trace and its number below it, always in the same place.
//
// What was tried for this shape, and what each step gained, stands in docs/interpreter.md.

constinit u64 nextTranslationCheck = ~u64{0};
ThreadedHandler (*translatedCodeAt)(u32 pc, u64 trace) = nullptr;

namespace {

// Addresses are kept in 64 bits, whose upper half is zero, so that no handler has to extend them.
#define MX_STATE_PARAMETERS u8 *base, u64 pc, u64 sp, u64 fp, u64 trace, u32 w
#define MX_STATE base, pc, sp, fp, trace, w

#if defined(__clang__)
#define MX_TAIL_CALL [[clang::musttail]] return
#else
#define MX_TAIL_CALL return
#endif

using Handler = ThreadedHandler;

// The next handler is found by the low 16 bits of the instruction word: they hold the class, the
// form, the operation and its size.
constexpr u32 kDispatchSize = 65536;
static_assert(kDispatchTableSize == kDispatchSize * sizeof(Handler));
Handler dispatchTable[kDispatchSize];

// Goes to the instruction at pc, which is not in the header.
#define MX_NEXT()                                                                              \
    do {                                                                                       \
        Put<u32>(base - kTraceBelowImage, sizeof(TraceEntry) * (trace++ % kPcTraceSize),       \
                 static_cast<u32>(pc));                                                        \
        Put<u32>(base - kCountBelowImage, 0, static_cast<u32>(trace));                         \
        w = Get<u32>(base, pc);                                                                \
        MX_TAIL_CALL reinterpret_cast<const Handler*>(base -                                   \
                                                      kTableBelowImage)[w & 0xFFFF](MX_STATE); \
    } while (false)

// Goes to the instruction at pc, wherever that is, and whoever executes it.
#define MX_JUMP()                                         \
    do {                                                  \
        if (pc < kHeaderSize) [[unlikely]] {              \
            MX_TAIL_CALL JumpIntoHeader(MX_STATE);        \
        }                                                 \
        if (trace >= nextTranslationCheck) [[unlikely]] { \
            MX_TAIL_CALL AskForTranslation(MX_STATE);     \
        }                                                 \
        MX_NEXT();                                        \
    } while (false)

// --- Rare instructions, and those that the fast way may not do

MOXI_UNTRACKED void JumpIntoHeader(MX_STATE_PARAMETERS);

MOXI_UNTRACKED void ExecuteHere(MX_STATE_PARAMETERS) {
    if (pc < kHeaderSize) [[unlikely]] {
        MX_TAIL_CALL JumpIntoHeader(MX_STATE);
    }
    MX_NEXT();
}

MOXI_UNTRACKED void AskForTranslation(MX_STATE_PARAMETERS) {
    const Handler translated = translatedCodeAt(static_cast<u32>(pc), trace);
    if (translated != nullptr) {
        MX_TAIL_CALL translated(MX_STATE);
    }
    MX_NEXT();
}

[[gnu::always_inline]] inline Cpu CpuOf(u64 pc, u64 sp, u64 fp) {
    return {static_cast<u32>(pc), static_cast<u32>(sp), static_cast<u32>(fp), 0};
}

// Goes on where the header says, as the slow way has left it.
#define MX_GO_ON()                                                          \
    do {                                                                    \
        pc = Get<u32>(base, kHeaderPC);                                     \
        sp = Get<u32>(base, kHeaderSP);                                     \
        fp = Get<u32>(base, kHeaderFP);                                     \
        trace = pcTraceCount; /* a service may have run the module again */ \
        MX_JUMP();                                                          \
    } while (false)

MOXI_UNTRACKED void Slow(MX_STATE_PARAMETERS) {
    pcTraceCount = trace;
    if (ExecuteSlowly(CpuOf(pc, sp, fp), w)) {
        MX_GO_ON();
    }
}

MOXI_UNTRACKED void JumpIntoHeader(MX_STATE_PARAMETERS) {
    pcTraceCount = trace;
    if (ExecuteSlowlyAt(CpuOf(pc, sp, fp))) {
        MX_GO_ON();
    }
}

// A write into the header may change PC, SP, FP or the flags, a read may see the flags. (The
// registers' own operands are neither.)
constexpr bool IsInHeader(u32 address) {
    return address < kHeaderSize;
}

// A stack this low would reach into the header with a push of `size` bytes.
constexpr bool IsLowStack(u64 sp, u32 size) {
    return sp < kHeaderSize + size;
}

#define MX_SLOW_IF(condition)        \
    if (condition) [[unlikely]] {    \
        MX_TAIL_CALL Slow(MX_STATE); \
    }

// --- Two-operand operations

template <u32 kFormCode, u32 kNumber, u32 kLow>
MOXI_UNTRACKED void TwoOperandHandler(MX_STATE_PARAMETERS) {
    constexpr OperandForm kForm = FindForm(kFormCode);
    constexpr u32 kSize = kNumber & 3;
    constexpr auto kOp = static_cast<TwoOperand>(kNumber & ~3u);
    constexpr u32 kWordsA = ExtensionWords(kForm.a, kSize);
    constexpr u32 kLength = 4 + 4 * (kWordsA + ExtensionWords(kForm.b, kSize));
    constexpr u32 kExtensionB = 4 + 4 * kWordsA;
    constexpr bool kConstantB = kForm.b == Mode::Quick || kForm.b == Mode::Immediate;
    using T = typename IntegerOf<kSize>::Type;

    const u32 a = AddressOf<kForm.a, kForm.aField, 4, kLow>(base, pc, fp, w);
    if constexpr (kForm.a != Mode::Register) {
        MX_SLOW_IF(IsInHeader(a));
    }
    const u32 b = AddressOf<kForm.b, kForm.bField, kExtensionB, kLow>(base, pc, fp, w);
    if constexpr (kForm.b != Mode::Register && !kConstantB && kOp != TwoOperand::Lea) {
        MX_SLOW_IF(IsInHeader(b));
    }
    u64 constant = 0;
    if constexpr (kConstantB) {
        constant = FillSlot<kForm.b, kForm.bField, kExtensionB, kSize, kLow>(base, pc, w);
    }

    if constexpr (kOp == TwoOperand::Lea) {
        Put<u32>(base, a, b);
    } else if constexpr (kOp == TwoOperand::Fcmp) {
        KeepLoad(Get<T>(base, a));
        KeepLoad(Get<T>(base, b));
    } else if constexpr (IsFloat(kOp)) {
        using Float = std::conditional_t<kSize == 2, f32, f64>;
        const Float left = Get<Float>(base, a);
        const Float right = Get<Float>(base, b);
        Put<Float>(base, a, CalculateFloat<kOp>(left, right));
    } else {
        T right;
        if constexpr (kConstantB) {
            right = static_cast<T>(constant);
        } else if constexpr (IsShift(kOp)) {
            right = Get<u8>(base, b);
        } else {
            right = Get<T>(base, b);
        }
        T left = 0;
        if constexpr (kOp != TwoOperand::Move && kOp != TwoOperand::Movez) {
            left = Get<T>(base, a);
            // The compiler knows the quick value, and might do without a part of the load or all.
            if constexpr (kForm.b == Mode::Quick && kLow < kAnyLow) {
                KeepLoad(left);
            }
        }
        if constexpr (IsDivision(kOp)) {
            MX_SLOW_IF(IsImpossibleDivision(kOp, left, right));
        }
        const T result = Calculate<kOp>(left, right);
        if constexpr (kOp == TwoOperand::Movez) {
            Put<u64>(base, a, result);
        } else if constexpr (WritesA(kOp)) {
            Put<T>(base, a, result);
        }
        if constexpr (SetsFlags(kOp)) {
            KeepFlagsOf(result);
        }
    }
    pc += kLength;
    MX_NEXT();
}

// --- One-operand operations

#define MX_PUSH(type, value)                             \
    do {                                                 \
        MX_SLOW_IF(IsLowStack(sp, sizeof(type)));        \
        const type pushed = (value);                     \
        Put<type>(base, sp - u32{sizeof(type)}, pushed); \
        sp -= u32{sizeof(type)};                         \
        Put<u32>(base, kHeaderSP, static_cast<u32>(sp)); \
    } while (false)

template <u32 kFormIndex, u32 kNumber>
MOXI_UNTRACKED void OneOperandHandler(MX_STATE_PARAMETERS) {
    constexpr Mode kMode = kOneOperandForms[kFormIndex].mode;
    constexpr u32 kLength = kOneOperandForms[kFormIndex].length;
    constexpr auto kOp = static_cast<OneOperand>(kNumber & ~3u);
    using T = typename IntegerOf<kNumber & 3>::Type;
    using Pushed = std::conditional_t<sizeof(T) == 1, u16, T>;

    u32 e;
    if constexpr (kMode == Mode::Register) {
        e = RegisterAddress(WideRegister(w));
        MX_SLOW_IF(e > RegisterAddress(15));
    } else {
        e = AddressOf<kMode, Field::High, 4>(base, pc, fp, w);
        if constexpr (kOp != OneOperand::Pea) {
            MX_SLOW_IF(IsInHeader(e));
        }
    }
    if constexpr (kOp == OneOperand::Push) {
        MX_PUSH(Pushed, (Get<T>(base, e)));
    } else if constexpr (kOp == OneOperand::Pea) {
        MX_PUSH(u32, e);
    } else {
        if constexpr (kOp == OneOperand::Pop) {
            MX_SLOW_IF(IsLowStack(sp, 0));
            Put<T>(base, e, static_cast<T>(KeepLoad(Get<Pushed>(base, sp))));
            sp += sizeof(Pushed);
            Put<u32>(base, kHeaderSP, static_cast<u32>(sp));
        } else {
            Transform<kNumber, T>(base, e);
        }
    }
    pc += kLength;
    MX_NEXT();
}

// --- Branches and jumps

template <u32 kCondition>
MOXI_UNTRACKED void FlagBranchHandler(MX_STATE_PARAMETERS) {
    if (HoldsFor<static_cast<Condition>(kCondition)>(lastThreadedResult)) {
        pc = BranchTarget(w);
        MX_JUMP();
    }
    pc += 4;
    MX_NEXT();
}

// `kBits` are bits 3..9: operand mode, size and condition.
template <u32 kBits>
MOXI_UNTRACKED void TestBranchHandler(MX_STATE_PARAMETERS) {
    constexpr u32 kWord = kBits << 3;
    constexpr auto kMode = static_cast<TestOperand>(TestMode(kWord));
    using T = typename IntegerOf<TestSize(kWord)>::Type;
    const u32 x = Get<u32>(base, pc + 4);
    u32 e = x;
    if constexpr (kMode == TestOperand::Register) {
        e = RegisterAddress(x);
        MX_SLOW_IF(e - RegisterAddress(0) > RegisterAddress(15) - RegisterAddress(0));
    } else {
        if constexpr (kMode == TestOperand::Indirect) {
            // Also this register number is not masked.
            const u32 pointer = RegisterAddress(x);
            MX_SLOW_IF(pointer - RegisterAddress(0) > RegisterAddress(15) - RegisterAddress(0));
            e = Get<u32>(base, pointer);
        } else if constexpr (kMode == TestOperand::Frame32) {
            e = static_cast<u32>(fp) + x;
        }
        MX_SLOW_IF(IsInHeader(e));
    }
    lastThreadedResult = static_cast<SignedOf<T>>(Get<T>(base, e));
    if (HoldsFor<static_cast<Condition>(BranchCondition(kWord))>(lastThreadedResult)) {
        pc = BranchTarget(w);
        MX_JUMP();
    }
    pc += 8;
    MX_NEXT();
}

MOXI_UNTRACKED void TableJumpHandler(MX_STATE_PARAMETERS) {
    const u32 entry = BranchTarget(w) + Get<u32>(base, RegisterAddress(TableRegister(w)));
    MX_SLOW_IF(IsInHeader(entry));
    pc = Get<u32>(base, entry);
    MX_JUMP();
}

MOXI_UNTRACKED void JumpHandler(MX_STATE_PARAMETERS) {
    pc = BranchTarget(w);
    MX_JUMP();
}

MOXI_UNTRACKED void NoOperationHandler(MX_STATE_PARAMETERS) {
    pc += 4;
    MX_NEXT();
}

// --- Calls and returns

template <bool kThroughRegister>
MOXI_UNTRACKED void CallHandler(MX_STATE_PARAMETERS) {
    MX_SLOW_IF(IsLowStack(sp, 8));
    u32 target;
    if constexpr (kThroughRegister) {
        target = Get<u32>(base, RegisterAddress(CallRegister(w)));
    } else {
        target = Get<u32>(base, pc + 4);
    }

    pcPreJsr = static_cast<u32>(pc) + 4;
    sp -= 8;
    // Two pushes: the argument byte count, which may fault, and below it the return address.
    Put<u32>(base, sp + 4, ArgumentBytes(w));
    asm volatile("" : : : "memory");  // in this order
    Put<u32>(base, sp, static_cast<u32>(pc) + (kThroughRegister ? 4 : 8));
    Put<u32>(base, kHeaderSP, static_cast<u32>(sp));
    pc = target;
    MX_JUMP();
}

template <u32 kRegisters>
MOXI_UNTRACKED void LinkHandler(MX_STATE_PARAMETERS) {
    constexpr u32 kSavedSize = 8 * kRegisters;
    const u32 room = 4 + LocalBytes(w) + kSavedSize;
    MX_SLOW_IF(IsLowStack(sp, room));
    Put<u32>(base, sp - 4, static_cast<u32>(fp));
    fp = sp - 4;
    sp -= room;
    std::memcpy(base + sp, base + RegisterAddress(14) - kSavedSize, kSavedSize);
    Put<u32>(base, kHeaderSP, static_cast<u32>(sp));
    Put<u32>(base, kHeaderFP, static_cast<u32>(fp));
    pc += 4;
    MX_NEXT();
}

template <u32 kRegisters>
MOXI_UNTRACKED void ReturnHandler(MX_STATE_PARAMETERS) {
    constexpr u32 kSavedSize = 8 * kRegisters;
    // The host's return (to 0), locks to release, and a frame in the header are rare.
    MX_SLOW_IF(IsLowStack(fp, 0) || heapListHeads[static_cast<u32>(HeapList::Locked)] >= 0);
    if constexpr (kRegisters != 0) {
        MX_SLOW_IF(IsLowStack(sp, 0));
    }
    const u32 returnAddress = Get<u32>(base, fp + 4);
    MX_SLOW_IF(IsInHeader(returnAddress));
    std::memcpy(base + RegisterAddress(14) - kSavedSize, base + sp, kSavedSize);
    sp = static_cast<u32>(fp) + 12 + Get<u32>(base, fp + 8);
    fp = Get<u32>(base, fp);
    Put<u32>(base, kHeaderSP, static_cast<u32>(sp));
    Put<u32>(base, kHeaderFP, static_cast<u32>(fp));
    pc = returnAddress;
    MX_JUMP();
}

// --- Stack pushes of constants

template <Single kInstruction>
MOXI_UNTRACKED void PushConstantHandler(MX_STATE_PARAMETERS) {
    u32 length = 4;
    if constexpr (kInstruction == Single::PushWordExt) {
        MX_PUSH(u16, static_cast<u16>(KeepLoad(Get<u32>(base, pc + 4))));
        length = 8;
    } else if constexpr (kInstruction == Single::PushWord) {
        MX_PUSH(u16, static_cast<u16>(w >> 10));
    } else if constexpr (kInstruction == Single::PushLongExt) {
        MX_PUSH(u32, Get<u32>(base, pc + 4));
        length = 8;
    } else if constexpr (kInstruction == Single::PushLong) {
        MX_PUSH(u32, static_cast<u32>(static_cast<i32>(w) >> 10));
    } else if constexpr (kInstruction == Single::PushQuadExt) {
        MX_PUSH(u64, Get<u64>(base, pc + 4));
        length = 12;
    } else {
        static_assert(kInstruction == Single::PushQuad);
        MX_PUSH(u64, static_cast<u64>(i64{static_cast<i32>(w) >> 10}));
    }
    pc += length;
    MX_NEXT();
}

// --- The dispatch table

// Operations that have a handler for each value of bits 5..8, where those are a register or a quick
// value: the operations of most instructions, at the sizes that modules mostly use.
template <u32 kFormCode>
constexpr bool IsHot(u32 number) {
    constexpr OperandForm kForm = FindForm(kFormCode);
    if (kForm.aField != Field::Low && kForm.bField != Field::Low) {
        return false;
    }
    const auto op = static_cast<TwoOperand>(number & ~3u);
    if (IsFloat(op)) {
        // A quick value as a number is tiny or no number. The compiler would calculate with it, and
        // turn the sign of what is no number.
        return number % 4 == 3 && kForm.b != Mode::Quick;
    }
    if (op == TwoOperand::Movez) {
        return number % 4 != 1;
    }
    return number % 4 >= 2 && op >= TwoOperand::Lsr;
}

template <u32 kFormCode, u32 kLow, u32... kNumbers>
constexpr std::array<Handler, 128> TwoOperandRow(std::integer_sequence<u32, kNumbers...>) {
    return {[] {
        if constexpr (IsFastTwoOperand(kNumbers)) {
            constexpr u32 kSpecial = IsHot<kFormCode>(kNumbers) ? kLow : kAnyLow;
            return &TwoOperandHandler<kFormCode, kNumbers, kSpecial>;
        } else {
            return &Slow;
        }
    }()...};
}

template <u32 kFormCode, u32... kLows>
void FillForm(std::integer_sequence<u32, kLows...>) {
    using Numbers = std::make_integer_sequence<u32, 128>;
    static constexpr std::array<Handler, 128> kRows[] = {
        TwoOperandRow<kFormCode, kLows>(Numbers{})...};
    for (u32 w = 0; w < kDispatchSize; ++w) {
        if (TwoOperandForm(w) == kFormCode) {
            dispatchTable[w] = kRows[LowRegister(w)][TwoOperandNumber(w)];
        }
    }
}

template <u32... kIndexes>
void FillTwoOperands(std::integer_sequence<u32, kIndexes...>) {
    (FillForm<kTwoOperandForms[kIndexes].code>(std::make_integer_sequence<u32, 16>{}), ...);
}

template <u32 kFormIndex, u32... kNumbers>
constexpr std::array<Handler, 128> OneOperandRow(std::integer_sequence<u32, kNumbers...>) {
    return {[] {
        if constexpr (IsFastOneOperand(kNumbers)) {
            return &OneOperandHandler<kFormIndex, kNumbers>;
        } else {
            return &Slow;
        }
    }()...};
}

template <u32... kIndexes>
void FillOneOperand(std::integer_sequence<u32, kIndexes...>) {
    using Numbers = std::make_integer_sequence<u32, 128>;
    static constexpr std::array<Handler, 128> kRows[] = {OneOperandRow<kIndexes>(Numbers{})...};
    for (u32 w = 0; w < kDispatchSize; ++w) {
        for (u32 i = 0; i < kOneOperandForms.size(); ++i) {
            if (OneOperandFormCode(w) == kOneOperandForms[i].code) {
                dispatchTable[w] = kRows[i][OneOperandNumber(w)];
            }
        }
    }
}

template <u32... kBits>
constexpr std::array<Handler, 128> TestBranchRow(std::integer_sequence<u32, kBits...>) {
    return {&TestBranchHandler<kBits>...};
}

template <u32... kConditionNumbers>
constexpr std::array<Handler, 8> FlagBranchRow(std::integer_sequence<u32, kConditionNumbers...>) {
    return {&FlagBranchHandler<kConditionNumbers>...};
}

template <u32... kCounts>
constexpr std::array<Handler, 16> LinkRow(std::integer_sequence<u32, kCounts...>) {
    return {(kCounts < 15 ? &LinkHandler<kCounts % 15> : &Slow)...};
}

template <u32... kCounts>
constexpr std::array<Handler, 16> ReturnRow(std::integer_sequence<u32, kCounts...>) {
    return {(kCounts < 15 ? &ReturnHandler<kCounts % 15> : &Slow)...};
}

Handler SingleHandler(u32 w) {
    using Counts = std::make_integer_sequence<u32, 16>;
    static constexpr std::array<Handler, 16> kLinks = LinkRow(Counts{});
    static constexpr std::array<Handler, 16> kReturns = ReturnRow(Counts{});
    switch (SingleOf(w)) {
        case Single::Jmp: return JumpHandler;
        case Single::Nop: return NoOperationHandler;
        case Single::Call: return CallHandler<false>;
        case Single::Callr: return CallHandler<true>;
        case Single::Link: return kLinks[SavedRegisters(w)];
        case Single::Return: return kReturns[SavedRegisters(w)];
        case Single::PushWordExt:
        case Single::PushWordExt2: return PushConstantHandler<Single::PushWordExt>;
        case Single::PushWord:
        case Single::PushWord2: return PushConstantHandler<Single::PushWord>;
        case Single::PushLongExt: return PushConstantHandler<Single::PushLongExt>;
        case Single::PushLong: return PushConstantHandler<Single::PushLong>;
        case Single::PushQuadExt: return PushConstantHandler<Single::PushQuadExt>;
        case Single::PushQuad: return PushConstantHandler<Single::PushQuad>;
        default: return Slow;
    }
}

void FillDispatchTable() {
    static constexpr std::array<Handler, 128> kTestBranches =
        TestBranchRow(std::make_integer_sequence<u32, 128>{});
    static constexpr std::array<Handler, 8> kFlagBranches =
        FlagBranchRow(std::make_integer_sequence<u32, 8>{});
    for (u32 w = 0; w < kDispatchSize; ++w) {
        switch (ClassOf(w)) {
            case InstructionClass::TestBranch:
                dispatchTable[w] = kTestBranches[w >> 3 & 127];
                break;
            case InstructionClass::FlagBranch:
                dispatchTable[w] = kFlagBranches[BranchCondition(w)];
                break;
            case InstructionClass::TableJump: dispatchTable[w] = TableJumpHandler; break;
            case InstructionClass::Single: dispatchTable[w] = SingleHandler(w); break;
            case InstructionClass::NoOperation: dispatchTable[w] = NoOperationHandler; break;
            default: dispatchTable[w] = Slow;
        }
    }
    FillTwoOperands(std::make_integer_sequence<u32, kTwoOperandForms.size()>{});
    FillOneOperand(std::make_integer_sequence<u32, kOneOperandForms.size()>{});
}

// The first dispatch of a run.
MOXI_UNTRACKED void Start(MX_STATE_PARAMETERS) {
    MX_JUMP();
}

}  // namespace

void CopyDispatchTable(u8* place) {
    if (dispatchTable[0] == nullptr) {
        FillDispatchTable();
    }
    std::memcpy(place, dispatchTable, sizeof dispatchTable);
}

const ThreadedHandler executeByInterpreter = ExecuteHere;

void RunThreaded() {
    const ThreadedHandler first = TakeFlags() ? Start : JumpIntoHeader;
    const Cpu cpu = ReadCpu();
    first(image, cpu.pc, cpu.sp, cpu.fp, pcTraceCount, 0);
}

#else

constinit u64 nextTranslationCheck = ~u64{0};
ThreadedHandler (*translatedCodeAt)(u32 pc, u64 trace) = nullptr;
const ThreadedHandler executeByInterpreter = nullptr;

void CopyDispatchTable(u8*) {}

void RunThreaded() {}

#endif

}  // namespace moxi
