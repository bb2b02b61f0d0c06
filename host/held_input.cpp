#include "host/held_input.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace moxi {

namespace {

constexpr u32 kButtons = 32;
// A stick that is at most so far from the middle counts as one that nobody touches.
constexpr double kPadAtRest = 0.2;

// Taken: it was the game's or a surface's when the other one's turn came, and is nobody's until it
// is let go.
enum class Holder : u8 { Nobody, Game, Host, Taken };

struct Key {
    Holder holder = Holder::Nobody;
    PlayedKey played;  // of the press
};

std::array<Key, 128> keys;
constinit std::array<Holder, kButtons> buttons = {};
constinit std::array<Holder, kPadButtonCount> padButtons = {};
constinit std::array<Holder, kPadAxisCount> padAxes = {};
constinit Modifiers modifiers;
constinit i32 pointerAtX = 0;
constinit i32 pointerAtY = 0;

Holder& ButtonHolder(u32 button) {
    return buttons[std::min(button, kButtons - 1)];
}

bool TakePress(Holder& holder, bool forGame) {
    // Still held since it was taken from the game: a repeat.
    if (holder == Holder::Host) {
        return false;
    }
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

bool NoteKeyDown(u8 code, const PlayedKey& played, bool forGame) {
    Key& key = keys[code & 127];
    key.played = played;
    return TakePress(key.holder, forGame);
}

std::optional<PlayedKey> NoteKeyUp(u8 code, const std::string& text) {
    Key& key = keys[code & 127];
    const bool pressed = key.holder == Holder::Game;
    if (!TakeRelease(key.holder)) {
        return {};
    }
    if (!pressed || key.played.code == code) {
        return PlayedKey{code, text};
    }
    return key.played;
}

bool NoteMouseDown(u32 button, bool forGame) {
    return TakePress(ButtonHolder(button), forGame);
}

bool NoteMouseUp(u32 button) {
    return TakeRelease(ButtonHolder(button));
}

bool NotePadButton(PadButton button, bool down, bool forGame) {
    Holder& holder = padButtons[static_cast<u32>(button)];
    return down ? TakePress(holder, forGame) : TakeRelease(holder);
}

AxisOwner NotePadAxis(PadAxis axis, double value, bool forGame) {
    Holder& holder = padAxes[static_cast<u32>(axis)];
    const Holder asking = forGame ? Holder::Game : Holder::Host;
    if (holder == Holder::Nobody) {
        holder = asking;
    } else if (holder != asking) {
        holder = Holder::Taken;
    }
    const Holder owner = holder;
    if (std::fabs(value) < kPadAtRest) {
        holder = Holder::Nobody;
    }
    switch (owner) {
        case Holder::Game: return AxisOwner::Game;
        case Holder::Host: return AxisOwner::Surface;
        default: return AxisOwner::Nobody;
    }
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
    // The keys that the pad stands for are released with it.
    for (u32 button = 0; button < kPadButtonCount; ++button) {
        if (padButtons[button] != Holder::Game) {
            continue;
        }
        padButtons[button] = Holder::Host;
        game.padButton(static_cast<PadButton>(button), false);
    }
    for (u32 axis = 0; axis < kPadAxisCount; ++axis) {
        if (padAxes[axis] != Holder::Game) {
            continue;
        }
        padAxes[axis] = Holder::Taken;
        game.padAxis(static_cast<PadAxis>(axis), 0);
    }
    for (u32 code = 0; code < keys.size(); ++code) {
        if (keys[code].holder != Holder::Game) {
            continue;
        }
        keys[code].holder = Holder::Host;
        game.keyUp(keys[code].played.code, keys[code].played.text);
    }
    for (u32 button = 0; button < kButtons; ++button) {
        if (buttons[button] != Holder::Game) {
            continue;
        }
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
    padButtons = {};
    padAxes = {};
    modifiers = {};
    pointerAtX = pointerAtY = 0;
}

}  // namespace moxi
