#include "desktop/common/timers.h"

#include <algorithm>

namespace moxi {

u64 NextDeadline(u64 due, u64 interval, u64 now) {
    if (now < due) return due;
    return due + ((now - due) / interval + 1) * interval;
}

TimerId StartTimer(Timers& timers, u64 now, u64 interval, void (*handler)()) {
    interval = std::max<u64>(interval, 1);
    timers.running.push_back({++timers.newest, interval, now + interval, handler});
    return timers.newest;
}

void StopTimer(Timers& timers, TimerId timer) {
    std::erase_if(timers.running, [timer](const Timers::Timer& each) { return each.id == timer; });
}

// Of timers that are due together the first, which has been started first.
static const Timers::Timer* EarliestTimer(const Timers& timers) {
    const auto earliest = std::min_element(
        timers.running.begin(), timers.running.end(),
        [](const Timers::Timer& a, const Timers::Timer& b) { return a.due < b.due; });
    return earliest == timers.running.end() ? nullptr : &*earliest;
}

u64 EarliestDeadline(const Timers& timers) {
    const Timers::Timer* const timer = EarliestTimer(timers);
    return timer == nullptr || timers.held ? kNever : timer->due;
}

bool FireDueTimer(Timers& timers, u64 now, u64 (*clock)(), void (*call)(void (*handler)())) {
    const Timers::Timer* const timer = EarliestTimer(timers);
    if (timers.held || timer == nullptr || now < timer->due) return false;

    const TimerId id = timer->id;
    call(timer->handler);
    // The handler may have stopped this timer or started others.
    for (Timers::Timer& each : timers.running) {
        if (each.id == id) each.due = NextDeadline(each.due, each.interval, clock());
    }
    return true;
}

void HoldTimers(Timers& timers, u64 now) {
    if (timers.held) return;
    timers.held = true;
    timers.heldSince = now;
}

void LetTimersGo(Timers& timers, u64 now) {
    if (!timers.held) return;
    timers.held = false;
    const u64 time = now - timers.heldSince;
    timers.heldBefore += time;
    for (Timers::Timer& each : timers.running) each.due += time;
}

u64 TimeWithoutHolds(const Timers& timers, u64 now) {
    return (timers.held ? timers.heldSince : now) - timers.heldBefore;
}

}  // namespace moxi
