// Music: the piece becomes a MIDI file in the data folder, which the music service plays.

#include "moxi_parts.h"

#include <stdlib.h>
#include <string.h>

#include "config.h"

#include "i_sound.h"
#include "memio.h"
#include "mus2mid.h"

static const char kFile[] = "MUSIC.MID";

typedef struct {
    void* bytes;
    size_t size;
} piece;

static bool isRepeated, isPaused;
static int volume = 127;
static const piece* wanted;  // what is played, or would be

// From its start: the service knows no other place.
static void Play(void) {
    if (wanted == NULL || volume == 0 || isPaused) return;
    size_t size;
    void* const midi = WithVolume(wanted->bytes, wanted->size, volume, &size);
    if (midi != NULL && WriteData(kFile, midi, size)) moxi_play_music(PlayedName(kFile));
    free(midi);
}

// Pieces are MIDI files, or scores of a form of the game's own.
static bool Convert(const void* data, size_t size, piece* out) {
    if (size >= 4 && memcmp(data, "MThd", 4) == 0) {
        out->bytes = malloc(size);
        out->size = size;
        if (out->bytes != NULL) memcpy(out->bytes, data, size);
        return out->bytes != NULL;
    }
    void* bytes;
    size_t length;
    MEMFILE* const from = mem_fopen_read((void*)data, size);
    MEMFILE* const to = mem_fopen_write();
    bool converted = !mus2mid(from, to);
    if (converted) {
        mem_get_buf(to, &bytes, &length);
        out->bytes = malloc(length);
        out->size = length;
        converted = out->bytes != NULL;
        if (converted) memcpy(out->bytes, bytes, length);
    }
    mem_fclose(from);
    mem_fclose(to);
    return converted;
}

void* I_RegisterSong(void* data, int size) {
    piece* const made = calloc(1, sizeof *made);
    if (made != NULL && !Convert(data, (size_t)size, made)) {
        free(made);
        return NULL;
    }
    return made;
}

void I_UnRegisterSong(void* song) {
    piece* const made = song;
    if (made != NULL) free(made->bytes);
    free(made);
}

void I_PlaySong(void* song, boolean looping) {
    wanted = song;
    isPaused = false;
    isRepeated = looping;
    Play();
}

void I_StopSong(void) {
    wanted = NULL;
    moxi_stop_music();
}

void I_PauseSong(void) {
    isPaused = true;
    moxi_stop_music();
}

void I_ResumeSong(void) {
    isPaused = false;
    if (!moxi_music_playing()) Play();
}

void I_SetMusicVolume(int wantedVolume) {
    if (volume == wantedVolume) return;
    volume = wantedVolume;
    if (volume == 0) moxi_stop_music();
    Play();
}

boolean I_MusicIsPlaying(void) {
    return wanted != NULL;
}

void MusicDone(void) {
    if (isRepeated) {
        moxi_play_music(MOXI_MUSIC_AGAIN);
    } else {
        wanted = NULL;
    }
}

void I_InitMusic(void) {}

void I_ShutdownMusic(void) {
    I_StopSong();
}
