#include "app/option_values.h"

#include <charconv>
#include <filesystem>
#include <string_view>

namespace moxi {

namespace {

// The whole text is a number in decimal digits.
template <class T>
bool ParseNumber(const std::string& text, T& value) {
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end;
}

std::string OutOfRange(const std::string& text, const std::string& range) {
    return "Value " + text + " not in range " + range;
}

bool TwoDigits(const std::string& text, size_t at, u32& value) {
    if (at + 2 > text.size() || text[at] < '0' || text[at] > '9' || text[at + 1] < '0' ||
        text[at + 1] > '9') {
        return false;
    }
    value = static_cast<u32>((text[at] - '0') * 10 + text[at + 1] - '0');
    return true;
}

bool IsDate(const DateTime& date) {
    constexpr u32 kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (date.month < 1 || date.month > 12 || date.hour > 23 || date.minute > 59 ||
        date.second > 59) {
        return false;
    }
    const bool leap = date.year % 4 == 0 && (date.year % 100 != 0 || date.year % 400 == 0);
    const u32 days = kDays[date.month - 1] + (date.month == 2 && leap ? 1 : 0);
    return date.day >= 1 && date.day <= days;
}

}  // namespace

std::string CheckFilled(const std::string& text) {
    return text.empty() ? "the value is empty" : "";
}

std::string CheckMilliseconds(const std::string& text) {
    constexpr u64 kMost = u64{1} << 40;
    u64 value = 0;
    const bool isOne = ParseNumber(text, value) && value <= kMost;
    return isOne ? "" : OutOfRange(text, "0 to " + std::to_string(kMost));
}

std::string CheckVolume(const std::string& text) {
    u32 value = 0;
    return ParseNumber(text, value) && value <= 100 ? "" : OutOfRange(text, "0 to 100");
}

std::string CheckScale(const std::string& text) {
    constexpr u32 kMost = 16;
    u32 value = 0;
    const bool isSteps = ParseNumber(text, value) && value >= 1 && value <= kMost;
    return isSteps || text == "fit" ? "" : "Value " + text + " is neither 1 to 16 nor fit";
}

u64 NumberOf(const std::string& text) {
    u64 value = 0;
    return ParseNumber(text, value) ? value : 0;
}

bool ParseDate(const std::string& text, DateTime& date) {
    u32 century = 0;
    u32 year = 0;
    const bool shape = text.size() == 19 && text[4] == '-' && text[7] == '-' && text[10] == ' ' &&
                       text[13] == ':' && text[16] == ':' && TwoDigits(text, 0, century) &&
                       TwoDigits(text, 2, year) && TwoDigits(text, 5, date.month) &&
                       TwoDigits(text, 8, date.day) && TwoDigits(text, 11, date.hour) &&
                       TwoDigits(text, 14, date.minute) && TwoDigits(text, 17, date.second);
    date.year = century * 100 + year;
    return shape && IsDate(date);
}

bool ParseSize(const std::string& text, u64& bytes) {
    constexpr std::string_view kUnits = "KMGT";
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, bytes);
    if (error != std::errc()) {
        return false;
    }
    if (stop == end) {
        return true;
    }
    const std::size_t unit = kUnits.find(static_cast<char>(*stop & ~0x20));
    if (unit == std::string_view::npos || stop + 1 != end) {
        return false;
    }
    const u32 shift = 10 * (static_cast<u32>(unit) + 1);
    if (bytes > ~u64{0} >> shift) {
        return false;
    }
    bytes <<= shift;
    return true;
}

std::string AbsolutePath(const std::string& path) {
    std::error_code error;
    if (path.empty()) {
        return path;
    }
    std::string absolute = std::filesystem::absolute(path, error).lexically_normal().string();
    if (absolute.size() > 1 && absolute.back() == '/') {
        absolute.pop_back();
    }
    return absolute;
}

}  // namespace moxi
