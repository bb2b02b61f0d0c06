#include "audio/sound_group.h"

#include "audio/music.h"
#include "audio/sound.h"
#include "sys/param.h"
#include "sys/services.h"

namespace moxi {

namespace {

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
