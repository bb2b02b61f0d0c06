// The C library's <stdlib.h>, with what it leaves out for this system and moxi's runtime has.
#include_next <stdlib.h>

#ifndef MOXI_STDLIB_H
#define MOXI_STDLIB_H

#ifdef __cplusplus
extern "C" {
#endif

// There is no program to run: 0 for a null pointer, else -1.
int system(const char* command);

// Makes a file whose name ends in what the six letters XXXXXX become; a descriptor, or -1.
int mkstemp(char* name);
int mkstemps(char* name, int suffix);

#ifdef __cplusplus
}
#endif

#endif
