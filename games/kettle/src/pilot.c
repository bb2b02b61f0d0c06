// Plays by itself. A level is one record and an update of it one function, so the pilot copies the
// record, plays the copy on for a moment in each of a few ways, and does what brought it nearest to
// the cup.

#include <stdlib.h>
#include <string.h>

#include "kettle.h"

enum { MOST_CELLS = 12000, FAR_OFF = 1 << 20, WAYS = 13, HORIZON = 44, HOLD = 9, STUCK = 240 };

// What is held: a direction all the time, and jump from one update to another, twice.
typedef struct {
    unsigned direction;
    short from, to, again, until;
} plan;

static const plan kWays[WAYS] = {
    {WISH_RIGHT, 0, 0, 0, 0},    {WISH_RIGHT, 1, 22, 0, 0}, {WISH_RIGHT, 1, 7, 0, 0},
    {WISH_RIGHT, 1, 22, 26, 44}, {WISH_RIGHT, 12, 34, 0, 0}, {0, 0, 0, 0, 0},
    {0, 1, 22, 26, 44},          {0, 1, 22, 0, 0},          {WISH_LEFT, 0, 0, 0, 0},
    {WISH_LEFT, 1, 22, 0, 0},    {WISH_LEFT, 1, 22, 26, 44}, {WISH_LEFT, 12, 34, 0, 0},
    {WISH_RIGHT, 1, 22, 36, 44}};

static int ways_left[MOST_CELLS];            // steps from each cell to the cup
static unsigned char in_reach[MOST_CELLS];  // a jump from somewhere gets there
static int columns, rows;
static const plan* chosen;
static int since, nearest, stuck;
static level* known;

// --- How far it is

static void reach(int column, int row, int sideways, int up) {
    for (int y = row - up; y < row; ++y) {
        for (int x = column - sideways; x <= column + sideways; ++x) {
            if (x >= 0 && y >= 0 && x < columns && y < rows) in_reach[y * columns + x] = 1;
        }
    }
}

// From whatever can be stood on.
static void find_reach(void) {
    memset(in_reach, 0, sizeof in_reach);
    for (int i = 0; i < columns * rows; ++i) {
        const int x = i % columns, y = i / columns, tile = tile_at(&here.map, x, y);
        const char letter = letter_at(&here.map, x, y);
        if (tile >= 0 && here.map.solid[tile] != TILE_OPEN && !is_blocked(x, y - 1)) reach(x, y, 4, 5);
        if (letter == 'S') reach(x, y + 1, 3, 9);
        if (letter == 'H') reach(x + 1, y, 8, 5);
        if (letter == 'V') reach(x + 1, y + 2, 2, 10);
    }
}

// Backwards from the cup: falling is always possible, all else within reach.
static void spread(int column, int row) {
    static int queue[MOST_CELLS];
    int head = 0, tail = 0;
    ways_left[row * columns + column] = 0;
    queue[tail++] = row * columns + column;
    while (head < tail) {
        const int cell = queue[head++];
        static const int kAround[4][2] = {{0, -1}, {1, 0}, {-1, 0}, {0, 1}};
        for (int i = 0; i < 4; ++i) {
            const int x = cell % columns + kAround[i][0], y = cell / columns + kAround[i][1];
            if (x < 0 || y < 0 || x >= columns || y >= rows || is_blocked(x, y)) continue;
            if (ways_left[y * columns + x] < FAR_OFF || (i > 0 && !in_reach[cell])) continue;
            if (i == 3 && !in_reach[y * columns + x]) continue;
            ways_left[y * columns + x] = ways_left[cell] + 1;
            queue[tail++] = y * columns + x;
        }
    }
}

void reset_pilot(void) {
    known = NULL;
    chosen = NULL;
    since = stuck = 0;
    nearest = FAR_OFF;
}

static void explore(void) {
    known = &here;
    columns = here.map.width;
    rows = here.map.height;
    if (columns * rows > MOST_CELLS) rows = MOST_CELLS / columns;
    for (int i = 0; i < columns * rows; ++i) ways_left[i] = FAR_OFF;
    find_reach();
    for (int i = 0; i < here.things_count; ++i) {
        const thing* const one = &here.things[i];
        if (one->kind == THING_CUP) spread(one->x / TILE, one->y / TILE - 1);
    }
}

// In pixels, and between the cells as well.
static int way_from(float x, float y) {
    int least = FAR_OFF;
    const int column = (int)x / TILE, row = (int)y / TILE;
    for (int v = row - 1; v <= row + 1; ++v) {
        for (int u = column - 1; u <= column + 1; ++u) {
            if (u < 0 || v < 0 || u >= columns || v >= rows) continue;
            const int off = abs((int)x - u * TILE - 8) + abs((int)y - v * TILE - 8);
            const int way = ways_left[v * columns + u] * TILE + off;
            if (way < least) least = way;
        }
    }
    return least;
}

// --- What would happen

static unsigned wish_of(const plan* way, int update) {
    const bool held = (update >= way->from && update < way->to) ||
                      (update >= way->again && update < way->until);
    return way->direction | (held ? WISH_JUMP : 0);
}

static int value_of(const world* then, const world* now) {
    int value = way_from(then->hero.x + HERO_WIDTH / 2, then->hero.y + HERO_HEIGHT / 2);
    value += (then->spills - now->spills) * 100000;
    value += then->hearts < now->hearts ? (now->hearts - then->hearts) * 400 : 0;
    value -= (then->sugar - now->sugar) * 6;
    if (!then->hero.onGround) value += 50;
    return then->pouring > 0 ? value - 1000 : value;
}

static void play_on(world* copy, const plan* way) {
    const int spills = copy->spills;
    for (int i = 0; i < HORIZON && copy->spills == spills; ++i) step_world(copy, wish_of(way, i));
}

// The best that can follow: from each end once more, for the better half of them.
static const plan* best_plan(const world* now) {
    static world ends[WAYS], after;
    int values[WAYS], best = 0, best_value = 1 << 30;
    for (int i = 0; i < WAYS; ++i) {
        ends[i] = *now;
        play_on(&ends[i], &kWays[i]);
        values[i] = value_of(&ends[i], now);
    }
    for (int i = 0; i < WAYS; ++i) {
        int better = 0;
        for (int k = 0; k < WAYS; ++k) better += values[k] < values[i];
        if (better >= 3 || ends[i].spills > now->spills) continue;
        for (int k = 0; k < WAYS; ++k) {
            after = ends[i];
            play_on(&after, &kWays[k]);
            // What comes soon counts a little more than what comes later.
            const int value = value_of(&after, now) + values[i] / 8;
            if (value >= best_value) continue;
            best_value = value;
            best = i;
        }
    }
    return &kWays[best];
}

unsigned pilot_wish(const world* now) {
    if (known != &here) explore();
    if (now->pouring > 0) return 0;
    const int way = way_from(now->hero.x + HERO_WIDTH / 2, now->hero.y + HERO_HEIGHT / 2);
    if (way < nearest - 8 || (now->events & EVENT_SPILL)) {
        nearest = way;
        stuck = 0;
    }
    // In the air the plan is played to its end, on the ground only its beginning.
    const bool whole = chosen != NULL && chosen->to > 0 && !now->hero.onGround;
    if (chosen == NULL || since >= HORIZON || (since >= HOLD && !whole)) {
        chosen = ++stuck * HOLD > STUCK ? &kWays[random_int(0, WAYS - 1)] : best_plan(now);
        if (stuck * HOLD > STUCK + 60) stuck = 0;
        since = 0;
    }
    return wish_of(chosen, since++);
}
