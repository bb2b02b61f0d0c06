#include "kit/small_soundfont.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <set>
#include <span>

#include "audio/smf.h"
#include "base/bytes.h"
#include "base/read_file.h"

namespace moxi {

namespace fs = std::filesystem;

// A SoundFont is a RIFF file of three lists: INFO with texts; sdta with the samples' points; pdta
// with nine tables. A preset is a row of phdr and owns the rows of pbag from its own first one up
// to the next preset's; a bag owns rows of pgen (generators) and pmod (modulators) likewise.
// Generator 41 names an instrument: a row of inst, with ibag, igen and imod in the same way.
// Generator 53 there names a sample, a row of shdr. Each table ends with a row that only closes the
// one before.

namespace {

constexpr u64 kLargestPiece = 16 << 20;
constexpr u32 kPercussionBank = 128;
constexpr u32 kPercussionChannel = 9;
constexpr u16 kInstrument = 41;
constexpr u16 kSample = 53;
constexpr u16 kKeyRange = 43;
constexpr u16 kRomSample = 0x8000;
constexpr u16 kMonoSample = 1;
// Players read a few points beyond a sample's end.
constexpr u32 kSilence = 46;

constexpr size_t kPresetSize = 38;
constexpr size_t kInstrumentSize = 22;
constexpr size_t kBagSize = 4;
constexpr size_t kModulatorSize = 10;
constexpr size_t kGeneratorSize = 4;
constexpr size_t kSampleSize = 46;

// --- RIFF

struct Chunk {
    std::string id;
    size_t start = 0;
    size_t size = 0;
};

bool ReadChunks(const std::string& bytes, size_t at, size_t end, std::vector<Chunk>& chunks) {
    while (at + 8 <= end) {
        const size_t size = LoadBytes<u32>(reinterpret_cast<const u8*>(&bytes[at + 4]));
        if (size > end - at - 8) {
            return false;
        }
        chunks.push_back({bytes.substr(at, 4), at + 8, size});
        at += 8 + size + (size & 1);
    }
    return true;
}

void Append16(std::string& bytes, u32 value) {
    bytes += static_cast<char>(value & 255);
    bytes += static_cast<char>(value >> 8 & 255);
}

void Append32(std::string& bytes, u32 value) {
    Append16(bytes, value & 65535);
    Append16(bytes, value >> 16);
}

std::string ChunkOf(const std::string& id, const std::string& content) {
    std::string chunk = id;
    Append32(chunk, static_cast<u32>(content.size()));
    chunk += content;
    if (content.size() % 2 != 0) {
        chunk += '\0';
    }
    return chunk;
}

// --- The tables

// Rows of one size, the closing one included.
struct Table {
    std::string bytes;
    size_t rowSize = 1;

    size_t Rows() const { return bytes.size() / rowSize; }
    std::string Row(size_t index) const { return bytes.substr(index * rowSize, rowSize); }
    u32 Get16(size_t row, size_t offset) const {
        return LoadBytes<u16>(reinterpret_cast<const u8*>(&bytes[row * rowSize + offset]));
    }
    u32 Get32(size_t row, size_t offset) const {
        return LoadBytes<u32>(reinterpret_cast<const u8*>(&bytes[row * rowSize + offset]));
    }
};

void Put16(std::string& row, size_t offset, u32 value) {
    StoreBytes<u16>(reinterpret_cast<u8*>(&row[offset]), static_cast<u16>(value));
}

void Put32(std::string& row, size_t offset, u32 value) {
    StoreBytes<u32>(reinterpret_cast<u8*>(&row[offset]), value);
}

// Presets and instruments are made alike.
struct Layer {
    Table heads;
    size_t bagOffset = 0;  // in a head: its first bag
    Table bags;
    Table modulators;
    Table generators;
    u16 link = 0;  // the generator that names something of the layer below
};

struct SoundFont {
    std::string info;  // the list as it is
    std::string points;
    std::string points24;  // the lowest bytes of 24-bit points, "" for none
    Layer presets;
    Layer instruments;
    Table samples;
};

// A layer's rows follow each other, and none lies beyond its table.
bool IsSound(const Layer& layer) {
    const auto rises = [](const Table& table, size_t offset, size_t limit) {
        for (size_t row = 0; row + 1 < table.Rows(); ++row) {
            if (table.Get16(row, offset) > table.Get16(row + 1, offset)) {
                return false;
            }
        }
        return table.Rows() > 0 && table.Get16(table.Rows() - 1, offset) < limit;
    };
    return rises(layer.heads, layer.bagOffset, layer.bags.Rows()) &&
           rises(layer.bags, 0, layer.generators.Rows()) &&
           rises(layer.bags, 2, layer.modulators.Rows());
}

bool ReadTables(const std::string& bytes, const Chunk& list, SoundFont& font) {
    const std::map<std::string, std::pair<Table*, size_t>> places = {
        {"phdr", {&font.presets.heads, kPresetSize}},
        {"pbag", {&font.presets.bags, kBagSize}},
        {"pmod", {&font.presets.modulators, kModulatorSize}},
        {"pgen", {&font.presets.generators, kGeneratorSize}},
        {"inst", {&font.instruments.heads, kInstrumentSize}},
        {"ibag", {&font.instruments.bags, kBagSize}},
        {"imod", {&font.instruments.modulators, kModulatorSize}},
        {"igen", {&font.instruments.generators, kGeneratorSize}},
        {"shdr", {&font.samples, kSampleSize}},
    };
    std::vector<Chunk> chunks;
    if (!ReadChunks(bytes, list.start + 4, list.start + list.size, chunks)) {
        return false;
    }
    size_t found = 0;
    for (const Chunk& chunk : chunks) {
        const auto place = places.find(chunk.id);
        if (place == places.end() || chunk.size % place->second.second != 0) {
            continue;
        }
        *place->second.first = {bytes.substr(chunk.start, chunk.size), place->second.second};
        ++found;
    }
    font.presets.bagOffset = 24;
    font.presets.link = kInstrument;
    font.instruments.bagOffset = 20;
    font.instruments.link = kSample;
    return found == places.size() && IsSound(font.presets) && IsSound(font.instruments) &&
           font.samples.Rows() > 0;
}

bool ReadSoundFont(const std::string& bytes, SoundFont& font) {
    if (bytes.size() < 12 || bytes.compare(0, 4, "RIFF") != 0 || bytes.compare(8, 4, "sfbk") != 0) {
        return false;
    }
    std::vector<Chunk> lists;
    if (!ReadChunks(bytes, 12, bytes.size(), lists)) {
        return false;
    }
    bool hasTables = false;
    for (const Chunk& list : lists) {
        if (list.id != "LIST" || list.size < 4) {
            continue;
        }
        const std::string type = bytes.substr(list.start, 4);
        if (type == "INFO") {
            font.info = bytes.substr(list.start, list.size);
        }
        if (type == "pdta") {
            hasTables = ReadTables(bytes, list, font);
        }
        if (type != "sdta") {
            continue;
        }
        std::vector<Chunk> chunks;
        if (!ReadChunks(bytes, list.start + 4, list.start + list.size, chunks)) {
            return false;
        }
        for (const Chunk& chunk : chunks) {
            if (chunk.id == "smpl") {
                font.points = bytes.substr(chunk.start, chunk.size);
            }
            if (chunk.id == "sm24") {
                font.points24 = bytes.substr(chunk.start, chunk.size);
            }
        }
    }
    return hasTables && !font.info.empty() && !font.points.empty();
}

// --- What is kept

using Kept = std::map<u32, u32>;  // old index -> new one

using Heard = std::map<u32, Keys>;  // what is kept, with the keys that it is heard through

// The keys that a bag is for.
Keys RangeOf(const Layer& layer, u32 bag) {
    Keys keys = ~Keys();
    for (u32 row = layer.bags.Get16(bag, 0); row < layer.bags.Get16(bag + 1, 0); ++row) {
        if (layer.generators.Get16(row, 0) != kKeyRange) {
            continue;
        }
        const u32 range = layer.generators.Get16(row, 2);
        for (u32 key = 0; key < keys.size(); ++key) {
            if (key < (range & 255) || key > range >> 8) {
                keys.reset(key);
            }
        }
    }
    return keys;
}

// The rows of the layer below that the kept heads of this layer name.
Heard LinksOf(const Layer& layer, const Heard& heads) {
    Heard links;
    for (const auto& [head, keys] : heads) {
        for (u32 bag = layer.heads.Get16(head, layer.bagOffset);
             bag < layer.heads.Get16(head + 1, layer.bagOffset); ++bag) {
            const Keys heard = keys & RangeOf(layer, bag);
            for (u32 row = layer.bags.Get16(bag, 0); row < layer.bags.Get16(bag + 1, 0); ++row) {
                if (heard.any() && layer.generators.Get16(row, 0) == layer.link) {
                    links[layer.generators.Get16(row, 2)] |= heard;
                }
            }
        }
    }
    return links;
}

std::set<u32> IndicesOf(const Heard& heard) {
    std::set<u32> indices;
    for (const auto& [index, keys] : heard) {
        indices.insert(index);
    }
    return indices;
}

Kept Numbered(const std::set<u32>& indices) {
    Kept kept;
    for (const u32 index : indices) {
        kept.emplace(index, static_cast<u32>(kept.size()));
    }
    return kept;
}

// The layer with these heads alone, its links by the new numbers.
Layer CutLayer(const Layer& layer, const Heard& heads, const Kept& below) {
    Layer cut = layer;
    cut.heads.bytes.clear();
    cut.bags.bytes.clear();
    cut.modulators.bytes.clear();
    cut.generators.bytes.clear();
    const auto closeBag = [&cut] {
        Append16(cut.bags.bytes, static_cast<u32>(cut.generators.Rows()));
        Append16(cut.bags.bytes, static_cast<u32>(cut.modulators.Rows()));
    };
    for (const auto& [head, keys] : heads) {
        std::string row = layer.heads.Row(head);
        Put16(row, layer.bagOffset, static_cast<u32>(cut.bags.Rows()));
        cut.heads.bytes += row;
        for (u32 bag = layer.heads.Get16(head, layer.bagOffset);
             bag < layer.heads.Get16(head + 1, layer.bagOffset); ++bag) {
            if ((keys & RangeOf(layer, bag)).none()) {
                continue;
            }
            closeBag();
            for (u32 at = layer.bags.Get16(bag, 0); at < layer.bags.Get16(bag + 1, 0); ++at) {
                std::string generator = layer.generators.Row(at);
                if (layer.generators.Get16(at, 0) == layer.link) {
                    Put16(generator, 2, below.at(layer.generators.Get16(at, 2)));
                }
                cut.generators.bytes += generator;
            }
            for (u32 at = layer.bags.Get16(bag, 2); at < layer.bags.Get16(bag + 1, 2); ++at) {
                cut.modulators.bytes += layer.modulators.Row(at);
            }
        }
    }
    std::string last = layer.heads.Row(layer.heads.Rows() - 1);
    Put16(last, layer.bagOffset, static_cast<u32>(cut.bags.Rows()));
    cut.heads.bytes += last;
    closeBag();
    cut.generators.bytes += std::string(kGeneratorSize, '\0');
    cut.modulators.bytes += std::string(kModulatorSize, '\0');
    return cut;
}

// The other halves of stereo samples.
void AddPartners(const SoundFont& font, std::set<u32>& samples) {
    for (const u32 sample : std::set<u32>(samples)) {
        const u32 type = font.samples.Get16(sample, 44);
        const u32 partner = font.samples.Get16(sample, 42);
        const bool isSingle = type == kMonoSample || (type & kRomSample) != 0;
        if (!isSingle && partner + 1 < font.samples.Rows()) {
            samples.insert(partner);
        }
    }
}

// Moves a sample's points to the end of `cut`. False when it has points that are not there.
bool CopySample(const SoundFont& font, u32 sample, const Kept& kept, SoundFont& cut) {
    const u64 start = font.samples.Get32(sample, 20);
    const u64 end = font.samples.Get32(sample, 24);
    const bool isRom = (font.samples.Get16(sample, 44) & kRomSample) != 0;
    std::string row = font.samples.Row(sample);
    if (!isRom) {
        if (start > end || 2 * end > font.points.size()) {
            return false;
        }
        const u32 place = static_cast<u32>(cut.points.size() / 2);
        for (const size_t offset : {20, 24, 28, 32}) {
            Put32(row, offset,
                  font.samples.Get32(sample, offset) - static_cast<u32>(start) + place);
        }
        cut.points += font.points.substr(2 * start, 2 * (end - start));
        cut.points.append(size_t{2} * kSilence, '\0');
        if (!font.points24.empty()) {
            if (end > font.points24.size()) {
                return false;
            }
            cut.points24 += font.points24.substr(start, end - start);
            cut.points24.append(kSilence, '\0');
        }
    }
    const auto partner = kept.find(font.samples.Get16(sample, 42));
    Put16(row, 42, partner != kept.end() ? partner->second : 0);
    cut.samples.bytes += row;
    return true;
}

std::string Written(const SoundFont& font) {
    std::string data = "sdta" + ChunkOf("smpl", font.points);
    if (!font.points24.empty()) {
        data += ChunkOf("sm24", font.points24);
    }
    const auto layer = [](const std::string& head, const std::string& prefix, const Layer& from) {
        return ChunkOf(head, from.heads.bytes) + ChunkOf(prefix + "bag", from.bags.bytes) +
               ChunkOf(prefix + "mod", from.modulators.bytes) +
               ChunkOf(prefix + "gen", from.generators.bytes);
    };
    const std::string tables = "pdta" + layer("phdr", "p", font.presets) +
                               layer("inst", "i", font.instruments) +
                               ChunkOf("shdr", font.samples.bytes);
    return ChunkOf("RIFF", "sfbk" + ChunkOf("LIST", font.info) + ChunkOf("LIST", data) +
                               ChunkOf("LIST", tables));
}

Heard WantedPresets(const SoundFont& font, const UsedPrograms& used) {
    Heard wanted;
    const Table& heads = font.presets.heads;
    for (u32 preset = 0; preset + 1 < heads.Rows(); ++preset) {
        const u32 program = heads.Get16(preset, 20);
        const bool isPercussion = heads.Get16(preset, 22) == kPercussionBank;
        const std::map<u32, Keys>& programs = isPercussion ? used.percussion : used.melodic;
        const auto found = programs.find(program);
        if (found != programs.end()) {
            wanted.insert({preset, found->second});
        }
    }
    return wanted;
}

void AddPrograms(const SmfFile& file, UsedPrograms& used) {
    // A system exclusive message can make any channel one of percussion.
    const bool mayChange = !file.sysex.empty();
    // A channel plays program 0 until it chooses another.
    u32 programs[16] = {};
    for (const SmfEvent& event : file.events) {
        u32& program = programs[event.status & 15];
        if ((event.status & 0xF0) == 0xC0) {
            program = event.data1;
        }
        if ((event.status & 0xF0) != 0x90 || event.data2 == 0) {
            continue;
        }
        const bool isPercussion = (event.status & 15) == kPercussionChannel;
        // One can also move all keys.
        Keys keys;
        keys.set(event.data1);
        if (mayChange) {
            keys.set();
        }
        if (isPercussion || mayChange) {
            used.percussion[program] |= keys;
        }
        if (!isPercussion || mayChange) {
            used.melodic[program] |= keys;
        }
    }
}

// Programs that a SoundFont does not have are played by program 0.
void AddSubstitutes(const SoundFont& font, UsedPrograms& used) {
    const auto has = [&font](bool percussion, u32 program) {
        const Table& heads = font.presets.heads;
        for (u32 preset = 0; preset + 1 < heads.Rows(); ++preset) {
            const bool isPercussion = heads.Get16(preset, 22) == kPercussionBank;
            if (isPercussion == percussion && heads.Get16(preset, 20) == program) {
                return true;
            }
        }
        return false;
    };
    for (const bool percussion : {false, true}) {
        std::map<u32, Keys>& programs = percussion ? used.percussion : used.melodic;
        Keys substituted;
        for (const auto& [program, keys] : programs) {
            if (!has(percussion, program)) {
                substituted |= keys;
            }
        }
        if (substituted.any()) {
            programs[0] |= substituted;
        }
    }
}

}  // namespace

UsedPrograms ProgramsOfMusic(const std::string& folder) {
    UsedPrograms used;
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        std::string bytes;
        SmfFile file;
        std::string reason;
        if (!ReadWholeFile(entry->path(), kLargestPiece, bytes).empty()) {
            continue;
        }
        if (bytes.compare(0, 4, "MThd") != 0) {
            continue;
        }
        const std::span<const u8> span(reinterpret_cast<const u8*>(bytes.data()), bytes.size());
        if (!ReadSmf(span, file, reason)) {
            continue;
        }
        ++used.pieces;
        AddPrograms(file, used);
    }
    return used;
}

std::string CutSoundFont(const std::string& bytes, const UsedPrograms& wanted, std::string& small) {
    SoundFont font;
    if (!ReadSoundFont(bytes, font)) {
        return "damaged, or no SoundFont";
    }
    UsedPrograms used = wanted;
    AddSubstitutes(font, used);
    const Heard presets = WantedPresets(font, used);
    const Heard instruments = LinksOf(font.presets, presets);
    if (!instruments.empty() && instruments.rbegin()->first + 1 >= font.instruments.heads.Rows()) {
        return "damaged: an instrument is missing";
    }
    std::set<u32> samples = IndicesOf(LinksOf(font.instruments, instruments));
    if (!samples.empty() && *samples.rbegin() + 1 >= font.samples.Rows()) {
        return "damaged: a sample is missing";
    }
    AddPartners(font, samples);
    const Kept kept = Numbered(samples);
    SoundFont cut;
    cut.info = font.info;
    cut.presets = CutLayer(font.presets, presets, Numbered(IndicesOf(instruments)));
    cut.instruments = CutLayer(font.instruments, instruments, kept);
    cut.samples.rowSize = kSampleSize;
    for (const u32 sample : samples) {
        if (!CopySample(font, sample, kept, cut)) {
            return "damaged: a sample has no points";
        }
    }
    cut.samples.bytes += font.samples.Row(font.samples.Rows() - 1);
    small = Written(cut);
    return "";
}

}  // namespace moxi
