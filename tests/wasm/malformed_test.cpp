// What is no module, or not a valid one, is refused in one line, and never anything worse.

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "tests/support/headless_run.h"
#include "tests/support/vm_fixture.h"
#include "tests/wasm/calls.h"

namespace moxi {
namespace {

struct WasmMalformedTest : VmTest {};

// Whether Node.js takes each of these for a valid module. It knows more features than we have.
std::vector<bool> NodeAccepts(const std::vector<std::string>& modules) {
    const TemporaryFolder folder;
    for (size_t i = 0; i < modules.size(); ++i) {
        WriteTextFile(folder.path + "/" + std::to_string(i), modules[i]);
    }
    WriteTextFile(folder.path + "/validate.js",
                  "const fs = require('fs');\n"
                  "let text = '';\n"
                  "for (let i = 0; i < " +
                      std::to_string(modules.size()) +
                      "; ++i) {\n"
                      "  text += WebAssembly.validate(fs.readFileSync('' + i)) ? '1' : '0';\n"
                      "}\n"
                      "console.log(text);\n");
    const ProgramResult result = RunProgram("/usr/bin/node", {"validate.js"}, folder.path);
    std::vector<bool> accepted(modules.size());
    EXPECT_EQ(result.output.size(), modules.size() + 1) << result.errors;
    for (size_t i = 0; i < std::min(modules.size(), result.output.size()); ++i) {
        accepted[i] = result.output[i] == '1';
    }
    return accepted;
}

void Keep(const std::string& bytes, const std::string& name) {
    const char* const folder = std::getenv("MOXI_WASM_KEEP");
    if (folder != nullptr) {
        WriteTextFile(std::string(folder) + "/" + name + ".wasm", bytes);
    }
}

void ExpectRefused(const TranslatedModule& translation, const std::string& what) {
    EXPECT_FALSE(translation.ok) << what;
    EXPECT_FALSE(translation.errors.empty()) << what;
    EXPECT_TRUE(translation.bytes.empty()) << what;
    for (const std::string& error : translation.errors) {
        EXPECT_FALSE(error.empty()) << what;
        EXPECT_EQ(error.find('\n'), std::string::npos) << what << ": " << error;
    }
}

TEST_F(WasmMalformedTest, EveryBeginningOfAModuleIsRefused) {
    for (u64 seed = 1; seed <= 12; ++seed) {
        const std::string whole = MakeRandomModule(seed).bytes;
        const std::vector<std::string> none;
        std::vector<std::string> beginnings;
        for (size_t size = 0; size < whole.size(); size += 1 + size / 100) {
            beginnings.push_back(whole.substr(0, size));
        }
        const std::vector<bool> accepted = NodeAccepts(beginnings);
        for (size_t i = 0; i < beginnings.size(); ++i) {
            if (accepted[i]) {
                continue;  // a module may end behind any section
            }
            ExpectRefused(Translate(beginnings[i], CallOptions()),
                          "the first " + std::to_string(beginnings[i].size()) +
                              " bytes of module " + std::to_string(seed));
        }
    }
}

TEST_F(WasmMalformedTest, WhatNodeRefusesIsRefused) {
    std::mt19937_64 random(4711);
    const char* const wish = std::getenv("MOXI_WASM_MUTANTS");
    const u64 count = wish != nullptr ? std::strtoull(wish, nullptr, 10) : 6000;
    u64 valid = 0;
    u64 refused = 0;
    for (u64 done = 0; done < count; done += 500) {
        std::vector<std::string> mutants;
        for (u32 i = 0; i < 500; ++i) {
            std::string bytes = MakeRandomModule(1 + random() % 400).bytes;
            for (u64 changes = 1 + random() % 3; changes > 0; --changes) {
                const size_t at = 8 + random() % (bytes.size() - 8);
                switch (random() % 5) {
                    case 0: bytes[at] = static_cast<char>(random()); break;
                    case 1: bytes[at] = static_cast<char>(bytes[at] ^ (1 << (random() % 8))); break;
                    case 2:
                        bytes[at] = static_cast<char>(bytes[at] + 1 - 2 * (random() % 2));
                        break;
                    case 3: bytes.erase(at, 1 + random() % 2); break;
                    default: bytes.insert(at, 1, static_cast<char>(random())); break;
                }
            }
            mutants.push_back(bytes);
        }
        const std::vector<bool> accepted = NodeAccepts(mutants);
        for (size_t i = 0; i < mutants.size(); ++i) {
            const TranslatedModule translation = Translate(mutants[i], CallOptions());
            const std::string name = "mutant " + std::to_string(done + i);
            if (translation.ok) {
                EXPECT_TRUE(accepted[i]) << name;
                ++valid;
            } else {
                ExpectRefused(translation, name);
                ++refused;
            }
            if (accepted[i] != translation.ok) {
                Keep(mutants[i], name);
            }
            // What is accepted there is refused here only for what we do not have, and for the
            // type of a block in more bytes than the one that it has.
            if (accepted[i] && !translation.ok) {
                const std::string& error = translation.errors[0];
                EXPECT_TRUE(error.find("not supported") != std::string::npos ||
                            error.find("import") != std::string::npos ||
                            error.find("malformed block type") != std::string::npos ||
                            error.find("memory") != std::string::npos ||
                            error.find("table") != std::string::npos)
                    << name << ": " << error;
            }
        }
    }
    EXPECT_GT(valid, count / 20);
    EXPECT_GT(refused, count / 3);
}

}  // namespace
}  // namespace moxi
