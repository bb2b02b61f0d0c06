// The services as functions, included by moxi.h. Made from sys/services.def by `mxservices`; edit
// the table, not this file.
// clang-format off
#ifndef MOXI_SERVICES_H
#define MOXI_SERVICES_H

enum {
    MOXI_SYS_FILE_OPEN = 0x0000,  // open
    MOXI_SYS_FILE_AT_END = 0x0001,  // end of file
    MOXI_SYS_FILE_READ = 0x0002,  // read
    MOXI_SYS_FILE_WRITE = 0x0003,  // write
    MOXI_SYS_FILE_SEEK = 0x0004,  // seek
    MOXI_SYS_FILE_DELETE = 0x0005,  // delete file
    MOXI_SYS_MAKE_FOLDER = 0x0006,  // make folder
    MOXI_SYS_REMOVE_FOLDER = 0x0007,  // remove folder
    MOXI_SYS_FILE_CLOSE = 0x0008,  // close
    MOXI_SYS_FILE_SIZE = 0x0009,  // size
    MOXI_SYS_FILE_TIME = 0x000A,  // time
    MOXI_SYS_FIND_FIRST = 0x000B,  // find first
    MOXI_SYS_FIND_NEXT = 0x000C,  // find next
    MOXI_SYS_END_FIND = 0x000D,  // end find
    MOXI_SYS_FILE_WRITE_BASE64 = 0x000E,  // write base64
    MOXI_SYS_FILE_MOVE = 0x000F,  // move
    MOXI_SYS_TIMER = 0x0200,  // periodic timer
    MOXI_SYS_MILLISECONDS = 0x0201,  // milliseconds
    MOXI_SYS_DATE_TIME = 0x0202,  // date and time
    MOXI_SYS_APPEND_FORMAT = 0x0300,  // formatted append
    MOXI_SYS_COPY_STRING = 0x0301,  // copy string
    MOXI_SYS_APPEND_STRING = 0x0302,  // append string
    MOXI_SYS_LENGTH = 0x0303,  // length
    MOXI_SYS_COMPARE_STRINGS = 0x0304,  // compare strings
    MOXI_SYS_UPPER_CASE = 0x0305,  // upper-case
    MOXI_SYS_COPY_BYTES = 0x030A,  // copy bytes
    MOXI_SYS_MOVE_BYTES = 0x030B,  // move bytes
    MOXI_SYS_FILL_BYTES = 0x030C,  // fill bytes
    MOXI_SYS_COMPARE_BYTES = 0x030D,  // compare bytes
    MOXI_SYS_DEBUG_PRINT = 0x030E,  // debug print
    MOXI_SYS_POLYLINE = 0x0500,  // polyline
    MOXI_SYS_RECTANGLE = 0x0501,  // rectangle
    MOXI_SYS_LOAD_IMAGE = 0x0502,  // load image
    MOXI_SYS_BLIT = 0x0503,  // blit
    MOXI_SYS_FREE_BITMAP = 0x0504,  // free bitmap
    MOXI_SYS_SET_ALPHA = 0x0505,  // set alpha
    MOXI_SYS_GET_PIXEL = 0x0506,  // get pixel
    MOXI_SYS_BLEND_PIXEL = 0x0507,  // blend pixel
    MOXI_SYS_SCALED_BLIT = 0x0508,  // scaled blit
    MOXI_SYS_SAVE_IMAGE = 0x0509,  // save image
    MOXI_SYS_RGB_TO_HSV = 0x050A,  // RGB to HSV
    MOXI_SYS_HSV_TO_RGB = 0x050B,  // HSV to RGB
    MOXI_SYS_BITMAP_INFO = 0x050C,  // bitmap information
    MOXI_SYS_SET_CLIP = 0x050D,  // set clip
    MOXI_SYS_LINE_PATTERN = 0x050E,  // line pattern
    MOXI_SYS_ADJUST_COLOURS = 0x050F,  // adjust colours
    MOXI_SYS_DRAW_TEXT = 0x0510,  // draw text
    MOXI_SYS_HUE_SQUARE = 0x0511,  // hue square
    MOXI_SYS_ELLIPSE = 0x0512,  // ellipse
    MOXI_SYS_NEW_BITMAP = 0x0513,  // create bitmap
    MOXI_SYS_PLAY_SOUND = 0x0600,  // play a sound
    MOXI_SYS_PLAY_MUSIC = 0x0601,  // play or stop music
    MOXI_SYS_STOP_MUSIC = 0x0602,  // stop the music
    MOXI_SYS_MUSIC_PLAYING = 0x0603,  // is music playing?
    MOXI_SYS_SOUND_LENGTH = 0x0604,  // length of a sound
    MOXI_SYS_SHOW_MESSAGE = 0x0700,  // show message
    MOXI_SYS_LINE_END = 0x0701,  // line end
    MOXI_SYS_VISIBLE_SIZE = 0x0702,  // visible size
    MOXI_SYS_PEEK_KEY = 0x0703,  // peek at a key message
    MOXI_SYS_TAKE_POINTER = 0x0704,  // take the latest pointer message
    MOXI_SYS_READ_CLIPBOARD = 0x0705,  // read clipboard
    MOXI_SYS_WRITE_CLIPBOARD = 0x0706,  // write clipboard
    MOXI_SYS_NOTHING = 0x0707,  // nothing
    MOXI_SYS_GET_WINDOW = 0x0708,  // read window geometry
    MOXI_SYS_SET_WINDOW = 0x0709,  // set window geometry
    MOXI_SYS_WINDOWED_SIZE = 0x070A,  // windowed size
    MOXI_SYS_WINDOW_TITLE = 0x070B,  // set window title
    MOXI_SYS_DATA_FOLDER = 0x070C,  // data folder
    MOXI_SYS_BUNDLE_PATH = 0x070D,  // bundle path
    MOXI_SYS_VERSION = 0x070E,  // version
    MOXI_SYS_COMMAND_KEY_NAME = 0x070F,  // name of the command key
    MOXI_SYS_SET_CURSOR = 0x0710,  // set cursor
    MOXI_SYS_OPEN_WEB = 0x0711,  // open a web address
    MOXI_SYS_SCREEN_SIZE = 0x0712,  // screen size
    MOXI_SYS_HELD_BUTTONS = 0x0713,  // buttons
    MOXI_SYS_PATH_SEPARATOR = 0x0714,  // path separator
    MOXI_SYS_WAIT = 0x0715,  // wait
    MOXI_SYS_SETTINGS_LOAD = 0x0800,  // load
    MOXI_SYS_SETTINGS_SAVE = 0x0801,  // save
    MOXI_SYS_SETTINGS_DISCARD = 0x0802,  // discard
    MOXI_SYS_SETTINGS_SECTION = 0x0803,  // select section
    MOXI_SYS_SETTINGS_KEY = 0x0804,  // select key
    MOXI_SYS_SETTINGS_READ_NUMBER = 0x0805,  // read number
    MOXI_SYS_SETTINGS_READ_STRING = 0x0806,  // read string
    MOXI_SYS_SETTINGS_ADD_SECTION = 0x0807,  // add section
    MOXI_SYS_SETTINGS_WRITE_RAW = 0x0808,  // write raw value
    MOXI_SYS_SETTINGS_DELETE_SECTION = 0x0809,  // delete section
    MOXI_SYS_SETTINGS_DELETE_KEY = 0x080A,  // delete key
    MOXI_SYS_SETTINGS_NEXT_SECTION = 0x080B,  // next section name
    MOXI_SYS_SETTINGS_CLEAR = 0x080C,  // clear
    MOXI_SYS_SETTINGS_AT_END = 0x080D,  // at end of line
    MOXI_SYS_SETTINGS_APPEND_NUMBER = 0x080E,  // append number
    MOXI_SYS_SETTINGS_APPEND_STRING = 0x080F,  // append string
    MOXI_SYS_SETTINGS_READ_LINE = 0x0810,  // read raw line
    MOXI_SYS_ALLOC = 0x0900,  // allocate
    MOXI_SYS_FREE = 0x0901,  // free
    MOXI_SYS_LOCK = 0x0902,  // lock
    MOXI_SYS_UNLOCK = 0x0903,  // unlock
    MOXI_SYS_BLOCK_ADDRESS = 0x0904,  // address
};

// A service is inlined in every build: a lock that it takes belongs to the function that calls it.
#define MOXI_SERVICE static inline __attribute__((always_inline, unused))
#define MOXI_WORD(address) ((uint32_t)(uintptr_t)(address))

// Opens a file; NO_FILE when there is none. mode: FILE_...
MOXI_SERVICE moxi_file moxi_file_open(const char* name, uint32_t mode) {
    const uint32_t words[] = {MOXI_SYS_FILE_OPEN, MOXI_WORD(name), mode};
    return (uint32_t)moxi_sys(words);
}

// 1 when a read has hit the end since the last seek, 0 when not; 0xFFFFFFFF: a bad handle.
MOXI_SERVICE uint32_t moxi_file_at_end(moxi_file file) {
    const uint32_t words[] = {MOXI_SYS_FILE_AT_END, file};
    return (uint32_t)moxi_sys(words);
}

// Reads up to `count` bytes; how many arrived.
MOXI_SERVICE uint32_t moxi_file_read(moxi_file file, void* buffer, uint32_t count) {
    const uint32_t words[] = {MOXI_SYS_FILE_READ, file, MOXI_WORD(buffer), count};
    return (uint32_t)moxi_sys(words);
}

// Writes bytes; how many were written.
MOXI_SERVICE uint32_t moxi_file_write(moxi_file file, const void* data, uint32_t count) {
    const uint32_t words[] = {MOXI_SYS_FILE_WRITE, file, MOXI_WORD(data), count};
    return (uint32_t)moxi_sys(words);
}

// The new position, or 0xFFFFFFFF. The offset is unsigned; origin: SEEK_FROM_...
MOXI_SERVICE uint32_t moxi_file_seek(moxi_file file, uint32_t offset, uint32_t origin) {
    const uint32_t words[] = {MOXI_SYS_FILE_SEEK, file, offset, origin};
    return (uint32_t)moxi_sys(words);
}

// Deletes a file.
MOXI_SERVICE void moxi_file_delete(const char* name) {
    const uint32_t words[] = {MOXI_SYS_FILE_DELETE, MOXI_WORD(name)};
    moxi_sys(words);
}

// 0 when the folder is there afterwards, else 0xFFFFFFFF. Makes the last level alone.
MOXI_SERVICE uint32_t moxi_make_folder(const char* name) {
    const uint32_t words[] = {MOXI_SYS_MAKE_FOLDER, MOXI_WORD(name)};
    return (uint32_t)moxi_sys(words);
}

// Removes a folder that is empty.
MOXI_SERVICE void moxi_remove_folder(const char* name) {
    const uint32_t words[] = {MOXI_SYS_REMOVE_FOLDER, MOXI_WORD(name)};
    moxi_sys(words);
}

// Closes a file.
MOXI_SERVICE void moxi_file_close(moxi_file file) {
    const uint32_t words[] = {MOXI_SYS_FILE_CLOSE, file};
    moxi_sys(words);
}

// A file's size in bytes; 0xFFFFFFFF: no such file.
MOXI_SERVICE uint32_t moxi_file_size(const char* name) {
    const uint32_t words[] = {MOXI_SYS_FILE_SIZE, MOXI_WORD(name)};
    return (uint32_t)moxi_sys(words);
}

// When a file was changed, in seconds since 1970; 0xFFFFFFFF: no such file.
MOXI_SERVICE int64_t moxi_file_time(const char* name) {
    const uint32_t words[] = {MOXI_SYS_FILE_TIME, MOXI_WORD(name)};
    return moxi_sys(words);
}

// Begins a listing: 0 and a name of at most 1,023 bytes in `name`, or 0xFFFFFFFF. attribute:
// FILE_IS_FOLDER or 0; folder: 1 the data folder, 0 the resources; each may be a null pointer.
MOXI_SERVICE uint32_t moxi_find_first(const char* pattern, void* name, uint32_t* attribute,
                                      uint32_t* folder) {
    const uint32_t words[] = {MOXI_SYS_FIND_FIRST, MOXI_WORD(pattern), MOXI_WORD(name),
        MOXI_WORD(attribute), MOXI_WORD(folder)};
    return (uint32_t)moxi_sys(words);
}

// The next name of the listing, likewise.
MOXI_SERVICE uint32_t moxi_find_next(void* name, uint32_t* attribute, uint32_t* folder) {
    const uint32_t words[] = {MOXI_SYS_FIND_NEXT, MOXI_WORD(name), MOXI_WORD(attribute),
        MOXI_WORD(folder)};
    return (uint32_t)moxi_sys(words);
}

// Forgets the listing.
MOXI_SERVICE void moxi_end_find(void) {
    const uint32_t words[] = {MOXI_SYS_END_FIND};
    moxi_sys(words);
}

// Writes bytes as base64 text; how many characters were written.
MOXI_SERVICE uint32_t moxi_file_write_base64(moxi_file file, const void* data, int32_t count) {
    const uint32_t words[] = {MOXI_SYS_FILE_WRITE_BASE64, file, MOXI_WORD(data), (uint32_t)count};
    return (uint32_t)moxi_sys(words);
}

// Gives a file another name; nothing is ever replaced.
MOXI_SERVICE void moxi_file_move(const char* from, const char* to) {
    const uint32_t words[] = {MOXI_SYS_FILE_MOVE, MOXI_WORD(from), MOXI_WORD(to)};
    moxi_sys(words);
}

// Sends MSG_TICK every so many milliseconds; 0 stops it. A running timer keeps its period.
MOXI_SERVICE void moxi_timer(uint32_t milliseconds) {
    const uint32_t words[] = {MOXI_SYS_TIMER, milliseconds};
    moxi_sys(words);
}

// The low 32 bits of a steady clock.
MOXI_SERVICE uint32_t moxi_milliseconds(void) {
    const uint32_t words[] = {MOXI_SYS_MILLISECONDS};
    return (uint32_t)moxi_sys(words);
}

// Local date and time, "2024-03-07 09:05:41", into 20 bytes.
MOXI_SERVICE void moxi_date_time(void* buffer) {
    const uint32_t words[] = {MOXI_SYS_DATE_TIME, MOXI_WORD(buffer)};
    moxi_sys(words);
}

// Appends one value as printf does; how many characters. size: 4 a 32-bit number, 8 a 64-bit one, 1
// the address of a text.
MOXI_SERVICE uint32_t moxi_append_format(void* text, const char* format, uint32_t size,
                                         int64_t value) {
    const uint32_t words[] = {MOXI_SYS_APPEND_FORMAT, MOXI_WORD(text), MOXI_WORD(format), size,
        (uint32_t)value, (uint32_t)((uint64_t)value >> 32)};
    return (uint32_t)moxi_sys(words);
}

// Copies a text.
MOXI_SERVICE void moxi_copy_string(void* to, const char* from) {
    const uint32_t words[] = {MOXI_SYS_COPY_STRING, MOXI_WORD(to), MOXI_WORD(from)};
    moxi_sys(words);
}

// Appends a text.
MOXI_SERVICE void moxi_append_string(void* to, const char* from) {
    const uint32_t words[] = {MOXI_SYS_APPEND_STRING, MOXI_WORD(to), MOXI_WORD(from)};
    moxi_sys(words);
}

// Bytes before the NUL.
MOXI_SERVICE uint32_t moxi_length(const char* text) {
    const uint32_t words[] = {MOXI_SYS_LENGTH, MOXI_WORD(text)};
    return (uint32_t)moxi_sys(words);
}

// Negative, 0 or positive; bytes count as unsigned.
MOXI_SERVICE int32_t moxi_compare_strings(const char* a, const char* b) {
    const uint32_t words[] = {MOXI_SYS_COMPARE_STRINGS, MOXI_WORD(a), MOXI_WORD(b)};
    return (int32_t)moxi_sys(words);
}

// Puts a text in upper case, which can be longer than it was.
MOXI_SERVICE void moxi_upper_case(void* text) {
    const uint32_t words[] = {MOXI_SYS_UPPER_CASE, MOXI_WORD(text)};
    moxi_sys(words);
}

// Copies bytes.
MOXI_SERVICE void moxi_copy_bytes(void* to, const void* from, int32_t count) {
    const uint32_t words[] = {MOXI_SYS_COPY_BYTES, MOXI_WORD(to), MOXI_WORD(from), (uint32_t)count};
    moxi_sys(words);
}

// Copies bytes; the ranges may overlap.
MOXI_SERVICE void moxi_move_bytes(void* to, const void* from, int32_t count) {
    const uint32_t words[] = {MOXI_SYS_MOVE_BYTES, MOXI_WORD(to), MOXI_WORD(from), (uint32_t)count};
    moxi_sys(words);
}

// Sets bytes to the low 8 bits of `byte`.
MOXI_SERVICE void moxi_fill_bytes(void* to, uint32_t byte, int32_t count) {
    const uint32_t words[] = {MOXI_SYS_FILL_BYTES, MOXI_WORD(to), byte, (uint32_t)count};
    moxi_sys(words);
}

// Negative, 0 or positive; bytes count as unsigned.
MOXI_SERVICE int32_t moxi_compare_bytes(const void* a, const void* b, int32_t count) {
    const uint32_t words[] = {MOXI_SYS_COMPARE_BYTES, MOXI_WORD(a), MOXI_WORD(b), (uint32_t)count};
    return (int32_t)moxi_sys(words);
}

// Writes a line to the system log.
MOXI_SERVICE void moxi_debug_print(const char* text) {
    const uint32_t words[] = {MOXI_SYS_DEBUG_PRINT, MOXI_WORD(text)};
    moxi_sys(words);
}

// Draws lines from point to point, at least one point.
MOXI_SERVICE void moxi_polyline(moxi_bitmap bitmap, const moxi_point* points, uint32_t count,
                                moxi_colour colour) {
    const uint32_t words[] = {MOXI_SYS_POLYLINE, bitmap, MOXI_WORD(points), count, colour};
    moxi_sys(words);
}

// Draws a filled rectangle with a frame of one pixel; a colour of alpha 0 leaves either out.
MOXI_SERVICE void moxi_rectangle(moxi_bitmap bitmap, int32_t x, int32_t y, int32_t width,
                                 int32_t height, moxi_colour fill, moxi_colour frame) {
    const uint32_t words[] = {MOXI_SYS_RECTANGLE, bitmap, (uint32_t)x, (uint32_t)y, (uint32_t)width,
        (uint32_t)height, fill, frame};
    moxi_sys(words);
}

// A bitmap with the picture of a PNG or BMP file; 0 when there is no such image.
MOXI_SERVICE moxi_bitmap moxi_load_image(const char* name) {
    const uint32_t words[] = {MOXI_SYS_LOAD_IMAGE, MOXI_WORD(name)};
    return (uint32_t)moxi_sys(words);
}

// Copies a rectangle, by its alpha; side by side until `right` and in rows until `bottom`, where
// they are not 0.
MOXI_SERVICE void moxi_blit(moxi_bitmap to, int32_t x, int32_t y, moxi_bitmap from, int32_t from_x,
                            int32_t from_y, int32_t width, int32_t height, bool invert,
                            int32_t right, int32_t bottom) {
    const uint32_t words[] = {MOXI_SYS_BLIT, to, (uint32_t)x, (uint32_t)y, from, (uint32_t)from_x,
        (uint32_t)from_y, (uint32_t)width, (uint32_t)height, (uint32_t)invert, (uint32_t)right,
        (uint32_t)bottom};
    moxi_sys(words);
}

// Frees a bitmap and its pixels.
MOXI_SERVICE void moxi_free_bitmap(moxi_bitmap bitmap) {
    const uint32_t words[] = {MOXI_SYS_FREE_BITMAP, bitmap};
    moxi_sys(words);
}

// Gives pixels another alpha; how many changed. selector: ALPHA_OF_..., or a key colour.
MOXI_SERVICE int64_t moxi_set_alpha(moxi_bitmap bitmap, int32_t x, int32_t y, int32_t width,
                                    int32_t height, int64_t selector, uint32_t alpha) {
    const uint32_t words[] = {MOXI_SYS_SET_ALPHA, bitmap, (uint32_t)x, (uint32_t)y, (uint32_t)width,
        (uint32_t)height, (uint32_t)selector, (uint32_t)((uint64_t)selector >> 32), alpha};
    return moxi_sys(words);
}

// A pixel; 0 outside of the bitmap.
MOXI_SERVICE moxi_colour moxi_get_pixel(moxi_bitmap bitmap, int32_t x, int32_t y) {
    const uint32_t words[] = {MOXI_SYS_GET_PIXEL, bitmap, (uint32_t)x, (uint32_t)y};
    return (uint32_t)moxi_sys(words);
}

// Blends a colour onto a pixel.
MOXI_SERVICE void moxi_blend_pixel(moxi_bitmap bitmap, int32_t x, int32_t y, moxi_colour colour) {
    const uint32_t words[] = {MOXI_SYS_BLEND_PIXEL, bitmap, (uint32_t)x, (uint32_t)y, colour};
    moxi_sys(words);
}

// Copies a rectangle to one of another size; limits as for the plain copy.
MOXI_SERVICE void moxi_scaled_blit(moxi_bitmap to, int32_t x, int32_t y, int32_t width,
                                   int32_t height, moxi_bitmap from, int32_t from_x, int32_t from_y,
                                   int32_t from_width, int32_t from_height, int32_t right,
                                   int32_t bottom) {
    const uint32_t words[] = {MOXI_SYS_SCALED_BLIT, to, (uint32_t)x, (uint32_t)y, (uint32_t)width,
        (uint32_t)height, from, (uint32_t)from_x, (uint32_t)from_y, (uint32_t)from_width,
        (uint32_t)from_height, (uint32_t)right, (uint32_t)bottom};
    moxi_sys(words);
}

// Writes a bitmap to a file: 1, or 0 when it failed. A PNG file gets red and blue exchanged.
// format: IMAGE_...
MOXI_SERVICE uint32_t moxi_save_image(moxi_bitmap bitmap, const char* name, uint32_t format) {
    const uint32_t words[] = {MOXI_SYS_SAVE_IMAGE, bitmap, MOXI_WORD(name), format};
    return (uint32_t)moxi_sys(words);
}

// hue | saturation << 8 | value << 16 | alpha << 24; 252 hues.
MOXI_SERVICE uint32_t moxi_rgb_to_hsv(moxi_colour colour) {
    const uint32_t words[] = {MOXI_SYS_RGB_TO_HSV, colour};
    return (uint32_t)moxi_sys(words);
}

// The colour of such a word.
MOXI_SERVICE moxi_colour moxi_hsv_to_rgb(uint32_t hsv) {
    const uint32_t words[] = {MOXI_SYS_HSV_TO_RGB, hsv};
    return (uint32_t)moxi_sys(words);
}

// A bitmap's size and clip.
MOXI_SERVICE void moxi_bitmap_info(moxi_bitmap bitmap, moxi_info* info) {
    const uint32_t words[] = {MOXI_SYS_BITMAP_INFO, bitmap, MOXI_WORD(info)};
    moxi_sys(words);
}

// Limits drawing to a rectangle; the former one goes to `old`, if that is no null pointer.
MOXI_SERVICE void moxi_set_clip(moxi_bitmap bitmap, int32_t x, int32_t y, int32_t width,
                                int32_t height, moxi_area* old) {
    const uint32_t words[] = {MOXI_SYS_SET_CLIP, bitmap, (uint32_t)x, (uint32_t)y, (uint32_t)width,
        (uint32_t)height, MOXI_WORD(old)};
    moxi_sys(words);
}

// 32 bits that dash lines and frames; the former ones.
MOXI_SERVICE uint32_t moxi_line_pattern(uint32_t pattern) {
    const uint32_t words[] = {MOXI_SYS_LINE_PATTERN, pattern};
    return (uint32_t)moxi_sys(words);
}

// Changes hue, saturation, brightness and contrast; a hue or saturation of -1 stays.
MOXI_SERVICE void moxi_adjust_colours(moxi_bitmap bitmap, int32_t x, int32_t y, int32_t width,
                                      int32_t height, int32_t hue, int32_t saturation,
                                      int32_t brightness, int32_t contrast) {
    const uint32_t words[] = {MOXI_SYS_ADJUST_COLOURS, bitmap, (uint32_t)x, (uint32_t)y,
        (uint32_t)width, (uint32_t)height, (uint32_t)hue, (uint32_t)saturation,
        (uint32_t)brightness, (uint32_t)contrast};
    moxi_sys(words);
}

// Draws a line of text as high as its box: the width drawn << 16 | the bytes used; 0 when nothing
// was drawn. style: TEXT_...
MOXI_SERVICE uint32_t moxi_draw_text(moxi_bitmap bitmap, const char* text, int32_t x, int32_t y,
                                     int32_t width, int32_t height, uint32_t style,
                                     moxi_colour background, moxi_colour colour) {
    const uint32_t words[] = {MOXI_SYS_DRAW_TEXT, bitmap, MOXI_WORD(text), (uint32_t)x, (uint32_t)y,
        (uint32_t)width, (uint32_t)height, style, background, colour};
    return (uint32_t)moxi_sys(words);
}

// Paints the saturations and values of a hue; a negative size turns it round.
MOXI_SERVICE void moxi_hue_square(moxi_bitmap bitmap, int32_t x, int32_t y, int32_t width,
                                  int32_t height, uint32_t hue) {
    const uint32_t words[] = {MOXI_SYS_HUE_SQUARE, bitmap, (uint32_t)x, (uint32_t)y,
        (uint32_t)width, (uint32_t)height, hue};
    moxi_sys(words);
}

// Draws a filled ellipse with an outline; the colours have red and blue exchanged.
MOXI_SERVICE void moxi_ellipse(moxi_bitmap bitmap, int32_t x, int32_t y, int32_t width,
                               int32_t height, moxi_colour fill, moxi_colour frame) {
    const uint32_t words[] = {MOXI_SYS_ELLIPSE, bitmap, (uint32_t)x, (uint32_t)y, (uint32_t)width,
        (uint32_t)height, fill, frame};
    moxi_sys(words);
}

// A bitmap; its pixels are whatever the heap held.
MOXI_SERVICE moxi_bitmap moxi_new_bitmap(uint32_t width, uint32_t height) {
    const uint32_t words[] = {MOXI_SYS_NEW_BITMAP, width, height};
    return (uint32_t)moxi_sys(words);
}

// Plays a WAV file of the resources.
MOXI_SERVICE void moxi_play_sound(const char* name) {
    const uint32_t words[] = {MOXI_SYS_PLAY_SOUND, MOXI_WORD(name)};
    moxi_sys(words);
}

// Plays a MIDI file of the resources; MSG_MUSICDONE tells its end. In place of a name: MUSIC_AGAIN,
// MUSIC_OFF.
MOXI_SERVICE void moxi_play_music(const char* name) {
    const uint32_t words[] = {MOXI_SYS_PLAY_MUSIC, MOXI_WORD(name)};
    moxi_sys(words);
}

// Stops the music.
MOXI_SERVICE void moxi_stop_music(void) {
    const uint32_t words[] = {MOXI_SYS_STOP_MUSIC};
    moxi_sys(words);
}

// 1 or 0.
MOXI_SERVICE bool moxi_music_playing(void) {
    const uint32_t words[] = {MOXI_SYS_MUSIC_PLAYING};
    return (uint32_t)moxi_sys(words) != 0;
}

// Milliseconds of a WAV file and a margin of 200; 0 when it cannot be told.
MOXI_SERVICE uint32_t moxi_sound_length(const char* name) {
    const uint32_t words[] = {MOXI_SYS_SOUND_LENGTH, MOXI_WORD(name)};
    return (uint32_t)moxi_sys(words);
}

// Shows a text in a box and goes on when it is dismissed.
MOXI_SERVICE void moxi_show_message(const char* text) {
    const uint32_t words[] = {MOXI_SYS_SHOW_MESSAGE, MOXI_WORD(text)};
    moxi_sys(words);
}

// CR, LF and NUL; 2.
MOXI_SERVICE uint32_t moxi_line_end(void* buffer, int32_t size) {
    const uint32_t words[] = {MOXI_SYS_LINE_END, MOXI_WORD(buffer), (uint32_t)size};
    return (uint32_t)moxi_sys(words);
}

// What windows may cover of the main screen: the width, and above it the height.
MOXI_SERVICE moxi_size moxi_visible_size(void) {
    const uint32_t words[] = {MOXI_SYS_VISIBLE_SIZE};
    const uint64_t size = (uint64_t)moxi_sys(words);
    const moxi_size result = {(int)(uint32_t)size, (int)(size >> 32)};
    return result;
}

// The next message of a key or button that waits: 1 found, 0 not. A `command` other than 0 takes it
// off the queue.
MOXI_SERVICE bool moxi_peek_key(moxi_event* event) {
    const uint32_t words[] = {MOXI_SYS_PEEK_KEY, MOXI_WORD(event)};
    return (uint32_t)moxi_sys(words) != 0;
}

// Takes the latest pointer message off the queue: 1 found, 0 not.
MOXI_SERVICE bool moxi_take_pointer(moxi_event* event) {
    const uint32_t words[] = {MOXI_SYS_TAKE_POINTER, MOXI_WORD(event)};
    return (uint32_t)moxi_sys(words) != 0;
}

// The clipboard's text, cut to `size` - 1 bytes.
MOXI_SERVICE void moxi_read_clipboard(void* buffer, uint32_t size) {
    const uint32_t words[] = {MOXI_SYS_READ_CLIPBOARD, MOXI_WORD(buffer), size};
    moxi_sys(words);
}

// Puts a text on the clipboard.
MOXI_SERVICE void moxi_write_clipboard(const char* text) {
    const uint32_t words[] = {MOXI_SYS_WRITE_CLIPBOARD, MOXI_WORD(text)};
    moxi_sys(words);
}

// Nothing.
MOXI_SERVICE void moxi_nothing(uint32_t any) {
    const uint32_t words[] = {MOXI_SYS_NOTHING, any};
    moxi_sys(words);
}

// Where the window is.
MOXI_SERVICE void moxi_get_window(moxi_window* window) {
    const uint32_t words[] = {MOXI_SYS_GET_WINDOW, MOXI_WORD(window)};
    moxi_sys(words);
}

// Asks for another place or size.
MOXI_SERVICE void moxi_set_window(moxi_window* window) {
    const uint32_t words[] = {MOXI_SYS_SET_WINDOW, MOXI_WORD(window)};
    moxi_sys(words);
}

// The window's size when it is not in full screen: the width, and above it the height.
MOXI_SERVICE moxi_size moxi_windowed_size(void) {
    const uint32_t words[] = {MOXI_SYS_WINDOWED_SIZE};
    const uint64_t size = (uint64_t)moxi_sys(words);
    const moxi_size result = {(int)(uint32_t)size, (int)(size >> 32)};
    return result;
}

// Sets the window's title.
MOXI_SERVICE void moxi_window_title(const char* title) {
    const uint32_t words[] = {MOXI_SYS_WINDOW_TITLE, MOXI_WORD(title)};
    moxi_sys(words);
}

// The path of the data folder, with a / at its end, into PATH_SIZE bytes.
MOXI_SERVICE void moxi_data_folder(void* buffer) {
    const uint32_t words[] = {MOXI_SYS_DATA_FOLDER, MOXI_WORD(buffer)};
    moxi_sys(words);
}

// The path of the game, without a / at its end, into PATH_SIZE bytes.
MOXI_SERVICE void moxi_bundle_path(void* buffer) {
    const uint32_t words[] = {MOXI_SYS_BUNDLE_PATH, MOXI_WORD(buffer)};
    moxi_sys(words);
}

// The host's version and the system's as a text; a number to compare.
MOXI_SERVICE uint32_t moxi_version(void* buffer) {
    const uint32_t words[] = {MOXI_SYS_VERSION, MOXI_WORD(buffer)};
    return (uint32_t)moxi_sys(words);
}

// "Cmd", into 4 bytes.
MOXI_SERVICE void moxi_command_key_name(void* buffer) {
    const uint32_t words[] = {MOXI_SYS_COMMAND_KEY_NAME, MOXI_WORD(buffer)};
    moxi_sys(words);
}

// CURSOR_HAND, or anything else for the arrow.
MOXI_SERVICE void moxi_set_cursor(uint32_t cursor) {
    const uint32_t words[] = {MOXI_SYS_SET_CURSOR, cursor};
    moxi_sys(words);
}

// Opens a web address.
MOXI_SERVICE void moxi_open_web(const char* address) {
    const uint32_t words[] = {MOXI_SYS_OPEN_WEB, MOXI_WORD(address)};
    moxi_sys(words);
}

// The screen bitmap's size: the width, and above it the height.
MOXI_SERVICE moxi_size moxi_screen_size(void) {
    const uint32_t words[] = {MOXI_SYS_SCREEN_SIZE};
    const uint64_t size = (uint64_t)moxi_sys(words);
    const moxi_size result = {(int)(uint32_t)size, (int)(size >> 32)};
    return result;
}

// The held buttons and modifier keys, HELD_..., under the mask.
MOXI_SERVICE uint32_t moxi_held_buttons(uint32_t mask) {
    const uint32_t words[] = {MOXI_SYS_HELD_BUTTONS, mask};
    return (uint32_t)moxi_sys(words);
}

// "/", into 2 bytes.
MOXI_SERVICE void moxi_path_separator(void* buffer) {
    const uint32_t words[] = {MOXI_SYS_PATH_SEPARATOR, MOXI_WORD(buffer)};
    moxi_sys(words);
}

// Shows what was drawn and waits steps of 10 ms. Input stays off until a wait of 0.
MOXI_SERVICE void moxi_wait(uint32_t steps) {
    const uint32_t words[] = {MOXI_SYS_WAIT, steps};
    moxi_sys(words);
}

// Reads a file: 1; 0 when there is none, and the settings are empty.
MOXI_SERVICE bool moxi_settings_load(const char* name) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_LOAD, MOXI_WORD(name)};
    return (uint32_t)moxi_sys(words) != 0;
}

// Writes the file: 1, or 0 when it failed.
MOXI_SERVICE bool moxi_settings_save(const char* name) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_SAVE, MOXI_WORD(name)};
    return (uint32_t)moxi_sys(words) != 0;
}

// Forgets all; only a load makes settings again.
MOXI_SERVICE void moxi_settings_discard(void) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_DISCARD};
    moxi_sys(words);
}

// Makes a section the current one: found?
MOXI_SERVICE bool moxi_settings_section(const char* name) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_SECTION, MOXI_WORD(name)};
    return (uint32_t)moxi_sys(words) != 0;
}

// Goes to a key's values: found?
MOXI_SERVICE bool moxi_settings_key(const char* key) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_KEY, MOXI_WORD(key)};
    return (uint32_t)moxi_sys(words) != 0;
}

// The line's next value: was there one?
MOXI_SERVICE bool moxi_settings_read_number(uint32_t* number) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_READ_NUMBER, MOXI_WORD(number)};
    return (uint32_t)moxi_sys(words) != 0;
}

// The line's next text: its length; 0 no text; -1 too long or broken.
MOXI_SERVICE int32_t moxi_settings_read_string(void* buffer, uint32_t size) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_READ_STRING, MOXI_WORD(buffer), size};
    return (int32_t)moxi_sys(words);
}

// Makes a section if it is not there, and makes it the current one: is it there?
MOXI_SERVICE bool moxi_settings_add_section(const char* name) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_ADD_SECTION, MOXI_WORD(name)};
    return (uint32_t)moxi_sys(words) != 0;
}

// Makes a key's line of this text, in place of the old one.
MOXI_SERVICE bool moxi_settings_write_raw(const char* key, const char* text) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_WRITE_RAW, MOXI_WORD(key), MOXI_WORD(text)};
    return (uint32_t)moxi_sys(words) != 0;
}

// Deletes the current section; the first one becomes current.
MOXI_SERVICE void moxi_settings_delete_section(void) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_DELETE_SECTION};
    moxi_sys(words);
}

// Deletes a key's line: was it there?
MOXI_SERVICE bool moxi_settings_delete_key(const char* key) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_DELETE_KEY, MOXI_WORD(key)};
    return (uint32_t)moxi_sys(words) != 0;
}

// Goes to the next section: its name's length; 0 no more; -1 too long.
MOXI_SERVICE int32_t moxi_settings_next_section(void* buffer, uint32_t size) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_NEXT_SECTION, MOXI_WORD(buffer), size};
    return (int32_t)moxi_sys(words);
}

// Empties the settings.
MOXI_SERVICE void moxi_settings_clear(void) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_CLEAR};
    moxi_sys(words);
}

// 1 when no value follows, else 0.
MOXI_SERVICE bool moxi_settings_at_end(void) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_AT_END};
    return (uint32_t)moxi_sys(words) != 0;
}

// A further value of the key's line, which is made if need be. style: 1 octal, 2 hexadecimal, other
// decimal.
MOXI_SERVICE bool moxi_settings_append_number(const char* key, int32_t number, uint32_t style) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_APPEND_NUMBER, MOXI_WORD(key), (uint32_t)number,
        style};
    return (uint32_t)moxi_sys(words) != 0;
}

// A further text of the key's line; make the line first, with a number or an empty raw value.
MOXI_SERVICE bool moxi_settings_append_string(const char* key, const char* text) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_APPEND_STRING, MOXI_WORD(key), MOXI_WORD(text)};
    return (uint32_t)moxi_sys(words) != 0;
}

// The rest of the line: its length; -1 cut or without a line end.
MOXI_SERVICE int32_t moxi_settings_read_line(void* buffer, uint32_t size) {
    const uint32_t words[] = {MOXI_SYS_SETTINGS_READ_LINE, MOXI_WORD(buffer), size};
    return (int32_t)moxi_sys(words);
}

// A block of so many bytes; without room the program ends.
MOXI_SERVICE moxi_block moxi_alloc(uint32_t bytes) {
    const uint32_t words[] = {MOXI_SYS_ALLOC, bytes};
    return (uint32_t)moxi_sys(words);
}

// Frees a block.
MOXI_SERVICE void moxi_free(moxi_block block) {
    const uint32_t words[] = {MOXI_SYS_FREE, block};
    moxi_sys(words);
}

// A block's address, with a lock that holds until UNLOCK or the end of the routine.
MOXI_SERVICE void* moxi_lock(moxi_block block) {
    const uint32_t words[] = {MOXI_SYS_LOCK, block};
    return (void*)(uintptr_t)(uint32_t)moxi_sys(words);
}

// Takes a lock back.
MOXI_SERVICE void moxi_unlock(moxi_block block) {
    const uint32_t words[] = {MOXI_SYS_UNLOCK, block};
    moxi_sys(words);
}

// A block's address, which holds until the message ends.
MOXI_SERVICE void* moxi_block_address(moxi_block block) {
    const uint32_t words[] = {MOXI_SYS_BLOCK_ADDRESS, block};
    return (void*)(uintptr_t)(uint32_t)moxi_sys(words);
}

#endif
