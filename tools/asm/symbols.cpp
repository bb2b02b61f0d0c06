#include "tools/asm/symbols.h"

#include <cmath>

namespace moxi {

namespace mxasm {

u32 InternSymbol(SymbolTable& table, const std::string& name) {
    const auto [entry, isNew] =
        table.byName.try_emplace(name, static_cast<u32>(table.symbols.size()));
    if (isNew) {
        table.symbols.emplace_back();
        table.symbols.back().name = name;
    }
    return entry->second;
}

u32 FindSymbol(const SymbolTable& table, const std::string& name) {
    const auto found = table.byName.find(name);
    return found == table.byName.end() ? kNoSymbol : found->second;
}

int RegisterNumber(std::string_view name) {
    if (name.size() < 2 || name.size() > 3 || (name[0] != 'R' && name[0] != 'r')) {
        return -1;
    }
    int number = 0;
    for (const char c : name.substr(1)) {
        if (c < '0' || c > '9') {
            return -1;
        }
        number = number * 10 + (c - '0');
    }
    const bool leadingZero = name.size() == 3 && name[1] == '0';
    return number < 16 && !leadingZero ? number : -1;
}

bool IsReservedName(std::string_view name) {
    return RegisterNumber(name) >= 0 || UpperCase(name) == "FP";
}

namespace {

Value Problematic(ValueState state, Problem problem, u32 symbol, const SourcePosition& position) {
    Value value;
    value.state = state;
    value.problem = problem;
    value.symbol = symbol;
    value.position = position;
    return value;
}

Value Integer(i64 number) {
    Value value;
    value.integer = number;
    return value;
}

Value Real(f64 number) {
    Value value;
    value.isFloat = true;
    value.real = number;
    return value;
}

f64 AsReal(const Value& value) {
    return value.isFloat ? value.real : static_cast<f64>(value.integer);
}

bool IsTrue(const Value& value) {
    if (value.isFloat) {
        return value.real != 0;
    }
    // An address is never 0: its section lies behind the header.
    return value.integer != 0 || value.base != Base::Absolute;
}

Value LabelValue(const SymbolTable& table, const Symbol& symbol, u32 index) {
    const i64 offset = static_cast<i64>(symbol.offset);
    if (symbol.floating && !table.final) {
        return Problematic(ValueState::Waiting, Problem::NotYetKnown, index, {});
    }
    const auto section = static_cast<u32>(symbol.section);
    if (symbol.section == Section::Code || table.final) {
        return Integer(table.sectionBase[section] + offset);
    }
    Value value = Integer(offset);
    value.base = symbol.section == Section::Data ? Base::Data : Base::Bss;
    return value;
}

Value ConstantValue(SymbolTable& table, u32 index) {
    Symbol* symbol = &table.symbols[index];
    const bool cached = symbol->valueEpoch != 0 && (symbol->value.state == ValueState::Known ||
                                                    symbol->valueEpoch == table.epoch);
    if (cached) {
        return symbol->value;
    }
    if (symbol->evaluating) {
        return Problematic(ValueState::Bad, Problem::Circular, index, symbol->position);
    }
    if (table.depth >= 200) {
        return Problematic(ValueState::Bad, Problem::TooDeep, index, symbol->position);
    }
    symbol->evaluating = true;
    ++table.depth;
    const Value value = Evaluate(table, symbol->expression);
    --table.depth;
    symbol = &table.symbols[index];
    symbol->evaluating = false;
    // A value counted from .data or .bss changes its meaning when the sections get their places.
    symbol->value = value;
    symbol->valueEpoch = table.epoch;
    if (value.state == ValueState::Known && value.base != Base::Absolute) {
        symbol->valueEpoch = 0;
    }
    return value;
}

}  // namespace

Value EvaluateSymbol(SymbolTable& table, u32 symbol) {
    const Symbol& entry = table.symbols[symbol];
    switch (entry.state) {
        case SymbolState::Label: return LabelValue(table, entry, symbol);
        case SymbolState::Constant: return ConstantValue(table, symbol);
        case SymbolState::Variable: {
            if (!table.final) {
                return entry.value;
            }
            return Problematic(ValueState::Bad, Problem::UsedBeforeSet, symbol, {});
        }
        case SymbolState::Unused: break;
    }
    return table.final ? Problematic(ValueState::Bad, Problem::Undefined, symbol, {})
                       : Problematic(ValueState::Waiting, Problem::NotYetKnown, symbol, {});
}

namespace {

Value Wrapped(u64 bits) {
    return Integer(static_cast<i64>(bits));
}

Value UnaryResult(Op op, const Value& a, const SourcePosition& position) {
    if (op == Op::Not) {
        return Integer(IsTrue(a) ? 0 : 1);
    }
    if (op == Op::Negate && a.isFloat) {
        return Real(-a.real);
    }
    if (a.isFloat) {
        return Problematic(ValueState::Bad, Problem::NeedsIntegers, 0, position);
    }
    if (a.base != Base::Absolute) {
        return Problematic(ValueState::Waiting, Problem::MixedAddresses, 0, position);
    }
    const auto bits = static_cast<u64>(a.integer);
    return Wrapped(op == Op::Negate ? u64{0} - bits : ~bits);
}

Value RealResult(Op op, f64 a, f64 b, const SourcePosition& position) {
    switch (op) {
        case Op::Multiply: return Real(a * b);
        case Op::Divide:
            if (b == 0) {
                return Problematic(ValueState::Bad, Problem::DivisionByZero, 0, position);
            }
            return Real(a / b);
        case Op::Add: return Real(a + b);
        case Op::Subtract: return Real(a - b);
        case Op::Less: return Integer(a < b);
        case Op::LessEqual: return Integer(a <= b);
        case Op::Greater: return Integer(a > b);
        case Op::GreaterEqual: return Integer(a >= b);
        case Op::Equal: return Integer(a == b);
        case Op::NotEqual: return Integer(a != b);
        default: return Problematic(ValueState::Bad, Problem::NeedsIntegers, 0, position);
    }
}

Value IntegerResult(Op op, i64 a, i64 b, const SourcePosition& position) {
    const auto ua = static_cast<u64>(a);
    const auto ub = static_cast<u64>(b);
    switch (op) {
        case Op::Multiply: return Wrapped(ua * ub);
        case Op::Divide:
        case Op::Remainder:
            if (b == 0) {
                return Problematic(ValueState::Bad, Problem::DivisionByZero, 0, position);
            }
            if (b == -1) {
                return Wrapped(op == Op::Divide ? u64{0} - ua : 0);
            }
            return Integer(op == Op::Divide ? a / b : a % b);
        case Op::Add: return Wrapped(ua + ub);
        case Op::Subtract: return Wrapped(ua - ub);
        case Op::ShiftLeft:
        case Op::ShiftRight:
            if (b < 0 || b > 63) {
                return Problematic(ValueState::Bad, Problem::ShiftCount, 0, position);
            }
            return op == Op::ShiftLeft ? Wrapped(ua << b) : Integer(a >> b);
        case Op::Less: return Integer(a < b);
        case Op::LessEqual: return Integer(a <= b);
        case Op::Greater: return Integer(a > b);
        case Op::GreaterEqual: return Integer(a >= b);
        case Op::Equal: return Integer(a == b);
        case Op::NotEqual: return Integer(a != b);
        case Op::And: return Wrapped(ua & ub);
        case Op::Xor: return Wrapped(ua ^ ub);
        default: return Wrapped(ua | ub);
    }
}

Value BinaryResult(Op op, const Value& a, const Value& b, const SourcePosition& position) {
    if (op == Op::LogicalAnd || op == Op::LogicalOr) {
        return Integer(op == Op::LogicalAnd ? IsTrue(a) && IsTrue(b) : IsTrue(a) || IsTrue(b));
    }
    if (a.isFloat || b.isFloat) {
        if (a.base != Base::Absolute || b.base != Base::Absolute) {
            return Problematic(ValueState::Bad, Problem::NeedsIntegers, 0, position);
        }
        return RealResult(op, AsReal(a), AsReal(b), position);
    }
    if (a.base == Base::Absolute && b.base == Base::Absolute) {
        return IntegerResult(op, a.integer, b.integer, position);
    }
    const bool compares = op >= Op::Less && op <= Op::NotEqual;
    if (a.base == b.base && (op == Op::Subtract || compares)) {
        return IntegerResult(op, a.integer, b.integer, position);
    }
    const bool moves = (op == Op::Add && (a.base == Base::Absolute || b.base == Base::Absolute)) ||
                       (op == Op::Subtract && b.base == Base::Absolute);
    if (moves) {
        Value value = IntegerResult(op, a.integer, b.integer, position);
        value.base = a.base == Base::Absolute ? b.base : a.base;
        return value;
    }
    return Problematic(ValueState::Waiting, Problem::MixedAddresses, 0, position);
}

// Decides && and || by the left side alone where it can, so that the right side may be senseless.
bool DecidedByLeft(Op op, const Value& a) {
    if (a.state != ValueState::Known) {
        return false;
    }
    return (op == Op::LogicalAnd && !IsTrue(a)) || (op == Op::LogicalOr && IsTrue(a));
}

Value SymbolNode(SymbolTable& table, const Node& node, const SourcePosition& position) {
    const u64 packed = static_cast<u64>(node.integer);
    const u32 first = static_cast<u32>(packed);
    const u32 second = static_cast<u32>(packed >> 32);
    u32 chosen = first;
    if (table.final && second != kNoSymbol && table.symbols[first].state == SymbolState::Unused &&
        table.symbols[second].state != SymbolState::Unused) {
        chosen = second;
    }
    Value value = EvaluateSymbol(table, chosen);
    // A problem of the name itself is shown where the name is used.
    const bool here = value.symbol == chosen && (value.problem == Problem::Undefined ||
                                                 value.problem == Problem::UsedBeforeSet ||
                                                 value.problem == Problem::NotYetKnown);
    if (here) {
        value.position = position;
    }
    return value;
}

}  // namespace

Value Evaluate(SymbolTable& table, const Expression& expression) {
    const size_t bottom = table.stack.size();
    table.work += expression.count;
    if (table.work > kMaxEvaluatedNodes) {
        return Problematic(ValueState::Bad, Problem::TooMuch, 0, expression.position);
    }
    for (u32 i = 0; i < expression.count; ++i) {
        const Node node = table.nodes[expression.first + i];
        SourcePosition position = expression.position;
        position.column = node.column;
        if (node.op == Op::Literal) {
            Value value = Integer(node.integer);
            value.base = node.base;
            if (table.final && node.base != Base::Absolute) {
                value.integer += table.sectionBase[static_cast<u32>(node.base)];
                value.base = Base::Absolute;
            }
            table.stack.push_back(value);
        } else if (node.op == Op::Real) {
            table.stack.push_back(Real(node.real));
        } else if (node.op == Op::Symbol) {
            const Value value = SymbolNode(table, node, position);
            table.stack.push_back(value);
        } else if (node.op <= Op::Not) {
            Value& a = table.stack.back();
            if (a.state == ValueState::Known) {
                a = UnaryResult(node.op, a, position);
            }
        } else {
            const Value b = table.stack.back();
            table.stack.pop_back();
            Value& a = table.stack.back();
            if (DecidedByLeft(node.op, a)) {
                a = Integer(node.op == Op::LogicalOr);
            } else if (a.state == ValueState::Known && b.state == ValueState::Known) {
                a = BinaryResult(node.op, a, b, position);
            } else if (a.state == ValueState::Known || b.state == ValueState::Bad) {
                // What can never be known outweighs what is not known yet, save for a left side
                // of && and || that may still decide.
                const bool mayDecide = (node.op == Op::LogicalAnd || node.op == Op::LogicalOr) &&
                                       a.state == ValueState::Waiting;
                if (!mayDecide && a.state != ValueState::Bad) {
                    a = b;
                }
            }
        }
    }
    const Value result = table.stack.back();
    table.stack.resize(bottom);
    return result;
}

std::string Describe(const SymbolTable& table, const Value& value) {
    const std::string name = value.symbol < table.symbols.size()
                                 ? Quoted(table.symbols[value.symbol].name)
                                 : std::string();
    switch (value.problem) {
        case Problem::Undefined: return name + " is not defined";
        case Problem::NotYetKnown: return "the value must be known here, and " + name + " is not";
        case Problem::Circular: return name + " is defined by itself";
        case Problem::TooDeep: return "the constants lead too far from one to the next";
        case Problem::TooMuch: return "the expressions of this source take too long to evaluate";
        case Problem::DivisionByZero: return "division by zero";
        case Problem::ShiftCount: return "a shift count is 0 to 63";
        case Problem::NeedsIntegers: return "this operator takes whole numbers only";
        case Problem::MixedAddresses:
            return "the value must be known here, and the places of .data and .bss are not";
        case Problem::UsedBeforeSet: return name + " is used before its first .set";
        case Problem::None:
        case Problem::AlreadyReported: break;
    }
    return "the value is not known";
}

void ReportValue(Sources& sources, SymbolTable& table, u64 sequence, const Value& value) {
    if (value.problem == Problem::AlreadyReported) {
        return;
    }
    const bool aboutSymbol = value.problem == Problem::Undefined ||
                             value.problem == Problem::Circular ||
                             value.problem == Problem::UsedBeforeSet;
    if (aboutSymbol) {
        Symbol& symbol = table.symbols[value.symbol];
        if (symbol.reported) {
            return;
        }
        symbol.reported = true;
    }
    ReportAt(sources, sequence, value.position, Describe(table, value));
}

void ReportNoNumber(Sources& sources, SymbolTable& table, const Expression& expression,
                    const Value& value) {
    Value shown = value;
    if (value.state == ValueState::Known) {
        shown.problem = Problem::MixedAddresses;
    }
    if (shown.position.line == 0) {
        shown.position = expression.position;
    }
    ReportValue(sources, table, sources.sequence, shown);
}

}  // namespace mxasm

}  // namespace moxi
