// Open files and folders: the C library's descriptors, served by the machine's file services.

#include <stdlib.h>
#include <string.h>

#include "runtime.h"

enum { kDescriptors = 128, kRoot = 3 };

typedef enum { kClosed, kInput, kOutput, kRootFolder, kOpenFolder, kOpenFile } use;

// What the machine's stream did last: between reading and writing it wants to be told a position.
typedef enum { kNoneYet, kRead, kWritten } stream_state;

typedef struct {
    use use;
    bool readable, writable, appends;
    stream_state state;
    moxi_file file;
    uint64_t position;   // where the next read or write happens
    uint64_t streamsAt;  // where the machine's stream stands
    char* name;          // of a file or a folder
    listing list;        // of a folder that is being read
} descriptor;

// Apart from the others, which are all zero and take no room in the module.
static descriptor first[] = {
    {.use = kInput, .readable = true},
    {.use = kOutput, .writable = true},
    {.use = kOutput, .writable = true},
    {.use = kRootFolder, .readable = true, .name = (char*)""},
};
enum { kFirst = sizeof first / sizeof *first };
static descriptor others[kDescriptors - kFirst];

static descriptor* At(uint32_t fd) {
    return fd < kFirst ? &first[fd] : &others[fd - kFirst];
}

static descriptor* Find(uint32_t fd) {
    return fd < kDescriptors && At(fd)->use != kClosed ? At(fd) : NULL;
}

static descriptor* FindFile(uint32_t fd) {
    descriptor* const found = Find(fd);
    return found != NULL && found->use == kOpenFile ? found : NULL;
}

static bool IsFolder(const descriptor* found) {
    return found != NULL && (found->use == kRootFolder || found->use == kOpenFolder);
}

static error TakeDescriptor(const descriptor* content, const char* name, uint32_t* fd) {
    for (uint32_t i = 0; i < kDescriptors; ++i) {
        if (At(i)->use != kClosed) continue;
        char* const copy = strdup(name);
        if (copy == NULL) return __WASI_ERRNO_NOMEM;
        *At(i) = *content;
        At(i)->name = copy;
        *fd = i;
        return __WASI_ERRNO_SUCCESS;
    }
    return __WASI_ERRNO_MFILE;
}

static void Close(descriptor* open) {
    if (open->use == kOpenFile) moxi_file_close(open->file);
    if (open->use == kOpenFile || open->use == kOpenFolder) free(open->name);
    FreeListing(&open->list);
    memset(open, 0, sizeof *open);
}

// --- The folder that every name begins at

error SYSTEM(fd_prestat_get)(uint32_t fd, __wasi_prestat_t* stat) {
    if (fd != kRoot) return __WASI_ERRNO_BADF;
    memset(stat, 0, sizeof *stat);
    stat->tag = __WASI_PREOPENTYPE_DIR;
    stat->u.dir.pr_name_len = 1;
    return __WASI_ERRNO_SUCCESS;
}

error SYSTEM(fd_prestat_dir_name)(uint32_t fd, uint8_t* name, size_t size) {
    if (fd != kRoot) return __WASI_ERRNO_BADF;
    if (size < 1) return __WASI_ERRNO_NAMETOOLONG;
    name[0] = '/';
    return __WASI_ERRNO_SUCCESS;
}

// The name that a path means below an open folder.
static error NameAt(uint32_t fd, const char* path, size_t length, char name[kNameSize],
                    bool* endsInSlash) {
    const descriptor* const folder = Find(fd);
    if (folder == NULL) return __WASI_ERRNO_BADF;
    if (!IsFolder(folder)) return __WASI_ERRNO_NOTDIR;
    return ResolveName(folder->name, path, length, name, endsInSlash);
}

// --- Opening

static error OpenFolder(const char* name, uint32_t* fd) {
    const descriptor folder = {.use = kOpenFolder, .readable = true};
    return TakeDescriptor(&folder, name, fd);
}

static error OpenHandle(descriptor* file, const char* name, uint32_t mode, uint32_t* fd) {
    file->use = kOpenFile;
    file->file = moxi_file_open(name, mode);
    if (file->file == MOXI_NO_FILE) return __WASI_ERRNO_ACCES;
    const error problem = TakeDescriptor(file, name, fd);
    if (problem != __WASI_ERRNO_SUCCESS) moxi_file_close(file->file);
    return problem;
}

// A file of the resources that is to be written is copied into the data folder first.
static error OpenForWriting(descriptor* file, const char* name, kind kind, uint16_t flags,
                            uint32_t* fd) {
    if (kind == kNothing || (flags & __WASI_OFLAGS_TRUNC) != 0) {
        return OpenHandle(file, name, MOXI_FILE_NEW, fd);
    }
    if (!LiesInDataFolder(name)) {
        const error problem = CopyToDataFolder(name, name);
        if (problem != __WASI_ERRNO_SUCCESS) return problem;
    }
    return OpenHandle(file, name, MOXI_FILE_FOR_CHANGING, fd);
}

error SYSTEM(path_open)(uint32_t folder, uint32_t lookup, const char* path, size_t length,
                        uint16_t flags, uint64_t rights, uint64_t inherited, uint16_t fdflags,
                        uint32_t* fd) {
    (void)lookup;
    (void)inherited;
    char name[kNameSize];
    bool endsInSlash = false;
    const error problem = NameAt(folder, path, length, name, &endsInSlash);
    if (problem != __WASI_ERRNO_SUCCESS) return problem;
    descriptor file = {.readable = (rights & __WASI_RIGHTS_FD_READ) != 0,
                       .writable = (rights & __WASI_RIGHTS_FD_WRITE) != 0,
                       .appends = (fdflags & __WASI_FDFLAGS_APPEND) != 0};
    const bool creates = (flags & __WASI_OFLAGS_CREAT) != 0;
    const entry found = LookUp(name);
    if (found.kind == kFolder) {
        if (creates && (flags & __WASI_OFLAGS_EXCL) != 0) return __WASI_ERRNO_EXIST;
        const bool asFolder = (flags & __WASI_OFLAGS_DIRECTORY) != 0;
        if (!asFolder && (creates || file.writable)) return __WASI_ERRNO_ISDIR;
        return OpenFolder(name, fd);
    }
    if (found.kind == kFile) {
        if ((flags & __WASI_OFLAGS_DIRECTORY) != 0 || endsInSlash) return __WASI_ERRNO_NOTDIR;
        if (creates && (flags & __WASI_OFLAGS_EXCL) != 0) return __WASI_ERRNO_EXIST;
        if (!file.writable && (flags & __WASI_OFLAGS_TRUNC) == 0) {
            return OpenHandle(&file, name, MOXI_FILE_FOR_READING, fd);
        }
    } else {
        if (!creates) return __WASI_ERRNO_NOENT;
        if (endsInSlash) return __WASI_ERRNO_ISDIR;
        const error parent = CheckParent(name);
        if (parent != __WASI_ERRNO_SUCCESS) return parent;
    }
    return OpenForWriting(&file, name, found.kind, flags, fd);
}

error SYSTEM(fd_close)(uint32_t fd) {
    descriptor* const open = Find(fd);
    if (open == NULL) return __WASI_ERRNO_BADF;
    if (open->use == kOutput) FlushLog();
    Close(open);
    return __WASI_ERRNO_SUCCESS;
}

error SYSTEM(fd_renumber)(uint32_t from, uint32_t to) {
    if (Find(from) == NULL || Find(to) == NULL) return __WASI_ERRNO_BADF;
    if (from == to) return __WASI_ERRNO_SUCCESS;
    Close(At(to));
    *At(to) = *At(from);
    memset(At(from), 0, sizeof *At(from));
    return __WASI_ERRNO_SUCCESS;
}

// --- Reading and writing

// Brings the machine's stream to where the next read or write is to happen.
static bool Prepare(descriptor* file, stream_state wanted) {
    if (file->state == wanted && file->streamsAt == file->position) return true;
    file->state = kNoneYet;
    if (file->position > UINT32_MAX - 1) return false;
    if (moxi_file_seek(file->file, (uint32_t)file->position, MOXI_SEEK_FROM_START) == FAILED) {
        return false;
    }
    file->streamsAt = file->position;
    file->state = wanted;
    return true;
}

// How many bytes arrived.
static size_t Read(descriptor* file, void* buffer, size_t size) {
    if (size == 0 || !Prepare(file, kRead)) return 0;
    const size_t count = moxi_file_read(file->file, buffer, (uint32_t)size);
    file->position += count;
    file->streamsAt = file->position;
    // After the end nothing is read any more until the stream has been told a position.
    if (count < size) file->state = kNoneYet;
    return count;
}

static size_t Write(descriptor* file, const void* data, size_t size) {
    if (size == 0 || !Prepare(file, kWritten)) return 0;
    const size_t count = moxi_file_write(file->file, data, (uint32_t)size);
    file->position += count;
    file->streamsAt = file->position;
    if (count < size) file->state = kNoneYet;
    return count;
}

static uint64_t SizeOf(descriptor* file) {
    file->state = kNoneYet;
    const uint32_t size = moxi_file_seek(file->file, 0, MOXI_SEEK_FROM_END);
    return size == FAILED ? 0 : size;
}

static error ReadParts(descriptor* file, const __wasi_iovec_t* parts, size_t count, size_t* total) {
    *total = 0;
    for (size_t i = 0; i < count; ++i) {
        const size_t arrived = Read(file, parts[i].buf, parts[i].buf_len);
        *total += arrived;
        if (arrived < parts[i].buf_len) break;
    }
    return __WASI_ERRNO_SUCCESS;
}

static error WriteParts(descriptor* file, const __wasi_ciovec_t* parts, size_t count,
                        size_t* total) {
    *total = 0;
    for (size_t i = 0; i < count; ++i) {
        const size_t written = Write(file, parts[i].buf, parts[i].buf_len);
        *total += written;
        if (written == parts[i].buf_len) continue;
        return *total > 0 ? __WASI_ERRNO_SUCCESS : __WASI_ERRNO_NOSPC;
    }
    return __WASI_ERRNO_SUCCESS;
}

error SYSTEM(fd_read)(uint32_t fd, const __wasi_iovec_t* parts, size_t count, size_t* total) {
    descriptor* const open = Find(fd);
    *total = 0;
    if (open == NULL || !open->readable) return __WASI_ERRNO_BADF;
    if (IsFolder(open)) return __WASI_ERRNO_ISDIR;
    // Standard input is empty.
    return open->use == kInput ? __WASI_ERRNO_SUCCESS : ReadParts(open, parts, count, total);
}

error SYSTEM(fd_write)(uint32_t fd, const __wasi_ciovec_t* parts, size_t count, size_t* total) {
    descriptor* const open = Find(fd);
    *total = 0;
    if (open == NULL || !open->writable) return __WASI_ERRNO_BADF;
    if (open->use == kOutput) return WriteLog(fd == 2, parts, count, total);
    if (open->appends) open->position = SizeOf(open);
    return WriteParts(open, parts, count, total);
}

error SYSTEM(fd_pread)(uint32_t fd, const __wasi_iovec_t* parts, size_t count, uint64_t offset,
                       size_t* total) {
    descriptor* const file = FindFile(fd);
    if (file == NULL || !file->readable) return __WASI_ERRNO_BADF;
    const uint64_t position = file->position;
    file->position = offset;
    const error problem = ReadParts(file, parts, count, total);
    file->position = position;
    return problem;
}

error SYSTEM(fd_pwrite)(uint32_t fd, const __wasi_ciovec_t* parts, size_t count, uint64_t offset,
                        size_t* total) {
    descriptor* const file = FindFile(fd);
    if (file == NULL || !file->writable) return __WASI_ERRNO_BADF;
    const uint64_t position = file->position;
    file->position = offset;
    const error problem = WriteParts(file, parts, count, total);
    file->position = position;
    return problem;
}

error SYSTEM(fd_seek)(uint32_t fd, int64_t offset, uint8_t origin, uint64_t* position) {
    descriptor* const open = Find(fd);
    if (open == NULL) return __WASI_ERRNO_BADF;
    if (open->use != kOpenFile) return __WASI_ERRNO_SPIPE;
    int64_t base = 0;
    if (origin == __WASI_WHENCE_CUR) base = (int64_t)open->position;
    if (origin == __WASI_WHENCE_END) base = (int64_t)SizeOf(open);
    int64_t wanted;
    if (origin > __WASI_WHENCE_END || __builtin_add_overflow(base, offset, &wanted) || wanted < 0) {
        return __WASI_ERRNO_INVAL;
    }
    open->position = (uint64_t)wanted;
    *position = open->position;
    return __WASI_ERRNO_SUCCESS;
}

error SYSTEM(fd_tell)(uint32_t fd, uint64_t* position) {
    return SYSTEM(fd_seek)(fd, 0, __WASI_WHENCE_CUR, position);
}

// What is written is on its way at once.
error SYSTEM(fd_sync)(uint32_t fd) {
    return Find(fd) == NULL ? __WASI_ERRNO_BADF : __WASI_ERRNO_SUCCESS;
}

error SYSTEM(fd_datasync)(uint32_t fd) {
    return SYSTEM(fd_sync)(fd);
}

// --- What is open

static uint8_t TypeOf(const descriptor* open) {
    switch (open->use) {
        case kOpenFile: return __WASI_FILETYPE_REGULAR_FILE;
        case kRootFolder:
        case kOpenFolder: return __WASI_FILETYPE_DIRECTORY;
        default: return __WASI_FILETYPE_CHARACTER_DEVICE;
    }
}

error SYSTEM(fd_fdstat_get)(uint32_t fd, __wasi_fdstat_t* stat) {
    const descriptor* const open = Find(fd);
    if (open == NULL) return __WASI_ERRNO_BADF;
    memset(stat, 0, sizeof *stat);
    stat->fs_filetype = TypeOf(open);
    if (open->appends) stat->fs_flags = __WASI_FDFLAGS_APPEND;
    // A device without the right to seek is a terminal for the C library, which writes line by line
    // to it: as the log wants it.
    const bool device = open->use == kInput || open->use == kOutput;
    stat->fs_rights_base = ~(__wasi_rights_t)0;
    if (device) stat->fs_rights_base &= ~(__WASI_RIGHTS_FD_SEEK | __WASI_RIGHTS_FD_TELL);
    if (!open->readable) stat->fs_rights_base &= ~__WASI_RIGHTS_FD_READ;
    if (!open->writable) stat->fs_rights_base &= ~__WASI_RIGHTS_FD_WRITE;
    stat->fs_rights_inheriting = ~(__wasi_rights_t)0;
    return __WASI_ERRNO_SUCCESS;
}

error SYSTEM(fd_fdstat_set_flags)(uint32_t fd, uint16_t flags) {
    descriptor* const open = Find(fd);
    if (open == NULL) return __WASI_ERRNO_BADF;
    open->appends = open->use == kOpenFile && (flags & __WASI_FDFLAGS_APPEND) != 0;
    return __WASI_ERRNO_SUCCESS;
}

static void FillStat(__wasi_filestat_t* stat, const char* name, const entry* found) {
    memset(stat, 0, sizeof *stat);
    stat->ino = NumberOfName(name);
    stat->nlink = 1;
    stat->filetype =
        found->kind == kFolder ? __WASI_FILETYPE_DIRECTORY : __WASI_FILETYPE_REGULAR_FILE;
    stat->size = found->size;
    stat->mtim = stat->atim = stat->ctim = found->changed * (uint64_t)1000000000;
}

error SYSTEM(fd_filestat_get)(uint32_t fd, __wasi_filestat_t* stat) {
    descriptor* const open = Find(fd);
    if (open == NULL) return __WASI_ERRNO_BADF;
    entry found = {IsFolder(open) ? kFolder : kFile, 0, 0};
    if (open->use == kOpenFile) found.size = (uint32_t)SizeOf(open);
    if (open->use == kOpenFile || open->use == kOpenFolder) {
        found.changed = (uint32_t)moxi_file_time(open->name);
    }
    FillStat(stat, open->name == NULL ? "" : open->name, &found);
    stat->filetype = TypeOf(open);
    return __WASI_ERRNO_SUCCESS;
}

error SYSTEM(path_filestat_get)(uint32_t folder, uint32_t lookup, const char* path, size_t length,
                                __wasi_filestat_t* stat) {
    (void)lookup;
    char name[kNameSize];
    bool endsInSlash = false;
    const error problem = NameAt(folder, path, length, name, &endsInSlash);
    if (problem != __WASI_ERRNO_SUCCESS) return problem;
    const entry found = LookUp(name);
    if (found.kind == kNothing) return __WASI_ERRNO_NOENT;
    if (found.kind == kFile && endsInSlash) return __WASI_ERRNO_NOTDIR;
    FillStat(stat, name, &found);
    return __WASI_ERRNO_SUCCESS;
}

error SYSTEM(fd_readdir)(uint32_t fd, void* buffer, size_t size, uint64_t cookie, size_t* used) {
    descriptor* const folder = Find(fd);
    if (folder == NULL) return __WASI_ERRNO_BADF;
    if (!IsFolder(folder)) return __WASI_ERRNO_NOTDIR;
    if (cookie == 0) {
        const error problem = ReadListing(folder->name, &folder->list);
        if (problem != __WASI_ERRNO_SUCCESS) return problem;
    }
    return CopyListing(folder->name, &folder->list, buffer, size, cookie, used);
}

// --- Another size. The machine can empty a file, not cut it: what stays is written anew.

static error Shorten(descriptor* file, uint32_t size) {
    char* const content = (char*)malloc(size + 1);
    if (content == NULL) return __WASI_ERRNO_NOMEM;
    const uint64_t position = file->position;
    file->position = 0;
    const size_t read = Read(file, content, size);
    const moxi_file emptied = moxi_file_open(file->name, MOXI_FILE_NEW);
    error problem = emptied == MOXI_NO_FILE ? __WASI_ERRNO_ACCES : __WASI_ERRNO_SUCCESS;
    if (emptied != MOXI_NO_FILE) {
        moxi_file_close(file->file);
        file->file = emptied;
        file->state = kNoneYet;
        file->position = 0;
        if (Write(file, content, read) != read) problem = __WASI_ERRNO_NOSPC;
    }
    file->position = position;
    free(content);
    return problem;
}

error SYSTEM(fd_filestat_set_size)(uint32_t fd, uint64_t size) {
    descriptor* const file = FindFile(fd);
    if (file == NULL) return __WASI_ERRNO_BADF;
    if (!file->writable) return __WASI_ERRNO_INVAL;
    if (size >= UINT32_MAX) return __WASI_ERRNO_FBIG;
    const uint64_t old = SizeOf(file);
    if (size < old) return Shorten(file, (uint32_t)size);
    if (size == old) return __WASI_ERRNO_SUCCESS;
    const uint64_t position = file->position;
    file->position = size - 1;
    const size_t written = Write(file, "", 1);
    file->position = position;
    return written == 1 ? __WASI_ERRNO_SUCCESS : __WASI_ERRNO_NOSPC;
}

error SYSTEM(fd_allocate)(uint32_t fd, uint64_t offset, uint64_t length) {
    descriptor* const file = FindFile(fd);
    if (file == NULL) return __WASI_ERRNO_BADF;
    if (offset + length <= SizeOf(file)) return __WASI_ERRNO_SUCCESS;
    return SYSTEM(fd_filestat_set_size)(fd, offset + length);
}

// --- Names

error SYSTEM(path_create_directory)(uint32_t folder, const char* path, size_t length) {
    char name[kNameSize];
    error problem = NameAt(folder, path, length, name, NULL);
    if (problem != __WASI_ERRNO_SUCCESS) return problem;
    if (LookUp(name).kind != kNothing) return __WASI_ERRNO_EXIST;
    problem = CheckParent(name);
    if (problem != __WASI_ERRNO_SUCCESS) return problem;
    MakeFoldersTo(name);
    return MakeFolder(name) ? __WASI_ERRNO_SUCCESS : __WASI_ERRNO_ACCES;
}

error SYSTEM(path_remove_directory)(uint32_t folder, const char* path, size_t length) {
    char name[kNameSize];
    const error problem = NameAt(folder, path, length, name, NULL);
    if (problem != __WASI_ERRNO_SUCCESS) return problem;
    const kind kind = LookUp(name).kind;
    if (kind == kNothing) return __WASI_ERRNO_NOENT;
    if (kind == kFile) return __WASI_ERRNO_NOTDIR;
    if (*name == 0) return __WASI_ERRNO_BUSY;
    listing list = {NULL, NULL, 0};
    const error unread = ReadListing(name, &list);
    const bool empty = list.count <= 2;
    FreeListing(&list);
    if (unread != __WASI_ERRNO_SUCCESS) return unread;
    if (!empty) return __WASI_ERRNO_NOTEMPTY;
    moxi_remove_folder(name);
    return LookUp(name).kind == kNothing ? __WASI_ERRNO_SUCCESS : __WASI_ERRNO_ACCES;
}

// Files that came with the game stay.
error SYSTEM(path_unlink_file)(uint32_t folder, const char* path, size_t length) {
    char name[kNameSize];
    const error problem = NameAt(folder, path, length, name, NULL);
    if (problem != __WASI_ERRNO_SUCCESS) return problem;
    const kind kind = LookUp(name).kind;
    if (kind == kNothing) return __WASI_ERRNO_NOENT;
    if (kind == kFolder) return __WASI_ERRNO_ISDIR;
    if (!LiesInDataFolder(name)) return __WASI_ERRNO_ROFS;
    moxi_file_delete(name);
    return LiesInDataFolder(name) ? __WASI_ERRNO_ACCES : __WASI_ERRNO_SUCCESS;
}

// Whether what has a name may be replaced by what gets that name.
static error CheckTarget(kind from, const char* to) {
    const kind kind = LookUp(to).kind;
    if (kind == kNothing) return CheckParent(to);
    if (kind == kFolder && from == kFile) return __WASI_ERRNO_ISDIR;
    if (kind == kFile && from == kFolder) return __WASI_ERRNO_NOTDIR;
    return __WASI_ERRNO_SUCCESS;
}

static bool IsInside(const char* name, const char* folder) {
    const size_t length = strlen(folder);
    return strncmp(name, folder, length) == 0 && name[length] == '/';
}

// The machine never replaces anything, so what is to be replaced goes first.
static error Rename(const char* from, const char* to) {
    const kind kind = LookUp(from).kind;
    if (kind == kNothing) return __WASI_ERRNO_NOENT;
    if (strcmp(from, to) == 0) return __WASI_ERRNO_SUCCESS;
    if (*from == 0 || *to == 0) return __WASI_ERRNO_BUSY;
    if (kind == kFolder && IsInside(to, from)) return __WASI_ERRNO_INVAL;
    if (kind == kFile && !LiesInDataFolder(from)) return __WASI_ERRNO_ROFS;
    const error problem = CheckTarget(kind, to);
    if (problem != __WASI_ERRNO_SUCCESS) return problem;
    if (kind == kFile && LookUp(to).kind == kFile && LiesInDataFolder(to)) moxi_file_delete(to);
    if (kind == kFolder && LookUp(to).kind == kFolder) {
        const error full = SYSTEM(path_remove_directory)(kRoot, to, strlen(to));
        if (full != __WASI_ERRNO_SUCCESS) return full;
    }
    MakeFoldersTo(to);
    moxi_file_move(from, to);
    // A file of the resources can have come to light under the old name.
    const bool moved = kind == kFile ? LiesInDataFolder(to) : LookUp(to).kind == kFolder;
    return moved ? __WASI_ERRNO_SUCCESS : __WASI_ERRNO_ACCES;
}

error SYSTEM(path_rename)(uint32_t folder, const char* path, size_t length, uint32_t newFolder,
                          const char* newPath, size_t newLength) {
    char from[kNameSize];
    char to[kNameSize];
    error problem = NameAt(folder, path, length, from, NULL);
    if (problem == __WASI_ERRNO_SUCCESS) problem = NameAt(newFolder, newPath, newLength, to, NULL);
    return problem == __WASI_ERRNO_SUCCESS ? Rename(from, to) : problem;
}
