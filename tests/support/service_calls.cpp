#include "tests/support/service_calls.h"

namespace moxi {

u32 ServiceCalls::Call(const std::vector<std::string>& words) {
    const u32 number = calls++;
    const std::string block = "block" + std::to_string(number);
    std::string row;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const bool result = words[i][0] == '=';
        if (result) {
            code += "        MOVE.L [" + block + "+" + std::to_string(4 * i) + "], [results+4*" +
                    words[i].substr(1) + "]\n";
        }
        row += (i == 0 ? "" : ", ") + (result ? "0" : words[i]);
    }
    data += "        .align 4\n" + block + ": .long " + row + "\n";
    code += "        MOVE.L R15, #.I " + block + "\n        SYS\n        MOVE.L [results+4*" +
            std::to_string(number) + "], R14\n";
    return number;
}

u32 ServiceCalls::Graphics(u32 sub, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), std::to_string(0x500 + sub));
    return Call(arguments);
}

std::string ServiceCalls::Text(const std::string& bytes) {
    const std::string label = "text" + std::to_string(labels++);
    data += label + ": .byte ";
    for (const char c : bytes) data += std::to_string(static_cast<u8>(c)) + ", ";
    data += "0\n";
    return label;
}

std::string ServiceCalls::Space(u32 size) {
    const std::string label = "space" + std::to_string(labels++);
    data += "        .align 4\n" + label + ": .space " + std::to_string(size) + "\n";
    return label;
}

std::string ServiceCalls::Source(u32 heap) const {
    return "        .heap " + std::to_string(heap) +
           "\n        .code\n"
           "        LINK 0, 0\n"
           "        MOVE.L R0, [FP+12]\n"
           "        SUB.L R0, #1\n"
           "        TBNE.L R0, end\n" +
           code +
           "end:    RETURN 0\n"
           "        .data\n" +
           data + "        .align 4\nresults: .space " + std::to_string(4 * (calls + 1)) + "\n";
}

}  // namespace moxi
