#pragma once
// Repeating timers with absolute deadlines. All times are in the unit of the desktop that keeps the
// timers, which may be any.

#include <vector>

#include "desktop/desktop.h"

namespace moxi {

constexpr u64 kNever = ~u64{0};  // a time that does not come

enum class TimerOwner : u8 {
    Game,
    Host,  // fires even while the game is held
};

struct Timers {
    struct Timer {
        TimerId id;
        u64 interval;
        u64 due;
        void (*handler)();
        TimerOwner owner;
    };

    std::vector<Timer> running;
    TimerId newest = 0;

    bool held = false;   // the game's timers stand still
    u64 heldSince = 0;   // when that began
    u64 heldBefore = 0;  // how long all earlier holds took together
};

// The first of due, due + interval, due + 2 * interval and so on that is later than `now`. The
// interval must not be 0.
u64 NextDeadline(u64 due, u64 interval, u64 now);

// Starts a timer at the time `now`; its first firing is due one interval later. An interval of 0
// counts as 1.
TimerId StartTimer(Timers& timers, u64 now, u64 interval, void (*handler)(),
                   TimerOwner owner = TimerOwner::Game);
void StopTimer(Timers& timers, TimerId timer);  // 0 and unknown timers are ignored

// Deadline of the timer that is due first; kNever when there is none, or all of them are held.
u64 EarliestDeadline(const Timers& timers);
// Hands the handler of the timer that is due first to `call`, if it is due at `now`; false when
// none is. Timers that are due together fire in the order in which they were started. When the
// handler has run, `clock` gives the time again: firings that were missed by then are skipped.
bool FireDueTimer(Timers& timers, u64 now, u64 (*clock)(), void (*call)(void (*handler)()));

// Holds the game's timers: none of them fires or is due until they are let go. Each then waits for
// as long as it still had to. A second hold, or letting go of what is not held, does nothing.
void HoldTimers(Timers& timers, u64 now);
void LetTimersGo(Timers& timers, u64 now);
// The game's own clock: `now` less all the time for which the timers have been held.
u64 TimeWithoutHolds(const Timers& timers, u64 now);

}  // namespace moxi
