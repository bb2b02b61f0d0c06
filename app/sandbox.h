#pragma once
// What the running process may reach. With the kernel's Landlock it may write only below the game's
// data folder and into what is open already, delete files that came with the game, use the sound
// and graphics devices, and start no program. Reading is left as it is.
//
// The data folder is made by the first write, and a restriction can only be narrowed: as long as
// the folder is missing, the process may write below the nearest folder above it that exists. No
// name of the module leads anywhere then, because each begins with the missing folder. What makes
// the folder narrows the restriction before it does anything else.

#include <string>
#include <vector>

struct SandboxPlaces {
    std::string dataFolder;  // need not exist; "" is the current folder
    std::string resourcesFolder;
    bool devices = false;  // there is a window, and there may be sound
    // Further files that are written; one that is missing is made.
    std::vector<std::string> files = {};
};

// "" when the kernel can restrict the process, else why not.
std::string SandboxObstacle();

// Restricts this thread and all threads and processes that it makes from now on, for good.
// Returns "" or why the process is not restricted.
std::string StartSandbox(const SandboxPlaces& places);

// To be called before anything changes in the data folder. Narrows the restriction as soon as the
// folder exists.
void NarrowSandbox();

// Deletes a file that came with the game, with no more rights than the process has once the data
// folder exists.
void DeleteInSandbox(const char* path);
