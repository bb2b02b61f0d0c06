// The colours of the front end, and those of the games in both themes.
#ifndef PUZZLES_THEME_H
#define PUZZLES_THEME_H

#include <moxi.h>
#include <puzzles.h>

typedef struct {
    moxi_colour ground;   // behind everything
    moxi_colour panel;    // bars, menus, dialogues
    moxi_colour raised;   // buttons and cards
    moxi_colour hovered;  // a button below the pointer
    moxi_colour field;    // where text is typed
    moxi_colour line;     // borders
    moxi_colour text, faint, accent, onAccent, warning, star;
    moxi_colour shadow;
} palette;

extern palette theme;  // of the theme in use

void UseTheme(bool dark);
bool IsDark(void);

// A game's colours as the theme in use has them, to be freed with free; there is one at least.
moxi_colour* GameColours(const game* played, frontend* fe, int* count);

#endif
