// Dialogues: a list of things to fill in, as the games describe theirs, and two buttons; or a text
// alone with buttons.
#ifndef PUZZLES_DIALOGUE_H
#define PUZZLES_DIALOGUE_H

#include <puzzles.h>

#include "ui.h"

// Takes the items over and frees them with free_cfg. `accept` gets them filled in and returns what
// is wrong with them, or NULL: then the dialogue has been closed before anything else happens.
void OpenDialogue(const char* title, config_item* items, const char* (*accept)(config_item* items));

// A notice of a few lines; `agreed` is called when the player agrees. With no function the notice
// has one button alone.
void OpenNotice(const char* title, const char* text, const char* agree, void (*agreed)(void));

#endif
