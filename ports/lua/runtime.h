// What the parts of the Lua runtime share. Lua itself is Debian's source as it is; these files make
// a game or a program of it: MAIN.LUA among the resources.
#ifndef MOXI_LUA_RUNTIME_H
#define MOXI_LUA_RUNTIME_H

#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
#include <moxi/game.h>

#define MAIN_FILE "MAIN.LUA"

// --- main.c

// Pushes a global as it is, without what a metatable of _G would do; gives its type.
int Global(lua_State* L, const char* name);

// Calls the function below its arguments on the stack, which leaves no results. An error becomes
// the picture that is shown from then on, and false is returned. `what` names the call in that
// picture.
bool CallLua(lua_State* L, int arguments, const char* what);

// What has to be done when the game ends: the game's own function, the state, files that are open.
// Harmless when called again.
void EndGame(lua_State* L);

// --- memory.c: Lua's memory, and the place in the program where it ran out

void* Allocate(void* context, void* block, size_t old, size_t wanted);
void WatchMemoryOf(lua_State* L);
// The calls that were open when memory could last not be had, as a traceback; "" if that never was.
const char* PlaceOfNoMemory(void);

// --- errors.c

// Handles an error's object: a text with its place and the calls that led there.
int DescribeError(lua_State* L);
// Writes an error to the log and keeps it to be shown.
void ReportError(const char* what, const char* text);
bool HasFailed(void);
void DrawError(void);

// --- keep.c: the table `state`, from run to run

// Whether the game asks for it.
bool KeepsState(lua_State* L);
// Puts what the last run left into the table. Raises no error; what cannot be read is left.
void LoadState(lua_State* L);
void SaveState(lua_State* L);

// --- The functions of moxi/game.h, a table for each of its sections

void AddGameFunctions(lua_State* L);   // bind_game.c: game, input, sound, saved values, chance
void AddTimeFunctions(lua_State* L);   // bind_time.c: timers and tweens
void AddDrawFunctions(lua_State* L);   // bind_draw.c: colours, shapes, text, camera, specks
void AddThingFunctions(lua_State* L);  // bind_things.c: pictures, sheets, sprites, maps
void AddFontFunctions(lua_State* L);   // bind_fonts.c: fonts of pixels

// Calls the function that the game gave to game_ending.
void CallEnding(lua_State* L);

// What was changed over time since the last update, into the tables that it belongs to.
int PassTweens(lua_State* L);

typedef struct {
    const char* name;
    lua_Integer value;
} constant;

void AddConstants(lua_State* L, const constant* list, size_t count);

// Arguments.
float Number(lua_State* L, int at);
float NumberOr(lua_State* L, int at, float otherwise);
// Whole numbers of 32 bits; fractions are rounded down.
int Whole(lua_State* L, int at);
colour Colour(lua_State* L, int at);
picture* Picture(lua_State* L, int at);
// The text at `at`, with whatever follows it put in as by string.format.
const char* Text(lua_State* L, int at);

// --- Objects: bind_things.c

// A type's fields, what sets them and what gives an object up; the last two may be null.
void AddType(lua_State* L, const char* name, lua_CFunction index, lua_CFunction newIndex,
             lua_CFunction collect);
// Pushes an object, all zero, that can hold `held` others.
void* NewObject(lua_State* L, const char* type, size_t size, int held);
// The object on top of the stack holds what lies at `at`.
void Hold(lua_State* L, int slot, int at);
// Raises an error when the machine's heap has no room for a bitmap of this size, even after what
// nobody holds any more has been given up.
void NeedRoom(lua_State* L, int width, int height);
// Pushes a picture from a file: 0 by 0 when it cannot be read.
picture* PushLoaded(lua_State* L, const char* name);

#endif
