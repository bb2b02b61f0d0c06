#include "sys/format.h"

#include <climits>
#include <cstring>

#include "vm/machine.h"

namespace moxi {

namespace {

struct Conversion {
    bool left = false;
    bool plus = false;
    bool space = false;
    bool alternate = false;
    bool zero = false;
    bool hasPrecision = false;
    bool representable = true;  // width and precision fit an int
    u64 width = 0;
    u64 precision = 0;
    std::string_view modifier;
    char type = 0;
    std::size_t length = 0;  // of the conversion in the format, from its "%"
};

// Where the text goes; without a destination it is only counted.
struct Sink {
    std::string* text;
    u64 length = 0;
};

void Put(Sink& sink, std::string_view piece) {
    if (sink.text != nullptr) {
        sink.text->append(piece);
    }
    sink.length += piece.size();
}

void PutRun(Sink& sink, char c, u64 count) {
    if (sink.text != nullptr) {
        sink.text->append(count, c);
    }
    sink.length += count;
}

// Reads digits at `p` and moves it past them.
u64 ParseCount(const char*& p, bool& representable) {
    u64 count = 0;
    for (; *p >= '0' && *p <= '9'; ++p) {
        count = count * 10 + static_cast<u64>(*p - '0');
        if (count > INT_MAX) {
            count = INT_MAX;
            representable = false;
        }
    }
    return count;
}

Conversion ParseConversion(const char* percent) {
    Conversion conversion;
    const char* p = percent + 1;
    for (;; ++p) {
        if (*p == '-') {
            conversion.left = true;
        } else if (*p == '+') {
            conversion.plus = true;
        } else if (*p == ' ') {
            conversion.space = true;
        } else if (*p == '#') {
            conversion.alternate = true;
        } else if (*p == '0') {
            conversion.zero = true;
        } else {
            break;
        }
    }
    conversion.width = ParseCount(p, conversion.representable);
    if (*p == '*') {
        conversion.representable = false;
        ++p;
    }
    if (*p == '.') {
        ++p;
        conversion.hasPrecision = true;
        conversion.precision = ParseCount(p, conversion.representable);
        if (*p == '*') {
            conversion.representable = false;
            ++p;
        }
    }
    const char* const modifier = p;
    if (*p == 'h' || *p == 'l') {
        p += p[1] == *p ? 2 : 1;
    } else if (*p == 'j' || *p == 'z' || *p == 't') {
        ++p;
    }
    conversion.modifier = {modifier, static_cast<std::size_t>(p - modifier)};
    conversion.type = *p;
    if (*p != 0) {
        ++p;
    }
    conversion.length = static_cast<std::size_t>(p - percent);
    return conversion;
}

bool Fits(const Conversion& conversion, FormatValue::Kind kind) {
    if (!conversion.representable || conversion.type == 0) {
        return false;
    }
    if (kind == FormatValue::Kind::Text) {
        return conversion.type == 's' && conversion.modifier.empty();
    }
    if (conversion.type == 'c') {
        return conversion.modifier.empty();
    }
    return std::strchr("diuoxX", conversion.type) != nullptr;
}

// The number as the conversion's argument type holds it, extended to 64 bits.
u64 Widened(const Conversion& conversion, const FormatValue& value, bool isSigned) {
    int bits = 64;
    if (conversion.modifier == "hh") {
        bits = 8;
    } else if (conversion.modifier == "h") {
        bits = 16;
    } else if (conversion.modifier.empty() || value.kind == FormatValue::Kind::Number32) {
        bits = 32;
    }
    const int unused = 64 - bits;
    const u64 top = value.number << unused;
    return isSigned ? static_cast<u64>(static_cast<i64>(top) >> unused) : top >> unused;
}

// `sign` and `body` in a field: a sign or prefix, zeros, digits.
void PutField(Sink& sink, const Conversion& conversion, std::string_view sign, u64 zeros,
              std::string_view body, bool padWithZeros) {
    const u64 used = sign.size() + zeros + body.size();
    const u64 padding = conversion.width > used ? conversion.width - used : 0;
    if (!conversion.left && !padWithZeros) {
        PutRun(sink, ' ', padding);
    }
    Put(sink, sign);
    if (!conversion.left && padWithZeros) {
        PutRun(sink, '0', padding);
    }
    PutRun(sink, '0', zeros);
    Put(sink, body);
    if (conversion.left) {
        PutRun(sink, ' ', padding);
    }
}

void PutNumber(Sink& sink, const Conversion& conversion, const FormatValue& value) {
    const bool isSigned = conversion.type == 'd' || conversion.type == 'i';
    u64 number = Widened(conversion, value, isSigned);
    std::string_view sign;
    if (isSigned) {
        if (static_cast<i64>(number) < 0) {
            sign = "-";
            number = 0 - number;
        } else if (conversion.plus) {
            sign = "+";
        } else if (conversion.space) {
            sign = " ";
        }
    }
    const bool isHex = conversion.type == 'x' || conversion.type == 'X';
    const u64 base = isHex ? 16 : conversion.type == 'o' ? 8 : 10;
    const char* const digitTexts = conversion.type == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
    char digits[24];
    char* const end = digits + sizeof digits;
    char* first = end;
    for (u64 rest = number; rest != 0; rest /= base) {
        *--first = digitTexts[rest % base];
    }
    const u64 count = static_cast<u64>(end - first);
    // Without a precision at least one digit stands.
    const u64 precision = conversion.hasPrecision ? conversion.precision : 1;
    u64 zeros = precision > count ? precision - count : 0;
    if (conversion.alternate) {
        if (conversion.type == 'o' && zeros == 0) {
            zeros = 1;
        }
        if (isHex && number != 0) {
            sign = conversion.type == 'X' ? "0X" : "0x";
        }
    }
    PutField(sink, conversion, sign, zeros, {first, count},
             conversion.zero && !conversion.hasPrecision);
}

// The bytes of the text at a module address, at most `limit`; what lies after them is not touched.
std::string_view TextAt(u32 address, u64 limit) {
    if (limit == 0) {
        return {};
    }
    const u64 room = address < imageSize ? imageSize - address : 0;
    const u64 span = limit < room ? limit : room;
    const void* const end = span == 0 ? nullptr : std::memchr(image + address, 0, span);
    u64 length = span;
    if (end != nullptr) {
        length = static_cast<u64>(static_cast<const u8*>(end) - (image + address));
    } else if (span < limit) {
        MemoryFault();
    }
    return {reinterpret_cast<const char*>(image + address), length};
}

void PutValue(Sink& sink, const Conversion& conversion, const FormatValue& value) {
    if (value.kind == FormatValue::Kind::Text) {
        const u64 limit = conversion.hasPrecision ? conversion.precision : UINT64_MAX;
        const std::string_view text = TextAt(static_cast<u32>(value.number), limit);
        PutField(sink, conversion, {}, 0, text, false);
    } else if (conversion.type == 'c') {
        const char c = static_cast<char>(value.number);
        PutField(sink, conversion, {}, 0, {&c, 1}, false);
    } else {
        PutNumber(sink, conversion, value);
    }
}

void Format(Sink& sink, const char* format, const FormatValue& value) {
    bool taken = false;
    while (*format != 0) {
        const std::size_t plain = std::strcspn(format, "%");
        Put(sink, {format, plain});
        format += plain;
        if (*format == 0) {
            return;
        }
        if (format[1] == '%') {
            Put(sink, "%");
            format += 2;
            continue;
        }
        const Conversion conversion = ParseConversion(format);
        if (!taken && Fits(conversion, value.kind)) {
            taken = true;
            PutValue(sink, conversion, value);
        } else {
            Put(sink, {format, conversion.length});
        }
        format += conversion.length;
    }
}

}  // namespace

u64 FormattedLength(const char* format, const FormatValue& value) {
    Sink sink{nullptr};
    Format(sink, format, value);
    return sink.length;
}

std::string FormatOneValue(const char* format, const FormatValue& value) {
    std::string text;
    Sink sink{&text};
    Format(sink, format, value);
    return text;
}

}  // namespace moxi
