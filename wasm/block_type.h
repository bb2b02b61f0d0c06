#pragma once
// The types of a block, which its instruction names in one of three ways.

#include "wasm/cursor.h"
#include "wasm/module.h"

namespace moxi {

// A list that lies elsewhere.
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

// Reads a block's type; returns what is wrong with it, null when nothing is.
inline const char* ReadBlockType(const Module& module, ByteCursor& cursor, BlockType& type) {
    static constexpr ValueType kSingle[] = {ValueType::F64, ValueType::F32, ValueType::I64,
                                            ValueType::I32};  // 0x7C..0x7F
    const u8* const start = cursor.at;
    const i64 number = cursor.Signed33();
    if (cursor.failed != nullptr) {
        return nullptr;
    }
    // What is no index is a single byte, not a number that could have more of them.
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
