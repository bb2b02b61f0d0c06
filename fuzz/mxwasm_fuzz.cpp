// The translator, with any bytes as a module, or with a valid module that the input changes in
// places. What it refuses it says a line about, and what it accepts becomes a module of the
// machine.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>

#include "tests/wasm/random_module.h"
#include "tools/module_file.h"
#include "wasm/translate.h"

namespace moxi {

namespace {

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

std::string ChangedModule(FuzzedDataProvider& input) {
    std::string bytes = moxi::MakeRandomModule(input.ConsumeIntegral<u16>()).bytes;
    while (input.remaining_bytes() > 0 && !bytes.empty()) {
        const size_t at = input.ConsumeIntegralInRange<size_t>(0, bytes.size() - 1);
        switch (input.ConsumeIntegralInRange<u32>(0, 3)) {
            case 0: bytes[at] = input.ConsumeIntegral<char>(); break;
            case 1: bytes.insert(at, input.ConsumeRandomLengthString(8)); break;
            case 2: bytes.erase(at, input.ConsumeIntegralInRange<size_t>(1, 8)); break;
            default: bytes.resize(at); break;
        }
    }
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, size_t size) {
    static const char* const files = std::getenv("MOXI_FUZZ_FILES");
    FuzzedDataProvider input(data, size);
    moxi::TranslateOptions options;
    options.libraryFolder =
        std::string(files != nullptr ? files : "fuzz/corpus") + "/../../library";
    options.calls = true;
    options.checkBounds = input.ConsumeBool();
    options.wantAssembly = input.ConsumeBool();
    const std::string bytes =
        input.ConsumeBool() ? ChangedModule(input) : input.ConsumeRemainingBytesAsString();
    const moxi::Translation translation = moxi::Translate(bytes, options);
    if (!translation.ok) {
        Require(!translation.errors.empty() && translation.bytes.empty());
        for (const std::string& error : translation.errors) {
            Require(!error.empty() && error.find('\n') == std::string::npos);
        }
        return 0;
    }
    ModuleFile module;
    Require(translation.errors.empty() && ParseModule(translation.bytes, module).empty());
    return 0;
}

}  // namespace moxi
