#include "sys/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

#include "base/log.h"
#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "sys/beneath.h"
#include "sys/dispatch.h"
#include "sys/quota.h"
#include "sys/system_calls.h"

namespace moxi {

namespace {

// One of the two folders that names are resolved in. It is opened when it is first needed and stays
// open: names are looked up beneath what is open here.
struct Root {
    std::string path;  // with a trailing "/"; "" is the current folder
    int descriptor = -1;

    void Set(const std::string& folder) {
        Close();
        path = folder;
    }

    void Close() {
        if (descriptor >= 0) {
            close(descriptor);
        }
        descriptor = -1;
    }

    // -1 for a folder that does not exist.
    int Folder() {
        if (descriptor < 0) {
            descriptor = open(path.empty() ? "." : path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        }
        return descriptor;
    }

    // What is open has been removed meanwhile.
    bool IsGone() const {
        struct stat status;
        return descriptor >= 0 && fstat(descriptor, &status) == 0 && status.st_nlink == 0;
    }
};

Root dataRoot;
Root resourcesRoot;

Root& RootOf(bool inDataFolder) {
    return inDataFolder ? dataRoot : resourcesRoot;
}

bool Failed(int result) {
    return result < 0;
}

bool Failed(const std::FILE* stream) {
    return stream == nullptr;
}

// What `act` answers for the folder; where the folder has been removed, for the one that has taken
// its place. In the data folder only what writes looks for such a one: that a name is not there is
// nothing unusual for a read.
template <class Act>
auto In(Root& root, Act act) -> decltype(act(0)) {
    errno = 0;
    auto result = act(root.Folder());
    if (&root == &resourcesRoot && Failed(result) && errno == ENOENT && root.IsGone()) {
        root.Close();
        result = act(root.Folder());
    }
    return result;
}

constinit char pathBuffer[kPathBufferSize] = {};

struct OpenStream {
    std::FILE* stream;
    bool writable;
};
// Every slot at openCount or above is empty; slots below it may be.
constinit OpenStream openFiles[kMaximalOpenFiles] = {};
constinit u32 openCount = 0;
constinit bool failedWriteIsTold = false;

OpenStream* FindStream(u32 handle) {
    if (handle >= openCount || openFiles[handle].stream == nullptr) {
        return nullptr;
    }
    return &openFiles[handle];
}

// A name that BuildPath has a path for, as it is resolved beneath the folder; else null.
const char* NameIn(const char* name, bool inDataFolder) {
    return BuildPath(name, inDataFolder) == nullptr ? nullptr : BesideMusic(name);
}

bool StatIn(const char* name, bool inDataFolder, struct stat& status) {
    const char* const known = NameIn(name, inDataFolder);
    return known != nullptr && In(RootOf(inDataFolder), [&](int folder) {
                                   return StatBeneath(folder, known, &status);
                               }) == 0;
}

// The stream of a name, opened with the flags of open(2); null where there is none.
std::FILE* OpenIn(const char* name, bool inDataFolder, int flags) {
    const char* const known = NameIn(name, inDataFolder);
    if (known == nullptr) {
        return nullptr;
    }
    return In(RootOf(inDataFolder),
              [&](int folder) { return systemCalls.open(folder, known, flags); });
}

// The module is told in the service's own way. The player, whose saved game it is, learns of the
// first failure that lies in the folder and not in the name.
void NoteFailedWrite(int error) {
    const bool isFull = error == ENOSPC || error == EDQUOT || error == EIO;
    if (failedWriteIsTold || (!isFull && access(dataRoot.path.c_str(), W_OK | X_OK) == 0)) {
        return;
    }
    failedWriteIsTold = true;
    SystemLog("data cannot be written to " + dataRoot.path + ": " + std::strerror(error));
}

u32 TakeHandle(std::FILE* stream, bool writable) {
    if (stream == nullptr) {
        return kNoFile;
    }
    // What is written is on its way at once: the count that a write reports is true, and other
    // handles on the file see it.
    if (writable) {
        std::setvbuf(stream, nullptr, _IONBF, 0);
    }
    openFiles[openCount] = {stream, writable};
    return openCount++;
}

// The name is there, or there is room for it.
bool IsThereOrMayBe(const char* name) {
    struct stat status;
    return StatIn(name, true, status) || MayMakeEntry();
}

// Makes every missing folder on the way to the data folder, outermost first.
void MakeDataFolder() {
    const std::string& path = dataRoot.path;
    struct stat status;
    for (std::size_t at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1)) {
        const std::string folder = path.substr(0, at);
        if (stat(folder.c_str(), &status) == 0) {
            continue;
        }
        if (mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST) {
            return NoteFailedWrite(errno);
        }
    }
}

// Makes every missing folder on the way to the name, outermost first. The data folder comes before
// them: until it exists the sandbox is wider than names may reach.
void MakeParentFolders(const std::string& name) {
    if (dataRoot.IsGone()) {
        dataRoot.Close();
    }
    if (dataRoot.Folder() < 0) {
        MakeDataFolder();
        sysSlots.beforeFileChange();
    }
    const int folder = dataRoot.Folder();
    if (folder < 0) {
        return;
    }
    const std::size_t last = name.rfind('/');
    struct stat status;
    if (last == std::string::npos ||
        StatBeneath(folder, name.substr(0, last).c_str(), &status) == 0) {
        return;
    }
    for (std::size_t at = name.find('/'); at != std::string::npos; at = name.find('/', at + 1)) {
        const std::string parent = name.substr(0, at);
        if (IsThereOrMayBe(parent.c_str())) {
            MakeFolderBeneath(folder, parent.c_str());
        }
    }
}

}  // namespace

// --- Folders

void InitFolders() {
    // A write that passes a file size limit is to come short, not to end the process.
    std::signal(SIGXFSZ, SIG_IGN);
    resourcesRoot.Set(folders.resources + "/");
    ResetQuota();
    const std::string data = DataFolder();
    dataRoot.Set(data.empty() || data.back() == '/' ? data : data + "/");
}

const char* BesideMusic(const char* name) {
    // Eight characters decide, so ../MUSICBOX.DAT is shortened too.
    return std::strncmp(name, "../MUSIC", 8) == 0 ? name + 3 : name;
}

const char* BuildPath(const char* name, bool inDataFolder) {
    const std::string& folder = RootOf(inDataFolder).path;
    name = BesideMusic(name);
    const std::size_t length = std::strlen(name);
    if (folder.size() + length >= kPathBufferSize) {
        return nullptr;
    }
    folder.copy(pathBuffer, folder.size());
    std::memcpy(pathBuffer + folder.size(), name, length + 1);
    return pathBuffer;
}

int OpenFolder(const char* name, bool inDataFolder) {
    return In(RootOf(inDataFolder),
              [&](int folder) { return OpenBeneath(folder, name, O_RDONLY | O_DIRECTORY); });
}

bool IsFolder(const char* name, bool inDataFolder) {
    struct stat status;
    return StatIn(name, inDataFolder, status) && S_ISDIR(status.st_mode);
}

int OpenResource(const char* name) {
    if (resourcesRoot.path.size() + std::strlen(name) >= kPathBufferSize) {
        return -1;
    }
    return In(resourcesRoot, [&](int folder) {
        // Without O_NONBLOCK a pipe among the resources would halt the game.
        return OpenBeneath(folder, name, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    });
}

// --- Open files

namespace {

bool CopyWhole(int from, int to) {
    ssize_t copied = 0;
    do {
        copied = sendfile(to, from, nullptr, std::size_t{1} << 30);
    } while (copied > 0);
    return copied == 0;
}

// Puts a copy of the open file in the data folder under a new name. False, and nothing is left,
// when that fails.
bool CopyTo(std::FILE* stream, const char* newName) {
    const int folder = dataRoot.Folder();
    struct stat status;
    const int copy = OpenBeneath(folder, newName, O_WRONLY | O_CREAT | O_EXCL);
    if (copy < 0) {
        return false;
    }
    const bool copied = fstat(fileno(stream), &status) == 0 &&
                        fchmod(copy, status.st_mode & 0777) == 0 && CopyWhole(fileno(stream), copy);
    if (close(copy) != 0 || !copied) {
        UnlinkBeneath(folder, newName);
        return false;
    }
    return true;
}

// A file with another name besides, which may lie anywhere, is not written through this one: from
// now on the name has a file of its own. Returns the stream to write to, null when that fails.
std::FILE* SeparateFile(std::FILE* stream, const char* name, const struct stat& status) {
    if (!S_ISREG(status.st_mode) || status.st_nlink <= 1) {
        return stream;
    }
    const std::string copy = std::string(name) + ".own";
    const int folder = dataRoot.Folder();
    const bool separated = CopyTo(stream, copy.c_str()) && UnlinkBeneath(folder, name) == 0 &&
                           RenameBeneath(folder, copy.c_str(), name) == 0;
    systemCalls.close(stream);
    return separated ? systemCalls.open(folder, name, O_RDWR) : nullptr;
}

// Opens a name by the rule for writing: in the data folder, where the folders on its way are made.
// `isEmpty` becomes true where there is nothing in the file.
std::FILE* OpenByWriteRule(const char* name, int flags, bool& isEmpty) {
    isEmpty = false;
    sysSlots.beforeFileChange();
    const char* const known = NameIn(name, true);
    if (known == nullptr) {
        return nullptr;
    }
    if ((flags & O_CREAT) != 0 && !IsThereOrMayBe(known)) {
        return nullptr;
    }
    std::FILE* stream = OpenIn(name, true, flags);
    if (stream == nullptr) {
        MakeParentFolders(known);
        stream = OpenIn(name, true, flags);
    }
    if (stream == nullptr && flags != O_RDONLY) {
        NoteFailedWrite(errno);
    }
    if (stream == nullptr || flags == O_RDONLY) {
        return stream;
    }
    struct stat status;
    if (fstat(fileno(stream), &status) != 0) {
        return stream;
    }
    isEmpty = status.st_size == 0;
    return SeparateFile(stream, known, status);
}

// What cannot be emptied is written as it is.
void Empty(std::FILE* stream) {
    NoteShrinking();
    if (ftruncate(fileno(stream), 0) != 0) {
        errno = 0;
    }
}

// Waits until no other start of the game is in the middle of the same file, but not for ever: that
// one may have been halted.
void Lock(u32 handle, int operation) {
    constexpr int kTries = 1000;
    const OpenStream* file = FindStream(handle);
    if (file == nullptr) {
        return;
    }
    for (int i = 0; i < kTries; ++i) {
        if (flock(fileno(file->stream), operation | LOCK_NB) == 0 || errno != EWOULDBLOCK) {
            return;
        }
        usleep(1000);
    }
}

}  // namespace

u32 OpenFile(const char* name, u32 mode) {
    if (openCount == kMaximalOpenFiles) {
        return kNoFile;
    }
    std::FILE* stream = nullptr;
    bool isEmpty = false;
    switch (mode) {
        case kOpenRead:
            stream = OpenIn(name, true, O_RDONLY);
            if (stream == nullptr) {
                stream = OpenIn(name, false, O_RDONLY);
            }
            return TakeHandle(stream, false);
        case kOpenUpdate: return TakeHandle(OpenByWriteRule(name, O_RDWR, isEmpty), true);
        case kOpenCreate:
            stream = OpenByWriteRule(name, O_RDWR | O_CREAT, isEmpty);
            if (stream != nullptr && !isEmpty) {
                Empty(stream);
            }
            return TakeHandle(stream, true);
        default: return TakeHandle(OpenByWriteRule(name, O_RDONLY, isEmpty), false);
    }
}

u32 OpenModule(const char* name) {
    if (openCount == kMaximalOpenFiles) {
        return kNoFile;
    }
    if (folders.moduleInData) {
        return OpenFile(name, kOpenRead);
    }
    return TakeHandle(OpenIn(name, false, O_RDONLY), false);
}

u32 OpenToReplace(const char* name) {
    if (openCount == kMaximalOpenFiles) {
        return kNoFile;
    }
    bool isEmpty = false;
    std::FILE* const stream = OpenByWriteRule(name, O_RDWR | O_CREAT, isEmpty);
    const u32 handle = TakeHandle(stream, true);
    if (handle == kNoFile) {
        return kNoFile;
    }
    // Not emptied before it is locked.
    LockToWrite(handle);
    Empty(stream);
    return handle;
}

void LockToRead(u32 handle) {
    Lock(handle, LOCK_SH);
}

void LockToWrite(u32 handle) {
    Lock(handle, LOCK_EX);
}

u32 ReadFile(u32 handle, void* buffer, u32 count) {
    const OpenStream* file = FindStream(handle);
    if (file == nullptr || buffer == nullptr || std::feof(file->stream) != 0) {
        return 0;
    }
    return static_cast<u32>(systemCalls.read(buffer, count, file->stream));
}

u32 WriteFile(u32 handle, const void* data, u32 count) {
    const OpenStream* file = FindStream(handle);
    if (file == nullptr || data == nullptr) {
        return 0;
    }
    if (!file->writable || count == 0) {
        return 0;
    }
    // A full quota has its own line.
    const u32 fitting = WritableBytes(file->stream, count);
    const std::size_t written = systemCalls.write(data, fitting, file->stream);
    if (written < fitting) {
        NoteFailedWrite(errno);
    }
    return static_cast<u32>(written);
}

u32 SeekFile(u32 handle, u32 offset, u32 origin) {
    constexpr int kOrigins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    const OpenStream* file = FindStream(handle);
    if (file == nullptr || origin > 2) {
        return kNoFile;
    }
    // The offset is widened without sign, so the only way back is from the start.
    if (systemCalls.seek(file->stream, off_t{offset}, kOrigins[origin]) != 0) {
        return kNoFile;
    }
    return static_cast<u32>(ftello(file->stream));
}

u32 AtEndOfFile(u32 handle) {
    const OpenStream* file = FindStream(handle);
    if (file == nullptr) {
        return kNoFile;
    }
    return std::feof(file->stream) != 0 ? 1 : 0;
}

void CloseFile(u32 handle) {
    OpenStream* file = FindStream(handle);
    if (file == nullptr) {
        return;
    }
    systemCalls.close(file->stream);
    *file = {};
    while (openCount > 0 && openFiles[openCount - 1].stream == nullptr) {
        --openCount;
    }
}

void AppendToDebugLog(std::string_view bytes) {
    constexpr u32 kFromEnd = 2;
    u32 file = OpenFile("debug.log", kOpenUpdate);
    if (file == kNoFile) {
        file = OpenFile("debug.log", kOpenCreate);
    }
    if (file == kNoFile) {
        return;
    }
    LockToWrite(file);
    SeekFile(file, 0, kFromEnd);
    WriteFile(file, bytes.data(), static_cast<u32>(bytes.size()));
    CloseFile(file);
}

u64 ReadableBytes(u32 handle, u32 count) {
    const OpenStream* file = FindStream(handle);
    if (file == nullptr || std::feof(file->stream) != 0) {
        return 0;
    }
    struct stat status;
    const off_t position = ftello(file->stream);
    if (position < 0 || fstat(fileno(file->stream), &status) != 0) {
        return count;
    }
    if (S_ISDIR(status.st_mode)) {
        return 0;
    }
    if (!S_ISREG(status.st_mode)) {
        return count;
    }
    if (position >= status.st_size) {
        return 0;
    }
    const u64 rest = static_cast<u64>(status.st_size - position);
    return rest < count ? rest : count;
}

bool IsWritable(u32 handle) {
    const OpenStream* file = FindStream(handle);
    return file != nullptr && file->writable;
}

// --- Names

namespace {

// Whether a name that could not be opened, as errno says, is there all the same.
bool IsThere(const char* name, bool inDataFolder, struct stat& status) {
    return errno != ENOENT && StatIn(name, inDataFolder, status);
}

}  // namespace

u32 FileSize(const char* name, u32* time, u32* kind) {
    struct stat status;
    std::FILE* stream = OpenIn(name, true, O_RDONLY);
    if (stream == nullptr && !IsThere(name, true, status)) {
        stream = OpenIn(name, false, O_RDONLY);
        if (stream == nullptr && !IsThere(name, false, status)) {
            return kNoFile;
        }
    }
    if (stream != nullptr && fstat(fileno(stream), &status) != 0) {
        status = {};
    }
    *time = static_cast<u32>(desktop.fileTime(status.st_mtim));
    *kind = S_ISDIR(status.st_mode) ? kKindFolder : kKindFile;
    // What is there and cannot be read has a time and no size.
    if (stream == nullptr) {
        return kNoFile;
    }
    systemCalls.seek(stream, 0, SEEK_END);
    const u32 size = static_cast<u32>(ftello(stream));
    systemCalls.close(stream);
    return size;
}

void DeleteFile(const char* name) {
    sysSlots.beforeFileChange();
    struct stat status;
    if (StatIn(name, true, status)) {
        NoteShrinking();
        UnlinkBeneath(dataRoot.Folder(), BesideMusic(name));
    } else if (folders.deletableResources && StatIn(name, false, status)) {
        sysSlots.deleteResource(resourcesRoot.Folder(), BesideMusic(name));
    }
}

u32 MakeFolder(const char* name) {
    sysSlots.beforeFileChange();
    const char* const known = NameIn(name, true);
    if (known == nullptr) {
        return kNoFile;
    }
    const auto make = [known](int folder) {
        // Without a name it is the data folder itself.
        return *known == 0 && folder < 0 ? mkdir(dataRoot.path.c_str(), 0777)
                                         : MakeFolderBeneath(folder, known);
    };
    if (!IsThereOrMayBe(known)) {
        return kNoFile;
    }
    if (In(dataRoot, make) == 0 || errno == EEXIST) {
        return 0;
    }
    // The data folder itself is not this service's to make.
    if (errno != ENOENT && errno != EBADF) {
        NoteFailedWrite(errno);
    }
    return kNoFile;
}

void RemoveFolder(const char* name) {
    sysSlots.beforeFileChange();
    const char* const known = NameIn(name, true);
    if (known == nullptr) {
        return;
    }
    NoteShrinking();
    In(dataRoot, [known](int folder) { return RemoveFolderBeneath(folder, known); });
}

void MoveFile(const char* oldName, const char* newName) {
    sysSlots.beforeFileChange();
    const char* const from = NameIn(oldName, true);
    const char* const to = NameIn(newName, true);
    if (from == nullptr || to == nullptr) {
        return;
    }
    const int result =
        In(dataRoot, [from, to](int folder) { return RenameBeneath(folder, from, to); });
    if (result == 0 || errno != EXDEV) {
        return;
    }
    // Between two folders the sandbox of an old kernel lets nothing be moved.
    std::FILE* const stream = OpenIn(oldName, true, O_RDONLY);
    if (stream == nullptr) {
        return;
    }
    const bool copied = CopyTo(stream, to);
    systemCalls.close(stream);
    if (copied) {
        UnlinkBeneath(dataRoot.Folder(), from);
    }
}

void ResetFiles() {
    while (openCount > 0) {
        CloseFile(openCount - 1);
    }
    dataRoot.Set("");
    resourcesRoot.Set("");
    failedWriteIsTold = false;
}

}  // namespace moxi
