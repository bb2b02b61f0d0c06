/* A small fantasy console as a MOXI game: sixty times a second it calls the cartridge that it was
   joined with, shows the cartridge's picture enlarged by a whole number, and gives it keys and
   pointer. The cartridge's imports are the functions exported here. */

#include "draw.h"
#include "host.h"
#include "sound.h"

#define EXPORT(name) __attribute__((export_name(name)))

/* The cartridge's functions; one that it does not have does nothing. */
#define CARTRIDGE(name) __attribute__((import_module("cart"), import_name(name)))
CARTRIDGE("_initialize") void CartridgeInitialize(void);
CARTRIDGE("_start") void CartridgeMain(void);
CARTRIDGE("start") void CartridgeStart(void);
CARTRIDGE("update") void CartridgeUpdate(void);
CARTRIDGE("memory") u32 CartridgeMemory(void);

/* The calls of update so far. */
unsigned wasm_frames;

enum {
    /* Often enough for sixty pictures a second, and seldom enough that the queue, from which one
       message is taken every 5 ms, empties beside keys and buttons. */
    kTimerMilliseconds = 8,
    kMostFramesAtOnce = 8,
    /* A game that cannot keep up goes slower from there on instead of ever faster. */
    kMostFramesBehind = 60,
    kFramesPerMinute = 3600,
    kGamepads = 4,
    kNowhere = 0x7FFF, /* where the pointer is before it is known */
    kFileSize = 1024,
    kLongestLine = 1023,
};

static const char kSaveFile[] = "SAVE.DAT";
static const char kSoundFile[] = "SOUND.WAV";

/* --- The picture on the screen */

static unsigned char shownPicture[kPictureSize];
static u32 shownPalette[4];
static u32 viewWidth, viewHeight;
static u32 scale = 1;
static int left, top;
static int wholeView = 1; /* the next picture is drawn whatever changed */
static u32 bitmap = kNoHandle;

static u32 Word(u32 address) {
    u32 word;
    __builtin_memcpy(&word, consoleMemory + address, sizeof word);
    return word;
}

/* A palette entry as a colour of the host: red in the lowest byte, and opaque. */
static u32 HostColour(u32 entry) {
    return 0xFF000000u | (entry & 255) << 16 | (entry & 0xFF00) | (entry >> 16 & 255);
}

static void Place(u32 width, u32 height) {
    viewWidth = width;
    viewHeight = height;
    const u32 smaller = width < height ? width : height;
    scale = smaller / kScreenSize;
    if (scale < 1) scale = 1;
    left = (int)(width - scale * kScreenSize) / 2;
    top = (int)(height - scale * kScreenSize) / 2;
    wholeView = 1;
}

static int PaletteChanged(void) {
    int changed = 0;
    for (u32 i = 0; i < 4; ++i) {
        const u32 entry = Word(kPaletteAt + 4 * i);
        changed |= entry != shownPalette[i];
        shownPalette[i] = entry;
    }
    return changed;
}

static int RowChanged(u32 row) {
    const unsigned char* now = consoleMemory + kPictureAt + row * kPictureRowSize;
    const unsigned char* shown = shownPicture + row * kPictureRowSize;
    for (u32 i = 0; i < kPictureRowSize; i += 8) {
        unsigned long long a, b;
        __builtin_memcpy(&a, now + i, sizeof a);
        __builtin_memcpy(&b, shown + i, sizeof b);
        if (a != b) return 1;
    }
    return 0;
}

/* The rows that differ from what is shown: [first, end). */
static void FindChangedRows(u32* first, u32* end) {
    *first = 0;
    *end = kScreenSize;
    if (PaletteChanged() || wholeView) return;
    while (*first < kScreenSize && !RowChanged(*first)) ++*first;
    while (*end > *first && !RowChanged(*end - 1)) --*end;
}

/* Rows [first, end) of the cartridge's picture as pixels of the host's bitmap. */
static void ConvertRows(u32 first, u32 end) {
    u32 colours[4];
    for (u32 i = 0; i < 4; ++i) colours[i] = HostColour(shownPalette[i]);
    const unsigned char* from = consoleMemory + kPictureAt + first * kPictureRowSize;
    unsigned char* const shown = shownPicture + first * kPictureRowSize;
    __builtin_memcpy(shown, from, (end - first) * kPictureRowSize);
    u32* to = (u32*)PixelsOf(bitmap) + first * kScreenSize;
    for (u32 count = (end - first) * kPictureRowSize; count > 0; --count) {
        const u32 byte = *from++;
        to[0] = colours[byte & 3];
        to[1] = colours[byte >> 2 & 3];
        to[2] = colours[byte >> 4 & 3];
        to[3] = colours[byte >> 6];
        to += 4;
    }
}

static void ClearAround(void) {
    const int right = left + (int)(scale * kScreenSize);
    const int bottom = top + (int)(scale * kScreenSize);
    FillScreen(0, 0, (int)viewWidth, top);
    FillScreen(0, bottom, (int)viewWidth, (int)viewHeight - bottom);
    FillScreen(0, top, left, bottom - top);
    FillScreen(right, top, (int)viewWidth - right, bottom - top);
}

static void ShowPicture(void) {
    if (viewWidth == 0) return;
    u32 first, end;
    FindChangedRows(&first, &end);
    if (first == end) return;
    ConvertRows(first, end);
    if (wholeView) ClearAround();
    wholeView = 0;
    EnlargeToScreen(bitmap, first, end - first, left, top + (int)(first * scale), scale);
}

/* --- Keys and pointer */

static unsigned char held[256];

/* Keys of one console button: player, bit, and the host's key codes. */
struct Button {
    unsigned char player, bit, keys[4];
};

static const struct Button kButtons[] = {
    {0, 0x01, {'X', ' ', 'V', 'K'}},
    {0, 0x02, {'Z', 'C', 'J'}},
    {0, 0x10, {0x25}},
    {0, 0x20, {0x27}},
    {0, 0x40, {0x26}},
    {0, 0x80, {0x28}},
    {1, 0x01, {0x09, 0x10}},
    {1, 0x02, {'Q', 'A'}},
    {1, 0x10, {'S'}},
    {1, 0x20, {'F'}},
    {1, 0x40, {'E'}},
    {1, 0x80, {'D'}},
};

static void WriteGamepads(void) {
    unsigned char pads[kGamepads] = {0, 0, 0, 0};
    for (u32 i = 0; i < sizeof kButtons / sizeof *kButtons; ++i) {
        const struct Button* const button = &kButtons[i];
        for (u32 k = 0; k < 4; ++k) {
            if (held[button->keys[k]]) pads[button->player] |= button->bit;
        }
    }
    __builtin_memcpy(consoleMemory + kGamepadsAt, pads, sizeof pads);
}

static int FloorDivide(int value, int by) {
    return value >= 0 ? value / by : -((by - 1 - value) / by);
}

static void WritePlace(u32 address, int value) {
    if (value < -32768) value = -32768;
    if (value > 32767) value = 32767;
    consoleMemory[address] = (unsigned char)value;
    consoleMemory[address + 1] = (unsigned char)(value >> 8);
}

static int pointerX, pointerY, buttons;
static int pointerKnown; /* it has been over the picture */

static int PointerColumn(void) {
    return FloorDivide(pointerX - left, (int)scale);
}

static int PointerRow(void) {
    return FloorDivide(pointerY - top, (int)scale);
}

static void WriteMouse(void) {
    consoleMemory[kMouseButtonsAt] = (unsigned char)buttons;
    WritePlace(kMouseXAt, pointerKnown ? PointerColumn() : kNowhere);
    WritePlace(kMouseYAt, pointerKnown ? PointerRow() : kNowhere);
}

static void TakePointer(int x, int y, u32 buttonWord) {
    pointerX = x;
    pointerY = y;
    buttons = (int)((buttonWord & 3) | (buttonWord >> 4 & 1) << 2);
    if (viewWidth == 0) return;
    const int column = PointerColumn(), row = PointerRow();
    if (column >= 0 && column < kScreenSize && row >= 0 && row < kScreenSize) pointerKnown = 1;
}

static void TakeInput(u32 message, u32 p1, u32 p2, u32 p3) {
    if (message == kPointer) {
        TakePointer((int)p1, (int)p2, p3);
    } else if (p1 == 1 || p1 == 2 || p1 == 4) {
        TakePointer((short)p3, (short)(p3 >> 16), p2);
    } else if (p1 < 256) {
        held[p1] = p1 != 0 && message == kDown;
    }
}

/* What has happened already counts in the frames that come next: keys and pointer are taken from
   the queue, up to a message that is not theirs. It does not fill up that way either. */
static void TakeWaitingInput(void) {
    struct Message waiting;
    while (TakePointerMessage(&waiting) || TakeKeyMessage(&waiting)) {
        TakeInput(waiting.command, waiting.p1, waiting.p2, waiting.p3);
    }
}

/* --- Sound: one mixture of all channels at a time is a file of the game's own, played by the host
 */

enum {
    kWavHeader = 44,
    kRemainder = 6 * kSamplesPerFrame,
    /* What is mixed far ahead is mixed in vain where one tone soon follows another. */
    kShortMixture = 16 * kSamplesPerFrame,
};

/* 44,100 samples a second, two channels of 16 bits. */
static const unsigned char kWavStart[kWavHeader] = {
    'R',  'I',  'F', 'F', 0, 0, 0,  0, 'W', 'A', 'V',  'E',  'f', 'm',
    't',  ' ',  16,  0,   0, 0, 1,  0, 2,   0,   0x44, 0xAC, 0,   0,
    0x10, 0xB1, 2,   0,   4, 0, 16, 0, 'd', 'a', 't',  'a'};

static struct {
    unsigned char header[kWavHeader];
    short samples[2 * kLongestMixture];
} wav;

static int tonesBegan;
static long long latestTone = -kLongestMixture;
static long long mixedUpTo;
static u32 clockAtStart;
static char soundName[1100];

static long long SampleNow(u32 now) {
    return (long long)(now - clockAtStart) * kSampleRate / 1000;
}

static void WriteSize(u32 at, u32 size) {
    __builtin_memcpy(wav.header + at, &size, sizeof size);
}

/* Plays what the channels hold from now on, if a tone began or what is playing nears its end. */
static void PlayTones(u32 now) {
    const long long from = SampleNow(now);
    const long long end = EndOfTones();
    const int runsOut = mixedUpTo < end && mixedUpTo - from < kRemainder;
    if (!tonesBegan && !runsOut) return;
    const long long most = from - latestTone < kLongestMixture ? kShortMixture : kLongestMixture;
    if (tonesBegan) latestTone = from;
    tonesBegan = 0;
    long long count = end - from;
    if (count > most) count = most;
    if (count < kSamplesPerFrame) count = kSamplesPerFrame;
    MixTones(from, (int)count, wav.samples);
    mixedUpTo = from + count;
    const u32 size = (u32)count * 4;
    __builtin_memcpy(wav.header, kWavStart, kWavHeader);
    WriteSize(4, size + kWavHeader - 8);
    WriteSize(40, size);
    if (WriteWholeFile(kSoundFile, &wav, kWavHeader + size)) PlaySoundFile(soundName);
}

EXPORT("tone") void Tone(u32 frequency, u32 duration, u32 volume, u32 flags) {
    StartTone(SampleNow(MillisecondClock()), frequency, duration, volume, flags);
    tonesBegan = 1;
}

/* --- Frames */

static int started;
static u32 nextFrame; /* of the present count */
static u32 countedFrom;

static void RunFrame(void) {
    WriteGamepads();
    WriteMouse();
    if (started && (consoleMemory[kSystemFlagsAt] & 1) == 0) ClearPicture();
    if (!started) {
        started = 1;
        CartridgeStart();
    }
    CartridgeUpdate();
    ++wasm_frames;
}

/* Runs the frames that are due, frame n at n / 60 s. After a halt of the whole desktop they are
   made up for, a few with each picture. */
static void RunDueFrames(void) {
    TakeWaitingInput();
    const u32 now = MillisecondClock();
    u32 run = 0;
    for (; run < kMostFramesAtOnce && (now - countedFrom) * 3 >= nextFrame * 50; ++run) {
        RunFrame();
        ++nextFrame;
    }
    if (run == 0) return;
    if ((now - countedFrom) * 3 >= (nextFrame + kMostFramesBehind) * 50) {
        countedFrom = now;
        nextFrame = 1;
    }
    /* A minute that has gone by is taken off, so that the products stay small. */
    if (nextFrame >= 2 * kFramesPerMinute) {
        nextFrame -= kFramesPerMinute;
        countedFrom += 60000;
    }
    PlayTones(MillisecondClock());
    ShowPicture();
}

static void StartGame(void) {
    consoleMemory = PointerTo(CartridgeMemory());
    bitmap = MakeBitmap(kScreenSize, kScreenSize);
    NameInDataFolder(kSoundFile, soundName, sizeof soundName);
    clockAtStart = MillisecondClock();
    CartridgeInitialize();
    CartridgeMain();
    countedFrom = MillisecondClock();
    RunDueFrames();
    StartTimer(kTimerMilliseconds);
}

EXPORT("moxi_message") int Message(u32 message, u32 p1, u32 p2, u32 p3) {
    switch (message) {
        case kStart2: StartGame(); return 1;
        case kClose: return 1;
        case kSize:
            Place(p1, p2);
            if (bitmap != kNoHandle) ShowPicture();
            return 1;
        case kDown:
        case kUp:
        case kPointer: TakeInput(message, p1, p2, p3); break;
        default: break;
    }
    if (bitmap != kNoHandle && message != kEnd) RunDueFrames();
    return 1;
}

/* --- What a cartridge may call besides */

EXPORT("line") void ExportLine(int x1, int y1, int x2, int y2) {
    DrawLine(x1, y1, x2, y2);
}

EXPORT("hline") void ExportHline(int x, int y, int length) {
    DrawHorizontal(x, y, length);
}

EXPORT("vline") void ExportVline(int x, int y, int length) {
    DrawVertical(x, y, length);
}

EXPORT("rect") void ExportRect(int x, int y, int width, int height) {
    DrawRectangle(x, y, width, height);
}

EXPORT("oval") void ExportOval(int x, int y, int width, int height) {
    DrawOval(x, y, width, height);
}

EXPORT("blit") void ExportBlit(u32 pixels, int x, int y, int width, int height, u32 flags) {
    DrawPixels(pixels, x, y, width, height, 0, 0, width, flags);
}

EXPORT("blitSub")
void ExportBlitSub(u32 pixels, int x, int y, int width, int height, int sourceX, int sourceY,
                   int stride, u32 flags) {
    DrawPixels(pixels, x, y, width, height, sourceX, sourceY, stride, flags);
}

EXPORT("text") void ExportText(u32 text, int x, int y) {
    DrawConsoleText(text, kMemorySize, 1, x, y);
}

EXPORT("textUtf8") void ExportTextUtf8(u32 text, u32 bytes, int x, int y) {
    DrawConsoleText(text, bytes, 1, x, y);
}

EXPORT("textUtf16") void ExportTextUtf16(u32 text, u32 bytes, int x, int y) {
    DrawConsoleText(text, bytes, 2, x, y);
}

/* The saved block: how many bytes were moved. */
EXPORT("diskr") u32 ReadDisk(u32 to, u32 size) {
    if (to >= kMemorySize) return 0;
    if (size > kFileSize) size = kFileSize;
    if (size > kMemorySize - to) size = kMemorySize - to;
    return ReadWholeFile(kSaveFile, consoleMemory + to, size);
}

EXPORT("diskw") u32 WriteDisk(u32 from, u32 size) {
    if (from >= kMemorySize) return 0;
    if (size > kFileSize) size = kFileSize;
    if (size > kMemorySize - from) size = kMemorySize - from;
    return WriteWholeFile(kSaveFile, consoleMemory + from, size);
}

/* --- Lines for the log */

static char line[kLongestLine + 1];
static u32 lineLength;

static void Put(u32 byte) {
    if (lineLength < kLongestLine) line[lineLength++] = (char)byte;
}

static void EndLine(void) {
    line[lineLength] = 0;
    lineLength = 0;
    LogLine(line);
}

/* A character by its number, as UTF-8. */
static void PutCharacter(u32 character) {
    if (character < 0x80) {
        Put(character);
    } else if (character < 0x800) {
        Put(0xC0 | character >> 6);
        Put(0x80 | (character & 63));
    } else {
        Put(0xE0 | character >> 12);
        Put(0x80 | (character >> 6 & 63));
        Put(0x80 | (character & 63));
    }
}

EXPORT("traceUtf8") void TraceUtf8(u32 text, u32 bytes) {
    for (; bytes > 0 && text < kMemorySize && ConsoleByte(text) != 0; --bytes)
        Put(ConsoleByte(text++));
    EndLine();
}

EXPORT("trace") void Trace(u32 text) {
    TraceUtf8(text, kMemorySize);
}

EXPORT("traceUtf16") void TraceUtf16(u32 text, u32 bytes) {
    for (; bytes >= 2 && text < kMemorySize; bytes -= 2, text += 2) {
        const u32 unit = ConsoleByte(text) | ConsoleByte(text + 1) << 8;
        if (unit == 0) break;
        PutCharacter(unit);
    }
    EndLine();
}

static void PutUnsigned(unsigned long long value, u32 base, u32 digits) {
    char reversed[24];
    u32 count = 0;
    do {
        const u32 digit = (u32)(value % base);
        reversed[count++] = (char)(digit < 10 ? '0' + digit : 'a' + digit - 10);
        value /= base;
    } while (value != 0 || count < digits);
    while (count > 0) Put((u32)reversed[--count]);
}

static void PutSigned(int value) {
    if (value < 0) Put('-');
    PutUnsigned(value < 0 ? 0u - (u32)value : (u32)value, 10, 1);
}

static void PutText(const char* text) {
    while (*text) Put((u32)*text++);
}

/* Six decimals, or the power of ten where the number is too large for that. */
static void PutReal(double value) {
    if (value != value) {
        PutText("nan");
        return;
    }
    if (value < 0) {
        Put('-');
        value = -value;
    }
    int power = 0;
    if (value > 1e300 * 1e10) {
        PutText("inf");
        return;
    }
    while (value >= 1e12) {
        value /= 10;
        ++power;
    }
    const unsigned long long millionths = (unsigned long long)(value * 1e6 + 0.5);
    PutUnsigned(millionths / 1000000, 10, 1);
    Put('.');
    PutUnsigned(millionths % 1000000, 10, 6);
    if (power > 0) {
        Put('e');
        PutSigned(power);
    }
}

static u32 ConsoleWord(u32 address) {
    return ConsoleByte(address) | ConsoleByte(address + 1) << 8 | ConsoleByte(address + 2) << 16 |
           ConsoleByte(address + 3) << 24;
}

/* Writes one argument and gives back how many bytes it took. */
static u32 PutArgument(u32 kind, u32 arguments) {
    const u32 word = ConsoleWord(arguments);
    switch (kind) {
        case 'c': PutCharacter(word & 0xFFFF); return 4;
        case 'd': PutSigned((int)word); return 4;
        case 'x': PutUnsigned(word, 16, 1); return 4;
        case 's':
            for (u32 at = word; at < kMemorySize && ConsoleByte(at) != 0; ++at)
                Put(ConsoleByte(at));
            return 4;
        case 'f': {
            const unsigned long long bits = word | (unsigned long long)ConsoleWord(arguments + 4)
                                                       << 32;
            double value;
            __builtin_memcpy(&value, &bits, sizeof value);
            PutReal(value);
            return 8;
        }
        default: break;
    }
    Put('%');
    if (kind != '%' && kind != 0) Put(kind);
    return 0;
}

EXPORT("tracef") void TraceFormatted(u32 format, u32 arguments) {
    for (; format < kMemorySize; ++format) {
        const u32 byte = ConsoleByte(format);
        if (byte == 0) break;
        if (byte != '%') {
            Put(byte);
            continue;
        }
        const u32 kind = ConsoleByte(++format);
        arguments += PutArgument(kind, arguments);
        if (kind == 0) break;
    }
    EndLine();
}
