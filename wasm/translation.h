#pragma once
// What a translation is asked for, and what comes of it.

#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"

namespace moxi {

struct TranslateOptions {
    // All in bytes.
    u64 memory = 64u << 20;  // what the memory may grow to
    u32 stack = 4u << 20;    // for calls, at most kMaxStack
    u32 heap = 96u << 20;    // for the blocks of the heap service
    bool checkBounds = false;
    bool calls = false;          // a module without an entry is called by CALL.TXT
    bool identity = false;       // linear memory is the image itself
    std::string_view cartridge;  // a second module, linked to the first one (link.h)
    bool wantAssembly = false;
    bool wantSymbols = true;
    std::string libraryFolder;  // where moxi/wasm_runtime.inc lies
    // For those who translate many modules in one process. With an image address in `runtimeAt` the
    // runtime is put there, if the code has room before it; it gets these routines beside those
    // that the code calls; and one that was assembled before is used again if it is the same.
    u32 runtimeAt = 0;
    std::vector<std::string> routines;
};

constexpr u32 kMaxStack = 7u << 20;  // bytes

struct TranslatedSymbol {
    u32 address = 0;     // in the image, like all addresses here
    bool isCode = true;  // else data
    std::string name;
};

// From `address` on the code comes from that line; line 0 is no line at all.
struct TranslatedLine {
    u32 address = 0;
    u32 line = 0;
    u32 file = 0;  // index into TranslatedModule::files
};

// Where a variable is while the program is at the addresses from `from` up to `to`.
struct TranslatedPlace {
    u32 from = 0;
    u32 to = 0;
    std::string text;       // "R7", "FP-16", or "#5" for the number
    bool isMemory = false;  // then the text is a base, and the variable lies at base + offset
    i64 offset = 0;
};

// An argument or a variable of a function. At addresses without a place it is not known.
struct TranslatedVariable {
    u32 function = 0;  // its address
    bool isArgument = true;
    u32 from = 0;  // where a variable of a block means something
    u32 to = 0;
    std::string kind;  // i8 u8 i16 u16 i32 u32 i64 u64 f32 f64 bool char pointer, or block
    std::string name;
    std::vector<TranslatedPlace> places;
};

struct TranslatedModule {
    bool ok = false;
    std::vector<std::string> errors;  // one line each, without the file's name
    std::vector<u8> bytes;            // the whole MAIN.MX
    std::vector<TranslatedSymbol> symbols;
    std::vector<TranslatedLine> lines;  // ascending
    std::vector<std::string> files;
    std::vector<TranslatedVariable> variables;  // by function, in their order
    std::string assembly;                       // when asked for
    u32 codeEnd = 0;           // with `identity`: where the module's data may begin
    u32 memoryAddress = 0;     // image address of linear memory's first byte
    u32 cartridgeAddress = 0;  // the same of the cartridge's
    u32 codeBytes = 0;         // length of the translated functions
};

}  // namespace moxi
