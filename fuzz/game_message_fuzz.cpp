// Any bytes as what a process that read a game tells the shelf's. That process may be in the hands
// of the game that it read.

#include <string_view>

#include "app/game_reader.h"
#include "fuzz/require.h"

namespace moxi {

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    const GameRead game = GameOfMessage({reinterpret_cast<const char*>(data), size});
    for (const std::string* const text : {&game.name, &game.author, &game.licence, &game.source}) {
        Require(text->size() <= 1024 && text->size() <= size);
    }
    if (game.picture != nullptr) {
        const i32 width = game.picture->width;
        const i32 height = game.picture->height;
        Require(width > 0 && width <= 384 && height > 0 && height <= 384);
        Require(game.picture->pixels.size() ==
                static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    }
    return 0;
}

}  // namespace moxi
