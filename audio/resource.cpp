#include "audio/resource.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "sys/files.h"

namespace moxi {

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

std::optional<std::vector<u8>> ReadResource(const char* name, size_t limit) {
    const int file = OpenResource(name);
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

}  // namespace moxi
