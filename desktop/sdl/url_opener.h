#pragma once
// Opens web addresses with the desktop's own opener, through a small helper process that is made
// before anything restricts this one and before it has threads.

#include <string>
#include <string_view>

#include "base/types.h"

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

// True for an http, https or mailto address that is safe to hand to another program: no control
// characters and no blanks, and no files attached to a mail.
bool IsOpenableUrl(std::string_view url);

// Three addresses in ten seconds, whatever a module asks for.
class UrlRate {
  public:
    // Whether one more may be opened now. `now` is in nanoseconds and never falls.
    bool Take(u64 now);

  private:
    static constexpr u32 kMost = 3;
    u64 taken[kMost] = {};
    u32 count = 0;
};

// Refuses other texts, and too many of them, with a log line.
void OpenUrl(const std::string& utf8);

}  // namespace moxi
