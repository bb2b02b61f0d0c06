#include "kit/ship.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <pugixml.hpp>
#include <vector>

#include "desktop/folders.h"
#include "host/bundle.h"
#include "host/plist.h"
#include "kit/new_folder.h"
#include "kit/ship_runtime.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr int kFailed = 1;
constexpr int kUnusable = 2;
constexpr int kEndSignals[] = {SIGINT, SIGTERM, SIGHUP};
constexpr const char* kNameKey = "ZULGameName";
constexpr const char* kLeadsOut = ": a link that leads out of the game";

// --- The two paths

bool HoldsGame(const std::string& path) {
    if (!FindGame(path).empty()) return false;
    std::error_code error;
    return fs::is_regular_file(fs::path(folders.resources) / "MAIN.MX", error);
}

// Absolute and without links, as far as it exists; no "/" at the end.
fs::path Canonical(const std::string& path) {
    std::error_code error;
    fs::path clean = fs::weakly_canonical(fs::absolute(path, error), error);
    return clean.has_filename() ? clean : clean.parent_path();
}

bool LiesIn(const fs::path& path, const fs::path& folder) {
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first ==
           folder.end();
}

// --- The game's files

// The folders that hold a path, and the path itself.
std::vector<fs::path> FoldersOf(fs::path path) {
    std::vector<fs::path> holders = {path};
    while (path.has_relative_path()) holders.push_back(path = path.parent_path());
    return holders;
}

// Signals that ask for an end are waiting to be answered.
bool IsInterrupted() {
    sigset_t pending;
    sigpending(&pending);
    return std::any_of(std::begin(kEndSignals), std::end(kEndSignals),
                       [&](int signal) { return sigismember(&pending, signal) == 1; });
}

void HoldEndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kEndSignals) sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
}

// Whether a file or folder lies in the game. A link out of it would put the user's own files into
// what is given to others.
bool IsGamesOwn(const fs::path& path) {
    std::error_code error;
    const fs::path real = fs::canonical(path, error);
    return !error && LiesIn(real, Canonical(folders.bundle));
}

// Copies what lies in a folder. Links are followed, but neither out of the game nor into a folder
// of `above`: those that hold the copy, and those on the way.
std::string CopyFolder(const fs::path& from, const fs::path& to, std::vector<fs::path> above) {
    std::error_code error;
    above.push_back(fs::canonical(from, error));
    if (std::count(above.begin(), above.end(), above.back()) > 1) {
        return from.string() + ": a link to a folder that holds it or the new folder";
    }
    if (!IsGamesOwn(from)) return from.string() + kLeadsOut;
    fs::create_directories(to, error);
    fs::directory_iterator entry(from, error);
    if (error) return from.string() + ": " + error.message();
    for (; entry != fs::directory_iterator(); entry.increment(error)) {
        const fs::path& path = entry->path();
        std::string problem;
        const fs::file_status status = fs::status(path, error);
        if (fs::is_directory(status)) {
            problem = CopyFolder(path, to / path.filename(), above);
        } else if (fs::is_regular_file(status)) {
            problem = IsGamesOwn(path) ? CopyOneFile(path, to / path.filename())
                                       : path.string() + kLeadsOut;
        } else if (status.type() == fs::file_type::not_found) {
            problem = path.string() + ": a link to nowhere";
        } else {
            problem =
                path.string() + ": " + (error ? error.message() : "neither a file nor a folder");
        }
        if (problem.empty() && IsInterrupted()) problem = "interrupted";
        if (!problem.empty()) return problem;
    }
    if (error) return from.string() + ": " + error.message();
    // The owner can still remove what has been copied.
    fs::permissions(to, fs::status(from, error).permissions() | fs::perms::owner_all, error);
    return "";
}

// The game keeps its name, and with it its data folder, however the new folder is called.
std::string WriteInformation(const fs::path& file) {
    pugi::xml_document document;
    pugi::xml_node dictionary;
    for (const fs::path& folder : {fs::path(folders.bundle) / "Contents", fs::path(folders.bundle),
                                   fs::path(folders.resources)}) {
        std::error_code error;
        if (!fs::exists(folder / "Info.plist", error)) continue;
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

// --- What stands beside the game

std::string OnOneLine(std::string text, char inPlaceOfSlash) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
        if (c == '/') c = inPlaceOfSlash;
    }
    return text;
}

std::string DoubleBackslashes(const std::string& text) {
    std::string doubled;
    for (const char c : text) doubled += c == '\\' ? std::string("\\\\") : std::string(1, c);
    return doubled;
}

// A launcher knows where it lies itself (%k), as a path or an address.
std::string WriteLauncher(const fs::path& folder) {
    const fs::path file = folder / (OnOneLine(folders.gameName, '_') + ".desktop");
    std::ofstream text(file);
    text << "[Desktop Entry]\nType=Application\nName="
         << DoubleBackslashes(OnOneLine(folders.gameName, '/'))
         << "\nExec=sh -c \"cd -- \\\\\"\\\\$(dirname -- \\\\\"\\\\${1#file://}\\\\\")\\\\\" && "
            "exec ./moxi\" moxi %k\n"
            "Icon=moxi\nTerminal=false\nCategories=Game;\nStartupWMClass=moxi\n";
    if (!text.flush()) return file.string() + ": cannot be written";
    text.close();
    std::error_code error;
    fs::permissions(file, fs::perms{0755}, error);
    return "";
}

std::string CopyResources(const fs::path& share, const std::vector<std::string>& soundFonts) {
    for (const char* const name : {"MainMenu.plist", "moxi.svg", "moxi.png"}) {
        std::string problem = CopyOneFile(OwnResource(name), share / name);
        if (!problem.empty()) return problem;
    }
    // Without a SoundFont a game is played without music, here as there.
    for (const std::string& soundFont : soundFonts) {
        if (CopyOneFile(soundFont, share / "soundfont.sf2").empty()) break;
    }
    return CopyFonts(share / "fonts");
}

std::string FillFolder(const fs::path& folder, const std::vector<std::string>& soundFonts) {
    const fs::path share = folder / "share" / "moxi";
    std::error_code error;
    fs::create_directories(share / "fonts", error);
    fs::create_directories(folder / "lib" / "moxi", error);
    if (error) return folder.string() + ": " + error.message();
    std::string problem = CopyFolder(folders.resources, folder / "Resources", FoldersOf(folder));
    if (problem.empty()) problem = WriteInformation(folder / "Info.plist");
    if (problem.empty()) problem = CopyProgram(folder / "moxi", folder / "lib" / "moxi");
    if (problem.empty()) problem = CopyResources(share, soundFonts);
    if (problem.empty()) problem = WriteLauncher(folder);
    return problem;
}

}  // namespace

ShipResult ShipGame(std::string out, std::string game, const std::vector<std::string>& soundFonts) {
    if (!HoldsGame(game) && HoldsGame(out)) std::swap(out, game);
    if (const std::string problem = FindGame(game); !problem.empty()) return {kUnusable, problem};
    if (!HoldsGame(game)) return {kUnusable, game + ": there is no MAIN.MX in it"};
    if (const std::string reason = WhyNotNew(out); !reason.empty()) {
        return {kUnusable, out + ": " + reason};
    }
    const fs::path folder = Canonical(out);
    if (LiesIn(folder, Canonical(folders.bundle)) || LiesIn(folder, Canonical(folders.resources))) {
        return {kUnusable, out + ": lies in the game's own folder"};
    }
    HoldEndSignals();  // so that what is not complete can be removed
    // Under another name until it is complete.
    const fs::path unfinished =
        folder.parent_path() / ("." + folder.filename().string() + "-" + std::to_string(getpid()));
    std::error_code error;
    if (!fs::create_directory(unfinished, error)) {
        return {kFailed, out + ": " + (error ? error.message() : "cannot be made")};
    }
    std::string problem = FillFolder(unfinished, soundFonts);
    if (problem.empty()) {
        fs::rename(unfinished, folder, error);
        if (!error) return {};
        problem = out + ": " + error.message();
    }
    fs::remove_all(unfinished, error);
    return {kFailed, problem};
}

}  // namespace moxi
