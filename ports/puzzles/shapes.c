// Filled shapes with smooth edges. Each edge of a shape leaves in the cells of the rows that it
// crosses how much the area to its right grows there; the sums along a row are then the coverages.
// Rows remember where they were touched, so that a long thin shape costs its length alone.

#include <math.h>
#include <stdlib.h>

#include "pixels.h"

enum { kFull = kOne * kOne, kMostPoints = 256 };

static int* cells;       // rows of cellStride, zero but while a shape is drawn
static int* firstTouched;  // for each row
static int* lastTouched;
static int cellStride, cellRows, cellRoom;
static box bounds;  // where the cells lie: the target's clip

static void MakeCells(const surface* target) {
    bounds = target->clip;
    cellStride = bounds.right - bounds.left + 2;
    cellRows = bounds.bottom - bounds.top;
    if (cellStride * cellRows > cellRoom) {
        free(cells);
        cellRoom = cellStride * cellRows;
        cells = calloc((size_t)cellRoom, sizeof *cells);
    }
    static int rowRoom;
    if (cellRows > rowRoom) {
        free(firstTouched);
        free(lastTouched);
        rowRoom = cellRows;
        firstTouched = malloc((size_t)rowRoom * sizeof *firstTouched);
        lastTouched = malloc((size_t)rowRoom * sizeof *lastTouched);
        for (int i = 0; i < rowRoom; ++i) {
            firstTouched[i] = 1 << 30;
            lastTouched[i] = -1;
        }
    }
}

// An edge within one pixel of a row; its middle is in 1/256 from that pixel's left.
static void AddCell(int row, int column, int middle, int rise) {
    int* const cell = cells + row * cellStride + column;
    cell[0] += rise * (kOne - middle);
    cell[1] += rise * middle;
    if (column < firstTouched[row]) firstTouched[row] = column;
    if (column + 1 > lastTouched[row]) lastTouched[row] = column + 1;
}

// An edge within one row, from x to end in 1/256 from the left bound, that goes down by `rise`.
static void AddWithinRow(int row, int x, int end, int rise) {
    const int width = (bounds.right - bounds.left) * kOne;
    if (rise == 0) return;
    // What lies left of the bounds counts in whole at their border.
    if (x < 0 && end < 0) x = end = 0;
    if (x > width || end > width) {
        // What lies right of the bounds adds nothing, but the row is covered up to there.
        lastTouched[row] = bounds.right - bounds.left;
        if (x > width && end > width) return;
        const int outside = (x > width ? x : end) - width;
        rise -= (int)((int64_t)rise * outside / abs(end - x));
        if (x > width) x = width;
        if (end > width) end = width;
    }
    if (x < 0 || end < 0) {
        const int outside = x < 0 ? -x : -end, all = abs(end - x);
        const int part = (int)((int64_t)rise * outside / all);
        AddCell(row, 0, 0, part);
        rise -= part;
        if (x < 0) x = 0;
        if (end < 0) end = 0;
    }
    if (x >> 8 == end >> 8) {
        AddCell(row, x >> 8, ((x & 255) + (end & 255)) / 2, rise);
        return;
    }
    // Direction does not matter for the area: always from left to right.
    const int left = x < end ? x : end, right = x < end ? end : x;
    int done = 0, at = left;
    while (at < right) {
        const int column = at >> 8;
        const int next = (column + 1) * kOne < right ? (column + 1) * kOne : right;
        const int sum = next == right ? rise : (int)((int64_t)rise * (next - left) / (right - left));
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
        for (int i = 0; i < count; ++i) at[i] = colour;
    } else if (part > 0) {
        for (int i = 0; i < count; ++i) at[i] = Mixed(at[i], colour, part);
    }
}

// Draws what the edges enclose and leaves all cells zero.
static void Sweep(surface* target, moxi_colour colour) {
    const int width = bounds.right - bounds.left;
    for (int row = 0; row < cellRows; ++row) {
        if (lastTouched[row] < 0) continue;
        int* const line = cells + row * cellStride;
        moxi_colour* const pixels =
            target->pixels + (row + bounds.top) * target->stride + bounds.left;
        const int end = lastTouched[row] < width ? lastTouched[row] + 1 : width;
        int sum = 0;
        for (int x = firstTouched[row]; x < end;) {
            sum += line[x];
            int run = x + 1;
            while (run < end && line[run] == 0) ++run;
            FillSpan(pixels + x, run - x, colour, sum < 0 ? -sum : sum);
            x = run;
        }
        for (int x = firstTouched[row]; x <= lastTouched[row]; ++x) line[x] = 0;
        firstTouched[row] = 1 << 30;
        lastTouched[row] = -1;
    }
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

void DrawThickLine(surface* target, int width, int x0, int y0, int x1, int y1,
                   moxi_colour colour) {
    const float alongX = (float)(x1 - x0), alongY = (float)(y1 - y0);
    const float length = sqrtf(alongX * alongX + alongY * alongY);
    const float scale = length > 0 ? (float)width / 2 / length : 0;
    const int dx = length > 0 ? (int)lroundf(alongX * scale) : width / 2;
    const int dy = length > 0 ? (int)lroundf(alongY * scale) : 0;
    const int corners[] = {x0 - dx - dy, y0 - dy + dx, x1 + dx - dy, y1 + dy + dx,
                           x1 + dx + dy, y1 + dy - dx, x0 - dx + dy, y0 - dy - dx};
    FillPolygon(target, corners, 4, colour);
}

// --- Circles

// The points of a circle of radius 1; small circles use only some of them.
static float circleX[kMostPoints], circleY[kMostPoints];

static void MakeCircle(void) {
    for (int i = 0; i < kMostPoints; ++i) {
        const float angle = (float)i * (6.28318530718f / kMostPoints);
        circleX[i] = cosf(angle);
        circleY[i] = sinf(angle);
    }
}

// The points of an arc that begins at a quarter and goes on for some; how many they are.
static int ArcPoints(int* points, int x, int y, int radius, int quarter, int quarters) {
    if (circleX[0] == 0) MakeCircle();
    const int step = radius < 4 * kOne ? 16 : radius < 16 * kOne ? 8 : radius < 64 * kOne ? 4 : 2;
    const int first = quarter * (kMostPoints / 4), count = quarters * (kMostPoints / 4) / step;
    for (int i = 0; i <= count; ++i) {
        const int at = (first + i * step) % kMostPoints;
        points[2 * i] = x + (int)lroundf(circleX[at] * (float)radius);
        points[2 * i + 1] = y + (int)lroundf(circleY[at] * (float)radius);
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
