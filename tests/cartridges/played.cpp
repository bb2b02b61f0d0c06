#include "tests/cartridges/played.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <sstream>

#include "base/log.h"
#include "tests/support/headless_run.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr u32 kMemory = 65536;
constexpr u32 kPicture = 0xA0;
constexpr u32 kSize = 160;

struct Game {
    std::string folder;
    std::map<std::string, u32> symbols;
};

// What lasts as long as the program.
const std::string& Workshop() {
    static const TemporaryFolder folder;
    return folder.path;
}

std::vector<std::string> Lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

const Game& Translated(const std::string& cartridge) {
    static std::map<std::string, Game> games;
    const auto found = games.find(cartridge);
    if (found != games.end()) {
        return found->second;
    }
    Game game = {Workshop() + "/game" + std::to_string(games.size()), {}};
    const std::string symbols = game.folder + ".sym";
    const ProgramResult made =
        RunProgram("mxwasm", {"--wasm4", cartridge, "-o", game.folder + "/", "--symbols", symbols});
    EXPECT_EQ(made.status, 0) << made.errors;
    EXPECT_EQ(made.errors + made.output, "");
    for (const std::string& line : Lines(ReadTextFile(symbols))) {
        std::istringstream words(line);
        std::string address, kind, name;
        words >> address >> kind >> name;
        game.symbols[name] = static_cast<u32>(std::stoul(address, nullptr, 16));
    }
    return games[cartridge] = game;
}

}  // namespace

std::vector<std::string> Played::Logs() const {
    std::vector<std::string> logs;
    for (const std::string& line : lines) {
        if (line.starts_with("log: ")) {
            logs.push_back(line.substr(5));
        }
    }
    return logs;
}

u32 Played::Pixel(u32 x, u32 y) const {
    const u32 index = y * kSize + x;
    return memory.at(kPicture + index / 4) >> (index % 4 * 2) & 3;
}

u32 Played::Word(u32 address) const {
    u32 word = 0;
    std::memcpy(&word, memory.data() + address, sizeof word);
    return word;
}

std::string OwnCartridge(const std::string& name) {
    return std::string(MOXI_BIN_DIR) + "/../cartridges/" + name + ".wasm";
}

std::string CartridgeOfText(const std::string& text) {
    static u32 count = 0;
    const std::string path = Workshop() + "/text" + std::to_string(count++);
    WriteTextFile(path + ".wat", text);
    const ProgramResult made =
        RunProgram("/usr/bin/wat2wasm", {path + ".wat", "-o", path + ".wasm"});
    EXPECT_EQ(made.status, 0) << made.errors;
    return path + ".wasm";
}

Played PlayCartridge(const Play& play) {
    const Game& game = Translated(play.cartridge);
    const TemporaryFolder folder;
    const std::string data = play.dataFolder.empty() ? folder.path + "/data" : play.dataFolder;
    std::vector<std::string> arguments = {"--headless",
                                          "--data-folder",
                                          data,
                                          "--run-ms",
                                          std::to_string(play.milliseconds),
                                          "--dump-image",
                                          folder.path + "/image",
                                          "--dump-view",
                                          folder.path + "/view.png"};
    if (!play.script.empty()) {
        WriteTextFile(folder.path + "/script", play.script);
        arguments.insert(arguments.end(), {"--script", folder.path + "/script"});
    }
    arguments.insert(arguments.end(), play.options.begin(), play.options.end());
    arguments.push_back(game.folder);
    const ProgramResult run = RunProgram("moxi", arguments, folder.path);
    Played played;
    played.status = run.status;
    played.lines = Lines(run.errors);
    played.view = ReadPicture(folder.path + "/view.png");
    const std::string image = ReadTextFile(folder.path + "/image");
    const u32 at = game.symbols.at("wasm_memory");
    if (image.size() < at + kMemory) {
        ADD_FAILURE() << "no image\n" << run.errors;
        played.memory.resize(kMemory);
        return played;
    }
    std::memcpy(&played.frames, image.data() + game.symbols.at("wasm_frames"), 4);
    played.memory.assign(image.begin() + at, image.begin() + at + kMemory);
    return played;
}

Modelled ModelCartridge(const std::string& cartridge, u32 frames,
                        const std::vector<std::string>& inputs) {
    const TemporaryFolder folder;
    const std::string source = MOXI_SOURCE_DIR;
    std::vector<std::string> arguments = {source + "/tests/cartridges/model.mjs", cartridge,
                                          source + "/library/wasm4/font.h", std::to_string(frames),
                                          folder.path + "/memory"};
    arguments.insert(arguments.end(), inputs.begin(), inputs.end());
    const ProgramResult run = RunProgram("/usr/bin/node", arguments);
    EXPECT_EQ(run.status, 0) << run.errors;
    const std::string memory = ReadTextFile(folder.path + "/memory");
    return {{memory.begin(), memory.end()}, Lines(run.output)};
}

std::string Difference(const std::vector<u8>& a, const std::vector<u8>& b) {
    if (a.size() != b.size()) {
        return "sizes differ";
    }
    const auto [one, other] = std::mismatch(a.begin(), a.end(), b.begin());
    if (one == a.end()) {
        return "";
    }
    return FormatText("at 0x%04X: 0x%02X, not 0x%02X", static_cast<u32>(one - a.begin()), *one,
                      *other);
}

std::string ViewProblem(const Played& played) {
    const i32 width = static_cast<i32>(played.view.width);
    const i32 height = static_cast<i32>(played.view.height);
    const i32 scale = std::max(1, std::min(width, height) / 160);
    const i32 left = (width - 160 * scale) / 2;  // below 0 in a small window
    const i32 top = (height - 160 * scale) / 2;
    for (i32 y = 0; y < height; ++y) {
        for (i32 x = 0; x < width; ++x) {
            const i32 column = x < left ? -1 : (x - left) / scale;
            const i32 row = y < top ? -1 : (y - top) / scale;
            const bool inside = column >= 0 && column < 160 && row >= 0 && row < 160;
            const u32 expected = inside ? played.Word(4 + 4 * played.Pixel(static_cast<u32>(column),
                                                                           static_cast<u32>(row))) &
                                              0xFFFFFF
                                        : 0;
            const u32 shown = played.view.At(static_cast<u32>(x), static_cast<u32>(y));
            if (shown != expected) {
                return FormatText("%d, %d: %06X, not %06X", x, y, shown, expected);
            }
        }
    }
    return "";
}

}  // namespace moxi
