// Menus that open below a button, with menus inside of them.
#ifndef PUZZLES_MENU_H
#define PUZZLES_MENU_H

#include "ui.h"

typedef struct menu menu;

enum { kEntryOff = 1, kEntryChecked = 2 };

menu* NewMenu(void);
// A number of 0 or more is what `chosen` gets. The texts are copied.
void AddEntry(menu* to, const char* label, const char* keys, int number, int flags);
void AddLine(menu* to);
void AddMenu(menu* to, const char* label, menu* inner);

// Opens it at a place, as far as it fits there, and frees it when it is closed. `chosen` is called
// after that, unless nothing was chosen.
void OpenMenu(menu* opened, int x, int y, int leastWidth, void (*chosen)(int number));

#endif
