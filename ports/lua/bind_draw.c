// The functions of moxi/game.h for Lua: colours, shapes, text, the camera, specks.

#include <string.h>

#include "runtime.h"

// --- Colours

static int Channel(lua_State* L, int at) {
    const int value = Whole(L, at);
    return value < 0 ? 0 : value > 255 ? 255 : value;
}

static int Rgb(lua_State* L) {
    lua_pushinteger(L, RGB(Channel(L, 1), Channel(L, 2), Channel(L, 3)));
    return 1;
}

static int Rgba(lua_State* L) {
    lua_pushinteger(L, RGBA(Channel(L, 1), Channel(L, 2), Channel(L, 3), Channel(L, 4)));
    return 1;
}

static int Mix(lua_State* L) {
    lua_pushinteger(L, mix(Colour(L, 1), Colour(L, 2), Number(L, 3)));
    return 1;
}

static int Faded(lua_State* L) {
    lua_pushinteger(L, faded(Colour(L, 1), Number(L, 2)));
    return 1;
}

// --- Shapes

static int ClearScreen(lua_State* L) {
    clear_screen(Colour(L, 1));
    return 0;
}

static int DrawPixel(lua_State* L) {
    draw_pixel(Number(L, 1), Number(L, 2), Colour(L, 3));
    return 0;
}

static int DrawLine(lua_State* L) {
    draw_line(Number(L, 1), Number(L, 2), Number(L, 3), Number(L, 4), Colour(L, 5));
    return 0;
}

static int DrawBox(lua_State* L) {
    draw_box(Number(L, 1), Number(L, 2), Number(L, 3), Number(L, 4), Colour(L, 5));
    return 0;
}

static int DrawFrame(lua_State* L) {
    draw_frame(Number(L, 1), Number(L, 2), Number(L, 3), Number(L, 4), Colour(L, 5));
    return 0;
}

static int DrawDisc(lua_State* L) {
    draw_disc(Number(L, 1), Number(L, 2), Number(L, 3), Colour(L, 4));
    return 0;
}

static int DrawRing(lua_State* L) {
    draw_ring(Number(L, 1), Number(L, 2), Number(L, 3), Colour(L, 4));
    return 0;
}

// --- Text

static int TextStyle(lua_State* L) {
    text_style((uint32_t)luaL_checkinteger(L, 1));
    return 0;
}

static int TextAlign(lua_State* L) {
    text_align((alignment)luaL_checkinteger(L, 1));
    return 0;
}

const char* Text(lua_State* L, int at) {
    const int last = lua_gettop(L);
    if (last <= at) return luaL_tolstring(L, at, NULL);
    luaL_checkstring(L, at);
    lua_getfield(L, LUA_REGISTRYINDEX, "moxi.format");
    lua_insert(L, at);
    lua_call(L, last - at + 1, 1);
    return lua_tostring(L, -1);
}

static int DrawText(lua_State* L) {
    const float x = Number(L, 1), y = Number(L, 2);
    const int size = Whole(L, 3);
    const colour ink = Colour(L, 4);
    luaL_checkany(L, 5);
    draw_text(x, y, size, ink, "%s", Text(L, 5));
    return 0;
}

static int TextWidth(lua_State* L) {
    const int size = Whole(L, 1);
    luaL_checkany(L, 2);
    lua_pushinteger(L, text_width(size, "%s", Text(L, 2)));
    return 1;
}

// --- The camera

static int CameraAt(lua_State* L) {
    camera_at(Number(L, 1), Number(L, 2));
    return 0;
}

static int CameraFollow(lua_State* L) {
    camera_follow(Number(L, 1), Number(L, 2), NumberOr(L, 3, 1));
    return 0;
}

static int CameraBounds(lua_State* L) {
    camera_bounds(Number(L, 1), Number(L, 2));
    return 0;
}

static int CameraShake(lua_State* L) {
    camera_shake(Number(L, 1), Number(L, 2));
    return 0;
}

static int CameraX(lua_State* L) {
    lua_pushnumber(L, (lua_Number)camera_x());
    return 1;
}

static int CameraY(lua_State* L) {
    lua_pushnumber(L, (lua_Number)camera_y());
    return 1;
}

static int CameraOff(lua_State* L) {
    (void)L;
    camera_off();
    return 0;
}

static int CameraPart(lua_State* L) {
    camera_part(Number(L, 1));
    return 0;
}

static int DrawFar(lua_State* L) {
    draw_far(Picture(L, 1), Number(L, 2), Number(L, 3), Number(L, 4));
    return 0;
}

// --- Specks: a table with the fields of one; what it does not have is 0

static float SpeckField(lua_State* L, const char* name) {
    const int type = lua_getfield(L, 1, name);
    int isNumber = 1;
    const lua_Number number = type == LUA_TNIL ? 0 : lua_tonumberx(L, -1, &isNumber);
    if (!isNumber) luaL_error(L, "a speck's '%s' is a number", name);
    lua_pop(L, 1);
    return (float)number;
}

static int AddSpeck(lua_State* L) {
    luaL_checktype(L, 1, LUA_TTABLE);
    speck one = {.x = SpeckField(L, "x"),
                 .y = SpeckField(L, "y"),
                 .speed_x = SpeckField(L, "speed_x"),
                 .speed_y = SpeckField(L, "speed_y"),
                 .fall = SpeckField(L, "fall"),
                 .size = SpeckField(L, "size"),
                 .growth = SpeckField(L, "growth"),
                 .seconds = SpeckField(L, "seconds")};
    lua_getfield(L, 1, "fill");
    if (!lua_isinteger(L, -1)) return luaL_error(L, "a speck's 'fill' is a colour");
    one.fill = (colour)lua_tointeger(L, -1);
    lua_getfield(L, 1, "round");
    one.round = lua_toboolean(L, -1);
    add_speck(one);
    return 0;
}

static int Burst(lua_State* L) {
    const int count = Whole(L, 3);
    // There is no room for more.
    burst(Number(L, 1), Number(L, 2), count < 256 ? count : 256, Number(L, 4), Colour(L, 5));
    return 0;
}

static int DrawSpecks(lua_State* L) {
    (void)L;
    draw_specks();
    return 0;
}

static int ClearSpecks(lua_State* L) {
    (void)L;
    clear_specks();
    return 0;
}

static const luaL_Reg kFunctions[] = {
    {"RGB", Rgb},
    {"RGBA", Rgba},
    {"mix", Mix},
    {"faded", Faded},
    {"clear_screen", ClearScreen},
    {"draw_pixel", DrawPixel},
    {"draw_line", DrawLine},
    {"draw_box", DrawBox},
    {"draw_frame", DrawFrame},
    {"draw_disc", DrawDisc},
    {"draw_ring", DrawRing},
    {"text_style", TextStyle},
    {"text_align", TextAlign},
    {"draw_text", DrawText},
    {"text_width", TextWidth},
    {"camera_at", CameraAt},
    {"camera_follow", CameraFollow},
    {"camera_bounds", CameraBounds},
    {"camera_shake", CameraShake},
    {"camera_x", CameraX},
    {"camera_y", CameraY},
    {"camera_off", CameraOff},
    {"camera_part", CameraPart},
    {"draw_far", DrawFar},
    {"add_speck", AddSpeck},
    {"burst", Burst},
    {"draw_specks", DrawSpecks},
    {"clear_specks", ClearSpecks},
    {NULL, NULL},
};

static const constant kConstants[] = {
    {"BLACK", BLACK},
    {"WHITE", WHITE},
    {"GREY", GREY},
    {"SILVER", SILVER},
    {"RED", RED},
    {"ORANGE", ORANGE},
    {"GOLD", GOLD},
    {"GREEN", GREEN},
    {"LIME", LIME},
    {"TEAL", TEAL},
    {"SKY", SKY},
    {"BLUE", BLUE},
    {"NAVY", NAVY},
    {"PURPLE", PURPLE},
    {"PINK", PINK},
    {"BROWN", BROWN},
    {"ALIGN_LEFT", ALIGN_LEFT},
    {"ALIGN_CENTRE", ALIGN_CENTRE},
    {"ALIGN_RIGHT", ALIGN_RIGHT},
    {"MOXI_TEXT_PLAIN", MOXI_TEXT_PLAIN},
    {"MOXI_TEXT_CENTRED", MOXI_TEXT_CENTRED},
    {"MOXI_TEXT_RIGHT", MOXI_TEXT_RIGHT},
    {"MOXI_TEXT_COURIER", MOXI_TEXT_COURIER},
    {"MOXI_TEXT_BOLD", MOXI_TEXT_BOLD},
    {"MOXI_TEXT_TIMES", MOXI_TEXT_TIMES},
    {"MOXI_TEXT_ITALIC", MOXI_TEXT_ITALIC},
    {"MOXI_TEXT_UNDERLINE", MOXI_TEXT_UNDERLINE},
    {"MOXI_TEXT_CUT", MOXI_TEXT_CUT},
    {"MOXI_TEXT_WRAP", MOXI_TEXT_WRAP},
};

void AddDrawFunctions(lua_State* L) {
    lua_pushglobaltable(L);
    luaL_setfuncs(L, kFunctions, 0);
    lua_pop(L, 1);
    AddConstants(L, kConstants, sizeof kConstants / sizeof *kConstants);
    // The program may change `string`.
    lua_getglobal(L, "string");
    lua_getfield(L, -1, "format");
    lua_setfield(L, LUA_REGISTRYINDEX, "moxi.format");
    lua_pop(L, 1);
}
