#pragma once
// A device of the kernel's, as it describes itself, and what SDL makes of one: a gamepad's buttons,
// axes and hats have numbers by which the known pads are described in SDL's data base.

#include <linux/input.h>

#include <array>
#include <bitset>
#include <string>

#include "base/types.h"

namespace moxi {

struct AxisRange {
    i32 least = 0;
    i32 most = 0;
    // It says how exact it is, so it is no switch.
    bool isExact = false;
};

struct InputDevice {
    std::string name;
    u16 bus = 0;
    u16 vendor = 0;
    u16 product = 0;
    u16 version = 0;
    std::bitset<KEY_CNT> keys;
    std::bitset<ABS_CNT> axes;
    std::bitset<REL_CNT> movements;
    std::array<AxisRange, ABS_CNT> ranges = {};
};

// False when the descriptor is none of such a device.
bool ReadInputDevice(int file, InputDevice& device);

// A gamepad or joystick, and nothing on which a person types, writes or points: what is said
// through one of these is for the program that has the keyboard alone.
bool IsPad(const InputDevice& device);

constexpr i32 kNoNumber = -1;
constexpr u32 kHats = 4;

// SDL's numbers, in SDL's order. kNoNumber for what the device does not have.
struct PadLayout {
    std::array<i32, KEY_CNT> buttonOfKey = {};
    std::array<i32, ABS_CNT> axisOf = {};
    std::array<i32, kHats> hatOf = {};
    i32 buttons = 0;
    i32 axes = 0;
    i32 hats = 0;
};

PadLayout LayOutPad(const InputDevice& device);

// The number under which SDL's data base knows the device, as 32 hexadecimal digits.
std::string DataBaseNumber(const InputDevice& device);

// What the controls of a pad that the data base does not know are, by the kernel's own rules for
// gamepads: "a:b0,b:b1,leftx:a0,". "" for a device that does not follow them.
std::string MappingByKernelRules(const InputDevice& device, const PadLayout& layout);

}  // namespace moxi
