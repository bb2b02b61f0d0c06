// Little Kettle: a kettle carries hot tea up the mountain, to a friend's cup. This file is what
// moxi/game.h calls; world.c is the game, view.c its pictures, screens.c what is around it, pilot.c
// plays by itself, store.c keeps and sounds.

#include "kettle.h"

world current;
bool piloted;

void setup_window(void) {
    game_window(1280, 756);
}

void setup(void) {
    game_title("Little Kettle");
    game_canvas(VIEW_WIDTH, VIEW_HEIGHT);
    load_pictures();
    load_store();
    go(SCREEN_TITLE);
}

// The left button walks to where it points, the right one jumps.
static unsigned mouse_wish(void) {
    unsigned wish = mouse_held(MOUSE_RIGHT) ? WISH_JUMP : 0;
    if (!mouse_held(MOUSE_LEFT)) return wish;
    const float away = mouse_x() + camera_x() - current.hero.x - HERO_WIDTH / 2;
    if (away < -6) wish |= WISH_LEFT;
    if (away > 6) wish |= WISH_RIGHT;
    return wish;
}

unsigned player_wish(void) {
#ifdef PILOT
    return pilot_wish(&current);
#endif
    unsigned wish = mouse_wish();
    if (key_held(KEY_LEFT) || key_held('A')) wish |= WISH_LEFT;
    if (key_held(KEY_RIGHT) || key_held('D')) wish |= WISH_RIGHT;
    if (key_held(KEY_SPACE) || key_held(KEY_UP) || key_held('W') || key_held('Z')) wish |= WISH_JUMP;
    return wish;
}

void update(void) {
    if (key_pressed(KEY_F1 + 10)) game_full_screen(!game_is_full_screen());
    update_screen();
}

void draw(void) {
    draw_screen();
}
