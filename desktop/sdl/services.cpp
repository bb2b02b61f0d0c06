#include "desktop/sdl/services.h"

#include <SDL_clipboard.h>
#include <SDL_mouse.h>
#include <SDL_stdinc.h>

#include "desktop/sdl/input/x11_clipboard.h"
#include "desktop/sdl/loop/display_loss.h"
#include "desktop/sdl/loop/gate.h"
#include "desktop/sdl/window/game_window.h"
#include "desktop/sdl/window/native_display.h"

namespace moxi {

namespace {

constinit SDL_Cursor* handCursor = nullptr;
constinit SDL_Cursor* arrowCursor = nullptr;

// What the user copies in other programs is no business of a game that plays in the background.
// Wayland holds the same by itself.
bool HasKeyboard() {
    return (SDL_GetWindowFlags(gameWindow) & SDL_WINDOW_INPUT_FOCUS) != 0;
}

}  // namespace

std::optional<std::string> ClipboardText() {
    const InsideDesktop inside;
    if (DisplayLoss() != Loss::None) {
        return std::nullopt;
    }
    if (const unsigned long window = XWindow(gameWindow)) {
        // SDL takes no text in pieces, in which large ones come.
        bool own = false;
        std::optional<std::string> others = X11ClipboardText(window, HasKeyboard(), own);
        if (!own) {
            return others;
        }
    }
    if (SDL_HasClipboardText() != SDL_TRUE) {
        return std::nullopt;
    }
    char* text = SDL_GetClipboardText();
    if (text == nullptr) {
        return std::nullopt;
    }
    std::string result = text;
    SDL_free(text);
    return result;
}

void SetClipboardText(const std::string& utf8) {
    const InsideDesktop inside;
    if (DisplayLoss() == Loss::None) {
        SDL_SetClipboardText(utf8.c_str());
    }
}

void SetHandCursor(bool hand) {
    const InsideDesktop inside;
    if (DisplayLoss() != Loss::None) {
        return;
    }
    SDL_Cursor*& cursor = hand ? handCursor : arrowCursor;
    if (cursor == nullptr) {
        cursor = SDL_CreateSystemCursor(hand ? SDL_SYSTEM_CURSOR_HAND : SDL_SYSTEM_CURSOR_ARROW);
    }
    if (cursor != nullptr) {
        SDL_SetCursor(cursor);
    }
}

void FreeCursors() {
    for (SDL_Cursor** cursor : {&handCursor, &arrowCursor}) {
        if (*cursor != nullptr) {
            SDL_FreeCursor(*cursor);
        }
        *cursor = nullptr;
    }
}

}  // namespace moxi
