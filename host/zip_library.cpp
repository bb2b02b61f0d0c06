#include "host/zip_library.h"

#include <dlfcn.h>

namespace moxi {

const ZipLibrary* LoadZipLibrary() {
    static ZipLibrary library;
    if (library.open != nullptr) {
        return &library;
    }
    void* const loaded = dlopen(MOXI_LIBZIP, RTLD_NOW | RTLD_LOCAL);
    if (loaded == nullptr) {
        return nullptr;
    }
    ZipLibrary found;
    bool all = true;
#define MOXI_ZIP_FIND(name)                                                           \
    found.name = reinterpret_cast<decltype(found.name)>(dlsym(loaded, "zip_" #name)); \
    all = all && found.name != nullptr;
    MOXI_ZIP_FUNCTIONS(MOXI_ZIP_FIND)
#undef MOXI_ZIP_FIND
    if (!all) {
        return nullptr;
    }
    library = found;
    return &library;
}

}  // namespace moxi
