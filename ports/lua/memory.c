// Lua's memory. When there is none left, Lua raises an error without a handler and without a word
// on where that was; so the place is written down here, where nothing can be allocated any more.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "runtime.h"

enum { kRoom = 2048, kMostCalls = 20 };

static lua_State* watched;
static char place[kRoom];

void WatchMemoryOf(lua_State* L) {
    watched = L;
}

const char* PlaceOfNoMemory(void) {
    return place;
}

// These questions allocate nothing.
static void WriteDownPlace(void) {
    lua_Debug call;
    size_t used = 0;
    place[0] = 0;
    for (int level = 0; level < kMostCalls && lua_getstack(watched, level, &call); ++level) {
        lua_getinfo(watched, "Sln", &call);
        if (call.currentline < 0) continue;
        const int length =
            snprintf(place + used, kRoom - used, "%s%s:%d: %s%s%s", used == 0 ? "" : "\n\t",
                     call.short_src, call.currentline, call.name != NULL ? "in '" : "",
                     call.name != NULL ? call.name : "", call.name != NULL ? "'" : "");
        if (length < 0 || (used += (size_t)length) >= kRoom - 1) return;
    }
}

void* Allocate(void* context, void* block, size_t old, size_t wanted) {
    (void)context;
    (void)old;
    if (wanted == 0) {
        free(block);
        return NULL;
    }
    void* const given = realloc(block, wanted);
    if (given == NULL && watched != NULL) WriteDownPlace();
    return given;
}
