#include "host.h"

#include "draw.h"

__attribute__((import_module("moxi"), import_name("sys"))) long long CallHost(const void* block);
__attribute__((import_module("moxi"), import_name("memory_base"))) u32 MemoryBase(void);

/* Command words. */
enum {
    kFileOpen = 0x0000,
    kFileRead = 0x0002,
    kFileWrite = 0x0003,
    kFileClose = 0x0008,
    kSetTimer = 0x0200,
    kMilliseconds = 0x0201,
    kDebugPrint = 0x030E,
    kRectangle = 0x0501,
    kScaledBlit = 0x0508,
    kCreateBitmap = 0x0513,
    kPlaySound = 0x0600,
    kPeekKey = 0x0703,
    kTakePointer = 0x0704,
    kGetDataFolder = 0x070C,
    kHeapAddress = 0x0904,
};

enum { kForReading = 0x8000, kNewFile = 0x8302, kPathSize = 1024, kDeepestFolder = 64 };

static u32 block[16];

static u32 Address(const void* pointer) {
    return (u32)(unsigned long)pointer + MemoryBase();
}

void* PointerTo(u32 imageAddress) {
    return (void*)(unsigned long)(imageAddress - MemoryBase());
}

static u32 Call(u32 command, u32 a, u32 b, u32 c) {
    block[0] = command;
    block[1] = a;
    block[2] = b;
    block[3] = c;
    return (u32)CallHost(block);
}

int TakePointerMessage(struct Message* message) {
    Call(kTakePointer, Address(message), 0, 0);
    return message->command == kPointer;
}

int TakeKeyMessage(struct Message* message) {
    message->command = 1; /* the message is to be taken off */
    Call(kPeekKey, Address(message), 0, 0);
    return message->command == kDown || message->command == kUp;
}

u32 MillisecondClock(void) {
    return Call(kMilliseconds, 0, 0, 0);
}

void StartTimer(u32 milliseconds) {
    Call(kSetTimer, milliseconds, 0, 0);
}

void LogLine(const char* text) {
    Call(kDebugPrint, Address(text), 0, 0);
}

u32 ReadWholeFile(const char* name, void* to, u32 size) {
    const u32 file = Call(kFileOpen, Address(name), kForReading, 0);
    if (file == kNoHandle) return 0;
    const u32 count = Call(kFileRead, file, Address(to), size);
    Call(kFileClose, file, 0, 0);
    return count;
}

u32 WriteWholeFile(const char* name, const void* from, u32 size) {
    const u32 file = Call(kFileOpen, Address(name), kNewFile, 0);
    if (file == kNoHandle) return 0;
    const u32 count = Call(kFileWrite, file, Address(from), size);
    Call(kFileClose, file, 0, 0);
    return count;
}

/* Appends as much of the text as there is room for. */
static u32 Append(char* out, u32 length, u32 size, const char* text) {
    while (*text && length + 1 < size) out[length++] = *text++;
    out[length] = 0;
    return length;
}

void NameInDataFolder(const char* name, char* out, u32 size) {
    static char path[kPathSize];
    u32 length = 0;
    /* Up to the root of all folders, from wherever: nothing lies above it. */
    for (int i = 0; i < kDeepestFolder; ++i) length = Append(out, length, size, "../");
    Call(kGetDataFolder, Address(path), 0, 0);
    length = Append(out, length, size, path + 1);
    Append(out, length, size, name);
}

void PlaySoundFile(const char* name) {
    Call(kPlaySound, Address(name), 0, 0);
}

u32 MakeBitmap(u32 width, u32 height) {
    return Call(kCreateBitmap, width, height, 0);
}

/* A bitmap's record holds the handle of its pixels in the last of its eight words. */
void* PixelsOf(u32 bitmap) {
    const u32* const record = PointerTo(Call(kHeapAddress, bitmap, 0, 0));
    return PointerTo(Call(kHeapAddress, record[7], 0, 0));
}

void EnlargeToScreen(u32 bitmap, u32 firstRow, u32 rows, int x, int y, u32 scale) {
    const u32 words[] = {kScaledBlit,  0,      (u32)x, (u32)y,   kScreenSize * scale,
                         rows * scale, bitmap, 0,      firstRow, kScreenSize,
                         rows,         0,      0};
    __builtin_memcpy(block, words, sizeof words);
    CallHost(block);
}

void FillScreen(int x, int y, int width, int height) {
    if (width <= 0 || height <= 0) return;
    const u32 words[] = {kRectangle, 0,           (u32)x,      (u32)y,
                         (u32)width, (u32)height, 0xFF000000u, 0xFF000000u};
    __builtin_memcpy(block, words, sizeof words);
    CallHost(block);
}
