#include "tests/support/calling_module.h"

namespace moxi {

u32 CallingModule::Call(u32 command, const std::vector<std::string>& arguments,
                        const std::string& resultName) {
    const std::string number = std::to_string(calls);
    const std::string block = "block" + number;
    blocks += block + ": .long " + std::to_string(command);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const bool isAtLabel = arguments[i][0] == '@';
        blocks += ", " + (isAtLabel ? "0" : arguments[i]);
        if (!isAtLabel) {
            continue;
        }
        code += "        MOVE.L  R1, [" + arguments[i].substr(1) + "]\n        MOVE.L  [" + block +
                "+" + std::to_string(4 * (i + 1)) + "], R1\n";
    }
    blocks += "\n";
    code += "        MOVE.L  R14, #" + std::to_string(kUntouched) + "\n        MOVE.L  R15, #" +
            block + "\nsys" + number + ":   SYS\n        MOVE.Q  [" + ResultLabel(calls) +
            "], R14\n";
    results += ResultLabel(calls) + ":\n" + (resultName.empty() ? "" : resultName + ":\n") +
               "        .space 8\n";
    return calls++;
}

std::string CallingModule::Text(const std::string& bytes) {
    const std::string label = "text" + std::to_string(labels++);
    data += label + ": .byte ";
    for (const char c : bytes) {
        data += std::to_string(static_cast<u8>(c)) + ", ";
    }
    data += "0\n";
    return label;
}

std::string CallingModule::Room(u32 size) {
    const std::string label = "room" + std::to_string(labels++);
    rooms += label + ": .space " + std::to_string(size) + "\n";
    return label;
}

std::string CallingModule::Source(u32 command) const {
    // Behind a byte, so that the addresses of the blocks are no multiples of 4.
    return "        .heap   " + std::to_string(heap) +
           "\n        .code\nstart:  LINK    0, 0\n        MOVE.L  R0, [FP+12]\n"
           "        CMP.L   R0, #" +
           std::to_string(command) + "\n        BEQ     calls\n        RETURN  0\ncalls:\n" + code +
           "        RETURN  0\n        .data\n" + data + "        .align 4\n        .byte 0\n" +
           blocks + "        .bss\n" + kResults + ":\n" + results + rooms;
}

const HeadlessResult& CallingModule::Run(const std::vector<std::string>& options) {
    run.source = Source();
    run.options.insert(run.options.end(), options.begin(), options.end());
    run.options.insert(run.options.end(), {"--run-ms", "10"});
    result = RunHeadless(run);
    return result;
}

}  // namespace moxi
