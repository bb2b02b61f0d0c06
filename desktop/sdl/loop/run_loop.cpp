#include "desktop/sdl/loop/run_loop.h"

#include <SDL_events.h>
#include <SDL_timer.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <mutex>
#include <thread>

#include "base/log.h"
#include "desktop/common/timers.h"
#include "desktop/events.h"
#include "desktop/quit_request.h"
#include "desktop/sdl/input/key_text.h"
#include "desktop/sdl/input/keyboard.h"
#include "desktop/sdl/input/mouse.h"
#include "desktop/sdl/input/pads.h"
#include "desktop/sdl/loop/clock.h"
#include "desktop/sdl/loop/display_loss.h"
#include "desktop/sdl/loop/gate.h"
#include "desktop/sdl/loop/turns.h"
#include "desktop/sdl/window/game_window.h"
#include "desktop/sdl/window/native_display.h"
#include "desktop/sdl/window/screens.h"
#include "desktop/sdl/window/view.h"
#include "desktop/sdl/window/window.h"

namespace moxi {

constexpr u64 kNanosecondsPerMillisecond = 1'000'000;
// Events may keep timers and redraws waiting for so long.
constexpr u64 kEventsNanoseconds = 10 * kNanosecondsPerMillisecond;
constexpr u64 kLongestWait = 100 * kNanosecondsPerMillisecond;
// How long after an event SDL is asked in every turn, and how often it is asked later.
constexpr u64 kLivelyNanoseconds = 250 * kNanosecondsPerMillisecond;
constexpr u64 kQuietNanoseconds = 50 * kNanosecondsPerMillisecond;
constexpr u64 kSleepSlice = 10 * kNanosecondsPerMillisecond;

namespace {

std::mutex workLock;
constinit std::deque<void (*)()>* queuedWork = nullptr;  // guarded by workLock
constinit u32 wakeEvent = 0;

constinit u64 quietFrom = 0;
constinit u64 nextPumping = 0;  // at the latest

constinit Timers timers;  // in nanoseconds
constinit bool ended = false;

}  // namespace

void StartRunLoop() {
    static std::deque<void (*)()> work;
    queuedWork = &work;
    wakeEvent = SDL_RegisterEvents(1);
}

void RequestTerminate() {
    quitRequest = QuitRequest::Made;
}

void QueueOnMain(void (*work)()) {
    {
        const std::lock_guard lock(workLock);
        // Work that waits does once what it would do each time, and a module asks without end.
        if (std::find(queuedWork->begin(), queuedWork->end(), work) != queuedWork->end()) {
            return;
        }
        queuedWork->push_back(work);
    }
    if (IsMainThread()) {
        return;
    }
    SDL_Event wake{};
    wake.type = wakeEvent;
    SDL_PushEvent(&wake);
}

TimerId StartTimer(u64 microseconds, void (*handler)()) {
    return StartTimer(timers, Nanoseconds(), std::max<u64>(microseconds, 1) * 1000, handler);
}

TimerId StartSurfaceTimer(u64 microseconds, void (*handler)()) {
    return StartTimer(timers, Nanoseconds(), std::max<u64>(microseconds, 1) * 1000, handler,
                      TimerOwner::Host);
}

void StopTimer(TimerId timer) {
    StopTimer(timers, timer);
}

void HoldGame(bool held) {
    held ? HoldTimers(timers, Nanoseconds()) : LetTimersGo(timers, Nanoseconds());
}

u64 GameNanoseconds() {
    return TimeWithoutHolds(timers, Nanoseconds());
}

void StopTimers() {
    timers.running.clear();
}

namespace {

void RunOneQueued() {
    void (*work)() = nullptr;
    {
        const std::lock_guard lock(workLock);
        if (queuedWork->empty()) {
            return;  // something nested in other work has run it
        }
        work = queuedWork->front();
        queuedWork->pop_front();
    }
    Tell(work);
}

bool IsForGameWindow(const SDL_Event& event) {
    switch (event.type) {
        case SDL_KEYDOWN:
        case SDL_KEYUP: return event.key.windowID == 0 || IsGameWindow(event.key.windowID);
        case SDL_TEXTINPUT: return event.text.windowID == 0 || IsGameWindow(event.text.windowID);
        case SDL_MOUSEBUTTONDOWN:
        case SDL_MOUSEBUTTONUP: return IsGameWindow(event.button.windowID);
        case SDL_MOUSEMOTION: return IsGameWindow(event.motion.windowID);
        case SDL_MOUSEWHEEL: return IsGameWindow(event.wheel.windowID);
        case SDL_WINDOWEVENT: return IsGameWindow(event.window.windowID);
        case SDL_DROPFILE: return event.drop.windowID == 0 || IsGameWindow(event.drop.windowID);
        default: return true;
    }
}

// SDL sends it by itself when a Wayland compositor has gone; signals are not its business here.
void HandleQuitEvent() {
    if (!NoteLostWayland()) {
        RequestTerminate();
    }
}

void HandleDrop(const SDL_DropEvent& event) {
    const std::string path = event.file != nullptr ? event.file : "";
    SDL_free(event.file);
    if (path.empty()) {
        return;
    }
    const OutsideDesktop outside;
    desktopEvents.fileDropped(path);
}

void HandleEvent(const SDL_Event& event) {
    if (!IsForGameWindow(event)) {
        return;
    }
    if (HandlePadEvent(event)) {
        return;
    }
    // A press waits for its own text alone.
    if (event.type != SDL_TEXTINPUT) {
        FinishKeyPress();
    }
    // A change of the window is told before the input that follows it.
    if (event.type != SDL_WINDOWEVENT && !KeyPressIsHeldBack()) {
        SettleWindow();
    }
    switch (event.type) {
        case SDL_KEYDOWN: HandleKeyDown(event.key); break;
        case SDL_KEYUP: HandleKeyUp(event.key); break;
        case SDL_TEXTINPUT: HandleTextInput(event.text); break;
        case SDL_MOUSEBUTTONDOWN:
        case SDL_MOUSEBUTTONUP: HandleMouseButton(event.button); break;
        case SDL_MOUSEMOTION: HandleMouseMotion(event.motion); break;
        case SDL_MOUSEWHEEL: HandleMouseWheel(event.wheel); break;
        case SDL_WINDOWEVENT: HandleWindowEvent(event.window); break;
        case SDL_DROPFILE: HandleDrop(event.drop); break;
        case SDL_DISPLAYEVENT: HandleDisplayEvent(); break;
        case SDL_RENDER_TARGETS_RESET:
        case SDL_RENDER_DEVICE_RESET: ForgetTexture(); break;
        case SDL_QUIT: HandleQuitEvent(); break;
        default: break;
    }
}

// The end: the application's last word, then nothing more is delivered.
void End() {
    Tell(desktopEvents.willTerminate);
    ended = true;
}

bool Ask(bool (*question)()) {
    NoteQuestion();
    const bool answer = Tell(question);
    NoteAnswer();
    return answer;
}

// The window is gone, so no answer can keep the application alive: it is told, and that is all.
void EndWithoutWindow() {
    SystemLog(DisplayLoss() == Loss::Window ? "the window has been destroyed from outside"
                                            : "the connection to the display is lost");
    ForgetGameWindow();
    Ask(desktopEvents.shouldTerminate);
    End();
}

void ServeRequests() {
    if (ended) {
        return;
    }
    if (DisplayLoss() != Loss::None) {
        return EndWithoutWindow();
    }
    if (closeRequested) {
        closeRequested = false;
        if (gameWindow != nullptr && Ask(desktopEvents.windowShouldClose)) {
            Tell(desktopEvents.windowWillClose);
            DestroyGameWindow();
            // The last window ends the application. It is asked once more, but with the window
            // gone its answer cannot keep it alive.
            Ask(desktopEvents.shouldTerminate);
            return End();
        }
    }
    QuitRequest made = QuitRequest::Made;
    if (quitRequest.compare_exchange_strong(made, QuitRequest::BeingAnswered)) {
        const bool terminates = Ask(desktopEvents.shouldTerminate);
        NoteQuitAnswer();
        if (terminates) {
            End();
        }
    }
}

void HandleEvents(SDL_Event& event) {
    const u64 until = Nanoseconds() + kEventsNanoseconds;
    do {
        HandleEvent(event);
        ServeRequests();
        // The text of a press has come with it, and would be no text of a key in the next turn.
    } while (!ended && (Nanoseconds() < until || KeyPressIsHeldBack()) &&
             SDL_PollEvent(&event) != 0);
    if (!ended) {
        FinishKeyPress();
    }
}

bool WaitForSdlEvent(SDL_Event& event, u64 deadline) {
    u64 now = Nanoseconds();
    const u64 wait = deadline > now ? std::min(deadline - now, kLongestWait) : 0;
    const u64 milliseconds = wait / kNanosecondsPerMillisecond;
    if (SDL_WaitEventTimeout(&event, static_cast<int>(milliseconds)) != 0) {
        return true;
    }
    now = Nanoseconds();
    // SDL waits for whole milliseconds; what remains is too short to be noticed by anyone who
    // types, and too long to be burnt.
    if (deadline > now && deadline - now < kNanosecondsPerMillisecond) {
        std::this_thread::sleep_for(std::chrono::nanoseconds(deadline - now));
    }
    return false;
}

// SDL's own waiting asks the X server more than ten times in a turn. While nothing happens it is
// enough to ask now and then: for what SDL does by the clock, and for what comes another way, such
// as from an input method.
ServerWait WaitWithoutSdl(u64 deadline) {
    const u64 now = Nanoseconds();
    if (now >= nextPumping || SDL_HasEvents(SDL_FIRSTEVENT, SDL_LASTEVENT) == SDL_TRUE) {
        return ServerWait::Unknown;
    }
    const u64 until = std::min(deadline, nextPumping);
    return WaitForX11(until > now ? until - now : 0);
}

// Waits for an event until the deadline at the latest. Asks for events even when it is over.
bool WaitForEvent(SDL_Event& event, u64 deadline) {
    const ServerWait wait = WaitWithoutSdl(deadline);
    if (wait == ServerWait::Silent) {
        return false;
    }
    if (wait == ServerWait::Spoken) {
        deadline = 0;
    }
    const bool found = WaitForSdlEvent(event, deadline);
    const u64 now = Nanoseconds();
    if (found) {
        quietFrom = now + kLivelyNanoseconds;
    }
    nextPumping = now < quietFrom ? now : now + kQuietNanoseconds;
    return found;
}

std::size_t QueuedWorkCount() {
    const std::lock_guard lock(workLock);
    return queuedWork->size();
}

// When there is something to do though no event has come.
u64 NextTurn() {
    if (closeRequested || quitRequest == QuitRequest::Made || DisplayLoss() != Loss::None) {
        return 0;
    }
    if (RedrawIsWaiting() || QueuedWorkCount() > 0) {
        return 0;
    }
    const u64 next = std::min(NextSettling(), NextPadLook());
    return IsInLiveResize() ? next : std::min(EarliestDeadline(timers), next);
}

}  // namespace

void RunEventLoop() {
    const InsideDesktop inside;
    ended = false;
    Tell(desktopEvents.didFinishLaunching);
    while (!ended) {
        NoteTurn();
        SDL_Event event;
        if (WaitForEvent(event, NextTurn())) {
            HandleEvents(event);
        }
        ServeRequests();
        if (ended) {
            break;
        }
        SettleWindow();
        LookAtPads(Nanoseconds());
        TellScreenChanges();
        if (DisplayLoss() != Loss::None) {
            continue;
        }
        // Work that queues more work comes again in the next turn.
        for (std::size_t waiting = QueuedWorkCount(); waiting > 0; --waiting) {
            RunOneQueued();
        }
        ServeRedraw();
        ShowNewPixels();
        // Timers stand still while the user drags the border: a module's ticks, which nobody takes
        // from the queue meanwhile, would fill it before the new size, and in the end keep that
        // out.
        if (!IsInLiveResize()) {
            FireDueTimer(timers, Nanoseconds(), Nanoseconds, Tell<void>);
        }
    }
}

void SleepWithRedraw(u64 milliseconds) {
    const InsideDesktop inside;
    const u64 until = Nanoseconds() + milliseconds * kNanosecondsPerMillisecond;
    SettleWindow();
    ServeRedraw();
    for (;;) {
        SDL_PumpEvents();
        NotePumping();
        const u64 now = Nanoseconds();
        if (now >= until) {
            break;
        }
        const OutsideDesktop outside;
        std::this_thread::sleep_for(std::chrono::nanoseconds(std::min(until - now, kSleepSlice)));
    }
}

}  // namespace moxi
