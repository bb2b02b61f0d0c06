#pragma once
// Messages to the module: a command and three parameters.

#include "base/types.h"

namespace moxi {

struct Message {
    u32 command;
    u32 p1;
    u32 p2;
    u32 p3;
};

constexpr u32 MSG_START1 = 1;
constexpr u32 MSG_START2 = 2;
constexpr u32 MSG_CLOSE = 3;  // p1 = 1 when the displays changed; a non-zero result allows it
constexpr u32 MSG_END = 4;
constexpr u32 MSG_MINIMIZE = 7;  // p1 = 1 minimised, 0 restored
constexpr u32 MSG_MOVE = 8;      // x, y
constexpr u32 MSG_SIZE = 9;      // width, height, SizeReason
constexpr u32 MSG_MUSICDONE = 10;
constexpr u32 MSG_TICK = 11;
constexpr u32 MSG_DOWN = 12;  // key code, 1, 0; or button id, word, packed position
constexpr u32 MSG_UP = 13;
constexpr u32 MSG_CHAR = 14;     // bytes 0-3 and 4-7 of the UTF-8 text
constexpr u32 MSG_POINTER = 15;  // x, y, button-and-modifier word
constexpr u32 MSG_PRESENTED = 16;

// p3 of MSG_SIZE
constexpr u32 kSizeWindowed = 0;
constexpr u32 kSizeFullScreen = 2;
constexpr u32 kSizeFullScreenLeft = 3;

}  // namespace moxi
