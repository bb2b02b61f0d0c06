// Conditional assembly.

#include <algorithm>

#include "tools/asm/assembly.h"

namespace moxi {

namespace mxasm {

namespace {

constexpr std::string_view kOpeners[] = {".IF", ".IFDEF", ".IFNDEF", ".IFB", ".IFNB"};

bool IsOpener(const std::string& word) {
    return std::find(std::begin(kOpeners), std::end(kOpeners), word) != std::end(kOpeners);
}

// Whether nothing but a comment follows from token `at` on.
bool RestIsBlank(const std::vector<Token>& tokens, size_t at) {
    return at >= tokens.size() || tokens[at].kind == TokenKind::End;
}

bool NameIsDefined(const Assembly& assembly, std::string_view name) {
    const u32 symbol = FindSymbol(assembly.table, std::string(name));
    if (symbol != kNoSymbol && assembly.table.symbols[symbol].state != SymbolState::Unused) {
        return true;
    }
    return assembly.macros.contains(std::string(name));
}

// Whether the part that the cursor's directive opens is assembled.
bool Decide(Assembly& assembly, const std::string& word, Cursor& cursor) {
    const SourcePosition position = PositionOf(cursor);
    const size_t directive = cursor.at++;
    if (word == ".IFB" || word == ".IFNB") {
        return RestIsBlank(*cursor.tokens, directive + 1) == (word == ".IFB");
    }
    if (word == ".IFDEF" || word == ".IFNDEF") {
        if (cursor.Now().kind != TokenKind::Name) {
            ReportHere(assembly, cursor, "a name is missing");
            return false;
        }
        const bool defined = NameIsDefined(assembly, cursor.Now().text);
        ++cursor.at;
        ExpectEnd(assembly, cursor);
        return defined == (word == ".IFDEF");
    }
    Expression expression;
    if (!ParseExpression(assembly.sources, assembly.table, cursor, expression)) {
        return false;
    }
    ExpectEnd(assembly, cursor);
    const Value value = Evaluate(assembly.table, expression);
    if (value.state != ValueState::Known) {
        Value shown = value;
        if (shown.position.line == 0) {
            shown.position = position;
        }
        ReportValue(assembly.sources, assembly.table, assembly.sources.sequence, shown);
        return false;
    }
    return value.isFloat ? value.real != 0 : value.integer != 0 || value.base != Base::Absolute;
}

// Tokenizes the line and sets the cursor on the directive. Labels before it are defined, or
// nothing happens when the line is skipped.
bool FindDirective(Assembly& assembly, const Line& line, std::vector<Token>& tokens,
                   Cursor& cursor) {
    if (!Tokenize(assembly.sources, line, tokens)) {
        return false;
    }
    cursor.line = &line;
    cursor.tokens = &tokens;
    cursor.section = assembly.section;
    cursor.here = assembly.sections[static_cast<u32>(assembly.section)].size;
    while (cursor.Now().kind != TokenKind::DotName) {
        if (cursor.AtEnd()) {
            return false;
        }
        if (cursor.Next().kind == TokenKind::Punctuation && cursor.Next().text == ":") {
            DefineLabel(assembly, cursor.Now(), PositionOf(cursor));
        }
        ++cursor.at;
    }
    return true;
}

void Open(Assembly& assembly, const Line& line, const std::string& word) {
    if (assembly.conditions.size() >= 10000) {
        ReportAndStop(assembly.sources, PositionIn(line, 0), "too many blocks are open");
        return;
    }
    Condition condition;
    condition.position = PositionIn(line, 0);
    if (IsSkipping(assembly)) {
        condition.decided = true;
    } else {
        std::vector<Token> tokens;
        Cursor cursor;
        if (FindDirective(assembly, line, tokens, cursor)) {
            condition.position = PositionOf(cursor);
            condition.active = Decide(assembly, word, cursor);
        }
        condition.decided = condition.active;
    }
    assembly.conditions.push_back(condition);
}

void Else(Assembly& assembly, const Line& line, const std::string& word) {
    Condition& condition = assembly.conditions.back();
    if (condition.sawElse) {
        Report(assembly.sources, PositionIn(line, 0), "the block already had its .else");
        return;
    }
    condition.active = false;
    if (word == ".ELSE") {
        condition.sawElse = true;
        condition.active = !condition.decided;
        condition.decided = true;
        return;
    }
    if (condition.decided) {
        return;
    }
    std::vector<Token> tokens;
    Cursor cursor;
    if (FindDirective(assembly, line, tokens, cursor)) {
        condition.active = Decide(assembly, ".IF", cursor);
        condition.decided = condition.active;
    }
}

}  // namespace

bool IsSkipping(const Assembly& assembly) {
    return !assembly.conditions.empty() && !assembly.conditions.back().active;
}

bool HandleCondition(Assembly& assembly, const Line& line, const std::string& word) {
    if (IsOpener(word)) {
        Open(assembly, line, word);
        return true;
    }
    const bool isElse = word == ".ELSE" || word == ".ELIF";
    if (!isElse && word != ".ENDIF") {
        return false;
    }
    if (assembly.conditions.size() <= assembly.frames.back()->conditions) {
        Report(assembly.sources, PositionIn(line, 0), "there is no open .if here");
    } else if (isElse) {
        Else(assembly, line, word);
    } else {
        assembly.conditions.pop_back();
    }
    return true;
}

}  // namespace mxasm

}  // namespace moxi
