// The disassembler, with any bytes as a module and, where the input says so, the rest of it as a
// symbol file. The raw form assembles to the same bytes.

#include <fuzzer/FuzzedDataProvider.h>

#include <sstream>

#include "fuzz/require.h"
#include "tools/asm/assembler.h"
#include "tools/dis/disassembler.h"
#include "vm/machine.h"

namespace moxi {

namespace {

// Most inputs are to get past the check of the header.
void MakeHeader(std::vector<u8>& bytes) {
    if (bytes.size() < kHeaderSize) {
        bytes.resize(kHeaderSize);
    }
    const u8 magic[] = {'M', 'O', 'X', 'I', '6', 0};
    std::copy(std::begin(magic), std::end(magic), bytes.begin() + kHeaderMagic);
    bytes[kHeaderModuleMajor] = 6;
    bytes[kHeaderModuleMinor] = 2;
    const u32 size = static_cast<u32>(bytes.size());
    for (u32 i = 0; i < 4; ++i) {
        bytes[kHeaderLoadedLength + i] = static_cast<u8>(size >> (8 * i));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    FuzzedDataProvider input(data, size);
    const bool mended = input.ConsumeBool();
    const std::string symbols = input.ConsumeBool() ? input.ConsumeRandomLengthString(400) : "";
    std::vector<u8> bytes = input.ConsumeRemainingBytes<u8>();
    if (mended) {
        std::vector<u8> withHeader(kHeaderSize);
        withHeader.insert(withHeader.end(), bytes.begin(), bytes.end());
        bytes = withHeader;
        MakeHeader(bytes);
    }
    ModuleFile module;
    if (!ParseModule(bytes, module).empty()) {
        Require(!mended);
        return 0;
    }
    SymbolNames names;
    if (!ParseSymbolFile(symbols, names).empty()) {
        names = {};
    }
    std::ostringstream listing;
    WriteModuleListing(module, names, listing);
    Require(!listing.str().empty());
    std::ostringstream raw;
    WriteRawSource(module, raw);
    const AssembleResult again = Assemble(raw.str(), "again.mxs");
    Require(again.ok && again.bytes == bytes);
    return 0;
}

}  // namespace moxi
