#include "kit/debugger/expression.h"

#include <charconv>

#include "base/log.h"
#include "kit/debugger/names.h"
#include "kit/module_memory.h"
#include "tools/asm/source.h"

namespace moxi {

namespace {

constexpr u32 kMostNesting = 64;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsOfName(char c) {
    return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '@';
}

std::string UpperCase(std::string_view text) {
    std::string upper(text);
    for (char& c : upper) {
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
    }
    return upper;
}

struct Reader {
    std::string_view rest;
    std::string error;
    u32 nesting = 0;

    u32 Fail(const std::string& why) {
        if (error.empty()) {
            error = why;
        }
        return 0;
    }
    bool Take(std::string_view token) {
        SkipSpaces(rest);
        if (!rest.starts_with(token)) {
            return false;
        }
        rest.remove_prefix(token.size());
        return true;
    }
    u32 Number(const std::string& word);
    u32 Name(const std::string& word);
    u32 Character();
    u32 Memory();
    u32 Primary();
    u32 Sum();
    u32 Comparison();
};

u32 Reader::Number(const std::string& word) {
    const std::string upper = UpperCase(word);
    const int base = upper.starts_with("0X") ? 16 : upper.starts_with("0B") ? 2 : 10;
    const char* const first = word.data() + (base == 10 ? 0 : 2);
    const char* const last = word.data() + word.size();
    u32 value = 0;
    const auto [stop, problem] = std::from_chars(first, last, value, base);
    if (problem == std::errc::result_out_of_range) {
        return Fail(mxasm::Quoted(word) + " does not fit a LONG");
    }
    if (problem != std::errc() || stop != last) {
        return Fail(mxasm::Quoted(word) + " is no number");
    }
    return value;
}

u32 Reader::Name(const std::string& word) {
    std::optional<u32> place = RegisterOfName(word);
    if (!place) {
        place = SpecialRegisterOfName(word);
    }
    if (place) {
        return *place == kHeaderFlags ? image[kHeaderFlags] : LoadBytes<u32>(image + *place);
    }
    const std::optional<u32> value = ValueOfName(word);
    return value ? *value : Fail("there is no name " + mxasm::Quoted(word));
}

u32 Reader::Character() {
    if (rest.size() < 2 || rest[1] != '\'') {
        return Fail("a character stands between quotes: 'A'");
    }
    const u32 value = static_cast<u8>(rest[0]);
    rest.remove_prefix(2);
    return value;
}

u32 Reader::Memory() {
    const u32 address = Comparison();
    if (!error.empty()) {
        return 0;
    }
    if (!Take("]")) {
        return Fail("a ] is missing");
    }
    std::optional<u32> value;
    const std::string size = UpperCase(rest.substr(0, 2));
    if (size == ".B") {
        value = Peek<u8>(address);
    } else if (size == ".W") {
        value = Peek<u16>(address);
    } else {
        value = Peek<u32>(address);
    }
    if (size == ".B" || size == ".W" || size == ".L") {
        rest.remove_prefix(2);
    }
    if (!value) {
        return Fail(FormatText("0x%8.8X is outside the image", address));
    }
    return *value;
}

u32 Reader::Primary() {
    if (++nesting > kMostNesting) {
        return Fail("too many brackets");
    }
    u32 value = 0;
    if (Take("-")) {
        value = 0 - Primary();
    } else if (Take("(")) {
        value = Comparison();
        if (!Take(")")) {
            Fail("a ) is missing");
        }
    } else if (Take("[")) {
        value = Memory();
    } else if (Take("'")) {
        value = Character();
    } else {
        const std::string word = TakeWord(rest);
        if (word.empty()) {
            Fail(rest.empty() ? "a value is missing"
                              : "no value begins with " + mxasm::Quoted(rest));
        } else {
            value = IsDigit(word[0]) ? Number(word) : Name(word);
        }
    }
    --nesting;
    return value;
}

u32 Reader::Sum() {
    u32 value = Primary();
    while (error.empty()) {
        if (Take("+")) {
            value += Primary();
        } else if (Take("-")) {
            value -= Primary();
        } else {
            break;
        }
    }
    return value;
}

u32 Reader::Comparison() {
    const u32 left = Sum();
    if (!error.empty()) {
        return 0;
    }
    constexpr const char* kComparisons[] = {"==", "!=", "<=", ">=", "<", ">"};
    for (const std::string_view comparison : kComparisons) {
        if (!Take(comparison)) {
            continue;
        }
        const auto a = static_cast<i32>(left);
        const auto b = static_cast<i32>(Sum());
        const bool equal = a == b;
        if (comparison == "==") {
            return equal ? 1 : 0;
        }
        if (comparison == "!=") {
            return equal ? 0 : 1;
        }
        if (comparison.size() == 2 && equal) {
            return 1;
        }
        return (comparison[0] == '<' ? a < b : a > b) ? 1 : 0;
    }
    return left;
}

}  // namespace

std::string TakeExpression(std::string_view& text, u32& value) {
    Reader reader{.rest = text, .error = {}};
    value = reader.Comparison();
    SkipSpaces(reader.rest);
    text = reader.rest;
    return reader.error;
}

std::string Evaluate(std::string_view text, u32& value) {
    std::string error = TakeExpression(text, value);
    if (error.empty() && !text.empty()) {
        error = mxasm::Quoted(text) + " is left over";
    }
    return error;
}

std::optional<u32> RegisterOfName(std::string_view name) {
    if (name.size() < 2 || name.size() > 3 || (name[0] != 'R' && name[0] != 'r')) {
        return std::nullopt;
    }
    u32 number = 0;
    const char* const last = name.data() + name.size();
    const auto [stop, problem] = std::from_chars(name.data() + 1, last, number);
    const bool plain =
        problem == std::errc() && stop == last && (name[1] != '0' || name.size() == 2);
    if (!plain || number > 15) {
        return std::nullopt;
    }
    return RegisterAddress(number);
}

std::optional<u32> SpecialRegisterOfName(std::string_view name) {
    const std::string upper = UpperCase(name);
    if (upper == "PC") {
        return kHeaderPC;
    }
    if (upper == "SP") {
        return kHeaderSP;
    }
    if (upper == "FP") {
        return kHeaderFP;
    }
    if (upper == "FLAGS") {
        return kHeaderFlags;
    }
    return std::nullopt;
}

std::string TakeWord(std::string_view& text) {
    SkipSpaces(text);
    size_t length = 0;
    while (length < text.size() && IsOfName(text[length])) {
        ++length;
    }
    std::string word(text.substr(0, length));
    text.remove_prefix(length);
    return word;
}

void SkipSpaces(std::string_view& text) {
    while (!text.empty() && (text[0] == ' ' || text[0] == '\t')) {
        text.remove_prefix(1);
    }
}

}  // namespace moxi
