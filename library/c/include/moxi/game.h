// Small games in C11 or C++: write setup, update and draw, and the rest is here.
//
//     #include <moxi/game.h>
//
//     static float x = 100;
//
//     void setup(void) { game_title("Box"); }
//     void update(void) { if (key_held(KEY_RIGHT)) x += 3; }
//     void draw(void) { clear_screen(NAVY); draw_box(x, 100, 32, 32, GOLD); }
//
// setup runs once, when the window is there. update runs 60 times in each second of the clock,
// whatever the machine is busy with; draw runs after it, when there is something new to show.
// Places are in pixels from the top left, y downwards; they may have fractions. Times are seconds.
#ifndef MOXI_GAME_H
#define MOXI_GAME_H

#include "moxi.h"

#ifdef __cplusplus
extern "C" {
#endif

// --- What you write

void setup(void);
void update(void);
void draw(void);

// If you like: runs before there is a window, and is the place for game_window alone.
void setup_window(void);

// --- The game

#define GAME_RATE 60                  // updates in a second
#define GAME_STEP (1.0f / GAME_RATE)  // seconds from one to the next

// The window's title.
void game_title(const char* title);

// How large the window is at first, if the screen has room for it. In setup_window; later it is the
// player's.
void game_window(int width, int height);

// Full screen, from the next update on.
void game_full_screen(bool full);
bool game_is_full_screen(void);

// Draws on a picture of this size, which is shown as large as the window allows, in whole multiples
// if it can be. Without it the game draws on the window itself, whose size may change at any time.
void game_canvas(int width, int height);

// What can be drawn on: the canvas or the window.
int game_width(void);
int game_height(void);

// Seconds of game time: updates since the start, divided by 60.
float game_time(void);

// Ends the game.
void game_quit(void);

// Calls a function when the game ends, once, whether by game_quit or by its window: the place to
// save.
void game_ending(void (*call)(void));

// --- Keys: KEY_LEFT, 'A', '7'. Pressed and released are true in one update each.

bool key_held(int key);
bool key_pressed(int key);
bool key_released(int key);

// What was typed since the last update, UTF-8; "" when nothing.
const char* typed_text(void);

enum {
    KEY_BACKSPACE = MOXI_KEY_BACKSPACE,
    KEY_TAB = MOXI_KEY_TAB,
    KEY_RETURN = MOXI_KEY_RETURN,
    KEY_SHIFT = MOXI_KEY_SHIFT,
    KEY_CONTROL = MOXI_KEY_CONTROL,
    KEY_OPTION = MOXI_KEY_OPTION,
    KEY_ESCAPE = MOXI_KEY_ESCAPE,
    KEY_SPACE = MOXI_KEY_SPACE,
    KEY_LEFT = MOXI_KEY_LEFT,
    KEY_UP = MOXI_KEY_UP,
    KEY_RIGHT = MOXI_KEY_RIGHT,
    KEY_DOWN = MOXI_KEY_DOWN,
    KEY_DELETE = MOXI_KEY_DELETE,
    KEY_F1 = MOXI_KEY_F1  // F2 is KEY_F1 + 1, and so on
};

// --- The mouse, in places of the canvas

enum { MOUSE_LEFT = 1, MOUSE_RIGHT = 2, MOUSE_MIDDLE = 4 };

float mouse_x(void);
float mouse_y(void);
bool mouse_held(int button);
bool mouse_pressed(int button);
bool mouse_released(int button);

// Notches of the wheel since the last update, upwards positive.
int mouse_wheel(void);

// --- Colours

typedef moxi_colour colour;

#define RGB(red, green, blue) MOXI_RGB(red, green, blue)
#define RGBA(red, green, blue, alpha) MOXI_RGBA(red, green, blue, alpha)

#define BLACK RGB(0, 0, 0)
#define WHITE RGB(255, 255, 255)
#define GREY RGB(128, 128, 136)
#define SILVER RGB(196, 200, 208)
#define RED RGB(222, 60, 60)
#define ORANGE RGB(240, 140, 50)
#define GOLD RGB(250, 205, 80)
#define GREEN RGB(80, 180, 90)
#define LIME RGB(170, 220, 80)
#define TEAL RGB(50, 160, 160)
#define SKY RGB(120, 190, 240)
#define BLUE RGB(70, 110, 220)
#define NAVY RGB(24, 32, 68)
#define PURPLE RGB(140, 90, 200)
#define PINK RGB(240, 130, 170)
#define BROWN RGB(140, 95, 60)

// A colour between two: 0 is the first, 1 the second.
colour mix(colour first, colour second, float part);

// The same colour, less opaque: 0 to 1.
colour faded(colour opaque, float alpha);

// --- Drawing. All but clear_screen is moved by the camera.

void clear_screen(colour fill);
void draw_pixel(float x, float y, colour fill);
void draw_line(float x0, float y0, float x1, float y1, colour stroke);
void draw_box(float x, float y, float width, float height, colour fill);
void draw_frame(float x, float y, float width, float height, colour stroke);
void draw_disc(float x, float y, float radius, colour fill);
void draw_ring(float x, float y, float radius, colour stroke);

// --- Text, as printf makes it, `size` pixels high

typedef enum { ALIGN_LEFT, ALIGN_CENTRE, ALIGN_RIGHT } alignment;

// Bits of MOXI_TEXT_...: MOXI_TEXT_BOLD | MOXI_TEXT_TIMES.
void text_style(uint32_t bits);
// Where x lies in the text.
void text_align(alignment align);
__attribute__((format(printf, 5, 6))) void draw_text(float x, float y, int size, colour fill,
                                                     const char* format, ...);
__attribute__((format(printf, 2, 3))) int text_width(int size, const char* format, ...);

// --- Pictures

typedef struct {
    moxi_bitmap bitmap;  // 0 when there is none
    moxi_bitmap flipped;
    int width, height;
} picture;

// From a PNG or BMP file of the game. Without the file: a picture of 0 by 0.
picture load_picture(const char* name);

// From text: a row a text, a letter a pixel. `letters` has each letter's colour; others are
// transparent. The rows end with a null pointer.
typedef struct {
    char letter;
    colour fill;
} ink;
picture make_picture(const char* const* rows, const ink* inks, int ink_count);

// Each pixel as a square of `factor` by `factor`. The old picture is given up.
picture enlarged(picture small, int factor);

// A new picture of the same shape in one colour: a shadow, or white for what was hit.
picture tinted(const picture* image, colour fill);

void draw_picture(picture* image, float x, float y);
void draw_flipped(picture* image, float x, float y);

// --- Sheets: pictures of the same size in one, counted from the top left, row by row

typedef struct {
    picture image;
    int cell_width, cell_height;
    int columns, count;
} sheet;

sheet load_sheet(const char* name, int cell_width, int cell_height);
sheet make_sheet(picture image, int cell_width, int cell_height);
void draw_cell(sheet* cells, int index, float x, float y, bool flipped);

// --- Fonts of pixels: a sheet with the characters from the space to ~, as wide as they are drawn

typedef struct {
    sheet cells;
    unsigned char widths[95];  // of the characters, in pixels
    struct {
        colour fill;
        picture image;
    } inks[8];  // the colours that were drawn with last
    int next_ink;
} font;

// White letters on nothing. A pixel of room is left between them; a space is half a cell.
font load_font(const char* name, int cell_width, int cell_height);
font make_font(picture letters, int cell_width, int cell_height);
// In lines at each \n, aligned as text_align says.
__attribute__((format(printf, 5, 6))) void draw_words(font* letters, float x, float y, colour fill,
                                                      const char* format, ...);
__attribute__((format(printf, 2, 3))) int words_width(const font* letters, const char* format,
                                                      ...);

// --- Sprites: things that move and are animated

typedef struct {
    sheet* cells;
    float x, y;              // the top left
    float speed_x, speed_y;  // pixels in a second
    int first, last;         // cells of the animation
    float rate;              // cells in a second
    float phase;
    bool flipped, hidden;
} sprite;

sprite make_sprite(sheet* cells, float x, float y);
// From cell `first` to cell `last` and again; goes on where it is if it is that one already.
void animate(sprite* thing, int first, int last, float rate);
// Moves and animates it for one update.
void update_sprite(sprite* thing);
void draw_sprite(sprite* thing);
// Whether two touch, cut in by `margin` pixels on each side.
bool sprites_touch(const sprite* a, const sprite* b, float margin);
bool boxes_touch(float x0, float y0, float width0, float height0, float x1, float y1, float width1,
                 float height1);

// --- Tile maps

enum {
    TILE_OPEN,   // stops nothing
    TILE_SOLID,  // stops everything
    TILE_LEDGE   // stops what falls onto it
};

typedef struct {
    sheet* tiles;
    int width, height;         // tiles
    unsigned char* cells;      // the tile of each place and 1; 0 is empty
    char* letters;             // what the rows say at each place
    unsigned char solid[256];  // TILE_... of each tile
} tile_map;

// A row a text; a letter's place in `letters` is its tile, and others are empty. Letters of `solid`
// stop what moves. The rows end with a null pointer.
tile_map make_map(sheet* tiles, const char* const* rows, const char* letters, const char* solid);
// The same with rows from a text file of the game. Without the file: a map of 0 by 0.
tile_map load_map(sheet* tiles, const char* name, const char* letters, const char* solid);
void free_map(tile_map* map);
// The letter that the rows have at a column and a row, ' ' outside of them: where a hero starts or
// a coin lies.
char letter_at(const tile_map* map, int column, int row);
// The tile at a column and a row, -1 empty.
int tile_at(const tile_map* map, int column, int row);
void set_tile(tile_map* map, int column, int row, int tile);
// Whether a solid tile is at a place in pixels; what lies outside of the map is solid at its sides
// alone.
bool solid_at(const tile_map* map, float x, float y);
void draw_map(const tile_map* map);

enum { HIT_LEFT = 1, HIT_RIGHT = 2, HIT_TOP = 4, HIT_BOTTOM = 8 };
// Moves a box by dx and dy until solid tiles stop it; the sides that were stopped.
int move_in_map(const tile_map* map, float* x, float* y, float width, float height, float dx,
                float dy);

// --- The camera: what lies at x, y of the world is drawn at the top left

void camera_at(float x, float y);
// Moves the camera towards having a place in the middle: a `part` of the way, 1 all of it.
void camera_follow(float x, float y, float part);
// Keeps the camera within a world of this size.
void camera_bounds(float width, float height);
// Shakes it for a time, by so many pixels at first.
void camera_shake(float pixels, float seconds);
float camera_x(void);
float camera_y(void);
// What follows is drawn without it, until the next draw.
void camera_off(void);
// What follows moves by a part of the camera's way, so that it seems to be far off: 0.5 half of it,
// 1 all of it again.
void camera_part(float part);

// --- Changes over time

typedef enum { EASE_NONE, EASE_IN, EASE_OUT, EASE_BOTH, EASE_BACK, EASE_BOUNCE, EASE_SPRING } ease;

// Where a change that has gone for a part, 0 to 1, of its time is, 0 to 1.
float eased(float part, ease kind);
// Brings a number to another value in so many seconds; a newer change of the same number replaces
// it.
void tween(float* number, float to, float seconds, ease kind);
bool is_tweening(const float* number);

// Calls a function after a time, or again and again. The timer, to be stopped with; 0: too many.
typedef void (*timer_function)(void);
int after(float seconds, timer_function call);
int every(float seconds, timer_function call);
void stop_timer(int timer);

// --- Chance

void random_seed(uint32_t seed);    // the same numbers in every run
int random_int(int low, int high);  // both included
float random_float(float low, float high);
bool chance(float part);  // true in so many of one: 0.25

// --- Sound and music, files of the game: one sound at a time

void play_sound(const char* name);
void play_music(const char* name, bool again);
void stop_music(void);

// --- Values that are there again in the next run

int saved_number(const char* name, int otherwise);
void save_number(const char* name, int number);
// The text holds until the next call.
const char* saved_text(const char* name, const char* otherwise);
void save_text(const char* name, const char* text);

// What the messages go to lies in the library; this takes it in.
int moxi_game_message(int message, int p1, int p2, int p3);
__attribute__((used)) static int (*const moxi_game_entry)(int, int, int, int) = moxi_game_message;

#ifdef __cplusplus
}
#endif

#endif
