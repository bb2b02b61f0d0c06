#include "sys/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

#include "base/log.h"
#include "desktop/folders.h"
#include "sys/dispatch.h"
#include "sys/system_calls.h"

namespace {

// The studio's folder inside the user's application support folder.
constexpr const char* kStudioFolder = "Quillmoss Software";

std::string dataFolder;
std::string resourcesFolder;

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
    if (handle >= openCount || openFiles[handle].stream == nullptr) return nullptr;
    return &openFiles[handle];
}

bool Exists(const char* path) {
    struct stat status;
    return path != nullptr && stat(path, &status) == 0;
}

std::FILE* OpenPath(const char* path, const char* mode) {
    return path == nullptr ? nullptr : systemCalls.open(path, mode);
}

// The module is told in the service's own way. The player, whose saved game it is, learns of the
// first failure that lies in the folder and not in the name.
void NoteFailedWrite(int error) {
    const bool isFull = error == ENOSPC || error == EDQUOT || error == EIO;
    if (failedWriteIsTold || (!isFull && access(dataFolder.c_str(), W_OK | X_OK) == 0)) return;
    failedWriteIsTold = true;
    SystemLog("data cannot be written to " + dataFolder + ": " + std::strerror(error));
}

u32 TakeHandle(std::FILE* stream, bool writable) {
    if (stream == nullptr) return kNoFile;
    // What is written is on its way at once: the count that a write reports is true, and other
    // handles on the file see it.
    if (writable) std::setvbuf(stream, nullptr, _IONBF, 0);
    openFiles[openCount] = {stream, writable};
    return openCount++;
}

// Makes every missing folder on the way to the last "/" of `path`, outermost first.
void MakeFoldersOnPath(std::string path) {
    const std::size_t last = path.rfind('/');
    if (last == std::string::npos) return;
    path.resize(last);
    // Find the longest prefix that exists; everything after it is to be made.
    std::size_t end = path.size();
    while (end > 0 && !Exists(path.substr(0, end).c_str())) {
        const std::size_t slash = path.rfind('/', end - 1);
        end = slash == std::string::npos ? 0 : slash;
    }
    while (end < path.size()) {
        const std::size_t slash = path.find('/', end + 1);
        end = slash == std::string::npos ? path.size() : slash;
        if (mkdir(path.substr(0, end).c_str(), 0777) != 0 && errno != EEXIST) {
            return NoteFailedWrite(errno);
        }
    }
}

// The data folder comes first: until it exists the sandbox is wider than names may reach.
void MakeParentFolders(const std::string& path) {
    if (!Exists(dataFolder.c_str())) {
        MakeFoldersOnPath(dataFolder);
        sysSlots.beforeFileChange();
    }
    MakeFoldersOnPath(path);
}

}  // namespace

// --- Folders

void InitFolders() {
    // A write that passes a file size limit is to come short, not to end the process.
    std::signal(SIGXFSZ, SIG_IGN);
    resourcesFolder = folders.resources + "/";
    dataFolder = DataFolder();
    if (!dataFolder.empty() && dataFolder.back() != '/') dataFolder += "/";
}

std::string DataFolder() {
    if (!folders.dataOverride.empty()) return folders.dataOverride;
    // Without a support folder the data lies in the process's current folder.
    if (folders.support.empty()) return "";
    return folders.support + "/" + kStudioFolder + "/" + folders.gameName;
}

const char* BuildPath(const char* name, bool inDataFolder) {
    const std::string& folder = inDataFolder ? dataFolder : resourcesFolder;
    // Eight characters decide, so ../MUSICBOX.DAT is shortened too.
    if (std::strncmp(name, "../MUSIC", 8) == 0) name += 3;
    const std::size_t length = std::strlen(name);
    if (folder.size() + length >= kPathBufferSize) return nullptr;
    folder.copy(pathBuffer, folder.size());
    std::memcpy(pathBuffer + folder.size(), name, length + 1);
    return pathBuffer;
}

// --- Open files

namespace {

// The data-folder path of a name that is opened by the rule for writing, its folders made. Null
// when the path does not fit.
const char* PathToWrite(const char* name) {
    sysSlots.beforeFileChange();
    const char* path = BuildPath(name, true);
    if (path == nullptr) return nullptr;
    if (std::FILE* existing = systemCalls.open(path, "rbe")) {
        systemCalls.close(existing);
    } else {
        MakeParentFolders(path);
    }
    return path;
}

std::FILE* OpenToWrite(const char* path, const char* mode) {
    std::FILE* stream = systemCalls.open(path, mode);
    if (stream == nullptr) NoteFailedWrite(errno);
    return stream;
}

// Waits until no other start of the game is in the middle of the same file, but not for ever: that
// one may have been halted.
void Lock(u32 handle, int operation) {
    constexpr int kTries = 1000;
    const OpenStream* file = FindStream(handle);
    if (file == nullptr) return;
    for (int i = 0; i < kTries; ++i) {
        if (flock(fileno(file->stream), operation | LOCK_NB) == 0 || errno != EWOULDBLOCK) return;
        usleep(1000);
    }
}

}  // namespace

u32 OpenFile(const char* name, u32 mode) {
    if (openCount == kMaximalOpenFiles) return kNoFile;
    if (mode == kOpenRead) {
        std::FILE* stream = OpenPath(BuildPath(name, true), "rbe");
        if (stream == nullptr) stream = OpenPath(BuildPath(name, false), "rbe");
        return TakeHandle(stream, false);
    }
    const char* path = PathToWrite(name);
    if (path == nullptr) return kNoFile;
    switch (mode) {
        case kOpenUpdate: return TakeHandle(OpenToWrite(path, "r+be"), true);
        case kOpenCreate: return TakeHandle(OpenToWrite(path, "w+be"), true);
        default: return TakeHandle(systemCalls.open(path, "rbe"), false);
    }
}

u32 OpenToReplace(const char* name) {
    if (openCount == kMaximalOpenFiles) return kNoFile;
    const char* path = PathToWrite(name);
    if (path == nullptr) return kNoFile;
    // Not emptied before it is locked.
    std::FILE* stream = systemCalls.open(path, "r+be");
    if (stream == nullptr) stream = OpenToWrite(path, "w+be");
    const u32 handle = TakeHandle(stream, true);
    if (handle == kNoFile) return kNoFile;
    LockToWrite(handle);
    // What cannot be emptied, a device for one, is written as it is.
    if (ftruncate(fileno(stream), 0) != 0) errno = 0;
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
    if (file == nullptr || buffer == nullptr || std::feof(file->stream) != 0) return 0;
    return static_cast<u32>(systemCalls.read(buffer, count, file->stream));
}

u32 WriteFile(u32 handle, const void* data, u32 count) {
    const OpenStream* file = FindStream(handle);
    if (file == nullptr || data == nullptr) return 0;
    const std::size_t written = systemCalls.write(data, count, file->stream);
    if (written < count && file->writable) NoteFailedWrite(errno);
    return static_cast<u32>(written);
}

u32 SeekFile(u32 handle, u32 offset, u32 origin) {
    constexpr int kOrigins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    const OpenStream* file = FindStream(handle);
    if (file == nullptr || origin > 2) return kNoFile;
    // The offset is widened without sign: there is no way back but from the start.
    if (systemCalls.seek(file->stream, off_t{offset}, kOrigins[origin]) != 0) return kNoFile;
    return static_cast<u32>(ftello(file->stream));
}

u32 AtEndOfFile(u32 handle) {
    const OpenStream* file = FindStream(handle);
    if (file == nullptr) return kNoFile;
    return std::feof(file->stream) != 0 ? 1 : 0;
}

void CloseFile(u32 handle) {
    OpenStream* file = FindStream(handle);
    if (file == nullptr) return;
    systemCalls.close(file->stream);
    *file = {};
    while (openCount > 0 && openFiles[openCount - 1].stream == nullptr) openCount--;
}

u64 ReadableBytes(u32 handle, u32 count) {
    const OpenStream* file = FindStream(handle);
    if (file == nullptr || std::feof(file->stream) != 0) return 0;
    struct stat status;
    const off_t position = ftello(file->stream);
    if (position < 0 || fstat(fileno(file->stream), &status) != 0) return count;
    if (S_ISDIR(status.st_mode)) return 0;
    if (!S_ISREG(status.st_mode)) return count;
    if (position >= status.st_size) return 0;
    const u64 rest = static_cast<u64>(status.st_size - position);
    return rest < count ? rest : count;
}

bool IsWritable(u32 handle) {
    const OpenStream* file = FindStream(handle);
    return file != nullptr && file->writable;
}

// --- Names

u32 FileSize(const char* name, u32* time, u32* kind) {
    struct stat status;
    const char* path = BuildPath(name, true);
    if (path == nullptr || stat(path, &status) != 0) {
        path = BuildPath(name, false);
        if (path == nullptr || stat(path, &status) != 0) return kNoFile;
    }
    *time = static_cast<u32>(status.st_mtim.tv_sec);
    *kind = S_ISDIR(status.st_mode) ? kKindFolder : kKindFile;
    std::FILE* stream = systemCalls.open(path, "rbe");
    if (stream == nullptr) return kNoFile;
    systemCalls.seek(stream, 0, SEEK_END);
    const u32 size = static_cast<u32>(ftello(stream));
    systemCalls.close(stream);
    return size;
}

void DeleteFile(const char* name) {
    sysSlots.beforeFileChange();
    const char* path = BuildPath(name, true);
    if (Exists(path)) {
        unlink(path);
        return;
    }
    path = BuildPath(name, false);
    if (Exists(path)) sysSlots.deleteResource(path);
}

u32 MakeFolder(const char* name) {
    sysSlots.beforeFileChange();
    const char* path = BuildPath(name, true);
    if (path == nullptr) return kNoFile;
    if (mkdir(path, 0777) == 0 || errno == EEXIST) return 0;
    // The data folder itself is not this service's to make.
    if (errno != ENOENT) NoteFailedWrite(errno);
    return kNoFile;
}

void RemoveFolder(const char* name) {
    sysSlots.beforeFileChange();
    const char* path = BuildPath(name, true);
    if (path != nullptr) rmdir(path);
}

void MoveFile(const char* oldName, const char* newName) {
    sysSlots.beforeFileChange();
    const char* path = BuildPath(oldName, true);
    if (path == nullptr) return;
    const std::string oldPath = path;
    path = BuildPath(newName, true);
    if (path == nullptr) return;
    if (renameat2(AT_FDCWD, oldPath.c_str(), AT_FDCWD, path, RENAME_NOREPLACE) == 0) return;
    if (errno != EINVAL && errno != ENOSYS) return;
    // A file system without that operation: look first. Nobody else writes into the data folder.
    struct stat status;
    if (lstat(path, &status) != 0) std::rename(oldPath.c_str(), path);
}

void ResetFiles() {
    while (openCount > 0) CloseFile(openCount - 1);
    dataFolder.clear();
    resourcesFolder.clear();
    failedWriteIsTold = false;
}
