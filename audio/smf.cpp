#include "audio/smf.h"

#include <algorithm>
#include <cstring>

namespace moxi {

namespace {

constexpr u32 kHeaderChunkSize = 6;
constexpr u32 kMaximalFormat = 2;
// No message that a synthesiser knows is longer.
constexpr size_t kLongestSysex = 64;

constexpr u8 kSysexStart = 0xF0;
constexpr u8 kSysexEnd = 0xF7;
constexpr u8 kMeta = 0xFF;
constexpr u8 kMetaEndOfTrack = 0x2F;
constexpr u8 kMetaTempo = 0x51;

// A place in the file. Reading beyond the end gives zeros and leaves `bad` set.
struct Reader {
    std::span<const u8> bytes;
    size_t position = 0;
    bool bad = false;

    size_t Left() const { return bytes.size() - position; }

    u8 Byte() {
        if (Left() == 0) {
            bad = true;
            return 0;
        }
        return bytes[position++];
    }

    u32 BigEndian(u32 count) {
        u32 value = 0;
        for (u32 i = 0; i < count; ++i) {
            value = value << 8 | Byte();
        }
        return value;
    }

    // A variable-length number, 7 bits a byte, at most 4 bytes.
    u32 Variable() {
        u32 value = 0;
        for (u32 i = 0; i < 4; ++i) {
            const u8 byte = Byte();
            value = value << 7 | (byte & 0x7F);
            if (byte < 0x80) {
                return value;
            }
        }
        bad = true;
        return 0;
    }

    std::span<const u8> Take(size_t count) {
        if (count > Left()) {
            bad = true;
            return {};
        }
        const std::span<const u8> taken = bytes.subspan(position, count);
        position += count;
        return taken;
    }
};

bool IsChunk(std::span<const u8> id, const char* name) {
    return std::memcmp(id.data(), name, 4) == 0;
}

bool ReadDivision(u32 division, SmfFile& file) {
    if (division < 0x8000) {
        file.ticksPerBeat = division;
        return division != 0;
    }
    file.realTime = true;
    file.ticksPerFrame = division & 0xFF;
    const u32 format = 0x100 - (division >> 8);
    // 29 stands for the 30 frames of the colour television system, which lose 1 in 1,001.
    file.framesPerSecond = format == 29 ? 30000 : format;
    file.secondDenominator = format == 29 ? 1001 : 1;
    const bool known = format == 24 || format == 25 || format == 29 || format == 30;
    return known && file.ticksPerFrame != 0;
}

// --- One track

struct Track {
    Reader reader;
    SmfFile& file;
    u64 tick = 0;
    u8 runningStatus = 0;
    std::vector<u8> pendingSysex;  // a message that comes in several packets
};

void EmitSysex(Track& track, std::span<const u8> message) {
    const bool plain = std::all_of(message.begin(), message.end(), [](u8 b) { return b < 0x80; });
    if (!plain || message.empty() || message.size() > kLongestSysex) {
        return;
    }
    const u32 start = static_cast<u32>(track.file.sysex.size());
    track.file.sysex.push_back(static_cast<u8>(message.size()));
    track.file.sysex.insert(track.file.sysex.end(), message.begin(), message.end());
    track.file.events.push_back({.tick = track.tick, .value = start, .status = kSysexStart});
}

// A packet: F0 starts a message, F7 continues one. A message is complete when its last byte is F7.
void ReadSysex(Track& track, u8 status) {
    const std::span<const u8> packet = track.reader.Take(track.reader.Variable());
    if (track.reader.bad) {
        return;
    }
    if (status == kSysexStart) {
        track.pendingSysex.clear();
    } else if (track.pendingSysex.empty()) {
        return;  // bytes to be sent as they are: nothing that a synthesiser would answer to
    }
    if (track.pendingSysex.size() <= kLongestSysex) {
        // One byte too many is enough to know that the message is too long.
        const size_t kept = std::min(packet.size(), kLongestSysex + 2);
        track.pendingSysex.insert(track.pendingSysex.end(), packet.begin(),
                                  packet.begin() + static_cast<std::ptrdiff_t>(kept));
    }
    if (packet.empty() || packet.back() != kSysexEnd) {
        return;
    }
    if (track.pendingSysex.back() == kSysexEnd) {
        track.pendingSysex.pop_back();
        EmitSysex(track, track.pendingSysex);
    }
    track.pendingSysex.clear();
}

// False at the end of the track.
bool ReadMeta(Track& track) {
    const u8 type = track.reader.Byte();
    const std::span<const u8> data = track.reader.Take(track.reader.Variable());
    if (track.reader.bad || type == kMetaEndOfTrack) {
        return false;
    }
    if (type == kMetaTempo && data.size() >= 3) {
        const u32 tempo = static_cast<u32>(data[0] << 16 | data[1] << 8 | data[2]);
        // Beats that take no time would never end.
        if (tempo != 0) {
            track.file.events.push_back({.tick = track.tick, .value = tempo, .status = kMeta});
        }
    }
    return true;
}

void ReadChannelMessage(Track& track, u8 status, u8 data1) {
    const u8 kind = status & 0xF0;
    const bool oneByte = kind == 0xC0 || kind == 0xD0;
    const u8 data2 = oneByte ? u8{0} : track.reader.Byte();
    if (track.reader.bad || data1 >= 0x80 || data2 >= 0x80) {
        return;
    }
    track.file.events.push_back(
        {.tick = track.tick, .status = status, .data1 = data1, .data2 = data2});
}

// Reads the next event. False at the end of the track and for a damaged event, which leaves
// `reader.bad` set.
bool ReadEvent(Track& track) {
    Reader& reader = track.reader;
    track.tick += reader.Variable();
    const u8 first = reader.Byte();
    if (reader.bad) {
        return false;
    }
    if (first < 0x80) {
        reader.bad = track.runningStatus == 0;
        if (!reader.bad) {
            ReadChannelMessage(track, track.runningStatus, first);
        }
        return !reader.bad;
    }
    if (first < kSysexStart) {
        track.runningStatus = first;
        ReadChannelMessage(track, first, reader.Byte());
        return !reader.bad;
    }
    if (first == kMeta) {
        return ReadMeta(track);
    }
    reader.bad = first != kSysexStart && first != kSysexEnd;
    if (!reader.bad) {
        ReadSysex(track, first);
    }
    return !reader.bad;
}

bool ReadTrack(std::span<const u8> bytes, SmfFile& file) {
    Track track = {.reader = {.bytes = bytes}, .file = file, .pendingSysex = {}};
    while (track.reader.Left() > 0 && ReadEvent(track)) {
    }
    file.longestTrack = std::max(file.longestTrack, track.tick);
    return !track.reader.bad;
}

}  // namespace

bool ReadSmf(std::span<const u8> bytes, SmfFile& file, std::string& reason) {
    file = {};
    const auto refuse = [&reason](const char* why) {
        reason = why;
        return false;
    };
    Reader reader = {.bytes = bytes};
    const std::span<const u8> id = reader.Take(4);
    if (reader.bad || !IsChunk(id, "MThd")) {
        return refuse("not a MIDI file");
    }
    const u32 headerSize = reader.BigEndian(4);
    const u32 format = reader.BigEndian(2);
    const u32 trackCount = reader.BigEndian(2);
    const u32 division = reader.BigEndian(2);
    if (reader.bad || headerSize < kHeaderChunkSize || format > kMaximalFormat) {
        return refuse("a MIDI header of no known form");
    }
    if (!ReadDivision(division, file)) {
        return refuse("a time division of no known form");
    }
    reader.Take(headerSize - kHeaderChunkSize);

    file.events.reserve(bytes.size() / 4);
    for (u32 found = 0; found < trackCount;) {
        const std::span<const u8> chunkId = reader.Take(4);
        const std::span<const u8> chunk = reader.Take(reader.BigEndian(4));
        if (reader.bad) {
            return refuse("the file ends before its last track");
        }
        if (!IsChunk(chunkId, "MTrk")) {
            continue;
        }
        if (!ReadTrack(chunk, file)) {
            return refuse("a damaged track");
        }
        ++found;
    }
    // The sort keeps the order of what happens at the same tick.
    std::stable_sort(file.events.begin(), file.events.end(),
                     [](const SmfEvent& a, const SmfEvent& b) { return a.tick < b.tick; });
    return true;
}

}  // namespace moxi
