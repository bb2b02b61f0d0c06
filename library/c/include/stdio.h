// The C library's <stdio.h>, with what it leaves out for this system and moxi's runtime has.
#include_next <stdio.h>

#ifndef MOXI_STDIO_H
#define MOXI_STDIO_H

#define L_tmpnam 20
#define TMP_MAX 10000
#define P_tmpdir "/tmp"

#ifdef __cplusplus
extern "C" {
#endif

// The C library declares these two as missing, by an attribute that stays with their names.
char* moxi_tmpnam(char* buffer);
FILE* moxi_tmpfile(void);

#ifdef __cplusplus
}
#endif

#define tmpnam moxi_tmpnam
#define tmpfile moxi_tmpfile

#endif
