// What standard C has and the C library for this system leaves out.

#include <errno.h>
#include <fcntl.h>
#include <locale.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

// --- Names of temporary files: in a folder of their own in the data folder

#define TEMPORARY_FOLDER "/tmp"

char* moxi_tmpnam(char* buffer) {
    static char own[L_tmpnam];
    static unsigned number;
    char* const name = buffer == NULL ? own : buffer;
    mkdir(TEMPORARY_FOLDER, 0777);
    for (unsigned tries = 0; tries < TMP_MAX; ++tries) {
        snprintf(name, L_tmpnam, TEMPORARY_FOLDER "/%u", ++number);
        if (access(name, F_OK) != 0) return name;
    }
    return NULL;
}

// The file goes when the program ends, for an open file cannot lose its name before.
static char* temporaryFiles[TMP_MAX < 64 ? TMP_MAX : 64];
static unsigned temporaryCount;

static void RemoveTemporaryFiles(void) {
    while (temporaryCount > 0) remove(temporaryFiles[--temporaryCount]);
    rmdir(TEMPORARY_FOLDER);
}

FILE* moxi_tmpfile(void) {
    char name[L_tmpnam];
    if (temporaryCount == sizeof temporaryFiles / sizeof *temporaryFiles) {
        errno = EMFILE;
        return NULL;
    }
    if (tmpnam(name) == NULL) return NULL;
    FILE* const file = fopen(name, "w+");
    char* const copy = file == NULL ? NULL : strdup(name);
    if (copy == NULL) return file;
    if (temporaryCount == 0) atexit(RemoveTemporaryFiles);
    temporaryFiles[temporaryCount++] = copy;
    return file;
}

static int FillTemplate(char* template, char* letters, unsigned* number) {
    static const char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    unsigned value = (*number)++;
    for (int i = 0; i < 6; ++i) {
        letters[i] = kLetters[value % 36];
        value /= 36;
    }
    return open(template, O_RDWR | O_CREAT | O_EXCL, 0600);
}

int mkstemps(char* template, int suffix) {
    static unsigned number;
    const int length = (int)strlen(template);
    if (suffix < 0 || length < 6 + suffix ||
        memcmp(template + length - suffix - 6, "XXXXXX", 6) != 0) {
        errno = EINVAL;
        return -1;
    }
    for (int tries = 0; tries < 1000; ++tries) {
        const int fd = FillTemplate(template, template + length - suffix - 6, &number);
        if (fd >= 0 || errno != EEXIST) return fd;
    }
    return -1;
}

int mkstemp(char* template) {
    return mkstemps(template, 0);
}

// --- There is one locale. The C library takes any name for one.

char* setlocale(int category, const char* name) {
    static char kOnly[] = "C";
    if (category < 0 || category > LC_ALL) return NULL;
    const bool isOnly =
        name == NULL || *name == 0 || strcmp(name, kOnly) == 0 || strcmp(name, "POSIX") == 0;
    return isOnly ? kOnly : NULL;
}

// --- There is no other program to run.

int system(const char* command) {
    if (command == NULL) return 0;
    errno = ENOSYS;
    return -1;
}
