// Parses expressions: C's operators with C's precedence.

#include "tools/asm/symbols.h"

namespace moxi {

namespace mxasm {

SourcePosition PositionOf(const Cursor& cursor) {
    return PositionIn(*cursor.line, cursor.Now().index);
}

namespace {

constexpr u32 kMaxNesting = 100;

struct BinaryOperator {
    std::string_view text;
    Op op;
    int precedence;  // the higher binds first
};

constexpr BinaryOperator kBinaryOperators[] = {
    {"*", Op::Multiply, 10},   {"/", Op::Divide, 10},       {"%", Op::Remainder, 10},
    {"+", Op::Add, 9},         {"-", Op::Subtract, 9},      {"<<", Op::ShiftLeft, 8},
    {">>", Op::ShiftRight, 8}, {"<", Op::Less, 7},          {"<=", Op::LessEqual, 7},
    {">", Op::Greater, 7},     {">=", Op::GreaterEqual, 7}, {"==", Op::Equal, 6},
    {"!=", Op::NotEqual, 6},   {"&", Op::And, 5},           {"^", Op::Xor, 4},
    {"|", Op::Or, 3},          {"&&", Op::LogicalAnd, 2},   {"||", Op::LogicalOr, 1},
};

struct Parser {
    Sources& sources;
    SymbolTable& table;
    Cursor& cursor;
    u32 depth = 0;

    bool Fail(const std::string& what) {
        Report(sources, PositionOf(cursor), what);
        return false;
    }
    void Add(Op op, u32 column, i64 integer = 0) {
        Node node;
        node.op = op;
        node.column = column;
        node.integer = integer;
        table.nodes.push_back(node);
    }
};

bool ParseBinary(Parser& parser, int lowest);

// A use of `@name` belongs to the latest label of its own section; a table in .data may also name
// the local labels of the code it belongs to.
bool AddLocalName(Parser& parser, const Token& token, u32 column) {
    const auto section = static_cast<u32>(parser.cursor.section);
    const u32 own = parser.table.scope[section];
    const u32 code = parser.table.scope[0];
    if (own == kNoSymbol && code == kNoSymbol) {
        return parser.Fail("a local label needs an ordinary label before it");
    }
    const auto intern = [&](u32 scope) {
        const std::string name = parser.table.symbols[scope].name + std::string(token.text);
        return InternSymbol(parser.table, name);
    };
    const u32 first = intern(own != kNoSymbol ? own : code);
    const u32 second =
        section != 0 && own != kNoSymbol && code != kNoSymbol ? intern(code) : kNoSymbol;
    parser.Add(Op::Symbol, column, static_cast<i64>(u64{second} << 32 | first));
    return true;
}

bool AddName(Parser& parser, const Token& token, u32 column) {
    if (IsReservedName(token.text)) {
        return parser.Fail("a register cannot stand in an expression; write [R3+...] or [FP+...]");
    }
    const u32 symbol = InternSymbol(parser.table, std::string(token.text));
    const Symbol& entry = parser.table.symbols[symbol];
    if (entry.state == SymbolState::Variable) {
        Node node;
        node.op = entry.value.isFloat ? Op::Real : Op::Literal;
        node.base = entry.value.base;
        node.column = column;
        node.integer = entry.value.integer;
        node.real = entry.value.real;
        parser.table.nodes.push_back(node);
        return true;
    }
    parser.Add(Op::Symbol, column, static_cast<i64>(u64{kNoSymbol} << 32 | symbol));
    return true;
}

void AddHere(Parser& parser, u32 column) {
    const Section section = parser.cursor.section;
    i64 address = static_cast<i64>(parser.cursor.here);
    if (section == Section::Code) {
        address += parser.table.sectionBase[0];
    }
    parser.Add(Op::Literal, column, address);
    if (section == Section::Data) {
        parser.table.nodes.back().base = Base::Data;
    }
    if (section == Section::Bss) {
        parser.table.nodes.back().base = Base::Bss;
    }
}

bool ParsePrimary(Parser& parser) {
    Cursor& cursor = parser.cursor;
    const Token& token = cursor.Now();
    const u32 column = PositionOf(cursor).column;
    switch (token.kind) {
        case TokenKind::Integer:
            parser.Add(Op::Literal, column, static_cast<i64>(token.integer));
            break;
        case TokenKind::Float:
            parser.Add(Op::Real, column);
            parser.table.nodes.back().real = token.real;
            break;
        case TokenKind::Name:
            if (!AddName(parser, token, column)) {
                return false;
            }
            break;
        case TokenKind::LocalName:
            if (!AddLocalName(parser, token, column)) {
                return false;
            }
            break;
        case TokenKind::Punctuation:
            if (token.text == "$") {
                AddHere(parser, column);
                break;
            }
            if (token.text == "(") {
                ++cursor.at;
                if (!ParseBinary(parser, 1)) {
                    return false;
                }
                if (!cursor.Is(")")) {
                    return parser.Fail("a closing parenthesis is missing");
                }
                break;
            }
            return parser.Fail("expected a value, found " + Quoted(token.text));
        case TokenKind::String: return parser.Fail("a string cannot stand in an expression");
        case TokenKind::End: return parser.Fail("a value is missing");
        case TokenKind::DotName:
            return parser.Fail("expected a value, found " + Quoted(token.text));
    }
    ++cursor.at;
    return true;
}

bool ParseUnary(Parser& parser) {
    const u32 column = PositionOf(parser.cursor).column;
    Op op = Op::Literal;
    if (parser.cursor.Is("-")) {
        op = Op::Negate;
    }
    if (parser.cursor.Is("~")) {
        op = Op::Complement;
    }
    if (parser.cursor.Is("!")) {
        op = Op::Not;
    }
    if (parser.depth > kMaxNesting) {
        return parser.Fail("the expression is nested too deeply");
    }
    ++parser.depth;
    bool good = false;
    if (op == Op::Literal) {
        good = ParsePrimary(parser);
    } else {
        ++parser.cursor.at;
        good = ParseUnary(parser);
        if (good) {
            parser.Add(op, column);
        }
    }
    --parser.depth;
    return good;
}

const BinaryOperator* FindOperator(const Token& token) {
    if (token.kind != TokenKind::Punctuation) {
        return nullptr;
    }
    for (const BinaryOperator& binary : kBinaryOperators) {
        if (binary.text == token.text) {
            return &binary;
        }
    }
    return nullptr;
}

bool ParseBinary(Parser& parser, int lowest) {
    if (!ParseUnary(parser)) {
        return false;
    }
    for (;;) {
        const BinaryOperator* binary = FindOperator(parser.cursor.Now());
        if (binary == nullptr || binary->precedence < lowest) {
            return true;
        }
        const u32 column = PositionOf(parser.cursor).column;
        ++parser.cursor.at;
        if (!ParseBinary(parser, binary->precedence + 1)) {
            return false;
        }
        parser.Add(binary->op, column);
    }
}

}  // namespace

bool ParseExpression(Sources& sources, SymbolTable& table, Cursor& cursor, Expression& out) {
    Parser parser{sources, table, cursor};
    out.position = PositionOf(cursor);
    out.first = static_cast<u32>(table.nodes.size());
    if (!ParseBinary(parser, 1)) {
        return false;
    }
    out.count = static_cast<u32>(table.nodes.size()) - out.first;
    return true;
}

}  // namespace mxasm

}  // namespace moxi
