// The program: command line, desktop, game, then the desktop's event loop.

#include <cstdio>

#include "app/bundle.h"
#include "app/finish.h"
#include "app/options.h"
#include "app/record.h"
#include "app/signals.h"
#include "app/trace.h"
#include "app/wiring.h"
#include "desktop/audio_out.h"
#include "desktop/events.h"
#include "desktop/folders.h"
#include "desktop/headless/audio.h"
#include "desktop/headless/headless_desktop.h"
#include "desktop/sdl/audio.h"
#include "desktop/sdl/sdl_desktop.h"
#include "host/delegate.h"
#include "host/menu.h"
#include "vm/diagnostics.h"

namespace {

constexpr int kWrongCommandLine = 2;
// How long a headless run may take to answer a termination signal, in seconds.
constexpr unsigned kHeadlessPatience = 5;

int Refuse(const std::string& what) {
    std::fprintf(stderr, "moxi: %s\n", what.c_str());
    return kWrongCommandLine;
}

void LoadInterfaceFile() {
    std::string reason;
    const std::string path = OwnResource("MainMenu.plist");
    if (LoadMenu(path, reason)) return;
    SystemLog(path + ": " + reason);
    ShowFatalMessage("Failed loading MainMenu. Terminating. So sorry!");
    EndProcess(1);
}

bool StartDesktop(const Options& options, std::string& error) {
    const AudioOptions audio = {options.mute, options.soundfont, options.renderAudio};
    if (options.headless) {
        StartHeadlessDesktop(options.headlessOptions);
        StartHeadlessAudio(audio);
        return true;
    }
    if (!StartSdlDesktop({}, &error)) return false;
    StartSdlAudio(audio);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (const std::optional<int> status = ParseCommandLine(argc, argv, options)) return *status;
    if (options.game.empty()) options.game = FindOwnGame();
    if (options.game.empty()) {
        PrintUsage();
        return kWrongCommandLine;
    }
    const std::string missing = FindGame(options.game);
    if (!missing.empty()) return Refuse(missing);
    folders.dataOverride = options.dataFolder;
    if (!options.trace.empty() && !StartTrace(options.trace)) {
        return Refuse(options.trace + ": cannot be written");
    }
    WireRooms();
    PrepareFinish(options);
    if (!options.record.empty() && !StartRecording(options.record)) {
        return Refuse(options.record + ": cannot be written");
    }
    std::string error;
    if (!StartDesktop(options, error)) {
        std::fprintf(stderr, "moxi: %s\n", error.c_str());
        return 1;
    }
    if (options.fullScreen) {
        static void (*const launch)() = desktopEvents.didFinishLaunching;
        // The user's wish, as it were, and not the program's: a recording has it.
        static void (*const toggleFullScreen)() = desktop.toggleFullScreen;
        desktopEvents.didFinishLaunching = [] {
            launch();
            toggleFullScreen();
        };
    }
    HandleSignals(options.headless ? kHeadlessPatience : 0);
    LoadInterfaceFile();
    moxiAppDelegate::init();
    audioOut.prepare();
    desktop.runEventLoop();
    EndProcess(0);
}
