#include "chooser.h"

#include <ctype.h>
#include <stdlib.h>
#include <string.h>

#include "board.h"
#include "catalogue.h"
#include "field.h"
#include "help.h"
#include "play.h"
#include "preferences.h"
#include "saving.h"

static field search;
static int shown[kMostPuzzles];  // the puzzles that the search leaves, in order
static int shownCount = -1;      // -1: to be found anew
static int current;              // place in `shown`
static int scroll;               // pixels
static bool showsCurrent;        // the current card has to be scrolled into view

static surface pictures[kMostPuzzles];
static moxi_colour grounds[kMostPuzzles];
static int pictureWidth, pictureHeight;  // what they were made for

// --- What is shown

static bool Contains(const char* text, const char* part) {
    const size_t length = strlen(part);
    for (; *text != 0; ++text) {
        if (strncasecmp(text, part, length) == 0) return true;
    }
    return length == 0;
}

static bool IsFound(int index) {
    const catalogue_entry* const entry = &catalogue[index];
    return Contains(entry->name, search.text) || Contains(entry->description, search.text) ||
           Contains(entry->objective, search.text);
}

static void FindShown(void) {
    if (shownCount >= 0) return;
    shownCount = 0;
    // Favourites first; each kind in the order of the alphabet, as the list is.
    for (int pass = 0; pass < 2; ++pass) {
        for (int i = 0; i < gamecount; ++i) {
            if (kept.favourite[i] == (pass == 0) && IsFound(i)) shown[shownCount++] = i;
        }
    }
    if (current >= shownCount) current = shownCount > 0 ? shownCount - 1 : 0;
}

void SelectPuzzle(int index) {
    shownCount = -1;
    FindShown();
    for (int i = 0; i < shownCount; ++i) {
        if (shown[i] == index) current = i;
    }
    showsCurrent = true;
}

// --- Where things are

static int HeaderHeight(void) {
    return unit * 7 / 2;
}

static int Columns(void) {
    const int columns = (window.width - unit) / (14 * unit);
    return columns < 1 ? 1 : columns;
}

static int CardHeight(void) {
    return 14 * unit;
}

static int CardWidth(void) {
    return (window.width - 2 * unit) / Columns();
}

static box CardBox(int place) {
    const int left = unit / 2 + place % Columns() * CardWidth();
    const int top = HeaderHeight() + unit / 2 + place / Columns() * CardHeight() - scroll;
    return (box){left + unit / 4, top + unit / 4, left + CardWidth() - unit / 4,
                 top + CardHeight() - unit / 4};
}

static box PictureBox(box card) {
    return (box){card.left + unit / 2, card.top + unit / 2, card.right - unit / 2,
                 card.bottom - unit * 15 / 4};
}

static box StarBox(box card) {
    return (box){card.right - unit * 5 / 2, card.bottom - unit * 13 / 4, card.right - unit / 2,
                 card.bottom - unit * 5 / 4};
}

static int ContentHeight(void) {
    return (shownCount + Columns() - 1) / Columns() * CardHeight() + unit;
}

static void ScrollTo(int wanted) {
    const int most = ContentHeight() - (window.height - HeaderHeight());
    if (wanted > most) wanted = most;
    scroll = wanted < 0 ? 0 : wanted;
}

static void ShowCurrent(void) {
    const box card = CardBox(current);
    if (card.top < HeaderHeight() + unit / 4)
        ScrollTo(scroll + card.top - HeaderHeight() - unit / 2);
    if (card.bottom > window.height - unit / 4)
        ScrollTo(scroll + card.bottom - window.height + unit);
}

// --- Pictures: made one after the other, so that the chooser is there at once

void ForgetPictures(void) {
    for (int i = 0; i < kMostPuzzles; ++i) FreeSurface(&pictures[i]);
}

static void MakePicture(int index) {
    board* const made = NewBoard(gamelist[index]);
    if (!LoadExample(made, index)) midend_new_game(made->me);
    // An animation of the example's last move is over, a flash has not begun.
    midend_stop_anim(made->me);
    FitBoard(made, pictureWidth, pictureHeight);
    pictures[index] = made->picture;
    grounds[index] = BoardGround(made);
    made->picture.bitmap = 0;
    FreeBoard(made);
}

static int NextPicture(void) {
    FindShown();
    for (int i = 0; i < shownCount; ++i) {
        const box card = CardBox(i);
        const bool visible = card.bottom > 0 && card.top < window.height;
        if (visible && pictures[shown[i]].bitmap == 0) return shown[i];
    }
    for (int i = 0; i < gamecount; ++i) {
        if (pictures[i].bitmap == 0) return i;
    }
    return -1;
}

bool WantsPictures(void) {
    return IsOnTop(&chooserView) && NextPicture() >= 0;
}

static void CheckPictureSize(void) {
    const box inner = PictureBox(CardBox(0));
    const int width = inner.right - inner.left, height = inner.bottom - inner.top;
    if (width == pictureWidth && height == pictureHeight) return;
    pictureWidth = width;
    pictureHeight = height;
    ForgetPictures();
}

static void Tick(void) {
    const int next = NextPicture();
    if (next < 0 || pictureWidth <= 0) return;
    MakePicture(next);
    Redraw();
}

// --- Drawing

static void DrawHighlightedCard(box card, bool isCurrent) {
    const int radius = unit / 2;
    const bool hovered = Hovered(card) && pointerY >= HeaderHeight();
    FillRounded(&window, card.left, card.top, card.right - card.left, card.bottom - card.top,
                radius, isCurrent ? theme.accent : theme.line);
    const box inner = Inset(card, isCurrent ? 2 : 1);
    FillRounded(&window, inner.left, inner.top, inner.right - inner.left, inner.bottom - inner.top,
                radius, hovered ? theme.hovered : theme.raised);
}

static void DrawCard(int place) {
    const int index = shown[place];
    const box card = CardBox(place);
    const box inner = PictureBox(card), star = StarBox(card);
    DrawHighlightedCard(card, place == current);
    surface* const picture = &pictures[index];
    if (picture->bitmap != 0) {
        FillRounded(&window, inner.left, inner.top, inner.right - inner.left,
                    inner.bottom - inner.top, unit / 3, grounds[index]);
        CopySurface(&window, (inner.left + inner.right - picture->width) / 2,
                    (inner.top + inner.bottom - picture->height) / 2, picture,
                    (box){0, 0, picture->width, picture->height});
    }
    const int top = card.bottom - unit * 7 / 2;
    const box name = {inner.left, top, star.left - unit / 4, top + unit * 3 / 2};
    const box description = {inner.left, name.bottom, star.left, name.bottom + unit * 3 / 2};
    DrawTextIn(&window, kSansBold, unit, name, -1, theme.text, catalogue[index].name);
    DrawTextIn(&window, kSans, unit * 6 / 7, description, -1, theme.faint,
               catalogue[index].description);
    const int middle = (star.top + star.bottom) / 2;
    if (kept.favourite[index]) {
        DrawStar((star.left + star.right) / 2, middle, unit * 3 / 2, true, theme.star);
    } else if (Hovered(card) || place == current) {
        DrawStar((star.left + star.right) / 2, middle, unit * 3 / 2, false, theme.faint);
    }
    if (HasGame(index)) {
        FillDisc(&window, (inner.right - unit / 4) * kOne, (inner.top + unit / 4) * kOne,
                 unit * kOne * 2 / 5, theme.raised);
        FillDisc(&window, (inner.right - unit / 4) * kOne, (inner.top + unit / 4) * kOne,
                 unit * kOne * 3 / 10, theme.accent);
    }
}

static box HeaderButton(int index) {
    static const int widths[] = {5, 8};
    int right = window.width - unit / 2;
    for (int i = 0; i < index; ++i) right -= widths[i] * unit + unit / 2;
    return (box){right - widths[index] * unit, unit * 3 / 4, right, unit * 11 / 4};
}

static bool HasTitle(void) {
    return window.width > 44 * unit;
}

static box SearchBox(void) {
    return (box){HasTitle() ? 9 * unit : unit / 2, unit * 3 / 4, HeaderButton(1).left - unit / 2,
                 unit * 11 / 4};
}

static void DrawHeader(void) {
    FillBox((box){0, 0, window.width, HeaderHeight()}, theme.panel);
    FillBox((box){0, HeaderHeight() - 1, window.width, HeaderHeight()}, theme.line);
    if (HasTitle()) {
        DrawTextIn(&window, kSansBold, unit * 3 / 2, (box){unit, 0, 9 * unit, HeaderHeight()}, -1,
                   theme.text, "Puzzles");
    }
    DrawField(&search, SearchBox(), search.text[0] != 0, "Type to search");
    DrawButton(HeaderButton(0), "Help", kButtonPlain);
    DrawButton(HeaderButton(1), "Preferences", kButtonPlain);
}

static void Draw(void) {
    FindShown();
    if (showsCurrent) ShowCurrent();
    showsCurrent = false;
    ScrollTo(scroll);
    CheckPictureSize();
    FillBox((box){0, 0, window.width, window.height}, theme.ground);
    for (int i = 0; i < shownCount; ++i) {
        const box card = CardBox(i);
        if (card.bottom > HeaderHeight() && card.top < window.height) DrawCard(i);
    }
    if (shownCount == 0) {
        DrawTextIn(&window, kSans, unit, (box){0, HeaderHeight(), window.width, 12 * unit}, 0,
                   theme.faint, "No puzzle has this in its name or description.");
    }
    DrawHeader();
    DrawScrollBar((box){window.width - unit * 3 / 4, HeaderHeight() + 2, window.width - unit / 4,
                        window.height - 2},
                  ContentHeight(), window.height - HeaderHeight(), scroll);
}

// --- Input

static void ToggleFavourite(int place) {
    if (place >= shownCount) return;
    const int index = shown[place];
    kept.favourite[index] = !kept.favourite[index];
    SavePreferences();
    SelectPuzzle(index);
    Redraw();
}

static void SearchAnew(void) {
    shownCount = -1;
    current = 0;
    scroll = 0;
    showsCurrent = true;
    Redraw();
}

static void PressHeader(int x, int y) {
    if (Inside(HeaderButton(0), x, y)) {
        OpenHelp(-1);
    } else if (Inside(HeaderButton(1), x, y)) {
        OpenPreferences();
    } else if (Inside(SearchBox(), x, y)) {
        FieldPress(&search, SearchBox(), x, false);
    }
}

static bool dragsBar;

static void DragBar(int y) {
    const int room = window.height - HeaderHeight();
    ScrollTo((int)((int64_t)(y - HeaderHeight()) * (ContentHeight() - room) / room));
    Redraw();
}

static void Press(int x, int y, int button) {
    if (y < HeaderHeight()) {
        PressHeader(x, y);
        return;
    }
    dragsBar = x > window.width - unit;
    if (dragsBar) DragBar(y);
    for (int i = 0; i < shownCount && !dragsBar; ++i) {
        const box card = CardBox(i);
        if (!Inside(card, x, y)) continue;
        current = i;
        if (button != MOXI_BUTTON_LEFT || Inside(StarBox(card), x, y)) {
            ToggleFavourite(i);
        } else {
            OpenPuzzle(shown[i]);
        }
        return;
    }
}

static void Point(int x, int y, int held) {
    (void)x;
    if (!(held & MOXI_HELD_LEFT)) dragsBar = false;
    if (dragsBar) DragBar(y);
    Redraw();
}

static void Wheel(int x, int y, int direction) {
    (void)x;
    (void)y;
    ScrollTo(scroll - direction * 4 * unit);
    Redraw();
}

static void Move(int step) {
    const int next = current + step;
    if (next < 0 || next >= shownCount) return;
    current = next;
    showsCurrent = true;
    Redraw();
}

static bool Shortcut(int code, int held) {
    if (code == MOXI_KEY_F1) OpenHelp(-1);
    if (!(held & MOXI_HELD_COMMAND)) return code == MOXI_KEY_F1;
    if (code == 'D') ToggleFavourite(current);
    if (code == MOXI_KEY_COMMA || code == 'P') OpenPreferences();
    return code == 'D' || code == 'P' || code == MOXI_KEY_COMMA;
}

static bool Key(int code, int held) {
    if (Shortcut(code, held)) return true;
    const int rows = (window.height - HeaderHeight()) / CardHeight();
    switch (code) {
        case MOXI_KEY_LEFT: Move(-1); return true;
        case MOXI_KEY_RIGHT: Move(1); return true;
        case MOXI_KEY_UP: Move(-Columns()); return true;
        case MOXI_KEY_DOWN: Move(Columns()); return true;
        case MOXI_KEY_PAGE_UP: Move(-Columns() * (rows > 0 ? rows : 1)); return true;
        case MOXI_KEY_PAGE_DOWN: Move(Columns() * (rows > 0 ? rows : 1)); return true;
        case MOXI_KEY_RETURN:
            if (current < shownCount) OpenPuzzle(shown[current]);
            return true;
        case MOXI_KEY_ESCAPE:
            SetField(&search, "");
            SearchAnew();
            return true;
        default:
            if (!FieldKey(&search, code, held)) return false;
            SearchAnew();
            return true;
    }
}

static void Typed(const char* text) {
    FieldTyped(&search, text);
    SearchAnew();
}

const view chooserView = {
    .draw = Draw,
    .point = Point,
    .press = Press,
    .wheel = Wheel,
    .key = Key,
    .typed = Typed,
    .tick = Tick,
};
