// Large and deep modules, and numbers written in more bytes than they need.

#include <gtest/gtest.h>

#include <tuple>

#include "base/log.h"
#include "tests/support/vm_fixture.h"
#include "tests/wasm/calls.h"
#include "tests/wasm/module_bytes.h"
#include "wasm/debug_info.h"

namespace moxi {
namespace {

struct WasmLimitsTest : VmTest {
    StandardError quiet{true};
};

// A module of one exported function "f" with this type and body (locals included), and a page of
// memory.
std::string ModuleOf(const std::string& parameters, const std::string& results,
                     const WasmBytes& body) {
    WasmBytes file;
    file.Raw(kWasmHeader);
    WasmBytes section;
    section.Raw("\x01\x60");
    for (const std::string& types : {parameters, results}) {
        section.Unsigned(types.size());
        for (const char type : types) {
            section.Byte(ValueTypeByte(type));
        }
    }
    file.Section(1, section);
    section = {};
    section.Raw(std::string_view("\1\0", 2));
    file.Section(3, section);
    section = {};
    section.Raw(std::string_view("\1\0\1", 3));
    file.Section(5, section);
    section = {};
    section.Raw(std::string_view("\1\1f\0\0", 5));
    file.Section(7, section);
    section = {};
    section.Byte(1);
    section.Text(body.bytes);
    file.Section(10, section);
    return file.bytes;
}

std::vector<std::string> Lines(const std::string& wasm, const std::string& calls) {
    const CallsRun run = RunCalls(wasm, calls);
    EXPECT_EQ(run.errors, std::vector<std::string>{});
    return run.lines;
}

TEST_F(WasmLimitsTest, ATableOf20000BranchesFindsItsTargets) {
    // Three blocks around the table; entry i goes to i % 3, the rest to the outermost.
    WasmBytes body;
    body.Raw(std::string_view("\0\2\x40\2\x40\2\x40\x20\0\x0E", 10));
    constexpr u32 kEntries = 20000;
    body.Unsigned(kEntries);
    for (u32 i = 0; i < kEntries; ++i) {
        body.Unsigned(i % 3);
    }
    body.Unsigned(2);
    body.Raw("\x0B\x41\x0A\x0F");  // end: return 10
    body.Raw("\x0B\x41\x14\x0F");  // return 20
    body.Raw("\x0B\x41\x1E\x0B");  // 30
    EXPECT_EQ(Lines(ModuleOf("i", "i", body), "f 0\nf 1\nf 2\nf 19998\nf 19999\nf 20000\nf -1\n"),
              (std::vector<std::string>{"f -> 0x0000000A", "f -> 0x00000014", "f -> 0x0000001E",
                                        "f -> 0x0000000A", "f -> 0x00000014", "f -> 0x0000001E",
                                        "f -> 0x0000001E"}));
}

TEST_F(WasmLimitsTest, BlocksMayBeNestedAThousandDeep) {
    constexpr u32 kDepth = 1000;
    WasmBytes body;
    body.Byte(0);
    for (u32 i = 0; i < kDepth; ++i) {
        body.Raw("\2\x7F");  // block (result i32)
    }
    body.Raw(std::string_view("\x41\5\x20\0", 4));
    body.Raw("\x0D");  // br_if to the middle one
    body.Unsigned(kDepth / 2);
    for (u32 i = 0; i < kDepth; ++i) {
        body.Raw("\x41\1\x6A\x0B");  // + 1 end
    }
    body.Byte(0x0B);
    EXPECT_EQ(Lines(ModuleOf("i", "i", body), "f 0\nf 1\n"),
              (std::vector<std::string>{"f -> 0x000003ED", "f -> 0x000001F8"}));
}

TEST_F(WasmLimitsTest, AnExpressionMayBe3000OperandsDeep) {
    constexpr u32 kDepth = 3000;
    WasmBytes body;
    body.Byte(0);
    for (u32 i = 0; i < kDepth; ++i) {
        body.Raw(std::string_view("\x20\0", 2));
    }
    for (u32 i = 1; i < kDepth; ++i) {
        body.Byte(0x6A);
    }
    body.Byte(0x0B);
    EXPECT_EQ(Lines(ModuleOf("i", "i", body), "f 1\nf 0x10000000\n"),
              (std::vector<std::string>{"f -> 0x00000BB8", "f -> 0x80000000"}));
}

TEST_F(WasmLimitsTest, AFunctionMayHaveAThousandLocalsOfAllTypes) {
    // Every local of type i64 gets its number added to the one before.
    WasmBytes body;
    body.Unsigned(4);
    for (const auto& [count, type] :
         {std::pair<u32, char>{250, 'f'}, {400, 'I'}, {250, 'F'}, {100, 'i'}}) {
        body.Unsigned(count);
        body.Byte(ValueTypeByte(type));
    }
    const u32 first = 1 + 250;
    body.Raw(std::string_view("\x20\0\x21", 3));
    body.Unsigned(first);
    for (u32 i = 1; i < 400; ++i) {
        body.Byte(0x20);
        body.Unsigned(first + i - 1);
        body.Byte(0x42);
        body.Signed(i);
        body.Raw("\x7C\x21");
        body.Unsigned(first + i);
    }
    // the last plus the middle one
    body.Byte(0x20);
    body.Unsigned(first + 399);
    body.Byte(0x20);
    body.Unsigned(first + 200);
    body.Raw("\x7C\x0B");
    // 399 * 400 / 2 + 200 * 201 / 2 + 2 * 5
    EXPECT_EQ(Lines(ModuleOf("I", "I", body), "f 5\n"),
              (std::vector<std::string>{"f -> 0x0000000000018646"}));
}

TEST_F(WasmLimitsTest, AFunctionMayTakeAndGiveManyValues) {
    // 60 arguments come back in the other order, half of them i64.
    std::string types;
    for (u32 i = 0; i < 60; ++i) {
        types += i % 2 == 0 ? 'i' : 'I';
    }
    const std::string results(types.rbegin(), types.rend());
    WasmBytes body;
    body.Byte(0);
    for (u32 i = 60; i-- > 0;) {
        body.Byte(0x20);
        body.Unsigned(i);
    }
    body.Byte(0x0B);
    std::string call = "f";
    std::string line = "f ->";
    for (u32 i = 0; i < 60; ++i) {
        call += " " + std::to_string(i + 1);
    }
    for (u32 i = 60; i-- > 0;) {
        line += FormatText(i % 2 == 0 ? " 0x%08X" : " 0x%016X", i + 1);
    }
    EXPECT_EQ(Lines(ModuleOf(types, results, body), call + "\n"), (std::vector<std::string>{line}));
}

TEST_F(WasmLimitsTest, MoreThanAThousandParametersOrResultsAreRefused) {
    WasmBytes body;
    body.Raw(std::string_view("\0\0\x0B", 3));  // unreachable
    const std::string most(1000, 'i');
    EXPECT_EQ(RunCalls(ModuleOf(most, most, body), "").errors, std::vector<std::string>{});
    const std::string tooMany(1001, 'i');
    for (const auto& [parameters, results, wanted] :
         {std::tuple{tooMany, most, "more than 1000 parameters are not supported"},
          std::tuple{most, tooMany, "more than 1000 results are not supported"}}) {
        const std::vector<std::string> errors =
            RunCalls(ModuleOf(parameters, results, body), "").errors;
        ASSERT_EQ(errors.size(), 1u);
        EXPECT_NE(errors[0].find(wanted), std::string::npos) << errors[0];
    }
}

TEST_F(WasmLimitsTest, NumbersBehindThePrefixDoNotWrapRound) {
    // Wrapped round, 0xFFFFFF65 would be the row of i32.eqz in the table of operators.
    for (const u32 number : {0xFFFFFF20u, 0xFFFFFF65u, 0xFFFFFFFFu, 0xE0u}) {
        WasmBytes body;
        body.Raw(std::string_view("\0\x41\1\xFC", 4));  // i32.const 1
        body.Unsigned(number);
        body.Raw("\x0B");
        EXPECT_EQ(RunCalls(ModuleOf("", "i", body), "").errors.size(), 1u) << number;
    }
}

TEST_F(WasmLimitsTest, NumbersMayHaveMoreBytesThanTheyNeed) {
    // local.get 0 with five bytes for the index, i32.const 3 with five, i64.const -1 with ten.
    WasmBytes body;
    body.Raw(std::string_view("\x80\0", 2));
    body.Raw(std::string_view("\x20\x80\x80\x80\x80\0", 6));
    body.Raw(std::string_view("\x41\x83\x80\x80\x80\0\x6A\xAC", 8));
    body.Raw(std::string_view("\x42\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F\x7C\x0B", 13));
    EXPECT_EQ(Lines(ModuleOf("i", "I", body), "f 40\n"),
              (std::vector<std::string>{"f -> 0x000000000000002A"}));
}

TEST_F(WasmLimitsTest, NumbersOfTooManyBytesAreRefused) {
    const std::vector<std::string> bad = {
        std::string("\x20\x80\x80\x80\x80\x80\0", 7),                     // an index of six
        std::string("\x41\x80\x80\x80\x80\x70", 6),                       // bits above the 32nd
        std::string("\x41\x80\x80\x80\x80\x80\0", 7),                     // an i32 of six
        std::string("\x42\x80\x80\x80\x80\x80\x80\x80\x80\x80\x7E", 11),  // above the 64th
        std::string("\x20\x80\x80\x80\x80\x10", 6),  // above the 32nd, unsigned
    };
    for (const std::string& text : bad) {
        WasmBytes body;
        body.Byte(0);
        body.Raw(text);
        body.Raw("\x1A\x41\1\x0B");
        const CallsRun run = RunCalls(ModuleOf("i", "i", body), "f 1\n");
        EXPECT_EQ(run.errors.size(), 1u);
    }
}

TEST_F(WasmLimitsTest, AMemoryWithoutAMaximumGrowsWithinItsReserve) {
    TranslateOptions options = CallOptions();
    options.memory = 10 << 16;
    WasmBytes body;
    body.Raw(std::string_view("\0\x20\0\x40\0\x0B", 6));
    const CallsRun run =
        RunCalls(ModuleOf("i", "i", body), "f 0\nf 8\nf 2\nf 1\nf 1\nf 0\n", options);
    EXPECT_EQ(run.lines,
              (std::vector<std::string>{"f -> 0x00000001", "f -> 0x00000001", "f -> 0xFFFFFFFF",
                                        "f -> 0x00000009", "f -> 0xFFFFFFFF", "f -> 0x0000000A"}));
}

// A module with an entry of DWARF for its function that has so many fields, all but two of no
// bytes.
std::string ModuleWithFields(u32 fields) {
    WasmBytes body;
    body.Raw(std::string_view("\0\x0B", 2));
    WasmBytes file;
    file.bytes = ModuleOf("", "", body);
    WasmBytes section;
    section.Text(".debug_abbrev");
    section.Raw(
        std::string_view("\1\x2E\0\x11\x01\x12\x06", 7));  // a function, its low and high address
    for (u32 i = 2; i < fields; ++i) {
        section.Raw("\x3F\x19");  // external, a flag that is present
    }
    section.Raw(std::string_view("\0\0\0", 3));
    file.Section(0, section);
    section = {};
    section.Text(".debug_info");
    section.Fixed(16, 4);
    section.Fixed(4, 2);
    section.Fixed(0, 4);
    section.Byte(4);
    section.Byte(1);
    section.Fixed(1, 4);
    section.Fixed(2, 4);
    file.Section(0, section);
    return file.bytes;
}

TEST_F(WasmLimitsTest, AnEntryOfDebugInformationHas64FieldsAtMost) {
    for (const u32 fields : {2u, 64u, 65u, 100000u}) {
        const std::string wasm = ModuleWithFields(fields);
        Module module;
        ModuleError error;
        ASSERT_TRUE(ReadModule(wasm, module, error)) << error.text;
        EXPECT_EQ(ReadDebugFunctions(module).size(), fields <= 64 ? 1u : 0u) << fields;
        EXPECT_TRUE(Translate(wasm, CallOptions()).ok);
    }
}

}  // namespace
}  // namespace moxi
