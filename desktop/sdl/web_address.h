#pragma once
// Web addresses that a game asks for: which may be handed to another program, how the player is
// shown them, and how many there may be.

#include <string>
#include <string_view>

#include "base/types.h"

namespace moxi {

constexpr std::size_t kLongestUrl = 8192;

// True for an http, https or mailto address that is safe to hand to another program: no control
// characters and no blanks, and no files attached to a mail.
bool IsOpenableUrl(std::string_view url);

// The address in printable ASCII, for the player to judge: signs that look like others, or turn the
// direction of reading, are shown as what they are. What stands before the host's name as a user's
// name, and could be taken for it, is left out ("http://...@host/"), and so is the end of a long
// one.
std::string ShownUrl(std::string_view url);

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

}  // namespace moxi
