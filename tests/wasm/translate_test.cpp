// Programs in text form, with results worked out by hand.

#include <gtest/gtest.h>

#include "base/log.h"
#include "tests/support/vm_fixture.h"
#include "tests/wasm/calls.h"

namespace moxi {
namespace {

struct WasmTranslateTest : VmTest {
    static std::vector<std::string> Lines(const std::string& text, const std::string& calls,
                                          const TranslateOptions& options = CallOptions()) {
        const CallsRun run = RunCalls(WasmOfText(text, {"--debug-names"}), calls, options);
        for (const std::string& error : run.errors) {
            ADD_FAILURE() << error;
        }
        return run.lines;
    }
    // What a call logs that traps, and that the machine ends with status 1.
    static std::string TrapOf(const std::string& text, const std::string& call,
                              const TranslateOptions& options = CallOptions()) {
        const CallsRun run = RunCalls(WasmOfText(text, {"--debug-names"}), call, options);
        EXPECT_TRUE(run.errors.empty());
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.fatals.size(), 1u);
        return run.lines.empty() ? "" : run.lines.back();
    }
};

using Texts = std::vector<std::string>;

TEST_F(WasmTranslateTest, LoopsAndBranches) {
    // 1 + 2 + ... + n, and the greatest common divisor.
    EXPECT_EQ(Lines(R"((module
        (func (export "sum") (param $n i32) (result i32) (local $s i32)
            (block $done (loop $more
                (br_if $done (i32.eqz (local.get $n)))
                (local.set $s (i32.add (local.get $s) (local.get $n)))
                (local.set $n (i32.sub (local.get $n) (i32.const 1)))
                (br $more)))
            (local.get $s))
        (func $gcd (export "gcd") (param i64 i64) (result i64)
            (if (result i64) (i64.eqz (local.get 1))
                (then (local.get 0))
                (else (call $gcd (local.get 1) (i64.rem_u (local.get 0) (local.get 1))))))))",
                    "sum 0\nsum 100\ngcd 48 36\n"),
              (Texts{"sum -> 0x00000000", "sum -> 0x000013BA", "gcd -> 0x000000000000000C"}));
}

TEST_F(WasmTranslateTest, ALocalThatIsMaskedIntoItselfInALoop) {
    EXPECT_EQ(Lines(R"((module (memory 1) (data (i32.const 16) "abcdefg%d")
        (func (export "find") (param i32) (result i32) (local i32)
            (local.set 1 (i32.load8_u (local.get 0)))
            (loop $l
                (block $b
                    (local.set 1 (i32.and (local.get 1) (i32.const 255)))
                    (br_if $b (i32.ne (local.get 1) (i32.const 37)))
                    (return (local.get 0)))
                (local.set 1 (i32.load8_u (local.tee 0 (i32.add (local.get 0) (i32.const 1)))))
                (br $l))
            (i32.const 0))))",
                    "find 16\n"),
              (Texts{"find -> 0x00000017"}));
}

TEST_F(WasmTranslateTest, ValuesThatWaitKeepWhatTheyWere) {
    EXPECT_EQ(Lines(R"((module (memory 1) (global $g (mut i32) (i32.const 7))
        (func $store (i32.store (i32.const 8) (i32.add (i32.load (i32.const 8)) (i32.const 99)))
            (global.set $g (i32.add (global.get $g) (i32.const 1))))
        (func (export "local") (param i32) (result i32)
            (local.get 0) (local.set 0 (i32.const 1)) (i32.add (local.get 0)))
        (func (export "memory") (result i32)
            (i32.load (i32.const 8)) (call $store) (i32.add (i32.load (i32.const 8))))
        (func (export "global") (result i32)
            (global.get $g) (call $store) (i32.sub (global.get $g)))
        (func (export "swap") (param i32 i32) (result i32 i32)
            (local.get 1) (local.get 0))
        (func (export "turn") (param i32 i32 i32) (result i32) (local $t i32)
            (local.set $t (local.get 0)) (local.set 0 (local.get 1)) (local.set 1 (local.get 2))
            (local.set 2 (local.get $t))
            (i32.add (i32.mul (local.get 0) (i32.const 100))
                     (i32.add (i32.mul (local.get 1) (i32.const 10)) (local.get 2))))))",
                    "local 5\nglobal\nmemory\nswap 3 4\nturn 1 2 3\n"),
              (Texts{"local -> 0x00000006", "global -> 0xFFFFFFFF", "memory -> 0x00000129",
                     "swap -> 0x00000004 0x00000003", "turn -> 0x000000E7"}));
}

TEST_F(WasmTranslateTest, BlocksWithParametersAndResults) {
    EXPECT_EQ(Lines(R"((module
        (func (export "fac") (param i64) (result i64)
            (i64.const 1) (local.get 0)
            (loop $l (param i64 i64) (result i64)
                (local.set 0)
                (i64.mul (local.get 0))
                (i64.sub (local.get 0) (i64.const 1))
                (local.tee 0) (i64.const 1) (i64.gt_u)
                (if (param i64) (result i64) (then (local.get 0) (br $l)))))
        (func (export "pick") (param i32) (result i32 i64)
            (if (result i32 i64) (local.get 0)
                (then (i32.const 1) (i64.const 2)) (else (i32.const 3) (i64.const 4))))
        (func (export "both") (param i32 i32) (result i32)
            (local.get 0) (local.get 1)
            (loop $l (param i32 i32) (result i32)
                (local.set 1) (local.set 0)
                (local.get 1) (local.get 0)
                (br_if $l (i32.lt_s (local.get 1) (local.get 0)))
                (i32.sub)))))",
                    "fac 5\npick 0\npick 9\nboth 3 10\nboth 10 3\n"),
              (Texts{"fac -> 0x0000000000000078", "pick -> 0x00000003 0x0000000000000004",
                     "pick -> 0x00000001 0x0000000000000002", "both -> 0x00000007",
                     "both -> 0x00000007"}));
}

TEST_F(WasmTranslateTest, ALocalAssignedInOnePlaceIsKnownOnlyWhereThatPlaceComesBefore) {
    EXPECT_EQ(Lines(R"((module (memory 1) (data (i32.const 101) "\01\02\03")
        (func (export "skipped") (param i32) (result i32) (local $x i32)
            (block $b (br_if $b (local.get 0)) (local.set $x (i32.const 7)))
            (local.get $x))
        (func (export "late") (param $n i32) (result i32) (local $x i32) (local $s i32)
            (loop $l
                (local.set $s (i32.add (i32.mul (local.get $s) (i32.const 10)) (local.get $x)))
                (local.set $x (i32.const 3))
                (br_if $l (local.tee $n (i32.sub (local.get $n) (i32.const 1)))))
            (local.get $s))
        (func (export "either") (param i32) (result i32) (local $x i32)
            (if (local.get 0) (then (local.set $x (i32.const 5))))
            (local.get $x))
        (func (export "other") (param i32) (result i32) (local $x i32)
            (if (result i32) (local.get 0)
                (then (local.set $x (i32.const 5)) (local.get $x))
                (else (local.get $x))))
        (func (export "inside") (param $n i32) (result i32) (local $x i32) (local $s i32)
            (local.set $x (i32.const 100))
            (loop $l
                (local.set $s (i32.add (local.get $s)
                    (i32.load8_u (i32.add (local.get $n) (local.get $x)))))
                (br_if $l (local.tee $n (i32.sub (local.get $n) (i32.const 1)))))
            (local.get $s))))",
                    "skipped 0\nskipped 1\nlate 1\nlate 3\neither 0\neither 1\nother 0\nother 1\n"
                    "inside 3\n"),
              (Texts{"skipped -> 0x00000007", "skipped -> 0x00000000", "late -> 0x00000000",
                     "late -> 0x00000021", "either -> 0x00000000", "either -> 0x00000005",
                     "other -> 0x00000000", "other -> 0x00000005", "inside -> 0x00000006"}));
}

TEST_F(WasmTranslateTest, TablesOfBranches) {
    const char* const text = R"((module
        (func (export "few") (param i32) (result i32)
            (block $c (block $b (block $a (br_table $a $b $c (local.get 0)))
                (return (i32.const 10))) (return (i32.const 11))) (i32.const 12))
        (func (export "many") (param i32) (result i32)
            (block $c (result i32) (block $b (result i32) (block $a (result i32)
                (br_table $a $b $a $c $b $a (i32.const 5) (local.get 0)))
                (return (i32.add (i32.const 100)))) (return (i32.add (i32.const 200))))
            (i32.add (i32.const 300)))))";
    EXPECT_EQ(Lines(text,
                    "few 0\nfew 1\nfew 2\nfew 0xFFFFFFFF\nmany 0\nmany 1\nmany 2\nmany 3\nmany 4\n"
                    "many 5\nmany 0x80000000\n"),
              (Texts{"few -> 0x0000000A", "few -> 0x0000000B", "few -> 0x0000000C",
                     "few -> 0x0000000C", "many -> 0x00000069", "many -> 0x000000CD",
                     "many -> 0x00000069", "many -> 0x00000131", "many -> 0x000000CD",
                     "many -> 0x00000069", "many -> 0x00000069"}));
}

TEST_F(WasmTranslateTest, ManyArgumentsAndResults) {
    EXPECT_EQ(
        Lines(R"((module
        (func $seven (export "seven") (param i32 i64 i32 i64 i32 i64 i32) (result i64)
            (i64.add (i64.extend_i32_u (i32.add (local.get 0) (i32.add (local.get 2)
                     (i32.add (local.get 4) (local.get 6)))))
                     (i64.sub (i64.add (local.get 1) (local.get 3)) (local.get 5))))
        (func (export "pass") (result i64)
            (call $seven (i32.const 1) (i64.const 20) (i32.const 300) (i64.const 4000)
                         (i32.const 50000) (i64.const 600000) (i32.const 7000000)))
        (func $three (result i32 i64 f32) (i32.const 1) (i64.const 2) (f32.const 3))
        (func (export "three") (result f32 i64 i32) (local i32 i64 f32)
            (call $three) (local.set 2) (local.set 1) (local.set 0)
            (local.get 2) (local.get 1) (local.get 0))))",
              "seven 1 2 3 4 5 6 7\npass\nthree\n"),
        (Texts{"seven -> 0x0000000000000010",
               // 1 + 300 + 50000 + 7000000 + 20 + 4000 - 600000 = 6454321
               "pass -> 0x0000000000627C31", "three -> 0x40400000 0x0000000000000002 0x00000001"}));
}

TEST_F(WasmTranslateTest, SignedAndUnsignedOrders) {
    const char* const text = R"((module
        (func (export "lt") (param i32 i32) (result i32 i32)
            (i32.lt_s (local.get 0) (local.get 1)) (i32.lt_u (local.get 0) (local.get 1)))
        (func (export "ten") (param i32) (result i32 i32)
            (i32.lt_s (local.get 0) (i32.const 10)) (i32.gt_u (local.get 0) (i32.const 10)))
        (func (export "lt64") (param i64 i64) (result i32 i32)
            (i64.lt_s (local.get 0) (local.get 1)) (i64.lt_u (local.get 0) (local.get 1)))))";
    EXPECT_EQ(Lines(text,
                    "lt 0x80000000 1\nlt 0x7FFFFFFF 0x80000000\nlt -1 0\nten 0x80000000\nten 9\n"
                    "lt64 0x8000000000000000 1\nlt64 1 0x8000000000000000\n"),
              (Texts{"lt -> 0x00000001 0x00000000", "lt -> 0x00000000 0x00000001",
                     "lt -> 0x00000001 0x00000000", "ten -> 0x00000001 0x00000001",
                     "ten -> 0x00000001 0x00000000", "lt64 -> 0x00000001 0x00000000",
                     "lt64 -> 0x00000000 0x00000001"}));
}

TEST_F(WasmTranslateTest, MemoryGrowsWithinItsReserve) {
    const char* const text = R"((module (memory 1)
        (func (export "size") (result i32) (memory.size))
        (func (export "grow") (param i32) (result i32) (memory.grow (local.get 0)))
        (func (export "last") (result i32)
            (i32.load8_u (i32.sub (i32.shl (memory.size) (i32.const 16)) (i32.const 1))))))";
    TranslateOptions options = CallOptions();
    options.memory = 4 << 16;
    EXPECT_EQ(Lines(text, "size\ngrow 2\nsize\nlast\ngrow 2\ngrow 1\ngrow 1\ngrow 0\n", options),
              (Texts{"size -> 0x00000001", "grow -> 0x00000001", "size -> 0x00000003",
                     "last -> 0x00000000", "grow -> 0xFFFFFFFF", "grow -> 0x00000003",
                     "grow -> 0xFFFFFFFF", "grow -> 0x00000004"}));
}

TEST_F(WasmTranslateTest, BlocksOfMemory) {
    EXPECT_EQ(
        Lines(
            R"((module (memory 1) (data $p "hello") (data (i32.const 100) "\01\02\03\04\05\06\07\08")
        (func (export "init") (memory.init $p (i32.const 0) (i32.const 1) (i32.const 4)))
        (func (export "copy") (param i32) (memory.copy (i32.const 102) (i32.const 100) (local.get 0)))
        (func (export "four") (memory.copy (i32.const 120) (i32.const 100) (i32.const 4)))
        (func (export "fill") (param i32) (memory.fill (i32.const 200) (i32.const 0x1AB) (local.get 0)))
        (func (export "at") (param i32) (result i64) (i64.load (local.get 0)))))",
            "init\nat 0\ncopy 6\nat 100\nfour\nat 120\nfill 3\nat 200\nfill 0\n"),
        (Texts{"init ->", "at -> 0x000000006F6C6C65", "copy ->", "at -> 0x0605040302010201",
               "four ->", "at -> 0x0000000002010201", "fill ->", "at -> 0x0000000000ABABAB",
               "fill ->"}));
}

TEST_F(WasmTranslateTest, TablesAreFilledCopiedAndDropped) {
    EXPECT_EQ(Lines(R"((module (table 6 funcref) (elem (i32.const 1) $a) (elem $e func $b $a)
        (type $v (func (result i32)))
        (func $a (result i32) (i32.const 11)) (func $b (result i32) (i32.const 22))
        (func (export "init") (table.init $e (i32.const 2) (i32.const 0) (i32.const 2)))
        (func (export "copy") (table.copy (i32.const 4) (i32.const 1) (i32.const 2)))
        (func (export "drop") (elem.drop $e))
        (func (export "call") (param i32) (result i32) (call_indirect (type $v) (local.get 0)))))",
                    "call 1\ninit\ncall 2\ncall 3\ncopy\ncall 4\ncall 5\ndrop\n"),
              (Texts{"call -> 0x0000000B", "init ->", "call -> 0x00000016", "call -> 0x0000000B",
                     "copy ->", "call -> 0x0000000B", "call -> 0x00000016", "drop ->"}));
}

TEST_F(WasmTranslateTest, TheStartFunctionRunsFirst) {
    EXPECT_EQ(Lines(R"((module (global $g (mut i32) (i32.const 1)) (start $s)
        (func $s (global.set $g (i32.add (global.get $g) (i32.const 41))))
        (func (export "g") (result i32) (global.get $g))))",
                    "g\n"),
              (Texts{"g -> 0x0000002A"}));
}

TEST_F(WasmTranslateTest, AJumpOutOfFunctionsComesBackToItsPlace) {
    EXPECT_EQ(Lines(R"((module
        (import "moxi" "setjmp" (func $setjmp (param i32) (result i32)))
        (import "moxi" "longjmp" (func $longjmp (param i32 i32)))
        (memory 1)
        (global $__stack_pointer (mut i32) (i32.const 4096))
        (func $deep (param i32 i32)
            (global.set $__stack_pointer (i32.const 1000))
            (if (i32.eqz (local.get 0)) (then (call $longjmp (i32.const 64) (local.get 1))))
            (call $deep (i32.sub (local.get 0) (i32.const 1)) (local.get 1)))
        (func (export "try") (param i32 i32) (result i32 i32 i32) (local $kept i32)
            (local.set $kept (i32.mul (local.get 0) (i32.const 3)))
            (local.set 1 (call $setjmp (i32.const 64)))
            (if (i32.eqz (local.get 1)) (then (call $deep (i32.const 20) (local.get 0))))
            (local.get 1) (local.get $kept) (global.get $__stack_pointer))))",
                    "try 5 0\ntry 0 0\n"),
              (Texts{"try -> 0x00000005 0x0000000F 0x00001000",
                     "try -> 0x00000001 0x00000000 0x00001000"}));
}

// The functions with code of their own.
Texts FunctionsOf(const std::string& text) {
    TranslateOptions options = CallOptions();
    options.wantSymbols = true;
    const TranslatedModule translation = Translate(WasmOfText(text, {"--debug-names"}), options);
    EXPECT_TRUE(translation.ok);
    Texts names;
    for (const TranslatedSymbol& symbol : translation.symbols) {
        if (symbol.isCode && symbol.name.starts_with("f_")) {
            names.push_back(symbol.name);
        }
    }
    return names;
}

TEST_F(WasmTranslateTest, SmallLeavesAreBuiltInAndHaveCodeOnlyWhereTheirAddressIsWanted) {
    EXPECT_EQ(FunctionsOf(R"((module
        (table 1 funcref) (elem (i32.const 0) $f_table)
        (func $f_leaf (param i32) (result i32) (i32.add (local.get 0) (i32.const 1)))
        (func $f_over (param i32) (result i32) (call $f_leaf (call $f_leaf (local.get 0))))
        (func $f_table (param i32) (result i32) (i32.sub (i32.const 9) (local.get 0)))
        (func $f_itself (param i32) (if (local.get 0)
            (then (call $f_itself (i32.sub (local.get 0) (i32.const 1))))))
        (func $f_export (export "f") (param i32) (result i32)
            (call $f_itself (local.get 0))
            (i32.add (call $f_table (call $f_over (local.get 0))) (call $f_leaf (local.get 0))))))"),
              (Texts{"f_table", "f_itself", "f_export"}));
}

TEST_F(WasmTranslateTest, AThousandFunctionsThatCallEachTheNextAreTranslated) {
    // From either end: who calls whom is looked at before anything is built in.
    for (const bool upwards : {true, false}) {
        std::string text = "(module";
        for (u32 i = 0; i < 1000; ++i) {
            const u32 next = upwards ? i + 1 : i - 1;
            const bool isLast = upwards ? i == 999 : i == 0;
            text += "(func (param i32) (result i32) (i32.add (i32.const 1) ";
            text += isLast ? "(local.get 0)" : FormatText("(call %u (local.get 0))", next);
            text += "))";
        }
        text += "(func (export \"f\") (param i32) (result i32) (call ";
        text += upwards ? "0" : "999";
        text += " (local.get 0))))";
        EXPECT_EQ(Lines(text, "f 5\n"), (Texts{"f -> 0x000003ED"}));
    }
}

TEST_F(WasmTranslateTest, LongChainsOfOperatorsTakeNoTime) {
    std::string chain = "(local.get 0)";
    for (int i = 0; i < 40; ++i) {
        chain = "(f64.neg " + chain + ")";
    }
    EXPECT_EQ(Lines("(module (func (export \"square\") (param f64) (result f64) (f64.mul " + chain +
                        chain + ")))",
                    "square 0x4008000000000000\n"),
              (Texts{"square -> 0x4022000000000000"}));
}

// --- Traps

TEST_F(WasmTranslateTest, EachTrapHasItsLine) {
    const char* const text = R"((module (memory 1) (table 2 funcref) (elem (i32.const 1) $two)
        (data $p "abc")
        (type $v (func (result i32)))
        (func $two (param i32) (result i32) (i32.const 2))
        (func $here (export "unreachable") (unreachable))
        (func $there (export "there") (call $here))
        (func $indirect (export "indirect") (param i32) (result i32) (call_indirect (type $v) (local.get 0)))
        (func $number (export "number") (param f64) (result i32) (i32.trunc_f64_s (local.get 0)))
        (func $deep (export "deep") (param i32) (result i32) (i32.add (i32.const 1) (call $deep (local.get 0))))
        (func $init (export "init") (param i32) (memory.init $p (i32.const 0) (i32.const 1) (local.get 0)))
        (func (export "nameless") (unreachable))))";
    EXPECT_EQ(TrapOf(text, "unreachable\n"), "Trap: unreachable in here");
    EXPECT_EQ(TrapOf(text, "there\n"), "Trap: unreachable in here");
    EXPECT_EQ(TrapOf(text, "indirect 2\n"), "Trap: undefined element in indirect");
    EXPECT_EQ(TrapOf(text, "indirect 0xFFFFFFFF\n"), "Trap: undefined element in indirect");
    EXPECT_EQ(TrapOf(text, "indirect 0\n"), "Trap: uninitialized element in indirect");
    EXPECT_EQ(TrapOf(text, "indirect 1\n"), "Trap: indirect call type mismatch in indirect");
    EXPECT_EQ(TrapOf(text, "number 0x7FF8000000000000\n"),
              "Trap: invalid conversion to integer in number");
    EXPECT_EQ(TrapOf(text, "number 0x41E0000000000000\n"), "Trap: integer overflow in number");
    EXPECT_EQ(TrapOf(text, "deep 1\n"), "Trap: stack overflow in deep");
    EXPECT_EQ(TrapOf(text, "init 3\n"), "Trap: out of bounds memory access in init");
}

TEST_F(WasmTranslateTest, AFunctionWithoutANameIsCalledByItsNumber) {
    const std::string text = "(module (func) (func (export \"f\") (unreachable)))";
    EXPECT_EQ(TrapOf(text, "f\n"), "Trap: unreachable in function 1");
}

TEST_F(WasmTranslateTest, DivisionsEndWithTheMachinesOwnFault) {
    const std::string text = R"((module
        (func (export "div") (param i32 i32) (result i32) (i32.div_s (local.get 0) (local.get 1)))
        (func (export "rem") (param i64 i64) (result i64) (i64.rem_s (local.get 0) (local.get 1)))
        (func (export "gone") (param i32) (drop (i32.div_u (i32.const 1) (local.get 0))))))";
    EXPECT_EQ(Lines(text, "rem 0x8000000000000000 -1\n"), (Texts{"rem -> 0x0000000000000000"}));
    for (const char* call : {"div 1 0\n", "div 0x80000000 -1\n", "rem 1 0\n", "gone 0\n"}) {
        const CallsRun run = RunCalls(WasmOfText(text), call);
        EXPECT_EQ(run.status, 1) << call;
        ASSERT_EQ(run.fatals.size(), 1u) << call;
        EXPECT_TRUE(run.fatals[0].starts_with("Division error at 0x")) << call;
    }
}

TEST_F(WasmTranslateTest, BoundsAreExactWhereTheyAreChecked) {
    const std::string text = R"((module (memory 1 2)
        (func $f (export "load") (param i32) (result i32) (i32.load offset=4 (local.get 0)))
        (func $s (export "store") (param i32) (i64.store8 (local.get 0) (i64.const 1)))
        (func $c (export "copy") (param i32 i32 i32) (memory.copy (local.get 0) (local.get 1) (local.get 2)))
        (func (export "grow") (drop (memory.grow (i32.const 1))))))";
    TranslateOptions options = CallOptions();
    options.checkBounds = true;
    EXPECT_EQ(
        Lines(text, "load 65528\nstore 65535\ncopy 65536 0 0\ncopy 0 65530 6\ngrow\nload 65529\n",
              options),
        (Texts{"load -> 0x00000000", "store ->", "copy ->", "copy ->", "grow ->",
               "load -> 0x00010000"}));
    EXPECT_EQ(TrapOf(text, "load 65529\n", options), "Trap: out of bounds memory access in f");
    EXPECT_EQ(TrapOf(text, "load 0xFFFFFFFF\n", options), "Trap: out of bounds memory access in f");
    EXPECT_EQ(TrapOf(text, "store 65536\n", options), "Trap: out of bounds memory access in s");
    EXPECT_EQ(TrapOf(text, "copy 0 65530 7\n", options), "Trap: out of bounds memory access in c");
    EXPECT_EQ(TrapOf(text, "copy 65537 0 0\n", options), "Trap: out of bounds memory access in c");
}

TEST_F(WasmTranslateTest, SegmentsThatDoNotFitTrapAtTheStart) {
    EXPECT_EQ(
        TrapOf("(module (memory 1) (data (i32.const 65535) \"ab\") (func (export \"f\")))", "f\n"),
        "Trap: out of bounds memory access in the start");
    EXPECT_EQ(
        TrapOf("(module (table 1 funcref) (elem (i32.const 1) 0) (func (export \"f\")))", "f\n"),
        "Trap: undefined element in the start");
}

TEST_F(WasmTranslateTest, TrapsComeInTheOrderOfTheModule) {
    const std::string text = R"((module (memory 1)
        (func $f (export "f") (param i32)
            (f64.store (i32.trunc_f64_s (f64.const inf))
                       (f64.convert_i64_u (i64.trunc_f64_u (f64.const nan)))))
        (func $g (export "g") (param i32)
            (i32.trunc_f32_s (f32.const nan)) (local.set 0 (i32.trunc_f32_s (f32.const inf))) (drop))))";
    EXPECT_EQ(TrapOf(text, "f 0\n"), "Trap: integer overflow in f");
    EXPECT_EQ(TrapOf(text, "g 0\n"), "Trap: invalid conversion to integer in g");
}

}  // namespace
}  // namespace moxi
