#include "desktop/sdl/input/keyboard.h"

#include <SDL_keyboard.h>
#include <SDL_video.h>

#include <bitset>
#include <optional>

#include "desktop/events.h"
#include "desktop/sdl/input/key_text.h"
#include "desktop/sdl/input/layouts.h"
#include "desktop/sdl/input/scancodes.h"
#include "desktop/sdl/loop/gate.h"
#include "desktop/sdl/window/wayland_side.h"
#include "desktop/sdl/window/x11_side.h"

namespace moxi {

namespace {
struct Modifiers {
    bool shift = false;
    bool command = false;
    bool option = false;

    bool operator==(const Modifiers&) const = default;
};
constinit Modifiers told;             // as the application knows them
constinit std::bitset<128> heldKeys;  // told as pressed and not yet as released

void TellModifiers(const Modifiers& now) {
    if (now == told) {
        return;
    }
    told = now;
    Tell(desktopEvents.flagsChanged, now.shift, now.command, now.option);
}

Modifiers FromSdl(u16 state) {
    return {(state & KMOD_SHIFT) != 0, (state & KMOD_CTRL) != 0, (state & KMOD_ALT) != 0};
}

bool IsModifierKey(u8 code) {
    return code >= 0x36 && code <= 0x3E;
}

// The layout's character of a key without modifiers, as far as SDL tells it.
char32_t PlainCharacter(const SDL_Keysym& key) {
    if ((key.sym & SDLK_SCANCODE_MASK) == 0) {
        return key.sym >= 0x20 && key.sym != 0x7F ? static_cast<char32_t>(key.sym) : 0;
    }
    if ((key.mod & KMOD_SHIFT) != 0) {
        return 0;
    }
    const bool numLock = (key.mod & KMOD_NUM) != 0;
    switch (key.scancode) {
        case SDL_SCANCODE_KP_DIVIDE: return '/';
        case SDL_SCANCODE_KP_MULTIPLY: return '*';
        case SDL_SCANCODE_KP_MINUS: return '-';
        case SDL_SCANCODE_KP_PLUS: return '+';
        case SDL_SCANCODE_KP_EQUALS: return '=';
        case SDL_SCANCODE_KP_PERIOD: return numLock ? '.' : 0;
        case SDL_SCANCODE_KP_0: return numLock ? '0' : 0;
        default: break;
    }
    if (numLock && key.scancode >= SDL_SCANCODE_KP_1 && key.scancode <= SDL_SCANCODE_KP_9) {
        return static_cast<char32_t>('1' + (key.scancode - SDL_SCANCODE_KP_1));
    }
    return 0;
}

// The layout that is active now, unless the event says which one was.
KeyCharacters CharactersOf(const SDL_Keysym& key, u8 code, const X11KeyPress& x11) {
    const auto known =
        CharactersOnKey(code, x11.known ? std::optional<u32>(x11.group) : std::nullopt);
    return known.value_or(KeyCharacters{PlainCharacter(key), 0});
}

// The press goes on from before the window got the keyboard, or from a box that has taken it.
bool IsForSomethingElse(const SDL_KeyboardEvent& event, u8 code, const X11KeyPress& x11) {
    if (heldKeys.test(code)) {
        return false;
    }
    const bool isShortcut = (event.keysym.mod & (KMOD_CTRL | KMOD_ALT)) != 0;
    return event.repeat != 0 || (x11.heldBefore && isShortcut);
}

}  // namespace

void HandleKeyDown(const SDL_KeyboardEvent& event) {
    const SDL_Keysym& key = event.keysym;
    const u8 code = VirtualKeyCode(key.scancode);
    if (code == kNoKeyCode) {
        return FinishKeyPress();
    }
    if (IsModifierKey(code)) {
        FinishKeyPress();
        return TellModifiers(FromSdl(key.mod));
    }
    const Modifiers modifiers = FromSdl(key.mod);
    if (modifiers != told) {
        FinishKeyPress();
        TellModifiers(modifiers);
    }
    const X11KeyPress x11 = X11KeyPressOf(event);
    if (IsForSomethingElse(event, code, x11)) {
        return FinishKeyPress();
    }
    heldKeys.set(code);
    // The layouts may have to be asked for, and without Command the text comes by itself.
    const KeyCharacters characters =
        modifiers.command ? CharactersOf(key, code, x11) : KeyCharacters{PlainCharacter(key), 0};
    PressKey({.code = code,
              .shift = modifiers.shift,
              .command = modifiers.command,
              .plain = characters.plain,
              .shifted = characters.shifted});
}

void HandleKeyUp(const SDL_KeyboardEvent& event) {
    const u8 code = VirtualKeyCode(event.keysym.scancode);
    FinishKeyPress();
    TakeWaylandEvents();
    if (code == kNoKeyCode) {
        return;
    }
    if (IsModifierKey(code)) {
        return TellModifiers(FromSdl(event.keysym.mod));
    }
    // A release without a press belongs to a key that something else has seen go down.
    if (!heldKeys.test(code)) {
        return;
    }
    heldKeys.reset(code);
    ReleaseKey(code);
}

void HandleTextInput(const SDL_TextInputEvent& event) {
    TypeText(event.text);
}

void ReleaseHeldKeys() {
    FinishKeyPress();
    for (std::size_t code = 0; code < heldKeys.size(); ++code) {
        if (!heldKeys.test(code)) {
            continue;
        }
        heldKeys.reset(code);
        ReleaseKey(static_cast<u8>(code));
    }
    TellModifiers({});
}

void ResetSdlKeyboard() {
    told = {};
    heldKeys.reset();
    ResetKeyText();
}

}  // namespace moxi
