#pragma once
// The calls of the C library that can fail for reasons outside MOXI: one record, so that tests can
// make each of them fail. Nobody else writes it.

#include <sys/types.h>

#include <cstdio>
#include <cstdlib>

#include "sys/beneath.h"

namespace moxi {

struct SystemCalls {
    // A name beneath an open folder, with the flags of open(2); null for what is neither a file nor
    // a folder.
    std::FILE* (*open)(int folder, const char* name, int flags);
    std::size_t (*read)(void* buffer, std::size_t count, std::FILE* stream);
    std::size_t (*write)(const void* data, std::size_t count, std::FILE* stream);
    int (*seek)(std::FILE* stream, off_t offset, int origin);
    int (*close)(std::FILE* stream);
    void* (*allocate)(std::size_t size);  // null when there is no memory
    void (*release)(void* block);
};

inline constinit SystemCalls systemCalls = {
    .open = OpenStreamBeneath,
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

}  // namespace moxi
