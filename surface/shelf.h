#pragma once
// The shelf: a window with the player's games, in the place of a game's own. It runs in the same
// event loop and takes the desktop's events instead of a game.

#include <string>
#include <vector>

#include "desktop/events.h"
#include "surface/shelf_cards.h"

namespace moxi {

// What the shelf cannot do by itself.
struct ShelfActions {
    std::vector<ShelfGame> (*games)();
    // Puts a game there, or back. Returns "" or what is wrong with the path.
    std::string (*add)(const std::string& path);
    // Takes it off. Nothing is deleted on the disk.
    void (*remove)(const std::string& path);
    // Starts a game in a process of its own. Returns "" or why not.
    std::string (*play)(const std::string& path);
    // Whether that process still runs.
    bool (*isPlaying)();
};

// The handlers for `desktopEvents`. The launch shows the window and asks `actions` for the games.
DesktopEvents EventsOfShelf(const ShelfActions& actions);

// Makes the window, which the launch shows.
void StartShelf();

}  // namespace moxi
