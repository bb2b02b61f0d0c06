// The audio callback allocates nothing. Every allocation of this program is counted, by thread; the
// sanitizers' builds have an allocator of their own, which cannot be replaced.

#include <gtest/gtest.h>

#include "audio/score.h"
#include "desktop/synth/renderer.h"
#include "tests/support/sound_bytes.h"

#if defined(__SANITIZE_ADDRESS__)
#define ALLOCATIONS_CANNOT_BE_COUNTED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ALLOCATIONS_CANNOT_BE_COUNTED
#endif
#endif

namespace moxi {

#ifndef ALLOCATIONS_CANNOT_BE_COUNTED

namespace {

thread_local u64 allocations = 0;

}  // namespace

// glibc's own names for its allocator.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

void* malloc(size_t size) {
    ++allocations;
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    ++allocations;
    return __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) {
    ++allocations;
    return __libc_realloc(block, size);
}
}

namespace {

// Notes, controllers, drums and resets on all channels, more at once than there are voices.
std::string BusyPiece() {
    std::string events;
    for (int round = 0; round < 40; ++round) {
        for (int channel = 0; channel < 16; ++channel) {
            events += Bytes({0, 0xC0 | channel, (round * 16 + channel) % 128});
            events += Bytes({0, 0xB0 | channel, round * 3 % 128, channel * 8});
            events += Bytes({0, 0xE0 | channel, round, 64 + round});
            events += Bytes({0, 0xB0 | channel, 101, 0, 0, 0xB0 | channel, 100, round % 6});
            events += Bytes({0, 0xB0 | channel, 6, round});
            events += NoteOn(0, 40 + round, 127, channel) + NoteOn(1, 60 + round, 90, channel);
        }
        events += Bytes({0, 0xF0, 5, 0x7E, 0x7F, 9, 1, 0xF7});
        events += Bytes({0, 0xF0, 10, 0x41, 0x10, 0x42, 0x12, 0x40, 0, 0x7F, 0, 0x41, 0xF7});
        events += Bytes({0, 0xF0, 11, 0x7F, 0x7F, 8, 2, 0, 1, 60, 60, 0, 0, 0xF7});
    }
    return MidiFile(0, 96, {events + EndOfTrack(96)});
}

TEST(AudioCallback, AllocatesNothing) {
    Synth* const synth = LoadSynth("");
    if (synth == nullptr) {
        GTEST_SKIP() << "no SoundFont is installed";
    }
    const std::string file = BusyPiece();
    SmfFile smf;
    std::string reason;
    ASSERT_TRUE(ReadSmf({reinterpret_cast<const u8*>(file.data()), file.size()}, smf, reason));
    const Score score = PrepareScore(smf);
    const Sound sound = {std::vector<i16>(88200, 1000)};
    Renderer renderer;
    renderer.synth = synth;
    std::vector<i16> out(1024);

    const u64 before = allocations;
    for (int round = 0; round < 3; ++round) {
        SetMusic(renderer, score.piece.get());
        SetSound(renderer, &sound);
        for (int block = 0; block < 350; ++block) {
            Render(renderer, out.data(), 512);
        }
    }
    SetMusic(renderer, nullptr);
    SetSound(renderer, nullptr);
    Render(renderer, out.data(), 512);
    EXPECT_EQ(allocations - before, 0u);
    DeleteSynth(synth);
}

}  // namespace

#endif

}  // namespace moxi
