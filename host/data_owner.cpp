#include "host/data_owner.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "base/log.h"
#include "desktop/folders.h"
#include "host/checksum.h"
#include "sys/files.h"

namespace moxi {

namespace fs = std::filesystem;

// A stamp is a text file, named after the data folder's path, of lines in this order:
//
//     moxi data folder 1
//     folder PATH
//     game REAL PATH
//     module SHA-256
//     file SIZE SECONDS.NANOSECONDS INODE
//
// Every run of the game holds a shared lock on it. Thanks to the last line the host need not read
// the whole module at every start.

namespace {

constexpr const char* kModuleFile = "MAIN.MX";
constexpr const char* kFirstLine = "moxi data folder 1";
constexpr std::size_t kLargestStamp = 16384;
constexpr u32 kMostGamesOfAName = 1000;

struct Owner {
    std::string game;    // real path
    std::string module;  // hash, "" for a module that cannot be read
    std::string file;    // what changes when the module's file does
};

constinit int held = -1;

// --- The game

std::string StateOf(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) {
        return "none";
    }
    return FormatText("%lld %lld.%9.9ld %llu", static_cast<long long>(status.st_size),
                      static_cast<long long>(status.st_mtim.tv_sec), status.st_mtim.tv_nsec,
                      static_cast<unsigned long long>(status.st_ino));
}

std::string OwnModule() {
    return folders.resources + "/" + kModuleFile;
}

Owner ThisGame() {
    std::error_code error;
    const std::string& named = folders.archive.empty() ? folders.bundle : folders.archive;
    const fs::path real = fs::canonical(named, error);
    return {WithoutControls(error ? named : real.string()), "", StateOf(OwnModule())};
}

// --- Stamps

struct Stamp {
    bool valid = false;
    Owner owner;
};

bool TakeLine(std::string& text, std::string_view start, std::string& rest) {
    const std::size_t end = text.find('\n');
    if (end == std::string::npos || text.compare(0, start.size(), start) != 0) {
        return false;
    }
    rest = text.substr(start.size(), end - start.size());
    text.erase(0, end + 1);
    return true;
}

Stamp ReadStamp(int file, const std::string& folder) {
    char bytes[kLargestStamp];
    const ssize_t count = pread(file, bytes, sizeof bytes, 0);
    std::string text(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
    std::string line;
    Stamp stamp;
    stamp.valid =
        TakeLine(text, kFirstLine, line) && line.empty() && TakeLine(text, "folder ", line) &&
        line == WithoutControls(folder) && TakeLine(text, "game ", stamp.owner.game) &&
        TakeLine(text, "module ", stamp.owner.module) && TakeLine(text, "file ", stamp.owner.file);
    return stamp;
}

bool WriteStamp(int file, const std::string& folder, const Owner& owner) {
    const std::string text = std::string(kFirstLine) + "\nfolder " + WithoutControls(folder) +
                             "\ngame " + owner.game + "\nmodule " + owner.module + "\nfile " +
                             owner.file + "\n";
    return pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()) &&
           ftruncate(file, static_cast<off_t>(text.size())) == 0;
}

std::string StampPath(const std::string& folder) {
    return folders.state + "/data-" + HashOfText(folder);
}

// -1 where there is none, or something that is no file.
int OpenStamp(const std::string& folder, int flags) {
    const int file = open(StampPath(folder).c_str(),
                          O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | flags, 0600);
    struct stat status;
    if (file < 0 || (fstat(file, &status) == 0 && S_ISREG(status.st_mode))) {
        return file;
    }
    close(file);
    errno = EINVAL;
    return -1;
}

// --- Choosing

bool Exists(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

// What one folder was found to be.
enum class Found {
    Own,    // it is this game's
    Free,   // nobody's: no folder, and no game that runs has it in mind
    Other,  // another game's
    End,    // nobody's, and there has never been one: the last that is to be looked at
    NoStamp
};

// Only a game whose path or module is the stamp's is the one that made the folder: a game that was
// moved keeps its data, and so does one that was replaced by a newer version.
bool Fits(const Stamp& stamp, Owner& game) {
    if (!stamp.valid) {
        return false;
    }
    if (stamp.owner.game == game.game) {
        const bool unchanged = stamp.owner.file == game.file;
        if (game.module.empty()) {
            game.module = unchanged ? stamp.owner.module : HashOfFile(OwnModule());
        }
        return true;
    }
    if (game.module.empty()) {
        game.module = HashOfFile(OwnModule());
    }
    return !game.module.empty() && game.module == stamp.owner.module;
}

bool IsUpToDate(const Stamp& stamp, const Owner& game) {
    return stamp.owner.game == game.game && stamp.owner.module == game.module &&
           stamp.owner.file == game.file;
}

// Looks at one folder and its stamp. Where it is the game's, or free and `claim` is set, the stamp
// says so afterwards and is held.
Found LookAt(const std::string& folder, Owner& game, bool claim) {
    const bool made = Exists(folder);
    const int file = OpenStamp(folder, claim ? O_CREAT : 0);
    if (file < 0) {
        if (errno != ENOENT || claim) {
            return Found::NoStamp;
        }
        // A folder from before there were stamps goes to the first game that asks for it, but not
        // with a module in it, since nobody knows whose that is.
        if (!made) {
            return Found::End;
        }
        return Exists(folder + "/" + kModuleFile) ? Found::Other : Found::Free;
    }
    const bool alone = flock(file, LOCK_EX | LOCK_NB) == 0;
    if (!alone) {
        flock(file, LOCK_SH);
    }
    const Stamp stamp = ReadStamp(file, folder);
    Found found = Found::Other;
    if (Fits(stamp, game)) {
        found = Found::Own;
        if (alone && !IsUpToDate(stamp, game)) {
            WriteStamp(file, folder, game);
        }
    } else if (alone && (!made || (!stamp.valid && !Exists(folder + "/" + kModuleFile)))) {
        found = Found::Free;
        if (claim) {
            if (game.module.empty()) {
                game.module = HashOfFile(OwnModule());
            }
            found = WriteStamp(file, folder, game) ? Found::Own : Found::NoStamp;
        }
    }
    if (found != Found::Own) {
        close(file);
        return found;
    }
    flock(file, LOCK_SH);
    held = file;
    return found;
}

std::string NameWithNumber(u32 number) {
    return number == 1 ? folders.gameName : folders.gameName + " " + std::to_string(number);
}

// The number of the game's folder; 0 when no stamp can be kept, kMostGamesOfAName + 1 when none is
// left. A folder that is the game's goes before one that could be.
u32 FindNumber(const std::string& all, Owner& game) {
    u32 free = 0;
    for (u32 number = 1; number <= kMostGamesOfAName; ++number) {
        const Found found = LookAt(all + "/" + NameWithNumber(number), game, false);
        if (found == Found::Own) {
            return number;
        }
        if (found == Found::NoStamp) {
            return 0;
        }
        if (found != Found::Other && free == 0) {
            free = number;
        }
        if (found == Found::End) {
            break;
        }
    }
    for (u32 number = std::max(free, 1U); number <= kMostGamesOfAName; ++number) {
        const Found found = LookAt(all + "/" + NameWithNumber(number), game, true);
        if (found == Found::Own) {
            return number;
        }
        if (found == Found::NoStamp) {
            return 0;
        }
    }
    return kMostGamesOfAName + 1;
}

}  // namespace

void MakeStateFolder() {
    if (folders.state.empty()) {
        return;
    }
    std::error_code error;
    const fs::path state = folders.state;
    fs::create_directories(state.parent_path(), error);
    mkdir(state.c_str(), 0700);
}

std::string ChooseDataFolder() {
    ForgetDataFolder();
    folders.dataName.clear();
    folders.moduleInData = true;
    if (!folders.dataOverride.empty()) {
        return "";
    }
    const std::string all = DataFolderOfAll();
    Owner game = ThisGame();
    const u32 number = all.empty() || folders.state.empty() ? 0 : FindNumber(all, game);
    if (number > kMostGamesOfAName) {
        return "no data folder is left for a game named \"" + folders.gameName + "\"";
    }
    if (number == 0) {
        folders.moduleInData = false;
        if (!folders.state.empty()) {
            SystemLog(folders.state +
                      ": no stamp of the data folder can be kept: " + std::strerror(errno));
        }
        return "";
    }
    folders.dataName = NameWithNumber(number);
    if (number > 1) {
        SystemLog("the data folder \"" + folders.gameName +
                  "\" is another game's, this one's is \"" + folders.dataName + "\"");
    }
    return "";
}

void ForgetDataFolder() {
    if (held >= 0) {
        close(held);
    }
    held = -1;
}

}  // namespace moxi
