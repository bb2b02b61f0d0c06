// The functions of moxi/game.h for Lua: fonts of pixels. A font holds the picture that its letters
// are cut from; the letters in the colours that it was drawn with are its own.

#include <string.h>

#include "runtime.h"

static const char kFont[] = "font";

static font* Font(lua_State* L, int at) {
    return (font*)luaL_checkudata(L, at, kFont);
}

static int FreeFont(lua_State* L) {
    font* const letters = Font(L, 1);
    for (size_t i = 0; i < sizeof letters->inks / sizeof *letters->inks; ++i) {
        const moxi_bitmap bitmap = letters->inks[i].image.bitmap;
        if (bitmap != 0) moxi_free_bitmap(bitmap);
    }
    memset(letters, 0, sizeof *letters);
    return 0;
}

static int FontField(lua_State* L) {
    const font* const letters = Font(L, 1);
    const char* const name = luaL_checkstring(L, 2);
    if (strcmp(name, "cell_width") == 0) {
        lua_pushinteger(L, letters->cells.cell_width);
    } else if (strcmp(name, "cell_height") == 0) {
        lua_pushinteger(L, letters->cells.cell_height);
    } else {
        return luaL_error(L, "a font has no '%s'", name);
    }
    return 1;
}

static int CellSide(lua_State* L, int at) {
    const int side = Whole(L, at);
    luaL_argcheck(L, side >= 1 && side <= 255, at, "a letter's cell has 1 to 255 pixels a side");
    return side;
}

// Of the picture at `at`.
static int PushFont(lua_State* L, int at, int width, int height) {
    picture borrowed = *Picture(L, at);
    borrowed.flipped = 0;
    font* const letters = (font*)NewObject(L, kFont, sizeof *letters, 1);
    *letters = make_font(borrowed, width, height);
    Hold(L, 1, at);
    return 1;
}

static int MakeFont(lua_State* L) {
    return PushFont(L, 1, CellSide(L, 2), CellSide(L, 3));
}

static int LoadFont(lua_State* L) {
    const int width = CellSide(L, 2), height = CellSide(L, 3);
    PushLoaded(L, luaL_checkstring(L, 1));
    return PushFont(L, lua_gettop(L), width, height);
}

// The letters are drawn as a picture in the colour, which is made when it is first asked for.
static void NeedInk(lua_State* L, const font* letters, colour fill) {
    for (size_t i = 0; i < sizeof letters->inks / sizeof *letters->inks; ++i) {
        if (letters->inks[i].fill == (fill | 0xFF000000u)) return;
    }
    NeedRoom(L, letters->cells.image.width, letters->cells.image.height);
}

static int DrawWords(lua_State* L) {
    font* const letters = Font(L, 1);
    const float x = Number(L, 2), y = Number(L, 3);
    const colour fill = Colour(L, 4);
    luaL_checkany(L, 5);
    NeedInk(L, letters, fill);
    draw_words(letters, x, y, fill, "%s", Text(L, 5));
    return 0;
}

static int WordsWidth(lua_State* L) {
    const font* const letters = Font(L, 1);
    luaL_checkany(L, 2);
    lua_pushinteger(L, words_width(letters, "%s", Text(L, 2)));
    return 1;
}

static const luaL_Reg kFunctions[] = {
    {"load_font", LoadFont},
    {"make_font", MakeFont},
    {"draw_words", DrawWords},
    {"words_width", WordsWidth},
    {NULL, NULL},
};

void AddFontFunctions(lua_State* L) {
    AddType(L, kFont, FontField, NULL, FreeFont);
    lua_pushglobaltable(L);
    luaL_setfuncs(L, kFunctions, 0);
    lua_pop(L, 1);
}
