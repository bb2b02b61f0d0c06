// The functions of moxi/game.h for Lua: timers and changes over time.

#include <stddef.h>

#include "runtime.h"

static lua_State* owner;  // the game's main thread, which timers call with

// --- Timers. One of C has no room for what it is to call, so each has a function of its own.

enum { kTimers = 64 };

typedef struct {
    int number;    // as C knows it, 0: free
    int function;  // its place in the registry
    bool again;
} timer;

static timer timers[kTimers];

static void Forget(timer* one) {
    luaL_unref(owner, LUA_REGISTRYINDEX, one->function);
    one->number = 0;
}

static void Fire(int i) {
    timer* const one = &timers[i];
    if (HasFailed() || one->number == 0) return;
    lua_rawgeti(owner, LUA_REGISTRYINDEX, one->function);
    if (!one->again) Forget(one);
    CallLua(owner, 0, "a timer");
}

#define ONE(n)                  \
    static void Fire##n(void) { \
        Fire(n);                \
    }
#define EIGHT(n) ONE(n##0) ONE(n##1) ONE(n##2) ONE(n##3) ONE(n##4) ONE(n##5) ONE(n##6) ONE(n##7)
// In the octal system, without which a number could not be put together of its digits.
EIGHT(00)
EIGHT(01)
EIGHT(02)
EIGHT(03)
EIGHT(04)
EIGHT(05)
EIGHT(06)
EIGHT(07)

#define NAMES(n) \
    Fire##n##0, Fire##n##1, Fire##n##2, Fire##n##3, Fire##n##4, Fire##n##5, Fire##n##6, Fire##n##7
static const timer_function kFire[kTimers] = {NAMES(00), NAMES(01), NAMES(02), NAMES(03),
                                              NAMES(04), NAMES(05), NAMES(06), NAMES(07)};

static int Start(lua_State* L, bool again) {
    const float seconds = Number(L, 1);
    luaL_checktype(L, 2, LUA_TFUNCTION);
    for (int i = 0; i < kTimers; ++i) {
        if (timers[i].number != 0) continue;
        const int number = again ? every(seconds, kFire[i]) : after(seconds, kFire[i]);
        if (number == 0) break;
        lua_settop(L, 2);
        timers[i] = (timer){number, luaL_ref(L, LUA_REGISTRYINDEX), again};
        lua_pushinteger(L, number);
        return 1;
    }
    return luaL_error(L, "there can be %d timers at a time", kTimers);
}

static int After(lua_State* L) {
    return Start(L, false);
}

static int Every(lua_State* L) {
    return Start(L, true);
}

static int StopTimer(lua_State* L) {
    const int number = Whole(L, 1);
    for (int i = 0; i < kTimers; ++i) {
        if (number == 0 || timers[i].number != number) continue;
        stop_timer(number);
        Forget(&timers[i]);
    }
    return 0;
}

// --- Tweens: of a table's field, which has no address. C changes a number here, and what it has
// become is put into the field before each update.

enum { kTweens = 64 };

typedef struct {
    bool used;
    int table, key, end;  // places in the registry
    float number;
} change;

static change changes[kTweens];

static void Release(lua_State* L, change* one) {
    luaL_unref(L, LUA_REGISTRYINDEX, one->table);
    luaL_unref(L, LUA_REGISTRYINDEX, one->key);
    luaL_unref(L, LUA_REGISTRYINDEX, one->end);
    one->used = false;
}

// The change of the field whose table and key are the first two arguments.
static change* Find(lua_State* L) {
    for (int i = 0; i < kTweens; ++i) {
        if (!changes[i].used) continue;
        lua_rawgeti(L, LUA_REGISTRYINDEX, changes[i].table);
        lua_rawgeti(L, LUA_REGISTRYINDEX, changes[i].key);
        const bool same = lua_rawequal(L, -2, 1) && lua_rawequal(L, -1, 2);
        lua_pop(L, 2);
        if (same) return &changes[i];
    }
    return NULL;
}

static void CheckField(lua_State* L) {
    const int type = lua_type(L, 1);
    if (type != LUA_TTABLE && type != LUA_TUSERDATA) luaL_typeerror(L, 1, "table or sprite");
    luaL_checkany(L, 2);
}

// What the field is now; only a number can change little by little.
static float FieldNumber(lua_State* L) {
    lua_pushvalue(L, 2);
    lua_gettable(L, 1);
    if (lua_type(L, -1) != LUA_TNUMBER) {
        const char* const type = luaL_typename(L, -1);
        return (float)luaL_error(L, "the field '%s' is no number but a %s",
                                 luaL_tolstring(L, 2, NULL), type);
    }
    const float number = (float)lua_tonumber(L, -1);
    lua_pop(L, 1);
    return number;
}

static int Tween(lua_State* L) {
    CheckField(L);
    luaL_checknumber(L, 3);
    const float seconds = Number(L, 4);
    const ease kind = (ease)luaL_optinteger(L, 5, EASE_NONE);
    const float now = seconds > 0 ? FieldNumber(L) : 0;
    change* place = Find(L);
    if (place != NULL) Release(L, place);
    for (int i = 0; place == NULL && i < kTweens; ++i) {
        if (!changes[i].used) place = &changes[i];
    }
    lua_settop(L, 3);
    // Without time or room it is done at once.
    if (place == NULL || seconds <= 0) {
        lua_settable(L, 1);
        return 0;
    }
    place->number = now;
    tween(&place->number, Number(L, 3), seconds, kind);
    place->end = luaL_ref(L, LUA_REGISTRYINDEX);
    place->key = luaL_ref(L, LUA_REGISTRYINDEX);
    place->table = luaL_ref(L, LUA_REGISTRYINDEX);
    place->used = true;
    return 0;
}

static int IsTweening(lua_State* L) {
    CheckField(L);
    lua_pushboolean(L, Find(L) != NULL);
    return 1;
}

static int Eased(lua_State* L) {
    lua_pushnumber(L, (lua_Number)eased(Number(L, 1), (ease)luaL_checkinteger(L, 2)));
    return 1;
}

int PassTweens(lua_State* L) {
    for (int i = 0; i < kTweens; ++i) {
        change* const one = &changes[i];
        if (!one->used) continue;
        const bool goesOn = is_tweening(&one->number);
        lua_rawgeti(L, LUA_REGISTRYINDEX, one->table);
        lua_rawgeti(L, LUA_REGISTRYINDEX, one->key);
        if (goesOn) {
            lua_pushnumber(L, (lua_Number)one->number);
        } else {
            lua_rawgeti(L, LUA_REGISTRYINDEX, one->end);
            Release(L, one);
        }
        lua_settable(L, -3);
        lua_pop(L, 1);
    }
    return 0;
}

static const luaL_Reg kFunctions[] = {
    {"after", After},
    {"every", Every},
    {"stop_timer", StopTimer},
    {"tween", Tween},
    {"is_tweening", IsTweening},
    {"eased", Eased},
    {NULL, NULL},
};

static const constant kConstants[] = {
    {"EASE_NONE", EASE_NONE},     {"EASE_IN", EASE_IN},     {"EASE_OUT", EASE_OUT},
    {"EASE_BOTH", EASE_BOTH},     {"EASE_BACK", EASE_BACK}, {"EASE_BOUNCE", EASE_BOUNCE},
    {"EASE_SPRING", EASE_SPRING},
};

void AddTimeFunctions(lua_State* L) {
    owner = L;
    lua_pushglobaltable(L);
    luaL_setfuncs(L, kFunctions, 0);
    lua_pop(L, 1);
    AddConstants(L, kConstants, sizeof kConstants / sizeof *kConstants);
}
