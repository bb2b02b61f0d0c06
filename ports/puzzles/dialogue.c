#include "dialogue.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "field.h"
#include "menu.h"

enum { kMostItems = 16, kTitleRoom = 128, kNoticeRoom = 1024 };

static char title[kTitleRoom];
static config_item* items;
static int itemCount;
static field fields[kMostItems];
static const char* (*acceptItems)(config_item* items);
static char problem[256];
static int focus;   // an item, or behind them the two buttons
static int scroll;  // rows that have gone out at the top
static int fieldDrag = -1;

static const view dialogueView, noticeView;

static int RowHeight(void) {
    return unit * 9 / 4;
}

// --- Where things are

static int ControlWidth(void) {
    int width = 12 * unit;
    for (int i = 0; i < itemCount; ++i) {
        if (items[i].type == C_STRING && strlen(items[i].u.string.sval) > 20) width = 28 * unit;
    }
    return width;
}

static int LabelWidth(void) {
    int widest = TextWidth(kSansBold, unit, title) - 12 * unit;
    for (int i = 0; i < itemCount; ++i) {
        const int width = TextWidth(kSans, unit, items[i].name);
        if (width > widest) widest = width;
    }
    return widest;
}

static int VisibleRows(void) {
    const int room = (window.height - 10 * unit) / RowHeight();
    return itemCount < room ? itemCount : room < 1 ? 1 : room;
}

static box DialogueBox(void) {
    int width = LabelWidth() + ControlWidth() + 4 * unit;
    if (width > window.width - 8) width = window.width - 8;
    const int height = VisibleRows() * RowHeight() + 8 * unit;
    const int left = (window.width - width) / 2, top = (window.height - height) / 2;
    return (box){left, top < 0 ? 0 : top, left + width, top + height};
}

static box RowBox(int index) {
    const box all = DialogueBox();
    const int top = all.top + unit * 5 / 2 + (index - scroll) * RowHeight();
    return (box){all.left + unit * 3 / 2, top, all.right - unit * 3 / 2, top + RowHeight()};
}

static bool IsShown(int index) {
    return index >= scroll && index < scroll + VisibleRows();
}

static box ControlBox(int index) {
    box row = RowBox(index);
    const int room = row.right - row.left, width = ControlWidth();
    row.left = row.right - (width < room * 2 / 3 ? width : room * 2 / 3);
    row.top += unit / 4;
    row.bottom -= unit / 4;
    return row;
}

static box ButtonBox(int index) {
    const box all = DialogueBox();
    const int width = 6 * unit, right = all.right - unit * 3 / 2 - (1 - index) * (width + unit / 2);
    return (box){right - width, all.bottom - 3 * unit, right, all.bottom - unit};
}

// --- Choices: ":first:second", with any sign in the place of the colons

static int ChoiceCount(const config_item* item) {
    const char sign = item->u.choices.choicenames[0];
    int count = 0;
    for (const char* at = item->u.choices.choicenames; *at != 0; ++at) count += *at == sign;
    return count;
}

static void ChoiceName(const config_item* item, int index, char* name, size_t room) {
    const char* at = item->u.choices.choicenames;
    const char sign = *at;
    for (int i = 0; i < index && at != NULL; ++i) at = strchr(at + 1, sign);
    name[0] = 0;
    if (at == NULL) return;
    const char* const end = strchr(at + 1, sign);
    const size_t length = end != NULL ? (size_t)(end - at - 1) : strlen(at + 1);
    snprintf(name, room, "%.*s", (int)length, at + 1);
}

static int openedItem;

static void Chosen(int number) {
    items[openedItem].u.choices.selected = number;
    Redraw();
}

static void OpenChoices(int index) {
    menu* const choices = NewMenu();
    char name[128];
    openedItem = index;
    for (int i = 0; i < ChoiceCount(&items[index]); ++i) {
        ChoiceName(&items[index], i, name, sizeof name);
        AddEntry(choices, name, "", i, i == items[index].u.choices.selected ? kEntryChecked : 0);
    }
    const box area = ControlBox(index);
    OpenMenu(choices, area.left, area.bottom, area.right - area.left, Chosen);
}

static void StepChoice(int index, int step) {
    const int next = items[index].u.choices.selected + step;
    if (next >= 0 && next < ChoiceCount(&items[index])) items[index].u.choices.selected = next;
}

// --- Opening and closing

void OpenDialogue(const char* shownTitle, config_item* shownItems,
                  const char* (*accept)(config_item* items)) {
    snprintf(title, sizeof title, "%s", shownTitle);
    items = shownItems;
    acceptItems = accept;
    problem[0] = 0;
    focus = scroll = 0;
    fieldDrag = -1;
    for (itemCount = 0; itemCount < kMostItems && items[itemCount].type != C_END; ++itemCount) {
        if (items[itemCount].type == C_STRING) {
            SetField(&fields[itemCount], items[itemCount].u.string.sval);
        }
    }
    OpenView(&dialogueView);
}

static void Closed(void) {
    free_cfg(items);
    items = NULL;
}

static void Accept(void) {
    for (int i = 0; i < itemCount; ++i) {
        if (items[i].type != C_STRING) continue;
        sfree(items[i].u.string.sval);
        items[i].u.string.sval = dupstr(fields[i].text);
    }
    // The dialogue is closed first, so that what follows finds the game on top.
    config_item* const taken = items;
    const char* const wrong = acceptItems(taken);
    if (wrong != NULL) {
        snprintf(problem, sizeof problem, "%s", wrong);
        Redraw();
    } else if (IsOnTop(&dialogueView)) {
        CloseView();
    }
}

// --- Input

static void Toggle(int index) {
    items[index].u.boolean.bval = !items[index].u.boolean.bval;
}

static void PressItem(int index, int x) {
    focus = index;
    if (items[index].type == C_BOOLEAN) Toggle(index);
    if (items[index].type == C_CHOICES) OpenChoices(index);
    if (items[index].type == C_STRING) {
        FieldPress(&fields[index], ControlBox(index), x,
                   (moxi_held_buttons(MOXI_HELD_SHIFT) & MOXI_HELD_SHIFT) != 0);
        fieldDrag = index;
    }
}

static void Press(int x, int y, int button) {
    Redraw();
    if (button != MOXI_BUTTON_LEFT) return;
    if (Inside(ButtonBox(0), x, y)) {
        CloseView();
        return;
    }
    if (Inside(ButtonBox(1), x, y)) {
        Accept();
        return;
    }
    for (int i = 0; i < itemCount; ++i) {
        if (!IsShown(i)) continue;
        const box area = items[i].type == C_BOOLEAN ? RowBox(i) : ControlBox(i);
        if (Inside(area, x, y)) PressItem(i, x);
    }
}

static void Point(int x, int y, int held) {
    (void)y;
    Redraw();
    if (!(held & MOXI_HELD_LEFT)) fieldDrag = -1;
    if (fieldDrag >= 0) FieldPress(&fields[fieldDrag], ControlBox(fieldDrag), x, true);
}

static void Wheel(int x, int y, int direction) {
    (void)x;
    (void)y;
    const int next = scroll - direction;
    if (next >= 0 && next + VisibleRows() <= itemCount) scroll = next;
    Redraw();
}

static void MoveFocus(int step) {
    const int all = itemCount + 2;
    focus = (focus + step + all) % all;
    if (focus < itemCount) {
        if (focus < scroll) scroll = focus;
        if (focus >= scroll + VisibleRows()) scroll = focus - VisibleRows() + 1;
        if (items[focus].type == C_STRING) {
            fields[focus].anchor = 0;
            fields[focus].caret = (int)strlen(fields[focus].text);
        }
    }
}

static bool ItemKey(int code, int held) {
    if (focus >= itemCount) return false;
    switch (items[focus].type) {
        case C_STRING: return FieldKey(&fields[focus], code, held);
        case C_BOOLEAN:
            if (code == MOXI_KEY_SPACE) Toggle(focus);
            return code == MOXI_KEY_SPACE;
        default:
            if (code == MOXI_KEY_SPACE) OpenChoices(focus);
            if (code == MOXI_KEY_LEFT) StepChoice(focus, -1);
            if (code == MOXI_KEY_RIGHT) StepChoice(focus, 1);
            return code == MOXI_KEY_SPACE || code == MOXI_KEY_LEFT || code == MOXI_KEY_RIGHT;
    }
}

static bool Key(int code, int held) {
    Redraw();
    if (code == MOXI_KEY_ESCAPE || (code == MOXI_KEY_RETURN && focus == itemCount)) {
        CloseView();
    } else if (code == MOXI_KEY_RETURN) {
        Accept();
    } else if (code == MOXI_KEY_TAB) {
        MoveFocus(held & MOXI_HELD_SHIFT ? -1 : 1);
    } else if (!ItemKey(code, held)) {
        if (code == MOXI_KEY_UP) MoveFocus(-1);
        if (code == MOXI_KEY_DOWN) MoveFocus(1);
        return false;
    }
    return true;
}

static void Typed(const char* text) {
    if (focus < itemCount && items[focus].type == C_STRING) FieldTyped(&fields[focus], text);
}

// --- Drawing

static void DrawItem(int index) {
    config_item* const item = &items[index];
    const bool focused = index == focus;
    const box row = RowBox(index), control = ControlBox(index);
    const box label = {row.left, row.top,
                       item->type == C_BOOLEAN ? row.right - 2 * unit : control.left - unit / 2,
                       row.bottom};
    DrawTextIn(&window, kSans, unit, label, -1, theme.text, item->name);
    if (item->type == C_STRING) {
        DrawField(&fields[index], control, focused, "");
    } else if (item->type == C_BOOLEAN) {
        const int size = unit * 5 / 4, top = (row.top + row.bottom - size) / 2;
        DrawCheck((box){row.right - size, top, row.right, top + size}, item->u.boolean.bval,
                  focused);
    } else {
        char name[128];
        ChoiceName(item, item->u.choices.selected, name, sizeof name);
        FillRounded(&window, control.left, control.top, control.right - control.left,
                    control.bottom - control.top, unit / 3, focused ? theme.accent : theme.line);
        FillRounded(&window, control.left + 1, control.top + 1, control.right - control.left - 2,
                    control.bottom - control.top - 2, unit / 3,
                    Hovered(control) ? theme.hovered : theme.raised);
        const box text = {control.left + unit / 2, control.top, control.right - 2 * unit,
                          control.bottom};
        DrawTextIn(&window, kSans, unit, text, -1, theme.text, name);
        DrawChevron(control.right - unit, (control.top + control.bottom) / 2, unit * 2 / 3, 1,
                    theme.faint);
    }
}

static void DrawButtons(void) {
    for (int i = 0; i < 2; ++i) {
        const box area = ButtonBox(i);
        if (focus == itemCount + i) {
            FillRounded(&window, area.left - 2, area.top - 2, area.right - area.left + 4,
                        area.bottom - area.top + 4, unit / 2, theme.accent);
        }
        DrawButton(area, i == 0 ? "Cancel" : "OK", i == 0 ? kButtonPlain : kButtonAccent);
    }
}

static void Draw(void) {
    const box all = DialogueBox();
    DimWindow();
    DrawPanel(all);
    const box head = {all.left + unit * 3 / 2, all.top, all.right - unit, all.top + unit * 5 / 2};
    DrawTextIn(&window, kSansBold, unit, head, -1, theme.text, title);
    for (int i = 0; i < itemCount; ++i) {
        if (IsShown(i)) DrawItem(i);
    }
    DrawScrollBar((box){all.right - unit * 3 / 4, RowBox(scroll).top, all.right - unit / 4,
                        RowBox(scroll + VisibleRows() - 1).bottom},
                  itemCount, VisibleRows(), scroll);
    const box wrong = {all.left + unit * 3 / 2, all.bottom - 5 * unit, all.right - unit * 3 / 2,
                       all.bottom - unit * 7 / 2};
    DrawTextIn(&window, kSans, unit, wrong, -1, theme.warning, problem);
    DrawButtons();
}

static const view dialogueView = {
    .draw = Draw,
    .point = Point,
    .press = Press,
    .wheel = Wheel,
    .key = Key,
    .typed = Typed,
    .closed = Closed,
};

// --- Notices

static char noticeTitle[kTitleRoom], notice[kNoticeRoom], agreeLabel[32];
static void (*whenAgreed)(void);

void OpenNotice(const char* shownTitle, const char* text, const char* agree, void (*agreed)(void)) {
    snprintf(noticeTitle, sizeof noticeTitle, "%s", shownTitle);
    snprintf(notice, sizeof notice, "%s", text);
    snprintf(agreeLabel, sizeof agreeLabel, "%s", agree);
    whenAgreed = agreed;
    OpenView(&noticeView);
}

// The lines of the notice, drawn or only counted.
static int NoticeLines(box area, bool drawn) {
    const char* at = notice;
    int lines = 0;
    while (*at != 0) {
        char line[512];
        int bytes = FittingBytes(kSans, unit, at, area.right - area.left);
        const char* const end = memchr(at, '\n', (size_t)bytes + 1);
        if (end != NULL && end - at <= bytes) bytes = (int)(end - at);
        if (at[bytes] != 0 && at[bytes] != '\n') {
            int space = bytes;
            while (space > 0 && at[space] != ' ') --space;
            if (space > 0) bytes = space;
        }
        if (bytes < 1 && *at != '\n') bytes = 1;
        snprintf(line, sizeof line, "%.*s", bytes, at);
        const int top = area.top + lines * unit * 3 / 2;
        if (drawn) {
            DrawTextIn(&window, kSans, unit, (box){area.left, top, area.right, top + unit * 3 / 2},
                       -1, theme.text, line);
        }
        ++lines;
        at += bytes;
        if (*at == ' ' || *at == '\n') ++at;
    }
    return lines;
}

static box NoticeBox(void) {
    const int width = window.width < 36 * unit ? window.width - 8 : 34 * unit;
    const box text = {0, 0, width - 3 * unit, 0};
    const int height = NoticeLines(text, false) * unit * 3 / 2 + 7 * unit;
    const int left = (window.width - width) / 2, top = (window.height - height) / 2;
    return (box){left, top, left + width, top + height};
}

static box NoticeButton(int index) {
    const box all = NoticeBox();
    int width = ButtonWidth(agreeLabel);
    if (width < 6 * unit) width = 6 * unit;
    const int right = all.right - unit * 3 / 2 - index * (width + unit / 2);
    return (box){right - width, all.bottom - 3 * unit, right, all.bottom - unit};
}

static void DrawNotice(void) {
    const box all = NoticeBox();
    DimWindow();
    DrawPanel(all);
    const box inner = {all.left + unit * 3 / 2, all.top, all.right - unit * 3 / 2, all.bottom};
    DrawTextIn(&window, kSansBold, unit,
               (box){inner.left, all.top, inner.right, all.top + unit * 5 / 2}, -1, theme.text,
               noticeTitle);
    NoticeLines((box){inner.left, all.top + unit * 5 / 2, inner.right, inner.bottom}, true);
    DrawButton(NoticeButton(0), agreeLabel, kButtonAccent);
    if (whenAgreed != NULL) DrawButton(NoticeButton(1), "Cancel", kButtonPlain);
}

static void CloseNotice(bool agreed) {
    void (*const call)(void) = whenAgreed;
    CloseView();
    if (agreed && call != NULL) call();
}

static void PressNotice(int x, int y, int button) {
    (void)button;
    if (Inside(NoticeButton(0), x, y)) {
        CloseNotice(true);
    } else if (whenAgreed != NULL && Inside(NoticeButton(1), x, y)) {
        CloseNotice(false);
    }
}

static bool NoticeKey(int code, int held) {
    (void)held;
    if (code == MOXI_KEY_RETURN || code == MOXI_KEY_SPACE) CloseNotice(true);
    if (code == MOXI_KEY_ESCAPE) CloseNotice(false);
    return true;
}

static void PointNotice(int x, int y, int held) {
    (void)x;
    (void)y;
    (void)held;
    Redraw();
}

static const view noticeView = {
    .draw = DrawNotice,
    .point = PointNotice,
    .press = PressNotice,
    .key = NoticeKey,
};
