// Gamepads on the real desktop: SDL's virtual ones, which the application connects itself, and
// where there is one, the kernel's.
#include <SDL.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/uinput.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "desktop/desktop.h"
#include "tests/support/desktop_probe.h"
#include "tests/window/moxi_window.h"

namespace moxi {

namespace {

// --- Virtual pads of the probe's process. Keys of its window move them.

std::vector<SDL_Joystick*> sticks;

void ConnectPad() {
    SDL_VirtualJoystickDesc kind = {};
    kind.version = SDL_VIRTUAL_JOYSTICK_DESC_VERSION;
    kind.type = SDL_JOYSTICK_TYPE_GAMECONTROLLER;
    kind.naxes = SDL_CONTROLLER_AXIS_MAX;
    kind.nbuttons = SDL_CONTROLLER_BUTTON_MAX;
    kind.name = "Probe's pad";
    const int index = SDL_JoystickAttachVirtualEx(&kind);
    sticks.push_back(index < 0 ? nullptr : SDL_JoystickOpen(index));
    if (sticks.back() == nullptr) {
        return ProbeLog(std::string("no pad: ") + SDL_GetError());
    }
    // A trigger at rest stands at the lowest value that an axis has.
    for (const int trigger : {SDL_CONTROLLER_AXIS_TRIGGERLEFT, SDL_CONTROLLER_AXIS_TRIGGERRIGHT}) {
        SDL_JoystickSetVirtualAxis(sticks.back(), trigger, -32768);
    }
}

void DisconnectPad() {
    const SDL_JoystickID id = SDL_JoystickInstanceID(sticks.back());
    for (int i = 0; i < SDL_NumJoysticks(); ++i) {
        if (SDL_JoystickGetDeviceInstanceID(i) != id) {
            continue;
        }
        SDL_JoystickClose(sticks.back());
        SDL_JoystickDetachVirtual(i);
        break;
    }
    sticks.pop_back();
}

void MovePads(const std::string& key) {
    if (key == "p") {
        return ConnectPad();
    }
    if (key == "q") {
        return DisconnectPad();
    }
    if (sticks.empty()) {
        return;
    }
    SDL_Joystick* const newest = sticks.back();
    if (key == "a") {
        SDL_JoystickSetVirtualButton(newest, SDL_CONTROLLER_BUTTON_A, 1);
    }
    if (key == "b") {
        SDL_JoystickSetVirtualButton(newest, SDL_CONTROLLER_BUTTON_A, 0);
    }
    if (key == "c") {
        SDL_JoystickSetVirtualButton(sticks.front(), SDL_CONTROLLER_BUTTON_A, 1);
    }
    if (key == "d") {
        SDL_JoystickSetVirtualButton(sticks.front(), SDL_CONTROLLER_BUTTON_A, 0);
    }
    if (key == "x") {
        SDL_JoystickSetVirtualAxis(newest, SDL_CONTROLLER_AXIS_LEFTX, -32768);
    }
    if (key == "y") {
        SDL_JoystickSetVirtualAxis(newest, SDL_CONTROLLER_AXIS_LEFTX, 0);
    }
    if (key == "z") {
        SDL_JoystickSetVirtualAxis(newest, SDL_CONTROLLER_AXIS_TRIGGERRIGHT, 32767);
    }
    if (key == "m") {
        desktop.minimizeWindow();
    }
}

class Pads : public testing::Test {
  protected:
    void SetUp() override {
        if (!IsProgramInstalled("Xvfb")) {
            GTEST_SKIP() << "Xvfb is missing";
        }
        ASSERT_TRUE(session.Start("1400x900x24"));
        probe.Start({}, MovePads);
        ASSERT_GE(probe.WaitFor("draw"), 0) << testing::PrintToString(probe.Log());
        if (probe.WaitFor("active", 0, 200) < 0) {
            Shell("xdotool search --name Probe windowactivate");
        }
        ASSERT_GE(probe.WaitFor("active"), 0);
        probe.WaitForQuiet();
    }

    // What the pads do because of these keys.
    Lines Press(const std::string& keys) {
        const std::size_t before = probe.Log().size();
        Shell("xdotool key --delay 30 " + keys);
        probe.WaitForQuiet();
        Lines lines = probe.Log(before);
        std::erase_if(lines, [](const std::string& line) {
            return !line.starts_with("pad-") && !line.starts_with("no pad");
        });
        return lines;
    }

    // A new pad is found within a second.
    void Connect() {
        Press("p");
        const std::size_t before = probe.Log().size();
        for (int i = 0; i < 20 && probe.WaitFor("pad-button a down", before, 1) < 0; ++i) {
            Press("b a");
        }
        Press("b");
    }

    XSession session;
    DesktopProbe probe;
};

TEST_F(Pads, APadThatIsConnectedLaterIsFoundAndHeard) {
    Connect();
    EXPECT_EQ(Press("a b"), (Lines{"pad-button a down", "pad-button a up"}));
    EXPECT_EQ(Press("x y"), (Lines{"pad-axis leftx -1", "pad-axis leftx 0"}));
    EXPECT_EQ(Press("z"), (Lines{"pad-axis righttrigger 1"}));
}

TEST_F(Pads, APadThatIsTakenAwayHasLetGoOfEverything) {
    Connect();
    EXPECT_EQ(Press("a x"), (Lines{"pad-button a down", "pad-axis leftx -1"}));
    Lines released = Press("q");
    std::sort(released.begin(), released.end());
    EXPECT_EQ(released, (Lines{"pad-axis leftx 0", "pad-button a up"}));
}

TEST_F(Pads, TwoPadsAreOne) {
    Connect();
    Connect();
    // Both press A: it is up when both have let it go.
    EXPECT_EQ(Press("a c b"), (Lines{"pad-button a down"}));
    EXPECT_EQ(Press("d"), (Lines{"pad-button a up"}));
}

TEST_F(Pads, AWindowThatLosesTheKeyboardHasLetGoOfThePad) {
    Connect();
    EXPECT_EQ(Press("a x"), (Lines{"pad-button a down", "pad-axis leftx -1"}));
    EXPECT_EQ(Press("m"), (Lines{"pad-button a up", "pad-axis leftx 0"}));
    EXPECT_GE(probe.WaitFor("inactive"), 0);
}

// --- The kernel's

void Emit(int device, u16 type, u16 code, i32 value) {
    input_event event = {};
    event.type = type;
    event.code = code;
    event.value = value;
    EXPECT_EQ(write(device, &event, sizeof event), static_cast<ssize_t>(sizeof event));
}

TEST_F(MoxiWindow, APadOfTheKernelIsHeardInTheSandbox) {
    const int device = open("/dev/uinput", O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (device < 0) {
        GTEST_SKIP() << "no /dev/uinput";
    }
    Start();
    // Connected when the sandbox is as narrow as it gets. SDL knows this one by its numbers.
    uinput_setup setup = {};
    setup.id = {.bustype = BUS_USB, .vendor = 0x045E, .product = 0x028E, .version = 0x0114};
    std::copy_n("Pad of a test", 14, setup.name);
    ioctl(device, UI_SET_EVBIT, EV_KEY);
    for (const int button : {BTN_A, BTN_B, BTN_X, BTN_Y, BTN_TL, BTN_TR, BTN_SELECT, BTN_START,
                             BTN_MODE, BTN_THUMBL, BTN_THUMBR}) {
        ioctl(device, UI_SET_KEYBIT, button);
    }
    ioctl(device, UI_SET_EVBIT, EV_ABS);
    for (const int axis : {ABS_X, ABS_Y, ABS_Z, ABS_RX, ABS_RY, ABS_RZ, ABS_HAT0X, ABS_HAT0Y}) {
        const i32 most = axis == ABS_HAT0X || axis == ABS_HAT0Y ? 1 : 32767;
        uinput_abs_setup range = {};
        range.code = static_cast<u16>(axis);
        range.absinfo.minimum = axis == ABS_Z || axis == ABS_RZ ? 0 : -most;
        range.absinfo.maximum = most;
        ioctl(device, UI_ABS_SETUP, &range);
    }
    ioctl(device, UI_DEV_SETUP, &setup);
    ASSERT_EQ(ioctl(device, UI_DEV_CREATE), 0);
    const bool heard = WaitUntil([&] {
        for (const i32 value : {1, 0}) {
            Emit(device, EV_KEY, BTN_B, value);
            Emit(device, EV_SYN, SYN_REPORT, 0);
            Pause();
        }
        return Contains(Messages(), "c 1b 1 0");  // Escape
    });
    EXPECT_TRUE(heard) << Errors();
    ioctl(device, UI_DEV_DESTROY);
    close(device);
}

}  // namespace

}  // namespace moxi
