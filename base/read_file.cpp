#include "base/read_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace moxi {

namespace {

std::string ReadOpenFile(int file, u64 most, std::string& bytes) {
    struct stat status;
    if (fstat(file, &status) != 0) {
        return std::strerror(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "not a file";
    }
    bytes.clear();
    char part[65536];
    for (;;) {
        const ssize_t count = read(file, part, sizeof part);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return std::strerror(errno);
        }
        if (count == 0) {
            return "";
        }
        if (bytes.size() + static_cast<u64>(count) > most) {
            return "too large";
        }
        bytes.append(part, static_cast<std::size_t>(count));
    }
}

}  // namespace

std::string ReadWholeFile(const std::string& path, u64 most, std::string& bytes) {
    // Without O_NONBLOCK a pipe would wait here for somebody at its other end.
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    // A socket cannot be opened at all.
    if (file < 0) {
        return errno == ENXIO ? "not a file" : std::strerror(errno);
    }
    std::string reason = ReadOpenFile(file, most, bytes);
    close(file);
    return reason;
}

}  // namespace moxi
