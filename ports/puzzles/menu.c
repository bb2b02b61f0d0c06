#include "menu.h"

#include <ctype.h>
#include <stdlib.h>
#include <string.h>

enum { kMostPanels = 4, kLine = -1, kInner = -2 };

typedef struct {
    char* label;
    char* keys;
    menu* inner;
    int number, flags;
} entry;

struct menu {
    entry* entries;
    int count;
};

// What is open: a menu, and the inner ones one after the other.
typedef struct {
    menu* shown;
    box area;
    int current;  // entry with the highlight, -1 none
    int offset;   // entries that have gone out at the top
} panel;

static panel panels[kMostPanels];
static int panelCount;
static void (*whenChosen)(int number);
static menu* root;

static const view menuView;

// --- Making

menu* NewMenu(void) {
    return calloc(1, sizeof(menu));
}

static entry* Add(menu* to, const char* label, const char* keys, int number, int flags) {
    to->entries = realloc(to->entries, (size_t)(to->count + 1) * sizeof(entry));
    entry* const added = &to->entries[to->count++];
    *added = (entry){strdup(label), strdup(keys), NULL, number, flags};
    return added;
}

void AddEntry(menu* to, const char* label, const char* keys, int number, int flags) {
    Add(to, label, keys, number, flags);
}

void AddLine(menu* to) {
    if (to->count > 0) Add(to, "", "", kLine, kEntryOff);
}

void AddMenu(menu* to, const char* label, menu* inner) {
    Add(to, label, "", kInner, 0)->inner = inner;
}

static void FreeMenu(menu* old) {
    for (int i = 0; i < old->count; ++i) {
        if (old->entries[i].inner != NULL) FreeMenu(old->entries[i].inner);
        free(old->entries[i].label);
        free(old->entries[i].keys);
    }
    free(old->entries);
    free(old);
}

// --- Measures

static int RowHeight(const entry* row) {
    return row->number == kLine ? unit / 2 + 1 : unit * 7 / 4;
}

static int Width(const menu* measured) {
    int widest = 0, keys = 0;
    for (int i = 0; i < measured->count; ++i) {
        const entry* const row = &measured->entries[i];
        const int label = TextWidth(kSans, unit, row->label);
        const int key = TextWidth(kSans, unit, row->keys);
        if (label > widest) widest = label;
        if (key > keys) keys = key;
    }
    return widest + (keys > 0 ? keys + 2 * unit : 0) + 4 * unit;
}

static int Height(const menu* measured, int first) {
    int height = unit / 2;
    for (int i = first; i < measured->count; ++i) height += RowHeight(&measured->entries[i]);
    return height;
}

static void Open(menu* opened, int x, int y, int leastWidth) {
    panel* const made = &panels[panelCount++];
    int width = Width(opened), height = Height(opened, 0);
    if (width < leastWidth) width = leastWidth;
    if (width > window.width - 4) width = window.width - 4;
    if (height > window.height - 4) height = window.height - 4;
    if (x + width > window.width - 2) x = window.width - 2 - width;
    if (y + height > window.height - 2) y = window.height - 2 - height;
    if (x < 2) x = 2;
    if (y < 2) y = 2;
    *made = (panel){opened, {x, y, x + width, y + height}, -1, 0};
    Redraw();
}

static box RowBox(const panel* within, int index) {
    int y = within->area.top + unit / 4;
    for (int i = within->offset; i < index; ++i) y += RowHeight(&within->shown->entries[i]);
    const int height = RowHeight(&within->shown->entries[index]);
    return (box){within->area.left + 1, y, within->area.right - 1, y + height};
}

static bool IsVisible(const panel* within, int index) {
    return index >= within->offset && RowBox(within, index).bottom <= within->area.bottom;
}

static int RowAt(const panel* within, int x, int y) {
    if (!Inside(within->area, x, y)) return -1;
    for (int i = within->offset; i < within->shown->count; ++i) {
        if (Inside(RowBox(within, i), x, y)) return IsVisible(within, i) ? i : -1;
    }
    return -1;
}

// --- What is done with it

void OpenMenu(menu* opened, int x, int y, int leastWidth, void (*chosen)(int number)) {
    root = opened;
    whenChosen = chosen;
    panelCount = 0;
    Open(opened, x, y, leastWidth);
    OpenView(&menuView);
}

static void Closed(void) {
    FreeMenu(root);
    root = NULL;
    panelCount = 0;
}

static panel* Last(void) {
    return &panels[panelCount - 1];
}

static void OpenInner(panel* from, int index) {
    const box row = RowBox(from, index);
    if (panelCount == kMostPanels) return;
    Open(from->shown->entries[index].inner, row.right - unit / 2, row.top - unit / 4, 0);
}

static void Choose(panel* from, int index) {
    if (index < 0) return;
    const entry* const row = &from->shown->entries[index];
    if (row->flags & kEntryOff) return;
    if (row->inner != NULL) {
        OpenInner(from, index);
        Last()->current = 0;
        return;
    }
    const int number = row->number;
    CloseView();
    if (whenChosen != NULL) whenChosen(number);
}

static void Point(int x, int y, int held) {
    (void)held;
    for (int i = panelCount - 1; i >= 0; --i) {
        if (!Inside(panels[i].area, x, y)) continue;
        const int row = RowAt(&panels[i], x, y);
        if (row < 0 || (row == panels[i].current && i == panelCount - 1)) return;
        if (row == panels[i].current && panels[i].shown->entries[row].inner != NULL) return;
        panels[i].current = row;
        panelCount = i + 1;
        if (panels[i].shown->entries[row].inner != NULL) OpenInner(&panels[i], row);
        Redraw();
        return;
    }
}

static void Press(int x, int y, int button) {
    (void)button;
    for (int i = panelCount - 1; i >= 0; --i) {
        if (!Inside(panels[i].area, x, y)) continue;
        const int row = RowAt(&panels[i], x, y);
        if (row >= 0 && panels[i].shown->entries[row].inner != NULL && i < panelCount - 1) return;
        panelCount = i + 1;
        Choose(&panels[i], row);
        return;
    }
    CloseView();
}

static void Wheel(int x, int y, int direction) {
    (void)x;
    (void)y;
    panel* const last = Last();
    const int offset = last->offset - direction;
    if (offset < 0) return;
    if (direction < 0 && IsVisible(last, last->shown->count - 1)) return;
    last->offset = offset;
    Redraw();
}

static void Move(int step) {
    panel* const last = Last();
    const int count = last->shown->count;
    int row = last->current;
    for (int i = 0; i < count; ++i) {
        row = row < 0 ? (step > 0 ? 0 : count - 1) : (row + step + count) % count;
        if (last->shown->entries[row].number != kLine) break;
    }
    last->current = row;
    if (row < last->offset) last->offset = row;
    while (!IsVisible(last, row) && last->offset < row) ++last->offset;
}

static void Right(void) {
    panel* const last = Last();
    if (last->current >= 0 && last->shown->entries[last->current].inner != NULL) {
        Choose(last, last->current);
    }
}

static bool Key(int code, int held) {
    (void)held;
    Redraw();
    switch (code) {
        case MOXI_KEY_UP: Move(-1); break;
        case MOXI_KEY_DOWN: Move(1); break;
        case MOXI_KEY_RIGHT: Right(); break;
        case MOXI_KEY_LEFT:
            if (panelCount > 1) --panelCount;
            break;
        case MOXI_KEY_ESCAPE:
            if (panelCount > 1) {
                --panelCount;
            } else {
                CloseView();
            }
            break;
        case MOXI_KEY_RETURN:
        case MOXI_KEY_SPACE: Choose(Last(), Last()->current); break;
        default: return false;
    }
    return true;
}

// A letter goes to the next entry that begins with it.
static void Typed(const char* text) {
    panel* const last = Last();
    for (int i = 1; i <= last->shown->count; ++i) {
        const int row = (last->current + i + last->shown->count) % last->shown->count;
        if (tolower((unsigned char)last->shown->entries[row].label[0]) !=
            tolower((unsigned char)text[0])) {
            continue;
        }
        last->current = row;
        while (!IsVisible(last, row) && last->offset < row) ++last->offset;
        if (row < last->offset) last->offset = row;
        Redraw();
        return;
    }
}

// --- Drawing

static void DrawRow(const panel* within, int index) {
    const entry* const row = &within->shown->entries[index];
    box area = RowBox(within, index);
    if (row->number == kLine) {
        const int middle = (area.top + area.bottom) / 2;
        FillBox((box){area.left + unit / 2, middle, area.right - unit / 2, middle + 1}, theme.line);
        return;
    }
    const bool off = (row->flags & kEntryOff) != 0;
    const bool lit = index == within->current && !off;
    if (lit) FillBox(area, theme.accent);
    const moxi_colour ink = lit ? theme.onAccent : off ? theme.faint : theme.text;
    if (row->flags & kEntryChecked) {
        const int x = (area.left + unit) * kOne, y = (area.top + area.bottom) * kHalf;
        const int size = unit * kOne / 4;
        DrawThickLine(&window, kOne * 3 / 2, x - size, y, x - size / 3, y + size * 2 / 3, ink);
        DrawThickLine(&window, kOne * 3 / 2, x - size / 3, y + size * 2 / 3, x + size, y - size,
                      ink);
    }
    if (row->inner != NULL) {
        DrawChevron(area.right - unit, (area.top + area.bottom) / 2, unit * 2 / 3, 0, ink);
    }
    area.left += 2 * unit;
    area.right -= unit;
    DrawTextIn(&window, kSans, unit, area, 1, lit ? ink : theme.faint, row->keys);
    DrawTextIn(&window, kSans, unit, area, -1, ink, row->label);
}

static void Draw(void) {
    for (int i = 0; i < panelCount; ++i) {
        const panel* const shown = &panels[i];
        DrawPanel(shown->area);
        int row = shown->offset;
        for (; row < shown->shown->count && IsVisible(shown, row); ++row) DrawRow(shown, row);
        const int middle = (shown->area.left + shown->area.right) / 2;
        if (shown->offset > 0) {
            DrawChevron(middle, shown->area.top + unit / 4, unit / 2, 3, theme.accent);
        }
        if (row < shown->shown->count) {
            DrawChevron(middle, shown->area.bottom - unit / 3, unit / 2, 1, theme.accent);
        }
    }
}

static const view menuView = {
    .draw = Draw,
    .point = Point,
    .press = Press,
    .wheel = Wheel,
    .key = Key,
    .typed = Typed,
    .closed = Closed,
};
