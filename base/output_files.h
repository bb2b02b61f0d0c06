#pragma once
// The files that the user asked for while a game runs: dumps, screenshots, reports, and what the
// host keeps of its own. They lie anywhere, also where the running process may not write by itself,
// so they are opened through this record. Files of the game never go this way.

#include <unistd.h>

#include <cstdio>
#include <string>
#include <string_view>

#include "base/types.h"

namespace moxi {

struct OutputFiles {
    // Makes the file, or empties it, for writing. Null when that fails.
    std::FILE* (*open)(const std::string& path);
    void (*remove)(const std::string& path);
    // Makes the file, empty, where there is nothing of that name; else false, and errno is EEXIST.
    bool (*makeNew)(const std::string& path);
    // Opens one of the host's own files for reading. Null when that fails.
    std::FILE* (*read)(const std::string& path);
    // Puts the file at NewFileOf(path) in the place of the one at `path`, for good; false when that
    // fails, and the old one stays.
    bool (*putInPlace)(const std::string& path);
};

// Where this process writes a file before it takes the place of the one at `path`: a name of its
// own beside it, since another one may be writing the same file. Processes that are forked from
// this one after the first call have the same names.
std::string NewFileOf(const std::string& path);
// Removes what processes that ended in the middle of it have left in a folder a day ago or before.
void RemoveUnfinishedFiles(const std::string& folder);
// What putInPlace does, where the process may.
bool PutNewFileInPlace(const std::string& path);
// What read does, where the process may. Never waits.
std::FILE* OpenOwnFile(const std::string& path);

// Written by app/output_helper.cpp and by tests.
inline constinit OutputFiles outputFiles = {
    .open = [](const std::string& path) { return std::fopen(path.c_str(), "wbe"); },
    .remove = [](const std::string& path) { ::unlink(path.c_str()); },
    .makeNew =
        [](const std::string& path) {
            std::FILE* const file = std::fopen(path.c_str(), "wbxe");
            if (file != nullptr) {
                std::fclose(file);
            }
            return file != nullptr;
        },
    .read = OpenOwnFile,
    .putInPlace = PutNewFileInPlace,
};

// Writes `contents` to the file whole or not at all: whoever reads it, or finds it after a power
// cut, has the old contents or the new ones. False when it cannot be written.
bool ReplaceFile(const std::string& path, std::string_view contents);

// Reads one of the host's own files; false when there is none (errno is ENOENT then), when it is no
// plain file, or larger than `most` bytes.
bool ReadOwnFile(const std::string& path, u64 most, std::string& contents);
// The same, but of a larger file its first `most` bytes.
bool ReadStartOfOwnFile(const std::string& path, u64 most, std::string& contents);

}  // namespace moxi
