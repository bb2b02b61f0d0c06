// What names mean. The data folder and the resources are seen as one folder, whose files are read
// from the first that has them and written to the data folder.

#include <stdlib.h>
#include <string.h>

#include "runtime.h"

// Takes the last part of a name away.
static void CutLastPart(char* name) {
    char* const slash = strrchr(name, '/');
    *(slash == NULL ? name : slash) = 0;
}

static error AppendPart(char name[kNameSize], const char* part, size_t length) {
    const size_t old = strlen(name);
    if (old + 1 + length >= kNameSize) return __WASI_ERRNO_NAMETOOLONG;
    char* end = name + old;
    if (old > 0) *end++ = '/';
    memcpy(end, part, length);
    end[length] = 0;
    return __WASI_ERRNO_SUCCESS;
}

error ResolveName(const char* folder, const char* path, size_t length, char name[kNameSize],
                  bool* endsInSlash) {
    const char* const end = path + length;
    const char* const base = length > 0 && *path == '/' ? "" : folder;
    if (length == 0) return __WASI_ERRNO_NOENT;
    if (endsInSlash != NULL) *endsInSlash = end[-1] == '/';
    strcpy(name, base);
    while (path < end) {
        const char* const slash = (const char*)memchr(path, '/', (size_t)(end - path));
        const char* const partEnd = slash == NULL ? end : slash;
        const size_t part = (size_t)(partEnd - path);
        if (part == 2 && path[0] == '.' && path[1] == '.') {
            // The root is its own parent.
            CutLastPart(name);
        } else if (part > 0 && !(part == 1 && path[0] == '.')) {
            const error problem = AppendPart(name, path, part);
            if (problem != __WASI_ERRNO_SUCCESS) return problem;
        }
        path = partEnd + (slash != NULL);
    }
    return __WASI_ERRNO_SUCCESS;
}

// A folder can be opened, but reading from it comes neither to a byte nor to an end.
entry LookUp(const char* name) {
    entry found = {kNothing, 0, 0};
    if (*name == 0) {
        found.kind = kFolder;
        return found;
    }
    const uint32_t changed = (uint32_t)moxi_file_time(name);
    const moxi_file file = moxi_file_open(name, MOXI_FILE_FOR_READING);
    if (file == MOXI_NO_FILE) {
        if (changed == FAILED) return found;
        found.kind = kFolder;
    } else {
        char byte;
        const bool isFile = moxi_file_read(file, &byte, 1) == 1 || moxi_file_at_end(file) == 1;
        found.kind = isFile ? kFile : kFolder;
        if (isFile) found.size = moxi_file_seek(file, 0, MOXI_SEEK_FROM_END);
        moxi_file_close(file);
    }
    found.changed = changed;
    return found;
}

error CheckParent(const char* name) {
    char parent[kNameSize];
    strcpy(parent, name);
    CutLastPart(parent);
    switch (LookUp(parent).kind) {
        case kFolder: return __WASI_ERRNO_SUCCESS;
        case kFile: return __WASI_ERRNO_NOTDIR;
        default: return __WASI_ERRNO_NOENT;
    }
}

bool LiesInDataFolder(const char* name) {
    const moxi_file file = moxi_file_open(name, MOXI_FILE_FOR_CHANGING);
    if (file != MOXI_NO_FILE) moxi_file_close(file);
    return file != MOXI_NO_FILE;
}

// The data folder itself comes with the first file in it, and no folder can be made before.
static bool MakeDataFolder(void) {
    static const char kFirstFile[] = "FIRST.TMP";
    static bool tried;
    if (tried || LookUp(kFirstFile).kind != kNothing) return false;
    tried = true;
    const moxi_file file = moxi_file_open(kFirstFile, MOXI_FILE_NEW);
    if (file == MOXI_NO_FILE) return false;
    moxi_file_close(file);
    moxi_file_delete(kFirstFile);
    return true;
}

bool MakeFolder(const char* name) {
    if (moxi_make_folder(name) == 0) return true;
    return MakeDataFolder() && moxi_make_folder(name) == 0;
}

void MakeFoldersTo(const char* name) {
    char part[kNameSize];
    strcpy(part, name);
    for (char* slash = strchr(part, '/'); slash != NULL; slash = strchr(slash + 1, '/')) {
        *slash = 0;
        MakeFolder(part);
        *slash = '/';
    }
}

error CopyToDataFolder(const char* from, const char* to) {
    enum { kPiece = 4096 };
    static char piece[kPiece];
    const moxi_file source = moxi_file_open(from, MOXI_FILE_FOR_READING);
    if (source == MOXI_NO_FILE) return __WASI_ERRNO_NOENT;
    const moxi_file target = moxi_file_open(to, MOXI_FILE_NEW);
    error problem = target == MOXI_NO_FILE ? __WASI_ERRNO_ACCES : __WASI_ERRNO_SUCCESS;
    while (problem == __WASI_ERRNO_SUCCESS) {
        const uint32_t count = moxi_file_read(source, piece, kPiece);
        if (count == 0) break;
        if (moxi_file_write(target, piece, count) != count) problem = __WASI_ERRNO_NOSPC;
    }
    moxi_file_close(source);
    if (target != MOXI_NO_FILE) moxi_file_close(target);
    if (problem == __WASI_ERRNO_NOSPC) moxi_file_delete(to);
    return problem;
}

uint64_t NumberOfName(const char* name) {
    uint64_t number = 14695981039346656037u;
    for (; *name != 0; ++name) number = (number ^ (uint8_t)*name) * 1099511628211u;
    return number | 1;  // 0 means that nobody knows
}
