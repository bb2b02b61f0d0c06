// How large the code of a program is beside the code of its wasm.

#include <gtest/gtest.h>

#include "tests/support/headless_run.h"
#include "wasm/translate.h"

namespace moxi {
namespace {

// The size of the section with the functions' bodies: number 10.
u64 CodeSectionOf(const std::string& wasm) {
    size_t at = 8;
    while (at < wasm.size()) {
        const char id = wasm[at++];
        u64 size = 0;
        for (u32 shift = 0;; shift += 7) {
            const auto byte = static_cast<u8>(wasm[at++]);
            size |= u64{byte & 127u} << shift;
            if (byte < 128) {
                break;
            }
        }
        if (id == 10) {
            return size;
        }
        at += size;
    }
    return 0;
}

// The module that mxcc translates: wasm-opt runs last, and here by a script that keeps what it
// made.
std::string WasmOf(const std::string& program) {
    const TemporaryFolder folder;
    const std::string script = folder.path + "/wasm-opt-14";
    WriteTextFile(
        script, "#!/bin/sh\n/usr/bin/wasm-opt \"$@\" && cp \"$1\" " + folder.path + "/kept.wasm\n");
    EXPECT_EQ(RunProgram("/bin/chmod", {"755", script}).status, 0);
    const std::string source = MOXI_SOURCE_DIR "/tests/ckit/programs/" + program;
    const ProgramResult made =
        RunProgram("/usr/bin/env", {"PATH=" + folder.path + ":/usr/bin:/bin", MOXI_BIN_DIR "/mxcc",
                                    source, "-o", folder.path + "/MAIN.MX"});
    EXPECT_EQ(made.errors, "");
    return ReadTextFile(folder.path + "/kept.wasm");
}

TEST(CSize, CodeIsAtMost160HundredthsOfTheWasmCode) {
    TranslateOptions options;
    options.libraryFolder = LibraryOptions().includeFolders[0];
    u64 code = 0;
    u64 wasmCode = 0;
    for (const char* const program : {"files.c", "game.c"}) {
        const std::string wasm = WasmOf(program);
        const TranslatedModule translation = Translate(wasm, options);
        ASSERT_TRUE(translation.ok) << program;
        code += translation.codeBytes;
        wasmCode += CodeSectionOf(wasm);
    }
    EXPECT_GT(wasmCode, 100000u);
    EXPECT_LE(100 * code, 160 * wasmCode);
}

}  // namespace
}  // namespace moxi
