// Filled shapes with smooth edges. Each edge of a shape leaves in the cells of the rows that it
// crosses how much the area to its right grows there; the sums along a row are then the coverages.
// Rows remember where they were touched, so that a long thin shape costs its length alone.

#include <math.h>
#include <stdlib.h>

#include "pixels.h"

enum { kMostPoints = 256, kMostTouched = 8 };

// Stretches of a row's cells that edges have left something in, from left to right.
typedef struct {
    int count;
    struct {
        int first, last;
    } at[kMostTouched];
} touches;

static int* cells;        // rows of cellStride, zero but while a shape is drawn
static touches* touched;  // for each row
static int cellStride, cellRows, cellRoom;
static int firstRow, lastRow;  // rows that were touched
static box bounds;             // where the cells lie: the target's clip

static void MakeCells(const surface* target) {
    static int rowRoom;
    bounds = target->clip;
    cellStride = bounds.right - bounds.left + 2;
    cellRows = bounds.bottom - bounds.top;
    firstRow = cellRows;
    lastRow = -1;
    if (cellStride * cellRows > cellRoom) {
        free(cells);
        cellRoom = cellStride * cellRows;
        cells = calloc((size_t)cellRoom, sizeof *cells);
    }
    if (cellRows > rowRoom) {
        free(touched);
        rowRoom = cellRows;
        touched = calloc((size_t)rowRoom, sizeof *touched);
    }
}

static void Touch(int row, int first, int last) {
    touches* const of = &touched[row];
    if (row < firstRow) firstRow = row;
    if (row > lastRow) lastRow = row;
    if (of->count == kMostTouched) {
        // Too many for a list: all of them become one.
        for (int i = 1; i < of->count; ++i) {
            if (of->at[i].last > of->at[0].last) of->at[0].last = of->at[i].last;
        }
        of->count = 1;
    }
    int place = of->count++;
    for (; place > 0 && of->at[place - 1].first > first; --place) of->at[place] = of->at[place - 1];
    of->at[place].first = first;
    of->at[place].last = last;
}

// An edge within one pixel of a row; its middle is in 1/256 from that pixel's left.
static void AddCell(int row, int column, int middle, int rise) {
    int* const cell = cells + row * cellStride + column;
    cell[0] += rise * (kOne - middle);
    cell[1] += rise * middle;
}

// An edge within one row, from x to end in 1/256 from the left bound, that goes down by `rise`.
static void AddWithinRow(int row, int x, int end, int rise) {
    const int width = (bounds.right - bounds.left) * kOne;
    if (rise == 0) return;
    // What lies left of the bounds counts in whole at their border.
    if (x < 0 && end < 0) x = end = 0;
    if (x > width || end > width) {
        // What lies right of the bounds adds nothing.
        if (x > width && end > width) return;
        const int outside = (x > width ? x : end) - width;
        rise -= (int)((int64_t)rise * outside / abs(end - x));
        if (x > width) x = width;
        if (end > width) end = width;
    }
    if (x < 0 || end < 0) {
        const int outside = x < 0 ? -x : -end, all = abs(end - x);
        const int part = (int)((int64_t)rise * outside / all);
        Touch(row, 0, 1);
        AddCell(row, 0, 0, part);
        rise -= part;
        if (x < 0) x = 0;
        if (end < 0) end = 0;
    }
    // Direction does not matter for the area: always from left to right.
    const int left = x < end ? x : end, right = x < end ? end : x;
    Touch(row, left >> 8, (right >> 8) + 1);
    if (x >> 8 == end >> 8) {
        AddCell(row, x >> 8, ((x & 255) + (end & 255)) / 2, rise);
        return;
    }
    int done = 0, at = left;
    while (at < right) {
        const int column = at >> 8;
        const int next = (column + 1) * kOne < right ? (column + 1) * kOne : right;
        const int sum =
            next == right ? rise : (int)((int64_t)rise * (next - left) / (right - left));
        AddCell(row, column, (at + next) / 2 - column * kOne, sum - done);
        done = sum;
        at = next;
    }
}

// An edge from one point to another, in 1/256.
static void AddEdge(int x0, int y0, int x1, int y1) {
    if (y0 == y1) return;
    const int sign = y0 < y1 ? 1 : -1;
    const int top = y0 < y1 ? y0 : y1, bottom = y0 < y1 ? y1 : y0;
    const int topX = (y0 < y1 ? x0 : x1) - bounds.left * kOne;
    const int bottomX = (y0 < y1 ? x1 : x0) - bounds.left * kOne;
    const int64_t slope = ((int64_t)(bottomX - topX) << 16) / (bottom - top);
    const int low = bounds.top * kOne, high = bounds.bottom * kOne;
    int y = top > low ? top : low;
    const int end = bottom < high ? bottom : high;
    int x = topX + (int)(slope * (y - top) >> 16);
    while (y < end) {
        const int row = y >> 8;
        const int next = (row + 1) * kOne < end ? (row + 1) * kOne : end;
        const int nextX = next == bottom ? bottomX : topX + (int)(slope * (next - top) >> 16);
        AddWithinRow(row - bounds.top, x, nextX, sign * (next - y));
        y = next;
        x = nextX;
    }
}

static void FillSpan(moxi_colour* at, int count, moxi_colour colour, int cover) {
    const int part = cover >> 8;
    if (part >= 255) {
        int i = 0;
        for (; i + 4 <= count; i += 4) {
            at[i] = at[i + 1] = at[i + 2] = at[i + 3] = colour;
        }
        for (; i < count; ++i) at[i] = colour;
    } else if (part > 0) {
        for (int i = 0; i < count; ++i) at[i] = Mixed(at[i], colour, part);
    }
}

static void SweepRow(surface* target, int row, moxi_colour colour) {
    touches* const of = &touched[row];
    const int width = bounds.right - bounds.left;
    int* const line = cells + row * cellStride;
    moxi_colour* const pixels = target->pixels + (row + bounds.top) * target->stride + bounds.left;
    int sum = 0, x = 0;
    for (int i = 0; i < of->count; ++i) {
        const int first = of->at[i].first, last = of->at[i].last;
        // Up to the next edge the coverage stays what it is.
        if (first > x) {
            if (sum != 0) FillSpan(pixels + x, first - x, colour, abs(sum));
            x = first;
        }
        for (; x <= last; ++x) {
            sum += line[x];
            line[x] = 0;
            if (x >= width) continue;
            const int part = abs(sum) >> 8;
            if (part >= 255) {
                pixels[x] = colour;
            } else if (part > 0) {
                pixels[x] = Mixed(pixels[x], colour, part);
            }
        }
    }
    of->count = 0;
    // A shape that goes on beyond the bounds fills the rest.
    if (sum != 0 && x < width) FillSpan(pixels + x, width - x, colour, abs(sum));
}

// Draws what the edges enclose and leaves all cells zero.
static void Sweep(surface* target, moxi_colour colour) {
    for (int row = firstRow; row <= lastRow; ++row) SweepRow(target, row, colour);
}

static void AddPolygon(const int* points, int count) {
    for (int i = 0; i < count; ++i) {
        const int* const from = points + 2 * i;
        const int* const to = points + 2 * ((i + 1) % count);
        AddEdge(from[0], from[1], to[0], to[1]);
    }
}

void FillPolygon(surface* target, const int* points, int count, moxi_colour colour) {
    MakeCells(target);
    AddPolygon(points, count);
    Sweep(target, colour);
}

// --- Lines

// A rectangle with borders between pixels: the inner pixels are solid.
static void FillBetween(surface* target, int left, int top, int right, int bottom,
                        moxi_colour colour) {
    const int firstX = left >> 8, firstY = top >> 8;
    const int lastX = (right - 1) >> 8, lastY = (bottom - 1) >> 8;
    for (int y = firstY; y <= lastY; ++y) {
        const int from = y * kOne > top ? y * kOne : top;
        const int to = (y + 1) * kOne < bottom ? (y + 1) * kOne : bottom;
        int rows = 1;
        if (to - from == kOne) rows = (bottom >> 8) - y;
        for (int x = firstX; x <= lastX; ++x) {
            const int start = x * kOne > left ? x * kOne : left;
            const int end = (x + 1) * kOne < right ? (x + 1) * kOne : right;
            const int columns = end - start == kOne ? (right >> 8) - x : 1;
            const int part = (end - start) * (to - from) >> 8;
            if (part >= 255) {
                FillRectangle(target, x, y, columns, rows, colour);
            } else {
                TintRectangle(target, x, y, columns, rows, colour, part);
            }
            x += columns - 1;
        }
        y += rows - 1;
    }
}

void DrawThickLine(surface* target, int width, int x0, int y0, int x1, int y1, moxi_colour colour) {
    const int half = width / 2;
    if (x0 == x1 || y0 == y1) {
        const int left = x0 < x1 ? x0 : x1, top = y0 < y1 ? y0 : y1;
        FillBetween(target, left - half, top - half, left + abs(x1 - x0) + half,
                    top + abs(y1 - y0) + half, colour);
        return;
    }
    const float alongX = (float)(x1 - x0), alongY = (float)(y1 - y0);
    const float scale = (float)half / sqrtf(alongX * alongX + alongY * alongY);
    const int dx = (int)lroundf(alongX * scale), dy = (int)lroundf(alongY * scale);
    const int corners[] = {x0 - dx - dy, y0 - dy + dx, x1 + dx - dy, y1 + dy + dx,
                           x1 + dx + dy, y1 + dy - dx, x0 - dx + dy, y0 - dy - dx};
    FillPolygon(target, corners, 4, colour);
}

// --- Circles

// The points of a circle of radius 1; small circles use only some of them.
static int circleX[kMostPoints], circleY[kMostPoints];  // in 1/32768

static void MakeCircle(void) {
    for (int i = 0; i < kMostPoints; ++i) {
        const float angle = (float)i * (6.28318530718f / kMostPoints);
        circleX[i] = (int)lroundf(cosf(angle) * 32768);
        circleY[i] = (int)lroundf(sinf(angle) * 32768);
    }
}

// The points of an arc that begins at a quarter and goes on for some; how many they are.
static int ArcPoints(int* points, int x, int y, int radius, int quarter, int quarters) {
    if (circleX[0] == 0) MakeCircle();
    const int step = radius < 4 * kOne ? 16 : radius < 16 * kOne ? 8 : radius < 64 * kOne ? 4 : 2;
    const int first = quarter * (kMostPoints / 4), count = quarters * (kMostPoints / 4) / step;
    for (int i = 0; i <= count; ++i) {
        const int at = (first + i * step) % kMostPoints;
        points[2 * i] = x + (int)(((int64_t)circleX[at] * radius + 16384) >> 15);
        points[2 * i + 1] = y + (int)(((int64_t)circleY[at] * radius + 16384) >> 15);
    }
    return count + 1;
}

void FillDisc(surface* target, int x, int y, int radius, moxi_colour colour) {
    int points[2 * kMostPoints];
    FillPolygon(target, points, ArcPoints(points, x, y, radius, 0, 4), colour);
}

void DrawRing(surface* target, int x, int y, int radius, int width, moxi_colour colour) {
    int points[2 * kMostPoints];
    MakeCells(target);
    AddPolygon(points, ArcPoints(points, x, y, radius + width / 2, 0, 4));
    const int inner = radius - width / 2;
    if (inner > 0) {
        // The hole goes round the other way.
        const int count = ArcPoints(points, x, y, inner, 0, 4);
        for (int i = count; i > 0; --i) {
            const int* const from = points + 2 * (i % count);
            const int* const to = points + 2 * (i - 1);
            AddEdge(from[0], from[1], to[0], to[1]);
        }
    }
    Sweep(target, colour);
}

void FillRounded(surface* target, int x, int y, int width, int height, int radius,
                 moxi_colour colour) {
    if (radius * 2 > width) radius = width / 2;
    if (radius * 2 > height) radius = height / 2;
    int points[2 * kMostPoints + 8];
    const int left = (x + radius) * kOne, right = (x + width - radius) * kOne;
    const int top = (y + radius) * kOne, bottom = (y + height - radius) * kOne;
    const int size = radius * kOne;
    int count = ArcPoints(points, right, bottom, size, 0, 1);
    count += ArcPoints(points + 2 * count, left, bottom, size, 1, 1);
    count += ArcPoints(points + 2 * count, left, top, size, 2, 1);
    count += ArcPoints(points + 2 * count, right, top, size, 3, 1);
    FillPolygon(target, points, count, colour);
}
