#pragma once
/* The services of the host that the console uses. A pointer of the console counts from the start of
   its own linear memory, an address of the host from the start of the image. */

typedef unsigned u32;

enum { kStart2 = 2, kClose = 3, kEnd = 4, kSize = 9, kDown = 12, kUp = 13, kPointer = 15 };

#define kNoHandle 0xFFFFFFFFu

void* PointerTo(u32 imageAddress);

struct Message {
    u32 command, p1, p2, p3;
};

/* The latest move of the pointer, and the next press or release, of those that wait in the queue
   before any other message; 0 where there is none. Ticks before them are dropped. */
int TakePointerMessage(struct Message* message);
int TakeKeyMessage(struct Message* message);

u32 MillisecondClock(void);
void StartTimer(u32 milliseconds);
void LogLine(const char* text);

/* Bytes moved; a file that is not there has none, one that cannot be written takes none. */
u32 ReadWholeFile(const char* name, void* to, u32 size);
u32 WriteWholeFile(const char* name, const void* from, u32 size);

/* The name by which the sound service, which starts from the resources, finds a file of the data
   folder. */
void NameInDataFolder(const char* name, char* out, u32 size);
void PlaySoundFile(const char* name);

u32 MakeBitmap(u32 width, u32 height);
/* The first pixel; bitmaps move between two messages. */
void* PixelsOf(u32 bitmap);
/* Rows of a console's picture, `scale` times as large, at x, y of the screen. */
void EnlargeToScreen(u32 bitmap, u32 firstRow, u32 rows, int x, int y, u32 scale);
/* Black; an empty rectangle draws nothing. */
void FillScreen(int x, int y, int width, int height);
