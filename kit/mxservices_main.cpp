// mxservices: prints library/c/include/moxi/services.h; with the argument `page`,
// docs/c-services.md.

#include <iostream>
#include <string_view>

#include "kit/c_header.h"

int main(int argc, char** argv) {
    const bool isPage = argc > 1 && std::string_view(argv[1]) == "page";
    std::cout << (isPage ? moxi::ServicesPage() : moxi::ServicesHeader());
    return std::cout.flush() ? 0 : 1;
}
