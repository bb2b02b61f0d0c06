#include "field.h"

#include <string.h>

static int Length(const field* edited) {
    return (int)strlen(edited->text);
}

static int First(const field* edited) {
    return edited->caret < edited->anchor ? edited->caret : edited->anchor;
}

static int Last(const field* edited) {
    return edited->caret > edited->anchor ? edited->caret : edited->anchor;
}

void SetField(field* edited, const char* text) {
    const size_t length = strnlen(text, kFieldRoom - 1);
    memmove(edited->text, text, length);
    edited->text[length] = 0;
    edited->anchor = 0;
    edited->caret = (int)length;
    edited->scroll = 0;
}

static bool ContinuesCharacter(char byte) {
    return ((unsigned char)byte & 0xC0) == 0x80;
}

static int Step(const field* edited, int from, int direction) {
    int at = from + direction;
    while (at > 0 && at < Length(edited) && ContinuesCharacter(edited->text[at])) at += direction;
    return at < 0 ? 0 : at > Length(edited) ? Length(edited) : at;
}

static void RemoveSelected(field* edited) {
    const int first = First(edited), last = Last(edited);
    memmove(edited->text + first, edited->text + last, (size_t)(Length(edited) - last + 1));
    edited->caret = edited->anchor = first;
}

static void Insert(field* edited, const char* text) {
    RemoveSelected(edited);
    for (; *text != 0 && Length(edited) < kFieldRoom - 1; ++text) {
        if ((unsigned char)*text < ' ' || *text == 127) continue;
        char* const at = edited->text + edited->caret;
        memmove(at + 1, at, strlen(at) + 1);
        *at = *text;
        edited->anchor = ++edited->caret;
    }
    Redraw();
}

void FieldTyped(field* edited, const char* text) {
    if ((unsigned char)text[0] >= ' ' && text[0] != 127) Insert(edited, text);
}

static void CopySelected(const field* edited) {
    char piece[kFieldRoom];
    const int length = Last(edited) - First(edited);
    if (length == 0) return;
    memcpy(piece, edited->text + First(edited), (size_t)length);
    piece[length] = 0;
    moxi_write_clipboard(piece);
}

static bool ClipboardKey(field* edited, int code) {
    static char pasted[kFieldRoom];
    switch (code) {
        case 'A':
            edited->anchor = 0;
            edited->caret = Length(edited);
            return true;
        case 'C': CopySelected(edited); return true;
        case 'X':
            CopySelected(edited);
            RemoveSelected(edited);
            return true;
        case 'V':
            pasted[0] = 0;
            moxi_read_clipboard(pasted, sizeof pasted);
            Insert(edited, pasted);
            return true;
        default: return false;
    }
}

static void MoveTo(field* edited, int place, int held) {
    edited->caret = place;
    if (!(held & MOXI_HELD_SHIFT)) edited->anchor = place;
}

static void Delete(field* edited, int direction) {
    if (edited->caret == edited->anchor) edited->caret = Step(edited, edited->caret, direction);
    RemoveSelected(edited);
}

bool FieldKey(field* edited, int code, int held) {
    Redraw();
    if (held & MOXI_HELD_COMMAND) return ClipboardKey(edited, code);
    switch (code) {
        case MOXI_KEY_LEFT: MoveTo(edited, Step(edited, edited->caret, -1), held); return true;
        case MOXI_KEY_RIGHT: MoveTo(edited, Step(edited, edited->caret, 1), held); return true;
        case MOXI_KEY_HOME: MoveTo(edited, 0, held); return true;
        case MOXI_KEY_END: MoveTo(edited, Length(edited), held); return true;
        case MOXI_KEY_BACKSPACE: Delete(edited, -1); return true;
        case MOXI_KEY_DELETE: Delete(edited, 1); return true;
        default: return false;
    }
}

// --- On the window

static int Place(const field* edited, int bytes) {
    char piece[kFieldRoom];
    memcpy(piece, edited->text, (size_t)bytes);
    piece[bytes] = 0;
    return TextWidth(kSans, unit, piece);
}

void FieldPress(field* edited, box area, int x, bool extends) {
    const int wanted = x - area.left - unit / 2 + edited->scroll;
    int at = 0;
    while (at < Length(edited)) {
        const int next = Step(edited, at, 1);
        if ((Place(edited, at) + Place(edited, next)) / 2 > wanted) break;
        at = next;
    }
    edited->caret = at;
    if (!extends) edited->anchor = at;
    Redraw();
}

void DrawField(field* edited, box area, bool focused, const char* hint) {
    FillRounded(&window, area.left, area.top, area.right - area.left, area.bottom - area.top,
                unit / 3, focused ? theme.accent : theme.line);
    const int edge = focused ? 2 : 1;
    FillRounded(&window, area.left + edge, area.top + edge, area.right - area.left - 2 * edge,
                area.bottom - area.top - 2 * edge, unit / 3, theme.field);
    const box inner = {area.left + unit / 2, area.top, area.right - unit / 2, area.bottom};
    const int room = inner.right - inner.left - 2;
    if (edited->text[0] == 0) DrawTextIn(&window, kSans, unit, inner, -1, theme.faint, hint);
    const int caret = Place(edited, edited->caret);
    if (caret - edited->scroll > room) edited->scroll = caret - room;
    if (caret < edited->scroll) edited->scroll = caret;
    const box old = PushClip(&window, inner.left, inner.top, inner.right - inner.left,
                             inner.bottom - inner.top);
    const int middle = (area.top + area.bottom) / 2, left = inner.left - edited->scroll;
    const int cap = CapHeight(kSans, unit);
    if (focused && edited->caret != edited->anchor) {
        const int from = left + Place(edited, First(edited));
        const int to = left + Place(edited, Last(edited));
        FillRectangle(&window, from, middle - unit * 2 / 3, to - from, unit * 4 / 3,
                      Mixed(theme.field, theme.accent, 90));
    }
    DrawTextAt(&window, kSans, unit, left, middle + cap / 2, theme.text, edited->text);
    if (focused) {
        FillRectangle(&window, left + caret, middle - unit * 2 / 3, 1 + unit / 16, unit * 4 / 3,
                      theme.accent);
    }
    SetClip(&window, old);
}
