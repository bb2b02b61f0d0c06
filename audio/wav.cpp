#include "audio/wav.h"

#include <algorithm>
#include <cstring>

#include "base/bytes.h"

namespace moxi {

namespace {

constexpr u32 kFormatPosition = 20;
constexpr u32 kFormatEnd = 36;  // of the fields that are read
constexpr u32 kChunkHeader = 8;
constexpr u16 kPcm = 1;
constexpr u32 kMargin = 200;  // ms

bool Matches(std::span<const u8> header, u64 position, const char* text) {
    return std::memcmp(header.data() + position, text, std::strlen(text)) == 0;
}

// All in unsigned 32-bit arithmetic, so a length of more than 4,294,967 frames wraps around:
// modules get the numbers that they were made with.
u32 Milliseconds(u32 dataSize, u32 channels, u32 rate, u32 bits) {
    const u32 frameSize = bits / 8 * channels;
    if (frameSize == 0 || rate == 0) {
        return 0;
    }
    return dataSize / frameSize * 1000 / rate + kMargin;
}

}  // namespace

u32 WavMilliseconds(std::span<const u8> header) {
    header = header.first(std::min<size_t>(header.size(), kWavHeaderSize));
    if (header.size() < kFormatEnd) {
        return 0;
    }
    if (!Matches(header, 0, "RIFF") || !Matches(header, 8, "WAVEfmt ")) {
        return 0;
    }
    const u8* const bytes = header.data();
    if (LoadBytes<u16>(bytes + kFormatPosition) != kPcm) {
        return 0;
    }
    const auto chunkLiesInside = [&header](u64 position) {
        return position + kChunkHeader <= header.size();
    };
    u64 next = u64{kFormatPosition} + LoadBytes<u32>(bytes + 16);
    if (chunkLiesInside(next) && Matches(header, next, "fact")) {
        next += kChunkHeader + u64{LoadBytes<u32>(bytes + next + 4)};
    }
    if (!chunkLiesInside(next) || !Matches(header, next, "data")) {
        return 0;
    }
    return Milliseconds(LoadBytes<u32>(bytes + next + 4), LoadBytes<u16>(bytes + 22),
                        LoadBytes<u32>(bytes + 24), LoadBytes<u16>(bytes + 34));
}

}  // namespace moxi
