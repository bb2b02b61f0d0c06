#include "bars.h"

#include <stdlib.h>
#include <string.h>

#include "menu.h"
#include "play.h"
#include "saving.h"

enum { kMostButtons = 10, kMostKeys = 40, kKeyActions = 2000 };

typedef struct {
    box area;
    int action;  // kKeyActions and more: a key of the puzzle
    char label[24];
} button;

static button buttons[kMostButtons], keys[kMostKeys];
static int buttonCount, keyCount;
static int keyButtons[kMostKeys];
static int keysTop;
static int hovered = -1;  // number of the button below the pointer

// What was drawn last, to see whether it has changed.
static struct {
    bool canUndo, canRedo, favourite;
    int status;
} drawn;

static int TopHeight(void) {
    return unit * 5 / 2;
}

static int StatusTop(void) {
    return window.height - unit * 9 / 4;
}

box PuzzleRoom(void) {
    return (box){0, TopHeight(), window.width, keysTop};
}

// --- Where things are

static const struct {
    int action;
    const char* label;
    int needs;  // letters' sizes of window width from which it is shown
} kinds[] = {
    {kActChooser, "Puzzles", 0}, {kActNew, "New", 30},    {kActTypes, "Type", 0},
    {kActGame, "Game", 0},       {kActUndo, "", 0},       {kActRedo, "", 0},
    {kActSolve, "Solve", 40},    {kActFavourite, "", 46}, {kActHelp, "Help", 36},
};

static int WidthOf(int action, const char* label) {
    if (*label == 0) return unit * 5 / 2;
    const bool hasChevron = action == kActTypes || action == kActGame || action == kActChooser;
    return TextWidth(kSans, unit, label) + unit * (hasChevron ? 5 : 3) / 2;
}

static void LayOutTop(void) {
    int x = unit / 4;
    buttonCount = 0;
    for (size_t i = 0; i < sizeof kinds / sizeof *kinds; ++i) {
        if (window.width < kinds[i].needs * unit) continue;
        if (kinds[i].action == kActSolve && !played->played->can_solve) continue;
        button* const made = &buttons[buttonCount++];
        const int width = WidthOf(kinds[i].action, kinds[i].label);
        made->action = kinds[i].action;
        strcpy(made->label, kinds[i].label);
        made->area = (box){x, unit / 4, x + width, TopHeight() - unit / 4};
        x += width + unit / 4;
    }
}

static void LayOutKeys(void) {
    keyCount = 0;
    keysTop = StatusTop();
    if (!HasBoard() || !kept.showsKeys) return;
    int count = 0;
    key_label* const labels = midend_request_keys(played->me, &count);
    if (labels == NULL) return;
    // The mid-end adds keys that have buttons of their own above.
    int width = 0, height = unit * 9 / 4;
    for (int i = 0; i < count && keyCount < kMostKeys; ++i) {
        if (IS_UI_FAKE_KEY(labels[i].button)) continue;
        button* const made = &keys[keyCount];
        strncpy(made->label, labels[i].label, sizeof made->label - 1);
        made->action = kKeyActions + keyCount;
        keyButtons[keyCount++] = labels[i].button;
        const int wide = TextWidth(kSans, unit, made->label) + unit * 3 / 2;
        if (wide > width) width = wide;
    }
    free_keys(labels, count);
    if (keyCount == 0) return;
    if (width > 5 * unit) width = 5 * unit;
    const int fitting = window.width / width > 0 ? window.width / width : 1;
    const int rows = (keyCount + fitting - 1) / fitting, across = (keyCount + rows - 1) / rows;
    // In a small window the puzzle needs the room.
    if (rows * height > window.height / 5) {
        keyCount = 0;
        return;
    }
    keysTop = StatusTop() - rows * height - unit / 4;
    const int left = (window.width - across * width) / 2;
    for (int i = 0; i < keyCount; ++i) {
        const int x = left + i % across * width, y = keysTop + i / across * height;
        keys[i].area = (box){x + 2, y + 2, x + width - 2, y + height - 2};
    }
}

void LayOutBars(void) {
    if (played == NULL) return;
    hovered = -1;
    LayOutTop();
    LayOutKeys();
}

// --- Drawing

static bool IsOff(int action) {
    if (action == kActUndo) return !HasBoard() || !midend_can_undo(played->me);
    if (action == kActRedo) return !HasBoard() || !midend_can_redo(played->me);
    return false;
}

static moxi_colour InkOf(int action) {
    return IsOff(action) ? Mixed(theme.faint, theme.panel, 140) : theme.text;
}

// An arrow that bends back to the left, or to the right.
static void DrawTurn(box area, int side, moxi_colour ink) {
    const int x = (area.left + area.right) * kHalf, y = (area.top + area.bottom) * kHalf;
    const int size = unit * kOne / 2 * side, width = kOne + unit * kOne / 14;
    const int rise = abs(size) * 45 / 100;
    DrawThickLine(&window, width, x - size, y - rise / 2, x + size * 6 / 10, y - rise / 2, ink);
    DrawThickLine(&window, width, x + size * 6 / 10, y - rise / 2, x + size, y + rise / 3, ink);
    DrawThickLine(&window, width, x + size, y + rise / 3, x + size * 6 / 10, y + rise * 3 / 2, ink);
    DrawThickLine(&window, width, x + size * 6 / 10, y + rise * 3 / 2, x, y + rise * 3 / 2, ink);
    const int head[] = {x - size * 13 / 10, y - rise / 2,      x - size * 5 / 10,
                        y - rise * 3 / 2,   x - size * 5 / 10, y + rise / 2};
    FillPolygon(&window, head, 3, ink);
}

static void DrawTopButton(const button* shown) {
    const bool off = IsOff(shown->action);
    const moxi_colour ink = InkOf(shown->action);
    const box area = shown->area;
    if (!off && Hovered(area)) {
        FillRounded(&window, area.left, area.top, area.right - area.left, area.bottom - area.top,
                    unit / 3, theme.hovered);
    }
    const int middle = (area.top + area.bottom) / 2;
    box text = area;
    switch (shown->action) {
        case kActUndo: DrawTurn(area, 1, ink); return;
        case kActRedo: DrawTurn(area, -1, ink); return;
        case kActFavourite:
            DrawStar((area.left + area.right) / 2, middle, unit * 3 / 2,
                     kept.favourite[playedIndex],
                     kept.favourite[playedIndex] ? theme.star : theme.faint);
            return;
        case kActChooser:
            DrawChevron(area.left + unit, middle, unit * 2 / 3, 2, ink);
            text.left += unit;
            break;
        case kActTypes:
        case kActGame:
            DrawChevron(area.right - unit, middle, unit * 2 / 3, 1, ink);
            text.right -= unit;
            break;
        default: break;
    }
    DrawTextIn(&window, kSans, unit, text, 0, ink, shown->label);
}

static void DrawTop(void) {
    FillBox((box){0, 0, window.width, TopHeight()}, theme.panel);
    FillBox((box){0, TopHeight() - 1, window.width, TopHeight()}, theme.line);
    for (int i = 0; i < buttonCount; ++i) DrawTopButton(&buttons[i]);
    const int left = buttonCount > 0 ? buttons[buttonCount - 1].area.right + unit : 0;
    DrawTextIn(&window, kSansBold, unit, (box){left, 0, window.width - unit, TopHeight()}, 1,
               theme.faint, catalogue[playedIndex].name);
    drawn.canUndo = !IsOff(kActUndo);
    drawn.canRedo = !IsOff(kActRedo);
}

static void DrawStatus(const char* notice) {
    const box all = {0, StatusTop(), window.width, window.height};
    FillBox(all, theme.panel);
    FillBox((box){0, all.top, window.width, all.top + 1}, theme.line);
    box text = {unit / 2, all.top, window.width - unit / 2, all.bottom};
    drawn.status = HasBoard() ? midend_status(played->me) : 0;
    played->statusChanged = false;
    if (notice == NULL && drawn.status != 0) {
        const char* const state = drawn.status > 0 ? "Solved" : "Game over";
        const int width = TextWidth(kSansBold, unit, state) + unit;
        const box mark = {text.right - width, all.top + unit / 3, text.right,
                          all.bottom - unit / 3};
        FillRounded(&window, mark.left, mark.top, width, mark.bottom - mark.top, unit / 3,
                    drawn.status > 0 ? theme.accent : theme.warning);
        DrawTextIn(&window, kSansBold, unit, mark, 0, theme.onAccent, state);
        text.right = mark.left - unit / 2;
    }
    if (notice != NULL) {
        DrawTextIn(&window, kSans, unit, text, -1, theme.accent, notice);
    } else if (midend_wants_statusbar(played->me) && played->status[0] != 0) {
        DrawTextIn(&window, kSans, unit, text, -1, theme.text, played->status);
    } else {
        DrawTextIn(&window, kSans, unit, text, -1, theme.faint, catalogue[playedIndex].objective);
    }
}

void DrawBars(const char* notice) {
    DrawTop();
    DrawStatus(notice);
    for (int i = 0; i < keyCount; ++i) DrawButton(keys[i].area, keys[i].label, kButtonPlain);
}

bool BarsHaveChanged(void) {
    return played->statusChanged || drawn.canUndo == IsOff(kActUndo) ||
           drawn.canRedo == IsOff(kActRedo) || drawn.status != midend_status(played->me);
}

void PresentBars(void) {
    DrawBars(NULL);
    Present((box){0, 0, window.width, TopHeight()});
    Present((box){0, StatusTop(), window.width, window.height});
}

// --- Input

static int ButtonAt(int x, int y) {
    for (int i = 0; i < buttonCount; ++i) {
        if (Inside(buttons[i].area, x, y)) return buttons[i].action;
    }
    for (int i = 0; i < keyCount; ++i) {
        if (Inside(keys[i].area, x, y)) return keys[i].action;
    }
    return -1;
}

bool PressBars(int x, int y) {
    const int action = ButtonAt(x, y);
    if (action >= kKeyActions) {
        PlayKey(keyButtons[action - kKeyActions]);
    } else if (action >= 0 && !IsOff(action)) {
        DoAction(action);
    }
    return action >= 0 || !Inside(PuzzleRoom(), x, y);
}

void PointBars(void) {
    const int now = ButtonAt(pointerX, pointerY);
    if (now != hovered) Redraw();
    hovered = now;
}

// --- Menus

static void AddPresets(menu* to, const struct preset_menu* presets, int current) {
    for (int i = 0; i < presets->n_entries; ++i) {
        const struct preset_menu_entry* const entry = &presets->entries[i];
        if (entry->submenu != NULL) {
            menu* const inner = NewMenu();
            AddPresets(inner, entry->submenu, current);
            AddMenu(to, entry->title, inner);
        } else {
            AddEntry(to, entry->title, "", kActPreset + entry->id,
                     entry->id == current ? kEntryChecked : 0);
        }
    }
}

static void OpenBelow(menu* opened, int action) {
    int x = unit / 4;
    for (int i = 0; i < buttonCount; ++i) {
        if (buttons[i].action == action) x = buttons[i].area.left;
    }
    OpenMenu(opened, x, TopHeight() - 1, 12 * unit, DoAction);
}

void OpenTypes(void) {
    menu* const made = NewMenu();
    // In this order: the first call makes what the second one looks into.
    const struct preset_menu* const presets = midend_get_presets(played->me, NULL);
    const int current = midend_which_preset(played->me);
    AddPresets(made, presets, current);
    if (played->played->can_configure) {
        AddLine(made);
        AddEntry(made, "Custom\xE2\x80\xA6", "Ctrl+E", kActSettings,
                 current < 0 ? kEntryChecked : 0);
    }
    OpenBelow(made, kActTypes);
}

void OpenGameMenu(void) {
    menu* const made = NewMenu();
    char* const seed = midend_get_random_seed(played->me);
    const bool asText = midend_can_format_as_text_now(played->me);
    AddEntry(made, "New game", "Ctrl+N", kActNew, 0);
    AddEntry(made, "Restart", "Ctrl+R", kActRestart, 0);
    AddEntry(made, "Solve", "Ctrl+L", kActSolve, played->played->can_solve ? 0 : kEntryOff);
    AddLine(made);
    AddEntry(made, "Undo", "Ctrl+Z", kActUndo, IsOff(kActUndo) ? kEntryOff : 0);
    AddEntry(made, "Redo", "Ctrl+Y", kActRedo, IsOff(kActRedo) ? kEntryOff : 0);
    AddLine(made);
    AddEntry(made, "Game ID\xE2\x80\xA6", "Ctrl+I", kActDescription, 0);
    AddEntry(made, "Random seed\xE2\x80\xA6", "", kActSeed, 0);
    AddEntry(made, "Copy game ID", "Ctrl+C", kActCopyId, 0);
    AddEntry(made, "Copy random seed", "Ctrl+Shift+C", kActCopySeed, seed != NULL ? 0 : kEntryOff);
    AddEntry(made, "Copy as text", "", kActCopyText, asText ? 0 : kEntryOff);
    AddEntry(made, "Paste game", "Ctrl+V", kActPaste, 0);
    AddLine(made);
    AddEntry(made, "Favourite", "Ctrl+D", kActFavourite,
             kept.favourite[playedIndex] ? kEntryChecked : 0);
    AddEntry(made, "Preferences\xE2\x80\xA6", "Ctrl+P", kActPreferences, 0);
    AddEntry(made, "Full screen", "F11", kActFullScreen, 0);
    AddEntry(made, "Help", "F1", kActHelp, 0);
    AddEntry(made, "All puzzles", "Esc", kActChooser, 0);
    sfree(seed);
    OpenBelow(made, kActGame);
}
