#include "ui.h"

#include <stdlib.h>

enum { kMostViews = 8 };

surface window;
int unit = 14;
int pointerX = -1, pointerY = -1;

static const view* views[kMostViews];
static int viewCount;
static bool needsAll;
static bool drawsTop;  // the view that is being drawn is the top one

// --- Views

void OpenView(const view* opened) {
    if (viewCount < kMostViews) views[viewCount++] = opened;
    Redraw();
}

void CloseView(void) {
    if (viewCount == 0) return;
    const view* const old = views[--viewCount];
    if (old->closed != NULL) old->closed();
    Redraw();
}

const view* TopView(void) {
    return viewCount > 0 ? views[viewCount - 1] : NULL;
}

bool IsOnTop(const view* asked) {
    return TopView() == asked;
}

void ShowView(const view* shown) {
    while (viewCount > 0) CloseView();
    OpenView(shown);
}

// --- Drawing

// Letters grow with the window, as far as they stay letters of a desktop program.
static int UnitFor(int width, int height) {
    const int across = width / 64, down = height / 40;
    const int fitting = across < down ? across : down;
    return fitting < 12 ? 12 : fitting > 22 ? 22 : fitting;
}

void ResizeWindow(int width, int height) {
    FreeSurface(&window);
    NewSurface(&window, width, height);
    unit = UnitFor(width, height);
    Redraw();
}

void Redraw(void) {
    needsAll = true;
}

void Present(box part) {
    const box area = Overlap(part, (box){0, 0, window.width, window.height});
    if (area.right <= area.left || area.bottom <= area.top) return;
    moxi_blit(MOXI_SCREEN, area.left, area.top, window.bitmap, area.left, area.top,
              area.right - area.left, area.bottom - area.top, false, 0, 0);
}

void FinishDrawing(void) {
    if (!needsAll || window.bitmap == 0) return;
    needsAll = false;
    for (int i = 0; i < viewCount; ++i) {
        drawsTop = i == viewCount - 1;
        MapSurface(&window);
        views[i]->draw();
    }
    drawsTop = true;
    Present((box){0, 0, window.width, window.height});
}

// --- Parts

bool Inside(box area, int x, int y) {
    return x >= area.left && x < area.right && y >= area.top && y < area.bottom;
}

box Inset(box area, int by) {
    return (box){area.left + by, area.top + by, area.right - by, area.bottom - by};
}

bool Hovered(box area) {
    return drawsTop && Inside(area, pointerX, pointerY);
}

void FillBox(box area, moxi_colour colour) {
    FillRectangle(&window, area.left, area.top, area.right - area.left, area.bottom - area.top,
                  colour);
}

static void RoundBox(box area, int radius, moxi_colour colour) {
    FillRounded(&window, area.left, area.top, area.right - area.left, area.bottom - area.top,
                radius, colour);
}

void FrameBox(box area, moxi_colour colour) {
    FillBox((box){area.left, area.top, area.right, area.top + 1}, colour);
    FillBox((box){area.left, area.bottom - 1, area.right, area.bottom}, colour);
    FillBox((box){area.left, area.top, area.left + 1, area.bottom}, colour);
    FillBox((box){area.right - 1, area.top, area.right, area.bottom}, colour);
}

void DrawPanel(box area) {
    for (int i = unit / 2; i > 0; i -= 2) {
        const box spread = {area.left - i / 2, area.top, area.right + i / 2, area.bottom + i};
        TintRectangle(&window, spread.left, spread.top, spread.right - spread.left,
                      spread.bottom - spread.top, theme.shadow, 18);
    }
    FillBox(area, theme.panel);
    FrameBox(area, theme.line);
}

void DimWindow(void) {
    TintRectangle(&window, 0, 0, window.width, window.height, theme.shadow, 96);
}

int ButtonWidth(const char* label) {
    return TextWidth(kSans, unit, label) + 2 * unit;
}

void DrawButton(box area, const char* label, int kind) {
    moxi_colour ink = theme.text;
    const bool hovered = Hovered(area) && kind != kButtonOff;
    if (kind == kButtonAccent) {
        RoundBox(area, unit / 3, hovered ? Mixed(theme.accent, theme.text, 32) : theme.accent);
        ink = theme.onAccent;
    } else if (kind == kButtonPlain) {
        RoundBox(area, unit / 3, theme.line);
        RoundBox(Inset(area, 1), unit / 3, hovered ? theme.hovered : theme.raised);
    } else if (hovered) {
        RoundBox(area, unit / 3, theme.hovered);
    }
    if (kind == kButtonOff) ink = Mixed(theme.faint, theme.panel, 110);
    DrawTextIn(&window, kSans, unit, Inset(area, 2), 0, ink, label);
}

void DrawCheck(box area, bool on, bool focused) {
    RoundBox(area, unit / 4, focused ? theme.accent : on ? theme.accent : theme.faint);
    if (!on) {
        RoundBox(Inset(area, focused ? 2 : 1), unit / 4, theme.field);
        return;
    }
    const int left = area.left * kOne, top = area.top * kOne;
    const int size = (area.right - area.left) * kOne, thick = size / 8;
    DrawThickLine(&window, thick, left + size * 24 / 100, top + size * 52 / 100,
                  left + size * 43 / 100, top + size * 72 / 100, theme.onAccent);
    DrawThickLine(&window, thick, left + size * 43 / 100, top + size * 72 / 100,
                  left + size * 77 / 100, top + size * 28 / 100, theme.onAccent);
}

void DrawStar(int x, int y, int size, bool filled, moxi_colour colour) {
    // Points of a star of radius 1000, from the top one on.
    static const int shape[20] = {0, -1000, 235,  -324, 951,  -309, 380,  124,  588,  809,
                                  0, 400,   -588, 809,  -380, 124,  -951, -309, -235, -324};
    int points[20];
    for (int i = 0; i < 20; ++i) {
        points[i] = (i % 2 == 0 ? x : y) * kOne + shape[i] * size * kOne / 2000;
    }
    if (filled) {
        FillPolygon(&window, points, 10, colour);
        return;
    }
    for (int i = 0; i < 10; ++i) {
        const int next = (i + 1) % 10;
        DrawThickLine(&window, kOne * 5 / 4, points[2 * i], points[2 * i + 1], points[2 * next],
                      points[2 * next + 1], colour);
    }
}

void DrawChevron(int x, int y, int size, int direction, moxi_colour colour) {
    const int cx = x * kOne + kHalf, cy = y * kOne + kHalf, reach = size * kOne / 4;
    const int ends[4][4] = {{-1, -2, -1, 2}, {-2, -1, 2, -1}, {1, -2, 1, 2}, {-2, 1, 2, 1}};
    const int tips[4][2] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
    const int* const end = ends[direction];
    const int tipX = cx + tips[direction][0] * reach, tipY = cy + tips[direction][1] * reach;
    const int width = kOne + size * kOne / 16;
    DrawThickLine(&window, width, cx + end[0] * reach, cy + end[1] * reach, tipX, tipY, colour);
    DrawThickLine(&window, width, tipX, tipY, cx + end[2] * reach, cy + end[3] * reach, colour);
}

void DrawScrollBar(box area, int total, int shown, int offset) {
    if (total <= shown) return;
    const int room = area.bottom - area.top;
    int length = (int)((int64_t)room * shown / total);
    if (length < 2 * unit) length = 2 * unit;
    const int start = (int)((int64_t)(room - length) * offset / (total - shown));
    const box thumb = {area.left, area.top + start, area.right, area.top + start + length};
    RoundBox(thumb, (area.right - area.left) / 2, Mixed(theme.faint, theme.ground, 128));
}
