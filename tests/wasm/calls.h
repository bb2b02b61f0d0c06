#pragma once
// Translates a module and calls its functions in a machine on the bench, as `mxwasm --calls` and
// the program would: what comes back are the lines of the log. And what other programs say to the
// same.

#include <string>
#include <string_view>
#include <vector>

#include "tests/wasm/random_module.h"
#include "wasm/translate.h"

namespace moxi {

struct CallsRun {
    std::vector<std::string> errors;  // of the translator; nothing has run then
    std::vector<std::string> lines;   // of the log
    std::vector<std::string> fatals;
    int status = -1;
};

// What the tests translate with: little room, functions called by CALL.TXT.
TranslateOptions CallOptions();

// `calls` is the content of CALL.TXT. Needs the bench of tests/support/vm_fixture.h.
CallsRun RunCalls(std::string_view wasm, const std::string& calls,
                  const TranslateOptions& options = CallOptions());

// "NAME 0x... 0x...\n" for each call.
std::string CallText(const std::vector<RandomModule::Call>& calls);

// The same for a module that has been translated.
CallsRun RunTranslated(const TranslatedModule& translation, const std::string& calls);

// What wabt's interpreter says to the calls of a row of modules: for each module the lines that the
// log would get, up to and with the first trap ("Trap: WHAT"), or for all calls, as if none had
// ended the program. All results are integers. Nothing at all when it does not accept the modules.
std::vector<std::vector<std::string>> WabtLines(const std::vector<RandomModule>& modules,
                                                bool untilTrap = true);

// The same by Node.js. It has one word for two traps each: SameTrap tells whether they fit.
std::vector<std::vector<std::string>> NodeLines(const std::vector<RandomModule>& modules,
                                                bool untilTrap = true);
bool SameTrap(const std::string& ofNode, const std::string& trap);

// The binary form of a text, by wabt. A text that it refuses fails the running test.
std::string WasmOfText(const std::string& text, const std::vector<std::string>& options = {});

// Only what a trap is, without the function's name.
std::string WithoutFunction(const std::string& line);

}  // namespace moxi
