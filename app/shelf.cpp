#include "app/shelf.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <sstream>

#include "app/archive.h"
#include "app/complaint.h"
#include "app/game_reader.h"
#include "app/library_lines.h"
#include "app/signals.h"
#include "app/temporary_folder.h"
#include "app/wiring.h"
#include "base/log.h"
#include "base/output_files.h"
#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "desktop/headless/headless_desktop.h"
#include "desktop/pango/pango_engine.h"
#include "desktop/sdl/sdl_desktop.h"
#include "host/archive.h"
#include "host/bundle.h"
#include "host/data_owner.h"
#include "host/home.h"
#include "host/played.h"
#include "host/preferences.h"
#include "host/view.h"
#include "host/window_place.h"
#include "surface/apply.h"
#include "surface/shelf.h"
#include "surface/shown.h"
#include "vm/diagnostics.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

// How long a headless run may take to answer a termination signal, in seconds.
constexpr unsigned kHeadlessPatience = 5;

Options options;
std::vector<std::string> command;  // a game's, without its path
pid_t player = -1;                 // the process that plays

bool IsSet(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr && value[0] != '\0';
}

// --- Where it keeps what it knows

// The player's own records are for the player's own shelf: one that is given a folder keeps them
// there, and a headless one without a folder, which is the same for everybody, begins with none and
// leaves none. False when there is no place for that.
bool ChooseRecords() {
    FindUserFolders();
    if (!options.dataFolder.empty()) {
        folders.state = options.dataFolder + "/shelf";
    } else if (options.headless) {
        folders.state = MakeTemporaryFolder();
        return !folders.state.empty();
    }
    return true;
}

// A name that no game has: it holds a "/".
constexpr const char* kNameOfPlace = "/shelf";

// The shelf of a player, who comes back to it.
void PrepareRecords() {
    if (options.headless || folders.state.empty()) {
        return;
    }
    MakeStateFolder();
    RemoveUnfinishedFiles(folders.state);
    RemoveUnfinishedFiles(folders.state + "/games");
    ReadWindowPlace(folders.state + "/windows", kNameOfPlace);
}

// --- Which games there are

// Folders and archives that lie where games are installed.
void AddInstalled(const fs::path& folder, std::map<std::string, PlayedGame>& games) {
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        std::error_code missing;
        const std::string path = fs::canonical(entry->path(), missing);
        if (missing || games.count(path) > 0) {
            continue;
        }
        if (!HoldsModule(path) && !IsArchive(path)) {
            continue;
        }
        games[path].path = path;
    }
}

std::vector<std::string> DataFolders() {
    std::vector<std::string> all = {BaseFolder("XDG_DATA_HOME", ".local/share")};
    const char* const listed = std::getenv("XDG_DATA_DIRS");
    std::istringstream list(listed != nullptr && *listed != '\0' ? listed
                                                                 : "/usr/local/share:/usr/share");
    for (std::string folder; std::getline(list, folder, ':');) {
        all.push_back(folder);
    }
    std::erase_if(all,
                  [](const std::string& folder) { return folder.empty() || folder[0] != '/'; });
    return all;
}

// By their paths: those on record, and those that are installed.
std::map<std::string, PlayedGame> AllGames() {
    std::map<std::string, PlayedGame> games;
    for (const PlayedGame& game : ReadAllPlayed()) {
        games[game.path] = game;
    }
    for (const std::string& folder : DataFolders()) {
        AddInstalled(folder + "/moxi/games", games);
    }
    AddInstalled(OwnResource("games"), games);
    std::error_code error;
    const std::string demo = fs::canonical(OwnResource("demo"), error);
    if (!error && HoldsModule(demo)) {
        games[demo].path = demo;
    }
    std::erase_if(games, [](const auto& entry) { return entry.second.removed; });
    return games;
}

ShelfGame OnShelf(PlayedGame record, const GameRead& read) {
    if (!read.name.empty()) {
        record.name = read.name;
        record.author = read.author;
        record.licence = read.licence;
        record.source = read.source;
    }
    if (record.name.empty()) {
        record.name = fs::path(record.path).stem();
    }
    return {record, read.picture};
}

// Those that were played last come first, then by name.
std::vector<ShelfGame> Games() {
    std::vector<PlayedGame> records;
    std::vector<GameToRead> toRead;
    for (const auto& [path, record] : AllGames()) {
        records.push_back(record);
        toRead.push_back({path, record.files, PlayedPicture(path)});
    }
    const std::vector<GameRead> read = ReadGames(toRead, options.sandbox);
    std::vector<ShelfGame> games;
    for (size_t i = 0; i < records.size(); ++i) {
        if (!read[i].isMissing) {
            games.push_back(OnShelf(records[i], read[i]));
        }
    }
    std::stable_sort(games.begin(), games.end(), [](const ShelfGame& a, const ShelfGame& b) {
        if (a.record.lastPlayed != b.record.lastPlayed) {
            return a.record.lastPlayed > b.record.lastPlayed;
        }
        return Comparable(a.record.name) < Comparable(b.record.name);
    });
    return games;
}

// --- What is done with one

bool IsCartridgeName(const fs::path& path) {
    return path.extension() == ".wasm";
}

bool Keep(const PlayedGame& game) {
    MakeStateFolder();
    MakePlayedFolder();
    return WritePlayedGame(game);
}

std::string Add(const std::string& path) {
    Options named = options;
    named.game = path;
    folders.archive.clear();
    std::string problem;
    if (IsArchive(path)) {
        problem = PrepareArchive(named);
    } else if (!IsCartridgeName(path)) {
        problem = WhyNoGame(path);
        if (problem.empty() && !HoldsModule(GameFolder(path))) {
            problem = path + ": there is no game in it";
        }
    }
    std::error_code error;
    const std::string real = fs::canonical(path, error);
    if (problem.empty() && error) {
        problem = path + ": " + error.message();
    }
    if (!problem.empty()) {
        return WithoutControls(problem);
    }
    PlayedGame game = ReadPlayedGame(real);
    game.files = fs::canonical(named.game, error);
    game.removed = false;
    return Keep(game) ? "" : folders.state + ": cannot be written";
}

void Remove(const std::string& path) {
    PlayedGame game = ReadPlayedGame(path);
    game.removed = true;
    if (!Keep(game)) {
        SystemLog(folders.state + ": cannot be written");
    }
}

std::string Play(const std::string& path) {
    if (options.headless) {
        SystemLog("play " + path);
        return "";
    }
    std::error_code missing;
    if (!fs::exists(path, missing)) {
        return WithoutControls(path) + ": there is no such game";
    }
    // Whoever looks at the shelf sees no terminal, though there may be one.
    setenv(kFromShelf, "1", 1);
    std::vector<std::string> words = command;
    words.push_back(path);
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    // Its lines go where this one's go, and not through those of the libraries.
    posix_spawn_file_actions_t streams;
    posix_spawn_file_actions_init(&streams);
    posix_spawn_file_actions_adddup2(&streams, errorDescriptor, STDERR_FILENO);
    const int error =
        posix_spawn(&player, "/proc/self/exe", &streams, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&streams);
    if (error == 0) {
        return "";
    }
    player = -1;
    return path + ": " + std::strerror(error);
}

bool IsPlaying() {
    if (player > 0 && waitpid(player, nullptr, WNOHANG) != 0) {
        player = -1;
    }
    return player > 0;
}

// --- The run

void WriteText(const std::string& path, const std::string& text) {
    std::FILE* const file = outputFiles.open(path);
    const bool written =
        file != nullptr && std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if (file == nullptr || std::fclose(file) != 0 || !written) {
        SystemLog(path + ": cannot be written");
    }
}

void WriteShelfDumps() {
    if (!options.dumpUi.empty()) {
        WriteText(options.dumpUi, DumpShownControls());
    }
    if (!options.dumpView.empty() && !WriteScreenshot(options.dumpView)) {
        SystemLog(options.dumpView + ": cannot be written");
    }
}

bool OpenDesktopOfShelf() {
    if (options.headless) {
        StartHeadlessDesktop(options.headlessOptions);
        return true;
    }
    std::string error;
    if (!StartSdlDesktop(&error)) {
        return false;
    }
    ApplyPreferencesToShelf();
    return true;
}

[[noreturn]] void End(int status) {
    WriteShelfDumps();
    SavePreferences();
    SaveWindowPlace();
    desktop.shutDown();
    RemoveTemporaryFolder();
    EndLog();
    GiveBackStandardError();
    std::exit(status);
}

}  // namespace

bool CanOpenShelf(const Options& chosen) {
    if (chosen.headless) {
        return !chosen.dumpUi.empty();
    }
    return IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY");
}

void ListShelf(const Options& chosen) {
    options = chosen;
    ChooseRecords();
    for (const ShelfGame& game : Games()) {
        std::printf("%s\t%s\n", WithoutControls(game.record.name).c_str(),
                    WithoutControls(game.record.path).c_str());
    }
}

void RunShelf(const Options& chosen) {
    options = chosen;
    command = chosen.arguments;
    if (!ChooseRecords()) {
        SystemLog("there is no folder for what the shelf keeps");
    }
    PrepareRecords();
    const std::string usersFile = options.headless ? "" : UsersPreferenceFile();
    const bool isNamed = !options.preferences.empty();
    ReadPreferences(isNamed ? options.preferences : usersFile, isNamed);
    SaveWhatAsksLess();
    if (!options.scale.empty()) {
        SetPreferenceForRun("scale", options.scale);
    }
    StartPangoText();
    WireShelf({.games = Games, .add = Add, .remove = Remove, .play = Play, .isPlaying = IsPlaying},
              End);
    TakeLibraryLines();
    if (!OpenDesktopOfShelf()) {
        return GiveBackStandardError();
    }
    HandleSignals(options.headless ? kHeadlessPatience : 0);
    StartShelf();
    TellLibraryLines();
    desktop.runEventLoop();
    EndProcess(0);
}

}  // namespace moxi
