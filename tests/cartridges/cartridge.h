#pragma once
/* What a cartridge may import, and where its memory holds what. */

typedef unsigned char u8;
typedef unsigned short u16;
typedef unsigned u32;

#define IMPORT(name) __attribute__((import_module("env"), import_name(name)))
#define EXPORT(name) __attribute__((export_name(name)))

IMPORT("line") void line(int x1, int y1, int x2, int y2);
IMPORT("hline") void hline(int x, int y, int length);
IMPORT("vline") void vline(int x, int y, int length);
IMPORT("rect") void rect(int x, int y, int width, int height);
IMPORT("oval") void oval(int x, int y, int width, int height);
IMPORT("blit") void blit(const void* pixels, int x, int y, int width, int height, u32 flags);
IMPORT("blitSub")
void blitSub(const void* pixels, int x, int y, int width, int height, int sourceX, int sourceY,
             int stride, u32 flags);
IMPORT("text") void text(const void* text, int x, int y);
IMPORT("textUtf8") void textUtf8(const void* text, u32 bytes, int x, int y);
IMPORT("textUtf16") void textUtf16(const void* text, u32 bytes, int x, int y);
IMPORT("tone") void tone(u32 frequency, u32 duration, u32 volume, u32 flags);
IMPORT("diskr") u32 diskr(void* to, u32 size);
IMPORT("diskw") u32 diskw(const void* from, u32 size);
IMPORT("trace") void trace(const void* text);
IMPORT("traceUtf8") void traceUtf8(const void* text, u32 bytes);
IMPORT("traceUtf16") void traceUtf16(const void* text, u32 bytes);
IMPORT("tracef") void tracef(const char* format, const void* arguments);

#define PALETTE ((u32*)0x04)
#define DRAW_COLOURS (*(volatile u16*)0x14)
#define GAMEPADS ((volatile u8*)0x16)
#define MOUSE_X (*(volatile short*)0x1A)
#define MOUSE_Y (*(volatile short*)0x1C)
#define MOUSE_BUTTONS (*(volatile u8*)0x1E)
#define SYSTEM_FLAGS (*(volatile u8*)0x1F)
#define PICTURE ((u8*)0xA0)

/* A small generator of numbers, the same on every machine. */
static u32 randomState = 1;

__attribute__((unused)) static u32 Random(void) {
    randomState ^= randomState << 13;
    randomState ^= randomState >> 17;
    randomState ^= randomState << 5;
    return randomState;
}

/* From low to high, both included. */
__attribute__((unused)) static int Between(int low, int high) {
    return low + (int)(Random() % (u32)(high - low + 1));
}
