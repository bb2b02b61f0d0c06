// The data of ICU, cut to what is used of it: none. MOXI has ICU map letters to capitals, whose
// tables lie in ICU's code; the library that goes by this name otherwise has 31 MB. A game that is
// shipped with a moxi of its own gets this one.

#include <unicode/udata.h>
#include <unicode/utypes.h>

namespace {

// A package of data in ICU's common format with no item in it.
struct Package {
    uint16_t headerSize;
    uint8_t mark[2];
    UDataInfo info;
    char padding[8];
    uint32_t items;
    uint32_t reserved[5];
};

}  // namespace

extern "C" U_EXPORT const Package U_ICUDATA_ENTRY_POINT;

extern "C" const Package U_ICUDATA_ENTRY_POINT = {32,
                                                  {0xDA, 0x27},
                                                  {sizeof(UDataInfo),
                                                   0,
                                                   U_IS_BIG_ENDIAN,
                                                   U_CHARSET_FAMILY,
                                                   sizeof(UChar),
                                                   0,
                                                   {'C', 'm', 'n', 'D'},
                                                   {1, 0, 0, 0},
                                                   {0, 0, 0, 0}},
                                                  {},
                                                  0,
                                                  {}};
