#include "draw.h"

#include "font.h"

unsigned char* consoleMemory;

static unsigned DrawColours(void) {
    return consoleMemory[kDrawColoursAt] | (unsigned)consoleMemory[kDrawColoursAt + 1] << 8;
}

static int Larger(int a, int b) {
    return a > b ? a : b;
}

static int Smaller(int a, int b) {
    return a < b ? a : b;
}

static void SetPixel(unsigned value, int x, int y) {
    unsigned char* const byte = consoleMemory + kPictureAt + y * kPictureRowSize + (x >> 2);
    const unsigned shift = ((unsigned)x & 3) * 2;
    *byte = (unsigned char)((*byte & ~(3u << shift)) | value << shift);
}

static void SetPixelClipped(unsigned value, long long x, long long y) {
    if (x >= 0 && x < kScreenSize && y >= 0 && y < kScreenSize) SetPixel(value, (int)x, (int)y);
}

/* The pixels from x up to, not including, end, which lie on the screen. */
static void FillRow(unsigned value, int x, int y, int end) {
    while (x < end && (x & 3) != 0) SetPixel(value, x++, y);
    unsigned char* byte = consoleMemory + kPictureAt + y * kPictureRowSize + (x >> 2);
    for (; x + 4 <= end; x += 4) *byte++ = (unsigned char)(value * 0x55);
    while (x < end) SetPixel(value, x++, y);
}

static void FillRowClipped(unsigned value, long long x, long long y, long long end) {
    if (y < 0 || y >= kScreenSize) return;
    if (x < 0) x = 0;
    if (end > kScreenSize) end = kScreenSize;
    if (x < end) FillRow(value, (int)x, (int)y, (int)end);
}

static void FillColumn(unsigned value, int x, int y, int end) {
    for (; y < end; ++y) SetPixel(value, x, y);
}

/* Keeps a coordinate near the screen, so that it fits 32 bits again and stays off the screen if it
 * was. */
static int Near(long long coordinate) {
    if (coordinate < -1) return -1;
    return coordinate > kScreenSize + 1 ? kScreenSize + 1 : (int)coordinate;
}

void ClearPicture(void) {
    for (int i = 0; i < kPictureSize; ++i) consoleMemory[kPictureAt + i] = 0;
}

void DrawHorizontal(int x, int y, int length) {
    const unsigned colour = DrawColours() & 15;
    if (colour == 0) return;
    FillRowClipped((colour - 1) & 3, x, y, (long long)x + length);
}

void DrawVertical(int x, int y, int length) {
    const unsigned colour = DrawColours() & 15;
    if (colour == 0 || x < 0 || x >= kScreenSize) return;
    FillColumn((colour - 1) & 3, x, Larger(y, 0),
               Smaller(Near((long long)y + length), kScreenSize));
}

/* How many of a line's first `steps` steps along its longer side also go along the shorter one. */
static unsigned long long ShortSteps(unsigned long long steps, unsigned long long longer,
                                     unsigned long long shorter) {
    const unsigned long long way = steps * shorter, half = longer / 2;
    if (way <= half) return 0;
    return (way - half) / longer + ((way - half) % longer != 0);
}

struct Line {
    long long x, y, endX, endY, dx, dy;
    int step;
    long long error;
};

/* Takes the steps from far outside to the screen at once; nothing is drawn by them. */
static void SkipToScreen(struct Line* line) {
    const int flat = line->dx > line->dy;
    long long steps = -line->y;
    if (flat) steps = line->step > 0 ? -line->x : line->x - (kScreenSize - 1);
    const long long longer = flat ? line->dx : line->dy;
    if (steps <= 0) return;
    if (steps > longer) steps = longer;
    const long long aside =
        (long long)ShortSteps((unsigned long long)steps, (unsigned long long)longer,
                              (unsigned long long)(flat ? line->dy : line->dx));
    const long long stepsX = flat ? steps : aside, stepsY = flat ? aside : steps;
    line->x += line->step * stepsX;
    line->y += stepsY;
    /* The two products nearly cancel each other; what wraps, wraps back. */
    line->error += (long long)((unsigned long long)stepsY * (unsigned long long)line->dx -
                               (unsigned long long)stepsX * (unsigned long long)line->dy);
}

/* A line never comes back from below the screen, nor from the side that it goes to. */
static int HasLeft(const struct Line* line) {
    return line->y >= kScreenSize || (line->step > 0 ? line->x >= kScreenSize : line->x < 0);
}

void DrawLine(int x1, int y1, int x2, int y2) {
    const unsigned colour = DrawColours() & 15;
    if (colour == 0) return;
    struct Line line = {x1, y1, x2, y2, 0, 0, 0, 0};
    if (y1 > y2) line = (struct Line){x2, y2, x1, y1, 0, 0, 0, 0};
    line.dx = line.endX > line.x ? line.endX - line.x : line.x - line.endX;
    line.dy = line.endY - line.y;
    line.step = line.x < line.endX ? 1 : -1;
    line.error = (line.dx > line.dy ? line.dx : -line.dy) / 2;
    SkipToScreen(&line);
    while (!HasLeft(&line)) {
        SetPixelClipped((colour - 1) & 3, line.x, line.y);
        if (line.x == line.endX && line.y == line.endY) return;
        const long long before = line.error;
        if (before > -line.dx) {
            line.error -= line.dy;
            line.x += line.step;
        }
        if (before < line.dy) {
            line.error += line.dx;
            ++line.y;
        }
    }
}

void DrawRectangle(int x, int y, int width, int height) {
    const unsigned fill = DrawColours() & 15;
    const unsigned outline = DrawColours() >> 4 & 15;
    const int right = Near((long long)x + width);
    const int bottom = Near((long long)y + height);
    const int startX = Larger(x, 0), endX = Smaller(right, kScreenSize);
    const int startY = Larger(y, 0), endY = Smaller(bottom, kScreenSize);
    if (fill != 0 && startX < endX) {
        for (int row = startY; row < endY; ++row) FillRow((fill - 1) & 3, startX, row, endX);
    }
    if (outline == 0) return;
    const unsigned value = (outline - 1) & 3;
    if (x >= 0 && x < kScreenSize) FillColumn(value, x, startY, endY);
    if (right > 0 && right <= kScreenSize) FillColumn(value, right - 1, startY, endY);
    if (startX >= endX) return;
    if (y >= 0 && y < kScreenSize) FillRow(value, startX, y, endX);
    if (bottom > 0 && bottom <= kScreenSize) FillRow(value, startX, bottom - 1, endX);
}

enum { kLargestWalk = 65536 };

/* How far row y of an oval reaches from its middle to both sides; 0 where it has no such row. */
static double HalfWidth(double halfWidth, double halfHeight, double fromMiddle) {
    if (fromMiddle < 0) fromMiddle = -fromMiddle;
    if (fromMiddle > halfHeight) return 0;
    if (halfHeight == 0) return halfWidth;
    const double part = fromMiddle / halfHeight;
    return halfWidth * __builtin_sqrt(1 - part * part);
}

/* An oval that nobody could walk around in a frame: row by row, as its equation has it. What the
   next row outwards does not reach is outline. */
static void DrawHugeOval(int x, int y, int width, int height, unsigned fill, unsigned value) {
    if (width < 1 || height < 1) return;
    const double a = (width - 1.0) / 2, b = (height - 1.0) / 2;
    const long long first = y, end = (long long)y + height;
    for (long long row = Larger(y, 0); row < end && row < kScreenSize; ++row) {
        const double fromMiddle = (double)(row - first) - b;
        const long long inset = (long long)(a - HalfWidth(a, b, fromMiddle) + 0.5);
        const double outwards = fromMiddle < 0 ? fromMiddle - 1 : fromMiddle + 1;
        long long next = (long long)(a - HalfWidth(a, b, outwards) + 0.5);
        if (row == first || row == end - 1) next = ((long long)width + 1) / 2;
        if (next <= inset) next = inset + 1;
        const long long west = x, east = (long long)x + width;
        FillRowClipped(value, west + inset, row, west + next);
        FillRowClipped(value, east - next, row, east - inset);
        if (fill != 0) FillRowClipped((fill - 1) & 3, west + next, row, east - next);
    }
}

/* The midpoint method for ellipses of any width and height, in quarters of the way that leaves both
   radii whole: two points of the outline at a time walk from the middle rows outwards. */
void DrawOval(int x, int y, int width, int height) {
    const unsigned fill = DrawColours() & 15;
    const unsigned outline = DrawColours() >> 4 & 15;
    if (outline == 15) return;
    const unsigned fillValue = (fill - 1) & 3;
    const unsigned value = (outline - 1) & 3;
    if (width > kLargestWalk || height > kLargestWalk || width < -kLargestWalk ||
        height < -kLargestWalk) {
        DrawHugeOval(x, y, width, height, fill, value);
        return;
    }
    const long long a = (long long)width - 1;
    const long long b = (long long)height - 1;
    const long long odd = b % 2;
    long long north = (long long)y + height / 2;
    long long south = north - odd;
    long long west = x;
    long long east = (long long)x + width - 1;
    long long dx = 4 * (1 - a) * b * b;
    long long dy = 4 * (odd + 1) * a * a;
    long long error = dx + dy + odd * a * a;
    const long long growX = 8 * b * b;
    const long long growY = 8 * a * a;
    do {
        SetPixelClipped(value, east, north);
        SetPixelClipped(value, west, north);
        SetPixelClipped(value, west, south);
        SetPixelClipped(value, east, south);
        if (fill != 0 && east - west - 1 > 0) {
            FillRowClipped(fillValue, west + 1, north, east);
            FillRowClipped(fillValue, west + 1, south, east);
        }
        const long long twice = 2 * error;
        if (twice <= dy) {
            ++north;
            --south;
            dy += growY;
            error += dy;
        }
        if (twice >= dx || twice > dy) {
            ++west;
            --east;
            dx += growX;
            error += dx;
        }
    } while (west <= east);
    while (north - south < height) {
        SetPixelClipped(value, west - 1, north);
        SetPixelClipped(value, east + 1, north);
        ++north;
        SetPixelClipped(value, west - 1, south);
        SetPixelClipped(value, east + 1, south);
        --south;
    }
}

/* --- Pictures of one and two bits */

struct Pixels {
    const unsigned char* bytes;
    unsigned size; /* what lies beyond is 0 */
    int x, y, width, height, sourceX, sourceY, stride;
    unsigned flags;
};

/* What each of the four pixel values draws; -1 nothing. */
static void MapColours(int map[4]) {
    const unsigned colours = DrawColours();
    for (int i = 0; i < 4; ++i) {
        const int colour = (int)(colours >> 4 * i & 15);
        map[i] = colour == 0 ? -1 : (colour - 1) & 3;
    }
}

static unsigned PixelOf(const struct Pixels* pixels, unsigned index) {
    const unsigned perByte = pixels->flags & kTwoBits ? 2 : 3;
    const unsigned at = index >> perByte;
    const unsigned byte = at < pixels->size ? pixels->bytes[at] : 0;
    if (pixels->flags & kTwoBits) return byte >> (6 - (index & 3) * 2) & 3;
    return byte >> (7 - (index & 7)) & 1;
}

/* Draws the part [fromX, toX) x [fromY, toY) of the picture, which lies on the screen. */
static void DrawPart(const struct Pixels* pixels, int fromX, int fromY, int toX, int toY) {
    const int rotate = (pixels->flags & kRotate) != 0;
    const int flipX = ((pixels->flags & kFlipX) != 0) != rotate;
    const int flipY = (pixels->flags & kFlipY) != 0;
    int map[4];
    MapColours(map);
    for (int row = fromY; row < toY; ++row) {
        const int sourceRow = pixels->sourceY + (flipY ? pixels->height - row - 1 : row);
        const int firstColumn = pixels->sourceX + (flipX ? pixels->width - fromX - 1 : fromX);
        unsigned index = (unsigned)sourceRow * (unsigned)pixels->stride + (unsigned)firstColumn;
        for (int column = fromX; column < toX; ++column) {
            const int value = map[PixelOf(pixels, index)];
            index += flipX ? -1u : 1u;
            if (value < 0) continue;
            if (rotate) {
                SetPixel((unsigned)value, pixels->x + row, pixels->y + column);
            } else {
                SetPixel((unsigned)value, pixels->x + column, pixels->y + row);
            }
        }
    }
}

static void DrawClipped(const struct Pixels* pixels) {
    int x = pixels->x, y = pixels->y;
    if (pixels->flags & kRotate) {
        x = pixels->y;
        y = pixels->x;
    }
    if (x >= kScreenSize || y >= kScreenSize) return;
    const long long endX = (long long)kScreenSize - x;
    const long long endY = (long long)kScreenSize - y;
    const int toX = endX < pixels->width ? (int)endX : pixels->width;
    const int toY = endY < pixels->height ? (int)endY : pixels->height;
    const long long fromX = x < 0 ? -(long long)x : 0;
    const long long fromY = y < 0 ? -(long long)y : 0;
    if (fromX < toX && fromY < toY) DrawPart(pixels, (int)fromX, (int)fromY, toX, toY);
}

void DrawPixels(unsigned address, int x, int y, int width, int height, int sourceX, int sourceY,
                int stride, unsigned flags) {
    const unsigned size = address < kMemorySize ? kMemorySize - address : 0;
    const struct Pixels pixels = {consoleMemory + (size ? address : 0),
                                  size,
                                  x,
                                  y,
                                  width,
                                  height,
                                  sourceX,
                                  sourceY,
                                  stride,
                                  flags};
    DrawClipped(&pixels);
}

/* --- Text */

enum { kGlyphSize = 8, kFirstGlyph = 32, kGlyphs = 224 };

static unsigned CharacterAt(unsigned address, unsigned unit) {
    unsigned character = ConsoleByte(address);
    if (unit == 2) character |= ConsoleByte(address + 1) << 8;
    return character;
}

void DrawConsoleText(unsigned address, unsigned bytes, unsigned unit, int x, int y) {
    struct Pixels glyph = {0, kGlyphSize, x, y, kGlyphSize, kGlyphSize, 0, 0, kGlyphSize, 0};
    for (; bytes >= unit && address < kMemorySize; bytes -= unit, address += unit) {
        const unsigned character = CharacterAt(address, unit);
        if (character == 0) return;
        if (character == '\n') {
            glyph.x = x;
            glyph.y = (int)((unsigned)glyph.y + kGlyphSize);
            continue;
        }
        if (character >= kFirstGlyph && character < kFirstGlyph + kGlyphs) {
            glyph.bytes = kFont[character - kFirstGlyph];
            DrawClipped(&glyph);
        }
        glyph.x = (int)((unsigned)glyph.x + kGlyphSize);
    }
}
