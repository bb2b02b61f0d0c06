// The puzzles, in the order of the package's own list, with what it says about each.
#ifndef PUZZLES_CATALOGUE_H
#define PUZZLES_CATALOGUE_H

#include <puzzles.h>

typedef struct {
    const char* id;  // name of the source file, of the help and of files of the data folder
    const char* name;
    const char* description;  // a few words
    const char* objective;    // a sentence
} catalogue_entry;

enum { kMostPuzzles = 64 };

// As many as gamelist has.
extern const catalogue_entry catalogue[];

#endif
