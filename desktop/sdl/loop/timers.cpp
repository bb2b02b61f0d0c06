#include "desktop/sdl/loop/timers.h"

#include <algorithm>
#include <vector>

#include "desktop/sdl/loop/clock.h"
#include "desktop/sdl/loop/gate.h"

namespace moxi {

namespace {
struct Timer {
    TimerId id;
    u64 interval;
    u64 due;
    void (*handler)();
};
}  // namespace

static constinit std::vector<Timer> timers;
static constinit TimerId newestTimer = 0;

u64 NextDeadline(u64 due, u64 interval, u64 now) {
    if (now < due) return due;
    return due + ((now - due) / interval + 1) * interval;
}

TimerId StartTimerAt(u64 now, u64 microseconds, void (*handler)()) {
    const u64 interval = std::max<u64>(microseconds, 1) * 1000;
    timers.push_back({++newestTimer, interval, now + interval, handler});
    return newestTimer;
}

void StopTimer(TimerId timer) {
    std::erase_if(timers, [timer](const Timer& each) { return each.id == timer; });
}

static std::vector<Timer>::iterator EarliestTimer() {
    return std::min_element(timers.begin(), timers.end(),
                            [](const Timer& a, const Timer& b) { return a.due < b.due; });
}

u64 EarliestDeadline() {
    const auto timer = EarliestTimer();
    return timer == timers.end() ? kNever : timer->due;
}

bool FireDueTimer(u64 (*clock)()) {
    const auto timer = EarliestTimer();
    if (timer == timers.end() || clock() < timer->due) return false;

    const TimerId id = timer->id;
    Tell(timer->handler);
    // The handler may have stopped this timer or started others.
    for (Timer& each : timers) {
        if (each.id == id) each.due = NextDeadline(each.due, each.interval, clock());
    }
    return true;
}

void ResetTimers() {
    timers.clear();
    newestTimer = 0;
}

}  // namespace moxi
