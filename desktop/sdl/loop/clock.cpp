#include "desktop/sdl/loop/clock.h"

#include <SDL_timer.h>

namespace moxi {

u64 Nanoseconds() {
    static const u64 frequency = SDL_GetPerformanceFrequency();
    const u64 counter = SDL_GetPerformanceCounter();
    // In two parts, so that nothing overflows.
    return counter / frequency * 1'000'000'000 + counter % frequency * 1'000'000'000 / frequency;
}

}  // namespace moxi
