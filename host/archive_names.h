#pragma once
// The names in an archive: which of them can be a game's files, and which can lie beside one
// another on every disk.

#include <map>
#include <string>

#include "base/types.h"

namespace moxi {

// "" or why a name, without the "/" at the end of a folder's, can be no file's of a game.
std::string WhyNoName(const std::string& name, u64 mostBytes);

// Takes the names of an archive one after the other.
class ArchiveNames {
  public:
    // "" or, in words that follow the name, why it cannot be beside those that were taken before.
    // Disks that know no capitals have one file for two names that differ by these alone (A to Z).
    std::string Take(const std::string& name, bool isFolder);

  private:
    struct Taken {
        std::string name;
        bool isFolder = false;
        bool isEntry = false;  // not only on the way to another one
    };
    std::string TakeOne(const std::string& name, bool isFolder, bool isEntry);

    std::map<std::string, Taken> taken;  // by the name in small letters
};

}  // namespace moxi
