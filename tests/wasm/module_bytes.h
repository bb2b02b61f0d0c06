#pragma once
// Writes WebAssembly modules byte by byte.

#include <bit>
#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"

namespace moxi {

struct WasmBytes {
    std::string bytes;

    void Byte(u32 value) { bytes.push_back(static_cast<char>(value)); }
    void Add(const WasmBytes& more) { bytes += more.bytes; }
    void Raw(std::string_view more) { bytes += more; }

    void Unsigned(u64 value) {
        while (value >= 0x80) {
            Byte(static_cast<u32>(value & 0x7F) | 0x80);
            value >>= 7;
        }
        Byte(static_cast<u32>(value));
    }
    void Signed(i64 value) {
        for (;;) {
            const u32 low = static_cast<u32>(value & 0x7F);
            value >>= 7;
            if ((value == 0 && (low & 0x40) == 0) || (value == -1 && (low & 0x40) != 0)) {
                Byte(low);
                return;
            }
            Byte(low | 0x80);
        }
    }
    void Fixed(u64 value, u32 count) {
        for (u32 i = 0; i < count; ++i) {
            Byte(static_cast<u32>(value >> (8 * i)) & 0xFF);
        }
    }
    void Text(std::string_view text) {
        Unsigned(text.size());
        bytes += text;
    }
    void Section(u32 number, const WasmBytes& content) {
        Byte(number);
        Text(content.bytes);
    }
};

constexpr std::string_view kWasmHeader{"\0asm\1\0\0\0", 8};

// The byte of a value type that is written i, I, f or F.
constexpr u32 ValueTypeByte(char type) {
    return type == 'i' ? 0x7F : type == 'I' ? 0x7E : type == 'f' ? 0x7D : 0x7C;
}

// The sections that export functions, the first one by the first name and so on, and that hold
// their bodies, locals included.
inline void AddFunctions(WasmBytes& file, const std::vector<std::string>& names,
                         const std::vector<WasmBytes>& bodies) {
    WasmBytes exported;
    exported.Unsigned(names.size());
    for (u32 i = 0; i < names.size(); ++i) {
        exported.Text(names[i]);
        exported.Byte(0);
        exported.Unsigned(i);
    }
    file.Section(7, exported);
    WasmBytes code;
    code.Unsigned(bodies.size());
    for (const WasmBytes& body : bodies) {
        code.Text(body.bytes);
    }
    file.Section(10, code);
}

}  // namespace moxi
