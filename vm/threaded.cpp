#include "vm/threaded.h"

#include <array>
#include <cstring>
#include <utility>

#include "vm/alu.h"
#include "vm/execute.h"
#include "vm/heap.h"
#include "vm/machine.h"
#include "vm/opcodes.h"

#if MOXI_THREADED

// How the machine's state is kept
//
// PC, SP and FP are parameters that stay in processor registers from handler to handler. The header
// is exact whenever someone can look: PC is stored before each instruction is fetched, SP and FP
// when they change, the flags by every operation that sets them. What an instruction writes over
// them in the header has to be lost; instructions that would write there take the slow way, which
// is Execute (vm/execute.h) and its write-back.
//
// `trace` counts the executed instructions. It is stored with each of them, because a fault leaves
// the handlers at any point and its message names the newest of them.

namespace {

#define MX_STATE_PARAMETERS u8 *base, u32 pc, u32 sp, u32 fp, u64 trace, u32 w
#define MX_STATE base, pc, sp, fp, trace, w

#if defined(__clang__)
#define MX_TAIL_CALL [[clang::musttail]] return
#else
#define MX_TAIL_CALL return
#endif

using Handler = void (*)(MX_STATE_PARAMETERS);

// The next handler is found by the low 16 bits of the instruction word: they hold the class, the
// form, the operation and its size.
constexpr u32 kDispatchSize = 65536;
Handler dispatchTable[kDispatchSize];

template <class T>
[[gnu::always_inline]] inline T Get(const u8* base, u32 address) {
    T value;
    std::memcpy(&value, base + address, sizeof value);
    return value;
}

template <class T>
[[gnu::always_inline]] inline void Put(u8* base, u32 address, T value) {
    std::memcpy(base + address, &value, sizeof value);
}

// Goes to the instruction at pc.
#define MX_DISPATCH()                                     \
    do {                                                  \
        Put<u32>(base, kHeaderPC, pc);                    \
        pcTrace[trace % kPcTraceSize] = pc;               \
        pcTraceCount = ++trace;                           \
        w = Get<u32>(base, pc);                           \
        MX_TAIL_CALL dispatchTable[w & 0xFFFF](MX_STATE); \
    } while (false)

// Rare instructions, and those that the fast way may not do.

struct SlowResult {
    u32 pc;
    u32 sp;
    u32 fp;
    Outcome outcome;
};

[[gnu::noinline]] SlowResult ExecuteSlowly(u32 w, u32 pc, u32 sp, u32 fp) {
    Cpu cpu{pc, sp, fp, Load<u8>(kHeaderFlags)};
    const Outcome outcome = Execute(w, cpu);
    WriteBack(cpu);
    return {cpu.pc, cpu.sp, cpu.fp, outcome};
}

void Slow(MX_STATE_PARAMETERS) {
    const SlowResult result = ExecuteSlowly(w, pc, sp, fp);
    if (result.outcome == Outcome::Leave) return;
    pc = result.pc;
    sp = result.sp;
    fp = result.fp;
    trace = pcTraceCount;  // a service may have run the module again
    MX_DISPATCH();
}

// A write of up to 8 bytes at this address reaches SP, FP or the flags. (PC is stored anew by the
// next dispatch.)
constexpr bool TouchesState(u32 address) {
    constexpr u32 kFirst = kHeaderSP - 7;
    return address - kFirst <= kHeaderFlags - kFirst;
}

// A stack this low would write over the header.
constexpr bool IsLowStack(u32 sp) {
    return sp < kHeaderSize;
}

#define MX_SLOW_IF(condition)        \
    if (condition) [[unlikely]] {    \
        MX_TAIL_CALL Slow(MX_STATE); \
    }

// --- Operands

constexpr u32 ExtensionWords(Mode mode, u32 size) {
    switch (mode) {
        case Mode::Indexed:
        case Mode::Absolute:
        case Mode::Frame32: return 1;
        case Mode::Immediate: return size == 3 ? 2 : 1;
        default: return 0;
    }
}

constexpr OperandForm FormOf(u32 code) {
    for (const OperandForm& form : kTwoOperandForms) {
        if (form.code == code) return form;
    }
    return {};
}

// An operand's address from its mode, with the offset of its extension word.
template <Mode kMode, Field kField, u32 kExtension>
[[gnu::always_inline]] inline u32 AddressOf(const u8* base, u32 pc, u32 fp, u32 w) {
    const u32 r = kField == Field::High ? HighRegister(w) : LowRegister(w);
    switch (kMode) {
        case Mode::Register: return RegisterAddress(r);
        case Mode::Indexed:
            return Get<u32>(base, pc + kExtension) + Get<u32>(base, RegisterAddress(r));
        case Mode::Absolute: return Get<u32>(base, pc + kExtension);
        case Mode::Frame: return fp + static_cast<u32>(FrameOffset(w));
        case Mode::Frame32: return fp + Get<u32>(base, pc + kExtension);
        default: return kImmediateSlot;
    }
}

// The value of a quick or immediate source, which has to stand in the immediate slot as well.
template <Mode kMode, Field kField, u32 kExtension, u32 kSize>
[[gnu::always_inline]] inline u64 FillSlot(u8* base, u32 pc, u32 w) {
    u64 value;
    if constexpr (kMode == Mode::Quick) {
        const i32 quick = kField == Field::High ? HighQuick(w) : LowQuick(w);
        value = static_cast<u64>(i64{quick});
    } else if constexpr (kSize == 3) {
        value = Get<u64>(base, pc + kExtension);
    } else {
        value = Get<u32>(base, pc + kExtension);
    }
    if constexpr (kSize == 3) {
        Put<u64>(base, kImmediateSlot, value);
    } else {
        Put<u32>(base, kImmediateSlot, static_cast<u32>(value));
    }
    return value;
}

template <u32 kSize>
struct IntegerOf;
template <>
struct IntegerOf<0> {
    using Type = u8;
};
template <>
struct IntegerOf<1> {
    using Type = u16;
};
template <>
struct IntegerOf<2> {
    using Type = u32;
};
template <>
struct IntegerOf<3> {
    using Type = u64;
};

template <class T>
[[gnu::always_inline]] inline void PutFlags(u8* base, T value) {
    Put<u8>(base, kHeaderFlags, FlagsOf(value));
}

// --- Two-operand operations

constexpr bool IsDivision(TwoOperand op) {
    return op == TwoOperand::Divs || op == TwoOperand::Mods || op == TwoOperand::Divu ||
           op == TwoOperand::Modu;
}

constexpr bool IsFloat(TwoOperand op) {
    return op >= TwoOperand::Fadd && op <= TwoOperand::Fcmp;
}

constexpr bool IsShift(TwoOperand op) {
    return op == TwoOperand::Asr || op == TwoOperand::Lsr || op == TwoOperand::Lsl;
}

// Operations with a handler of their own; the others are rare or illegal.
constexpr bool IsFastTwoOperand(u32 number) {
    const auto op = static_cast<TwoOperand>(number & ~3u);
    if (IsFloat(op)) return (number & 3) >= 2;
    return op <= TwoOperand::Movez || op == TwoOperand::Lea;
}

constexpr bool WritesA(TwoOperand op) {
    return op != TwoOperand::Cmp && op != TwoOperand::Test && op != TwoOperand::Fcmp;
}

template <class T>
constexpr bool IsImpossibleDivision(TwoOperand op, T a, T b) {
    if (b == 0) return true;
    const bool isSigned = op == TwoOperand::Divs || op == TwoOperand::Mods;
    return isSigned && b == static_cast<T>(-1) &&
           a == static_cast<T>(std::numeric_limits<SignedOf<T>>::min());
}

template <TwoOperand kOp, class T>
[[gnu::always_inline]] inline T Calculate(T a, T b) {
    switch (kOp) {
        case TwoOperand::Divs:
            return static_cast<T>(static_cast<SignedOf<T>>(a) / static_cast<SignedOf<T>>(b));
        case TwoOperand::Mods:
            return static_cast<T>(static_cast<SignedOf<T>>(a) % static_cast<SignedOf<T>>(b));
        case TwoOperand::Divu: return static_cast<T>(a / b);
        case TwoOperand::Modu: return static_cast<T>(a % b);
        case TwoOperand::Asr: return ShiftRightSigned(a, static_cast<u8>(b));
        case TwoOperand::Lsr: return ShiftRight(a, static_cast<u8>(b));
        case TwoOperand::Lsl: return ShiftLeft(a, static_cast<u8>(b));
        case TwoOperand::Add: return static_cast<T>(a + b);
        case TwoOperand::Sub:
        case TwoOperand::Cmp: return static_cast<T>(a - b);
        case TwoOperand::Mul: return Multiply(a, b);
        case TwoOperand::Test:
        case TwoOperand::And: return static_cast<T>(a & b);
        case TwoOperand::Or: return static_cast<T>(a | b);
        case TwoOperand::Xor: return static_cast<T>(a ^ b);
        default: return b;  // MOVE and MOVEZ
    }
}

template <TwoOperand kOp, class Float>
[[gnu::always_inline]] inline Float CalculateFloat(Float a, Float b) {
    switch (kOp) {
        case TwoOperand::Fadd: return a + b;
        case TwoOperand::Fsub: return a - b;
        case TwoOperand::Fmul: return a * b;
        default: return a / b;
    }
}

constexpr bool SetsFlags(TwoOperand op) {
    for (const Operation& operation : kTwoOperandOperations) {
        if (operation.first == static_cast<u8>(op)) return operation.setsFlags;
    }
    return false;
}

template <u32 kFormCode, u32 kNumber>
void TwoOperandHandler(MX_STATE_PARAMETERS) {
    constexpr OperandForm kForm = FormOf(kFormCode);
    constexpr u32 kSize = kNumber & 3;
    constexpr auto kOp = static_cast<TwoOperand>(kNumber & ~3u);
    constexpr u32 kWordsA = ExtensionWords(kForm.a, kSize);
    constexpr u32 kLength = 4 + 4 * (kWordsA + ExtensionWords(kForm.b, kSize));
    constexpr u32 kExtensionB = 4 + 4 * kWordsA;
    constexpr bool kConstantB = kForm.b == Mode::Quick || kForm.b == Mode::Immediate;
    using T = typename IntegerOf<kSize>::Type;

    const u32 a = AddressOf<kForm.a, kForm.aField, 4>(base, pc, fp, w);
    if constexpr (WritesA(kOp) && kForm.a != Mode::Register) {
        MX_SLOW_IF(TouchesState(a));
    }
    const u32 b = AddressOf<kForm.b, kForm.bField, kExtensionB>(base, pc, fp, w);
    u64 constant = 0;
    if constexpr (kConstantB) {
        constant = FillSlot<kForm.b, kForm.bField, kExtensionB, kSize>(base, pc, w);
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
        if constexpr (SetsFlags(kOp)) PutFlags(base, result);
    }
    pc += kLength;
    MX_DISPATCH();
}

// --- One-operand operations

constexpr bool IsFastOneOperand(u32 number) {
    const auto op = static_cast<OneOperand>(number & ~3u);
    if (number < static_cast<u32>(OneOperand::Neg)) {
        return number == static_cast<u32>(OneOperand::Fneg);
    }
    if (op == OneOperand::Extz || op == OneOperand::Exts) return (number & 3) != 3;
    return op <= OneOperand::Pea || (op >= OneOperand::Utof && op <= OneOperand::Dtol);
}

// Works on the value at `e`; what the stack needs is done by the handler.
template <u32 kNumber, class T>
[[gnu::always_inline]] inline void Transform(u8* base, u32 e) {
    constexpr auto kOp = static_cast<OneOperand>(kNumber & ~3u);
    constexpr bool kFneg = kNumber == static_cast<u32>(OneOperand::Fneg);
    if constexpr (kFneg) {
        Put<u32>(base, e, Get<u32>(base, e) ^ 0x80000000);
    } else if constexpr (kOp == OneOperand::Neg) {
        Put<T>(base, e, static_cast<T>(0 - Get<T>(base, e)));
    } else if constexpr (kOp == OneOperand::Not) {
        const T result = static_cast<T>(~Get<T>(base, e));
        Put<T>(base, e, result);
        PutFlags(base, result);
    } else if constexpr (kOp == OneOperand::Tst) {
        PutFlags(base, Get<T>(base, e));
    } else if constexpr (kOp == OneOperand::Extz) {
        Put<u64>(base, e, Get<T>(base, e));
    } else if constexpr (kOp == OneOperand::Exts) {
        Put<u64>(base, e, static_cast<u64>(i64{static_cast<SignedOf<T>>(Get<T>(base, e))}));
    } else if constexpr (kOp == OneOperand::Utof) {
        Put<u64>(base, e, std::bit_cast<u32>(static_cast<f32>(Get<T>(base, e))));
    } else if constexpr (kOp == OneOperand::Stof) {
        const f32 value = static_cast<f32>(static_cast<SignedOf<T>>(Get<T>(base, e)));
        Put<u64>(base, e, std::bit_cast<u32>(value));
    } else if constexpr (kOp == OneOperand::Utod) {
        Put<f64>(base, e, static_cast<f64>(Get<T>(base, e)));
    } else if constexpr (kOp == OneOperand::Stod) {
        Put<f64>(base, e, static_cast<f64>(static_cast<SignedOf<T>>(Get<T>(base, e))));
    } else if constexpr (kOp == OneOperand::Ftoq) {
        Put<u64>(base, e, TruncateToQuad(Get<f32>(base, e)));
    } else if constexpr (kOp == OneOperand::Dtoq) {
        Put<u64>(base, e, TruncateToQuad(Get<f64>(base, e)));
    } else if constexpr (kOp == OneOperand::Ftod) {
        Put<f64>(base, e, static_cast<f64>(Get<f32>(base, e)));
    } else {
        static_assert(kOp == OneOperand::Dtol);
        const f32 value = static_cast<f32>(Get<f64>(base, e));
        Put<u32>(base, e, static_cast<u32>(TruncateToQuad(value)));
    }
}

#define MX_PUSH(type, value)                                              \
    do {                                                                  \
        MX_SLOW_IF(IsLowStack(sp - u32{sizeof(type)}) || IsLowStack(sp)); \
        const type pushed = (value);                                      \
        Put<type>(base, sp - u32{sizeof(type)}, pushed);                  \
        sp -= u32{sizeof(type)};                                          \
        Put<u32>(base, kHeaderSP, sp);                                    \
    } while (false)

template <u32 kFormIndex, u32 kNumber>
void OneOperandHandler(MX_STATE_PARAMETERS) {
    constexpr Mode kMode = kOneOperandForms[kFormIndex].mode;
    constexpr u32 kLength = kOneOperandForms[kFormIndex].length;
    constexpr auto kOp = static_cast<OneOperand>(kNumber & ~3u);
    using T = typename IntegerOf<kNumber & 3>::Type;
    using Pushed = std::conditional_t<sizeof(T) == 1, u16, T>;

    u32 e;
    if constexpr (kMode == Mode::Register) {
        e = RegisterAddress(w >> 16);  // not masked
    } else {
        e = AddressOf<kMode, Field::High, 4>(base, pc, fp, w);
    }
    if constexpr (kOp == OneOperand::Push) {
        MX_PUSH(Pushed, (Get<T>(base, e)));
    } else if constexpr (kOp == OneOperand::Pea) {
        MX_PUSH(u32, e);
    } else {
        if constexpr (kOp != OneOperand::Tst) {
            MX_SLOW_IF(TouchesState(e));
        }
        if constexpr (kOp == OneOperand::Pop) {
            Put<T>(base, e, static_cast<T>(KeepLoad(Get<Pushed>(base, sp))));
            sp += u32{sizeof(Pushed)};
            Put<u32>(base, kHeaderSP, sp);
        } else {
            Transform<kNumber, T>(base, e);
        }
    }
    pc += kLength;
    MX_DISPATCH();
}

// --- Branches and jumps

template <u32 kCondition>
void FlagBranchHandler(MX_STATE_PARAMETERS) {
    if (Holds(static_cast<Condition>(kCondition), Get<u8>(base, kHeaderFlags))) {
        pc = BranchTarget(w);
        MX_DISPATCH();
    }
    pc += 4;
    MX_DISPATCH();
}

// `kBits` are bits 3..9: operand mode, size and condition.
template <u32 kBits>
void TestBranchHandler(MX_STATE_PARAMETERS) {
    constexpr u32 kWord = kBits << 3;
    constexpr auto kMode = static_cast<TestOperand>(TestMode(kWord));
    using T = typename IntegerOf<TestSize(kWord)>::Type;
    const u32 x = Get<u32>(base, pc + 4);
    u32 e = x;
    if constexpr (kMode == TestOperand::Register) {
        e = RegisterAddress(x);
    } else if constexpr (kMode == TestOperand::Indirect) {
        e = Get<u32>(base, RegisterAddress(x));
    } else if constexpr (kMode == TestOperand::Frame32) {
        e = fp + x;
    }
    const u8 flags = FlagsOf(Get<T>(base, e));
    Put<u8>(base, kHeaderFlags, flags);
    if (Holds(static_cast<Condition>(BranchCondition(kWord)), flags)) {
        pc = BranchTarget(w);
        MX_DISPATCH();
    }
    pc += 8;
    MX_DISPATCH();
}

void TableJumpHandler(MX_STATE_PARAMETERS) {
    pc = Get<u32>(base, BranchTarget(w) + Get<u32>(base, RegisterAddress(TableRegister(w))));
    MX_DISPATCH();
}

void JumpHandler(MX_STATE_PARAMETERS) {
    pc = BranchTarget(w);
    MX_DISPATCH();
}

void NoOperationHandler(MX_STATE_PARAMETERS) {
    pc += 4;
    MX_DISPATCH();
}

// --- Calls and returns

template <bool kThroughRegister>
void CallHandler(MX_STATE_PARAMETERS) {
    MX_SLOW_IF(IsLowStack(sp - 8) || IsLowStack(sp));
    u32 target;
    if constexpr (kThroughRegister) {
        target = Get<u32>(base, RegisterAddress(w >> 12 & 15));
    } else {
        target = Get<u32>(base, pc + 4);
    }
    pcPreJsr = pc + 4;
    sp -= 8;
    // Two pushes: the argument byte count above the return address.
    Put<u64>(base, sp, (pc + (kThroughRegister ? 4 : 8)) | u64{w >> 16} << 32);
    Put<u32>(base, kHeaderSP, sp);
    pc = target;
    MX_DISPATCH();
}

template <u32 kRegisters>
void LinkHandler(MX_STATE_PARAMETERS) {
    constexpr u32 kSavedSize = 8 * kRegisters;
    const u32 newFP = sp - 4;
    const u32 newSP = newFP - (w >> 14) - kSavedSize;
    MX_SLOW_IF(IsLowStack(newSP) || newSP > sp);
    Put<u32>(base, newFP, fp);
    std::memcpy(base + newSP, base + RegisterAddress(14) - kSavedSize, kSavedSize);
    fp = newFP;
    sp = newSP;
    Put<u32>(base, kHeaderSP, sp);
    Put<u32>(base, kHeaderFP, fp);
    pc += 4;
    MX_DISPATCH();
}

template <u32 kRegisters>
void ReturnHandler(MX_STATE_PARAMETERS) {
    constexpr u32 kSavedSize = 8 * kRegisters;
    const u32 returnAddress = Get<u32>(base, fp + 4);
    // The host's return, locks to release, and a frame in the header are rare.
    MX_SLOW_IF(returnAddress == 0 || IsLowStack(sp) || IsLowStack(fp) ||
               heapListHeads[static_cast<u32>(HeapList::Locked)] >= 0);
    std::memcpy(base + RegisterAddress(14) - kSavedSize, base + sp, kSavedSize);
    sp = fp + 12 + Get<u32>(base, fp + 8);
    fp = Get<u32>(base, fp);
    Put<u32>(base, kHeaderSP, sp);
    Put<u32>(base, kHeaderFP, fp);
    pc = returnAddress;
    MX_DISPATCH();
}

// --- Stack pushes of constants

template <Single kInstruction>
void PushConstantHandler(MX_STATE_PARAMETERS) {
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
    MX_DISPATCH();
}

// --- The dispatch table

template <u32 kFormCode, u32... kNumbers>
constexpr std::array<Handler, 128> TwoOperandRow(std::integer_sequence<u32, kNumbers...>) {
    return {[] {
        if constexpr (IsFastTwoOperand(kNumbers)) {
            return &TwoOperandHandler<kFormCode, kNumbers>;
        } else {
            return &Slow;
        }
    }()...};
}

template <u32... kIndexes>
void FillTwoOperands(std::integer_sequence<u32, kIndexes...>) {
    using Numbers = std::make_integer_sequence<u32, 128>;
    static constexpr std::array<Handler, 128> kRows[] = {
        TwoOperandRow<kTwoOperandForms[kIndexes].code>(Numbers{})...};
    for (u32 w = 0; w < kDispatchSize; ++w) {
        for (u32 i = 0; i < kTwoOperandForms.size(); ++i) {
            if (TwoOperandForm(w) == kTwoOperandForms[i].code) {
                dispatchTable[w] = kRows[i][TwoOperandNumber(w)];
            }
        }
    }
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
            if ((w & 255) == kOneOperandForms[i].code) {
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
    switch (static_cast<Single>(w & 1023)) {
        case Single::Jmp: return JumpHandler;
        case Single::Nop: return NoOperationHandler;
        case Single::Call: return CallHandler<false>;
        case Single::Callr: return CallHandler<true>;
        case Single::Link: return kLinks[w >> 10 & 15];
        case Single::Return: return kReturns[w >> 10 & 15];
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
void Start(MX_STATE_PARAMETERS) {
    MX_DISPATCH();
}

}  // namespace

void RunThreaded() {
    if (dispatchTable[0] == nullptr) FillDispatchTable();
    const Cpu cpu = ReadCpu();
    Put<u8>(image, kHeaderFlags, cpu.flags);
    Start(image, cpu.pc, cpu.sp, cpu.fp, pcTraceCount, 0);
}

#else

void RunThreaded() {}

#endif
