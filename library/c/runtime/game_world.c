// Sprites and tile maps of a game.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "game.h"

// --- Sprites

sprite make_sprite(sheet* cells, float x, float y) {
    const sprite made = {.cells = cells, .x = x, .y = y};
    return made;
}

void animate(sprite* thing, int first, int last, float rate) {
    if (thing->first != first || thing->last != last) thing->phase = 0;
    thing->first = first;
    thing->last = last;
    thing->rate = rate;
}

void update_sprite(sprite* thing) {
    const float count = (float)(thing->last - thing->first + 1);
    thing->x += thing->speed_x * GAME_STEP;
    thing->y += thing->speed_y * GAME_STEP;
    thing->phase += thing->rate * GAME_STEP;
    if (thing->phase >= count) thing->phase -= count;
}

void draw_sprite(sprite* thing) {
    if (thing->hidden || thing->cells == NULL) return;
    draw_cell(thing->cells, thing->first + (int)thing->phase, thing->x, thing->y, thing->flipped);
}

bool boxes_touch(float x0, float y0, float width0, float height0, float x1, float y1, float width1,
                 float height1) {
    return x0 < x1 + width1 && x1 < x0 + width0 && y0 < y1 + height1 && y1 < y0 + height0;
}

bool sprites_touch(const sprite* a, const sprite* b, float margin) {
    if (a->hidden || b->hidden) return false;
    return boxes_touch(a->x + margin, a->y + margin, (float)a->cells->cell_width - 2 * margin,
                       (float)a->cells->cell_height - 2 * margin, b->x + margin, b->y + margin,
                       (float)b->cells->cell_width - 2 * margin,
                       (float)b->cells->cell_height - 2 * margin);
}

// --- Tile maps

// A place for each row's letters; false without memory, and the map is empty then. A short text with one
// long line and many empty ones may ask for more places than 32 bits count.
static bool MakeRoom(tile_map* map) {
    const uint64_t places = (uint64_t)map->width * (uint64_t)map->height;
    const size_t count = (size_t)places;
    const bool fits = places < UINT32_MAX / 2;
    map->cells = fits ? (unsigned char*)calloc(count + 1, 1) : NULL;
    map->letters = fits ? (char*)malloc(count + 1) : NULL;
    if (map->cells != NULL && map->letters != NULL) {
        memset(map->letters, ' ', count);
        return true;
    }
    free(map->cells);
    free(map->letters);
    map->cells = NULL;
    map->letters = NULL;
    map->width = map->height = 0;
    return false;
}

static void SetRow(tile_map* map, int row, const char* text, int length, const char* letters) {
    memcpy(map->letters + row * map->width, text, (size_t)length);
    for (int column = 0; column < length; ++column) {
        const char* const place = strchr(letters, text[column]);
        if (place != NULL) set_tile(map, column, row, (int)(place - letters));
    }
}

static void SetSolid(tile_map* map, const char* letters, const char* solid) {
    for (; *solid != 0; ++solid) {
        const char* const place = strchr(letters, *solid);
        if (place != NULL) map->solid[(place - letters) & 255] = TILE_SOLID;
    }
}

tile_map make_map(sheet* tiles, const char* const* rows, const char* letters, const char* solid) {
    tile_map map = {.tiles = tiles};
    for (; rows[map.height] != NULL; ++map.height) {
        const int length = (int)strlen(rows[map.height]);
        if (length > map.width) map.width = length;
    }
    if (!MakeRoom(&map)) return map;
    for (int row = 0; row < map.height; ++row) {
        SetRow(&map, row, rows[row], (int)strlen(rows[row]), letters);
    }
    SetSolid(&map, letters, solid);
    return map;
}

// The whole file with a NUL behind it, to be freed. Null: it cannot be read.
static char* ReadText(const char* name) {
    FILE* const file = fopen(name, "rb");
    if (file == NULL) return NULL;
    const long size = fseek(file, 0, SEEK_END) == 0 ? ftell(file) : -1;
    rewind(file);
    char* const text = size < 0 ? NULL : (char*)malloc((size_t)size + 1);
    if (text != NULL) text[fread(text, 1, (size_t)size, file)] = 0;
    fclose(file);
    return text;
}

// The length of a line without its end, which may have a CR.
static int LineLength(const char* line) {
    return (int)strcspn(line, "\r\n");
}

static const char* NextLine(const char* line) {
    line += LineLength(line);
    if (*line == '\r') ++line;
    return *line == '\n' ? line + 1 : line;
}

tile_map load_map(sheet* tiles, const char* name, const char* letters, const char* solid) {
    tile_map map = {.tiles = tiles};
    char* const text = ReadText(name);
    if (text == NULL) {
        fprintf(stderr, "map %s: cannot be read\n", name);
        return map;
    }
    for (const char* line = text; *line != 0; line = NextLine(line), ++map.height) {
        if (LineLength(line) > map.width) map.width = LineLength(line);
    }
    if (MakeRoom(&map)) {
        const char* line = text;
        for (int row = 0; row < map.height; ++row, line = NextLine(line)) {
            SetRow(&map, row, line, LineLength(line), letters);
        }
        SetSolid(&map, letters, solid);
    }
    free(text);
    return map;
}

void free_map(tile_map* map) {
    free(map->cells);
    free(map->letters);
    memset(map, 0, sizeof *map);
}

static bool IsOnMap(const tile_map* map, int column, int row) {
    return column >= 0 && row >= 0 && column < map->width && row < map->height;
}

int tile_at(const tile_map* map, int column, int row) {
    return IsOnMap(map, column, row) ? map->cells[row * map->width + column] - 1 : -1;
}

char letter_at(const tile_map* map, int column, int row) {
    return IsOnMap(map, column, row) ? map->letters[row * map->width + column] : ' ';
}

void set_tile(tile_map* map, int column, int row, int tile) {
    if (IsOnMap(map, column, row) && tile < 255) {
        map->cells[row * map->width + column] = (unsigned char)(tile + 1);
    }
}

static int ColumnOf(const tile_map* map, float x) {
    return (int)__builtin_floorf(x / (float)map->tiles->cell_width);
}

static int RowOf(const tile_map* map, float y) {
    return (int)__builtin_floorf(y / (float)map->tiles->cell_height);
}

// TILE_... of a place.
static int KindAt(const tile_map* map, int column, int row) {
    if (column < 0 || column >= map->width) return TILE_SOLID;
    const int tile = tile_at(map, column, row);
    return tile >= 0 ? map->solid[tile] : TILE_OPEN;
}

static bool IsSolid(const tile_map* map, int column, int row) {
    return KindAt(map, column, row) == TILE_SOLID;
}

bool solid_at(const tile_map* map, float x, float y) {
    return IsSolid(map, ColumnOf(map, x), RowOf(map, y));
}

void draw_map(const tile_map* map) {
    const int left = -OnCanvasX(0), top = -OnCanvasY(0);
    const int firstColumn = ColumnOf(map, (float)left);
    const int firstRow = RowOf(map, (float)top);
    const int lastColumn = ColumnOf(map, (float)(left + game_width() - 1));
    const int lastRow = RowOf(map, (float)(top + game_height() - 1));
    for (int row = firstRow; row <= lastRow; ++row) {
        for (int column = firstColumn; column <= lastColumn; ++column) {
            draw_cell(map->tiles, tile_at(map, column, row),
                      (float)(column * map->tiles->cell_width),
                      (float)(row * map->tiles->cell_height), false);
        }
    }
}

// A box ends just before its right and lower edge.
static const float kEdge = 1.0f / 1024;

static bool ColumnIsSolid(const tile_map* map, int column, float y, float height) {
    const int last = RowOf(map, y + height - kEdge);
    for (int row = RowOf(map, y); row <= last; ++row) {
        if (IsSolid(map, column, row)) return true;
    }
    return false;
}

static bool RowStops(const tile_map* map, int row, float x, float width, bool falling) {
    const int last = ColumnOf(map, x + width - kEdge);
    for (int column = ColumnOf(map, x); column <= last; ++column) {
        const int kind = KindAt(map, column, row);
        if (kind == TILE_SOLID || (falling && kind == TILE_LEDGE)) return true;
    }
    return false;
}

// Tile by tile, so that nothing fast goes through a wall.
static int MoveSideways(const tile_map* map, float* x, float y, float width, float height,
                        float dx) {
    const float size = (float)map->tiles->cell_width;
    if (dx > 0) {
        const int last = ColumnOf(map, *x + width + dx - kEdge);
        for (int column = ColumnOf(map, *x + width - kEdge) + 1; column <= last; ++column) {
            if (!ColumnIsSolid(map, column, y, height)) continue;
            *x = (float)column * size - width;
            return HIT_RIGHT;
        }
    } else if (dx < 0) {
        const int last = ColumnOf(map, *x + dx);
        for (int column = ColumnOf(map, *x) - 1; column >= last; --column) {
            if (!ColumnIsSolid(map, column, y, height)) continue;
            *x = (float)(column + 1) * size;
            return HIT_LEFT;
        }
    }
    *x += dx;
    return 0;
}

static int MoveUpOrDown(const tile_map* map, float x, float* y, float width, float height,
                        float dy) {
    const float size = (float)map->tiles->cell_height;
    if (dy > 0) {
        const int last = RowOf(map, *y + height + dy - kEdge);
        for (int row = RowOf(map, *y + height - kEdge) + 1; row <= last; ++row) {
            if (!RowStops(map, row, x, width, true)) continue;
            *y = (float)row * size - height;
            return HIT_BOTTOM;
        }
    } else if (dy < 0) {
        const int last = RowOf(map, *y + dy);
        for (int row = RowOf(map, *y) - 1; row >= last; --row) {
            if (!RowStops(map, row, x, width, false)) continue;
            *y = (float)(row + 1) * size;
            return HIT_TOP;
        }
    }
    *y += dy;
    return 0;
}

int move_in_map(const tile_map* map, float* x, float* y, float width, float height, float dx,
                float dy) {
    const int sides = MoveSideways(map, x, *y, width, height, dx);
    return sides | MoveUpOrDown(map, *x, y, width, height, dy);
}
