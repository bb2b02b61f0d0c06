// Any bytes as a game's archive, or one that is made of entries of any names, kinds and sizes, with
// the check sums right, which no mutation would hit upon. It is unpacked whole or refused, and
// nothing but plain files and folders lies below the folder afterwards, within the limits.

#include <fuzzer/FuzzedDataProvider.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>

#include "fuzz/check_sum.h"
#include "fuzz/confined_start.h"
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

constexpr const char* kNames[] = {"MAIN.MX", "Game.app/", "Game.app/Contents/Info.plist",
                                  "main.mx", "a/b",       "../x",
                                  "/x",      "a",         "a/"};
constexpr u32 kKinds[] = {0,       S_IFREG | 0644, S_IFDIR | 0755,          S_IFLNK | 0777,
                          S_IFIFO, S_IFCHR,        S_IFREG | S_ISUID | 0755};

void Put(std::string& bytes, u32 size, u64 value) {
    for (u32 i = 0; i < size; ++i) {
        bytes += static_cast<char>(value >> (8 * i));
    }
}

u32 Spoilt(FuzzedDataProvider& input, u32 value) {
    return input.ConsumeIntegralInRange<u32>(0, 9) == 0 ? input.ConsumeIntegral<u32>() : value;
}

struct Packed {
    std::string local;
    std::string central;
};

// An entry that is stored as it is, or says that it is packed.
Packed Pack(FuzzedDataProvider& input, size_t place) {
    const std::string name = input.ConsumeIntegralInRange<u32>(0, 2) != 0
                                 ? std::string(input.PickValueInArray(kNames))
                                 : input.ConsumeRandomLengthString(80);
    std::string content = input.ConsumeRandomLengthString(200);
    content.append(input.ConsumeIntegralInRange<u32>(0, 3) == 0 ? 20000 : 0, 'x');
    const u32 size = static_cast<u32>(content.size());
    std::string common;
    Put(common, 2, Spoilt(input, 20));  // the version that is needed
    Put(common, 2, Spoilt(input, 0));   // flags
    Put(common, 2, Spoilt(input, 0));   // stored
    Put(common, 4, 0x5A210000);         // the time
    Put(common, 4, Spoilt(input, CheckSum(content)));
    Put(common, 4, Spoilt(input, size));
    Put(common, 4, Spoilt(input, size));
    Put(common, 2, name.size());
    const std::string extra = input.ConsumeBool() ? "" : input.ConsumeRandomLengthString(40);
    Put(common, 2, extra.size());
    Packed packed;
    Put(packed.local, 4, 0x04034B50);
    packed.local += common + name + extra + content;
    Put(packed.central, 4, 0x02014B50);
    Put(packed.central, 2, input.ConsumeBool() ? 0x031E : Spoilt(input, 20));
    packed.central += common;
    Put(packed.central, 6, 0);  // no comment, the first disk, no attributes inside
    Put(packed.central, 2, 0);
    Put(packed.central, 2, input.PickValueInArray(kKinds));
    Put(packed.central, 4, Spoilt(input, static_cast<u32>(place)));
    packed.central += name + extra;
    return packed;
}

std::string MadeArchive(FuzzedDataProvider& input) {
    std::string archive;
    std::string central;
    u32 count = 0;
    for (; count < 80 && input.remaining_bytes() != 0; ++count) {
        const Packed packed = Pack(input, archive.size());
        archive += packed.local;
        central += packed.central;
    }
    std::string end;
    Put(end, 4, 0x06054B50);
    Put(end, 4, 0);
    Put(end, 2, count);
    Put(end, 2, count);
    Put(end, 4, central.size());
    Put(end, 4, archive.size());
    Put(end, 2, 0);
    return archive + central + end;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    const std::string folder = confine::folder + "/unpacked";
    std::error_code error;
    fs::remove_all(folder, error);
    fs::create_directory(folder);
    std::string archive(reinterpret_cast<const char*>(data), size);
    if (!archive.starts_with("PK")) {
        FuzzedDataProvider input(data, size);
        archive = MadeArchive(input);
    }
    const int file = memfd_create("archive", MFD_CLOEXEC);
    Require(file >= 0 &&
            write(file, archive.data(), archive.size()) == static_cast<ssize_t>(archive.size()));
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
