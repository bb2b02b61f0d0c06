#include "host/delegate.h"

#include <algorithm>

#include "audio/music.h"
#include "desktop/folders.h"
#include "gfx/bitmap.h"
#include "gfx/screen.h"
#include "host/bundle.h"
#include "host/game_info.h"
#include "host/keyboard.h"
#include "host/queue.h"
#include "host/session.h"
#include "host/timers.h"
#include "host/view.h"
#include "host/window.h"
#include "sys/files.h"
#include "sys/time_group.h"
#include "vm/diagnostics.h"
#include "vm/loader.h"
#include "vm/run_cycle.h"

namespace moxi {

constinit u32 visibleWidth = 0;
constinit u32 visibleHeight = 0;
constinit u64 startTime = 0;

namespace {

constinit bool screenExists = false;
constinit ViewSize desktopExtent = {};

// The displays changed under a running game: the module hears of it and the game ends.
[[noreturn]] void EndForScreenChange() {
    MXmsg(MSG_CLOSE, 1, 0, 0);
    while (!QueueIsEmpty() && !inputSuspended) {
        DeliverQueuedMessage();
    }
    EmptyQueue();
    ShowFatalMessage("Screen change: game ending, restart game");
    ForceMsg(MSG_END, 0, 0, 0);
    EndProcess(0);
}

bool LoadModuleOfGame() {
    const u32 file = OpenModule("MAIN.MX");
    if (file == kNoFile) {
        return LoadModule({});
    }
    const bool loaded =
        LoadModule([file](void* bytes, u32 count) { return ReadFile(file, bytes, count); });
    CloseFile(file);
    return loaded;
}

void ScreenSetup() {
    if (screenExists) {
        EndForScreenChange();
    }
    desktopExtent = ComputeDesktopExtent();
    const WindowFrame visible = desktop.screens().front().visibleFrame;
    visibleWidth = static_cast<u32>(visible.width);
    visibleHeight = static_cast<u32>(visible.height);
    if (!CreateScreenBitmap(static_cast<u32>(desktopExtent.width),
                            static_cast<u32>(desktopExtent.height))) {
        ShowFatalMessage("Failed creating screen BITMAP. Terminating. So sorry!");
        EndProcess(1);
    }
    savedWidth = desktopExtent.width;
    savedHeight = desktopExtent.height;
    screenExists = true;
}

}  // namespace

void moxiAppDelegate::init() {
    desktop.createWindow({100, 100, 1000, 600});
    desktop.setWindowTitle(folders.gameName.c_str());
}

void moxiAppDelegate::applicationDidFinishLaunching() {
    InitFolders();
    if (!LoadModuleOfGame()) {
        EndProcess(1);
    }
    ++moduleStarted;
    moxiView::init();
    desktop.startTimer(kHostTickMicroseconds, OnHostTick);
    ScreenSetup();
    ++moduleStarted;
    SetWindowIcon(OwnResource("moxi.png"));
    desktop.showWindow();
    dirtyTracking = true;
    startTime = MilliSeconds();
    launchComplete = true;
    ForceMsg(MSG_START1, 0, 0, 0);
    ForceMsg(MSG_START2, 0, 0, 0);
    firstSizeSent = true;
    PostMessage(MSG_SIZE, requestedGeometry.width, requestedGeometry.height, kSizeWindowed);
    PostMessage(MSG_MOVE, requestedGeometry.x, requestedGeometry.y, 0);
    // The host tick repeats the size once the queue runs.
    savedWidth = static_cast<i32>(requestedGeometry.width);
    savedHeight = static_cast<i32>(requestedGeometry.height);
    pendingSize = true;
}

bool moxiAppDelegate::applicationShouldTerminate() {
    if (inMX) {
        return false;
    }
    return ForceMsg(MSG_CLOSE, 0, 0, 0) != 0;
}

void moxiAppDelegate::applicationWillTerminate() {
    StopMusic();
}

void moxiAppDelegate::applicationWillBecomeActive() {
    ReleaseCommandKey();
}

void moxiAppDelegate::screenParametersDidChange() {
    if (!screenExists) {
        return;
    }
    const ViewSize extent = ComputeDesktopExtent();
    if (extent.width == desktopExtent.width && extent.height == desktopExtent.height) {
        return;
    }
    ScreenSetup();
}

void ResetDelegate() {
    visibleWidth = visibleHeight = 0;
    startTime = 0;
    screenExists = false;
    desktopExtent = {};
}

}  // namespace moxi
