#include "sys/quota.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "base/log.h"
#include "desktop/folders.h"
#include "sys/data_folder.h"

namespace moxi {

namespace {

// What a write may take beyond its bytes: the rest of a block, in a file with holes.
constexpr u64 kBlock = 4096;
constexpr u64 kStatBlock = 512;
// Only somebody who wants the measuring to fail nests folders this deeply; more counts as full.
constexpr std::size_t kLongestPath = 4000;
constexpr u64 kFull = u64{1} << 61;

// A file or folder takes room besides its contents, so their number is bounded, too: one for each
// block that the folder may hold, and enough of them where it may hold little.
constexpr u64 kFewestEntries = 1024;

// After so many refusals a full folder is measured anew, since somebody else may have made room.
constexpr u32 kRefusalsBetweenLooks = 64;

// What the data folder holds at most. It is exact after it has been measured, until writes have
// been let through by a guess or something has been deleted.
constexpr u64 kNotMeasured = u64{1} << 62;
constinit u64 held = kNotMeasured;
constinit bool isExact = false;
constinit u32 refusals = 0;

// The same for files and folders.
constinit u64 entries = kNotMeasured;
constinit bool entriesAreExact = false;
constinit u32 entryRefusals = 0;

u64 HeldBy(const struct stat& status) {
    if (!S_ISREG(status.st_mode)) {
        return 0;
    }
    return std::min(static_cast<u64>(status.st_size),
                    static_cast<u64>(status.st_blocks) * kStatBlock);
}

struct Contents {
    u64 bytes;
    u64 entries;
};

// Adds what lies in one folder and names the folders among it. Takes over the descriptor.
void MeasureFolder(int folder, const std::string& path, Contents& sum,
                   std::vector<std::string>& below) {
    DIR* const list = folder < 0 ? nullptr : fdopendir(folder);
    if (list == nullptr) {
        if (folder >= 0) {
            close(folder);
        }
        return;
    }
    while (const dirent* const entry = readdir(list)) {
        const std::string name = entry->d_name;
        struct stat status;
        if (name == "." || name == ".." ||
            fstatat(dirfd(list), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        sum.bytes += HeldBy(status);
        ++sum.entries;
        if (!S_ISDIR(status.st_mode)) {
            continue;
        }
        std::string inside = path;
        if (!inside.empty()) {
            inside += '/';
        }
        inside += name;
        below.push_back(std::move(inside));
    }
    closedir(list);
}

Contents MeasureDataFolder() {
    const std::string folder = DataFolder();
    const int root = open(folder.empty() ? "." : folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    Contents sum = {0, 0};
    if (root < 0) {
        return sum;
    }
    std::vector<std::string> waiting = {""};
    while (!waiting.empty()) {
        const std::string path = std::move(waiting.back());
        waiting.pop_back();
        if (path.size() >= kLongestPath) {
            sum = {kFull, kFull};
            break;
        }
        const int opened = openat(root, path.empty() ? "." : path.c_str(),
                                  O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        MeasureFolder(opened, path, sum, waiting);
    }
    close(root);
    return sum;
}

void Measure() {
    const Contents contents = MeasureDataFolder();
    held = contents.bytes;
    entries = contents.entries;
    isExact = entriesAreExact = true;
}

struct Growth {
    u64 bytes;
    bool isExact;
};

// How many of the bytes make the file larger.
Growth GrowthBy(std::FILE* stream, u32 count) {
    struct stat status;
    const off_t position = ftello(stream);
    if (position < 0 || fstat(fileno(stream), &status) != 0) {
        return {count, false};
    }
    if (!S_ISREG(status.st_mode)) {
        return {0, true};
    }
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
    if (++refusals % kRefusalsBetweenLooks == 0) {
        isExact = false;
    }
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
    if (!isExact) {
        Measure();
    }
    const Growth growth = GrowthBy(stream, count);
    isExact = growth.isExact;
    const u64 room = held < most ? most - held : 0;
    held += std::min(growth.bytes, room);
    return growth.bytes <= room ? count : Refuse(count - (growth.bytes - room));
}

u64 MostEntries() {
    return std::max(folders.dataLimit / kBlock, kFewestEntries);
}

bool MayMakeEntry() {
    const u64 most = MostEntries();
    if (entries >= most && !entriesAreExact) {
        Measure();
    }
    if (entries < most) {
        ++entries;
        entriesAreExact = false;  // what was allowed may yet fail
        return true;
    }
    if (entryRefusals == 0) {
        SystemLog(FormatText("the data folder is full: it may hold %llu files and folders",
                             static_cast<unsigned long long>(most)));
    }
    if (++entryRefusals % kRefusalsBetweenLooks == 0) {
        entriesAreExact = false;
    }
    return false;
}

void NoteShrinking() {
    isExact = entriesAreExact = false;
}

void ResetQuota() {
    // Not measured before it is needed for the first time.
    held = kNotMeasured;
    entries = kNotMeasured;
    isExact = entriesAreExact = false;
    refusals = entryRefusals = 0;
}

}  // namespace moxi
