// Games in Lua: the functions of moxi/game.h, errors as pictures, the state from run to run, new
// games, and those that come with MOXI.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <thread>

#include "tests/lua/lua_game.h"
#include "tests/support/desktop_session.h"
#include "tests/support/patterns.h"

namespace moxi {

namespace fs = std::filesystem;

namespace {

constexpr u32 kNavy = 0x182044;
constexpr u32 kGold = 0xFACD50;
constexpr u32 kTeal = 0x32A0A0;
constexpr u32 kOrange = 0xF08C32;
constexpr u32 kErrorBand = 0xDE3C3C;
constexpr u32 kMarkedLine = 0x5C2C38;

// --- Completeness

// The functions and constants that moxi/game.h declares, without what the game itself writes.
std::set<std::string> NamesOfHeader() {
    const std::string header = ReadTextFile(MOXI_SOURCE_DIR "/library/c/include/moxi/game.h");
    std::set<std::string> names;
    const auto collect = [&](const char* pattern) {
        for (const Match& found : AllMatches(header, pattern)) {
            names.insert(found[1]);
        }
    };
    collect(R"(\n[a-z_][a-z_ *]*[ *]([a-z_]+)\((?!\())");
    collect(R"(int ([a-z_]+)\(int size, const char)");
    collect(R"(int ([a-z_]+)\(const font\*)");
    collect(R"(void (draw_text|draw_words)\()");
    collect(R"(\b((?:KEY|MOUSE|EASE|ALIGN|HIT)_[A-Z0-9]+)\b)");
    collect(R"(#define ([A-Z]+(?:_RATE|_STEP)?)[ (])");
    // MAIN.LUA is read when the window is there: nothing of the game can run before, and
    // game_window is called in setup.
    for (const char* const own :
         {"setup", "setup_window", "update", "draw", "moxi_game_message", "MOXI_GAME_H"}) {
        names.erase(own);
    }
    return names;
}

TEST(LuaGame, AProgramThatRefusesUndefinedGlobalsNeedsNoUpdate) {
    NEEDS_LUA();
    EXPECT_EQ(LuaGame("setmetatable(_G, {__index = function(_, n) error(n) end})\n"
                      "local drawn = false\n"
                      "function draw() if not drawn then print('drawn') end drawn = true end")
                  .Play(),
              Lines{"drawn"});
}

TEST(LuaGame, HasEveryFunctionAndConstantOfTheHeader) {
    NEEDS_LUA();
    const std::set<std::string> names = NamesOfHeader();
    for (const char* const name :
         {"game_title", "draw_text", "text_width", "load_picture", "tween", "move_in_map", "after",
          "save_text", "KEY_F1", "RGB", "GOLD", "EASE_SPRING", "HIT_BOTTOM", "GAME_STEP",
          "saved_text", "draw_words", "words_width"}) {
        EXPECT_TRUE(names.contains(name)) << name;
    }
    EXPECT_GT(names.size(), 120u);
    std::string program;
    for (const std::string& name : names) {
        program += "if " + name + " == nil then print('" + name + "') end\n";
    }
    EXPECT_EQ(LuaGame(program + "print('all')").Play(), Lines{"all"});
}

// --- What the functions do

TEST(LuaGame, DrawsMovesAndHears) {
    NEEDS_LUA();
    const LuaGame game(R"(
        local x = 0
        function setup() game_canvas(200, 120) end
        function update(dt)
            assert(dt == 1 / 60)
            if key_held(KEY_RIGHT) then x = x + 1 end
            if key_pressed("a") then print("a", typed_text()) end
            if mouse_pressed(MOUSE_LEFT) then print("mouse", mouse_x(), mouse_y()) end
        end
        function draw() clear_screen(NAVY) draw_box(x, 10, 20, 20, GOLD) end)");
    EXPECT_EQ(game.Play("100 key-down 7C \"\\x1D\"\n600 key-up 7C \"\\x1D\"\n"
                        "700 key-down 00 \"a\"\n710 key-up 00 \"a\"\n800 mouse-down 0 500 300\n",
                        1000),
              (Lines{"a\ta", "mouse\t100.0\t60.0"}));
    // 30 updates in 500 ms, or one beside, each shown as five.
    EXPECT_EQ(game.View().At(35 * 5, 75), kGold);
    EXPECT_EQ(game.View().At(25 * 5, 75), kNavy);
    EXPECT_EQ(game.View().At(53 * 5, 75), kNavy);
}

TEST(LuaGame, PicturesSheetsSpritesAndMapsAreObjects) {
    NEEDS_LUA();
    const LuaGame game(R"(
        local inks = {g = GOLD, n = NAVY}
        local picture = make_picture({"gn", "ng"}, inks)
        print(picture.width, picture.height, enlarged(picture, 3).width, picture.width)
        local cells = make_sheet(make_picture("ggnn\nggnn\n", inks), 2, 2)
        print(cells.count, cells.columns, cells.cell_width, cells.image.width)
        local thing = make_sprite(cells, 1, 2)
        thing.speed_x, thing.lives = 60, 3
        animate(thing, 0, 1, 60) update_sprite(thing)
        print(thing.x, thing.y, thing.lives, thing.nothing, thing.cells == cells, thing.hidden)
        print(sprites_touch(thing, make_sprite(cells, 3, 2)), sprites_touch(thing, make_sprite(cells, 4, 2)))
        local map = make_map(cells, {"a  a", "aaaa"}, "a", "a")
        print(map.width, map.height, tile_at(map, 0, 0), tile_at(map, 1, 0), solid_at(map, 1, 3))
        print(move_in_map(map, 2, 0, 2, 1, 3, 4)) set_tile(map, 1, 0, 1) print(tile_at(map, 1, 0))
        free_map(map) print(pcall(draw_map, map)) print(pcall(draw_sprite, cells)) print(pcall(make_sheet, picture, 0, 1))
        print(load_picture("NONE.PNG").width) print(pcall(make_picture, {"x"}, {xx = 1}))
        for i = 1, 400 do make_picture(("g"):rep(300) .. "\n" .. ("g\n"):rep(300), inks) end print("still room"))");
    EXPECT_EQ(
        game.Play(),
        (Lines{"2\t2\t6\t2", "2\t2\t2\t4", "2.0\t2.0\t3\tnil\ttrue\tfalse", "true\tfalse",
               "4\t2\t0\t-1\ttrue", "4.0\t1.0\t10", "1",
               "false\tbad argument #1 to 'draw_map' (this map has been freed)",
               "false\tbad argument #1 to 'draw_sprite' (sprite expected, got sheet)",
               "false\tbad argument #2 to 'make_sheet' (a cell has at least one pixel)",
               "picture NONE.PNG: cannot be read", "0",
               "false\tbad argument #2 to 'make_picture' (colours are named by one letter each)",
               "still room"}));
}

TEST(LuaGame, ATileOfAMapStopsWhatItIsToldTo) {
    NEEDS_LUA();
    const LuaGame game(R"(
        local cells = make_sheet(make_picture("ggnn\nggnn\n", {g = GOLD, n = NAVY}), 2, 2)
        local map = make_map(cells, {"    ", "aaaa"}, "a", "a")
        print(TILE_OPEN, TILE_SOLID, TILE_LEDGE, map.solid[0], map.solid[1])
        -- Up from below: a ledge lets it pass, a solid tile does not.
        print(move_in_map(map, 2, 4, 1, 1, 0, -3))
        map.solid[0] = TILE_LEDGE print(map.solid[0], move_in_map(map, 2, 4, 1, 1, 0, -3))
        print(pcall(function() map.solid[0] = 3 end)) print(pcall(function() return map.solid[255] end))
        local solid = map.solid free_map(map) print(pcall(function() return solid[0] end)))");
    EXPECT_EQ(game.Play(),
              (Lines{"0\t1\t2\t1\t0", "2.0\t4.0\t4", "2\t2.0\t1.0\t0",
                     "false\tMAIN.LUA:8: bad argument #3 to 'newindex' (a tile is TILE_OPEN, "
                     "TILE_SOLID or TILE_LEDGE)",
                     "false\tMAIN.LUA:8: bad argument #2 to 'index' (a tile is 0 to 254)",
                     "false\tMAIN.LUA:9: this map has been freed"}));
}

TEST(LuaGame, MapsAreReadFromFilesAndPicturesAreTinted) {
    NEEDS_LUA();
    const LuaGame game(R"(
        local cells = make_sheet(make_picture("ggnn\nggnn\n", {g = GOLD, n = NAVY}), 2, 2)
        local map = load_map(cells, "level.txt", "ab", "b")
        print(map.width, map.height, tile_at(map, 2, 0), solid_at(map, 5, 1), map.tiles == cells)
        print(letter_at(map, 0, 0), letter_at(map, 0, 1), letter_at(map, 2, 1) == " ", letter_at(map, 9, 9) == " ")
        print(load_map(cells, "none.txt", "a").width)
        print(pcall(letter_at, cells, 0, 0))
        local shadow = tinted(cells.image, TEAL)
        print(shadow.width, shadow.height, tinted(load_picture("NONE.PNG"), TEAL).width)
        function setup() game_canvas(200, 120) end
        function draw() clear_screen(BLACK) camera_at(80, 0) draw_picture(shadow, 80, 0)
            camera_part(0.5) draw_box(140, 20, 10, 10, GOLD)
            draw_far(enlarged(cells.image, 2), 0.5, 1, 60) end)");
    game.Write("level.txt", "h b\r\na");
    EXPECT_EQ(game.Play(),
              (Lines{"3\t2\t1\ttrue\ttrue", "h\ta\ttrue\ttrue", "map none.txt: cannot be read", "0",
                     "false\tbad argument #1 to 'letter_at' (map expected, got sheet)",
                     "picture NONE.PNG: cannot be read", "4\t2\t0"}));
    const Picture view = game.View();
    EXPECT_EQ(view.Colour(0, 0, 20, 10), kTeal);
    EXPECT_EQ(view.Colour(500, 100, 50, 50), kGold) << "140 less the half of 80";
    // The camera has gone 40 and the drift is 1: 41 of a picture of 8 begins with its second
    // column.
    EXPECT_EQ(view.Colour(0, 300, 15, 20), kGold);
    EXPECT_EQ(view.Colour(15, 300, 20, 20), kNavy);
    EXPECT_EQ(view.Colour(35, 300, 20, 20), kGold);
}

TEST(LuaGame, FontsOfPixelsWriteInColoursOfTheirOwn) {
    NEEDS_LUA();
    const LuaGame game(R"(
        -- A space, then ! of one column and " of three.
        local letters = make_picture("....w...www.\n....w...www.\n", {w = WHITE})
        local font = make_font(letters, 4, 2)
        letters = nil collectgarbage()
        print(font.cell_width, font.cell_height, words_width(font, "!\""), words_width(font, "! !\n%s", "!"))
        print(words_width(load_font("NONE.PNG", 4, 2), "!"))
        print(pcall(make_font, make_picture("w", {w = WHITE}), 0, 1))
        print(pcall(draw_words, 1, 0, 0, RED, "!"))
        function setup() game_canvas(200, 120) end
        function draw() clear_screen(NAVY)
            for i = 1, 20 do draw_words(font, 50, 50, RGB(i, i, i), "!") end
            draw_words(font, 10, 10, GOLD, "!%s\n!", '"')
            text_align(ALIGN_RIGHT) draw_words(font, 100, 10, TEAL, '"') end)");
    EXPECT_EQ(
        game.Play(),
        (Lines{"4\t2\t5\t6", "picture NONE.PNG: cannot be read", "0",
               "false\tbad argument #2 to 'make_font' (a letter's cell has 1 to 255 pixels a side)",
               "false\tbad argument #1 to 'draw_words' (font expected, got number)"}));
    const Picture view = game.View();
    EXPECT_EQ(view.Colour(50, 50, 5, 20), kGold) << "one above the other";
    EXPECT_EQ(view.Colour(55, 50, 5, 10), kNavy);
    EXPECT_EQ(view.Colour(60, 50, 15, 10), kGold);
    EXPECT_EQ(view.Colour(485, 50, 15, 10), kTeal);
    EXPECT_EQ(view.At(502, 52), kNavy);
    EXPECT_EQ(view.Colour(250, 250, 5, 10), 0x141414u);
}

TEST(LuaGame, SpecksMoveAndAreGone) {
    NEEDS_LUA();
    const LuaGame game(R"(
        function setup()
            game_canvas(200, 120)
            add_speck {x = 100, y = 60, size = 10, seconds = 1000, fill = GOLD}
            add_speck {x = 20, y = 60, speed_x = 60, size = 10, seconds = 0.1, fill = TEAL}
            print(pcall(add_speck, {x = "far", fill = GOLD})) print(pcall(add_speck, {}))
            burst(150, 60, 100, 5, ORANGE)
            after(0.9, function() clear_specks() burst(150, 60, 0, 5, ORANGE) end)
        end
        function draw() clear_screen(NAVY) draw_specks() end)");
    EXPECT_EQ(game.Play(),
              (Lines{"false\ta speck's 'x' is a number", "false\ta speck's 'fill' is a colour"}));
    Picture view = game.View();
    EXPECT_EQ(view.Colour(475, 275, 50, 50), kGold);
    EXPECT_EQ(view.Colour(0, 0, 470, 600), kNavy) << "its time is over";
    game.Play("", 1500);
    EXPECT_EQ(game.View().Colour(0, 0, 1000, 600), kNavy);
}

TEST(LuaGame, TheWindowHasTheSizeThatSetupAsksFor) {
    NEEDS_LUA();
    const LuaGame game(R"(
        local calls = 0
        function setup() game_window(700, 500) print(game_is_full_screen(), calls) end
        function draw() calls = calls + 1 end
        after(0.2, function() print(game_width(), game_height()) game_full_screen(true) end)
        after(0.4, function() print(game_is_full_screen()) game_quit() end))");
    EXPECT_EQ(game.Play("", 2000), (Lines{"false\t0", "700\t500", "true"}));
}

TEST(LuaGame, TimersAndTweensCallAndChange) {
    NEEDS_LUA();
    const LuaGame game(R"(
        local thing, ticks = {x = 0}, 0
        function setup()
            tween(thing, "x", 100, 0.5, EASE_NONE)
            print(is_tweening(thing, "x"), is_tweening(thing, "y"))
            local timer = every(0.1, function() ticks = ticks + 1 end)
            after(0.25, function() print("half", thing.x > 45 and thing.x < 55, ticks) end)
            after(0.55, function() print(thing.x, is_tweening(thing, "x")) stop_timer(timer) end)
            after(1, function() print(ticks) after(0.1, game_quit) end)
            game_ending(function() print("the end") end)
        end
        function draw() end)");
    EXPECT_EQ(game.Play("", 5000),
              (Lines{"true\tfalse", "half\ttrue\t2", "100\tfalse", "5", "the end"}));
}

// --- Errors

struct Fault {
    const char* name;
    const char* text;
    Lines lines;  // the first of those that are logged
};

class Faults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(
    Lua, Faults,
    testing::Values(
        Fault{"InUpdate",
              "local t = {}\nfunction update()\n  t.a.b = 1\nend",
              {"Error in update: MAIN.LUA:3: attempt to index a nil value (field 'a')",
               "stack traceback:", "\tMAIN.LUA:3: in function 'update'"}},
        Fault{"InDraw",
              "function draw()\n  undefined()\nend",
              {"Error in draw: MAIN.LUA:2: attempt to call a nil value (global 'undefined')"}},
        Fault{"InSetup",
              "function setup() game_canvas(20, 10) error('no good', 0) end",
              {"Error in setup: no good"}},
        Fault{"InATimer",
              "function setup()\n  after(0.1, function() error('late') end)\nend",
              {"Error in a timer: MAIN.LUA:2: late"}},
        Fault{"InTheFile",
              "function draw()\n  clear_screen(NAVY\nend",
              {"Error in MAIN.LUA: MAIN.LUA:3: ')' expected (to close '(' at line 2) near 'end'"}},
        Fault{"InTheMainChunk",
              "local x = nil + 1",
              {"Error in MAIN.LUA: MAIN.LUA:1: attempt to perform arithmetic on a nil value"}},
        Fault{"ATable",
              "function update() error({1}) end",
              {"Error in update: (error object is a table value)"}},
        Fault{"ATableThatSpeaks",
              "function update() error(setmetatable({}, {__tostring = function() return 'I' end})) "
              "end",
              {"Error in update: I"}},
        Fault{"StackOverflow",
              "local function f() return 1 + f() end\nfunction update() f() end",
              {"Error in update: MAIN.LUA:1: stack overflow"}},
        Fault{
            "OutOfMemory",
            "local t = {}\nfunction update()\n  while true do t[#t + 1] = ('x'):rep(1000000) .. #t "
            "end\nend",
            {"Error in update: not enough memory", "stack traceback:", "\tMAIN.LUA:3: "}}),
    [](const auto& fault) { return std::string(fault.param.name); });

TEST_P(Faults, AreLoggedAndShown) {
    NEEDS_LUA();
    const LuaGame game(GetParam().text);
    const Lines said = game.Play();
    ASSERT_GE(said.size(), GetParam().lines.size());
    EXPECT_EQ(Lines(said.begin(), said.begin() + static_cast<long>(GetParam().lines.size())),
              GetParam().lines);
    const Picture view = game.View();
    EXPECT_EQ(view.At(990, 5), kErrorBand);
}

TEST(LuaErrors, ShowTheLineMarked) {
    NEEDS_LUA();
    const LuaGame game("\n\n\nfunction update()\n  nothing.x = 1\nend\n");
    game.Play();
    const Picture view = game.View();
    // Five lines of 21 pixels, the third of them marked.
    u32 marked = 0;
    for (u32 y = 60; y < 300; ++y) {
        marked += view.At(970, y) == kMarkedLine;
    }
    EXPECT_EQ(marked, 21u);
}

TEST(LuaErrors, NameWhatIsWrong) {
    NEEDS_LUA();
    const LuaGame game(R"(
        local function try(...) print(select(2, pcall(...))) end
        try(tween, {x = "a"}, "x", 1, 1)
        try(tween, {}, "y", 1, 1)
        local cells = make_sheet(make_picture({"ab"}, {a = RED, b = BLUE}), 1, 1)
        try(make_map, cells, setmetatable({}, {__len = function() return 1 << 40 end}), "a"))");
    EXPECT_EQ(game.Play(), (Lines{"the field 'x' is no number but a string",
                                  "the field 'y' is no number but a nil",
                                  "bad argument #2 to 'make_map' (there are too many rows)"}));
}

TEST(LuaErrors, EscapeEndsTheGame) {
    NEEDS_LUA();
    const LuaGame game("function update() error('x', 0) end game_ending(print)");
    const Lines said =
        game.Play("300 key-down 35 \"\\x1B\"\n400 key-up 35 \"\\x1B\"\n", 1000000000);
    EXPECT_EQ(said.front(), "Error in update: x");
}

// --- State

constexpr char kCounting[] = R"(
    keep_state = true
    state = {count = 0, new = "default"}
    function setup()
        print(state.count, state.new, state.list and state.list[2], state.me == state, state.e and state.e.ok)
        state.count = state.count + 1
        state.list = {1.5, "a\n\"b\"\0c"} state.me = state state.e = {ok = true, [0.1] = -1 / 0}
        state.f = print
    end
    function draw() end)";

TEST(LuaState, IsThereAgainWhenItIsAskedFor) {
    NEEDS_LUA();
    const LuaGame game(kCounting);
    const std::string left = "keep_state: 'f' is left out: a function cannot be kept";
    EXPECT_EQ(game.Play("300 close\n"), (Lines{"0\tdefault\tnil\tfalse\tnil", left}));
    // A line feed within what is printed begins a line of the log.
    EXPECT_EQ(game.Play("300 close\n"), (Lines{"1\tdefault\ta", "\"b\"c\ttrue\ttrue", left}));
    game.Write("MAIN.LUA", "state = {count = 7} function setup() print(state.count) end");
    EXPECT_EQ(game.Play("300 close\n"), Lines{"7"});
}

TEST(LuaState, WhatWasKeptStaysWhereTheNextDoesNotFit) {
    NEEDS_LUA();
    const LuaGame game(R"(
        keep_state = true
        state = {text = "small"}
        function setup() print(#state.text) state.text = ("x"):rep(100000) end
        function draw() end)");
    fs::create_directory(game.data);
    const std::string before = "local t = ...\nt[1][\"text\"] = \"kept\"\n";
    WriteTextFile(game.data + "/STATE.LUA", before);
    EXPECT_EQ(game.Play("300 close\n", 500, "10K"),
              (Lines{"4", "the data folder is full: it may hold 10240 bytes",
                     "keep_state: STATE.LUA cannot be written"}));
    EXPECT_EQ(ReadTextFile(game.data + "/STATE.LUA"), before);
    EXPECT_FALSE(fs::exists(game.data + "/STATE.NEW"));
}

TEST(LuaState, ABrokenFileIsToldOf) {
    NEEDS_LUA();
    const LuaGame game(kCounting);
    fs::create_directory(game.data);
    WriteTextFile(game.data + "/STATE.LUA", "os.exit(1)");
    const Lines said = game.Play("300 close\n");
    ASSERT_GE(said.size(), 2u);
    EXPECT_TRUE(said[0].starts_with("keep_state: STATE.LUA:1: attempt to index a nil value"))
        << said[0];
    EXPECT_EQ(said[1], "0\tdefault\tnil\tfalse\tnil");
}

template <class Condition>
bool Becomes(Condition condition) {
    for (int i = 0; i < 3000; ++i) {
        if (condition()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

TEST(LuaWatch, AChangedFileStartsTheGameAgainWithItsState) {
    NEEDS_LUA();
    const LuaGame game("require 'things.part' " + std::string(kCounting));
    fs::create_directory(game.game + "/things");
    game.Write("things/part.lua", "print('old part')");
    const std::string log = game.folder.path + "/stderr";
    const pid_t process =
        StartProcess({std::string(MOXI_BIN_DIR) + "/moxi", "--watch", "--headless", "--run-ms",
                      "1000000000000", "--data-folder", game.data, game.game},
                     log);
    const auto says = [&](const std::string& text) {
        return Becomes([&] { return ReadTextFile(log).find(text) != std::string::npos; });
    };
    EXPECT_TRUE(says("log: 0\\x09default"));
    game.Write("things/part.lua", "print('new part')");
    EXPECT_TRUE(says("log: things/part.lua has changed, the game starts again\n"));
    EXPECT_TRUE(says("log: new part\n"));
    EXPECT_TRUE(says("log: 1\\x09default")) << ReadTextFile(log);
    kill(process, SIGTERM);
    EXPECT_EQ(ExitStatusOf(process), 0);
}

// --- Whole games

TEST(LuaGame, ANewGameIsPlayed) {
    NEEDS_LUA();
    const TemporaryFolder folder;
    ASSERT_EQ(RunProgram("moxi", {"--new", "Star Catcher", "--lua"}, folder.path).errors, "");
    for (const char* const name :
         {"MAIN.MX", "MAIN.LUA", "Info.plist", "README.md", "LUA-LICENCE.txt"}) {
        EXPECT_TRUE(fs::exists(folder.path + "/Star Catcher/" + name)) << name;
    }
    WriteTextFile(folder.path + "/script",
                  "300 key-down 7C \"\\x1D\"\n900 key-up 7C \"\\x1D\"\n1000 screenshot end.png\n");
    const ProgramResult run =
        RunProgram("moxi", {"--headless", "--script", "script", "Star Catcher"}, folder.path);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    // 36 updates of 3 pixels from 240 on, each shown as two: the box begins at 696, or a step
    // beside.
    const Picture view = ReadPicture(folder.path + "/end.png");
    EXPECT_EQ(view.At(710, 540), 0x78BEF0u);
    EXPECT_EQ(view.At(680, 540), kNavy);
}

// What stands between the lines ```lua and ```, by its name: the first line is "-- NAME: ...".
std::string Listing(const std::string& name) {
    std::istringstream page(ReadTextFile(MOXI_SOURCE_DIR "/docs/first-game-in-lua.md"));
    std::string text;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line == "```lua") {
            inside = true;
            text.clear();
        } else if (line == "```" && inside) {
            inside = false;
            if (text.starts_with("-- " + name + ":")) {
                return text;
            }
        } else if (inside) {
            text += line + "\n";
        }
    }
    ADD_FAILURE() << "no listing " << name;
    return "";
}

// The colour of a pixel of a canvas of 200 by 120, which the window shows five times as large.
u32 CanvasPixel(const Picture& view, u32 x, u32 y) {
    return view.At(x * 5 + 2, y * 5 + 2);
}

constexpr char kHoldLeft[] = "300 key-down 7B \"\\x1C\"\n800 key-up 7B \"\\x1C\"\n";

TEST(FirstGameInLua, TheWindowHasOneColour) {
    NEEDS_LUA();
    const LuaGame game(Listing("colour.lua"));
    EXPECT_EQ(game.Play(), Lines{});
    EXPECT_EQ(game.View().Colour(0, 0, 1000, 600), kTeal);
}

TEST(FirstGameInLua, TheBoxGoesWhereTheKeysSay) {
    NEEDS_LUA();
    const LuaGame game(Listing("box.lua"));
    EXPECT_EQ(game.Play(kHoldLeft, 1000), Lines{});
    // Half a second at 80 pixels a second: from 94 to 54, or one update beside.
    EXPECT_EQ(CanvasPixel(game.View(), 60, 60), kOrange);
    EXPECT_EQ(CanvasPixel(game.View(), 50, 60), kTeal);
    EXPECT_EQ(CanvasPixel(game.View(), 70, 60), kTeal);
}

TEST(FirstGameInLua, TheFrogStandsAndMoves) {
    NEEDS_LUA();
    const LuaGame game(Listing("frog.lua"));
    EXPECT_EQ(game.Play(), Lines{});
    EXPECT_EQ(CanvasPixel(game.View(), 94 + 5, 104), 0xDE3C3Cu) << "its mouth";
    game.Play(kHoldLeft, 1000);
    EXPECT_EQ(CanvasPixel(game.View(), 94 + 5, 104), kTeal);
    EXPECT_EQ(CanvasPixel(game.View(), 49 + 5, 104), 0xDE3C3Cu) << "half a second of 90 pixels";
}

TEST(FirstGameInLua, TheFliesAreCaughtAndTheRecordIsKept) {
    NEEDS_LUA();
    const LuaGame game(Listing("flies.lua"));
    // The first fly comes down on the frog in the fifteenth second.
    EXPECT_EQ(game.Play("", 16000), Lines{});
    EXPECT_NE(ReadTextFile(game.data + "/SAVED.INI").find("best="), std::string::npos);
}

TEST(FirstGameInLua, TheStateOutlivesARestart) {
    NEEDS_LUA();
    const LuaGame game(Listing("state.lua"));
    EXPECT_EQ(game.Play("500 mouse-down 0 500 300\n600 mouse-up 0 500 300\n1000 close\n", 2000),
              Lines{});
    EXPECT_NE(ReadTextFile(game.data + "/STATE.LUA").find("t[1][\"clicks\"] = 1\n"),
              std::string::npos);
}

TEST(LanternDrift, IsPlayedUntilTheLightGoesOut) {
    NEEDS_LUA();
    const TemporaryFolder folder;
    WriteTextFile(
        folder.path + "/script",
        "1800 screenshot title.png\n2000 key-down 31 \" \"\n2100 key-up 31 \" \"\n"
        "2500 key-down 7B \"\\x1C\"\n3300 key-up 7B \"\\x1C\"\n5000 screenshot flight.png\n");
    const ProgramResult run =
        RunProgram("moxi",
                   {"--headless", "--data-folder", "data", "--script", "script", "--run-ms",
                    "40000", "--dump-view", "end.png", MOXI_BIN_DIR "/../share/moxi/games/drift"},
                   folder.path);
    EXPECT_EQ(run.status, 0);
    EXPECT_FALSE(WholeMatch(run.errors, "log: the lantern went out at [0-9]+ m\n").empty())
        << run.errors;
    EXPECT_NE(ReadTextFile(folder.path + "/data/SAVED.INI").find("best="), std::string::npos);
    // The canvas is shown three times as large, from 20 pixels on; the lantern begins in the
    // middle.
    const Picture title = ReadPicture(folder.path + "/title.png");
    const Picture flight = ReadPicture(folder.path + "/flight.png");
    const u32 paper = 0xFAC85A;
    EXPECT_EQ(title.At(20 + 160 * 3, 130 * 3), paper);
    EXPECT_NE(flight.At(20 + 160 * 3, 142 * 3), paper) << "it was steered to the left";
    EXPECT_EQ(ReadPicture(folder.path + "/end.png").At(5, 300), 0u) << "the border";
}

}  // namespace

}  // namespace moxi
