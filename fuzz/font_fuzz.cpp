// Any bytes as a font whose rules for neighbouring glyphs are read.

#include "desktop/pango/pair_rules.h"

namespace moxi {

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    hb_blob_t* const blob =
        hb_blob_create(reinterpret_cast<const char*>(data), static_cast<unsigned>(size),
                       HB_MEMORY_MODE_READONLY, nullptr, nullptr);
    hb_face_t* const face = hb_face_create(blob, 0);
    ReadPairRules(face, HB_SCRIPT_LATIN, hb_language_from_string("en", -1));
    hb_face_destroy(face);
    hb_blob_destroy(blob);
    return 0;
}

}  // namespace moxi
