#include "wasm/dwarf.h"

namespace moxi {

namespace {

constexpr u64 kMostText = 4096;  // bytes: many entries may name the same long text

}  // namespace

std::string_view SectionOf(const Module& module, std::string_view name) {
    for (const CustomSection& section : module.custom) {
        if (section.name == name) {
            return section.bytes;
        }
    }
    return {};
}

ByteCursor CursorOver(std::string_view bytes) {
    const auto* const start = reinterpret_cast<const u8*>(bytes.data());
    return {start, start + bytes.size(), nullptr};
}

std::string ReadDwarfText(ByteCursor& cursor) {
    const u8* const start = cursor.at;
    while (!cursor.AtEnd() && *cursor.at != 0) {
        ++cursor.at;
    }
    std::string text(reinterpret_cast<const char*>(start), static_cast<size_t>(cursor.at - start));
    cursor.Byte();
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < 32) {
            c = '?';
        }
    }
    return text;
}

std::string DwarfTextAt(std::string_view section, u64 offset) {
    if (offset >= section.size()) {
        return {};
    }
    ByteCursor cursor = CursorOver(section.substr(offset, kMostText));
    return ReadDwarfText(cursor);
}

u64 DwarfWordAt(std::string_view section, u64 base, u64 index) {
    if (base > section.size() || index >= (section.size() - base) / 4) {
        return 0;
    }
    ByteCursor cursor = CursorOver(section.substr(base + 4 * index));
    return cursor.Word();
}

u64 ReadLeb(ByteCursor& cursor) {
    u64 value = 0;
    for (u32 shift = 0;; shift += 7) {
        const u8 byte = cursor.Byte();
        if (shift < 64) {
            value |= u64{byte & 0x7Fu} << shift;
        }
        if ((byte & 0x80) == 0) {
            return value;
        }
    }
}

i64 ReadSignedLeb(ByteCursor& cursor) {
    u64 value = 0;
    for (u32 shift = 0;;) {
        const u8 byte = cursor.Byte();
        if (shift < 64) {
            value |= u64{byte & 0x7Fu} << shift;
        }
        shift += 7;
        if ((byte & 0x80) != 0) {
            continue;
        }
        if (shift < 64 && (byte & 0x40) != 0) {
            value |= ~u64{0} << shift;
        }
        return static_cast<i64>(value);
    }
}

u16 ReadShort(ByteCursor& cursor) {
    const u8 low = cursor.Byte();
    return static_cast<u16>(low | cursor.Byte() << 8);
}

}  // namespace moxi
