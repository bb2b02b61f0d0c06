#pragma once
// A module whose sound services are called by the event script, played by the real program.

#include <string>
#include <vector>

#include "sys/services.h"
#include "tests/support/headless_run.h"

namespace moxi {

struct SoundModule {
    HeadlessRun run;  // resources, data and options may be added before Play
    HeadlessResult result;

    // At virtual time `milliseconds` (not decreasing) the module calls this command with an
    // argument: a number, or with Name the address of a text. The answer is the call's index.
    u32 Call(u32 milliseconds, u32 command, const std::string& argument = "0") {
        const std::string index = std::to_string(calls);
        Event(std::to_string(milliseconds) + " post 100 " + index + " 0 0");
        blocks += "        .long " + std::to_string(command) + ", " + argument + "\n";
        data += "result" + index + ": .long 0\n";
        return calls++;
    }
    u32 CallName(u32 milliseconds, u32 command, const std::string& name) {
        names += "name" + std::to_string(calls) + ": .asciz \"" + name + "\"\n";
        return Call(milliseconds, command, "name" + std::to_string(calls));
    }
    // A line of the event script.
    void Event(const std::string& line) { script += line + "\n"; }

    // Plays it for so long.
    void Play(u32 milliseconds) {
        run.source =
            std::string(kCode) + blocks + names + "        .align 4\n" + "results:\n" + data;
        run.script = script;
        run.options.insert(run.options.end(), {"--run-ms", std::to_string(milliseconds)});
        result = RunHeadless(run);
    }

    // R14 after the call; it held kUntouched before.
    u32 Of(u32 call) const { return result.LongAt("result" + std::to_string(call)); }
    // How often the end of the music was reported.
    u32 Dones() const { return result.LongAt("done_count"); }

    static constexpr u32 kUntouched = 0x5A5A5A5A;

  private:
    static constexpr const char* kCode = R"(
        .code
start:  LINK    0, 0
        MOVE.L  R0, [FP+12]
        CMP.L   R0, #10
        BNE     @other
        ADD.L   [done_count], #1
        RETURN  0
@other:
        CMP.L   R0, #100
        BNE     @nothing
        MOVE.L  R15, [FP+16]
        LSL.L   R15, #3
        ADD.L   R15, #blocks
        MOVE.L  R14, #0x5A5A5A5A
        SYS
        MOVE.L  R1, [FP+16]
        LSL.L   R1, #2
        MOVE.L  [R1+results], R14
@nothing:
        RETURN  0
        .data
        .align  4
done_count: .long 0
blocks:
)";

    u32 calls = 0;
    std::string script;
    std::string blocks;
    std::string names;
    std::string data;
};

}  // namespace moxi
