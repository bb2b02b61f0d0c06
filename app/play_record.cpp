#include "app/play_record.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <ctime>
#include <filesystem>

#include "desktop/folders.h"
#include "gfx/png_write.h"
#include "host/game_info.h"
#include "host/played.h"
#include "host/view.h"
#include "vm/run_cycle.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;

constexpr u32 kPictureWidth = 384;
constexpr u32 kPictureHeight = 240;

PlayedGame game;  // without a path while nothing is recorded
Clock::time_point begin;
constinit u64 playedBefore = 0;

// A picture of the view's pixels in the means of `step` x `step`.
struct SmallPicture {
    u32 width = 0;
    u32 height = 0;
    std::vector<u8> pixels;
};

SmallPicture PictureOfView() {
    const u32 width = static_cast<u32>(std::max(viewBuffer.width, 0));
    const u32 height = static_cast<u32>(std::max(viewBuffer.height, 0));
    const u32 step = std::max({1U, (width + kPictureWidth - 1) / kPictureWidth,
                               (height + kPictureHeight - 1) / kPictureHeight});
    SmallPicture small = {width / step, height / step, {}};
    small.pixels.reserve(size_t{4} * small.width * small.height);
    for (u32 y = 0; y < small.height; ++y) {
        for (u32 x = 0; x < small.width; ++x) {
            u32 sums[4] = {};
            for (u32 row = y * step; row < (y + 1) * step; ++row) {
                const u8* const pixels =
                    viewBuffer.pixels.data() + 4 * (size_t{row} * width + size_t{x} * step);
                for (u32 i = 0; i < 4 * step; ++i) {
                    sums[i % 4] += pixels[i];
                }
            }
            for (const u32 sum : sums) {
                small.pixels.push_back(static_cast<u8>(sum / (step * step)));
            }
        }
    }
    return small;
}

// A game that has cleared its window at its end has nothing to show.
bool IsBlank(const SmallPicture& picture) {
    for (size_t at = 0; at < picture.pixels.size(); at += 4) {
        if (std::memcmp(&picture.pixels[at], picture.pixels.data(), 3) != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::vector<std::string> PreparePlayRecord(const Options& options) {
    std::error_code error;
    const std::string path = fs::canonical(options.named, error);
    if (options.headless || !options.dataFolder.empty() || folders.state.empty() || error) {
        return {};
    }
    MakePlayedFolder();
    game = ReadPlayedGame(path);
    game.files = fs::canonical(options.game, error);
    return {PlayedFile(path), PlayedPicture(path)};
}

void RecordPlayBegin() {
    begin = Clock::now();
    if (game.path.empty()) {
        return;
    }
    const GameInfo info = InfoOfGame();
    game.name = folders.gameName;
    game.author = info.author;
    game.licence = info.licence;
    game.source = info.source;
    playedBefore = game.lastPlayed;
    game.lastPlayed = static_cast<u64>(std::time(nullptr));
    game.removed = false;
    WritePlayedGame(game);
}

void RecordPlayEnd() {
    if (game.path.empty()) {
        return;
    }
    if (moduleStarted == 0) {
        // A module that cannot be loaded was not played.
        game.lastPlayed = playedBefore;
        WritePlayedGame(game);
        return;
    }
    const auto time = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin);
    // The same game may have been played in another window meanwhile.
    game.seconds = ReadPlayedGame(game.path).seconds + static_cast<u64>(time.count());
    WritePlayedGame(game);
    const SmallPicture small = PictureOfView();
    if (small.pixels.empty() || IsBlank(small)) {
        return;
    }
    WritePngFile(PlayedPicture(game.path), small.pixels.data(), small.width, small.height,
                 4 * small.width, PngFormat::RgbFrom4);
}

}  // namespace moxi
