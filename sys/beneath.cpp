#include "sys/beneath.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

namespace {

constexpr mode_t kFileMode = 0666;
constexpr mode_t kFolderMode = 0777;
// As many links as the kernel follows in one name.
constexpr u32 kMostLinks = 40;
// A folder that is moved meanwhile makes the kernel give up; then it is asked again.
constexpr u32 kTries = 16;

constinit Resolution resolution = Resolution::Beneath;

// A name that leads out of the folder counts as one that is not there.
int Answer(int result) {
    if (result < 0 && (errno == EXDEV || errno == ELOOP)) {
        errno = ENOENT;
    }
    return result;
}

struct Descriptor {
    int number = -1;
    bool owned = true;
    Descriptor(int opened, bool isOwned) : number(opened), owned(isOwned) {}
    Descriptor(Descriptor&& other) noexcept : number(other.number), owned(other.owned) {
        other.owned = false;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(Descriptor&&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        const int error = errno;
        if (owned && number >= 0) {
            close(number);
        }
        errno = error;
    }
};

// A name is relative to the folder, also with a "/" at its start.
const char* Relative(const char* name) {
    while (*name == '/') {
        ++name;
    }
    return *name == 0 ? "." : name;
}

// --- By the kernel

int OpenByKernel(int folder, const char* name, int flags) {
    open_how how = {};
    how.flags = static_cast<u64>(static_cast<u32>(flags | O_CLOEXEC));
    how.mode = (flags & O_CREAT) != 0 ? kFileMode : 0;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    long opened = -1;
    for (u32 i = 0; i < kTries; ++i) {
        opened = syscall(SYS_openat2, folder, name, &how, sizeof how);
        if (opened >= 0 || (errno != EAGAIN && errno != EINTR)) {
            break;
        }
    }
    return static_cast<int>(opened);
}

// Kernels before 5.6 lack the call, and some containers forbid it.
bool KernelResolves() {
    static const bool resolves = [] {
        const Descriptor here(OpenByKernel(AT_FDCWD, ".", O_PATH), true);
        return here.number >= 0 || (errno != ENOSYS && errno != EPERM);
    }();
    return resolves && resolution == Resolution::Beneath;
}

// --- By walking

class Walk {
  public:
    Walk(int folder, const char* name) : rest(name) { way.emplace_back(folder, false); }

    int Open(int flags) {
        for (;;) {
            const std::string part = NextPart();
            if (part.empty()) {
                return OpenHere(flags);
            }
            if (part == ".") {
                continue;
            }
            if (part == "..") {
                if (way.size() == 1) {
                    return Fail(EXDEV);
                }
                way.pop_back();
                continue;
            }
            const bool last = rest.find_first_not_of('/') == std::string::npos;
            if (last) {
                const int opened = OpenLast(part, flags);
                if (opened != kFollow) {
                    return opened;
                }
            } else if (!Enter(part)) {
                return -1;
            }
        }
    }

  private:
    static constexpr int kFollow = -2;

    static int Fail(int error) {
        errno = error;
        return -1;
    }

    int Here() const { return way.back().number; }

    std::string NextPart() {
        const size_t start = rest.find_first_not_of('/');
        if (start == std::string::npos) {
            return "";
        }
        const size_t end = std::min(rest.find('/', start), rest.size());
        std::string part = rest.substr(start, end - start);
        rest.erase(0, end);
        return part;
    }

    // A name that ends with "." or ".." is a folder.
    int OpenHere(int flags) const {
        if ((flags & O_CREAT) != 0) {
            return Fail(EISDIR);
        }
        return openat(Here(), ".", flags | O_CLOEXEC);
    }

    // kFollow for a link that is to be followed.
    int OpenLast(const std::string& part, int flags) {
        if (!rest.empty()) {
            if ((flags & O_CREAT) != 0) {
                return Fail(EISDIR);
            }
            flags |= O_DIRECTORY;
        }
        Descriptor opened(openat(Here(), part.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, kFileMode),
                          true);
        struct stat status;
        if (opened.number < 0) {
            const int error = errno;
            if (fstatat(Here(), part.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                S_ISLNK(status.st_mode)) {
                return Follow(part) ? kFollow : -1;
            }
            return Fail(error);
        }
        if ((flags & O_PATH) != 0 && fstat(opened.number, &status) == 0 &&
            S_ISLNK(status.st_mode)) {
            return Follow(part) ? kFollow : -1;
        }
        opened.owned = false;
        return opened.number;
    }

    bool Enter(const std::string& part) {
        Descriptor next(openat(Here(), part.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC), true);
        struct stat status;
        if (next.number < 0 || fstat(next.number, &status) != 0) {
            return false;
        }
        if (S_ISLNK(status.st_mode)) {
            return Follow(part);
        }
        if (!S_ISDIR(status.st_mode)) {
            return Fail(ENOTDIR) == 0;
        }
        way.push_back(std::move(next));
        return true;
    }

    // The link's text takes the place of its name.
    bool Follow(const std::string& link) {
        char text[PATH_MAX];
        if (++links > kMostLinks) {
            return Fail(ELOOP) == 0;
        }
        const ssize_t size = readlinkat(Here(), link.c_str(), text, sizeof text);
        if (size < 0) {
            return false;
        }
        if (size == 0 || text[0] == '/') {
            return Fail(EXDEV) == 0;
        }
        rest.insert(0, std::string(text, static_cast<size_t>(size)));
        return true;
    }

    std::vector<Descriptor> way;  // the folders from the first one down to the present one
    std::string rest;             // what is left of the name
    u32 links = 0;
};

int Open(int folder, const char* name, int flags) {
    if (resolution == Resolution::Freely) {
        return openat(folder, name, flags | O_CLOEXEC, kFileMode);
    }
    if (KernelResolves()) {
        return OpenByKernel(folder, name, flags);
    }
    return Walk(folder, name).Open(flags);
}

bool IsPipe(const struct stat& status) {
    return S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode);
}

// --- Where a name stands

// The folder that a name stands in, and its last part with what "/" follow it.
struct Place {
    Descriptor folder;
    const char* last;

    // "." and ".." stand for a folder that has another name elsewhere.
    bool IsName() const {
        const size_t length = std::strcspn(last, "/");
        return length > 0 && !(length <= 2 && std::strncmp(last, "..", length) == 0);
    }
};

Place FindPlace(int folder, const char* name) {
    name = Relative(name);
    size_t end = std::strlen(name);
    while (end > 0 && name[end - 1] == '/') {
        --end;
    }
    while (end > 0 && name[end - 1] != '/') {
        --end;
    }
    if (end == 0) {
        return {{folder, false}, name};
    }
    const std::string parent(name, end);
    return {{Open(folder, parent.c_str(), O_PATH | O_DIRECTORY), true}, name + end};
}

int Remove(int folder, const char* name, int flags) {
    const Place place = FindPlace(folder, name);
    if (place.folder.number < 0) {
        return Answer(-1);
    }
    if (!place.IsName()) {
        errno = EINVAL;
        return -1;
    }
    return Answer(unlinkat(place.folder.number, place.last, flags));
}

// A file system without the operation that never replaces: look first. Nobody else writes into the
// data folder.
int RenameWithCare(const Place& from, const Place& to) {
    struct stat status;
    if (fstatat(to.folder.number, to.last, &status, AT_SYMLINK_NOFOLLOW) == 0) {
        errno = EEXIST;
        return -1;
    }
    return renameat(from.folder.number, from.last, to.folder.number, to.last);
}

}  // namespace

int OpenBeneath(int folder, const char* name, int flags) {
    return Answer(Open(folder, Relative(name), flags));
}

std::FILE* OpenStreamBeneath(int folder, const char* name, int flags) {
    // Freely, devices are files, too, and one that is read waits.
    const bool freely = resolution == Resolution::Freely;
    struct stat status;
    if (freely && StatBeneath(folder, name, &status) == 0 && IsPipe(status)) {
        return nullptr;
    }
    Descriptor opened(OpenBeneath(folder, name, flags | O_NOCTTY | (freely ? 0 : O_NONBLOCK)),
                      true);
    if (opened.number < 0 || fstat(opened.number, &status) != 0) {
        return nullptr;
    }
    if (!freely && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        errno = ENXIO;
        return nullptr;
    }
    std::FILE* const stream = fdopen(opened.number, flags == O_RDONLY ? "rb" : "r+b");
    if (stream != nullptr) {
        opened.owned = false;
    }
    return stream;
}

int StatBeneath(int folder, const char* name, struct stat* status) {
    const Descriptor place(OpenBeneath(folder, name, O_PATH), true);
    return place.number < 0 ? -1 : fstat(place.number, status);
}

int MakeFolderBeneath(int folder, const char* name) {
    const Place place = FindPlace(folder, name);
    if (place.folder.number < 0) {
        return Answer(-1);
    }
    if (place.IsName()) {
        return Answer(mkdirat(place.folder.number, place.last, kFolderMode));
    }
    struct stat status;
    if (StatBeneath(folder, name, &status) == 0) {
        errno = EEXIST;
    }
    return -1;
}

int RemoveFolderBeneath(int folder, const char* name) {
    return Remove(folder, name, AT_REMOVEDIR);
}

int UnlinkBeneath(int folder, const char* name) {
    return Remove(folder, name, 0);
}

int RenameBeneath(int folder, const char* oldName, const char* newName) {
    const Place from = FindPlace(folder, oldName);
    if (from.folder.number < 0) {
        return Answer(-1);
    }
    const Place to = FindPlace(folder, newName);
    if (to.folder.number < 0) {
        return Answer(-1);
    }
    if (!from.IsName() || !to.IsName()) {
        errno = EBUSY;
        return -1;
    }
    if (renameat2(from.folder.number, from.last, to.folder.number, to.last, RENAME_NOREPLACE) ==
        0) {
        return 0;
    }
    return errno == EINVAL || errno == ENOSYS ? RenameWithCare(from, to) : -1;
}

void ResolveNames(Resolution wanted) {
    resolution = wanted;
}

}  // namespace moxi
