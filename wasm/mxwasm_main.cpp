// mxwasm: turns a WebAssembly module into a module image.

#include <iostream>

#include "wasm/mxwasm_command.h"

int main(int argc, char** argv) {
    return moxi::RunMxwasm({argv + 1, argv + argc}, std::cout, std::cerr);
}
