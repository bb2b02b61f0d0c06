//! Programs for MOXI in Rust. `game` has setup, update and draw, as `moxi/game.h` in C; `sys` has
//! every service as a function, for what `game` does not do.
#![no_std]

pub mod game;
pub mod sys;

/// A line of the system log.
pub fn log(line: &str) {
    let mut text = [0u8; 256];
    let count = line.len().min(text.len() - 1);
    text[..count].copy_from_slice(&line.as_bytes()[..count]);
    unsafe { sys::debug_print(text.as_ptr()) };
}

/// What a program without std does when it panics: a line of the log, then the end.
#[cfg(not(feature = "std"))]
#[panic_handler]
fn on_panic(info: &core::panic::PanicInfo) -> ! {
    if let Some(place) = info.location() {
        log("panic in a file of Rust:");
        log(place.file());
    }
    core::arch::wasm32::unreachable()
}
