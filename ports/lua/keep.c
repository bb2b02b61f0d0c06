// The table `state` from one run to the next, for a game that sets `keep_state` to true. It lies in
// the data folder as a program in Lua that makes it, run without any name it could do harm with: a
// line for each table and for each value, so that tables may be shared or lie in themselves.

#include <math.h>
#include <stdio.h>
#include <string.h>

#include "runtime.h"

#define STATE_FILE "STATE.LUA"
#define NEXT_FILE "STATE.NEW"

bool KeepsState(lua_State* L) {
    Global(L, "keep_state");
    const bool keeps = lua_toboolean(L, -1);
    lua_pop(L, 1);
    return keeps;
}

// --- Saving

enum { kNumbers = 1 };  // where the table is that has a number for each table

static void WriteText(FILE* file, const char* text, size_t length) {
    fputc('"', file);
    for (size_t i = 0; i < length; ++i) {
        const unsigned char c = (unsigned char)text[i];
        if (c == '"' || c == '\\' || c < 32 || c == 127) {
            fprintf(file, "\\%03u", c);
        } else {
            fputc(c, file);
        }
    }
    fputc('"', file);
}

static void WriteNumber(lua_State* L, FILE* file, int at) {
    if (lua_isinteger(L, at)) {
        const lua_Integer number = lua_tointeger(L, at);
        // The smallest one cannot be written with a sign before it.
        if (number == LUA_MININTEGER) {
            fputs("0x8000000000000000", file);
        } else {
            fprintf(file, LUA_INTEGER_FMT, number);
        }
        return;
    }
    const double number = lua_tonumber(L, at);
    if (isnan(number)) {
        fputs("0/0", file);
    } else if (isinf(number)) {
        fputs(number > 0 ? "1/0" : "-1/0", file);
    } else {
        fprintf(file, "%a", number);
    }
}

// The number of a table; a new one is put at the end of the list.
static lua_Integer NumberOfTable(lua_State* L, int at) {
    lua_pushvalue(L, at);
    lua_rawget(L, kNumbers);
    if (lua_isnil(L, -1)) {
        const lua_Integer number = (lua_Integer)lua_rawlen(L, kNumbers) + 1;
        lua_pushvalue(L, at);
        lua_pushinteger(L, number);
        lua_rawset(L, kNumbers);
        lua_pushvalue(L, at);
        lua_rawseti(L, kNumbers, number);
        lua_pop(L, 1);
        return number;
    }
    const lua_Integer number = lua_tointeger(L, -1);
    lua_pop(L, 1);
    return number;
}

static bool CanBeKept(lua_State* L, int at) {
    const int type = lua_type(L, at);
    return type == LUA_TNUMBER || type == LUA_TSTRING || type == LUA_TBOOLEAN || type == LUA_TTABLE;
}

static void WriteValue(lua_State* L, FILE* file, int at) {
    size_t length = 0;
    switch (lua_type(L, at)) {
        case LUA_TNUMBER: WriteNumber(L, file, at); break;
        case LUA_TBOOLEAN: fputs(lua_toboolean(L, at) ? "true" : "false", file); break;
        case LUA_TTABLE: fprintf(file, "t[" LUA_INTEGER_FMT "]", NumberOfTable(L, at)); break;
        default: {
            const char* const text = lua_tolstring(L, at, &length);
            WriteText(file, text, length);
        }
    }
}

// What has no value to be written down is left out, with a word in the log.
static bool IsKept(lua_State* L, int key, int value) {
    if (CanBeKept(L, key) && CanBeKept(L, value)) return true;
    const char* const name = lua_type(L, key) == LUA_TSTRING ? lua_tostring(L, key) : "...";
    fprintf(stderr, "keep_state: '%s' is left out: a %s cannot be kept\n", name,
            luaL_typename(L, CanBeKept(L, key) ? value : key));
    return false;
}

// The list of tables grows while it is written. A table is made before it is named: first all
// values go to a file's lines, whose tables make themselves by `t`.
static int WriteTables(lua_State* L) {
    FILE* const file = (FILE*)lua_touserdata(L, 2);
    lua_settop(L, 1);
    lua_newtable(L);
    lua_insert(L, kNumbers);  // the numbers, then the state
    NumberOfTable(L, 2);
    fputs("local t = ...\n", file);
    for (lua_Integer i = 1; lua_rawgeti(L, kNumbers, i) == LUA_TTABLE; ++i) {
        const int table = lua_gettop(L);
        lua_pushnil(L);
        while (lua_next(L, table) != 0) {
            if (IsKept(L, table + 1, table + 2)) {
                fprintf(file, "t[" LUA_INTEGER_FMT "][", i);
                WriteValue(L, file, table + 1);
                fputs("] = ", file);
                WriteValue(L, file, table + 2);
                fputc('\n', file);
            }
            lua_pop(L, 1);
        }
        lua_settop(L, table - 1);
    }
    return 0;
}

// The new file is complete before the old one goes: what was kept stays where the disk is full.
static void WriteState(lua_State* L) {
    FILE* const file = fopen(NEXT_FILE, "wb");
    if (file == NULL) {
        fputs("keep_state: " STATE_FILE " cannot be written\n", stderr);
        return;
    }
    const int top = lua_gettop(L);
    lua_pushcfunction(L, WriteTables);
    Global(L, "state");
    lua_pushlightuserdata(L, file);
    bool written = lua_pcall(L, 2, 0, 0) == LUA_OK;
    if (!written) fprintf(stderr, "keep_state: %s\n", lua_tostring(L, -1));
    lua_settop(L, top);
    const bool failed = ferror(file) != 0;
    if (fclose(file) != 0 || failed) {
        if (written) fputs("keep_state: " STATE_FILE " cannot be written\n", stderr);
        written = false;
    }
    if (written) {
        remove(STATE_FILE);
        rename(NEXT_FILE, STATE_FILE);
    } else {
        remove(NEXT_FILE);
    }
}

void SaveState(lua_State* L) {
    const bool isTable = Global(L, "state") == LUA_TTABLE;
    lua_pop(L, 1);
    if (KeepsState(L) && isTable) WriteState(L);
}

// --- Loading

// `t` of the file: a table that is asked for and not there yet is made.
static int MakeTable(lua_State* L) {
    lua_newtable(L);
    lua_pushvalue(L, 2);
    lua_pushvalue(L, -2);
    lua_rawset(L, 1);
    return 1;
}

static int ReadTables(lua_State* L) {
    if (luaL_loadfilex(L, STATE_FILE, "t") != LUA_OK) return lua_error(L);
    lua_newtable(L);
    if (lua_setupvalue(L, -2, 1) == NULL) lua_pop(L, 1);
    lua_newtable(L);
    if (Global(L, "state") != LUA_TTABLE) {
        lua_pop(L, 1);
        lua_newtable(L);
        lua_pushvalue(L, -1);
        lua_setglobal(L, "state");
    }
    lua_rawseti(L, -2, 1);
    lua_createtable(L, 0, 1);
    lua_pushcfunction(L, MakeTable);
    lua_setfield(L, -2, "__index");
    lua_setmetatable(L, -2);
    lua_call(L, 1, 0);
    return 0;
}

void LoadState(lua_State* L) {
    FILE* file = fopen(STATE_FILE, "rb");
    // The run may have ended between the old file and the new one.
    if (file == NULL && rename(NEXT_FILE, STATE_FILE) == 0) file = fopen(STATE_FILE, "rb");
    if (file == NULL) return;
    fclose(file);
    lua_pushcfunction(L, ReadTables);
    if (lua_pcall(L, 0, 0, 0) == LUA_OK) return;
    fprintf(stderr, "keep_state: %s\n", lua_tostring(L, -1));
    lua_pop(L, 1);
}
