#include "desktop/sdl/input/pads.h"

#include <SDL.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "desktop/common/timers.h"
#include "desktop/events.h"
#include "desktop/sdl/input/kernel_pads.h"
#include "desktop/sdl/loop/gate.h"

namespace moxi {

namespace {

constexpr u64 kNanosecondsPerMillisecond = 1'000'000;
// A pad is asked about twice in a picture; where there is none, it is enough to find a new one
// soon.
constexpr u64 kPadNanoseconds = 8 * kNanosecondsPerMillisecond;
constexpr u64 kNoPadNanoseconds = 1000 * kNanosecondsPerMillisecond;
// The range of SDL's events of joysticks and controllers.
constexpr u32 kFirstPadEvent = SDL_JOYAXISMOTION;
constexpr u32 kLastPadEvent = SDL_FINGERDOWN - 1;

static_assert(static_cast<int>(PadButton::DpRight) == SDL_CONTROLLER_BUTTON_DPAD_RIGHT);
static_assert(static_cast<int>(PadButton::LeftShoulder) == SDL_CONTROLLER_BUTTON_LEFTSHOULDER);
static_assert(static_cast<int>(PadAxis::RightTrigger) == SDL_CONTROLLER_AXIS_TRIGGERRIGHT);

using Axes = std::array<double, kPadAxisCount>;

struct Pad {
    SDL_GameController* controller = nullptr;
    SDL_JoystickID id = 0;
    u32 buttons = 0;  // bit n: button n is down
    Axes axes = {};
};

constinit bool started = false;
std::vector<Pad> pads;
constinit u64 nextLook = 0;

// What the application has been told of all of them together.
constinit u32 toldButtons = 0;
constinit Axes toldAxes = {};

void TellButtons() {
    u32 buttons = 0;
    for (const Pad& pad : pads) {
        buttons |= pad.buttons;
    }
    const u32 changed = buttons ^ toldButtons;
    toldButtons = buttons;
    for (u32 i = 0; i < kPadButtonCount; ++i) {
        if ((changed >> i & 1) == 0) {
            continue;
        }
        Tell(desktopEvents.padButton, static_cast<PadButton>(i), (buttons >> i & 1) != 0);
    }
}

void TellAxes() {
    for (u32 i = 0; i < kPadAxisCount; ++i) {
        double furthest = 0;
        for (const Pad& pad : pads) {
            if (std::abs(pad.axes[i]) > std::abs(furthest)) {
                furthest = pad.axes[i];
            }
        }
        if (furthest == toldAxes[i]) {
            continue;
        }
        toldAxes[i] = furthest;
        Tell(desktopEvents.padAxis, static_cast<PadAxis>(i), furthest);
    }
}

// In hundredths: sticks are never quite still, and nobody notices less.
double AxisValue(i16 value) {
    constexpr double kLargest = 32767;
    return std::round(std::clamp(value / kLargest, -1.0, 1.0) * 100) / 100;
}

Pad* PadOf(SDL_JoystickID id) {
    const auto found =
        std::find_if(pads.begin(), pads.end(), [id](const Pad& pad) { return pad.id == id; });
    return found != pads.end() ? &*found : nullptr;
}

// SDL itself finds pads only where it may open devices, and the same ones come from the helper.
void AddPad(int index) {
    if (SDL_JoystickIsVirtual(index) == SDL_FALSE) {
        return;
    }
    SDL_GameController* const controller = SDL_GameControllerOpen(index);
    if (controller == nullptr) {
        return;
    }
    const SDL_JoystickID id = SDL_JoystickInstanceID(SDL_GameControllerGetJoystick(controller));
    // SDL counts how often it has been opened.
    if (PadOf(id) != nullptr) {
        return SDL_GameControllerClose(controller);
    }
    pads.push_back({.controller = controller, .id = id});
}

void RemovePad(SDL_JoystickID id) {
    if (const Pad* const pad = PadOf(id)) {
        SDL_GameControllerClose(pad->controller);
    }
    std::erase_if(pads, [id](const Pad& pad) { return pad.id == id; });
}

void TakePadEvent(const SDL_Event& event) {
    switch (event.type) {
        case SDL_CONTROLLERDEVICEADDED: AddPad(event.cdevice.which); break;
        case SDL_CONTROLLERDEVICEREMOVED: RemovePad(event.cdevice.which); break;
        case SDL_CONTROLLERBUTTONDOWN:
        case SDL_CONTROLLERBUTTONUP: {
            Pad* const pad = PadOf(event.cbutton.which);
            if (pad == nullptr || event.cbutton.button >= kPadButtonCount) {
                break;
            }
            const u32 bit = 1u << event.cbutton.button;
            pad->buttons = (pad->buttons & ~bit) | (event.cbutton.state == SDL_PRESSED ? bit : 0);
            break;
        }
        case SDL_CONTROLLERAXISMOTION: {
            Pad* const pad = PadOf(event.caxis.which);
            if (pad == nullptr || event.caxis.axis >= kPadAxisCount) {
                break;
            }
            pad->axes[event.caxis.axis] = AxisValue(event.caxis.value);
            break;
        }
        default: break;
    }
    TellButtons();
    TellAxes();
}

}  // namespace

void StartPads() {
    // The pads come from the helper process. SDL needs neither the data base of devices nor the
    // messages that go with it, nor what speaks to devices past the kernel's driver.
    SDL_SetHint("SDL_JOYSTICK_DISABLE_UDEV", "1");
    SDL_SetHint(SDL_HINT_JOYSTICK_HIDAPI, "0");
    // SDL would look at each turn of its own waiting, and wait no longer for anything else.
    SDL_SetHint(SDL_HINT_AUTO_UPDATE_JOYSTICKS, "0");
    started = SDL_InitSubSystem(SDL_INIT_GAMECONTROLLER) == 0;
    nextLook = 0;
}

void StopPads() {
    for (const Pad& pad : pads) {
        SDL_GameControllerClose(pad.controller);
    }
    pads.clear();
    RemoveKernelPads();
    toldButtons = 0;
    toldAxes = {};
    started = false;
}

void LookAtPads(u64 now) {
    if (!started || now < nextLook) {
        return;
    }
    FeedKernelPads();
    SDL_GameControllerUpdate();
    // Taken here, so that none of them comes between a key and its text.
    SDL_Event event;
    while (started && SDL_PeepEvents(&event, 1, SDL_GETEVENT, kFirstPadEvent, kLastPadEvent) > 0) {
        TakePadEvent(event);
    }
    nextLook = now + (pads.empty() ? kNoPadNanoseconds : kPadNanoseconds);
}

bool HandlePadEvent(const SDL_Event& event) {
    if (event.type < kFirstPadEvent || event.type > kLastPadEvent) {
        return false;
    }
    TakePadEvent(event);
    return true;
}

u64 NextPadLook() {
    return started ? nextLook : kNever;
}

void ReleasePads() {
    for (Pad& pad : pads) {
        pad.buttons = 0;
        pad.axes = {};
    }
    TellButtons();
    TellAxes();
}

}  // namespace moxi
