// @NAME@: move with the arrow keys, catch what falls.
#include <moxi/game.h>

enum { SIZE = 24, STARS = 8 };

static float x = 160, y = 200;
static struct {
    float x, y, speed;
} stars[STARS];
static int caught;

static void drop(int i) {
    stars[i].x = random_float(0, 320 - 8);
    stars[i].y = random_float(-100, -8);
    stars[i].speed = random_float(0.5f, 2);
}

void setup(void) {
    game_title("@NAME@");
    game_canvas(320, 240);
    for (int i = 0; i < STARS; ++i) drop(i);
}

void update(void) {
    if (key_held(KEY_LEFT)) x -= 3;
    if (key_held(KEY_RIGHT)) x += 3;
    if (key_pressed(KEY_ESCAPE)) game_quit();
    if (x < 0) x = 0;
    if (x > 320 - SIZE) x = 320 - SIZE;
    for (int i = 0; i < STARS; ++i) {
        stars[i].y += stars[i].speed;
        if (boxes_touch(x, y, SIZE, SIZE, stars[i].x, stars[i].y, 8, 8)) {
            ++caught;
            drop(i);
        }
        if (stars[i].y > 240) drop(i);
    }
}

void draw(void) {
    clear_screen(NAVY);
    for (int i = 0; i < STARS; ++i) draw_disc(stars[i].x + 4, stars[i].y + 4, 4, GOLD);
    draw_box(x, y, SIZE, SIZE, SKY);
    draw_text(8, 8, 16, WHITE, "Caught: %d", caught);
}
