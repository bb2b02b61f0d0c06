// Any bytes as a game's archive. It is unpacked whole or refused, and nothing but plain files and
// folders lies below the folder afterwards, within the limits.

#include <sys/mman.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>

#include "fuzz/confine.h"
#include "fuzz/require.h"
#include "host/archive.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr ArchiveLimits kLimits = {.archiveBytes = 1 << 16,
                                   .entries = 64,
                                   .bytes = 1 << 20,
                                   .ratio = 100,
                                   .smallBytes = 1 << 18,
                                   .nameBytes = 64};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    confine::Confine(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    const std::string folder = confine::folder + "/unpacked";
    std::error_code error;
    fs::remove_all(folder, error);
    fs::create_directory(folder);
    const int file = memfd_create("archive", MFD_CLOEXEC);
    Require(file >= 0 && write(file, data, size) == static_cast<ssize_t>(size));
    lseek(file, 0, SEEK_SET);
    // What is wrong is told with the names as they are; whoever shows it makes a line of it.
    const std::string problem = UnpackArchive(file, folder, kLimits);
    close(file);
    u64 bytes = 0;
    u64 entries = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const fs::file_status status = entry.symlink_status();
        Require(fs::is_directory(status) || fs::is_regular_file(status));
        Require((status.permissions() & (fs::perms::set_uid | fs::perms::set_gid)) ==
                fs::perms::none);
        bytes += fs::is_regular_file(status) ? entry.file_size() : 0;
        ++entries;
    }
    Require(bytes <= kLimits.bytes && problem.size() < 1000);
    // Folders that entries lie in are made without entries of their own.
    Require(entries <= kLimits.entries * kLimits.nameBytes);
    // Nothing has been made beside it.
    Require(std::distance(fs::directory_iterator(confine::folder), fs::directory_iterator()) == 1);
    return 0;
}

}  // namespace moxi
