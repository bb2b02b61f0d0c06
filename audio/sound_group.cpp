#include "audio/sound_group.h"

#include "audio/music.h"
#include "audio/sound.h"
#include "sys/param.h"

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
    switch (sub) {
        case 0: PlaySound(TextArgument(arguments, 0)); return;
        case 1: Music(arguments); return;
        case 2: StopMusic(); return;
        case 3: SetResult(musicPlaying ? 1 : 0); return;
        case 4: SetResult(SoundLength(TextArgument(arguments, 0))); return;
        default: return;
    }
}
