#include "host/bundle.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "base/read_file.h"
#include "desktop/folders.h"
#include "host/home.h"
#include "host/plist.h"
#include "sys/files.h"
#include "vm/diagnostics.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr const char* kModuleFile = "MAIN.MX";
constexpr u64 kLargestUserDirs = 1 << 20;

bool Exists(const fs::path& path) {
    std::error_code error;
    return fs::exists(path, error);
}

bool IsFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

// A folder that somebody may have named as a game. A link of the module's name that leads to one is
// an archive's, and whoever opens the module names the folder that the link lies in.
bool IsGameFolder(const fs::path& path) {
    std::error_code error;
    return IsFolder(path) && !(path.filename() == kModuleFile && fs::is_symlink(path, error));
}

// Absolute, without "." and ".." and without a trailing "/".
fs::path Clean(const std::string& name) {
    std::error_code error;
    fs::path path = fs::absolute(name, error).lexically_normal();
    if (!path.has_filename() && path.has_relative_path()) {
        path = path.parent_path();
    }
    return path;
}

fs::path ResourcesFolder(const fs::path& game) {
    const fs::path candidates[] = {game / "Contents" / "Resources", game / "Resources", game};
    for (const fs::path& folder : candidates) {
        if (Exists(folder / kModuleFile)) {
            return folder;
        }
    }
    for (const fs::path& folder : candidates) {
        if (IsFolder(folder)) {
            return folder;
        }
    }
    return game;
}

// The information file, "" when there is none.
fs::path InformationFile(const fs::path& game, const fs::path& resources) {
    for (const fs::path& file :
         {game / "Contents" / "Info.plist", game / "Info.plist", resources / "Info.plist"}) {
        if (Exists(file)) {
            return file;
        }
    }
    return {};
}

// A name becomes a folder beside other games' folders.
bool IsGameName(const std::string& name) {
    return !name.empty() && name[0] != '.' && name.find('/') == std::string::npos;
}

// The folder's own name without its extension, in a form that can be a game's.
std::string NameOfFolder(const fs::path& game) {
    std::string name = game.stem();
    name.erase(0, name.find_first_not_of('.'));
    return name.empty() ? "Game" : name;
}

// The game's name from its information file, else the bundle's name without its extension.
std::string GameName(const fs::path& game, const fs::path& information) {
    std::string own = NameOfFolder(game);
    if (information.empty()) {
        return own;
    }
    pugi::xml_document document;
    pugi::xml_node dictionary;
    if (!LoadPlist(information, document, dictionary)) {
        SystemLog(information.string() + ": no readable XML property list");
        return own;
    }
    const std::optional<std::string> name = PlistString(dictionary, "ZULGameName");
    if (!name) {
        return own;
    }
    if (IsGameName(*name)) {
        return *name;
    }
    SystemLog(information.string() + ": \"" + *name + "\" can be no game's name, it is \"" + own +
              "\"");
    return own;
}

// --- Links

// Without links; "" for what is not there.
fs::path RealPath(const fs::path& path) {
    std::error_code error;
    return fs::canonical(path, error);
}

bool LiesIn(const fs::path& path, const fs::path& folder) {
    return !path.empty() &&
           std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first ==
               folder.end();
}

// The first of the files and folders that a link takes out of the game's own folder, "" for none.
fs::path FirstThatLeadsOut(const fs::path& game, std::initializer_list<fs::path> parts) {
    const fs::path own = RealPath(game);
    for (const fs::path& part : parts) {
        const fs::path real = RealPath(part);
        if (!part.empty() && !real.empty() && !LiesIn(real, own)) {
            return part;
        }
    }
    return {};
}

// Whether a game may delete what came with it: only where everything in the folder did.
bool IsGamesOwn(const fs::path& game, const fs::path& resources) {
    const fs::path own = RealPath(game);
    if (own.empty() || !LiesIn(RealPath(resources), own)) {
        return false;
    }
    return !LiesIn(RealPath(HomeFolder()), own);
}

// Where the host keeps what it knows of games, which no game reaches.
std::string StateFolder() {
    const std::string state = BaseFolder("XDG_STATE_HOME", ".local/state");
    return state.empty() ? "" : state + "/moxi";
}

// The user's pictures folder as the desktop's user-dirs file names it, else ~/Pictures; "" for a
// user without a home.
std::string PicturesFolder() {
    const std::string home = HomeFolder();
    if (home.empty()) {
        return "";
    }
    std::string text;
    ReadWholeFile(BaseFolder("XDG_CONFIG_HOME", ".config") + "/user-dirs.dirs", kLargestUserDirs,
                  text);
    std::istringstream file(text);
    const std::string key = "XDG_PICTURES_DIR=\"";
    for (std::string line; std::getline(file, line);) {
        if (line.rfind(key, 0) != 0 || line.size() <= key.size() || line.back() != '"') {
            continue;
        }
        std::string folder = line.substr(key.size(), line.size() - key.size() - 1);
        if (folder.rfind("$HOME", 0) == 0) {
            folder.replace(0, 5, home);
        }
        return folder;
    }
    return home + "/Pictures";
}

fs::path ExecutableFolder() {
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error).parent_path();
}

}  // namespace

void FindUserFolders() {
    folders.support = BaseFolder("XDG_DATA_HOME", ".local/share");
    folders.state = StateFolder();
    folders.pictures = PicturesFolder();
}

std::string GameFolder(const std::string& game) {
    const fs::path path = Clean(game);
    return IsGameFolder(path) ? path : path.parent_path();
}

bool HoldsModule(const std::string& folder) {
    return Exists(ResourcesFolder(folder) / kModuleFile);
}

std::string WhyNoGame(const std::string& game) {
    const fs::path path = Clean(game);
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) {
        return game + ": there is no such game";
    }
    if (!fs::status_known(status)) {
        return game + ": " + error.message();
    }
    if (!IsGameFolder(path) && path.filename() != kModuleFile) {
        return game + ": neither a folder nor a MAIN.MX";
    }
    const bool canBeRead = access(GameFolder(game).c_str(), R_OK | X_OK) == 0;
    return canBeRead ? "" : game + ": the folder cannot be read";
}

std::string FindGame(const std::string& game) {
    std::string missing = WhyNoGame(game);
    if (!missing.empty()) {
        return missing;
    }
    const fs::path path = GameFolder(game);
    const fs::path resources = ResourcesFolder(path);
    const fs::path information = InformationFile(path, resources);
    const fs::path link =
        FirstThatLeadsOut(path, {resources, resources / kModuleFile, information});
    if (!link.empty()) {
        return game + ": " + link.lexically_relative(path).string() +
               " is a link that leads out of the game's folder";
    }
    folders.bundle = path;
    folders.resources = resources;
    const bool isModule = !IsGameFolder(Clean(game));
    // What was unpacked stays as it is in the archive.
    folders.deletableResources =
        !isModule && folders.archive.empty() && IsGamesOwn(path, resources);
    folders.gameName = GameName(path, information);
    return "";
}

std::string ModulePath() {
    const fs::path replaced = fs::path(DataFolder()) / kModuleFile;
    return folders.moduleInData && Exists(replaced) ? replaced
                                                    : fs::path(folders.resources) / kModuleFile;
}

std::string FindOwnGame() {
    const fs::path own = ExecutableFolder();
    if (Exists(own / kModuleFile)) {
        return own;
    }
    // A folder made by --bundle has the program at its top.
    if (Exists(own / "Resources" / kModuleFile)) {
        return own;
    }
    if (Exists(own.parent_path() / "Resources" / kModuleFile)) {
        return own.parent_path();
    }
    return "";
}

std::string OwnResource(const std::string& name) {
    const fs::path own = ExecutableFolder();
    if (fs::path path = own / "share" / "moxi" / name; Exists(path)) {
        return path;
    }
    return own.parent_path() / "share" / "moxi" / name;
}

std::string OwnLibrary(const std::string& name) {
    return ExecutableFolder().parent_path() / "lib" / "moxi" / "bundle" / name;
}

}  // namespace moxi
