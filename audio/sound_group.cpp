#include "audio/sound_group.h"

#include "audio/music.h"
#include "audio/resource.h"
#include "audio/wav.h"
#include "base/log.h"
#include "desktop/audio_out.h"
#include "desktop/folders.h"
#include "sys/files.h"
#include "sys/param.h"
#include "sys/services.h"

namespace moxi {

namespace {

constexpr size_t kLargestFile = size_t{256} << 20;

// In place of the address of a name.
constexpr u32 kReplay = 0xFFFFFFFE;
constexpr u32 kStop = 0xFFFFFFFF;

void Music(u32 arguments) {
    switch (Argument(arguments, 0)) {
        case kReplay: ReplayMusic(); return;
        case kStop: StopMusic(); return;
        default: PlayNamedMusic(TextArgument(arguments, 0));
    }
}

}  // namespace

void PlaySound(const char* name) {
    // The name is looked up as it stands: "../MUSIC" is shortened for the other services alone.
    const auto bytes = ReadPlayed(name, kLargestFile);
    if (!bytes) {
        audioOut.stopSound();
        SystemLog(FormatText("sound %s: cannot be read", name));
        return;
    }
    audioOut.playSound(name, *bytes);
}

u32 SoundLength(const char* name) {
    const auto header = ReadPlayed(BesideMusic(name), kWavHeaderSize);
    return header ? WavMilliseconds(*header) : 0;
}

void SysSoundGroup(u32 sub, u32 arguments) {
    switch (kSoundServices | sub) {
        case SYS_PLAY_SOUND: PlaySound(TextArgument(arguments, 0)); return;
        case SYS_PLAY_MUSIC: Music(arguments); return;
        case SYS_STOP_MUSIC: StopMusic(); return;
        case SYS_MUSIC_PLAYING: SetResult(musicPlaying ? 1 : 0); return;
        case SYS_SOUND_LENGTH: SetResult(SoundLength(TextArgument(arguments, 0))); return;
        default: return;
    }
}

}  // namespace moxi
