#include "wasm/names.h"

#include "wasm/cursor.h"

namespace moxi {

namespace {

constexpr u8 kFunctionNames = 1;
constexpr u8 kGlobalNames = 7;

std::string ReadName(ByteCursor& cursor) {
    const u32 length = cursor.Unsigned32();
    const u8* const at = cursor.Bytes(length);
    if (cursor.failed != nullptr) return {};
    std::string name(reinterpret_cast<const char*>(at), length);
    if (!IsUtf8(name)) return {};
    // A name goes into lines of text.
    for (char& c : name) {
        if (static_cast<unsigned char>(c) < 32 || c == 127) c = '?';
    }
    return name;
}

void ReadSubsection(Module& module, u8 id, ByteCursor cursor) {
    if (id != kFunctionNames && id != kGlobalNames) return;
    const u32 count = cursor.Unsigned32();
    for (u32 i = 0; i < count && cursor.failed == nullptr; ++i) {
        const u32 index = cursor.Unsigned32();
        std::string name = ReadName(cursor);
        if (cursor.failed != nullptr) return;
        if (id == kFunctionNames && index < module.functions.size()) {
            module.functions[index].name = std::move(name);
        } else if (id == kGlobalNames && index < module.globals.size()) {
            module.globalNames.resize(module.globals.size());
            module.globalNames[index] = std::move(name);
        }
    }
}

}  // namespace

bool IsUtf8(std::string_view text) {
    const auto byteAt = [&](u64 i) { return static_cast<u8>(text[i]); };
    for (u64 i = 0; i < text.size();) {
        const u8 first = byteAt(i);
        if (first < 0x80) {
            ++i;
            continue;
        }
        const u32 length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
        if (first < 0xC2 || first > 0xF4 || i + length > text.size()) return false;
        u32 code = first & (0x7Fu >> length);
        for (u32 k = 1; k < length; ++k) {
            const u8 next = byteAt(i + k);
            if ((next & 0xC0) != 0x80) return false;
            code = code << 6 | (next & 0x3F);
        }
        constexpr u32 kLowest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (code < kLowest[length] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) {
            return false;
        }
        i += length;
    }
    return true;
}

void ReadNames(Module& module) {
    for (const CustomSection& section : module.custom) {
        if (section.name != "name") continue;
        const u8* const start = reinterpret_cast<const u8*>(section.bytes.data());
        ByteCursor cursor{start, start + section.bytes.size(), nullptr};
        while (!cursor.AtEnd()) {
            const u8 id = cursor.Byte();
            const u32 size = cursor.Unsigned32();
            const u8* const contents = cursor.Bytes(size);
            if (cursor.failed != nullptr) break;
            ReadSubsection(module, id, {contents, contents + size, nullptr});
        }
    }
}

}  // namespace moxi
