#pragma once
// A game with its symbol file, run in the debugger with commands on standard input.

#include <sys/types.h>

#include <string>
#include <vector>

#include "tests/support/headless_run.h"

namespace moxi {

// Counts ticks by 3 with a function, and prints after each. The stack is 4,096 bytes: code and data
// end at 0x264, the globals at 0x26C, so the stack and the heap begin at 0x26C and 0x126C.
inline constexpr const char* kTicking = R"(
MSG_TICK = 11
        .stack  4096
        .heap   65536

start:  LINK    0, 2                    ; 200
        MOVE.B  [HDR_RESULT], #1        ; 204
        MOVE.L  R12, [FP+12]            ; 20C
        CMP.L   R12, #MSG_TICK          ; 210
        BNE     @done                   ; 218
        PUSH.L  #3                      ; 21C
        PUSH.L  [ticks]                 ; 220
        CALL    add, 8                  ; 228
        MOVE.L  [ticks], R13            ; 230
        MOVE.L  R15, #block             ; 238
        SYS                             ; 240
@done:  RETURN  2                       ; 244

add:    LINK    8, 0                    ; 248
        MOVE.L  R13, [FP+12]            ; 24C
        ADD.L   R13, [FP+16]            ; 250
        RETURN  0                       ; 254

        .data
block:  .long   0x030E, hello           ; 258
hello:  .asciz  "hi\n"                  ; 260
        .bss
ticks:  .space  4                       ; 268
)";

// What each conversation ends with when its input ends.
inline constexpr const char* kEndOfTalk = "the run ends with status 0\n";

struct Debugged {
    TemporaryFolder folder;
    std::string game = folder.path + "/game";
    AssembleResult assembled;

    explicit Debugged(const std::string& source, bool symbols = true);
    // For half a second of virtual time, in `folder`.
    ProgramResult Run(const std::string& commands, std::vector<std::string> options = {}) const;
    // What was said after the greeting and the first stop, which takes four lines.
    std::string Talk(const std::string& commands,
                     const std::vector<std::string>& options = {}) const;
};

// A debugger that is fed line by line.
struct Interactive {
    const Debugged& game;
    std::string output = game.folder.path + "/talk";
    std::string input = game.folder.path + "/fifo";
    pid_t process = -1;
    int pipe = -1;

    Interactive(const Debugged& debugged, const std::string& options);
    ~Interactive();
    Interactive(const Interactive&) = delete;
    Interactive& operator=(const Interactive&) = delete;

    void Enter(const std::string& line) const;
    bool WaitFor(const std::string& text) const;
    int WaitForExit();
};

}  // namespace moxi
