// What the machine does not have: links, times that can be set, rights, connections.

#include "runtime.h"

#define MISSING(name, ...)            \
    error SYSTEM(name)(__VA_ARGS__) { \
        return __WASI_ERRNO_NOTSUP;   \
    }

#pragma clang diagnostic ignored "-Wunused-parameter"

MISSING(fd_filestat_set_times, uint32_t fd, uint64_t accessed, uint64_t changed, uint32_t flags)
MISSING(path_filestat_set_times, uint32_t folder, uint32_t lookup, const char* path, size_t length,
        uint64_t accessed, uint64_t changed, uint32_t flags)
MISSING(path_link, uint32_t folder, uint32_t lookup, const char* path, size_t length,
        uint32_t newFolder, const char* newPath, size_t newLength)
MISSING(path_symlink, const char* path, size_t length, uint32_t folder, const char* newPath,
        size_t newLength)
MISSING(sock_accept, uint32_t fd, uint32_t flags, uint32_t* accepted)
MISSING(sock_recv, uint32_t fd, const void* parts, size_t count, uint32_t flags, size_t* total,
        uint16_t* gotFlags)
MISSING(sock_send, uint32_t fd, const void* parts, size_t count, uint32_t flags, size_t* total)
MISSING(sock_shutdown, uint32_t fd, uint32_t how)

// No name is a link.
error SYSTEM(path_readlink)(uint32_t folder, const char* path, size_t length, char* buffer,
                            size_t size, size_t* used) {
    return __WASI_ERRNO_INVAL;
}

// Advice and fewer rights change nothing.
error SYSTEM(fd_advise)(uint32_t fd, uint64_t offset, uint64_t length, uint32_t advice) {
    return __WASI_ERRNO_SUCCESS;
}

error SYSTEM(fd_fdstat_set_rights)(uint32_t fd, uint64_t base, uint64_t inheriting) {
    return __WASI_ERRNO_SUCCESS;
}
