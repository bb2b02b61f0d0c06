#include "tests/support/message_log.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

#include "kit/call_names.h"

namespace moxi {

namespace {

// Appends R1 as eight digits and a blank at R4.
constexpr const char* kRoutines = R"(
hex:    LINK    0, 0
        MOVE.L  R2, #8
@digit: MOVE.L  R3, R1
        LSR.L   R3, #28
        MOVE.B  R5, [R3+digits]
        MOVE.B  [R4], R5
        ADD.L   R4, #1
        LSL.L   R1, #4
        SUB.L   R2, #1
        TBNE.L  R2, @digit
        MOVE.B  [R4], #' '
        ADD.L   R4, #1
        RETURN  0

service:
        LINK    0, 0
        LEA.L   R15, [FP+12]
        SYS
        RETURN  0

        .data
digits: .ascii  "0123456789ABCDEF"
line:   .space  40
)";

}  // namespace

const char* const kSuspendOnDResumeOnR = R"(
        MOVE.L  R0, [FP+16]
        CMP.L   R0, #'d'
        BNE     @resume
        PUSH.L  #1
        SERVICE 0x0715, 4
        RETURN  0
@resume:
        CMP.L   R0, #'r'
        BNE     done
        PUSH.L  #0
        SERVICE 0x0715, 4
)";

std::ostream& operator<<(std::ostream& out, const LoggedMessage& message) {
    const std::string_view name = MessageName(message.command);
    if (name.empty()) {
        out << "message " << message.command;
    } else {
        out << name;
    }
    return out << std::hex << " 0x" << message.p1 << " 0x" << message.p2 << " 0x" << message.p3
               << std::dec;
}

std::string LoggingModule::Source() const {
    std::ostringstream source;
    source << "        .stack  " << stack << "\n        .heap   " << heap << "\n"
           << "        .macro  SERVICE command, bytes\n"
              "        PUSH.L  #\\command\n"
              "        CALL    service, (\\bytes) + 4\n"
              "        .endm\n"
              "        .code\n"
              "start:  LINK    0, 0\n"
              "        MOVE.L  R0, [FP+12]\n";
    if (!ticks) {
        source << "        CMP.L   R0, #11\n        BEQ     logged\n";
    }
    source << "        MOVE.L  R4, #line\n"
              "        MOVE.L  R1, [FP+12]\n        CALL    hex\n"
              "        MOVE.L  R1, [FP+16]\n        CALL    hex\n"
              "        MOVE.L  R1, [FP+20]\n        CALL    hex\n"
              "        MOVE.L  R1, [FP+24]\n        CALL    hex\n"
              "        MOVE.B  [R4-1], #10\n"
              "        MOVE.B  [R4], #0\n"
              "        MOVE.L  R15, #line\n"
              "        DEBUGLOG\n"
              "logged: MOVE.L  R0, [FP+12]\n";
    std::map<u32, std::string> all = on;
    if (timer != 0) {
        all[MSG_START1] = "        PUSH.L  #" + std::to_string(timer) +
                          "\n        SERVICE 0x0200, 4\n" + all[MSG_START1];
    }
    all.try_emplace(MSG_CLOSE, "        MOVE.B  [HDR_RESULT], #1\n");
    for (const auto& [command, code] : all) {
        source << "        CMP.L   R0, #" << command << "\n        BEQ     on" << command << "\n";
    }
    source << "done:   RETURN  0\n";
    for (const auto& [command, code] : all) {
        source << "on" << command << ":\n" << code << "\n        JMP     done\n";
    }
    source << kRoutines << "        .align  4\n" << data << "\n";
    return source.str();
}

HeadlessResult Play(const LoggingModule& module, const std::string& script,
                    const std::vector<std::string>& options) {
    HeadlessRun run;
    run.source = module.Source();
    run.script = script;
    run.options = options;
    return RunHeadless(run);
}

Messages LoggedMessages(const HeadlessResult& result) {
    Messages messages;
    const auto log = result.data.find("debug.log");
    if (log == result.data.end()) {
        return messages;
    }
    std::istringstream lines(log->second);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        LoggedMessage message;
        words >> std::hex >> message.command >> message.p1 >> message.p2 >> message.p3;
        EXPECT_TRUE(words) << "no message: " << line;
        messages.push_back(message);
    }
    return messages;
}

Messages MessagesAfterStart(const HeadlessResult& result) {
    const Messages start = {{MSG_START1},
                            {MSG_START2},
                            {MSG_SIZE, 1000, 600, 0},
                            {MSG_MOVE, 100, 100, 0},
                            {MSG_SIZE, 1000, 600, 0}};
    Messages messages = LoggedMessages(result);
    if (messages.size() < start.size()) {
        EXPECT_EQ(messages, start);
        return {};
    }
    const auto rest = messages.begin() + static_cast<std::ptrdiff_t>(start.size());
    EXPECT_EQ(Messages(messages.begin(), rest), start);
    return {rest, messages.end()};
}

}  // namespace moxi
