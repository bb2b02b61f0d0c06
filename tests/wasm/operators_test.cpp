// Every numeric operator with all pairs of corner values, its operands from everywhere: arguments,
// memory, constants on either side, its result used as a value and as a condition. What is right
// comes from wabt's interpreter, and Node.js says the same.

#include <gtest/gtest.h>

#include "tests/support/vm_fixture.h"
#include "tests/wasm/calls.h"
#include "tests/wasm/module_bytes.h"
#include "tests/wasm/operators.h"

namespace moxi {
namespace {

char Seen(char type) {
    return type == 'f' ? 'i' : type == 'F' ? 'I' : type;
}

bool IsNan(char type, u64 bits) {
    if (type == 'f') {
        return (bits & 0x7FFFFFFF) > 0x7F800000;
    }
    return type == 'F' && (bits & 0x7FFFFFFFFFFFFFFF) > 0x7FF0000000000000;
}
bool IsCanonical(char type, u64 bits) {
    return type == 'f' ? (bits & 0x7FFFFFFF) == 0x7FC00000
                       : (bits & 0x7FFFFFFFFFFFFFFF) == 0x7FF8000000000000;
}
bool IsQuiet(char type, u64 bits) {
    return IsNan(type, bits) && (bits >> (type == 'f' ? 22 : 51) & 1) != 0;
}

// A module with functions that all apply one operator.
class OperatorModule {
  public:
    explicit OperatorModule(const NumericOperator& tried) : op(tried) {
        AddFunction(
            "p", [&](u32 i) { Argument(i); }, op.operands, "value");
        AddFunction(
            "m", [&](u32 i) { FromMemory(i); }, op.operands, "value");
        if (op.result == 'i') {
            AddFunction(
                "if", [&](u32 i) { Argument(i); }, op.operands, "if");
            AddFunction(
                "br", [&](u32 i) { Argument(i); }, op.operands, "br_if");
            AddFunction(
                "not", [&](u32 i) { Argument(i); }, op.operands, "eqz br_if");
            AddFunction(
                "select", [&](u32 i) { Argument(i); }, op.operands, "select");
        }
        CallPairs();
        if (op.operands.size() == 1) {
            AddConstants();
        } else {
            AddMixed();
        }
    }

    RandomModule Finish() {
        WasmBytes file;
        file.Raw(kWasmHeader);
        WasmBytes section;
        section.Unsigned(types.size());
        for (const auto& [parameters, result] : types) {
            section.Byte(0x60);
            section.Unsigned(parameters.size());
            for (const char type : parameters) {
                section.Byte(ValueTypeByte(type));
            }
            section.Unsigned(1);
            section.Byte(ValueTypeByte(result));
        }
        file.Section(1, section);
        section = {};
        section.Unsigned(types.size());
        for (u32 i = 0; i < types.size(); ++i) {
            section.Unsigned(i);
        }
        file.Section(3, section);
        section = {};
        section.Raw(std::string_view("\1\0\1", 3));
        file.Section(5, section);
        AddFunctions(file, names, bodies);
        module.bytes = file.bytes;
        return module;
    }

    // Whether an operand of this call is a NaN with bits of its own.
    static bool HasOddNan(const NumericOperator& op, const RandomModule::Call& call) {
        if (call.name != "p" && call.name != "m") {
            return true;
        }
        for (size_t i = 0; i < op.operands.size(); ++i) {
            const char type = op.operands[i];
            if (IsNan(type, call.arguments[i]) && !IsCanonical(type, call.arguments[i])) {
                return true;
            }
        }
        return false;
    }

  private:
    void Argument(u32 index) {
        code.Byte(0x20);
        code.Unsigned(index);
        if (op.operands[index] == 'f') {
            code.Byte(0xBE);
        }
        if (op.operands[index] == 'F') {
            code.Byte(0xBF);
        }
    }

    // The argument goes to memory as an integer and comes back as what it is.
    void FromMemory(u32 index) {
        code.Byte(0x41);
        code.Signed(16 + 8 * index);
        const char type = op.operands[index];
        code.Byte(type == 'i' ? 0x28 : type == 'I' ? 0x29 : type == 'f' ? 0x2A : 0x2B);
        code.Unsigned(0);
        code.Unsigned(4);
    }

    void StoreArguments() {
        for (u32 i = 0; i < op.operands.size(); ++i) {
            code.Byte(0x41);
            code.Signed(16 + 8 * i);
            code.Byte(0x20);
            code.Unsigned(i);
            code.Byte(Seen(op.operands[i]) == 'i' ? 0x36 : 0x37);
            code.Unsigned(0);
            code.Unsigned(4);
        }
    }

    void Constant(char type, u64 bits) {
        code.Byte(type == 'i' ? 0x41 : type == 'I' ? 0x42 : type == 'f' ? 0x43 : 0x44);
        if (type == 'i') {
            code.Signed(static_cast<i32>(bits));
        }
        if (type == 'I') {
            code.Signed(static_cast<i64>(bits));
        }
        if (type == 'f') {
            code.Fixed(bits, 4);
        }
        if (type == 'F') {
            code.Fixed(bits, 8);
        }
    }

    template <class Operand>
    void AddFunction(const std::string& name, Operand operand, const std::string& parameters,
                     const std::string& use) {
        code = {};
        code.Byte(0);  // no locals
        if (name == "m") {
            StoreArguments();
        }
        const auto apply = [&] {
            for (u32 i = 0; i < op.operands.size(); ++i) {
                operand(i);
            }
            for (const u8 byte : op.bytes) {
                code.Byte(byte);
            }
        };
        char result = Seen(op.result);
        if (use == "value") {
            apply();
            if (op.result == 'f') {
                code.Byte(0xBC);
            }
            if (op.result == 'F') {
                code.Byte(0xBD);
            }
        } else if (use == "if") {
            apply();
            code.Raw("\x04\x7F\x41\x0A\x05\x41\x14\x0B");  // if (result i32) 10 else 20 end
        } else if (use == "select") {
            code.Raw("\x41\x0A\x41\x14");
            apply();
            code.Byte(0x1B);
        } else {
            code.Raw("\x02\x7F\x41\x0A");  // block (result i32) 10
            apply();
            if (use == "eqz br_if") {
                code.Byte(0x45);
            }
            code.Raw(std::string_view("\x0D\0\x1A\x41\x14\x0B", 6));  // br_if 0 drop 20 end
        }
        code.Byte(0x0B);
        std::string seen = parameters;
        for (char& type : seen) {
            type = Seen(type);
        }
        types.emplace_back(seen, result);
        names.push_back(name);
        bodies.push_back(code);
    }

    void Call(const std::string& name, const std::vector<u64>& arguments,
              const std::string& argumentTypes) {
        std::string seen = argumentTypes;
        for (char& type : seen) {
            type = Seen(type);
        }
        module.calls.push_back({name, arguments, seen});
    }

    void CallPairs() {
        for (const std::string& name : std::vector<std::string>(names)) {
            for (const u64 a : Corners(op.operands[0])) {
                if (op.operands.size() == 1) {
                    Call(name, {a}, op.operands);
                    continue;
                }
                for (const u64 b : Corners(op.operands[1])) {
                    Call(name, {a, b}, op.operands);
                }
            }
        }
    }

    // Of one operand: each constant.
    void AddConstants() {
        u32 number = 0;
        for (const u64 c : Corners(op.operands[0])) {
            const std::string name = "c" + std::to_string(number++);
            AddFunction(
                name, [&](u32) { Constant(op.operands[0], c); }, "", "value");
            Call(name, {}, "");
        }
    }

    // Of two: a constant on the right, on the left, on both sides.
    void AddMixed() {
        const char left = op.operands[0];
        const char right = op.operands[1];
        u32 number = 0;
        for (const u64 c : Corners(right)) {
            const std::string name = std::to_string(number);
            const auto withRight = [&](u32 i) { i == 0 ? Argument(0) : Constant(right, c); };
            AddFunction("r" + name, withRight, std::string(1, left), "value");
            for (const u64 a : Corners(left)) {
                Call("r" + name, {a}, std::string(1, left));
            }
            const auto withLeft = [&](u32 i) {
                if (i == 0) {
                    return Constant(left, c);
                }
                code.Byte(0x20);
                code.Unsigned(0);
                if (right == 'f') {
                    code.Byte(0xBE);
                }
                if (right == 'F') {
                    code.Byte(0xBF);
                }
            };
            AddFunction("l" + name, withLeft, std::string(1, right), "value");
            for (const u64 b : Corners(right)) {
                Call("l" + name, {b}, std::string(1, right));
            }
            if (op.result == 'i') {
                AddFunction("ri" + name, withRight, std::string(1, left), "if");
                for (const u64 a : Corners(left)) {
                    Call("ri" + name, {a}, std::string(1, left));
                }
                AddFunction("li" + name, withLeft, std::string(1, right), "br_if");
                for (const u64 b : Corners(right)) {
                    Call("li" + name, {b}, std::string(1, right));
                }
            }
            const u64 other = Corners(left)[(number * 7 + 3) % Corners(left).size()];
            const auto withBoth = [&](u32 i) {
                i == 0 ? Constant(left, other) : Constant(right, c);
            };
            AddFunction("b" + name, withBoth, "", "value");
            Call("b" + name, {}, "");
            ++number;
        }
    }

    const NumericOperator& op;
    RandomModule module;
    WasmBytes code;
    std::vector<std::pair<std::string, char>> types;
    std::vector<std::string> names;
    std::vector<WasmBytes> bodies;
};

bool SameLine(const NumericOperator& op, const RandomModule::Call& call, const std::string& ours,
              const std::string& theirs) {
    const bool floats = op.result == 'f' || op.result == 'F';
    const bool keepsBits = op.name.ends_with(".neg") || op.name.ends_with(".abs") ||
                           op.name.ends_with(".copysign") ||
                           op.name.find("reinterpret") != std::string::npos;
    if (ours == theirs || !floats || keepsBits) {
        return ours == theirs;
    }
    const size_t at = theirs.find("-> ");
    if (at == std::string::npos || ours.substr(0, at) != theirs.substr(0, at)) {
        return false;
    }
    const u64 wanted = std::stoull(theirs.substr(at + 3), nullptr, 16);
    const u64 got = std::stoull(ours.substr(at + 3), nullptr, 16);
    if (!IsNan(op.result, wanted)) {
        return false;
    }
    return OperatorModule::HasOddNan(op, call) ? IsQuiet(op.result, got)
                                               : IsCanonical(op.result, got);
}

struct WasmOperatorsTest : VmTest {
    u64 tried = 0;
    u64 trapped = 0;

    // Node.js says the same as wabt's interpreter.
    static void CompareWithNode(const NumericOperator& op, const RandomModule& module,
                                const std::vector<std::string>& wanted,
                                const std::vector<std::string>& ofNode) {
        ASSERT_EQ(ofNode.size(), wanted.size()) << op.name;
        for (size_t i = 0; i < wanted.size(); ++i) {
            const std::string& theirs = ofNode[i];
            const bool same = theirs.starts_with("Trap: ")
                                  ? SameTrap(theirs, wanted[i])
                                  : SameLine(op, module.calls[i], theirs, wanted[i]);
            EXPECT_TRUE(same) << op.name << ": " << CallText({module.calls[i]}) << "  wabt "
                              << wanted[i] << "\n  Node " << theirs;
        }
    }

    void Check(const NumericOperator& op, const RandomModule& module,
               const std::vector<std::string>& wanted, const std::vector<std::string>& ofNode) {
        ASSERT_EQ(wanted.size(), module.calls.size()) << op.name;
        CompareWithNode(op, module, wanted, ofNode);
        const TranslatedModule translation = Translate(module.bytes, CallOptions());
        ASSERT_TRUE(translation.ok) << op.name << ": " << translation.errors[0];

        std::vector<RandomModule::Call> ending;
        std::vector<size_t> places;
        for (size_t i = 0; i < wanted.size(); ++i) {
            if (!wanted[i].starts_with("Trap: ")) {
                ending.push_back(module.calls[i]);
                places.push_back(i);
            }
        }
        const CallsRun run = RunTranslated(translation, CallText(ending));
        ASSERT_EQ(run.lines.size(), places.size())
            << op.name << " ends with " << (run.lines.empty() ? "" : run.lines.back());
        u32 wrong = 0;
        for (size_t i = 0; i < places.size(); ++i) {
            const RandomModule::Call& call = module.calls[places[i]];
            if (SameLine(op, call, run.lines[i], wanted[places[i]])) {
                continue;
            }
            ADD_FAILURE() << op.name << ": " << CallText({call}) << "  here  " << run.lines[i]
                          << "\n  there " << wanted[places[i]];
            if (++wrong == 10) {
                return;
            }
        }
        for (size_t i = 0; i < wanted.size(); ++i) {
            if (!wanted[i].starts_with("Trap: ")) {
                continue;
            }
            ++trapped;
            const CallsRun trap = RunTranslated(translation, CallText({module.calls[i]}));
            const bool divides = !trap.fatals.empty() && trap.lines.empty() &&
                                 trap.fatals[0].starts_with("Division error");
            const std::string line = divides
                                         ? "Trap: integer divi"
                                         : WithoutFunction(trap.lines.empty() ? "" : trap.lines[0]);
            const bool same = divides ? wanted[i] == "Trap: integer divide by zero" ||
                                            wanted[i] == "Trap: integer overflow"
                                      : line == wanted[i];
            EXPECT_TRUE(same && trap.status == 1)
                << op.name << ": " << CallText({module.calls[i]}) << "  here  " << line
                << "\n  there " << wanted[i];
        }
        tried += wanted.size();
    }
};

TEST_F(WasmOperatorsTest, EveryPairOfCornersGivesWhatWabtsInterpreterAndNodeGive) {
    const StandardError quiet(true);
    const std::vector<NumericOperator>& operators = NumericOperators();
    std::vector<RandomModule> modules;
    for (const NumericOperator& op : operators) {
        modules.push_back(OperatorModule(op).Finish());
    }
    const std::vector<std::vector<std::string>> wanted = WabtLines(modules, false);
    const std::vector<std::vector<std::string>> ofNode = NodeLines(modules, false);
    ASSERT_EQ(wanted.size(), operators.size());
    ASSERT_EQ(ofNode.size(), operators.size());
    for (size_t i = 0; i < operators.size(); ++i) {
        Check(operators[i], modules[i], wanted[i], ofNode[i]);
    }
    EXPECT_GT(tried, 200000u);
    EXPECT_GT(trapped, 500u);
}

}  // namespace
}  // namespace moxi
