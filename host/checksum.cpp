#include "host/checksum.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include "base/types.h"

namespace moxi {

namespace {

using Checksum = std::unique_ptr<GChecksum, void (*)(GChecksum*)>;

Checksum NewChecksum() {
    return {g_checksum_new(G_CHECKSUM_SHA256), g_checksum_free};
}

}  // namespace

std::string HashOfText(std::string_view text) {
    const Checksum sum = NewChecksum();
    g_checksum_update(sum.get(), reinterpret_cast<const guchar*>(text.data()),
                      static_cast<gssize>(text.size()));
    return g_checksum_get_string(sum.get());
}

std::string HashOfFile(int file) {
    struct stat status;
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        return "";
    }
    const Checksum sum = NewChecksum();
    u8 part[65536];
    ssize_t count = 0;
    while ((count = read(file, part, sizeof part)) > 0) {
        g_checksum_update(sum.get(), part, count);
    }
    return count == 0 ? g_checksum_get_string(sum.get()) : "";
}

std::string HashOfFile(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0) {
        return "";
    }
    std::string hash = HashOfFile(file);
    close(file);
    return hash;
}

}  // namespace moxi
