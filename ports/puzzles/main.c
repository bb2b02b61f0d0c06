// The program lives on messages: each goes to the view on top, and what has changed is shown.

#include <moxi.h>
#include <string.h>

#include "chooser.h"
#include "play.h"
#include "saving.h"
#include "ui.h"

enum { kLeastWidth = 200, kLeastHeight = 160, kPictureTicks = 10 };

static int period;      // of the running timer, 0 none
static bool isStarted;  // the window's size is known
static bool isMinimized;
static bool textIsTaken;  // the text of the last key is not wanted

static void Start(void) {
    LoadPreferences();
    UseTheme(kept.dark);
    moxi_window_title("Puzzles");
    if (kept.width < kLeastWidth || kept.height < kLeastHeight) return;
    moxi_window frame;
    moxi_get_window(&frame);
    // The upper left corner stays.
    frame.y += frame.height - kept.height;
    frame.width = kept.width;
    frame.height = kept.height;
    moxi_set_window(&frame);
}

static void Size(int width, int height, int how) {
    if (width < 1 || height < 1) return;
    if (isStarted && width == window.width && height == window.height) return;
    ResizeWindow(width, height);
    if (!isStarted) {
        isStarted = true;
        if (kept.last >= 0) {
            OpenPuzzle(kept.last);
        } else {
            ShowView(&chooserView);
        }
    }
    LayOutPlay();
    moxi_window frame;
    moxi_get_window(&frame);
    if (how == 0 && !frame.full_screen) {
        kept.width = width;
        kept.height = height;
    }
}

static bool IsMouse(int code) {
    return code == MOXI_BUTTON_LEFT || code == MOXI_BUTTON_RIGHT || code == MOXI_BUTTON_MIDDLE ||
           code >= 256;
}

static void MouseDown(int code, int p2, int p3) {
    const view* const top = TopView();
    pointerX = MOXI_POSITION_X(p3);
    pointerY = MOXI_POSITION_Y(p3);
    if (code == MOXI_WHEEL) {
        if (top->wheel != NULL) top->wheel(pointerX, pointerY, p2);
    } else if (code < 256 && top->press != NULL) {
        top->press(pointerX, pointerY, code);
    }
}

static void KeyDown(int code, int p2) {
    textIsTaken = false;
    if (p2 == 0) return;  // Shift and the like
    if (code == MOXI_KEY_F1 + 10) {
        ToggleFullScreen();
        textIsTaken = true;
        return;
    }
    const view* const top = TopView();
    const int held = (int)moxi_held_buttons(MOXI_HELD_SHIFT | MOXI_HELD_COMMAND | MOXI_HELD_OPTION);
    if (top->key != NULL) textIsTaken = top->key(code, held);
    if (held & MOXI_HELD_COMMAND) textIsTaken = true;
}

static void Characters(int p1, int p2) {
    char text[9] = {0};
    memcpy(text, &p1, 4);
    memcpy(text + 4, &p2, 4);
    const view* const top = TopView();
    if (!textIsTaken && (unsigned char)text[0] >= ' ' && top->typed != NULL) top->typed(text);
}

static void Up(int code, int p3) {
    if (!IsMouse(code)) return;
    const view* const top = TopView();
    pointerX = MOXI_POSITION_X(p3);
    pointerY = MOXI_POSITION_Y(p3);
    if (code < 256 && top->release != NULL) top->release(pointerX, pointerY, code);
}

static void Pointer(int x, int y, int held) {
    const view* const top = TopView();
    pointerX = x;
    pointerY = y;
    if (top->point != NULL) top->point(x, y, held);
}

static void Dispatch(int message, int p1, int p2, int p3) {
    switch (message) {
        case MOXI_MSG_TICK:
            if (TopView()->tick != NULL && !isMinimized) TopView()->tick();
            break;
        case MOXI_MSG_DOWN:
            if (IsMouse(p1)) {
                MouseDown(p1, p2, p3);
            } else {
                KeyDown(p1, p2);
            }
            break;
        case MOXI_MSG_UP: Up(p1, p3); break;
        case MOXI_MSG_CHAR: Characters(p1, p2); break;
        case MOXI_MSG_POINTER: Pointer(p1, p2, p3); break;
        case MOXI_MSG_MINIMIZE: isMinimized = p1 != 0; break;
        default: break;
    }
}

// Without a timer messages come at once; with one they wait for ticks of the host.
static void SetTimer(void) {
    int wanted = PlayPeriod();
    if (wanted == 0 && WantsPictures()) wanted = kPictureTicks;
    if (isMinimized) wanted = 0;
    if (wanted == period) return;
    moxi_timer(0);
    if (wanted != 0) moxi_timer((uint32_t)wanted);
    period = wanted;
}

int moxi_message(int message, int p1, int p2, int p3) {
    if (message == MOXI_MSG_START1) Start();
    MapSurface(&window);
    MapPlay();
    if (message == MOXI_MSG_SIZE) Size(p1, p2, p3);
    if (message == MOXI_MSG_CLOSE) {
        KeepPlay();
        SavePreferences();
        return 1;
    }
    if (!isStarted) return 0;
    Dispatch(message, p1, p2, p3);
    ShowPlay();
    FinishDrawing();
    SetTimer();
    return 0;
}
