// The dialogue of the player's preferences.
#ifndef PUZZLES_PREFERENCES_H
#define PUZZLES_PREFERENCES_H

#include <stdbool.h>

void OpenPreferences(void);
// Another theme: everything that has been drawn in the old one is drawn anew.
void SetTheme(bool dark);

#endif
