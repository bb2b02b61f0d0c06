// A level: loading it, and an update of all that moves in it.

#include <math.h>
#include <stdlib.h>
#include <string.h>

#include "kettle.h"

static const float kRun = 1.9f, kSpeedUp = 0.15f, kAirSpeedUp = 0.12f, kSlowDown = 0.22f;
static const float kJump = -4.7f, kPuff = -3.9f, kStomp = -3.4f, kStompHigh = -5.0f;
static const float kCushion = -6.9f, kMostFall = 5.2f;
static const float kRise = 0.22f, kCut = 0.5f, kFall = 0.32f;  // gravity: held, let go, falling
enum { COYOTE = 7, BUFFER = 7, SAFE = 90, FLAT = 26, SAUCER_WIDTH = 34, SAUCER_WAY = 44 };

level here;
const char* const level_names[LEVELS] = {"Morning Meadow", "Amber Woods", "Frost Pass",
                                         "The Summit"};

// --- Loading

static void add_thing(thing_kind kind, int column, int row) {
    if (here.things_count >= MOST_THINGS) return;
    thing* const made = &here.things[here.things_count++];
    made->x = (short)(column * TILE + TILE / 2);
    made->y = (short)((row + 1) * TILE);
    made->kind = (unsigned char)kind;
    for (int i = 0; i < here.things_count - 1; ++i) made->number += here.things[i].kind == kind;
}

static void add_foe(world* begun, foe_kind kind, int column, int row) {
    if (here.foes_count >= MOST_FOES) return;
    foe* const made = &begun->foes[here.foes_count++];
    made->kind = (short)kind;
    made->x = made->home_x = (float)(column * TILE + TILE / 2);
    made->y = made->home_y = (float)((row + 1) * TILE);
    made->speed_x = kind == FOE_SLUG ? -0.45f : 0;
    made->since = (short)(column * 7 % 60);
}

static void add_saucer(world* begun, bool upright, int column, int row) {
    if (here.saucers_count >= MOST_SAUCERS) return;
    const float x = (float)(column * TILE), y = (float)(row * TILE);
    begun->saucers[here.saucers_count++] = (saucer){x, y, x, y, upright};
}

static void place(world* begun, char letter, int column, int row) {
    switch (letter) {
        case '@':
            begun->home_x = (float)(column * TILE + 3);
            begun->home_y = (float)((row + 1) * TILE - HERO_HEIGHT);
            break;
        case 'o':
            add_thing(THING_SUGAR, column, row);
            ++here.sugar_count;
            break;
        case '*': add_thing(THING_LEAF, column, row); break;
        case 'C': add_thing(THING_STOVE, column, row); break;
        case 'G': add_thing(THING_CUP, column, row); break;
        case 'S': add_thing(THING_CUSHION, column, row); break;
        case 'i': add_thing(THING_SIGN, column, row); break;
        case 's': add_foe(begun, FOE_SLUG, column, row); break;
        case 'b': add_foe(begun, FOE_BEE, column, row); break;
        case 'f': add_foe(begun, FOE_FROG, column, row); break;
        case 'H': add_saucer(begun, false, column, row); break;
        case 'V': add_saucer(begun, true, column, row); break;
        default: break;
    }
}

static bool is_ground(int column, int row) {
    if (row >= here.map.height) row = here.map.height - 1;
    if (column < 0 || column >= here.map.width) return true;
    return letter_at(&here.map, column, row) == '#';
}

// The tile that goes with its neighbours; its order is that of the pictures.
static void dress(int column, int row) {
    const char letter = letter_at(&here.map, column, row);
    const int chance = (column * 7919 + row * 104729) % 97;
    if (letter == '#') {
        const int mask = is_ground(column, row - 1) + 2 * is_ground(column + 1, row) +
                         4 * is_ground(column, row + 1) + 8 * is_ground(column - 1, row);
        set_tile(&here.map, column, row, mask == 15 && chance % 3 != 0 ? 29 + chance % 3 : mask);
    } else if (letter == '=') {
        const bool left = letter_at(&here.map, column - 1, row) == '=';
        const bool right = letter_at(&here.map, column + 1, row) == '=';
        set_tile(&here.map, column, row, 16 + !left + 2 * !right);
    } else if (letter == '^') {
        set_tile(&here.map, column, row, 20);
    } else if (letter == 'i') {
        set_tile(&here.map, column, row, 21);
    } else if (letter == ' ' && is_ground(column, row + 1) && row + 1 < here.map.height &&
               letter_at(&here.map, column, row + 1) == '#' && chance < 40) {
        static const int kPlants[] = {22, 23, 22, 24, 25, 26, 27, 28};
        set_tile(&here.map, column, row, kPlants[chance % 8]);
    }
}

void free_level(void) {
    if (here.map.cells != NULL) free_map(&here.map);
}

void load_level(int number, world* begun) {
    static sheet tiles[LEVELS];
    char name[24];
    free_level();
    memset(&here, 0, sizeof here);
    memset(begun, 0, sizeof *begun);
    here.number = number;
    if (tiles[number].image.bitmap == 0) {
        snprintf(name, sizeof name, "PICTURES/TILES%d.PNG", number + 1);
        tiles[number] = load_sheet(name, TILE, TILE);
    }
    snprintf(name, sizeof name, "LEVELS/%d.TXT", number + 1);
    here.map = load_map(&tiles[number], name, "", "");
    for (int i = 0; i < 16; ++i) here.map.solid[i] = here.map.solid[29 + i % 3] = TILE_SOLID;
    for (int i = 16; i < 20; ++i) here.map.solid[i] = TILE_LEDGE;
    for (int column = 0; column < here.map.width; ++column) {
        for (int row = 0; row < here.map.height; ++row) {
            place(begun, letter_at(&here.map, column, row), column, row);
            dress(column, row);
        }
    }
    begun->hearts = HEARTS;
    begun->hero = (kettle){.x = begun->home_x, .y = begun->home_y, .riding = -1};
    memset(begun->taken, 0, sizeof begun->taken);
    camera_bounds((float)(here.map.width * TILE), (float)(here.map.height * TILE));
}

// --- The hero

bool is_blocked(int column, int row) {
    const int tile = tile_at(&here.map, column, row);
    return column < 0 || column >= here.map.width || (tile >= 0 && here.map.solid[tile] == TILE_SOLID);
}

static void tell(world* now, unsigned event, float x, float y) {
    now->events |= event;
    now->event_x = x;
    now->event_y = y;
}

static void start_again(world* now) {
    now->hero = (kettle){.x = now->home_x, .y = now->home_y, .riding = -1, .safe = SAFE};
}

static void spill(world* now) {
    ++now->spills;
    tell(now, EVENT_SPILL, now->hero.x, now->hero.y);
    if (--now->hearts <= 0) now->hearts = HEARTS;
    start_again(now);
}

static void hurt(world* now, float push) {
    kettle* const hero = &now->hero;
    if (hero->safe > 0) return;
    if (now->hearts <= 1) {
        spill(now);
        return;
    }
    --now->hearts;
    hero->safe = SAFE;
    hero->speed_x = push;
    hero->speed_y = -3;
    hero->rising = false;
    tell(now, EVENT_HURT, hero->x + HERO_WIDTH / 2, hero->y + HERO_HEIGHT / 2);
}

static void walk(kettle* hero, unsigned wish) {
    const float way = (wish & WISH_RIGHT ? 1.0f : 0) - (wish & WISH_LEFT ? 1.0f : 0);
    const float change = hero->onGround ? kSpeedUp : kAirSpeedUp;
    if (way != 0) {
        // Turning is quicker than speeding up.
        hero->speed_x += way * (hero->speed_x * way < 0 ? change * 2.2f : change);
        if (hero->speed_x * way > kRun) hero->speed_x = way * kRun;
        hero->faces_left = way < 0;
    } else if (fabsf(hero->speed_x) <= kSlowDown) {
        hero->speed_x = 0;
    } else {
        hero->speed_x -= hero->speed_x > 0 ? kSlowDown : -kSlowDown;
    }
}

static void leap(kettle* hero, float speed) {
    hero->speed_y = speed;
    hero->rising = true;
    hero->onGround = false;
    hero->riding = -1;
    hero->coyote = hero->buffer = 0;
}

static void jump(world* now, unsigned wish) {
    kettle* const hero = &now->hero;
    const bool held = (wish & WISH_JUMP) != 0;
    if (held && !hero->held_jump) hero->buffer = BUFFER;
    hero->held_jump = held;
    if (hero->buffer > 0 && hero->coyote > 0) {
        leap(hero, kJump);
        tell(now, EVENT_JUMP, hero->x + HERO_WIDTH / 2, hero->y + HERO_HEIGHT);
    } else if (hero->buffer == BUFFER && hero->can_puff) {
        leap(hero, kPuff);
        hero->can_puff = false;
        tell(now, EVENT_PUFF, hero->x + HERO_WIDTH / 2, hero->y + HERO_HEIGHT);
    }
    if (!held || hero->speed_y >= 0) {
        if (hero->speed_y < 0 && !held && hero->rising) hero->speed_y += kCut - kRise;
        if (hero->speed_y >= 0) hero->rising = false;
    }
    if (hero->buffer > 0) --hero->buffer;
    if (hero->coyote > 0) --hero->coyote;
}

// Onto a saucer that the feet have come down through.
static void land_on_saucers(world* now, float feet_before) {
    kettle* const hero = &now->hero;
    if (hero->speed_y < 0) return;
    for (int i = 0; i < here.saucers_count; ++i) {
        const saucer* const one = &now->saucers[i];
        const float feet = hero->y + HERO_HEIGHT;
        if (hero->x + HERO_WIDTH <= one->x || hero->x >= one->x + SAUCER_WIDTH) continue;
        if (feet_before > one->y + 2.5f || feet < one->y) continue;
        hero->y = one->y - HERO_HEIGHT;
        hero->speed_y = 0;
        hero->onGround = true;
        hero->riding = (short)i;
        return;
    }
}

static void ride(world* now, const saucer* before) {
    kettle* const hero = &now->hero;
    if (hero->riding < 0) return;
    const saucer* const one = &now->saucers[hero->riding];
    const float dx = one->x - before[hero->riding].x;
    move_in_map(&here.map, &hero->x, &hero->y, HERO_WIDTH, HERO_HEIGHT, dx,
                one->y - HERO_HEIGHT - hero->y);
}

static void step_hero(world* now, unsigned wish) {
    kettle* const hero = &now->hero;
    const bool was_on_ground = hero->onGround;
    const float falling = hero->speed_y;
    walk(hero, wish);
    jump(now, wish);
    hero->speed_y += hero->speed_y < 0 ? kRise : kFall;
    if (hero->speed_y > kMostFall) hero->speed_y = kMostFall;
    const float feet = hero->y + HERO_HEIGHT;
    const int hit = move_in_map(&here.map, &hero->x, &hero->y, HERO_WIDTH, HERO_HEIGHT,
                                hero->speed_x, hero->speed_y);
    hero->onGround = (hit & HIT_BOTTOM) != 0;
    hero->riding = -1;
    if (hit & (HIT_LEFT | HIT_RIGHT)) hero->speed_x = 0;
    if (hit & (HIT_TOP | HIT_BOTTOM)) hero->speed_y = 0;
    if (!hero->onGround) land_on_saucers(now, feet);
    if (hero->onGround) {
        hero->coyote = COYOTE;
        hero->can_puff = true;
        if (!was_on_ground && falling > 1.5f) {
            tell(now, EVENT_LAND, hero->x + HERO_WIDTH / 2, hero->y + HERO_HEIGHT);
        }
    }
    if (hero->safe > 0) --hero->safe;
    const int column = (int)(hero->x + HERO_WIDTH / 2) / TILE;
    const int row = (int)(hero->y + HERO_HEIGHT - 4) / TILE;
    if (letter_at(&here.map, column, row) == '^') hurt(now, hero->faces_left ? 1.2f : -1.2f);
    if (hero->y > (float)(here.map.height * TILE + 24)) spill(now);
}

// --- Saucers and foes

static void step_saucers(world* now) {
    for (int i = 0; i < here.saucers_count; ++i) {
        saucer* const one = &now->saucers[i];
        if (fabsf(one->home_x - now->hero.x) > 320 || fabsf(one->home_y - now->hero.y) > 320) continue;
        const float way = SAUCER_WAY * sinf((float)now->updates * 0.021f + one->home_x * 0.01f);
        one->x = one->home_x + (one->upright ? 0 : way);
        one->y = one->home_y + (one->upright ? way : 0);
    }
}

static void step_slug(foe* one) {
    const float front = one->x + (one->speed_x < 0 ? -8 : 8);
    const int column = (int)front / TILE;
    const int row = (int)(one->y - 4) / TILE;
    const int below = tile_at(&here.map, column, row + 1);
    const bool floor = below >= 0 && here.map.solid[below] != TILE_OPEN;
    if (is_blocked(column, row) || !floor) one->speed_x = -one->speed_x;
    one->x += one->speed_x;
    one->faces_left = one->speed_x < 0;
}

static void step_bee(foe* one) {
    const float turn = (float)one->since * 0.035f;
    const float x = one->home_x + 34 * sinf(turn);
    one->faces_left = x < one->x;
    one->x = x;
    one->y = one->home_y + 12 * sinf(turn * 2);
    if (one->since >= 6283) one->since = 0;  // 35 rounds
}

static void step_frog(foe* one, const kettle* hero) {
    if (one->onGround) {
        one->speed_x = 0;
        one->faces_left = hero->x < one->x;
        if (one->since < 70) return;
        one->speed_x = one->faces_left ? -0.9f : 0.9f;
        // It stays about where it lives.
        if ((one->x - one->home_x) * one->speed_x > 40) one->speed_x = -one->speed_x;
        one->speed_y = -3.6f;
        one->since = 0;
    }
    float left = one->x - 7, top = one->y - 11;
    one->speed_y += 0.2f;
    const int hit = move_in_map(&here.map, &left, &top, 14, 11, one->speed_x, one->speed_y);
    one->x = left + 7;
    one->y = top + 11;
    one->onGround = (hit & HIT_BOTTOM) != 0;
    if (hit & (HIT_TOP | HIT_BOTTOM)) one->speed_y = 0;
    if (one->onGround) one->since = 0;
}

static void meet(world* now, foe* one) {
    kettle* const hero = &now->hero;
    if (!boxes_touch(hero->x, hero->y, HERO_WIDTH, HERO_HEIGHT, one->x - 7, one->y - 10, 14, 10)) {
        return;
    }
    if (hero->speed_y > 0.3f && hero->y + HERO_HEIGHT < one->y - 2) {
        one->flat = true;
        one->since = 0;
        leap(hero, hero->held_jump ? kStompHigh : kStomp);
        hero->can_puff = true;
        tell(now, EVENT_STOMP, one->x, one->y - 5);
    } else {
        hurt(now, hero->x < one->x ? -2.2f : 2.2f);
    }
}

static void step_foes(world* now) {
    for (int i = 0; i < here.foes_count; ++i) {
        foe* const one = &now->foes[i];
        // What is far off sleeps.
        if (fabsf(one->x - now->hero.x) > 240 || fabsf(one->y - now->hero.y) > 200 || (one->flat && one->since > FLAT)) {
            continue;
        }
        ++one->since;
        if (one->flat) continue;
        if (one->kind == FOE_SLUG) step_slug(one);
        if (one->kind == FOE_BEE) step_bee(one);
        if (one->kind == FOE_FROG) step_frog(one, &now->hero);
        if (now->pouring == 0) meet(now, one);
    }
}

// --- Things

static void touch(world* now, const thing* one, unsigned char* taken) {
    kettle* const hero = &now->hero;
    switch (one->kind) {
        case THING_SUGAR:
            *taken = 1;
            tell(now, EVENT_SUGAR, one->x, one->y - 8);
            if (++now->sugar % 25 == 0 && now->hearts < HEARTS) {
                ++now->hearts;
                now->events |= EVENT_HEART;
            }
            break;
        case THING_LEAF:
            *taken = 1;
            now->leaves |= 1 << one->number;
            tell(now, EVENT_LEAF, one->x, one->y - 8);
            break;
        case THING_STOVE:
            if (*taken != 0) break;
            *taken = 1;
            now->home_x = (float)one->x - HERO_WIDTH / 2;
            now->home_y = (float)one->y - HERO_HEIGHT;
            now->hearts = HEARTS;
            tell(now, EVENT_STOVE, one->x, one->y - 12);
            break;
        case THING_CUSHION:
            if (hero->speed_y <= 0 || hero->y + HERO_HEIGHT < (float)one->y - 11) break;
            leap(hero, kCushion);
            hero->rising = false;
            hero->can_puff = true;
            *taken = 1;
            tell(now, EVENT_BOUNCE, one->x, one->y - 8);
            break;
        case THING_CUP:
            if (!hero->onGround || now->pouring > 0) break;
            now->pouring = 1;
            tell(now, EVENT_CUP, one->x, one->y - 20);
            break;
        default: break;
    }
}

static void step_things(world* now) {
    const kettle* const hero = &now->hero;
    const int hero_x = (int)hero->x;
    for (int i = 0; i < here.things_count; ++i) {
        const thing* const one = &here.things[i];
        unsigned char* const taken = &now->taken[i];
        if (one->kind == THING_CUSHION && *taken != 0 && ++*taken > 14) *taken = 0;
        if (abs(one->x - hero_x) > 32 || (one->kind <= THING_LEAF && *taken != 0)) continue;
        const float half = one->kind == THING_LEAF ? 8 : one->kind == THING_CUP ? 14 : 6;
        if (fabsf(hero->x + HERO_WIDTH / 2 - (float)one->x) > half + HERO_WIDTH / 2) continue;
        if (hero->y > (float)one->y || hero->y + HERO_HEIGHT < (float)one->y - 14) continue;
        touch(now, one, taken);
    }
}

void step_world(world* now, unsigned wish) {
    saucer before[MOST_SAUCERS];
    memcpy(before, now->saucers, sizeof(saucer) * (size_t)here.saucers_count);
    now->events = 0;
    if (now->pouring > 0) {
        ++now->pouring;
        wish = 0;
    } else {
        ++now->updates;
    }
    step_saucers(now);
    ride(now, before);
    step_hero(now, wish);
    step_foes(now);
    step_things(now);
}
