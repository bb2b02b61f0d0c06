#pragma once
// The file services: names of the module are short relative names (SAVE/GAME1.DAT). Reading looks
// in the writable data folder first and then in the game's resources folder; writing always goes
// to the data folder. Names are bytes and pass through unchanged; one that does not fit the path
// buffer, or that leads out of the folder, names nothing that exists.

#include <string>
#include <string_view>

#include "base/types.h"
#include "sys/data_folder.h"

namespace moxi {

// Path and NUL of every file operation have to fit this many bytes.
constexpr u32 kPathBufferSize = 1024;

constexpr u32 kMaximalOpenFiles = 96;
constexpr u32 kNoFile = 0xFFFFFFFF;

// Open modes of the module.
constexpr u32 kOpenRead = 0x8000;
constexpr u32 kOpenUpdate = 0x8002;
constexpr u32 kOpenCreate = 0x8302;

// What FileSize reports as a name's kind.
constexpr u32 kKindFile = 1;
constexpr u32 kKindFolder = 2;

// --- Folders

// Works out the folder names from `folders`.
void InitFolders();

// The full path of `name` in the data or the resources folder. A leading "../MUSIC" loses its
// "../": the music lies beside the other files. Null when the path does not fit. The text is valid
// until the next file operation.
const char* BuildPath(const char* name, bool inDataFolder);

// The name as BuildPath puts it behind the folder.
const char* BesideMusic(const char* name);

// For listings: the folder of this name beneath the data or the resources folder, open for reading,
// -1 when there is none; and whether a name leads to a folder.
int OpenFolder(const char* name, bool inDataFolder);
bool IsFolder(const char* name, bool inDataFolder);

// A descriptor of what the name, as it stands, leads to in the resources folder, for reading; -1
// when there is nothing. It never waits, whatever the name leads to.
int OpenResource(const char* name);

// --- Open files. A handle is an index of the open-file table; a bad one is harmless.

// Opens `name`. kOpenRead looks in both folders. Any other mode opens the file in the data folder
// and makes the missing folders on its path; kOpenUpdate needs the file to exist, kOpenCreate makes
// or truncates it, and a mode that is none of these opens for reading. kNoFile when it cannot be
// opened or 96 files are open.
u32 OpenFile(const char* name, u32 mode);

// Opens the module's file for reading: as kOpenRead does, but in the data folder only where what
// lies there is the game's own.
u32 OpenModule(const char* name);

// Opens `name` as kOpenCreate does, for a file that the host writes whole and at once: when the
// game runs twice and both write it, one waits for the other, so that the file is never a mixture.
u32 OpenToReplace(const char* name);

// Waits, at most a second, until no other start of the game writes the file (or, to write, reads
// it) under a lock. Closing the file ends the lock.
void LockToRead(u32 handle);
void LockToWrite(u32 handle);

// Appends the bytes to debug.log in the data folder, which is opened, locked and closed each time,
// so that lines of two starts of the game do not mix. A file that cannot be opened or made drops
// them.
void AppendToDebugLog(std::string_view bytes);

// Reads up to `count` bytes and returns how many arrived: 0 for a bad handle, a null buffer, or
// when a read has hit the end already.
u32 ReadFile(u32 handle, void* buffer, u32 count);

// Writes and returns the bytes written: 0 for a bad handle or null data. Nothing is kept back in a
// buffer, so a full disk shows here.
u32 WriteFile(u32 handle, const void* data, u32 count);

// Moves to `offset` from the start (0), the present position (1) or the end (2), forward only, and
// returns the low 32 bits of the new position; kNoFile when it fails.
u32 SeekFile(u32 handle, u32 offset, u32 origin);

// 1 when a read has hit the end since the last seek, 0 when not, kNoFile for a bad handle.
u32 AtEndOfFile(u32 handle);

// Closes the file. Handles of closed files come back into use from the top down.
void CloseFile(u32 handle);

// Bytes that a read of at most `count` bytes would bring in now. A file whose length is not known
// (a pipe, a device) counts as endless.
u64 ReadableBytes(u32 handle, u32 count);

// A write would touch its data: the handle is good and open for writing.
bool IsWritable(u32 handle);

// --- Names

// The size in bytes (low 32 bits), and through the pointers the modification time in seconds since
// 1970 (low 32 bits) and the kind. kNoFile and untouched outputs for a name in neither folder.
u32 FileSize(const char* name, u32* time, u32* kind);

// Deletes the file in the data folder, or, when there is none, the one in the resources folder. The
// latter only where `folders` lets it; otherwise as in a folder that is read-only.
void DeleteFile(const char* name);

// Makes one folder in the data folder: 0 when it exists afterwards, kNoFile when not.
u32 MakeFolder(const char* name);

// Removes an empty folder of the data folder.
void RemoveFolder(const char* name);

// Renames inside the data folder. An existing target is never replaced.
void MoveFile(const char* oldName, const char* newName);

// Closes every file and forgets the folders. For tests.
void ResetFiles();

}  // namespace moxi
