#include "sys/base64.h"

#include "sys/files.h"

namespace moxi {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Encodes 1 to 3 bytes into four characters.
void EncodeGroup(const u8* data, i32 bytes, char* text) {
    const u32 second = bytes > 1 ? data[1] : 0u;
    const u32 third = bytes > 2 ? data[2] : 0u;
    const u32 bits = u32{data[0]} << 16 | second << 8 | third;
    text[0] = kAlphabet[bits >> 18];
    text[1] = kAlphabet[bits >> 12 & 63];
    text[2] = bytes > 1 ? kAlphabet[bits >> 6 & 63] : '=';
    text[3] = bytes > 2 ? kAlphabet[bits & 63] : '=';
}

}  // namespace

u32 WriteBase64(u32 handle, const u8* data, i32 length) {
    if (length <= 0) {
        return WriteFile(handle, "====", 4);
    }
    // Many groups go out with one write: the file is not buffered.
    char text[4096];
    u32 used = 0;
    u32 written = 0;
    while (length > 0) {
        const i32 bytes = length < 3 ? length : 3;
        EncodeGroup(data, bytes, text + used);
        data += bytes;
        length -= bytes;
        used += 4;
        if (used == sizeof text || length == 0) {
            written += WriteFile(handle, text, used);
            used = 0;
        }
    }
    return written;
}

}  // namespace moxi
