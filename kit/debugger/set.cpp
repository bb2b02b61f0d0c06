#include "kit/debugger/set.h"

#include <bit>
#include <charconv>
#include <cstdlib>
#include <vector>

#include "base/log.h"
#include "kit/debugger/expression.h"
#include "kit/debugger/inspect.h"
#include "kit/module_memory.h"
#include "tools/asm/source.h"

namespace moxi {

namespace {

constexpr u32 kMostFlags = 7;

// Where the values go, and how many bytes may follow.
struct Target {
    u32 address = 0;
    bool memory = false;   // else a register
    bool special = false;  // PC, SP, FP or the flags
};

std::string TakeTarget(std::string_view& text, Target& target) {
    SkipSpaces(text);
    if (text.starts_with('[')) {
        text.remove_prefix(1);
        std::string error = TakeExpression(text, target.address);
        if (!error.empty()) {
            return error;
        }
        if (!text.starts_with(']')) {
            return "a ] is missing";
        }
        text.remove_prefix(1);
        target.memory = true;
        return {};
    }
    const std::string word = TakeWord(text);
    std::optional<u32> place = RegisterOfName(word);
    if (!place) {
        place = SpecialRegisterOfName(word);
        target.special = place.has_value();
    }
    if (!place) {
        return "a register or [ADDRESS] is set, not " + mxasm::Quoted(word);
    }
    target.address = *place;
    return {};
}

std::string_view UpToComma(std::string_view text) {
    // A comma between quotes is a character.
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\'' && i + 2 < text.size() && text[i + 2] == '\'') {
            i += 2;
        }
        if (text[i] == ',') {
            return text.substr(0, i);
        }
    }
    return text;
}

// The value's bits, in the low bytes. A QUAD may be a number of 64 bits or an expression, whose
// sign is extended.
std::string ReadValue(std::string_view text, char size, u64& bits) {
    SkipSpaces(text);
    const std::string copy(text.substr(0, text.find_last_not_of(" \t") + 1));
    if (size == 'f' || size == 'd') {
        char* end = nullptr;
        const double value = std::strtod(copy.c_str(), &end);
        if (copy.empty() || *end != 0) {
            return mxasm::Quoted(copy) + " is no floating-point number";
        }
        bits =
            size == 'd' ? std::bit_cast<u64>(value) : std::bit_cast<u32>(static_cast<float>(value));
        return {};
    }
    if (size == 'q') {
        const bool hex = copy.starts_with("0x") || copy.starts_with("0X");
        const char* const last = copy.data() + copy.size();
        const auto [stop, problem] =
            std::from_chars(copy.data() + (hex ? 2 : 0), last, bits, hex ? 16 : 10);
        if (problem == std::errc() && stop == last) {
            return {};
        }
    }
    u32 value = 0;
    std::string error = Evaluate(copy, value);
    bits = static_cast<u64>(i64{static_cast<i32>(value)});
    if (!error.empty() || (size != 'b' && size != 'w')) {
        return error;
    }
    const i32 limit = size == 'b' ? 256 : 65536;
    const auto number = static_cast<i32>(value);
    if (number >= -limit / 2 && number < limit) {
        return {};
    }
    return mxasm::Quoted(copy) + " does not fit a " + (size == 'b' ? "BYTE" : "WORD");
}

void WriteBits(u32 address, u32 bytes, u64 bits) {
    for (u32 i = 0; i < bytes; ++i) {
        image[address + i] = static_cast<u8>(bits >> (8 * i));
    }
}

std::string CheckTarget(const Target& target, char size, const std::vector<u64>& values) {
    if (!target.memory && values.size() > 1) {
        return "a register takes one value";
    }
    if (target.special && size != 'l') {
        return "PC, SP, FP and FLAGS are set without a size";
    }
    if (target.address == kHeaderFlags && !target.memory && values[0] > kMostFlags) {
        return "the flags are 0 to 7: 1 odd, 2 zero, 4 negative";
    }
    const u64 bytes = u64{BytesOfSize(size)} * values.size();
    if (InImage(target.address, bytes)) {
        return {};
    }
    return FormatText("0x%8.8X is outside the image",
                      target.address < imageSize ? imageSize : target.address);
}

}  // namespace

std::string SetPlace(std::string_view text, char size) {
    if (size == 0) {
        size = 'l';
    }
    Target target;
    std::string error = TakeTarget(text, target);
    if (!error.empty()) {
        return error;
    }
    SkipSpaces(text);
    if (!text.starts_with('=')) {
        return "a = is missing";
    }
    std::vector<u64> values;
    do {
        text.remove_prefix(1);
        const std::string_view item = UpToComma(text);
        u64 bits = 0;
        error = ReadValue(item, size, bits);
        if (!error.empty()) {
            return error;
        }
        values.push_back(bits);
        text.remove_prefix(item.size());
    } while (!text.empty());
    error = CheckTarget(target, size, values);
    if (!error.empty()) {
        return error;
    }
    const bool flags = !target.memory && target.address == kHeaderFlags;
    const u32 bytes = flags ? 1 : BytesOfSize(size);
    for (size_t i = 0; i < values.size(); ++i) {
        WriteBits(target.address + static_cast<u32>(i) * bytes, bytes, values[i]);
    }
    return {};
}

}  // namespace moxi
