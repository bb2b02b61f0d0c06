// The program: command line, desktop, game, then the desktop's event loop.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "app/archive.h"
#include "app/call_filter.h"
#include "app/cartridge.h"
#include "app/complaint.h"
#include "app/finish.h"
#include "app/library_lines.h"
#include "app/options.h"
#include "app/out_of_memory.h"
#include "app/output_helper.h"
#include "app/play_record.h"
#include "app/record.h"
#include "app/sandbox.h"
#include "app/shelf.h"
#include "app/signals.h"
#include "app/temporary_folder.h"
#include "app/trace.h"
#include "app/wiring.h"
#include "base/log.h"
#include "desktop/audio_out.h"
#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "desktop/headless/audio.h"
#include "desktop/headless/headless_desktop.h"
#include "desktop/sdl/audio/audio.h"
#include "desktop/sdl/input/pad_helper.h"
#include "desktop/sdl/sdl_desktop.h"
#include "desktop/sdl/url_opener.h"
#include "desktop/synth/synth.h"
#include "host/bundle.h"
#include "host/data_owner.h"
#include "host/delegate.h"
#include "host/gamepad.h"
#include "host/key_map.h"
#include "host/menu.h"
#include "host/preferences.h"
#include "host/view_scale.h"
#include "host/window_place.h"
#include "kit/debugger/debugger.h"
#include "kit/new_game.h"
#include "kit/pack.h"
#include "kit/profile.h"
#include "kit/ship.h"
#include "kit/watch.h"
#include "surface/words.h"
#include "sys/beneath.h"
#include "sys/files.h"
#include "vm/diagnostics.h"

namespace moxi {

namespace {

constexpr int kWrongCommandLine = 2;
// How long a headless run may take to answer a termination signal, in seconds.
constexpr unsigned kHeadlessPatience = 5;

void LoadInterfaceFile() {
    std::string reason;
    const std::string path = OwnResource("MainMenu.plist");
    if (LoadMenu(path, reason)) {
        return;
    }
    SystemLog(path + ": " + reason);
    ShowFatalMessage("Failed loading MainMenu. Terminating. So sorry!");
    EndProcess(1);
}

// A user without a home plays too, and what is saved lasts as long as the game.
bool FindPlaceForData() {
    if (!folders.dataOverride.empty() || !folders.support.empty()) {
        return true;
    }
    folders.support = MakeTemporaryFolder();
    // A folder of this run alone needs no stamp.
    folders.state.clear();
    if (folders.support.empty()) {
        return false;
    }
    SystemLog("no home folder: saved data goes to " + folders.support +
              " and is removed at the end");
    return true;
}

// A folder made by --bundle brings fonts and a SoundFont with it.
void UseOwnFonts() {
    for (const auto& [variable, name] : {std::pair{"FONTCONFIG_FILE", "fonts/fonts.conf"},
                                         std::pair{"SDL_SOUNDFONTS", "soundfont.sf2"}}) {
        const std::string path = OwnResource(name);
        if (access(path.c_str(), R_OK) == 0) {
            setenv(variable, path.c_str(), 0);
        }
    }
}

bool StartDesktop(const Options& options, std::string& error) {
    const AudioOptions audio = {.mute = options.mute,
                                .muted = preferences.mute,
                                .musicVolume = preferences.musicVolume,
                                .soundVolume = preferences.soundVolume,
                                .soundFont = options.soundfont,
                                .renderFile = options.renderAudio};
    if (options.headless) {
        StartHeadlessDesktop(options.headlessOptions);
        StartHeadlessAudio(audio);
        return true;
    }
    if (!StartSdlDesktop(&error)) {
        return false;
    }
    AskBeforeUrls(preferences.askBeforeOpening);
    AskForUrlsWith({Words("Open %1 ?"), Words("Open"), Words("Cancel")});
    desktop.setViewScale(ViewScaleOf(preferences));
    StartSdlAudio(audio);
    return true;
}

// Every file that an option or the script names.
std::vector<std::string> OutputFilesOf(const Options& options) {
    std::vector<std::string> files;
    for (const std::string& path :
         {options.dumpImage, options.dumpScreen, options.dumpView, options.dumpUi, options.trace,
          options.record, options.renderAudio}) {
        if (!path.empty()) {
            files.push_back(path);
        }
    }
    if (!options.profile.empty()) {
        files.push_back(options.profile);
        files.push_back(FoldedProfile(options.profile));
    }
    for (const ScriptEvent& event : options.headlessOptions.script) {
        if (event.kind == ScriptEventKind::Screenshot) {
            files.push_back(event.text);
        }
    }
    return files;
}

// Where the places of windows are kept. Runs that are the same for everybody have none, and so have
// those whose data somebody keeps elsewhere, and views that fill the screen.
std::string WindowPlaceFile(const Options& options) {
    if (options.headless || !options.dataFolder.empty() || folders.state.empty()) {
        return "";
    }
    return folders.state + "/windows";
}

// Before there are threads and before anything is restricted: the processes that do what this one
// may not do later.
void StartHelpers(const Options& options, const std::vector<std::string>& recordFiles) {
    OutputPlaces outputs = {.files = OutputFilesOf(options), .picturesFolder = ""};
    outputs.ownFiles = recordFiles;
    if (!PreferenceFile().empty()) {
        outputs.ownFiles.push_back(PreferenceFile());
        outputs.guardedFile = PreferenceFile();
        outputs.mayChange = [](const std::string& before, const std::string& after) {
            return !AsksLess(before, after);
        };
    }
    const std::string places = WindowPlaceFile(options);
    if (!places.empty()) {
        outputs.ownFiles.push_back(places);
    }
    // The menu's screenshots, which a script of keys can ask for too.
    if (!options.headless || !options.headlessOptions.script.empty()) {
        outputs.picturesFolder = ScreenshotFolder();
    }
    if (!StartOutputHelper(outputs)) {
        SystemLog("no helper process: files cannot be dumped");
    }
    if (!options.headless) {
        StartPadHelper(ConfinePadHelper);
        StartUrlOpener(FilterUrlHelperCalls);
    }
}

// SDL can be told to write the sound to a file in place of a device.
std::vector<std::string> SoundFiles(const Options& options) {
    const char* const driver = std::getenv("SDL_AUDIODRIVER");
    if (options.headless || options.mute || driver == nullptr ||
        std::string_view(driver) != "disk") {
        return {};
    }
    const char* const file = std::getenv("SDL_DISKAUDIOFILE");
    return {file != nullptr ? file : "sdlaudio.raw"};
}

std::string FindGameAndData(const std::string& game) {
    std::string problem = FindGame(game);
    if (problem.empty()) {
        problem = ChooseDataFolder();
    }
    return problem;
}

// --- The stages of a run. A status ends the program with it; what is wrong has been said.

using Status = std::optional<int>;

// What needs no game to run, or makes one: a new game, an archive or a folder to ship, the game of
// an archive or of a cartridge.
Status ServeTheKit(Options& options) {
    if (!options.newGame.empty()) {
        const char* const language = options.newInC ? "c" : options.newInLua ? "lua" : "assembly";
        const NewGameResult made = MakeNewGame(options.newGame, language);
        if (made.status != 0) {
            RefuseCommandLine(made.problem);
        }
        return made.status;
    }
    if (!options.pack.empty()) {
        const PackResult packed = PackGame(options.pack[0], options.pack[1], options.withSymbols);
        if (packed.status != 0) {
            RefuseCommandLine(packed.problem);
        }
        return packed.status;
    }
    if (options.game.empty()) {
        options.game = FindOwnGame();
    }
    if (options.game.empty() && (options.watch || !options.bundle.empty())) {
        return RefuseCommandLine(options.watch ? "--watch needs GAME" : "--bundle needs GAME");
    }
    if (options.game.empty()) {
        if (CanOpenShelf(options)) {
            RunShelf(options);
        }
        PrintUsage();
        // A headless run is the same for everybody: it knows of no player's games.
        if (!options.headless) {
            ListShelf(options);
        }
        return kWrongCommandLine;
    }
    options.named = options.game;
    const std::string unusable = PrepareArchive(options);
    if (!unusable.empty()) {
        return RefuseGame(options, unusable);
    }
    if (const Status status = PrepareCartridge(options)) {
        return status;
    }
    UseOwnFonts();
    if (options.bundle.empty()) {
        return {};
    }
    const ShipResult shipped = ShipGame(options.bundle, options.game,
                                        {.soundFonts = SoundFontCandidates(options.soundfont),
                                         .wholeSoundFont = !options.soundfont.empty(),
                                         .symbols = options.withSymbols});
    if (shipped.status != 0) {
        RefuseCommandLine(shipped.problem);
    }
    return shipped.status;
}

// Where the user's folders lie, and with --watch the process that watches the game. Nothing else
// has read anything of the game yet.
Status ChooseFolders(Options& options) {
    const std::string missing = WhyNoGame(options.game);
    if (!missing.empty()) {
        return RefuseGame(options, missing);
    }
    FindUserFolders();
    folders.dataOverride = options.dataFolder;
    folders.dataLimit = options.dataLimit;
    if (!FindPlaceForData()) {
        return RefuseCommandLine("there is no folder for the game's data");
    }
    if (folders.dataOverride.empty()) {
        MakeStateFolder();
    }
    if (!options.watch) {
        return {};
    }
    const std::string unwatchable = FindGameAndData(options.game);
    if (!unwatchable.empty()) {
        return RefuseCommandLine(unwatchable);
    }
    return WatchGame();
}

// A headless run is the same for everybody, so it knows of no preferences but those it is given.
std::string ChosenPreferenceFile(const Options& options) {
    if (options.headless || !options.preferences.empty()) {
        return options.preferences;
    }
    return UsersPreferenceFile();
}

// What the command line says wins for this run.
void ChoosePreferences(const Options& options) {
    ChoosePreferencesOf(folders.gameName);
    if (options.musicVolume) {
        SetPreferenceForRun("music-volume", std::to_string(*options.musicVolume));
    }
    if (options.soundVolume) {
        SetPreferenceForRun("sound-volume", std::to_string(*options.soundVolume));
    }
    if (options.fullScreen) {
        SetPreferenceForRun("full-screen", "yes");
    }
    if (!options.scale.empty()) {
        SetPreferenceForRun("scale", options.scale);
    }
    if (options.openUrls) {
        SetPreferenceForRun("ask-before-opening", "no");
    }
    UseKeyMap(preferences.keyMap);
    UsePadMap(preferences.padMap);
}

// Restricts the process, before the first byte of the game is read. The helper processes, which
// may reach more, are made before that; a process can be copied only while it has one thread.
Status EnterSandbox(Options& options) {
    if (options.unlocked) {
        SystemLog("no sandbox: the game may do what you may do");
        ResolveNames(Resolution::Freely);
    }
    const std::vector<std::string> recordFiles = PreparePlayRecord(options);
    ReadPreferences(ChosenPreferenceFile(options), !options.preferences.empty());
    if (options.sandbox) {
        StartHelpers(options, recordFiles);
        StartSandbox({.game = GameFolder(options.game),
                      .dataFolder = DataFolderOfAll(),
                      .devices = !options.headless,
                      .readable = {options.soundfont},
                      .stampFolder = options.dataFolder.empty() ? folders.state : "",
                      .files = SoundFiles(options)});
    }
    const std::string unusable = FindGameAndData(options.game);
    if (!unusable.empty()) {
        return RefuseGame(options, unusable);
    }
    ChoosePreferences(options);
    const bool isFitted = preferences.scale >= kScaleFit;
    ReadWindowPlace(isFitted ? "" : WindowPlaceFile(options),
                    folders.dataName.empty() ? folders.gameName : folders.dataName);
    return {};
}

// What follows the module while it runs: trace, profile, recording, debugger. Then the slots, some
// of which lead to these.
Status WireProgram(Options& options) {
    if (!options.trace.empty() && !StartTrace(options.trace)) {
        return RefuseCommandLine(options.trace + ": cannot be written");
    }
    if (!options.profile.empty()) {
        // It takes the trace's place before each instruction, and calls it.
        const std::string unwritable = StartProfile(options.profile);
        if (!unwritable.empty()) {
            return RefuseCommandLine(unwritable + ": cannot be written");
        }
        NameProfile();
    }
    if (!options.record.empty() && !StartRecording(options.record)) {
        return RefuseCommandLine(options.record + ": cannot be written");
    }
    if (options.debug) {
        StartDebugger();
    }
    PrepareFinish(options);
    WireRooms(options);
    return {};
}

// The window or the script, sound, signals, the menu. The libraries of the desktop have started
// their threads by the end of it, so the sandbox can tighten; the module has not been read.
Status OpenDesktop(Options& options) {
    TakeLibraryLines();
    std::string error;
    if (!StartDesktop(options, error)) {
        GiveBackStandardError();
        std::fprintf(stderr, "moxi: %s\n", WithoutControls(error).c_str());
        return 1;
    }
    if (options.debug) {
        LetInterruptsStop();
    }
    HandleSignals(options.headless ? kHeadlessPatience : 0);
    // Whoever reads a headless run's log wants every line.
    if (!options.headless) {
        LimitLog();
    }
    LoadInterfaceFile();
    moxiAppDelegate::init();
    RecordPlayBegin();
    if (options.sandbox) {
        TightenSandbox(DataFolder(), folders.deletableResources ? folders.resources : "");
    }
    TellLibraryLines();
    StartPatience();
    audioOut.prepare();
    return {};
}

// Each stage needs what those above it have done.
constexpr Status (*kStages[])(Options&) = {
    ServeTheKit,    // the command line may ask for something else than a run
    ChooseFolders,  // places, as far as they are known without a look at the game
    EnterSandbox,   // then the game may be looked at
    WireProgram,    // then the rooms can call one another
    OpenDesktop,    // then something can happen
};

int Main(int argc, char** argv) {
    PrepareForOutOfMemory();
    NoteTerminal();
    ChooseLanguage();
    Options options;
    options.arguments.assign(argv, argv + argc);
    if (const Status status = ParseCommandLine(argc, argv, options)) {
        return *status;
    }
    for (const auto stage : kStages) {
        if (const Status status = stage(options)) {
            return *status;
        }
    }
    desktop.runEventLoop();
    EndProcess(0);
}

}  // namespace

}  // namespace moxi

int main(int argc, char** argv) {
    return moxi::Main(argc, argv);
}
