// mxdis: shows a module image as text.

#include <iostream>

#include "tools/mxdis_command.h"
#include "tools/terminal_errors.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    TerminalErrors buffer(std::cerr);
    std::ostream errors(&buffer);
    return RunMxdis({argv + 1, argv + argc}, std::cout, errors);
}
