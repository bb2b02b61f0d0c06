// The translator, with any bytes as a module, or with a valid module that the input changes in
// places, or gives sections of debug information, or with one as a cartridge to a console. What it
// refuses it says a line about, and what it accepts becomes a module of the machine.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "fuzz/require.h"
#include "tests/wasm/random_module.h"
#include "tools/module_file.h"
#include "wasm/translate.h"

namespace moxi {

namespace {

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

void AddNumber(std::string& bytes, size_t number) {
    do {
        const auto digit = static_cast<char>(number & 127);
        number >>= 7;
        bytes += number != 0 ? static_cast<char>(digit | -128) : digit;
    } while (number != 0);
}

constexpr const char* kDebugSections[] = {
    ".debug_abbrev",   ".debug_info",     ".debug_line",     ".debug_str",
    ".debug_loc",      ".debug_ranges",   ".debug_addr",     ".debug_str_offsets",
    ".debug_line_str", ".debug_loclists", ".debug_rnglists", "name"};

// A description of one unit with a function and variables, which the input changes in places.
constexpr std::string_view kAbbreviations(
    "\1\x11\1\x25\x08\x13\5\3\x08\x10\x17\x11\1\x12\6\0\0"
    "\2\x2E\1\x11\1\x12\6\x40\x18\3\x08\x49\x13\0\0"
    "\3\5\0\2\x18\3\x08\x49\x13\0\0"
    "\4\x34\0\2\x17\3\x08\x49\x13\0\0"
    "\5\x24\0\3\x08\x3E\x0B\x0B\x0B\0\0\0",
    66);

std::string ModuleWithDebugInformation(FuzzedDataProvider& input) {
    std::string bytes = moxi::MakeRandomModule(input.ConsumeIntegral<u8>()).bytes;
    const bool knowsAbbreviations = input.ConsumeBool();
    while (input.remaining_bytes() > 0) {
        const std::string name = input.PickValueInArray(kDebugSections);
        std::string content = input.ConsumeRandomLengthString(400);
        if (knowsAbbreviations && name == kDebugSections[0]) {
            content = std::string(kAbbreviations) + content;
        }
        std::string section;
        AddNumber(section, name.size());
        section += name + content;
        bytes += '\0';
        AddNumber(bytes, section.size());
        bytes += section;
    }
    return bytes;
}

std::string SmallConsole(const char* files) {
    static const std::string bytes = [files] {
        std::ifstream file(
            std::string(files != nullptr ? files : "fuzz/corpus") + "/console/console.wasm",
            std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }();
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
    const u32 kind = input.ConsumeIntegralInRange<u32>(0, 3);
    const u8 seed = kind == 3 ? input.ConsumeIntegral<u8>() : 0;
    // A console that cartridges can be joined with, and any module as one.
    const bool hasConsole = kind == 3 && seed == 0;
    const std::string console = hasConsole  ? SmallConsole(files)
                                : kind == 3 ? MakeRandomModule(seed).bytes
                                            : "";
    const std::string bytes = kind == 0 || hasConsole ? input.ConsumeRemainingBytesAsString()
                              : kind == 1             ? ModuleWithDebugInformation(input)
                                                      : ChangedModule(input);
    if (kind == 3) {
        options.cartridge = bytes;
    }
    const moxi::TranslatedModule translation =
        moxi::Translate(kind == 3 ? console : bytes, options);
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
