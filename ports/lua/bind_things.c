// The functions of moxi/game.h for Lua: pictures, sheets, sprites, tile maps. They are objects that
// are given up when nothing holds them any more; what an object is made of, it holds.

#include <stddef.h>
#include <stdlib.h>
#include <string.h>

#include "runtime.h"

static const char kPicture[] = "picture";
static const char kSheet[] = "sheet";
static const char kSprite[] = "sprite";
static const char kMap[] = "map";
static const char kSolid[] = "solid tiles";

void* NewObject(lua_State* L, const char* type, size_t size, int held) {
    void* const object = lua_newuserdatauv(L, size, held);
    memset(object, 0, size);
    luaL_setmetatable(L, type);
    return object;
}

void Hold(lua_State* L, int slot, int at) {
    lua_pushvalue(L, at);
    lua_setiuservalue(L, -2, slot);
}

// --- Room. Bitmaps lie in the machine's heap, of which Lua's collector knows nothing.

void NeedRoom(lua_State* L, int width, int height) {
    if (width < 1 || height < 1) return;
    if (width <= 32767 && height <= 32767) {
        for (int tries = 0; tries < 2; ++tries) {
            const moxi_bitmap tried = moxi_new_bitmap((uint32_t)width, (uint32_t)height);
            if (tried != 0) {
                moxi_free_bitmap(tried);
                return;
            }
            lua_gc(L, LUA_GCCOLLECT);
        }
    }
    luaL_error(L, "not enough memory for a picture of %d by %d", width, height);
}

static void NeedMirror(lua_State* L, const picture* image) {
    if (image->flipped == 0) NeedRoom(L, image->width, image->height);
}

// --- Pictures

picture* Picture(lua_State* L, int at) {
    return (picture*)luaL_checkudata(L, at, kPicture);
}

static int FreePicture(lua_State* L) {
    picture* const image = Picture(L, 1);
    if (image->bitmap != 0) moxi_free_bitmap(image->bitmap);
    if (image->flipped != 0) moxi_free_bitmap(image->flipped);
    memset(image, 0, sizeof *image);
    return 0;
}

static int PictureField(lua_State* L) {
    const picture* const image = Picture(L, 1);
    const char* const name = luaL_checkstring(L, 2);
    if (strcmp(name, "width") == 0) {
        lua_pushinteger(L, image->width);
    } else if (strcmp(name, "height") == 0) {
        lua_pushinteger(L, image->height);
    } else {
        return luaL_error(L, "a picture has no '%s'", name);
    }
    return 1;
}

picture* PushLoaded(lua_State* L, const char* name) {
    picture* const image = (picture*)NewObject(L, kPicture, sizeof *image, 0);
    *image = load_picture(name);
    // The heap may be full of pictures that nobody holds any more. Of a file that is missing the
    // host has told.
    if (image->bitmap == 0 && moxi_file_size(name) != UINT32_MAX) {
        lua_gc(L, LUA_GCCOLLECT);
        *image = load_picture(name);
    }
    return image;
}

static int LoadPicture(lua_State* L) {
    PushLoaded(L, luaL_checkstring(L, 1));
    return 1;
}

// Turns an argument that is a text of several lines into a table of them.
static void SplitLines(lua_State* L, int at) {
    if (lua_type(L, at) != LUA_TSTRING) {
        luaL_checktype(L, at, LUA_TTABLE);
        return;
    }
    const char* rest = lua_tostring(L, at);
    lua_newtable(L);
    for (lua_Integer i = 1; *rest != 0; ++i) {
        const size_t length = strcspn(rest, "\n");
        lua_pushlstring(L, rest, length);
        lua_rawseti(L, -2, i);
        rest += length;
        rest += *rest == '\n';
    }
    lua_replace(L, at);
}

enum { kMostRows = 32767 };

// The rows of a picture or a map, ended by a null pointer; `longest` gets the length of the
// longest.
static const char** Rows(lua_State* L, int at, int* count, int* longest) {
    SplitLines(L, at);
    const lua_Integer all = luaL_len(L, at);
    luaL_argcheck(L, all >= 0 && all <= kMostRows, at, "there are too many rows");
    *count = (int)all;
    const char** const rows =
        (const char**)lua_newuserdatauv(L, ((size_t)*count + 1) * sizeof *rows, 0);
    *longest = 0;
    for (int i = 0; i < *count; ++i) {
        if (lua_geti(L, at, i + 1) != LUA_TSTRING) {
            luaL_error(L, "row %d is no text but a %s", i + 1, luaL_typename(L, -1));
        }
        // The table holds the text.
        rows[i] = lua_tostring(L, -1);
        const int length = (int)strlen(rows[i]);
        if (length > *longest) *longest = length;
        lua_pop(L, 1);
    }
    rows[*count] = NULL;
    return rows;
}

static int Inks(lua_State* L, int at, ink inks[256]) {
    int count = 0;
    lua_pushnil(L);
    while (lua_next(L, at) != 0) {
        size_t length = 0;
        const char* const letter =
            lua_type(L, -2) == LUA_TSTRING ? lua_tolstring(L, -2, &length) : NULL;
        luaL_argcheck(L, length == 1, at, "colours are named by one letter each");
        luaL_argcheck(L, lua_isinteger(L, -1), at, "a letter stands for a colour");
        if (count < 256) inks[count++] = (ink){*letter, (colour)lua_tointeger(L, -1)};
        lua_pop(L, 1);
    }
    return count;
}

static int MakePicture(lua_State* L) {
    ink inks[256];
    int height, width;
    luaL_checktype(L, 2, LUA_TTABLE);
    const char* const* const rows = Rows(L, 1, &height, &width);
    const int count = Inks(L, 2, inks);
    NeedRoom(L, width, height);
    picture* const image = (picture*)NewObject(L, kPicture, sizeof *image, 0);
    *image = make_picture(rows, inks, count);
    return 1;
}

static picture CopyOf(const picture* image) {
    picture copy = {moxi_new_bitmap((uint32_t)image->width, (uint32_t)image->height), 0,
                    image->width, image->height};
    const moxi_pixels from = moxi_lock_pixels(image->bitmap);
    const moxi_pixels to = moxi_lock_pixels(copy.bitmap);
    for (int y = 0; y < image->height; ++y) {
        memcpy(to.pixels + y * to.stride, from.pixels + y * from.stride,
               (size_t)image->width * sizeof *to.pixels);
    }
    moxi_unlock_pixels(to);
    moxi_unlock_pixels(from);
    return copy;
}

// The small one stays: it may be in use. In C it is given up.
static int Enlarged(lua_State* L) {
    const picture* const small = Picture(L, 1);
    const int factor = Whole(L, 2);
    if (small->bitmap == 0 || factor < 2) {
        lua_settop(L, 1);
        return 1;
    }
    luaL_argcheck(L, factor <= 64, 2, "at most 64 times");
    // Both at once.
    NeedRoom(L, small->width * factor, small->height * factor + small->height);
    picture* const image = (picture*)NewObject(L, kPicture, sizeof *image, 0);
    *image = enlarged(CopyOf(small), factor);
    return 1;
}

static int Tinted(lua_State* L) {
    const picture* const shape = Picture(L, 1);
    const colour fill = Colour(L, 2);
    NeedRoom(L, shape->width, shape->height);
    picture* const image = (picture*)NewObject(L, kPicture, sizeof *image, 0);
    *image = tinted(shape, fill);
    return 1;
}

static int DrawPicture(lua_State* L) {
    draw_picture(Picture(L, 1), Number(L, 2), Number(L, 3));
    return 0;
}

static int DrawFlipped(lua_State* L) {
    picture* const image = Picture(L, 1);
    NeedMirror(L, image);
    draw_flipped(image, Number(L, 2), Number(L, 3));
    return 0;
}

// --- Sheets. The pixels are the picture's, which is held; the mirror image is the sheet's own.

static sheet* Sheet(lua_State* L, int at) {
    return (sheet*)luaL_checkudata(L, at, kSheet);
}

static int FreeSheet(lua_State* L) {
    sheet* const cells = Sheet(L, 1);
    if (cells->image.flipped != 0) moxi_free_bitmap(cells->image.flipped);
    cells->image.bitmap = cells->image.flipped = 0;
    return 0;
}

static int SheetField(lua_State* L) {
    const sheet* const cells = Sheet(L, 1);
    const char* const name = luaL_checkstring(L, 2);
    if (strcmp(name, "cell_width") == 0) {
        lua_pushinteger(L, cells->cell_width);
    } else if (strcmp(name, "cell_height") == 0) {
        lua_pushinteger(L, cells->cell_height);
    } else if (strcmp(name, "columns") == 0) {
        lua_pushinteger(L, cells->columns);
    } else if (strcmp(name, "count") == 0) {
        lua_pushinteger(L, cells->count);
    } else if (strcmp(name, "image") == 0) {
        lua_getiuservalue(L, 1, 1);
    } else {
        return luaL_error(L, "a sheet has no '%s'", name);
    }
    return 1;
}

// Of the picture at `at`, with the cells' size behind it.
static int PushSheet(lua_State* L, int at, int width, int height) {
    luaL_argcheck(L, width >= 1, 2, "a cell has at least one pixel");
    luaL_argcheck(L, height >= 1, 3, "a cell has at least one pixel");
    picture borrowed = *Picture(L, at);
    borrowed.flipped = 0;
    sheet* const cells = (sheet*)NewObject(L, kSheet, sizeof *cells, 1);
    *cells = make_sheet(borrowed, width, height);
    Hold(L, 1, at);
    return 1;
}

static int MakeSheet(lua_State* L) {
    return PushSheet(L, 1, Whole(L, 2), Whole(L, 3));
}

static int LoadSheet(lua_State* L) {
    const int width = Whole(L, 2), height = Whole(L, 3);
    PushLoaded(L, luaL_checkstring(L, 1));
    return PushSheet(L, lua_gettop(L), width, height);
}

static int DrawCell(lua_State* L) {
    sheet* const cells = Sheet(L, 1);
    const bool isFlipped = lua_toboolean(L, 5);
    if (isFlipped) NeedMirror(L, &cells->image);
    draw_cell(cells, Whole(L, 2), Number(L, 3), Number(L, 4), isFlipped);
    return 0;
}

// --- Sprites: objects with fields that can be changed, and with others of the game's own

enum { kCellsOfSprite = 1, kOwnFields = 2 };

static sprite* Sprite(lua_State* L, int at) {
    return (sprite*)luaL_checkudata(L, at, kSprite);
}

typedef enum { kNumberField, kWholeField, kTruthField } field_type;

typedef struct {
    const char* name;
    size_t offset;
    field_type type;
} field;

static const field kFields[] = {
    {"x", offsetof(sprite, x), kNumberField},
    {"y", offsetof(sprite, y), kNumberField},
    {"speed_x", offsetof(sprite, speed_x), kNumberField},
    {"speed_y", offsetof(sprite, speed_y), kNumberField},
    {"first", offsetof(sprite, first), kWholeField},
    {"last", offsetof(sprite, last), kWholeField},
    {"rate", offsetof(sprite, rate), kNumberField},
    {"phase", offsetof(sprite, phase), kNumberField},
    {"flipped", offsetof(sprite, flipped), kTruthField},
    {"hidden", offsetof(sprite, hidden), kTruthField},
};

static const field* FindField(lua_State* L, int at) {
    const char* const name = lua_type(L, at) == LUA_TSTRING ? lua_tostring(L, at) : "";
    for (size_t i = 0; i < sizeof kFields / sizeof *kFields; ++i) {
        if (strcmp(kFields[i].name, name) == 0) return &kFields[i];
    }
    return NULL;
}

static bool IsCells(lua_State* L, int at) {
    return lua_type(L, at) == LUA_TSTRING && strcmp(lua_tostring(L, at), "cells") == 0;
}

static int SpriteField(lua_State* L) {
    const char* const thing = (const char*)Sprite(L, 1);
    const field* const found = FindField(L, 2);
    if (found == NULL) {
        if (IsCells(L, 2)) {
            lua_getiuservalue(L, 1, kCellsOfSprite);
        } else if (lua_getiuservalue(L, 1, kOwnFields) == LUA_TTABLE) {
            lua_pushvalue(L, 2);
            lua_rawget(L, -2);
        }
        return 1;
    }
    const char* const place = thing + found->offset;
    switch (found->type) {
        case kNumberField: lua_pushnumber(L, (lua_Number) * (const float*)place); break;
        case kWholeField: lua_pushinteger(L, *(const int*)place); break;
        case kTruthField: lua_pushboolean(L, *(const bool*)place); break;
    }
    return 1;
}

static void SetOwnField(lua_State* L) {
    if (lua_getiuservalue(L, 1, kOwnFields) != LUA_TTABLE) {
        lua_pop(L, 1);
        lua_newtable(L);
        lua_pushvalue(L, -1);
        lua_setiuservalue(L, 1, kOwnFields);
    }
    lua_pushvalue(L, 2);
    lua_pushvalue(L, 3);
    lua_rawset(L, -3);
}

static int SetSpriteField(lua_State* L) {
    sprite* const thing = Sprite(L, 1);
    const field* const found = FindField(L, 2);
    lua_settop(L, 3);
    if (found == NULL && IsCells(L, 2)) {
        thing->cells = Sheet(L, 3);
        lua_setiuservalue(L, 1, kCellsOfSprite);
    } else if (found == NULL) {
        SetOwnField(L);
    } else {
        char* const place = (char*)thing + found->offset;
        switch (found->type) {
            case kNumberField: *(float*)place = Number(L, 3); break;
            case kWholeField: *(int*)place = Whole(L, 3); break;
            case kTruthField: *(bool*)place = lua_toboolean(L, 3); break;
        }
    }
    return 0;
}

static int MakeSprite(lua_State* L) {
    sheet* const cells = Sheet(L, 1);
    const float x = NumberOr(L, 2, 0), y = NumberOr(L, 3, 0);
    sprite* const thing = (sprite*)NewObject(L, kSprite, sizeof *thing, 2);
    *thing = make_sprite(cells, x, y);
    Hold(L, kCellsOfSprite, 1);
    return 1;
}

static int Animate(lua_State* L) {
    animate(Sprite(L, 1), Whole(L, 2), Whole(L, 3), Number(L, 4));
    return 0;
}

static int UpdateSprite(lua_State* L) {
    update_sprite(Sprite(L, 1));
    return 0;
}

static int DrawSprite(lua_State* L) {
    sprite* const thing = Sprite(L, 1);
    if (thing->flipped) NeedMirror(L, &thing->cells->image);
    draw_sprite(thing);
    return 0;
}

static int SpritesTouch(lua_State* L) {
    lua_pushboolean(L, sprites_touch(Sprite(L, 1), Sprite(L, 2), NumberOr(L, 3, 0)));
    return 1;
}

static int BoxesTouch(lua_State* L) {
    lua_pushboolean(L, boxes_touch(Number(L, 1), Number(L, 2), Number(L, 3), Number(L, 4),
                                   Number(L, 5), Number(L, 6), Number(L, 7), Number(L, 8)));
    return 1;
}

// --- Tile maps

static tile_map* Map(lua_State* L, int at) {
    tile_map* const map = (tile_map*)luaL_checkudata(L, at, kMap);
    luaL_argcheck(L, map->tiles != NULL, at, "this map has been freed");
    return map;
}

static int FreeMap(lua_State* L) {
    free_map((tile_map*)luaL_checkudata(L, 1, kMap));
    return 0;
}

static int MapField(lua_State* L) {
    const tile_map* const map = Map(L, 1);
    const char* const name = luaL_checkstring(L, 2);
    if (strcmp(name, "width") == 0) {
        lua_pushinteger(L, map->width);
    } else if (strcmp(name, "height") == 0) {
        lua_pushinteger(L, map->height);
    } else if (strcmp(name, "tiles") == 0) {
        lua_getiuservalue(L, 1, 1);
    } else if (strcmp(name, "solid") == 0) {
        NewObject(L, kSolid, 1, 1);
        Hold(L, 1, 1);
    } else {
        return luaL_error(L, "a map has no '%s'", name);
    }
    return 1;
}

// map.solid: of each tile what it stops.
static unsigned char* SolidTile(lua_State* L) {
    luaL_checkudata(L, 1, kSolid);
    const int tile = Whole(L, 2);
    luaL_argcheck(L, tile >= 0 && tile < 255, 2, "a tile is 0 to 254");
    lua_getiuservalue(L, 1, 1);
    tile_map* const map = (tile_map*)luaL_checkudata(L, -1, kMap);
    if (map->tiles == NULL) luaL_error(L, "this map has been freed");
    lua_pop(L, 1);
    return &map->solid[tile];
}

static int SolidOfTile(lua_State* L) {
    lua_pushinteger(L, *SolidTile(L));
    return 1;
}

static int SetSolidOfTile(lua_State* L) {
    const int kind = Whole(L, 3);
    luaL_argcheck(L, kind >= TILE_OPEN && kind <= TILE_LEDGE, 3,
                  "a tile is TILE_OPEN, TILE_SOLID or TILE_LEDGE");
    *SolidTile(L) = (unsigned char)kind;
    return 0;
}

static int MakeMap(lua_State* L) {
    sheet* const tiles = Sheet(L, 1);
    int height, width;
    const char* const letters = luaL_checkstring(L, 3);
    const char* const solid = luaL_optstring(L, 4, "");
    const char* const* const rows = Rows(L, 2, &height, &width);
    tile_map* const map = (tile_map*)NewObject(L, kMap, sizeof *map, 1);
    *map = make_map(tiles, rows, letters, solid);
    if (map->cells == NULL) return luaL_error(L, "not enough memory");
    Hold(L, 1, 1);
    return 1;
}

// Of a file that is missing a line in the log tells.
static int LoadMap(lua_State* L) {
    sheet* const tiles = Sheet(L, 1);
    const char* const name = luaL_checkstring(L, 2);
    const char* const letters = luaL_checkstring(L, 3);
    const char* const solid = luaL_optstring(L, 4, "");
    tile_map* const map = (tile_map*)NewObject(L, kMap, sizeof *map, 1);
    *map = load_map(tiles, name, letters, solid);
    Hold(L, 1, 1);
    return 1;
}

static int LetterAt(lua_State* L) {
    const char letter = letter_at(Map(L, 1), Whole(L, 2), Whole(L, 3));
    lua_pushlstring(L, &letter, 1);
    return 1;
}

static int TileAt(lua_State* L) {
    lua_pushinteger(L, tile_at(Map(L, 1), Whole(L, 2), Whole(L, 3)));
    return 1;
}

static int SetTile(lua_State* L) {
    tile_map* const map = Map(L, 1);
    const int tile = Whole(L, 4);
    luaL_argcheck(L, tile >= -1 && tile < 255, 4, "a tile is -1 to 254");
    set_tile(map, Whole(L, 2), Whole(L, 3), tile);
    return 0;
}

static int SolidAt(lua_State* L) {
    lua_pushboolean(L, solid_at(Map(L, 1), Number(L, 2), Number(L, 3)));
    return 1;
}

static int DrawMap(lua_State* L) {
    draw_map(Map(L, 1));
    return 0;
}

// The new place and the sides that were stopped.
static int MoveInMap(lua_State* L) {
    float x = Number(L, 2), y = Number(L, 3);
    const int sides =
        move_in_map(Map(L, 1), &x, &y, Number(L, 4), Number(L, 5), Number(L, 6), Number(L, 7));
    lua_pushnumber(L, (lua_Number)x);
    lua_pushnumber(L, (lua_Number)y);
    lua_pushinteger(L, sides);
    return 3;
}

// --- The tables

static const luaL_Reg kFunctions[] = {
    {"load_picture", LoadPicture},
    {"make_picture", MakePicture},
    {"enlarged", Enlarged},
    {"tinted", Tinted},
    {"draw_picture", DrawPicture},
    {"draw_flipped", DrawFlipped},
    {"load_sheet", LoadSheet},
    {"make_sheet", MakeSheet},
    {"draw_cell", DrawCell},
    {"make_sprite", MakeSprite},
    {"animate", Animate},
    {"update_sprite", UpdateSprite},
    {"draw_sprite", DrawSprite},
    {"sprites_touch", SpritesTouch},
    {"boxes_touch", BoxesTouch},
    {"make_map", MakeMap},
    {"load_map", LoadMap},
    {"free_map", FreeMap},
    {"letter_at", LetterAt},
    {"tile_at", TileAt},
    {"set_tile", SetTile},
    {"solid_at", SolidAt},
    {"draw_map", DrawMap},
    {"move_in_map", MoveInMap},
    {NULL, NULL},
};

static const constant kConstants[] = {
    {"TILE_OPEN", TILE_OPEN},   {"TILE_SOLID", TILE_SOLID}, {"TILE_LEDGE", TILE_LEDGE},
    {"HIT_LEFT", HIT_LEFT},     {"HIT_RIGHT", HIT_RIGHT},   {"HIT_TOP", HIT_TOP},
    {"HIT_BOTTOM", HIT_BOTTOM},
};

void AddType(lua_State* L, const char* name, lua_CFunction index, lua_CFunction newIndex,
             lua_CFunction collect) {
    luaL_newmetatable(L, name);
    lua_pushcfunction(L, index);
    lua_setfield(L, -2, "__index");
    if (newIndex != NULL) {
        lua_pushcfunction(L, newIndex);
        lua_setfield(L, -2, "__newindex");
    }
    if (collect != NULL) {
        lua_pushcfunction(L, collect);
        lua_setfield(L, -2, "__gc");
    }
    // Nobody calls what frees a thing behind the back of those who hold it.
    lua_pushboolean(L, false);
    lua_setfield(L, -2, "__metatable");
    lua_pop(L, 1);
}

void AddThingFunctions(lua_State* L) {
    AddType(L, kPicture, PictureField, NULL, FreePicture);
    AddType(L, kSheet, SheetField, NULL, FreeSheet);
    AddType(L, kSprite, SpriteField, SetSpriteField, NULL);
    AddType(L, kMap, MapField, NULL, FreeMap);
    AddType(L, kSolid, SolidOfTile, SetSolidOfTile, NULL);
    lua_pushglobaltable(L);
    luaL_setfuncs(L, kFunctions, 0);
    lua_pop(L, 1);
    AddConstants(L, kConstants, sizeof kConstants / sizeof *kConstants);
}
