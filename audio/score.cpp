#include "audio/score.h"

#include <utility>

namespace moxi {

namespace {

constexpr u64 kNever = UINT64_MAX;
constexpr u64 kDefaultTempo = 500'000;  // microseconds a beat: 120 beats a minute
constexpr u64 kRealTimeBeat = 500'000;  // microseconds
constexpr u64 kMicrosecondsPerSecond = 1'000'000;
// Some 285 years: beyond it a piece does not get to its end, and below it nothing overflows.
constexpr u64 kLatest = u64{1} << 53;

// Exact time: `microseconds` and `rest` / `division` more. A tick lasts `tempo` / `division`
// microseconds.
struct TickClock {
    u64 division;
    u64 tempo;
    u64 tick = 0;
    u64 microseconds = 0;
    u64 rest = 0;

    void Advance(u64 ticks) {
        u64 units = 0;
        if (__builtin_mul_overflow(ticks, tempo, &units) ||
            __builtin_add_overflow(units, rest, &units)) {
            microseconds = kLatest;
            return;
        }
        microseconds += units / division;
        rest = units % division;
        if (microseconds > kLatest) {
            microseconds = kLatest;
        }
    }

    void AdvanceTo(u64 to) {
        Advance(to - tick);
        tick = to;
    }

    // The frame that is being played at this time.
    u64 Frame() const {
        if (microseconds >= kLatest) {
            return kNever;
        }
        // 44,100 frames a second are 441 in 10,000 microseconds.
        static_assert(kAudioRate == 44100);
        return (microseconds * 441 + rest * 441 / division) / 10'000;
    }

    // Rounded up: a position has reached this time when it is no less.
    u64 Nanoseconds() const {
        if (microseconds >= kLatest) {
            return kNever;
        }
        return microseconds * 1000 + (rest * 1000 + division - 1) / division;
    }
};

}  // namespace

Score PrepareScore(const SmfFile& file) {
    TickClock clock = file.realTime
                          ? TickClock{.division = u64{file.framesPerSecond} * file.ticksPerFrame,
                                      .tempo = kMicrosecondsPerSecond * file.secondDenominator}
                          : TickClock{.division = file.ticksPerBeat, .tempo = kDefaultTempo};
    auto piece = std::make_shared<MusicPiece>();
    piece->sysex = file.sysex;
    piece->events.reserve(file.events.size());
    for (const SmfEvent& event : file.events) {
        clock.AdvanceTo(event.tick);
        if (event.status == 0xFF) {
            if (!file.realTime) {
                clock.tempo = event.value;
            }
        } else {
            piece->events.push_back({.frame = clock.Frame(),
                                     .sysex = event.status == 0xF0 ? event.value : 0,
                                     .status = event.status,
                                     .data1 = event.data1,
                                     .data2 = event.data2});
        }
    }
    clock.AdvanceTo(file.longestTrack);
    if (file.realTime) {
        clock.microseconds += kRealTimeBeat;
    } else {
        clock.Advance(file.ticksPerBeat);
    }
    return {std::move(piece), clock.Nanoseconds()};
}

}  // namespace moxi
