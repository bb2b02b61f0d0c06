#pragma once
// A module that writes each message with its four words to debug.log in its data folder, and the
// messages read back from there.

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "host/message.h"
#include "tests/support/headless_run.h"

namespace moxi {

// A message as the module got it. Prints as its name and hexadecimal words.
struct LoggedMessage {
    u32 command = 0;
    u32 p1 = 0;
    u32 p2 = 0;
    u32 p3 = 0;
    bool operator==(const LoggedMessage&) const = default;
};

std::ostream& operator<<(std::ostream& out, const LoggedMessage& message);

using Messages = std::vector<LoggedMessage>;

// Lets itself be closed unless `on` has something else for MSG_CLOSE.
struct LoggingModule {
    // Instructions that follow the logging of a command, free to use every register; p1 is at
    // [FP+16]. They fall through to the end of the message. `SERVICE command, bytes` calls a
    // service whose arguments have been pushed, the last one first; its result is in R14.
    std::map<u32, std::string> on;
    std::string data;      // directives for .data
    u32 timer = 0;         // milliseconds of the module's own timer; 0 for none
    bool ticks = false;    // whether MSG_TICK is logged, too
    u32 stack = 16384;     // bytes
    u32 heap = 256 << 10;  // bytes

    std::string Source() const;
};

// For `on[MSG_CHAR]`: a "d" suspends input for 10 ms and longer, an "r" lets it in again.
extern const char* const kSuspendOnDResumeOnR;

// Runs it headless.
HeadlessResult Play(const LoggingModule& module, const std::string& script = "",
                    const std::vector<std::string>& options = {});

// All messages in the order in which they were logged.
Messages LoggedMessages(const HeadlessResult& result);

// The same without what every start brings on a window that nobody has touched: MSG_START1,
// MSG_START2, MSG_SIZE 1000 x 600, MSG_MOVE (100, 100) and the size once more from the first host
// tick. Their absence fails the running test.
Messages MessagesAfterStart(const HeadlessResult& result);

}  // namespace moxi
