// What is shortened in translated code and must stay what it is: orders with constants, the look
// for room on the stack, the names of traps, ends of blocks that are kept once.

#include <gtest/gtest.h>

#include "base/log.h"
#include "tests/support/vm_fixture.h"
#include "tests/wasm/calls.h"

namespace moxi {
namespace {

using Texts = std::vector<std::string>;

struct WasmCodeTest : VmTest {
    StandardError quiet{true};

    static CallsRun Run(const std::string& text, const std::string& calls) {
        CallsRun run = RunCalls(WasmOfText(text, {"--debug-names"}), calls, CallOptions());
        EXPECT_EQ(run.errors, Texts{});
        return run;
    }
    static u32 CodeBytes(const std::string& text) {
        return Translate(WasmOfText(text), CallOptions()).codeBytes;
    }
};

// Bit i of the result is order i, of an i32 that is loaded and of one that is a local.
TEST_F(WasmCodeTest, OrdersHoldOnBothSidesOfTheirConstants) {
    struct Row {
        const char* order;
        i64 constant;
    };
    const Row rows[] = {{"lt_s", 1},   {"ge_s", 1},   {"gt_s", -1},  {"le_s", -1},  {"lt_s", 8},
                        {"ge_s", 8},   {"gt_s", -9},  {"le_s", -9},  {"lt_u", 256}, {"ge_u", 256},
                        {"le_u", 255}, {"gt_u", 255}, {"lt_u", 100}, {"gt_u", 100}};
    std::string sum = "(i32.const 0)";
    std::string loaded = "(i32.const 0)";
    for (u32 i = 0; i < std::size(rows); ++i) {
        const auto add = [&](const std::string& to, const char* value) {
            return FormatText("(i32.or %s (i32.shl (i32.%s %s (i32.const %lld)) (i32.const %u)))",
                              to.c_str(), rows[i].order, value,
                              static_cast<long long>(rows[i].constant), i);
        };
        sum = add(sum, "(local.get 0)");
        loaded = add(loaded, "(i32.load (i32.const 8))");
    }
    const std::string text =
        "(module (memory 1) (func (export \"f\") (param i32) (result i32 i32)"
        "(i32.store (i32.const 8) (local.get 0)) " +
        sum + loaded + "))";
    const auto holds = [](const Row& row, i32 value) {
        const std::string order = row.order;
        const i64 a = order.ends_with("u") ? i64{static_cast<u32>(value)} : value;
        if (order.starts_with("lt")) {
            return a < row.constant;
        }
        if (order.starts_with("le")) {
            return a <= row.constant;
        }
        return order.starts_with("gt") ? a > row.constant : a >= row.constant;
    };
    std::string calls;
    Texts wanted;
    for (const i32 value :
         {0,   1,  2,   -1,  -2,  7,   8,   9,          -8,          -9,
          -10, 99, 100, 101, 255, 256, 257, 2147483647, -2147483647, -2147483647 - 1}) {
        u32 bits = 0;
        for (u32 i = 0; i < std::size(rows); ++i) {
            bits |= u32{holds(rows[i], value)} << i;
        }
        calls += "f " + std::to_string(value) + "\n";
        wanted.push_back(FormatText("f -> 0x%08X 0x%08X", bits, bits));
    }
    EXPECT_EQ(Run(text, calls).lines, wanted);
}

TEST_F(WasmCodeTest, ARingOfCallsEndsWithAStackOverflow) {
    const char* const text = R"((module
        (func $first (export "first") (param i32) (result i32)
            (i32.add (i32.const 1) (call $second (i32.add (local.get 0) (i32.const 1)))))
        (func $second (param i32) (result i32)
            (i32.add (i32.const 2) (call $third (i32.xor (local.get 0) (i32.const 5)))))
        (func $third (param i32) (result i32)
            (i32.add (i32.const 3) (call $second (i32.sub (local.get 0) (i32.const 1)))))))";
    const CallsRun run = Run(text, "first 1\n");
    EXPECT_EQ(run.status, 1);
    ASSERT_EQ(run.lines.size(), 1u);
    EXPECT_TRUE(run.lines[0].starts_with("Trap: stack overflow in ")) << run.lines[0];
}

// Functions that do not look for room stand between two that do; their frames are as large as
// frames can be, and still lie in the room below.
TEST_F(WasmCodeTest, LargeFramesThatDoNotLookForRoomHaveIt) {
    constexpr u32 kValues = 3700;
    constexpr u32 kFunctions = 40;
    std::string text = "(module (memory 1)";
    for (u32 i = 0; i < kFunctions; ++i) {
        text += FormatText("(func $f%u %s (param i64) (result i64) (local", i,
                           i == 0 ? "(export \"f\")" : "");
        for (u32 k = 0; k < kValues; ++k) {
            text += " i64";
        }
        text += ")";
        for (u32 k = 1; k <= kValues; ++k) {
            text += FormatText("(local.set %u (i64.load (i32.wrap_i64 (local.get %u))))", k, k - 1);
        }
        text += FormatText("(call $f%u (local.get 0))", (i + 1) % kFunctions);
        for (u32 k = 1; k <= kValues; ++k) {
            text += FormatText("(i64.add (local.get %u))", k);
        }
        text += ")";
    }
    const CallsRun run = Run(text + ")", "f 0\n");
    EXPECT_EQ(run.status, 1);
    ASSERT_EQ(run.lines.size(), 1u);
    EXPECT_TRUE(run.lines[0].starts_with("Trap: stack overflow in f")) << run.lines[0];
}

// A call has 16 bits for the number of a trap's name.
TEST_F(WasmCodeTest, TrapsOf70000FunctionsHaveTheirNames) {
    constexpr u32 kCount = 70000;
    std::string text = FormatText("(module (type $v (func)) (table %u funcref)", kCount);
    text += "(elem (i32.const 0)";
    for (u32 i = 0; i < kCount; ++i) {
        text += FormatText(" %u", i);
    }
    text += ")";
    for (u32 i = 0; i < kCount; ++i) {
        text += "(func unreachable)";
    }
    text += "(func (export \"f\") (param i32) (call_indirect (type $v) (local.get 0))))";
    const std::string wasm = WasmOfText(text);
    for (const u32 number : {0u, 65534u, 65535u, 65536u, 69999u}) {
        const CallsRun run = RunCalls(wasm, "f " + std::to_string(number) + "\n", CallOptions());
        EXPECT_EQ(run.lines, (Texts{"Trap: unreachable in function " + std::to_string(number)}));
    }
}

TEST_F(WasmCodeTest, EndsOfBlocksThatAreTheSameAreKeptOnce) {
    const auto text = [](const char* last) {
        return FormatText(R"((module (memory 1) (func (export "f") (param i32 i32) (result i32)
            (if (local.get 0)
                (then (i32.store (i32.const 4) (i32.const 100))
                      (i32.store (i32.const 8) (local.get 1))
                      (i32.store (i32.const 12) (i32.const 300)))
                (else (i32.store (i32.const 4) (i32.const 200))
                      (i32.store (i32.const 8) (local.get 1))
                      (i32.store (i32.const 12) (i32.const %s))))
            (i32.add (i32.load (i32.const 4))
                     (i32.add (i32.load (i32.const 8)) (i32.load (i32.const 12)))))))",
                          last);
    };
    EXPECT_EQ(Run(text("300"), "f 1 5\nf 0 6\n").lines,
              (Texts{"f -> 0x00000195", "f -> 0x000001FA"}));
    // A store of a register takes 8 bytes, one of such a constant 12.
    EXPECT_EQ(CodeBytes(text("301")) - CodeBytes(text("300")), 20u);
}

}  // namespace
}  // namespace moxi
