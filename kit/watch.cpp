#include "kit/watch.h"

#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <utility>

#include "base/bytes.h"
#include "base/log.h"
#include "host/bundle.h"
#include "vm/machine.h"

namespace moxi {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kLook{100};
// For so long a file that is no module counts as one that is still being written.
constexpr milliseconds kWriting{1000};
// How long a game may take to end after the first SIGTERM and after the second one, which ends a
// game that does not answer.
constexpr milliseconds kPatience{2000};
constexpr milliseconds kLastPatience{500};

// --- The file

// What changes when a file is written or replaced; zero for a file that is missing.
struct Stamp {
    dev_t device = 0;
    ino_t number = 0;
    off_t size = 0;
    timespec changed = {};

    bool operator==(const Stamp& other) const {
        return device == other.device && number == other.number && size == other.size &&
               changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
    }
};

Stamp StampOf(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) {
        return {};
    }
    return {status.st_dev, status.st_ino, status.st_size, status.st_mtim};
}

// Why the file is no whole module that this machine runs, "" when it is one.
std::string WhyNoModule(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        return "not a file";
    }
    std::ifstream file(path, std::ios::binary);
    u8 header[kHeaderSize];
    if (!file.read(reinterpret_cast<char*>(header), sizeof header)) {
        return "no whole header";
    }
    if (std::memcmp(header + kHeaderMagic, "MOXI6", 6) != 0) {
        return "not a MOXI 6 module";
    }
    const u32 loadedLength = LoadBytes<u32>(header + kHeaderLoadedLength);
    if (loadedLength < kHeaderSize) {
        return "a loaded length below the header's";
    }
    file.seekg(0, std::ios::end);
    if (static_cast<u64>(file.tellg()) < loadedLength) {
        return "the file is not complete";
    }
    return "";
}

// What has become of the file since the game was started.
class WatchedModule {
  public:
    WatchedModule() : path(ModulePath()), seen(StampOf(path)) {}

    // Whether there is a new module to start. To be asked again and again.
    bool HasChanged() {
        path = ModulePath();
        const Stamp now = StampOf(path);
        if (now == seen) {
            return false;
        }
        if (!(now == latest)) {
            latest = now;
            since = Clock::now();
            return false;
        }
        const std::string reason = WhyNoModule(path);
        if (reason.empty()) {
            return true;
        }
        if (Clock::now() - since < kWriting) {
            return false;
        }
        SystemLog(path + ": " + reason + ", the game goes on as it is");
        seen = now;
        return false;
    }

  private:
    std::string path;
    Stamp seen;
    Stamp latest;
    Clock::time_point since;
};

// --- Sources that the game itself reads: the .lua files beside a MAIN.LUA, and in the folders
// there

using Stamps = std::map<std::string, Stamp>;  // by name, from the game's folder on

bool IsSource(const std::filesystem::path& name) {
    const std::string extension = name.extension().string();
    return extension == ".lua" || extension == ".LUA";
}

Stamps StampsOfSources() {
    const std::filesystem::path folder = std::filesystem::path(ModulePath()).parent_path();
    Stamps stamps;
    std::error_code error;
    if (!std::filesystem::exists(folder / "MAIN.LUA", error)) {
        return stamps;
    }
    std::filesystem::recursive_directory_iterator entry(
        folder, std::filesystem::directory_options::skip_permission_denied, error);
    for (; !error && entry != std::filesystem::recursive_directory_iterator();
         entry.increment(error)) {
        const std::filesystem::path& path = entry->path();
        if (IsSource(path)) {
            stamps[path.lexically_relative(folder).string()] = StampOf(path.string());
        }
    }
    return stamps;
}

// The first name that is not the same in both.
std::string FirstDifference(const Stamps& before, const Stamps& now) {
    auto old = before.begin();
    for (const auto& [name, stamp] : now) {
        if (old == before.end() || old->first > name) {
            return name;  // a new one
        }
        if (old->first < name || !(old->second == stamp)) {
            return old->first;
        }
        ++old;
    }
    return old == before.end() ? "" : old->first;
}

class WatchedSources {
  public:
    WatchedSources() : seen(StampsOfSources()), latest(seen) {}

    // The name of a file that has changed and is not being written any more, "" while there is
    // none.
    std::string Changed() {
        Stamps now = StampsOfSources();
        const bool isAtRest = now == latest;
        latest = std::move(now);
        return isAtRest ? FirstDifference(seen, latest) : "";
    }

  private:
    Stamps seen;
    Stamps latest;
};

// The files whose change starts the game again.
struct Watched {
    WatchedModule module;
    WatchedSources sources;

    // The name of what has changed, "" while nothing has.
    std::string Changed() { return module.HasChanged() ? "MAIN.MX" : sources.Changed(); }
};

// --- The process

sigset_t WatchedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGCHLD, SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&signals, signal);
    }
    return signals;
}

// Waits for a signal and passes on what asks for an end. The terminal has told the game itself.
void WaitOnce(pid_t game, milliseconds time) {
    const sigset_t signals = WatchedSignals();
    const timespec limit = {.tv_sec = time.count() / 1000,
                            .tv_nsec = time.count() % 1000 * 1000000};
    siginfo_t info;
    const int signal = sigtimedwait(&signals, &info, &limit);
    if (signal > 0 && signal != SIGCHLD && info.si_code != SI_KERNEL) {
        kill(game, signal);
    }
}

// The exit status of a game that has ended.
std::optional<int> StatusOf(pid_t game) {
    int status = 0;
    const pid_t ended = waitpid(game, &status, WNOHANG);
    if (ended == 0 || (ended < 0 && errno == EINTR)) {
        return std::nullopt;
    }
    if (ended > 0 && WIFEXITED(status)) {
        return WEXITSTATUS(status);
    }
    return 128 + (ended > 0 ? WTERMSIG(status) : 0);
}

bool EndsWithin(pid_t game, milliseconds time) {
    const Clock::time_point end = Clock::now() + time;
    while (!StatusOf(game)) {
        const auto left = std::chrono::duration_cast<milliseconds>(end - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        WaitOnce(game, left);
    }
    return true;
}

// Ends the game: by SIGTERM, which the module answers; by a second one, which the host answers
// itself; at last by SIGKILL.
void EndGame(pid_t game) {
    kill(game, SIGTERM);
    if (EndsWithin(game, kPatience)) {
        return;
    }
    kill(game, SIGTERM);
    if (EndsWithin(game, kLastPatience)) {
        return;
    }
    kill(game, SIGKILL);
    waitpid(game, nullptr, 0);
}

// The status of a game that has ended by itself; nothing when something has changed, whose name is
// put into `changed`.
std::optional<int> WatchRun(pid_t game, Watched& files, std::string& changed) {
    for (;;) {
        if (const std::optional<int> status = StatusOf(game)) {
            return status;
        }
        changed = files.Changed();
        if (!changed.empty()) {
            return std::nullopt;
        }
        WaitOnce(game, kLook);
    }
}

}  // namespace

std::optional<int> WatchGame() {
    const sigset_t signals = WatchedSignals();
    sigset_t before;
    sigprocmask(SIG_BLOCK, &signals, &before);
    const pid_t watcher = getpid();
    for (;;) {
        Watched files;
        std::string changed;
        const pid_t game = fork();
        if (game < 0) {
            SystemLog(std::string("--watch: ") + std::strerror(errno));
            return 1;
        }
        if (game == 0) {
            // The game does not outlive the one who watches it.
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            if (getppid() != watcher) {
                _exit(1);
            }
            sigprocmask(SIG_SETMASK, &before, nullptr);
            return std::nullopt;
        }
        if (const std::optional<int> status = WatchRun(game, files, changed)) {
            return status;
        }
        SystemLog(changed + " has changed, the game starts again");
        EndGame(game);
    }
}

}  // namespace moxi
