#pragma once
// The files that the user asked for while a game runs: dumps, screenshots, reports. They lie
// anywhere, also where the running process may not write by itself, so they are opened through
// this record. Files of the game never go this way.

#include <unistd.h>

#include <cstdio>
#include <string>

namespace moxi {

struct OutputFiles {
    // Makes the file, or empties it, for writing. Null when that fails.
    std::FILE* (*open)(const std::string& path);
    void (*remove)(const std::string& path);
    // Makes the file, empty, where there is nothing of that name; else false, and errno is EEXIST.
    bool (*makeNew)(const std::string& path);
};

// Written by app/output_helper.cpp and by tests.
inline constinit OutputFiles outputFiles = {
    .open = [](const std::string& path) { return std::fopen(path.c_str(), "wbe"); },
    .remove = [](const std::string& path) { ::unlink(path.c_str()); },
    .makeNew =
        [](const std::string& path) {
            std::FILE* const file = std::fopen(path.c_str(), "wbxe");
            if (file != nullptr) std::fclose(file);
            return file != nullptr;
        },
};

}  // namespace moxi
