#pragma once
// The plain operators of WebAssembly, written down once: what each takes from the stack and leaves
// there. Everything with an immediate of its own (control, variables, constants, memory) is handled
// by name where bodies are walked.

#include "base/types.h"
#include "wasm/module.h"

namespace moxi {

// X(code, enumerator, text, first operand, second operand, result); the operands and the result are
// names of ValueType, None for the second operand of an operator that has only one.
#define WASM_PLAIN_OPERATORS(X)                                       \
    X(0x45, I32Eqz, "i32.eqz", I32, None, I32)                        \
    X(0x46, I32Eq, "i32.eq", I32, I32, I32)                           \
    X(0x47, I32Ne, "i32.ne", I32, I32, I32)                           \
    X(0x48, I32LtS, "i32.lt_s", I32, I32, I32)                        \
    X(0x49, I32LtU, "i32.lt_u", I32, I32, I32)                        \
    X(0x4A, I32GtS, "i32.gt_s", I32, I32, I32)                        \
    X(0x4B, I32GtU, "i32.gt_u", I32, I32, I32)                        \
    X(0x4C, I32LeS, "i32.le_s", I32, I32, I32)                        \
    X(0x4D, I32LeU, "i32.le_u", I32, I32, I32)                        \
    X(0x4E, I32GeS, "i32.ge_s", I32, I32, I32)                        \
    X(0x4F, I32GeU, "i32.ge_u", I32, I32, I32)                        \
    X(0x50, I64Eqz, "i64.eqz", I64, None, I32)                        \
    X(0x51, I64Eq, "i64.eq", I64, I64, I32)                           \
    X(0x52, I64Ne, "i64.ne", I64, I64, I32)                           \
    X(0x53, I64LtS, "i64.lt_s", I64, I64, I32)                        \
    X(0x54, I64LtU, "i64.lt_u", I64, I64, I32)                        \
    X(0x55, I64GtS, "i64.gt_s", I64, I64, I32)                        \
    X(0x56, I64GtU, "i64.gt_u", I64, I64, I32)                        \
    X(0x57, I64LeS, "i64.le_s", I64, I64, I32)                        \
    X(0x58, I64LeU, "i64.le_u", I64, I64, I32)                        \
    X(0x59, I64GeS, "i64.ge_s", I64, I64, I32)                        \
    X(0x5A, I64GeU, "i64.ge_u", I64, I64, I32)                        \
    X(0x5B, F32Eq, "f32.eq", F32, F32, I32)                           \
    X(0x5C, F32Ne, "f32.ne", F32, F32, I32)                           \
    X(0x5D, F32Lt, "f32.lt", F32, F32, I32)                           \
    X(0x5E, F32Gt, "f32.gt", F32, F32, I32)                           \
    X(0x5F, F32Le, "f32.le", F32, F32, I32)                           \
    X(0x60, F32Ge, "f32.ge", F32, F32, I32)                           \
    X(0x61, F64Eq, "f64.eq", F64, F64, I32)                           \
    X(0x62, F64Ne, "f64.ne", F64, F64, I32)                           \
    X(0x63, F64Lt, "f64.lt", F64, F64, I32)                           \
    X(0x64, F64Gt, "f64.gt", F64, F64, I32)                           \
    X(0x65, F64Le, "f64.le", F64, F64, I32)                           \
    X(0x66, F64Ge, "f64.ge", F64, F64, I32)                           \
    X(0x67, I32Clz, "i32.clz", I32, None, I32)                        \
    X(0x68, I32Ctz, "i32.ctz", I32, None, I32)                        \
    X(0x69, I32Popcnt, "i32.popcnt", I32, None, I32)                  \
    X(0x6A, I32Add, "i32.add", I32, I32, I32)                         \
    X(0x6B, I32Sub, "i32.sub", I32, I32, I32)                         \
    X(0x6C, I32Mul, "i32.mul", I32, I32, I32)                         \
    X(0x6D, I32DivS, "i32.div_s", I32, I32, I32)                      \
    X(0x6E, I32DivU, "i32.div_u", I32, I32, I32)                      \
    X(0x6F, I32RemS, "i32.rem_s", I32, I32, I32)                      \
    X(0x70, I32RemU, "i32.rem_u", I32, I32, I32)                      \
    X(0x71, I32And, "i32.and", I32, I32, I32)                         \
    X(0x72, I32Or, "i32.or", I32, I32, I32)                           \
    X(0x73, I32Xor, "i32.xor", I32, I32, I32)                         \
    X(0x74, I32Shl, "i32.shl", I32, I32, I32)                         \
    X(0x75, I32ShrS, "i32.shr_s", I32, I32, I32)                      \
    X(0x76, I32ShrU, "i32.shr_u", I32, I32, I32)                      \
    X(0x77, I32Rotl, "i32.rotl", I32, I32, I32)                       \
    X(0x78, I32Rotr, "i32.rotr", I32, I32, I32)                       \
    X(0x79, I64Clz, "i64.clz", I64, None, I64)                        \
    X(0x7A, I64Ctz, "i64.ctz", I64, None, I64)                        \
    X(0x7B, I64Popcnt, "i64.popcnt", I64, None, I64)                  \
    X(0x7C, I64Add, "i64.add", I64, I64, I64)                         \
    X(0x7D, I64Sub, "i64.sub", I64, I64, I64)                         \
    X(0x7E, I64Mul, "i64.mul", I64, I64, I64)                         \
    X(0x7F, I64DivS, "i64.div_s", I64, I64, I64)                      \
    X(0x80, I64DivU, "i64.div_u", I64, I64, I64)                      \
    X(0x81, I64RemS, "i64.rem_s", I64, I64, I64)                      \
    X(0x82, I64RemU, "i64.rem_u", I64, I64, I64)                      \
    X(0x83, I64And, "i64.and", I64, I64, I64)                         \
    X(0x84, I64Or, "i64.or", I64, I64, I64)                           \
    X(0x85, I64Xor, "i64.xor", I64, I64, I64)                         \
    X(0x86, I64Shl, "i64.shl", I64, I64, I64)                         \
    X(0x87, I64ShrS, "i64.shr_s", I64, I64, I64)                      \
    X(0x88, I64ShrU, "i64.shr_u", I64, I64, I64)                      \
    X(0x89, I64Rotl, "i64.rotl", I64, I64, I64)                       \
    X(0x8A, I64Rotr, "i64.rotr", I64, I64, I64)                       \
    X(0x8B, F32Abs, "f32.abs", F32, None, F32)                        \
    X(0x8C, F32Neg, "f32.neg", F32, None, F32)                        \
    X(0x8D, F32Ceil, "f32.ceil", F32, None, F32)                      \
    X(0x8E, F32Floor, "f32.floor", F32, None, F32)                    \
    X(0x8F, F32Trunc, "f32.trunc", F32, None, F32)                    \
    X(0x90, F32Nearest, "f32.nearest", F32, None, F32)                \
    X(0x91, F32Sqrt, "f32.sqrt", F32, None, F32)                      \
    X(0x92, F32Add, "f32.add", F32, F32, F32)                         \
    X(0x93, F32Sub, "f32.sub", F32, F32, F32)                         \
    X(0x94, F32Mul, "f32.mul", F32, F32, F32)                         \
    X(0x95, F32Div, "f32.div", F32, F32, F32)                         \
    X(0x96, F32Min, "f32.min", F32, F32, F32)                         \
    X(0x97, F32Max, "f32.max", F32, F32, F32)                         \
    X(0x98, F32Copysign, "f32.copysign", F32, F32, F32)               \
    X(0x99, F64Abs, "f64.abs", F64, None, F64)                        \
    X(0x9A, F64Neg, "f64.neg", F64, None, F64)                        \
    X(0x9B, F64Ceil, "f64.ceil", F64, None, F64)                      \
    X(0x9C, F64Floor, "f64.floor", F64, None, F64)                    \
    X(0x9D, F64Trunc, "f64.trunc", F64, None, F64)                    \
    X(0x9E, F64Nearest, "f64.nearest", F64, None, F64)                \
    X(0x9F, F64Sqrt, "f64.sqrt", F64, None, F64)                      \
    X(0xA0, F64Add, "f64.add", F64, F64, F64)                         \
    X(0xA1, F64Sub, "f64.sub", F64, F64, F64)                         \
    X(0xA2, F64Mul, "f64.mul", F64, F64, F64)                         \
    X(0xA3, F64Div, "f64.div", F64, F64, F64)                         \
    X(0xA4, F64Min, "f64.min", F64, F64, F64)                         \
    X(0xA5, F64Max, "f64.max", F64, F64, F64)                         \
    X(0xA6, F64Copysign, "f64.copysign", F64, F64, F64)               \
    X(0xA7, I32WrapI64, "i32.wrap_i64", I64, None, I32)               \
    X(0xA8, I32TruncF32S, "i32.trunc_f32_s", F32, None, I32)          \
    X(0xA9, I32TruncF32U, "i32.trunc_f32_u", F32, None, I32)          \
    X(0xAA, I32TruncF64S, "i32.trunc_f64_s", F64, None, I32)          \
    X(0xAB, I32TruncF64U, "i32.trunc_f64_u", F64, None, I32)          \
    X(0xAC, I64ExtendI32S, "i64.extend_i32_s", I32, None, I64)        \
    X(0xAD, I64ExtendI32U, "i64.extend_i32_u", I32, None, I64)        \
    X(0xAE, I64TruncF32S, "i64.trunc_f32_s", F32, None, I64)          \
    X(0xAF, I64TruncF32U, "i64.trunc_f32_u", F32, None, I64)          \
    X(0xB0, I64TruncF64S, "i64.trunc_f64_s", F64, None, I64)          \
    X(0xB1, I64TruncF64U, "i64.trunc_f64_u", F64, None, I64)          \
    X(0xB2, F32ConvertI32S, "f32.convert_i32_s", I32, None, F32)      \
    X(0xB3, F32ConvertI32U, "f32.convert_i32_u", I32, None, F32)      \
    X(0xB4, F32ConvertI64S, "f32.convert_i64_s", I64, None, F32)      \
    X(0xB5, F32ConvertI64U, "f32.convert_i64_u", I64, None, F32)      \
    X(0xB6, F32DemoteF64, "f32.demote_f64", F64, None, F32)           \
    X(0xB7, F64ConvertI32S, "f64.convert_i32_s", I32, None, F64)      \
    X(0xB8, F64ConvertI32U, "f64.convert_i32_u", I32, None, F64)      \
    X(0xB9, F64ConvertI64S, "f64.convert_i64_s", I64, None, F64)      \
    X(0xBA, F64ConvertI64U, "f64.convert_i64_u", I64, None, F64)      \
    X(0xBB, F64PromoteF32, "f64.promote_f32", F32, None, F64)         \
    X(0xBC, I32ReinterpretF32, "i32.reinterpret_f32", F32, None, I32) \
    X(0xBD, I64ReinterpretF64, "i64.reinterpret_f64", F64, None, I64) \
    X(0xBE, F32ReinterpretI32, "f32.reinterpret_i32", I32, None, F32) \
    X(0xBF, F64ReinterpretI64, "f64.reinterpret_i64", I64, None, F64) \
    X(0xC0, I32Extend8S, "i32.extend8_s", I32, None, I32)             \
    X(0xC1, I32Extend16S, "i32.extend16_s", I32, None, I32)           \
    X(0xC2, I64Extend8S, "i64.extend8_s", I64, None, I64)             \
    X(0xC3, I64Extend16S, "i64.extend16_s", I64, None, I64)           \
    X(0xC4, I64Extend32S, "i64.extend32_s", I64, None, I64)           \
    /* 0xFC 0..7, here from 0xE0 on */                                \
    X(0xE0, I32TruncSatF32S, "i32.trunc_sat_f32_s", F32, None, I32)   \
    X(0xE1, I32TruncSatF32U, "i32.trunc_sat_f32_u", F32, None, I32)   \
    X(0xE2, I32TruncSatF64S, "i32.trunc_sat_f64_s", F64, None, I32)   \
    X(0xE3, I32TruncSatF64U, "i32.trunc_sat_f64_u", F64, None, I32)   \
    X(0xE4, I64TruncSatF32S, "i64.trunc_sat_f32_s", F32, None, I64)   \
    X(0xE5, I64TruncSatF32U, "i64.trunc_sat_f32_u", F32, None, I64)   \
    X(0xE6, I64TruncSatF64S, "i64.trunc_sat_f64_s", F64, None, I64)   \
    X(0xE7, I64TruncSatF64U, "i64.trunc_sat_f64_u", F64, None, I64)

// Loads and stores: X(code, enumerator, text, type, bytes in memory, sign-extends, is a store).
// Other loads of fewer bytes than the type has fill the rest with zeros.
#define WASM_MEMORY_OPERATORS(X)                              \
    X(0x28, I32Load, "i32.load", I32, 4, false, false)        \
    X(0x29, I64Load, "i64.load", I64, 8, false, false)        \
    X(0x2A, F32Load, "f32.load", F32, 4, false, false)        \
    X(0x2B, F64Load, "f64.load", F64, 8, false, false)        \
    X(0x2C, I32Load8S, "i32.load8_s", I32, 1, true, false)    \
    X(0x2D, I32Load8U, "i32.load8_u", I32, 1, false, false)   \
    X(0x2E, I32Load16S, "i32.load16_s", I32, 2, true, false)  \
    X(0x2F, I32Load16U, "i32.load16_u", I32, 2, false, false) \
    X(0x30, I64Load8S, "i64.load8_s", I64, 1, true, false)    \
    X(0x31, I64Load8U, "i64.load8_u", I64, 1, false, false)   \
    X(0x32, I64Load16S, "i64.load16_s", I64, 2, true, false)  \
    X(0x33, I64Load16U, "i64.load16_u", I64, 2, false, false) \
    X(0x34, I64Load32S, "i64.load32_s", I64, 4, true, false)  \
    X(0x35, I64Load32U, "i64.load32_u", I64, 4, false, false) \
    X(0x36, I32Store, "i32.store", I32, 4, false, true)       \
    X(0x37, I64Store, "i64.store", I64, 8, false, true)       \
    X(0x38, F32Store, "f32.store", F32, 4, false, true)       \
    X(0x39, F64Store, "f64.store", F64, 8, false, true)       \
    X(0x3A, I32Store8, "i32.store8", I32, 1, false, true)     \
    X(0x3B, I32Store16, "i32.store16", I32, 2, false, true)   \
    X(0x3C, I64Store8, "i64.store8", I64, 1, false, true)     \
    X(0x3D, I64Store16, "i64.store16", I64, 2, false, true)   \
    X(0x3E, I64Store32, "i64.store32", I64, 4, false, true)

enum class Plain : u8 {
#define X(code, name, text, first, second, result) name = code,
    WASM_PLAIN_OPERATORS(X)
#undef X
};

struct PlainOperator {
    const char* text = nullptr;  // null where there is none
    ValueType first = ValueType::None;
    ValueType second = ValueType::None;
    ValueType result = ValueType::None;
};

struct MemoryOperator {
    const char* text = nullptr;
    ValueType type = ValueType::None;
    u8 bytes = 0;
    bool isSigned = false;
    bool isStore = false;
};

// Rows by their code. Those of the operators with two bytes, 0xFC 0..7, stand at 0xE0 + the second
// one: no operator that is supported has these bytes for its first.
struct OperatorTables {
    PlainOperator plain[256];
    MemoryOperator memory[256];
};

constexpr OperatorTables BuildOperatorTables() {
    OperatorTables tables;
#define X(code, name, text, first, second, result) \
    tables.plain[code] = {text, ValueType::first, ValueType::second, ValueType::result};
    WASM_PLAIN_OPERATORS(X)
#undef X
#define X(code, name, text, type, bytes, isSigned, isStore) \
    tables.memory[code] = {text, ValueType::type, bytes, isSigned, isStore};
    WASM_MEMORY_OPERATORS(X)
#undef X
    return tables;
}

inline constexpr OperatorTables kOperators = BuildOperatorTables();

constexpr u8 kFirstSaturating = 0xE0;  // where 0xFC 0 stands in the tables
constexpr u8 kLastSaturating = 0xE7;

// All instructions that stand in neither table, by their bytes.
enum class Opcode : u8 {
    Unreachable = 0x00,
    Nop = 0x01,
    Block = 0x02,
    Loop = 0x03,
    If = 0x04,
    Else = 0x05,
    End = 0x0B,
    Br = 0x0C,
    BrIf = 0x0D,
    BrTable = 0x0E,
    Return = 0x0F,
    Call = 0x10,
    CallIndirect = 0x11,
    Drop = 0x1A,
    Select = 0x1B,
    SelectTyped = 0x1C,
    LocalGet = 0x20,
    LocalSet = 0x21,
    LocalTee = 0x22,
    GlobalGet = 0x23,
    GlobalSet = 0x24,
    MemorySize = 0x3F,
    MemoryGrow = 0x40,
    I32Const = 0x41,
    I64Const = 0x42,
    F32Const = 0x43,
    F64Const = 0x44,
    Prefix = 0xFC,
};

// What follows the byte Opcode::Prefix, but for 0..7, which stand in the table of plain operators.
enum class Prefixed : u32 {
    MemoryInit = 8,
    DataDrop = 9,
    MemoryCopy = 10,
    MemoryFill = 11,
    TableInit = 12,
    ElemDrop = 13,
    TableCopy = 14,
};

}  // namespace moxi
