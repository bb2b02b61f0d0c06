#pragma once
// The calls of the C library that can fail for reasons outside MOXI: one record, so that tests can
// make each of them fail. Nobody else writes it.

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdio>
#include <cstdlib>

struct SystemCalls {
    std::FILE* (*open)(const char* path, const char* mode);
    std::size_t (*read)(void* buffer, std::size_t count, std::FILE* stream);
    std::size_t (*write)(const void* data, std::size_t count, std::FILE* stream);
    int (*seek)(std::FILE* stream, off_t offset, int origin);
    int (*close)(std::FILE* stream);
    void* (*allocate)(std::size_t size);  // null when there is no memory
    void (*release)(void* block);
};

// A named pipe or a socket is no file: opening one would wait for somebody at its other end.
inline std::FILE* OpenFile(const char* path, const char* mode) {
    struct stat status;
    if (stat(path, &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode))) {
        return nullptr;
    }
    return std::fopen(path, mode);
}

inline constinit SystemCalls systemCalls = {
    .open = OpenFile,
    .read = [](void* buffer, std::size_t count,
               std::FILE* stream) { return std::fread(buffer, 1, count, stream); },
    .write = [](const void* data, std::size_t count,
                std::FILE* stream) { return std::fwrite(data, 1, count, stream); },
    .seek = [](std::FILE* stream, off_t offset,
               int origin) { return fseeko(stream, offset, origin); },
    .close = [](std::FILE* stream) { return std::fclose(stream); },
    .allocate = [](std::size_t size) { return std::malloc(size); },
    .release = [](void* block) { std::free(block); },
};
