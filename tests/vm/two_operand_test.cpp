// Every two-operand operation at every size in every operand form, with results and flags worked
// out by hand.

#include <string>
#include <vector>

#include "tests/support/bench_run.h"
#include "tests/support/vm_fixture.h"

namespace moxi {

using plain::Outcome;

namespace {

class TwoOperands : public VmTest {
  protected:
    const StandardError quiet{true};
};

constexpr int kKept = -1;  // the flags of before

// One operation on two values. Bytes above the size hold other things before, and still do after.
// The fields stand in the order in which a row reads.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct Case {
    const char* name;
    u32 operation;  // the operation number; its low two bits are the size
    u64 a;
    u64 b;
    u64 result;
    int flags;  // 1 ODD, 2 ZERO, 4 NEG
};

const Case kCases[] = {
    // -123 / 7 = -17, 100 / -3 = -33, -128 / 1 = -128, 8 / -8 = -1
    {"DIVS.B", 0, 0x85, 0x07, 0xEF, kKept},
    {"DIVS.B", 0, 0x64, 0xFD, 0xDF, kKept},
    {"DIVS.B", 0, 0x80, 0x01, 0x80, kKept},
    {"DIVS.B", 0, 0x08, 0xF8, 0xFF, kKept},
    // -32768 / 3 = -10922, 32767 / -8 = -4095, 32767 / 1000 = 32
    {"DIVS.W", 1, 0x8000, 0x0003, 0xD556, kKept},
    {"DIVS.W", 1, 0x7FFF, 0xFFF8, 0xF001, kKept},
    {"DIVS.W", 1, 0x7FFF, 0x03E8, 0x0020, kKept},
    // -2147483648 / 2, 7 / -2 = -3, 1000000007 / 12345 = 81004
    {"DIVS.L", 2, 0x80000000, 2, 0xC0000000, kKept},
    {"DIVS.L", 2, 7, 0xFFFFFFFE, 0xFFFFFFFD, kKept},
    {"DIVS.L", 2, 1000000007, 12345, 81004, kKept},
    // -9223372036854775808 / 5 = -1844674407370955161
    {"DIVS.Q", 3, 0x8000000000000000, 5, 0xE666666666666667, kKept},
    {"DIVS.Q", 3, 0x8000000000000000, 0x100000000, 0xFFFFFFFF80000000, kKept},
    {"DIVS.Q", 3, 0x0000000100000000, 0xFFFFFFFFFFFFFFFF, 0xFFFFFFFF00000000, kKept},

    // The remainder has the dividend's sign: -123 = -17 * 7 - 4, 100 = -33 * -3 + 1
    {"MODS.B", 4, 0x85, 0x07, 0xFC, kKept},
    {"MODS.B", 4, 0x64, 0xFD, 0x01, kKept},
    {"MODS.W", 5, 0x8000, 0x0003, 0xFFFE, kKept},
    {"MODS.W", 5, 0x7FFF, 0xFFF8, 0x0007, kKept},
    {"MODS.L", 6, 0x80000000, 7, 0xFFFFFFFE, kKept},
    {"MODS.L", 6, 1000000007, 12345, 5627, kKept},
    {"MODS.Q", 7, 0x8000000000000000, 5, 0xFFFFFFFFFFFFFFFD, kKept},
    {"MODS.Q", 7, 0x123456789ABCDEF0, 0x100000000, 0x9ABCDEF0, kKept},

    // Counts are taken modulo 32, for QUAD modulo 64, from the byte at B alone.
    {"ASR.B", 8, 0x90, 4, 0xF9, 5},
    {"ASR.B", 8, 0x7F, 33, 0x3F, 1},
    {"ASR.B", 8, 0x80, 31, 0xFF, 5},
    {"ASR.B", 8, 0x40, 7, 0x00, 2},
    {"ASR.B", 8, 0x80, 0xF8, 0xFF, 5},  // 0xF8 & 31 = 24
    {"ASR.W", 9, 0x8001, 1, 0xC000, 4},
    {"ASR.W", 9, 0x8000, 31, 0xFFFF, 5},
    {"ASR.W", 9, 0x7FFF, 0x4F, 0x0000, 2},  // 0x4F & 31 = 15
    {"ASR.L", 10, 0x80000000, 4, 0xF8000000, 4},
    {"ASR.L", 10, 3, 33, 1, 1},
    {"ASR.L", 10, 0xFFFFFF00, 5, 0xFFFFFFF8, 4},
    {"ASR.L", 10, 0x80000001, 32, 0x80000001, 5},
    {"ASR.Q", 11, 0x8000000000000000, 63, 0xFFFFFFFFFFFFFFFF, 5},
    {"ASR.Q", 11, 0xFFFFFFFFFFFFF000, 7, 0xFFFFFFFFFFFFFFE0, 4},
    {"ASR.Q", 11, 0x0000000600000000, 33, 3, 1},
    {"ASR.Q", 11, 0x8000000000000001, 64, 0x8000000000000001, 5},

    {"DIVU.B", 12, 0xFF, 7, 0x24, kKept},
    {"DIVU.B", 12, 0xFE, 0xFF, 0x00, kKept},
    {"DIVU.W", 13, 0xFFFF, 7, 0x2492, kKept},
    {"DIVU.W", 13, 0x8000, 0xFFFF, 0x0000, kKept},
    {"DIVU.L", 14, 0xFFFFFFFF, 7, 0x24924924, kKept},
    {"DIVU.L", 14, 0x80000000, 0xFFFFFFFF, 0, kKept},
    {"DIVU.Q", 15, 0xFFFFFFFFFFFFFFFF, 7, 0x2492492492492492, kKept},
    {"DIVU.Q", 15, 0xFFFFFFFF00000000, 0x100000000, 0xFFFFFFFF, kKept},
    {"DIVU.Q", 15, 0x8000000000000000, 0xFFFFFFFFFFFFFFFF, 0, kKept},

    {"MODU.B", 16, 0xFF, 7, 0x03, kKept},
    {"MODU.B", 16, 0x80, 0xFF, 0x80, kKept},
    {"MODU.W", 17, 0xFFFF, 7, 0x0001, kKept},
    {"MODU.L", 18, 0xFFFFFFFF, 7, 3, kKept},
    {"MODU.L", 18, 0x80000000, 0xFFFFFFFF, 0x80000000, kKept},
    {"MODU.Q", 19, 0xFFFFFFFFFFFFFFFF, 7, 1, kKept},
    {"MODU.Q", 19, 0x923456789ABCDEF0, 0x100000000, 0x9ABCDEF0, kKept},

    {"LSR.B", 20, 0x90, 4, 0x09, 1},
    {"LSR.B", 20, 0xFF, 8, 0x00, 2},
    {"LSR.B", 20, 0x80, 7, 0x01, 1},
    {"LSR.B", 20, 0x80, 32, 0x80, 4},
    {"LSR.W", 21, 0x8000, 15, 0x0001, 1},
    {"LSR.W", 21, 0xFFFF, 16, 0x0000, 2},
    {"LSR.W", 21, 0xFFFC, 1, 0x7FFE, 0},
    {"LSR.L", 22, 0x80000000, 31, 1, 1},
    {"LSR.L", 22, 0x80000000, 33, 0x40000000, 0},
    {"LSR.L", 22, 0x80000001, 0xE0, 0x80000001, 5},
    {"LSR.L", 22, 0x00000070, 7, 0, 2},
    {"LSR.Q", 23, 0x8000000000000000, 63, 1, 1},
    {"LSR.Q", 23, 0xFFFFFFFF00000000, 33, 0x7FFFFFFF, 1},
    {"LSR.Q", 23, 0x00000001000000E0, 4, 0x1000000E, 0},

    // ADD leaves the flags alone, whatever the sum.
    {"ADD.B", 24, 0xF0, 0x20, 0x10, kKept},
    {"ADD.B", 24, 0x01, 0xF8, 0xF9, kKept},
    {"ADD.B", 24, 0xFF, 0x01, 0x00, kKept},
    {"ADD.W", 25, 0xFFFF, 0x0001, 0x0000, kKept},
    {"ADD.W", 25, 0x1234, 0x4321, 0x5555, kKept},
    {"ADD.L", 26, 0xFFFFFFFF, 2, 1, kKept},
    {"ADD.L", 26, 0x7FFFFFFF, 0x12345678, 0x92345677, kKept},
    {"ADD.Q", 27, 0xFFFFFFFFFFFFFFFF, 1, 0, kKept},
    {"ADD.Q", 27, 0x00000000FFFFFFFF, 0xFFFFFFFFFFFFFFF8, 0x00000000FFFFFFF7, kKept},
    {"ADD.Q", 27, 0x00000001FFFFFFFF, 0x0000000200000001, 0x0000000400000000, kKept},

    {"SUB.B", 28, 0x05, 0x07, 0xFE, 4},
    {"SUB.B", 28, 0x80, 0x01, 0x7F, 1},
    {"SUB.B", 28, 0x07, 0x07, 0x00, 2},
    {"SUB.B", 28, 0x20, 0x90, 0x90, 4},
    {"SUB.W", 29, 0x0000, 0x0001, 0xFFFF, 5},
    {"SUB.W", 29, 0x8000, 0x0001, 0x7FFF, 1},
    {"SUB.W", 29, 0x0100, 0xFFF8, 0x0108, 0},
    {"SUB.W", 29, 0x1234, 0x1234, 0x0000, 2},
    {"SUB.L", 30, 0x80000000, 1, 0x7FFFFFFF, 1},
    {"SUB.L", 30, 3, 0xFFFFFFFB, 8, 0},
    {"SUB.L", 30, 0, 0x00010000, 0xFFFF0000, 4},
    {"SUB.L", 30, 0x12345678, 0x12345678, 0, 2},
    {"SUB.Q", 31, 0, 1, 0xFFFFFFFFFFFFFFFF, 5},
    {"SUB.Q", 31, 0x100000000, 1, 0xFFFFFFFF, 1},
    {"SUB.Q", 31, 0x8000000000000000, 0x8000000000000000, 0, 2},
    {"SUB.Q", 31, 0x0000000080000000, 0xFFFFFFFFFFFFFFF8, 0x0000000080000008, 0},

    {"CMP.B", 32, 0x80, 0x01, 0x80, 1},
    {"CMP.B", 32, 0x01, 0x03, 0x01, 4},
    {"CMP.B", 32, 0xFF, 0xFF, 0xFF, 2},
    {"CMP.W", 33, 0x8000, 0x0001, 0x8000, 1},
    {"CMP.W", 33, 0x7FFF, 0xFFFF, 0x7FFF, 4},
    {"CMP.W", 33, 0x00FF, 0x0FFF, 0x00FF, 4},
    {"CMP.L", 34, 0x80000000, 1, 0x80000000, 1},
    {"CMP.L", 34, 0, 1, 0, 5},
    {"CMP.L", 34, 5, 5, 5, 2},
    {"CMP.L", 34, 0x7FFFFFFF, 0xFFFFFFFF, 0x7FFFFFFF, 4},
    {"CMP.Q", 35, 0x8000000000000000, 1, 0x8000000000000000, 1},
    {"CMP.Q", 35, 0x0000000100000000, 0, 0x0000000100000000, 0},
    {"CMP.Q", 35, 1, 0xFFFFFFFFFFFFFFFF, 1, 0},

    {"MUL.B", 36, 0x13, 0x0E, 0x0A, kKept},  // 19 * 14 = 266
    {"MUL.B", 36, 0x80, 0xFD, 0x80, kKept},  // -128 * -3 = 384
    {"MUL.B", 36, 0xFF, 0xFF, 0x01, kKept},
    {"MUL.W", 37, 0x1234, 0x5678, 0x0060, kKept},  // 0x06260060
    {"MUL.W", 37, 0xFFFF, 0xFFFF, 0x0001, kKept},
    {"MUL.L", 38, 0x12345678, 7, 0x7F6E5D48, kKept},
    {"MUL.L", 38, 0x00010000, 0x00010000, 0, kKept},
    {"MUL.L", 38, 0xFFFFFFFF, 0xFFFFFFFE, 2, kKept},
    {"MUL.Q", 39, 0x100000001, 0x100000001, 0x0000000200000001, kKept},
    {"MUL.Q", 39, 3, 0xFFFFFFFFFFFFFFF8, 0xFFFFFFFFFFFFFFE8, kKept},

    {"TEST.B", 40, 0xF0, 0x80, 0xF0, 4},
    {"TEST.B", 40, 0xF0, 0x07, 0xF0, 2},
    {"TEST.B", 40, 0x81, 0xFF, 0x81, 5},
    {"TEST.W", 41, 0x80FF, 0xFF00, 0x80FF, 4},
    {"TEST.W", 41, 0xFF01, 0x0003, 0xFF01, 1},
    {"TEST.L", 42, 0x80000001, 0xC0000001, 0x80000001, 5},
    {"TEST.L", 42, 0x0000FF00, 6, 0x0000FF00, 2},
    {"TEST.Q", 43, 0x8000000000000006, 0xFFFFFFFFFFFFFFF8, 0x8000000000000006, 4},
    {"TEST.Q", 43, 0x0000000100000000, 0x00000000FFFFFFFF, 0x0000000100000000, 2},

    {"LSL.B", 44, 0x81, 1, 0x02, 0},
    {"LSL.B", 44, 0x01, 7, 0x80, 4},
    {"LSL.B", 44, 0xFF, 8, 0x00, 2},
    {"LSL.B", 44, 0x81, 32, 0x81, 5},
    {"LSL.W", 45, 0xC001, 2, 0x0004, 0},
    {"LSL.W", 45, 0x0001, 15, 0x8000, 4},
    {"LSL.W", 45, 0xFFFF, 31, 0x0000, 2},
    {"LSL.L", 46, 1, 31, 0x80000000, 4},
    {"LSL.L", 46, 3, 33, 6, 0},
    {"LSL.L", 46, 0x80000000, 1, 0, 2},
    {"LSL.L", 46, 0x80000001, 0x80, 0x80000001, 5},
    {"LSL.Q", 47, 1, 63, 0x8000000000000000, 4},
    {"LSL.Q", 47, 3, 33, 0x600000000, 0},
    {"LSL.Q", 47, 0x8000000000000000, 1, 0, 2},
    {"LSL.Q", 47, 0x8000000000000003, 0xC0, 0x8000000000000003, 5},

    {"AND.B", 48, 0xF1, 0x8F, 0x81, 5},
    {"AND.B", 48, 0xF0, 0x07, 0x00, 2},
    {"AND.W", 49, 0xFF0F, 0xFFF8, 0xFF08, 4},
    {"AND.W", 49, 0x8001, 0x7FFF, 0x0001, 1},
    {"AND.L", 50, 0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFFE, 4},
    {"AND.L", 50, 0x12345678, 0x0F0F0F0F, 0x02040608, 0},
    {"AND.L", 50, 0xAAAAAAAA, 0x55555555, 0, 2},
    {"AND.Q", 51, 0xFFFFFFFFFFFFFFFF, 0xFFFFFFFFFFFFFFF8, 0xFFFFFFFFFFFFFFF8, 4},
    {"AND.Q", 51, 0x00000001FFFFFFFF, 0x0000000100000001, 0x0000000100000001, 1},

    {"OR.B", 52, 0xF0, 0x07, 0xF7, kKept},
    {"OR.B", 52, 0x00, 0x80, 0x80, kKept},
    {"OR.W", 53, 0x1200, 0x0034, 0x1234, kKept},
    {"OR.W", 53, 0x0007, 0xFFF8, 0xFFFF, kKept},
    {"OR.L", 54, 0x12000000, 0x00345678, 0x12345678, kKept},
    {"OR.L", 54, 1, 0xFFFFFFFE, 0xFFFFFFFF, kKept},
    {"OR.Q", 55, 1, 0xFFFFFFFFFFFFFFF8, 0xFFFFFFFFFFFFFFF9, kKept},
    {"OR.Q", 55, 0x1234567800000000, 0x000000009ABCDEF0, 0x123456789ABCDEF0, kKept},

    {"XOR.B", 56, 0xFF, 0x7F, 0x80, 4},
    {"XOR.B", 56, 0x06, 0x07, 0x01, 1},
    {"XOR.W", 57, 0x1234, 0x1234, 0x0000, 2},
    {"XOR.W", 57, 0x0000, 0xFFFF, 0xFFFF, 5},
    {"XOR.L", 58, 0x80000000, 0xFFFFFFFF, 0x7FFFFFFF, 1},
    {"XOR.L", 58, 0x12345678, 0x92345678, 0x80000000, 4},
    {"XOR.Q", 59, 0xFFFFFFFFFFFFFFF8, 0xFFFFFFFFFFFFFFF8, 0, 2},
    {"XOR.Q", 59, 0x8000000000000000, 0x0000000000000001, 0x8000000000000001, 5},

    {"MOVE.B", 60, 0x11, 0xF8, 0xF8, kKept},
    {"MOVE.B", 60, 0x11, 0x9C, 0x9C, kKept},
    {"MOVE.W", 61, 0x1111, 0xFFF8, 0xFFF8, kKept},
    {"MOVE.W", 61, 0x1111, 0x9CDE, 0x9CDE, kKept},
    {"MOVE.L", 62, 0x11111111, 0xFFFFFFF8, 0xFFFFFFF8, kKept},
    {"MOVE.L", 62, 0x11111111, 0x9CDEF012, 0x9CDEF012, kKept},
    {"MOVE.Q", 63, 0x1111111111111111, 0xFFFFFFFFFFFFFFF8, 0xFFFFFFFFFFFFFFF8, kKept},
    {"MOVE.Q", 63, 0x1111111111111111, 0x9CDEF01234567890, 0x9CDEF01234567890, kKept},
    {"MOVE.Q", 63, 0x1111111111111111, 7, 7, kKept},

    // MOVEZ writes all 8 bytes.
    {"MOVEZ.B", 64, 0x11, 0xF8, 0xF8, kKept},
    {"MOVEZ.B", 64, 0x11, 0x9C, 0x9C, kKept},
    {"MOVEZ.W", 65, 0x1111, 0xFFFF, 0xFFFF, kKept},
    {"MOVEZ.W", 65, 0x1111, 0x9CDE, 0x9CDE, kKept},
    {"MOVEZ.L", 66, 0x11111111, 0xFFFFFFF8, 0xFFFFFFF8, kKept},
    {"MOVEZ.L", 66, 0x11111111, 0x9CDEF012, 0x9CDEF012, kKept},
    {"MOVEZ.Q", 67, 0x1111111111111111, 0xFFFFFFFFFFFFFFF8, 0xFFFFFFFFFFFFFFF8, kKept},
    {"MOVEZ.Q", 67, 0x1111111111111111, 0x9CDEF01234567890, 0x9CDEF01234567890, kKept},

    // 1.5 + 2.25 = 3.75; 2^24 + 1 rounds to 2^24; 0.1 + 0.2 is not 0.3; 1 + 0
    {"FADD.F", 70, 0x3FC00000, 0x40100000, 0x40700000, kKept},
    {"FADD.F", 70, 0x4B800000, 0x3F800000, 0x4B800000, kKept},
    {"FADD.F", 70, 0x3F800000, 0x00000000, 0x3F800000, kKept},
    {"FADD.D", 71, 0x3FF8000000000000, 0x4002000000000000, 0x400E000000000000, kKept},
    {"FADD.D", 71, 0x3FB999999999999A, 0x3FC999999999999A, 0x3FD3333333333334, kKept},
    {"FADD.D", 71, 0x3FF0000000000000, 0, 0x3FF0000000000000, kKept},
    // 1 - 2.5 = -1.5; 2.5 - 2.5 = 0: neither NEG nor ZERO comes through
    {"FSUB.F", 74, 0x3F800000, 0x40200000, 0xBFC00000, kKept},
    {"FSUB.F", 74, 0x40200000, 0x40200000, 0x00000000, kKept},
    {"FSUB.F", 74, 0x80000000, 0x00000000, 0x80000000, kKept},  // -0 - 0 = -0
    {"FSUB.D", 75, 0x3FF0000000000000, 0x4004000000000000, 0xBFF8000000000000, kKept},
    {"FSUB.D", 75, 0x4004000000000000, 0x4004000000000000, 0, kKept},
    {"FSUB.D", 75, 0xC004000000000000, 0, 0xC004000000000000, kKept},
    // 3 * -0.5 = -1.5; -3 * 0 = -0
    {"FMUL.F", 78, 0x40400000, 0xBF000000, 0xBFC00000, kKept},
    {"FMUL.F", 78, 0xC0400000, 0x00000000, 0x80000000, kKept},
    {"FMUL.D", 79, 0x4008000000000000, 0xBFE0000000000000, 0xBFF8000000000000, kKept},
    {"FMUL.D", 79, 0xC008000000000000, 0, 0x8000000000000000, kKept},
    // 1 / 3; -1 / 0 = -infinity; 1e308 / 1e-308 overflows
    {"FDIV.F", 82, 0x3F800000, 0x40400000, 0x3EAAAAAB, kKept},
    {"FDIV.F", 82, 0xBF800000, 0x00000000, 0xFF800000, kKept},
    {"FDIV.D", 83, 0x3FF0000000000000, 0x4008000000000000, 0x3FD5555555555555, kKept},
    {"FDIV.D", 83, 0x3FF0000000000000, 0, 0x7FF0000000000000, kKept},
    // FCMP has no effect, whether A is less, equal, greater or no number.
    {"FCMP.F", 86, 0x3F800000, 0x40000000, 0x3F800000, kKept},
    {"FCMP.F", 86, 0x00000000, 0x00000000, 0x00000000, kKept},
    {"FCMP.F", 86, 0x7FC00000, 0x3F800000, 0x7FC00000, kKept},
    {"FCMP.D", 87, 0xBFF0000000000000, 0x3FF0000000000000, 0xBFF0000000000000, kKept},
    {"FCMP.D", 87, 0x3FF0000000000000, 0, 0x3FF0000000000000, kKept},
};

// How a form finds its operands.
struct Form {
    u32 code;
    u32 fields;              // the word without form and operation
    std::vector<u32> words;  // extension words, without those of an immediate
    u32 a;                   // address of A
    enum { Memory, Quick, Immediate } source;
    u32 b;        // address of B, 256 for quick and immediate
    u32 quickAt;  // lowest bit of a quick value in the word
    u32 length;   // without the second word of a QUAD immediate
};

// R3 and R5 are operands. R6 and R7 are address bases whose upper halves are not zero; R7 is -16.
// FP is 1536. Unused bits of the word are set here and there: nothing may look at them.
constexpr u32 kIndexA = 1024;
constexpr u32 kBaseWordA = 0x41;  // 1024 + 65 = 1089
constexpr u32 kAddressIndexedA = 1089;
constexpr u32 kBaseWordB = 1200;  // -16 + 1200 = 1184
constexpr u32 kAddressIndexedB = 1184;
constexpr u32 kAbsoluteA = 1105;
constexpr u32 kAbsoluteB = 1218;
constexpr u32 kFrameA = 0xFFE8u << 16;  // FP - 24
constexpr u32 kAddressFrameA = 1512;
constexpr u32 kFrameB = 0x0028u << 16;  // FP + 40
constexpr u32 kAddressFrameB = 1576;
constexpr u32 kFrame32B = 0xFFFFFF01;  // FP - 255
constexpr u32 kAddressFrame32B = 1281;
constexpr u32 kLowR3 = 3u << 5;
constexpr u32 kLowR5 = 5u << 5;
constexpr u32 kLowR6 = 6u << 5;
constexpr u32 kLowR7 = 7u << 5;
constexpr u32 kHighR5 = 5u << 16;
constexpr u32 kHighR7 = 7u << 16;
constexpr u32 kHighJunk = 0xABCu << 20;
constexpr u32 kWideJunk = 0x9BCDu << 16;
constexpr u32 kLowJunk = 11u << 5;
constexpr u32 kR3 = 32;
constexpr u32 kR5 = 48;
constexpr u32 kSlot = 256;

const Form kForms[] = {
    {1, kLowR6 | kHighJunk, {kBaseWordA}, kAddressIndexedA, Form::Quick, kSlot, 16, 8},
    {2, kLowR6 | kHighR5 | kHighJunk, {kBaseWordA}, kAddressIndexedA, Form::Memory, kR5, 0, 8},
    {3, kLowJunk | kFrameB, {kAbsoluteA}, kAbsoluteA, Form::Memory, kAddressFrameB, 0, 8},
    {5,
     kLowR7 | kWideJunk,
     {kAbsoluteA, kBaseWordB},
     kAbsoluteA,
     Form::Memory,
     kAddressIndexedB,
     0,
     12},
    {6,
     kLowR6 | kWideJunk,
     {kBaseWordA, kAbsoluteB},
     kAddressIndexedA,
     Form::Memory,
     kAbsoluteB,
     0,
     12},
    {7, kLowJunk | kFrameA, {}, kAddressFrameA, Form::Immediate, kSlot, 0, 8},
    {9, kLowR6 | kFrameB, {kBaseWordA}, kAddressIndexedA, Form::Memory, kAddressFrameB, 0, 8},
    {10,
     kLowR6 | kHighR7 | kHighJunk,
     {kBaseWordA, kBaseWordB},
     kAddressIndexedA,
     Form::Memory,
     kAddressIndexedB,
     0,
     12},
    {11, kLowR7 | kFrameA, {kBaseWordB}, kAddressFrameA, Form::Memory, kAddressIndexedB, 0, 8},
    {13, kLowJunk | kWideJunk, {kAbsoluteA}, kAbsoluteA, Form::Immediate, kSlot, 0, 12},
    {14, kLowR6 | kWideJunk, {kBaseWordA}, kAddressIndexedA, Form::Immediate, kSlot, 0, 12},
    {15, kLowJunk | kFrameA, {kFrame32B}, kAddressFrameA, Form::Memory, kAddressFrame32B, 0, 8},
    {17, kLowR3 | kFrameB, {}, kR3, Form::Memory, kAddressFrameB, 0, 4},
    {18, kLowR3 | kHighR7 | kHighJunk, {kBaseWordB}, kR3, Form::Memory, kAddressIndexedB, 0, 8},
    {19, kLowR5 | kFrameA, {}, kAddressFrameA, Form::Memory, kR5, 0, 4},
    {21,
     kLowJunk | kWideJunk,
     {kAbsoluteA, kAbsoluteB},
     kAbsoluteA,
     Form::Memory,
     kAbsoluteB,
     0,
     12},
    {22, kLowR3 | kWideJunk, {}, kR3, Form::Immediate, kSlot, 0, 8},
    {23, kFrameA, {}, kAddressFrameA, Form::Quick, kSlot, 5, 4},
    {25, kLowR5 | kWideJunk, {kAbsoluteA}, kAbsoluteA, Form::Memory, kR5, 0, 8},
    {26, kLowR3 | kWideJunk, {kAbsoluteB}, kR3, Form::Memory, kAbsoluteB, 0, 8},
    {27, kLowJunk | kFrameA, {kAbsoluteB}, kAddressFrameA, Form::Memory, kAbsoluteB, 0, 8},
    {28, kLowR3 | kHighR5 | kHighJunk, {}, kR3, Form::Memory, kR5, 0, 4},
    {29, kWideJunk, {kAbsoluteA}, kAbsoluteA, Form::Quick, kSlot, 5, 8},
    {30, kLowR3 | kHighJunk, {}, kR3, Form::Quick, kSlot, 16, 4},
};

u32 Bytes(u32 operation) {
    return 1u << (operation & 3);
}

PaperImage FormPicture() {
    PaperImage picture = BenchPicture();
    picture.Put(RegisterAt(6), 0x8765432100000000 | kIndexA, 8);
    picture.Put(RegisterAt(7), 0x12345678FFFFFFF0, 8);
    picture.Put(kSlot, 0xC1C2C3C4C5C6C7C8, 8);
    return picture;
}

// The value of a quick field that makes `b` at the operation's size; false when none does.
bool QuickFor(u64 b, u32 operation, u32& field) {
    const u32 unused = 64 - 8 * Bytes(operation);
    const i64 value = static_cast<i64>(b << unused) >> unused;
    field = static_cast<u32>(value) & 15;
    return value >= -8 && value <= 7;
}

// Places the instruction and B. The picture is then the state before; returns PC after it, 0 when
// the form cannot hold this B.
u32 Encode(PaperImage& picture, const Form& form, u32 operation, u64 b) {
    u32 w = form.code | form.fields | operation << 9;
    std::vector<u32> words = form.words;
    u32 length = form.length;
    const bool quad = Bytes(operation) == 8;
    if (form.source == Form::Memory) {
        picture.Put(form.b, b, Bytes(operation));
    } else if (form.source == Form::Immediate) {
        words.push_back(static_cast<u32>(b));
        if (quad) {
            words.push_back(static_cast<u32>(b >> 32));
            length += 4;
        }
    } else {
        u32 field = 0;
        if (!QuickFor(b, operation, field)) {
            return 0;
        }
        w |= field << form.quickAt;
    }
    words.insert(words.begin(), w);
    picture.PutWords(kBenchCode, words);
    return kBenchCode + length;
}

// What the immediate slot holds after decoding: 8 bytes for QUAD, else the low 4.
void FillSlot(PaperImage& after, const Form& form, u32 operation, u64 b) {
    if (form.source == Form::Memory) {
        return;
    }
    const bool quad = Bytes(operation) == 8;
    u64 value = b;
    if (form.source == Form::Quick) {
        u32 field = 0;
        QuickFor(b, operation, field);
        value = field < 8 ? field : field | 0xFFFFFFFFFFFFFFF0;
    }
    after.Put(kSlot, value, quad ? 8 : 4);
}

std::string NameOf(const char* operation, const Form& form, u32 flags) {
    return std::string(operation) + " in form " + std::to_string(form.code) + ", flags before " +
           std::to_string(flags);
}

bool IsMovez(u32 operation) {
    return operation >= 64 && operation <= 67;
}

}  // namespace

TEST_F(TwoOperands, EveryOperationAtEverySizeInEveryFormGivesTheResultAndFlagsWorkedOutByHand) {
    for (const Case& c : kCases) {
        for (const Form& form : kForms) {
            for (const u32 flags : {0u, 7u}) {
                PaperImage before = FormPicture();
                before.Put(192, flags, 1);
                before.Put(form.a, c.a, Bytes(c.operation));
                const u32 pc = Encode(before, form, c.operation, c.b);
                if (pc == 0) {
                    continue;
                }
                PaperImage after = before;
                FillSlot(after, form, c.operation, c.b);
                after.Put(form.a, c.result, IsMovez(c.operation) ? 8 : Bytes(c.operation));
                after.Put(192, c.flags == kKept ? flags : static_cast<u32>(c.flags), 1);
                after.Put(136, pc, 4);
                ExpectRun(NameOf(c.name, form, flags), before, {.after = after});
            }
        }
    }
}

TEST_F(TwoOperands, EveryOperationAndSizeHasACaseThatFitsAQuickSource) {
    for (u32 operation = 0; operation < 88; ++operation) {
        if (operation >= 68 && operation % 4 < 2) {
            continue;
        }
        bool found = false;
        for (const Case& c : kCases) {
            u32 field = 0;
            found |= c.operation == operation && QuickFor(c.b, operation, field);
        }
        EXPECT_TRUE(found) << "operation " << operation;
    }
}

TEST_F(TwoOperands, FloatingPointOperationsOfByteOrWordSizeReportAndGoOn) {
    for (const u32 operation : {68u, 69u, 72u, 73u, 76u, 77u, 80u, 81u, 84u, 85u}) {
        for (const Form& form : kForms) {
            PaperImage before = FormPicture();
            before.Put(192, 5, 1);
            const u32 pc = Encode(before, form, operation, 3);
            PaperImage after = before;
            FillSlot(after, form, operation, 3);
            after.Put(136, pc, 4);
            ExpectRun(NameOf("an illegal size", form, 5), before,
                      {.after = after,
                       .messages = {"BYTE/WORD size illegal for FLOAT/DOUBLE at 0x00000200"}});
        }
    }
}

TEST_F(TwoOperands, OperationNumbers96To119AreIllegalAfterDecoding) {
    for (u32 operation = 96; operation < 120; ++operation) {
        for (const Form& form : kForms) {
            PaperImage before = FormPicture();
            before.Put(192, 3, 1);
            ASSERT_NE(Encode(before, form, operation, 5), 0u);
            PaperImage after = before;
            // Decoding comes first, so the immediate slot is filled; PC stays.
            FillSlot(after, form, operation, 5);
            ExpectRun(NameOf("an illegal operation", form, 3), before,
                      {.after = after,
                       .outcome = Outcome::IllegalOpcode,
                       .messages = {"Illegal opcode at 0x00000200\n"
                                    "Terminating program. So terribly sorry."}});
        }
    }
}

TEST_F(TwoOperands, LeaStoresTheAddressOfBAsALongAtEverySizeInEveryForm) {
    for (u32 operation = 88; operation < 92; ++operation) {
        for (const Form& form : kForms) {
            PaperImage before = FormPicture();
            before.Put(192, 6, 1);
            const u32 pc = Encode(before, form, operation, 6);
            PaperImage after = before;
            FillSlot(after, form, operation, 6);
            after.Put(form.a, form.b, 4);
            after.Put(136, pc, 4);
            ExpectRun(NameOf("LEA", form, 6), before, {.after = after});
        }
    }
}

TEST_F(TwoOperands, BlockmoveCopiesCountTimesSizeBytesInEveryForm) {
    for (u32 operation = 92; operation < 96; ++operation) {
        for (const Form& form : kForms) {
            PaperImage before = FormPicture();
            before.Put(192, 1, 1);
            before.Put(184, 3, 4);
            const u32 pc = Encode(before, form, operation, 0xFFFFFFFFFFFFFFFE);
            PaperImage after = before;
            FillSlot(after, form, operation, 0xFFFFFFFFFFFFFFFE);
            // 3, 6, 12 or 24 bytes; the ranges do not overlap, but for R3's and R5's.
            const PaperImage source = after;
            const u32 total = 3 * Bytes(operation);
            for (u32 i = 0; i < total; ++i) {
                after.Put(form.a + i, source.Get(form.b + i, 1), 1);
            }
            after.Put(136, pc, 4);
            ExpectRun(NameOf("BLOCKMOVE", form, 1), before, {.after = after});
        }
    }
}

TEST_F(TwoOperands, PushblockPushesAsManyBytesAsAHoldsInEveryForm) {
    for (u32 operation = 120; operation < 124; ++operation) {
        for (const Form& form : kForms) {
            PaperImage before = FormPicture();
            before.Put(192, 4, 1);
            const u32 pc = Encode(before, form, operation, 7);
            // The BYTE form looks at 0x0D alone, the others at 0x010D = 269. Form 5 takes the
            // address 1105 itself: SP - 1105 = 1695 is below 2148, a stack overflow.
            before.Put(form.a, 0xEE010D, 4);
            PaperImage after = before;
            FillSlot(after, form, operation, 7);
            if (form.code == 5) {
                ExpectRun(NameOf("PUSHBLOCK", form, 4), before,
                          {.after = after,
                           .outcome = Outcome::StackOverflow,
                           .messages = {"Stack overflow at 0x00000200. Terminating. So sorry."}});
                continue;
            }
            const u32 n = operation == 120 ? 13 : 269;
            const PaperImage source = after;
            for (u32 i = 0; i < n; ++i) {
                after.Put(2800 - n + i, source.Get(form.b + i, 1), 1);
            }
            after.Put(160, 2800 - n, 4);
            after.Put(136, pc, 4);
            ExpectRun(NameOf("PUSHBLOCK", form, 4), before, {.after = after});
        }
    }
}

TEST_F(TwoOperands, PeekblockCopiesAsManyBytesAsAHoldsToBInEveryForm) {
    for (u32 operation = 124; operation < 128; ++operation) {
        for (const Form& form : kForms) {
            PaperImage before = FormPicture();
            before.Put(192, 2, 1);
            const u32 pc = Encode(before, form, operation, 7);
            // 5 bytes, for WORD and above 0x0105 = 261, but into registers and the slot, where
            // 261 bytes would reach PC and beyond, 5 at every size. Form 5 is no exception.
            const bool header = form.b < 512;
            before.Put(form.a, header ? 0xEE0005 : 0xEE0105, 4);
            PaperImage after = before;
            FillSlot(after, form, operation, 7);
            const u32 n = operation == 124 || header ? 5 : 261;
            for (u32 i = 0; i < n; ++i) {
                after.Put(form.b + i, before.Get(2800 + i, 1), 1);
            }
            after.Put(136, pc, 4);
            ExpectRun(NameOf("PEEKBLOCK", form, 2), before, {.after = after});
        }
    }
}

}  // namespace moxi
