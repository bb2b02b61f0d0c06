// Devices of any description as gamepads: what the kernel says of one, and of what is done with it,
// comes from whatever is plugged in. SDL gets a mapping of our making for each.

#include <SDL.h>
#include <fcntl.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <iterator>

#include "desktop/sdl/input/kernel_pads.h"
#include "fuzz/require.h"

namespace moxi {

namespace {

constexpr u32 kInputsOfOneStart = 500;
constexpr u16 kBuses[] = {3, 5, 0, 0xFFFF};
// Known ones first.
constexpr u16 kVendors[] = {0x045E, 0x054C, 0x057E, 0x046D, 0, 0xFFFF};
constexpr u16 kProducts[] = {0x028E, 0x05C4, 0x2009, 0xC216, 0, 0xFFFF};
constexpr u16 kVersions[] = {0x0110, 0x8111, 0x0111, 0x0100, 0, 0xFFFF};

u32 Below(FuzzedDataProvider& input, u32 end) {
    return input.ConsumeIntegralInRange<u32>(0, end - 1);
}

InputDevice RandomDevice(FuzzedDataProvider& input) {
    InputDevice device;
    device.name = input.ConsumeRandomLengthString(127);
    device.name = device.name.substr(0, device.name.find('\0'));
    const u32 known = Below(input, std::size(kVendors));
    device.bus = input.PickValueInArray(kBuses);
    device.vendor = kVendors[known];
    device.product = input.ConsumeBool() ? kProducts[known] : input.PickValueInArray(kProducts);
    device.version = kVersions[known];
    for (u32 i = Below(input, 6); i > 0; --i) {
        const u32 first =
            input.ConsumeBool() ? BTN_JOYSTICK + Below(input, 64) : Below(input, KEY_CNT);
        const u32 end = std::min<u32>(first + Below(input, 80), KEY_CNT);
        for (u32 key = first; key < end; ++key) {
            device.keys.set(key);
        }
    }
    for (u32 i = Below(input, 12); i > 0; --i) {
        const u32 axis = Below(input, ABS_CNT);
        device.axes.set(axis);
        if (input.ConsumeBool()) {
            device.ranges[axis] = {-1, 1, false};
        } else {
            device.ranges[axis] = {input.ConsumeIntegral<i32>(), input.ConsumeIntegral<i32>(),
                                   input.ConsumeBool()};
        }
    }
    if (input.ConsumeBool()) {
        device.movements.set(Below(input, REL_CNT));
    }
    return device;
}

template <std::size_t n>
void RequireNumbersBelow(const std::array<i32, n>& numbers, i32 count) {
    i32 found = 0;
    for (const i32 number : numbers) {
        Require(number == kNoNumber || (number >= 0 && number < count));
        found += number != kNoNumber ? 1 : 0;
    }
    Require(found == count);
}

void LookAt(const InputDevice& device) {
    IsPad(device);
    const PadLayout layout = LayOutPad(device);
    RequireNumbersBelow(layout.buttonOfKey, layout.buttons);
    RequireNumbersBelow(layout.axisOf, layout.axes);
    RequireNumbersBelow(layout.hatOf, layout.hats);
    Require(DataBaseNumber(device).size() == 32);
    const std::string mapping = MappingByKernelRules(device, layout);
    Require(mapping.empty() || mapping.back() == ',');
    Require(mapping.find('-') == std::string::npos);  // a number that is none
}

// Events as the kernel sends them, and parts of some.
void Send(FuzzedDataProvider& input, int pipe) {
    for (u32 i = Below(input, 40); i > 0; --i) {
        input_event event = {};
        event.type = static_cast<u16>(Below(input, 5));
        event.code = input.ConsumeBool() ? static_cast<u16>(BTN_JOYSTICK + Below(input, 64))
                                         : static_cast<u16>(Below(input, 1000));
        event.value = input.ConsumeBool() ? static_cast<i32>(Below(input, 3)) - 1
                                          : input.ConsumeIntegral<i32>();
        const std::size_t size = Below(input, 20) == 0 ? Below(input, sizeof event) : sizeof event;
        // Nobody reads it any more where SDL could make nothing of the device.
        Require(write(pipe, &event, size) == static_cast<ssize_t>(size) || errno == EPIPE);
    }
}

void StartSdl() {
    static u32 count = 0;
    if (count++ % kInputsOfOneStart != 0) {
        return;
    }
    std::signal(SIGPIPE, SIG_IGN);
    // SDL keeps every mapping until it ends.
    SDL_Quit();
    SDL_SetHint("SDL_JOYSTICK_DISABLE_UDEV", "1");
    SDL_SetHint(SDL_HINT_JOYSTICK_HIDAPI, "0");
    SDL_SetHint(SDL_HINT_AUTO_UPDATE_JOYSTICKS, "0");
    SDL_SetHint("SDL_LINUX_JOYSTICK_CLASSIC", "0");
    Require(SDL_Init(SDL_INIT_GAMECONTROLLER) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    StartSdl();
    int pipes[3][2];
    u32 count = 0;
    for (; count < std::size(pipes) && input.remaining_bytes() != 0; ++count) {
        const InputDevice device = RandomDevice(input);
        LookAt(device);
        Require(pipe2(pipes[count], O_NONBLOCK | O_CLOEXEC) == 0);
        AddKernelPad(pipes[count][0], device);
        Send(input, pipes[count][1]);
        // Gone before or after what it has said is read.
        if (input.ConsumeBool()) {
            close(pipes[count][1]);
            pipes[count][1] = -1;
        }
        FeedKernelPads();
        SDL_GameControllerUpdate();
        SDL_Event event;
        while (SDL_PollEvent(&event) != 0) {
        }
    }
    RemoveKernelPads();
    Require(SDL_NumJoysticks() == 0);
    while (count-- > 0) {
        if (pipes[count][1] >= 0) {
            close(pipes[count][1]);
        }
    }
    return 0;
}

}  // namespace moxi
