#pragma once
// Walks over the bytes of a module, which it does not own. Reading past the end or a malformed
// number sets `failed` and moves to the end, so that from then on everything reads as zero and
// callers may look once, at the end of a construct.

#include "base/bytes.h"
#include "base/types.h"

namespace moxi {

struct ByteCursor {
    const u8* at = nullptr;
    const u8* end = nullptr;
    const char* failed = nullptr;  // why

    bool AtEnd() const { return at >= end; }
    u64 Left() const { return static_cast<u64>(end - at); }

    void Fail(const char* why) {
        if (failed == nullptr) {
            failed = why;
        }
        at = end;
    }
    u8 Byte() {
        if (at >= end) {
            Fail("unexpected end");
            return 0;
        }
        return *at++;
    }
    // Numbers in LEB128, of at most as many bits as the name says.
    u32 Unsigned32() {
        if (at < end && *at < 0x80) {
            return *at++;
        }
        return static_cast<u32>(UnsignedLong(32));
    }
    i32 Signed32() { return static_cast<i32>(SignedLong(32)); }
    i64 Signed33() { return SignedLong(33); }
    i64 Signed64() { return SignedLong(64); }
    // Four and eight bytes, the lowest one first.
    u32 Word() {
        if (Left() < 4) {
            Fail("unexpected end");
            return 0;
        }
        const u32 value = LoadBytes<u32>(at);
        at += 4;
        return value;
    }
    u64 Quad() {
        if (Left() < 8) {
            Fail("unexpected end");
            return 0;
        }
        const u64 value = LoadBytes<u64>(at);
        at += 8;
        return value;
    }
    // Goes over that many bytes and returns where they begin; after a failure nothing may be read
    // there.
    const u8* Bytes(u64 count) {
        if (Left() < count) {
            Fail("unexpected end");
            return at;
        }
        const u8* const start = at;
        at += count;
        return start;
    }

  private:
    u64 UnsignedLong(u32 bits) {
        u64 value = 0;
        for (u32 shift = 0;; shift += 7) {
            const u8 byte = Byte();
            if (failed != nullptr) {
                return 0;
            }
            if (shift + 7 > bits && (byte & 0x7F) >> (bits - shift) != 0) {
                Fail((byte & 0x80) != 0 ? "integer representation too long" : "integer too large");
                return 0;
            }
            value |= u64{byte & 0x7Fu} << shift;
            if ((byte & 0x80) == 0) {
                return value;
            }
            if (shift + 7 >= bits) {
                Fail("integer representation too long");
                return 0;
            }
        }
    }
    i64 SignedLong(u32 bits) {
        u64 value = 0;
        for (u32 shift = 0;; shift += 7) {
            const u8 byte = Byte();
            if (failed != nullptr) {
                return 0;
            }
            value |= u64{byte & 0x7Fu} << shift;
            const bool isLast = (byte & 0x80) == 0;
            if (shift + 7 >= bits) {
                if (!isLast) {
                    Fail("integer representation too long");
                    return 0;
                }
                // The unused bits repeat the sign.
                const u32 used = bits - shift;
                const u32 rest = byte & 0x7Fu & ~((1u << (used - 1)) - 1);
                const u32 ones = 0x7Fu & ~((1u << (used - 1)) - 1);
                if (rest != 0 && rest != ones) {
                    Fail("integer too large");
                    return 0;
                }
            }
            if (!isLast) {
                continue;
            }
            const u32 width = shift + 7;
            if (width < 64 && (byte & 0x40) != 0) {
                value |= ~u64{0} << width;
            }
            return static_cast<i64>(value);
        }
    }
};

}  // namespace moxi
