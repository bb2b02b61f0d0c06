// mxservices: prints library/c/include/moxi/services.h.

#include <iostream>

#include "kit/c_header.h"

int main() {
    std::cout << ServicesHeader();
    return std::cout.flush() ? 0 : 1;
}
