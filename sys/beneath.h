#pragma once
// Names that are resolved beneath a folder, whatever they hold: a "..", a leading "/" or a link
// that leads out of the folder leads to nothing, and the answer is that there is no such file.
// Links that stay inside are followed. The kernel does it where it can (openat2), else a walk that
// looks at each part of the name; the answers are the same.
//
// All functions return -1 with errno for what fails. `folder` is an open folder.

#include <sys/stat.h>

#include <cstdio>

namespace moxi {

// Opens with the flags of open(2); what is made gets mode 0666. The descriptor is closed on exec.
int OpenBeneath(int folder, const char* name, int flags);

// The same as a stream, to be read and, but for O_RDONLY, written. Null for what is neither a file
// nor a folder: a pipe would wait for somebody at its other end.
std::FILE* OpenStreamBeneath(int folder, const char* name, int flags);

// What the name leads to.
int StatBeneath(int folder, const char* name, struct stat* status);

// One folder, with mode 0777.
int MakeFolderBeneath(int folder, const char* name);
int RemoveFolderBeneath(int folder, const char* name);

// The name itself goes, also where it is a link.
int UnlinkBeneath(int folder, const char* name);

// Without replacing anything: EEXIST where the new name is taken.
int RenameBeneath(int folder, const char* oldName, const char* newName);

// How names are resolved. Walking is for kernels without openat2, and for tests; freely, as the
// operating system does it, is what an author may ask for.
enum class Resolution { Beneath, BeneathByWalking, Freely };
void ResolveNames(Resolution wanted);

}  // namespace moxi
