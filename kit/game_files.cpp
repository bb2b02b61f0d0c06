#include "kit/game_files.h"

#include <algorithm>
#include <csignal>
#include <pugixml.hpp>
#include <string_view>
#include <utility>
#include <vector>

#include "desktop/folders.h"
#include "host/bundle.h"
#include "host/plist.h"
#include "kit/ship_runtime.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr int kEndSignals[] = {SIGINT, SIGTERM, SIGHUP};
constexpr const char* kNameKey = "ZULGameName";
constexpr const char* kLeadsOut = ": a link that leads out of the game";

// The folders that hold a path, and the path itself.
std::vector<fs::path> FoldersOf(fs::path path) {
    std::vector<fs::path> holders = {path};
    while (path.has_relative_path()) {
        holders.push_back(path = path.parent_path());
    }
    return holders;
}

// Signals that ask for an end are waiting to be answered.
bool IsInterrupted() {
    sigset_t pending;
    sigpending(&pending);
    return std::any_of(std::begin(kEndSignals), std::end(kEndSignals),
                       [&](int signal) { return sigismember(&pending, signal) == 1; });
}

// Whether a file or folder lies in the game. A link out of it would put the user's own files into
// what is given to others.
bool IsGamesOwn(const fs::path& path) {
    std::error_code error;
    const fs::path real = fs::canonical(path, error);
    return !error && LiesInFolder(real, CanonicalPath(folders.bundle));
}

// Copies what lies in a folder. Links are followed, but neither out of the game nor into a folder
// of `above`: those that hold the copy, and those on the way. The files `without` stay.
std::string CopyFolder(const fs::path& from, const fs::path& to, std::vector<fs::path> above,
                       const std::vector<fs::path>& without) {
    std::error_code error;
    above.push_back(fs::canonical(from, error));
    if (std::count(above.begin(), above.end(), above.back()) > 1) {
        return from.string() + ": a link to a folder that holds it or the new folder";
    }
    if (!IsGamesOwn(from)) {
        return from.string() + kLeadsOut;
    }
    fs::create_directories(to, error);
    fs::directory_iterator entry(from, error);
    if (error) {
        return from.string() + ": " + error.message();
    }
    for (; entry != fs::directory_iterator(); entry.increment(error)) {
        const fs::path& path = entry->path();
        if (std::count(without.begin(), without.end(), path) > 0) {
            continue;
        }
        std::string problem;
        const fs::file_status status = fs::status(path, error);
        if (fs::is_directory(status)) {
            problem = CopyFolder(path, to / path.filename(), above, without);
        } else if (fs::is_regular_file(status)) {
            problem = IsGamesOwn(path) ? CopyOneFile(path, to / path.filename())
                                       : path.string() + kLeadsOut;
        } else if (status.type() == fs::file_type::not_found) {
            problem = path.string() + ": a link to nowhere";
        } else {
            problem =
                path.string() + ": " + (error ? error.message() : "neither a file nor a folder");
        }
        if (problem.empty() && IsInterrupted()) {
            problem = "interrupted";
        }
        if (!problem.empty()) {
            return problem;
        }
    }
    if (error) {
        return from.string() + ": " + error.message();
    }
    // The owner can still remove what has been copied.
    fs::permissions(to, fs::status(from, error).permissions() | fs::perms::owner_all, error);
    return "";
}

// The game's own information file with the name that it has.
std::string WriteInformation(const fs::path& file) {
    pugi::xml_document document;
    pugi::xml_node dictionary;
    for (const fs::path& folder : {fs::path(folders.bundle) / "Contents", fs::path(folders.bundle),
                                   fs::path(folders.resources)}) {
        std::error_code error;
        if (!fs::exists(folder / "Info.plist", error)) {
            continue;
        }
        LoadPlist(folder / "Info.plist", document, dictionary);
        break;
    }
    if (!dictionary) {
        document.reset();
        pugi::xml_node list = document.append_child("plist");
        list.append_attribute("version") = "1.0";
        dictionary = list.append_child("dict");
    }
    if (PlistString(dictionary, kNameKey).value_or("") != folders.gameName) {
        dictionary.prepend_child("string").text() = folders.gameName.c_str();
        dictionary.prepend_child("key").text() = kNameKey;
    }
    return document.save_file(file.c_str()) ? "" : file.string() + ": cannot be written";
}

// Texts that tell whose a game is, by the start of their names.
bool TellsOfLicence(std::string name) {
    for (char& c : name) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    constexpr std::string_view kStarts[] = {"LICENSE",   "LICENCE", "COPYING",
                                            "COPYRIGHT", "NOTICE",  "README"};
    return std::any_of(std::begin(kStarts), std::end(kStarts),
                       [&](std::string_view start) { return name.rfind(start, 0) == 0; });
}

// Those that lie beside the resources.
std::string CopyLicences(const fs::path& folder) {
    if (folders.bundle == folders.resources) {
        return "";
    }
    std::error_code error;
    fs::directory_iterator entry(folders.bundle, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const fs::path& path = entry->path();
        std::error_code ignored;
        if (!TellsOfLicence(path.filename()) || !entry->is_regular_file(ignored)) {
            continue;
        }
        if (!IsGamesOwn(path)) {
            return path.string() + kLeadsOut;
        }
        std::string problem = CopyOneFile(path, folder / path.filename());
        if (!problem.empty()) {
            return problem;
        }
    }
    return error ? folders.bundle + ": " + error.message() : "";
}

// Whether `path` is a game with a module in it; fills `folders` for it.
bool HoldsGame(const std::string& path) {
    if (!FindGame(path).empty()) {
        return false;
    }
    std::error_code error;
    return fs::is_regular_file(fs::path(folders.resources) / "MAIN.MX", error);
}

}  // namespace

std::string FindGameToCopy(std::string& game, std::string& out) {
    if (!HoldsGame(game) && HoldsGame(out)) {
        std::swap(out, game);
    }
    std::string problem = FindGame(game);
    if (problem.empty() && !HoldsGame(game)) {
        return game + ": there is no MAIN.MX in it";
    }
    return problem;
}

fs::path CanonicalPath(const std::string& path) {
    std::error_code error;
    fs::path clean = fs::weakly_canonical(fs::absolute(path, error), error);
    return clean.has_filename() ? clean : clean.parent_path();
}

bool LiesInFolder(const fs::path& path, const fs::path& folder) {
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first ==
           folder.end();
}

void HoldEndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kEndSignals) {
        sigaddset(&signals, signal);
    }
    sigprocmask(SIG_BLOCK, &signals, nullptr);
}

std::string CopyGameFiles(const fs::path& folder, bool symbols) {
    const fs::path resources = folders.resources;
    std::vector<fs::path> without;
    if (!symbols) {
        without = {resources / "MAIN.SYM", resources / "MAIN.LIN"};
    }
    std::string problem = CopyFolder(resources, folder / "Resources", FoldersOf(folder), without);
    if (problem.empty()) {
        problem = WriteInformation(folder / "Info.plist");
    }
    if (problem.empty()) {
        problem = CopyLicences(folder);
    }
    return problem;
}

}  // namespace moxi
