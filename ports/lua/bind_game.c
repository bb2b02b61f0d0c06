// The functions of moxi/game.h for Lua: the game itself, input, sound, saved values, chance.

#include <ctype.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>

#include "runtime.h"

// --- Arguments

float Number(lua_State* L, int at) {
    return (float)luaL_checknumber(L, at);
}

float NumberOr(lua_State* L, int at, float otherwise) {
    return (float)luaL_optnumber(L, at, (lua_Number)otherwise);
}

int Whole(lua_State* L, int at) {
    const double number = floor(luaL_checknumber(L, at));
    if (!(number >= -2147483648.0 && number <= 2147483647.0)) {
        luaL_argerror(L, at, "the number is too large");
    }
    return (int)number;
}

colour Colour(lua_State* L, int at) {
    return (colour)luaL_checkinteger(L, at);
}

void AddConstants(lua_State* L, const constant* list, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        lua_pushinteger(L, list[i].value);
        lua_setglobal(L, list[i].name);
    }
}

// --- The game

static int GameTitle(lua_State* L) {
    game_title(luaL_checkstring(L, 1));
    return 0;
}

static int GameWindow(lua_State* L) {
    const int width = Whole(L, 1), height = Whole(L, 2);
    luaL_argcheck(L, width >= 1, 1, "a window has at least one pixel");
    luaL_argcheck(L, height >= 1, 2, "a window has at least one pixel");
    game_window(width, height);
    return 0;
}

static int GameFullScreen(lua_State* L) {
    luaL_checkany(L, 1);
    game_full_screen(lua_toboolean(L, 1));
    return 0;
}

static int GameIsFullScreen(lua_State* L) {
    lua_pushboolean(L, game_is_full_screen());
    return 1;
}

static int GameCanvas(lua_State* L) {
    const int width = Whole(L, 1), height = Whole(L, 2);
    luaL_argcheck(L, width <= 4096, 1, "a canvas has at most 4096 pixels a side");
    luaL_argcheck(L, height <= 4096, 2, "a canvas has at most 4096 pixels a side");
    game_canvas(width, height);
    return 0;
}

static int GameWidth(lua_State* L) {
    lua_pushinteger(L, game_width());
    return 1;
}

static int GameHeight(lua_State* L) {
    lua_pushinteger(L, game_height());
    return 1;
}

static int GameTime(lua_State* L) {
    lua_pushnumber(L, (lua_Number)game_time());
    return 1;
}

// By way of exit, so that temporary files are removed. What the game has to do at its end is done
// with the stack of the caller, which may be a coroutine.
static int GameQuit(lua_State* L) {
    EndGame(L);
    exit(0);
}

static const char kEnding[] = "moxi.ending";

static int GameEnding(lua_State* L) {
    if (!lua_isnoneornil(L, 1)) luaL_checktype(L, 1, LUA_TFUNCTION);
    lua_settop(L, 1);
    lua_setfield(L, LUA_REGISTRYINDEX, kEnding);
    return 0;
}

// --- Input. A key is a KEY_ constant or a text with its character.

static int Key(lua_State* L) {
    if (lua_type(L, 1) != LUA_TSTRING) return Whole(L, 1);
    const char* const text = lua_tostring(L, 1);
    luaL_argcheck(L, strlen(text) == 1, 1, "a key is a KEY_ number or one character");
    return toupper((unsigned char)*text);
}

#define ASK(name, function, argument)           \
    static int name(lua_State* L) {             \
        lua_pushboolean(L, function(argument)); \
        return 1;                               \
    }

ASK(KeyHeld, key_held, Key(L))
ASK(KeyPressed, key_pressed, Key(L))
ASK(KeyReleased, key_released, Key(L))
ASK(MouseHeld, mouse_held, Whole(L, 1))
ASK(MousePressed, mouse_pressed, Whole(L, 1))
ASK(MouseReleased, mouse_released, Whole(L, 1))

static int TypedText(lua_State* L) {
    lua_pushstring(L, typed_text());
    return 1;
}

static int MouseX(lua_State* L) {
    lua_pushnumber(L, (lua_Number)mouse_x());
    return 1;
}

static int MouseY(lua_State* L) {
    lua_pushnumber(L, (lua_Number)mouse_y());
    return 1;
}

static int MouseWheel(lua_State* L) {
    lua_pushinteger(L, mouse_wheel());
    return 1;
}

// --- Sound and music

static int PlaySound(lua_State* L) {
    play_sound(luaL_checkstring(L, 1));
    return 0;
}

static int PlayMusic(lua_State* L) {
    play_music(luaL_checkstring(L, 1), lua_toboolean(L, 2));
    return 0;
}

static int StopMusic(lua_State* L) {
    (void)L;
    stop_music();
    return 0;
}

// --- Saved values

static int SavedNumber(lua_State* L) {
    lua_pushinteger(L,
                    saved_number(luaL_checkstring(L, 1), lua_isnoneornil(L, 2) ? 0 : Whole(L, 2)));
    return 1;
}

static int SaveNumber(lua_State* L) {
    save_number(luaL_checkstring(L, 1), Whole(L, 2));
    return 0;
}

static int SavedText(lua_State* L) {
    lua_pushstring(L, saved_text(luaL_checkstring(L, 1), luaL_optstring(L, 2, "")));
    return 1;
}

static int SaveText(lua_State* L) {
    save_text(luaL_checkstring(L, 1), luaL_checkstring(L, 2));
    return 0;
}

// --- Chance

static int RandomSeed(lua_State* L) {
    random_seed((uint32_t)luaL_checkinteger(L, 1));
    return 0;
}

static int RandomInt(lua_State* L) {
    lua_pushinteger(L, random_int(Whole(L, 1), Whole(L, 2)));
    return 1;
}

static int RandomFloat(lua_State* L) {
    lua_pushnumber(L, (lua_Number)random_float(Number(L, 1), Number(L, 2)));
    return 1;
}

static int Chance(lua_State* L) {
    lua_pushboolean(L, chance(Number(L, 1)));
    return 1;
}

static const luaL_Reg kFunctions[] = {
    {"game_title", GameTitle},
    {"game_window", GameWindow},
    {"game_full_screen", GameFullScreen},
    {"game_is_full_screen", GameIsFullScreen},
    {"game_canvas", GameCanvas},
    {"game_width", GameWidth},
    {"game_height", GameHeight},
    {"game_time", GameTime},
    {"game_quit", GameQuit},
    {"game_ending", GameEnding},
    {"key_held", KeyHeld},
    {"key_pressed", KeyPressed},
    {"key_released", KeyReleased},
    {"typed_text", TypedText},
    {"mouse_x", MouseX},
    {"mouse_y", MouseY},
    {"mouse_held", MouseHeld},
    {"mouse_pressed", MousePressed},
    {"mouse_released", MouseReleased},
    {"mouse_wheel", MouseWheel},
    {"play_sound", PlaySound},
    {"play_music", PlayMusic},
    {"stop_music", StopMusic},
    {"saved_number", SavedNumber},
    {"save_number", SaveNumber},
    {"saved_text", SavedText},
    {"save_text", SaveText},
    {"random_seed", RandomSeed},
    {"random_int", RandomInt},
    {"random_float", RandomFloat},
    {"chance", Chance},
    {NULL, NULL},
};

static const constant kConstants[] = {
    {"GAME_RATE", GAME_RATE},     {"KEY_BACKSPACE", KEY_BACKSPACE},
    {"KEY_TAB", KEY_TAB},         {"KEY_RETURN", KEY_RETURN},
    {"KEY_SHIFT", KEY_SHIFT},     {"KEY_CONTROL", KEY_CONTROL},
    {"KEY_OPTION", KEY_OPTION},   {"KEY_ESCAPE", KEY_ESCAPE},
    {"KEY_SPACE", KEY_SPACE},     {"KEY_LEFT", KEY_LEFT},
    {"KEY_UP", KEY_UP},           {"KEY_RIGHT", KEY_RIGHT},
    {"KEY_DOWN", KEY_DOWN},       {"KEY_DELETE", KEY_DELETE},
    {"KEY_F1", KEY_F1},           {"MOUSE_LEFT", MOUSE_LEFT},
    {"MOUSE_RIGHT", MOUSE_RIGHT}, {"MOUSE_MIDDLE", MOUSE_MIDDLE},
};

void AddGameFunctions(lua_State* L) {
    lua_pushglobaltable(L);
    luaL_setfuncs(L, kFunctions, 0);
    lua_pop(L, 1);
    AddConstants(L, kConstants, sizeof kConstants / sizeof *kConstants);
    lua_pushnumber(L, 1.0 / GAME_RATE);
    lua_setglobal(L, "GAME_STEP");
}

void CallEnding(lua_State* L) {
    if (lua_getfield(L, LUA_REGISTRYINDEX, kEnding) == LUA_TFUNCTION) {
        CallLua(L, 0, "game_ending");
    } else {
        lua_pop(L, 1);
    }
}
