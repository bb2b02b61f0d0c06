#include "host/played.h"

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <sstream>

#include "base/output_files.h"
#include "desktop/folders.h"
#include "host/checksum.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr const char* kFirstLine = "moxi game 1";
// A record takes 50 KiB at most. Of a larger file, whoever has made it, the start is read.
constexpr u64 kLargestRecord = u64{1} << 20;
constexpr size_t kLongestText = 4096;
// More records than a person looks through are not read.
constexpr size_t kMostRecords = 10'000;
constexpr size_t kNameDigits = 32;

// Paths may hold line feeds.
std::string Escaped(std::string text) {
    // No path that the system opens is longer.
    text.resize(std::min(text.size(), kLongestText));
    std::string escaped;
    for (const char c : text) {
        if (c == '\n') {
            escaped += "\\n";
        } else {
            escaped += c == '\\' ? std::string("\\\\") : std::string(1, c);
        }
    }
    return escaped;
}

std::string Unescaped(const std::string& text) {
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            plain += text[i];
        } else {
            plain += text[++i] == 'n' ? '\n' : text[i];
        }
    }
    return plain;
}

// 0 for what is no number.
u64 Number(const std::string& text) {
    u64 value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end ? value : 0;
}

struct TextKey {
    const char* name;
    std::string PlayedGame::*value;
};

constexpr TextKey kTexts[] = {
    {"path", &PlayedGame::path},       {"files", &PlayedGame::files},
    {"name", &PlayedGame::name},       {"author", &PlayedGame::author},
    {"licence", &PlayedGame::licence}, {"source", &PlayedGame::source},
};

void TakeLine(const std::string& key, const std::string& value, PlayedGame& game) {
    for (const TextKey& text : kTexts) {
        if (key == text.name) {
            game.*text.value = Unescaped(value);
        }
    }
    if (key == "played") {
        game.lastPlayed = Number(value);
    }
    if (key == "seconds") {
        game.seconds = Number(value);
    }
    if (key == "shelf") {
        game.removed = value == "no";
    }
}

std::string Folder() {
    return folders.state.empty() ? "" : folders.state + "/games";
}

std::string FileOf(const std::string& path, const char* extension) {
    const std::string folder = Folder();
    if (folder.empty()) {
        return "";
    }
    return folder + "/" + HashOfText(path).substr(0, kNameDigits) + extension;
}

// False when the file cannot be read. A last line that is cut off does not count.
bool ReadRecord(const std::string& file, PlayedGame& game) {
    std::string text;
    if (file.empty() || !ReadStartOfOwnFile(file, kLargestRecord, text)) {
        return false;
    }
    if (text.size() == kLargestRecord) {
        text.erase(text.rfind('\n') + 1);
    }
    return ParsePlayed(text, game);
}

}  // namespace

std::string TextOfPlayed(const PlayedGame& game) {
    std::string text = std::string(kFirstLine) + "\n";
    for (const TextKey& key : kTexts) {
        text += std::string(key.name) + " = " + Escaped(game.*key.value) + "\n";
    }
    return text + "played = " + std::to_string(game.lastPlayed) +
           "\nseconds = " + std::to_string(game.seconds) +
           "\nshelf = " + (game.removed ? "no" : "yes") + "\n";
}

bool ParsePlayed(const std::string& text, PlayedGame& game) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const size_t equals = line.find(" = ");
        if (equals == std::string::npos) {
            continue;
        }
        TakeLine(line.substr(0, equals), line.substr(equals + 3), game);
    }
    return !game.path.empty() && game.path[0] == '/';
}

std::string PlayedFile(const std::string& path) {
    return FileOf(path, ".txt");
}

std::string PlayedPicture(const std::string& path) {
    return FileOf(path, ".png");
}

void MakePlayedFolder() {
    const std::string folder = Folder();
    if (!folder.empty()) {
        mkdir(folder.c_str(), 0700);
    }
}

PlayedGame ReadPlayedGame(const std::string& path) {
    PlayedGame game;
    if (!ReadRecord(PlayedFile(path), game) || game.path != path) {
        game = {};
    }
    game.path = path;
    return game;
}

std::vector<PlayedGame> ReadAllPlayed() {
    std::vector<PlayedGame> games;
    const std::string folder = Folder();
    std::error_code error;
    if (folder.empty()) {
        return games;
    }
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        PlayedGame game;
        if (entry->path().extension() != ".txt" || games.size() >= kMostRecords) {
            continue;
        }
        // A copy of a record under another name would be the same game twice.
        if (ReadRecord(entry->path(), game) && PlayedFile(game.path) == entry->path()) {
            games.push_back(game);
        }
    }
    std::sort(games.begin(), games.end(),
              [](const PlayedGame& a, const PlayedGame& b) { return a.path < b.path; });
    return games;
}

bool WritePlayedGame(const PlayedGame& game) {
    const std::string path = PlayedFile(game.path);
    return !path.empty() && ReplaceFile(path, TextOfPlayed(game));
}

}  // namespace moxi
