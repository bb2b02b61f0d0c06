#include "app/sandbox.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <thread>

#include "base/log.h"
#include "base/types.h"
#include "vm/guard.h"

namespace {

// The rights by their numbers, of which the system's headers may lack the newer.
constexpr u64 kExecute = 1 << 0;
constexpr u64 kWriteFile = 1 << 1;
constexpr u64 kRemoveFolder = 1 << 4;
constexpr u64 kRemoveFile = 1 << 5;
constexpr u64 kMakeAnything = 0x1FC0;   // bits 6 to 12: devices, folders, files, sockets, links
constexpr u64 kMoveBetween = 1 << 13;   // from version 2
constexpr u64 kTruncateFile = 1 << 14;  // from version 3

// Version 1 lets no file move from one folder to another, which games may do.
constexpr long kOldestVersion = 2;

// What is written there changes nothing.
constexpr const char* kSinks[] = {"/dev/null", "/dev/zero", "/dev/full"};
constexpr const char* kDevices[] = {"/dev/snd", "/dev/dri", "/dev/nvidia0", "/dev/nvidiactl"};

SandboxPlaces places;
// The data folder was missing when the process was restricted.
constinit bool toBeNarrowed = false;

struct Descriptor {
    int number;
    explicit Descriptor(long opened) : number(static_cast<int>(opened)) {}
    ~Descriptor() {
        if (number >= 0) close(number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
};

long Version() {
    return syscall(SYS_landlock_create_ruleset, nullptr, size_t{0},
                   LANDLOCK_CREATE_RULESET_VERSION);
}

u64 FileRights() {
    return Version() >= 3 ? kWriteFile | kTruncateFile : kWriteFile;
}

u64 WriteRights() {
    return FileRights() | kRemoveFolder | kRemoveFile | kMakeAnything | kMoveBetween;
}

// Gives rights below `path`, or to the file. A path that does not exist gets none.
void Permit(const Descriptor& rules, const std::string& path, u64 rights) {
    const Descriptor place(open(path.c_str(), O_PATH | O_CLOEXEC));
    struct stat status;
    if (place.number < 0 || fstat(place.number, &status) != 0) return;
    landlock_path_beneath_attr rule = {};
    rule.allowed_access = S_ISDIR(status.st_mode) ? rights : rights & (FileRights() | kExecute);
    rule.parent_fd = place.number;
    if (rule.allowed_access == 0) return;
    syscall(SYS_landlock_add_rule, rules.number, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
}

// Restricts this thread: everything that `permit` does not give back is refused.
template <class PermitSome>
std::string Restrict(PermitSome permit) {
    landlock_ruleset_attr attributes = {};
    attributes.handled_access_fs = kExecute | WriteRights();
    const Descriptor rules(
        syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes.handled_access_fs, 0));
    if (rules.number < 0) return std::strerror(errno);
    permit(rules);
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        syscall(SYS_landlock_restrict_self, rules.number, 0) != 0) {
        return std::strerror(errno);
    }
    return "";
}

// A build with sanitizers explains its findings with the help of another program.
void PermitSymbolizer(const Descriptor& rules) {
    if (!kCheckedAccess) return;
    const char* const symbolizer = std::getenv("ASAN_SYMBOLIZER_PATH");
    for (const char* const program : {symbolizer, "/usr/bin/llvm-symbolizer", "/usr/bin/addr2line",
                                      "/lib64/ld-linux-x86-64.so.2"}) {
        if (program != nullptr) Permit(rules, program, kExecute);
    }
}

bool IsFolder(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string NearestFolder(std::string path) {
    while (!path.empty() && !IsFolder(path)) {
        const size_t slash = path.rfind('/');
        path.resize(slash == std::string::npos ? 0 : slash);
    }
    return path.empty() ? "/" : path;
}

std::string RestrictTo(const std::string& writable) {
    return Restrict([&writable](const Descriptor& rules) {
        Permit(rules, writable, WriteRights());
        Permit(rules, places.resourcesFolder, kRemoveFile);
        PermitSymbolizer(rules);
        for (const std::string& file : places.files) Permit(rules, file, FileRights());
        for (const char* const sink : kSinks) Permit(rules, sink, kWriteFile);
        if (!places.devices) return;
        for (const char* const device : kDevices) Permit(rules, device, kWriteFile);
    });
}

}  // namespace

std::string SandboxObstacle() {
    const long version = Version();
    if (version >= kOldestVersion) return "";
    if (version >= 0) return "the kernel's Landlock is too old";
    return errno == ENOSYS || errno == EOPNOTSUPP ? "the kernel offers no Landlock"
                                                  : std::strerror(errno);
}

std::string StartSandbox(const SandboxPlaces& wanted) {
    if (std::string obstacle = SandboxObstacle(); !obstacle.empty()) return obstacle;
    places = wanted;
    if (places.dataFolder.empty()) places.dataFolder += '.';
    for (const std::string& file : places.files) {
        // Only what is missing: to open and close a pipe would tell its reader that all is over.
        const Descriptor made(open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    }
    const std::string nearest = NearestFolder(places.dataFolder);
    toBeNarrowed = !IsFolder(places.dataFolder);
    std::string error = RestrictTo(nearest);
    if (!error.empty()) toBeNarrowed = false;
    return error;
}

void NarrowSandbox() {
    if (!toBeNarrowed || !IsFolder(places.dataFolder)) return;
    toBeNarrowed = false;
    const std::string error = RestrictTo(places.dataFolder);
    if (!error.empty()) SystemLog("the sandbox stays wide: " + error);
}

void DeleteInSandbox(const char* path) {
    if (!toBeNarrowed) {
        unlink(path);
        return;
    }
    // A restriction holds for a thread, so one that lives no longer than this can have it.
    try {
        std::thread([path] {
            const std::string error = Restrict([](const Descriptor& rules) {
                Permit(rules, places.resourcesFolder, kRemoveFile);
            });
            if (error.empty()) unlink(path);
        }).join();
    } catch (const std::system_error&) {
        SystemLog("no thread to delete a file");
    }
}
