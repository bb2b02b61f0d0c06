#pragma once
// Repeating timers with absolute deadlines. Times are in whatever unit the desktop keeps its own
// in.

#include <vector>

#include "desktop/desktop.h"

namespace moxi {

constexpr u64 kNever = ~u64{0};  // a time that does not come

enum class TimerOwner : u8 {
    Game,
    Host,  // goes on while the game is held
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

    bool held = false;
    u64 heldSince = 0;
    u64 heldBefore = 0;  // for how long in all
};

// The first point of the phase that `due` lies on which is later than `now`.
u64 NextDeadline(u64 due, u64 interval, u64 now);

// `now` is the time of the start; the first firing is due one interval later. No interval is taken
// for one of 1.
TimerId StartTimer(Timers& timers, u64 now, u64 interval, void (*handler)(),
                   TimerOwner owner = TimerOwner::Game);
void StopTimer(Timers& timers, TimerId timer);  // 0 and unknown timers are ignored

// Deadline of the timer that is due first; kNever when there is none, or all of them are held.
u64 EarliestDeadline(const Timers& timers);
// Hands the handler of the timer that is due first to `call`, if it is due at `now`; timers that
// are due together fire in the order in which they were started. Firings that `clock` finds missed
// after the handler has run are skipped.
bool FireDueTimer(Timers& timers, u64 now, u64 (*clock)(), void (*call)(void (*handler)()));

// While the game's timers are held none of them fires, and none is due. When they go on, each does
// so from where it was.
void HoldTimers(Timers& timers, u64 now);
void LetTimersGo(Timers& timers, u64 now);
// `now` less all the time for which the timers have been held: the game's own clock.
u64 TimeWithoutHolds(const Timers& timers, u64 now);

}  // namespace moxi
