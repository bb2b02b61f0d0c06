// What moxi/game.h does, in numbers worked out by hand.
#include <moxi/game.h>
#include <string.h>

#include "check.h"

static sheet tiles;
static tile_map map;
static float moved = 10;
static int once, often, updates;

static bool IsNear(float a, float b) {
    return a - b < 0.01f && b - a < 0.01f;
}

static void Once(void) {
    ++once;
}
static void Often(void) {
    ++often;
}

static void Easing(void) {
    for (int kind = EASE_NONE; kind <= EASE_SPRING; ++kind) {
        CHECK(IsNear(eased(0, (ease)kind), 0) && IsNear(eased(1, (ease)kind), 1));
    }
    CHECK(IsNear(eased(0.5f, EASE_NONE), 0.5f) && IsNear(eased(0.5f, EASE_IN), 0.125f));
    CHECK(IsNear(eased(0.5f, EASE_OUT), 0.875f) && IsNear(eased(0.25f, EASE_BOTH), 0.0625f));
    CHECK(eased(-1, EASE_OUT) == 0 && eased(2, EASE_IN) == 1 && eased(0.7f, EASE_BACK) > 1);
}

static void Chance(void) {
    int counts[6] = {0};
    random_seed(7);
    const int first = random_int(1, 1000000);
    for (int i = 0; i < 6000; ++i) ++counts[random_int(0, 5)];
    for (int i = 0; i < 6; ++i) CHECK(counts[i] > 850 && counts[i] < 1150);
    random_seed(7);
    CHECK(random_int(1, 1000000) == first && random_int(3, 3) == 3);
    for (int i = 0; i < 100; ++i) CHECK(random_float(-2, 2) >= -2 && random_float(-2, 2) < 2);
    CHECK(!chance(0) && chance(1));
}

static void Pictures(void) {
    static const char* const kRows[] = {"ab", ".a", NULL};
    static const ink kInks[] = {{'a', RED}, {'b', RGB(1, 2, 3)}};
    picture small = make_picture(kRows, kInks, 2);
    CHECK(small.width == 2 && small.height == 2);
    CHECK(moxi_get_pixel(small.bitmap, 1, 0) == RGB(1, 2, 3));
    CHECK(moxi_get_pixel(small.bitmap, 0, 1) == 0);
    picture large = enlarged(small, 4);
    CHECK(large.width == 8 && moxi_get_pixel(large.bitmap, 3, 3) == RED);
    CHECK(moxi_get_pixel(large.bitmap, 4, 3) == RGB(1, 2, 3));
    tiles = make_sheet(large, 4, 4);
    CHECK(tiles.columns == 2 && tiles.count == 4);
    CHECK(load_picture("NONE.PNG").bitmap == 0 && load_picture("NONE.PNG").width == 0);
    CHECK(mix(BLACK, RGB(200, 100, 50), 0.5f) == RGB(100, 50, 25));
    CHECK(faded(WHITE, 0.5f) == RGBA(255, 255, 255, 127));
}

static void Maps(void) {
    static const char* const kRows[] = {"....", ".#..", "....", "####", NULL};
    map = make_map(&tiles, kRows, "#*", "#");
    CHECK(map.width == 4 && map.height == 4 && tile_at(&map, 1, 1) == 0);
    CHECK(tile_at(&map, 0, 0) == -1 && tile_at(&map, 9, 9) == -1);
    CHECK(solid_at(&map, 5, 5) && !solid_at(&map, 3.9f, 5) && solid_at(&map, -1, 0));
    // A box of 2 by 2 falls onto the floor at 12, goes right to the wall at 16 and jumps below a
    // tile.
    float x = 1, y = 0;
    CHECK(move_in_map(&map, &x, &y, 2, 2, 0, 100) == HIT_BOTTOM && y == 10);
    CHECK(move_in_map(&map, &x, &y, 2, 2, 100, 0) == HIT_RIGHT && x == 14);
    CHECK(move_in_map(&map, &x, &y, 2, 2, -9, 0) == 0 && x == 5);
    CHECK(move_in_map(&map, &x, &y, 2, 2, 0, -8) == HIT_TOP && y == 8);
    x = 1;
    y = 5;
    CHECK(move_in_map(&map, &x, &y, 2, 2, 20, 0.5f) == HIT_RIGHT && x == 2 && y == 5.5f);
    CHECK(move_in_map(&map, &x, &y, 2, 2, -20, 0) == HIT_LEFT && x == 0);
}

// A ledge stops what falls onto it, and neither what rises through it nor what walks past.
static void Ledges(void) {
    static const char* const kRows[] = {"@   ", "    ", "====", "    ", "####", NULL};
    tile_map made = make_map(&tiles, kRows, "#=", "#");
    made.solid[1] = TILE_LEDGE;
    CHECK(letter_at(&made, 0, 0) == '@' && letter_at(&made, 1, 2) == '=');
    CHECK(letter_at(&made, -1, 0) == ' ' && letter_at(&made, 0, 5) == ' ');
    CHECK(!solid_at(&made, 1, 9) && solid_at(&made, 1, 17));
    float x = 1, y = 13;
    CHECK(move_in_map(&made, &x, &y, 2, 2, 0, -9) == 0 && y == 4);
    CHECK(move_in_map(&made, &x, &y, 2, 2, 0, 9) == HIT_BOTTOM && y == 6);
    y = 9;
    CHECK(move_in_map(&made, &x, &y, 2, 2, 5, 0) == 0 && x == 6);
    CHECK(move_in_map(&made, &x, &y, 2, 2, 0, 9) == HIT_BOTTOM && y == 14);
    free_map(&made);
    made = load_map(&tiles, "MAP.TXT", "#", "#");
    CHECK(made.width == 4 && made.height == 3 && tile_at(&made, 1, 2) == 0);
    CHECK(letter_at(&made, 2, 0) == 'x' && letter_at(&made, 3, 2) == ' ');
    free_map(&made);
    CHECK(load_map(&tiles, "NONE.TXT", "", "").width == 0);
    // A line of 65,536 letters and as many lines: more places than there are addresses.
    made = load_map(&tiles, "HUGE.TXT", "#", "#");
    CHECK(made.width == 0 && made.height == 0 && tile_at(&made, 0, 0) == -1);
}

// Letters of 2, 3 and no columns: ! " and the space.
static void Words(void) {
    static const char* const kRows[] = {"....w...wwww", "....w...w.w.", NULL};
    static const ink kInks[] = {{'w', WHITE}};
    font letters = make_font(make_picture(kRows, kInks, 1), 4, 2);
    CHECK(letters.widths[0] == 2 && letters.widths[1] == 1 && letters.widths[2] == 4);
    // Each is followed by a pixel of room but the last: 1 + 1 + 4 + 1 + 2.
    CHECK(words_width(&letters, "!\" ") == 9 && words_width(&letters, "%s", "") == 0);
    CHECK(words_width(&letters, "!\n\"") == 4);
    picture red = tinted(&letters.cells.image, RED);
    CHECK(moxi_get_pixel(red.bitmap, 4, 0) == RED && moxi_get_pixel(red.bitmap, 0, 0) == 0);
}

static void Sprites(void) {
    sprite a = make_sprite(&tiles, 0, 0);
    sprite b = make_sprite(&tiles, 3, 0);
    CHECK(sprites_touch(&a, &b, 0) && !sprites_touch(&a, &b, 1));
    a.speed_x = 60;
    animate(&a, 1, 2, 30);
    update_sprite(&a);
    CHECK(a.x == 1 && a.phase == 0.5f);
    for (int i = 0; i < 3; ++i) update_sprite(&a);
    CHECK(IsNear(a.phase, 0));
    b.hidden = true;
    CHECK(!sprites_touch(&a, &b, 0));
}

static void Saved(void) {
    CHECK(saved_number("best", 5) == saved_number("before", 5));
    save_number("best", saved_number("best", 100) + 1);
    save_number("before", saved_number("best", 0));
    save_text("name", "Ann \"A\"");
    CHECK(strcmp(saved_text("name", ""), "Ann \"A\"") == 0);
    CHECK(strcmp(saved_text("none", "nobody"), "nobody") == 0);
    printf("best %d\n", saved_number("best", 0));
}

void setup(void) {
    game_title("Checks");
    game_canvas(200, 120);
    CHECK(game_width() == 200 && game_height() == 120);
    Easing();
    Chance();
    Pictures();
    Maps();
    Ledges();
    Words();
    Sprites();
    Saved();
    tween(&moved, 20, 0.5f, EASE_NONE);
    after(0.5f, Once);
    stop_timer(after(0.1f, Once));
    every(0.25f, Often);
    camera_bounds(400, 120);
    camera_follow(390, 60, 1);
    CHECK(camera_x() == 200 && camera_y() == 0);
}

void update(void) {
    ++updates;
    if (updates == 16) CHECK(moved > 14.9f && moved < 15.8f && is_tweening(&moved) && often == 1);
    if (updates == 60) {
        CHECK(moved == 20 && !is_tweening(&moved) && once == 1 && often == 4);
        CHECK(IsNear(game_time(), 59.0f / 60));
    }
    if (key_pressed('A')) printf("a pressed, held %d\n", key_held('A'));
    if (key_released('A')) printf("a released, held %d\n", key_held('A'));
    if (typed_text()[0] != 0) printf("typed %s\n", typed_text());
    if (mouse_pressed(MOUSE_LEFT)) printf("mouse %g %g\n", (double)mouse_x(), (double)mouse_y());
    if (mouse_wheel() != 0) printf("wheel %d\n", mouse_wheel());
    if (updates == 90) {
        printf("problems: %d\n", problems);
        fflush(stdout);
    }
    if (key_pressed(KEY_ESCAPE)) game_quit();
}

void draw(void) {
    clear_screen(NAVY);
    draw_box(210, 10, 20, 20, RED);
    draw_cell(&tiles, 0, 250, 10, false);
    // Half of the camera's 200 pixels: at 20 on the canvas.
    camera_part(0.5f);
    draw_box(120, 30, 4, 4, GOLD);
    camera_part(1);
    camera_off();
    draw_box(100, 50, 10, 10, RGBA(255, 255, 255, 128));
    draw_frame(150, 50, 20, 20, GOLD);
    text_align(ALIGN_RIGHT);
    draw_text(190, 90, 20, WHITE, "%d", 11);
}
