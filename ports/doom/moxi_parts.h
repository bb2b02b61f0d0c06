// What video.c, input.c, sound.c, music.c and main.c have of each other.
#ifndef DOOM_MOXI_PARTS_H
#define DOOM_MOXI_PARTS_H

#include "doomtype.h"
// behind it: see engine.h
#include <moxi.h>

// aspect_ratio_correct: pixels a fifth higher than wide never, where the picture gets no smaller by
// it, always.
enum { kNever, kWhereItFits, kAlways };

// --- video.c
void SetView(int width, int height);
int ViewWidth(void);
void ChangePixelShape(void);

// --- input.c: the messages of keys, buttons and pointer
void KeyDown(int code);
void KeyUp(int code);
void Typed(int character);
void ButtonDown(int button, int direction);
void ButtonUp(int button);
void PointerAt(int x, int y);

// --- music.c
void MusicDone(void);

// --- midi_volume.c: the MIDI file with another volume, 1 to 127, which is to be freed; NULL where
// there is no memory or the file is none.
void* WithVolume(const void* midi, size_t size, int volume, size_t* newSize);

// --- main.c
// The name of a file in the data folder for the services of sounds and music, which look in the
// game's own folder. It holds until the next call.
const char* PlayedName(const char* file);
bool WriteData(const char* name, const void* bytes, size_t size);

#endif
