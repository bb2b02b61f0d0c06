// Every one-operand operation at every size in every operand form, with results and flags worked
// out by hand.

#include <string>
#include <vector>

#include "tests/support/bench_run.h"
#include "tests/support/vm_fixture.h"

namespace moxi {

using plain::Outcome;

namespace {

class OneOperand : public VmTest {
  protected:
    const StandardError quiet{true};
};

constexpr int kKept = -1;

// All 8 bytes at E before and after.
// The fields stand in the order in which a row reads.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct Case {
    const char* name;
    u32 operation;
    u64 before;
    u64 after;
    int flags;
};

const Case kCases[] = {
    {"FNEG", 2, 0xA1A2A3A43FC00000, 0xA1A2A3A4BFC00000, kKept},
    {"FNEG", 2, 0xA1A2A3A4FFC00001, 0xA1A2A3A47FC00001, kKept},
    {"FNEG", 2, 0, 0x80000000, kKept},
    // Only the low half is stored back, and the sign is not in it.
    {"DNEG", 3, 0x3FF8000000000000, 0x3FF8000000000000, kKept},
    {"DNEG", 3, 0xC0091EB851EB851F, 0xC0091EB851EB851F, kKept},

    {"NEG.B", 4, 0xA1A2A3A4A5A6A701, 0xA1A2A3A4A5A6A7FF, kKept},
    {"NEG.B", 4, 0xA1A2A3A4A5A6A780, 0xA1A2A3A4A5A6A780, kKept},
    {"NEG.B", 4, 0xA1A2A3A4A5A6A700, 0xA1A2A3A4A5A6A700, kKept},
    {"NEG.W", 5, 0xA1A2A3A4A5A61234, 0xA1A2A3A4A5A6EDCC, kKept},
    {"NEG.W", 5, 0xA1A2A3A4A5A68000, 0xA1A2A3A4A5A68000, kKept},
    {"NEG.L", 6, 0xA1A2A3A400000001, 0xA1A2A3A4FFFFFFFF, kKept},
    {"NEG.L", 6, 0xA1A2A3A480000000, 0xA1A2A3A480000000, kKept},
    {"NEG.Q", 7, 0x0000000100000000, 0xFFFFFFFF00000000, kKept},
    {"NEG.Q", 7, 0xFFFFFFFFFFFFFFFE, 2, kKept},

    {"NOT.B", 8, 0xA1A2A3A4A5A6A7FF, 0xA1A2A3A4A5A6A700, 2},
    {"NOT.B", 8, 0xA1A2A3A4A5A6A700, 0xA1A2A3A4A5A6A7FF, 5},
    {"NOT.B", 8, 0xA1A2A3A4A5A6A77F, 0xA1A2A3A4A5A6A780, 4},
    {"NOT.W", 9, 0xA1A2A3A4A5A6FFFE, 0xA1A2A3A4A5A60001, 1},
    {"NOT.W", 9, 0xA1A2A3A4A5A6FFFF, 0xA1A2A3A4A5A60000, 2},
    {"NOT.L", 10, 0xA1A2A3A47FFFFFFF, 0xA1A2A3A480000000, 4},
    {"NOT.L", 10, 0xA1A2A3A412345678, 0xA1A2A3A4EDCBA987, 5},
    {"NOT.Q", 11, 0xFFFFFFFFFFFFFFFF, 0, 2},
    {"NOT.Q", 11, 0xFEDCBA9876543210, 0x0123456789ABCDEF, 1},

    {"TST.B", 12, 0xA1A2A3A4A5A6A780, 0xA1A2A3A4A5A6A780, 4},
    {"TST.B", 12, 0xA1A2A3A4A5A6A700, 0xA1A2A3A4A5A6A700, 2},
    {"TST.B", 12, 0xA1A2A3A4A5A6A701, 0xA1A2A3A4A5A6A701, 1},
    {"TST.B", 12, 0xA1A2A3A4A5A6A7FF, 0xA1A2A3A4A5A6A7FF, 5},
    {"TST.W", 13, 0xA1A2A3A4A5A68000, 0xA1A2A3A4A5A68000, 4},
    {"TST.W", 13, 0xA1A2A3A4A5A600FF, 0xA1A2A3A4A5A600FF, 1},
    {"TST.L", 14, 0xA1A2A3A480000001, 0xA1A2A3A480000001, 5},
    {"TST.L", 14, 0xA1A2A3A400000000, 0xA1A2A3A400000000, 2},
    {"TST.L", 14, 0xA1A2A3A40000FF00, 0xA1A2A3A40000FF00, 0},
    {"TST.Q", 15, 0x8000000000000000, 0x8000000000000000, 4},
    {"TST.Q", 15, 0x0000000080000000, 0x0000000080000000, 0},
    {"TST.Q", 15, 0, 0, 2},

    {"EXTZ.B", 32, 0xA1A2A3A4A5A6A79C, 0x9C, kKept},
    {"EXTZ.W", 33, 0xA1A2A3A4A5A69CDE, 0x9CDE, kKept},
    {"EXTZ.L", 34, 0xA1A2A3A49CDEF012, 0x9CDEF012, kKept},
    {"operation 35", 35, 0xA1A2A3A49CDEF012, 0xA1A2A3A49CDEF012, kKept},
    {"EXTS.B", 36, 0xA1A2A3A4A5A6A79C, 0xFFFFFFFFFFFFFF9C, kKept},
    {"EXTS.B", 36, 0xA1A2A3A4A5A6A77C, 0x7C, kKept},
    {"EXTS.W", 37, 0xA1A2A3A4A5A68001, 0xFFFFFFFFFFFF8001, kKept},
    {"EXTS.W", 37, 0xA1A2A3A4A5A67001, 0x7001, kKept},
    {"EXTS.L", 38, 0xA1A2A3A480000001, 0xFFFFFFFF80000001, kKept},
    {"EXTS.L", 38, 0xA1A2A3A470000001, 0x70000001, kKept},
    {"operation 39", 39, 0xA1A2A3A49CDEF012, 0xA1A2A3A49CDEF012, kKept},

    // 200; 65535; 2^32 - 1 rounds to 2^32; 2^24 + 1 to 2^24 (even)
    {"UTOF.B", 40, 0xA1A2A3A4A5A6A7C8, 0x43480000, kKept},
    {"UTOF.B", 40, 0xA1A2A3A4A5A6A700, 0, kKept},
    {"UTOF.W", 41, 0xA1A2A3A4A5A6FFFF, 0x477FFF00, kKept},
    {"UTOF.L", 42, 0xA1A2A3A4FFFFFFFF, 0x4F800000, kKept},
    {"UTOF.L", 42, 0xA1A2A3A401000001, 0x4B800000, kKept},
    {"UTOF.Q", 43, 0xFFFFFFFFFFFFFFFF, 0x5F800000, kKept},
    // 2^63 + 2^39 + 1 lies just above the middle of two floats: rounded once, it goes up.
    {"UTOF.Q", 43, 0x8000008000000001, 0x5F000001, kKept},
    {"STOF.B", 44, 0xA1A2A3A4A5A6A780, 0xC3000000, kKept},
    {"STOF.W", 45, 0xA1A2A3A4A5A68000, 0xC7000000, kKept},
    {"STOF.L", 46, 0xA1A2A3A480000000, 0xCF000000, kKept},
    {"STOF.L", 46, 0xA1A2A3A4FFFFFFFF, 0xBF800000, kKept},
    {"STOF.Q", 47, 0x8000000000000000, 0xDF000000, kKept},
    {"STOF.Q", 47, 0x4000004000000001, 0x5E800001, kKept},
    {"UTOD.B", 48, 0xA1A2A3A4A5A6A7FF, 0x406FE00000000000, kKept},
    {"UTOD.W", 49, 0xA1A2A3A4A5A6FFFF, 0x40EFFFE000000000, kKept},
    {"UTOD.L", 50, 0xA1A2A3A4FFFFFFFF, 0x41EFFFFFFFE00000, kKept},
    {"UTOD.Q", 51, 0xFFFFFFFFFFFFFFFF, 0x43F0000000000000, kKept},
    {"UTOD.Q", 51, 0x8000000000000401, 0x43E0000000000001, kKept},
    {"STOD.B", 52, 0xA1A2A3A4A5A6A7FF, 0xBFF0000000000000, kKept},
    {"STOD.W", 53, 0xA1A2A3A4A5A68000, 0xC0E0000000000000, kKept},
    {"STOD.L", 54, 0xA1A2A3A480000000, 0xC1E0000000000000, kKept},
    {"STOD.Q", 55, 0xFFFFFFFFFFFFFFFF, 0xBFF0000000000000, kKept},
    {"STOD.Q", 55, 0x8000000000000000, 0xC3E0000000000000, kKept},

    // -1.75; 1e10; 0.99; out of range and not a number give 0x8000000000000000
    {"FTOQ 56", 56, 0xA1A2A3A4BFE00000, 0xFFFFFFFFFFFFFFFF, kKept},
    {"FTOQ 56", 56, 0xA1A2A3A4501502F9, 10000000000, kKept},
    {"FTOQ 57", 57, 0xA1A2A3A43F7D70A4, 0, kKept},
    {"FTOQ 57", 57, 0xA1A2A3A47F800000, 0x8000000000000000, kKept},
    {"FTOQ 58", 58, 0xA1A2A3A45F000000, 0x8000000000000000, kKept},
    {"FTOQ 58", 58, 0xA1A2A3A47FC00000, 0x8000000000000000, kKept},
    {"FTOQ 59", 59, 0xA1A2A3A4DF000000, 0x8000000000000000, kKept},
    {"FTOQ 59", 59, 0xA1A2A3A440400000, 3, kKept},
    // -2.9; 1e19; 2^52 + 1; not a number
    {"DTOQ 60", 60, 0xC007333333333333, 0xFFFFFFFFFFFFFFFE, kKept},
    {"DTOQ 61", 61, 0x43E158E460913D00, 0x8000000000000000, kKept},
    {"DTOQ 62", 62, 0x4330000000000001, 0x0010000000000001, kKept},
    {"DTOQ 63", 63, 0x7FF8000000000000, 0x8000000000000000, kKept},
    {"DTOQ 63", 63, 0xC3E0000000000000, 0x8000000000000000, kKept},
    // 1.5; -infinity; the smallest float
    {"FTOD 64", 64, 0xA1A2A3A43FC00000, 0x3FF8000000000000, kKept},
    {"FTOD 65", 65, 0xA1A2A3A4FF800000, 0xFFF0000000000000, kKept},
    {"FTOD 66", 66, 0xA1A2A3A400000001, 0x36A0000000000000, kKept},
    {"FTOD 67", 67, 0xA1A2A3A4C0400000, 0xC008000000000000, kKept},
    // 3.99; -1.5
    {"DTOL 68", 68, 0x400FEB851EB851EC, 0x400FEB8500000003, kKept},
    {"DTOL 68", 68, 0xBFF8000000000000, 0xBFF80000FFFFFFFF, kKept},
    // Rounded to a float first: 2^24 + 1 becomes 2^24, 2^31 - 1 becomes 2^31, 1 - 5e-11 becomes 1.
    {"DTOL 69", 69, 0x4170000010000000, 0x4170000001000000, kKept},
    {"DTOL 69", 69, 0x41DFFFFFFFC00000, 0x41DFFFFF80000000, kKept},
    {"DTOL 69", 69, 0x3FEFFFFFFFF920C8, 0x3FEFFFFF00000001, kKept},
    // The low half of the 64-bit integer: 3e9, 5e9 = 0x12A05F200, 1e19 and 1e300 out of range
    {"DTOL 70", 70, 0x41E65A0BC0000000, 0x41E65A0BB2D05E00, kKept},
    {"DTOL 70", 70, 0x41F2A05F20000000, 0x41F2A05F2A05F200, kKept},
    {"DTOL 71", 71, 0x43E158E460913D00, 0x43E158E400000000, kKept},
    {"DTOL 71", 71, 0x7E37E43C8800759C, 0x7E37E43C00000000, kKept},
};

struct Form {
    u32 code;
    u32 fields;
    std::vector<u32> words;
    u32 e;
    u32 length;
};

constexpr u32 kBit15 = 1u << 15;  // belongs to no field

const Form kForms[] = {
    {108, 7u << 16 | 0xABC00000 | kBit15, {1201}, 1185, 8},  // R7 = -16
    {172, 0xFFE7u << 16 | kBit15, {}, 1511, 4},              // FP - 25
    {212, 5u << 16 | kBit15, {}, 48, 4},                     // R5
    {236, 0x9BCD0000 | kBit15, {1107}, 1107, 8},
};

std::string NameOf(const char* operation, const Form& form, u32 flags) {
    return std::string(operation) + " in form " + std::to_string(form.code) + ", flags before " +
           std::to_string(flags);
}

PaperImage Place(const Form& form, u32 operation, u64 value, u32 flags) {
    PaperImage picture = BenchPicture();
    picture.Put(RegisterAt(7), 0x12345678FFFFFFF0, 8);
    picture.Put(192, flags, 1);
    picture.Put(form.e, value, 8);
    std::vector<u32> words = {form.code | form.fields | operation << 8};
    words.insert(words.end(), form.words.begin(), form.words.end());
    picture.PutWords(kBenchCode, words);
    return picture;
}

}  // namespace

TEST_F(OneOperand, EveryOperationAtEverySizeInEveryFormGivesTheResultAndFlagsWorkedOutByHand) {
    for (const Case& c : kCases) {
        for (const Form& form : kForms) {
            for (const u32 flags : {0u, 7u}) {
                const PaperImage before = Place(form, c.operation, c.before, flags);
                PaperImage after = before;
                after.Put(form.e, c.after, 8);
                after.Put(192, c.flags == kKept ? flags : static_cast<u32>(c.flags), 1);
                after.Put(136, kBenchCode + form.length, 4);
                ExpectRun(NameOf(c.name, form, flags), before, {.after = after});
            }
        }
    }
}

TEST_F(OneOperand, PushOfAByteMovesSpBy2AndPushesAZeroExtendedWord) {
    for (const Form& form : kForms) {
        const PaperImage before = Place(form, 16, 0xA1A2A3A4A5A6A79C, 5);
        PaperImage after = before;
        after.Put(2798, 0x009C, 2);
        after.Put(160, 2798, 4);
        after.Put(136, kBenchCode + form.length, 4);
        ExpectRun(NameOf("PUSH.B", form, 5), before, {.after = after});
    }
}

TEST_F(OneOperand, PushOfWordLongAndQuadMovesSpBy2And4And8) {
    for (const Form& form : kForms) {
        for (u32 size = 1; size < 4; ++size) {
            const u32 bytes = 1u << size;
            const PaperImage before = Place(form, 16 + size, 0xA1A2A3A4A5A6A79C, 6);
            PaperImage after = before;
            after.Put(2800 - bytes, 0xA1A2A3A4A5A6A79C, bytes);
            after.Put(160, 2800 - bytes, 4);
            after.Put(136, kBenchCode + form.length, 4);
            ExpectRun(NameOf("PUSH", form, 6), before, {.after = after});
        }
    }
}

TEST_F(OneOperand, PopOfAByteMovesSpBy2AndTakesTheLowByte) {
    for (const Form& form : kForms) {
        PaperImage before = Place(form, 20, 0xA1A2A3A4A5A6A7A8, 7);
        before.Put(2800, 0x8091, 2);
        PaperImage after = before;
        after.Put(form.e, 0x91, 1);
        after.Put(160, 2802, 4);
        after.Put(136, kBenchCode + form.length, 4);
        ExpectRun(NameOf("POP.B", form, 7), before, {.after = after});
    }
}

TEST_F(OneOperand, PopOfWordLongAndQuadMovesSpBy2And4And8) {
    for (const Form& form : kForms) {
        for (u32 size = 1; size < 4; ++size) {
            const u32 bytes = 1u << size;
            PaperImage before = Place(form, 20 + size, 0xA1A2A3A4A5A6A7A8, 0);
            before.Put(2800, 0x8877665544332211, 8);
            PaperImage after = before;
            after.Put(form.e, 0x8877665544332211, bytes);
            after.Put(160, 2800 + bytes, 4);
            after.Put(136, kBenchCode + form.length, 4);
            ExpectRun(NameOf("POP", form, 0), before, {.after = after});
        }
    }
}

TEST_F(OneOperand, PeaPushesTheAddressAsALongAtEverySize) {
    for (const Form& form : kForms) {
        for (u32 operation = 24; operation < 28; ++operation) {
            const PaperImage before = Place(form, operation, 0xA1A2A3A4A5A6A7A8, 3);
            PaperImage after = before;
            after.Put(2796, form.e, 4);
            after.Put(160, 2796, 4);
            after.Put(136, kBenchCode + form.length, 4);
            ExpectRun(NameOf("PEA", form, 3), before, {.after = after});
        }
    }
}

TEST_F(OneOperand, FloatingPointOperationsOfByteOrWordSizeReportAndGoOn) {
    for (const Form& form : kForms) {
        for (const u32 operation : {0u, 1u}) {
            const PaperImage before = Place(form, operation, 0xA1A2A3A4A5A6A7A8, 5);
            PaperImage after = before;
            after.Put(136, kBenchCode + form.length, 4);
            ExpectRun(NameOf("an illegal size", form, 5), before,
                      {.after = after,
                       .messages = {"BYTE/WORD size illegal for FLOAT/DOUBLE at 0x00000200"}});
        }
    }
}

TEST_F(OneOperand, OperationNumbers28To31And72To127AreIllegal) {
    for (u32 operation = 28; operation < 128; ++operation) {
        if (operation >= 32 && operation < 72) {
            continue;
        }
        for (const Form& form : kForms) {
            const PaperImage before = Place(form, operation, 0xA1A2A3A4A5A6A7A8, 5);
            ExpectRun(NameOf("an illegal operation", form, 5), before,
                      {.after = before,
                       .outcome = Outcome::IllegalOpcode,
                       .messages = {"Illegal opcode at 0x00000200\n"
                                    "Terminating program. So terribly sorry."}});
        }
    }
}

TEST_F(OneOperand, TheRegisterNumberIsNotMasked) {
    // PUSH.L of register 16 pushes the PC word at 136, the address of this PUSH.
    PaperImage before = BenchPicture();
    before.PutWords(kBenchCode, {18u << 8 | 212 | 16u << 16});
    PaperImage after = before;
    after.Put(2796, 512, 4);
    after.Put(160, 2796, 4);
    after.Put(136, 516, 4);
    ExpectRun("PUSH.L of register 16", before, {.after = after});

    // NEG.W of register 65: 8 + 8 * 65 = 528, in the code; 532 there becomes 0xFDEC.
    before = BenchPicture();
    before.PutWords(kBenchCode, {5u << 8 | 212 | 65u << 16});
    after = before;
    after.Put(528, 0xFDEC, 2);
    after.Put(136, 516, 4);
    ExpectRun("NEG.W of register 65", before, {.after = after});
}

}  // namespace moxi
