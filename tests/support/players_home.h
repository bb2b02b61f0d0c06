#pragma once
// A player's home folder in place of the user's, and a game that does nothing to lie in it.

#include <string>
#include <vector>

#include "tests/support/headless_run.h"

namespace moxi {

inline constexpr char kGameThatDoesNothing[] = R"(
        .stack 4096
        .heap 4096
        .code
        LINK 0, 0
        RETURN 0
)";

// Runs moxi in `home` with it as the user's home, state and cache below it.
inline ProgramResult RunAtHome(const std::string& home, const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"-u",           "XDG_CACHE_HOME",    "-u", "XDG_STATE_HOME",
                                    "HOME=" + home, MOXI_BIN_DIR "/moxi"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return RunProgram("/usr/bin/env", all, home);
}

}  // namespace moxi
