#include "desktop/common/timers.h"

#include <algorithm>

namespace moxi {

u64 NextDeadline(u64 due, u64 interval, u64 now) {
    if (now < due) {
        return due;
    }
    return due + ((now - due) / interval + 1) * interval;
}

TimerId StartTimer(Timers& timers, u64 now, u64 interval, void (*handler)(), TimerOwner owner) {
    interval = std::max<u64>(interval, 1);
    timers.running.push_back({++timers.newest, interval, now + interval, handler, owner});
    return timers.newest;
}

void StopTimer(Timers& timers, TimerId timer) {
    std::erase_if(timers.running, [timer](const Timers::Timer& each) { return each.id == timer; });
}

namespace {

// The timer that is due first, and of several that are due together the one that was started first.
// Null when there is none, or all of them are held.
const Timers::Timer* EarliestTimer(const Timers& timers) {
    const Timers::Timer* earliest = nullptr;
    for (const Timers::Timer& each : timers.running) {
        if (timers.held && each.owner == TimerOwner::Game) {
            continue;
        }
        if (earliest == nullptr || each.due < earliest->due) {
            earliest = &each;
        }
    }
    return earliest;
}

}  // namespace

u64 EarliestDeadline(const Timers& timers) {
    const Timers::Timer* const timer = EarliestTimer(timers);
    return timer == nullptr ? kNever : timer->due;
}

bool FireDueTimer(Timers& timers, u64 now, u64 (*clock)(), void (*call)(void (*handler)())) {
    const Timers::Timer* const timer = EarliestTimer(timers);
    if (timer == nullptr || now < timer->due) {
        return false;
    }

    const TimerId id = timer->id;
    call(timer->handler);
    // The handler may have stopped this timer or started others.
    for (Timers::Timer& each : timers.running) {
        if (each.id == id) {
            each.due = NextDeadline(each.due, each.interval, clock());
        }
    }
    return true;
}

void HoldTimers(Timers& timers, u64 now) {
    if (timers.held) {
        return;
    }
    timers.held = true;
    timers.heldSince = now;
}

void LetTimersGo(Timers& timers, u64 now) {
    if (!timers.held) {
        return;
    }
    timers.held = false;
    const u64 time = now - timers.heldSince;
    timers.heldBefore += time;
    for (Timers::Timer& each : timers.running) {
        if (each.owner == TimerOwner::Game) {
            each.due += time;
        }
    }
}

u64 TimeWithoutHolds(const Timers& timers, u64 now) {
    return (timers.held ? timers.heldSince : now) - timers.heldBefore;
}

}  // namespace moxi
