#pragma once
// libzip, loaded when the first archive is opened. It brings a whole library of cryptography along,
// which a game that is shipped with a moxi of its own has no use for.

#include <zip.h>

namespace moxi {

// The functions that are used, each by its own name without the "zip_".
#define MOXI_ZIP_FUNCTIONS(use)                                                                  \
    use(open) use(fdopen) use(close) use(discard) use(strerror) use(error_init_with_code)        \
        use(error_strerror) use(error_fini) use(get_num_entries) use(stat_index)                 \
            use(compression_method_supported) use(file_get_external_attributes) use(fopen_index) \
                use(fread) use(fclose) use(file_get_error) use(source_file) use(source_free)     \
                    use(file_add) use(set_file_compression) use(file_set_dostime)                \
                        use(file_set_external_attributes)

struct ZipLibrary {
#define MOXI_ZIP_SLOT(name) decltype(&::zip_##name) name = nullptr;
    MOXI_ZIP_FUNCTIONS(MOXI_ZIP_SLOT)
#undef MOXI_ZIP_SLOT
};

// Null where it is not installed.
const ZipLibrary* LoadZipLibrary();

}  // namespace moxi
