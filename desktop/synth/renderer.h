#pragma once
// Mixes what is heard: music, one sound and the fading ends of what was cut off, into 16-bit stereo
// at kAudioRate. A renderer belongs to the one thread that renders (that of the audio callback, or
// the headless desktop's): nothing here allocates, locks or waits.

#include "base/types.h"
#include "desktop/audio_out.h"
#include "desktop/synth/synth.h"

namespace moxi {

// What is cut off fades within these frames (6 ms), so that it does not click.
constexpr u32 kFadeFrames = 256;

// A decoded sound, left and right samples in turn.
struct Sound {
    std::vector<i16> samples;
};

// A volume that moves to where it was set in small steps, because a jump would click.
struct Volume {
    float target = 1;  // 0 to 1, a factor of the amplitude
    float now = 1;
};

struct Renderer {
    Synth* synth = nullptr;      // null: the music advances in silence
    bool synthIsComing = false;  // the music waits at its start until the synthesiser is there
    bool muted = false;
    bool paused = false;  // music and sound wait where they are
    Volume musicVolume;
    Volume soundVolume;

    // --- Set by the functions below; others may read it
    const MusicPiece* piece = nullptr;
    size_t nextEvent = 0;  // of the piece
    u64 synthFrame = 0;    // start of the step that is rendered next
    u64 musicFrame = 0;    // frames of the piece that have been handed out
    // The step that was rendered last, left and right, and how many of its frames were used.
    u32 stepUsed = kSynthStep;
    float step[2][kSynthStep] = {};

    const Sound* sound = nullptr;
    size_t soundFrame = 0;  // that is played next

    // The fading end of what was cut off last, and how many of its frames were used.
    u32 fadeUsed = kFadeFrames;
    float fade[2][kFadeFrames] = {};

    Volume volume;   // of the whole mix: 0 while it is muted or paused, else 1
    float gain = 1;  // the factor by which the limiter turns the mix down just now
};

// Sets the player's volumes at the start of a run: percent of the amplitude, 0 to 100; more counts
// as 100.
void StartVolumes(Renderer& renderer, u32 music, u32 sound);

// Sets them later: the volumes move there in small steps.
void SetVolumes(Renderer& renderer, u32 music, u32 sound);

// Fades out the music that is playing and plays `piece` from its start; null only stops. The piece
// must live until the next call.
void SetMusic(Renderer& renderer, const MusicPiece* piece);
// The same for the sound, which must live until the next call.
void SetSound(Renderer& renderer, const Sound* sound);

// Renders the next `frames` frames into `out`, two samples each: left, right.
void Render(Renderer& renderer, i16* out, u32 frames);

}  // namespace moxi
