#include "kit/ship.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include "base/read_file.h"
#include "desktop/folders.h"
#include "host/bundle.h"
#include "kit/game_files.h"
#include "kit/new_folder.h"
#include "kit/ship_licences.h"
#include "kit/ship_runtime.h"
#include "kit/small_soundfont.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr int kFailed = 1;
constexpr int kUnusable = 2;

// --- What stands beside the game

std::string OnOneLine(std::string text, char inPlaceOfSlash) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < ' ') {
            c = ' ';
        }
        if (c == '/') {
            c = inPlaceOfSlash;
        }
    }
    return text;
}

std::string DoubleBackslashes(const std::string& text) {
    std::string doubled;
    for (const char c : text) {
        doubled += c == '\\' ? std::string("\\\\") : std::string(1, c);
    }
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
    if (!text.flush()) {
        return file.string() + ": cannot be written";
    }
    text.close();
    std::error_code error;
    fs::permissions(file, fs::perms{0755}, error);
    return "";
}

// The SoundFont as it is, or with what the game's music plays. Without any music there may still be
// pieces that the game makes itself, so nothing is cut then.
std::string CopySoundFont(const std::string& from, const std::string& to, bool whole) {
    std::string bytes;
    std::string small;
    constexpr u64 kLargestToCut = u64{256} << 20;
    const UsedPrograms used = ProgramsOfMusic(folders.resources);
    if (whole || used.pieces == 0 || !ReadWholeFile(from, kLargestToCut, bytes).empty() ||
        !CutSoundFont(bytes, used, small).empty()) {
        return CopyOneFile(from, to);
    }
    std::ofstream file(to, std::ios::binary);
    file.write(small.data(), static_cast<std::streamsize>(small.size()));
    return file.flush() ? "" : to + ": cannot be written";
}

std::string CopyResources(const fs::path& share, const ShipWishes& wishes,
                          std::vector<std::string>& copied) {
    for (const char* const name : {"MainMenu.plist", "moxi.svg", "moxi.png"}) {
        std::string problem = CopyOneFile(OwnResource(name), share / name);
        if (!problem.empty()) {
            return problem;
        }
    }
    std::error_code error;
    fs::copy(OwnResource("locale"), share / "locale", fs::copy_options::recursive, error);
    // Without a SoundFont a game is played without music, here as there.
    for (const std::string& soundFont : wishes.soundFonts) {
        if (!CopySoundFont(soundFont, share / "soundfont.sf2", wishes.wholeSoundFont).empty()) {
            continue;
        }
        copied.push_back(soundFont);
        break;
    }
    return CopyFonts(share / "fonts", copied);
}

std::string FillFolder(const fs::path& folder, const ShipWishes& wishes) {
    const fs::path share = folder / "share" / "moxi";
    std::error_code error;
    fs::create_directories(share / "fonts", error);
    fs::create_directories(folder / "lib" / "moxi", error);
    if (error) {
        return folder.string() + ": " + error.message();
    }
    std::vector<std::string> copied;
    std::string problem = CopyGameFiles(folder, wishes.symbols);
    if (problem.empty()) {
        problem = CopyProgram(folder / "moxi", folder / "lib" / "moxi", copied);
    }
    if (problem.empty()) {
        problem = CopyResources(share, wishes, copied);
    }
    if (problem.empty()) {
        problem = CopyLicencesOf(copied, folder / "licences");
    }
    if (problem.empty()) {
        problem = WriteLauncher(folder);
    }
    return problem;
}

}  // namespace

ShipResult ShipGame(std::string out, std::string game, const ShipWishes& wishes) {
    if (const std::string problem = FindGameToCopy(game, out); !problem.empty()) {
        return {kUnusable, problem};
    }
    if (const std::string reason = WhyNotNew(out); !reason.empty()) {
        return {kUnusable, out + ": " + reason};
    }
    const fs::path folder = CanonicalPath(out);
    if (LiesInFolder(folder, CanonicalPath(folders.bundle)) ||
        LiesInFolder(folder, CanonicalPath(folders.resources))) {
        return {kUnusable, out + ": lies in the game's own folder"};
    }
    HoldEndSignals();
    // Under another name until it is complete.
    const fs::path unfinished =
        folder.parent_path() / ("." + folder.filename().string() + "-" + std::to_string(getpid()));
    std::error_code error;
    if (!fs::create_directory(unfinished, error)) {
        return {kFailed, out + ": " + (error ? error.message() : "cannot be made")};
    }
    std::string problem = FillFolder(unfinished, wishes);
    if (problem.empty()) {
        fs::rename(unfinished, folder, error);
        if (!error) {
            return {};
        }
        problem = out + ": " + error.message();
    }
    fs::remove_all(unfinished, error);
    return {kFailed, problem};
}

}  // namespace moxi
