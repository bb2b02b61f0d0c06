// Directives that make data and room.

#include <numeric>

#include "base/bytes.h"
#include "tools/asm/assembly.h"
#include "vm/opcodes.h"

namespace moxi {

namespace mxasm {

namespace {

void ExpectEndOfList(Assembly& assembly, const Cursor& cursor) {
    if (cursor.AtEnd()) {
        return;
    }
    ReportHere(assembly, cursor,
               "expected a comma or the end of the line, found " + Quoted(cursor.Now().text));
}

void AssembleValues(Assembly& assembly, Cursor& cursor, Slot slot) {
    do {
        if (cursor.Now().kind == TokenKind::String) {
            if (slot != Slot::Byte) {
                ReportHere(assembly, cursor, "a text goes into .byte, .ascii or .asciz");
                return;
            }
            if (!AddText(assembly, cursor.Now().bytes, PositionOf(cursor))) {
                return;
            }
            ++cursor.at;
            continue;
        }
        Expression expression;
        if (!ParseExpression(assembly.sources, assembly.table, cursor, expression)) {
            return;
        }
        if (!AddValue(assembly, slot, expression)) {
            return;
        }
    } while (cursor.Accept(","));
    ExpectEndOfList(assembly, cursor);
}

void AssembleTexts(Assembly& assembly, Cursor& cursor, bool withNul) {
    do {
        if (cursor.Now().kind != TokenKind::String) {
            ReportHere(assembly, cursor,
                       "expected a text in double quotes, found " +
                           (cursor.AtEnd() ? "nothing" : Quoted(cursor.Now().text)));
            return;
        }
        std::string bytes = cursor.Now().bytes;
        if (withNul) {
            bytes += '\0';
        }
        if (!AddText(assembly, bytes, PositionOf(cursor))) {
            return;
        }
        ++cursor.at;
    } while (cursor.Accept(","));
    ExpectEndOfList(assembly, cursor);
}

// The optional fill byte of .space and .align.
bool ParseFill(Assembly& assembly, Cursor& cursor, i64& fill) {
    if (!cursor.Accept(",")) {
        return ExpectEnd(assembly, cursor);
    }
    Expression expression;
    if (!ParseExpression(assembly.sources, assembly.table, cursor, expression) ||
        !KnownNumber(assembly, expression, -128, 255, "a fill byte", fill)) {
        return false;
    }
    if (assembly.section == Section::Bss && fill != 0) {
        Report(assembly.sources, expression.position, "the globals are always filled with 0");
        return false;
    }
    return ExpectEnd(assembly, cursor);
}

void AssembleSpace(Assembly& assembly, Cursor& cursor) {
    const SourcePosition position = PositionOf(cursor);
    Expression expression;
    i64 count = 0;
    i64 fill = 0;
    if (!ParseExpression(assembly.sources, assembly.table, cursor, expression) ||
        !KnownNumber(assembly, expression, 0, 0xFFFFFFFF, "a size", count) ||
        !ParseFill(assembly, cursor, fill)) {
        return;
    }
    AddBytes(assembly, static_cast<u64>(count), static_cast<u8>(fill), position);
}

// Code that runs into a gap must get through it, so whole words of a gap in code are NOPs.
bool AddCodeGap(Assembly& assembly, u64 gap, const SourcePosition& position) {
    const u64 odd = std::min<u64>(gap, (4 - assembly.sections[0].size % 4) % 4);
    if (!AddBytes(assembly, odd, 0, position)) {
        return false;
    }
    constexpr u32 kNop = static_cast<u32>(Single::Nop);
    for (gap -= odd; gap >= 4; gap -= 4) {
        char word[4];
        StoreBytes(reinterpret_cast<u8*>(word), kNop);
        if (!AddText(assembly, {word, 4}, position)) {
            return false;
        }
    }
    return AddBytes(assembly, gap, 0, position);
}

void AssembleAlign(Assembly& assembly, Cursor& cursor) {
    const SourcePosition position = PositionOf(cursor);
    Expression expression;
    i64 step = 0;
    i64 fill = -1000;
    if (!ParseExpression(assembly.sources, assembly.table, cursor, expression) ||
        !KnownNumber(assembly, expression, 1, 65536, "an alignment", step) ||
        !ParseFill(assembly, cursor, fill)) {
        return;
    }
    SectionState& section = assembly.sections[static_cast<u32>(assembly.section)];
    const auto unit = static_cast<u64>(step);
    // The section as a whole is placed so that its own multiples are the addresses' multiples;
    // .code has its place already.
    const bool isCode = assembly.section == Section::Code;
    if (!isCode) {
        const u64 common = std::lcm(section.alignment, unit);
        if (common > (1u << 20)) {
            Report(assembly.sources, position, "the alignments of this section do not go together");
            return;
        }
        section.alignment = common;
    }
    const u64 address = section.size + (isCode ? 512 : 0);
    const u64 gap = (unit - address % unit) % unit;
    if (isCode && fill == -1000) {
        AddCodeGap(assembly, gap, position);
        return;
    }
    AddBytes(assembly, gap, fill == -1000 ? u8{0} : static_cast<u8>(fill), position);
}

struct DataDirective {
    const char* name;
    Slot slot;
};

constexpr DataDirective kDataDirectives[] = {
    {".BYTE", Slot::Byte}, {".WORD", Slot::Word},   {".LONG", Slot::Long},
    {".QUAD", Slot::Quad}, {".FLOAT", Slot::Float}, {".DOUBLE", Slot::Double},
};

}  // namespace

bool AssembleData(Assembly& assembly, const std::string& name, Cursor& cursor) {
    if (name == ".SPACE") {
        AssembleSpace(assembly, cursor);
        return true;
    }
    if (name == ".ALIGN") {
        AssembleAlign(assembly, cursor);
        return true;
    }
    const bool isText = name == ".ASCII" || name == ".ASCIZ";
    const DataDirective* found = nullptr;
    for (const DataDirective& row : kDataDirectives) {
        if (name == row.name) {
            found = &row;
        }
    }
    if (!isText && found == nullptr) {
        return false;
    }
    if (assembly.section == Section::Bss) {
        ReportHere(assembly, cursor, ".bss holds no data, only .space");
    } else if (isText) {
        AssembleTexts(assembly, cursor, name == ".ASCIZ");
    } else {
        AssembleValues(assembly, cursor, found->slot);
    }
    return true;
}

}  // namespace mxasm

}  // namespace moxi
