#include "app/wiring.h"

#include "app/finish.h"
#include "app/out_of_memory.h"
#include "audio/music.h"
#include "audio/sound_group.h"
#include "desktop/audio_out.h"
#include "desktop/events.h"
#include "desktop/pango/pango_engine.h"
#include "gfx/bitmap.h"
#include "gfx/commands.h"
#include "gfx/draw_text.h"
#include "gfx/fonts.h"
#include "gfx/image_files.h"
#include "host/delegate.h"
#include "host/keyboard.h"
#include "host/mouse.h"
#include "host/queue.h"
#include "host/services.h"
#include "host/slots.h"
#include "host/timers.h"
#include "host/view.h"
#include "host/window.h"
#include "kit/fault_names.h"
#include "sys/dispatch.h"
#include "sys/files.h"
#include "vm/diagnostics.h"
#include "vm/slots.h"

namespace moxi {

// The user had to end a module that did not answer.
static constexpr int kForcedEnd = 1;

void WireRooms() {
    vmSlots.sysDispatch = SysDispatch;
    vmSlots.screenIsDirty = [] { return dirtyRect.left < dirtyRect.right; };
    vmSlots.flushDirtyRect = FlushDirtyRect;
    vmSlots.takeQueuedMessage = TakeQueuedMessage;
    // The machine reads nothing but its module.
    vmSlots.openFile = [](const char* name, u32 mode) {
        return mode == kOpenRead ? OpenModule(name) : OpenFile(name, mode);
    };
    vmSlots.readFile = ReadFile;
    vmSlots.writeFile = WriteFile;
    vmSlots.seekFile = SeekFile;
    vmSlots.lockFile = LockToWrite;
    vmSlots.closeFile = CloseFile;
    vmSlots.beforeFatalMessage = [](std::string_view text) {
        if (!MemoryIsOut()) NameFaultInDebugLog(text);
    };
    vmSlots.endProcess = Finish;

    sysSlots.graphicsGroup = SysGraphicsGroup;
    sysSlots.soundGroup = SysSoundGroup;
    sysSlots.hostGroup = SysHostGroup;
    sysSlots.onTimer = OnModuleTimer;

    hostSlots.pollMusic = PollMusic;
    hostSlots.stopMusic = StopMusic;
    hostSlots.toggleMute = [] { audioOut.toggleMute(); };

    gfxSlots.drawText = DrawText;
    gfxSlots.loadImage = LoadImage;
    gfxSlots.saveImage = SaveImage;
    gfxSlots.emptyFontCache = EmptyFontCache;
    gfxSlots.stillRunning = [] {
        if (desktop.endIsForced()) EndProcess(kForcedEnd);
        return true;
    };

    StartPangoText();

    desktopEvents = {
        .didFinishLaunching = moxiAppDelegate::applicationDidFinishLaunching,
        .shouldTerminate = moxiAppDelegate::applicationShouldTerminate,
        .willTerminate = moxiAppDelegate::applicationWillTerminate,
        .willBecomeActive = moxiAppDelegate::applicationWillBecomeActive,
        .screensChanged = moxiAppDelegate::screenParametersDidChange,
        .willEndByForce = WriteDumpsOfForcedEnd,
        .windowShouldClose = moxiWindow::windowShouldClose,
        .windowWillClose = moxiWindow::windowWillClose,
        .windowDidResize = moxiWindow::didResizeNotification,
        .windowDidMove = moxiWindow::didMoveNotification,
        .windowDidMiniaturize = moxiWindow::didMiniaturizeNotification,
        .windowDidDeminiaturize = moxiWindow::didDeminiaturizeNotification,
        .windowWillEnterFullScreen = moxiWindow::willEnterFullScreenNotification,
        .windowDidEnterFullScreen = moxiWindow::didEnterFullScreenNotification,
        .windowWillExitFullScreen = moxiWindow::willExitFullScreenNotification,
        .windowDidExitFullScreen = moxiWindow::didExitFullScreenNotification,
        .windowWillStartLiveResize = moxiWindow::willStartLiveResizeNotification,
        .windowDidEndLiveResize = moxiWindow::didEndLiveResizeNotification,
        .viewFrameDidChange = moxiView::frameDidChange,
        .drawRect = moxiView::drawRect,
        .keyDown = moxiView::keyDown,
        .keyUp = moxiView::keyUp,
        .textInput = TextInput,
        .flagsChanged = moxiView::flagsChanged,
        .mouseDown = MouseDown,
        .mouseUp = MouseUp,
        .mouseMoved = MouseMoved,
        .mouseDragged = [](u32, i32 x, i32 y) { MouseMoved(x, y); },
        .scrollWheel = ScrollWheel,
        .clipboardDidChange = [](const std::string&) {},
        .expose = moxiView::drawRect,
        .post = PostMessage,
        .screenshot = WriteScreenshot,
    };
}

}  // namespace moxi
