// Clocks, waiting and chance.

#include <string.h>
#include <sys/time.h>

#include "runtime.h"

enum { kSteps = 10 };  // milliseconds of a step of the machine's own waiting

#define MILLION 1000000u
#define BILLION 1000000000u

// --- The steady clock: 32 bits of milliseconds, continued over their end

static bool started;
static uint32_t lastReading;
static uint64_t milliseconds;

static uint64_t Milliseconds(void) {
    const uint32_t reading = moxi_milliseconds();
    if (started) milliseconds += reading - lastReading;
    started = true;
    lastReading = reading;
    return milliseconds;
}

uint64_t SteadyTime(void) {
    return Milliseconds() * MILLION;
}

// --- The calendar: local time, as if it were that of the meridian, for the machine does not tell
// the difference. localtime() is then right without a time zone.

static unsigned Digits(const char* text, int count) {
    unsigned number = 0;
    for (int i = 0; i < count; ++i) number = number * 10 + (unsigned)(text[i] - '0');
    return number;
}

// Days since 1970 of a date, in years that begin with March so that the leap day is the last.
static int64_t Days(unsigned year, unsigned month, unsigned day) {
    if (month < 3) --year;
    const unsigned sinceMarch = (month + 9) % 12;
    const unsigned ofYear = (153 * sinceMarch + 2) / 5 + day - 1;
    return (int64_t)year * 365 + year / 4 - year / 100 + year / 400 + ofYear - 719468;
}

static int64_t Calendar(void) {
    char text[20];
    moxi_date_time(text);
    const int64_t days = Days(Digits(text, 4), Digits(text + 5, 2), Digits(text + 8, 2));
    return days * 86400 + Digits(text + 11, 2) * 3600 + Digits(text + 14, 2) * 60 +
           Digits(text + 17, 2);
}

// The calendar knows seconds; the steady clock tells how far the present one has gone. Where the
// two part by more than that, somebody has set the time.
static uint64_t WallTime(void) {
    static int64_t base;
    static uint64_t baseReading;
    const int64_t now = Calendar();
    const uint64_t reading = Milliseconds();
    const int64_t gone = (int64_t)((reading - baseReading) / 1000);
    if (base == 0 || base + gone > now + 1 || base + gone < now - 1) {
        base = now;
        baseReading = reading;
    }
    return (uint64_t)base * BILLION + (reading - baseReading) * MILLION;
}

error SYSTEM(clock_time_get)(uint32_t clock, uint64_t precision, uint64_t* time) {
    (void)precision;
    *time = clock == __WASI_CLOCKID_REALTIME ? WallTime() : SteadyTime();
    return clock <= __WASI_CLOCKID_THREAD_CPUTIME_ID ? __WASI_ERRNO_SUCCESS : __WASI_ERRNO_INVAL;
}

error SYSTEM(clock_res_get)(uint32_t clock, uint64_t* resolution) {
    *resolution = MILLION;
    return clock <= __WASI_CLOCKID_THREAD_CPUTIME_ID ? __WASI_ERRNO_SUCCESS : __WASI_ERRNO_INVAL;
}

// --- Waiting: what was drawn is shown meanwhile. What is shorter than a step of the machine's
// waits by looking at the clock.

static void Wait(uint64_t nanoseconds) {
    const uint64_t start = Milliseconds();
    const uint64_t wanted = (nanoseconds + MILLION - 1) / MILLION;
    if (wanted >= kSteps) {
        uint64_t steps = wanted / kSteps;
        if (steps > INT32_MAX) steps = INT32_MAX;
        moxi_wait((uint32_t)steps);
        moxi_wait(0);
    }
    while (Milliseconds() - start < wanted) {
    }
}

// How long a subscription to a clock waits, from now on.
static uint64_t Remaining(const __wasi_subscription_clock_t* clock) {
    if ((clock->flags & __WASI_SUBCLOCKFLAGS_SUBSCRIPTION_CLOCK_ABSTIME) == 0)
        return clock->timeout;
    const uint64_t now = clock->id == __WASI_CLOCKID_REALTIME ? WallTime() : SteadyTime();
    return clock->timeout > now ? clock->timeout - now : 0;
}

// Files are always ready; of clocks alone the first one is waited for.
error SYSTEM(poll_oneoff)(const __wasi_subscription_t* wanted, __wasi_event_t* events, size_t count,
                          size_t* happened) {
    size_t first = 0;
    uint64_t shortest = UINT64_MAX;
    *happened = 0;
    if (count == 0) return __WASI_ERRNO_INVAL;
    for (size_t i = 0; i < count; ++i) {
        if (wanted[i].u.tag != __WASI_EVENTTYPE_CLOCK) {
            __wasi_event_t* const event = &events[(*happened)++];
            memset(event, 0, sizeof *event);
            event->userdata = wanted[i].userdata;
            event->type = wanted[i].u.tag;
        } else if (Remaining(&wanted[i].u.u.clock) < shortest) {
            shortest = Remaining(&wanted[i].u.u.clock);
            first = i;
        }
    }
    if (*happened > 0) return __WASI_ERRNO_SUCCESS;
    Wait(shortest);
    memset(events, 0, sizeof *events);
    events->userdata = wanted[first].userdata;
    events->type = __WASI_EVENTTYPE_CLOCK;
    *happened = 1;
    return __WASI_ERRNO_SUCCESS;
}

error SYSTEM(sched_yield)(void) {
    return __WASI_ERRNO_SUCCESS;
}

// --- Chance, from the time of the start: good for games, not for secrets.

error SYSTEM(random_get)(uint8_t* buffer, size_t size) {
    static uint64_t state;
    if (state == 0) state = (uint64_t)Calendar() << 20 ^ moxi_milliseconds();
    for (size_t i = 0; i < size; i += 4) {
        const uint32_t number = moxi_random(&state);
        memcpy(buffer + i, &number, size - i < 4 ? size - i : 4);
    }
    return __WASI_ERRNO_SUCCESS;
}
