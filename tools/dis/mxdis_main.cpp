// mxdis: shows a module image as text.

#include <iostream>

#include "tools/dis/mxdis_command.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    return moxi::RunMxdis({argv + 1, argv + argc}, std::cout, std::cerr);
}
