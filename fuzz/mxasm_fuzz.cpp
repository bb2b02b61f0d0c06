// The assembler, with any text. What it accepts is a module that the disassembler turns into a
// source of the same bytes.

#include <sstream>

#include "fuzz/confined_start.h"
#include "fuzz/require.h"
#include "tools/asm/assembler.h"
#include "tools/dis/disassembler.h"

namespace moxi {

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    const std::string_view source(reinterpret_cast<const char*>(data), size);
    AssembleOptions options;
    options.wantListing = true;
    const AssembleResult result = Assemble(source, "fuzzed.mxs", options);
    if (!result.ok) {
        Require(!result.errors.empty() && result.bytes.empty());
        Require(FormatErrors(result).find(": error: ") != std::string::npos);
        return 0;
    }
    Require(result.bytes.size() >= 512 && result.errors.empty());
    FormatSymbols(result);
    ModuleFile module;
    Require(ParseModule(result.bytes, module).empty());
    if (result.bytes.size() > 1 << 16) {
        return 0;  // long and without news
    }
    std::ostringstream raw;
    WriteRawSource(module, raw);
    const AssembleResult again = Assemble(raw.str(), "again.mxs");
    Require(again.ok && again.bytes == result.bytes);
    return 0;
}

}  // namespace moxi
