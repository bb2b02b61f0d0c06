#include "desktop/synth/renderer.h"

#include <algorithm>
#include <cmath>

namespace moxi {

namespace {

constexpr float kFullScale = 32768;
// A mix that would go beyond full scale, kLimit, is turned down so that its peak is kLimited.
constexpr float kLimit = 1;
constexpr float kLimited = 0.98F;
constexpr float kVolumeStep = 1.0F / kFadeFrames;
// The limiter lets go within about half a second.
constexpr float kRecovery = 2.0F / kAudioRate;

// The samples of up to a step's frames that are being mixed; full scale is 1.
struct Mix {
    float left[kSynthStep] = {};
    float right[kSynthStep] = {};
};

// The factor of the next frame.
float Next(Volume& volume) {
    if (volume.now < volume.target) {
        volume.now = std::min(volume.target, volume.now + kVolumeStep);
    } else if (volume.now > volume.target) {
        volume.now = std::max(volume.target, volume.now - kVolumeStep);
    }
    return volume.now;
}

// --- Sources. Each adds its next frames to the mix.

void RenderSynthStep(Renderer& renderer) {
    // Events are played at the first step that begins no earlier than they are due.
    const std::vector<MusicEvent>& events = renderer.piece->events;
    while (renderer.nextEvent < events.size() &&
           events[renderer.nextEvent].frame <= renderer.synthFrame) {
        if (renderer.synth != nullptr) {
            PlayEvent(*renderer.synth, *renderer.piece, events[renderer.nextEvent]);
        }
        ++renderer.nextEvent;
    }
    if (renderer.synth != nullptr) {
        RenderStep(*renderer.synth, renderer.step[0], renderer.step[1]);
    }
    renderer.synthFrame += kSynthStep;
    renderer.stepUsed = 0;
}

void AddMusic(Renderer& renderer, Mix& mix, u32 frames) {
    for (u32 i = 0; i < frames; ++i) {
        if (renderer.stepUsed == kSynthStep) {
            RenderSynthStep(renderer);
        }
        if (renderer.synth != nullptr) {
            const float volume = Next(renderer.musicVolume);
            mix.left[i] += volume * renderer.step[0][renderer.stepUsed];
            mix.right[i] += volume * renderer.step[1][renderer.stepUsed];
        }
        ++renderer.stepUsed;
    }
    renderer.musicFrame += frames;
}

void AddSound(Renderer& renderer, Mix& mix, u32 frames) {
    const std::vector<i16>& samples = renderer.sound->samples;
    for (u32 i = 0; i < frames && 2 * renderer.soundFrame + 1 < samples.size(); ++i) {
        const i16* const frame = samples.data() + 2 * renderer.soundFrame++;
        const float volume = Next(renderer.soundVolume) / kFullScale;
        mix.left[i] += volume * static_cast<float>(frame[0]);
        mix.right[i] += volume * static_cast<float>(frame[1]);
    }
}

void AddFade(Renderer& renderer, Mix& mix, u32 frames) {
    for (u32 i = 0; i < frames && renderer.fadeUsed < kFadeFrames; ++i) {
        mix.left[i] += renderer.fade[0][renderer.fadeUsed];
        mix.right[i] += renderer.fade[1][renderer.fadeUsed++];
    }
}

// Renders what the source would have played next, fades that out and keeps it to be mixed in.
void KeepFadingEnd(Renderer& renderer, void (*add)(Renderer&, Mix&, u32)) {
    for (float(&side)[kFadeFrames] : renderer.fade) {
        // An earlier end that still fades goes on, from the start of the buffer.
        std::copy(side + renderer.fadeUsed, side + kFadeFrames, side);
        std::fill(side + (kFadeFrames - renderer.fadeUsed), side + kFadeFrames, 0.0F);
    }
    renderer.fadeUsed = 0;
    for (u32 start = 0; start < kFadeFrames; start += kSynthStep) {
        Mix mix;
        add(renderer, mix, kSynthStep);
        for (u32 i = 0; i < kSynthStep; ++i) {
            const float volume = 1 - kVolumeStep * static_cast<float>(start + i + 1);
            renderer.fade[0][start + i] += volume * mix.left[i];
            renderer.fade[1][start + i] += volume * mix.right[i];
        }
    }
}

// --- The mix as a whole

void ApplyVolume(Renderer& renderer, Mix& mix, u32 frames) {
    renderer.volume.target = renderer.muted || renderer.paused ? 0 : 1;
    for (u32 i = 0; i < frames; ++i) {
        const float volume = Next(renderer.volume);
        mix.left[i] *= volume;
        mix.right[i] *= volume;
    }
}

float Peak(const Mix& mix, u32 i) {
    return std::max(std::fabs(mix.left[i]), std::fabs(mix.right[i]));
}

// The limiter. Keeps the mix below full scale without cutting its peaks off: turns it down towards
// the first frame that would go beyond, and slowly up again. A mix that stays within full scale
// passes unchanged.
void Limit(Renderer& renderer, Mix& mix, u32 frames) {
    float peak = 0;
    u32 firstAbove = frames;
    for (u32 i = 0; i < frames; ++i) {
        const float here = Peak(mix, i);
        peak = std::max(peak, here);
        if (firstAbove == frames && here * renderer.gain > kLimit) {
            firstAbove = i;
        }
    }
    const float before = renderer.gain;
    float after = std::min(1.0F, before + kRecovery * static_cast<float>(frames));
    u32 ramp = frames;
    if (peak * after > kLimit) {
        after = kLimited / peak;
        // The new gain has to be reached at the first frame that is too loud with the present one;
        // when there is none, at the end of the block.
        if (firstAbove < frames) {
            ramp = firstAbove;
        }
    }
    for (u32 i = 0; i < frames; ++i) {
        const float way = i >= ramp ? 1 : static_cast<float>(i) / static_cast<float>(ramp);
        const float gain = before + (after - before) * way;
        mix.left[i] *= gain;
        mix.right[i] *= gain;
    }
    renderer.gain = after;
}

i16 ToSample(float value) {
    return static_cast<i16>(
        std::lrint(std::clamp(value * kFullScale, -kFullScale, kFullScale - 1)));
}

bool MusicWaits(const Renderer& renderer) {
    return renderer.synth == nullptr && renderer.synthIsComing;
}

// Whether music and sound stand still. They go on until the pause has faded them out.
bool AllWaits(const Renderer& renderer) {
    return renderer.paused && renderer.volume.now <= 0;
}

float Factor(u32 percent) {
    return static_cast<float>(std::min(percent, 100U)) / 100;
}

}  // namespace

void StartVolumes(Renderer& renderer, u32 music, u32 sound) {
    const auto at = [](u32 percent) {
        return Volume{.target = Factor(percent), .now = Factor(percent)};
    };
    renderer.musicVolume = at(music);
    renderer.soundVolume = at(sound);
}

void SetVolumes(Renderer& renderer, u32 music, u32 sound) {
    renderer.musicVolume.target = Factor(music);
    renderer.soundVolume.target = Factor(sound);
}

void SetMusic(Renderer& renderer, const MusicPiece* piece) {
    if (renderer.piece != nullptr && renderer.synth != nullptr) {
        KeepFadingEnd(renderer, AddMusic);
        ResetSynth(*renderer.synth);
    }
    renderer.piece = piece;
    renderer.nextEvent = 0;
    renderer.synthFrame = 0;
    renderer.musicFrame = 0;
    renderer.stepUsed = kSynthStep;
}

void SetSound(Renderer& renderer, const Sound* sound) {
    if (renderer.sound != nullptr) {
        KeepFadingEnd(renderer, AddSound);
    }
    renderer.sound = sound;
    renderer.soundFrame = 0;
}

void Render(Renderer& renderer, i16* out, u32 frames) {
    while (frames > 0) {
        const u32 now = std::min(frames, kSynthStep);
        Mix mix;
        if (!AllWaits(renderer)) {
            if (renderer.piece != nullptr && !MusicWaits(renderer)) {
                AddMusic(renderer, mix, now);
            }
            if (renderer.sound != nullptr) {
                AddSound(renderer, mix, now);
            }
            AddFade(renderer, mix, now);
        }
        ApplyVolume(renderer, mix, now);
        Limit(renderer, mix, now);
        for (u32 i = 0; i < now; ++i) {
            *out++ = ToSample(mix.left[i]);
            *out++ = ToSample(mix.right[i]);
        }
        frames -= now;
    }
}

}  // namespace moxi
