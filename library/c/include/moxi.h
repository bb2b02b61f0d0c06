// The machine and its services, for C11 and C++. Every service is an inline function of
// moxi/services.h; here stand the types and constants that go with them, and a few helpers.
//
// A program exports moxi_message, which is called for each message, or it has a main, which runs in
// the first message and then ends the program. moxi/game.h does the first of these for a game.
#ifndef MOXI_H
#define MOXI_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// --- The machine

// Runs the service of a parameter block: its command word, then its arguments. All 64 bits of the
// result register; most services leave a result in the low 32.
#ifdef __wasm__
__attribute__((import_module("moxi"), import_name("sys")))
#endif
int64_t
moxi_sys(const void* words);

// Ends the program at once; the process exits with status 0.
#ifdef __wasm__
__attribute__((import_module("moxi"), import_name("stop")))
#endif
__attribute__((noreturn)) void
moxi_stop(void);

// What a program that lives on messages defines. Its low byte is the answer to the message.
#ifdef __wasm__
__attribute__((export_name("moxi_message")))
#endif
int moxi_message(int message, int p1, int p2, int p3);

// --- Types

typedef uint32_t moxi_file;    // handle of a file
typedef uint32_t moxi_bitmap;  // handle of a bitmap
typedef uint32_t moxi_block;   // handle of a block of the machine's own heap
typedef uint32_t moxi_colour;  // bytes R, G, B, A

typedef struct {
    int width, height;
} moxi_size;

typedef struct {
    int32_t x, y;
} moxi_point;

typedef struct {
    int32_t x, y, width, height;
} moxi_area;

typedef struct {
    int32_t width, height;
    moxi_area clip;
} moxi_info;

// Positions of windows count from the bottom left of the main screen.
typedef struct {
    int32_t x, y, width, height;
    int32_t full_screen;  // 0 or 1
} moxi_window;

typedef struct {
    uint32_t command, p1, p2, p3;
} moxi_event;

// --- Messages

enum {
    MOXI_MSG_START1 = 1,    // start-up, before the window's size is known
    MOXI_MSG_START2 = 2,    // start-up, right after it
    MOXI_MSG_CLOSE = 3,     // may the window be closed? the answer is the result
    MOXI_MSG_END = 4,       // the program ends
    MOXI_MSG_MINIMIZE = 7,  // p1: 1 minimized, 0 restored
    MOXI_MSG_MOVE = 8,      // p1, p2: the window's position
    MOXI_MSG_SIZE = 9,  // p1, p2: width and height of the view; p3: 0, or 2 and 3 for full screen
    MOXI_MSG_MUSICDONE = 10,
    MOXI_MSG_TICK = 11,
    MOXI_MSG_DOWN = 12,  // key: p1 code, p2 1; button: p1 button, p2 held buttons, p3 y << 16 | x
    MOXI_MSG_UP = 13,    // likewise
    MOXI_MSG_CHAR = 14,  // p1, p2: up to eight bytes of typed text
    MOXI_MSG_POINTER = 15,  // p1, p2: x and y; p3: held buttons
    MOXI_MSG_PRESENTED = 16,
    MOXI_MSG_LAST = 16
};

// The position of a button, from p3 of its message.
#define MOXI_POSITION_X(p3) ((int)(int16_t)(uint16_t)((uint32_t)(p3)&0xFFFF))
#define MOXI_POSITION_Y(p3) ((int)(int16_t)(uint16_t)((uint32_t)(p3) >> 16))

// --- Key codes; letters and digits are their upper-case characters

enum {
    MOXI_KEY_BACKSPACE = 8,
    MOXI_KEY_TAB = 9,
    MOXI_KEY_RETURN = 13,  // Enter of the keypad, too
    MOXI_KEY_SHIFT = 16,   // the modifier keys come with p2 = 0
    MOXI_KEY_COMMAND = 17,
    MOXI_KEY_CONTROL = 17,  // the code of both
    MOXI_KEY_OPTION = 18,
    MOXI_KEY_CAPS_LOCK = 20,
    MOXI_KEY_ESCAPE = 27,
    MOXI_KEY_SPACE = 32,
    MOXI_KEY_PAGE_UP = 33,
    MOXI_KEY_PAGE_DOWN = 34,
    MOXI_KEY_END = 35,
    MOXI_KEY_HOME = 36,
    MOXI_KEY_LEFT = 37,
    MOXI_KEY_UP = 38,
    MOXI_KEY_RIGHT = 39,
    MOXI_KEY_DOWN = 40,
    MOXI_KEY_INSERT = 45,
    MOXI_KEY_DELETE = 46,
    MOXI_KEY_PAD_0 = 96,  // the keypad's digits are MOXI_KEY_PAD_0 + 0..9
    MOXI_KEY_PAD_9 = 105,
    MOXI_KEY_PAD_TIMES = 106,
    MOXI_KEY_PAD_PLUS = 107,
    MOXI_KEY_PAD_MINUS = 109,
    MOXI_KEY_PAD_POINT = 110,
    MOXI_KEY_PAD_DIVIDE = 111,
    MOXI_KEY_F1 = 112,  // F2 is MOXI_KEY_F1 + 1, and so on
    MOXI_KEY_F12 = 123,
    MOXI_KEY_NUM_LOCK = 144,
    MOXI_KEY_SEMICOLON = 186,
    MOXI_KEY_EQUALS = 187,
    MOXI_KEY_COMMA = 188,
    MOXI_KEY_MINUS = 189,
    MOXI_KEY_PERIOD = 190,
    MOXI_KEY_SLASH = 191,
    MOXI_KEY_BACKQUOTE = 192,
    MOXI_KEY_OPEN = 219,  // [
    MOXI_KEY_BACKSLASH = 220,
    MOXI_KEY_CLOSE = 221,  // ]
    MOXI_KEY_QUOTE = 222
};

// --- Buttons: p1 of MOXI_MSG_DOWN and MOXI_MSG_UP. No key has a code of 1, 2 or 4.

enum {
    MOXI_BUTTON_LEFT = 1,
    MOXI_BUTTON_RIGHT = 2,
    MOXI_BUTTON_MIDDLE = 4,
    MOXI_BUTTON_FOURTH = 0x8001,
    MOXI_BUTTON_OTHER = 0x8002,
    MOXI_WHEEL = 0x8003,  // p2: 1 or -1
    MOXI_WHEEL_SIDEWAYS = 0x8004
};

// What is held: p2 of a button's message, p3 of a pointer's, moxi_held_buttons.
enum {
    MOXI_HELD_LEFT = 1,
    MOXI_HELD_RIGHT = 2,
    MOXI_HELD_SHIFT = 4,
    MOXI_HELD_COMMAND = 8,
    MOXI_HELD_MIDDLE = 0x10,
    MOXI_HELD_FOURTH = 0x20,
    MOXI_HELD_OTHER = 0x40,
    MOXI_HELD_OPTION = 0x8000
};

// --- Files

enum {
    MOXI_FILE_FOR_READING = 0x8000,   // in the data folder or the resources
    MOXI_FILE_FOR_CHANGING = 0x8002,  // in the data folder; it exists
    MOXI_FILE_NEW = 0x8302,           // in the data folder; made or emptied
    MOXI_SEEK_FROM_START = 0,
    MOXI_SEEK_FROM_HERE = 1,
    MOXI_SEEK_FROM_END = 2,
    MOXI_FILE_IS_FOLDER = 16,
    MOXI_PATH_SIZE = 1024
};
#define MOXI_NO_FILE ((moxi_file)0xFFFFFFFFu)  // what moxi_file_open gives when there is none

// --- Graphics

#define MOXI_SCREEN ((moxi_bitmap)0)                 // the bitmap that the window shows
#define MOXI_TEXT_BITMAP ((moxi_bitmap)0xFFFFFFFEu)  // a scratch surface of the text service
#define MOXI_NO_FILL ((moxi_colour)0)
#define MOXI_NO_FRAME ((moxi_colour)0)
#define MOXI_NO_BACKGROUND ((moxi_colour)0)  // text lies on what is there
#define MOXI_RGBA(red, green, blue, alpha)                                                     \
    ((moxi_colour)((uint32_t)(alpha) << 24 | (uint32_t)(blue) << 16 | (uint32_t)(green) << 8 | \
                   (uint32_t)(red)))
#define MOXI_RGB(red, green, blue) MOXI_RGBA(red, green, blue, 255)
#define MOXI_BLACK ((moxi_colour)0xFF000000u)
#define MOXI_WHITE ((moxi_colour)0xFFFFFFFFu)

// Bits of the style of moxi_draw_text; without one a line of Helvetica, to the left.
enum {
    MOXI_TEXT_PLAIN = 0,
    MOXI_TEXT_CENTRED = 1 << 17,
    MOXI_TEXT_RIGHT = 1 << 18,
    MOXI_TEXT_COURIER = 1 << 21,
    MOXI_TEXT_BOLD = 1 << 22,
    MOXI_TEXT_TIMES = 1 << 24,
    MOXI_TEXT_ITALIC = 1 << 27,
    MOXI_TEXT_UNDERLINE = 1 << 28,
    MOXI_TEXT_CUT = 1 << 29,  // a text that is too wide ends at a character
    MOXI_TEXT_WRAP = 1 << 30  // after a space
};
#define MOXI_TEXT_MEASURE 0x80000000u  // nothing is drawn

enum {
    MOXI_ALPHA_OF_ALL = -1,      // selectors of moxi_set_alpha: every pixel
    MOXI_ALPHA_OF_VISIBLE = -2,  // those of alpha 1..255
    MOXI_ALPHA_OF_OPAQUE = -3,   // those of alpha 255
    MOXI_IMAGE_BMP = 0,          // formats of moxi_save_image
    MOXI_IMAGE_PNG = 1,
    MOXI_CURSOR_ARROW = 0,
    MOXI_CURSOR_HAND = 2
};

// --- Music: in place of the name of a piece

#define MOXI_MUSIC_AGAIN ((const char*)(uintptr_t)0xFFFFFFFEu)  // the last piece, from its start
#define MOXI_MUSIC_OFF ((const char*)(uintptr_t)0xFFFFFFFFu)

#include "moxi/services.h"

// --- Helpers

// The pixels of a bitmap that the program made or loaded, as an array of C. They stay where they
// are until moxi_unlock_pixels, and at the longest until the message ends.
typedef struct {
    moxi_colour* pixels;  // row by row, the top one first
    int width, height;
    int stride;  // pixels from one row to the next
    moxi_bitmap bitmap;
} moxi_pixels;

MOXI_SERVICE moxi_pixels moxi_lock_pixels(moxi_bitmap bitmap) {
    const uint32_t* const record = (const uint32_t*)moxi_lock((moxi_block)bitmap);
    moxi_pixels pixels;
    pixels.width = (int)record[0];
    pixels.height = (int)record[1];
    pixels.stride = (int)(record[2] / sizeof(moxi_colour));
    pixels.pixels = (moxi_colour*)moxi_lock((moxi_block)record[7]);
    pixels.bitmap = bitmap;
    return pixels;
}

MOXI_SERVICE void moxi_unlock_pixels(moxi_pixels pixels) {
    const uint32_t* const record = (const uint32_t*)moxi_block_address((moxi_block)pixels.bitmap);
    moxi_unlock((moxi_block)record[7]);
    moxi_unlock((moxi_block)pixels.bitmap);
}

// Runs the statement or block behind it with `pixels` locked, once:
//     MOXI_WITH_PIXELS(dots, bitmap) dots.pixels[0] = MOXI_WHITE;
// Leave it by its end, not by break, return or goto.
#define MOXI_WITH_PIXELS(name, bitmap)                                               \
    for (moxi_pixels name = moxi_lock_pixels(bitmap); name.pixels != MOXI_NO_PIXELS; \
         moxi_unlock_pixels(name), name.pixels = MOXI_NO_PIXELS)
#define MOXI_NO_PIXELS ((moxi_colour*)0)

// Likewise with a block of the machine's heap: `name` is a pointer to `type`.
#define MOXI_WITH_BLOCK(type, name, block)                       \
    for (type* name = (type*)moxi_lock(block); name != (type*)0; \
         moxi_unlock(block), name = (type*)0)

// The colour as moxi_ellipse takes it, with red and blue exchanged.
MOXI_SERVICE moxi_colour moxi_ellipse_colour(moxi_colour colour) {
    return (colour & 0xFF00FF00u) | (colour & 0xFFu) << 16 | (colour >> 16 & 0xFFu);
}

// One value appended to a text, as printf does it: %d %u %x %c, %lld, %s.
MOXI_SERVICE uint32_t moxi_append_number(char* text, const char* format, int32_t value) {
    return moxi_append_format(text, format, 4, value);
}

MOXI_SERVICE uint32_t moxi_append_wide(char* text, const char* format, int64_t value) {
    return moxi_append_format(text, format, 8, value);
}

MOXI_SERVICE uint32_t moxi_append_text(char* text, const char* format, const char* value) {
    return moxi_append_format(text, format, 1, (int64_t)(uintptr_t)value);
}

// The next random number of a state, which may start as anything.
MOXI_SERVICE uint32_t moxi_random(uint64_t* state) {
    *state = *state * 6364136223846793005u + 1442695040888963407u;
    const uint32_t mixed = (uint32_t)((*state >> 45 ^ *state) >> 27);
    const uint32_t turn = (uint32_t)(*state >> 59);
    return mixed >> turn | mixed << (-turn & 31);
}

#ifdef __cplusplus
}
#endif

#endif
