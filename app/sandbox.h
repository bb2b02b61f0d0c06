#pragma once
// What the running process may reach. It restricts itself before the first byte of the game is
// read, once more when the game is known and its window is there, and a last time when its data
// folder has been made. Each step only narrows.
//
// Twice: by the kernel's Landlock (app/landlock.h), where it is to be had, and by a filter of
// system calls (app/call_filter.h). The file services hold the line for every name of the module
// themselves (sys/beneath.h), with or without them.
//
// The data folder is made by the first write. As long as it is missing, the process may write below
// the nearest folder above it that exists. No name of the module leads anywhere then. What makes
// the folder narrows the restriction before it does anything else.

#include <string>
#include <vector>

namespace moxi {

struct SandboxPlaces {
    std::string game;        // what was named; read with all that is below
    std::string dataFolder;  // or one above it; need not exist; "" is the current folder
    bool devices = false;    // there is a window, and there may be sound
    std::vector<std::string> readable = {};  // further files and folders
    std::string stampFolder = {};            // written until the game's data folder is known
    std::vector<std::string> writable = {};  // further folders
    // Further files that are written; one that is missing is made.
    std::vector<std::string> files = {};
};

// Restricts this thread and all threads and processes that it makes from now on, for good, to what
// the start of the desktop and of the game needs.
void StartSandbox(const SandboxPlaces& places);

// Narrows that to what the game needs: in the place of StartSandbox's data folder this one, no
// start of programs, no network. Files may still be deleted below `deletable`, the game's resources
// folder or "" for nowhere.
void TightenSandbox(const std::string& dataFolder, const std::string& deletable);

// For the process that opens gamepads: it reads the devices of a person's input, and nothing else.
void ConfinePadHelper();

// For sysSlots.beforeFileChange: narrows the restriction as soon as the data folder exists.
void NarrowSandbox();

// Deletes a file that came with the game, a name beneath the open resources folder, with no more
// rights than the process has once the data folder exists.
void DeleteInSandbox(int folder, const char* name);

}  // namespace moxi
