// The chooser: a card for each puzzle with a picture of it.
#ifndef PUZZLES_CHOOSER_H
#define PUZZLES_CHOOSER_H

#include "ui.h"

extern const view chooserView;

// Goes to a puzzle's card when the chooser is shown.
void SelectPuzzle(int index);
// The pictures have the wrong colours or size now.
void ForgetPictures(void);
// Whether pictures have yet to be made: then the chooser wants to be woken.
bool WantsPictures(void);

#endif
