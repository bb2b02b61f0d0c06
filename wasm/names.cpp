#include "wasm/names.h"

#include "base/utf8.h"
#include "wasm/cursor.h"

namespace moxi {

namespace {

// Subsections of the name section.
constexpr u8 kFunctionNames = 1;
constexpr u8 kGlobalNames = 7;

std::string ReadName(ByteCursor& cursor) {
    const u32 length = cursor.Unsigned32();
    const u8* const at = cursor.Bytes(length);
    if (cursor.failed != nullptr) {
        return {};
    }
    std::string name(reinterpret_cast<const char*>(at), length);
    if (!IsUtf8(name)) {
        return {};
    }
    // Names go into lines of text, which control characters would break.
    for (char& c : name) {
        if (static_cast<unsigned char>(c) < 32 || c == 127) {
            c = '?';
        }
    }
    return name;
}

void ReadSubsection(Module& module, u8 id, ByteCursor cursor) {
    if (id != kFunctionNames && id != kGlobalNames) {
        return;
    }
    const u32 count = cursor.Unsigned32();
    for (u32 i = 0; i < count && cursor.failed == nullptr; ++i) {
        const u32 index = cursor.Unsigned32();
        std::string name = ReadName(cursor);
        if (cursor.failed != nullptr) {
            return;
        }
        if (id == kFunctionNames && index < module.functions.size()) {
            module.functions[index].name = std::move(name);
        } else if (id == kGlobalNames && index < module.globals.size()) {
            module.globalNames.resize(module.globals.size());
            module.globalNames[index] = std::move(name);
        }
    }
}

}  // namespace

void ReadNames(Module& module) {
    for (const CustomSection& section : module.custom) {
        if (section.name != "name") {
            continue;
        }
        const u8* const start = reinterpret_cast<const u8*>(section.bytes.data());
        ByteCursor cursor{start, start + section.bytes.size(), nullptr};
        while (!cursor.AtEnd()) {
            const u8 id = cursor.Byte();
            const u32 size = cursor.Unsigned32();
            const u8* const contents = cursor.Bytes(size);
            if (cursor.failed != nullptr) {
                break;
            }
            ReadSubsection(module, id, {contents, contents + size, nullptr});
        }
    }
}

}  // namespace moxi
