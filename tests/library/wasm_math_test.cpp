// The routines of wasm_math.inc against the processor's own arithmetic: all pairs of corner values
// and random operands of many kinds, 100,000 to a routine.

#include <gtest/gtest.h>

#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <random>

#include "bench/mx_kernel.h"
#include "tests/support/headless_run.h"
#include "tests/support/vm_fixture.h"

namespace moxi {

namespace {

constexpr u32 kRoom = 4096;  // operands in one message

float FloatOf(u64 bits) {
    return std::bit_cast<float>(static_cast<u32>(bits));
}
double DoubleOf(u64 bits) {
    return std::bit_cast<double>(bits);
}
u64 BitsOf(float value) {
    return std::bit_cast<u32>(value);
}
u64 BitsOf(double value) {
    return std::bit_cast<u64>(value);
}

// --- Operands

enum class Kind : u8 { I32, I64, F32, F64 };

std::vector<u64> Corners(Kind kind) {
    switch (kind) {
        case Kind::I32:
            return {0,          1,          2,          3,          7,          8,         31,
                    32,         33,         0x55555555, 0x7FFFFFFE, 0x7FFFFFFF, 65535,     65536,
                    0x80000000, 0x80000001, 0xAAAAAAAA, 0xFFFF0000, 0xFFFFFFFE, 0xFFFFFFFF};
        case Kind::I64:
            return {0,
                    1,
                    2,
                    31,
                    32,
                    63,
                    64,
                    0x7FFFFFFF,
                    0x80000000,
                    0xFFFFFFFF,
                    0x100000000,
                    0x5555555555555555,
                    0x7FFFFFFFFFFFFFFE,
                    0x7FFFFFFFFFFFFFFF,
                    0x8000000000000000,
                    0x8000000000000001,
                    0xAAAAAAAAAAAAAAAA,
                    0xFFFFFFFF00000000,
                    0xFFFFFFFFFFFFFFFE,
                    0xFFFFFFFFFFFFFFFF};
        case Kind::F32: {
            std::vector<u64> values = {0x7FC00000, 0x7F800001, 0x7FA00000, 0x7FFFFFFF};
            for (const float value : {0.0F,
                                      1e-45F,
                                      1.1754942e-38F,
                                      1.1754944e-38F,
                                      0.25F,
                                      0.49999997F,
                                      0.5F,
                                      0.75F,
                                      0.99999994F,
                                      1.0F,
                                      1.5F,
                                      2.0F,
                                      2.5F,
                                      3.4028235e38F,
                                      8388607.5F,
                                      8388608.0F,
                                      8388609.0F,
                                      16777216.0F,
                                      2147483520.0F,
                                      2147483648.0F,
                                      4294967040.0F,
                                      4294967296.0F,
                                      9223371487098961920.0F,
                                      9223372036854775808.0F,
                                      18446742974197923840.0F,
                                      18446744073709551616.0F,
                                      HUGE_VALF}) {
                values.push_back(BitsOf(value));
            }
            for (size_t i = values.size(); i-- > 0;) {
                values.push_back(values[i] | 0x80000000);
            }
            return values;
        }
        case Kind::F64: {
            std::vector<u64> values = {0x7FF8000000000000, 0x7FF0000000000001, 0x7FF4000000000000,
                                       0x7FFFFFFFFFFFFFFF, 0x7FF8000020000000};
            for (const double value : {0.0,
                                       4.9406564584124654e-324,
                                       2.2250738585072009e-308,
                                       2.2250738585072014e-308,
                                       7.006492321624085e-46,
                                       7.006492321624087e-46,
                                       1.4012984643248171e-45,
                                       1.1754942807573643e-38,
                                       1.1754943157898258e-38,
                                       1.1754943508222875e-38,
                                       0.25,
                                       0.49999999999999994,
                                       0.5,
                                       0.99999999999999989,
                                       1.0,
                                       1.0000000596046448,
                                       1.0000001788139343,
                                       1.5,
                                       2.5,
                                       3.0,
                                       2147483647.0,
                                       2147483647.9999998,
                                       2147483648.0,
                                       2147483648.9999995,
                                       4294967295.0,
                                       4294967295.9999995,
                                       4294967296.0,
                                       4503599627370495.5,
                                       4503599627370496.0,
                                       9007199254740993.0,
                                       9223372036854774784.0,
                                       9223372036854775808.0,
                                       18446744073709549568.0,
                                       18446744073709551616.0,
                                       3.4028234663852886e38,
                                       3.4028235677973362e38,
                                       3.4028235677973366e38,
                                       8.98846567431158e307,
                                       1.7976931348623157e308,
                                       HUGE_VAL}) {
                values.push_back(BitsOf(value));
            }
            for (size_t i = values.size(); i-- > 0;) {
                values.push_back(values[i] | (u64{1} << 63));
            }
            return values;
        }
    }
    return {};
}

// Any bits, numbers near 1, whole numbers and halves, few bits, neighbours of the other operand.
u64 RandomOperand(Kind kind, std::mt19937_64& random, u64 other) {
    const u64 any = random();
    switch (random() % 8) {
        case 0: return kind == Kind::F32 || kind == Kind::I32 ? any & 0xFFFFFFFF : any;
        case 1: {
            const auto corners = Corners(kind);
            return corners[any % corners.size()];
        }
        case 2: {  // a neighbour, also one of the other sign
            u64 value = other + (any % 5) - 2;
            if (kind == Kind::F32) {
                value ^= (any >> 40 & 1) << 31;
            }
            if (kind == Kind::F64) {
                value ^= (any >> 40 & 1) << 63;
            }
            return kind == Kind::F32 || kind == Kind::I32 ? value & 0xFFFFFFFF : value;
        }
        case 3: {  // whole numbers and halves of any size
            const double whole = static_cast<double>(static_cast<i64>(any) >> (random() % 64)) / 2;
            if (kind == Kind::F32) {
                return BitsOf(static_cast<float>(whole));
            }
            if (kind == Kind::F64) {
                return BitsOf(whole);
            }
            return kind == Kind::I32 ? any & 0xFFFFFFFF & (any >> 32) : any & random();
        }
        case 4: {  // halfway between two FLOATs, or a bit beside
            if (kind == Kind::F64) {
                return (any & 0xFFFFFFFFE0000000) + (u64{1} << 28) + (any % 3) - 1;
            }
            return kind == Kind::I64 ? any >> (any & 63) : (any & 0xFFFFFFFF) >> (any >> 32 & 31);
        }
        case 5: {  // about the range of FLOAT
            if (kind == Kind::F64) {
                const double scale = std::ldexp(1.0, static_cast<int>(random() % 300) - 150);
                return BitsOf((static_cast<double>(any >> 11) / 9007199254740992.0 - 0.5) * scale);
            }
            return kind == Kind::I64 ? u64{1} << (any & 63) : u64{1} << (any & 31);
        }
        default: {
            const double near = static_cast<double>(static_cast<i64>(any)) / 1e17;
            if (kind == Kind::F32) {
                return BitsOf(static_cast<float>(near));
            }
            if (kind == Kind::F64) {
                return BitsOf(near);
            }
            return kind == Kind::I32 ? any & 0xFFFFFFFF : any;
        }
    }
}

// --- The routines in the machine

struct Routine {
    std::string name;
    Kind operands;
    int count;
    Kind result;
    bool withStatus;
    std::function<u64(u64, u64)> wanted;
    std::function<u32(u64)> wantedStatus;
};

// For each routine a loop that calls it for the rows of `first` and `second`.
std::string ModuleSource(const std::vector<Routine>& routines) {
    std::string source = "        .stack 16384\n        .heap 4096\n";
    std::string table = "        .data\n        .align 4\ntable:\n";
    std::string drivers;
    for (const Routine& routine : routines) {
        source += "NEED_" + routine.name + " = 1\n";
        table += "        .long drive_" + routine.name + "\n";
        drivers += "drive_" + routine.name +
                   ":\n"
                   "        MOVE.Q R0, [R13+first]\n"
                   "        MOVE.Q R1, [R13+second]\n"
                   "        CALL " +
                   routine.name +
                   "\n"
                   "        MOVE.Q [R13+results], R0\n"
                   "        MOVE.Q [R13+status], R1\n"
                   "        ADD.L R13, #8\n"
                   "        SUB.L R12, #1\n"
                   "        BNE drive_" +
                   routine.name +
                   "\n"
                   "        RETURN 8\n";
    }
    return source +
           "start:  LINK 0, 8\n"
           "        MOVE.L R12, [FP+16]\n"
           "        MOVE.L R14, [FP+12]\n"
           "        LSL.L R14, #2\n"
           "        MOVE.Q R13, #0\n"
           "        JMP [R14+table]\n" +
           drivers + table +
           "        .code\n"
           "        .include \"moxi/wasm_math.inc\"\n"
           "        .bss\n        .align 8\n"
           "first:  .space 32768\nsecond: .space 32768\nresults: .space 32768\nstatus: .space "
           "32768\n";
}

bool IsNan(Kind kind, u64 bits) {
    return kind == Kind::F32   ? std::isnan(FloatOf(bits)) && bits >> 32 == 0
           : kind == Kind::F64 ? std::isnan(DoubleOf(bits))
                               : false;
}

bool IsQuietNan(Kind kind, u64 bits) {
    return IsNan(kind, bits) && (bits & (kind == Kind::F32 ? 0x400000 : u64{1} << 51)) != 0;
}

struct WasmMathTest : VmTest {
    AssembleResult assembled;
    std::vector<Routine> routines;
    std::mt19937_64 random{20260901};

    void Load(std::vector<Routine> wanted) {
        routines = std::move(wanted);
        assembled = Assemble(ModuleSource(routines), "math.mxs", LibraryOptions());
        ASSERT_TRUE(assembled.ok) << FormatErrors(assembled);
        ASSERT_TRUE(mx_kernel::LoadModuleFile(assembled.bytes));
    }

    // Up to kRoom rows.
    void Check(u32 index, const std::vector<std::pair<u64, u64>>& rows) {
        const Routine& routine = routines[index];
        const u32 first = SymbolValue(assembled, "first");
        const u32 second = SymbolValue(assembled, "second");
        const u32 results = SymbolValue(assembled, "results");
        const u32 status = SymbolValue(assembled, "status");
        for (u32 i = 0; i < rows.size(); ++i) {
            Store<u64>(first + i * 8, rows[i].first);
            Store<u64>(second + i * 8, rows[i].second);
        }
        for (u32 r = 6; r < 12; ++r) {
            Store<u64>(RegisterAddress(r), r * u64{0x1111111111111111});
        }
        MXmsg(index, static_cast<u32>(rows.size()), 0, 0);
        for (u32 r = 6; r < 12; ++r) {
            ASSERT_EQ(moxi::Load<u64>(RegisterAddress(r)), r * u64{0x1111111111111111})
                << routine.name;
        }
        for (u32 i = 0; i < rows.size(); ++i) {
            const auto [a, b] = rows[i];
            const u64 got = moxi::Load<u64>(results + i * 8);
            const u64 wanted = routine.wanted(a, b);
            const u32 wantedStatus = routine.withStatus ? routine.wantedStatus(a) : 0;
            const bool same =
                IsNan(routine.result, wanted) ? IsQuietNan(routine.result, got) : got == wanted;
            const bool useless = wantedStatus != 0 && routine.name.find("sat") == std::string::npos;
            ASSERT_TRUE(same || useless) << routine.name << std::hex << " of 0x" << a << " and 0x"
                                         << b << " is 0x" << got << ", not 0x" << wanted;
            if (routine.withStatus) {
                ASSERT_EQ(moxi::Load<u64>(status + i * 8), wantedStatus)
                    << routine.name << std::hex << " of 0x" << a;
            }
        }
    }

    void CheckRows(u32 index, const std::vector<std::pair<u64, u64>>& rows) {
        for (size_t at = 0; at < rows.size(); at += kRoom) {
            const size_t end = std::min(rows.size(), at + kRoom);
            Check(index, {rows.begin() + static_cast<std::ptrdiff_t>(at),
                          rows.begin() + static_cast<std::ptrdiff_t>(end)});
            if (HasFatalFailure()) {
                return;
            }
        }
    }

    void CheckAll() {
        const char* wish = std::getenv("MOXI_RANDOM_OPERANDS");
        const u64 count = wish != nullptr ? std::strtoull(wish, nullptr, 10) : 100000;
        for (u32 index = 0; index < routines.size(); ++index) {
            const Routine& routine = routines[index];
            const std::vector<u64> corners = Corners(routine.operands);
            std::vector<std::pair<u64, u64>> rows;
            for (const u64 a : corners) {
                for (const u64 b : corners) {
                    if (routine.count == 2 || b == corners[0]) {
                        rows.emplace_back(a, b);
                    }
                }
            }
            CheckRows(index, rows);
            for (u64 done = 0; done < count && !HasFatalFailure(); done += kRoom) {
                rows.clear();
                for (u64 i = 0; i < std::min<u64>(kRoom, count - done); ++i) {
                    const u64 a = RandomOperand(routine.operands, random, random());
                    rows.emplace_back(a, RandomOperand(routine.operands, random, a));
                }
                CheckRows(index, rows);
            }
        }
    }
};

// --- What the processor says

template <class F>
Routine Unary(const std::string& name, F (*function)(F)) {
    constexpr Kind kKind = sizeof(F) == 4 ? Kind::F32 : Kind::F64;
    return {name,
            kKind,
            1,
            kKind,
            false,
            [function](u64 a, u64) {
                if constexpr (sizeof(F) == 4) {
                    return BitsOf(function(FloatOf(a)));
                } else {
                    return BitsOf(function(DoubleOf(a)));
                }
            },
            nullptr};
}

template <class F>
Routine Binary(const std::string& name, F (*function)(F, F)) {
    constexpr Kind kKind = sizeof(F) == 4 ? Kind::F32 : Kind::F64;
    return {name,
            kKind,
            2,
            kKind,
            false,
            [function](u64 a, u64 b) {
                if constexpr (sizeof(F) == 4) {
                    return BitsOf(function(FloatOf(a), FloatOf(b)));
                } else {
                    return BitsOf(function(DoubleOf(a), DoubleOf(b)));
                }
            },
            nullptr};
}

template <class F>
Routine Comparison(const std::string& name, bool (*function)(F, F)) {
    constexpr Kind kKind = sizeof(F) == 4 ? Kind::F32 : Kind::F64;
    return {name,
            kKind,
            2,
            Kind::I32,
            false,
            [function](u64 a, u64 b) -> u64 {
                if constexpr (sizeof(F) == 4) {
                    return function(FloatOf(a), FloatOf(b)) ? 1 : 0;
                } else {
                    return function(DoubleOf(a), DoubleOf(b)) ? 1 : 0;
                }
            },
            nullptr};
}

template <class F>
F Smaller(F a, F b) {
    if (std::isnan(a) || std::isnan(b)) {
        return std::numeric_limits<F>::quiet_NaN();
    }
    if (a == b) {
        return std::signbit(a) ? a : b;
    }
    return a < b ? a : b;
}

template <class F>
F Larger(F a, F b) {
    if (std::isnan(a) || std::isnan(b)) {
        return std::numeric_limits<F>::quiet_NaN();
    }
    if (a == b) {
        return std::signbit(a) ? b : a;
    }
    return a > b ? a : b;
}

// The conversion of F to Integer, and what R1 says of it. `long double` holds all of them exactly.
template <class F, class Integer>
Routine Conversion(const std::string& name) {
    constexpr Kind kKind = sizeof(F) == 4 ? Kind::F32 : Kind::F64;
    const auto whole = [](u64 bits) {
        if constexpr (sizeof(F) == 4) {
            return std::trunc(static_cast<long double>(FloatOf(bits)));
        } else {
            return std::trunc(static_cast<long double>(DoubleOf(bits)));
        }
    };
    constexpr auto kLowest = std::numeric_limits<Integer>::min();
    constexpr auto kHighest = std::numeric_limits<Integer>::max();
    const auto status = [whole](u64 bits) -> u32 {
        const long double value = whole(bits);
        if (std::isnan(value)) {
            return 2;
        }
        return value < static_cast<long double>(kLowest) ||
                       value > static_cast<long double>(kHighest)
                   ? 1
                   : 0;
    };
    const auto wanted = [whole, status](u64 bits, u64) -> u64 {
        const long double value = whole(bits);
        Integer result = 0;
        switch (status(bits)) {
            case 0: result = static_cast<Integer>(value); break;
            case 1: result = value < 0 ? kLowest : kHighest; break;
            default: break;
        }
        return static_cast<std::make_unsigned_t<Integer>>(result);
    };
    constexpr Kind kResult = sizeof(Integer) == 4 ? Kind::I32 : Kind::I64;
    return {name, kKind, 1, kResult, true, wanted, status};
}

Routine OfInteger(const std::string& name, Kind kind, int count, u64 (*function)(u64, u64)) {
    return {name, kind, count, kind, false, function, nullptr};
}

// --- The tests

TEST_F(WasmMathTest, SquareRootsAreTheProcessors) {
    Load({Unary<float>("f32_sqrt", [](float x) { return std::sqrt(x); }),
          Unary<double>("f64_sqrt", [](double x) { return std::sqrt(x); })});
    CheckAll();
}

TEST_F(WasmMathTest, EveryFourHundredthFloatHasItsRoot) {
    Load({Unary<float>("f32_sqrt", [](float x) { return std::sqrt(x); })});
    const char* all = std::getenv("MOXI_ALL_FLOATS");
    std::vector<std::pair<u64, u64>> rows;
    for (u64 bits = 0; bits < 0x7F800000 && !HasFatalFailure(); bits += all != nullptr ? 1 : 397) {
        rows.emplace_back(bits, 0);
        if (rows.size() == kRoom) {
            CheckRows(0, rows);
            rows.clear();
        }
    }
}

// Numbers whose roots lie as close to the middle between two DOUBLEs as roots can: (2Y + 1)^2 = c
// modulo 2^54 for a small c, so that ((2Y + 1)^2 - c) / 4 is a number of 53 bits with zeros behind.
TEST_F(WasmMathTest, RootsNearTheMiddleOfTwoDoublesAreRoundedRight) {
    Load({Unary<double>("f64_sqrt", [](double x) { return std::sqrt(x); })});
    std::vector<std::pair<u64, u64>> rows;
    for (i64 c = -8 * 400 + 1; c < 8 * 400; c += 8) {
        for (const int bits : {54, 55}) {
            // Lifts a root of c from 3 bits on, one bit at a time.
            u64 root = 1;
            for (int bit = 3; bit <= bits; ++bit) {
                if (((root * root - static_cast<u64>(c)) & ((u64{1} << bit) - 1)) != 0) {
                    root += u64{1} << (bit - 2);
                }
            }
            for (const u64 z : {root, (u64{1} << bits) - root, root + (u64{1} << (bits - 1)),
                                (u64{1} << (bits - 1)) - root}) {
                const u64 odd = z & ((u64{1} << 54) - 1);
                if (odd < (u64{1} << 53)) {
                    continue;
                }
                __extension__ using Wide = unsigned __int128;
                Wide square = static_cast<Wide>(odd) * odd - static_cast<Wide>(static_cast<i64>(c));
                int exponent = 0;
                while (square != 0 && (square & 1) == 0) {
                    square >>= 1;
                    ++exponent;
                }
                if (square >> 53 != 0) {
                    continue;
                }
                const double x =
                    std::ldexp(static_cast<double>(static_cast<u64>(square)), exponent - 2);
                for (const int scale : {0, -104, 700, -1120}) {
                    rows.emplace_back(BitsOf(std::ldexp(x, scale)), 0);
                }
            }
        }
    }
    EXPECT_GT(rows.size(), 2000u);
    CheckRows(0, rows);
}

TEST_F(WasmMathTest, RoundingToWholeNumbersIsTheProcessors) {
    ASSERT_EQ(std::fegetround(), FE_TONEAREST);
    Load({Unary<float>("f32_ceil", [](float x) { return std::ceil(x); }),
          Unary<float>("f32_floor", [](float x) { return std::floor(x); }),
          Unary<float>("f32_trunc", [](float x) { return std::trunc(x); }),
          Unary<float>("f32_nearest", [](float x) { return std::nearbyint(x); }),
          Unary<double>("f64_ceil", [](double x) { return std::ceil(x); }),
          Unary<double>("f64_floor", [](double x) { return std::floor(x); }),
          Unary<double>("f64_trunc", [](double x) { return std::trunc(x); }),
          Unary<double>("f64_nearest", [](double x) { return std::nearbyint(x); })});
    CheckAll();
}

TEST_F(WasmMathTest, DoublesBecomeTheNearestFloats) {
    Load({{"f32_demote", Kind::F64, 1, Kind::F32, false,
           [](u64 a, u64) { return BitsOf(static_cast<float>(DoubleOf(a))); }, nullptr}});
    CheckAll();
}

TEST_F(WasmMathTest, SmallerAndLargerTellTheZerosApartAndKeepWhatIsNoNumber) {
    Load({Binary<float>("f32_min", Smaller<float>), Binary<float>("f32_max", Larger<float>),
          Binary<double>("f64_min", Smaller<double>), Binary<double>("f64_max", Larger<double>)});
    CheckAll();
}

TEST_F(WasmMathTest, ComparisonsAreFalseForWhatIsNoNumber) {
    Load({Comparison<float>("f32_lt", [](float a, float b) { return a < b; }),
          Comparison<float>("f32_le", [](float a, float b) { return a <= b; }),
          Comparison<float>("f32_eq", [](float a, float b) { return a == b; }),
          Comparison<double>("f64_lt", [](double a, double b) { return a < b; }),
          Comparison<double>("f64_le", [](double a, double b) { return a <= b; }),
          Comparison<double>("f64_eq", [](double a, double b) { return a == b; })});
    CheckAll();
}

TEST_F(WasmMathTest, ConversionsTellWhatDoesNotFit) {
    Load({Conversion<float, i32>("i32_trunc_s_f32"), Conversion<float, u32>("i32_trunc_u_f32"),
          Conversion<double, i32>("i32_trunc_s_f64"), Conversion<double, u32>("i32_trunc_u_f64"),
          Conversion<float, i64>("i64_trunc_s_f32"), Conversion<float, u64>("i64_trunc_u_f32"),
          Conversion<double, i64>("i64_trunc_s_f64"), Conversion<double, u64>("i64_trunc_u_f64")});
    CheckAll();
}

TEST_F(WasmMathTest, SaturatingConversionsGiveTheNearestThatFits) {
    Load({Conversion<float, i32>("i32_trunc_sat_s_f32"),
          Conversion<float, u32>("i32_trunc_sat_u_f32"),
          Conversion<double, i32>("i32_trunc_sat_s_f64"),
          Conversion<double, u32>("i32_trunc_sat_u_f64"),
          Conversion<float, i64>("i64_trunc_sat_s_f32"),
          Conversion<float, u64>("i64_trunc_sat_u_f32"),
          Conversion<double, i64>("i64_trunc_sat_s_f64"),
          Conversion<double, u64>("i64_trunc_sat_u_f64")});
    CheckAll();
}

TEST_F(WasmMathTest, BitsAreCountedAsTheProcessorDoes) {
    Load({OfInteger("i32_clz", Kind::I32, 1,
                    [](u64 a, u64) { return u64(std::countl_zero(static_cast<u32>(a))); }),
          OfInteger("i32_ctz", Kind::I32, 1,
                    [](u64 a, u64) { return u64(std::countr_zero(static_cast<u32>(a))); }),
          OfInteger("i32_popcnt", Kind::I32, 1,
                    [](u64 a, u64) { return u64(std::popcount(static_cast<u32>(a))); }),
          OfInteger("i64_clz", Kind::I64, 1, [](u64 a, u64) { return u64(std::countl_zero(a)); }),
          OfInteger("i64_ctz", Kind::I64, 1, [](u64 a, u64) { return u64(std::countr_zero(a)); }),
          OfInteger("i64_popcnt", Kind::I64, 1, [](u64 a, u64) { return u64(std::popcount(a)); })});
    CheckAll();
}

TEST_F(WasmMathTest, HighProductsAreThoseOf128Bits) {
    __extension__ using Wide = unsigned __int128;
    __extension__ using Signed = __int128;
    Load({OfInteger("i64_mulhi_u", Kind::I64, 2,
                    [](u64 a, u64 b) { return u64((static_cast<Wide>(a) * b) >> 64); }),
          OfInteger("i64_mulhi_s", Kind::I64, 2, [](u64 a, u64 b) {
              return u64((static_cast<Signed>(static_cast<i64>(a)) * static_cast<i64>(b)) >> 64);
          })});
    CheckAll();
}

}  // namespace

}  // namespace moxi
