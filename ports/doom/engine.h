// What the pieces of the glue have of each other. The engine's own i_*.h tell of the rest: whatever
// they declare is defined here in place of the engine's files for a desktop.
#ifndef DOOM_ENGINE_H
#define DOOM_ENGINE_H

#include "doomtype.h"

// The engine's, without a header there.
extern int rndindex, prndindex;
extern boolean main_loop_started;
void D_DoomMain(void);
void D_RunFrame(void);

// --- engine.c

// Everything until the first picture. `arguments` are those of a command line, without a name
// before them; a line of "not enough data" ends the program.
void StartEngine(int count, char** arguments);
// In place of the engine's endless loop: what it does before its first round. start.h leads there.
void StartLoop(const char* description);
// Calls what the engine wants to be called at its end, once: settings are written.
void RunEndings(void);
boolean HasArgument(const char* name);

// --- state.c

// Writes a line about the state of the game to standard output at every 35th tic, for `-states`.
void TellState(void);

// --- What the desktop has to give

// The last words, in a form that somebody reads; then the program is over.
_Noreturn void FailProgram(const char* text);
_Noreturn void EndProgram(void);
// Called before each tic: events are to be posted.
void GatherInput(void);

#endif
