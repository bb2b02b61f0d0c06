#include "host/bundle.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "desktop/folders.h"
#include "host/home.h"
#include "host/plist.h"
#include "sys/files.h"
#include "vm/diagnostics.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kModuleFile = "MAIN.MX";

bool Exists(const fs::path& path) {
    std::error_code error;
    return fs::exists(path, error);
}

bool IsFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

// Absolute, without "." and ".." and without a trailing "/".
fs::path Clean(const std::string& name) {
    std::error_code error;
    fs::path path = fs::absolute(name, error).lexically_normal();
    if (!path.has_filename() && path.has_relative_path()) path = path.parent_path();
    return path;
}

fs::path ResourcesFolder(const fs::path& game) {
    const fs::path candidates[] = {game / "Contents" / "Resources", game / "Resources", game};
    for (const fs::path& folder : candidates) {
        if (Exists(folder / kModuleFile)) return folder;
    }
    for (const fs::path& folder : candidates) {
        if (IsFolder(folder)) return folder;
    }
    return game;
}

// The game's name from its information file, else the bundle's name without its extension.
std::string GameName(const fs::path& game, const fs::path& resources) {
    for (const fs::path& file :
         {game / "Contents" / "Info.plist", game / "Info.plist", resources / "Info.plist"}) {
        if (!Exists(file)) continue;
        pugi::xml_document document;
        pugi::xml_node dictionary;
        if (!LoadPlist(file, document, dictionary)) {
            SystemLog(file.string() + ": no readable XML property list");
            break;
        }
        std::string name = PlistString(dictionary, "ZULGameName").value_or("");
        if (!name.empty()) return name;
        break;
    }
    return game.stem();
}

// The user's pictures folder as the desktop's user-dirs file names it, else ~/Pictures; "" for a
// user without a home.
std::string PicturesFolder() {
    const std::string home = HomeFolder();
    if (home.empty()) return "";
    std::ifstream file(BaseFolder("XDG_CONFIG_HOME", ".config") + "/user-dirs.dirs");
    const std::string key = "XDG_PICTURES_DIR=\"";
    for (std::string line; std::getline(file, line);) {
        if (line.rfind(key, 0) != 0 || line.size() <= key.size() || line.back() != '"') continue;
        std::string folder = line.substr(key.size(), line.size() - key.size() - 1);
        if (folder.rfind("$HOME", 0) == 0) folder.replace(0, 5, home);
        return folder;
    }
    return home + "/Pictures";
}

fs::path ExecutableFolder() {
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error).parent_path();
}

}  // namespace

std::string FindGame(const std::string& game) {
    fs::path path = Clean(game);
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) return game + ": there is no such game";
    if (!fs::status_known(status)) return game + ": " + error.message();
    if (!IsFolder(path)) {
        if (path.filename() != kModuleFile) return game + ": neither a folder nor a MAIN.MX";
        path = path.parent_path();
    }
    if (access(path.c_str(), R_OK | X_OK) != 0) return game + ": the folder cannot be read";
    const fs::path resources = ResourcesFolder(path);
    folders.bundle = path;
    folders.resources = resources;
    folders.gameName = GameName(path, resources);
    folders.support = BaseFolder("XDG_DATA_HOME", ".local/share");
    folders.pictures = PicturesFolder();
    return "";
}

std::string ModulePath() {
    const fs::path replaced = fs::path(DataFolder()) / kModuleFile;
    return Exists(replaced) ? replaced : fs::path(folders.resources) / kModuleFile;
}

std::string FindOwnGame() {
    const fs::path own = ExecutableFolder();
    if (Exists(own / kModuleFile)) return own;
    // A folder made by --bundle has the program at its top.
    if (Exists(own / "Resources" / kModuleFile)) return own;
    if (Exists(own.parent_path() / "Resources" / kModuleFile)) return own.parent_path();
    return "";
}

std::string OwnResource(const std::string& name) {
    const fs::path own = ExecutableFolder();
    if (fs::path path = own / "share" / "moxi" / name; Exists(path)) return path;
    return own.parent_path() / "share" / "moxi" / name;
}
