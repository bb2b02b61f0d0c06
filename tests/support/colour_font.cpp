#include "tests/support/colour_font.h"

#include <utility>
#include <vector>

#include "base/types.h"

namespace moxi {

namespace {

// Big-endian numbers, one after the other.
struct Bytes {
    std::string bytes;
    Bytes& U8(u32 value) {
        bytes += static_cast<char>(value);
        return *this;
    }
    Bytes& U16(u32 value) { return U8(value >> 8 & 255).U8(value & 255); }
    Bytes& U32(u32 value) { return U16(value >> 16).U16(value & 0xFFFF); }
    Bytes& Zeros(u32 count) {
        bytes.append(count, '\0');
        return *this;
    }
};

constexpr u32 kUnits = 1000;  // of the font's size
constexpr u32 kGlyphs = 4;    // none, the picture, the square, its left half

// A rectangle on the baseline; 36 bytes.
void AddRectangle(Bytes& table, u32 width) {
    table.U16(1).U16(0).U16(0).U16(width).U16(kUnits);  // one outline and its box
    table.U16(3).U16(0);                                // its last point, no instructions
    table.U8(1).U8(1).U8(1).U8(1);                      // points that lie on it
    table.U16(0).U16(0).U16(width).U16(0);              // from left bottom around
    table.U16(0).U16(kUnits).U16(0).U16(0x10000 - kUnits);
    table.Zeros(2);
}

std::string Names() {
    const std::string texts[] = {"Two Colours", "Regular"};
    Bytes records;
    Bytes strings;
    records.U16(0).U16(2).U16(6 + 2 * 12);
    for (u32 i = 0; i < 2; ++i) {
        const u32 length = static_cast<u32>(texts[i].size()) * 2;
        records.U16(3).U16(1).U16(0x409).U16(i + 1).U16(length);
        records.U16(static_cast<u32>(strings.bytes.size()));
        for (const char c : texts[i]) {
            strings.U16(static_cast<u8>(c));
        }
    }
    return records.bytes + strings.bytes;
}

std::vector<std::pair<std::string, std::string>> Tables() {
    Bytes colr;
    colr.U16(0).U16(1).U32(14).U32(20).U16(2);
    colr.U16(1).U16(0).U16(2);         // the picture has two layers
    colr.U16(2).U16(0).U16(3).U16(1);  // the square in white, its left half in black
    Bytes cpal;
    cpal.U16(0).U16(2).U16(1).U16(2).U32(14).U16(0).U32(0xFFFFFFFF).U32(0x000000FF);
    Bytes cmap;
    cmap.U16(0).U16(1).U16(3).U16(10).U32(12);
    cmap.U16(12).U16(0).U32(16 + 2 * 12).U32(0).U32(2);
    cmap.U32(0x2605).U32(0x2605).U32(1).U32(0x1FAE0).U32(0x1FAE0).U32(1);
    Bytes glyf;
    AddRectangle(glyf, kUnits);  // for programs without colours
    AddRectangle(glyf, kUnits);
    AddRectangle(glyf, kUnits / 2);
    Bytes head;
    head.U32(0x10000).U32(0x10000).U32(0).U32(0x5F0F3CF5).U16(0).U16(kUnits).Zeros(16);
    head.U16(0).U16(0).U16(kUnits).U16(kUnits).U16(0).U16(8).U16(2).U16(1).U16(0);
    Bytes hhea;
    hhea.U32(0x10000).U16(kUnits).U16(0).U16(0).U16(kUnits).Zeros(6).U16(1).U16(0);
    hhea.Zeros(12).U16(1);
    Bytes hmtx;
    hmtx.U16(kUnits).U16(0).Zeros(2 * (kGlyphs - 1));
    Bytes loca;
    loca.U32(0).U32(0).U32(36).U32(72).U32(108);
    Bytes maxp;
    maxp.U32(0x10000).U16(kGlyphs).U16(4).U16(1).Zeros(4).U16(2).Zeros(16);
    return {{"COLR", colr.bytes}, {"CPAL", cpal.bytes}, {"cmap", cmap.bytes}, {"glyf", glyf.bytes},
            {"head", head.bytes}, {"hhea", hhea.bytes}, {"hmtx", hmtx.bytes}, {"loca", loca.bytes},
            {"maxp", maxp.bytes}, {"name", Names()}};
}

}  // namespace

std::string ColourFont() {
    const auto tables = Tables();
    const u32 count = static_cast<u32>(tables.size());
    Bytes directory;
    directory.U32(0x10000).U16(count).U16(128).U16(3).U16(count * 16 - 128);
    std::string bodies;
    const u32 start = 12 + 16 * count;
    for (const auto& [tag, body] : tables) {
        directory.bytes += tag;
        directory.U32(0).U32(start + static_cast<u32>(bodies.size()));
        directory.U32(static_cast<u32>(body.size()));
        bodies += body;
        bodies.append((4 - body.size() % 4) % 4, '\0');
    }
    return directory.bytes + bodies;
}

}  // namespace moxi
