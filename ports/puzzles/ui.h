// What is on the window: a stack of views, of which the top one gets the input, and the parts that
// they are made of.
#ifndef PUZZLES_UI_H
#define PUZZLES_UI_H

#include "pixels.h"
#include "text.h"
#include "theme.h"

// Any function may be NULL.
typedef struct {
    void (*draw)(void);
    void (*point)(int x, int y, int held);  // held: MOXI_HELD_... bits
    void (*press)(int x, int y, int button);
    void (*release)(int x, int y, int button);
    void (*wheel)(int x, int y, int direction);  // 1 up, -1 down
    bool (*key)(int code, int held);             // true: no text is wanted of this key
    void (*typed)(const char* text);
    void (*tick)(void);
    void (*closed)(void);
} view;

extern surface window;  // what the screen shows
extern int unit;        // size of the front end's letters; everything else goes by it
extern int pointerX, pointerY;

void OpenView(const view* opened);  // on top
void CloseView(void);               // the top one
const view* TopView(void);
bool IsOnTop(const view* asked);
// Replaces all views by one.
void ShowView(const view* shown);

// The window's size: makes the surface anew.
void ResizeWindow(int width, int height);
// Everything is drawn at the end of the message.
void Redraw(void);
// Shows a part of `window` that has been drawn already.
void Present(box part);
// Called at the end of each message.
void FinishDrawing(void);

// --- Parts

bool Inside(box area, int x, int y);
box Inset(box area, int by);
// Whether the pointer is over it and the view that is being drawn is on top.
bool Hovered(box area);
void FillBox(box area, moxi_colour colour);
void FrameBox(box area, moxi_colour colour);
// A panel with a shadow, for what lies over a view.
void DrawPanel(box area);
// Darkens what lies below a panel.
void DimWindow(void);

enum { kButtonPlain, kButtonAccent, kButtonFlat, kButtonOff };
void DrawButton(box area, const char* label, int kind);
int ButtonWidth(const char* label);
// A tick in a box of the font's height.
void DrawCheck(box area, bool on, bool focused);
void DrawStar(int x, int y, int size, bool filled, moxi_colour colour);
// A chevron: direction 0 right, 1 down, 2 left, 3 up.
void DrawChevron(int x, int y, int size, int direction, moxi_colour colour);
// A scroll bar for `total` of which `shown` can be seen from `offset` on.
void DrawScrollBar(box area, int total, int shown, int offset);

#endif
