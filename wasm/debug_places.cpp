#include "wasm/debug_places.h"

#include "wasm/dwarf.h"

namespace moxi {

namespace {

constexpr size_t kMostPlaces = 256;  // of a variable

// DWARF's numbers of the operations that single places are written with.
enum class Operation : u8 {
    Address = 0x03,
    ConstantUnsigned = 0x10,
    ConstantSigned = 0x11,
    Literal0 = 0x30,
    Literal31 = 0x4F,
    FrameOffset = 0x91,
    StackValue = 0x9F,
    WasmLocation = 0xED,
};

// DWARF's numbers of the rows of .debug_loclists, from 0 on.
enum class Row : u8 {
    End,
    BaseByIndex,
    PairByIndex,
    LengthByIndex,
    OffsetPair,
    Default,
    Base,
    Pair,
    Length,
};

// Whether an offset or address fits into 32 bits, signed or unsigned.
bool IsSmall(i64 value) {
    return value >= -0x80000000LL && value <= 0xFFFFFFFFLL;
}

// Adds what the expression says for the addresses from..to. What makes no sense is left out.
void Add(const PlaceLists& lists, u64 from, u64 to, std::string_view expression,
         std::vector<DebugPlace>& places) {
    from += lists.codeOffset;
    to += lists.codeOffset;
    DebugPlace place;
    if (from >= to || to > 0xFFFFFFFF || places.size() == kMostPlaces) {
        return;
    }
    if (!ReadPlace(expression, place)) {
        return;
    }
    place.from = static_cast<u32>(from);
    place.to = static_cast<u32>(to);
    places.push_back(place);
}

std::string_view TakeExpression(ByteCursor& cursor, u64 size) {
    const u8* const at = cursor.Bytes(size);
    if (cursor.failed != nullptr) {
        return {};
    }
    return {reinterpret_cast<const char*>(at), size};
}

// A list of .debug_loc, up to DWARF 4: pairs of offsets from a base, each with an expression.
std::vector<DebugPlace> ReadPairs(const PlaceLists& lists, ByteCursor& cursor) {
    std::vector<DebugPlace> places;
    u64 base = lists.unitBase;
    for (;;) {
        const u32 from = cursor.Word();
        const u32 to = cursor.Word();
        if (cursor.failed != nullptr || (from == 0 && to == 0)) {
            return places;
        }
        if (from == 0xFFFFFFFF) {  // no pair: a new base
            base = to;
            continue;
        }
        const u32 size = ReadShort(cursor);
        const std::string_view expression = TakeExpression(cursor, size);
        if (cursor.failed == nullptr) {
            Add(lists, base + from, base + to, expression, places);
        }
    }
}

// A list of .debug_loclists, from DWARF 5 on: rows of several kinds.
std::vector<DebugPlace> ReadRows(const PlaceLists& lists, ByteCursor& cursor) {
    std::vector<DebugPlace> places;
    u64 base = lists.unitBase;
    const auto indexed = [&] {
        return DwarfWordAt(lists.addresses, lists.addressesBase, ReadLeb(cursor));
    };
    for (;;) {
        const auto row = static_cast<Row>(cursor.Byte());
        u64 from = 0;
        u64 to = 0;
        switch (row) {
            case Row::End: return places;
            case Row::BaseByIndex: base = indexed(); continue;
            case Row::Base: base = cursor.Word(); continue;
            case Row::PairByIndex:
                from = indexed();
                to = indexed();
                break;
            case Row::LengthByIndex:
                from = indexed();
                to = from + ReadLeb(cursor);
                break;
            case Row::OffsetPair:
                from = base + ReadLeb(cursor);
                to = base + ReadLeb(cursor);
                break;
            case Row::Default: break;  // it has no addresses, so that Add leaves it out
            case Row::Pair:
                from = cursor.Word();
                to = cursor.Word();
                break;
            case Row::Length:
                from = cursor.Word();
                to = from + ReadLeb(cursor);
                break;
            default: return places;
        }
        const u64 size = ReadLeb(cursor);
        const std::string_view expression = TakeExpression(cursor, size);
        if (cursor.failed != nullptr) {
            return places;
        }
        Add(lists, from, to, expression, places);
    }
}

}  // namespace

bool ReadPlace(std::string_view expression, DebugPlace& place) {
    ByteCursor cursor = CursorOver(expression);
    const u8 first = cursor.Byte();
    // Whether StackValue may be missing at the end. A constant without it would be an address.
    bool mayEnd = true;
    if (first >= static_cast<u8>(Operation::Literal0) &&
        first <= static_cast<u8>(Operation::Literal31)) {
        place.kind = DebugPlace::Kind::Number;
        place.value = first - static_cast<u8>(Operation::Literal0);
        mayEnd = false;
    } else {
        switch (static_cast<Operation>(first)) {
            case Operation::FrameOffset:
                place.kind = DebugPlace::Kind::Frame;
                place.value = ReadSignedLeb(cursor);
                return cursor.failed == nullptr && cursor.AtEnd() && IsSmall(place.value);
            case Operation::Address:
                place.kind = DebugPlace::Kind::Memory;
                place.value = cursor.Word();
                return cursor.failed == nullptr && cursor.AtEnd();
            case Operation::ConstantUnsigned:
                place.kind = DebugPlace::Kind::Number;
                place.value = static_cast<i64>(ReadLeb(cursor));
                mayEnd = false;
                break;
            case Operation::ConstantSigned:
                place.kind = DebugPlace::Kind::Number;
                place.value = ReadSignedLeb(cursor);
                mayEnd = false;
                break;
            case Operation::WasmLocation:
                if (cursor.Byte() != 0) {
                    return false;  // a global, or the stack of operands
                }
                place.kind = DebugPlace::Kind::Local;
                place.value = static_cast<i64>(ReadLeb(cursor));
                if (!IsSmall(place.value) || place.value < 0) {
                    return false;
                }
                break;
            default: return false;
        }
    }
    if (cursor.failed != nullptr) {
        return false;
    }
    if (cursor.AtEnd()) {
        return mayEnd;
    }
    return cursor.Byte() == static_cast<u8>(Operation::StackValue) && cursor.AtEnd();
}

std::vector<DebugPlace> ReadPlaceList(const PlaceLists& lists, u64 offset, u64& left) {
    if (offset >= lists.lists.size()) {
        return {};
    }
    ByteCursor cursor = CursorOver(lists.lists.substr(offset, left));
    const u64 whole = cursor.Left();
    std::vector<DebugPlace> places =
        lists.version >= 5 ? ReadRows(lists, cursor) : ReadPairs(lists, cursor);
    left -= whole - cursor.Left();
    return places;
}

}  // namespace moxi
