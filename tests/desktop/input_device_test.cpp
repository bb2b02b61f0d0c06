// What is taken for a gamepad, and by which numbers SDL knows its controls. The devices are told
// here as the kernel tells of real ones.
#include "desktop/sdl/input/input_device.h"

#include <SDL.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <initializer_list>

#include "desktop/sdl/input/kernel_pads.h"

namespace moxi {

namespace {

InputDevice Device(std::initializer_list<u32> keys, std::initializer_list<u32> axes) {
    InputDevice device;
    for (const u32 key : keys) {
        device.keys.set(key);
    }
    for (const u32 axis : axes) {
        device.axes.set(axis);
        device.ranges[axis] = {-32768, 32767, true};
    }
    return device;
}

// As the kernel's driver tells of a common pad with two sticks.
InputDevice CommonPad() {
    InputDevice device =
        Device({BTN_A, BTN_B, BTN_X, BTN_Y, BTN_TL, BTN_TR, BTN_SELECT, BTN_START, BTN_MODE,
                BTN_THUMBL, BTN_THUMBR},
               {ABS_X, ABS_Y, ABS_Z, ABS_RX, ABS_RY, ABS_RZ, ABS_HAT0X, ABS_HAT0Y});
    device.ranges[ABS_Z] = device.ranges[ABS_RZ] = {0, 255, false};
    device.ranges[ABS_HAT0X] = device.ranges[ABS_HAT0Y] = {-1, 1, false};
    device.name = "Microsoft X-Box 360 pad";
    device.bus = 3;
    device.vendor = 0x045E;
    device.product = 0x028E;
    device.version = 0x0114;
    return device;
}

TEST(InputDevice, PadsAndJoysticksArePads) {
    EXPECT_TRUE(IsPad(CommonPad()));
    EXPECT_TRUE(IsPad(Device({BTN_TRIGGER, BTN_THUMB}, {ABS_X, ABS_Y})));
    EXPECT_TRUE(IsPad(Device({BTN_SOUTH, KEY_VOLUMEUP, KEY_BACK}, {ABS_X, ABS_Y})));
    EXPECT_TRUE(IsPad(Device({BTN_DPAD_UP, BTN_DPAD_DOWN}, {})));
}

TEST(InputDevice, NothingThatAPersonTypesWritesOrPointsWithIsAPad) {
    InputDevice mouse = Device({BTN_LEFT, BTN_RIGHT}, {});
    mouse.movements.set(REL_X);
    mouse.movements.set(REL_Y);
    EXPECT_FALSE(IsPad(mouse));
    // A keyboard, one that says that it has a pad's buttons as well, and one for numbers.
    EXPECT_FALSE(IsPad(Device({KEY_Q, KEY_A, KEY_SPACE}, {})));
    EXPECT_FALSE(IsPad(Device({KEY_Q, KEY_A, BTN_SOUTH}, {ABS_X, ABS_Y})));
    EXPECT_FALSE(IsPad(Device({KEY_KP1, BTN_SOUTH}, {ABS_X, ABS_Y})));
    EXPECT_FALSE(IsPad(Device({KEY_5, BTN_SOUTH}, {})));
    mouse.keys.set(BTN_TRIGGER);
    EXPECT_FALSE(IsPad(mouse));
    // A tablet, a pad's own touch pad, a pad's sense of movement, a button for power.
    EXPECT_FALSE(IsPad(Device({BTN_TOOL_PEN, BTN_TOUCH, BTN_STYLUS, BTN_0}, {ABS_X, ABS_Y})));
    EXPECT_FALSE(IsPad(Device({BTN_LEFT, BTN_TOUCH, BTN_TOOL_FINGER}, {ABS_X, ABS_Y})));
    EXPECT_FALSE(IsPad(Device({}, {ABS_X, ABS_Y, ABS_Z, ABS_RX, ABS_RY, ABS_RZ})));
    EXPECT_FALSE(IsPad(Device({KEY_POWER}, {})));
}

TEST(InputDevice, ButtonsAreNumberedByTheirCodesAndKeysAfterThem) {
    const PadLayout layout = LayOutPad(Device({KEY_BACK, BTN_A, BTN_START}, {}));
    EXPECT_EQ(layout.buttons, 3);
    EXPECT_EQ(layout.buttonOfKey[BTN_A], 0);
    EXPECT_EQ(layout.buttonOfKey[BTN_START], 1);
    EXPECT_EQ(layout.buttonOfKey[KEY_BACK], 2);
    EXPECT_EQ(layout.buttonOfKey[BTN_B], kNoNumber);
}

TEST(InputDevice, TwoSwitchesAreAHatAndTwoSticksAreAxes) {
    const PadLayout layout = LayOutPad(CommonPad());
    EXPECT_EQ(layout.axes, 6);
    EXPECT_EQ(layout.hats, 1);
    EXPECT_EQ(layout.hatOf[0], 0);
    EXPECT_EQ(layout.axisOf[ABS_RX], 3);
    EXPECT_EQ(layout.axisOf[ABS_HAT0X], kNoNumber);
    const PadLayout analog = LayOutPad(Device({BTN_A}, {ABS_X, ABS_Y, ABS_HAT0X, ABS_HAT0Y}));
    EXPECT_EQ(analog.hats, 0);
    EXPECT_EQ(analog.axisOf[ABS_HAT0X], 2);
    EXPECT_EQ(analog.axisOf[ABS_HAT0Y], 3);
}

// The number in SDL's own list, with the check sum of the name that SDL adds to it.
TEST(InputDevice, TheDataBaseKnowsItByBusMakerKindAndVersion) {
    InputDevice device = CommonPad();
    const std::string number = DataBaseNumber(device);
    EXPECT_EQ(number.substr(0, 4), "0300");
    EXPECT_EQ(number.substr(8), "5e0400008e02000014010000");
    // A name whose check sum is known: that of "123456789" is 0xBB3D.
    device.name = "123456789";
    EXPECT_EQ(DataBaseNumber(device).substr(4, 4), "3dbb");
}

TEST(InputDevice, APadThatNobodyKnowsIsMappedByTheKernelsRules) {
    const InputDevice device = CommonPad();
    EXPECT_EQ(MappingByKernelRules(device, LayOutPad(device)),
              "a:b0,b:b1,back:b6,start:b7,guide:b8,leftstick:b9,rightstick:b10,leftshoulder:b4,"
              "rightshoulder:b5,x:b2,y:b3,dpup:h0.1,dpdown:h0.4,dpleft:h0.8,dpright:h0.2,leftx:a0,"
              "lefty:a1,rightx:a3,righty:a4,lefttrigger:a2,righttrigger:a5,");
    const InputDevice stick = Device({BTN_TRIGGER}, {ABS_X, ABS_Y});
    EXPECT_EQ(MappingByKernelRules(stick, LayOutPad(stick)), "");
}

// --- What SDL makes of one, whose events come from a pipe here

class FedPad : public testing::Test {
  protected:
    void SetUp() override {
        SDL_SetHint("SDL_JOYSTICK_DISABLE_UDEV", "1");
        SDL_SetHint(SDL_HINT_JOYSTICK_HIDAPI, "0");
        ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_GAMECONTROLLER), 0);
        ASSERT_EQ(pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
    }
    void TearDown() override {
        RemoveKernelPads();
        close(ends[1]);
        SDL_QuitSubSystem(SDL_INIT_GAMECONTROLLER);
    }

    SDL_GameController* Added(const InputDevice& device) {
        EXPECT_TRUE(AddKernelPad(ends[0], device));
        SDL_Event event = {};
        while (SDL_PollEvent(&event) != 0 && event.type != SDL_CONTROLLERDEVICEADDED) {
        }
        EXPECT_EQ(event.type, u32{SDL_CONTROLLERDEVICEADDED});
        return SDL_GameControllerOpen(event.cdevice.which);
    }

    void Say(u16 type, u16 code, i32 value) {
        input_event events[2] = {};
        events[0].type = type;
        events[0].code = code;
        events[0].value = value;
        events[1].type = EV_SYN;
        EXPECT_EQ(write(ends[1], events, sizeof events), static_cast<ssize_t>(sizeof events));
        FeedKernelPads();
        SDL_GameControllerUpdate();
    }

    int ends[2] = {-1, -1};
};

TEST_F(FedPad, APadOfTheDataBaseMovesTheControlsOfItsMapping) {
    SDL_GameController* const pad = Added(CommonPad());
    ASSERT_NE(pad, nullptr);
    Say(EV_KEY, BTN_A, 1);
    EXPECT_EQ(SDL_GameControllerGetButton(pad, SDL_CONTROLLER_BUTTON_A), 1);
    Say(EV_KEY, BTN_A, 0);
    EXPECT_EQ(SDL_GameControllerGetButton(pad, SDL_CONTROLLER_BUTTON_A), 0);
    Say(EV_ABS, ABS_HAT0Y, -1);
    EXPECT_EQ(SDL_GameControllerGetButton(pad, SDL_CONTROLLER_BUTTON_DPAD_UP), 1);
    Say(EV_ABS, ABS_RX, 32767);
    EXPECT_EQ(SDL_GameControllerGetAxis(pad, SDL_CONTROLLER_AXIS_RIGHTX), 32767);
    Say(EV_ABS, ABS_X, -32768);
    EXPECT_EQ(SDL_GameControllerGetAxis(pad, SDL_CONTROLLER_AXIS_LEFTX), -32768);
    Say(EV_ABS, ABS_Z, 255);
    EXPECT_EQ(SDL_GameControllerGetAxis(pad, SDL_CONTROLLER_AXIS_TRIGGERLEFT), 32767);
    SDL_GameControllerClose(pad);
}

TEST_F(FedPad, APadThatNobodyKnowsFollowsTheKernelsRules) {
    InputDevice device = CommonPad();
    device.vendor = 0x1234;
    device.product = 0x4321;
    device.name = "Pad, home made";
    SDL_GameController* const pad = Added(device);
    ASSERT_NE(pad, nullptr);
    Say(EV_KEY, BTN_START, 1);
    EXPECT_EQ(SDL_GameControllerGetButton(pad, SDL_CONTROLLER_BUTTON_START), 1);
    Say(EV_ABS, ABS_HAT0X, 1);
    EXPECT_EQ(SDL_GameControllerGetButton(pad, SDL_CONTROLLER_BUTTON_DPAD_RIGHT), 1);
    SDL_GameControllerClose(pad);
}

TEST_F(FedPad, APadThatIsPulledOutIsTakenAway) {
    SDL_GameController* const pad = Added(CommonPad());
    ASSERT_NE(pad, nullptr);
    close(ends[1]);
    ends[1] = -1;
    FeedKernelPads();
    EXPECT_EQ(SDL_GameControllerGetAttached(pad), SDL_FALSE);
    SDL_GameControllerClose(pad);
}

TEST_F(FedPad, WrongEventsOfABrokenDriverMoveNothing) {
    SDL_GameController* const pad = Added(CommonPad());
    ASSERT_NE(pad, nullptr);
    Say(EV_KEY, 0xFFFF, 1);
    Say(EV_ABS, 0xFFFF, 0x7FFFFFFF);
    Say(EV_ABS, ABS_X, 0x7FFFFFFF);
    EXPECT_EQ(SDL_GameControllerGetAxis(pad, SDL_CONTROLLER_AXIS_LEFTX), 32767);
    SDL_GameControllerClose(pad);
}

TEST(InputDevice, WhatIsNoDeviceIsNotReadAsOne) {
    InputDevice device;
    EXPECT_FALSE(ReadInputDevice(0, device));
    EXPECT_FALSE(ReadInputDevice(-1, device));
}

}  // namespace

}  // namespace moxi
