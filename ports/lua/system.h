// Taken in before everything else by each file of Lua: where it gets the system's answers from.
#ifndef MOXI_LUA_SYSTEM_H
#define MOXI_LUA_SYSTEM_H

#include <stdbool.h>
#include <stddef.h>
#include <stdio.h>
#include <sys/types.h>
#include <time.h>

// Modules lie beside MAIN.LUA. There is no library in machine code that could be loaded, but the
// searcher for them wants a place.
#define LUA_PATH_DEFAULT "?.lua;?/init.lua;?.LUA"
#define LUA_CPATH_DEFAULT "?.so"

// strftime, but without a sign before a large year.
size_t LuaDate(char* text, size_t room, const char* format, const struct tm* date);
#define strftime LuaDate

// The name of a new, empty file; false when none can be made.
bool LuaTemporaryName(char* name);
#define LUA_TMPNAMBUFSIZE 32
#define lua_tmpnam(name, failed) ((failed) = !LuaTemporaryName(name))

// A stream that is not open for writing or reading says so: this C library gives no reason, and
// that of something earlier would be told.
size_t LuaWrite(const void* data, size_t size, size_t count, FILE* file);
size_t LuaRead(void* data, size_t size, size_t count, FILE* file);
int LuaGet(FILE* file);
#define fwrite LuaWrite
#define fread LuaRead
#define l_getc(file) LuaGet(file)
#define l_lockfile(file) ((void)0)
#define l_unlockfile(file) ((void)0)

// A `long` has 32 bits here; places in a file have more.
#define l_seeknum off_t
#define l_fseek(file, offset, whence) fseeko(file, offset, whence)
#define l_ftell(file) ftello(file)

// snprintf, but a number too small for a 1 before the point has a 0 there in "%a". Lua asks for one
// conversion at a time.
int LuaFormat(char* text, size_t room, const char* format, ...);
#define snprintf LuaFormat

#endif
