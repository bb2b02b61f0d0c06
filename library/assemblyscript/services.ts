// The services as functions. Made from sys/services.def by `mxservices assemblyscript`; edit the
// table, not this file. Texts are addresses of UTF-8 that ends with a NUL: `text("...")` of moxi.ts.

// @ts-ignore: decorator
@external("moxi", "sys")
declare function sys(words: usize): i64;

const words = memory.data(64, 8);

/** Opens a file; NO_FILE when there is none. mode: FILE_... */
export function file_open(name: usize, mode: u32): u32 {
  store<u32>(words, 0x0000);
  store<u32>(words, <u32>name, 4);
  store<u32>(words, <u32>mode, 8);
  return <u32><u32>sys(words);
}

/** 1 when a read has hit the end since the last seek, 0 when not; 0xFFFFFFFF: a bad handle. */
export function file_at_end(file: u32): u32 {
  store<u32>(words, 0x0001);
  store<u32>(words, <u32>file, 4);
  return <u32><u32>sys(words);
}

/** Reads up to `count` bytes; how many arrived. */
export function file_read(file: u32, buffer: usize, count: u32): u32 {
  store<u32>(words, 0x0002);
  store<u32>(words, <u32>file, 4);
  store<u32>(words, <u32>buffer, 8);
  store<u32>(words, <u32>count, 12);
  return <u32><u32>sys(words);
}

/** Writes bytes; how many were written. */
export function file_write(file: u32, data: usize, count: u32): u32 {
  store<u32>(words, 0x0003);
  store<u32>(words, <u32>file, 4);
  store<u32>(words, <u32>data, 8);
  store<u32>(words, <u32>count, 12);
  return <u32><u32>sys(words);
}

/** The new position, or 0xFFFFFFFF. The offset is unsigned; origin: SEEK_FROM_... */
export function file_seek(file: u32, offset: u32, origin: u32): u32 {
  store<u32>(words, 0x0004);
  store<u32>(words, <u32>file, 4);
  store<u32>(words, <u32>offset, 8);
  store<u32>(words, <u32>origin, 12);
  return <u32><u32>sys(words);
}

/** Deletes a file. */
export function file_delete(name: usize): void {
  store<u32>(words, 0x0005);
  store<u32>(words, <u32>name, 4);
  sys(words);
}

/** 0 when the folder is there afterwards, else 0xFFFFFFFF. Makes the last level alone. */
export function make_folder(name: usize): u32 {
  store<u32>(words, 0x0006);
  store<u32>(words, <u32>name, 4);
  return <u32><u32>sys(words);
}

/** Removes a folder that is empty. */
export function remove_folder(name: usize): void {
  store<u32>(words, 0x0007);
  store<u32>(words, <u32>name, 4);
  sys(words);
}

/** Closes a file. */
export function file_close(file: u32): void {
  store<u32>(words, 0x0008);
  store<u32>(words, <u32>file, 4);
  sys(words);
}

/** A file's size in bytes; 0xFFFFFFFF: no such file. */
export function file_size(name: usize): u32 {
  store<u32>(words, 0x0009);
  store<u32>(words, <u32>name, 4);
  return <u32><u32>sys(words);
}

/** When a file was changed, in seconds since 1970; 0xFFFFFFFF: no such file. */
export function file_time(name: usize): i64 {
  store<u32>(words, 0x000A);
  store<u32>(words, <u32>name, 4);
  return sys(words);
}

/** Begins a listing: 0 and a name of at most 1,023 bytes in `name`, or 0xFFFFFFFF. attribute: FILE_IS_FOLDER or 0; folder: 1 the data folder, 0 the resources; each may be a null pointer. */
export function find_first(pattern: usize, name: usize, attribute: usize, folder: usize): u32 {
  store<u32>(words, 0x000B);
  store<u32>(words, <u32>pattern, 4);
  store<u32>(words, <u32>name, 8);
  store<u32>(words, <u32>attribute, 12);
  store<u32>(words, <u32>folder, 16);
  return <u32><u32>sys(words);
}

/** The next name of the listing, likewise. */
export function find_next(name: usize, attribute: usize, folder: usize): u32 {
  store<u32>(words, 0x000C);
  store<u32>(words, <u32>name, 4);
  store<u32>(words, <u32>attribute, 8);
  store<u32>(words, <u32>folder, 12);
  return <u32><u32>sys(words);
}

/** Forgets the listing. */
export function end_find(): void {
  store<u32>(words, 0x000D);
  sys(words);
}

/** Writes bytes as base64 text; how many characters were written. */
export function file_write_base64(file: u32, data: usize, count: i32): u32 {
  store<u32>(words, 0x000E);
  store<u32>(words, <u32>file, 4);
  store<u32>(words, <u32>data, 8);
  store<u32>(words, <u32>count, 12);
  return <u32><u32>sys(words);
}

/** Gives a file another name; nothing is ever replaced. */
export function file_move(from: usize, to: usize): void {
  store<u32>(words, 0x000F);
  store<u32>(words, <u32>from, 4);
  store<u32>(words, <u32>to, 8);
  sys(words);
}

/** Sends MSG_TICK every so many milliseconds; 0 stops it. A running timer keeps its period. */
export function timer(milliseconds: u32): void {
  store<u32>(words, 0x0200);
  store<u32>(words, <u32>milliseconds, 4);
  sys(words);
}

/** The low 32 bits of a steady clock. */
export function milliseconds(): u32 {
  store<u32>(words, 0x0201);
  return <u32><u32>sys(words);
}

/** Local date and time, "2024-03-07 09:05:41", into 20 bytes. */
export function date_time(buffer: usize): void {
  store<u32>(words, 0x0202);
  store<u32>(words, <u32>buffer, 4);
  sys(words);
}

/** Appends one value as printf does; how many characters. size: 4 a 32-bit number, 8 a 64-bit one, 1 the address of a text. */
export function append_format(text: usize, format: usize, size: u32, value: i64): u32 {
  store<u32>(words, 0x0300);
  store<u32>(words, <u32>text, 4);
  store<u32>(words, <u32>format, 8);
  store<u32>(words, <u32>size, 12);
  store<i64>(words, <i64>value, 16);
  return <u32><u32>sys(words);
}

/** Copies a text. */
export function copy_string(to: usize, from: usize): void {
  store<u32>(words, 0x0301);
  store<u32>(words, <u32>to, 4);
  store<u32>(words, <u32>from, 8);
  sys(words);
}

/** Appends a text. */
export function append_string(to: usize, from: usize): void {
  store<u32>(words, 0x0302);
  store<u32>(words, <u32>to, 4);
  store<u32>(words, <u32>from, 8);
  sys(words);
}

/** Bytes before the NUL. */
export function length(text: usize): u32 {
  store<u32>(words, 0x0303);
  store<u32>(words, <u32>text, 4);
  return <u32><u32>sys(words);
}

/** Negative, 0 or positive; bytes count as unsigned. */
export function compare_strings(a: usize, b: usize): i32 {
  store<u32>(words, 0x0304);
  store<u32>(words, <u32>a, 4);
  store<u32>(words, <u32>b, 8);
  return <i32><u32>sys(words);
}

/** Puts a text in upper case, which can be longer than it was. */
export function upper_case(text: usize): void {
  store<u32>(words, 0x0305);
  store<u32>(words, <u32>text, 4);
  sys(words);
}

/** Copies bytes. */
export function copy_bytes(to: usize, from: usize, count: i32): void {
  store<u32>(words, 0x030A);
  store<u32>(words, <u32>to, 4);
  store<u32>(words, <u32>from, 8);
  store<u32>(words, <u32>count, 12);
  sys(words);
}

/** Copies bytes; the ranges may overlap. */
export function move_bytes(to: usize, from: usize, count: i32): void {
  store<u32>(words, 0x030B);
  store<u32>(words, <u32>to, 4);
  store<u32>(words, <u32>from, 8);
  store<u32>(words, <u32>count, 12);
  sys(words);
}

/** Sets bytes to the low 8 bits of `byte`. */
export function fill_bytes(to: usize, byte: u32, count: i32): void {
  store<u32>(words, 0x030C);
  store<u32>(words, <u32>to, 4);
  store<u32>(words, <u32>byte, 8);
  store<u32>(words, <u32>count, 12);
  sys(words);
}

/** Negative, 0 or positive; bytes count as unsigned. */
export function compare_bytes(a: usize, b: usize, count: i32): i32 {
  store<u32>(words, 0x030D);
  store<u32>(words, <u32>a, 4);
  store<u32>(words, <u32>b, 8);
  store<u32>(words, <u32>count, 12);
  return <i32><u32>sys(words);
}

/** Writes a line to the system log. */
export function debug_print(text: usize): void {
  store<u32>(words, 0x030E);
  store<u32>(words, <u32>text, 4);
  sys(words);
}

/** Draws lines from point to point, at least one point. */
export function polyline(bitmap: u32, points: usize, count: u32, colour: u32): void {
  store<u32>(words, 0x0500);
  store<u32>(words, <u32>bitmap, 4);
  store<u32>(words, <u32>points, 8);
  store<u32>(words, <u32>count, 12);
  store<u32>(words, <u32>colour, 16);
  sys(words);
}

/** Draws a filled rectangle with a frame of one pixel; a colour of alpha 0 leaves either out. */
export function rectangle(bitmap: u32, x: i32, y: i32, width: i32, height: i32, fill: u32, frame: u32): void {
  store<u32>(words, 0x0501);
  store<u32>(words, <u32>bitmap, 4);
  store<u32>(words, <u32>x, 8);
  store<u32>(words, <u32>y, 12);
  store<u32>(words, <u32>width, 16);
  store<u32>(words, <u32>height, 20);
  store<u32>(words, <u32>fill, 24);
  store<u32>(words, <u32>frame, 28);
  sys(words);
}

/** A bitmap with the picture of a PNG or BMP file; 0 when there is no such image. */
export function load_image(name: usize): u32 {
  store<u32>(words, 0x0502);
  store<u32>(words, <u32>name, 4);
  return <u32><u32>sys(words);
}

/** Copies a rectangle, by its alpha; side by side until `right` and in rows until `bottom`, where they are not 0. */
export function blit(to: u32, x: i32, y: i32, from: u32, from_x: i32, from_y: i32, width: i32, height: i32, invert: bool, right: i32, bottom: i32): void {
  store<u32>(words, 0x0503);
  store<u32>(words, <u32>to, 4);
  store<u32>(words, <u32>x, 8);
  store<u32>(words, <u32>y, 12);
  store<u32>(words, <u32>from, 16);
  store<u32>(words, <u32>from_x, 20);
  store<u32>(words, <u32>from_y, 24);
  store<u32>(words, <u32>width, 28);
  store<u32>(words, <u32>height, 32);
  store<u32>(words, <u32>invert, 36);
  store<u32>(words, <u32>right, 40);
  store<u32>(words, <u32>bottom, 44);
  sys(words);
}

/** Frees a bitmap and its pixels. */
export function free_bitmap(bitmap: u32): void {
  store<u32>(words, 0x0504);
  store<u32>(words, <u32>bitmap, 4);
  sys(words);
}

/** Gives pixels another alpha; how many changed. selector: ALPHA_OF_..., or a key colour. */
export function set_alpha(bitmap: u32, x: i32, y: i32, width: i32, height: i32, selector: i64, alpha: u32): i64 {
  store<u32>(words, 0x0505);
  store<u32>(words, <u32>bitmap, 4);
  store<u32>(words, <u32>x, 8);
  store<u32>(words, <u32>y, 12);
  store<u32>(words, <u32>width, 16);
  store<u32>(words, <u32>height, 20);
  store<i64>(words, <i64>selector, 24);
  store<u32>(words, <u32>alpha, 32);
  return sys(words);
}

/** A pixel; 0 outside of the bitmap. */
export function get_pixel(bitmap: u32, x: i32, y: i32): u32 {
  store<u32>(words, 0x0506);
  store<u32>(words, <u32>bitmap, 4);
  store<u32>(words, <u32>x, 8);
  store<u32>(words, <u32>y, 12);
  return <u32><u32>sys(words);
}

/** Blends a colour onto a pixel. */
export function blend_pixel(bitmap: u32, x: i32, y: i32, colour: u32): void {
  store<u32>(words, 0x0507);
  store<u32>(words, <u32>bitmap, 4);
  store<u32>(words, <u32>x, 8);
  store<u32>(words, <u32>y, 12);
  store<u32>(words, <u32>colour, 16);
  sys(words);
}

/** Copies a rectangle to one of another size; limits as for the plain copy. */
export function scaled_blit(to: u32, x: i32, y: i32, width: i32, height: i32, from: u32, from_x: i32, from_y: i32, from_width: i32, from_height: i32, right: i32, bottom: i32): void {
  store<u32>(words, 0x0508);
  store<u32>(words, <u32>to, 4);
  store<u32>(words, <u32>x, 8);
  store<u32>(words, <u32>y, 12);
  store<u32>(words, <u32>width, 16);
  store<u32>(words, <u32>height, 20);
  store<u32>(words, <u32>from, 24);
  store<u32>(words, <u32>from_x, 28);
  store<u32>(words, <u32>from_y, 32);
  store<u32>(words, <u32>from_width, 36);
  store<u32>(words, <u32>from_height, 40);
  store<u32>(words, <u32>right, 44);
  store<u32>(words, <u32>bottom, 48);
  sys(words);
}

/** Writes a bitmap to a file: 1, or 0 when it failed. A PNG file gets red and blue exchanged. format: IMAGE_... */
export function save_image(bitmap: u32, name: usize, format: u32): u32 {
  store<u32>(words, 0x0509);
  store<u32>(words, <u32>bitmap, 4);
  store<u32>(words, <u32>name, 8);
  store<u32>(words, <u32>format, 12);
  return <u32><u32>sys(words);
}

/** hue | saturation << 8 | value << 16 | alpha << 24; 252 hues. */
export function rgb_to_hsv(colour: u32): u32 {
  store<u32>(words, 0x050A);
  store<u32>(words, <u32>colour, 4);
  return <u32><u32>sys(words);
}

/** The colour of such a word. */
export function hsv_to_rgb(hsv: u32): u32 {
  store<u32>(words, 0x050B);
  store<u32>(words, <u32>hsv, 4);
  return <u32><u32>sys(words);
}

/** A bitmap's size and clip. */
export function bitmap_info(bitmap: u32, info: usize): void {
  store<u32>(words, 0x050C);
  store<u32>(words, <u32>bitmap, 4);
  store<u32>(words, <u32>info, 8);
  sys(words);
}

/** Limits drawing to a rectangle; the former one goes to `old`, if that is no null pointer. */
export function set_clip(bitmap: u32, x: i32, y: i32, width: i32, height: i32, old: usize): void {
  store<u32>(words, 0x050D);
  store<u32>(words, <u32>bitmap, 4);
  store<u32>(words, <u32>x, 8);
  store<u32>(words, <u32>y, 12);
  store<u32>(words, <u32>width, 16);
  store<u32>(words, <u32>height, 20);
  store<u32>(words, <u32>old, 24);
  sys(words);
}

/** 32 bits that dash lines and frames; the former ones. */
export function line_pattern(pattern: u32): u32 {
  store<u32>(words, 0x050E);
  store<u32>(words, <u32>pattern, 4);
  return <u32><u32>sys(words);
}

/** Changes hue, saturation, brightness and contrast; a hue or saturation of -1 stays. */
export function adjust_colours(bitmap: u32, x: i32, y: i32, width: i32, height: i32, hue: i32, saturation: i32, brightness: i32, contrast: i32): void {
  store<u32>(words, 0x050F);
  store<u32>(words, <u32>bitmap, 4);
  store<u32>(words, <u32>x, 8);
  store<u32>(words, <u32>y, 12);
  store<u32>(words, <u32>width, 16);
  store<u32>(words, <u32>height, 20);
  store<u32>(words, <u32>hue, 24);
  store<u32>(words, <u32>saturation, 28);
  store<u32>(words, <u32>brightness, 32);
  store<u32>(words, <u32>contrast, 36);
  sys(words);
}

/** Draws a line of text as high as its box: the width drawn << 16 | the bytes used; 0 when nothing was drawn. style: TEXT_... */
export function draw_text(bitmap: u32, text: usize, x: i32, y: i32, width: i32, height: i32, style: u32, background: u32, colour: u32): u32 {
  store<u32>(words, 0x0510);
  store<u32>(words, <u32>bitmap, 4);
  store<u32>(words, <u32>text, 8);
  store<u32>(words, <u32>x, 12);
  store<u32>(words, <u32>y, 16);
  store<u32>(words, <u32>width, 20);
  store<u32>(words, <u32>height, 24);
  store<u32>(words, <u32>style, 28);
  store<u32>(words, <u32>background, 32);
  store<u32>(words, <u32>colour, 36);
  return <u32><u32>sys(words);
}

/** Paints the saturations and values of a hue; a negative size turns it round. */
export function hue_square(bitmap: u32, x: i32, y: i32, width: i32, height: i32, hue: u32): void {
  store<u32>(words, 0x0511);
  store<u32>(words, <u32>bitmap, 4);
  store<u32>(words, <u32>x, 8);
  store<u32>(words, <u32>y, 12);
  store<u32>(words, <u32>width, 16);
  store<u32>(words, <u32>height, 20);
  store<u32>(words, <u32>hue, 24);
  sys(words);
}

/** Draws a filled ellipse with an outline; the colours have red and blue exchanged. */
export function ellipse(bitmap: u32, x: i32, y: i32, width: i32, height: i32, fill: u32, frame: u32): void {
  store<u32>(words, 0x0512);
  store<u32>(words, <u32>bitmap, 4);
  store<u32>(words, <u32>x, 8);
  store<u32>(words, <u32>y, 12);
  store<u32>(words, <u32>width, 16);
  store<u32>(words, <u32>height, 20);
  store<u32>(words, <u32>fill, 24);
  store<u32>(words, <u32>frame, 28);
  sys(words);
}

/** A bitmap; its pixels are whatever the heap held. */
export function new_bitmap(width: u32, height: u32): u32 {
  store<u32>(words, 0x0513);
  store<u32>(words, <u32>width, 4);
  store<u32>(words, <u32>height, 8);
  return <u32><u32>sys(words);
}

/** Plays a WAV file of the resources. */
export function play_sound(name: usize): void {
  store<u32>(words, 0x0600);
  store<u32>(words, <u32>name, 4);
  sys(words);
}

/** Plays a MIDI file of the resources; MSG_MUSICDONE tells its end. In place of a name: MUSIC_AGAIN, MUSIC_OFF. */
export function play_music(name: usize): void {
  store<u32>(words, 0x0601);
  store<u32>(words, <u32>name, 4);
  sys(words);
}

/** Stops the music. */
export function stop_music(): void {
  store<u32>(words, 0x0602);
  sys(words);
}

/** 1 or 0. */
export function music_playing(): bool {
  store<u32>(words, 0x0603);
  return <u32>sys(words) != 0;
}

/** Milliseconds of a WAV file and a margin of 200; 0 when it cannot be told. */
export function sound_length(name: usize): u32 {
  store<u32>(words, 0x0604);
  store<u32>(words, <u32>name, 4);
  return <u32><u32>sys(words);
}

/** Shows a text in a box and goes on when it is dismissed. */
export function show_message(text: usize): void {
  store<u32>(words, 0x0700);
  store<u32>(words, <u32>text, 4);
  sys(words);
}

/** CR, LF and NUL; 2. */
export function line_end(buffer: usize, size: i32): u32 {
  store<u32>(words, 0x0701);
  store<u32>(words, <u32>buffer, 4);
  store<u32>(words, <u32>size, 8);
  return <u32><u32>sys(words);
}

/** What windows may cover of the main screen: the width, and above it the height. */
export function visible_size(): i64 {
  store<u32>(words, 0x0702);
  return sys(words);
}

/** The next message of a key or button that waits: 1 found, 0 not. A `command` other than 0 takes it off the queue. */
export function peek_key(event: usize): bool {
  store<u32>(words, 0x0703);
  store<u32>(words, <u32>event, 4);
  return <u32>sys(words) != 0;
}

/** Takes the latest pointer message off the queue: 1 found, 0 not. */
export function take_pointer(event: usize): bool {
  store<u32>(words, 0x0704);
  store<u32>(words, <u32>event, 4);
  return <u32>sys(words) != 0;
}

/** The clipboard's text, cut to `size` - 1 bytes. */
export function read_clipboard(buffer: usize, size: u32): void {
  store<u32>(words, 0x0705);
  store<u32>(words, <u32>buffer, 4);
  store<u32>(words, <u32>size, 8);
  sys(words);
}

/** Puts a text on the clipboard. */
export function write_clipboard(text: usize): void {
  store<u32>(words, 0x0706);
  store<u32>(words, <u32>text, 4);
  sys(words);
}

/** Nothing. */
export function nothing(any: u32): void {
  store<u32>(words, 0x0707);
  store<u32>(words, <u32>any, 4);
  sys(words);
}

/** Where the window is. */
export function get_window(window: usize): void {
  store<u32>(words, 0x0708);
  store<u32>(words, <u32>window, 4);
  sys(words);
}

/** Asks for another place or size. */
export function set_window(window: usize): void {
  store<u32>(words, 0x0709);
  store<u32>(words, <u32>window, 4);
  sys(words);
}

/** The window's size when it is not in full screen: the width, and above it the height. */
export function windowed_size(): i64 {
  store<u32>(words, 0x070A);
  return sys(words);
}

/** Sets the window's title. */
export function window_title(title: usize): void {
  store<u32>(words, 0x070B);
  store<u32>(words, <u32>title, 4);
  sys(words);
}

/** The path of the data folder, with a / at its end, into PATH_SIZE bytes. */
export function data_folder(buffer: usize): void {
  store<u32>(words, 0x070C);
  store<u32>(words, <u32>buffer, 4);
  sys(words);
}

/** The path of the game, without a / at its end, into PATH_SIZE bytes. */
export function bundle_path(buffer: usize): void {
  store<u32>(words, 0x070D);
  store<u32>(words, <u32>buffer, 4);
  sys(words);
}

/** The host's version and the system's as a text; a number to compare. */
export function version(buffer: usize): u32 {
  store<u32>(words, 0x070E);
  store<u32>(words, <u32>buffer, 4);
  return <u32><u32>sys(words);
}

/** "Cmd", into 4 bytes. */
export function command_key_name(buffer: usize): void {
  store<u32>(words, 0x070F);
  store<u32>(words, <u32>buffer, 4);
  sys(words);
}

/** CURSOR_HAND, or anything else for the arrow. */
export function set_cursor(cursor: u32): void {
  store<u32>(words, 0x0710);
  store<u32>(words, <u32>cursor, 4);
  sys(words);
}

/** Opens a web address. */
export function open_web(address: usize): void {
  store<u32>(words, 0x0711);
  store<u32>(words, <u32>address, 4);
  sys(words);
}

/** The screen bitmap's size: the width, and above it the height. */
export function screen_size(): i64 {
  store<u32>(words, 0x0712);
  return sys(words);
}

/** The held buttons and modifier keys, HELD_..., under the mask. */
export function held_buttons(mask: u32): u32 {
  store<u32>(words, 0x0713);
  store<u32>(words, <u32>mask, 4);
  return <u32><u32>sys(words);
}

/** "/", into 2 bytes. */
export function path_separator(buffer: usize): void {
  store<u32>(words, 0x0714);
  store<u32>(words, <u32>buffer, 4);
  sys(words);
}

/** Shows what was drawn and waits steps of 10 ms. Input stays off until a wait of 0. */
export function wait(steps: u32): void {
  store<u32>(words, 0x0715);
  store<u32>(words, <u32>steps, 4);
  sys(words);
}

/** Reads a file: 1; 0 when there is none, and the settings are empty. */
export function settings_load(name: usize): bool {
  store<u32>(words, 0x0800);
  store<u32>(words, <u32>name, 4);
  return <u32>sys(words) != 0;
}

/** Writes the file: 1, or 0 when it failed. */
export function settings_save(name: usize): bool {
  store<u32>(words, 0x0801);
  store<u32>(words, <u32>name, 4);
  return <u32>sys(words) != 0;
}

/** Forgets all; only a load makes settings again. */
export function settings_discard(): void {
  store<u32>(words, 0x0802);
  sys(words);
}

/** Makes a section the current one: found? */
export function settings_section(name: usize): bool {
  store<u32>(words, 0x0803);
  store<u32>(words, <u32>name, 4);
  return <u32>sys(words) != 0;
}

/** Goes to a key's values: found? */
export function settings_key(key: usize): bool {
  store<u32>(words, 0x0804);
  store<u32>(words, <u32>key, 4);
  return <u32>sys(words) != 0;
}

/** The line's next value: was there one? */
export function settings_read_number(number: usize): bool {
  store<u32>(words, 0x0805);
  store<u32>(words, <u32>number, 4);
  return <u32>sys(words) != 0;
}

/** The line's next text: its length; 0 no text; -1 too long or broken. */
export function settings_read_string(buffer: usize, size: u32): i32 {
  store<u32>(words, 0x0806);
  store<u32>(words, <u32>buffer, 4);
  store<u32>(words, <u32>size, 8);
  return <i32><u32>sys(words);
}

/** Makes a section if it is not there, and makes it the current one: is it there? */
export function settings_add_section(name: usize): bool {
  store<u32>(words, 0x0807);
  store<u32>(words, <u32>name, 4);
  return <u32>sys(words) != 0;
}

/** Makes a key's line of this text, in place of the old one. */
export function settings_write_raw(key: usize, text: usize): bool {
  store<u32>(words, 0x0808);
  store<u32>(words, <u32>key, 4);
  store<u32>(words, <u32>text, 8);
  return <u32>sys(words) != 0;
}

/** Deletes the current section; the first one becomes current. */
export function settings_delete_section(): void {
  store<u32>(words, 0x0809);
  sys(words);
}

/** Deletes a key's line: was it there? */
export function settings_delete_key(key: usize): bool {
  store<u32>(words, 0x080A);
  store<u32>(words, <u32>key, 4);
  return <u32>sys(words) != 0;
}

/** Goes to the next section: its name's length; 0 no more; -1 too long. */
export function settings_next_section(buffer: usize, size: u32): i32 {
  store<u32>(words, 0x080B);
  store<u32>(words, <u32>buffer, 4);
  store<u32>(words, <u32>size, 8);
  return <i32><u32>sys(words);
}

/** Empties the settings. */
export function settings_clear(): void {
  store<u32>(words, 0x080C);
  sys(words);
}

/** 1 when no value follows, else 0. */
export function settings_at_end(): bool {
  store<u32>(words, 0x080D);
  return <u32>sys(words) != 0;
}

/** A further value of the key's line, which is made if need be. style: 1 octal, 2 hexadecimal, other decimal. */
export function settings_append_number(key: usize, number: i32, style: u32): bool {
  store<u32>(words, 0x080E);
  store<u32>(words, <u32>key, 4);
  store<u32>(words, <u32>number, 8);
  store<u32>(words, <u32>style, 12);
  return <u32>sys(words) != 0;
}

/** A further text of the key's line; make the line first, with a number or an empty raw value. */
export function settings_append_string(key: usize, text: usize): bool {
  store<u32>(words, 0x080F);
  store<u32>(words, <u32>key, 4);
  store<u32>(words, <u32>text, 8);
  return <u32>sys(words) != 0;
}

/** The rest of the line: its length; -1 cut or without a line end. */
export function settings_read_line(buffer: usize, size: u32): i32 {
  store<u32>(words, 0x0810);
  store<u32>(words, <u32>buffer, 4);
  store<u32>(words, <u32>size, 8);
  return <i32><u32>sys(words);
}

/** A block of so many bytes; without room the program ends. */
export function alloc(bytes: u32): u32 {
  store<u32>(words, 0x0900);
  store<u32>(words, <u32>bytes, 4);
  return <u32><u32>sys(words);
}

/** Frees a block. */
export function free(block: u32): void {
  store<u32>(words, 0x0901);
  store<u32>(words, <u32>block, 4);
  sys(words);
}

/** A block's address, with a lock that holds until UNLOCK or the end of the routine. */
export function lock(block: u32): usize {
  store<u32>(words, 0x0902);
  store<u32>(words, <u32>block, 4);
  return <usize><u32>sys(words);
}

/** Takes a lock back. */
export function unlock(block: u32): void {
  store<u32>(words, 0x0903);
  store<u32>(words, <u32>block, 4);
  sys(words);
}

/** A block's address, which holds until the message ends. */
export function block_address(block: u32): usize {
  store<u32>(words, 0x0904);
  store<u32>(words, <u32>block, 4);
  return <usize><u32>sys(words);
}
