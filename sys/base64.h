#pragma once
// Writes binary data into a text file.

#include "base/types.h"

namespace moxi {

// Writes `length` bytes of `data` to an open file as standard base64 without line breaks, the last
// group padded with "=". A length of 0 or less writes "====". Returns the characters written.
u32 WriteBase64(u32 handle, const u8* data, i32 length);

}  // namespace moxi
