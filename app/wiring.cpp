#include "app/wiring.h"

#include <cstdlib>
#include <string_view>

#include "app/complaint.h"
#include "app/finish.h"
#include "app/out_of_memory.h"
#include "app/record.h"
#include "app/sandbox.h"
#include "audio/music.h"
#include "audio/sound_group.h"
#include "desktop/desktop.h"
#include "desktop/events.h"
#include "desktop/pango/pango_engine.h"
#include "gfx/graphics_group.h"
#include "host/delegate.h"
#include "host/gamepad.h"
#include "host/host_group.h"
#include "host/keyboard.h"
#include "host/mouse.h"
#include "host/pause.h"
#include "host/preferences.h"
#include "host/queue.h"
#include "host/surface.h"
#include "host/timers.h"
#include "host/view.h"
#include "host/window.h"
#include "host/window_place.h"
#include "kit/debugger/debugger.h"
#include "kit/fault_names.h"
#include "surface/panel.h"
#include "sys/dispatch.h"
#include "sys/files.h"
#include "translate/translator.h"
#include "vm/diagnostics.h"
#include "vm/slots.h"

namespace moxi {

namespace {

constinit decltype(DesktopEvents::didFinishLaunching) launch = nullptr;
constinit bool startInFullScreen = false;

void LaunchAsThePlayerWants() {
    // The user's wish and not the program's: taken from the desktop before the launch puts the
    // recording's own functions there, it is recorded.
    const Desktop plain = desktop;
    launch();
    RestoreWindowPlace(plain.setWindowFrame);
    if (startInFullScreen) {
        plain.toggleFullScreen();
    }
}

// With MOXI_TRANSLATE=all, for tests, nothing is interpreted that can be translated.
void StartTranslation() {
    TranslatorOptions translator;
    const char* const wish = std::getenv("MOXI_TRANSLATE");
    if (wish != nullptr && std::string_view(wish) == "all") {
        translator = {.interval = 0, .threshold = 1, .traceDepth = 1023};
    }
    switch (StartTranslator(translator)) {
        case TranslatorStart::Running:
        case TranslatorStart::Unsupported: return;
        case TranslatorStart::ImageTooLarge:
            SystemLog("modules are interpreted: the image is too large to translate its code");
            return;
        case TranslatorStart::NoMemory:
            SystemLog("modules are interpreted: there is no memory to execute translations from");
            return;
    }
}

}  // namespace

void WireRooms(const Options& options) {
    vmSlots.sysDispatch = SysDispatch;
    vmSlots.flushScreen = FlushDirtyRect;
    vmSlots.appendDebugLog = AppendToDebugLog;
    vmSlots.beforeFatalMessage = [](std::string_view text) {
        NoteFatalMessage();
        if (!MemoryIsOut()) {
            NameFaultInDebugLog(text);
        }
        StopBeforeFatalMessage(text);
    };
    if (options.translate) {
        vmSlots.moduleLoaded = StartTranslation;
    }
    vmSlots.endProcess = Finish;

    sysSlots.graphicsGroup = SysGraphicsGroup;
    sysSlots.soundGroup = SysSoundGroup;
    sysSlots.hostGroup = SysHostGroup;
    sysSlots.onTimer = OnModuleTimer;
    sysSlots.beforeFileChange = NarrowSandbox;
    sysSlots.deleteResource = DeleteInSandbox;

    StartPangoText();

    StartPanel({.noSound = options.mute, .moves = !options.headless});
    hostSlots.togglePanel = TogglePanel;

    desktopEvents = Gated(Recorded({
        .didFinishLaunching = moxiAppDelegate::applicationDidFinishLaunching,
        .shouldTerminate = moxiAppDelegate::applicationShouldTerminate,
        .willTerminate = moxiAppDelegate::applicationWillTerminate,
        .willBecomeActive = moxiAppDelegate::applicationWillBecomeActive,
        .didResignActive = [] {},
        .screensChanged = moxiAppDelegate::screenParametersDidChange,
        .willEndByForce = WriteDumpsOfForcedEnd,
        .windowShouldClose = moxiWindow::windowShouldClose,
        .windowWillClose =
            [] {
                NoteLastWindowPlace();
                moxiWindow::windowWillClose();
            },
        .windowDidResize = moxiWindow::didResizeNotification,
        .windowDidMove = moxiWindow::didMoveNotification,
        .windowDidMiniaturize = moxiWindow::didMiniaturizeNotification,
        .windowDidDeminiaturize = moxiWindow::didDeminiaturizeNotification,
        .windowWillEnterFullScreen =
            [] {
                NoteWindowPlace();
                moxiWindow::willEnterFullScreenNotification();
            },
        .windowDidEnterFullScreen = moxiWindow::didEnterFullScreenNotification,
        .windowWillExitFullScreen = moxiWindow::willExitFullScreenNotification,
        .windowDidExitFullScreen = moxiWindow::didExitFullScreenNotification,
        .windowWillStartLiveResize = moxiWindow::willStartLiveResizeNotification,
        .windowDidEndLiveResize = moxiWindow::didEndLiveResizeNotification,
        .viewFrameDidChange =
            [] {
                moxiView::frameDidChange();
                moxiWindow::didFrameChangeNotification();
            },
        .drawRect = moxiView::drawRect,
        .keyDown = moxiView::keyDown,
        .keyUp = moxiView::keyUp,
        .textInput = TextInput,
        .flagsChanged = FlagsChangedBesidePad,
        .mouseDown = MouseDown,
        .mouseUp = MouseUp,
        .mouseMoved = MouseMoved,
        .mouseDragged = [](u32, i32 x, i32 y) { MouseMoved(x, y); },
        .scrollWheel = ScrollWheel,
        .fileDropped = [](const std::string&) {},
        .padButton = PadButtonChanged,
        .padAxis = PadAxisChanged,
        .clipboardDidChange = [](const std::string&) {},
        .expose = moxiView::drawRect,
        .post = PostMessage,
        .screenshot = WriteScreenshot,
    }));
    // A fitted view is on the whole screen as it is.
    startInFullScreen =
        preferences.fullScreen && (options.headless || preferences.scale < kScaleFit);
    launch = desktopEvents.didFinishLaunching;
    desktopEvents.didFinishLaunching = LaunchAsThePlayerWants;
}

void WireShelf(const ShelfActions& actions, void (*endProcess)(int status)) {
    vmSlots.endProcess = endProcess;
    desktopEvents = EventsOfShelf(actions);
}

}  // namespace moxi
