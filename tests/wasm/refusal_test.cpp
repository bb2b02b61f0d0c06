// What is no module, and what the translator does not support, is refused in one line.

#include <gtest/gtest.h>

#include "tests/wasm/calls.h"
#include "tests/wasm/module_bytes.h"

namespace moxi {
namespace {

std::vector<std::string> ErrorsOf(const std::string& wasm) {
    return Translate(wasm, CallOptions()).errors;
}

std::string ErrorOf(const std::string& wasm) {
    const std::vector<std::string> errors = ErrorsOf(wasm);
    EXPECT_EQ(errors.size(), 1u);
    return errors.empty() ? "" : errors[0];
}

// A module with one function of type () -> (): these bytes, its locals first, and `end`.
std::string ModuleWithFunction(std::string_view function) {
    WasmBytes module;
    module.Raw(kWasmHeader);
    WasmBytes types;
    types.Raw(std::string_view("\x01\x60\x00\x00", 4));
    module.Section(1, types);
    WasmBytes functions;
    functions.Raw(std::string_view("\x01\x00", 2));
    module.Section(3, functions);
    WasmBytes code;
    code.Raw(function);
    code.Byte(0x0B);
    WasmBytes section;
    section.Byte(1);
    section.Text(code.bytes);
    module.Section(10, section);
    return module.bytes;
}

std::string ModuleWithBody(std::string_view body) {
    return ModuleWithFunction(std::string(1, '\0').append(body));  // no locals
}

std::string ModuleWithSection(u32 number, std::string_view content) {
    WasmBytes module;
    module.Raw(kWasmHeader);
    WasmBytes section;
    section.Raw(content);
    module.Section(number, section);
    return module.bytes;
}

TEST(WasmRefusal, NamesWhatIsWrongWithTheFileAndWhere) {
    EXPECT_EQ(ErrorOf("\1asm"), "magic header not detected (offset 0x0)");
    EXPECT_EQ(ErrorOf(std::string("\0asm\2\0\0\0", 8)), "unknown binary version (offset 0x4)");
    EXPECT_EQ(ErrorOf(std::string(kWasmHeader) + "\x01\x05"), "unexpected end (offset 0xa)");
    EXPECT_EQ(ErrorOf(ModuleWithSection(14, "")), "malformed section id (offset 0x8)");
    EXPECT_EQ(ErrorOf(ModuleWithSection(1, "\x01\x61")), "malformed function type (offset 0xb)");
    // The section says one byte more than its contents.
    EXPECT_EQ(ErrorOf(ModuleWithSection(1, std::string("\0\0", 2))),
              "section size mismatch (offset 0xb)");
    // A number of more bytes than 32 bits have.
    EXPECT_EQ(ErrorOf(ModuleWithSection(1, "\x80\x80\x80\x80\x80\x01")),
              "integer representation too long (offset 0x10)");
    EXPECT_EQ(ErrorOf(ModuleWithSection(1, "\x80\x80\x80\x80\x70")),
              "integer too large (offset 0xf)");
    // An export whose name is no UTF-8.
    EXPECT_EQ(ErrorOf(ModuleWithSection(7, std::string("\x01\x01\xFF\x00\x00", 5))),
              "malformed UTF-8 encoding (offset 0xc)");
}

TEST(WasmRefusal, SectionsHaveAnOrder) {
    std::string bytes = ModuleWithSection(3, std::string("\0", 1));
    WasmBytes types;
    types.Byte(0);
    WasmBytes more;
    more.Section(1, types);
    EXPECT_EQ(ErrorOf(bytes + more.bytes), "unexpected content after last section (offset 0xb)");
}

TEST(WasmRefusal, NamesFunctionAndOffsetOfAWrongBody) {
    EXPECT_EQ(ErrorOf(ModuleWithBody("\x6A")), "type mismatch (function 0, offset 0x17)");
    EXPECT_EQ(ErrorOf(ModuleWithBody(std::string("\x41\0", 2))),
              "type mismatch (function 0, offset 0x19)");
    EXPECT_EQ(ErrorOf(ModuleWithBody("\x0C\x01")), "unknown label (function 0, offset 0x17)");
    EXPECT_EQ(ErrorOf(ModuleWithBody("\x10\x07")), "unknown function 7 (function 0, offset 0x17)");
    EXPECT_EQ(ErrorOf(ModuleWithBody(std::string("\x20\0\x1A", 3))),
              "unknown local 0 (function 0, offset 0x17)");
    EXPECT_EQ(ErrorOf(ModuleWithBody("\x05")), "unexpected else (function 0, offset 0x17)");
    EXPECT_EQ(ErrorOf(ModuleWithBody(std::string("\x3F\0\x1A", 3))),
              "unknown memory 0 (function 0, offset 0x17)");
    // An end too many.
    EXPECT_EQ(ErrorOf(ModuleWithBody("\x0B")), "section size mismatch (function 0, offset 0x18)");
    // An opcode that there is not.
    EXPECT_EQ(ErrorOf(ModuleWithBody("\x27")), "illegal opcode 0x27 (function 0, offset 0x17)");
}

TEST(WasmRefusal, NamesTheFeatureThatIsNotSupported) {
    EXPECT_EQ(ErrorOf(ModuleWithBody("\xFD\x0F")),
              "SIMD is not supported (function 0, offset 0x17)");
    EXPECT_EQ(ErrorOf(ModuleWithBody(std::string("\xFE\0", 2))),
              "threads are not supported (atomic operator) (function 0, offset 0x17)");
    EXPECT_EQ(ErrorOf(ModuleWithBody("\x06\x40\x0B")),
              "exceptions are not supported (function 0, offset 0x17)");
    EXPECT_EQ(ErrorOf(ModuleWithBody(std::string("\x12\0", 2))),
              "tail calls are not supported (function 0, offset 0x17)");
    EXPECT_EQ(ErrorOf(ModuleWithBody("\xD0\x70\x1A")),
              "reference types are not supported (function 0, offset 0x17)");
    // Locals of a type that is not supported.
    EXPECT_EQ(ErrorOf(ModuleWithFunction("\x01\x01\x7B")),
              "SIMD is not supported (local) (function 0, offset 0x18)");
    EXPECT_EQ(ErrorOf(ModuleWithFunction("\x01\x01\x6F")),
              "reference types are not supported (local) (function 0, offset 0x18)");
    EXPECT_EQ(ErrorOf(ModuleWithFunction("\x01\x01\x01")),
              "malformed value type (function 0, offset 0x18)");
    EXPECT_EQ(ErrorOf(ModuleWithSection(5, std::string("\x02\0\x01\0\x01", 5))),
              "multiple memories are not supported (offset 0xd)");
    // A memory that is shared, and one of 64 bits.
    EXPECT_EQ(ErrorOf(ModuleWithSection(5, "\x01\x03\x01\x01")),
              "threads are not supported (shared memory) (offset 0xb)");
    EXPECT_EQ(ErrorOf(ModuleWithSection(5, "\x01\x04\x01")),
              "memory64 is not supported (offset 0xb)");
    EXPECT_EQ(ErrorOf(ModuleWithSection(13, "")),
              "exceptions are not supported (tag section) (offset 0x8)");
    EXPECT_EQ(ErrorOf(ModuleWithSection(4, std::string("\x01\x6F\0\0", 4))),
              "reference types are not supported (externref table) (offset 0xb)");
}

TEST(WasmRefusal, NamesEveryUnknownImport) {
    const std::string wasm = WasmOfText(R"((module
        (import "env" "draw" (func (param i32)))
        (import "moxi" "sys" (func (param i32) (result i64)))
        (import "moxi" "stop" (func (param i32)))
        (import "env" "memory" (memory 1))
        (import "env" "base" (global i32))))");
    EXPECT_EQ(ErrorsOf(wasm),
              (std::vector<std::string>{"unknown import \"env.draw\"",
                                        "wrong type of the import \"moxi.stop\"",
                                        "unknown import of a memory \"env.memory\"",
                                        "unknown import of a global \"env.base\""}));
}

TEST(WasmRefusal, AProgramNeedsAnEntry) {
    TranslateOptions options = CallOptions();
    options.calls = false;
    const auto errorsOf = [&](const char* text) {
        return Translate(WasmOfText(text), options).errors;
    };
    EXPECT_EQ(errorsOf("(module)"),
              (std::vector<std::string>{
                  "neither moxi_message nor _start is exported (--calls tries functions out)"}));
    EXPECT_EQ(errorsOf("(module (func (export \"moxi_message\") (param i32)))"),
              (std::vector<std::string>{"moxi_message does not take four i32 and return one"}));
    EXPECT_EQ(errorsOf("(module (func (export \"_start\") (result i32) (i32.const 1)))"),
              (std::vector<std::string>{"_start takes or returns something"}));
}

// Every cut and every changed byte of a module leads to a word or to a module, never further.
TEST(WasmRefusal, DamagedModulesAreRefusedOrTranslated) {
    const std::string whole = WasmOfText(R"((module
        (memory 1) (data "abc") (table 2 funcref) (elem (i32.const 0) $f $f)
        (global $g (mut i32) (i32.const 5))
        (func $f (export "f") (param i32 i64) (result i32) (local f64)
            (block $b (loop $l
                (br_if $b (i32.eqz (local.get 0)))
                (local.set 0 (i32.sub (local.get 0) (i32.const 1)))
                (br_table $l $b (global.get $g))))
            (i32.add (call_indirect (param i32 i64) (result i32)
                (i32.load offset=3 (local.get 0)) (local.get 1) (i32.const 1)) (local.get 0)))))");
    for (size_t length = 0; length < whole.size(); ++length) {
        const TranslatedModule result = Translate(whole.substr(0, length), CallOptions());
        EXPECT_NE(result.ok, !result.errors.empty()) << length;
    }
    for (size_t at = 0; at < whole.size(); ++at) {
        for (const u32 change : {0x01u, 0x40u, 0x80u, 0xFFu}) {
            std::string damaged = whole;
            damaged[at] = static_cast<char>(static_cast<u8>(damaged[at]) ^ change);
            const TranslatedModule result = Translate(damaged, CallOptions());
            EXPECT_NE(result.ok, !result.errors.empty()) << at;
        }
    }
}

}  // namespace
}  // namespace moxi
