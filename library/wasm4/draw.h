#pragma once
/* The console's drawing functions, on a picture of 160 x 160 pixels of two bits that lies in the
   cartridge's 64 KiB of memory. Plain C11 without a library, so that the same source runs in a
   module and in a test on the desktop. */

enum {
    kScreenSize = 160,
    kMemorySize = 65536,
    kPaletteAt = 0x04,     /* four words 0x00RRGGBB */
    kDrawColoursAt = 0x14, /* four nibbles, the lowest is colour 1 */
    kGamepadsAt = 0x16,
    kMouseXAt = 0x1A,
    kMouseYAt = 0x1C,
    kMouseButtonsAt = 0x1E,
    kSystemFlagsAt = 0x1F,
    kPictureAt = 0xA0,
    kPictureSize = kScreenSize * kScreenSize / 4,
    kPictureRowSize = kScreenSize / 4,
};

/* Flags of a blit. */
enum { kTwoBits = 1, kFlipX = 2, kFlipY = 4, kRotate = 8 };

/* The cartridge's memory; set before anything is drawn, and owned by the caller. */
extern unsigned char* consoleMemory;

/* The byte at an address of the cartridge; 0 beyond its memory. */
static inline unsigned ConsoleByte(unsigned address) {
    return address < kMemorySize ? consoleMemory[address] : 0;
}

/* All of them clip to the screen and take coordinates in pixels, the origin at the top left. */
void ClearPicture(void);
void DrawLine(int x1, int y1, int x2, int y2);
void DrawHorizontal(int x, int y, int length);
void DrawVertical(int x, int y, int length);
void DrawRectangle(int x, int y, int width, int height);
void DrawOval(int x, int y, int width, int height);
/* Pixels of one or two bits at an address of the cartridge, or of the host's own at `pixels`. */
void DrawPixels(unsigned address, int x, int y, int width, int height, int sourceX, int sourceY,
                int stride, unsigned flags);
/* Text up to a 0 or `bytes`; `unit` is the size of a character, 1 or 2 bytes. */
void DrawConsoleText(unsigned address, unsigned bytes, unsigned unit, int x, int y);
