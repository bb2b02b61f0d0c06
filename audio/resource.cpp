#include "audio/resource.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace {

bool ReadAll(int file, std::vector<u8>& bytes) {
    size_t got = 0;
    while (got < bytes.size()) {
        const ssize_t count = read(file, bytes.data() + got, bytes.size() - got);
        if (count < 0) return false;
        if (count == 0) break;
        got += static_cast<size_t>(count);
    }
    bytes.resize(got);
    return true;
}

}  // namespace

std::optional<std::vector<u8>> ReadResource(const char* path, size_t limit) {
    if (path == nullptr) return std::nullopt;
    // Without O_NONBLOCK a pipe among the resources would halt the game.
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return std::nullopt;
    std::optional<std::vector<u8>> bytes;
    struct stat status;
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
        bytes.emplace(std::min(limit, static_cast<size_t>(status.st_size)));
        if (!ReadAll(file, *bytes)) bytes.reset();
    }
    close(file);
    return bytes;
}
