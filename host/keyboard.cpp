#include "host/keyboard.h"

#include <algorithm>

#include "base/bytes.h"
#include "host/keymap.h"
#include "host/queue.h"
#include "host/session.h"

namespace moxi {

constinit u32 buttonsAndModifiers = 0;

namespace {

constexpr u32 kShiftKey = 16;
// The module's numbering has no Command key: Command is sent as 17 and Option as 18.
constexpr u32 kCommandKey = 17;
constexpr u32 kOptionKey = 18;
constexpr u32 kTextBufferSize = 16;

void PostText(const std::string& text) {
    u8 buffer[kTextBufferSize] = {};
    // The last byte stays zero, so that a text that is too long still ends.
    std::copy_n(text.begin(), std::min<size_t>(text.size(), kTextBufferSize - 1), buffer);
    PostMessage(MSG_CHAR, LoadBytes<u32>(buffer), LoadBytes<u32>(buffer + 4), 0);
}

// Input is tested before each post: one that is delivered at once may suspend it.
void PostModifier(bool held, bool was, u32 key) {
    if (held == was || inputSuspended) {
        return;
    }
    PostMessage(held ? MSG_DOWN : MSG_UP, key, 0, 0);
}

}  // namespace

void KeyDown(u8 code, const std::string& text) {
    if (text.empty()) {
        return;
    }
    if (!inputSuspended) {
        PostMessage(MSG_DOWN, ModuleKeyCode(code), 1, 0);
    }
    PostText(text);
}

void KeyUp(u8 code, const std::string& text) {
    if (!text.empty() && !inputSuspended) {
        PostMessage(MSG_UP, ModuleKeyCode(code), 1, 0);
    }
}

void TextInput(const std::string& text) {
    if (!text.empty()) {
        PostText(text);
    }
}

void FlagsChanged(bool shift, bool command, bool option) {
    const u32 before = buttonsAndModifiers;
    PostModifier(shift, (before & kShiftBit) != 0, kShiftKey);
    PostModifier(command, (before & kCommandBit) != 0, kCommandKey);
    PostModifier(option, (before & kOptionBit) != 0, kOptionKey);
    buttonsAndModifiers = (buttonsAndModifiers & ~(kShiftBit | kCommandBit | kOptionBit)) |
                          (shift ? kShiftBit : 0) | (command ? kCommandBit : 0) |
                          (option ? kOptionBit : 0);
}

void ReleaseCommandKey() {
    if ((buttonsAndModifiers & kCommandBit) == 0) {
        return;
    }
    buttonsAndModifiers &= ~kCommandBit;
    PostMessage(MSG_UP, kCommandKey, 0, 0);
}

void ResetKeyboard() {
    buttonsAndModifiers = 0;
}

}  // namespace moxi
