// The same engine for the machine that builds it, without pictures, input and sound: it plays
// demos, so that what it says of the game's state can be compared.

#include <stdio.h>
#include <stdlib.h>

#include "../engine.h"

#include "i_input.h"
#include "i_sound.h"
#include "i_timer.h"
#include "i_video.h"

_Noreturn void FailProgram(const char* text) {
    fprintf(stderr, "%s\n", text);
    exit(1);
}

_Noreturn void EndProgram(void) {
    exit(0);
}

void GatherInput(void) {}

int main(int count, char** arguments) {
    StartEngine(count - 1, arguments + 1);
    for (;;) D_RunFrame();
}

// --- Time goes on with each look at it: nobody waits.

static int tics;

int I_GetTime(void) {
    return ++tics;
}

int I_GetTimeMS(void) {
    return ++tics * 1000 / TICRATE;
}

void I_Sleep(int milliseconds) {
    (void)milliseconds;
}

void I_InitTimer(void) {}

void I_WaitVBL(int count) {
    (void)count;
}

// --- Pictures

pixel_t* I_VideoBuffer;
boolean screenvisible = true;
boolean screensaver_mode = false;
int usegamma, usemouse;
float mouse_acceleration;
int mouse_threshold;
int aspect_ratio_correct, png_screenshots, vanilla_keyboard_mapping = 1;
unsigned int joywait;

void I_InitGraphics(void) {
    I_VideoBuffer = calloc(SCREENWIDTH, SCREENHEIGHT);
}

void I_GraphicsCheckCommandLine(void) {}
void I_UpdateNoBlit(void) {}
void I_FinishUpdate(void) {}
void I_CheckIsScreensaver(void) {}
void I_BindVideoVariables(void) {}

void I_SetPalette(byte* colours) {
    (void)colours;
}

int I_GetPaletteIndex(int red, int green, int blue) {
    return (red + green + blue) & 255;
}

void I_ReadScreen(pixel_t* pixels) {
    for (int i = 0; i < SCREENWIDTH * SCREENHEIGHT; ++i) pixels[i] = I_VideoBuffer[i];
}

void I_SetWindowTitle(const char* title) {
    (void)title;
}

void I_SetGrabMouseCallback(grabmouse_callback_t call) {
    (void)call;
}

void I_DisplayFPSDots(boolean on) {
    (void)on;
}

void I_RegisterWindowIcon(const unsigned int* icon, int width, int height) {
    (void)icon, (void)width, (void)height;
}

// --- Input

void I_BindInputVariables(void) {}

void I_StartTextInput(int left, int top, int right, int bottom) {
    (void)left, (void)top, (void)right, (void)bottom;
}

void I_StopTextInput(void) {}

// --- Sound and music

int snd_musicdevice, snd_pitchshift;

void I_InitSound(boolean prefixed) {
    (void)prefixed;
}

void I_ShutdownSound(void) {}
void I_UpdateSound(void) {}

int I_GetSfxLumpNum(sfxinfo_t* sound) {
    (void)sound;
    return 0;
}

void I_UpdateSoundParams(int channel, int volume, int side) {
    (void)channel, (void)volume, (void)side;
}

int I_StartSound(sfxinfo_t* sound, int channel, int volume, int side, int pitch) {
    (void)sound, (void)channel, (void)volume, (void)side, (void)pitch;
    return -1;
}

void I_StopSound(int channel) {
    (void)channel;
}

boolean I_SoundIsPlaying(int channel) {
    (void)channel;
    return false;
}

void I_PrecacheSounds(sfxinfo_t* sounds, int count) {
    (void)sounds, (void)count;
}

void I_SetOPLDriverVer(opl_driver_ver_t version) {
    (void)version;
}

void I_OPL_DevMessages(char* text, size_t size) {
    if (size > 0) text[0] = 0;
}

void I_InitMusic(void) {}
void I_ShutdownMusic(void) {}
void I_PauseSong(void) {}
void I_ResumeSong(void) {}
void I_StopSong(void) {}
void I_BindSoundVariables(void) {}

void I_SetMusicVolume(int volume) {
    (void)volume;
}

void* I_RegisterSong(void* data, int size) {
    (void)size;
    return data;
}

void I_UnRegisterSong(void* song) {
    (void)song;
}

void I_PlaySong(void* song, boolean looping) {
    (void)song, (void)looping;
}

boolean I_MusicIsPlaying(void) {
    return false;
}
