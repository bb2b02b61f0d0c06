#pragma once
// Where the game and its data lie. Filled once by app/ before the application starts, read by the
// file services and the window. All paths are absolute and without a trailing "/".

#include <string>

struct Folders {
    std::string bundle;        // the game as it was named on the command line
    std::string resources;     // the folder that holds MAIN.MX
    std::string support;       // the user's application support folder; "" when there is none
    std::string dataOverride;  // takes the place of the data folder when not ""
    std::string pictures;      // where the menu's screenshot goes; "" when there is no such place
    std::string gameName;      // data folder name and window title
};

inline Folders folders;
