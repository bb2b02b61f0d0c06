// mxasm: assembles a source file into a module image.

#include <iostream>

#include "tools/mxasm_command.h"
#include "tools/terminal_errors.h"

int main(int argc, char** argv) {
    TerminalErrors buffer(std::cerr);
    std::ostream errors(&buffer);
    return RunMxasm({argv + 1, argv + argc}, std::cout, errors);
}
