#include "host/mouse.h"

#include <algorithm>
#include <cmath>

#include "host/keyboard.h"
#include "host/queue.h"
#include "host/session.h"
#include "vm/run_cycle.h"

namespace moxi {

constinit i32 pointerX = 0;
constinit i32 pointerY = 0;

namespace {

constexpr u32 kVerticalWheel = 0x8003;
constexpr u32 kHorizontalWheel = 0x8004;
constexpr i32 kMostSteps = 7;

struct Button {
    u32 id;   // p1 of the message
    u32 bit;  // in the button-and-modifier word
};

Button ButtonOf(u32 number) {
    switch (number) {
        case 0: return {1, kLeftButtonBit};
        case 1: return {2, kRightButtonBit};
        case 2: return {4, kMiddleButtonBit};
        case 3: return {0x8001, kFourthButtonBit};
        default: return {0x8002, kOtherButtonBit};
    }
}

// x is not masked: a negative one spills into the upper half.
u32 Packed(i32 x, i32 y) {
    return static_cast<u32>(y) << 16 | static_cast<u32>(x);
}

void SetPointer(i32 x, i32 y) {
    pointerX = x;
    pointerY = y;
}

void PostPointer(i32 x, i32 y) {
    if (inputSuspended) {
        return;
    }
    PostMessage(MSG_POINTER, static_cast<u32>(x), static_cast<u32>(y), buttonsAndModifiers);
}

void Wheel(double delta, u32 id, u32 position) {
    const double steps = std::trunc(delta * 10);
    if (!(steps < 0 || steps > 0)) {
        return;
    }
    const u32 direction = steps > 0 ? 1 : 0xFFFFFFFF;
    const i32 count = static_cast<i32>(std::min<double>(std::fabs(steps), kMostSteps));
    for (i32 i = 0; i < count; ++i) {
        if (!inputSuspended) {
            PostMessage(MSG_DOWN, id, direction, position);
        }
    }
}

}  // namespace

void MouseDown(u32 button, i32 x, i32 y, i32 clicks) {
    if (clicks <= 0) {
        return;
    }
    SetPointer(x, y);
    const Button pressed = ButtonOf(button);
    buttonsAndModifiers |= pressed.bit;
    if (!inputSuspended) {
        PostMessage(MSG_DOWN, pressed.id, buttonsAndModifiers, Packed(x, y));
    }
}

void MouseUp(u32 button, i32 x, i32 y) {
    SetPointer(x, y);
    const Button released = ButtonOf(button);
    buttonsAndModifiers &= ~released.bit;
    if (inputSuspended) {
        return;
    }
    PostMessage(MSG_UP, released.id, buttonsAndModifiers, Packed(x, y));
    PostPointer(x, y);
}

void MouseMoved(i32 x, i32 y) {
    SetPointer(x, y);
    if (!inMX && QueueIsEmpty()) {
        PostPointer(x, y);
    }
}

void ScrollWheel(double deltaX, double deltaY, i32 x, i32 y) {
    SetPointer(x, y);
    Wheel(deltaY, kVerticalWheel, Packed(x, y));
    Wheel(deltaX, kHorizontalWheel, Packed(x, y));
}

void ResetMouse() {
    pointerX = pointerY = 0;
}

}  // namespace moxi
