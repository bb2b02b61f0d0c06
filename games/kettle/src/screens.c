// The screens around the game: title, levels, keys, options, pause, the end of a level, the end.

#include <math.h>
#include <string.h>

#include "kettle.h"

enum { MOST_ITEMS = 7, LINE = 15, IDLE = 600 };

screen_kind screen;
static screen_kind came_from;
static int chosen, age, idle, finished_best;
static float curtain;  // 1: all is dark
static int next_level = -1;
static bool found_new;

typedef struct {
    int count, top;
    char items[MOST_ITEMS][36];
} menu;

static const char* const kMusic[LEVELS] = {"MUSIC/MEADOW.MID", "MUSIC/WOODS.MID",
                                           "MUSIC/FROST.MID", "MUSIC/SUMMIT.MID"};

static void add_item(menu* list, const char* text) {
    snprintf(list->items[list->count++], sizeof list->items[0], "%s", text);
}

static void add_switch(menu* list, const char* text, bool on) {
    snprintf(list->items[list->count++], sizeof list->items[0], "%s: %s", text, on ? "on" : "off");
}

// What can be chosen on the screen that is on, and where it stands.
static menu menu_of(void) {
    menu list = {0, 0, {{0}}};
    list.top = 68;
    switch (screen) {
        case SCREEN_TITLE:
            list.top = 98;
            add_item(&list, opened > 1 ? "Go on" : "Play");
            add_item(&list, "How to play");
            add_item(&list, "Options");
            add_item(&list, "Leave");
            break;
        case SCREEN_OPTIONS:
            list.top = 52;
            add_switch(&list, "Music", music_on);
            add_switch(&list, "Sounds", sound_on);
            add_switch(&list, "Shaking", shake_on);
            add_switch(&list, "Full screen", game_is_full_screen());
            add_item(&list, "Forget all records");
            add_item(&list, "Back");
            break;
        case SCREEN_PAUSE:
            add_item(&list, "Go on");
            add_item(&list, "Begin again");
            add_item(&list, "Options");
            add_item(&list, "Leave the level");
            break;
        case SCREEN_KEYS:
            list.top = 148;
            add_item(&list, "Back");
            break;
        case SCREEN_DONE:
            list.top = 122;
            add_item(&list, "On we go");
            add_item(&list, "Once more");
            break;
        default: break;
    }
    return list;
}

void go(screen_kind next) {
    if (next == SCREEN_OPTIONS || next == SCREEN_KEYS) came_from = screen;
    screen = next;
    chosen = age = idle = 0;
    if (next == SCREEN_TITLE || next == SCREEN_LEVELS) {
        want_music("MUSIC/TITLE.MID");
        piloted = false;
        camera_bounds(0, 0);
        camera_at(0, 0);
        if (next == SCREEN_LEVELS) chosen = next_level >= 0 && next_level < LEVELS ? next_level : 0;
    }
    if (next == SCREEN_END) want_music("MUSIC/END.MID");
}

void begin_level(int number) {
    next_level = number;
    load_level(number, &current);
    reset_pilot();
    reset_view(&current);
    want_music(kMusic[number]);
    curtain = 1;
    tween(&curtain, 0, 0.6f, EASE_OUT);
    go(SCREEN_PLAY);
}

// --- Choices

static void choose_title(void) {
    switch (chosen) {
        case 0:
            next_level = opened - 1;
            go(SCREEN_LEVELS);
            break;
        case 1: go(SCREEN_KEYS); break;
        case 2: go(SCREEN_OPTIONS); break;
        default: game_quit(); break;
    }
}

static void choose_option(void) {
    switch (chosen) {
        case 0: switch_music(); break;
        case 1: sound_on = !sound_on; break;
        case 2: shake_on = !shake_on; break;
        case 3: game_full_screen(!game_is_full_screen()); break;
        case 4: forget_records(); break;
        default: go(came_from); break;
    }
    save_options();
}

static void choose_pause(void) {
    if (chosen == 0) screen = SCREEN_PLAY;
    else if (chosen == 1) begin_level(here.number);
    else if (chosen == 2) go(SCREEN_OPTIONS);
    else go(SCREEN_LEVELS);
}

static void choose_done(void) {
    if (chosen == 1) begin_level(here.number);
    else if (here.number + 1 < LEVELS) begin_level(here.number + 1);
    else go(SCREEN_END);
}

static void choose(void) {
    if (sound_on) play_sound("SOUNDS/PICK.WAV");
    switch (screen) {
        case SCREEN_TITLE: choose_title(); break;
        case SCREEN_LEVELS: begin_level(chosen); break;
        case SCREEN_OPTIONS: choose_option(); break;
        case SCREEN_PAUSE: choose_pause(); break;
        case SCREEN_DONE: choose_done(); break;
        case SCREEN_KEYS: go(came_from); break;
        case SCREEN_END: go(SCREEN_TITLE); break;
        default: break;
    }
}

static void back(void) {
    switch (screen) {
        case SCREEN_LEVELS: go(SCREEN_TITLE); break;
        case SCREEN_PAUSE: screen = SCREEN_PLAY; break;
        case SCREEN_DONE: go(SCREEN_LEVELS); break;
        case SCREEN_END: go(SCREEN_TITLE); break;
        case SCREEN_KEYS:
        case SCREEN_OPTIONS: go(came_from); break;
        default: break;
    }
}

static void step_to(int place) {
    if (place == chosen) return;
    chosen = place;
    idle = 0;
    if (sound_on) play_sound("SOUNDS/MOVE.WAV");
}

// Which item or card the pointer is on, -1 none.
static int pointed(const menu* list) {
    const float x = mouse_x(), y = mouse_y();
    if (screen == SCREEN_LEVELS) {
        for (int i = 0; i < opened; ++i) {
            if (boxes_touch(x, y, 1, 1, 14 + (float)i * 74, 46, 70, 100)) return i;
        }
        return -1;
    }
    const int place = (int)floorf((y - (float)list->top + 4) / LINE);
    const bool inside = place >= 0 && place < list->count && fabsf(x - VIEW_WIDTH / 2) < 70;
    return inside ? place : -1;
}

static void update_menu(void) {
    static float last_x, last_y;
    const menu list = menu_of();
    const int count = screen == SCREEN_LEVELS ? opened : list.count;
    const bool next = key_pressed(KEY_DOWN) || key_pressed(KEY_RIGHT) || key_pressed('S') || key_pressed('D');
    const bool previous = key_pressed(KEY_UP) || key_pressed(KEY_LEFT) || key_pressed('W') || key_pressed('A');
    if (next && count > 0) step_to((chosen + 1) % count);
    if (previous && count > 0) step_to((chosen + count - 1) % count);
    const int place = pointed(&list);
    if (place >= 0 && (mouse_x() != last_x || mouse_y() != last_y)) step_to(place);
    last_x = mouse_x();
    last_y = mouse_y();
    const bool keyed = key_pressed(KEY_RETURN) || key_pressed(KEY_SPACE);
    if (keyed || (mouse_pressed(MOUSE_LEFT) && (place >= 0 || screen == SCREEN_END))) {
        choose();
    } else if (key_pressed(KEY_ESCAPE) || mouse_pressed(MOUSE_RIGHT)) {
        back();
    }
}

// --- Play

static void finish_level(void) {
    record* const kept = &records[here.number];
    finished_best = kept->best;
    found_new = (current.leaves & ~kept->leaves) != 0;
    if (kept->best == 0 || current.updates < kept->best) kept->best = current.updates;
    kept->leaves |= current.leaves;
    if (opened < here.number + 2 && here.number + 1 < LEVELS) opened = here.number + 2;
    save_record(here.number);
    go(SCREEN_DONE);
}

static bool any_key(void) {
    return typed_text()[0] != 0 || key_pressed(KEY_RETURN) || key_pressed(KEY_ESCAPE) ||
           mouse_pressed(MOUSE_LEFT) || player_wish() != 0;
}

static void update_play(void) {
    const bool shown = piloted;  // on the title, to pass the time
    if (shown && (any_key() || current.pouring > 60)) {
        go(SCREEN_TITLE);
        return;
    }
    step_world(&current, piloted ? pilot_wish(&current) : player_wish());
    if (!shown) tell_sounds(current.events);
    update_view(&current);
    if (current.pouring > 110) finish_level();
    if (key_pressed(KEY_ESCAPE) || key_pressed('P')) go(SCREEN_PAUSE);
}

void update_screen(void) {
    ++age;
    if (screen == SCREEN_PLAY) {
        update_play();
        return;
    }
    update_menu();
    if (screen == SCREEN_TITLE && ++idle > IDLE) {
        piloted = true;
        begin_level(random_int(0, opened - 1));
    }
}

// --- Drawing

static void title_words(int y, const char* text) {
    text_align(ALIGN_CENTRE);
    draw_words(&letters, VIEW_WIDTH / 2, (float)y, AMBER, "%s", text);
    const float half = (float)words_width(&letters, "%s", text) / 2 + 6;
    draw_box(VIEW_WIDTH / 2 - half, (float)y + 10, half * 2, 1, COPPER);
}

static void draw_items(void) {
    const menu list = menu_of();
    text_align(ALIGN_CENTRE);
    for (int i = 0; i < list.count; ++i) {
        const float y = (float)(list.top + i * LINE);
        const bool lit = i == chosen;
        const float half = (float)words_width(&letters, "%s", list.items[i]) / 2;
        if (lit) {
            draw_box(VIEW_WIDTH / 2 - half - 16, y - 3, half * 2 + 32, 13, faded(COPPER, 0.9f));
            draw_cell(&sugar_cells, age / 8 % 4, VIEW_WIDTH / 2 - half - 14, y - 3, false);
        }
        draw_words(&letters, VIEW_WIDTH / 2, y, lit ? INK : CREAM, "%s", list.items[i]);
    }
}

static void draw_title(void) {
    draw_backdrop(0, (float)age * 0.8f);
    const float bob = sinf((float)age * 0.04f) * 2;
    draw_picture(&logo, (float)(VIEW_WIDTH - logo.width) / 2 + 8, 14 + bob);
    draw_hero_at(66, 62 + fabsf(sinf((float)age * 0.09f)) * -14, 4 + age / 7 % 4, false);
    draw_box(98, 90, 124, 70, faded(INK, 0.75f));
    draw_frame(99, 91, 122, 68, COPPER);
    draw_items();
    text_align(ALIGN_CENTRE);
    draw_words(&letters, VIEW_WIDTH / 2, 168, CREAM, "A pot of tea, a mountain, and a friend at the top");
}

static void draw_card(int number) {
    const float x = 14 + (float)number * 74, y = 46;
    const bool open = number < opened, lit = number == chosen;
    static const colour kSkies[LEVELS] = {SKY, RGB(217, 115, 138), RGB(176, 208, 236), RGB(60, 52, 120)};
    static const colour kGrounds[LEVELS] = {RGB(124, 198, 86), RGB(232, 151, 58), RGB(215, 235, 247), RGB(92, 103, 174)};
    const float up = lit ? -2 - fabsf(sinf((float)age * 0.08f)) * 2 : 0;
    draw_box(x + 2, y + 3, 70, 100, faded(INK, 0.5f));
    draw_box(x, y + up, 70, 100, lit ? COPPER : RGB(90, 62, 84));
    draw_box(x + 2, y + 2 + up, 66, 96, INK);
    draw_box(x + 4, y + 4 + up, 62, 40, open ? kSkies[number] : RGB(58, 49, 70));
    draw_box(x + 4, y + 34 + up, 62, 10, open ? kGrounds[number] : RGB(46, 38, 58));
    text_align(ALIGN_CENTRE);
    if (!open) {
        draw_words(&letters, x + 35, y + 66 + up, MIST, "not yet\nreached");
        return;
    }
    if (lit) draw_hero_at(x + 24, y + 11 + up, 4 + age / 7 % 4, false);
    const char* const space = strchr(level_names[number], ' ');
    draw_words(&letters, x + 35, y + 48 + up, CREAM, "%.*s\n%s", (int)(space - level_names[number]), level_names[number], space + 1);
    for (int i = 0; i < LEAVES; ++i) {
        const float left = x + 12 + (float)i * 16;
        if (records[number].leaves >> i & 1) draw_cell(&leaf_cells, 0, left, y + 67 + up, false);
        else draw_picture(&no_leaf, left, y + 67 + up);
    }
    const int best = records[number].best;
    if (best > 0) draw_words(&letters, x + 35, y + 86 + up, AMBER, "%d:%02d.%d", best / 3600, best / 60 % 60, best / 6 % 10);
    else draw_words(&letters, x + 35, y + 86 + up, MIST, "-:--");
}

static void draw_levels(void) {
    draw_backdrop(chosen, (float)age * 0.5f);
    draw_box(0, 0, VIEW_WIDTH, VIEW_HEIGHT, faded(INK, 0.45f));
    title_words(20, "Where to?");
    for (int i = 0; i < LEVELS; ++i) draw_card(i);
    text_align(ALIGN_CENTRE);
    draw_words(&letters, VIEW_WIDTH / 2, 162, CREAM, "Left, Right and Return - Escape goes back");
}

static void draw_keys(void) {
    static const char* const kLines[][2] = {{"Left, Right or A, D", "walk"},
                                            {"Space, Up, W or Z", "jump; again in the air: a puff"},
                                            {"left mouse button", "walk to the pointer"},
                                            {"right mouse button", "jump"},
                                            {"Escape or P", "pause"},
                                            {"F11", "full screen"}};
    int x, y;
    draw_panel(292, 160, &x, &y);
    title_words(y + 12, "How to play");
    for (int i = 0; i < 6; ++i) {
        text_align(ALIGN_RIGHT);
        draw_words(&letters, 134, (float)(y + 30 + i * 12), AMBER, "%s", kLines[i][0]);
        text_align(ALIGN_LEFT);
        draw_words(&letters, 142, (float)(y + 30 + i * 12), CREAM, "%s", kLines[i][1]);
    }
    text_align(ALIGN_CENTRE);
    draw_words(&letters, (float)x, (float)(y + 107), MIST,
               "25 lumps of sugar mend a heart. Each place hides three\ngolden tea leaves. Stoves keep your place.");
    draw_items();
}

static void draw_done(void) {
    int x, y;
    draw_panel(220, 148, &x, &y);
    title_words(y + 12, level_names[here.number]);
    const int gone = current.updates;
    draw_words(&letters, (float)x, (float)(y + 30), CREAM, "%d:%02d.%d", gone / 3600, gone / 60 % 60, gone / 6 % 10);
    if (finished_best == 0 || gone < finished_best) draw_words(&letters, (float)x, (float)(y + 41), AMBER, "your best time");
    else draw_words(&letters, (float)x, (float)(y + 41), MIST, "best %d:%02d.%d", finished_best / 3600, finished_best / 60 % 60, finished_best / 6 % 10);
    for (int i = 0; i < LEAVES; ++i) {
        const float left = (float)(x - 26 + i * 18);
        // They come in one after the other.
        if (current.leaves >> i & 1 && age > 20 + i * 14) draw_cell(&leaf_cells, age / 7 % 4, left, (float)(y + 54), false);
        else draw_picture(&no_leaf, left, (float)(y + 54));
    }
    draw_words(&letters, (float)x, (float)(y + 74), CREAM, "Sugar %d of %d", current.sugar, here.sugar_count);
    draw_words(&letters, (float)x, (float)(y + 86), MIST, found_new ? "new leaves found" : current.spills == 0 ? "not a drop spilt" : current.spills == 1 ? "spilt once" : "spilt %d times", current.spills);
    draw_items();
}

static void draw_end(void) {
    int leaves = 0, total = 0;
    for (int i = 0; i < LEVELS; ++i) {
        total += records[i].best;
        for (int k = 0; k < LEAVES; ++k) leaves += records[i].leaves >> k & 1;
    }
    draw_backdrop(3, (float)age * 0.3f);
    draw_cell(&cup_cells, 1, 170, 100, false);
    draw_hero_at(132, 108, age / 30 % 8 == 7 ? 2 : age / 30 % 2, false);
    draw_box(0, 131, VIEW_WIDTH, 49, RGB(143, 159, 224));
    draw_box(0, 131, VIEW_WIDTH, 2, RGB(201, 212, 255));
    for (int i = 0; i < 5; ++i) {
        const float rise = fmodf((float)age * 0.25f + (float)i * 9, 45);
        draw_disc(186 + sinf(rise * 0.2f + (float)i) * 4, 106 - rise, 2 + rise * 0.06f, faded(WHITE, 0.6f - rise * 0.013f));
    }
    title_words(18, "The tea is still hot");
    text_align(ALIGN_CENTRE);
    draw_words(&letters, VIEW_WIDTH / 2, 38, CREAM, "All the way up, and the cup is full.\nTwo friends, a moon, and time to talk.");
    draw_words(&letters, VIEW_WIDTH / 2, 144, INK, "Golden leaves %d of %d      Best times together %d:%02d", leaves, LEVELS * LEAVES, total / 3600, total / 60 % 60);
    draw_words(&letters, VIEW_WIDTH / 2, 162, INK, "Return goes home");
}

void draw_screen(void) {
    int x, y;
    clear_screen(INK);
    const bool over_play = screen == SCREEN_PLAY || screen == SCREEN_PAUSE || screen == SCREEN_DONE ||
                           ((screen == SCREEN_OPTIONS || screen == SCREEN_KEYS) && came_from == SCREEN_PAUSE);
    if (over_play) {
        draw_world(&current);
        draw_hud(&current);
    } else if (screen == SCREEN_OPTIONS || screen == SCREEN_KEYS) {
        draw_backdrop(0, (float)age * 0.8f);
    }
    switch (screen) {
        case SCREEN_TITLE: draw_title(); break;
        case SCREEN_LEVELS: draw_levels(); break;
        case SCREEN_KEYS: draw_keys(); break;
        case SCREEN_DONE: draw_done(); break;
        case SCREEN_END: draw_end(); break;
        case SCREEN_PAUSE:
            draw_panel(150, 100, &x, &y);
            title_words(y + 12, "Pause");
            draw_items();
            break;
        case SCREEN_OPTIONS:
            draw_panel(180, 132, &x, &y);
            title_words(y + 11, "Options");
            draw_items();
            break;
        default: break;
    }
    if (screen == SCREEN_PLAY && piloted && age / 40 % 2 == 0) {
        text_align(ALIGN_CENTRE);
        draw_words(&letters, VIEW_WIDTH / 2, 166, CREAM, "Press a key");
    }
    if (curtain > 0) {
        const float tall = curtain * VIEW_HEIGHT / 2;
        draw_box(0, 0, VIEW_WIDTH, tall, INK);
        draw_box(0, VIEW_HEIGHT - tall, VIEW_WIDTH, tall, INK);
    }
}
