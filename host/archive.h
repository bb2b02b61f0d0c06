#pragma once
// Games in archives: ZIP files, which come from anywhere. An archive is unpacked whole or refused;
// nothing in it decides where a file goes but below the folder that is given.

#include <string>

#include "base/types.h"

namespace moxi {

// What an archive may ask of a disk.
struct ArchiveLimits {
    u64 archiveBytes = u64{1} << 30;
    u64 entries = 16384;             // files and folders
    u64 bytes = u64{1} << 30;        // of all files, unpacked
    u64 ratio = 100;                 // how many times as large as the archive they may be,
    u64 smallBytes = u64{32} << 20;  // unless they are no larger than this
    u64 nameBytes = 1024;
};

// Whether a path names an archive: a file, but no MAIN.MX, that ends in .mxz or .zip or begins as
// archives do.
bool IsArchive(const std::string& path);

// Unpacks an archive, open for reading at its start, into an empty folder. The file is left open.
// Folders and plain files alone are made, with the usual permissions. Returns "" or, in one line,
// why not: the entry's name and what is wrong with it, or what is wrong with the archive. What was
// written until then stays.
std::string UnpackArchive(int file, const std::string& folder, const ArchiveLimits& limits = {});

// Writes all files below `folder` into a new archive, in the order of their names and with the same
// date for each, so that the same files give the same archive. Returns "" or what is wrong: what
// UnpackArchive would refuse is not made.
std::string WriteArchive(const std::string& folder, const std::string& path,
                         const ArchiveLimits& limits = {});

// The game's folder among unpacked files: the folder itself, or the one folder in it that has a
// game. Without one `problem` says so.
std::string GameInFolder(const std::string& folder, std::string& problem);

}  // namespace moxi
