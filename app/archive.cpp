#include "app/archive.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "app/call_filter.h"
#include "app/sandbox.h"
#include "base/log.h"
#include "desktop/folders.h"
#include "host/archive.h"
#include "host/checksum.h"
#include "host/home.h"
#include "vm/guard.h"

namespace moxi {

namespace fs = std::filesystem;

// The cache has a folder for each archive's content and name:
//
//     archives/KEY/CONTENTS          a hash of the names, sizes and times of what was unpacked
//     archives/KEY/files/GAME.zip/   what was unpacked: an archive may have any name
//
// It gets its name when it is whole. A look at CONTENTS finds what was lost or changed since.

namespace {

constexpr const char* kContents = "CONTENTS";
constexpr const char* kFiles = "files";
// What nobody has played for so long is unpacked again if need be.
constexpr auto kKept = std::chrono::hours(24 * 60);
constexpr auto kUnfinishedKept = std::chrono::hours(24);
constexpr const char* kUnfinished = ".new-";
// How much memory a list of entries may take that an archive claims to have.
constexpr rlim_t kMostMemory = rlim_t{1} << 30;

struct Place {
    fs::path all;     // the cache of archives
    fs::path own;     // this one's place in it
    fs::path folder;  // what was unpacked
};

// --- What is whole

// Names, sizes and times of all files below; "" when it cannot be read.
std::string ContentsOf(const fs::path& folder) {
    std::vector<std::string> lines;
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        struct stat status;
        if (lstat(entry->path().c_str(), &status) != 0) {
            return "";
        }
        if (S_ISDIR(status.st_mode)) {
            continue;
        }
        lines.push_back(entry->path().string() +
                        FormatText(" %o %lld %lld.%9.9ld\n", status.st_mode,
                                   static_cast<long long>(status.st_size),
                                   static_cast<long long>(status.st_mtim.tv_sec),
                                   status.st_mtim.tv_nsec));
    }
    if (error) {
        return "";
    }
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string& line : lines) {
        text += line.substr(folder.string().size());
    }
    return HashOfText(text);
}

bool IsWhole(const Place& place) {
    std::ifstream file(place.own / kContents);
    std::string kept;
    std::getline(file, kept);
    return !kept.empty() && kept == ContentsOf(place.folder);
}

// --- Unpacking

// An archive comes from anywhere: it is read by a process of its own that can write to the new
// folder alone. Returns "" or what is wrong.
std::string UnpackApart(int file, const std::string& path, const fs::path& folder,
                        bool restricted) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return std::strerror(errno);
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        if (restricted) {
            StartSandbox({.game = path, .dataFolder = folder});
            FilterGameCalls();
        }
        const rlimit memory = {kMostMemory, kMostMemory};
        if (!kCheckedAccess) {
            setrlimit(RLIMIT_DATA, &memory);
        }
        const std::string problem = UnpackArchive(file, folder);
        const ssize_t told = write(ends[1], problem.data(), problem.size());
        _exit(problem.empty() && told == 0 ? 0 : 1);
    }
    close(ends[1]);
    char text[4096];
    ssize_t size = 0;
    if (child > 0) {
        do {
            size = read(ends[0], text, sizeof text);
        } while (size < 0 && errno == EINTR);
    }
    close(ends[0]);
    int status = 0;
    const bool ended = child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status);
    if (ended && WEXITSTATUS(status) == 0) {
        return "";
    }
    return ended && size > 0 ? std::string(text, static_cast<size_t>(size)) : "cannot be unpacked";
}

// Gives what has been unpacked its name. Another process may have been quicker.
std::string TakePlace(const fs::path& unfinished, const Place& place) {
    std::error_code error;
    fs::rename(unfinished, place.own, error);
    if (!error || IsWhole(place)) {
        return "";
    }
    // What stands there is damaged.
    const fs::path old = unfinished.string() + "-old";
    fs::rename(place.own, old, error);
    fs::rename(unfinished, place.own, error);
    std::error_code ignored;
    fs::remove_all(old, ignored);
    return error ? place.own.string() + ": " + error.message() : "";
}

void RemoveOld(const fs::path& all) {
    const auto now = fs::file_time_type::clock::now();
    std::error_code error;
    fs::directory_iterator entry(all, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const fs::path& path = entry->path();
        const bool isUnfinished = path.filename().string().rfind(kUnfinished, 0) == 0;
        std::error_code missing;
        auto used = fs::last_write_time(path / kContents, missing);
        if (missing || isUnfinished) {
            used = fs::last_write_time(path, missing);
        }
        if (!missing && now - used >= (isUnfinished ? kUnfinishedKept : kKept)) {
            fs::remove_all(path, missing);
        }
    }
}

std::string Unpack(int file, const std::string& path, const Place& place, bool restricted) {
    std::error_code error;
    fs::create_directories(place.all, error);
    std::string name = (place.all / kUnfinished).string() + "XXXXXX";
    if (error || mkdtemp(name.data()) == nullptr) {
        return place.all.string() + ": " + (error ? error.message() : std::strerror(errno));
    }
    const fs::path folder = fs::path(name) / kFiles / place.folder.filename();
    fs::create_directories(folder, error);
    std::string problem = UnpackApart(file, path, folder, restricted);
    if (problem.empty()) {
        std::ofstream contents(fs::path(name) / kContents);
        contents << ContentsOf(folder) << "\n";
        problem = contents.flush() ? TakePlace(name, place) : name + ": cannot be written";
    }
    fs::remove_all(name, error);
    RemoveOld(place.all);
    return problem;
}

// Finds the archive's place in the cache and fills it where that has not been done.
std::string FindUnpacked(int file, const Options& options, Place& place) {
    struct stat status;
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        return "no file";
    }
    if (static_cast<u64>(status.st_size) > ArchiveLimits().archiveBytes) {
        return "too large for an archive of a game";
    }
    const std::string hash = HashOfFile(file);
    if (hash.empty() || lseek(file, 0, SEEK_SET) != 0) {
        return "cannot be read";
    }
    const std::string cache = BaseFolder("XDG_CACHE_HOME", ".cache");
    if (cache.empty()) {
        return "there is no cache folder to unpack it to";
    }
    const std::string name = fs::path(options.game).filename();
    constexpr size_t kKeyDigits = 32;
    place.all = fs::path(cache) / "moxi" / "archives";
    place.own = place.all / HashOfText(hash + " " + name).substr(0, kKeyDigits);
    place.folder = place.own / kFiles / name;
    if (!IsWhole(place)) {
        std::string problem = Unpack(file, options.game, place, options.sandbox);
        if (!problem.empty()) {
            return problem;
        }
    }
    std::error_code error;
    fs::last_write_time(place.own / kContents, fs::file_time_type::clock::now(), error);
    return "";
}

}  // namespace

std::string PrepareArchive(Options& options) {
    if (!IsArchive(options.game)) {
        return "";
    }
    const int file = open(options.game.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0) {
        return options.game + ": " + std::strerror(errno);
    }
    Place place;
    std::string problem = FindUnpacked(file, options, place);
    close(file);
    if (!problem.empty()) {
        return options.game + ": " + problem;
    }
    const std::string game = GameInFolder(place.folder, problem);
    if (!problem.empty()) {
        return options.game + ": " + problem;
    }
    std::error_code error;
    folders.archive = fs::canonical(options.game, error);
    options.game = game;
    return "";
}

}  // namespace moxi
