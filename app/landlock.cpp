#include "app/landlock.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace moxi {

namespace {

// The rights by their numbers, of which the system's headers may lack the newer.
constexpr u64 kExecute = 1 << 0;
constexpr u64 kWriteFile = 1 << 1;
constexpr u64 kReadFile = 1 << 2;
constexpr u64 kReadFolder = 1 << 3;
constexpr u64 kRemoveFolder = 1 << 4;
constexpr u64 kRemoveFile = 1 << 5;
constexpr u64 kMakeAnything = 0x1FC0;    // bits 6 to 12: devices, folders, files, sockets, links
constexpr u64 kMoveBetween = 1 << 13;    // from version 2
constexpr u64 kTruncateFile = 1 << 14;   // from version 3
constexpr u64 kDeviceCommand = 1 << 15;  // from version 5
constexpr u64 kForFiles = kExecute | kWriteFile | kReadFile | kTruncateFile | kDeviceCommand;

constexpr u64 kBindTcp = 1 << 0;
constexpr u64 kConnectTcp = 1 << 1;
// Signals to processes that are not restricted likewise.
constexpr u64 kScopeSignal = 1 << 1;

// What the kernel is told to refuse. Older kernels know only the first numbers.
struct Handled {
    u64 files;
    u64 network;  // from version 4
    u64 scoped;   // from version 6
};

long Version() {
    static const long version =
        syscall(SYS_landlock_create_ruleset, nullptr, size_t{0}, LANDLOCK_CREATE_RULESET_VERSION);
    return version;
}

u64 KnownFileRights() {
    u64 rights = kMoveBetween - 1;
    if (Version() >= 2) {
        rights |= kMoveBetween;
    }
    if (Version() >= 3) {
        rights |= kTruncateFile;
    }
    if (Version() >= 5) {
        rights |= kDeviceCommand;
    }
    return rights;
}

size_t HandledSize() {
    if (Version() >= 6) {
        return sizeof(Handled);
    }
    return Version() >= 4 ? offsetof(Handled, scoped) : offsetof(Handled, network);
}

}  // namespace

std::string LandlockObstacle() {
    if (Version() >= 1) {
        return "";
    }
    errno = 0;
    syscall(SYS_landlock_create_ruleset, nullptr, size_t{0}, LANDLOCK_CREATE_RULESET_VERSION);
    return errno == ENOSYS || errno == EOPNOTSUPP ? "the kernel offers no Landlock"
                                                  : std::strerror(errno);
}

bool LandlockMovesBetweenFolders() {
    return Version() >= 2;
}

LandlockRules::LandlockRules(bool network) {
    const Handled handled = {.files = KnownFileRights(),
                             .network = network ? kBindTcp | kConnectTcp : 0,
                             .scoped = kScopeSignal};
    descriptor = static_cast<int>(syscall(SYS_landlock_create_ruleset, &handled, HandledSize(), 0));
    if (descriptor < 0) {
        error = errno;
    }
}

LandlockRules::~LandlockRules() {
    if (descriptor >= 0) {
        close(descriptor);
    }
}

void LandlockRules::Permit(const std::string& path, u64 rights) {
    const int place = path.empty() ? -1 : open(path.c_str(), O_PATH | O_CLOEXEC);
    if (place < 0) {
        return;
    }
    struct stat status;
    landlock_path_beneath_attr rule = {};
    if (fstat(place, &status) == 0) {
        rule.allowed_access = rights & KnownFileRights();
        if (!S_ISDIR(status.st_mode)) {
            rule.allowed_access &= kForFiles;
        }
        rule.parent_fd = place;
    }
    if (rule.allowed_access != 0) {
        syscall(SYS_landlock_add_rule, descriptor, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
    }
    close(place);
}

void LandlockRules::PermitReading(const std::string& path) {
    Permit(path, kReadFile | kReadFolder);
}

void LandlockRules::PermitWriting(const std::string& path) {
    Permit(path, kReadFile | kReadFolder | kWriteFile | kTruncateFile | kRemoveFolder |
                     kRemoveFile | kMakeAnything | kMoveBetween);
}

void LandlockRules::PermitRemovingFiles(const std::string& path) {
    Permit(path, kRemoveFile);
}

void LandlockRules::PermitRunning(const std::string& path) {
    Permit(path, kExecute | kReadFile);
}

void LandlockRules::PermitDevice(const std::string& path) {
    Permit(path, kReadFile | kReadFolder | kWriteFile | kDeviceCommand);
}

void LandlockRules::PermitReadingDevices(const std::string& path) {
    Permit(path, kReadFile | kReadFolder | kDeviceCommand);
}

std::string LandlockRules::Restrict() const {
    if (descriptor < 0) {
        return std::strerror(error);
    }
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        syscall(SYS_landlock_restrict_self, descriptor, 0) != 0) {
        return std::strerror(errno);
    }
    return "";
}

}  // namespace moxi
