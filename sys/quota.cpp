#include "sys/quota.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "base/log.h"
#include "desktop/folders.h"
#include "sys/files.h"

namespace moxi {

namespace {

// What a write may take beyond its bytes: the rest of a block, in a file with holes.
constexpr u64 kBlock = 4096;
constexpr u64 kStatBlock = 512;
// Nobody nests folders so deeply but to make the measuring fail.
constexpr u32 kDeepest = 64;

// Somebody else may have made room: so often a full folder is measured anew.
constexpr u32 kRefusalsBetweenLooks = 64;

// What the data folder holds at most. It is exact after it has been measured, until writes have
// been let through by a guess or something has been deleted.
constexpr u64 kNotMeasured = u64{1} << 62;
constinit u64 held = kNotMeasured;
constinit bool isExact = false;
constinit u32 refusals = 0;

u64 HeldBy(const struct stat& status) {
    if (!S_ISREG(status.st_mode)) return 0;
    return std::min(static_cast<u64>(status.st_size),
                    static_cast<u64>(status.st_blocks) * kStatBlock);
}

// Adds what a folder holds, until there is more than the limit anyway. Takes over the descriptor.
void Measure(int folder, u32 depth, u64& sum) {
    DIR* const entries = folder < 0 ? nullptr : fdopendir(folder);
    if (entries == nullptr) {
        if (folder >= 0) close(folder);
        return;
    }
    while (const dirent* const entry = readdir(entries)) {
        const std::string name = entry->d_name;
        struct stat status;
        if (name == "." || name == ".." ||
            fstatat(dirfd(entries), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        sum += HeldBy(status);
        if (sum > folders.dataLimit) break;
        if (!S_ISDIR(status.st_mode) || depth == kDeepest) continue;
        Measure(
            openat(dirfd(entries), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC),
            depth + 1, sum);
    }
    closedir(entries);
}

u64 MeasureDataFolder() {
    const std::string folder = DataFolder();
    u64 sum = 0;
    Measure(open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), 0,
            sum);
    return sum;
}

struct Growth {
    u64 bytes;
    bool isExact;
};

// How many of the bytes make the file larger.
Growth GrowthBy(std::FILE* stream, u32 count) {
    struct stat status;
    const off_t position = ftello(stream);
    if (position < 0 || fstat(fileno(stream), &status) != 0) return {count, false};
    if (!S_ISREG(status.st_mode)) return {0, true};
    // In a file with holes a byte may be the first of a block.
    if (position > status.st_size || HeldBy(status) < static_cast<u64>(status.st_size)) {
        return {count, false};
    }
    const u64 end = static_cast<u64>(position) + count;
    const u64 size = static_cast<u64>(status.st_size);
    return {end > size ? end - size : 0, true};
}

u32 Refuse(u64 fitting) {
    if (refusals == 0) {
        SystemLog(FormatText("the data folder is full: it may hold %llu bytes",
                             static_cast<unsigned long long>(folders.dataLimit)));
    }
    if (++refusals % kRefusalsBetweenLooks == 0) isExact = false;
    return static_cast<u32>(fitting);
}

}  // namespace

u32 WritableBytes(std::FILE* stream, u32 count) {
    const u64 most = folders.dataLimit;
    if (held + count + kBlock <= most) {
        held += count + kBlock;
        isExact = false;
        return count;
    }
    if (!isExact) held = MeasureDataFolder();
    const Growth growth = GrowthBy(stream, count);
    isExact = growth.isExact;
    const u64 room = held < most ? most - held : 0;
    held += std::min(growth.bytes, room);
    return growth.bytes <= room ? count : Refuse(count - (growth.bytes - room));
}

void NoteShrinking() {
    isExact = false;
}

void ResetQuota() {
    // Not measured before it is needed for the first time.
    held = kNotMeasured;
    isExact = false;
    refusals = 0;
}

}  // namespace moxi
