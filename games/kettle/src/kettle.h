// Little Kettle: what the parts of the game share. A pixel of the game's picture is the unit of
// places, an update (a 60th of a second) that of times.
#ifndef KETTLE_H
#define KETTLE_H

#include <moxi/game.h>
#include <stdio.h>

enum {
    VIEW_WIDTH = 320,
    VIEW_HEIGHT = 180,
    TILE = 16,
    LEVELS = 4,
    LEAVES = 3,
    HEARTS = 3,
    MOST_FOES = 48,
    MOST_SAUCERS = 24,
    MOST_THINGS = 256,
    HERO_WIDTH = 10,
    HERO_HEIGHT = 15
};

// --- world.c: a level and all that happens in it

// What the player wants in an update.
enum { WISH_LEFT = 1, WISH_RIGHT = 2, WISH_JUMP = 4 };

// What an update has brought, for sounds and steam.
enum {
    EVENT_JUMP = 1,
    EVENT_PUFF = 2,
    EVENT_LAND = 4,
    EVENT_SUGAR = 8,
    EVENT_LEAF = 16,
    EVENT_STOMP = 32,
    EVENT_HURT = 64,
    EVENT_SPILL = 128,
    EVENT_BOUNCE = 256,
    EVENT_STOVE = 512,
    EVENT_CUP = 1024,
    EVENT_HEART = 2048
};

typedef enum { FOE_SLUG, FOE_BEE, FOE_FROG } foe_kind;

typedef struct {
    float x, y, speed_x, speed_y;  // x, y: the middle of its feet
    float home_x, home_y;
    short kind, since;  // since: updates in this state
    bool flat, onGround, faces_left;
} foe;

typedef struct {
    float home_x, home_y, x, y;  // the left end of its upper side
    bool upright;                // goes up and down
} saucer;

typedef struct {
    float x, y, speed_x, speed_y;  // the top left
    short coyote, buffer;          // updates in which a jump still counts
    short safe;                    // updates without harm
    short riding;                  // the saucer below, -1 none
    bool onGround, faces_left, held_jump, can_puff, rising;
} kettle;

typedef enum {
    THING_SUGAR,
    THING_LEAF,
    THING_STOVE,
    THING_CUP,
    THING_CUSHION,
    THING_SIGN
} thing_kind;

typedef struct {
    short x, y;  // the middle of its lower side
    unsigned char kind, number;
} thing;

// All that changes in a level: a copy of it can be played on without the original's knowing.
typedef struct {
    kettle hero;
    foe foes[MOST_FOES];
    saucer saucers[MOST_SAUCERS];
    unsigned char taken[MOST_THINGS];  // stoves: lit; cushions: updates since the last bounce
    float home_x, home_y;              // where it begins again
    int updates, sugar, leaves, hearts, spills;
    int pouring;  // updates since the cup was reached
    unsigned events;
    float event_x, event_y;
} world;

// What does not change.
typedef struct {
    int number;
    tile_map map;
    thing things[MOST_THINGS];
    int things_count, foes_count, saucers_count, sugar_count;
} level;

extern level here;
extern const char* const level_names[LEVELS];

void load_level(int number, world* begun);
void free_level(void);
void step_world(world* now, unsigned wish);
bool is_blocked(int column, int row);

// --- pilot.c: plays by itself, by trying out what would happen

void reset_pilot(void);
unsigned pilot_wish(const world* now);

// --- view.c: what a level looks like

void load_pictures(void);
void reset_view(const world* now);
void update_view(const world* now);
void draw_backdrop(int place, float drift);
void draw_world(const world* now);
void draw_hud(const world* now);
void draw_hero_at(float x, float y, int cell, bool flipped);
void draw_panel(int width, int height, int* x, int* y);

extern font letters;
extern picture logo, leaf_found, no_leaf;
extern sheet sugar_cells, leaf_cells, cup_cells;

#define INK RGB(36, 26, 46)
#define CREAM RGB(255, 246, 220)
#define AMBER RGB(255, 201, 77)
#define COPPER RGB(240, 156, 92)
#define MIST RGB(170, 160, 190)

// --- store.c: what is kept

typedef struct {
    int best;    // updates, 0 never finished
    int leaves;  // a bit each
} record;

extern record records[LEVELS];
extern int music_on, sound_on, shake_on, opened;  // opened: levels that may be played

void load_store(void);
void save_options(void);
void save_record(int number);
void forget_records(void);
void tell_sounds(unsigned events);
void want_music(const char* name);
void switch_music(void);

// --- screens.c

typedef enum {
    SCREEN_TITLE,
    SCREEN_LEVELS,
    SCREEN_KEYS,
    SCREEN_OPTIONS,
    SCREEN_PLAY,
    SCREEN_PAUSE,
    SCREEN_DONE,
    SCREEN_END
} screen_kind;

extern screen_kind screen;
void go(screen_kind next);
void begin_level(int number);
void update_screen(void);
void draw_screen(void);

// --- kettle.c

extern world current;
extern bool piloted;  // the pilot plays
unsigned player_wish(void);

#endif
