#include "tools/asm/operand.h"

namespace moxi {

namespace mxasm {

namespace {

bool Fail(Sources& sources, const Cursor& cursor, const std::string& what) {
    Report(sources, PositionOf(cursor), what);
    return false;
}

bool IsNumberedRegister(const Cursor& cursor) {
    const Token& token = cursor.Now();
    const Token& next = cursor.Next();
    return token.kind == TokenKind::Name && (token.text == "R" || token.text == "r") &&
           next.kind == TokenKind::Punctuation && next.text == "(" && !next.spaceBefore;
}

bool ParseRegisterNumber(Sources& sources, SymbolTable& table, Cursor& cursor, u32& reg) {
    ++cursor.at;
    ++cursor.at;
    Expression expression;
    if (!ParseExpression(sources, table, cursor, expression)) {
        return false;
    }
    if (!cursor.Accept(")")) {
        return Fail(sources, cursor, "a closing parenthesis is missing");
    }
    const Value value = Evaluate(table, expression);
    if (value.state != ValueState::Known || value.base != Base::Absolute) {
        ReportNoNumber(sources, table, expression, value);
        return false;
    }
    if (value.isFloat || value.integer < 0 || value.integer > 0xFFFFFFFF) {
        Report(sources, expression.position, "there is no register of that number");
        return false;
    }
    reg = static_cast<u32>(value.integer);
    return true;
}

// `expression ]`
bool ParseUpToBracket(Sources& sources, SymbolTable& table, Cursor& cursor, Operand& out) {
    out.hasValue = true;
    if (!ParseExpression(sources, table, cursor, out.value)) {
        return false;
    }
    if (!cursor.Accept("]")) {
        return Fail(sources, cursor, "a closing bracket is missing");
    }
    return true;
}

// What follows `[Rn` or `[FP`: `]`, `+ expression ]` or `- expression ]`.
bool ParseOffset(Sources& sources, SymbolTable& table, Cursor& cursor, Operand& out) {
    if (cursor.Accept("]")) {
        return true;
    }
    if (!cursor.Is("+") && !cursor.Is("-")) {
        return Fail(sources, cursor, "expected +, - or ] here");
    }
    cursor.Accept("+");
    return ParseUpToBracket(sources, table, cursor, out);
}

bool ParseMemory(Sources& sources, SymbolTable& table, Cursor& cursor, Operand& out) {
    ++cursor.at;
    bool bad = false;
    if (ParseRegister(sources, table, cursor, out.reg, bad)) {
        out.kind = OperandKind::Indexed;
        return ParseOffset(sources, table, cursor, out);
    }
    if (bad) {
        return false;
    }
    if (cursor.Now().kind == TokenKind::Name && UpperCase(cursor.Now().text) == "FP") {
        ++cursor.at;
        out.kind = OperandKind::Frame;
        return ParseOffset(sources, table, cursor, out);
    }
    out.kind = OperandKind::Absolute;
    return ParseUpToBracket(sources, table, cursor, out);
}

bool ParseImmediate(Sources& sources, SymbolTable& table, Cursor& cursor, Operand& out) {
    ++cursor.at;
    out.kind = OperandKind::Immediate;
    out.hasValue = true;
    if (cursor.Now().kind == TokenKind::DotName) {
        const std::string name = UpperCase(cursor.Now().text);
        if (name == ".I") {
            out.forced = Forced::Immediate;
        } else if (name == ".Q") {
            out.forced = Forced::Quick;
        } else {
            return Fail(sources, cursor, "only .I and .Q may follow the #");
        }
        ++cursor.at;
    }
    return ParseExpression(sources, table, cursor, out.value);
}

}  // namespace

bool ParseRegister(Sources& sources, SymbolTable& table, Cursor& cursor, u32& reg, bool& bad) {
    bad = false;
    if (IsNumberedRegister(cursor)) {
        bad = !ParseRegisterNumber(sources, table, cursor, reg);
        return !bad;
    }
    if (cursor.Now().kind != TokenKind::Name) {
        return false;
    }
    const int number = RegisterNumber(cursor.Now().text);
    if (number < 0) {
        return false;
    }
    reg = static_cast<u32>(number);
    ++cursor.at;
    return true;
}

bool ParseOperand(Sources& sources, SymbolTable& table, Cursor& cursor, Operand& out) {
    out = {};
    out.position = PositionOf(cursor);
    if (cursor.Is("[")) {
        return ParseMemory(sources, table, cursor, out);
    }
    if (cursor.Is("#")) {
        return ParseImmediate(sources, table, cursor, out);
    }
    bool bad = false;
    if (ParseRegister(sources, table, cursor, out.reg, bad)) {
        return true;
    }
    if (bad) {
        return false;
    }
    const std::string found = cursor.AtEnd() ? "nothing" : Quoted(cursor.Now().text);
    return Fail(sources, cursor,
                "expected an operand: a register, [address], [Rn+offset], [FP+offset] or #value; "
                "found " +
                    found);
}

}  // namespace mxasm

}  // namespace moxi
