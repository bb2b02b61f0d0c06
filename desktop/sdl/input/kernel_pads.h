#pragma once
// The pads that the helper process hands over, made known to SDL as virtual joysticks with the
// mapping that SDL's data base has for them.

#include "desktop/sdl/input/input_device.h"

namespace moxi {

// Takes over the open file that the device's events come from; false, and it is closed, where SDL
// can make no gamepad of such a device.
bool AddKernelPad(int file, const InputDevice& device);

// Takes the pads that have come, and tells SDL what all pads have done.
void FeedKernelPads();

void RemoveKernelPads();

}  // namespace moxi
