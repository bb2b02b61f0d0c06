#include "help.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "catalogue.h"
#include "ui.h"

// A page is text, a paragraph a line. Its first character says what it is; inside, control
// characters change the letters.
enum {
    kHeading = '#',
    kSection = '=',
    kBullet = '*',
    kTerm = ':',
    kInset = '>',
    kCode = '|',
    kItalic = 1,
    kTyped = 2,
    kPlain = 3,
    kPages = 3,
    kMostWidth = 46  // letters' sizes in a line, beyond which reading gets hard
};

static const view helpView;

static char* page;
static int pageNumber, puzzle;
static int scroll, contentHeight;

// --- Pages

static void ReadPage(const char* path) {
    free(page);
    page = NULL;
    FILE* const file = fopen(path, "rb");
    if (file == NULL) return;
    fseek(file, 0, SEEK_END);
    const long size = ftell(file);
    rewind(file);
    page = malloc((size_t)size + 1);
    page[fread(page, 1, (size_t)size, file)] = 0;
    fclose(file);
}

static void ShowPage(int number) {
    static const char* const general[kPages] = {"", "/help/common.txt", "/help/licence.txt"};
    char path[64];
    snprintf(path, sizeof path, "%s", general[number]);
    if (number == 0) snprintf(path, sizeof path, "/help/%s.txt", catalogue[puzzle].id);
    pageNumber = number;
    scroll = 0;
    ReadPage(path);
    Redraw();
}

void OpenHelp(int index) {
    puzzle = index;
    ShowPage(index >= 0 ? 0 : 1);
    OpenView(&helpView);
}

// --- Setting type

typedef struct {
    int left, right;  // of the column
    int x, y;         // of the next word; y is the top of its line
    int lineHeight;
    font face, plain;
    int size;
    moxi_colour ink;
} pen;

static int Top(void) {
    return unit * 3;
}

static void NextLine(pen* at) {
    at->x = at->left;
    at->y += at->lineHeight;
}

static bool IsVisible(const pen* at) {
    return at->y + at->lineHeight > Top() && at->y < window.height;
}

// A piece of a word in one kind of letters. A word goes to the next line whole, if it fits there.
static void SetPiece(pen* at, const char* text, int bytes, int wordWidth) {
    char piece[256];
    snprintf(piece, sizeof piece, "%.*s", bytes, text);
    if (at->x > at->left && at->x + wordWidth > at->right) NextLine(at);
    if (IsVisible(at)) {
        const int baseline = at->y + (at->lineHeight + CapHeight(at->face, at->size)) / 2;
        DrawTextAt(&window, at->face, at->size, at->x, baseline, at->ink, piece);
    }
    at->x += TextWidth(at->face, at->size, piece);
}

static font FaceFor(const pen* at, int sign) {
    return sign == kItalic ? kSansItalic : sign == kTyped ? kMono : at->plain;
}

static bool IsBreak(char byte) {
    return byte == 0 || byte == '\n' || byte == ' ';
}

static int PieceLength(const char* text) {
    int length = 0;
    while (!IsBreak(text[length]) && (unsigned char)text[length] > kPlain) ++length;
    return length;
}

static int WordWidth(const pen* at, const char* text) {
    pen measured = *at;
    int width = 0;
    while (!IsBreak(*text)) {
        char piece[256];
        const int length = PieceLength(text);
        if (length == 0) {
            measured.face = FaceFor(&measured, *text++);
            continue;
        }
        snprintf(piece, sizeof piece, "%.*s", length, text);
        width += TextWidth(measured.face, at->size, piece);
        text += length;
    }
    return width;
}

static const char* SetWord(pen* at, const char* text) {
    int width = WordWidth(at, text);
    while (!IsBreak(*text)) {
        const int length = PieceLength(text);
        if (length == 0) {
            at->face = FaceFor(at, *text++);
            continue;
        }
        SetPiece(at, text, length, width);
        width = 0;  // what follows stays on the line of the word's beginning
        text += length;
    }
    return text;
}

static const char* SetParagraph(pen* at, const char* text) {
    at->face = at->plain;
    at->x = at->left;
    while (*text != 0 && *text != '\n') {
        if (*text == ' ') {
            if (at->x > at->left) at->x += TextWidth(at->face, at->size, "n n") / 4;
            ++text;
            continue;
        }
        text = SetWord(at, text);
    }
    NextLine(at);
    return text;
}

// Lines of programs and drawings in letters keep their blanks.
static const char* SetCode(pen* at, const char* text) {
    char line[256];
    const size_t length = strcspn(text, "\n");
    snprintf(line, sizeof line, "%.*s", (int)length, text);
    if (IsVisible(at)) {
        FillBox((box){at->left, at->y, at->right, at->y + at->lineHeight}, theme.field);
        const int baseline = at->y + (at->lineHeight + CapHeight(kMono, unit)) / 2;
        DrawTextAt(&window, kMono, unit, at->left + unit, baseline, at->ink, line);
    }
    NextLine(at);
    return text + length;
}

static const char* SetLine(pen* at, const char* text) {
    const int kind = *text;
    const int left = at->left, gap = unit / 2;
    at->size = kind == kHeading ? unit * 5 / 3 : kind == kSection ? unit * 5 / 4 : unit;
    at->plain = kind == kHeading || kind == kSection || kind == kTerm ? kSansBold : kSans;
    at->lineHeight = at->size * 3 / 2;
    if (kind == kCode) return SetCode(at, text + 1);
    at->y += kind == kSection ? unit : kind == kInset ? 0 : gap;
    if (kind == kInset) at->left += 2 * unit;
    if (kind == kBullet) {
        at->left += unit * 3 / 2;
        if (IsVisible(at)) {
            FillDisc(&window, (at->left - unit) * kOne, (at->y + at->lineHeight / 2) * kOne,
                     unit * kOne / 6, theme.accent);
        }
    }
    const char* const end = SetParagraph(at, text + 1);
    if (kind == kHeading || kind == kInset) at->y += gap;
    at->left = left;
    return end;
}

static void DrawPage(void) {
    const int most = kMostWidth * unit, room = window.width - 4 * unit;
    const int width = room < most ? room : most;
    const int left = (window.width - width) / 2;
    pen at = {.left = left, .right = left + width, .y = Top() - scroll, .ink = theme.text};
    const char* text = page != NULL ? page : " This page is missing.";
    while (*text != 0) {
        text = SetLine(&at, text);
        if (*text == '\n') ++text;
    }
    contentHeight = at.y + scroll - Top() + 2 * unit;
}

// --- The view

static box TabBox(int index) {
    static const int ample[kPages + 1] = {10, 9, 7, 6}, scant[kPages + 1] = {7, 7, 5, 5};
    const int* const widths = window.width > 34 * unit ? ample : scant;
    int left = unit / 2;
    for (int i = puzzle >= 0 ? 0 : 1; i < index; ++i) left += widths[i] * unit;
    if (index == kPages) left = window.width - widths[kPages] * unit - unit / 2;
    return (box){left, unit / 2, left + widths[index] * unit - unit / 4, unit * 5 / 2};
}

static int MostScroll(void) {
    const int most = contentHeight - (window.height - Top());
    return most > 0 ? most : 0;
}

static void ScrollTo(int wanted) {
    const int most = MostScroll();
    scroll = wanted > most ? most : wanted < 0 ? 0 : wanted;
    Redraw();
}

static void Draw(void) {
    FillBox((box){0, 0, window.width, window.height}, theme.panel);
    DrawPage();
    if (scroll > MostScroll()) {
        scroll = MostScroll();
        FillBox((box){0, 0, window.width, window.height}, theme.panel);
        DrawPage();
    }
    FillBox((box){0, 0, window.width, Top()}, theme.ground);
    FillBox((box){0, Top() - 1, window.width, Top()}, theme.line);
    for (int i = puzzle >= 0 ? 0 : 1; i <= kPages; ++i) {
        static const char* const labels[kPages + 1] = {"", "All puzzles", "Licence", "Close"};
        DrawButton(TabBox(i), i == 0 ? catalogue[puzzle].name : labels[i],
                   i == pageNumber ? kButtonAccent : kButtonPlain);
    }
    DrawScrollBar(
        (box){window.width - unit * 3 / 4, Top() + 2, window.width - unit / 4, window.height - 2},
        contentHeight, window.height - Top(), scroll);
}

static bool dragsBar;

static void DragBar(int y) {
    const int room = window.height - Top();
    if (room > 0) ScrollTo((int)((int64_t)(y - Top()) * MostScroll() / room));
}

static void Press(int x, int y, int button) {
    (void)button;
    for (int i = puzzle >= 0 ? 0 : 1; i <= kPages; ++i) {
        if (!Inside(TabBox(i), x, y)) continue;
        if (i == kPages) {
            CloseView();
        } else {
            ShowPage(i);
        }
        return;
    }
    dragsBar = x > window.width - unit && y > Top();
    if (dragsBar) DragBar(y);
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
    ScrollTo(scroll - direction * 3 * unit);
}

static bool Key(int code, int held) {
    (void)held;
    const int screen = window.height - Top() - 2 * unit;
    switch (code) {
        case MOXI_KEY_ESCAPE:
        case MOXI_KEY_RETURN:
        case MOXI_KEY_F1: CloseView(); return true;
        case MOXI_KEY_UP: ScrollTo(scroll - 2 * unit); return true;
        case MOXI_KEY_DOWN: ScrollTo(scroll + 2 * unit); return true;
        case MOXI_KEY_PAGE_UP: ScrollTo(scroll - screen); return true;
        case MOXI_KEY_SPACE:
        case MOXI_KEY_PAGE_DOWN: ScrollTo(scroll + screen); return true;
        case MOXI_KEY_HOME: ScrollTo(0); return true;
        case MOXI_KEY_END: ScrollTo(contentHeight); return true;
        case MOXI_KEY_TAB:
            ShowPage(pageNumber + 1 < kPages ? pageNumber + 1 : puzzle < 0);
            return true;
        default: return false;
    }
}

static const view helpView = {
    .draw = Draw,
    .point = Point,
    .press = Press,
    .wheel = Wheel,
    .key = Key,
};
