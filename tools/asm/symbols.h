#pragma once
// Names, expressions and values of an assembly.
//
// An expression is kept in reverse Polish order in one pool of nodes. It is evaluated where it
// stands, or at the end of the source when it waits for a later definition. Until then addresses in
// .data and .bss are known only relative to their section; the difference of two of them in the
// same section is a known number all the same.

#include <string>
#include <unordered_map>
#include <vector>

#include "tools/asm/lexer.h"

namespace moxi {

namespace mxasm {

enum class Section : u8 { Code, Data, Bss };
constexpr u32 kSectionCount = 3;

// What an address is counted from while the sections' places are not yet known.
enum class Base : u8 { Absolute, Data, Bss };

enum class ValueState : u8 {
    Known,
    Waiting,  // depends on something that is not defined so far
    Bad,      // can never have a value
};

enum class Problem : u8 {
    None,
    Undefined,
    NotYetKnown,  // a name that is defined later, or an address that is still open
    Circular,
    TooDeep,
    TooMuch,
    DivisionByZero,
    ShiftCount,
    NeedsIntegers,
    MixedAddresses,
    UsedBeforeSet,
    AlreadyReported,
};

struct Value {
    ValueState state = ValueState::Known;
    Base base = Base::Absolute;
    bool isFloat = false;
    Problem problem = Problem::None;
    u32 symbol = 0;  // that the problem is about
    i64 integer = 0;
    f64 real = 0;
    SourcePosition position;  // of the problem
};

enum class Op : u8 {
    Literal,
    Real,
    Symbol,
    Negate,
    Complement,
    Not,
    Multiply,
    Divide,
    Remainder,
    Add,
    Subtract,
    ShiftLeft,
    ShiftRight,
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
    Equal,
    NotEqual,
    And,
    Xor,
    Or,
    LogicalAnd,
    LogicalOr,
};

struct Node {
    Op op = Op::Literal;
    Base base = Base::Absolute;
    u32 column = 0;
    i64 integer = 0;  // value; of Symbol the symbol, and above bit 32 the one tried after it
    f64 real = 0;
};

struct Expression {
    u32 first = 0;
    u32 count = 0;
    SourcePosition position;
};

enum class SymbolState : u8 {
    Unused,    // met in an expression only
    Label,     // section and offset
    Constant,  // an expression, evaluated when it is needed
    Variable,  // the value of the latest .set
};

struct Symbol {
    std::string name;
    SymbolState state = SymbolState::Unused;
    Section section = Section::Code;
    bool floating = false;    // a label that the next instruction's alignment may still move
    bool evaluating = false;  // guards against circles
    bool reported = false;    // an error about its definition; there is only one
    u64 offset = 0;
    Expression expression;
    Value value;
    u64 valueEpoch = 0;  // a value that waits is tried again when the epoch has changed
    SourcePosition position;
};

struct SymbolTable {
    std::vector<Symbol> symbols;
    std::unordered_map<std::string, u32> byName;
    std::vector<Node> nodes;
    std::vector<Value> stack;
    u64 epoch = 1;  // grows whenever a name is defined, so that values that wait are tried again
    u32 depth = 0;  // of constants that are evaluated for one another
    u64 work = 0;   // nodes evaluated so far
    bool final = false;  // all is defined, the sections' places are known
    i64 sectionBase[3] = {512, 0, 0};
    // For local labels: the latest ordinary label of each section.
    u32 scope[kSectionCount] = {~0u, ~0u, ~0u};
};

// The most nodes that one assembly evaluates: constants that wait for one another could be
// evaluated almost without end.
constexpr u64 kMaxEvaluatedNodes = 500'000'000;

constexpr u32 kNoSymbol = ~0u;

// The symbol of that name, made when it is new.
u32 InternSymbol(SymbolTable& table, const std::string& name);
// The symbol of that name or kNoSymbol.
u32 FindSymbol(const SymbolTable& table, const std::string& name);

// Where a parser stands in a line's tokens.
struct Cursor {
    const Line* line = nullptr;
    const std::vector<Token>* tokens = nullptr;
    size_t at = 0;
    Section section = Section::Code;
    u64 here = 0;  // offset in the section that `$` stands for

    const Token& Now() const { return (*tokens)[at]; }
    const Token& Next() const { return (*tokens)[at + 1 < tokens->size() ? at + 1 : at]; }
    bool Is(std::string_view punctuation) const {
        return Now().kind == TokenKind::Punctuation && Now().text == punctuation;
    }
    bool AtEnd() const { return Now().kind == TokenKind::End; }
    bool Accept(std::string_view punctuation) {
        if (!Is(punctuation)) {
            return false;
        }
        ++at;
        return true;
    }
};

SourcePosition PositionOf(const Cursor& cursor);

// Parses an expression at the cursor. False, having reported it, when there is none.
bool ParseExpression(Sources& sources, SymbolTable& table, Cursor& cursor, Expression& out);

// The value as far as it is known now.
Value Evaluate(SymbolTable& table, const Expression& expression);
Value EvaluateSymbol(SymbolTable& table, u32 symbol);

// What is wrong with a value that is not known.
std::string Describe(const SymbolTable& table, const Value& value);

// Reports, for the statement `sequence`, why a value is not known. Of the same name, that it is
// undefined, circular or not yet set is reported only once.
void ReportValue(Sources& sources, SymbolTable& table, u64 sequence, const Value& value);

// The same for an expression of the statement at hand that has to be a number and is none, also
// where it is known but is an address.
void ReportNoNumber(Sources& sources, SymbolTable& table, const Expression& expression,
                    const Value& value);

// The register number 0..15 that a name stands for, or -1.
int RegisterNumber(std::string_view name);
// Names that operands use: R0..R15 and FP.
bool IsReservedName(std::string_view name);

}  // namespace mxasm

}  // namespace moxi
