#include "tests/support/zip_bytes.h"

#include <zlib.h>

#include <cstring>

namespace moxi {

namespace {

void Add16(std::string& bytes, u32 value) {
    bytes += static_cast<char>(value & 255);
    bytes += static_cast<char>(value >> 8 & 255);
}

void Add32(std::string& bytes, u64 value) {
    Add16(bytes, static_cast<u32>(value & 65535));
    Add16(bytes, static_cast<u32>(value >> 16 & 65535));
}

struct Sums {
    u32 crc = 0;
    u64 size = 0;
};

// What the local and the central header share, from the needed version on.
void AddCommon(std::string& bytes, const ZipEntry& entry, const Sums& sums) {
    Add16(bytes, 20);
    Add16(bytes, entry.flags | 0x800u);  // names are UTF-8
    Add16(bytes, entry.method);
    Add16(bytes, 0);
    Add16(bytes, 0x21);
    Add32(bytes, sums.crc);
    Add32(bytes, entry.content.size());
    Add32(bytes, sums.size);
    Add16(bytes, static_cast<u32>(entry.name.size()));
    Add16(bytes, 0);
}

Sums SumsOf(const ZipEntry& entry) {
    const std::string& text = entry.method == 0 ? entry.content : entry.unpacked;
    const auto* const start = reinterpret_cast<const Bytef*>(text.data());
    return {static_cast<u32>(crc32(0, start, static_cast<uInt>(text.size()))), text.size()};
}

}  // namespace

std::string ZipOf(const std::vector<ZipEntry>& entries) {
    std::string bytes;
    std::string central;
    for (const ZipEntry& entry : entries) {
        const Sums sums = SumsOf(entry);
        const u64 offset = bytes.size();
        Add32(bytes, 0x04034B50);
        AddCommon(bytes, entry, sums);
        bytes += entry.name + entry.content;
        Add32(central, 0x02014B50);
        Add16(central, 3 << 8 | 20);  // made on a Unix system
        AddCommon(central, entry, sums);
        for (int i = 0; i < 3; ++i) {
            Add16(central, 0);
        }
        Add32(central, entry.attributes);
        Add32(central, offset);
        central += entry.name;
    }
    const u64 start = bytes.size();
    bytes += central;
    Add32(bytes, 0x06054B50);
    Add32(bytes, 0);
    Add16(bytes, static_cast<u32>(entries.size()));
    Add16(bytes, static_cast<u32>(entries.size()));
    Add32(bytes, central.size());
    Add32(bytes, start);
    Add16(bytes, 0);
    return bytes;
}

ZipEntry PackedZeros(const std::string& name, u64 size) {
    ZipEntry entry = {.name = name, .content = "", .method = 8};
    entry.unpacked.assign(size, '\0');
    z_stream stream = {};
    deflateInit2(&stream, 9, Z_DEFLATED, -15, 9, Z_DEFAULT_STRATEGY);
    entry.content.resize(deflateBound(&stream, size));
    stream.next_in = reinterpret_cast<Bytef*>(entry.unpacked.data());
    stream.avail_in = static_cast<uInt>(size);
    stream.next_out = reinterpret_cast<Bytef*>(entry.content.data());
    stream.avail_out = static_cast<uInt>(entry.content.size());
    deflate(&stream, Z_FINISH);
    entry.content.resize(stream.total_out);
    deflateEnd(&stream);
    return entry;
}

}  // namespace moxi
