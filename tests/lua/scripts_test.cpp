// Programs in Lua do what they do elsewhere: each of the scripts says the same line for line when
// Debian's own Lua runs it.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "tests/lua/lua_game.h"

namespace moxi {

namespace {

// What Debian's Lua writes, both streams together and without NUL bytes, which a log does not have.
Lines Elsewhere(const std::string& script, const std::string& folder) {
    WriteTextFile(folder + "/MAIN.LUA", script);
    const ProgramResult run =
        RunProgram("/bin/sh", {"-c", "LC_ALL=C TZ=UTC lua5.4 MAIN.LUA </dev/null 2>&1"}, folder);
    EXPECT_EQ(run.status, 0) << run.output;
    Lines lines;
    std::istringstream text(run.output);
    for (std::string line; std::getline(text, line);) {
        line.erase(std::remove(line.begin(), line.end(), '\0'), line.end());
        lines.push_back(line);
    }
    return lines;
}

class Scripts : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Lua, Scripts,
                         testing::Values("numbers", "strings", "pack", "language", "errors",
                                         "coroutines", "files", "dates", "modules", "debugging",
                                         "collector", "texts", "depths", "literals", "places",
                                         "sizes"),
                         [](const auto& script) { return std::string(script.param); });

TEST_P(Scripts, SayWhatTheySayElsewhere) {
    NEEDS_LUA();
    const std::string script =
        ReadTextFile(std::string(MOXI_SOURCE_DIR "/tests/lua/scripts/") + GetParam() + ".lua");
    const LuaGame game(script);
    const TemporaryFolder folder;
    const Lines here = game.Play();
    const Lines there = Elsewhere(script, folder.path);
    EXPECT_EQ(here.size(), there.size());
    for (size_t i = 0; i < std::min(here.size(), there.size()); ++i) {
        ASSERT_EQ(here[i], there[i]) << "line " << i + 1;
    }
}

TEST(LuaProgram, GetsItsArgumentsAndEndsByItself) {
    NEEDS_LUA();
    const LuaGame game("print(arg[0], #arg, arg[1], ...) io.write('no end') os.exit(3)");
    game.Write("ARGS.TXT", "first\nthe second\n");
    EXPECT_EQ(game.Play(),
              (Lines{"MAIN.LUA\t2\tfirst\tfirst\tthe second", "no end", "exit status 3"}));
}

TEST(LuaProgram, HasHonestAnswersForWhatLeavesTheSandbox) {
    NEEDS_LUA();
    const LuaGame game(R"(
        print(os.execute()) print((os.execute("ls"))) print(pcall(io.popen, "ls"))
        print(os.getenv("HOME"), os.getenv("PATH") == "") print(os.setlocale("pt_BR"))
        print((io.open("../../etc/passwd"))) print((package.loadlib("libc.so.6", "puts")))
        print((os.remove("MAIN.LUA")), io.read("a") == ""))");
    EXPECT_EQ(game.Play(), (Lines{"false", "nil", "false\t'popen' not supported", "nil\ttrue",
                                  "nil", "nil", "nil", "nil\ttrue"}));
}

}  // namespace

}  // namespace moxi
