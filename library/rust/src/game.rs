//! What `moxi/game.h` has, for Rust. Write a type that is a [`Game`] and say `moxi::game!(Type);`.

use core::ffi::c_void;
use core::fmt::{self, Write};

/// A colour: bytes R, G, B, A.
pub type Colour = u32;

pub const fn rgb(red: u8, green: u8, blue: u8) -> Colour {
    0xFF00_0000 | (blue as u32) << 16 | (green as u32) << 8 | red as u32
}

pub const BLACK: Colour = rgb(0, 0, 0);
pub const WHITE: Colour = rgb(255, 255, 255);
pub const RED: Colour = rgb(222, 60, 60);
pub const ORANGE: Colour = rgb(240, 140, 50);
pub const GOLD: Colour = rgb(250, 205, 80);
pub const GREEN: Colour = rgb(80, 180, 90);
pub const SKY: Colour = rgb(120, 190, 240);
pub const BLUE: Colour = rgb(70, 110, 220);
pub const NAVY: Colour = rgb(24, 32, 68);

/// Keys, as the machine counts them; letters and digits are their upper-case characters.
pub mod key {
    pub const LEFT: i32 = 37;
    pub const UP: i32 = 38;
    pub const RIGHT: i32 = 39;
    pub const DOWN: i32 = 40;
    pub const SPACE: i32 = 32;
    pub const RETURN: i32 = 13;
    pub const ESCAPE: i32 = 27;
}

/// Updates in a second, and the seconds of one.
pub const RATE: i32 = 60;
pub const STEP: f32 = 1.0 / RATE as f32;

mod c {
    use super::{c_void, Colour};
    extern "C" {
        pub fn game_title(title: *const u8);
        pub fn game_canvas(width: i32, height: i32);
        pub fn game_width() -> i32;
        pub fn game_height() -> i32;
        pub fn game_quit();
        pub fn key_held(key: i32) -> bool;
        pub fn key_pressed(key: i32) -> bool;
        pub fn key_released(key: i32) -> bool;
        pub fn mouse_x() -> f32;
        pub fn mouse_y() -> f32;
        pub fn mouse_held(button: i32) -> bool;
        pub fn mouse_pressed(button: i32) -> bool;
        pub fn clear_screen(fill: Colour);
        pub fn draw_line(x0: f32, y0: f32, x1: f32, y1: f32, stroke: Colour);
        pub fn draw_box(x: f32, y: f32, width: f32, height: f32, fill: Colour);
        pub fn draw_frame(x: f32, y: f32, width: f32, height: f32, stroke: Colour);
        pub fn draw_disc(x: f32, y: f32, radius: f32, fill: Colour);
        pub fn draw_ring(x: f32, y: f32, radius: f32, stroke: Colour);
        pub fn draw_text(x: f32, y: f32, size: i32, fill: Colour, format: *const u8, values: *const c_void);
        pub fn text_align(align: i32);
        pub fn random_int(low: i32, high: i32) -> i32;
        pub fn random_float(low: f32, high: f32) -> f32;
        pub fn random_seed(seed: u32);
        pub fn play_sound(name: *const u8);
        pub fn play_music(name: *const u8, again: bool);
        pub fn saved_number(name: *const u8, otherwise: i32) -> i32;
        pub fn save_number(name: *const u8, number: i32);
        pub fn camera_at(x: f32, y: f32);
        pub fn camera_shake(pixels: f32, seconds: f32);
        pub fn camera_off();
        pub fn burst(x: f32, y: f32, count: i32, speed: f32, fill: Colour);
        pub fn draw_specks();
    }
}

/// A text that ends with a NUL, cut where the room ends.
struct Text {
    bytes: [u8; 256],
    length: usize,
}

impl Text {
    fn new(text: &str) -> Text {
        let mut made = Text { bytes: [0; 256], length: 0 };
        let _ = made.write_str(text);
        made
    }
    fn address(&self) -> *const u8 {
        self.bytes.as_ptr()
    }
}

impl Write for Text {
    fn write_str(&mut self, text: &str) -> fmt::Result {
        let count = text.len().min(self.bytes.len() - 1 - self.length);
        self.bytes[self.length..self.length + count].copy_from_slice(&text.as_bytes()[..count]);
        self.length += count;
        Ok(())
    }
}

macro_rules! safe {
    ($($name:ident($($argument:ident: $type:ty),*) $(-> $result:ty)?;)*) => {
        $(#[inline] pub fn $name($($argument: $type),*) $(-> $result)? { unsafe { c::$name($($argument),*) } })*
    };
}

// Their meaning is that of the functions of the same name in docs/c.md.
safe! {
    game_canvas(width: i32, height: i32);
    game_width() -> i32;
    game_height() -> i32;
    game_quit();
    key_held(key: i32) -> bool;
    key_pressed(key: i32) -> bool;
    key_released(key: i32) -> bool;
    mouse_x() -> f32;
    mouse_y() -> f32;
    mouse_held(button: i32) -> bool;
    mouse_pressed(button: i32) -> bool;
    clear_screen(fill: Colour);
    draw_line(x0: f32, y0: f32, x1: f32, y1: f32, stroke: Colour);
    draw_box(x: f32, y: f32, width: f32, height: f32, fill: Colour);
    draw_frame(x: f32, y: f32, width: f32, height: f32, stroke: Colour);
    draw_disc(x: f32, y: f32, radius: f32, fill: Colour);
    draw_ring(x: f32, y: f32, radius: f32, stroke: Colour);
    random_int(low: i32, high: i32) -> i32;
    random_float(low: f32, high: f32) -> f32;
    random_seed(seed: u32);
    camera_at(x: f32, y: f32);
    camera_shake(pixels: f32, seconds: f32);
    camera_off();
    burst(x: f32, y: f32, count: i32, speed: f32, fill: Colour);
    draw_specks();
}

pub fn game_title(title: &str) {
    unsafe { c::game_title(Text::new(title).address()) }
}

/// Where x lies in the texts that follow: 0 left, 1 in the middle, 2 right.
pub fn text_align(align: i32) {
    unsafe { c::text_align(align) }
}

/// `draw_text(4.0, 4.0, 12, WHITE, format_args!("Score {}", score))`
pub fn draw_text(x: f32, y: f32, size: i32, fill: Colour, text: fmt::Arguments) {
    let mut made = Text::new("");
    let _ = made.write_fmt(text);
    // The C function takes further values by the address of a block of them.
    let values = [made.address()];
    unsafe { c::draw_text(x, y, size, fill, b"%s\0".as_ptr(), values.as_ptr().cast()) }
}

pub fn play_sound(name: &str) {
    unsafe { c::play_sound(Text::new(name).address()) }
}

pub fn play_music(name: &str, again: bool) {
    unsafe { c::play_music(Text::new(name).address(), again) }
}

pub fn saved_number(name: &str, otherwise: i32) -> i32 {
    unsafe { c::saved_number(Text::new(name).address(), otherwise) }
}

pub fn save_number(name: &str, number: i32) {
    unsafe { c::save_number(Text::new(name).address(), number) }
}

/// A game: made when there is a window, updated 60 times a second, drawn when there is something new.
pub trait Game {
    fn new() -> Self;
    fn update(&mut self);
    fn draw(&mut self);
}

/// The functions that the library calls, for one type that is a `Game`.
#[macro_export]
macro_rules! game {
    ($game:ty) => {
        extern "C" {
            fn moxi_game_message(message: i32, p1: i32, p2: i32, p3: i32) -> i32;
        }
        // The build script asks for this name, and with it comes the loop of the game.
        #[no_mangle]
        #[allow(non_upper_case_globals)]
        pub static moxi_game_entry: unsafe extern "C" fn(i32, i32, i32, i32) -> i32 = moxi_game_message;
        static mut THE_GAME: Option<$game> = None;
        #[no_mangle]
        pub extern "C" fn setup() {
            unsafe { THE_GAME = Some(<$game as $crate::game::Game>::new()) }
        }
        #[no_mangle]
        pub extern "C" fn update() {
            if let Some(game) = unsafe { &mut THE_GAME } {
                $crate::game::Game::update(game)
            }
        }
        #[no_mangle]
        pub extern "C" fn draw() {
            if let Some(game) = unsafe { &mut THE_GAME } {
                $crate::game::Game::draw(game)
            }
        }
    };
}
