// mxcc: compiles C and C++ to a module image.

#include "wasm/mxcc_command.h"

int main(int argc, char** argv) {
    return moxi::RunMxcc({argv + 1, argv + argc});
}
