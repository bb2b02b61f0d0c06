#pragma once
// A file in memory, for readers that want a name.

#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "fuzz/require.h"

namespace moxi {

// It has its name as long as it is open.
struct MemoryFile {
    explicit MemoryFile(std::string_view text) : file(memfd_create("records", MFD_CLOEXEC)) {
        Require(file >= 0 &&
                write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size()));
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { close(file); }
    std::string Path() const { return "/proc/self/fd/" + std::to_string(file); }
    int file;
};

}  // namespace moxi
