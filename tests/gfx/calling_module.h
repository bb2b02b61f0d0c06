#pragma once
// Writes small modules that call services one after the other and keep the results.

#include <string>
#include <vector>

#include "base/types.h"
#include "tests/support/headless_run.h"

namespace moxi {

class CallingModule {
  public:
    // A call with these arguments. "@name" passes the LONG at a label, for results of calls before;
    // everything else is an expression of the assembler. The result goes to the LONG at `result`.
    void Call(u32 command, const std::vector<std::string>& arguments,
              const std::string& result = "") {
        const std::string block = "block" + std::to_string(blocks++);
        data += block + ": .long " + std::to_string(command);
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            const std::string& argument = arguments[i];
            const bool copied = argument[0] == '@';
            data += ", " + (copied ? "0" : argument);
            if (!copied) continue;
            code += "        MOVE.L  R1, [" + argument.substr(1) + "]\n        MOVE.L  [" + block +
                    "+" + std::to_string(4 * (i + 1)) + "], R1\n";
        }
        data += "\n";
        code += "        MOVE.L  R15, #" + block + "\n        SYS\n";
        if (result.empty()) return;
        data += result + ": .long 0\n";
        code += "        MOVE.L  [" + result + "], R14\n";
    }

    // Data of the test's own, and code between calls.
    void Data(const std::string& line) { data += line + "\n"; }
    void Code(const std::string& line) { code += "        " + line + "\n"; }

    // The pixel at a position, into a LONG at `name`.
    void Pixel(const std::string& handle, int x, int y, const std::string& name) {
        Call(0x0506, {handle, std::to_string(x), std::to_string(y)}, name);
    }

    // Runs the calls when message `command` comes (1 is the first message of all).
    std::string Source(u32 command = 1) const {
        return "        .heap   16777216\n        .code\nstart:  LINK    0, 0\n"
               "        MOVE.L  R0, [FP+12]\n        CMP.L   R0, #" +
               std::to_string(command) + "\n        BEQ     calls\n        RETURN  0\ncalls:\n" +
               code + "        RETURN  0\n        .data\n" + data;
    }

    HeadlessResult Run(const std::vector<std::string>& options = {}) const {
        HeadlessRun run;
        run.source = Source();
        run.options = options;
        run.options.insert(run.options.end(), {"--run-ms", "10"});
        return RunHeadless(run);
    }

  private:
    std::string code, data;
    int blocks = 0;
};

}  // namespace moxi
