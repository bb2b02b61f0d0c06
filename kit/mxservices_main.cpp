// mxservices: prints library/c/include/moxi/services.h; with the argument `page`
// docs/c-services.md, with `rust` library/rust/src/sys.rs, with `assemblyscript`
// library/assemblyscript/services.ts.

#include <iostream>
#include <string_view>

#include "kit/service_files.h"

int main(int argc, char** argv) {
    const std::string_view what = argc > 1 ? argv[1] : "";
    if (what == "page") {
        std::cout << moxi::ServicesPage();
    } else if (what == "rust") {
        std::cout << moxi::RustServices();
    } else if (what == "assemblyscript") {
        std::cout << moxi::AssemblyScriptServices();
    } else {
        std::cout << moxi::ServicesHeader();
    }
    return std::cout.flush() ? 0 : 1;
}
