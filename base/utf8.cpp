#include "base/utf8.h"

#include <cstring>

#include "base/bytes.h"

namespace moxi {

namespace {

// How many leading bytes are below 0x80, in steps of eight.
std::size_t AsciiBlocks(const u8* bytes, std::size_t size) {
    std::size_t i = 0;
    while (i + 8 <= size && (LoadBytes<u64>(bytes + i) & 0x8080808080808080) == 0) {
        i += 8;
    }
    return i;
}

// The length of the well-formed sequence at `bytes`, 0 when it is not one.
std::size_t SequenceLength(const u8* bytes, std::size_t size) {
    const u8 lead = bytes[0];
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (size < length) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (!IsContinuation(static_cast<char>(bytes[i]))) {
            return 0;
        }
    }
    const u8 second = bytes[1];
    if (lead == 0xE0 && second < 0xA0) {
        return 0;  // overlong
    }
    if (lead == 0xED && second > 0x9F) {
        return 0;  // surrogate
    }
    if (lead == 0xF0 && second < 0x90) {
        return 0;  // overlong
    }
    if (lead == 0xF4 && second > 0x8F) {
        return 0;  // above U+10FFFF
    }
    return length;
}

}  // namespace

bool IsUtf8(std::string_view text) {
    const u8* const bytes = reinterpret_cast<const u8*>(text.data());
    std::size_t i = 0;
    while (i < text.size()) {
        i += AsciiBlocks(bytes + i, text.size() - i);
        if (i == text.size()) {
            break;
        }
        const std::size_t length = SequenceLength(bytes + i, text.size() - i);
        if (length == 0) {
            return false;
        }
        i += length;
    }
    return true;
}

std::size_t CharacterLength(std::string_view text, std::size_t index) {
    const u8 lead = static_cast<u8>(text[index]);
    return lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

void AppendUtf8(std::string& text, u32 character) {
    const u32 c = character;
    if (c > 0x10FFFF || (c >= 0xD800 && c < 0xE000)) {
        return;
    }
    const auto add = [&text](u32 byte) { text.push_back(static_cast<char>(byte)); };
    if (c < 0x80) {
        return add(c);
    }
    if (c < 0x800) {
        add(0xC0 | c >> 6);
    } else if (c < 0x10000) {
        add(0xE0 | c >> 12);
        add(0x80 | (c >> 6 & 63));
    } else {
        add(0xF0 | c >> 18);
        add(0x80 | (c >> 12 & 63));
        add(0x80 | (c >> 6 & 63));
    }
    add(0x80 | (c & 63));
}

u32 CountUnits(std::string_view text) {
    u32 units = 0;
    for (const char c : text) {
        const u8 byte = static_cast<u8>(c);
        units += (IsContinuation(c) ? 0U : 1U) + (byte >= 0xF0 ? 1U : 0U);
    }
    return units;
}

u32 WalkCharacters(std::string_view text, u32 units) {
    std::size_t index = 0;
    for (; units > 0 && index < text.size(); --units) {
        const u8 lead = static_cast<u8>(text[index]);
        if (IsContinuation(text[index]) || lead >= 0xF8) {
            break;  // no later step gets on either
        }
        std::size_t length = CharacterLength(text, index);
        ++index;
        while (--length > 0 && index < text.size() && IsContinuation(text[index])) {
            ++index;
        }
    }
    return static_cast<u32>(index);
}

}  // namespace moxi
