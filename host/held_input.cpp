#include "host/held_input.h"

#include <algorithm>
#include <array>

namespace moxi {

namespace {

constexpr u32 kButtons = 32;

enum class Holder : u8 { Nobody, Game, Host };

struct Key {
    Holder holder = Holder::Nobody;
    std::string text;  // of the press
};

std::array<Key, 128> keys;
constinit std::array<Holder, kButtons> buttons = {};
constinit Modifiers modifiers;
constinit i32 pointerAtX = 0;
constinit i32 pointerAtY = 0;

Holder& ButtonHolder(u32 button) {
    return buttons[std::min(button, kButtons - 1)];
}

bool TakePress(Holder& holder, bool forGame) {
    // Still held since it was taken from the game: a repeat.
    if (holder == Holder::Host) return false;
    holder = forGame ? Holder::Game : Holder::Host;
    return forGame;
}

// A release that nothing is known of is the game's, as it always was.
bool TakeRelease(Holder& holder) {
    const bool forGame = holder != Holder::Host;
    holder = Holder::Nobody;
    return forGame;
}

}  // namespace

bool KeyIsHeld(u8 code) {
    return keys[code & 127].holder != Holder::Nobody;
}

bool NoteKeyDown(u8 code, const std::string& text, bool forGame) {
    Key& key = keys[code & 127];
    key.text = text;
    return TakePress(key.holder, forGame);
}

bool NoteKeyUp(u8 code) {
    return TakeRelease(keys[code & 127].holder);
}

bool NoteMouseDown(u32 button, bool forGame) {
    return TakePress(ButtonHolder(button), forGame);
}

bool NoteMouseUp(u32 button) {
    return TakeRelease(ButtonHolder(button));
}

void NotePointer(i32 x, i32 y) {
    pointerAtX = x;
    pointerAtY = y;
}

void NoteModifiers(Modifiers held) {
    modifiers = held;
}

Modifiers HeldModifiers() {
    return modifiers;
}

void ReleaseHeldInput(const DesktopEvents& game) {
    for (u32 code = 0; code < keys.size(); ++code) {
        if (keys[code].holder != Holder::Game) continue;
        keys[code].holder = Holder::Host;
        game.keyUp(static_cast<u8>(code), keys[code].text);
    }
    for (u32 button = 0; button < kButtons; ++button) {
        if (buttons[button] != Holder::Game) continue;
        buttons[button] = Holder::Host;
        game.mouseUp(button, pointerAtX, pointerAtY);
    }
    if (modifiers.shift || modifiers.command || modifiers.option) {
        game.flagsChanged(false, false, false);
    }
}

void ResetHeldInput() {
    keys = {};
    buttons = {};
    modifiers = {};
    pointerAtX = pointerAtY = 0;
}

}  // namespace moxi
