#pragma once
// Writes a module that calls services one after another on its first message and then stops, and
// runs it through the real program, headless.

#include <string>
#include <vector>

#include "tests/support/headless_run.h"

namespace moxi {

class ServiceModule {
  public:
    // Adds a call. Arguments are expressions of the assembler (numbers, labels) or Result(n).
    // Returns the call's number, counted from 0.
    u32 Call(u32 command, const std::vector<std::string>& arguments = {}) {
        const std::string n = std::to_string(count);
        blocks += "block" + n + ": .long " + std::to_string(command);
        for (u32 i = 0; i < arguments.size(); i++) {
            if (arguments[i][0] == '@') {
                blocks += ", 0";
                code += "  MOVE.L R1, [result" + arguments[i].substr(1) + "]\n";
                code += "  MOVE.L [block" + n + "+" + std::to_string(4 * i + 4) + "], R1\n";
            } else {
                blocks += ", " + arguments[i];
            }
        }
        blocks += "\n";
        code += "  MOVE.L R14, #0x5A5A5A5A\n  MOVE.L R15, #block" + n + "\nsys" + n +
                ": SYS\n  MOVE.Q [result" + n + "], R14\n";
        results += "result" + n + ": .space 8\n";
        return count++;
    }

    static std::string Result(u32 call) { return "@" + std::to_string(call); }

    // Instructions between the calls.
    void Code(const std::string& text) { code += text + "\n"; }

    // A string in the data section, named by the label that is returned.
    std::string Text(const std::string& text) {
        std::string label = "text" + std::to_string(texts++);
        data += label + ": .byte ";
        for (const char c : text) data += std::to_string(static_cast<u8>(c)) + ", ";
        data += "0\n";
        return label;
    }

    // Zeroed room.
    std::string Room(u32 size) {
        std::string label = "room" + std::to_string(texts++);
        results += label + ": .space " + std::to_string(size) + "\n";
        return label;
    }

    const HeadlessResult& Run() {
        // Between the blocks stands a byte, so that their addresses are not multiples of 4.
        run.source =
            ".stack 4096\n.heap 65536\n.code\nstart: LINK 0, 0\n  MOVE.L R0, [FP+12]\n"
            "  CMP.L R0, #1\n  BNE done\n" +
            code + "  STOP\ndone: RETURN 0\n.data\n" + data + ".align 4\n.byte 0\n" + blocks +
            ".bss\n" + results;
        result = RunHeadless(run);
        EXPECT_EQ(result.status, 0);
        return result;
    }

    // After the run: the low half of R14 and all of it.
    u32 Of(u32 call) const { return result.LongAt("result" + std::to_string(call)); }
    u64 QuadOf(u32 call) const {
        return result.Quad(result.Label("result" + std::to_string(call)));
    }

    HeadlessRun run;
    HeadlessResult result;

  private:
    std::string code;
    std::string data;
    std::string blocks;
    std::string results;
    u32 count = 0;
    u32 texts = 0;
};

}  // namespace moxi
