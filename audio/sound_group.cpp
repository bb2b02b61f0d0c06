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

constexpr u32 kLargestFile = u32{256} << 20;

<<<<<<< HEAD
=======
// A sound that the game itself has made lies in its data folder: a name that leads there, out of
// the resources, gives the rest of the name within it. Empty for all other names.
std::string NameInDataFolder(const std::string& path) {
    const std::string data = std::filesystem::path(DataFolder()).lexically_normal().string() + "/";
    const std::string plain = std::filesystem::path(path).lexically_normal().string();
    const bool isInside = data.size() > 1 && data[0] == '/' && plain.starts_with(data);
    return isInside ? plain.substr(data.size()) : "";
}

std::optional<std::vector<u8> > ReadData(const std::string& name, u32 most) {
    const u32 file = OpenFile(name.c_str(), kOpenRead);
    if (file == kNoFile) return std::nullopt;
    std::vector<u8> bytes(std::min<u64>(ReadableBytes(file, most), most));
    bytes.resize(ReadFile(file, bytes.data(), static_cast<u32>(bytes.size())));
    CloseFile(file);
    return bytes;
}

// The first bytes of a sound, `most` at most.
std::optional<std::vector<u8> > ReadSound(const char* name, u32 most) {
    const std::string own = NameInDataFolder(folders.resources + "/" + name);
    return own.empty() ? ReadResource(name, most) : ReadData(own, most);
}

>>>>>>> house
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
<<<<<<< HEAD
    const auto bytes = ReadPlayed(name, kLargestFile);
=======
    const auto bytes = ReadSound(name, kLargestFile);
>>>>>>> house
    if (!bytes) {
        audioOut.stopSound();
        SystemLog(FormatText("sound %s: cannot be read", name));
        return;
    }
    audioOut.playSound(name, *bytes);
}

u32 SoundLength(const char* name) {
    const auto header = ReadSound(BesideMusic(name), kWavHeaderSize);
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
