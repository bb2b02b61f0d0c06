// The length of a sound by its header.

#include "audio/wav.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/support/sound_bytes.h"

namespace moxi {

namespace {

u32 Milliseconds(const std::string& file) {
    return WavMilliseconds({reinterpret_cast<const u8*>(file.data()), file.size()});
}

u32 Milliseconds(u32 channels, u32 rate, u32 bits, u32 dataSize) {
    return Milliseconds(WavFile({.channels = channels, .rate = rate, .bits = bits}, "", dataSize));
}

TEST(SoundLength, A16BitStereoFileAt44100HzWith176400BytesReturns1200) {
    EXPECT_EQ(Milliseconds(2, 44100, 16, 176400), 1200u);
}

TEST(SoundLength, An8BitMono22050HzFileWith11025BytesReturns700) {
    EXPECT_EQ(Milliseconds(1, 22050, 8, 11025), 700u);
}

TEST(SoundLength, AFactChunkAfterTheFormatChangesNothing) {
    const std::string fact = Chunk("fact", Bytes({0x44, 0xAC, 0, 0}));
    EXPECT_EQ(Milliseconds(WavFile({.channels = 2, .beforeData = fact}, "", 176400)), 1200u);
}

struct LengthCase {
    u32 channels, rate, bits, dataSize, milliseconds;
};

TEST(SoundLength, EachDivisionTruncatesInItsTurn) {
    const LengthCase cases[] = {
        {1, 44100, 16, 0, 200},           {1, 44100, 16, 1, 200},          // no whole frame
        {2, 44100, 16, 4 * 44 + 3, 200},                                   // 44 frames are 0.99 ms
        {2, 44100, 16, 4 * 45, 201},      {1, 8000, 24, 3 * 12001, 1700},  // 1,500.1 ms
        {1, 8000, 12, 8000, 1200},  // 12 bits count as one byte
        {6, 48000, 32, 24 * 48000, 1200}, {1, 1, 8, 3, 3200},
        {65535, 1000, 65535, 0, 200},
    };
    for (const LengthCase& c : cases) {
        EXPECT_EQ(Milliseconds(c.channels, c.rate, c.bits, c.dataSize), c.milliseconds)
            << c.channels << " " << c.rate << " " << c.bits << " " << c.dataSize;
    }
}

TEST(SoundLength, LongFilesWrapAroundIn32Bits) {
    // 5,000,000 frames times 1,000 are 5,000,000,000: 705,032,704 in 32 bits.
    EXPECT_EQ(Milliseconds(1, 44100, 8, 5'000'000), 705'032'704u / 44100 + 200);
    EXPECT_EQ(705'032'704u / 44100 + 200, 16187u);
}

TEST(SoundLength, HeadersThatWouldDivideByZeroReturn0) {
    EXPECT_EQ(Milliseconds(1, 44100, 7, 1000), 0u);
    EXPECT_EQ(Milliseconds(1, 44100, 0, 1000), 0u);
    EXPECT_EQ(Milliseconds(0, 44100, 16, 1000), 0u);
    EXPECT_EQ(Milliseconds(1, 0, 16, 1000), 0u);
}

TEST(SoundLength, AnyOtherFileReturns0) {
    EXPECT_EQ(Milliseconds(""), 0u);
    EXPECT_EQ(Milliseconds("RIFF"), 0u);
    std::string file = WavFile({}, "", 1000);
    for (const size_t damaged : {0u, 3u, 8u, 12u, 15u, 20u, 21u, 36u}) {
        std::string other = file;
        other[damaged] ^= 0x20;
        EXPECT_EQ(Milliseconds(other), 0u) << damaged;
    }
    EXPECT_EQ(Milliseconds(WavFile({.tag = 3, .bits = 32}, "", 1000)), 0u);
    EXPECT_EQ(Milliseconds(WavFile({.tag = 0xFFFE}, "", 1000)), 0u);
}

TEST(SoundLength, NoChunkButFactIsSkipped) {
    EXPECT_EQ(Milliseconds(WavFile({.beforeData = Chunk("LIST", "INFO")}, "", 1000)), 0u);
    const std::string twice = Chunk("fact", "1234") + Chunk("fact", "1234");
    EXPECT_EQ(Milliseconds(WavFile({.beforeData = twice}, "", 1000)), 0u);
}

// A file whose format chunk is said to have `formatSize` bytes, and has them.
std::string WithFormatSize(u32 formatSize, u32 dataSize) {
    std::string file = WavFile({}, "", dataSize);
    file[16] = static_cast<char>(formatSize);
    file[17] = static_cast<char>(formatSize >> 8);
    file.insert(36, std::string(formatSize - 16, 'x'));
    return file;
}

TEST(SoundLength, ALongFormatChunkIsSteppedOver) {
    EXPECT_EQ(Milliseconds(WithFormatSize(18, 88200)), 1200u);
    EXPECT_EQ(Milliseconds(WithFormatSize(40, 88200)), 1200u);
}

TEST(SoundLength, AChunkBeyondTheFirst512BytesReturns0) {
    // The data chunk's id and size just fit: 20 + 484 = 504.
    EXPECT_EQ(Milliseconds(WithFormatSize(484, 88200) + std::string(100, 'y')), 1200u);
    EXPECT_EQ(Milliseconds(WithFormatSize(485, 88200) + std::string(100, 'y')), 0u);
    const std::string fact = Chunk("fact", std::string(468, 'z'));
    EXPECT_EQ(Milliseconds(WavFile({.beforeData = fact}, "", 88200)), 0u);
}

TEST(SoundLength, SizesThatPassTheEndOfTheNumbersReturn0) {
    std::string file = WavFile({}, "", 88200);
    file.replace(16, 4, Bytes({0xF0, 0xFF, 0xFF, 0xFF}));  // 20 + this wraps to 4
    EXPECT_EQ(Milliseconds(file), 0u);
    std::string fact = WavFile({.beforeData = Chunk("fact", "1234")}, "", 88200);
    fact.replace(40, 4, Bytes({0xF8, 0xFF, 0xFF, 0xFF}));  // wraps to the same chunk
    EXPECT_EQ(Milliseconds(fact), 0u);
}

TEST(SoundLength, AFileThatEndsInsideItsHeaderReturns0) {
    const std::string file = WavFile({}, "", 88200);
    for (size_t size = 0; size < 44; ++size) {
        EXPECT_EQ(Milliseconds(file.substr(0, size)), 0u);
    }
    EXPECT_EQ(Milliseconds(file), 1200u);
}

TEST(SoundLength, RandomHeadersDoNoHarm) {
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        std::string file = WavFile({.beforeData = Chunk("fact", "1234")}, "data", 1000);
        for (int changes = 0; changes < 3; ++changes) {
            file[random() % file.size()] = static_cast<char>(random());
        }
        Milliseconds(file);
    }
}

}  // namespace

}  // namespace moxi
