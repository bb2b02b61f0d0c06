#pragma once
// A helper process that opens the files which the user asked for, once this process may write only
// below the game's data folder. It is told beforehand which files these may be.

#include <string>
#include <vector>

namespace moxi {

// What the helper opens: these files, and pictures named "MOXI ....png" directly in this
// folder ("" for none).
struct OutputPlaces {
    std::vector<std::string> files;
    std::string picturesFolder;
    // Files of the host's own: read, and replaced whole. Their folders are made when they are
    // missing.
    std::vector<std::string> ownFiles = {};
    // One of them may be changed only as `mayChange` permits, from its present contents to its
    // next.
    std::string guardedFile = {};
    bool (*mayChange)(const std::string& before, const std::string& after) = nullptr;
};

// Starts the helper and points `outputFiles` at it; nothing without places. The helper is a copy of
// this process with the rights of the moment, so it is made before the sandbox and before threads.
// False when there can be no helper.
bool StartOutputHelper(const OutputPlaces& places);

// Ends the helper; `outputFiles` opens by itself again.
void StopOutputHelper();

}  // namespace moxi
