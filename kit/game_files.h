#pragma once
// A game's files on their way to others: `--bundle` and `--pack` take the same ones.

#include <filesystem>
#include <string>

namespace moxi {

// Fills `folders` for the game. Where `out` is the game and `game` is not, the user has named them
// the other way round, and they are exchanged. Returns "" or what is wrong.
std::string FindGameToCopy(std::string& game, std::string& out);

// Absolute and without links, as far as it exists; no "/" at the end.
std::filesystem::path CanonicalPath(const std::string& path);

bool LiesInFolder(const std::filesystem::path& path, const std::filesystem::path& folder);

// Signals that ask for an end wait from here on, so that what is not complete can be removed;
// CopyGameFiles looks for them.
void HoldEndSignals();

// Copies the game in `folders` into an existing folder: Resources/ with its files, Info.plist with
// its name, so that it keeps its data folder however it is called, and the texts that lie beside
// it and tell of its licence. MAIN.SYM and MAIN.LIN come along only with `symbols`. Links are
// followed but not out of the game. Returns "" or what is wrong.
std::string CopyGameFiles(const std::filesystem::path& folder, bool symbols);

}  // namespace moxi
