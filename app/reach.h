#pragma once
// What the libraries below the program read at any time: libraries, fonts, themes, settings of the
// desktop's programs, time zones. Paths that do not exist are among them.

#include <string>
#include <vector>

namespace moxi {

// For every run.
std::vector<std::string> LibraryPlaces();

// For a run with a window and sound: settings of the user's desktop, and what the kernel tells of
// displays and sound cards.
std::vector<std::string> DesktopPlaces();

// The devices of displays and sound cards, which are written and commanded, too.
std::vector<std::string> DesktopDevices();

// What graphics drivers keep of their own work; only the start of a window writes there.
std::vector<std::string> DriverCaches();

}  // namespace moxi
