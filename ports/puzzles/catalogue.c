#include "catalogue.h"

// Made by the build from the package's list of puzzles.
#define PUZZLE(id, name, description, objective) {#id, name, description, objective},
const catalogue_entry catalogue[] = {
#include "generated-catalogue.h"
};
#undef PUZZLE
