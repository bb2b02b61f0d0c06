#include "desktop/sdl/input/input_device.h"

#include <sys/ioctl.h>

#include <climits>
#include <string_view>
#include <utility>

#include "base/log.h"

namespace moxi {

// --- Reading

namespace {

template <std::size_t n>
bool ReadBits(int file, unsigned type, std::bitset<n>& bits) {
    constexpr std::size_t kWordBits = sizeof(unsigned long) * CHAR_BIT;
    std::array<unsigned long, (n + kWordBits - 1) / kWordBits> words = {};
    if (ioctl(file, EVIOCGBIT(type, sizeof words), words.data()) < 0) {
        return false;
    }
    for (std::size_t i = 0; i < n; ++i) {
        bits.set(i, (words[i / kWordBits] >> (i % kWordBits) & 1) != 0);
    }
    return true;
}

}  // namespace

bool ReadInputDevice(int file, InputDevice& device) {
    input_id id = {};
    std::array<char, 128> name = {};
    if (ioctl(file, EVIOCGID, &id) < 0 || !ReadBits(file, EV_KEY, device.keys) ||
        !ReadBits(file, EV_ABS, device.axes) || !ReadBits(file, EV_REL, device.movements)) {
        return false;
    }
    // A device may have no name.
    ioctl(file, EVIOCGNAME(name.size() - 1), name.data());
    device.name = name.data();
    device.bus = id.bustype;
    device.vendor = id.vendor;
    device.product = id.product;
    device.version = id.version;
    for (std::size_t axis = 0; axis < ABS_CNT; ++axis) {
        input_absinfo info = {};
        if (!device.axes[axis] || ioctl(file, EVIOCGABS(axis), &info) < 0) {
            device.axes.reset(axis);
            continue;
        }
        device.ranges[axis] = {info.minimum, info.maximum,
                               info.fuzz != 0 || info.flat != 0 || info.resolution != 0};
    }
    return true;
}

// --- What it is

using Range = std::pair<u32, u32>;  // the first and the last

namespace {

template <std::size_t n>
bool HasAny(const InputDevice& device, const Range (&ranges)[n]) {
    for (const auto& [first, last] : ranges) {
        for (u32 key = first; key <= last; ++key) {
            if (device.keys[key]) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace

bool IsPad(const InputDevice& device) {
    constexpr Range kOfPads[] = {{BTN_JOYSTICK, BTN_THUMBR},
                                 {BTN_DPAD_UP, BTN_DPAD_RIGHT},
                                 {BTN_TRIGGER_HAPPY1, BTN_TRIGGER_HAPPY40}};
    // Letters, digits and signs; pads do have a few others, as for the volume.
    constexpr Range kTyped[] = {{KEY_1, KEY_EQUAL},
                                {KEY_Q, KEY_RIGHTBRACE},
                                {KEY_A, KEY_SLASH},
                                {KEY_SPACE, KEY_SPACE},
                                {KEY_KP7, KEY_KPDOT}};
    constexpr Range kTouched[] = {{BTN_TOOL_PEN, BTN_TOOL_QUADTAP}};
    const bool isMouse = device.movements[REL_X] && device.movements[REL_Y];
    return HasAny(device, kOfPads) && !HasAny(device, kTyped) && !HasAny(device, kTouched) &&
           !isMouse;
}

// --- SDL's numbers

namespace {

// Whether the axes x and x + 1 are a hat, two switches that are joined, and no stick.
bool IsHat(const InputDevice& device, u32 x) {
    const u32 y = x + 1;
    if (!device.axes[x] && !device.axes[y]) {
        return false;
    }
    bool threeSteps = true;
    bool exact = false;
    for (const u32 axis : {x, y}) {
        const AxisRange& range = device.ranges[axis];
        if (!device.axes[axis]) {
            continue;
        }
        threeSteps = threeSteps && range.least == -1 && range.most == 1;
        exact = exact || range.isExact;
    }
    return threeSteps || !exact;
}

}  // namespace

PadLayout LayOutPad(const InputDevice& device) {
    PadLayout layout;
    layout.buttonOfKey.fill(kNoNumber);
    layout.axisOf.fill(kNoNumber);
    layout.hatOf.fill(kNoNumber);
    // The buttons of pads come first, then keys.
    for (const auto& [first, end] : {Range{BTN_JOYSTICK, KEY_MAX}, Range{0, BTN_JOYSTICK}}) {
        for (u32 key = first; key < end; ++key) {
            if (device.keys[key]) {
                layout.buttonOfKey[key] = layout.buttons++;
            }
        }
    }
    for (u32 hat = 0; hat < kHats; ++hat) {
        if (IsHat(device, ABS_HAT0X + 2 * hat)) {
            layout.hatOf[hat] = layout.hats++;
        }
    }
    for (u32 axis = 0; axis < ABS_MAX; ++axis) {
        const bool ofHat = axis >= ABS_HAT0X && axis <= ABS_HAT3Y &&
                           layout.hatOf[(axis - ABS_HAT0X) / 2] != kNoNumber;
        if (device.axes[axis] && !ofHat) {
            layout.axisOf[axis] = layout.axes++;
        }
    }
    return layout;
}

// --- SDL's names

namespace {

// The check sum of the name: x^16 + x^15 + x^2 + 1, the lowest bit first.
u16 CheckSum(std::string_view text) {
    u32 sum = 0;
    for (const char c : text) {
        sum ^= static_cast<u8>(c);
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xA001u : 0u);
        }
    }
    return static_cast<u16>(sum);
}

}  // namespace

std::string DataBaseNumber(const InputDevice& device) {
    std::string digits;
    for (const u16 word : {device.bus, CheckSum(device.name), device.vendor, u16{0}, device.product,
                           u16{0}, device.version, u16{0}}) {
        digits += FormatText("%02x%02x", word & 255u, static_cast<unsigned>(word) >> 8);
    }
    return digits;
}

namespace {
struct ControlOfKey {
    const char* control;
    u32 key;
};
void AddDirections(std::string& mapping, const InputDevice& device, const PadLayout& layout) {
    constexpr ControlOfKey kButtons[] = {{"dpup", BTN_DPAD_UP},
                                         {"dpdown", BTN_DPAD_DOWN},
                                         {"dpleft", BTN_DPAD_LEFT},
                                         {"dpright", BTN_DPAD_RIGHT}};
    // The bits of a hat.
    constexpr u32 kBits[] = {1, 4, 8, 2};
    u32 bit = 0;
    for (const auto& [control, key] : kButtons) {
        if (device.keys[key]) {
            mapping += FormatText("%s:b%d,", control, layout.buttonOfKey[key]);
        } else if (layout.hatOf[0] != kNoNumber) {
            mapping += FormatText("%s:h%d.%u,", control, layout.hatOf[0], kBits[bit]);
        }
        ++bit;
    }
}

}  // namespace

std::string MappingByKernelRules(const InputDevice& device, const PadLayout& layout) {
    constexpr ControlOfKey kButtons[] = {
        {"a", BTN_SOUTH},           {"b", BTN_EAST},          {"back", BTN_SELECT},
        {"start", BTN_START},       {"guide", BTN_MODE},      {"leftstick", BTN_THUMBL},
        {"rightstick", BTN_THUMBR}, {"leftshoulder", BTN_TL}, {"rightshoulder", BTN_TR}};
    constexpr u16 kSony = 0x054C;
    if (!device.keys[BTN_GAMEPAD]) {
        return "";
    }
    std::string mapping;
    const auto addButton = [&](const char* control, u32 key) {
        if (device.keys[key]) {
            mapping += FormatText("%s:b%d,", control, layout.buttonOfKey[key]);
        }
    };
    const auto addAxis = [&](const char* control, u32 axis) {
        const bool has = layout.axisOf[axis] != kNoNumber;
        if (has) {
            mapping += FormatText("%s:a%d,", control, layout.axisOf[axis]);
        }
        return has;
    };
    for (const auto& [control, key] : kButtons) {
        addButton(control, key);
    }
    // Most drivers go by the letters on the buttons, one maker's by their places.
    addButton("x", device.vendor == kSony ? BTN_WEST : BTN_X);
    addButton("y", device.vendor == kSony ? BTN_NORTH : BTN_Y);
    AddDirections(mapping, device, layout);
    addAxis("leftx", ABS_X);
    addAxis("lefty", ABS_Y);
    const bool hasSecondStick = addAxis("rightx", ABS_RX) && addAxis("righty", ABS_RY);
    if (!hasSecondStick) {
        addAxis("rightx", ABS_Z);
        addAxis("righty", ABS_RZ);
    }
    if (!hasSecondStick || !addAxis("lefttrigger", ABS_Z)) {
        addButton("lefttrigger", BTN_TL2);
    }
    if (!hasSecondStick || !addAxis("righttrigger", ABS_RZ)) {
        addButton("righttrigger", BTN_TR2);
    }
    return mapping;
}

}  // namespace moxi
