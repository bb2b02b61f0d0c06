#include "audio/sound.h"

#include "audio/resource.h"
#include "audio/wav.h"
#include "base/log.h"
#include "desktop/audio_out.h"
#include "sys/files.h"

namespace {

constexpr size_t kLargestFile = size_t{256} << 20;

}  // namespace

void PlaySound(const char* name) {
    // The name is looked up as it stands: "../MUSIC" is shortened for the other services alone.
    const auto bytes = ReadResource(name, kLargestFile);
    if (!bytes) {
        audioOut.stopSound();
        SystemLog(FormatText("sound %s: cannot be read", name));
        return;
    }
    audioOut.playSound(name, *bytes);
}

u32 SoundLength(const char* name) {
    const auto header = ReadResource(BesideMusic(name), kWavHeaderSize);
    return header ? WavMilliseconds(*header) : 0;
}
