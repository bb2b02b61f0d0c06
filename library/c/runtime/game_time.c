// Changes over time, timers and chance of a game.

#include <math.h>

#include "game.h"

// --- Tweens

enum { kTweens = 64, kTimers = 64 };

typedef struct {
    float* number;  // null: free
    float from, to, seconds, gone;
    ease kind;
} change;

static change changes[kTweens];

static float Bounce(float part) {
    // Four parabolas, each lower than the one before.
    static const float kStarts[] = {0, 1.5f, 2.25f, 2.625f};
    static const float kHeights[] = {0, 0.75f, 0.9375f, 0.984375f};
    const float scaled = part * 2.75f;
    const int hop = scaled < 1 ? 0 : scaled < 2 ? 1 : scaled < 2.5f ? 2 : 3;
    const float t = (scaled - kStarts[hop]) / 2.75f;
    return 7.5625f * t * t + kHeights[hop];
}

float eased(float part, ease kind) {
    const float t = part < 0 ? 0 : part > 1 ? 1 : part;
    const float rest = 1 - t;
    switch (kind) {
        case EASE_IN: return t * t * t;
        case EASE_OUT: return 1 - rest * rest * rest;
        case EASE_BOTH: return t < 0.5f ? 4 * t * t * t : 1 - 4 * rest * rest * rest;
        case EASE_BACK: return 1 + rest * rest * (1.70158f - 2.70158f * rest);
        case EASE_BOUNCE: return Bounce(t);
        case EASE_SPRING: return 1 - expf(-6 * t) * cosf(14 * t) * rest;
        default: return t;
    }
}

static change* ChangeOf(const float* number) {
    for (int i = 0; i < kTweens; ++i) {
        if (changes[i].number == number) return &changes[i];
    }
    return NULL;
}

void tween(float* number, float to, float seconds, ease kind) {
    change* place = ChangeOf(number);
    if (place == NULL) place = ChangeOf(NULL);
    if (place == NULL || seconds <= 0) {
        *number = to;
        if (place != NULL) place->number = NULL;
        return;
    }
    *place = (change){number, *number, to, seconds, 0, kind};
}

bool is_tweening(const float* number) {
    return number != NULL && ChangeOf(number) != NULL;
}

void UpdateTweens(void) {
    for (int i = 0; i < kTweens; ++i) {
        change* const one = &changes[i];
        if (one->number == NULL) continue;
        one->gone += GAME_STEP;
        if (one->gone >= one->seconds) {
            *one->number = one->to;
            one->number = NULL;
        } else {
            const float part = eased(one->gone / one->seconds, one->kind);
            *one->number = one->from + (one->to - one->from) * part;
        }
    }
}

// --- Timers. A timer's number holds its place and how often that place was taken.

typedef struct {
    timer_function call;  // null: free
    float left, period;   // a period of 0: once
    int number;
} timer;

static timer timers[kTimers];

static int StartTimer(float seconds, float period, timer_function call) {
    for (int i = 0; i < kTimers; ++i) {
        if (timers[i].call != NULL) continue;
        const int number = timers[i].number + kTimers;
        timers[i] = (timer){call, seconds, period, number == kTimers ? kTimers + i : number};
        return timers[i].number;
    }
    return 0;
}

int after(float seconds, timer_function call) {
    return StartTimer(seconds, 0, call);
}

int every(float seconds, timer_function call) {
    return StartTimer(seconds, seconds < GAME_STEP ? GAME_STEP : seconds, call);
}

void stop_timer(int number) {
    timer* const one = &timers[number & (kTimers - 1)];
    if (number != 0 && one->number == number) one->call = NULL;
}

void UpdateTimers(void) {
    for (int i = 0; i < kTimers; ++i) {
        timer* const one = &timers[i];
        if (one->call == NULL) continue;
        one->left -= GAME_STEP;
        // An update is the smallest time there is; half of one makes up for rounding.
        if (one->left > GAME_STEP / 2) continue;
        const timer_function call = one->call;
        one->left += one->period;
        if (one->period <= 0) one->call = NULL;
        call();
    }
}

// --- Chance

static uint64_t state;
static bool isSeeded;

void random_seed(uint32_t seed) {
    state = seed;
    isSeeded = true;
}

static uint32_t Random(void) {
    if (!isSeeded) random_seed(moxi_milliseconds());
    return moxi_random(&state);
}

int random_int(int low, int high) {
    if (high <= low) return low;
    const uint64_t count = (uint64_t)((int64_t)high - low) + 1;
    return (int)(low + (int64_t)(Random() * count >> 32));
}

float random_float(float low, float high) {
    return low + (high - low) * (float)(Random() >> 8) / 16777216.0f;
}

bool chance(float part) {
    return random_float(0, 1) < part;
}
