// What is kept between runs, and what is heard.

#include "kettle.h"

record records[LEVELS];
int music_on = 1, sound_on = 1, shake_on = 1, opened = 1;

static const char* wanted;

static const char* numbered(const char* name, int number) {
    static char text[24];
    snprintf(text, sizeof text, "%s%d", name, number + 1);
    return text;
}

static int saved_within(const char* name, int otherwise, int low, int high) {
    const int number = saved_number(name, otherwise);
    return number < low || number > high ? otherwise : number;
}

void load_store(void) {
    music_on = saved_within("music", 1, 0, 1);
    sound_on = saved_within("sound", 1, 0, 1);
    shake_on = saved_within("shake", 1, 0, 1);
    opened = saved_within("opened", 1, 1, LEVELS);
    for (int i = 0; i < LEVELS; ++i) {
        records[i].best = saved_within(numbered("best", i), 0, 0, 1 << 30);
        records[i].leaves = saved_within(numbered("leaves", i), 0, 0, (1 << LEAVES) - 1);
    }
}

void save_options(void) {
    save_number("music", music_on);
    save_number("sound", sound_on);
    save_number("shake", shake_on);
}

void save_record(int number) {
    save_number(numbered("best", number), records[number].best);
    save_number(numbered("leaves", number), records[number].leaves);
    save_number("opened", opened);
}

void forget_records(void) {
    opened = 1;
    for (int i = 0; i < LEVELS; ++i) {
        records[i] = (record){0, 0};
        save_record(i);
    }
}

// One sound at a time: of what happened at once the rarest is heard.
void tell_sounds(unsigned events) {
    static const struct {
        unsigned event;
        const char* name;
    } kSounds[] = {{EVENT_CUP, "SOUNDS/CUP.WAV"},     {EVENT_SPILL, "SOUNDS/SPILL.WAV"},
                   {EVENT_LEAF, "SOUNDS/LEAF.WAV"},   {EVENT_STOVE, "SOUNDS/STOVE.WAV"},
                   {EVENT_HURT, "SOUNDS/HURT.WAV"},   {EVENT_HEART, "SOUNDS/HEART.WAV"},
                   {EVENT_STOMP, "SOUNDS/STOMP.WAV"}, {EVENT_BOUNCE, "SOUNDS/BOUNCE.WAV"},
                   {EVENT_SUGAR, "SOUNDS/SUGAR.WAV"}, {EVENT_PUFF, "SOUNDS/PUFF.WAV"},
                   {EVENT_JUMP, "SOUNDS/JUMP.WAV"}};
    if (!sound_on) return;
    for (unsigned i = 0; i < sizeof kSounds / sizeof *kSounds; ++i) {
        if (!(events & kSounds[i].event)) continue;
        play_sound(kSounds[i].name);
        return;
    }
}

void want_music(const char* name) {
    if (wanted == name) return;
    wanted = name;
    if (music_on) play_music(name, true);
}

void switch_music(void) {
    music_on = !music_on;
    if (music_on && wanted != NULL) play_music(wanted, true);
    if (!music_on) stop_music();
}
