#pragma once
// A game in Lua, made in a folder of its own and run headless. Where Lua's source could not be had
// there is no runtime, and the tests that need it are skipped.

#include <string>
#include <vector>

#include "tests/support/headless_run.h"
#include "tests/support/picture.h"

namespace moxi {

inline const std::string kLuaRuntime = MOXI_BIN_DIR "/../share/moxi/lua/MAIN.MX";

bool HasLua();

#define NEEDS_LUA() \
    if (!HasLua()) GTEST_SKIP() << "the source of Lua could not be had"

using Lines = std::vector<std::string>;

struct LuaGame {
    TemporaryFolder folder;
    std::string game = folder.path + "/game";
    std::string data = folder.path + "/data";

    // With this MAIN.LUA.
    explicit LuaGame(const std::string& text);

    void Write(const std::string& name, const std::string& text) const;
    // What is logged, and other lines as they are. `script` is a script of events.
    Lines Play(const std::string& script = "", unsigned milliseconds = 500,
               const std::string& dataLimit = "1G") const;
    // The view at the end of the last run.
    Picture View() const;
};

// A log's line as it was before it was made one of visible characters.
std::string Unescaped(const std::string& line);

}  // namespace moxi
