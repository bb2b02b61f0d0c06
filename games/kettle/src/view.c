// What a level looks like: far layers, tiles, things, the kettle with its steam, the hud.

#include <math.h>
#include <string.h>

#include "kettle.h"

enum { MOST_SPECKS = 160, LAYERS = 4 };

font letters;
picture logo, leaf_found, no_leaf;
sheet sugar_cells, leaf_cells, cup_cells;
static sheet kettle_cells, slug_cells, bee_cells, frog_cells, stove_cells, cushion_cells;
static sheet heart_cells;
static picture saucer_picture;
static picture layers[LEVELS][LAYERS];

void load_pictures(void) {
    letters = load_font("PICTURES/FONT.PNG", 6, 9);
    logo = load_picture("PICTURES/LOGO.PNG");
    no_leaf = load_picture("PICTURES/NOLEAF.PNG");
    sugar_cells = load_sheet("PICTURES/SUGAR.PNG", 12, 12);
    leaf_cells = load_sheet("PICTURES/LEAF.PNG", 16, 16);
    cup_cells = load_sheet("PICTURES/CUP.PNG", 36, 32);
    kettle_cells = load_sheet("PICTURES/KETTLE.PNG", 22, 24);
    slug_cells = load_sheet("PICTURES/SLUG.PNG", 18, 12);
    bee_cells = load_sheet("PICTURES/BEE.PNG", 16, 10);
    frog_cells = load_sheet("PICTURES/FROG.PNG", 18, 12);
    stove_cells = load_sheet("PICTURES/STOVE.PNG", 18, 26);
    cushion_cells = load_sheet("PICTURES/CUSHION.PNG", 20, 14);
    heart_cells = load_sheet("PICTURES/HEARTS.PNG", 8, 8);
    saucer_picture = load_picture("PICTURES/SAUCER.PNG");
    static const char* const kLayers[LAYERS] = {"SKY", "FAR", "MID", "NEAR"};
    for (int i = 0; i < LEVELS * LAYERS; ++i) {
        char name[24];
        snprintf(name, sizeof name, "PICTURES/%s%d.PNG", kLayers[i % LAYERS], i / LAYERS + 1);
        layers[i / LAYERS][i % LAYERS] = load_picture(name);
    }
}

// --- Specks: steam, dust, glints

typedef struct {
    float x, y, speed_x, speed_y, lift;
    float size, growth;
    int age, life;
    colour fill;
    bool round;
} speck;

static speck specks[MOST_SPECKS];
static int next_speck;

static speck* add_speck(float x, float y, colour fill, int life) {
    speck* const one = &specks[next_speck++ % MOST_SPECKS];
    *one = (speck){.x = x, .y = y, .size = 2, .life = life, .fill = fill};
    return one;
}

static void steam(float x, float y, int count, float spread) {
    for (int i = 0; i < count; ++i) {
        speck* const one = add_speck(x + random_float(-3, 3), y, WHITE, random_int(18, 34));
        one->speed_x = random_float(-spread, spread);
        one->speed_y = random_float(-0.2f, 0.5f);
        one->lift = -0.025f;
        one->size = random_float(1.2f, 2.4f);
        one->growth = 0.07f;
        one->round = true;
    }
}

static void burst(float x, float y, int count, float speed, colour fill) {
    for (int i = 0; i < count; ++i) {
        const float turn = random_float(0, 6.283f), way = random_float(speed * 0.4f, speed);
        speck* const one = add_speck(x, y, fill, random_int(16, 30));
        one->speed_x = cosf(turn) * way;
        one->speed_y = sinf(turn) * way;
        one->lift = 0.05f;
    }
}

static void step_specks(void) {
    for (int i = 0; i < MOST_SPECKS; ++i) {
        speck* const one = &specks[i];
        if (one->age >= one->life) continue;
        ++one->age;
        one->speed_y += one->lift;
        one->x += one->speed_x;
        one->y += one->speed_y;
        one->size += one->growth;
    }
}

static void draw_specks(void) {
    for (int i = 0; i < MOST_SPECKS; ++i) {
        const speck* const one = &specks[i];
        if (one->age >= one->life) continue;
        const float left = 1 - (float)one->age / (float)one->life;
        if (one->round) {
            draw_disc(one->x, one->y, one->size, faded(one->fill, left * 0.7f));
        } else {
            draw_box(one->x - 1, one->y - 1, left > 0.5f ? 2 : 1, left > 0.5f ? 2 : 1, one->fill);
        }
    }
}

// --- What follows the kettle

static float look_ahead, stand_y, strides, landed;
static int still;

void reset_view(const world* now) {
    memset(specks, 0, sizeof specks);
    look_ahead = strides = landed = 0;
    still = 0;
    stand_y = now->hero.y;
    camera_at(now->hero.x - VIEW_WIDTH / 2, now->hero.y - VIEW_HEIGHT * 0.6f);
}

// The camera looks ahead of the way the kettle goes, and rises only when it stands somewhere.
static void follow(const kettle* hero) {
    const float wanted = hero->faces_left ? -46 : 46;
    look_ahead += (wanted - look_ahead) * 0.035f;
    if (hero->onGround || hero->y > stand_y) stand_y += (hero->y - stand_y) * 0.12f;
    if (stand_y - hero->y > 64) stand_y = hero->y + 64;
    camera_follow(hero->x + look_ahead, stand_y - 14, 0.14f);
}

static void show_events(const world* now) {
    const float x = now->event_x, y = now->event_y;
    if (now->events & EVENT_JUMP) steam(x, y, 4, 0.6f);
    if (now->events & EVENT_PUFF) steam(x, y, 14, 1.1f);
    if (now->events & (EVENT_LAND | EVENT_BOUNCE)) steam(x, y, 5, 0.9f);
    if (now->events & EVENT_LAND) landed = 1;
    if (now->events & EVENT_SUGAR) burst(x, y, 6, 1.2f, WHITE);
    if (now->events & EVENT_LEAF) burst(x, y, 22, 2.2f, AMBER);
    if (now->events & EVENT_STOMP) burst(x, y, 10, 1.6f, CREAM);
    if (now->events & EVENT_STOVE) burst(x, y, 18, 1.6f, RGB(242, 128, 58));
    if (now->events & EVENT_HURT) burst(x, y, 12, 1.8f, COPPER);
    if (now->events & EVENT_CUP) burst(x, y, 30, 2.2f, AMBER);
    if (!shake_on) return;
    if (now->events & (EVENT_HURT | EVENT_SPILL)) camera_shake(4, 0.3f);
    if (now->events & EVENT_STOMP) camera_shake(1.5f, 0.12f);
}

void update_view(const world* now) {
    const kettle* const hero = &now->hero;
    show_events(now);
    step_specks();
    strides += fabsf(hero->speed_x) * 0.11f;
    landed *= 0.8f;
    still = hero->speed_x == 0 && hero->onGround ? still + 1 : 0;
    if (now->pouring > 20 && now->pouring % 5 == 0) steam(now->event_x - 2, now->event_y, 1, 0.3f);
    // A breath from the spout now and then.
    if (still > 30 && still % 9 == 0) steam(hero->x + (hero->faces_left ? -4 : 14), hero->y, 1, 0.15f);
    if (now->events & EVENT_SPILL) reset_view(now);
    follow(hero);
}

// --- Drawing

static void draw_layer(picture* image, float part, float drift, float y) {
    float shift = fmodf(camera_x() * part + drift, (float)VIEW_WIDTH);
    if (shift < 0) shift += VIEW_WIDTH;
    draw_picture(image, -floorf(shift), y);
    draw_picture(image, VIEW_WIDTH - floorf(shift), y);
}

void draw_backdrop(int place, float drift) {
    const float most = (float)(here.map.height * TILE - VIEW_HEIGHT);
    const float height = most > 0 ? most - camera_y() : 0;  // of what is seen above the lowest
    camera_off();
    draw_picture(&layers[place][0], 0, 0);
    for (int i = 1; i < LAYERS; ++i) {
        static const float kParts[] = {0, 0.12f, 0.25f, 0.45f}, kRises[] = {0, 0.04f, 0.08f, 0.14f};
        const float y = floorf(height * kRises[i]);
        draw_layer(&layers[place][i], kParts[i], drift * kParts[i], y);
    }
    camera_part(1);
}

static bool is_near(float x) {
    return x > camera_x() - 40 && x < camera_x() + VIEW_WIDTH + 40;
}

static void draw_thing(const thing* one, int taken, const world* now) {
    const float x = one->x, y = one->y;
    const int turn = now->updates + one->x;
    const float bob = floorf(sinf((float)turn * 0.06f) * 2);
    switch (one->kind) {
        case THING_SUGAR:
            if (!taken) draw_cell(&sugar_cells, turn / 8 % 8 < 4 ? turn / 8 % 4 : 0, x - 6, y - 14 + bob, false);
            break;
        case THING_LEAF:
            if (taken) break;
            draw_disc(x, y - 8 + bob, 11, faded(AMBER, 0.25f));
            draw_cell(&leaf_cells, turn / 7 % 4, x - 8, y - 16 + bob, false);
            break;
        case THING_STOVE:
            if (taken) draw_disc(x, y - 11, 15 + bob / 2, faded(RGB(255, 170, 80), 0.22f));
            draw_cell(&stove_cells, taken ? 1 + turn / 6 % 2 : 0, x - 9, y - 25, false);
            break;
        case THING_CUSHION: draw_cell(&cushion_cells, taken > 0 && taken < 9, x - 10, y - 13, false); break;
        case THING_CUP: draw_cell(&cup_cells, now->pouring > 40, x - 18, y - 31, false); break;
        default: break;
    }
}

static void draw_foe(const foe* one) {
    static const float kUp[] = {11, 10, 11};
    sheet* const cells = one->kind == FOE_SLUG ? &slug_cells : one->kind == FOE_BEE ? &bee_cells : &frog_cells;
    int cell = one->since / (one->kind == FOE_BEE ? 4 : 12) % 2;
    if (one->kind == FOE_FROG) cell = one->onGround ? 0 : 1;
    if (one->flat) cell = 2;
    draw_cell(cells, cell, one->x - (float)cells->cell_width / 2, one->y - kUp[one->kind], one->faces_left);
}

void draw_hero_at(float x, float y, int cell, bool flipped) {
    draw_cell(&kettle_cells, cell, x, y, flipped);
}

static int hero_cell(const world* now) {
    const kettle* const hero = &now->hero;
    if (hero->safe > 70) return 11;
    if (!hero->onGround) return hero->speed_y < 0 ? (hero->can_puff ? 8 : 10) : 9;
    if (fabsf(hero->speed_x) > 0.3f) return 4 + (int)strides % 4;
    return (still / 24 % 8 == 7 ? 2 : 0) + still / 24 % 2;
}

static void draw_hero(const world* now) {
    const kettle* const hero = &now->hero;
    if (hero->safe > 0 && hero->safe / 4 % 2 == 0) return;
    // It gives way a little when it lands.
    const float sink = landed > 0.4f ? 1 : 0;
    draw_hero_at(hero->x - 6, hero->y - 9 + sink, hero_cell(now), hero->faces_left);
    if (now->pouring < 30 || now->pouring > 90) return;
    for (int i = 0; i < 8; ++i) draw_box(now->event_x - 5 + (float)i * 0.4f, now->event_y - 4 + (float)i * 2, 2, 2, RGB(181, 98, 46));
}

static const char* const kSigns[LEVELS][4] = {
    {"Left and Right to walk", "Space to jump, longer is higher", "Space once more in the air: a puff",
     "Jump on their heads"},
    {"Saucers carry you", "A stove keeps your place", "", ""},
    {"Cushions throw you up", "", "", ""},
    {"Up to the last cup!", "", "", ""}};

static void draw_signs(const world* now) {
    for (int i = 0; i < here.things_count; ++i) {
        const thing* const one = &here.things[i];
        if (one->kind != THING_SIGN || one->number > 3) continue;
        if (fabsf(now->hero.x - (float)one->x) > 34 || fabsf(now->hero.y - (float)one->y) > 60) continue;
        const char* const text = kSigns[here.number][one->number];
        const float width = (float)words_width(&letters, "%s", text);
        draw_box(one->x - width / 2 - 5, one->y - 40, width + 10, 15, faded(INK, 0.85f));
        draw_frame(one->x - width / 2 - 5, one->y - 40, width + 10, 15, AMBER);
        text_align(ALIGN_CENTRE);
        draw_words(&letters, one->x, one->y - 36, CREAM, "%s", text);
    }
}

void draw_world(const world* now) {
    draw_backdrop(here.number, 0);
    draw_map(&here.map);
    for (int i = 0; i < here.saucers_count; ++i) {
        if (is_near(now->saucers[i].x)) draw_picture(&saucer_picture, now->saucers[i].x - 1, now->saucers[i].y - 1);
    }
    for (int i = 0; i < here.things_count; ++i) {
        if (is_near(here.things[i].x)) draw_thing(&here.things[i], now->taken[i], now);
    }
    for (int i = 0; i < here.foes_count; ++i) {
        const foe* const one = &now->foes[i];
        if (is_near(one->x) && !(one->flat && one->since > 26)) draw_foe(one);
    }
    draw_hero(now);
    draw_specks();
    draw_signs(now);
    camera_off();
}

// Words with a shadow, for what lies on a picture.
static void words(float x, float y, colour fill, const char* text) {
    draw_words(&letters, x + 1, y + 1, INK, "%s", text);
    draw_words(&letters, x, y, fill, "%s", text);
}

void draw_hud(const world* now) {
    char text[32];
    for (int i = 0; i < HEARTS; ++i) draw_cell(&heart_cells, i < now->hearts ? 0 : 1, 6 + (float)i * 10, 6, false);
    draw_cell(&sugar_cells, 0, 40, 3, false);
    text_align(ALIGN_LEFT);
    snprintf(text, sizeof text, "%d", now->sugar);
    words(54, 6, CREAM, text);
    for (int i = 0; i < LEAVES; ++i) {
        if (now->leaves >> i & 1) draw_cell(&leaf_cells, 0, 76 + (float)i * 15, 1, false);
        else draw_picture(&no_leaf, 76 + (float)i * 15, 1);
    }
    text_align(ALIGN_RIGHT);
    snprintf(text, sizeof text, "%d:%02d.%d", now->updates / 3600, now->updates / 60 % 60, now->updates / 6 % 10);
    words(314, 6, CREAM, text);
}

// A panel in the middle; x and y get the middle of its upper side.
void draw_panel(int width, int height, int* x, int* y) {
    const float left = (float)(VIEW_WIDTH - width) / 2, top = (float)(VIEW_HEIGHT - height) / 2;
    draw_box(left + 2, top + 3, (float)width, (float)height, faded(INK, 0.35f));
    draw_box(left, top, (float)width, (float)height, faded(INK, 0.92f));
    draw_frame(left + 1, top + 1, (float)width - 2, (float)height - 2, COPPER);
    draw_frame(left + 3, top + 3, (float)width - 6, (float)height - 6, RGB(90, 62, 84));
    *x = VIEW_WIDTH / 2;
    *y = (int)top;
}
