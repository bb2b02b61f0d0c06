// Sprites and tile maps of a game.

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

tile_map make_map(sheet* tiles, const char* const* rows, const char* letters, const char* solid) {
    tile_map map = {.tiles = tiles};
    for (; rows[map.height] != NULL; ++map.height) {
        const int length = (int)strlen(rows[map.height]);
        if (length > map.width) map.width = length;
    }
    map.cells = (unsigned char*)calloc((size_t)(map.width * map.height) + 1, 1);
    if (map.cells == NULL) map.width = map.height = 0;
    for (int row = 0; row < map.height; ++row) {
        for (int column = 0; rows[row][column] != 0; ++column) {
            const char* const place = strchr(letters, rows[row][column]);
            if (place != NULL) set_tile(&map, column, row, (int)(place - letters));
        }
    }
    for (; *solid != 0; ++solid) {
        const char* const place = strchr(letters, *solid);
        if (place != NULL) map.solid[(place - letters) & 255] = 1;
    }
    return map;
}

void free_map(tile_map* map) {
    free(map->cells);
    memset(map, 0, sizeof *map);
}

static bool IsOnMap(const tile_map* map, int column, int row) {
    return column >= 0 && row >= 0 && column < map->width && row < map->height;
}

int tile_at(const tile_map* map, int column, int row) {
    return IsOnMap(map, column, row) ? map->cells[row * map->width + column] - 1 : -1;
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

static bool IsSolid(const tile_map* map, int column, int row) {
    if (column < 0 || column >= map->width) return true;
    const int tile = tile_at(map, column, row);
    return tile >= 0 && map->solid[tile] != 0;
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

static bool RowIsSolid(const tile_map* map, int row, float x, float width) {
    const int last = ColumnOf(map, x + width - kEdge);
    for (int column = ColumnOf(map, x); column <= last; ++column) {
        if (IsSolid(map, column, row)) return true;
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
            if (!RowIsSolid(map, row, x, width)) continue;
            *y = (float)row * size - height;
            return HIT_BOTTOM;
        }
    } else if (dy < 0) {
        const int last = RowOf(map, *y + dy);
        for (int row = RowOf(map, *y) - 1; row >= last; --row) {
            if (!RowIsSolid(map, row, x, width)) continue;
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
