#include "audio/music.h"

#include <cstring>

#include "audio/resource.h"
#include "audio/score.h"
#include "audio/smf.h"
#include "base/log.h"
#include "desktop/audio_out.h"
#include "sys/files.h"

namespace moxi {

constinit bool musicPlaying = false;

namespace {

constexpr size_t kNameSize = 1024;
// Far more than any piece has; what is cut off makes the file a damaged one.
constexpr size_t kLargestFile = size_t{16} << 20;

constinit char lastName[kNameSize] = {};
constinit u64 endOfPiece = 0;  // nanoseconds

}  // namespace

void PlayMusic(const char* name) {
    StopMusic();
    const auto bytes = ReadPlayed(BesideMusic(name), kLargestFile);
    if (!bytes) {
        // Nothing has been named where the first piece is asked for "again".
        if (name[0] != '\0') {
            SystemLog(FormatText("music %s: cannot be read", name));
        }
        return;
    }
    SmfFile file;
    std::string reason;
    if (!ReadSmf(*bytes, file, reason)) {
        SystemLog(FormatText("music %s: %s", name, reason.c_str()));
        return;
    }
    const Score score = PrepareScore(file);
    endOfPiece = score.end;
    audioOut.startMusic(score.piece);
    musicPlaying = true;
}

void PlayNamedMusic(const char* name) {
    const size_t length = strnlen(name, kNameSize - 1);
    std::memcpy(lastName, name, length);
    lastName[length] = '\0';
    PlayMusic(name);
}

void ReplayMusic() {
    PlayMusic(lastName);
}

void StopMusic() {
    if (musicPlaying) {
        audioOut.stopMusic();
    }
    musicPlaying = false;
}

bool PollMusic() {
    if (!musicPlaying || audioOut.musicPosition() < endOfPiece) {
        return false;
    }
    StopMusic();
    return true;
}

void ResetMusic() {
    StopMusic();
    lastName[0] = '\0';
}

}  // namespace moxi
