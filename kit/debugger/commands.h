#pragma once
// The debugger's commands.

#include <string>

namespace moxi {

enum class After {
    Stay,    // the next command, please
    Resume,  // the module runs on
    Quit,    // the run ends
};

// Executes one line. Whatever is wrong with it is one line of answer.
After ExecuteCommand(const std::string& line);

}  // namespace moxi
