#pragma once
// Where the game and its data lie. Filled once by app/ before the application starts, read by the
// file services and the window. All paths are absolute and without a trailing "/".

#include <string>

#include "base/types.h"

namespace moxi {

struct Folders {
    std::string bundle;     // the game as it was named on the command line
    std::string archive;    // the archive that the game came in; "" for none
    std::string resources;  // the folder that holds MAIN.MX
    // Whether the game may delete files in `resources`. It may delete its own files, but nothing in
    // a folder that it merely happens to lie in.
    bool deletableResources = true;
    std::string support;           // the user's application support folder; "" when there is none
    std::string state;             // where the host keeps what it knows of games; "" when nowhere
    std::string dataOverride;      // takes the place of the data folder when not ""
    u64 dataLimit = u64{1} << 30;  // how many bytes the data folder may hold
    std::string pictures;  // where the menu's screenshot goes; "" when there is no such place
    std::string gameName;  // window title
    std::string dataName;  // the data folder's name where it is not the game's
    // A MAIN.MX in the data folder takes the place of the game's own.
    bool moduleInData = true;
};

inline Folders folders;

}  // namespace moxi
