#include "host/pause.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "desktop/audio_out.h"
#include "desktop/desktop.h"
#include "host/gamepad.h"
#include "host/held_input.h"
#include "host/key_map.h"
#include "host/keyboard.h"
#include "host/menu.h"
#include "host/message.h"
#include "host/preferences.h"
#include "host/queue.h"
#include "host/session.h"
#include "host/surface.h"
#include "host/view.h"
#include "vm/run_cycle.h"

namespace moxi {

namespace {

DesktopEvents game;  // the handlers that the events go on to

// What has become of the window while the game was paused.
struct WindowNews {
    bool moved = false;
    bool frameChanged = false;
    bool resized = false;
    bool fullScreenBefore = false;
    bool changesFullScreen = false;  // has begun to, and the end is still to come
    i32 miniaturized = 0;            // times, less the times that it came back
    i32 liveResizes = 0;             // begun, less those ended
};

constinit u32 reasons = 0;  // a bit for each PauseReason that holds
constinit bool standing = false;
constinit bool releasing = false;  // the pause begins, and what is held is being released
constinit u64 standsAt = 0;  // so many messages have left the queue when the game stands still
constinit WindowNews news;
constinit ViewRect owedRedraw;  // empty when none is
std::vector<Message> owedMessages;

u32 Bit(PauseReason reason) {
    return u32{1} << static_cast<u32>(reason);
}

void StandStill() {
    standing = true;
    desktop.holdGame(true);
    audioOut.setPaused(true);
}

// --- The end of a pause

void TellWindowNews() {
    const WindowNews told = news;
    const bool fullScreen = desktop.isFullScreen();
    const bool toggled = fullScreen != told.fullScreenBefore;
    if (toggled) {
        fullScreen ? game.windowWillEnterFullScreen() : game.windowWillExitFullScreen();
    }
    if (told.moved) {
        game.windowDidMove();
    }
    if (told.frameChanged) {
        game.viewFrameDidChange();
    }
    if (told.resized) {
        game.windowDidResize();
    }
    if (toggled && !told.changesFullScreen) {
        fullScreen ? game.windowDidEnterFullScreen() : game.windowDidExitFullScreen();
    }
    if (told.miniaturized > 0) {
        game.windowDidMiniaturize();
    }
    if (told.miniaturized < 0) {
        game.windowDidDeminiaturize();
    }
    if (told.liveResizes > 0) {
        game.windowWillStartLiveResize();
    }
    if (told.liveResizes < 0) {
        game.windowDidEndLiveResize();
    }
}

void GoOn() {
    if (standing) {
        desktop.holdGame(false);
        audioOut.setPaused(false);
    }
    standing = false;
    TellWindowNews();
    const Modifiers held = HeldModifiers();
    if (held.shift || held.command || held.option) {
        game.flagsChanged(held.shift, held.command, held.option);
    }
    for (const Message& message : std::exchange(owedMessages, {})) {
        game.post(message.command, message.p1, message.p2, message.p3);
    }
    if (owedRedraw.width > 0) {
        desktop.requestRedraw(owedRedraw);
    }
    owedRedraw = {};
}

void CloseSurface() {
    if (openSurface != nullptr) {
        openSurface->close();
    }
}

// Asks the game a question that only it can answer: it goes on for that, its surface is closed, and
// whatever else keeps it paused does so again afterwards.
bool AskGame(bool (*question)()) {
    const u32 before = reasons;
    CloseSurface();
    Resume(PauseReason::Inactive);
    const bool answer = question();
    if (!answer && (before & Bit(PauseReason::Inactive)) != 0) {
        Pause(PauseReason::Inactive);
    }
    return answer;
}

// --- Input

u32 ModifierBits() {
    const Modifiers held = HeldModifiers();
    return (held.shift ? kShiftBit : 0) | (held.command ? kCommandBit : 0) |
           (held.option ? kOptionBit : 0);
}

SurfaceInput Input(SurfaceInputKind kind, i32 x, i32 y) {
    const Modifiers held = HeldModifiers();
    SurfaceInput input;
    input.kind = kind;
    input.shift = held.shift;
    input.command = held.command;
    input.option = held.option;
    input.x = x;
    input.y = y;
    return input;
}

void RedrawSurface() {
    if (openSurface == nullptr) {
        return;
    }
    const ViewSize size = desktop.viewSize();
    desktop.requestRedraw(
        {0, 0, static_cast<double>(size.width), static_cast<double>(size.height)});
}

void GiveToSurface(const SurfaceInput& input) {
    if (openSurface != nullptr) {
        openSurface->input(input);
    }
}

// Applies the player's key map. Keys of the menu and those that the pad stands for are left as they
// are; the pad has a map of its own.
PlayedKey Played(u8 code, const std::string& text) {
    const Modifiers held = HeldModifiers();
    return padIsActing || held.command ? PlayedKey{code, text} : PlayedAs(code, text, held.shift);
}

void KeyDownAtGate(u8 code, const std::string& text) {
    const bool repeats = KeyIsHeld(code);
    if (IsPanelKey(code, text, ModifierBits())) {
        if (repeats) {
            return;
        }
        NoteKeyDown(code, {code, text}, false);
        return hostSlots.togglePanel();
    }
    const PlayedKey played = Played(code, text);
    if (NoteKeyDown(code, played, !IsPaused())) {
        return game.keyDown(played.code, played.text);
    }
    if (!IsPaused() || (!repeats && PerformMenuKey(code, text, ModifierBits()))) {
        return;
    }
    SurfaceInput input = Input(SurfaceInputKind::KeyDown, 0, 0);
    input.code = code;
    input.text = text;
    GiveToSurface(input);
}

void GateKeys(DesktopEvents& gate) {
    gate.keyDown = KeyDownAtGate;
    gate.keyUp = [](u8 code, const std::string& text) {
        if (const auto key = NoteKeyUp(code, text)) {
            game.keyUp(key->code, key->text);
        }
    };
    gate.textInput = [](const std::string& text) {
        if (!IsPaused()) {
            return game.textInput(text);
        }
        SurfaceInput input = Input(SurfaceInputKind::Text, 0, 0);
        input.text = text;
        GiveToSurface(input);
    };
    gate.flagsChanged = [](bool shift, bool command, bool option) {
        NoteModifiers({shift, command, option});
        // The release of the pad's modifier keys comes by here as well.
        if (!IsPaused() || releasing) {
            game.flagsChanged(shift, command, option);
        }
    };
}

void GateMouse(DesktopEvents& gate) {
    gate.mouseDown = [](u32 button, i32 x, i32 y, i32 clicks) {
        NotePointer(x, y);
        if (NoteMouseDown(button, !IsPaused())) {
            return game.mouseDown(button, x, y, clicks);
        }
        SurfaceInput input = Input(SurfaceInputKind::PointerDown, x, y);
        input.button = button;
        GiveToSurface(input);
    };
    gate.mouseUp = [](u32 button, i32 x, i32 y) {
        NotePointer(x, y);
        if (NoteMouseUp(button)) {
            return game.mouseUp(button, x, y);
        }
        SurfaceInput input = Input(SurfaceInputKind::PointerUp, x, y);
        input.button = button;
        GiveToSurface(input);
    };
    gate.mouseMoved = [](i32 x, i32 y) {
        NotePointer(x, y);
        if (!IsPaused()) {
            return game.mouseMoved(x, y);
        }
        GiveToSurface(Input(SurfaceInputKind::PointerMove, x, y));
    };
    gate.mouseDragged = [](u32 button, i32 x, i32 y) {
        NotePointer(x, y);
        if (!IsPaused()) {
            return game.mouseDragged(button, x, y);
        }
        GiveToSurface(Input(SurfaceInputKind::PointerMove, x, y));
    };
    gate.scrollWheel = [](double deltaX, double deltaY, i32 x, i32 y) {
        NotePointer(x, y);
        if (!IsPaused()) {
            return game.scrollWheel(deltaX, deltaY, x, y);
        }
        // One notch of a wheel is a delta of a tenth.
        SurfaceInput input = Input(SurfaceInputKind::Wheel, x, y);
        input.wheel = deltaY * 10;
        GiveToSurface(input);
    };
}

// --- The gamepad. While the game is paused it makes keys for the surface.

bool OpensPanel(PadButton button) {
    const auto chosen = preferences.padMap.find(std::string(NameOf(button)));
    const bool isChosen = chosen != preferences.padMap.end();
    return (isChosen ? chosen->second : DefaultPadAction(NameOf(button))) == "panel";
}

void GatePad(DesktopEvents& gate) {
    gate.padButton = [](PadButton button, bool down) {
        if (OpensPanel(button)) {
            if (down) {
                hostSlots.togglePanel();
            }
        } else if (NotePadButton(button, down, !IsPaused())) {
            game.padButton(button, down);
        } else {
            // A pause without a surface has no use for what is pressed.
            PadButtonChanged(button, down && openSurface != nullptr);
        }
    };
    gate.padAxis = [](PadAxis axis, double value) {
        switch (NotePadAxis(axis, value, !IsPaused())) {
            case AxisOwner::Game: return game.padAxis(axis, value);
            case AxisOwner::Surface:
                return PadAxisChanged(axis, openSurface != nullptr ? value : 0);
            case AxisOwner::Nobody: return PadAxisChanged(axis, 0);
        }
    };
}

// --- The window

// A handler that is told once after the pause, however often it was to be called.
template <bool WindowNews::*happened, void (*DesktopEvents::*handler)()>
void TellLater() {
    if (!IsPaused()) {
        return (game.*handler)();
    }
    news.*happened = true;
    RedrawSurface();
}

// The same for handlers that undo each other.
template <i32 WindowNews::*times, i32 step, void (*DesktopEvents::*handler)()>
void CountAndTellLater() {
    if (!IsPaused()) {
        return (game.*handler)();
    }
    news.*times += step;
}

// Nothing is told while the game is paused; TellWindowNews compares full screen before and after.
template <bool begins, void (*DesktopEvents::*handler)()>
void TellUnlessPaused() {
    if (!IsPaused()) {
        return (game.*handler)();
    }
    news.changesFullScreen = begins;
}

void GateWindow(DesktopEvents& gate) {
    gate.windowDidMove = TellLater<&WindowNews::moved, &DesktopEvents::windowDidMove>;
    gate.viewFrameDidChange =
        TellLater<&WindowNews::frameChanged, &DesktopEvents::viewFrameDidChange>;
    gate.windowDidResize = TellLater<&WindowNews::resized, &DesktopEvents::windowDidResize>;
    gate.windowDidMiniaturize =
        CountAndTellLater<&WindowNews::miniaturized, 1, &DesktopEvents::windowDidMiniaturize>;
    gate.windowDidDeminiaturize =
        CountAndTellLater<&WindowNews::miniaturized, -1, &DesktopEvents::windowDidDeminiaturize>;
    gate.windowWillStartLiveResize =
        CountAndTellLater<&WindowNews::liveResizes, 1, &DesktopEvents::windowWillStartLiveResize>;
    gate.windowDidEndLiveResize =
        CountAndTellLater<&WindowNews::liveResizes, -1, &DesktopEvents::windowDidEndLiveResize>;
    gate.windowWillEnterFullScreen =
        TellUnlessPaused<true, &DesktopEvents::windowWillEnterFullScreen>;
    gate.windowDidEnterFullScreen =
        TellUnlessPaused<false, &DesktopEvents::windowDidEnterFullScreen>;
    gate.windowWillExitFullScreen =
        TellUnlessPaused<true, &DesktopEvents::windowWillExitFullScreen>;
    gate.windowDidExitFullScreen = TellUnlessPaused<false, &DesktopEvents::windowDidExitFullScreen>;
    gate.windowShouldClose = [] { return AskGame(game.windowShouldClose); };
}

// --- Drawing and the rest

// While the game stands still it cannot be told that its picture has been shown, so what it was
// shown last is shown again, and the game's own turn comes later.
void DrawStandingGame(ViewRect rect) {
    const double right = std::max(owedRedraw.x + owedRedraw.width, rect.x + rect.width);
    const double top = std::max(owedRedraw.y + owedRedraw.height, rect.y + rect.height);
    const bool first = owedRedraw.width <= 0;
    const double left = first ? rect.x : std::min(owedRedraw.x, rect.x);
    const double bottom = first ? rect.y : std::min(owedRedraw.y, rect.y);
    owedRedraw = {left, bottom, right - left, top - bottom};
    if (openSurface != nullptr) {
        return openSurface->draw();
    }
    desktop.presentView(ShownPixels(), rect);
}

void DrawAtGate(ViewRect rect) {
    if (standing) {
        return DrawStandingGame(rect);
    }
    game.drawRect(rect);
    if (openSurface != nullptr) {
        openSurface->draw();
    }
}

void GateTheRest(DesktopEvents& gate) {
    gate.drawRect = DrawAtGate;
    gate.expose = [](ViewRect rect) {
        if (standing) {
            return DrawStandingGame(rect);
        }
        game.expose(rect);
    };
    gate.post = [](u32 command, u32 p1, u32 p2, u32 p3) {
        if (!IsPaused()) {
            return game.post(command, p1, p2, p3);
        }
        owedMessages.push_back({command, p1, p2, p3});
    };
    gate.shouldTerminate = [] { return AskGame(game.shouldTerminate); };
    gate.didResignActive = [] {
        if (!preferences.pauseWhenInactive) {
            return;
        }
        game.didResignActive();
        Pause(PauseReason::Inactive);
    };
    gate.willBecomeActive = [] {
        Resume(PauseReason::Inactive);
        game.willBecomeActive();
    };
    gate.screensChanged = [] {
        CloseSurface();
        Resume(PauseReason::Inactive);
        game.screensChanged();
    };
}

}  // namespace

bool Pause(PauseReason reason) {
    if (!launchComplete || inputSuspended || inMX) {
        return false;
    }
    const bool first = reasons == 0;
    reasons |= Bit(reason);
    if (!first) {
        return true;
    }
    news = {.fullScreenBefore = desktop.isFullScreen()};
    releasing = true;
    ReleaseHeldInput(game);
    releasing = false;
    // A message that waits already is delivered before the releases.
    standsAt = MessagesTaken() + QueueLength();
    StandStillWhenTold();
    return true;
}

void Resume(PauseReason reason) {
    if ((reasons & Bit(reason)) == 0) {
        return;
    }
    reasons &= ~Bit(reason);
    if (reasons == 0) {
        GoOn();
    }
}

bool IsPaused() {
    return reasons != 0;
}

void StandStillWhenTold() {
    if (reasons == 0 || standing || inMX) {
        return;
    }
    if (QueueIsEmpty() || MessagesTaken() >= standsAt) {
        StandStill();
    }
}

DesktopEvents Gated(const DesktopEvents& handlers) {
    game = handlers;
    DesktopEvents gate = handlers;
    GateKeys(gate);
    GateMouse(gate);
    GatePad(gate);
    GateWindow(gate);
    GateTheRest(gate);
    return gate;
}

void ResetPause() {
    reasons = 0;
    standing = false;
    standsAt = 0;
    news = {};
    owedRedraw = {};
    owedMessages.clear();
    ResetHeldInput();
}

}  // namespace moxi
