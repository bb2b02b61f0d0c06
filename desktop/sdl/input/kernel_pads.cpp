#include "desktop/sdl/input/kernel_pads.h"

#include <SDL.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <vector>

#include "desktop/sdl/input/pad_helper.h"

namespace moxi {

namespace {

constexpr std::size_t kEventsAtOnce = 64;
// Far more than anybody has. A helper that hands over more is broken.
constexpr std::size_t kMostPads = 32;

struct KernelPad {
    int file = -1;
    InputDevice device;
    PadLayout layout;
    SDL_Joystick* joystick = nullptr;
    std::array<i32, std::size_t{2}* kHats> switches = {};  // x and y of each hat
    bool isGone = false;
};

std::vector<KernelPad> pads;

// --- Making one known

// What the data base has for it, or the kernel's own rules; without the number in front.
std::string MappingOf(const InputDevice& device, const PadLayout& layout) {
    const SDL_JoystickGUID number = SDL_JoystickGetGUIDFromString(DataBaseNumber(device).c_str());
    char* const known = SDL_GameControllerMappingForGUID(number);
    if (known == nullptr) {
        return MappingByKernelRules(device, layout);
    }
    std::string mapping = known;
    SDL_free(known);
    // Number and name stand first.
    for (int field = 0; field < 2; ++field) {
        mapping.erase(0, std::min(mapping.find(','), mapping.size() - 1) + 1);
    }
    // The check sum is that of the device the entry was written for.
    const std::size_t sum = mapping.find("crc:");
    if (sum != std::string::npos) {
        mapping.erase(sum, mapping.find(',', sum) - sum + 1);
    }
    return mapping;
}

std::string NumberOf(int index) {
    char number[33];
    SDL_JoystickGetGUIDString(SDL_JoystickGetDeviceGUID(index), number, sizeof number);
    return number;
}

// A name may hold what separates the fields.
std::string NameOf(const InputDevice& device) {
    std::string name = device.name.empty() ? "Gamepad" : device.name;
    std::replace(name.begin(), name.end(), ',', ' ');
    return name;
}

// The index among SDL's joysticks, or -1.
int Attach(const InputDevice& device, const PadLayout& layout) {
    const std::string mapping = MappingOf(device, layout);
    if (mapping.empty()) {
        return -1;
    }
    const std::string name = NameOf(device);
    SDL_VirtualJoystickDesc kind = {};
    kind.version = SDL_VIRTUAL_JOYSTICK_DESC_VERSION;
    kind.type = SDL_JOYSTICK_TYPE_UNKNOWN;
    kind.naxes = static_cast<u16>(layout.axes);
    kind.nbuttons = static_cast<u16>(layout.buttons);
    kind.nhats = static_cast<u16>(layout.hats);
    kind.vendor_id = device.vendor;
    kind.product_id = device.product;
    kind.name = name.c_str();
    const int index = SDL_JoystickAttachVirtualEx(&kind);
    if (index < 0) {
        return -1;
    }
    SDL_GameControllerAddMapping((NumberOf(index) + "," + name + "," + mapping).c_str());
    return index;
}

// --- What one does

i16 AxisValue(const AxisRange& range, i32 value) {
    constexpr double kSteps = 65535;
    const double width = static_cast<double>(range.most) - range.least;
    if (width <= 0) {
        return 0;
    }
    const double part = std::clamp((static_cast<double>(value) - range.least) / width, 0.0, 1.0);
    return static_cast<i16>(std::lround(part * kSteps) + INT16_MIN);
}

void SetHat(KernelPad& pad, std::size_t hat) {
    const i32 x = pad.switches[2 * hat];
    const i32 y = pad.switches[2 * hat + 1];
    const int value = (x < 0   ? SDL_HAT_LEFT
                       : x > 0 ? SDL_HAT_RIGHT
                               : 0) |
                      (y < 0   ? SDL_HAT_UP
                       : y > 0 ? SDL_HAT_DOWN
                               : 0);
    SDL_JoystickSetVirtualHat(pad.joystick, pad.layout.hatOf[hat], static_cast<u8>(value));
}

void SetAxis(KernelPad& pad, u32 axis, i32 value) {
    const std::size_t offset = axis - ABS_HAT0X;
    if (pad.layout.axisOf[axis] != kNoNumber) {
        SDL_JoystickSetVirtualAxis(pad.joystick, pad.layout.axisOf[axis],
                                   AxisValue(pad.device.ranges[axis], value));
    } else if (axis >= ABS_HAT0X && axis <= ABS_HAT3Y && pad.layout.hatOf[offset / 2] >= 0) {
        pad.switches[offset] = value;
        SetHat(pad, offset / 2);
    }
}

void SetButton(KernelPad& pad, u32 key, i32 value) {
    if (pad.layout.buttonOfKey[key] != kNoNumber) {
        SDL_JoystickSetVirtualButton(pad.joystick, pad.layout.buttonOfKey[key], value != 0);
    }
}

// As it stands now: at first, and when the kernel has dropped events.
void TakeState(KernelPad& pad) {
    constexpr std::size_t kWordBits = sizeof(unsigned long) * CHAR_BIT;
    std::array<unsigned long, KEY_CNT / kWordBits + 1> held = {};
    const bool known = ioctl(pad.file, EVIOCGKEY(sizeof held), held.data()) >= 0;
    for (u32 key = 0; known && key < KEY_CNT; ++key) {
        SetButton(pad, key, static_cast<i32>(held[key / kWordBits] >> (key % kWordBits) & 1));
    }
    for (u32 axis = 0; axis < ABS_CNT; ++axis) {
        input_absinfo info = {};
        if (pad.device.axes[axis] && ioctl(pad.file, EVIOCGABS(axis), &info) >= 0) {
            SetAxis(pad, axis, info.value);
        }
    }
}

void Take(KernelPad& pad, const input_event& event) {
    if (event.type == EV_KEY && event.code < KEY_CNT) {
        SetButton(pad, event.code, event.value);
    } else if (event.type == EV_ABS && event.code < ABS_CNT) {
        SetAxis(pad, event.code, event.value);
    } else if (event.type == EV_SYN && event.code == SYN_DROPPED) {
        TakeState(pad);
    } else if (event.type == EV_SYN) {
        // A button may be down and up again before SDL looks next.
        SDL_GameControllerUpdate();
    }
}

void Feed(KernelPad& pad) {
    std::array<input_event, kEventsAtOnce> events;
    for (;;) {
        const ssize_t size = read(pad.file, events.data(), sizeof events);
        if (size <= 0) {
            pad.isGone = size == 0 || (errno != EAGAIN && errno != EINTR);
            return;
        }
        for (std::size_t i = 0; i < static_cast<std::size_t>(size) / sizeof events[0]; ++i) {
            Take(pad, events[i]);
        }
    }
}

void Remove(const KernelPad& pad) {
    const SDL_JoystickID id = SDL_JoystickInstanceID(pad.joystick);
    SDL_JoystickClose(pad.joystick);
    for (int i = 0; i < SDL_NumJoysticks(); ++i) {
        if (SDL_JoystickGetDeviceInstanceID(i) == id) {
            SDL_JoystickDetachVirtual(i);
            break;
        }
    }
    close(pad.file);
}

}  // namespace

bool AddKernelPad(int file, const InputDevice& device) {
    KernelPad pad = {.file = file, .device = device, .layout = LayOutPad(device)};
    const int index = pads.size() < kMostPads ? Attach(pad.device, pad.layout) : -1;
    if (index < 0) {
        close(file);
        return false;
    }
    pad.joystick = SDL_JoystickOpen(index);
    TakeState(pad);
    pads.push_back(pad);
    // SDL tells of a new gamepad only where it knew the mapping before.
    SDL_Event added = {};
    added.type = SDL_CONTROLLERDEVICEADDED;
    added.cdevice.which = index;
    SDL_PushEvent(&added);
    return true;
}

void FeedKernelPads() {
    for (KernelPad& pad : pads) {
        Feed(pad);
        if (pad.isGone) {
            Remove(pad);
        }
    }
    std::erase_if(pads, [](const KernelPad& pad) { return pad.isGone; });
    // Afterwards, since a pad that goes changes the numbers under which new ones are told of.
    for (int file = TakePad(); file >= 0; file = TakePad()) {
        InputDevice device;
        if (ReadInputDevice(file, device)) {
            AddKernelPad(file, device);
        } else {
            close(file);
        }
    }
}

void RemoveKernelPads() {
    for (const KernelPad& pad : pads) {
        Remove(pad);
    }
    pads.clear();
}

}  // namespace moxi
