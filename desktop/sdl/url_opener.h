#pragma once
// Opens web addresses with the desktop's own opener, through a small helper process that is made
// before anything restricts this one and before it has threads.

#include <string>

#include "desktop/sdl/web_address.h"

namespace moxi {

// The process that takes the addresses calls `confine` for itself; the one behind it, which starts
// the opener, does not, since a browser has walls of its own to build.
void StartUrlOpener(void (*confine)());
void StopUrlOpener();

// The texts of the box that asks; %1 stands for the address.
struct UrlBoxWords {
    std::string question = "Open %1 ?";
    std::string open = "Open";
    std::string cancel = "Cancel";
};
void AskForUrlsWith(const UrlBoxWords& words);

// Whether the player is asked before the first address of the run is opened.
void AskBeforeUrls(bool ask);

// Refuses other texts, and too many of them, with a log line.
void OpenUrl(const std::string& utf8);

}  // namespace moxi
