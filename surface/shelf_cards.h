#pragma once
// The games on the shelf as controls: a card each, with its picture, its name, its author, and when
// and how long it was played.

#include <memory>
#include <string>
#include <vector>

#include "desktop/desktop.h"
#include "host/played.h"
#include "surface/controls.h"

namespace moxi {

struct ShelfGame {
    PlayedGame record;
    // The game's own, or of its last run; null for none.
    std::shared_ptr<const RgbaPicture> picture;
};

// The text without capitals and accents, to search in and to sort by.
std::string Comparable(const std::string& text);

// Those whose name, author or file name has all words of `search`, whatever the capitals and
// accents.
std::vector<const ShelfGame*> GamesFor(const std::vector<ShelfGame>& games,
                                       const std::string& search);

// "2 h 5 min", at least a minute; "" for nothing.
std::string PlayedTime(u64 seconds);
// "today", "yesterday", "5 days ago", then the date; "" for a game that was never played.
std::string PlayedDay(u64 lastPlayed, const DateTime& now);

// A picture for a game without one: its initials on a colour of its own.
RgbaPicture PlateOf(const std::string& name);

// Adds a card for each game, in as many columns as there is room for, to the body of a surface
// whose view is set. Sets its bodyHeight. The cards' ids are the games' paths.
void AddCards(Surface& surface, const std::vector<const ShelfGame*>& games, const DateTime& now);

// What is said of the game that has the focus: its licence and its source.
std::string AboutGame(const ShelfGame& game);

}  // namespace moxi
