#include "tests/wasm/operators.h"

#include <sstream>

namespace moxi {

namespace {

// Runs of operators with bytes one after the other: first byte, type in the name, operands and
// result, names.
constexpr const char* kRuns[] = {
    "45 i32 i>i eqz",
    "46 i32 ii>i eq ne lt_s lt_u gt_s gt_u le_s le_u ge_s ge_u",
    "50 i64 I>i eqz",
    "51 i64 II>i eq ne lt_s lt_u gt_s gt_u le_s le_u ge_s ge_u",
    "5b f32 ff>i eq ne lt gt le ge",
    "61 f64 FF>i eq ne lt gt le ge",
    "67 i32 i>i clz ctz popcnt",
    "6a i32 ii>i add sub mul div_s div_u rem_s rem_u and or xor shl shr_s shr_u rotl rotr",
    "79 i64 I>I clz ctz popcnt",
    "7c i64 II>I add sub mul div_s div_u rem_s rem_u and or xor shl shr_s shr_u rotl rotr",
    "8b f32 f>f abs neg ceil floor trunc nearest sqrt",
    "92 f32 ff>f add sub mul div min max copysign",
    "99 f64 F>F abs neg ceil floor trunc nearest sqrt",
    "a0 f64 FF>F add sub mul div min max copysign",
    "a7 i32 I>i wrap_i64",
    "a8 i32 f>i trunc_f32_s trunc_f32_u",
    "aa i32 F>i trunc_f64_s trunc_f64_u",
    "ac i64 i>I extend_i32_s extend_i32_u",
    "ae i64 f>I trunc_f32_s trunc_f32_u",
    "b0 i64 F>I trunc_f64_s trunc_f64_u",
    "b2 f32 i>f convert_i32_s convert_i32_u",
    "b4 f32 I>f convert_i64_s convert_i64_u",
    "b6 f32 F>f demote_f64",
    "b7 f64 i>F convert_i32_s convert_i32_u",
    "b9 f64 I>F convert_i64_s convert_i64_u",
    "bb f64 f>F promote_f32",
    "bc i32 f>i reinterpret_f32",
    "bd i64 F>I reinterpret_f64",
    "be f32 i>f reinterpret_i32",
    "bf f64 I>F reinterpret_i64",
    "c0 i32 i>i extend8_s extend16_s",
    "c2 i64 I>I extend8_s extend16_s extend32_s",
    "fc00 i32 f>i trunc_sat_f32_s trunc_sat_f32_u",
    "fc02 i32 F>i trunc_sat_f64_s trunc_sat_f64_u",
    "fc04 i64 f>I trunc_sat_f32_s trunc_sat_f32_u",
    "fc06 i64 F>I trunc_sat_f64_s trunc_sat_f64_u",
};

std::vector<NumericOperator> ReadRuns() {
    std::vector<NumericOperator> all;
    for (const char* const run : kRuns) {
        std::istringstream words(run);
        std::string first;
        std::string type;
        std::string signature;
        words >> first >> type >> signature;
        u32 number = static_cast<u32>(std::stoul(first, nullptr, 16));
        for (std::string name; words >> name; ++number) {
            std::vector<u8> bytes;
            if (number > 0xFF) {
                bytes.push_back(static_cast<u8>(number >> 8));
            }
            bytes.push_back(static_cast<u8>(number));
            const size_t arrow = signature.find('>');
            all.push_back(
                {type + "." + name, bytes, signature.substr(0, arrow), signature[arrow + 1]});
        }
    }
    return all;
}

}  // namespace

const std::vector<NumericOperator>& NumericOperators() {
    static const std::vector<NumericOperator> all = ReadRuns();
    return all;
}

const std::vector<u64>& Corners(char type) {
    static const std::vector<u64> longs = {
        0,          1,          2,          3,          7,          31,         32,
        33,         127,        128,        0xFFFF,     0x8000,     0x12345678, 0x7FFFFFFF,
        0x80000000, 0x80000001, 0xFFFF0000, 0xFFFFFFE0, 0xFFFFFFFE, 0xFFFFFFFF};
    static const std::vector<u64> quads = {0,
                                           1,
                                           2,
                                           7,
                                           32,
                                           63,
                                           64,
                                           65,
                                           0x7FFFFFFF,
                                           0x80000000,
                                           0xFFFFFFFF,
                                           0x100000000,
                                           0x123456789ABCDEF0,
                                           0x7FFFFFFFFFFFFFFF,
                                           0x8000000000000000,
                                           0x8000000000000001,
                                           0xFFFFFFFF80000000,
                                           0xFFFFFFFFFFFFFFC0,
                                           0xFFFFFFFFFFFFFFFE,
                                           0xFFFFFFFFFFFFFFFF};
    // 0, subnormal, 1, halves, limits of the integers, the largest, infinite, quiet and signalling.
    static const std::vector<u64> floats = {
        0x00000000, 0x80000000, 0x00000001, 0x807FFFFF, 0x00800000, 0x3F800000, 0xBF7FFFFF,
        0x3F000000, 0xC0200000, 0x40600000, 0x4B000001, 0x4F000000, 0xCF000000, 0x5F000000,
        0x4F7FFFFF, 0x7F7FFFFF, 0x7F800000, 0xFF800000, 0x7FC00000, 0xFFA00001};
    static const std::vector<u64> doubles = {
        0x0000000000000000, 0x8000000000000000, 0x0000000000000001, 0x800FFFFFFFFFFFFF,
        0x36A0000000000000, 0x3810000000000000, 0x3FF0000000000000, 0xBFEFFFFFFFFFFFFF,
        0x3FE0000000000000, 0xC004000000000000, 0x3FF0000010000000, 0x41DFFFFFFFFFFFFF,
        0xC1E0000000100000, 0x43E0000000000000, 0x43EFFFFFFFFFFFFF, 0x47EFFFFFF0000000,
        0x7FEFFFFFFFFFFFFF, 0xFFF0000000000000, 0x7FF8000000000000, 0xFFF4000000000001};
    return type == 'i' ? longs : type == 'I' ? quads : type == 'f' ? floats : doubles;
}

}  // namespace moxi
