#include "desktop/headless/wav_writer.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/bytes.h"
#include "base/output_files.h"
#include "desktop/audio_out.h"

namespace moxi {

namespace {

constexpr u32 kHeaderSize = 44;
constexpr u32 kFrameSize = 4;
constexpr u64 kMostBytes = (u64{0xFFFFFFFF} - kHeaderSize) / kFrameSize * kFrameSize;

bool WriteHeader(const WavWriter& writer) {
    std::array<u8, kHeaderSize> header = {};
    const auto text = [&header](u32 at, const char* id) { std::memcpy(header.data() + at, id, 4); };
    const auto number = [&header](u32 at, auto value) { StoreBytes(header.data() + at, value); };
    text(0, "RIFF");
    number(4, static_cast<u32>(writer.bytes + kHeaderSize - 8));
    text(8, "WAVE");
    text(12, "fmt ");
    number(16, u32{16});
    number(20, u16{1});
    number(22, u16{2});
    number(24, u32{kAudioRate});
    number(28, u32{kAudioRate * kFrameSize});
    number(32, u16{kFrameSize});
    number(34, u16{16});
    text(36, "data");
    number(40, static_cast<u32>(writer.bytes));
    return std::fwrite(header.data(), 1, header.size(), writer.file) == header.size();
}

}  // namespace

bool OpenWav(WavWriter& writer, const std::string& path) {
    writer = {.file = outputFiles.open(path)};
    if (writer.file == nullptr) {
        return false;
    }
    writer.failed = !WriteHeader(writer);
    return true;
}

void WriteWav(WavWriter& writer, const i16* samples, u32 frames) {
    const u64 bytes = std::min(u64{frames} * kFrameSize, kMostBytes - writer.bytes);
    if (std::fwrite(samples, 1, bytes, writer.file) != bytes) {
        writer.failed = true;
    }
    writer.bytes += bytes;
}

bool CloseWav(WavWriter& writer) {
    bool written = !writer.failed && std::fseek(writer.file, 0, SEEK_SET) == 0;
    written = written && WriteHeader(writer);
    written = std::fclose(writer.file) == 0 && written;
    writer.file = nullptr;
    return written;
}

}  // namespace moxi
