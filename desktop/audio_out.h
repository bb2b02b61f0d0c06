#pragma once
// Audio out as MOXI sees it: one piece of music and one sound at a time, mixed into one device. One
// record of functions, filled by desktop/sdl or desktop/headless before the application starts. All
// functions are called on the main thread; none of them waits for a device or for a file.

#include <memory>
#include <string>
#include <vector>

#include "base/types.h"

namespace moxi {

constexpr u32 kAudioRate =
    44100;  // frames a second, everywhere; a frame is a left and a right sample

struct MusicEvent {
    u64 frame = 0;  // when the event is due, in frames since the start of the piece
    u32 sysex = 0;  // status F0: where the message starts in MusicPiece::sysex
    u8 status = 0;  // 80..EF: a message for a channel; F0: a system exclusive message
    u8 data1 = 0;   // 0..127
    u8 data2 = 0;   // 0..127
};

// A piece with its times worked out, ready to be played.
struct MusicPiece {
    std::vector<MusicEvent> events;  // in the order of time
    std::vector<u8> sysex;  // messages: a length byte and the bytes between F0 and F7, all 0..127
};

struct AudioOut {
    // Loads the synthesiser in the background if the game looks as if it had music, so that the
    // first piece starts at once.
    void (*prepare)();
    // Plays the piece from its start, in place of one that is playing. The piece is shared with the
    // player until another one is started or it is stopped; nobody may change it meanwhile.
    void (*startMusic)(const std::shared_ptr<const MusicPiece>& piece);
    // Silences the music at once; nothing when none is playing.
    void (*stopMusic)();
    // How much of the piece that was started last has been played, in nanoseconds. Keeps counting
    // beyond the last event. Where there is no device to play on, it counts with the clock.
    u64 (*musicPosition)();
    // Plays a sound once, in place of the sound that is playing. `file` holds the bytes of the
    // sound file, which are copied. If they cannot be decoded, a line in the system log says so;
    // `name` is what that line calls the file.
    void (*playSound)(const std::string& name, const std::vector<u8>& file);
    void (*stopSound)();
    // What the player has chosen; no module sees it. Volumes are percent of the amplitude, 0 to
    // 100; more counts as 100.
    void (*setMuted)(bool muted);
    void (*setVolumes)(u32 music, u32 sound);
    // While paused, the music and the sound stop where they are; then they go on from there.
    void (*setPaused)(bool paused);
    // Stops all sound and releases the device; called once, before desktop.shutDown.
    void (*shutDown)();
};

// Harmless defaults: silence in which no time passes.
inline constinit AudioOut audioOut = {
    .prepare = [] {},
    .startMusic = [](const std::shared_ptr<const MusicPiece>&) {},
    .stopMusic = [] {},
    .musicPosition = [] { return u64{0}; },
    .playSound = [](const std::string&, const std::vector<u8>&) {},
    .stopSound = [] {},
    .setMuted = [](bool) {},
    .setVolumes = [](u32, u32) {},
    .setPaused = [](bool) {},
    .shutDown = [] {},
};

}  // namespace moxi
