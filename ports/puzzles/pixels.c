// Surfaces, rectangles, lines and masks. Shapes with curves and slopes are in shapes.c.

#include "pixels.h"

#include <stdlib.h>

enum { kServicePays = 2048 };  // from so many pixels on a rectangle is filled by the machine

void NewSurface(surface* made, int width, int height) {
    made->width = width > 0 ? width : 1;
    made->height = height > 0 ? height : 1;
    made->bitmap = moxi_new_bitmap((uint32_t)made->width, (uint32_t)made->height);
    MapSurface(made);
}

void FreeSurface(surface* old) {
    if (old->bitmap != 0) moxi_free_bitmap(old->bitmap);
    old->bitmap = 0;
    old->pixels = NULL;
    old->width = old->height = 0;
}

void MapSurface(surface* target) {
    if (target->bitmap == 0) return;
    const uint32_t* const record = (const uint32_t*)moxi_block_address((moxi_block)target->bitmap);
    target->stride = (int)(record[2] / sizeof(moxi_colour));
    target->pixels = (moxi_colour*)moxi_block_address((moxi_block)record[7]);
    target->clip = (box){0, 0, target->width, target->height};
}

box Overlap(box first, box second) {
    box common;
    common.left = first.left > second.left ? first.left : second.left;
    common.top = first.top > second.top ? first.top : second.top;
    common.right = first.right < second.right ? first.right : second.right;
    common.bottom = first.bottom < second.bottom ? first.bottom : second.bottom;
    if (common.right < common.left) common.right = common.left;
    if (common.bottom < common.top) common.bottom = common.top;
    return common;
}

box PushClip(surface* target, int x, int y, int width, int height) {
    const box old = target->clip;
    target->clip = Overlap(old, (box){x, y, x + width, y + height});
    return old;
}

void SetClip(surface* target, box clip) {
    target->clip = clip;
}

// --- Rectangles

void FillRectangle(surface* target, int x, int y, int width, int height, moxi_colour colour) {
    const box area = Overlap(target->clip, (box){x, y, x + width, y + height});
    const int across = area.right - area.left, down = area.bottom - area.top;
    if (across <= 0 || down <= 0) return;
    if (across * down >= kServicePays) {
        moxi_rectangle(target->bitmap, area.left, area.top, across, down, colour, MOXI_NO_FRAME);
        return;
    }
    for (int row = area.top; row < area.bottom; ++row) {
        moxi_colour* at = target->pixels + row * target->stride + area.left;
        int i = 0;
        for (; i + 4 <= across; i += 4) at[i] = at[i + 1] = at[i + 2] = at[i + 3] = colour;
        for (; i < across; ++i) at[i] = colour;
    }
}

void TintRectangle(surface* target, int x, int y, int width, int height, moxi_colour colour,
                   int part) {
    const box area = Overlap(target->clip, (box){x, y, x + width, y + height});
    for (int row = area.top; row < area.bottom; ++row) {
        moxi_colour* const line = target->pixels + row * target->stride;
        for (int i = area.left; i < area.right; ++i) line[i] = Mixed(line[i], colour, part);
    }
}

// --- Lines

static int RootOf(int64_t number) {
    return (int)__builtin_sqrtf((float)number);
}

static void Blend(moxi_colour* at, moxi_colour colour, int part) {
    *at = part >= 256 ? colour : Mixed(*at, colour, part);
}

// At each step along the longer axis the line covers a stretch of the other axis: as long as the
// slope makes it for a width of one pixel. 1/65536 of a pixel keep it straight over long ways.
// When it is steep, the axes have changed places.
static void SlopedLine(surface* target, bool steep, int from, int to, int start, int end,
                       moxi_colour colour) {
    const box* const clip = &target->clip;
    const int64_t rise = end - start, run = to - from;
    const int64_t slope = (rise << 16) / run;
    const int64_t stretch = ((int64_t)RootOf((rise * rise + run * run) * 4096) << 16) / (run * 64);
    const int low = steep ? clip->top : clip->left, high = steep ? clip->bottom : clip->right;
    const int least = steep ? clip->left : clip->top, most = steep ? clip->right : clip->bottom;
    const int first = from > low ? from : low, last = to < high - 1 ? to : high - 1;
    const int acrossStep = steep ? 1 : target->stride, alongStep = steep ? target->stride : 1;
    int64_t top = ((int64_t)start << 16) + 0x8000 + slope * (first - from) - stretch / 2;
    moxi_colour* base = target->pixels + first * alongStep;
    for (int along = first; along <= last; ++along, top += slope, base += alongStep) {
        const int64_t bottom = top + stretch;
        const int firstCell = (int)(top >> 16), lastCell = (int)(bottom >> 16);
        moxi_colour* at = base + firstCell * acrossStep;
        if (firstCell >= least && firstCell < most) {
            Blend(at, colour, 256 - (int)((top & 0xFFFF) >> 8));
        }
        for (int cell = firstCell + 1; cell < lastCell; ++cell) {
            at += acrossStep;
            if (cell >= least && cell < most) *at = colour;
        }
        if (lastCell >= least && lastCell < most) {
            Blend(at + acrossStep, colour, (int)((bottom & 0xFFFF) >> 8));
        }
    }
}

void DrawLine(surface* target, int x0, int y0, int x1, int y1, moxi_colour colour) {
    const int width = abs(x1 - x0), height = abs(y1 - y0);
    const int left = x0 < x1 ? x0 : x1, top = y0 < y1 ? y0 : y1;
    if (width == 0 || height == 0) {
        FillRectangle(target, left, top, width + 1, height + 1, colour);
    } else if (width >= height) {
        SlopedLine(target, false, left, left + width, x0 < x1 ? y0 : y1, x0 < x1 ? y1 : y0, colour);
    } else {
        SlopedLine(target, true, top, top + height, y0 < y1 ? x0 : x1, y0 < y1 ? x1 : x0, colour);
    }
}

// --- Masks and copies

void DrawMask(surface* target, int x, int y, const uint8_t* mask, int width, int height,
              moxi_colour colour) {
    const box area = Overlap(target->clip, (box){x, y, x + width, y + height});
    for (int row = area.top; row < area.bottom; ++row) {
        const uint8_t* const cover = mask + (row - y) * width - x;
        moxi_colour* const line = target->pixels + row * target->stride;
        for (int i = area.left; i < area.right; ++i) {
            const int part = cover[i];
            if (part == 0) {
                // Most of a text's box is empty.
                while (i + 4 < area.right && cover[i + 1] == 0 && cover[i + 2] == 0) i += 2;
                continue;
            }
            line[i] = part == 255 ? colour : Mixed(line[i], colour, part + (part >> 7));
        }
    }
}

void CopySurface(surface* target, int x, int y, const surface* from, box part) {
    const box source = Overlap(part, (box){0, 0, from->width, from->height});
    const int toX = x + source.left - part.left, toY = y + source.top - part.top;
    const box area = Overlap(target->clip, (box){toX, toY, toX + source.right - source.left,
                                                 toY + source.bottom - source.top});
    if (area.right <= area.left || area.bottom <= area.top) return;
    moxi_blit(target->bitmap, area.left, area.top, from->bitmap, source.left + area.left - toX,
              source.top + area.top - toY, area.right - area.left, area.bottom - area.top, false, 0,
              0);
}
