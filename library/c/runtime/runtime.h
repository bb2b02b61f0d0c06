// What the parts of the runtime share: the C library asks for the system by these functions, which
// are served by the machine's services.
#ifndef MOXI_RUNTIME_H
#define MOXI_RUNTIME_H

#include <stddef.h>
#include <wasi/api.h>

#include "moxi.h"

// The C library's own name for a function of the system that it imports. Defined here, it is no
// import.
#define SYSTEM(name) __imported_wasi_snapshot_preview1_##name

typedef __wasi_errno_t error;

// The machine's answer where it has none.
#define FAILED 0xFFFFFFFFu

// --- log.c: standard output and error, line by line

error WriteLog(int stream, const __wasi_ciovec_t* parts, size_t count, size_t* written);

// Logs the lines that have no end yet.
void FlushLog(void);

// --- clock.c

// Nanoseconds since the program's start, steady.
uint64_t SteadyTime(void);

// --- names.c: what names mean

enum { kNameSize = 1000 };

typedef enum { kNothing, kFile, kFolder } kind;

typedef struct {
    kind kind;
    uint32_t size;
    uint32_t changed;  // seconds since 1970
} entry;

// A name below `folder`, with ".", ".." and needless slashes gone; "" is the root. `endsInSlash`
// may be a null pointer.
error ResolveName(const char* folder, const char* path, size_t length, char name[kNameSize],
                  bool* endsInSlash);

// What a name is, in the data folder or else in the resources.
entry LookUp(const char* name);

// Whether a file of that name can be made: the folder that it would lie in is there.
error CheckParent(const char* name);

// Whether the data folder has such a file.
bool LiesInDataFolder(const char* name);

// Makes a folder in the data folder; whether it was made.
bool MakeFolder(const char* name);

// Makes the folders on the way to a name in the data folder, as far as the resources have them.
void MakeFoldersTo(const char* name);

// A file of the resources, copied into the data folder.
error CopyToDataFolder(const char* from, const char* to);

// A number that stands for a name.
uint64_t NumberOfName(const char* name);

// --- folders.c

// What a folder holds, "." and ".." first.
typedef struct {
    char** names;
    uint8_t* types;
    size_t count;
} listing;

error ReadListing(const char* folder, listing* list);
void FreeListing(listing* list);
error CopyListing(const char* folder, const listing* list, void* buffer, size_t size,
                  uint64_t first, size_t* used);

#endif
