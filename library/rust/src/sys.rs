// The services as functions. Made from sys/services.def by `mxservices rust`; edit the table, not
// this file. Texts end with a NUL. An address must lead to what the service reads or writes there;
// that is all that makes them unsafe.

#[link(wasm_import_module = "moxi")]
extern "C" {
    #[link_name = "sys"]
    fn service(words: *const u32) -> i64;
}

#[inline]
unsafe fn call(words: &[u32]) -> i64 {
    service(words.as_ptr())
}

/// Opens a file; NO_FILE when there is none. mode: FILE_...
#[inline]
pub unsafe fn file_open(name: *const u8, mode: u32) -> u32 {
    call(&[0x0000, name as u32, mode]) as u32 as u32
}

/// 1 when a read has hit the end since the last seek, 0 when not; 0xFFFFFFFF: a bad handle.
#[inline]
pub unsafe fn file_at_end(file: u32) -> u32 {
    call(&[0x0001, file]) as u32 as u32
}

/// Reads up to `count` bytes; how many arrived.
#[inline]
pub unsafe fn file_read(file: u32, buffer: *mut u8, count: u32) -> u32 {
    call(&[0x0002, file, buffer as u32, count]) as u32 as u32
}

/// Writes bytes; how many were written.
#[inline]
pub unsafe fn file_write(file: u32, data: *const u8, count: u32) -> u32 {
    call(&[0x0003, file, data as u32, count]) as u32 as u32
}

/// The new position, or 0xFFFFFFFF. The offset is unsigned; origin: SEEK_FROM_...
#[inline]
pub unsafe fn file_seek(file: u32, offset: u32, origin: u32) -> u32 {
    call(&[0x0004, file, offset, origin]) as u32 as u32
}

/// Deletes a file.
#[inline]
pub unsafe fn file_delete(name: *const u8) {
    call(&[0x0005, name as u32]);
}

/// 0 when the folder is there afterwards, else 0xFFFFFFFF. Makes the last level alone.
#[inline]
pub unsafe fn make_folder(name: *const u8) -> u32 {
    call(&[0x0006, name as u32]) as u32 as u32
}

/// Removes a folder that is empty.
#[inline]
pub unsafe fn remove_folder(name: *const u8) {
    call(&[0x0007, name as u32]);
}

/// Closes a file.
#[inline]
pub unsafe fn file_close(file: u32) {
    call(&[0x0008, file]);
}

/// A file's size in bytes; 0xFFFFFFFF: no such file.
#[inline]
pub unsafe fn file_size(name: *const u8) -> u32 {
    call(&[0x0009, name as u32]) as u32 as u32
}

/// When a file was changed, in seconds since 1970; 0xFFFFFFFF: no such file.
#[inline]
pub unsafe fn file_time(name: *const u8) -> i64 {
    call(&[0x000A, name as u32])
}

/// Begins a listing: 0 and a name of at most 1,023 bytes in `name`, or 0xFFFFFFFF. attribute: FILE_IS_FOLDER or 0; folder: 1 the data folder, 0 the resources; each may be a null pointer.
#[inline]
pub unsafe fn find_first(pattern: *const u8, name: *mut u8, attribute: *mut u32, folder: *mut u32) -> u32 {
    call(&[0x000B, pattern as u32, name as u32, attribute as u32, folder as u32]) as u32 as u32
}

/// The next name of the listing, likewise.
#[inline]
pub unsafe fn find_next(name: *mut u8, attribute: *mut u32, folder: *mut u32) -> u32 {
    call(&[0x000C, name as u32, attribute as u32, folder as u32]) as u32 as u32
}

/// Forgets the listing.
#[inline]
pub unsafe fn end_find() {
    call(&[0x000D]);
}

/// Writes bytes as base64 text; how many characters were written.
#[inline]
pub unsafe fn file_write_base64(file: u32, data: *const u8, count: i32) -> u32 {
    call(&[0x000E, file, data as u32, count as u32]) as u32 as u32
}

/// Gives a file another name; nothing is ever replaced.
#[inline]
pub unsafe fn file_move(from: *const u8, to: *const u8) {
    call(&[0x000F, from as u32, to as u32]);
}

/// Sends MSG_TICK every so many milliseconds; 0 stops it. A running timer keeps its period.
#[inline]
pub unsafe fn timer(milliseconds: u32) {
    call(&[0x0200, milliseconds]);
}

/// The low 32 bits of a steady clock.
#[inline]
pub unsafe fn milliseconds() -> u32 {
    call(&[0x0201]) as u32 as u32
}

/// Local date and time, "2024-03-07 09:05:41", into 20 bytes.
#[inline]
pub unsafe fn date_time(buffer: *mut u8) {
    call(&[0x0202, buffer as u32]);
}

/// Appends one value as printf does; how many characters. size: 4 a 32-bit number, 8 a 64-bit one, 1 the address of a text.
#[inline]
pub unsafe fn append_format(text: *mut u8, format: *const u8, size: u32, value: i64) -> u32 {
    call(&[0x0300, text as u32, format as u32, size, value as u32, (value >> 32) as u32]) as u32 as u32
}

/// Copies a text.
#[inline]
pub unsafe fn copy_string(to: *mut u8, from: *const u8) {
    call(&[0x0301, to as u32, from as u32]);
}

/// Appends a text.
#[inline]
pub unsafe fn append_string(to: *mut u8, from: *const u8) {
    call(&[0x0302, to as u32, from as u32]);
}

/// Bytes before the NUL.
#[inline]
pub unsafe fn length(text: *const u8) -> u32 {
    call(&[0x0303, text as u32]) as u32 as u32
}

/// Negative, 0 or positive; bytes count as unsigned.
#[inline]
pub unsafe fn compare_strings(a: *const u8, b: *const u8) -> i32 {
    call(&[0x0304, a as u32, b as u32]) as u32 as i32
}

/// Puts a text in upper case, which can be longer than it was.
#[inline]
pub unsafe fn upper_case(text: *mut u8) {
    call(&[0x0305, text as u32]);
}

/// Copies bytes.
#[inline]
pub unsafe fn copy_bytes(to: *mut u8, from: *const u8, count: i32) {
    call(&[0x030A, to as u32, from as u32, count as u32]);
}

/// Copies bytes; the ranges may overlap.
#[inline]
pub unsafe fn move_bytes(to: *mut u8, from: *const u8, count: i32) {
    call(&[0x030B, to as u32, from as u32, count as u32]);
}

/// Sets bytes to the low 8 bits of `byte`.
#[inline]
pub unsafe fn fill_bytes(to: *mut u8, byte: u32, count: i32) {
    call(&[0x030C, to as u32, byte, count as u32]);
}

/// Negative, 0 or positive; bytes count as unsigned.
#[inline]
pub unsafe fn compare_bytes(a: *const u8, b: *const u8, count: i32) -> i32 {
    call(&[0x030D, a as u32, b as u32, count as u32]) as u32 as i32
}

/// Writes a line to the system log.
#[inline]
pub unsafe fn debug_print(text: *const u8) {
    call(&[0x030E, text as u32]);
}

/// Draws lines from point to point, at least one point.
#[inline]
pub unsafe fn polyline(bitmap: u32, points: *const i32, count: u32, colour: u32) {
    call(&[0x0500, bitmap, points as u32, count, colour]);
}

/// Draws a filled rectangle with a frame of one pixel; a colour of alpha 0 leaves either out.
#[inline]
pub unsafe fn rectangle(bitmap: u32, x: i32, y: i32, width: i32, height: i32, fill: u32, frame: u32) {
    call(&[0x0501, bitmap, x as u32, y as u32, width as u32, height as u32, fill, frame]);
}

/// A bitmap with the picture of a PNG or BMP file; 0 when there is no such image.
#[inline]
pub unsafe fn load_image(name: *const u8) -> u32 {
    call(&[0x0502, name as u32]) as u32 as u32
}

/// Copies a rectangle, by its alpha; side by side until `right` and in rows until `bottom`, where they are not 0.
#[inline]
pub unsafe fn blit(to: u32, x: i32, y: i32, from: u32, from_x: i32, from_y: i32, width: i32, height: i32, invert: bool, right: i32, bottom: i32) {
    call(&[0x0503, to, x as u32, y as u32, from, from_x as u32, from_y as u32, width as u32, height as u32, invert as u32, right as u32, bottom as u32]);
}

/// Frees a bitmap and its pixels.
#[inline]
pub unsafe fn free_bitmap(bitmap: u32) {
    call(&[0x0504, bitmap]);
}

/// Gives pixels another alpha; how many changed. selector: ALPHA_OF_..., or a key colour.
#[inline]
pub unsafe fn set_alpha(bitmap: u32, x: i32, y: i32, width: i32, height: i32, selector: i64, alpha: u32) -> i64 {
    call(&[0x0505, bitmap, x as u32, y as u32, width as u32, height as u32, selector as u32, (selector >> 32) as u32, alpha])
}

/// A pixel; 0 outside of the bitmap.
#[inline]
pub unsafe fn get_pixel(bitmap: u32, x: i32, y: i32) -> u32 {
    call(&[0x0506, bitmap, x as u32, y as u32]) as u32 as u32
}

/// Blends a colour onto a pixel.
#[inline]
pub unsafe fn blend_pixel(bitmap: u32, x: i32, y: i32, colour: u32) {
    call(&[0x0507, bitmap, x as u32, y as u32, colour]);
}

/// Copies a rectangle to one of another size; limits as for the plain copy.
#[inline]
pub unsafe fn scaled_blit(to: u32, x: i32, y: i32, width: i32, height: i32, from: u32, from_x: i32, from_y: i32, from_width: i32, from_height: i32, right: i32, bottom: i32) {
    call(&[0x0508, to, x as u32, y as u32, width as u32, height as u32, from, from_x as u32, from_y as u32, from_width as u32, from_height as u32, right as u32, bottom as u32]);
}

/// Writes a bitmap to a file: 1, or 0 when it failed. A PNG file gets red and blue exchanged. format: IMAGE_...
#[inline]
pub unsafe fn save_image(bitmap: u32, name: *const u8, format: u32) -> u32 {
    call(&[0x0509, bitmap, name as u32, format]) as u32 as u32
}

/// hue | saturation << 8 | value << 16 | alpha << 24; 252 hues.
#[inline]
pub unsafe fn rgb_to_hsv(colour: u32) -> u32 {
    call(&[0x050A, colour]) as u32 as u32
}

/// The colour of such a word.
#[inline]
pub unsafe fn hsv_to_rgb(hsv: u32) -> u32 {
    call(&[0x050B, hsv]) as u32 as u32
}

/// A bitmap's size and clip.
#[inline]
pub unsafe fn bitmap_info(bitmap: u32, info: *mut i32) {
    call(&[0x050C, bitmap, info as u32]);
}

/// Limits drawing to a rectangle; the former one goes to `old`, if that is no null pointer.
#[inline]
pub unsafe fn set_clip(bitmap: u32, x: i32, y: i32, width: i32, height: i32, old: *mut i32) {
    call(&[0x050D, bitmap, x as u32, y as u32, width as u32, height as u32, old as u32]);
}

/// 32 bits that dash lines and frames; the former ones.
#[inline]
pub unsafe fn line_pattern(pattern: u32) -> u32 {
    call(&[0x050E, pattern]) as u32 as u32
}

/// Changes hue, saturation, brightness and contrast; a hue or saturation of -1 stays.
#[inline]
pub unsafe fn adjust_colours(bitmap: u32, x: i32, y: i32, width: i32, height: i32, hue: i32, saturation: i32, brightness: i32, contrast: i32) {
    call(&[0x050F, bitmap, x as u32, y as u32, width as u32, height as u32, hue as u32, saturation as u32, brightness as u32, contrast as u32]);
}

/// Draws a line of text as high as its box: the width drawn << 16 | the bytes used; 0 when nothing was drawn. style: TEXT_...
#[inline]
pub unsafe fn draw_text(bitmap: u32, text: *const u8, x: i32, y: i32, width: i32, height: i32, style: u32, background: u32, colour: u32) -> u32 {
    call(&[0x0510, bitmap, text as u32, x as u32, y as u32, width as u32, height as u32, style, background, colour]) as u32 as u32
}

/// Paints the saturations and values of a hue; a negative size turns it round.
#[inline]
pub unsafe fn hue_square(bitmap: u32, x: i32, y: i32, width: i32, height: i32, hue: u32) {
    call(&[0x0511, bitmap, x as u32, y as u32, width as u32, height as u32, hue]);
}

/// Draws a filled ellipse with an outline; the colours have red and blue exchanged.
#[inline]
pub unsafe fn ellipse(bitmap: u32, x: i32, y: i32, width: i32, height: i32, fill: u32, frame: u32) {
    call(&[0x0512, bitmap, x as u32, y as u32, width as u32, height as u32, fill, frame]);
}

/// A bitmap; its pixels are whatever the heap held.
#[inline]
pub unsafe fn new_bitmap(width: u32, height: u32) -> u32 {
    call(&[0x0513, width, height]) as u32 as u32
}

/// Plays a WAV file of the resources.
#[inline]
pub unsafe fn play_sound(name: *const u8) {
    call(&[0x0600, name as u32]);
}

/// Plays a MIDI file of the resources; MSG_MUSICDONE tells its end. In place of a name: MUSIC_AGAIN, MUSIC_OFF.
#[inline]
pub unsafe fn play_music(name: *const u8) {
    call(&[0x0601, name as u32]);
}

/// Stops the music.
#[inline]
pub unsafe fn stop_music() {
    call(&[0x0602]);
}

/// 1 or 0.
#[inline]
pub unsafe fn music_playing() -> bool {
    call(&[0x0603]) as u32 != 0
}

/// Milliseconds of a WAV file and a margin of 200; 0 when it cannot be told.
#[inline]
pub unsafe fn sound_length(name: *const u8) -> u32 {
    call(&[0x0604, name as u32]) as u32 as u32
}

/// Shows a text in a box and goes on when it is dismissed.
#[inline]
pub unsafe fn show_message(text: *const u8) {
    call(&[0x0700, text as u32]);
}

/// CR, LF and NUL; 2.
#[inline]
pub unsafe fn line_end(buffer: *mut u8, size: i32) -> u32 {
    call(&[0x0701, buffer as u32, size as u32]) as u32 as u32
}

/// What windows may cover of the main screen: the width, and above it the height.
#[inline]
pub unsafe fn visible_size() -> i64 {
    call(&[0x0702])
}

/// The next message of a key or button that waits: 1 found, 0 not. A `command` other than 0 takes it off the queue.
#[inline]
pub unsafe fn peek_key(event: *mut i32) -> bool {
    call(&[0x0703, event as u32]) as u32 != 0
}

/// Takes the latest pointer message off the queue: 1 found, 0 not.
#[inline]
pub unsafe fn take_pointer(event: *mut i32) -> bool {
    call(&[0x0704, event as u32]) as u32 != 0
}

/// The clipboard's text, cut to `size` - 1 bytes.
#[inline]
pub unsafe fn read_clipboard(buffer: *mut u8, size: u32) {
    call(&[0x0705, buffer as u32, size]);
}

/// Puts a text on the clipboard.
#[inline]
pub unsafe fn write_clipboard(text: *const u8) {
    call(&[0x0706, text as u32]);
}

/// Nothing.
#[inline]
pub unsafe fn nothing(any: u32) {
    call(&[0x0707, any]);
}

/// Where the window is.
#[inline]
pub unsafe fn get_window(window: *mut i32) {
    call(&[0x0708, window as u32]);
}

/// Asks for another place or size.
#[inline]
pub unsafe fn set_window(window: *mut i32) {
    call(&[0x0709, window as u32]);
}

/// The window's size when it is not in full screen: the width, and above it the height.
#[inline]
pub unsafe fn windowed_size() -> i64 {
    call(&[0x070A])
}

/// Sets the window's title.
#[inline]
pub unsafe fn window_title(title: *const u8) {
    call(&[0x070B, title as u32]);
}

/// The path of the data folder, with a / at its end, into PATH_SIZE bytes.
#[inline]
pub unsafe fn data_folder(buffer: *mut u8) {
    call(&[0x070C, buffer as u32]);
}

/// The path of the game, without a / at its end, into PATH_SIZE bytes.
#[inline]
pub unsafe fn bundle_path(buffer: *mut u8) {
    call(&[0x070D, buffer as u32]);
}

/// The host's version and the system's as a text; a number to compare.
#[inline]
pub unsafe fn version(buffer: *mut u8) -> u32 {
    call(&[0x070E, buffer as u32]) as u32 as u32
}

/// "Cmd", into 4 bytes.
#[inline]
pub unsafe fn command_key_name(buffer: *mut u8) {
    call(&[0x070F, buffer as u32]);
}

/// CURSOR_HAND, or anything else for the arrow.
#[inline]
pub unsafe fn set_cursor(cursor: u32) {
    call(&[0x0710, cursor]);
}

/// Opens a web address.
#[inline]
pub unsafe fn open_web(address: *const u8) {
    call(&[0x0711, address as u32]);
}

/// The screen bitmap's size: the width, and above it the height.
#[inline]
pub unsafe fn screen_size() -> i64 {
    call(&[0x0712])
}

/// The held buttons and modifier keys, HELD_..., under the mask.
#[inline]
pub unsafe fn held_buttons(mask: u32) -> u32 {
    call(&[0x0713, mask]) as u32 as u32
}

/// "/", into 2 bytes.
#[inline]
pub unsafe fn path_separator(buffer: *mut u8) {
    call(&[0x0714, buffer as u32]);
}

/// Shows what was drawn and waits steps of 10 ms. Input stays off until a wait of 0.
#[inline]
pub unsafe fn wait(steps: u32) {
    call(&[0x0715, steps]);
}

/// Reads a file: 1; 0 when there is none, and the settings are empty.
#[inline]
pub unsafe fn settings_load(name: *const u8) -> bool {
    call(&[0x0800, name as u32]) as u32 != 0
}

/// Writes the file: 1, or 0 when it failed.
#[inline]
pub unsafe fn settings_save(name: *const u8) -> bool {
    call(&[0x0801, name as u32]) as u32 != 0
}

/// Forgets all; only a load makes settings again.
#[inline]
pub unsafe fn settings_discard() {
    call(&[0x0802]);
}

/// Makes a section the current one: found?
#[inline]
pub unsafe fn settings_section(name: *const u8) -> bool {
    call(&[0x0803, name as u32]) as u32 != 0
}

/// Goes to a key's values: found?
#[inline]
pub unsafe fn settings_key(key: *const u8) -> bool {
    call(&[0x0804, key as u32]) as u32 != 0
}

/// The line's next value: was there one?
#[inline]
pub unsafe fn settings_read_number(number: *mut u32) -> bool {
    call(&[0x0805, number as u32]) as u32 != 0
}

/// The line's next text: its length; 0 no text; -1 too long or broken.
#[inline]
pub unsafe fn settings_read_string(buffer: *mut u8, size: u32) -> i32 {
    call(&[0x0806, buffer as u32, size]) as u32 as i32
}

/// Makes a section if it is not there, and makes it the current one: is it there?
#[inline]
pub unsafe fn settings_add_section(name: *const u8) -> bool {
    call(&[0x0807, name as u32]) as u32 != 0
}

/// Makes a key's line of this text, in place of the old one.
#[inline]
pub unsafe fn settings_write_raw(key: *const u8, text: *const u8) -> bool {
    call(&[0x0808, key as u32, text as u32]) as u32 != 0
}

/// Deletes the current section; the first one becomes current.
#[inline]
pub unsafe fn settings_delete_section() {
    call(&[0x0809]);
}

/// Deletes a key's line: was it there?
#[inline]
pub unsafe fn settings_delete_key(key: *const u8) -> bool {
    call(&[0x080A, key as u32]) as u32 != 0
}

/// Goes to the next section: its name's length; 0 no more; -1 too long.
#[inline]
pub unsafe fn settings_next_section(buffer: *mut u8, size: u32) -> i32 {
    call(&[0x080B, buffer as u32, size]) as u32 as i32
}

/// Empties the settings.
#[inline]
pub unsafe fn settings_clear() {
    call(&[0x080C]);
}

/// 1 when no value follows, else 0.
#[inline]
pub unsafe fn settings_at_end() -> bool {
    call(&[0x080D]) as u32 != 0
}

/// A further value of the key's line, which is made if need be. style: 1 octal, 2 hexadecimal, other decimal.
#[inline]
pub unsafe fn settings_append_number(key: *const u8, number: i32, style: u32) -> bool {
    call(&[0x080E, key as u32, number as u32, style]) as u32 != 0
}

/// A further text of the key's line; make the line first, with a number or an empty raw value.
#[inline]
pub unsafe fn settings_append_string(key: *const u8, text: *const u8) -> bool {
    call(&[0x080F, key as u32, text as u32]) as u32 != 0
}

/// The rest of the line: its length; -1 cut or without a line end.
#[inline]
pub unsafe fn settings_read_line(buffer: *mut u8, size: u32) -> i32 {
    call(&[0x0810, buffer as u32, size]) as u32 as i32
}

/// A block of so many bytes; without room the program ends.
#[inline]
pub unsafe fn alloc(bytes: u32) -> u32 {
    call(&[0x0900, bytes]) as u32 as u32
}

/// Frees a block.
#[inline]
pub unsafe fn free(block: u32) {
    call(&[0x0901, block]);
}

/// A block's address, with a lock that holds until UNLOCK or the end of the routine.
#[inline]
pub unsafe fn lock(block: u32) -> *mut u8 {
    call(&[0x0902, block]) as u32 as *mut u8
}

/// Takes a lock back.
#[inline]
pub unsafe fn unlock(block: u32) {
    call(&[0x0903, block]);
}

/// A block's address, which holds until the message ends.
#[inline]
pub unsafe fn block_address(block: u32) -> *mut u8 {
    call(&[0x0904, block]) as u32 as *mut u8
}
