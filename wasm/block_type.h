#pragma once
// The type of a block. Its instruction gives it in one of three ways: nothing at all, the type of
// its one result, or the index of a function's type.

#include "wasm/cursor.h"
#include "wasm/module.h"

namespace moxi {

// A view of a list of types, which somebody else owns.
struct TypeList {
    const ValueType* items = nullptr;
    u32 count = 0;
};

struct BlockType {
    TypeList parameters;
    TypeList results;
};

inline TypeList ListOf(const std::vector<ValueType>& types) {
    return {types.data(), static_cast<u32>(types.size())};
}

inline bool SameTypes(const TypeList& a, const TypeList& b) {
    if (a.count != b.count) {
        return false;
    }
    for (u32 i = 0; i < a.count; ++i) {
        if (a.items[i] != b.items[i]) {
            return false;
        }
    }
    return true;
}

// Reads a block's type into `type`, which has to be empty before and refers to lists of the module.
// Returns what is wrong with it; null when nothing is, or when the number itself cannot be read,
// which the cursor's `failed` tells.
inline const char* ReadBlockType(const Module& module, ByteCursor& cursor, BlockType& type) {
    static constexpr ValueType kSingle[] = {ValueType::F64, ValueType::F32, ValueType::I64,
                                            ValueType::I32};  // 0x7C..0x7F
    const u8* const start = cursor.at;
    const i64 number = cursor.Signed33();
    if (cursor.failed != nullptr) {
        return nullptr;
    }
    // Negative numbers stand for the bytes 0x40..0x7F. The same number in more bytes is malformed.
    if (number < 0 && cursor.at - start > 1) {
        return "malformed block type";
    }
    if (number == -64) {
        return nullptr;  // 0x40: nothing in, nothing out
    }
    if (number < 0) {
        const i64 byte = number + 128;
        if (byte == 0x7B) {
            return "SIMD is not supported";
        }
        if (byte == 0x70 || byte == 0x6F) {
            return "reference types are not supported (block)";
        }
        if (byte < 0x7C || byte > 0x7F) {
            return "malformed block type";
        }
        type.results = {&kSingle[byte - 0x7C], 1};
        return nullptr;
    }
    if (static_cast<u64>(number) >= module.types.size()) {
        return "unknown type";
    }
    const FunctionType& row = module.types[static_cast<u64>(number)];
    type.parameters = ListOf(row.parameters);
    type.results = ListOf(row.results);
    return nullptr;
}

}  // namespace moxi
