#pragma once
// What is wrong with a game, for the player's eyes.

#include <string>

namespace moxi {

// A line `PATH: REASON` of the command line with the reason in the player's language, as far as it
// is one of those that players meet; the path, and what follows the reason, stay as they are.
std::string InPlayersWords(const std::string& problem);

}  // namespace moxi
