// A game or a program in Lua: reads MAIN.LUA and calls its functions setup, update and draw. When
// it has none of them it was a program, and is over when it has come to its end.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wasi/api.h>

#include "runtime.h"

static lua_State* game;
static bool hasEnded;

bool CallLua(lua_State* L, int arguments, const char* what) {
    const int handler = lua_gettop(L) - arguments;
    lua_pushcfunction(L, DescribeError);
    lua_insert(L, handler);
    const int status = lua_pcall(L, arguments, 0, handler);
    if (status != LUA_OK) {
        // Without memory there was nothing to describe it with.
        char text[4096];
        if (status == LUA_ERRMEM) {
            snprintf(text, sizeof text, "%s\nstack traceback:\n\t%s", "not enough memory",
                     PlaceOfNoMemory());
            ReportError(what, text);
        } else {
            const char* const described = lua_tostring(L, -1);
            ReportError(what,
                        described == NULL ? "an error in the handling of an error" : described);
        }
        lua_pop(L, 1);
    }
    lua_remove(L, handler);
    return status == LUA_OK;
}

// --- The start

// The lines of ARGS.TXT, as `arg` and on the stack for the program.
static int PushArguments(lua_State* L) {
    size_t count = 0, bytes = 0;
    if (__wasi_args_sizes_get(&count, &bytes) != 0 || count == 0) return 0;
    char** const arguments = (char**)malloc(count * sizeof *arguments + bytes);
    if (arguments == NULL ||
        __wasi_args_get((uint8_t**)arguments, (uint8_t*)(arguments + count)) != 0) {
        free(arguments);
        return 0;
    }
    luaL_checkstack(L, (int)count + 2, "too many arguments");
    lua_createtable(L, (int)count - 1, 1);
    lua_pushstring(L, MAIN_FILE);
    lua_rawseti(L, -2, 0);
    for (size_t i = 1; i < count; ++i) {
        lua_pushstring(L, arguments[i]);
        lua_rawseti(L, -2, (lua_Integer)i);
    }
    lua_setglobal(L, "arg");
    for (size_t i = 1; i < count; ++i) lua_pushstring(L, arguments[i]);
    free(arguments);
    return (int)count - 1;
}

// In a call of its own, so that memory may be missing here, too.
static int RunMainFile(lua_State* L) {
    luaL_openlibs(L);
    AddGameFunctions(L);
    AddTimeFunctions(L);
    AddDrawFunctions(L);
    AddThingFunctions(L);
    AddFontFunctions(L);
    if (luaL_loadfile(L, MAIN_FILE) != LUA_OK) return lua_error(L);
    lua_call(L, PushArguments(L), 0);
    return 0;
}

int Global(lua_State* L, const char* name) {
    lua_pushglobaltable(L);
    lua_pushstring(L, name);
    lua_rawget(L, -2);
    lua_remove(L, -2);
    return lua_type(L, -1);
}

static bool HasFunction(lua_State* L, const char* name) {
    const bool found = Global(L, name) == LUA_TFUNCTION;
    lua_pop(L, 1);
    return found;
}

static void EndProgram(lua_State* L) {
    WatchMemoryOf(NULL);
    lua_close(L);
    exit(0);
}

static void CallGlobal(const char* name) {
    if (!HasFunction(game, name)) return;
    Global(game, name);
    CallLua(game, 0, name);
}

static void OnEnd(void) {
    if (game != NULL) EndGame(game);
}

void setup(void) {
    // There are no other programs: nowhere to look for them.
    setenv("PATH", "", 1);
    // Its memory comes from where ours does; with it come warnings and a last word of its own.
    game = luaL_newstate();
    if (game == NULL) {
        ReportError(MAIN_FILE, "not enough memory");
        return;
    }
    lua_setallocf(game, Allocate, NULL);
    WatchMemoryOf(game);
    game_ending(OnEnd);
    lua_pushcfunction(game, RunMainFile);
    if (!CallLua(game, 0, MAIN_FILE)) return;
    if (!HasFunction(game, "setup") && !HasFunction(game, "update") && !HasFunction(game, "draw")) {
        EndProgram(game);
    }
    if (KeepsState(game)) LoadState(game);
    CallGlobal("setup");
}

// --- Each update and each picture

static int RunUpdate(lua_State* L) {
    PassTweens(L);
    if (Global(L, "update") != LUA_TFUNCTION) return 0;
    lua_pushnumber(L, 1.0 / GAME_RATE);
    lua_call(L, 1, 0);
    return 0;
}

void update(void) {
    if (HasFailed()) {
        if (key_pressed(KEY_ESCAPE)) game_quit();
        return;
    }
    lua_pushcfunction(game, RunUpdate);
    CallLua(game, 0, "update");
}

void draw(void) {
    if (!HasFailed()) CallGlobal("draw");
    if (HasFailed()) DrawError();
}

// --- The end

void EndGame(lua_State* L) {
    if (hasEnded) return;
    hasEnded = true;
    if (!HasFailed()) CallEnding(L);
    SaveState(L);
    fflush(NULL);
}
