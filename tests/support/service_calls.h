#pragma once
// A module that gives a row of service commands at its first message and keeps their results, as
// readable assembly.

#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

class ServiceCalls {
  public:
    // Command word and arguments; each is a number or an expression of the assembler: a label made
    // by Text() or Space(), or Result(i) of an earlier command. Returns the command's number.
    u32 Call(const std::vector<std::string>& words);
    // The same for group 5.
    u32 Graphics(u32 sub, std::vector<std::string> arguments);

    // The label of NUL-terminated bytes, of `size` zero bytes.
    std::string Text(const std::string& bytes);
    std::string Space(u32 size);

    // Stands for the result of a command in the arguments of a later one.
    static std::string Result(u32 command) { return "=" + std::to_string(command); }
    // The label of the results, 4 bytes for each command.
    static const char* ResultsLabel() { return "results"; }

    std::string Source(u32 heap = 1 << 20) const;

  private:
    std::string code;
    std::string data;
    u32 calls = 0;
    u32 labels = 0;
};

}  // namespace moxi
