// Sound, music and saved values of a game.

#include <stdio.h>
#include <string.h>

#include "game.h"

// --- Sound

static bool isRepeated;

void play_sound(const char* name) {
    moxi_play_sound(name);
}

void play_music(const char* name, bool again) {
    isRepeated = again;
    moxi_play_music(name);
}

void stop_music(void) {
    isRepeated = false;
    moxi_stop_music();
}

void MusicDone(void) {
    if (isRepeated) moxi_play_music(MOXI_MUSIC_AGAIN);
}

// --- Saved values: one section of a settings file

static const char kFile[] = "SAVED.INI";
static const char kSection[] = "Saved";

static bool isLoaded;

static void Load(void) {
    if (!isLoaded) moxi_settings_load(kFile);
    isLoaded = true;
    moxi_settings_add_section(kSection);
}

int saved_number(const char* name, int otherwise) {
    uint32_t number = 0;
    Load();
    if (!moxi_settings_key(name) || !moxi_settings_read_number(&number)) return otherwise;
    return (int)number;
}

void save_number(const char* name, int number) {
    Load();
    moxi_settings_delete_key(name);
    moxi_settings_append_number(name, number, 10);
    moxi_settings_save(kFile);
}

const char* saved_text(const char* name, const char* otherwise) {
    static char text[1024];
    Load();
    if (!moxi_settings_key(name)) return otherwise;
    return moxi_settings_read_string(text, sizeof text) < 0 ? otherwise : text;
}

void save_text(const char* name, const char* text) {
    Load();
    // A text is appended to a line that is there.
    moxi_settings_write_raw(name, "");
    moxi_settings_append_string(name, text);
    moxi_settings_save(kFile);
}
