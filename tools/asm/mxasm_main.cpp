// mxasm: assembles a source file into a module image.

#include <iostream>

#include "tools/asm/mxasm_command.h"

int main(int argc, char** argv) {
    return moxi::RunMxasm({argv + 1, argv + argc}, std::cout, std::cerr);
}
