#pragma once
// `moxi GAME.zip`: a game's archive is unpacked into the user's cache and played from there. What
// is in the cache is used again for an archive with the same content; it is whole or it is not
// there.

#include <optional>
#include <string>

#include "app/options.h"

namespace moxi {

// Where `options.game` is an archive, puts the folder of its game in its place, and the archive's
// own real path into `folders.archive`. Returns "" or what is wrong in one line, which names the
// archive.
std::string PrepareArchive(Options& options);

}  // namespace moxi
