// mxref: prints docs/instruction-set.md.

#include <iostream>

#include "tools/reference.h"

int main() {
    std::cout << moxi::InstructionSetPage();
    return std::cout.flush() ? 0 : 1;
}
