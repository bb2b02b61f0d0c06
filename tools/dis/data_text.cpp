#include "tools/dis/data_text.h"

#include <algorithm>
#include <cstdio>

#include "base/bytes.h"

namespace moxi {

namespace {

constexpr size_t kLeastText = 4;   // shorter texts are more likely numbers
constexpr size_t kMostText = 64;   // characters in one directive
constexpr size_t kLeastRoom = 16;  // bytes of one value that become .space

bool IsTextByte(u8 c) {
    return (c >= 32 && c < 127) || c == '\n' || c == '\r' || c == '\t';
}

void AppendEscaped(std::string& out, u8 c) {
    switch (c) {
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        case '\\': out += "\\\\"; break;
        case '"': out += "\\\""; break;
        default: out += static_cast<char>(c);
    }
}

std::string Number(const char* format, u32 value) {
    char text[16];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

// The directive for a text that ends with a NUL, or for a piece of a long one; its length is 0 when
// the bytes do not begin with a text.
DataItem DescribeText(std::span<const u8> bytes) {
    size_t length = 0;
    while (length < bytes.size() && length < kMostText && IsTextByte(bytes[length])) {
        ++length;
    }
    const bool endsHere = length < bytes.size() && bytes[length] == 0;
    if (length < kLeastText || (length < kMostText && !endsHere)) {
        return {};
    }
    DataItem item;
    item.text = endsHere ? ".asciz   \"" : ".ascii   \"";
    for (size_t i = 0; i < length; ++i) {
        AppendEscaped(item.text, bytes[i]);
    }
    item.text += '"';
    item.length = static_cast<u32>(endsHere ? length + 1 : length);
    return item;
}

DataItem DescribeWords(std::span<const u8> bytes, u32 wordsPerLine) {
    DataItem item;
    item.text = ".long   ";
    const size_t count = std::min<size_t>(wordsPerLine, bytes.size() / 4);
    for (size_t i = 0; i < count; ++i) {
        // A text or a room that starts within the words gets a line of its own.
        const std::span<const u8> rest = bytes.subspan(i * 4);
        if (i > 0 && DescribeText(rest).length > 0) {
            break;
        }
        if (i > 0) {
            item.text += ',';
        }
        item.text += Number(" 0x%08X", LoadBytes<u32>(rest.data()));
        item.length += 4;
    }
    return item;
}

}  // namespace

DataItem DescribeData(std::span<const u8> bytes, u32 address, u32 wordsPerLine) {
    size_t same = 1;
    while (same < bytes.size() && bytes[same] == bytes[0]) {
        ++same;
    }
    if (same >= kLeastRoom) {
        DataItem item;
        // Room ends at a multiple of 4, so that what follows it can be words.
        const size_t odd = (address + same) % 4;
        if (same < bytes.size() && same - odd >= kLeastRoom) {
            same -= odd;
        }
        item.text = ".space   " + std::to_string(same);
        if (bytes[0] != 0) {
            item.text += Number(", 0x%02X", bytes[0]);
        }
        item.length = static_cast<u32>(same);
        return item;
    }
    DataItem text = DescribeText(bytes);
    if (text.length > 0) {
        return text;
    }
    if (address % 4 == 0 && bytes.size() >= 4) {
        return DescribeWords(bytes, wordsPerLine);
    }
    DataItem item;
    item.text = ".byte   ";
    const size_t count = std::min<size_t>(bytes.size(), 4 - address % 4);
    for (size_t i = 0; i < count; ++i) {
        item.text += Number(i == 0 ? " 0x%02X" : ", 0x%02X", bytes[i]);
    }
    item.length = static_cast<u32>(count);
    return item;
}

}  // namespace moxi
