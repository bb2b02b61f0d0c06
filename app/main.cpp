// The program: command line, desktop, game, then the desktop's event loop.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "app/cartridge.h"
#include "app/finish.h"
#include "app/library_lines.h"
#include "app/options.h"
#include "app/out_of_memory.h"
#include "app/output_helper.h"
#include "app/record.h"
#include "app/sandbox.h"
#include "app/signals.h"
#include "app/temporary_folder.h"
#include "app/trace.h"
#include "app/wiring.h"
#include "desktop/audio_out.h"
#include "desktop/events.h"
#include "desktop/folders.h"
#include "desktop/headless/audio.h"
#include "desktop/headless/headless_desktop.h"
#include "desktop/sdl/audio.h"
#include "desktop/sdl/sdl_desktop.h"
#include "desktop/synth/synth.h"
#include "host/bundle.h"
#include "host/delegate.h"
#include "host/menu.h"
#include "kit/debugger.h"
#include "kit/new_game.h"
#include "kit/profile.h"
#include "kit/ship.h"
#include "kit/watch.h"
#include "sys/dispatch.h"
#include "sys/files.h"
#include "vm/diagnostics.h"

namespace {

constexpr int kWrongCommandLine = 2;
// How long a headless run may take to answer a termination signal, in seconds.
constexpr unsigned kHeadlessPatience = 5;

void LoadInterfaceFile() {
    std::string reason;
    const std::string path = OwnResource("MainMenu.plist");
    if (LoadMenu(path, reason)) return;
    SystemLog(path + ": " + reason);
    ShowFatalMessage("Failed loading MainMenu. Terminating. So sorry!");
    EndProcess(1);
}

// A user without a home plays too, and what is saved lasts as long as the game.
bool FindPlaceForData() {
    if (!folders.dataOverride.empty() || !folders.support.empty()) return true;
    folders.support = MakeTemporaryFolder();
    if (folders.support.empty()) return false;
    SystemLog("no home folder: saved data goes to " + folders.support +
              " and is removed at the end");
    return true;
}

// A folder made by --bundle brings fonts and a SoundFont with it.
void UseOwnFonts() {
    for (const auto& [variable, name] : {std::pair{"FONTCONFIG_FILE", "fonts/fonts.conf"},
                                         std::pair{"SDL_SOUNDFONTS", "soundfont.sf2"}}) {
        const std::string path = OwnResource(name);
        if (access(path.c_str(), R_OK) == 0) setenv(variable, path.c_str(), 0);
    }
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

// Before there are threads: what the restricted process will open through the helper.
void PrepareSandbox(Options& options) {
    if (!options.sandbox) return;
    const std::string obstacle = SandboxObstacle();
    if (!obstacle.empty()) {
        SystemLog("no sandbox: " + obstacle);
        options.sandbox = false;
        return;
    }
    OutputPlaces outputs;
    for (const std::string& path : {options.dumpImage, options.dumpScreen, options.dumpView}) {
        if (!path.empty()) outputs.files.push_back(path);
    }
    for (const ScriptEvent& event : options.headlessOptions.script) {
        if (event.kind == ScriptEventKind::Screenshot) outputs.files.push_back(event.text);
    }
    // The menu's screenshots, which a script of keys can ask for too.
    if (!options.headless || !options.headlessOptions.script.empty()) {
        outputs.picturesFolder = folders.pictures;
    }
    if (!StartOutputHelper(outputs)) SystemLog("no helper process: files cannot be dumped");
}

// A game that names itself with ".." gets no more than the folder of all games.
std::string WritableFolder() {
    std::string folder = DataFolder();
    if (!folders.dataOverride.empty()) return folder;
    const size_t name = folder.size() - std::min(folder.size(), folders.gameName.size());
    if (("/" + folders.gameName + "/").find("/../") == std::string::npos) return folder;
    return folder.substr(0, name > 0 ? name - 1 : 0);
}

// SDL can be told to write the sound to a file in place of a device.
std::vector<std::string> SoundFiles() {
    const char* const driver = std::getenv("SDL_AUDIODRIVER");
    if (driver == nullptr || std::string_view(driver) != "disk") return {};
    const char* const file = std::getenv("SDL_DISKAUDIOFILE");
    return {file != nullptr ? file : "sdlaudio.raw"};
}

void EnterSandbox(const Options& options) {
    if (!options.sandbox) return;
    const std::string error = StartSandbox(
        {.dataFolder = WritableFolder(),
         .resourcesFolder = folders.resources,
         .devices = !options.headless,
         .files = options.headless || options.mute ? std::vector<std::string>{} : SoundFiles()});
    if (!error.empty()) {
        SystemLog("no sandbox: " + error);
        return;
    }
    sysSlots.beforeFileChange = NarrowSandbox;
    sysSlots.deleteResource = DeleteInSandbox;
}

}  // namespace

int main(int argc, char** argv) {
    PrepareForOutOfMemory();
    Options options;
    if (const std::optional<int> status = ParseCommandLine(argc, argv, options)) return *status;
    if (!options.newGame.empty()) {
        const NewGameResult made = MakeNewGame(options.newGame, options.newInC ? "c" : "assembly");
        if (made.status != 0) RefuseCommandLine(made.problem);
        return made.status;
    }
    if (options.game.empty()) options.game = FindOwnGame();
    if (options.game.empty()) {
        PrintUsage();
        return kWrongCommandLine;
    }
    if (const std::optional<int> status = PrepareCartridge(options)) return *status;
    UseOwnFonts();
    if (!options.bundle.empty()) {
        const ShipResult shipped = ShipGame(options.bundle, options.game, SoundFontCandidates(""));
        if (shipped.status != 0) RefuseCommandLine(shipped.problem);
        return shipped.status;
    }
    const std::string missing = FindGame(options.game);
    if (!missing.empty()) return RefuseCommandLine(missing);
    folders.dataOverride = options.dataFolder;
    if (options.watch) {
        if (const std::optional<int> status = WatchGame()) return *status;
    }
    if (!FindPlaceForData()) return RefuseCommandLine("there is no folder for the game's data");
    if (!options.trace.empty() && !StartTrace(options.trace)) {
        return RefuseCommandLine(options.trace + ": cannot be written");
    }
    if (!options.profile.empty()) {
        const std::string unwritable = StartProfile(options.profile);
        if (!unwritable.empty()) return RefuseCommandLine(unwritable + ": cannot be written");
        NameProfile();
    }
    WireRooms();
    PrepareFinish(options);
    if (!options.record.empty() && !StartRecording(options.record)) {
        return RefuseCommandLine(options.record + ": cannot be written");
    }
    if (options.debug) StartDebugger();
    PrepareSandbox(options);
    TakeLibraryLines();
    std::string error;
    if (!StartDesktop(options, error)) {
        GiveBackStandardError();
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
    if (options.debug) LetInterruptsStop();
    HandleSignals(options.headless ? kHeadlessPatience : 0);
    LoadInterfaceFile();
    moxiAppDelegate::init();
    EnterSandbox(options);
    TellLibraryLines();
    StartPatience();
    audioOut.prepare();
    desktop.runEventLoop();
    EndProcess(0);
}
