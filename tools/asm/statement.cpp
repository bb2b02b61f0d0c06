// One line: labels, then a constant, a directive, a macro call or an instruction.

#include <algorithm>

#include "tools/asm/assembly.h"

namespace moxi {

namespace mxasm {

void ReportHere(Assembly& assembly, const Cursor& cursor, const std::string& what) {
    Report(assembly.sources, PositionOf(cursor), what);
}

bool ExpectEnd(Assembly& assembly, const Cursor& cursor) {
    if (cursor.AtEnd()) {
        return true;
    }
    ReportHere(assembly, cursor,
               "expected the end of the line, found " + Quoted(cursor.Now().text));
    return false;
}

bool KnownNumber(Assembly& assembly, const Expression& expression, i64 low, i64 high,
                 const char* what, i64& number) {
    const Value value = Evaluate(assembly.table, expression);
    if (value.state != ValueState::Known || value.base != Base::Absolute) {
        ReportNoNumber(assembly.sources, assembly.table, expression, value);
        return false;
    }
    if (value.isFloat || value.integer < low || value.integer > high) {
        Report(assembly.sources, expression.position,
               std::string(what) + " is a whole number from " + std::to_string(low) + " to " +
                   std::to_string(high));
        return false;
    }
    number = value.integer;
    return true;
}

// --- Symbols

namespace {

bool RoomForSymbol(Assembly& assembly, const SourcePosition& position) {
    if (assembly.table.symbols.size() < kMaxSymbols) {
        return true;
    }
    ReportAndStop(assembly.sources, position, "the source has too many names");
    return false;
}

// Reports a second definition. `symbol` is defined already.
void ReportDuplicate(Assembly& assembly, const Symbol& symbol, const SourcePosition& position) {
    std::string where = " is predefined";
    if (symbol.position.line != 0) {
        where = " is already defined at " + PlaceInWords(assembly.sources, symbol.position);
    }
    Report(assembly.sources, position, Quoted(symbol.name) + where);
}

bool NameMayBeDefined(Assembly& assembly, const std::string& name, const SourcePosition& position) {
    if (IsReservedName(name)) {
        Report(assembly.sources, position, Quoted(name) + " is a register");
        return false;
    }
    return RoomForSymbol(assembly, position);
}

}  // namespace

void DefineLabel(Assembly& assembly, const Token& token, const SourcePosition& position) {
    SymbolTable& table = assembly.table;
    const auto section = static_cast<u32>(assembly.section);
    std::string name(token.text);
    const bool isLocal = token.kind == TokenKind::LocalName;
    if (!isLocal && token.kind != TokenKind::Name) {
        Report(assembly.sources, position, "a label is a name, or @ and a name");
        return;
    }
    if (isLocal) {
        if (table.scope[section] == kNoSymbol) {
            Report(assembly.sources, position, "a local label needs an ordinary label before it");
            return;
        }
        name = table.symbols[table.scope[section]].name + name;
    } else if (!NameMayBeDefined(assembly, name, position)) {
        return;
    }
    if (!RoomForSymbol(assembly, position)) {
        return;
    }
    const u32 index = InternSymbol(table, name);
    Symbol& symbol = table.symbols[index];
    if (symbol.state != SymbolState::Unused) {
        ReportDuplicate(assembly, symbol, position);
        return;
    }
    symbol.state = SymbolState::Label;
    symbol.section = assembly.section;
    symbol.offset = assembly.sections[section].size;
    symbol.position = position;
    symbol.floating = assembly.section == Section::Code && symbol.offset % 4 != 0;
    if (symbol.floating) {
        assembly.floatingLabels.push_back(index);
    }
    if (!isLocal) {
        table.scope[section] = index;
    }
    ++table.epoch;
}

void DefineConstant(Assembly& assembly, const std::string& name, const SourcePosition& position,
                    const Expression& expression) {
    if (!NameMayBeDefined(assembly, name, position)) {
        return;
    }
    const u32 index = InternSymbol(assembly.table, name);
    if (assembly.table.symbols[index].state != SymbolState::Unused) {
        ReportDuplicate(assembly, assembly.table.symbols[index], position);
        return;
    }
    Symbol& symbol = assembly.table.symbols[index];
    symbol.state = SymbolState::Constant;
    symbol.expression = expression;
    symbol.position = position;
    ++assembly.table.epoch;
    // Most constants have their value at once, and then the expression need not be kept.
    const Value value = EvaluateSymbol(assembly.table, index);
    const bool settled = value.state == ValueState::Known && value.base == Base::Absolute;
    if (!settled) {
        assembly.keepNodes = true;
    }
}

void SetVariable(Assembly& assembly, const std::string& name, const SourcePosition& position,
                 const Expression& expression) {
    if (!NameMayBeDefined(assembly, name, position)) {
        return;
    }
    const Value value = Evaluate(assembly.table, expression);
    if (value.state != ValueState::Known) {
        ReportValue(assembly.sources, assembly.table, assembly.sources.sequence, value);
        return;
    }
    const u32 index = InternSymbol(assembly.table, name);
    Symbol& symbol = assembly.table.symbols[index];
    if (symbol.state != SymbolState::Unused && symbol.state != SymbolState::Variable) {
        ReportDuplicate(assembly, symbol, position);
        return;
    }
    symbol.state = SymbolState::Variable;
    symbol.value = value;
    symbol.position = position;
    ++assembly.table.epoch;
}

// --- Output

void SettleFloatingLabels(Assembly& assembly) {
    if (assembly.floatingLabels.empty()) {
        return;
    }
    for (const u32 label : assembly.floatingLabels) {
        assembly.table.symbols[label].floating = false;
    }
    assembly.floatingLabels.clear();
    ++assembly.table.epoch;
}

namespace {

bool RoomInSection(Assembly& assembly, u64 count, const SourcePosition& position) {
    const SectionState& section = assembly.sections[static_cast<u32>(assembly.section)];
    const bool isBss = assembly.section == Section::Bss;
    const u64 limit = isBss ? 0xFFFFFFFF : kMaxSection;
    if (count <= limit && section.size + count <= limit) {
        return true;
    }
    ReportAndStop(assembly.sources, position,
                  isBss ? "the globals take more than 4 GB" : "the section takes more than 256 MB");
    return false;
}

}  // namespace

bool AddBytes(Assembly& assembly, u64 count, u8 fill, const SourcePosition& position) {
    if (!RoomInSection(assembly, count, position)) {
        return false;
    }
    if (count > 0 && assembly.section == Section::Code) {
        SettleFloatingLabels(assembly);
    }
    SectionState& section = assembly.sections[static_cast<u32>(assembly.section)];
    if (assembly.section != Section::Bss) {
        section.bytes.insert(section.bytes.end(), count, fill);
    }
    section.size += count;
    return true;
}

bool AddText(Assembly& assembly, std::string_view bytes, const SourcePosition& position) {
    if (!RoomInSection(assembly, bytes.size(), position)) {
        return false;
    }
    if (!bytes.empty() && assembly.section == Section::Code) {
        SettleFloatingLabels(assembly);
    }
    SectionState& section = assembly.sections[static_cast<u32>(assembly.section)];
    section.bytes.insert(section.bytes.end(), bytes.begin(), bytes.end());
    section.size += bytes.size();
    return true;
}

bool AddValue(Assembly& assembly, Slot slot, const Expression& expression) {
    const u64 offset = assembly.sections[static_cast<u32>(assembly.section)].size;
    if (!AddBytes(assembly, SlotSize(slot), 0, expression.position)) {
        return false;
    }
    PlaceValue(assembly, slot, offset, expression);
    return true;
}

void PlaceValue(Assembly& assembly, Slot slot, u64 offset, const Expression& expression) {
    const Value value = Evaluate(assembly.table, expression);
    if (value.state == ValueState::Known && value.base == Base::Absolute) {
        SectionState& section = assembly.sections[static_cast<u32>(assembly.section)];
        const std::string wrong = PutValue(slot, value, section.bytes.data() + offset);
        if (!wrong.empty()) {
            Report(assembly.sources, expression.position, wrong);
        }
        return;
    }
    if (assembly.fixups.size() >= kMaxFixups) {
        ReportAndStop(assembly.sources, expression.position,
                      "too many values wait for a later definition");
        return;
    }
    assembly.keepNodes = true;
    assembly.fixups.push_back(
        {slot, assembly.section, static_cast<u32>(offset), expression, assembly.sources.sequence});
}

// --- Lines

namespace {

// Instructions lie at multiples of 4; labels right before one move with it.
bool AlignForInstruction(Assembly& assembly, const SourcePosition& position) {
    SectionState& code = assembly.sections[0];
    const u64 gap = (4 - code.size % 4) % 4;
    if (gap == 0) {
        return true;
    }
    const std::vector<u32> labels = assembly.floatingLabels;
    if (!AddBytes(assembly, gap, 0, position)) {
        return false;
    }
    for (const u32 label : labels) {
        assembly.table.symbols[label].offset = code.size;
    }
    return true;
}

void AssembleInstruction(Assembly& assembly, Cursor& cursor) {
    const SourcePosition position = PositionOf(cursor);
    if (assembly.section != Section::Code) {
        Report(assembly.sources, position, "instructions belong in the .code section");
        return;
    }
    if (!AlignForInstruction(assembly, position)) {
        return;
    }
    const u64 offset = assembly.sections[0].size;
    cursor.here = offset;
    EncodedInstruction encoded;
    if (!EncodeInstruction(assembly.sources, assembly.table, cursor, encoded)) {
        return;
    }
    if (!ExpectEnd(assembly, cursor)) {
        return;
    }
    const auto* bytes = reinterpret_cast<const char*>(encoded.words);
    if (!AddText(assembly, {bytes, size_t{encoded.count} * 4}, position)) {
        return;
    }
    for (u32 i = 0; i < encoded.valueCount; ++i) {
        const SlotValue& value = encoded.values[i];
        PlaceValue(assembly, value.slot, offset + u64{value.word} * 4, value.expression);
    }
}

void AssembleConstant(Assembly& assembly, Cursor& cursor) {
    const SourcePosition position = PositionOf(cursor);
    const std::string name(cursor.Now().text);
    const bool isName = cursor.Now().kind == TokenKind::Name;
    cursor.at += 2;
    if (!isName) {
        Report(assembly.sources, position, "a constant's name is an ordinary name");
        return;
    }
    Expression expression;
    if (!ParseExpression(assembly.sources, assembly.table, cursor, expression)) {
        return;
    }
    if (ExpectEnd(assembly, cursor)) {
        DefineConstant(assembly, name, position, expression);
    }
}

// A word that has no meaning. Before a directive it was meant as a label, and becomes one, so that
// its uses do not give further errors.
void AssembleUnknown(Assembly& assembly, const Line& line, Cursor& cursor) {
    const Token& token = cursor.Now();
    const Token& next = cursor.Next();
    const bool standsBeforeDirective = next.kind == TokenKind::DotName && next.spaceBefore;
    ReportUnknownWord(assembly, token.text, PositionOf(cursor), standsBeforeDirective);
    if (!standsBeforeDirective) {
        return;
    }
    DefineLabel(assembly, token, PositionOf(cursor));
    ++cursor.at;
    AssembleDirective(assembly, line, cursor);
}

void AssembleStatement(Assembly& assembly, const Line& line, Cursor& cursor) {
    const Token& token = cursor.Now();
    if (cursor.Next().kind == TokenKind::Punctuation && cursor.Next().text == "=") {
        AssembleConstant(assembly, cursor);
        return;
    }
    if (token.kind == TokenKind::DotName) {
        AssembleDirective(assembly, line, cursor);
        return;
    }
    if (token.kind != TokenKind::Name) {
        ReportHere(assembly, cursor, "expected a label, an instruction or a directive");
        return;
    }
    const auto macro = assembly.macros.find(std::string(token.text));
    if (macro != assembly.macros.end()) {
        CallMacro(assembly, macro->second, line, cursor);
        return;
    }
    if (!IsMnemonic(UpperCase(token.text))) {
        AssembleUnknown(assembly, line, cursor);
        return;
    }
    AssembleInstruction(assembly, cursor);
}

bool AtLabel(const Cursor& cursor) {
    const bool isName =
        cursor.Now().kind == TokenKind::Name || cursor.Now().kind == TokenKind::LocalName;
    return isName && cursor.Next().kind == TokenKind::Punctuation && cursor.Next().text == ":";
}

}  // namespace

void AssembleLine(Assembly& assembly, const Line& line) {
    std::vector<Token> tokens;
    const std::string word = FirstWord(line.text);
    if (assembly.collecting) {
        CollectLine(assembly, line);
        return;
    }
    if (!word.empty() && word[0] == '.' && HandleCondition(assembly, line, word)) {
        return;
    }
    if (IsSkipping(assembly)) {
        return;
    }
    if (!Tokenize(assembly.sources, line, tokens)) {
        return;
    }

    Cursor cursor;
    cursor.line = &line;
    cursor.tokens = &tokens;
    cursor.section = assembly.section;
    while (AtLabel(cursor)) {
        DefineLabel(assembly, cursor.Now(), PositionOf(cursor));
        cursor.at += 2;
    }
    cursor.here = assembly.sections[static_cast<u32>(assembly.section)].size;
    if (cursor.AtEnd()) {
        return;
    }
    AssembleStatement(assembly, line, cursor);
}

}  // namespace mxasm

}  // namespace moxi
